// msgfilter classify, run on real tool logs, on logs written in the same formats, and
// on made-up input for the command's own behaviour.

#include "toolrunner.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <array>
#include <cctype>
#include <regex>
#include <string>

#include <gtest/gtest.h>

using namespace toolrunner;

namespace {

// Which lines a person reading a log calls messages, written without the rules: a
// severity tag at the start of the line (indentation allowed), followed by ":" or by
// " (number):", possibly behind a "file:line: " location or behind the upper-case
// name of a helper program and ": ". Returns the severity word, or "" for other lines.
QString oracleSeverity(QByteArray line)
{
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    int start = 0;
    while (start < line.size() && (line.at(start) == ' ' || line.at(start) == '\t')) {
        ++start;
    }
    QByteArray rest = line.mid(start);
    const auto tagAtStart = [](const QByteArray& text) -> QString {
        static const std::array<std::pair<const char*, const char*>, 8> kTags { {
            { "CRITICAL WARNING", "Warning" },
            { "Critical Warning", "Warning" },
            { "ERROR", "Error" },
            { "Error", "Error" },
            { "WARNING", "Warning" },
            { "Warning", "Warning" },
            { "INFO", "Info" },
            { "Info", "Info" },
        } };
        for (const auto& [tag, severity] : kTags) {
            if (!text.startsWith(tag)) {
                continue;
            }
            QByteArray after = text.mid(static_cast<int>(qstrlen(tag)));
            if (after.startsWith(':')) {
                return QLatin1String(severity);
            }
            if (after.startsWith(" (")) {
                int digits = 2;
                while (digits < after.size()
                    && std::isdigit(static_cast<unsigned char>(after.at(digits)))) {
                    ++digits;
                }
                if (digits > 2 && after.mid(digits).startsWith("):")) {
                    return QLatin1String(severity);
                }
            }
        }
        return {};
    };
    QString severity = tagAtStart(rest);
    if (!severity.isEmpty()) {
        return severity;
    }
    // "PROGRAM: tag:" with an upper-case program name.
    int upper = 0;
    while (upper < rest.size() && std::isupper(static_cast<unsigned char>(rest.at(upper)))) {
        ++upper;
    }
    if (upper >= 2 && rest.mid(upper).startsWith(": ")) {
        return tagAtStart(rest.mid(upper + 2));
    }
    // "path:line: tag:".
    const int space = rest.indexOf(' ');
    if (space > 0 && rest.at(space - 1) == ':') {
        const QByteArray location = rest.left(space - 1);
        const int colon = location.lastIndexOf(':');
        bool isNumber = false;
        location.mid(colon + 1).toInt(&isNumber);
        if (colon > 0 && isNumber) {
            return tagAtStart(rest.mid(space + 1));
        }
    }
    return {};
}

// Classifies a log with the default rules and returns its messages by line.
std::map<long long, Message> classified(const QString& log)
{
    const ToolResult result = runTool({ QStringLiteral("classify"), QStringLiteral("--rules"),
        defaultRules(), QStringLiteral("--format"), QStringLiteral("jsonl"), log });
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    return byLine(parseJsonl(result.out));
}

QStringList realLogs()
{
    return filesIn(realDataDirectory(), QStringLiteral("*.log"));
}

QStringList allLogs()
{
    QStringList logs = realLogs();
    logs += filesIn(fixture(QStringLiteral("logs")), QStringLiteral("*.log"));
    logs += filesIn(fixture(QStringLiteral("logs")), QStringLiteral("*.rpt"));
    return logs;
}

TEST(RealLogs, EveryTaggedLineIsAMessageOfItsSeverityAndNoOtherLineIs)
{
    if (realLogs().isEmpty()) {
        GTEST_SKIP() << "no real logs in " << MSGFILTER_REALDATA_DIR;
    }
    for (const QString& log : realLogs()) {
        SCOPED_TRACE(log.toStdString());
        const std::map<long long, Message> messages = classified(log);
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        int mismatches = 0;
        long long tagged = 0;
        for (size_t index = 0; index < lines.size(); ++index) {
            const long long number = static_cast<long long>(index) + 1;
            const QString expected = oracleSeverity(lines[index]);
            const auto found = messages.find(number);
            const QString actual = found == messages.end() ? QString() : found->second.severity;
            tagged += expected.isEmpty() ? 0 : 1;
            if (expected != actual && ++mismatches <= 10) {
                ADD_FAILURE() << "line " << number << ": expected '" << expected.toStdString()
                              << "', got '" << actual.toStdString()
                              << "': " << lines[index].left(160).toStdString();
            }
        }
        EXPECT_EQ(mismatches, 0);
        EXPECT_GT(tagged, 0) << "the oracle found no message at all";
        // Every message must carry the line it came from.
        for (const auto& [number, message] : messages) {
            ASSERT_LE(number, static_cast<long long>(lines.size()));
            EXPECT_EQ(message.text.toUtf8(),
                QByteArray(lines[static_cast<size_t>(number - 1)]).replace('\r', ""))
                << "line " << number;
        }
    }
}

// The tools count their own messages in summary lines; the classification must
// arrive at the same numbers. Each form is checked wherever it occurs.
TEST(AllLogs, CountsAgreeWithTheSummaryLinesOfTheTools)
{
    struct Counts {
        long long info = 0, warning = 0, critical = 0, error = 0;
        bool operator==(const Counts& other) const
        {
            return info == other.info && warning == other.warning && critical == other.critical
                && error == other.error;
        }
    };
    const std::regex runCounters(
        R"((\d+) Infos, (\d+) Warnings, (\d+) Critical Warnings and (\d+) Errors encountered\.)");
    const std::regex errorsThenWarnings(R"(.* (\d+) errors?, (\d+) warnings?)");
    const std::regex warningsThenErrors(R"((\d+) warnings?, (\d+) errors?)");
    const std::regex uniqueWarnings(R"(Warnings: \d+ unique messages, (\d+) total)");
    int checked = 0;
    for (const QString& log : allLogs()) {
        SCOPED_TRACE(log.toStdString());
        const std::map<long long, Message> messages = classified(log);
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        // Counts of the messages on lines [from, to).
        const auto countBetween = [&messages](long long from, long long to, bool ownOnly) {
            Counts counts;
            for (auto it = messages.lower_bound(from); it != messages.end() && it->first < to;
                 ++it) {
                const Message& message = it->second;
                // A helper program's warnings are not the tool's own.
                if (ownOnly && !message.field(QStringLiteral("program")).isNull()) {
                    continue;
                }
                if (message.severity == QLatin1String("Error")) {
                    ++counts.error;
                } else if (message.severity == QLatin1String("Info")) {
                    ++counts.info;
                } else if (message.type.contains(QLatin1String("critical"))) {
                    ++counts.critical;
                } else {
                    ++counts.warning;
                }
            }
            return counts;
        };
        for (size_t index = 0; index < lines.size(); ++index) {
            const long long number = static_cast<long long>(index) + 1;
            const std::string line = QByteArray(lines[index]).replace('\r', "").toStdString();
            if (line.size() > 300) {
                continue;
            }
            std::smatch match;
            const auto value = [&match](size_t group) { return std::stoll(match[group].str()); };
            if (std::regex_match(line, match, runCounters)) {
                // A command counts from its own start, which the log does not mark in
                // every case: some window ending here must give exactly these numbers.
                const Counts expected { value(1), value(2), value(3), value(4) };
                bool found = false;
                for (long long from = number; from >= 1 && !found; --from) {
                    found = countBetween(from, number, false) == expected;
                }
                EXPECT_TRUE(found) << "line " << number << ": " << line;
                ++checked;
            } else if (std::regex_match(line, match, errorsThenWarnings)
                && messages.count(number) == 1) {
                const Counts counts = countBetween(1, number, false);
                EXPECT_EQ(counts.error, value(1)) << "line " << number << ": " << line;
                EXPECT_EQ(counts.warning + counts.critical, value(2)) << "line " << number;
                ++checked;
            } else if (std::regex_match(line, match, warningsThenErrors)) {
                const Counts counts = countBetween(1, number, false);
                EXPECT_EQ(counts.warning + counts.critical, value(1)) << "line " << number;
                EXPECT_EQ(counts.error, value(2)) << "line " << number << ": " << line;
                ++checked;
            } else if (std::regex_match(line, match, uniqueWarnings)) {
                const Counts counts = countBetween(1, number, true);
                EXPECT_EQ(counts.warning + counts.critical, value(1)) << "line " << number;
                ++checked;
            }
        }
    }
    EXPECT_GE(checked, realLogs().isEmpty() ? 4 : 15);
}

struct FieldSample {
    const char* name;
    const char* needle; // the first line of the real logs holding this text
    const char* rule;
    const char* severity;
    std::vector<std::pair<const char*, const char*>> fields;
    const char* fileSuffix; // the "file" field ends so; null: no file expected
};

void PrintTo(const FieldSample& sample, std::ostream* out)
{
    *out << sample.needle;
}

class RealLogFields : public ::testing::TestWithParam<FieldSample> { };

TEST_P(RealLogFields, CutOutWhatAUserWants)
{
    if (realLogs().isEmpty()) {
        GTEST_SKIP() << "no real logs in " << MSGFILTER_REALDATA_DIR;
    }
    const FieldSample& sample = GetParam();
    for (const QString& log : realLogs()) {
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        for (size_t index = 0; index < lines.size(); ++index) {
            if (!lines[index].contains(sample.needle)) {
                continue;
            }
            const std::map<long long, Message> messages = classified(log);
            const auto found = messages.find(static_cast<long long>(index) + 1);
            ASSERT_NE(found, messages.end()) << lines[index].toStdString();
            const Message& message = found->second;
            EXPECT_EQ(message.rule.toStdString(), sample.rule);
            EXPECT_EQ(message.severity.toStdString(), sample.severity);
            for (const auto& [name, value] : sample.fields) {
                EXPECT_EQ(message.field(QLatin1String(name)).toStdString(), value) << name;
            }
            if (sample.fileSuffix != nullptr) {
                EXPECT_TRUE(message.field(QStringLiteral("file"))
                                .endsWith(QLatin1String(sample.fileSuffix)))
                    << message.field(QStringLiteral("file")).toStdString();
            } else {
                EXPECT_TRUE(message.field(QStringLiteral("file")).isNull());
            }
            return;
        }
    }
    FAIL() << "no real log holds " << sample.needle;
}

INSTANTIATE_TEST_SUITE_P(Samples, RealLogFields,
    ::testing::Values(
        FieldSample { "NumberAndLocation",
            "Warning (10230): Verilog HDL assignment warning at top.v(45)", "numbered-message",
            "Warning", { { "number", "10230" }, { "line", "45" } }, "/top.v" },
        FieldSample { "IndentedNumbered", "    Info (12023): Found entity 1: spriteObstaculo ",
            "numbered-message", "Info",
            { { "number", "12023" }, { "text", "Found entity 1: spriteObstaculo" },
                { "line", "1" } },
            "/spriteObstaculo.v" },
        FieldSample { "NumberedWithoutLocation",
            "Warning (18236): Number of processors has not been specified", "numbered-message",
            "Warning", { { "number", "18236" } }, nullptr },
        FieldSample { "BracketTagWithDriveLetter",
            "WARNING: [Synth 8-2507] parameter declaration becomes local in apb_uart_sv",
            "bracket-tag-message", "Warning",
            { { "tag", "Synth 8-2507" },
                { "text",
                    "parameter declaration becomes local in apb_uart_sv with formal "
                    "parameter declaration list" },
                { "line", "36" } },
            "/apb_uart/apb_uart.v" },
        FieldSample { "CriticalBracketTag", "CRITICAL WARNING: [Common 17-170] Unknown option",
            "bracket-tag-message", "Warning", { { "tag", "Common 17-170" }, { "line", "2" } },
            ".xdc" },
        FieldSample { "BracketTagWithoutLocation", "INFO: [Device 21-403] Loading part",
            "bracket-tag-message", "Info", { { "tag", "Device 21-403" } }, nullptr },
        FieldSample { "FileLineWarning", "mdio_controller.v:80: Warning: ", "file-line-message",
            "Warning", { { "line", "80" }, { "column", "" } }, "/rtl/mdio_controller.v" },
        FieldSample { "KeywordNamingALocation", "Warning: Replacing memory \\sync_reg with list",
            "keyword-message", "Warning", { { "line", "54" } }, "/rtl/sync_signal.v" },
        FieldSample { "KeywordTextOnly", "Warning: Max frequency for clock", "keyword-message",
            "Warning", {}, nullptr },
        FieldSample { "HelperProgram", ": Warning: The network is combinational",
            "program-prefix-message", "Warning", {}, nullptr }),
    [](const ::testing::TestParamInfo<FieldSample>& info) { return info.param.name; });

// Logs written for these tests in the formats of the same tools: each has a list of
// the lines it must recognise, with severity, rule, type and some fields.
TEST(OtherLogs, MatchTheirExpectations)
{
    const QStringList expectations =
        filesIn(fixture(QStringLiteral("logs")), QStringLiteral("*.expect"));
    ASSERT_GE(expectations.size(), 5);
    for (const QString& expectation : expectations) {
        const QString log = expectation.chopped(static_cast<int>(qstrlen(".expect")));
        SCOPED_TRACE(log.toStdString());
        std::map<long long, Message> messages = classified(log);
        for (const QByteArray& row : splitLines(readAll(expectation))) {
            if (row.isEmpty() || row.startsWith('#')) {
                continue;
            }
            const QList<QByteArray> columns = row.split('\t');
            ASSERT_GE(columns.size(), 4) << row.toStdString();
            const long long number = columns[0].toLongLong();
            const auto found = messages.find(number);
            if (found == messages.end()) {
                ADD_FAILURE() << "line " << number << " is not recognised";
                continue;
            }
            const Message& message = found->second;
            EXPECT_EQ(message.severity.toUtf8(), columns[1]) << "line " << number;
            EXPECT_EQ(message.rule.toUtf8(), columns[2]) << "line " << number;
            EXPECT_EQ(message.type.toUtf8(), columns[3]) << "line " << number;
            for (int i = 4; i < columns.size(); ++i) {
                const int equals = columns[i].indexOf('=');
                const QString name = QString::fromUtf8(columns[i].left(equals));
                EXPECT_EQ(message.field(name).toUtf8(), columns[i].mid(equals + 1))
                    << "line " << number << ", field " << name.toStdString();
            }
            messages.erase(found);
        }
        for (const auto& [number, message] : messages) {
            ADD_FAILURE() << "line " << number
                          << " should not be a message: " << message.text.toStdString();
        }
    }
}

TEST(Classify, TextOutputNamesFileLineSeverityAndRuleAndEndsWithASummary)
{
    const QString log = fixture(QStringLiteral("logs/keyword-pnr.log"));
    const ToolResult result =
        runTool({ QStringLiteral("classify"), QStringLiteral("--rules"), defaultRules(), log });
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const QString out = QString::fromUtf8(result.out);
    EXPECT_TRUE(out.contains(log
        + QStringLiteral(":5: Warning [keyword-message] Warning: "
                         "unmatched constraint 'led_err' (on line 12)\n")))
        << out.toStdString();
    EXPECT_TRUE(out.contains(log + QStringLiteral(":13: Error [keyword-message] ERROR: ")));
    EXPECT_FALSE(out.contains(QStringLiteral(":14: "))) << "the summary line is no message";
    EXPECT_FALSE(out.contains(QLatin1Char('\033'))) << "no colour into a pipe";
    const std::vector<std::pair<QString, QString>> summaryRows {
        { QStringLiteral("  Error "), QStringLiteral(" 1") },
        { QStringLiteral("  Warning "), QStringLiteral(" 2") },
        { QStringLiteral("  Info "), QStringLiteral(" 11") },
        { QStringLiteral("  keyword-message "), QStringLiteral(" 1        2       11") },
    };
    for (const auto& [start, end] : summaryRows) {
        bool found = false;
        for (const QString& line : out.split(QLatin1Char('\n'))) {
            found = found || (line.startsWith(start) && line.endsWith(end));
        }
        EXPECT_TRUE(found) << "no summary row " << start.toStdString() << "..." << end.toStdString()
                           << " in\n"
                           << out.toStdString();
    }
    EXPECT_TRUE(out.contains(QStringLiteral("\n15 lines, 14 messages\n")));
}

TEST(Classify, ColourOnlyWhenAskedForOrOnATerminal)
{
    const QByteArray input = "ERROR: broken\nWarning: odd\nInfo: fine\n";
    const ToolResult always = runTool(
        { QStringLiteral("classify"), QStringLiteral("--color"), QStringLiteral("always") }, input);
    EXPECT_TRUE(always.out.contains("-:1: \033[1;31mError\033[0m [keyword-message]"))
        << always.out.toStdString();
    EXPECT_TRUE(always.out.contains("-:2: \033[1;33mWarning\033[0m"));
    EXPECT_TRUE(always.out.contains("-:3: \033[36mInfo\033[0m"));
    const ToolResult never = runTool(
        { QStringLiteral("classify"), QStringLiteral("--color"), QStringLiteral("never") }, input);
    EXPECT_FALSE(never.out.contains('\033'));
    EXPECT_TRUE(never.out.contains("-:1: Error [keyword-message] ERROR: broken\n"));
}

TEST(Classify, StandardInputWithoutFilesOrAsDash)
{
    // The last line has no line feed and still counts.
    const QByteArray input = "Warning: first\nnot a message\nERROR: last";
    for (const QStringList& files : { QStringList {}, QStringList { QStringLiteral("-") } }) {
        SCOPED_TRACE(files.join(QLatin1Char(' ')).toStdString());
        const ToolResult result = runTool(QStringList { QStringLiteral("classify"),
                                              QStringLiteral("--format"), QStringLiteral("jsonl") }
                + files,
            input);
        ASSERT_EQ(result.exitCode, 0);
        const std::vector<Message> messages = parseJsonl(result.out);
        ASSERT_EQ(messages.size(), 2u);
        EXPECT_EQ(messages[0].file, QStringLiteral("-"));
        EXPECT_EQ(messages[0].line, 1);
        EXPECT_EQ(messages[1].line, 3);
        EXPECT_EQ(messages[1].severity, QStringLiteral("Error"));
        EXPECT_EQ(messages[1].text, QStringLiteral("ERROR: last"));
    }
}

TEST(Classify, EachFileCountsItsOwnLinesAndKeepsItsLastLine)
{
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString first = directory.filePath(QStringLiteral("first.log"));
    const QString second = directory.filePath(QStringLiteral("second.log"));
    const auto write = [](const QString& path, const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    };
    write(first, "noise\nWarning: unterminated");
    write(second, "Info: next file\n");
    const ToolResult result = runTool({ QStringLiteral("classify"), QStringLiteral("--format"),
        QStringLiteral("jsonl"), first, second });
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const std::vector<Message> messages = parseJsonl(result.out);
    ASSERT_EQ(messages.size(), 2u) << result.out.toStdString();
    EXPECT_EQ(messages[0].file, first);
    EXPECT_EQ(messages[0].line, 2);
    EXPECT_EQ(messages[0].text, QStringLiteral("Warning: unterminated"));
    EXPECT_EQ(messages[1].file, second);
    EXPECT_EQ(messages[1].line, 1);
    EXPECT_EQ(messages[1].text, QStringLiteral("Info: next file"));
}

TEST(Classify, LineNumbersStayRightOnLongInputs)
{
    // Long enough to span many read chunks and several filters; every 997th line is a
    // message that names its own line number.
    const int lineCount = 150000;
    QByteArray input;
    // Appending a concatenation reserves the exact size each time: reserve once instead.
    input.reserve(lineCount * 32);
    for (int number = 1; number <= lineCount; ++number) {
        const bool message = number % 997 == 0;
        input.append(message ? "Warning: at " : "progress line ");
        input.append(QByteArray::number(number));
        input.append(message ? "\n" : " of the run\n");
    }
    // From a file, which the tool reads in many chunks.
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString log = directory.filePath(QStringLiteral("long.log"));
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(input);
    file.close();
    const ToolResult result = runTool(
        { QStringLiteral("classify"), QStringLiteral("--format"), QStringLiteral("jsonl"), log });
    ASSERT_EQ(result.exitCode, 0);
    const std::vector<Message> messages = parseJsonl(result.out);
    ASSERT_EQ(messages.size(), static_cast<size_t>(lineCount / 997));
    for (const Message& message : messages) {
        ASSERT_EQ(message.text, QStringLiteral("Warning: at %1").arg(message.line));
    }
}

TEST(Classify, JsonKeepsEveryCharacterOfTheLine)
{
    const QByteArray line = "Warning: path \"C:\\tmp\\x\"\tdone \xc3\xa9 {\"not\": json}";
    const ToolResult result =
        runTool({ QStringLiteral("classify"), QStringLiteral("--format"), QStringLiteral("jsonl") },
            line + "\r\n");
    const std::vector<Message> messages = parseJsonl(result.out);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].text.toUtf8(), line);
    EXPECT_EQ(messages[0].field(QStringLiteral("text")).toUtf8(), line.mid(9));
}

