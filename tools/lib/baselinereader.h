#pragma once

#include "classification.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace zefa::msg_filter::tool {

/// Reads the messages of an earlier run from what `classify` wrote then: jsonl (one
/// object per line; an empty file is a run without messages) or SARIF (its results,
/// suppressed ones left out, as jsonl leaves out waived messages).
///
/// Returns false with a short reason in `error` (without the file's name) when the
/// content is neither: a line that is not a message object, a truncated document.
bool readBaseline(const QByteArray& content, std::vector<ClassifiedLine>& messages, QString& error);

/// Reads the baseline file at `path`; false with a one-line reason that names the file
/// ("cannot read baseline 'PATH': ..." or "baseline 'PATH': ...").
bool readBaselineFile(const QString& path, std::vector<ClassifiedLine>& messages, QString& error);

} // namespace zefa::msg_filter::tool
