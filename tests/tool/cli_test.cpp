// msgfilter's command line: help, exit status and messages of bad input, check-rules
// and explain.

#include "toolrunner.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace toolrunner;

namespace {

QStringList args(std::initializer_list<const char*> words)
{
    QStringList list;
    for (const char* word : words) {
        list.append(QString::fromUtf8(word));
    }
    return list;
}

TEST(Help, EveryCommandExplainsItselfOnStandardOutput)
{
    struct Row {
        QStringList arguments;
        const char* usage;
    };
    const Row rows[] = {
        { args({ "--help" }), "Usage: msgfilter COMMAND" },
        { args({ "help" }), "Usage: msgfilter COMMAND" },
        { args({ "classify", "--help" }), "Usage: msgfilter classify" },
        { args({ "classify", "-h", "missing.log" }), "Usage: msgfilter classify" },
        { args({ "check-rules", "--help" }), "Usage: msgfilter check-rules" },
        { args({ "explain", "--help" }), "Usage: msgfilter explain" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.arguments.join(QLatin1Char(' ')).toStdString());
        const ToolResult result = runTool(row.arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.out.startsWith(row.usage)) << result.out.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    }
}

// Every failure is exit status 2 and one line on standard error that names the culprit.
TEST(Errors, BadUsageAndUnusableFilesExitWithTwoAndOneLine)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString missing = directory.filePath(QStringLiteral("missing.log"));
    const QString log = fixture(QStringLiteral("logs/keyword-pnr.log"));
    const QString broken = fixture(QStringLiteral("rules/broken.xml"));
    struct Row {
        const char* name;
        QStringList arguments;
        QString message;
    };
    const Row rows[] = {
        { "no command", {}, QStringLiteral("Usage: msgfilter COMMAND") },
        { "unknown command", args({ "clasify" }), QStringLiteral("unknown command 'clasify'") },
        { "unknown option", args({ "classify", "--colour", "never" }),
            QStringLiteral("msgfilter classify: Unknown option 'colour'") },
        { "missing value", args({ "classify", "--rules" }),
            QStringLiteral("msgfilter classify: Missing value after '--rules'") },
        { "unknown format", args({ "classify", "--format", "xml" }),
            QStringLiteral("unknown format 'xml'") },
        { "unknown severity", args({ "classify", "--fail-on", "fatal" }),
            QStringLiteral("unknown severity 'fatal'") },
        { "unknown colour mode", args({ "classify", "--color", "sometimes" }),
            QStringLiteral("unknown colour mode 'sometimes'") },
        { "unreadable input", { QStringLiteral("classify"), log, missing },
            QStringLiteral("msgfilter classify: cannot read '%1'").arg(missing) },
        { "unreadable rules",
            { QStringLiteral("classify"), QStringLiteral("--rules"), missing, log },
            QStringLiteral("msgfilter classify: cannot read rules '%1'").arg(missing) },
        { "rules that do not load",
            { QStringLiteral("classify"), QStringLiteral("--rules"), broken, log },
            QStringLiteral("the rules in '%1' do not load").arg(broken) },
        { "unknown target",
            { QStringLiteral("classify"), QStringLiteral("--target"), QStringLiteral("asic"), log },
            QStringLiteral("have no target 'asic'") },
        { "check-rules of a missing file", { QStringLiteral("check-rules"), missing },
            QStringLiteral("msgfilter check-rules: cannot read '%1'").arg(missing) },
        { "check-rules of two files", args({ "check-rules", "a.xml", "b.xml" }),
            QStringLiteral("at most one rule file") },
        { "explain without a line", args({ "explain" }), QStringLiteral("needs exactly one LINE") },
        { "explain with unreadable rules",
            { QStringLiteral("explain"), QStringLiteral("--rules"), missing, QStringLiteral("x") },
            QStringLiteral("cannot read rules '%1'").arg(missing) },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ToolResult result = runTool(row.arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(result.out.isEmpty()) << result.out.toStdString();
        const QString error = QString::fromUtf8(result.err);
        EXPECT_TRUE(error.contains(row.message)) << error.toStdString();
        if (!row.arguments.isEmpty()) {
            EXPECT_EQ(error.count(QLatin1Char('\n')), 1) << error.toStdString();
            EXPECT_TRUE(error.endsWith(QLatin1Char('\n')));
        }
    }
}

TEST(CheckRules, TheDefaultRulesHaveNoFindings)
{
    for (const QStringList& arguments : { QStringList { QStringLiteral("check-rules") },
             QStringList { QStringLiteral("check-rules"), defaultRules() } }) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.out.toStdString();
        EXPECT_TRUE(result.out.contains("no findings")) << result.out.toStdString();
    }
}

