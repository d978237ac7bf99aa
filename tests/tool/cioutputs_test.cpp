// What a CI job gets from msgfilter: report formats of real logs, a gate on new
// messages against a baseline, waivers written by `msgfilter waive`, and a one-line
// error for every baseline or filter file that cannot be used.

#include "toolrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using testing::HasSubstr;

namespace {

// A synthesis log, and the next run of it: a line at the top moves everything down, the
// unconnected-port warning is gone, a port warning is new, a count in the critical
// warning changed.
const QByteArray kFirstRun =
    "INFO: [Synth 8-6157] synthesizing module 'top' [/src/rtl/top.v:1]\n"
    "WARNING: [Synth 8-327] inferring latch for variable 'q_reg' [/src/rtl/top.v:42]\n"
    "WARNING: [Synth 8-3331] design top has unconnected port dbg[3]\n"
    "CRITICAL WARNING: [Constraints 18-619] clock 'clk' not found, 12 loads\n"
    "Warning: net 'n1' has no driver\n"
    "ERROR: [Synth 8-439] module 'missing' not found\n";
const QByteArray kSecondRun =
    "INFO: [Common 17-206] Exiting\n"
    "INFO: [Synth 8-6157] synthesizing module 'top' [/src/rtl/top.v:1]\n"
    "WARNING: [Synth 8-327] inferring latch for variable 'q_reg' "
    "[/src/rtl/top.v:44]\n"
    "CRITICAL WARNING: [Constraints 18-619] clock 'clk' not found, 13 loads\n"
    "Warning: net 'n1' has no driver\n"
    "WARNING: [Synth 8-7129] port 'x' has no load\n"
    "ERROR: [Synth 8-439] module 'missing' not found\n";

class CiOutputs : public testing::Test {
protected:
    // Both runs are synth.log, in folders of their own, as two CI jobs keep them.
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("first")));
        ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("second")));
        writeFile(path("first/synth.log"), kFirstRun);
        writeFile(path("second/synth.log"), kSecondRun);
    }

    QString path(const char* name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    // Runs classify with the default rules on `log` (a file of the temporary folder),
    // with the given options in front.
    ToolResult classify(const char* options, const char* log) const
    {
        return runTool(words("classify --rules") << defaultRules() << words(options) << path(log));
    }

    // Keeps the standard output of a successful run as a file of the temporary folder.
    QString keep(const ToolResult& result, const char* name) const
    {
        EXPECT_EQ(result.exitCode, 0) << result.err;
        writeFile(path(name), QByteArray::fromStdString(result.out));
        return path(name);
    }

    QTemporaryDir m_dir;
};

QJsonArray sarifResults(const std::string& output)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(output));
    return document[QStringLiteral("runs")][0][QStringLiteral("results")].toArray();
}

// The texts of the messages in jsonl output, with their baseline state when there is one.
std::vector<std::string> texts(const std::string& jsonl)
{
    std::vector<std::string> result;
    for (const QByteArray& line : splitLines(QByteArray::fromStdString(jsonl))) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        const QString state = object[QStringLiteral("baseline")].toString();
        const QString prefix = state.isEmpty() ? QString() : state + QStringLiteral(": ");
        result.push_back(QString(prefix + object[QStringLiteral("text")].toString()).toStdString());
    }
    return result;
}

} // namespace

