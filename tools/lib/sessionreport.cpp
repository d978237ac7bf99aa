#include "sessionreport.h"

#include <msgfilter/msgfilter.h>

namespace zefa::msg_filter::tool {

void SessionCounts::add(const SessionCounts& more)
{
    error += more.error;
    warning += more.warning;
    info += more.info;
    other += more.other;
    plain += more.plain;
    hidden += more.hidden;
}

SessionCounts SessionCounts::of(const SessionProcess& process)
{
    SessionCounts counts;
    for (const SessionEntry& entry : process.entries) {
        if (entry.node == nullptr) {
            ++counts.plain;
            continue;
        }
        const QString severity = entry.node->getMessageSeverity().toLower();
        if (severity == QLatin1String("error")) {
            ++counts.error;
        } else if (severity == QLatin1String("warning")) {
            ++counts.warning;
        } else if (severity == QLatin1String("info")) {
            ++counts.info;
        } else {
            ++counts.other;
        }
        if (!entry.visible) {
            ++counts.hidden;
        }
    }
    return counts;
}

QString messageText(MessageNode* node)
{
    const QString display = node->getMessageDisplayString();
    if (!display.isEmpty()) {
        return display;
    }
    return node->getMessageDynamicData().join(QLatin1Char(' ')).trimmed();
}

} // namespace zefa::msg_filter::tool
