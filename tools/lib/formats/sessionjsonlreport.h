#pragma once

#include "sessionreport.h"

class QTextStream;

namespace zefa::msg_filter::tool {

/// The session report as one JSON object per line: each visible message and plain line,
/// then a summary object per process and a total.
void writeSessionJsonLines(QTextStream& out, const SessionReport& report);

} // namespace zefa::msg_filter::tool
