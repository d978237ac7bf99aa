#pragma once

#include "messageformat.h"
#include "messagesummary.h"

#include <vector>

namespace zefa::msg_filter::tool {

/// The outputs of classify that need the whole run before they can be written.
enum class ReportKind { Sarif, Github, CodeQuality, Junit, Summary };

/// Reads "id", "file" or "rule", the groupings of --summary.
bool parseSummaryGrouping(const QString& text, MessageSummary::GroupBy& groupBy);

/// Keeps a run's messages, waived ones included, and writes them when the run is over
/// in one report format; each format decides what it shows of waived messages.
class ReportFormat : public MessageFormat {
public:
    ReportFormat(ReportKind kind, const FormatOptions& options);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;

private:
    ReportKind m_kind;
    FormatOptions m_options;
    std::vector<ClassifiedLine> m_lines;
    MessageSummary m_summary;
};

} // namespace zefa::msg_filter::tool
