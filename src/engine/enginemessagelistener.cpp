#include "engine/enginemessagelistener.h"

#include "common/latin1.h"

namespace zefa::msg_filter::impl_detail {

namespace {

// The host numbers engine output as message kind 6; other kinds are not engine text.
constexpr int kEngineOutputKind = 6;

} // namespace

EngineMessageListener::EngineMessageListener(QObject* parent)
    : QObject(parent)
{
    const zefa::pelno::PELNO_EVENT_LISTONER_CONTEXT context { "Message", "PELNO_Message", 0, "", "",
        8 };
    zefa::pelno::RegisterEventListoner(&context, this);
}

EngineMessageListener::~EngineMessageListener() = default;

bool EngineMessageListener::canHandleEvent(zefa::pelno::PELNO_EVENT_OBJ*, unsigned int)
{
    return true;
}

long EngineMessageListener::notify(zefa::pelno::PELNO_EVENT_OBJ* event, long*)
{
    if (event == nullptr) {
        return 0;
    }
    // Only "Message" events reach this listener, and those are message records.
    auto* message = static_cast<zefa::pelno::PELNO_MESSAGE_EVENT_OBJ*>(event);
    if (message->message_kind == kEngineOutputKind) {
        Q_EMIT sigEngineMessageOut(
            fromLatin1(message->header.implementation), fromLatin1(message->message));
    }
    return 0;
}

} // namespace zefa::msg_filter::impl_detail
