// The output formats of classify on made-up lines and summaries: exactly the bytes a
// user or a program reading them sees.

#include "formats/messageformat.h"
#include "messagedescription.h"

#include <QJsonDocument>

#include <functional>

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
    FormatOptions options;
    options.color = row.color;
    const std::unique_ptr<MessageFormat> format =
        makeMessageFormat(QString::fromUtf8(row.format), options);
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

// jsonl writes each object itself; a JSON reader must get back exactly what the document
// writer of the message's object would have written, escapes and member order included.
struct JsonlRow {
    const char* name;
    ClassifiedLine line;
};

void PrintTo(const JsonlRow& row, std::ostream* out)
{
    *out << row.name;
}

ClassifiedLine withText(const QString& text)
{
    ClassifiedLine line = sampleLine();
    line.text = text;
    line.fields.emplace_back(QStringLiteral("k\u00e9y\n"), text);
    return line;
}

QString fromCodes(std::initializer_list<ushort> codes)
{
    QString text;
    for (const ushort code : codes) {
        text += QChar(code);
    }
    return text;
}

ClassifiedLine changed(const std::function<void(ClassifiedLine&)>& change)
{
    ClassifiedLine line = sampleLine();
    change(line);
    return line;
}

class JsonlObjects : public testing::TestWithParam<JsonlRow> { };

TEST_P(JsonlObjects, AreWhatTheDocumentWriterWrites)
{
    const ClassifiedLine& line = GetParam().line;
    const std::unique_ptr<MessageFormat> format = makeMessageFormat(QStringLiteral("jsonl"), {});
    EXPECT_EQ(format->message(line).toStdString(),
        QByteArray(QJsonDocument(toJsonl(line)).toJson(QJsonDocument::Compact) + '\n')
            .toStdString());
}

INSTANTIATE_TEST_SUITE_P(Rows, JsonlObjects,
    testing::Values(JsonlRow { "sample", sampleLine() },
        JsonlRow { "every_control_character",
            withText(fromCodes({ 0, 1, 7, 8, 9, 10, 11, 12, 13, 14, 0x1b, 0x1f, 0x20, 0x7f })) },
        JsonlRow { "quotes_slashes_and_backslashes", withText(QStringLiteral("\"a\\b/c\"")) },
        JsonlRow { "latin1_and_beyond",
            withText(fromCodes({ 0x80, 0xa0, 0xe9, 0xff, 0x100, 0x7ff, 0x800, 0x2028, 0xfeff,
                0xfffd, 0xfffe, 0xffff })) },
        JsonlRow { "surrogate_pair", withText(fromCodes({ 'a', 0xd83d, 0xde00, 'b' })) },
        JsonlRow { "lone_and_reversed_surrogates",
            withText(fromCodes({ 0xd800, 'x', 0xdc00, 0xde00, 0xd83d, 0xdbff })) },
        JsonlRow { "empty_strings_and_no_fields", changed([](ClassifiedLine& line) {
                      line.fields.clear();
                      line.text.clear();
                      line.file.clear();
                      line.rule = QString();
                  }) },
        JsonlRow { "new_against_a_baseline",
            changed([](ClassifiedLine& line) { line.baseline = BaselineState::New; }) },
        JsonlRow { "known_against_a_baseline",
            changed([](ClassifiedLine& line) { line.baseline = BaselineState::Known; }) },
        JsonlRow {
            "line_one_million", changed([](ClassifiedLine& line) { line.number = 1000000; }) },
        JsonlRow { "largest_exact_line",
            changed([](ClassifiedLine& line) { line.number = 9007199254740992LL; }) },
        JsonlRow { "line_beyond_exact_doubles",
            changed([](ClassifiedLine& line) { line.number = 9007199254740993LL; }) },
        JsonlRow { "line_zero", changed([](ClassifiedLine& line) { line.number = 0; }) },
        JsonlRow { "every_severity_name_error",
            changed([](ClassifiedLine& line) { line.severity = Severity::Error; }) },
        JsonlRow {
            "no_severity", changed([](ClassifiedLine& line) { line.severity = Severity::None; }) }),
    [](const testing::TestParamInfo<JsonlRow>& info) { return std::string(info.param.name); });

