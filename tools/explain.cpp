// msgfilter explain: shows, for one line, what every rule of the engine makes of it,
// which rule wins, which of its sub-rules fires and what fields it cuts out.

#include "commandline.h"
#include "commands.h"
#include "common/regexpattern.h"
#include "rulesselection.h"
#include "severity.h"

#include <msgfilter/msgfilter.h>

#include <algorithm>
#include <string>
#include <vector>

namespace zefa::msg_filter::tool {

namespace {

using impl_detail::RegexPattern;
using impl_detail::ZefaMsgParserRule;

const char* const kCommand = "explain";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter explain [OPTIONS] LINE\n"
    "\n"
    "Shows how the rules of one engine treat LINE: every rule with the position and\n"
    "length of its match, the rule chosen (the longest match; on equal length the name\n"
    "that sorts first), the first of its sub-rules that matches, and the fields it\n"
    "cuts out.\n"
    "\n"
    "Options:\n"
    "  --rules PATH     Rule file, or a directory holding enginemsg.xml\n"
    "                   (default: the rules the library loads).\n"
    "  --target NAME    Target device family (default: fpga).\n"
    "  --engine NAME    Engine whose rules apply (default: default).\n"
    "  --no-newline     Match LINE as it is. By default a line feed is added, as the\n"
    "                   stand-alone filter sees each line; the engine-side handler\n"
    "                   sees lines without it.\n"
    "  -h, --help       Show this help.\n"
    "\n"
    "Exit status: 0 success, 2 usage error or a rule file that cannot be used.\n");

// Shows control characters, so that a line feed at the end is visible.
QString quoted(const std::string& bytes)
{
    QString text = QStringLiteral("\"");
    for (const char byte : bytes) {
        switch (byte) {
        case '\n':
            text += QStringLiteral("\\n");
            break;
        case '\r':
            text += QStringLiteral("\\r");
            break;
        case '\t':
            text += QStringLiteral("\\t");
            break;
        case '"':
            text += QStringLiteral("\\\"");
            break;
        case '\\':
            text += QStringLiteral("\\\\");
            break;
        default:
            text += QChar::fromLatin1(byte);
        }
    }
    return text + QLatin1Char('"');
}

QString fromBytes(const std::string& bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

// Where a rule's own pattern matches: the engine reports only the length.
int matchPosition(const std::string& pattern, const std::string& line)
{
    return RegexPattern(fromBytes(pattern))
        .search(fromBytes(line), 0, RegexPattern::Captures::Skip)
        .position;
}

struct RuleRow {
    std::string name;
    ZefaMsgParserRule* rule = nullptr; // null: no FilterRule of that name
    int position = -1;
    int length = -1;
};

QString ruleTable(const std::vector<RuleRow>& rows, const ZefaMsgParserRule* chosen)
{
    int width = 4;
    for (const RuleRow& row : rows) {
        width = std::max(width, static_cast<int>(row.name.size()));
    }
    QString text = QStringLiteral("  %1  position  length\n").arg(QStringLiteral("rule"), -width);
    int bestLength = -1;
    for (const RuleRow& row : rows) {
        if (row.rule == chosen && chosen != nullptr) {
            bestLength = row.length;
        }
    }
    for (const RuleRow& row : rows) {
        QString line = QStringLiteral("  %1  ").arg(fromBytes(row.name), -width);
        if (row.rule == nullptr) {
            line += QStringLiteral("(no FilterRule of this name: never matches)");
        } else if (row.length < 0) {
            line +=
                QStringLiteral("%1  %2").arg(QStringLiteral("-"), 8).arg(QStringLiteral("-"), 6);
        } else {
            line += QStringLiteral("%1  %2").arg(row.position, 8).arg(row.length, 6);
            if (row.rule == chosen) {
                line += QStringLiteral("  <- chosen");
            } else if (row.length == bestLength) {
                line += QStringLiteral("  (as long as the chosen rule, whose name sorts first)");
            }
        }
        text += line + QLatin1Char('\n');
    }
    return text;
}

} // namespace

int runExplain(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption rulesOption(
        QStringLiteral("rules"), QString(), QStringLiteral("PATH"));
    const QCommandLineOption targetOption(
        QStringLiteral("target"), QString(), QStringLiteral("NAME"), QStringLiteral("fpga"));
    const QCommandLineOption engineOption(
        QStringLiteral("engine"), QString(), QStringLiteral("NAME"), QStringLiteral("default"));
    const QCommandLineOption noNewline(QStringLiteral("no-newline"), QString());
    parser.addOptions({ rulesOption, targetOption, engineOption, noNewline });
    parser.addPositionalArgument(QStringLiteral("LINE"), QStringLiteral("the line to explain"));
    int status = kExitSuccess;
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return status;
    }
    if (parser.positionalArguments().size() != 1) {
        reportError(kCommand,
            QStringLiteral("needs exactly one LINE (run 'msgfilter explain "
                           "--help')"));
        return kExitFailure;
    }
    RulesSelection rules;
    if (!selectRules(kCommand, parser.value(rulesOption), parser.value(targetOption),
            parser.value(engineOption), rules)) {
        return kExitFailure;
    }
    // Arguments arrive in the locale's encoding; the rules work on the bytes.
    std::string line = parser.positionalArguments().constFirst().toLocal8Bit().toStdString();
    if (!parser.isSet(noNewline)) {
        line += '\n';
    }

