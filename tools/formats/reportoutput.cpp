#include "reportoutput.h"

#include "codequalityreport.h"
#include "githubannotations.h"
#include "junitreport.h"
#include "sarifwriter.h"

namespace zefa::msg_filter::tool {

bool parseReportKind(const QString& text, ReportKind& kind)
{
    const std::pair<const char*, ReportKind> kinds[] = {
        { "sarif", ReportKind::Sarif },
        { "github", ReportKind::Github },
        { "codequality", ReportKind::CodeQuality },
        { "junit", ReportKind::Junit },
    };
    for (const auto& [name, value] : kinds) {
        if (text == QLatin1String(name)) {
            kind = value;
            return true;
        }
    }
    return false;
}

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

ReportOutput::ReportOutput(Options options)
    : m_options(std::move(options))
    , m_summary(m_options.groupBy)
{
}

void ReportOutput::add(const ClassifiedLine& message)
{
    // The summary counts as it goes; the other formats need every message at the end.
    if (m_options.kind == ReportKind::Summary) {
        m_summary.add(message);
    } else {
        m_messages.push_back(message);
    }
}

void ReportOutput::write(const std::vector<ClassifiedLine>& fixed, QIODevice& device)
{
    switch (m_options.kind) {
    case ReportKind::Sarif:
        SarifWriter({ m_options.toolVersion, m_options.paths, m_options.waiverJustification })
            .write(m_messages, device);
        break;
    case ReportKind::Github:
        GithubAnnotations(m_options.paths).write(m_messages, device);
        break;
    case ReportKind::CodeQuality:
        CodeQualityReport(m_options.paths).write(m_messages, device);
        break;
    case ReportKind::Junit:
        JunitReport({ m_options.inputs, m_options.policy }).write(m_messages, device);
        break;
    case ReportKind::Summary:
        m_summary.setFixed(fixed);
        device.write(m_summary.text(m_options.baseline, m_options.waivers).toUtf8());
        break;
    }
}

} // namespace zefa::msg_filter::tool
