#pragma once

#include <msgfilter/msgfilter_export.h>

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>

namespace zefa::msg_filter {

namespace impl_detail {
class EngineEventListener;
class EngineMessageListener;
class EngineMessageHandler;
} // namespace impl_detail

/// The engine side of the library inside a host: one per process, reached through
/// `instance()`.
///
/// It listens on the host's event bus, keeps one message handler per implementation
/// (created at the implementation's first task start, discarded when the implementation
/// is removed or the project closed), loads the default implementation's filters when a
/// project is loaded, and passes the engine output lines that no rule recognises to the
/// host through `sigMessagesOut` (only those of the active implementation, with the
/// count 0).
///
/// \code
/// auto* engine = zefa::msg_filter::EngineMessageManager::instance();
/// QObject::connect(engine, &EngineMessageManager::sigMessagesOut,
///                  view, [](const QString& line, int) { appendPlainLine(line); });
/// \endcode
///
/// The manager is destroyed at process exit; calling `instance()` after that throws
/// std::logic_error("Dead Reference Detected"), a programming error of the caller.
class MSGFILTER_EXPORT EngineMessageManager : public QObject {
    Q_OBJECT

public:
    static EngineMessageManager* instance();

    explicit EngineMessageManager(QObject* parent = nullptr);
    ~EngineMessageManager() override;

    /// The handler of an implementation, created and wired to the listeners on first
    /// request.
    impl_detail::EngineMessageHandler* getImplementaionMessageHandler(
        const QString& implementation);

public Q_SLOTS:
    void updateMessangeHanlderMap(const QString& implementation);
    void clearOneMessageHandler(const QString& implementation);
    void clearAllMessageHanlder();
    void onLoadProject();
    void onDefaultImplementationChanged(const QString& implementation);

Q_SIGNALS:
    /// Declared for the host; the library itself never emits it.
    void sigMessageOut(const QString& implementation, const QString& milestone, const QString& task,
        const QString& engine, const QString& line);
    /// An engine output line of the active implementation that no rule recognised,
    /// with the count 0.
    void sigMessagesOut(const QString&, int);

private:
    impl_detail::EngineEventListener* m_eventListener = nullptr;
    impl_detail::EngineMessageListener* m_messageListener = nullptr;
    QHash<QString, impl_detail::EngineMessageHandler*> m_handlers;
    QMutex m_handlersLock;
};

} // namespace zefa::msg_filter
