// msgfilter classify, run on real tool logs, on logs written in the same formats, and
// on made-up input for the command's own behaviour.

#include "referencereader.h"
#include "toolrunner.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <array>
#include <iostream>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::map<long long, Message> classified(const QString& log)
{
    const ToolResult result =
        runTool(words("classify --format jsonl --rules") << defaultRules() << log);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    std::map<long long, Message> messages;
    for (const Message& message : parseJsonl(result.out)) {
        EXPECT_TRUE(messages.emplace(message.line, message).second) << "twice: " << message.line;
    }
    return messages;
}

// Checks a message against columns "severity", "rule", "type", then "name=value" of
// fields; a value "*end" asks only that the field ends so.
void expectMessage(const Message& message, const QList<QByteArray>& columns)
{
    ASSERT_GE(columns.size(), 3);
    EXPECT_EQ(message.severity, columns[0].toStdString());
    EXPECT_EQ(message.rule, columns[1].toStdString());
    EXPECT_EQ(message.type, columns[2].toStdString());
    for (const QByteArray& pair : columns.mid(3)) {
        const std::string name = pair.left(pair.indexOf('=')).toStdString();
        const std::string value = pair.mid(pair.indexOf('=') + 1).toStdString();
        if (value.rfind('*', 0) == 0) {
            EXPECT_THAT(message.field(name), EndsWith(value.substr(1))) << name;
        } else {
            EXPECT_EQ(message.field(name), value) << name;
        }
    }
}

// The tools count their own messages in summary lines; the classification must arrive
// at the same numbers. Returns how many summary lines it checked.
int expectSummaryCounts(
    const std::map<long long, Message>& messages, const std::vector<QByteArray>& lines)
{
    using Counts = std::array<long long, 4>; // info, warning, critical warning, error
    const auto add = [](Counts& counts, const Message& message) {
        ++counts[message.severity == "Error"             ? 3
                : message.severity == "Info"             ? 0
                : message.severity == "Critical Warning" ? 2
                                                         : 1];
    };
    const auto whole = [](const char* pattern) {
        return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern)));
    };
    static const QRegularExpression runCounters = whole(
        R"((\d+) Infos, (\d+) Warnings, (\d+) Critical Warnings and (\d+) Errors encountered\.)");
    static const QRegularExpression errorsFirst = whole(R"(.* (\d+) errors?, (\d+) warnings?)");
    static const QRegularExpression warningsFirst = whole(R"((\d+) warnings?, (\d+) errors?)");
    static const QRegularExpression unique = whole(R"(Warnings: \d+ unique messages, (\d+) total)");
    Counts all {}, own {}; // of the lines above; own: without those of helper programs
    int checked = 0;
    for (long long number = 1; number <= static_cast<long long>(lines.size()); ++number) {
        if (const auto above = messages.find(number - 1); above != messages.end()) {
            add(all, above->second);
            if (above->second.rule != "program-prefix-message") {
                add(own, above->second);
            }
        }
        const QString line = QString::fromLatin1(lines[number - 1]).remove(QLatin1Char('\r'));
        SCOPED_TRACE("line " + std::to_string(number) + ": " + line.toStdString());
        QRegularExpressionMatch match;
        const auto value = [&match](int group) { return match.captured(group).toLongLong(); };
        if ((match = runCounters.match(line)).hasMatch()) {
            // A command counts from its own start, which the log does not mark in every
            // case: some stretch of messages ending here must give exactly these numbers.
            const Counts expected { value(1), value(2), value(3), value(4) };
            Counts window {};
            bool found = window == expected;
            for (auto it = std::make_reverse_iterator(messages.lower_bound(number));
                 it != messages.rend() && !found; ++it) {
                add(window, it->second);
                found = window == expected;
            }
            EXPECT_TRUE(found);
        } else if ((match = errorsFirst.match(line)).hasMatch() && messages.count(number) == 1) {
            EXPECT_EQ(all[3], value(1));
            EXPECT_EQ(all[1] + all[2], value(2));
        } else if ((match = warningsFirst.match(line)).hasMatch()) {
            EXPECT_EQ(all[1] + all[2], value(1));
            EXPECT_EQ(all[3], value(2));
        } else if ((match = unique.match(line)).hasMatch()) {
            EXPECT_EQ(own[1] + own[2], value(1));
        } else {
            continue;
        }
        ++checked;
    }
    return checked;
}

bool isProblem(const std::string& severity)
{
    return severity == "Error" || severity == "Critical Warning" || severity == "Warning";
}

// What one toolchain's logs came to.
struct Agreement {
    int logs = 0;
    long long lines = 0;
    long long problems = 0; // tagged errors, critical warnings and warnings
    long long problemsAgreed = 0; // ... with the same severity and id
    long long infos = 0;
    long long infosRecognised = 0;
    long long untagged = 0;
    long long untaggedMadeProblems = 0;
};

