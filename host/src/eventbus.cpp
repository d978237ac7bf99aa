#include <msgfilter/host/eventbus.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace zefa::pelno {

namespace {

// One registration. A delivery works on a snapshot of these, so the bus never walks a
// list that a listener changes under it; `active` is how a registration removed during
// a delivery is skipped by the snapshot that still holds it.
struct Registration {
    IListoner* listener = nullptr;
    PELNO_EVENT_LISTONER_CONTEXT context;
    int priority = 0;
    bool active = true;
};

using RegistrationList = std::vector<std::shared_ptr<Registration>>;

class EventBus {
public:
    bool add(const PELNO_EVENT_LISTONER_CONTEXT& context, IListoner* listener, int priority)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        RegistrationList& list = byCategory_[context.category];
        for (const auto& registration : list) {
            if (registration->listener == listener) {
                return false;
            }
        }
        auto registration = std::make_shared<Registration>();
        registration->listener = listener;
        registration->context = context;
        registration->priority = priority;
        // After every registration of the same or a higher priority: equal priorities
        // keep their registration order.
        const auto position = std::find_if(
            list.begin(), list.end(), [priority](const auto& r) { return r->priority < priority; });
        list.insert(position, std::move(registration));
        return true;
    }

    int remove(IListoner* listener)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        int removed = 0;
        for (auto category = byCategory_.begin(); category != byCategory_.end();) {
            RegistrationList& list = category->second;
            for (auto it = list.begin(); it != list.end();) {
                if ((*it)->listener == listener) {
                    (*it)->active = false;
                    it = list.erase(it);
                    ++removed;
                } else {
                    ++it;
                }
            }
            category = list.empty() ? byCategory_.erase(category) : std::next(category);
        }
        return removed;
    }

    RegistrationList snapshot(const std::string& category) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto found = byCategory_.find(category);
        return found == byCategory_.end() ? RegistrationList() : found->second;
    }

    // Read under the lock: another thread may remove a registration while a delivery
    // walks its snapshot.
    bool isActive(const Registration& registration) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return registration.active;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, RegistrationList> byCategory_;
};

// Never destroyed: listeners that die at process exit (after the static objects of this
// library, possibly) still unregister from it safely.
EventBus& bus()
{
    static EventBus* const instance = new EventBus;
    return *instance;
}

} // namespace

IListoner::~IListoner() = default;

PelnoEventListonerAbstract::PelnoEventListonerAbstract() = default;

PelnoEventListonerAbstract::~PelnoEventListonerAbstract()
{
    bus().remove(this);
}

bool RegisterEventListoner(const PELNO_EVENT_LISTONER_CONTEXT* context, IListoner* listener)
{
    return RegisterEventListoner(context, listener, LISTONER_PRIORITY_DEFAULT);
}

bool RegisterEventListoner(
    const PELNO_EVENT_LISTONER_CONTEXT* context, IListoner* listener, LISTONER_PRIORITY priority)
{
    if (context == nullptr || listener == nullptr) {
        return false;
    }
    return bus().add(*context, listener, static_cast<int>(priority));
}

int UnregisterEventListoner(IListoner* listener)
{
    return listener == nullptr ? 0 : bus().remove(listener);
}

long PublishEvent(PELNO_EVENT_OBJ* event, unsigned int kind)
{
    if (event == nullptr) {
        return 0;
    }
    const RegistrationList listeners = bus().snapshot(event->header.category);
    long result = 0;
    long last = 0;
    for (const auto& registration : listeners) {
        if (!bus().isActive(*registration)) {
            continue;
        }
        IListoner* listener = registration->listener;
        if (!listener->canHandleEvent(event, kind)) {
            continue;
        }
        // canHandleEvent may have deleted the listener (or another one); look again.
        if (!bus().isActive(*registration)) {
            continue;
        }
        last = listener->notify(event, &result);
    }
    return last;
}

} // namespace zefa::pelno
