#include "engine/engineeventlistener.h"

#include "common/latin1.h"

namespace zefa::msg_filter::impl_detail {

using zefa::pelno::PELNO_ENGINE_EVENT_OBJ;
using zefa::pelno::PELNO_EVENT_LISTONER_CONTEXT;
using zefa::pelno::PELNO_EVENT_OBJ;
using zefa::pelno::PELNO_PROCESS_EVENT_OBJ;
using zefa::pelno::PELNO_TASK_EVENT_OBJ;

namespace {

// A context that names only its category: the other texts stay empty and both numbers 0.
PELNO_EVENT_LISTONER_CONTEXT categoryContext(const char* category)
{
    PELNO_EVENT_LISTONER_CONTEXT context {};
    context.category = category;
    return context;
}

} // namespace

EngineEventListener::EngineEventListener(QObject* parent)
    : QObject(parent)
{
    // Project events are registered with priority 1 so that the library hears of a
    // loaded project before listeners on the host's default priority do.
    const PELNO_EVENT_LISTONER_CONTEXT task = categoryContext("task");
    const PELNO_EVENT_LISTONER_CONTEXT process = categoryContext("process");
    const PELNO_EVENT_LISTONER_CONTEXT engine = categoryContext("engine");
    const PELNO_EVENT_LISTONER_CONTEXT project = categoryContext("project");
    const PELNO_EVENT_LISTONER_CONTEXT implement = categoryContext("implement");
    zefa::pelno::RegisterEventListoner(&task, this);
    zefa::pelno::RegisterEventListoner(&process, this);
    zefa::pelno::RegisterEventListoner(&engine, this);
    zefa::pelno::RegisterEventListoner(&project, this, zefa::pelno::LISTONER_PRIORITY_PROJECT);
    zefa::pelno::RegisterEventListoner(&implement, this);
}

EngineEventListener::~EngineEventListener() = default;

bool EngineEventListener::canHandleEvent(PELNO_EVENT_OBJ*, unsigned int)
{
    return true;
}

long EngineEventListener::notify(PELNO_EVENT_OBJ* event, long* result)
{
    if (event == nullptr) {
        return 0;
    }
    const std::string& category = event->header.category;
    if (category == "task") {
        return handleTaskEvent(static_cast<PELNO_TASK_EVENT_OBJ*>(event), result);
    }
    if (category == "process") {
        return handleProcessEvent(static_cast<PELNO_PROCESS_EVENT_OBJ*>(event), result);
    }
    if (category == "engine") {
        return handleEngineEvent(static_cast<PELNO_ENGINE_EVENT_OBJ*>(event), result);
    }
    if (category == "project") {
        return handleProjectEvent(event, result);
    }
    if (category == "implement") {
        return handleImplementationEvent(event, result);
    }
    return 0;
}

long EngineEventListener::handleTaskEvent(PELNO_TASK_EVENT_OBJ* event, long*)
{
    const std::string& action = event->header.action;
    const QString implementation = fromLatin1(event->header.implementation);
    // "cancled" is how the host spells it; a correctly spelt "canceled" never arrives.
    if (action == "started") {
        Q_EMIT sigTaskStarted(implementation, event->status_code);
    } else if (action == "finished" || action == "cancled") {
        Q_EMIT sigTaskFinished(implementation, event->status_code);
    }
    return 0;
}

long EngineEventListener::handleProcessEvent(PELNO_PROCESS_EVENT_OBJ* event, long*)
{
    const std::string& action = event->header.action;
    const QString implementation = fromLatin1(event->header.implementation);
    const QString milestone = fromLatin1(event->milestone);
    const QString task = fromLatin1(event->task);
    // An "updated" process has run to its end as far as messages are concerned.
    if (action == "started") {
        Q_EMIT sigProcessStarted(implementation, milestone, task);
    } else if (action == "updated" || action == "failed" || action == "cancled") {
        Q_EMIT sigProcessFinished(implementation, milestone, task);
    }
    return 0;
}

long EngineEventListener::handleEngineEvent(PELNO_ENGINE_EVENT_OBJ* event, long*)
{
    const std::string& action = event->header.action;
    const QString implementation = fromLatin1(event->header.implementation);
    const QString task = fromLatin1(event->task);
    const QString engine = fromLatin1(event->engine);
    // A cancelled engine announces nothing; its rule set simply stays selected.
    if (action == "started") {
        Q_EMIT sigEngineStarted(implementation, task, engine);
    } else if (action == "finished") {
        Q_EMIT sigEngineFinished(implementation, task, engine);
    }
    return 0;
}

long EngineEventListener::handleProjectEvent(PELNO_EVENT_OBJ* event, long*)
{
    const std::string& action = event->header.action;
    if (action == "loaded") {
        Q_EMIT sigProjectLoaded();
    } else if (action == "closed") {
        Q_EMIT sigProjectClosed();
    } else if (action == "default_implement") {
        Q_EMIT sigDefaultImplementationChanged(fromLatin1(event->header.implementation));
    }
    return 0;
}

long EngineEventListener::handleImplementationEvent(PELNO_EVENT_OBJ* event, long*)
{
    // "changed", "added" and "default_strategy" are known to the host but change nothing
    // the library keeps; only a removal matters.
    if (event->header.action == "removed") {
        Q_EMIT sigImplementationRemoved(fromLatin1(event->header.implementation));
    }
    return 0;
}

} // namespace zefa::msg_filter::impl_detail
