#include "htmlformat.h"

#include "messagereview.h"

namespace zefa::msg_filter::tool {

namespace {

ReportMessage reportMessage(const ClassifiedLine& line)
{
    ReportMessage message;
    message.severity = severityName(line.severity);
    message.id = line.id;
    message.text = line.message;
    message.sourceFile = line.sourceFile;
    message.sourceLine = line.sourceLine;
    message.origin = line.file;
    message.originLine = line.number;
    if (line.waived) {
        message.state = QStringLiteral("waived");
    } else if (line.baseline == BaselineState::New) {
        message.state = QStringLiteral("new");
    } else if (line.baseline == BaselineState::Known) {
        message.state = QStringLiteral("known");
    }
    return message;
}

} // namespace

HtmlFormat::HtmlFormat(ReportRun run, const MessageReview* review)
    : m_run(std::move(run))
    , m_review(review)
{
}

QByteArray HtmlFormat::message(const ClassifiedLine& line)
{
    m_report.add(reportMessage(line));
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
    if (m_review != nullptr) {
        run.baseline = m_review->hasBaseline();
        run.waivers = m_review->hasWaivers();
        for (const ClassifiedLine& line : m_review->fixed()) {
            run.fixed.append(reportMessage(line));
        }
    }
    return m_report.page(run);
}

} // namespace zefa::msg_filter::tool
