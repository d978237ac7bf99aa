// Classifying one input in process with the default rules: neither how the input is cut
// into pieces nor how many threads read it changes the result, line numbers stay right
// over long inputs, and what the summary counts.

#include "formats/messageformat.h"
#include "inputclassifier.h"
#include "loadedrules.h"
#include "toolrunner.h"

#include <QBuffer>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;

namespace {

const RulesSelection& defaultRules()
{
    return toollibtest::loadedRules(toolrunner::defaultRules());
}

struct Result {
    QByteArray output;
    ClassificationSummary summary;
};

// Classifies `input` handed over in pieces of `piece` bytes (0: whole).
Result classify(const QByteArray& input, int piece, const char* format = "jsonl")
{
    Result result;
    const std::unique_ptr<MessageFormat> formatter =
        makeMessageFormat(QString::fromUtf8(format), {});
    InputClassifier classifier(
        defaultRules(), *formatter, QStringLiteral("in.log"), result.summary);
    const int step = piece == 0 ? std::max(1, input.size()) : piece;
    for (int at = 0; at < input.size(); at += step) {
        result.output += classifier.feed(input.mid(at, step));
    }
    result.output += classifier.finish();
    result.output += formatter->finish(result.summary);
    return result;
}

class PieceSizes : public testing::TestWithParam<int> { };

// Every sample log, in text and jsonl, whole against pieces that cut lines anywhere.
TEST_P(PieceSizes, GiveTheSameOutputAsTheWholeInput)
{
    for (const QString& log : toolrunner::logs(false)) {
        SCOPED_TRACE(log.toStdString());
        const QByteArray input = toolrunner::readAll(log);
        for (const char* format : { "text", "jsonl" }) {
            const Result whole = classify(input, 0, format);
            const Result pieces = classify(input, GetParam(), format);
            EXPECT_EQ(pieces.output.toStdString(), whole.output.toStdString()) << format;
            EXPECT_EQ(pieces.summary.lines, whole.summary.lines);
            EXPECT_EQ(pieces.summary.bySeverity, whole.summary.bySeverity);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Bytes, PieceSizes, testing::Values(1, 2, 7, 64, 4096));

TEST(InputClassifier, LineNumbersStayRightOverLongInputs)
{
    // Every 997th line is a message that names its own line number.
    const int lineCount = 150000;
    QByteArray input;
    for (int number = 1; number <= lineCount; ++number) {
        const QByteArray digits = QByteArray::number(number);
        input += number % 997 == 0 ? QByteArray("Warning: at " + digits + '\n')
                                   : QByteArray("progress line " + digits + " of the run\n");
    }
    const Result result = classify(input, 256 * 1024, "text");
    EXPECT_EQ(result.summary.lines, lineCount);
    EXPECT_EQ(result.summary.bySeverity[static_cast<size_t>(Severity::Warning)], lineCount / 997);
    int checked = 0;
    for (const QByteArray& line : result.output.split('\n')) {
        if (line.startsWith("in.log:")) {
            const QByteArray number = line.mid(7, line.indexOf(':', 7) - 7);
            ASSERT_TRUE(line.endsWith("Warning: at " + number)) << line.toStdString();
            ++checked;
        }
    }
    EXPECT_EQ(checked, lineCount / 997);
}

TEST(InputClassifier, ReadsADeviceWithItsNulBytesAndReportsProgress)
{
    QBuffer input;
    input.setData(QByteArray("Warning: a\0b\nnoise\nERROR: last", 30));
    ASSERT_TRUE(input.open(QIODevice::ReadOnly));
    ClassificationSummary summary;
    const std::unique_ptr<MessageFormat> format = makeMessageFormat(QStringLiteral("text"), {});
    InputClassifier classifier(defaultRules(), *format, QStringLiteral("-"), summary);
    QByteArray output;
    qint64 read = 0;
    classifier.feedAll(input, [&](const QByteArray& piece, qint64 bytesRead) {
        output += piece;
        read = bytesRead;
    });
    EXPECT_EQ(read, 30);
    output += classifier.finish();
    EXPECT_EQ(output.toStdString(),
        "-:1: Warning [keyword-message] Warning: a\\x00b\n-:3: Error [keyword-message] ERROR: "
        "last\n");
    EXPECT_EQ(classifier.lines(), 3);
}

// Reads `input` from a device on `jobs` threads, as classify reads a file.
Result classifyDevice(const QByteArray& input, int jobs, const char* format)
{
    QBuffer device;
    device.setData(input);
    EXPECT_TRUE(device.open(QIODevice::ReadOnly));
    Result result;
    const std::unique_ptr<MessageFormat> formatter =
        makeMessageFormat(QString::fromUtf8(format), {});
    InputClassifier classifier(
        defaultRules(), *formatter, QStringLiteral("in.log"), result.summary, jobs);
    classifier.feedAll(
        device, [&](const QByteArray& piece, qint64 /*bytesRead*/) { result.output += piece; });
    result.output += classifier.finish();
    result.output += formatter->finish(result.summary);
    return result;
}

// The whole corpus as one input of many pieces, so that several are read at once and
// lines are numbered across them.
TEST(InputClassifier, SeveralJobsGiveTheBytesOfOne)
{
    QByteArray input;
    for (const QString& log : toolrunner::corpusLogs()) {
        input += toolrunner::readAll(log);
    }
    ASSERT_GT(input.size(), 4 * 1024 * 1024);
    for (const char* format : { "text", "jsonl" }) {
        const Result one = classifyDevice(input, 1, format);
        for (int jobs : { 2, 5 }) {
            const Result several = classifyDevice(input, jobs, format);
            EXPECT_TRUE(several.output == one.output) << format << " with " << jobs << " jobs";
            EXPECT_EQ(several.summary.lines, one.summary.lines);
            EXPECT_EQ(several.summary.byRule, one.summary.byRule);
            EXPECT_EQ(several.summary.ruleWithoutSubRule, one.summary.ruleWithoutSubRule);
        }
    }
}

struct SummaryRow {
    const char* name;
    QByteArray input;
    long long lines;
    long long withoutSubRule;
    Severity highest;
    std::string output;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const SummaryRow& row, std::ostream* out)
{
    *out << row.name;
}

class Summary : public testing::TestWithParam<SummaryRow> { };

TEST_P(Summary, CountsEveryLineAndShowsTheRecognisedOnes)
{
    const SummaryRow& row = GetParam();
    const Result result = classify(row.input, 0);
    EXPECT_EQ(result.summary.lines, row.lines);
    EXPECT_EQ(result.summary.ruleWithoutSubRule, row.withoutSubRule);
    EXPECT_EQ(result.summary.highest, row.highest);
    EXPECT_EQ(result.output.toStdString(), row.output);
}

INSTANTIATE_TEST_SUITE_P(Rows, Summary,
    testing::Values(SummaryRow { "nothing", "", 0, 0, Severity::None, "" },
        SummaryRow { "noise_only", "noise\r\n\n", 2, 0, Severity::None, "" },
        SummaryRow {
            "rule_without_sub_rule", "<msg id=\"x\" broken/>\n", 1, 1, Severity::None, "" },
        SummaryRow { "carriage_return_and_last_line", "Info: one\r\nWarning: two", 2, 0,
            Severity::Warning,
            "{\"fields\":[[\"text\",\"one\"]],\"file\":\"in.log\",\"line\":1,"
            "\"rule\":\"keyword-message\",\"severity\":\"Info\",\"text\":\"Info: one\","
            "\"type\":\"message:info\"}\n"
            "{\"fields\":[[\"text\",\"two\"]],\"file\":\"in.log\",\"line\":2,"
            "\"rule\":\"keyword-message\",\"severity\":\"Warning\",\"text\":\"Warning: two\","
            "\"type\":\"message:warning\"}\n" },
        // A Latin-1 line reads as Latin-1, fields included, never as replacement marks.
        SummaryRow { "latin1_line", "ERROR: caf\xe9\n", 1, 0, Severity::Error,
            "{\"fields\":[[\"text\",\"caf\xc3\xa9\"]],\"file\":\"in.log\",\"line\":1,"
            "\"rule\":\"keyword-message\",\"severity\":\"Error\",\"text\":\"ERROR: caf\xc3\xa9\","
            "\"type\":\"message:error\"}\n" }),
    [](const testing::TestParamInfo<SummaryRow>& info) { return std::string(info.param.name); });

} // namespace
