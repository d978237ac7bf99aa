#include "textformat.h"

#include "ansicolor.h"
#include "displaytext.h"

#include <algorithm>

namespace zefa::msg_filter::tool {

TextFormat::TextFormat(const FormatOptions& options)
    : m_color(options.color)
{
}

QByteArray TextFormat::message(const ClassifiedLine& line)
{
    return QStringLiteral("%1:%2: %3 [%4] ")
               .arg(line.file)
               .arg(line.number)
               .arg(colored(severityName(line.severity), line.severity, m_color), line.rule)
               .toUtf8()
        + line.text.toUtf8() + '\n';
}

QByteArray TextFormat::finish(const ClassificationSummary& summary)
{
    const auto count = [](long long value, int width) {
        return QStringLiteral("%1").arg(value, width);
    };
    long long messages = 0;
    for (long long value : summary.bySeverity) {
        messages += value;
    }
    QString text = QStringLiteral("\n%1 lines, %2 messages\n").arg(summary.lines).arg(messages);
    for (Severity severity :
        { Severity::Error, Severity::CriticalWarning, Severity::Warning, Severity::Info }) {
        const QString name = severityName(severity);
        text += QStringLiteral("  %1%2%3\n")
                    .arg(colored(name, severity, m_color))
                    .arg(QString(18 - name.size(), QLatin1Char(' ')))
                    .arg(count(summary.bySeverity[static_cast<size_t>(severity)], 8));
    }
    if (!summary.byRule.empty()) {
        int width = 4;
        for (const auto& entry : summary.byRule) {
            width = std::max(width, static_cast<int>(entry.first.size()));
        }
        text += QStringLiteral("  %1   Error  Critical Warning  Warning     Info\n")
                    .arg(QStringLiteral("rule"), -width);
        for (const auto& [rule, counts] : summary.byRule) {
            text += QStringLiteral("  %1 %2 %3 %4 %5\n")
                        .arg(displayText(rule), -width)
                        .arg(count(counts[static_cast<size_t>(Severity::Error)], 7))
                        .arg(count(counts[static_cast<size_t>(Severity::CriticalWarning)], 17))
                        .arg(count(counts[static_cast<size_t>(Severity::Warning)], 8))
                        .arg(count(counts[static_cast<size_t>(Severity::Info)], 8));
        }
    }
    if (summary.ruleWithoutSubRule > 0) {
        text += QStringLiteral("  %1 lines fit a rule but none of its sub-rules\n")
                    .arg(summary.ruleWithoutSubRule);
    }
    return text.toUtf8();
}

} // namespace zefa::msg_filter::tool
