// The report writers: each against a golden file of the sample run, then the rules of
// each consumer's format that a golden file would only show by accident.

#include "formats/codequalityreport.h"
#include "formats/githubannotations.h"
#include "formats/junitreport.h"
#include "formats/messagesummary.h"
#include "formats/sarifwriter.h"
#include "formatsamples.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;
using formatsamples::ciPaths;
using formatsamples::messages;
using formatsamples::reviewedMessages;

namespace {

template <typename Writer>
QByteArray written(const Writer& writer, const std::vector<ClassifiedLine>& input)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writer.write(input, buffer);
    return buffer.data();
}

// On a mismatch the output is left in the temporary folder, for a look or as the new
// golden file after review.
void expectGolden(const QByteArray& actual, const char* golden)
{
    const QByteArray expected = formatsamples::readFixture(golden);
    if (actual != expected) {
        QFile out(QDir::temp().filePath(QString::fromUtf8(golden)));
        if (out.open(QIODevice::WriteOnly)) {
            out.write(actual);
        }
        ADD_FAILURE() << golden << " differs; the output is in " << out.fileName().toStdString();
    }
}

SarifWriter::Options sarifOptions()
{
    SarifWriter::Options options;
    options.toolVersion = QStringLiteral("1.2.3");
    options.uris = ciPaths();
    options.waiverJustification = QStringLiteral("waived by filter 'accepted' in waivers.xml");
    return options;
}

QJsonObject sarifRun(const std::vector<ClassifiedLine>& input, SarifWriter::Options options)
{
    return SarifWriter(std::move(options))
        .document(input)[QStringLiteral("runs")]
        .toArray()[0]
        .toObject();
}

} // namespace

TEST(ReportFormats, MatchTheirGoldenFiles)
{
    expectGolden(written(SarifWriter(sarifOptions()), reviewedMessages()), "reviewed.sarif");
    expectGolden(written(GithubAnnotations(ciPaths()), reviewedMessages()), "reviewed.github.txt");
    expectGolden(
        written(CodeQualityReport(ciPaths()), reviewedMessages()), "reviewed.codequality.json");
    JunitReport::Options junit;
    junit.inputs = QStringList { QStringLiteral("logs/synth.log"), QStringLiteral("logs/route.log"),
        QStringLiteral("logs/empty.log") };
    junit.policy.failOnNew = Severity::Warning;
    expectGolden(written(JunitReport(junit), reviewedMessages()), "reviewed.junit.xml");
}