// Every log a toolchain printed: the shared real logs, named after their toolchain in
// front of the first dash, then the corpus, one folder per toolchain.
std::map<std::string, QStringList> logsByToolchain()
{
    std::map<std::string, QStringList> found;
    for (const QString& log : logs(true)) {
        found[QFileInfo(log).fileName().section(QLatin1Char('-'), 0, 0).toStdString()] << log;
    }
    for (const QString& log : corpusLogs()) {
        found[QFileInfo(log).dir().dirName().toStdString()] << log;
    }
    return found;
}

// Reads each line of the log as a person would and as classify does. A tagged error or
// warning must keep its severity and id, no untagged line may become one; `exact` asks
// for the same answer on every line. Returns the counts, failing at most 10 lines.
Agreement compare(const QString& log, const std::map<long long, Message>& messages, bool exact)
{
    const std::vector<QByteArray> lines = splitLines(readAll(log));
    Agreement counts;
    counts.logs = 1;
    counts.lines = static_cast<long long>(lines.size());
    int failures = 0;
    for (size_t index = 0; index < lines.size(); ++index) {
        const referencereader::Reading expected = referencereader::read(lines[index]);
        const auto found = messages.find(static_cast<long long>(index) + 1);
        const Message none;
        const Message& actual = found == messages.end() ? none : found->second;
        const std::string& severity = actual.severity;
        bool right = true;
        if (isProblem(expected.severity)) {
            ++counts.problems;
            right = severity == expected.severity && actual.field("id") == expected.id;
            counts.problemsAgreed += right ? 1 : 0;
        } else if (expected.severity == "Info") {
            ++counts.infos;
            counts.infosRecognised += severity == "Info" ? 1 : 0;
            right = !isProblem(severity) && (!exact || severity == "Info");
        } else {
            ++counts.untagged;
            counts.untaggedMadeProblems += isProblem(severity) ? 1 : 0;
            right = !isProblem(severity) && (!exact || severity.empty());
        }
        if (!right && ++failures <= 10) {
            ADD_FAILURE() << "line " << index + 1 << " is '" << severity << "' id '"
                          << actual.field("id") << "', a reader sees '" << expected.severity
                          << "' id '" << expected.id
                          << "': " << lines[index].left(160).toStdString();
        }
        // A message carries the line it came from.
        if (found != messages.end()) {
            EXPECT_EQ(actual.text, QByteArray(lines[index]).replace('\r', "").toStdString());
        }
    }
    EXPECT_LE(messages.empty() ? 0 : messages.rbegin()->first, counts.lines);
    return counts;
}

TEST(RealLogs, EveryTaggedLineKeepsItsSeverityAndIdAndNoOtherLineBecomesAProblem)
{
    const std::map<std::string, QStringList> toolchains = logsByToolchain();
    if (toolchains.empty()) {
        GTEST_SKIP() << "no real logs";
    }
    Agreement all;
    std::cout << "toolchain         logs    lines  errors+warnings agreed  info recognised  "
                 "untagged made problems\n";
    for (const auto& [toolchain, files] : toolchains) {
        Agreement sum;
        for (const QString& log : files) {
            SCOPED_TRACE(log.toStdString());
            const Agreement one = compare(log, classified(log), false);
            sum.logs += one.logs;
            sum.lines += one.lines;
            sum.problems += one.problems;
            sum.problemsAgreed += one.problemsAgreed;
            sum.infos += one.infos;
            sum.infosRecognised += one.infosRecognised;
            sum.untagged += one.untagged;
            sum.untaggedMadeProblems += one.untaggedMadeProblems;
        }
        std::cout << QStringLiteral("%1 %2 %3 %4/%5 %6/%7 %8/%9\n")
                         .arg(QString::fromStdString(toolchain), -15)
                         .arg(sum.logs, 6)
                         .arg(sum.lines, 8)
                         .arg(sum.problemsAgreed, 16)
                         .arg(sum.problems, -7)
                         .arg(sum.infosRecognised, 9)
                         .arg(sum.infos, -7)
                         .arg(sum.untaggedMadeProblems, 8)
                         .arg(sum.untagged)
                         .toStdString();
        all.infos += sum.infos;
        all.infosRecognised += sum.infosRecognised;
        all.problems += sum.problems;
    }
    EXPECT_GT(all.problems, 0);
    EXPECT_GE(all.infosRecognised * 100, all.infos * 99)
        << all.infosRecognised << " of " << all.infos << " info lines recognised";
}

