#include "sessionhtmlreport.h"

#include <msgfilter/msgfilter.h>

namespace zefa::msg_filter::tool {

QByteArray sessionHtmlPage(const SessionReport& report, ReportRun run)
{
    HtmlReport page;
    for (const SessionProcess& process : report) {
        for (const SessionEntry& entry : process.entries) {
            if (entry.node == nullptr) {
                continue;
            }
            ReportMessage message;
            message.severity = entry.node->getMessageSeverity();
            message.id = entry.node->getMessageID();
            message.text = messageText(entry.node);
            // A message points to a place when its navigation arguments start with a
            // file and a line; those of an older-format line are the rule's fields,
            // which may be a tag or a text instead.
            const QStringList navigation = entry.node->getMessageNavigationData();
            bool isLine = false;
            const long long line = navigation.value(1).toLongLong(&isLine);
            if (isLine && line > 0) {
                message.sourceFile = navigation.value(0);
                message.sourceLine = line;
            }
            message.origin = process.implementation + QStringLiteral(" / ") + process.process;
            if (!entry.visible) {
                message.state = QStringLiteral("waived");
                run.waivers = true;
            }
            page.add(message);
        }
    }
    run.originLabel = QStringLiteral("Process");
    run.originsAreFiles = false;
    return page.page(run);
}

} // namespace zefa::msg_filter::tool