// Plain ASCII is copied several characters at a time: a character on either side of
// plain, escaped or written in several bytes, must come out the same wherever it stands
// in a run of plain text, and a pair of surrogates where the run is cut.
TEST(JsonlText, ReadsTheSameAtEveryPlaceInARun)
{
    const std::unique_ptr<MessageFormat> format = makeMessageFormat(QStringLiteral("jsonl"), {});
    const QString characters[] = { fromCodes({ 0 }), fromCodes({ 0x1f }), fromCodes({ 0x20 }),
        fromCodes({ '"' }), fromCodes({ '\\' }), fromCodes({ 0x7e }), fromCodes({ 0x7f }),
        fromCodes({ 0x80 }), fromCodes({ 0xe9 }), fromCodes({ 0x800 }), fromCodes({ 0x7fff }),
        fromCodes({ 0x8000 }), fromCodes({ 0xdc00 }), fromCodes({ 0xffff }),
        fromCodes({ 0xd83d, 0xde00 }) };
    for (const QString& character : characters) {
        for (int before = 0; before <= 17; ++before) {
            const ClassifiedLine line = withText(
                QString(before, QLatin1Char('a')) + character + QString(17 - before, u'b'));
            SCOPED_TRACE(line.text.toStdString());
            EXPECT_EQ(format->message(line).toStdString(),
                QByteArray(QJsonDocument(toJsonl(line)).toJson(QJsonDocument::Compact) + '\n')
                    .toStdString());
        }
    }
}

TEST(Formats, JsonlLeavesWaivedLinesOut)
{
    ClassifiedLine line = sampleLine();
    line.waived = true;
    EXPECT_TRUE(makeMessageFormat(QStringLiteral("jsonl"), {})->message(line).isEmpty());
}

// The text format prints the line as it is, with controls made visible, in UTF-8.
struct TextRow {
    const char* name;
    QString file;
    QString text;
    std::string expected;
};

void PrintTo(const TextRow& row, std::ostream* out)
{
    *out << row.name;
}

class TextLines : public testing::TestWithParam<TextRow> { };

TEST_P(TextLines, PrintExactly)
{
    const TextRow& row = GetParam();
    ClassifiedLine line = sampleLine();
    line.file = row.file;
    line.text = row.text;
    line.severity = Severity::Warning;
    line.rule = QStringLiteral("r");
    EXPECT_EQ(
        makeMessageFormat(QStringLiteral("text"), {})->message(line).toStdString(), row.expected);
}

INSTANTIATE_TEST_SUITE_P(Rows, TextLines,
    testing::Values(TextRow { "controls_escaped_tab_kept", QStringLiteral("a.log"),
                        fromCodes({ 'a', 1, 'b', 0x1b, 'c', 0x7f, 'd', '\t', 'e', '\r', 0 }),
                        "a.log:12: Warning [r] a\\x01b\\x1Bc\\x7Fd\te\\x0D\\x00\n" },
        TextRow { "latin1_and_wider_characters", QStringLiteral("a.log"),
            fromCodes({ 0xe9, 0xa0, 0x20ac, 0xfffd }),
            "a.log:12: Warning [r] \xc3\xa9\xc2\xa0\xe2\x82\xac\xef\xbf\xbd\n" },
        TextRow { "surrogate_pair", QStringLiteral("a.log"), fromCodes({ 0xd83d, 0xde00 }),
            "a.log:12: Warning [r] \xf0\x9f\x98\x80\n" },
        TextRow { "lone_surrogate", QStringLiteral("a.log"), fromCodes({ 'x', 0xd800, 'y' }),
            "a.log:12: Warning [r] x?y\n" },
        TextRow { "control_in_file_name", fromCodes({ 'a', 0x1b, '.', 'l' }), QStringLiteral("t"),
            "a\\x1B.l:12: Warning [r] t\n" },
        // The name's "%1" takes the line number, and the later markers shift along.
        TextRow { "percent_marker_in_file_name", QStringLiteral("run%1.log"), QStringLiteral("t"),
            "run12.log:Warning: r [%4] t\n" }),
    [](const testing::TestParamInfo<TextRow>& info) { return std::string(info.param.name); });

TEST(Formats, TextNamesTheFileOfEachMessage)
{
    const std::unique_ptr<MessageFormat> format = makeMessageFormat(QStringLiteral("text"), {});
    ClassifiedLine line = sampleLine();
    line.text = QStringLiteral("t");
    std::string printed = format->message(line).toStdString();
    line.file = QStringLiteral("second.log");
    printed += format->message(line).toStdString();
    EXPECT_EQ(printed,
        "logs/run 1.log:12: Critical Warning [bracket-tag-message] t\n"
        "second.log:12: Critical Warning [bracket-tag-message] t\n");
}

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
