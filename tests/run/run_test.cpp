// msgfilter run, the built tool, on the shipped example and on sessions written for
// these tests: what it prints, what it writes, and how it stops on a bad line.

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <string>

#include <gtest/gtest.h>

namespace {

struct ToolResult {
    int exitCode = -1;
    QString out;
    QString err;
};

ToolResult runTool(const QStringList& arguments, const QString& dataPath = QString())
{
    QProcess process;
    if (!dataPath.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("ZEFA_DATA_PATH"), dataPath);
        process.setProcessEnvironment(environment);
    }
    process.start(QStringLiteral(MSGFILTER_TOOL), arguments);
    ToolResult result;
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "msgfilter did not finish normally";
        return result;
    }
    result.exitCode = process.exitCode();
    result.out = QString::fromUtf8(process.readAllStandardOutput());
    result.err = QString::fromUtf8(process.readAllStandardError());
    return result;
}

QString readText(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

void writeText(const QString& path, const QString& text)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(text.toUtf8());
}

// Copies a directory tree, so that the tool writes beside a copy, never into the sources.
void copyTree(const QString& from, const QString& to)
{
    QDirIterator files(from, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString source = files.next();
        const QString relative = QDir(from).relativeFilePath(source);
        // What an earlier run in the source tree left behind is not part of the example.
        if (relative.startsWith(QLatin1String("out/"))) {
            continue;
        }
        const QString target = to + QLatin1Char('/') + relative;
        ASSERT_TRUE(QDir().mkpath(QFileInfo(target).path()));
        ASSERT_TRUE(QFile::copy(source, target)) << source.toStdString();
    }
}

const QString kTestRules = QStringLiteral(MSGFILTER_TEST_DATA_DIR "/engine/enginemsg.xml");

class RunCommand : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(m_directory.isValid()); }

    QString path(const QString& name) const { return m_directory.filePath(name); }

    QTemporaryDir m_directory;
};

TEST_F(RunCommand, ReplaysTheShippedExample)
{
    copyTree(QStringLiteral(MSGFILTER_EXAMPLES_DIR), m_directory.path());
    const QString session = path(QStringLiteral("two-implementations.session"));

    const ToolResult first = runTool(
        { QStringLiteral("run"), QStringLiteral("--color"), QStringLiteral("never"), session });
    EXPECT_EQ(first.exitCode, 0) << first.err.toStdString();
    EXPECT_EQ(first.out.toStdString(),
        readText(QStringLiteral(MSGFILTER_TEST_DATA_DIR "/run/two-implementations.expected"))
            .toStdString());

    // The log of impl_1 holds both flow steps and never the tool's own messages.
    const QString log = readText(path(QStringLiteral("out/impl_1-messages.xml")));
    EXPECT_TRUE(log.contains(QStringLiteral("<Task name=\"Synthesize\">")));
    EXPECT_TRUE(log.contains(QStringLiteral("<Task name=\"PlaceRoute\">")));
    EXPECT_FALSE(log.contains(QStringLiteral("<Task name=\"Tool\">")));

    // A second run reads that log first; the restarted processes replace what it held.
    const ToolResult second = runTool(
        { QStringLiteral("run"), QStringLiteral("--color"), QStringLiteral("never"), session });
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.out, first.out);
}

