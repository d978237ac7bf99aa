#include "messagesummary.h"

#include <algorithm>

namespace zefa::msg_filter::tool {

namespace {

// Every severity a message can have, most severe first; follows the enumeration, so a
// severity added there is counted here too.
std::vector<Severity> severitiesDescending()
{
    std::vector<Severity> severities;
    for (int value = static_cast<int>(Severity::Error); value > static_cast<int>(Severity::None);
         --value) {
        severities.push_back(static_cast<Severity>(value));
    }
    return severities;
}

QString place(const QString& input, long long line)
{
    return input + QLatin1Char(':') + QString::number(line);
}

QString countText(long long count, const QString& singular, const QString& plural)
{
    return QString::number(count) + QLatin1Char(' ') + (count == 1 ? singular : plural);
}

// A table row stays one line whatever the message holds.
QString oneLine(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String(" "));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    return text;
}

} // namespace

MessageSummary::MessageSummary(GroupBy groupBy)
    : m_groupBy(groupBy)
{
}

QString MessageSummary::keyOf(const ClassifiedLine& message) const
{
    switch (m_groupBy) {
    case GroupBy::Input:
        return message.file;
    case GroupBy::Rule:
        return message.rule;
    case GroupBy::Id:
        break;
    }
    return message.id;
}

void MessageSummary::add(const ClassifiedLine& message)
{
    auto input = std::find_if(m_inputs.begin(), m_inputs.end(),
        [&message](const auto& entry) { return entry.first == message.file; });
    if (input == m_inputs.end()) {
        m_inputs.emplace_back(message.file, InputCounts());
        input = std::prev(m_inputs.end());
    }
    const QString key = keyOf(message);
    Row& row = m_rows[key];
    row.key = key;
    if (message.waived) {
        ++row.waived;
        ++input->second.waived;
        ++m_waived;
        return;
    }
    ++input->second.bySeverity[message.severity];
    if (row.count++ == 0) {
        row.firstInput = message.file;
        row.firstLogLine = message.number;
        row.example = message.message;
    }
    row.severity = std::max(row.severity, message.severity);
    if (message.baseline == BaselineState::New) {
        ++row.newCount;
    }
}

void MessageSummary::setFixed(std::vector<ClassifiedLine> fixed)
{
    m_fixed = std::move(fixed);
}

std::vector<MessageSummary::Row> MessageSummary::rows() const
{
    std::vector<Row> rows;
    rows.reserve(m_rows.size());
    for (const auto& entry : m_rows) {
        rows.push_back(entry.second);
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
        if (a.severity != b.severity) {
            return a.severity > b.severity;
        }
        return a.count > b.count;
    });
    return rows;
}

std::vector<std::pair<QString, MessageSummary::InputCounts>> MessageSummary::inputs() const
{
    return m_inputs;
}

QString MessageSummary::text(bool baseline, bool waivers) const
{
    const std::vector<Row> table = rows();
    const QString keyTitle = m_groupBy == GroupBy::Id ? QStringLiteral("Id")
        : m_groupBy == GroupBy::Input                 ? QStringLiteral("Input")
                                                      : QStringLiteral("Rule");
    int severityWidth = 8; // "Severity"
    int keyWidth = keyTitle.size();
    int placeWidth = 5;
    for (const Row& row : table) {
        severityWidth =
            std::max(severityWidth, static_cast<int>(severityName(row.severity).size()));
        keyWidth = std::max(keyWidth, static_cast<int>(row.key.size()));
        placeWidth =
            std::max(placeWidth, static_cast<int>(place(row.firstInput, row.firstLogLine).size()));
    }
    QString header = QStringLiteral("%1 %2")
                         .arg(QStringLiteral("Severity"), -severityWidth)
                         .arg(QStringLiteral("Count"), 7);
    if (baseline) {
        header += QStringLiteral(" %1").arg(QStringLiteral("New"), 6);
    }
    if (waivers) {
        header += QStringLiteral(" %1").arg(QStringLiteral("Waived"), 6);
    }
    QString text = header
        + QStringLiteral("  %1  %2  Example\n")
              .arg(keyTitle, -keyWidth)
              .arg(QStringLiteral("First"), -placeWidth);
    for (const Row& row : table) {
        QString line = QStringLiteral("%1 %2")
                           .arg(severityName(row.severity), -severityWidth)
                           .arg(row.count, 7);
        if (baseline) {
            line += QStringLiteral(" %1").arg(row.newCount, 6);
        }
        if (waivers) {
            line += QStringLiteral(" %1").arg(row.waived, 6);
        }
        const QString first = row.count > 0 ? place(row.firstInput, row.firstLogLine) : QString();
        line += QStringLiteral("  %1  %2  %3")
                    .arg(row.key, -keyWidth)
                    .arg(first, -placeWidth)
                    .arg(oneLine(row.example));
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        text += line + QLatin1Char('\n');
    }
    text += QLatin1Char('\n');
    for (const auto& [input, counts] : m_inputs) {
        QStringList parts;
        for (Severity severity : severitiesDescending()) {
            const auto found = counts.bySeverity.find(severity);
            const long long count = found == counts.bySeverity.end() ? 0 : found->second;
            const QString word = severityName(severity).toLower();
            parts << countText(
                count, word, severity == Severity::Info ? word : word + QLatin1Char('s'));
        }
        if (waivers) {
            parts << countText(counts.waived, QStringLiteral("waived"), QStringLiteral("waived"));
        }
        text += input + QStringLiteral(": ") + parts.join(QStringLiteral(", ")) + QLatin1Char('\n');
    }
    if (baseline) {
        text += QStringLiteral("%1 since the baseline\n")
                    .arg(countText(static_cast<long long>(m_fixed.size()),
                        QStringLiteral("message fixed"), QStringLiteral("messages fixed")));
        for (const ClassifiedLine& message : m_fixed) {
            text += QStringLiteral("  %1 %2  %3\n")
                        .arg(severityName(message.severity), -8)
                        .arg(message.id, oneLine(message.message));
        }
    }
    return text;
}

} // namespace zefa::msg_filter::tool
