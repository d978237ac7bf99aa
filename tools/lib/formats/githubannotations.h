#pragma once

#include "classification.h"
#include "sourceuri.h"

#include <QIODevice>
#include <QString>

#include <vector>

namespace zefa::msg_filter::tool {

/// Writes messages as GitHub Actions workflow commands, one line each:
/// `::warning file=src/top.v,line=42,col=7,title=Synth 8-327::inferring latch`.
///
/// Errors and critical warnings are `::error`, warnings `::warning`, info `::notice`.
/// The place is the source file the message names (relative to the source root when it
/// lies below it), else the log line. The runner reads '%', line breaks and, inside
/// properties, ':' and ',' as syntax, so they are percent-escaped. Waived messages are
/// left out.
class GithubAnnotations {
public:
    explicit GithubAnnotations(SourceUri paths);

    /// One workflow command without its line feed.
    QString command(const ClassifiedLine& message) const;
    void write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const;

    /// The escaping of a command's message: '%', CR, LF.
    static QString escapeData(const QString& text);
    /// The escaping of a property value: that of the message, and ':' and ','.
    static QString escapeProperty(const QString& text);

private:
    SourceUri m_paths;
};

} // namespace zefa::msg_filter::tool
