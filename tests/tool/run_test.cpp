// msgfilter run, the built tool, on the shipped example and on sessions written for
// these tests: what it prints, what it writes, and how it stops on a bad line.

#include "toolrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

// A project with one implementation "a", as far as a running process "S".
constexpr char kStarted[] = "open-project p\nadd-implementation a out\nset-default a\n"
                            "task started a\nprocess started a S S\n";

class RunCommand : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_directory.isValid()); }

    QString path(const char* name) const { return m_directory.filePath(QString::fromUtf8(name)); }

    // Runs a session file of the temporary directory with the engine tests' rules.
    ToolResult run(const char* session, const char* options = "--color never")
    {
        return runTool(words("run --rules")
            << testData("engine/enginemsg.xml") << words(options) << path(session));
    }

    QTemporaryDir m_directory;
};

TEST_F(RunCommand, ReplaysTheShippedExampleAsTextAndAsJsonLines)
{
    // The tool writes beside a copy of the example, never into the sources; what an
    // earlier run in the source tree left behind is not part of the example.
    QDirIterator files(
        QStringLiteral(MSGFILTER_EXAMPLES_DIR), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString relative =
            QDir(QStringLiteral(MSGFILTER_EXAMPLES_DIR)).relativeFilePath(files.next());
        if (!relative.startsWith(QLatin1String("out/"))) {
            ASSERT_TRUE(QDir().mkpath(QFileInfo(m_directory.filePath(relative)).path()));
            ASSERT_TRUE(QFile::copy(files.filePath(), m_directory.filePath(relative)));
        }
    }
    const QStringList arguments = words("run --color never") << path("two-implementations.session");
    const ToolResult first = runTool(arguments);
    EXPECT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(first.out, readAll(testData("run/two-implementations.expected")).toStdString());

    // The log of impl_1 holds both flow steps and never the tool's own messages.
    const QByteArray log = readAll(path("out/impl_1-messages.xml"));
    EXPECT_TRUE(log.contains("<Task name=\"Synthesize\">"));
    EXPECT_TRUE(log.contains("<Task name=\"PlaceRoute\">"));
    EXPECT_FALSE(log.contains("<Task name=\"Tool\">"));

    // A second run reads that log first; the restarted processes replace what it held.
    const ToolResult second = runTool(arguments);
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.out, first.out);

    const ToolResult json =
        runTool(words("run --format jsonl") << path("two-implementations.session"));
    ASSERT_EQ(json.exitCode, 0) << json.err;
    EXPECT_EQ(json.out, readAll(testData("run/two-implementations.expected.jsonl")).toStdString());
}

TEST_F(RunCommand, HandWrittenSessionReportsUpToItsMalformedLine)
{
    ASSERT_TRUE(QFile::copy(testData("run/handwritten.session"), path("handwritten.session")));
    const ToolResult result = run("handwritten.session");
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, readAll(testData("run/handwritten.expected")).toStdString());
    EXPECT_EQ(result.err,
        path("handwritten.session").toStdString()
            + ":47: process expects: process ACTION IMPLEMENTATION MILESTONE TASK\n");

    // The log saved before the bad line stays, and reads back into a fresh run.
    writeFile(path("reload.session"),
        "catalogue core C-1 Warning \"fifo %1 overflows\"\n"
        "log-open alpha out/alpha-log.xml\n");
    const ToolResult reload = run("reload.session");
    EXPECT_EQ(reload.exitCode, 0) << reload.err;
    EXPECT_THAT(reload.out,
        StartsWith("alpha\n  Synth\n    Warning  9991  split line\n"
                   "    Warning  C-1   fifo rx<0> overflows\n\n"));
}

TEST_F(RunCommand, StopsAtAMalformedLineWithItsNumberKeepingWhatCameBefore)
{
    writeFile(path("small.log"), "warning: from a file\n");
    const std::pair<const char*, const char*> rows[] = {
        { "publish task started a", "unknown command \"publish\"" },
        { "engine started a S", "engine expects" },
        { "task finished a two", "task expects" },
        { "write a \"no end", "unterminated double quote" },
        { "write a \"\\q\"", "unknown escape \\q" },
        { "feed a nowhere.log", "cannot read" },
        { "feed a small.log 0", "feed expects" },
        { "filter-save a f hide=zzz", "no stored message of a" },
        { "filter-save a f Warning", "is not KEY=VALUE" },
        { "filter-save a f types=Info", "unknown filter option" },
        { "log-save a", "has no message log" },
        { "catalogue c X-1 Fatal \"t\"", "unknown severity" },
    };
    for (const auto& [line, reason] : rows) {
        SCOPED_TRACE(line);
        writeFile(path("bad.session"),
            QByteArray(kStarted) + "output a before the bad line\n" + line
                + "\noutput a after the bad line\n");
        const ToolResult result = run("bad.session", "--format jsonl");
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, StartsWith(path("bad.session").toStdString() + ":7: "));
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_THAT(result.out, HasSubstr("\"text\":\"before the bad line\""));
        EXPECT_THAT(result.out, testing::Not(HasSubstr("after the bad line")));
    }
}

TEST_F(RunCommand, FeedsAFileInChunksLikeInlineOutput)
{
    // Three-byte chunks cut every line into pieces; the handler must join them again.
    writeFile(path("engine.log"), "warning: first\r\nsome progress\nerror: second [top.v:7]\n");
    writeFile(path("feed.session"),
        QByteArray(kStarted) + "engine started a S default\nfeed a engine.log 3\n");
    const ToolResult result = run("feed.session");
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out,
        StartsWith("a\n  S\n    Warning  9991  first\n                   some progress\n"
                   "    Error    9990  second [top.v:7]\n"));
}

TEST_F(RunCommand, NamesTheLineThatSpoilsTheCatalogueFile)
{
    // The good entry before the bad line must not survive either: the file counts whole.
    ASSERT_TRUE(QFile::copy(testData("engine/enginemsg.xml"), path("enginemsg.xml")));
    writeFile(path("msgcatalogue.txt"),
        "# entries\nsynthesis|S-1|Warning||custom %1\nsynthesis|S-2|Warning\n");
    writeFile(path("one.session"),
        QByteArray(kStarted) + "engine started a S default\noutput a warning: still shown\n");
    const ToolResult result = runTool(words("run") << path("one.session"), {}, m_directory.path());
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err,
        StartsWith("msgfilter run: " + path("msgcatalogue.txt").toStdString() + ":3: "));
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_THAT(result.out, HasSubstr("Warning  9991  still shown"));
}

} // namespace
