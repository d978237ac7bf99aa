#pragma once

#include "htmlreport.h"
#include "messageformat.h"

namespace zefa::msg_filter::tool {

class MessageReview;

/// The report page of a classification: keeps every message, waived ones included,
/// and writes the whole page in `finish`.
class HtmlFormat : public MessageFormat {
public:
    /// `run` describes the run; `finish` puts the number of lines read before its
    /// subtitle ("classified with ..."). `review`, when there is one, gives the page
    /// its baseline, its fixed messages and its waivers.
    HtmlFormat(ReportRun run, const MessageReview* review);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;

private:
    ReportRun m_run;
    const MessageReview* m_review;
    HtmlReport m_report;
};

} // namespace zefa::msg_filter::tool
