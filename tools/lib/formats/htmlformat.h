#pragma once

#include "htmlreport.h"
#include "messageformat.h"

namespace zefa::msg_filter::tool {

/// The report page of a classification: keeps every message and writes the whole page
/// in `finish`.
///
/// A message's id is the first tag, number or id field the rule cut out, its text the
/// first non-empty text field (the whole line when there is none), and the place it
/// points to the file and line fields.
class HtmlFormat : public MessageFormat {
public:
    /// `run` describes the run; `finish` puts the number of lines read before its
    /// subtitle ("classified with ...").
    explicit HtmlFormat(ReportRun run);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;

private:
    ReportRun m_run;
    HtmlReport m_report;
};

} // namespace zefa::msg_filter::tool
