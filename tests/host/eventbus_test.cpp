#include <msgfilter/host/eventbus.h>

#include <functional>
#include <memory>
#include <string>
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
        const bool accepted = onlyKind < 0 || kind == static_cast<unsigned int>(onlyKind);
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
    std::string name;
    std::string* trace = nullptr;
    int onlyKind = -1; // accepts every kind when negative
    long returnValue = 0;
    std::function<void(PELNO_EVENT_OBJ*)> onCanHandle, onNotify;
};

class EventBus : public ::testing::Test {
protected:
    Listener& add(std::string name, const std::string& category, int priority = 0)
    {
        Listener& listener = *listeners.emplace_back(std::make_unique<Listener>());
        listener.name = std::move(name);
        listener.trace = &trace;
        listen(listener, category, priority);
        return listener;
    }
    static void listen(Listener& listener, const std::string& category, int priority = 0)
    {
        const PELNO_EVENT_LISTONER_CONTEXT context { category, "", 0, "", "", 0 };
        EXPECT_TRUE(priority == 0
                ? RegisterEventListoner(&context, &listener)
                : RegisterEventListoner(&context, &listener, LISTONER_PRIORITY(priority)));
    }
    static long publish(
        const std::string& category, const std::string& action = "", unsigned kind = 0)
    {
        PELNO_EVENT_OBJ event;
        event.header = { category, action, "impl_1" };
        return PublishEvent(&event, kind);
    }
    std::string trace;
    std::vector<std::unique_ptr<Listener>> listeners;
};

TEST_F(EventBus, DeliversToTheExactCategoryByPriorityThenRegistrationOrder)
{
    add("A", "task");
    add("B", "task", 2);
    add("C", "task", LISTONER_PRIORITY_PROJECT);
    add("D", "task", 2);
    add("E", "task", -1);
    add("F", "task");
    add("G", "Task", 5);
    add("H", "task ", 5);
    add("I", "process", 5);
    publish("task");
    EXPECT_EQ(trace, "B D C A F E");
    EXPECT_EQ(publish("engine"), 0) << "nobody listens";
}

TEST_F(EventBus, AsksWithTheKindAndReturnsTheLastNotifiedValue)
{
    add("first", "Message", 2).returnValue = 1;
    Listener& second = add("second", "Message", 1);
    Listener& last = add("last", "Message");
    second.returnValue = 2;
    second.onlyKind = last.onlyKind = 6;
    last.returnValue = 3;
    EXPECT_EQ(publish("Message", "", 6), 3);
    EXPECT_EQ(publish("Message", "", 7), 1) << "the others refuse kind 7";
    EXPECT_EQ(trace, "first second last first");
    EXPECT_EQ(PublishEvent(nullptr), 0);
}

TEST_F(EventBus, PublishingFromNotifyDeliversTheNestedEventFirst)
{
    // The first task listener announces a process, and once a task event of its own.
    add("T1", "task", 1).onNotify = [this](PELNO_EVENT_OBJ* event) {
        publish("process", "/started");
        if (event->header.action == "/started") {
            publish("task", "/finished");
        }
    };
    add("T2", "task");
    add("P", "process");
    publish("task", "/started");
    EXPECT_EQ(trace, "T1/started P/started T1/finished P/started T2/finished T2/started");
}

TEST_F(EventBus, ListenerRegisteredDuringDeliveryGetsOnlyLaterEvents)
{
    // Like a handler made at a task start: even a higher priority does not pull it into the
    // delivery in flight.
    add("creator", "task").onNotify = [this](PELNO_EVENT_OBJ*) { add("new", "task", 5); };
    publish("task", "/started");
    EXPECT_EQ(trace, "creator/started");
    publish("task", "/finished");
    EXPECT_EQ(trace, "creator/started new/finished creator/finished");
}

TEST_F(EventBus, DeletedListenerIsNeverCalledAgain)
{
    // Each row: who deletes whom, from where; who gets the event in flight, then an event of
    // the listeners' second category.
    const struct {
        bool inCanHandle;
        std::size_t deleter, victim;
        const char* expected;
    } rows[] = {
        { false, 0, 2, "A B | A B" }, // a later one from notify
        { false, 1, 1, "A B C | A C" }, // itself from notify
        { false, 2, 0, "A B C | B C" }, // an earlier one from notify
        { true, 1, 1, "A C | A C" }, // itself from canHandleEvent
        { true, 0, 1, "A C | A C" }, // the next one from canHandleEvent
    };
    for (const auto& row : rows) {
        listeners.clear();
        for (const char* name : { "A", "B", "C" }) {
            listen(add(name, "task"), "engine");
        }
        auto& hook = row.inCanHandle ? listeners[row.deleter]->onCanHandle
                                     : listeners[row.deleter]->onNotify;
        hook = [this, victim = row.victim](PELNO_EVENT_OBJ*) { listeners[victim].reset(); };
        trace.clear();
        publish("task");
        trace += " |";
        publish("engine");
        EXPECT_EQ(trace, row.expected);
    }
}

} // namespace
