#pragma once

#include <QString>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// The severity of a classified line, in rising order; None for a line no rule
/// recognised.
enum class Severity { None = 0, Info = 1, Warning = 2, Error = 3 };

/// The severity the engine side gives a message type: "error" or "@E" anywhere in it
/// (any case) is an error, else "warning" or "@W" a warning, anything else info.
Severity severityOfType(const std::string& type);

/// "Error", "Warning", "Info", or "" for None.
QString severityName(Severity severity);

/// Reads "error", "warning" or "info" in any case.
bool parseSeverity(const QString& text, Severity& severity);

} // namespace zefa::msg_filter::tool
