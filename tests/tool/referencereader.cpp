#include "referencereader.h"

#include <QRegularExpression>

#include <vector>

#include <gtest/gtest.h>

namespace referencereader {

namespace {

// The word a log uses for a severity, as the reader of the log understands it.
std::string severityOfWord(const QString& word)
{
    const QString lower = word.toLower();
    if (lower.startsWith(QLatin1String("critical"))) {
        return "Critical Warning";
    }
    for (const char* error : { "e", "error", "fatal error", "fatal", "fatal_error", "failure" }) {
        if (lower == QLatin1String(error)) {
            return "Error";
        }
    }
    for (const char* warning : { "w", "warn", "warning" }) {
        if (lower == QLatin1String(warning)) {
            return "Warning";
        }
    }
    return "Info"; // info, extra info, note, and the at-sign letters n, i, a
}

// Every shape of tagged line met in the logs, each with the severity word in the group
// "sev" and, where the line has one, the code in "id". The first shape that fits
// decides; the bare keyword comes last since the others start with one too.
const std::vector<QRegularExpression>& shapes()
{
    static const std::vector<QRegularExpression> all = [] {
        const char* const patterns[] = {
            // SEVERITY: [Tool N-M] text
            R"(^\s*(?<sev>ERROR|CRITICAL WARNING|WARNING|INFO):\s+\[(?<id>[^\]]+)\])",
            // Severity (code): text, with or without a blank before the parenthesis
            R"(^\s*(?<sev>Error|ERROR|Critical Warning|CRITICAL WARNING|Warning|WARNING|WARN|)"
            R"(Extra Info|Info|INFO|NOTE) *\((?<id>[A-Z]*\d+)\) *:)",
            // SEVERITY:Program:number - text
            R"(^\s*(?<sev>ERROR|WARNING|INFO):(?<id>[A-Za-z]\w*(?::\d+)?) +- )",
            // [CODE-N SEVERITY] text
            R"(^\s*\[(?<id>[A-Z]\w*-\d+) (?:[A-Z]+-)?(?<sev>ERROR|CRITICAL WARNING|WARNING|INFO)\])",
            // @W: CODE :"file":...|text, @N: CODE |text, @E [TAG] text
            R"(^\s*@(?<sev>[EWNIA]):\s*(?<id>[A-Z]+\d+)\s*[:|])",
            R"(^\s*@(?<sev>[EWNIA])\s*\[(?<id>[^\]]+)\])",
            R"(^\s*@(?<sev>[EWNIA])\s*\|)",
            R"(^\s*@(?<sev>[NIA]):)",
            R"(^\s*@(?<sev>[EWNIA])\s*:\s*"[^"]+":\d)",
            // ** Severity: [(code)] [path(line):] [(code)] text
            R"(^\s*\*\* (?<sev>Error|Fatal|Failure|Warning|Note|Info)(?: \(\w+\))?:)"
            R"(\s*(?:\S+\(\d+\):\s*)?(?:\((?<id>[^()\s]+)\))?)",
            // UVM_SEVERITY [path(line)] @ time: context [ID] text
            R"(^\s*UVM_(?<sev>FATAL|ERROR|WARNING|INFO)\s+(?:\S+\(\d+\)\s+)?@[^:]*:)"
            R"(\s*\S*\s*(?:\[(?<id>[^\]]*)\])?)",
            // %Severity[-CODE]: text
            R"(^\s*%(?<sev>Error|Warning|Info)(?:-(?<id>\w+))?:)",
            // path:line[:column]: severity: text; path:line:column:@time:(assertion error):
            R"((?i)^\s*(?:[A-Za-z]:)?[^:]+:\d+:(?:\d+:)?\s*)"
            R"((?<sev>fatal error|error|critical warning|warning|info|note)\s*:)",
            R"(^\s*[^:\s]+:\d+:\d+:@[^:\s]*:\((?:report|assertion) (?<sev>\w+)\):)",
            // Program: Severity: text, program:severity: text
            R"(^\s*(?<id>[A-Z]\w*): (?<sev>ERROR|Error|CRITICAL WARNING|Critical Warning|)"
            R"(WARNING|Warning|INFO|Info) ?(?::|- ))",
            R"(^\s*(?<id>[^\s:]+):(?<sev>error|warning|info|note):)",
            R"(^\s*(?<id>[A-Z]{2,}) (?<sev>error|warning|info):)",
            // Severity: text, Severity - text, @W - text; keywords come in every case
            R"((?i)^\s*(?<sev>error|fatal_error|fatal|critical warning|warning|info)\s*(?::|-\s))",
            R"(^\s*@(?<sev>[EW])\s*[-:])",
        };
        std::vector<QRegularExpression> compiled;
        for (const char* pattern : patterns) {
            compiled.emplace_back(QString::fromLatin1(pattern));
            EXPECT_TRUE(compiled.back().isValid()) << pattern;
        }
        return compiled;
    }();
    return all;
}

} // namespace

Reading read(const QByteArray& line)
{
    // A simulator's transcript puts "# " in front of every line it prints.
    static const QRegularExpression transcript(QStringLiteral(R"(^\s*#\s+)"));
    const QString text = QString::fromLatin1(line).remove(transcript);
    for (const QRegularExpression& shape : shapes()) {
        const QRegularExpressionMatch match = shape.match(text);
        if (match.hasMatch()) {
            return { severityOfWord(match.captured(QStringLiteral("sev"))),
                match.captured(QStringLiteral("id")).toStdString() };
        }
    }
    return {};
}

} // namespace referencereader
