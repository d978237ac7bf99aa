#pragma once

#include <QString>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// The severity of a classified line, in rising order; None for a line no rule
/// recognised.
enum class Severity { None = 0, Info = 1, Warning = 2, CriticalWarning = 3, Error = 4 };

/// The severity the engine side gives a message type: "error" or "@E" anywhere in it
/// (any case) is an error, else "warning" or "@W" a warning, anything else info. A
/// warning whose type also says "critical" (any case) is a critical warning here, while
/// the engine side counts it as a warning.
Severity severityOfType(const std::string& type);

/// "Error", "Critical Warning", "Warning", "Info", or "" for None.
QString severityName(Severity severity);

/// The level a CI report gives a message: "error" for an error or a critical warning
/// (tools print one where the design is likely not what was meant: timing not met, a
/// constraint ignored), "warning", else the report's own word for the lowest level.
QString reportLevel(Severity severity, const QString& lowest);

/// Reads "error", "critical-warning", "warning" or "info" in any case, as an option
/// value is written.
bool parseSeverity(const QString& text, Severity& severity);

} // namespace zefa::msg_filter::tool