TEST_F(RunCommand, WritesTheExampleAsJsonLines)
{
    copyTree(QStringLiteral(MSGFILTER_EXAMPLES_DIR), m_directory.path());
    const ToolResult result = runTool({ QStringLiteral("run"), QStringLiteral("--format"),
        QStringLiteral("jsonl"), path(QStringLiteral("two-implementations.session")) });
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();

    QMap<QString, int> kinds;
    QJsonObject total;
    QJsonObject missingModule;
    for (const QString& line : result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        QJsonParseError error {};
        const QJsonObject object = QJsonDocument::fromJson(line.toUtf8(), &error).object();
        ASSERT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
        const QString kind = object.value(QStringLiteral("kind")).toString();
        ++kinds[kind];
        if (kind == QLatin1String("total")) {
            total = object;
        }
        if (object.value(QStringLiteral("id")).toString() == QLatin1String("SYNTH-305")) {
            missingModule = object;
        }
    }
    // 29 stored messages of which the filters hide 14, 12 unrecognised lines, 4 processes.
    EXPECT_EQ(kinds.value(QStringLiteral("message")), 15);
    EXPECT_EQ(kinds.value(QStringLiteral("plain")), 12);
    EXPECT_EQ(kinds.value(QStringLiteral("summary")), 4);
    EXPECT_EQ(total.value(QStringLiteral("hidden")).toInt(), 14);
    EXPECT_EQ(total.value(QStringLiteral("Error")).toInt(), 3);
    EXPECT_EQ(
        missingModule.value(QStringLiteral("implementation")).toString(), QStringLiteral("impl_1"));
    EXPECT_EQ(
        missingModule.value(QStringLiteral("process")).toString(), QStringLiteral("Synthesize"));
    EXPECT_EQ(missingModule.value(QStringLiteral("text")).toString(),
        QStringLiteral("Module 'uart_dbg' is instantiated but not defined"));
    EXPECT_EQ(missingModule.value(QStringLiteral("dynamic")).toVariant().toStringList(),
        QStringList { QStringLiteral("uart_dbg") });
}

TEST_F(RunCommand, HandWrittenSessionReportsUpToItsMalformedLine)
{
    const QString session = path(QStringLiteral("handwritten.session"));
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(MSGFILTER_TEST_DATA_DIR "/run/handwritten.session"), session));
    const ToolResult result = runTool({ QStringLiteral("run"), QStringLiteral("--rules"),
        kTestRules, QStringLiteral("--color"), QStringLiteral("never"), session });
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out.toStdString(),
        readText(QStringLiteral(MSGFILTER_TEST_DATA_DIR "/run/handwritten.expected"))
            .toStdString());
    EXPECT_EQ(result.err,
        session
            + QStringLiteral(":47: process expects: process ACTION IMPLEMENTATION MILESTONE "
                             "TASK\n"));

    // The log saved before the bad line stays, and reads back into a fresh run.
    const QString log = path(QStringLiteral("out/alpha-log.xml"));
    ASSERT_TRUE(QFileInfo::exists(log));
    writeText(path(QStringLiteral("reload.session")),
        QStringLiteral("catalogue core C-1 Warning \"fifo %1 overflows\"\n"
                       "log-open alpha out/alpha-log.xml\n"));
    const ToolResult reload = runTool({ QStringLiteral("run"), QStringLiteral("--rules"),
        kTestRules, path(QStringLiteral("reload.session")) });
    EXPECT_EQ(reload.exitCode, 0) << reload.err.toStdString();
    EXPECT_TRUE(reload.out.startsWith(QStringLiteral("alpha\n"
                                                     "  Synth\n"
                                                     "    Warning  9991  split line\n"
                                                     "    Warning  C-1   fifo rx<0> overflows\n"
                                                     "\n")))
        << reload.out.toStdString();
}

struct BadLine {
    const char* name;
    std::string line;
    std::string reason;
};

void PrintTo(const BadLine& row, std::ostream* out)
{
    *out << row.name;
}

class MalformedLine : public RunCommand, public testing::WithParamInterface<BadLine> { };

TEST_P(MalformedLine, StopsWithItsLineNumberKeepingWhatCameBefore)
{
    writeText(path(QStringLiteral("small.log")), QStringLiteral("warning: from a file\n"));
    const QString session = path(QStringLiteral("bad.session"));
    writeText(session,
        QStringLiteral("open-project p\n"
                       "add-implementation a out\n"
                       "set-default a\n"
                       "task started a\n"
                       "process started a S S\n"
                       "output a before the bad line\n")
            + QString::fromStdString(GetParam().line)
            + QStringLiteral("\noutput a after the bad line\n"));
    const ToolResult result = runTool({ QStringLiteral("run"), QStringLiteral("--rules"),
        kTestRules, QStringLiteral("--format"), QStringLiteral("jsonl"), session });
    EXPECT_EQ(result.exitCode, 2);
    const QString prefix = session + QStringLiteral(":7: ");
    EXPECT_TRUE(result.err.startsWith(prefix)) << result.err.toStdString();
    EXPECT_TRUE(result.err.contains(QString::fromStdString(GetParam().reason)))
        << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("\"text\":\"before the bad line\"")))
        << result.out.toStdString();
    EXPECT_FALSE(result.out.contains(QStringLiteral("after the bad line")));
}

