#pragma once

#include "classifiedmessage.h"
#include "failurepolicy.h"
#include "messagesummary.h"
#include "sourceuri.h"

#include <QIODevice>
#include <QStringList>

#include <vector>

namespace zefa::msg_filter::tool {

/// The outputs of classify that need the whole run before they can be written.
enum class ReportKind { Sarif, Github, CodeQuality, Junit, Summary };

/// Reads "sarif", "github", "codequality" or "junit" (the summary is chosen apart).
bool parseReportKind(const QString& text, ReportKind& kind);
/// Reads "id", "file" or "rule".
bool parseSummaryGrouping(const QString& text, MessageSummary::GroupBy& groupBy);

/// Collects a run's reviewed messages and writes them, at the end, in one report format.
class ReportOutput {
public:
    struct Options {
        ReportKind kind = ReportKind::Sarif;
        MessageSummary::GroupBy groupBy = MessageSummary::GroupBy::Id;
        QString toolVersion;
        SourceUri paths { QString(), QString() };
        QStringList inputs;
        FailurePolicy policy;
        QString waiverJustification;
        bool baseline = false;
        bool waivers = false;
    };

    explicit ReportOutput(Options options);

    void add(const ClassifiedLine& message);
    /// Writes the report; `fixed` are the baseline messages the run no longer has.
    void write(const std::vector<ClassifiedLine>& fixed, QIODevice& device);

private:
    Options m_options;
    std::vector<ClassifiedLine> m_messages;
    MessageSummary m_summary;
};

} // namespace zefa::msg_filter::tool
