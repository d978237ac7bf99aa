#include "lineexplanation.h"

#include "displaytext.h"
#include "rules/linematch.h"
#include "rulesselection.h"
#include "severity.h"

#include <msgfilter/msgfilter.h>

#include <algorithm>
#include <vector>

namespace zefa::msg_filter::tool {

namespace {

using impl_detail::ZefaMsgParserRule;

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
            const impl_detail::RuleSpan span = impl_detail::matchRule(*row.rule, line);
            row.position = span.position;
            row.length = span.length;
        }
        rows.push_back(row);
    }
    // The engine's own decision: the chosen rule, the sub-rule that fired and its fields.
    const impl_detail::LineMatch found = impl_detail::matchLine(rules.rules, rules.engine, line);
    const ZefaMsgParserRule* chosen = found.rule;
    text += QStringLiteral("\nRules of the engine, in the order they are tried:\n");
    text += ruleTable(rows, chosen);

    if (chosen == nullptr) {
        text += QStringLiteral("\nChosen:  none; the line is plain text\n");
        return text;
    }
    text += QStringLiteral("\nChosen:  %1 (type '%2')\n")
                .arg(displayText(chosen->getName()), displayText(chosen->getType()));

    const std::vector<ZefaMsgParserRule::SubRule>& subRules = chosen->getSubRules();
    if (found.subRule < 0) {
        text += QStringLiteral("Sub-rule: none of its %1 sub-rules matches; the line gets no "
                               "message type and no fields\n")
                    .arg(subRules.size());
        return text;
    }
    const ZefaMsgParserRule::SubRule& fired = subRules[static_cast<size_t>(found.subRule)];
    const QString label =
        fired.name.empty() ? QString() : QStringLiteral(" '%1'").arg(displayText(fired.name));
    text += QStringLiteral("Sub-rule: #%1%2 of %3, type '%4', id '%5', matched at position %6\n")
                .arg(found.subRule + 1)
                .arg(label)
                .arg(subRules.size())
                .arg(decode(found.type), decode(found.id))
                .arg(found.subRulePosition);
    const std::vector<std::pair<std::string, std::string>>& fields = found.fields;
    int width = 0;
    for (const auto& field : fields) {
        width = std::max(width, static_cast<int>(field.first.size()));
    }
    text += QStringLiteral("Fields:\n");
    for (const auto& [name, value] : fields) {
        text +=
            QStringLiteral("  %1  %2\n").arg(displayText(name), -width).arg(quoted(decode(value)));
    }
    std::string typeForSeverity = found.type;
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