TEST_F(CiOutputs, SarifOfRealLogsValidatesAndHasAResultPerMessage)
{
    QStringList inputs = logs(true);
    if (inputs.isEmpty()) {
        inputs = logs(false);
    }
    ASSERT_FALSE(inputs.isEmpty());
    ASSERT_TRUE(QFile::exists(QStringLiteral(MSGFILTER_SARIF_SCHEMA)))
        << "the SARIF schema is expected at " MSGFILTER_SARIF_SCHEMA;
    QStringList documents;
    for (const QString& log : inputs) {
        SCOPED_TRACE(log.toStdString());
        const ToolResult jsonl =
            runTool(words("classify --format jsonl --rules") << defaultRules() << log);
        const ToolResult sarif = runTool(
            words("classify --format sarif --source-root /src --rules") << defaultRules() << log);
        ASSERT_EQ(sarif.exitCode, 0) << sarif.err;
        EXPECT_EQ(static_cast<size_t>(sarifResults(sarif.out).size()),
            splitLines(QByteArray::fromStdString(jsonl.out)).size());
        documents << m_dir.filePath(QFileInfo(log).fileName() + QStringLiteral(".sarif"));
        writeFile(documents.back(), QByteArray::fromStdString(sarif.out));
    }
    QProcess python;
    python.start(QStringLiteral("python3"),
        QStringList { QStringLiteral("-c"),
            QStringLiteral(
                "import json, sys, jsonschema\n"
                "schema = json.load(open(sys.argv[1]))\n"
                "for name in sys.argv[2:]:\n"
                "    jsonschema.Draft7Validator(schema).validate(json.load(open(name)))\n"
                "print(len(sys.argv) - 2, 'valid')\n"),
            QStringLiteral(MSGFILTER_SARIF_SCHEMA) }
            + documents);
    ASSERT_TRUE(python.waitForFinished(120000)) << python.errorString().toStdString();
    EXPECT_EQ(python.exitCode(), 0) << python.readAllStandardError().toStdString();
    EXPECT_EQ(python.readAllStandardOutput().trimmed().toStdString(),
        std::to_string(documents.size()) + " valid");
}

TEST_F(CiOutputs, BaselineRoundTripFindsExactlyWhatChanged)
{
    for (const char* format : { "jsonl", "sarif" }) {
        SCOPED_TRACE(format);
        const QString baseline =
            keep(classify((std::string("--format ") + format).c_str(), "first/synth.log"),
                (std::string("baseline.") + format).c_str());
        const QStringList withBaseline = QStringList { QStringLiteral("--baseline"), baseline };

        const ToolResult same = runTool(words("classify --rules")
            << defaultRules() << withBaseline << words("--format jsonl --fail-on-new info")
            << path("first/synth.log"));
        EXPECT_EQ(same.exitCode, 0) << same.err;
        for (const std::string& text : texts(same.out)) {
            EXPECT_THAT(text, testing::StartsWith("known: "));
        }

        const ToolResult next = runTool(words("classify --rules")
            << defaultRules() << withBaseline << words("--format jsonl --fail-on-new warning")
            << path("second/synth.log"));
        EXPECT_EQ(next.exitCode, 1);
        std::vector<std::string> added;
        for (const std::string& text : texts(next.out)) {
            if (text.rfind("new: ", 0) == 0) {
                added.push_back(text);
            }
        }
        // The exiting line is new too, but it is info, below the gate.
        EXPECT_THAT(added,
            testing::ElementsAre("new: INFO: [Common 17-206] Exiting",
                "new: WARNING: [Synth 8-7129] port 'x' has no load"));

        const ToolResult summary = runTool(
            words("summary --rules") << defaultRules() << withBaseline << path("second/synth.log"));
        EXPECT_EQ(summary.exitCode, 0) << summary.err;
        EXPECT_THAT(summary.out,
            HasSubstr("1 message fixed since the baseline\n"
                      "  Warning  Synth 8-3331  design top has unconnected port dbg[3]\n"));
    }
}

