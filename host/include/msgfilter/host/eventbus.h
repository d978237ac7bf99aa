#pragma once

#include <msgfilter/host/host_export.h>

#include <cstdint>
#include <string>

namespace zefa::pelno {

/// What every event carries first: its category, the action within it and the
/// implementation it concerns. Listeners are chosen by the category alone.
struct PELNO_EVENT_HEADER {
    std::string category;
    std::string action;
    std::string implementation;
};

/// The base record of every event; the header is its first member.
struct PELNO_EVENT_OBJ {
    PELNO_EVENT_HEADER header;
};

/// A task started, finished or was cancelled.
struct PELNO_TASK_EVENT_OBJ : PELNO_EVENT_OBJ {
    int status_code = 0;
};

/// A process (flow step, also called milestone) of a task changed state.
struct PELNO_PROCESS_EVENT_OBJ : PELNO_EVENT_OBJ {
    std::string milestone;
    std::string task;
};

/// An engine of a task started or finished.
struct PELNO_ENGINE_EVENT_OBJ : PELNO_EVENT_OBJ {
    std::string task;
    std::string engine;
};

/// Text an engine printed; engine output has message_kind 6 and category "Message".
struct PELNO_MESSAGE_EVENT_OBJ : PELNO_EVENT_OBJ {
    int message_kind = 0;
    std::string message;
};

/// What a listener registers for. Only `category` selects deliveries; the other members
/// are kept with the registration for the listener's own bookkeeping.
///
/// An aggregate in this order: `{category, name, id, source, target, flags}`.
struct PELNO_EVENT_LISTONER_CONTEXT {
    std::string category;
    std::string name;
    std::int64_t id = 0;
    std::string source;
    std::string target;
    std::int32_t flags = 0;
};

/// Delivery order within one category: a higher value is called first. Any int value
/// may be cast to this type; the named values are the ones in use.
enum LISTONER_PRIORITY : int {
    LISTONER_PRIORITY_DEFAULT = 0,
    LISTONER_PRIORITY_PROJECT = 1,
};

/// The interface the bus calls. `canHandleEvent` is asked first; `notify` follows only
/// when it answered true. `result` points to a long the bus owns for this delivery
/// (starting at 0, shared by all listeners of one publication).
class MSGFILTER_HOST_EXPORT IListoner {
public:
    virtual ~IListoner();
    virtual bool canHandleEvent(PELNO_EVENT_OBJ* event, unsigned int kind) = 0;
    virtual long notify(PELNO_EVENT_OBJ* event, long* result) = 0;

protected:
    IListoner() = default;
    IListoner(const IListoner&) = default;
    IListoner& operator=(const IListoner&) = default;
};

/// The base class of listeners: its destructor removes every registration of the
/// listener, so a listener deleted (even from inside a delivery) is never called again.
///
/// Copying a listener does not copy its registrations.
class MSGFILTER_HOST_EXPORT PelnoEventListonerAbstract : public IListoner {
public:
    PelnoEventListonerAbstract();
    ~PelnoEventListonerAbstract() override;

    PelnoEventListonerAbstract(const PelnoEventListonerAbstract&) = delete;
    PelnoEventListonerAbstract& operator=(const PelnoEventListonerAbstract&) = delete;
};

/// Registers `listener` for the context's category with the default priority.
/// Returns false (and registers nothing) for a null argument or when the listener is
/// registered for that category already.
MSGFILTER_HOST_EXPORT bool RegisterEventListoner(
    const PELNO_EVENT_LISTONER_CONTEXT* context, IListoner* listener);

/// As above, with an explicit priority.
MSGFILTER_HOST_EXPORT bool RegisterEventListoner(
    const PELNO_EVENT_LISTONER_CONTEXT* context, IListoner* listener, LISTONER_PRIORITY priority);

/// Removes every registration of `listener`; returns how many there were. Listeners
/// derived from PelnoEventListonerAbstract need not call it: their destructor does.
MSGFILTER_HOST_EXPORT int UnregisterEventListoner(IListoner* listener);

/// Delivers `event`, in the calling thread, to the listeners registered for exactly
/// `event->header.category`: higher priority first, equal priorities in registration
/// order. Each is asked `canHandleEvent(event, kind)` and, if it agrees, `notify`d.
///
/// The listeners are those registered when the publication starts: one registered
/// during the delivery gets the next event, not this one; one unregistered or deleted
/// during the delivery is not called after that point. Listeners may publish from
/// inside `notify` (the nested publication is delivered completely before the outer
/// one goes on).
///
/// Returns what the last notified listener's `notify` returned; 0 when no listener was
/// notified or `event` is null.
MSGFILTER_HOST_EXPORT long PublishEvent(PELNO_EVENT_OBJ* event, unsigned int kind = 0);

} // namespace zefa::pelno