TEST(CheckRules, ReportsEveryProblemWithItsPosition)
{
    const QString path = fixture(QStringLiteral("rules/problems.xml"));
    const ToolResult result = runTool({ QStringLiteral("check-rules"), path });
    EXPECT_EQ(result.exitCode, 1);
    const QStringList lines =
        QString::fromUtf8(result.out).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    // position, then a piece of the message
    const std::vector<std::pair<const char*, const char*>> expected {
        { "6:7", "Rule 'missing' of engine 'fpga/default' names no FilterRule" },
        { "7:7", "Rule 'plain' is already listed for engine 'fpga/default' at line 5" },
        { "8:7", "Rule without a name" },
        { "9:32", "element 'SubRule' inside 'Rule' is ignored" },
        { "11:5", "Engine 'default' is already defined at line 4" },
        { "12:5", "Engine without a name" },
        { "13:5", "element 'Enigne' inside 'TargetDevice' is ignored" },
        { "15:3", "TargetDevice 'fpga' is already defined at line 3" },
        { "17:26", "names 2 fields but its pattern has only 1 capture groups" },
        { "17:47", "the field name 'num ' ends in white space" },
        { "18:5", "lacks the attribute 'reg_patten'" },
        { "18:26", "unknown attribute 'reg_pattern' on SubRule" },
        { "19:5", "lacks the attribute 'type'" },
        { "21:49", "FilterRule 'bad-pattern': invalid regular expression" },
        { "22:27", "SubRule of 'bad-pattern': invalid regular expression" },
        { "24:3", "FilterRule 'plain' is already defined at line 16" },
        { "25:3", "FilterRule 'no-type' lacks the attribute 'type'" },
        { "26:3", "FilterRule 'unused' is listed by no Engine" },
    };
    ASSERT_EQ(lines.size(), static_cast<int>(expected.size()) + 1) << result.out.toStdString();
    for (size_t i = 0; i < expected.size(); ++i) {
        const QString prefix =
            path + QLatin1Char(':') + QLatin1String(expected[i].first) + QStringLiteral(": ");
        EXPECT_TRUE(lines[static_cast<int>(i)].startsWith(prefix)
            && lines[static_cast<int>(i)].contains(QLatin1String(expected[i].second)))
            << "expected " << expected[i].first << " " << expected[i].second << "\n got "
            << lines[static_cast<int>(i)].toStdString();
    }
    EXPECT_EQ(lines.last(), path + QStringLiteral(": 18 findings"));
}

TEST(CheckRules, AFileTheLibraryRejectsWhole)
{
    struct Row {
        const char* file;
        const char* position;
        const char* message;
    };
    const Row rows[] = {
        { "rules/broken.xml", ":5:", "XML error" },
        { "rules/wrong-root.xml", ":2:1:", "the root element is 'MessageRules'" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        const QString path = fixture(QLatin1String(row.file));
        const ToolResult result = runTool({ QStringLiteral("check-rules"), path });
        EXPECT_EQ(result.exitCode, 1);
        const QString out = QString::fromUtf8(result.out);
        EXPECT_TRUE(out.startsWith(path + QLatin1String(row.position))) << out.toStdString();
        EXPECT_TRUE(out.contains(QLatin1String(row.message))) << out.toStdString();
        EXPECT_TRUE(out.contains(QStringLiteral("the library loads nothing")));
    }
    // The library agrees: classify refuses the same files.
    const ToolResult classify = runTool({ QStringLiteral("classify"), QStringLiteral("--rules"),
                                            fixture(QStringLiteral("rules/wrong-root.xml")) },
        "Warning: x\n");
    EXPECT_EQ(classify.exitCode, 2);
}

TEST(Explain, ShowsEveryRuleTheChoiceAndTheFields)
{
    const ToolResult result =
        runTool({ QStringLiteral("explain"), QStringLiteral("--rules"), defaultRules(),
            QStringLiteral("WARNING: [Synth 8-327] inferring latch for variable 'q' "
                           "[/src/top.v:41]") });
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString out = QString::fromUtf8(result.out);
    // The row of a rule in the table, as words.
    const auto row = [&out](const char* rule) {
        for (const QString& line : out.split(QLatin1Char('\n'))) {
            const QStringList words = line.simplified().split(QLatin1Char(' '));
            if (line.startsWith(QStringLiteral("  ")) && words.first() == QLatin1String(rule)) {
                return words.mid(1).join(QLatin1Char(' '));
            }
        }
        return QString();
    };
    // The bracket rule and the keyword rule match the same stretch; the name that sorts
    // first wins.
    EXPECT_EQ(row("bracket-tag-message"), QStringLiteral("0 71 <- chosen"));
    EXPECT_TRUE(row("keyword-message").startsWith(QStringLiteral("0 71 (as long as the chosen")));
    EXPECT_EQ(row("numbered-message"), QStringLiteral("- -"));
    EXPECT_EQ(row("new-message"), QStringLiteral("- -"));
    const QStringList expected {
        QStringLiteral("Line:    \"WARNING: [Synth 8-327] inferring latch for variable 'q' "
                       "[/src/top.v:41]\\n\""),
        QStringLiteral("Sub-rule: #5 'warning-located' of 8, type 'warning'"),
        QStringLiteral("  tag   \"Synth 8-327\""),
        QStringLiteral("  text  \"inferring latch for variable 'q'\""),
        QStringLiteral("  file  \"/src/top.v\""),
        QStringLiteral("  line  \"41\""),
        QStringLiteral("Severity: Warning"),
    };
    for (const QString& piece : expected) {
        EXPECT_TRUE(out.contains(piece)) << "missing: " << piece.toStdString() << "\nin:\n"
                                         << out.toStdString();
    }
}

TEST(Explain, LinesNoRuleOrNoSubRuleFits)
{
    struct Row {
        const char* line;
        const char* expected;
    };
    const Row rows[] = {
        { "just some output", "Chosen:  none; the line is plain text" },
        { "<msg id=\"x\" broken/>", "Sub-rule: none of its 1 sub-rules matches" },
        { "<msg id=\"A-1\" type=\"Error\" dynamic=\"1\" navigation=\"0\" arg1=\"v\"/>",
            "Severity: Error" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const ToolResult result =
            runTool({ QStringLiteral("explain"), QString::fromUtf8(row.line) });
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(result.out.contains(row.expected)) << result.out.toStdString();
    }
}

TEST(Explain, WithoutTheLineFeedAsTheEngineSideSeesTheLine)
{
    const ToolResult result = runTool(
        { QStringLiteral("explain"), QStringLiteral("--no-newline"), QStringLiteral("Info: x") });
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains("Line:    \"Info: x\"\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("Severity: Info"));
}

} // namespace
