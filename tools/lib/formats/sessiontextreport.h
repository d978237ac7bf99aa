#pragma once

#include "sessionreport.h"

class QTextStream;

namespace zefa::msg_filter::tool {

/// The session report for people: per implementation and process the visible messages
/// (severity, id, text) and the plain lines, then a summary row per process and a total.
void writeSessionText(QTextStream& out, const SessionReport& report, bool color = false);

} // namespace zefa::msg_filter::tool
