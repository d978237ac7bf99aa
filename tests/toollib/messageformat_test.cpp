// The output formats of classify on made-up lines and summaries: exactly the bytes a
// user or a program reading them sees.

#include "formats/messageformat.h"

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;

namespace {

ClassifiedLine sampleLine()
{
    ClassifiedLine line;
    line.file = QStringLiteral("logs/run 1.log");
    line.number = 12;
    line.severity = Severity::CriticalWarning;
    line.rule = QStringLiteral("bracket-tag-message");
    line.type = QStringLiteral("message:critical-warning");
    line.fields = { { QStringLiteral("id"), QStringLiteral("Synth 8-327") },
        { QStringLiteral("text"), QStringLiteral("latch \"q\" in caf\u00e9 %1") } };
    line.text =
        QStringLiteral("CRITICAL WARNING: [Synth 8-327] latch \"q\" in caf\u00e9 %1\t[a.v:3]");
    return line;
}

ClassificationSummary sampleSummary()
{
    ClassificationSummary summary;
    summary.lines = 1234;
    summary.ruleWithoutSubRule = 2;
    summary.bySeverity = { 0, 5, 2, 3, 1 };
    summary.byRule["bracket-tag-message"] = { 0, 0, 2, 3, 1 };
    summary.byRule["kw"] = { 0, 5, 0, 0, 0 };
    return summary;
}

struct FormatRow {
    const char* name;
    const char* format;
    bool color;
    std::string message;
    std::string finish;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const FormatRow& row, std::ostream* out)
{
    *out << row.name;
}

class Formats : public testing::TestWithParam<FormatRow> { };

TEST_P(Formats, WriteTheMessageAndTheEndExactly)
{
    const FormatRow& row = GetParam();
    const std::unique_ptr<MessageFormat> format =
        makeMessageFormat(QString::fromUtf8(row.format), { row.color });
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(format->message(sampleLine()).toStdString(), row.message);
    EXPECT_EQ(format->finish(sampleSummary()).toStdString(), row.finish);
}

// Critical warnings have a row and a column of their own, between errors and warnings.
const std::string kSummary = "\n1234 lines, 11 messages\n"
                             "  Error                    1\n"
                             "  Critical Warning         3\n"
                             "  Warning                  2\n"
                             "  Info                     5\n"
                             "  rule                  Error  Critical Warning  Warning     Info\n"
                             "  bracket-tag-message       1                 3        2        0\n"
                             "  kw                        0                 0        0        5\n"
                             "  2 lines fit a rule but none of its sub-rules\n";

INSTANTIATE_TEST_SUITE_P(Rows, Formats,
    testing::Values(
        FormatRow { "text", "text", false,
            "logs/run 1.log:12: Critical Warning [bracket-tag-message] CRITICAL WARNING: "
            "[Synth 8-327] latch \"q\" in caf\xc3\xa9 %1\t[a.v:3]\n",
            kSummary },
        FormatRow { "text_in_colour", "text", true,
            "logs/run 1.log:12: \033[1;35mCritical Warning\033[0m [bracket-tag-message] "
            "CRITICAL WARNING: [Synth 8-327] latch \"q\" in caf\xc3\xa9 %1\t[a.v:3]\n",
            "\n1234 lines, 11 messages\n"
            "  \033[1;31mError\033[0m                    1\n"
            "  \033[1;35mCritical Warning\033[0m         3\n"
            "  \033[1;33mWarning\033[0m                  2\n"
            "  \033[36mInfo\033[0m                     5\n"
                + kSummary.substr(kSummary.find("  rule")) },
        FormatRow { "jsonl", "jsonl", true,
            "{\"fields\":[[\"id\",\"Synth 8-327\"],[\"text\",\"latch \\\"q\\\" in caf\xc3\xa9 "
            "%1\"]],\"file\":\"logs/run 1.log\",\"line\":12,\"rule\":\"bracket-tag-message\","
            "\"severity\":\"Critical Warning\",\"text\":\"CRITICAL WARNING: [Synth 8-327] latch "
            "\\\"q\\\" in caf\xc3\xa9 %1\\t[a.v:3]\",\"type\":\"message:critical-warning\"}\n",
            "" }),
    [](const testing::TestParamInfo<FormatRow>& info) { return std::string(info.param.name); });

TEST(Formats, AnUnknownNameHasNoFormat)
{
    EXPECT_FALSE(isMessageFormat(QStringLiteral("xml")));
    EXPECT_EQ(makeMessageFormat(QStringLiteral("Text"), {}), nullptr);
    EXPECT_TRUE(isMessageFormat(QStringLiteral("jsonl")));
}

TEST(Formats, TextSummaryWithoutMessagesHasNoRuleTable)
{
    ClassificationSummary summary;
    summary.lines = 3;
    EXPECT_EQ(makeMessageFormat(QStringLiteral("text"), {})->finish(summary).toStdString(),
        "\n3 lines, 0 messages\n  Error                    0\n  Critical Warning         0\n"
        "  Warning                  0\n  Info                     0\n");
}

} // namespace