    QString text = QStringLiteral("Line:    %1\n").arg(quoted(line));
    text += QStringLiteral("Rules:   %1, target '%2', engine '%3'%4\n")
                .arg(rules.path, fromBytes(rules.targetName), fromBytes(rules.engineName),
                    rules.usesDefaultEngine ? QStringLiteral(" (unknown: 'default' stands in)")
                                            : QString());

    std::vector<RuleRow> rows;
    for (const std::string& name : rules.engine->getRuleNames()) {
        RuleRow row;
        row.name = name;
        row.rule = rules.rules->getRule(name);
        if (row.rule != nullptr) {
            row.length = row.rule->match(line);
            row.position = row.length < 0 ? -1 : matchPosition(row.rule->getRegPatten(), line);
        }
        rows.push_back(row);
    }
    ZefaMsgParserRule* chosen = impl_detail::FindBestMatchRule(rules.rules, rules.engine, line);
    text += QStringLiteral("\nRules of the engine, in the order they are tried:\n");
    text += ruleTable(rows, chosen);

    if (chosen == nullptr) {
        text += QStringLiteral("\nChosen:  none; the line is plain text\n");
        writeOutput(text);
        return kExitSuccess;
    }
    text += QStringLiteral("\nChosen:  %1 (type '%2')\n")
                .arg(fromBytes(chosen->getName()), fromBytes(chosen->getType()));

    std::string subType;
    std::string subId;
    std::vector<std::pair<std::string, std::string>> fields;
    const int position = chosen->matchSubRule(line, subType, subId, fields);
    const std::vector<ZefaMsgParserRule::SubRule>& subRules = chosen->getSubRules();
    if (position < 0) {
        text += QStringLiteral("Sub-rule: none of its %1 sub-rules matches; the line gets no "
                               "message type and no fields\n")
                    .arg(subRules.size());
        writeOutput(text);
        return kExitSuccess;
    }
    // The first sub-rule whose pattern matches is the one that fired.
    size_t fired = 0;
    while (fired < subRules.size() && matchPosition(subRules[fired].reg_patten, line) < 0) {
        ++fired;
    }
    const QString label = fired < subRules.size() && !subRules[fired].name.empty()
        ? QStringLiteral(" '%1'").arg(fromBytes(subRules[fired].name))
        : QString();
    text += QStringLiteral("Sub-rule: #%1%2 of %3, type '%4', id '%5', matched at position %6\n")
                .arg(fired + 1)
                .arg(label)
                .arg(subRules.size())
                .arg(fromBytes(subType), fromBytes(subId))
                .arg(position);
    int width = 0;
    for (const auto& field : fields) {
        width = std::max(width, static_cast<int>(field.first.size()));
    }
    text += QStringLiteral("Fields:\n");
    for (const auto& [name, value] : fields) {
        text += QStringLiteral("  %1  %2\n").arg(fromBytes(name), -width).arg(quoted(value));
    }
    std::string typeForSeverity = subType;
    if (chosen->getName() == "new-message") {
        typeForSeverity.clear();
        for (const auto& [name, value] : fields) {
            if (name == "type") {
                typeForSeverity = value;
            }
        }
    }
    text += QStringLiteral("Severity: %1\n").arg(severityName(severityOfType(typeForSeverity)));
    writeOutput(text);
    return kExitSuccess;
}

} // namespace zefa::msg_filter::tool