TEST(RealLogs, SharedLogsAgreeOnEveryLineAndWithTheirOwnCounts)
{
    if (logs(true).isEmpty()) {
        GTEST_SKIP() << "no real logs in " MSGFILTER_REALDATA_DIR;
    }
    std::vector<Message> all;
    int summaries = 0;
    for (const QString& log : logs(true)) {
        SCOPED_TRACE(log.toStdString());
        const std::map<long long, Message> messages = classified(log);
        compare(log, messages, true);
        ASSERT_FALSE(messages.empty());
        summaries += expectSummaryCounts(messages, splitLines(readAll(log)));
        for (const auto& entry : messages) {
            all.push_back(entry.second);
        }
    }
    EXPECT_GE(summaries, 11);

    // What a user wants cut out, on the first message holding the first column.
    const char* const samples[] = {
        "Warning (10230): Verilog HDL assignment warning at top.v(45)|Warning|numbered-message|"
        "message:warning|id=10230|line=45|file=*/top.v",
        "    Info (12023): Found entity 1: spriteObstaculo |Info|numbered-message|message:info|"
        "id=12023|text=Found entity 1: spriteObstaculo|line=1|file=*/spriteObstaculo.v",
        "Warning (18236): Number of processors has not been "
        "specified|Warning|numbered-message|message:warning|"
        "id=18236|file=",
        "WARNING: [Synth 8-2507] parameter declaration becomes local in apb_uart_sv|Warning|"
        "bracket-tag-message|message:warning|id=Synth 8-2507|line=36|file=*/apb_uart/apb_uart.v|"
        "text=parameter declaration becomes local in apb_uart_sv with formal parameter "
        "declaration list",
        "CRITICAL WARNING: [Common 17-170] Unknown option|Critical Warning|bracket-tag-message|"
        "message:critical-warning|id=Common 17-170|line=2|file=*.xdc",
        "INFO: [Device 21-403] Loading part|Info|bracket-tag-message|message:info|"
        "id=Device 21-403|file=",
        "mdio_controller.v:80: Warning: |Warning|file-line-message|message:warning|line=80|"
        "column=|file=*/rtl/mdio_controller.v",
        "Warning: Replacing memory \\sync_reg with list|Warning|keyword-message|message:warning|"
        "line=54|file=*/rtl/sync_signal.v",
        "Warning: Max frequency for clock|Warning|keyword-message|message:warning|file=",
        "ABC: Warning: The network is combinational|Warning|program-prefix-message|"
        "message:warning|id=ABC|file=",
    };
    for (const char* sample : samples) {
        SCOPED_TRACE(sample);
        const QList<QByteArray> columns = QByteArray(sample).split('|');
        const auto message = std::find_if(all.begin(), all.end(), [&columns](const Message& m) {
            return m.text.find(columns[0].toStdString()) != std::string::npos;
        });
        ASSERT_NE(message, all.end());
        expectMessage(*message, columns.mid(1));
    }
}

// Logs written for these tests in the formats of the same tools, with their traps: each
// has a list of the lines it must recognise (tab-separated: line, then the columns of
// expectMessage); no other line may be recognised.
TEST(SampleLogs, MatchTheirExpectationsAndTheirOwnCounts)
{
    int summaries = 0;
    for (const QString& log : logs(false)) {
        SCOPED_TRACE(log.toStdString());
        std::map<long long, Message> messages = classified(log);
        summaries += expectSummaryCounts(messages, splitLines(readAll(log)));
        for (const QByteArray& row : splitLines(readAll(log + QStringLiteral(".expect")))) {
            if (row.isEmpty() || row.startsWith('#')) {
                continue;
            }
            SCOPED_TRACE(row.toStdString());
            const auto found = messages.find(row.split('\t')[0].toLongLong());
            ASSERT_NE(found, messages.end());
            expectMessage(found->second, row.split('\t').mid(1));
            messages.erase(found);
        }
        for (const auto& [number, message] : messages) {
            ADD_FAILURE() << "line " << number << " should not be a message: " << message.text;
        }
    }
    EXPECT_GE(summaries, 5);
}

