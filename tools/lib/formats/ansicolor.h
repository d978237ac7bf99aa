#pragma once

#include "severity.h"

#include <QString>

namespace zefa::msg_filter::tool {

/// `text` in the colour of the severity (an ANSI escape), or unchanged without colour.
QString colored(const QString& text, Severity severity, bool color);

} // namespace zefa::msg_filter::tool