TEST(Classify, FailOnTheLowestSeverityThatOccurs)
{
    struct Row {
        const char* input;
        const char* failOn;
        int exitCode;
    };
    const Row rows[] = {
        { "Warning: w\nInfo: i\n", "error", 0 },
        { "Warning: w\nInfo: i\n", "warning", 1 },
        { "Warning: w\nInfo: i\n", "WARNING", 1 },
        { "Warning: w\nInfo: i\n", "info", 1 },
        { "Info: i\nnoise\n", "warning", 0 },
        { "Info: i\n", "info", 1 },
        { "ERROR: e\n", "error", 1 },
        { "noise only\n", "info", 0 },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.input) + " --fail-on " + row.failOn);
        const ToolResult result = runTool(
            { QStringLiteral("classify"), QStringLiteral("--fail-on"), QLatin1String(row.failOn) },
            row.input);
        EXPECT_EQ(result.exitCode, row.exitCode) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty());
    }
}

TEST(Classify, EngineChoiceDecidesWhichFormatsCount)
{
    const QByteArray input = "Warning (10230): numbered\nwarning: plain\n";
    struct Row {
        const char* engine;
        std::vector<long long> lines;
        bool note; // the engine is unknown and "default" stands in
    };
    const Row rows[] = {
        { "default", { 1, 2 }, false },
        { "legacy", { 2 }, false },
        { "no-such-engine", { 1, 2 }, true },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.engine);
        const ToolResult result = runTool(
            { QStringLiteral("classify"), QStringLiteral("--format"), QStringLiteral("jsonl"),
                QStringLiteral("--engine"), QLatin1String(row.engine) },
            input);
        ASSERT_EQ(result.exitCode, 0);
        std::vector<long long> lines;
        for (const Message& message : parseJsonl(result.out)) {
            lines.push_back(message.line);
        }
        EXPECT_EQ(lines, row.lines);
        EXPECT_EQ(result.err.contains("using 'default'"), row.note) << result.err.toStdString();
    }
}

TEST(Classify, WithoutRulesOptionUsesTheRulesThatShipWithTheLibrary)
{
    const ToolResult result =
        runTool({ QStringLiteral("classify"), QStringLiteral("--format"), QStringLiteral("jsonl") },
            "INFO: [Synth 8-6157] synthesizing module 'top'\n");
    ASSERT_EQ(result.exitCode, 0) << result.err.toStdString();
    const std::vector<Message> messages = parseJsonl(result.out);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rule, QStringLiteral("bracket-tag-message"));
}

} // namespace