TEST(ReportFormats, EachFormatHasItsWordForEverySeverity)
{
    const struct {
        const char* name;
        Severity severity;
        const char* sarifLevel;
        const char* githubCommand;
        const char* codeQuality;
    } rows[] = {
        { "error", Severity::Error, "error", "::error ", "blocker" },
        { "critical warning", Severity::CriticalWarning, "error", "::error ", "critical" },
        { "warning", Severity::Warning, "warning", "::warning ", "minor" },
        { "info", Severity::Info, "note", "::notice ", "info" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClassifiedLine message = messages()[0];
        message.severity = row.severity;
        const QJsonObject run = sarifRun({ message }, sarifOptions());
        const QJsonObject result = run[QStringLiteral("results")].toArray()[0].toObject();
        EXPECT_EQ(result[QStringLiteral("level")].toString().toStdString(), row.sarifLevel);
        // The level is SARIF's; the tool's own word stays beside it.
        EXPECT_EQ(result[QStringLiteral("properties")][QStringLiteral("severity")].toString(),
            severityName(row.severity));
        const QJsonObject rule =
            run[QStringLiteral("tool")][QStringLiteral("driver")][QStringLiteral("rules")]
                .toArray()[0]
                .toObject();
        EXPECT_EQ(rule[QStringLiteral("defaultConfiguration")][QStringLiteral("level")]
                      .toString()
                      .toStdString(),
            row.sarifLevel);
        EXPECT_TRUE(GithubAnnotations(ciPaths()).command(message).startsWith(
            QString::fromUtf8(row.githubCommand)));
        const QJsonObject issue = CodeQualityReport(ciPaths()).issues({ message })[0].toObject();
        EXPECT_EQ(issue[QStringLiteral("severity")].toString().toStdString(), row.codeQuality);
    }
}

TEST(SarifWriter, OneRulePerIdAndResultsPointAtTheirRule)
{
    const QJsonObject run = sarifRun(messages(), sarifOptions());
    const QJsonArray rules =
        run[QStringLiteral("tool")][QStringLiteral("driver")][QStringLiteral("rules")].toArray();
    const QJsonArray results = run[QStringLiteral("results")].toArray();
    ASSERT_EQ(results.size(), static_cast<int>(messages().size()));
    QStringList ids;
    for (const QJsonValue& rule : rules) {
        ids << rule[QStringLiteral("id")].toString();
    }
    EXPECT_EQ(ids.join(QLatin1Char('|')).toStdString(), "Synth 8-3331|9991|Synth 8-327|9990|10230");
    for (const QJsonValue& result : results) {
        EXPECT_EQ(rules[result[QStringLiteral("ruleIndex")].toInt()][QStringLiteral("id")],
            result[QStringLiteral("ruleId")]);
    }
}

TEST(SarifWriter, FingerprintsIgnoreMovedLinesAndTellRepeatsApart)
{
    const auto fingerprints = [](const std::vector<ClassifiedLine>& input) {
        QStringList values;
        for (const QJsonValue& result :
            sarifRun(input, sarifOptions())[QStringLiteral("results")].toArray()) {
            values << result[QStringLiteral("partialFingerprints")][QStringLiteral("messageKey/v1")]
                          .toString();
        }
        return values;
    };
    std::vector<ClassifiedLine> moved = messages();
    for (ClassifiedLine& message : moved) {
        message.number += 100;
        message.sourceLine = message.sourceLine > 0 ? message.sourceLine + 3 : 0;
    }
    EXPECT_EQ(fingerprints(moved), fingerprints(messages()));

    std::vector<ClassifiedLine> repeated { messages()[1], messages()[1] };
    const QStringList twice = fingerprints(repeated);
    EXPECT_NE(twice[0], twice[1]);
    EXPECT_EQ(twice[0], fingerprints({ messages()[1] })[0]);
}

TEST(SarifWriter, WithoutSourceRootPathsStayAsTheLogWritesThem)
{
    SarifWriter::Options options = sarifOptions();
    options.uris = SourceUri(QString(), QStringLiteral("/work/ci"));
    const QJsonObject run = sarifRun({ messages()[3] }, options);
    EXPECT_FALSE(run.contains(QStringLiteral("originalUriBaseIds")));
    const QJsonObject artifact = run[QStringLiteral("results")][0][QStringLiteral(
        "locations")][0][QStringLiteral("physicalLocation")][QStringLiteral("artifactLocation")]
                                     .toObject();
    EXPECT_EQ(artifact[QStringLiteral("uri")].toString().toStdString(), "rtl/uart_rx.v");
    EXPECT_FALSE(artifact.contains(QStringLiteral("uriBaseId")));
}

TEST(SourceUri, ResolvesWhatLogsWrite)
{
    const struct {
        const char* name;
        const char* root;
        const char* path;
        const char* uri;
        bool underRoot;
    } rows[] = {
        { "relative, no root", "", "rtl/top.v", "rtl/top.v", false },
        { "relative, resolved under the root", "/work/ci", "./rtl/../rtl/top.v", "rtl/top.v",
            true },
        { "relative, outside the root", "/work/ci/sub", "rtl/top.v", "file:///work/ci/rtl/top.v",
            false },
        { "absolute under the root", "/work/ci", "/work/ci/a/b.v", "a/b.v", true },
        { "root is only a prefix of the name", "/work/ci", "/work/cix/b.v", "file:///work/cix/b.v",
            false },
        { "windows drive", "", "E:\\proj\\a b.v", "file:///E:/proj/a%20b.v", false },
        { "windows drive under a windows root", "E:/proj", "E:\\proj\\a b.v", "a%20b.v", true },
        { "colon in the first segment", "", "c:d/x.v", "./c:d/x.v", false },
        { "percent and hash", "", "a%b#c.v", "a%25b%23c.v", false },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const SourceUri uris(QString::fromUtf8(row.root), QStringLiteral("/work/ci"));
        const SourceUri::Result result = uris.resolve(QString::fromUtf8(row.path));
        EXPECT_EQ(result.uri.toStdString(), row.uri);
        EXPECT_EQ(result.underSourceRoot, row.underRoot);
    }
}

TEST(GithubAnnotations, EscapesWhatTheRunnerReadsAsSyntax)
{
    const struct {
        const char* name;
        const char* text;
        const char* data;
        const char* property;
    } rows[] = {
        { "plain", "latch q_reg", "latch q_reg", "latch q_reg" },
        { "percent first, so escapes are not escaped twice", "50%0A", "50%250A", "50%250A" },
        { "line breaks", "a\r\nb", "a%0D%0Ab", "a%0D%0Ab" },
        { "colon and comma only in properties", "a: b, c", "a: b, c", "a%3A b%2C c" },
        { "double colon", "x::y", "x::y", "x%3A%3Ay" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(
            GithubAnnotations::escapeData(QString::fromUtf8(row.text)).toStdString(), row.data);
        EXPECT_EQ(GithubAnnotations::escapeProperty(QString::fromUtf8(row.text)).toStdString(),
            row.property);
    }
}

TEST(CodeQualityReport, FingerprintsAreUniqueAndEqualTheSarifOnes)
{
    std::vector<ClassifiedLine> input = messages();
    input.push_back(messages()[0]);
    const QJsonArray issues = CodeQualityReport(ciPaths()).issues(input);
    const QJsonArray results = sarifRun(input, sarifOptions())[QStringLiteral("results")].toArray();
    ASSERT_EQ(issues.size(), results.size());
    QStringList seen;
    for (int index = 0; index < issues.size(); ++index) {
        const QString fingerprint = issues[index][QStringLiteral("fingerprint")].toString();
        EXPECT_FALSE(seen.contains(fingerprint)) << index;
        seen << fingerprint;
        EXPECT_EQ(fingerprint,
            results[index][QStringLiteral("partialFingerprints")][QStringLiteral("messageKey/v1")]
                .toString());
    }
}

TEST(JunitReport, FailsOnErrorsAndOnWhatFailsTheRun)
{
    using S = Severity;
    using B = BaselineState;
    const std::optional<Severity> none;
    const struct {
        const char* name;
        Severity severity;
        BaselineState state;
        bool waived;
        std::optional<Severity> failOn;
        std::optional<Severity> failOnNew;
        bool failsRun;
        bool failsCase;
    } rows[] = {
        { "an error fails the case, not the run", S::Error, B::None, false, none, none, false,
            true },
        { "a warning passes without options", S::Warning, B::None, false, none, none, false,
            false },
        { "--fail-on warning fails on warnings", S::Warning, B::None, false, S::Warning, none, true,
            true },
        { "--fail-on warning passes info", S::Info, B::None, false, S::Warning, none, false,
            false },
        { "--fail-on-new fails on a new warning", S::Warning, B::New, false, none, S::Warning, true,
            true },
        { "--fail-on-new passes a known warning", S::Warning, B::Known, false, none, S::Warning,
            false, false },
        { "--fail-on-new passes a new info", S::Info, B::New, false, none, S::Warning, false,
            false },
        { "a known error still fails the case", S::Error, B::Known, false, none, S::Warning, false,
            true },
        { "a waived warning fails nothing", S::Warning, B::New, true, S::Info, S::Info, false,
            false },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ClassifiedLine message = messages()[0];
        message.severity = row.severity;
        message.baseline = row.state;
        message.waived = row.waived;
        const FailurePolicy policy { row.failOn, row.failOnNew };
        EXPECT_EQ(policy.fails(message), row.failsRun);
        if (!row.waived) {
            EXPECT_EQ(JunitReport({ {}, policy }).fails(message), row.failsCase);
        }
    }
}

TEST(JunitReport, ControlCharactersOfTheLogLeaveWellFormedXml)
{
    ClassifiedLine message = messages()[0];
    message.message = QStringLiteral("\x1b[31mred\x1b[0m & <b>");
    const QByteArray xml =
        written(JunitReport({ { message.file }, { Severity::Warning, {} } }), { message });
    QXmlStreamReader reader(xml);
    QString failure;
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement
            && reader.name() == QLatin1String("failure")) {
            failure = reader.readElementText();
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_EQ(failure.toStdString(), "logs/synth.log:7: Warning: [31mred[0m & <b>\n");
}

TEST(MessageSummary, GroupsSortsAndCountsWaivedApart)
{
    MessageSummary summary(MessageSummary::GroupBy::Id);
    for (const ClassifiedLine& message : reviewedMessages()) {
        summary.add(message);
    }
    std::vector<ClassifiedLine> fixed { messages()[4] };
    summary.setFixed(fixed);
    expectGolden(summary.text(true, true).toUtf8(), "reviewed.summary.txt");

    const std::vector<MessageSummary::Row> rows = summary.rows();
    ASSERT_EQ(rows.size(), 5U);
    EXPECT_EQ(rows[0].key.toStdString(), "9990");
    EXPECT_EQ(rows[1].key.toStdString(), "Synth 8-3331");
    EXPECT_EQ(rows[1].count, 2);
    // Two untagged warnings: the waived one counts apart and is not the first place.
    EXPECT_EQ(rows[2].key.toStdString(), "9991");
    EXPECT_EQ(rows[2].count, 1);
    EXPECT_EQ(rows[2].waived, 1);
    EXPECT_EQ(rows[2].firstLogLine, 11);
}

TEST(MessageSummary, GroupsByInputAndByRule)
{
    const struct {
        const char* name;
        MessageSummary::GroupBy groupBy;
        const char* keys;
    } rows[] = {
        { "input", MessageSummary::GroupBy::Input, "logs/synth.log=4|logs/route.log=3" },
        { "rule", MessageSummary::GroupBy::Rule,
            "file-line-message=1|bracket-tag-message=3|keyword-message=2|numbered-message=1" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MessageSummary summary(row.groupBy);
        for (const ClassifiedLine& message : messages()) {
            summary.add(message);
        }
        QStringList keys;
        for (const MessageSummary::Row& group : summary.rows()) {
            keys << group.key + QLatin1Char('=') + QString::number(group.count);
        }
        EXPECT_EQ(keys.join(QLatin1Char('|')).toStdString(), row.keys);
    }
}

TEST(MessageSummary, ColumnsStayAlignedForLongSeverityWords)
{
    ClassifiedLine critical = messages()[2];
    critical.severity = Severity::CriticalWarning;
    MessageSummary summary(MessageSummary::GroupBy::Id);
    summary.add(critical);
    summary.add(messages()[4]);
    const QStringList lines = summary.text(false, false).split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 3);
    // The count ends where its header does, whatever the severity word's length.
    const int countEnd = lines[0].indexOf(QStringLiteral("Count")) + 5;
    for (int index : { 1, 2 }) {
        EXPECT_EQ(lines[index].mid(countEnd - 1, 2).toStdString(), "1 ")
            << lines[index].toStdString();
    }
}