TEST_F(CiOutputs, WaiversWrittenFromABaselineAcceptThatRun)
{
    const QString baseline = keep(classify("--format jsonl", "first/synth.log"), "baseline.jsonl");
    const struct {
        const char* name;
        const char* by;
        const char* log;
        std::vector<std::string> left;
    } rows[] = {
        { "messages, same run", "message", "first/synth.log",
            { "ERROR: [Synth 8-439] module 'missing' not found" } },
        { "messages, next run: exact texts only", "message", "second/synth.log",
            { "INFO: [Common 17-206] Exiting",
                "CRITICAL WARNING: [Constraints 18-619] clock 'clk' not found, 13 loads",
                "WARNING: [Synth 8-7129] port 'x' has no load",
                "ERROR: [Synth 8-439] module 'missing' not found" } },
        { "ids, next run", "id", "second/synth.log",
            { "INFO: [Common 17-206] Exiting", "WARNING: [Synth 8-7129] port 'x' has no load",
                "ERROR: [Synth 8-439] module 'missing' not found" } },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const ToolResult waive = runTool(QStringList { QStringLiteral("waive"),
            QStringLiteral("--by"), QString::fromUtf8(row.by), QStringLiteral("--output"),
            path("waivers.xml"), baseline });
        ASSERT_EQ(waive.exitCode, 0) << waive.err;
        EXPECT_THAT(waive.out, HasSubstr("1 error cannot be waived"));

        const QStringList filters { QStringLiteral("--filters"), path("waivers.xml") };
        const ToolResult jsonl = runTool(
            words("classify --format jsonl --rules") << defaultRules() << filters << path(row.log));
        EXPECT_EQ(texts(jsonl.out), row.left);

        const ToolResult sarif = runTool(
            words("classify --format sarif --rules") << defaultRules() << filters << path(row.log));
        int suppressed = 0;
        const QJsonArray results = sarifResults(sarif.out);
        for (const QJsonValue& result : results) {
            suppressed += result[QStringLiteral("suppressions")].toArray().size();
        }
        EXPECT_EQ(results.size() - suppressed, static_cast<int>(row.left.size()));
        EXPECT_GT(suppressed, 0);
    }
}

TEST_F(CiOutputs, WaivedMessagesTripNoGate)
{
    QByteArray warnings = kFirstRun;
    warnings.chop(warnings.size() - warnings.lastIndexOf("ERROR"));
    writeFile(path("warnings.log"), warnings);
    const QString baseline = keep(classify("--format jsonl", "warnings.log"), "baseline.jsonl");
    ASSERT_EQ(runTool(QStringList { QStringLiteral("waive"), QStringLiteral("-o"),
                          path("waivers.xml"), baseline })
                  .exitCode,
        0);
    EXPECT_EQ(classify("--fail-on info", "warnings.log").exitCode, 1);
    const ToolResult waived = runTool(words("classify --fail-on info --filters")
        << path("waivers.xml") << QStringLiteral("--rules") << defaultRules()
        << path("warnings.log"));
    EXPECT_EQ(waived.exitCode, 0) << waived.out;
    EXPECT_THAT(waived.out, HasSubstr("5 waived"));
}

