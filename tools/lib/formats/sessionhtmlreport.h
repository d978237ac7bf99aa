#pragma once

#include "htmlreport.h"
#include "sessionreport.h"

namespace zefa::msg_filter::tool {

/// The report page of a replayed session: every stored message, with one bar per
/// implementation and process; a message the active filter hides counts as waived.
/// `run` describes the session; its origin label and waivers are set here.
QByteArray sessionHtmlPage(const SessionReport& report, ReportRun run);

} // namespace zefa::msg_filter::tool
