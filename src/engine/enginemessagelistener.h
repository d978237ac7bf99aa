#pragma once

#include <msgfilter/host/host.h>

#include <QObject>
#include <QString>

namespace zefa::msg_filter::impl_detail {

/// Receives the text the engines print, as "Message" events of the host's bus, and
/// passes it on unchanged with the implementation it belongs to. A chunk may hold part
/// of a line or several lines; cutting it up is the handler's business.
class EngineMessageListener : public QObject, public zefa::pelno::PelnoEventListonerAbstract {
    Q_OBJECT

public:
    explicit EngineMessageListener(QObject* parent = nullptr);
    ~EngineMessageListener() override;

    bool canHandleEvent(zefa::pelno::PELNO_EVENT_OBJ* event, unsigned int kind) override;
    long notify(zefa::pelno::PELNO_EVENT_OBJ* event, long* result) override;

Q_SIGNALS:
    void sigEngineMessageOut(QString implemenation, QString message);
};

} // namespace zefa::msg_filter::impl_detail
