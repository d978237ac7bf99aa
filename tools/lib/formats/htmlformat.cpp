#include "htmlformat.h"

namespace zefa::msg_filter::tool {

HtmlFormat::HtmlFormat(ReportRun run)
    : m_run(std::move(run))
{
}

QByteArray HtmlFormat::message(const ClassifiedLine& line)
{
    ReportMessage message;
    message.severity = severityName(line.severity);
    message.origin = line.file;
    message.originLine = line.number;
    bool hasId = false;
    bool hasText = false;
    bool hasFile = false;
    bool hasLine = false;
    for (const auto& [name, value] : line.fields) {
        if (!hasId
            && (name == QLatin1String("tag") || name == QLatin1String("number")
                || name == QLatin1String("id"))) {
            message.id = value;
            hasId = true;
        } else if (!hasText && name == QLatin1String("text") && !value.isEmpty()) {
            message.text = value;
            hasText = true;
        } else if (!hasFile && name == QLatin1String("file")) {
            message.sourceFile = value;
            hasFile = true;
        } else if (!hasLine && name == QLatin1String("line")) {
            message.sourceLine = value.toLongLong();
            hasLine = true;
        }
    }
    if (!hasText) {
        message.text = line.text;
    }
    m_report.add(message);
    return {};
}

QByteArray HtmlFormat::finish(const ClassificationSummary& summary)
{
    ReportRun run = m_run;
    run.subtitle = QStringLiteral("%1 lines %2").arg(summary.lines).arg(run.subtitle);
    if (summary.ruleWithoutSubRule > 0) {
        run.details.append({ QStringLiteral("Not classified"),
            QStringLiteral("%1 lines fit a rule but none of its sub-rules")
                .arg(summary.ruleWithoutSubRule) });
    }
    return m_report.page(run);
}

} // namespace zefa::msg_filter::tool
