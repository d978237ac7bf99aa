#include "reportformat.h"

#include "codequalityreport.h"
#include "githubannotations.h"
#include "junitreport.h"
#include "messagereview.h"
#include "sarifwriter.h"

#include <QBuffer>

namespace zefa::msg_filter::tool {

bool parseSummaryGrouping(const QString& text, MessageSummary::GroupBy& groupBy)
{
    const std::pair<const char*, MessageSummary::GroupBy> groupings[] = {
        { "id", MessageSummary::GroupBy::Id },
        { "file", MessageSummary::GroupBy::Input },
        { "rule", MessageSummary::GroupBy::Rule },
    };
    for (const auto& [name, value] : groupings) {
        if (text == QLatin1String(name)) {
            groupBy = value;
            return true;
        }
    }
    return false;
}

ReportFormat::ReportFormat(ReportKind kind, const FormatOptions& options)
    : m_kind(kind)
    , m_options(options)
    , m_summary(options.summaryGrouping)
{
}

QByteArray ReportFormat::message(const ClassifiedLine& line)
{
    // The summary counts as it goes; the other formats need every line at the end.
    if (m_kind == ReportKind::Summary) {
        m_summary.add(line);
    } else {
        m_lines.push_back(line);
    }
    return {};
}

QByteArray ReportFormat::finish(const ClassificationSummary&)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    switch (m_kind) {
    case ReportKind::Sarif:
        SarifWriter({ m_options.toolVersion, m_options.paths, m_options.waiverJustification })
            .write(m_lines, buffer);
        break;
    case ReportKind::Github:
        GithubAnnotations(m_options.paths).write(m_lines, buffer);
        break;
    case ReportKind::CodeQuality:
        CodeQualityReport(m_options.paths).write(m_lines, buffer);
        break;
    case ReportKind::Junit:
        JunitReport({ m_options.inputs, m_options.policy }).write(m_lines, buffer);
        break;
    case ReportKind::Summary: {
        const MessageReview* review = m_options.review;
        if (review != nullptr) {
            m_summary.setFixed(review->fixed());
        }
        buffer.write(m_summary
                         .text(review != nullptr && review->hasBaseline(),
                             review != nullptr && review->hasWaivers())
                         .toUtf8());
        break;
    }
    }
    return buffer.data();
}

} // namespace zefa::msg_filter::tool
