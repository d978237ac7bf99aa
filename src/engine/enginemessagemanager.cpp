#include "common/latin1.h"
#include "engine/engineeventlistener.h"
#include "engine/enginemessagehandler.h"
#include "engine/enginemessagelistener.h"

#include <msgfilter/enginemessagemanager.h>
#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QDir>
#include <QMutexLocker>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter {

using impl_detail::EngineEventListener;
using impl_detail::EngineMessageHandler;
using impl_detail::EngineMessageListener;
using impl_detail::fromLatin1;

namespace {

// The host's report id of an implementation's filter file.
const char kFilterReportId[] = "Report_MessageFilter";

} // namespace

EngineMessageManager* EngineMessageManager::instance()
{
    // Built in static storage at the first call, destroyed at exit; a call after that
    // throws "Dead Reference Detected".
    return &zefa::pelno::SingletonHolder<EngineMessageManager>::instance();
}

EngineMessageManager::EngineMessageManager(QObject* parent)
    : QObject(parent)
    , m_eventListener(new EngineEventListener(this))
    , m_messageListener(new EngineMessageListener(this))
{
    connect(m_eventListener, &EngineEventListener::sigTaskStarted, this,
        &EngineMessageManager::updateMessangeHanlderMap);
    connect(m_eventListener, &EngineEventListener::sigProjectLoaded, this,
        &EngineMessageManager::onLoadProject);
    connect(m_eventListener, &EngineEventListener::sigProjectClosed, this,
        &EngineMessageManager::clearAllMessageHanlder);
    connect(m_eventListener, &EngineEventListener::sigImplementationRemoved, this,
        &EngineMessageManager::clearOneMessageHandler);
    connect(m_eventListener, &EngineEventListener::sigDefaultImplementationChanged, this,
        &EngineMessageManager::onDefaultImplementationChanged);
}

// The handlers and both listeners go with the manager as its children.
EngineMessageManager::~EngineMessageManager() = default;

EngineMessageHandler* EngineMessageManager::getImplementaionMessageHandler(
    const QString& implementation)
{
    QMutexLocker locker(&m_handlersLock);
    const auto found = m_handlers.constFind(implementation);
    if (found != m_handlers.constEnd()) {
        return found.value();
    }

    auto* handler = new EngineMessageHandler(implementation, this);
    m_handlers.insert(implementation, handler);
    // Each handler hears every implementation's events and keeps its own.
    connect(m_eventListener, &EngineEventListener::sigTaskStarted, handler,
        &EngineMessageHandler::onTaskStarted);
    connect(m_eventListener, &EngineEventListener::sigTaskFinished, handler,
        &EngineMessageHandler::onTaskFinished);
    connect(m_eventListener, &EngineEventListener::sigProcessStarted, handler,
        &EngineMessageHandler::onProcessStarted);
    connect(m_eventListener, &EngineEventListener::sigProcessFinished, handler,
        &EngineMessageHandler::onProcessFinished);
    connect(m_eventListener, &EngineEventListener::sigEngineStarted, handler,
        &EngineMessageHandler::onEngineStarted);
    connect(m_eventListener, &EngineEventListener::sigEngineFinished, handler,
        &EngineMessageHandler::onEngineFinished);
    connect(m_eventListener, &EngineEventListener::sigDefaultImplementationChanged, handler,
        &EngineMessageHandler::onActiveImplementationChanged);
    connect(m_messageListener, &EngineMessageListener::sigEngineMessageOut, handler,
        &EngineMessageHandler::onEngineMessageOut);
    connect(handler, &EngineMessageHandler::sigMessagesOut, this,
        &EngineMessageManager::sigMessagesOut);
    return handler;
}

void EngineMessageManager::updateMessangeHanlderMap(const QString& implementation)
{
    if (m_handlers.contains(implementation)) {
        return;
    }
    // The new handler is connected while this very task start is being delivered, and a
    // signal already under way does not reach connections made during it: the handler is
    // told of the start here instead.
    getImplementaionMessageHandler(implementation)->onTaskStarted(implementation, 0);
}

void EngineMessageManager::clearOneMessageHandler(const QString& implementation)
{
    const auto found = m_handlers.find(implementation);
    if (found == m_handlers.end()) {
        return;
    }
    EngineMessageHandler* handler = found.value();
    m_handlers.erase(found);
    delete handler;
}

void EngineMessageManager::clearAllMessageHanlder()
{
    // The map is emptied before the handlers go, so nothing can reach a deleted one
    // through it; the store's message objects stay as they are.
    const QHash<QString, EngineMessageHandler*> handlers = std::exchange(m_handlers, {});
    for (EngineMessageHandler* handler : handlers) {
        delete handler;
    }
}

void EngineMessageManager::onLoadProject()
{
    zefa::pelno::ZefaImplementation* implementation =
        zefa::pelno::ZefaProjectManager::getProjectManager()->getDefaultImplementation();
    if (implementation == nullptr) {
        return;
    }

    // A failed resolution leaves the file name empty: the filters are then read from the
    // report directory path itself, which the store treats as an unreadable file. A
    // resolution that succeeds with no name at all is a fault of the host's; the load
    // ends here, as an out-of-range access would end it, without touching the store.
    QString fileName;
    std::vector<std::string> names;
    if (implementation->resolveReportsFileNameFromId(names, kFilterReportId)) {
        if (names.empty()) {
            return;
        }
        fileName = fromLatin1(names.front());
    }
    const QDir reportDirectory(fromLatin1(implementation->getRunTime()->getOutReportDirectory()));
    const QString path = reportDirectory.absoluteFilePath(fileName);

    const QString title = fromLatin1(implementation->getTitle());
    if (title.isEmpty()) {
        return;
    }
    MessageManager::getInstance()->getObject(title)->loadAllFilters(path);
    MessageManager::getInstance()->setActiveObject(title);
}

void EngineMessageManager::onDefaultImplementationChanged(const QString& implementation)
{
    MessageManager::getInstance()->setActiveObject(implementation);
}

} // namespace zefa::msg_filter