INSTANTIATE_TEST_SUITE_P(Lines, MalformedLine,
    testing::Values(
        BadLine { "UnknownCommand", "publish task started a", "unknown command \"publish\"" },
        BadLine { "MissingArgument", "engine started a S", "engine expects" },
        BadLine { "StatusNotANumber", "task finished a two", "task expects" },
        BadLine { "UnterminatedQuote", "write a \"no end", "unterminated double quote" },
        BadLine { "UnknownEscape", "write a \"\\q\"", "unknown escape \\q" },
        BadLine { "MissingFeedFile", "feed a nowhere.log", "cannot read" },
        BadLine { "ZeroChunkSize", "feed a small.log 0", "feed expects" },
        BadLine { "HideMatchesNothing", "filter-save a f hide=zzz", "no stored message of a" },
        BadLine { "FilterOptionWithoutValue", "filter-save a f Warning", "is not KEY=VALUE" },
        BadLine { "UnknownFilterOption", "filter-save a f types=Info", "unknown filter option" },
        BadLine { "LogSaveBeforeLogOpen", "log-save a", "has no message log" },
        BadLine { "UnknownSeverity", "catalogue c X-1 Fatal \"t\"", "unknown severity" }),
    [](const testing::TestParamInfo<BadLine>& info) { return std::string(info.param.name); });

TEST_F(RunCommand, FeedsAFileInChunksLikeInlineOutput)
{
    // Three-byte chunks cut every line into pieces; the handler must join them again.
    writeText(path(QStringLiteral("engine.log")),
        QStringLiteral("warning: first\r\nsome progress\nerror: second [top.v:7]\n"));
    writeText(path(QStringLiteral("feed.session")),
        QStringLiteral("open-project p\nadd-implementation a out\nset-default a\n"
                       "task started a\nprocess started a S S\nengine started a S default\n"
                       "feed a engine.log 3\n"));
    const ToolResult result = runTool({ QStringLiteral("run"), QStringLiteral("--rules"),
        kTestRules, path(QStringLiteral("feed.session")) });
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("a\n"
                                                     "  S\n"
                                                     "    Warning  9991  first\n"
                                                     "                   some progress\n"
                                                     "    Error    9990  second [top.v:7]\n")))
        << result.out.toStdString();
}

TEST_F(RunCommand, NamesTheLineThatSpoilsTheCatalogueFile)
{
    // The good entry before the bad line must not survive either: the file counts whole.
    ASSERT_TRUE(QFile::copy(kTestRules, path(QStringLiteral("enginemsg.xml"))));
    writeText(path(QStringLiteral("msgcatalogue.txt")),
        QStringLiteral("# entries\nsynthesis|S-1|Warning||custom %1\nsynthesis|S-2|Warning\n"));
    writeText(path(QStringLiteral("one.session")),
        QStringLiteral("open-project p\nadd-implementation a out\nset-default a\n"
                       "task started a\nprocess started a S S\nengine started a S default\n"
                       "output a warning: still shown\n"));
    const ToolResult result =
        runTool({ QStringLiteral("run"), path(QStringLiteral("one.session")) }, m_directory.path());
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.startsWith(QStringLiteral("msgfilter run: ")
        + path(QStringLiteral("msgcatalogue.txt")) + QStringLiteral(":3: ")))
        << result.err.toStdString();
    EXPECT_EQ(result.err.count(QLatin1Char('\n')), 1) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("Warning  9991  still shown")))
        << result.out.toStdString();
}

TEST_F(RunCommand, RefusesAMissingSession)
{
    const ToolResult none = runTool({ QStringLiteral("run") });
    EXPECT_EQ(none.exitCode, 2);
    const ToolResult missing = runTool({ QStringLiteral("run"), path(QStringLiteral("nowhere")) });
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(missing.err.contains(QStringLiteral("cannot read"))) << missing.err.toStdString();
    EXPECT_TRUE(missing.out.isEmpty());
}

} // namespace