TEST(Classify, TextOutputNamesFileLineSeverityAndRuleThenSumsUpAndColoursOnRequest)
{
    const QString log = testData("tool/logs/keyword-pnr.log");
    const ToolResult result = runTool(words("classify --rules") << defaultRules() << log);
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::string file = log.toStdString();
    EXPECT_THAT(result.out,
        HasSubstr(file
            + ":5: Warning [keyword-message] Warning: unmatched constraint 'led_err' (on line "
              "12)\n"));
    // Line 14 is a summary of the log, no message; colour stays out of a pipe.
    EXPECT_THAT(result.out,
        EndsWith(file
            + ":13: Error [keyword-message] ERROR: Max frequency for clock "
              "'clk_$glb_clk': 9.81 MHz (FAIL at 12.00 MHz)\n"
            + file
            + ":15: Info [keyword-message] Info: Program finished normally.\n\n"
              "15 lines, 14 messages\n"
              "  Error                    1\n"
              "  Critical Warning         0\n"
              "  Warning                  2\n"
              "  Info                    11\n"
              "  rule              Error  Critical Warning  Warning     Info\n"
              "  keyword-message       1                 0        2       11\n"));
    // Colour when asked for, on standard input, read without files.
    const ToolResult colour = runTool(words("classify --color always"),
        "ERROR: broken\nCritical Warning: close\nWarning: odd\nInfo: fine\n");
    EXPECT_THAT(colour.out,
        StartsWith("-:1: \033[1;31mError\033[0m [keyword-message] ERROR: broken\n"
                   "-:2: \033[1;35mCritical Warning\033[0m [keyword-message] Critical Warning: "
                   "close\n"
                   "-:3: \033[1;33mWarning\033[0m [keyword-message] Warning: odd\n"
                   "-:4: \033[36mInfo\033[0m [keyword-message] Info: fine\n"));
}

// "-" among files is standard input; without --rules the tool uses the rules that ship
// with the library. Each input counts its own lines and keeps a last line without a line
// feed; jsonl keeps every character.
TEST(Classify, ReadsFilesAndStandardInputEachWithItsOwnLineNumbers)
{
    QTemporaryDir directory;
    const QString first = directory.filePath(QStringLiteral("first.log"));
    const QString second = directory.filePath(QStringLiteral("second.log"));
    writeFile(first, "noise\nWarning: unterminated");
    writeFile(second, "Info: next file\n");
    const std::string odd = "Warning: path \"C:\\tmp\\x\"\tdone \xc3\xa9 {\"not\": json}";
    const ToolResult result =
        runTool(words("classify --format jsonl") << first << QStringLiteral("-") << second,
            QByteArray::fromStdString(
                "INFO: [Synth 8-6157] x [a.v:3]\nnoise\n" + odd + "\r\nERROR: last"));
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<Message> messages = parseJsonl(result.out);
    std::vector<std::string> seen;
    for (const Message& m : messages) {
        seen.push_back(m.file + ':' + std::to_string(m.line) + ':' + m.rule + ':' + m.text);
    }
    ASSERT_EQ(seen,
        (std::vector<std::string> {
            first.toStdString() + ":2:keyword-message:Warning: unterminated",
            "-:1:bracket-tag-message:INFO: [Synth 8-6157] x [a.v:3]", "-:3:keyword-message:" + odd,
            "-:4:keyword-message:ERROR: last",
            second.toStdString() + ":1:keyword-message:Info: next file" }));
    // Fields keep the order of the sub-rule.
    EXPECT_EQ(messages[1].fields,
        (std::vector<std::pair<std::string, std::string>> { { "id", "Synth 8-6157" },
            { "text", "x" }, { "file", "a.v" }, { "line", "3" }, { "column", "" } }));
}

TEST(Classify, FailOnTheLowestSeverityThatOccursAndChoiceOfEngine)
{
    // Exit status for --fail-on with each severity, written in any case; a critical
    // warning lies between an error and a warning.
    const char* const severities[] = { "ERROR", "Critical-Warning", "Warning", "info" };
    const std::pair<const char*, const char*> failRows[] = { { "Warning: w\nInfo: i\n", "0011" },
        { "Info: i\nnoise\n", "0001" }, { "ERROR: e\n", "1111" },
        { "CRITICAL WARNING: [Common 17-69] c\n", "0111" }, { "noise only\n", "0000" } };
    for (const auto& [input, exitCodes] : failRows) {
        for (int level = 0; level < 4; ++level) {
            SCOPED_TRACE(std::string(input) + " --fail-on " + severities[level]);
            const ToolResult result =
                runTool(words("classify --fail-on") << QString::fromUtf8(severities[level]), input);
            EXPECT_EQ(result.exitCode, exitCodes[level] - '0');
            EXPECT_EQ(result.err, "");
        }
    }
    // The engine decides which formats count; an unknown one falls back to "default".
    const std::tuple<const char*, std::vector<long long>, bool> engineRows[] = {
        { "default", { 1, 2 }, false }, { "legacy", { 2 }, false },
        { "no-such-engine", { 1, 2 }, true }
    };
    for (const auto& [engine, expected, note] : engineRows) {
        SCOPED_TRACE(engine);
        const ToolResult result =
            runTool(words("classify --format jsonl --engine") << QString::fromUtf8(engine),
                "Warning (10230): numbered\nwarning: plain\n");
        ASSERT_EQ(result.exitCode, 0);
        std::vector<long long> lines;
        for (const Message& message : parseJsonl(result.out)) {
            lines.push_back(message.line);
        }
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(result.err.find("using 'default'") != std::string::npos, note) << result.err;
    }
}

} // namespace
