#pragma once

#include "classification.h"
#include "sourceuri.h"

#include <QIODevice>
#include <QJsonArray>

#include <vector>

namespace zefa::msg_filter::tool {

/// Writes messages as a GitLab code-quality report: a JSON array with one issue per
/// message (`description`, `check_name` the message id, `fingerprint`, `severity`,
/// `location.path`, `location.lines.begin`).
///
/// Severities: error "blocker", critical warning "critical", warning "minor", info
/// "info". The place is the source file the message names (relative to the source root
/// when below it), else the log line. Fingerprints are those of the SARIF output: the
/// same message keeps its fingerprint when only lines move, and messages of one run
/// never share one. Waived messages are left out.
class CodeQualityReport {
public:
    explicit CodeQualityReport(SourceUri paths);

    QJsonArray issues(const std::vector<ClassifiedLine>& messages) const;
    void write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const;

private:
    SourceUri m_paths;
};

} // namespace zefa::msg_filter::tool
