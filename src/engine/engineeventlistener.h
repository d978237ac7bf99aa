#pragma once

#include <msgfilter/host/host.h>

#include <QObject>
#include <QString>

namespace zefa::msg_filter::impl_detail {

/// Turns the host's run-state and project events into Qt signals with plain QString
/// arguments. It keeps no state: every event is translated as it arrives, in the
/// thread that publishes it.
class EngineEventListener : public QObject, public zefa::pelno::PelnoEventListonerAbstract {
    Q_OBJECT

public:
    explicit EngineEventListener(QObject* parent = nullptr);
    ~EngineEventListener() override;

    bool canHandleEvent(zefa::pelno::PELNO_EVENT_OBJ* event, unsigned int kind) override;
    long notify(zefa::pelno::PELNO_EVENT_OBJ* event, long* result) override;

Q_SIGNALS:
    void sigTaskStarted(QString implementation, int status_code);
    void sigTaskFinished(QString implementation, int status_code);
    void sigProcessStarted(QString implementation, QString milestone, QString task);
    void sigProcessFinished(QString implementation, QString milestone, QString task);
    void sigEngineStarted(QString implementation, QString task, QString engine);
    void sigEngineFinished(QString implementation, QString task, QString engine);
    void sigDefaultImplementationChanged(QString implementation);
    void sigImplementationRemoved(QString implementation);
    void sigProjectClosed();
    void sigProjectLoaded();

private:
    long handleTaskEvent(zefa::pelno::PELNO_TASK_EVENT_OBJ* event, long* result);
    long handleProcessEvent(zefa::pelno::PELNO_PROCESS_EVENT_OBJ* event, long* result);
    long handleEngineEvent(zefa::pelno::PELNO_ENGINE_EVENT_OBJ* event, long* result);
    long handleProjectEvent(zefa::pelno::PELNO_EVENT_OBJ* event, long* result);
    long handleImplementationEvent(zefa::pelno::PELNO_EVENT_OBJ* event, long* result);
};

} // namespace zefa::msg_filter::impl_detail
