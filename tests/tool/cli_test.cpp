// msgfilter's command line: help, exit status and messages of bad input, check-rules
// and explain.

#include "toolrunner.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

TEST(Help, EveryCommandExplainsItselfOnStandardOutput)
{
    const std::pair<const char*, const char*> rows[] = { { "--help", "COMMAND" },
        { "help", "COMMAND" }, { "classify --help", "classify" },
        { "classify -h missing.log", "classify" }, { "check-rules --help", "check-rules" },
        { "explain --help", "explain" }, { "run --help", "run" }, { "report --help", "report" } };
    for (const auto& [arguments, command] : rows) {
        SCOPED_TRACE(arguments);
        const ToolResult result = runTool(words(arguments));
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.out, StartsWith(std::string("Usage: msgfilter ") + command + ' '));
        EXPECT_EQ(result.err, "");
    }
}

// Every failure is exit status 2 and one line on standard error that names the culprit.
TEST(Errors, BadUsageAndUnusableFilesExitWithTwoAndOneLine)
{
    QTemporaryDir directory;
    // In a row, %M stands for a missing file, %L for a log, %B and %W for rules that do
    // not load (an XML error, a wrong root element), %D for a writable folder.
    const auto expand = [&directory](const QString& text) {
        return QString(text)
            .replace(QStringLiteral("%M"), directory.filePath(QStringLiteral("missing.log")))
            .replace(QStringLiteral("%D"), directory.path())
            .replace(QStringLiteral("%L"), testData("tool/logs/keyword-pnr.log"))
            .replace(QStringLiteral("%B"), testData("tool/rules/broken.xml"))
            .replace(QStringLiteral("%W"), testData("tool/rules/wrong-root.xml"));
    };
    const std::pair<const char*, const char*> rows[] = {
        { "clasify", "msgfilter: unknown command 'clasify'" },
        { "classify --colour never", "msgfilter classify: Unknown option 'colour'" },
        { "classify --rules", "msgfilter classify: Missing value after '--rules'" },
        { "classify --format xml", "unknown format 'xml'" },
        { "classify --fail-on fatal", "unknown severity 'fatal'" },
        { "classify --color sometimes", "unknown colour mode 'sometimes'" },
        { "classify --jobs 0 %L", "--jobs expects a number of at least 1, not '0'" },
        { "report --jobs many --output %D/r.html %L", "not 'many'" },
        { "classify %L %M", "msgfilter classify: cannot read '%M'" },
        { "classify --rules %M %L", "msgfilter classify: cannot read rules '%M'" },
        { "classify --rules %B %L", "the rules in '%B' do not load" },
        { "classify --rules %W %L", "the rules in '%W' do not load" },
        { "classify --target asic %L", "have no target 'asic'" },
        { "check-rules %M", "msgfilter check-rules: cannot read '%M'" },
        { "check-rules a.xml b.xml", "at most one rule file" },
        { "explain", "needs exactly one LINE" },
        { "explain --rules %M x", "msgfilter explain: cannot read rules '%M'" },
        { "run", "msgfilter run: expects one SESSION file" },
        { "run %M", "msgfilter run: cannot read %M" },
        { "report %L", "msgfilter report: expects --output FILE" },
        { "report --format jsonl --output %D/r.html %L", "Unknown option 'format'" },
        { "report --output %D/r.html %M", "msgfilter report: cannot read '%M'" },
        { "report --output %D/no/r.html %L", "msgfilter report: cannot write '%D/no/r.html'" },
    };
    for (const auto& [arguments, message] : rows) {
        SCOPED_TRACE(arguments);
        QStringList expanded;
        for (const QString& word : words(arguments)) {
            expanded << expand(word);
        }
        expectRefused(expanded, expand(QString::fromUtf8(message)));
    }
    // Without a command, the usage goes to standard error.
    const ToolResult bare = runTool({});
    EXPECT_EQ(bare.exitCode, 2);
    EXPECT_EQ(bare.out, "");
    EXPECT_THAT(bare.err, StartsWith("Usage: msgfilter COMMAND"));
}

// Each file's findings, with line and column, are in a file beside it, FILE standing for
// its path.
TEST(CheckRules, ReportsEveryProblemWithItsPositionAndNoneInTheDefaultRules)
{
    for (const char* name : { "problems", "broken", "wrong-root" }) {
        SCOPED_TRACE(name);
        const QString path = testData("tool/rules/") + QLatin1String(name);
        const ToolResult result = runTool(words("check-rules") << path + QStringLiteral(".xml"));
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out,
            QString::fromUtf8(readAll(path + QStringLiteral(".findings")))
                .replace(QStringLiteral("FILE"), path + QStringLiteral(".xml"))
                .toStdString());
    }
    for (const QStringList& arguments :
        { words("check-rules"), words("check-rules") << defaultRules() }) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.out, StartsWith(defaultRules().toStdString() + ": no findings"));
    }
}

// The bracket rule and the keyword rule match the same stretch of this line; the name
// that sorts first wins. RULES in the expected output stands for the rule file.
TEST(Explain, ShowsEveryRuleTheChoiceAndTheFields)
{
    const ToolResult result = runTool(words("explain --rules")
        << defaultRules()
        << QStringLiteral(
               "WARNING: [Synth 8-327] inferring latch for variable 'q' [/src/top.v:41]"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out,
        QString::fromUtf8(readAll(testData("tool/explain-bracket-tag.txt")))
            .replace(QStringLiteral("RULES"), defaultRules())
            .toStdString());
}

} // namespace