// Each failure is exit status 2 and one line on standard error naming the file.
TEST_F(CiOutputs, UnusableBaselinesAndFilterFilesExitWithTwoAndOneLine)
{
    const QByteArray whole =
        readAll(keep(classify("--format jsonl", "first/synth.log"), "whole.jsonl"));
    writeFile(path("cut.jsonl"), whole.left(whole.indexOf('\n') + 40));
    writeFile(path("cut.sarif"),
        QByteArray::fromStdString(classify("--format sarif", "first/synth.log").out).left(300));
    writeFile(path("filters.xml"),
        "<ZefaMessageFilter><Filter name=\"f\" active=\"\"><GeneralFilter><ID>X</ID><Severity/>"
        "<Milestone/></GeneralFilter></Filter></ZefaMessageFilter>");
    // %D stands for the temporary folder, %T for the truncated filter file of the tests.
    const auto expand = [this](const QString& text) {
        return QString(text)
            .replace(QStringLiteral("%D"), m_dir.path())
            .replace(QStringLiteral("%T"), testData("filters/truncated_filters.xml"));
    };
    const std::pair<const char*, const char*> rows[] = {
        { "classify --baseline %D/absent.jsonl %D/first/synth.log",
            "cannot read baseline '%D/absent.jsonl'" },
        { "classify --baseline %D/cut.jsonl %D/first/synth.log",
            "baseline '%D/cut.jsonl': line 2 is not a message of msgfilter's jsonl or SARIF "
            "output" },
        { "classify --baseline %D/cut.sarif %D/first/synth.log",
            "baseline '%D/cut.sarif': line 1 is not" },
        { "classify --baseline %D/first/synth.log %D/first/synth.log",
            "baseline '%D/first/synth.log': line 1 is not" },
        { "classify --filters %D/absent.xml %D/first/synth.log", "filter file '%D/absent.xml': " },
        { "classify --filters %T %D/first/synth.log",
            "filter file '%T': line 16: Premature end of document." },
        { "classify --filters %D/first/synth.log %D/first/synth.log",
            "filter file '%D/first/synth.log': " },
        { "classify --filters %D/filters.xml --filter g %D/first/synth.log",
            "filter file '%D/filters.xml': no filter named 'g'" },
        { "waive -o %D/w.xml %D/absent.jsonl",
            "msgfilter waive: cannot read baseline '%D/absent.jsonl'" },
        { "waive -o %D/w.xml %D/cut.jsonl", "msgfilter waive: baseline '%D/cut.jsonl': line 2" },
        { "waive -o %D/first/synth.log %D/whole.jsonl",
            "msgfilter waive: filter file '%D/first/synth.log': " },
        { "waive %D/whole.jsonl", "msgfilter waive: needs --output FILE" },
        { "waive -o %D/w.xml", "msgfilter waive: expects one BASELINE file" },
        { "waive --by line -o %D/w.xml %D/whole.jsonl", "unknown waiver kind 'line'" },
        { "classify --fail-on-new warning %D/first/synth.log", "--fail-on-new needs --baseline" },
        { "classify --filter f %D/first/synth.log", "--filter needs --filters" },
        { "classify --summary id --format sarif %D/first/synth.log", "--summary writes text" },
        { "classify --summary ids %D/first/synth.log", "unknown summary grouping 'ids'" },
        { "classify --fail-on-new fatal --baseline %D/whole.jsonl %D/first/synth.log",
            "unknown severity 'fatal'" },
    };
    for (const auto& [arguments, message] : rows) {
        SCOPED_TRACE(arguments);
        QStringList expanded;
        for (const QString& word : words(arguments)) {
            expanded << expand(word);
        }
        expectRefused(expanded, expand(QString::fromUtf8(message)));
    }
}

TEST_F(CiOutputs, OtherFormatsNameTheirPlaces)
{
    const ToolResult github = classify("--format github --source-root /src", "first/synth.log");
    EXPECT_EQ(github.exitCode, 0) << github.err;
    EXPECT_THAT(github.out,
        HasSubstr("::warning file=rtl/top.v,line=42,title=Synth 8-327::inferring latch for "
                  "variable 'q_reg'\n"));
    EXPECT_THAT(github.out,
        HasSubstr("::error file=" + path("first/synth.log").toStdString()
            + ",line=6,title=Synth 8-439::"));

    const ToolResult quality =
        classify("--format codequality --source-root /src", "first/synth.log");
    const QJsonArray issues =
        QJsonDocument::fromJson(QByteArray::fromStdString(quality.out)).array();
    ASSERT_EQ(issues.size(), 6);
    EXPECT_EQ(
        issues[1][QStringLiteral("location")][QStringLiteral("path")].toString().toStdString(),
        "rtl/top.v");

    const ToolResult junit = classify("--format junit", "first/synth.log");
    EXPECT_THAT(junit.out,
        HasSubstr("<testsuite name=\"" + path("first/synth.log").toStdString()
            + "\" tests=\"6\" failures=\"1\""));
}
