// Baselines: what makes two messages of different runs the same, the counted matching,
// and reading the outputs of an earlier run back.

#include "baselinematcher.h"
#include "baselinereader.h"
#include "formats/sarifwriter.h"
#include "formatsamples.h"
#include "messagedescription.h"
#include "messagekey.h"

#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;
using formatsamples::messages;

namespace {

QStringList keys(const std::vector<ClassifiedLine>& input)
{
    QStringList result;
    for (const ClassifiedLine& message : input) {
        result << matchKey(message);
    }
    return result;
}

QByteArray jsonl(const std::vector<ClassifiedLine>& input)
{
    QByteArray text;
    for (const ClassifiedLine& message : input) {
        text += QJsonDocument(toJsonl(message)).toJson(QJsonDocument::Compact) + '\n';
    }
    return text;
}

QByteArray sarif(const std::vector<ClassifiedLine>& input)
{
    SarifWriter::Options options;
    options.uris = formatsamples::ciPaths();
    return QJsonDocument(SarifWriter(options).document(input)).toJson();
}

} // namespace

TEST(MessageKey, NumbersThatChangeBetweenRunsAreLeftOut)
{
    const struct {
        const char* name;
        const char* text;
        const char* expected;
    } rows[] = {
        { "counts and delays", "12 nets, slack -0.35 ns", "# nets, slack -# ns" },
        { "hexadecimal address", "at 0x7ffd12ab in bram", "at # in bram" },
        { "digits inside names stay", "net n_12 of clk200 drives u3",
            "net n_12 of clk200 drives u3" },
        { "bus index", "port dbg_o[3] unconnected", "port dbg_o[#] unconnected" },
        { "a final dot is not a decimal point", "found 3.", "found #." },
        { "0x without hex digits is a number and a name", "0xg", "#xg" },
        { "no digits", "latch inferred", "latch inferred" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(withoutNumbers(QString::fromUtf8(row.text)).toStdString(), row.expected);
    }
}

TEST(MessageKey, WhatTwoRunsMustShare)
{
    const ClassifiedLine base = messages()[2]; // a tag with a source place
    const struct {
        const char* name;
        void (*change)(ClassifiedLine&);
        bool same;
    } rows[] = {
        { "log line moved", [](ClassifiedLine& m) { m.number += 40; }, true },
        { "source line and column moved",
            [](ClassifiedLine& m) { m.sourceLine = 50, m.sourceColumn = 3; }, true },
        { "another input name", [](ClassifiedLine& m) { m.file = QStringLiteral("other/run.log"); },
            true },
        { "source file in another folder",
            [](ClassifiedLine& m) { m.sourceFile = QStringLiteral("C:\\checkout\\rtl\\top.v"); },
            true },
        { "a number in the text",
            [](ClassifiedLine& m) { m.message += QStringLiteral(" (3 bits)"); }, false },
        { "another source file",
            [](ClassifiedLine& m) { m.sourceFile = QStringLiteral("/work/ci/rtl/bottom.v"); },
            false },
        { "another id", [](ClassifiedLine& m) { m.id = QStringLiteral("Synth 8-328"); }, false },
        { "another severity", [](ClassifiedLine& m) { m.severity = Severity::Error; }, false },
        { "another name in the text",
            [](ClassifiedLine& m) {
                m.message.replace(QStringLiteral("q_reg"), QStringLiteral("r_reg"));
            },
            false },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClassifiedLine changed = base;
        row.change(changed);
        EXPECT_EQ(matchKey(changed) == matchKey(base), row.same);
    }
    ClassifiedLine renumbered = base;
    renumbered.message = QStringLiteral("inferring latch for variable 'q_reg' (4 bits)");
    ClassifiedLine counted = base;
    counted.message = QStringLiteral("inferring latch for variable 'q_reg' (12 bits)");
    EXPECT_EQ(matchKey(renumbered), matchKey(counted));
}

TEST(BaselineMatcher, MatchesCountedAndListsWhatIsGone)
{
    const std::vector<ClassifiedLine> sample = messages();
    // The baseline has message 1 twice and lacks message 2; message 4 is gone now.
    std::vector<ClassifiedLine> baseline { sample[0], sample[1], sample[1], sample[3], sample[4] };
    BaselineMatcher matcher(baseline);
    const struct {
        size_t message;
        BaselineState state;
    } run[] = {
        { 1, BaselineState::Known },
        { 2, BaselineState::New },
        { 1, BaselineState::Known },
        { 1, BaselineState::New }, // a third one: the baseline had two
        { 0, BaselineState::Known },
        { 3, BaselineState::Known },
    };
    for (const auto& step : run) {
        EXPECT_EQ(matcher.match(sample[step.message]), step.state) << step.message;
    }
    EXPECT_EQ(keys(matcher.fixed()), keys({ sample[4] }));
}

TEST(BaselineReader, ReadsBackJsonlAndSarifOfAnEarlierRun)
{
    std::vector<ClassifiedLine> withWaived = messages();
    withWaived[1].waived = true;
    std::vector<ClassifiedLine> unwaived = messages();
    unwaived.erase(unwaived.begin() + 1);
    // "Critical Warning" is written with a blank, unlike the option value.
    std::vector<ClassifiedLine> critical = messages();
    critical[2].severity = Severity::CriticalWarning;

    const struct {
        const char* name;
        QByteArray content;
        std::vector<ClassifiedLine> expected;
    } rows[] = {
        { "jsonl", jsonl(messages()), messages() },
        { "jsonl with CR LF and blank lines", jsonl(messages()).replace("\n", "\r\n\r\n"),
            messages() },
        { "empty jsonl: a run without messages", QByteArray(), {} },
        { "SARIF", sarif(messages()), messages() },
        { "SARIF leaves suppressed results out", sarif(withWaived), unwaived },
        { "jsonl with a critical warning", jsonl(critical), critical },
        { "SARIF with a critical warning", sarif(critical), critical },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<ClassifiedLine> read;
        QString error;
        ASSERT_TRUE(readBaseline(row.content, read, error)) << error.toStdString();
        EXPECT_EQ(keys(read), keys(row.expected));
    }
}

TEST(BaselineReader, RefusesWhatIsNotAnEarlierRun)
{
    const QByteArray lines = jsonl(messages());
    const QByteArray document = sarif(messages());
    const struct {
        const char* name;
        QByteArray content;
        const char* error;
    } rows[] = {
        { "jsonl cut inside the last line", lines.left(lines.size() - 20),
            "line 7 is not a message of msgfilter's jsonl or SARIF output" },
        { "text", QByteArray("1 warning, 0 errors\n"),
            "line 1 is not a message of msgfilter's jsonl or SARIF output" },
        { "JSON of another shape", QByteArray("{\"file\":\"a.log\",\"line\":\"3\"}\n"),
            "line 1 is not a message of msgfilter's jsonl or SARIF output" },
        { "SARIF cut short", document.left(document.size() / 2),
            "line 1 is not a message of msgfilter's jsonl or SARIF output" },
        { "SARIF without runs", QByteArray("{\"version\":\"2.1.0\",\"runs\":{}}"),
            "SARIF without a 'runs' array" },
        { "SARIF result without a rule",
            QByteArray(R"({"runs":[{"results":[{"message":{"text":"x"}}]}]})"),
            "SARIF result 1 has no ruleId, message text or level" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::vector<ClassifiedLine> read;
        QString error;
        EXPECT_FALSE(readBaseline(row.content, read, error));
        EXPECT_EQ(error.toStdString(), row.error);
    }
}
