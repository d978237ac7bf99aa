#pragma once

#include "classification.h"
#include "sourceuri.h"

#include <QIODevice>
#include <QJsonObject>
#include <QString>

#include <vector>

namespace zefa::msg_filter::tool {

/// Writes messages as one SARIF 2.1.0 run, in the subset code scanning accepts.
///
/// The driver lists one rule per message id, in order of first appearance, with the
/// level and text of its first message. Each message is one result: its level (an error
/// and a critical warning are "error", a warning "warning", info "note"; the tool's own
/// word is kept in the result's properties as "severity"), its text, the source place
/// it names as primary location with the log line among the related locations, or the
/// log line alone, and a fingerprint that survives moved lines. Its properties keep the
/// tool's severity word, the rule, the input's name and the fields, so that a later run
/// can take the file as its baseline. Waived messages are suppressed results; with a
/// baseline every result carries "new" or "unchanged".
class SarifWriter {
public:
    struct Options {
        QString toolVersion;
        /// Resolves file and log paths; a source root turns them into SRCROOT-relative URIs.
        SourceUri uris { QString(), QString() };
        /// Why waived messages are suppressed, e.g. "waived by filter 'accepted' in waivers.xml".
        QString waiverJustification;
    };

    explicit SarifWriter(Options options);

    QJsonObject document(const std::vector<ClassifiedLine>& messages) const;
    /// Writes the document, indented, with a final line feed.
    void write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const;

private:
    QJsonObject location(const QString& path, long long line, long long column) const;
    QJsonObject result(
        const ClassifiedLine& message, int ruleIndex, const QString& fingerprint) const;

    Options m_options;
};

} // namespace zefa::msg_filter::tool
