#include <msgfilter/host/eventbus.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;

namespace {

// Adds its name and the event's action to a shared trace for every notify, and runs an
// optional hook from inside the delivery. A hook may delete its own listener, so it is
// called from a copy, after the members were read.
struct Listener : PelnoEventListonerAbstract {
    bool canHandleEvent(PELNO_EVENT_OBJ* event, unsigned int kind) override
    {
        const bool accepted = onlyKind < 0 || kind == static_cast<unsigned long>(onlyKind);
        if (const auto hook = onCanHandle) {
            hook(event);
        }
        return accepted;
    }
    long notify(PELNO_EVENT_OBJ* event, long*) override
    {
        *trace += (trace->empty() ? "" : " ") + name + event->header.action;
        const long value = returnValue;
        if (const auto hook = onNotify) {
            hook(event);
        }
        return value;
    }
    std::string name, *trace = nullptr;
    long onlyKind = -1, returnValue = 0; // every kind is accepted while onlyKind is negative
    std::function<void(PELNO_EVENT_OBJ*)> onCanHandle, onNotify;
};

class EventBus : public ::testing::Test {
protected:
    // The listener returns its registration number from notify.
    Listener& add(
        std::string name, int priority = 0, const std::vector<std::string>& categories = { "task" })
    {
        Listener& listener = *listeners.emplace_back(std::make_unique<Listener>());
        listener.name = std::move(name);
        listener.trace = &trace;
        listener.returnValue = static_cast<long>(listeners.size());
        for (const std::string& category : categories) {
            const PELNO_EVENT_LISTONER_CONTEXT context { category, "", 0, "", "", 0 };
            EXPECT_TRUE(priority == 0
                    ? RegisterEventListoner(&context, &listener)
                    : RegisterEventListoner(&context, &listener, LISTONER_PRIORITY(priority)));
        }
        return listener;
    }
    static long publish(std::string category, std::string action = "", unsigned kind = 0)
    {
        PELNO_EVENT_OBJ event { { std::move(category), std::move(action), "impl_1" } };
        return PublishEvent(&event, kind);
    }
    std::string trace;
    std::vector<std::unique_ptr<Listener>> listeners;
};

TEST_F(EventBus, DeliversToTheExactCategoryByPriorityThenRegistrationOrder)
{
    add("A");
    add("B", 2);
    add("C", LISTONER_PRIORITY_PROJECT);
    add("D", 2);
    add("E", -1).onlyKind = 6;
    add("F");
    add("G", 5, { "Task", "task ", "process" });
    EXPECT_EQ(publish("task", "", 6), 5) << "the last listener's value";
    EXPECT_EQ(publish("task", "", 7), 6) << "E refuses kind 7: F was the last notified";
    EXPECT_EQ(trace, "B D C A F E B D C A F");
    EXPECT_EQ(publish("engine"), 0) << "nobody listens";
}

TEST_F(EventBus, NestedPublicationsAndListenersRegisteredDuringDelivery)
{
    // The first task listener announces a process and, once, a task event of its own; a
    // listener it registers meanwhile gets that nested event but not the one in flight,
    // whatever its priority.
    add("T1", 1).onNotify = [this](PELNO_EVENT_OBJ* event) {
        publish("process", "/started");
        if (event->header.action == "/started") {
            add("new", 5);
            publish("task", "/finished");
        }
    };
    add("T2");
    add("P", 0, { "process" });
    publish("task", "/started");
    EXPECT_EQ(
        trace, "T1/started P/started new/finished T1/finished P/started T2/finished T2/started");
}

TEST_F(EventBus, DeletedListenerIsNeverCalledAgain)
{
    // Each row: whether the deletion happens in canHandleEvent rather than notify, who deletes
    // whom; then who gets the event in flight, and an event of the listeners' second category.
    const std::tuple<bool, std::size_t, std::size_t, const char*> rows[] = {
        { false, 0, 2, "A B | A B" }, // a later one from notify
        { false, 1, 1, "A B C | A C" }, // itself from notify
        { true, 1, 1, "A C | A C" }, // itself from canHandleEvent
        { true, 0, 1, "A C | A C" }, // the next one from canHandleEvent
    };
    for (const auto& [inCanHandle, deleter, victim, expected] : rows) {
        listeners.clear();
        for (const char* name : { "A", "B", "C" }) {
            add(name, 0, { "task", "engine" });
        }
        (inCanHandle ? listeners[deleter]->onCanHandle : listeners[deleter]->onNotify) =
            [this, v = victim](PELNO_EVENT_OBJ*) { listeners[v].reset(); };
        trace.clear();
        publish("task");
        trace += " |";
        publish("engine");
        EXPECT_EQ(trace, expected);
    }
}

} // namespace
