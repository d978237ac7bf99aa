#include "lineexplanation.h"

#include "common/regexpattern.h"
#include "displaytext.h"
#include "rulesselection.h"
#include "severity.h"

#include <msgfilter/msgfilter.h>

#include <algorithm>
#include <vector>

namespace zefa::msg_filter::tool {

namespace {

using impl_detail::RegexPattern;
using impl_detail::ZefaMsgParserRule;

// The rules match 8-bit text as Latin-1.
QString matchText(const std::string& bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

// Where a rule's own pattern matches: the engine reports only the length.
int matchPosition(const std::string& pattern, const std::string& line)
{
    return RegexPattern(matchText(pattern))
        .search(matchText(line), 0, RegexPattern::Captures::Skip)
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
        QString line = QStringLiteral("  %1  ").arg(displayText(row.name), -width);
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

QString explainLine(const RulesSelection& rules, const std::string& line)
{
    const LineDecoder decode(line);
    QString text = QStringLiteral("Line:    %1\n").arg(quoted(decode.line()));
    text += QStringLiteral("Rules:   %1, target '%2', engine '%3'%4\n")
                .arg(rules.path, displayText(rules.targetName), displayText(rules.engineName),
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
        return text;
    }
    text += QStringLiteral("\nChosen:  %1 (type '%2')\n")
                .arg(displayText(chosen->getName()), displayText(chosen->getType()));

    std::string subType;
    std::string subId;
    std::vector<std::pair<std::string, std::string>> fields;
    const int position = chosen->matchSubRule(line, subType, subId, fields);
    const std::vector<ZefaMsgParserRule::SubRule>& subRules = chosen->getSubRules();
    if (position < 0) {
        text += QStringLiteral("Sub-rule: none of its %1 sub-rules matches; the line gets no "
                               "message type and no fields\n")
                    .arg(subRules.size());
        return text;
    }
    // The first sub-rule whose pattern matches is the one that fired.
    size_t fired = 0;
    while (fired < subRules.size() && matchPosition(subRules[fired].reg_patten, line) < 0) {
        ++fired;
    }
    const QString label = fired < subRules.size() && !subRules[fired].name.empty()
        ? QStringLiteral(" '%1'").arg(displayText(subRules[fired].name))
        : QString();
    text += QStringLiteral("Sub-rule: #%1%2 of %3, type '%4', id '%5', matched at position %6\n")
                .arg(fired + 1)
                .arg(label)
                .arg(subRules.size())
                .arg(decode(subType), decode(subId))
                .arg(position);
    int width = 0;
    for (const auto& field : fields) {
        width = std::max(width, static_cast<int>(field.first.size()));
    }
    text += QStringLiteral("Fields:\n");
    for (const auto& [name, value] : fields) {
        text +=
            QStringLiteral("  %1  %2\n").arg(displayText(name), -width).arg(quoted(decode(value)));
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
    return text;
}

} // namespace zefa::msg_filter::tool
