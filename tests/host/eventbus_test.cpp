#include <msgfilter/host/eventbus.h>

#include <QObject>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;

namespace {

// A listener that writes "<name>:<category>/<action>" to a shared trace for every notify
// and runs an optional hook from inside the delivery.
class TraceListener : public PelnoEventListonerAbstract {
public:
    TraceListener(std::string name, std::vector<std::string>& trace)
        : name_(std::move(name))
        , trace_(trace)
    {
    }

    bool canHandleEvent(PELNO_EVENT_OBJ* event, unsigned int kind) override
    {
        // The hooks may delete this listener: read the members first and call a copy.
        lastKind = kind;
        const bool accepted = accept;
        const auto hook = onCanHandle;
        if (hook) {
            hook(event);
        }
        return accepted;
    }

    long notify(PELNO_EVENT_OBJ* event, long* result) override
    {
        trace_.push_back(name_ + ":" + event->header.category + "/" + event->header.action);
        seenResult = *result;
        if (writeResult != 0) {
            *result = writeResult;
        }
        const long value = returnValue;
        const auto hook = onNotify;
        if (hook) {
            hook(event);
        }
        return value;
    }

    bool listen(const std::string& category, int priority = 0)
    {
        const PELNO_EVENT_LISTONER_CONTEXT context { category, "", 0, "", "", 0 };
        return RegisterEventListoner(&context, this, static_cast<LISTONER_PRIORITY>(priority));
    }

    bool accept = true;
    long returnValue = 0;
    long writeResult = 0;
    long seenResult = -1;
    unsigned int lastKind = 99;
    std::function<void(PELNO_EVENT_OBJ*)> onCanHandle;
    std::function<void(PELNO_EVENT_OBJ*)> onNotify;

private:
    std::string name_;
    std::vector<std::string>& trace_;
};

long publish(const std::string& category, const std::string& action, unsigned int kind = 0)
{
    PELNO_EVENT_OBJ event;
    event.header = { category, action, "impl_1" };
    return PublishEvent(&event, kind);
}

struct Registration {
    std::string listener;
    std::string category;
    int priority;
};

struct OrderCase {
    const char* name;
    std::vector<Registration> registrations;
    std::string published;
    std::vector<std::string> expected;
};

void PrintTo(const OrderCase& row, std::ostream* out)
{
    *out << row.name;
}

class DeliveryOrder : public ::testing::TestWithParam<OrderCase> { };

TEST_P(DeliveryOrder, FollowsPriorityThenRegistration)
{
    const OrderCase& row = GetParam();
    std::vector<std::string> trace;
    std::vector<std::unique_ptr<TraceListener>> listeners;
    for (const Registration& r : row.registrations) {
        listeners.push_back(std::make_unique<TraceListener>(r.listener, trace));
        TraceListener* listener = listeners.back().get();
        ASSERT_TRUE(listener->listen(r.category, r.priority));
    }
    publish(row.published, "started");
    std::vector<std::string> expected;
    for (const std::string& name : row.expected) {
        expected.push_back(name + ":" + row.published + "/started");
    }
    EXPECT_EQ(trace, expected);
}

INSTANTIATE_TEST_SUITE_P(EventBus, DeliveryOrder,
    ::testing::Values(OrderCase { "EqualPrioritiesInRegistrationOrder",
                          { { "A", "task", 0 }, { "B", "task", 0 }, { "C", "task", 0 } }, "task",
                          { "A", "B", "C" } },
        OrderCase { "HigherPriorityFirst",
            { { "A", "project", 0 }, { "B", "project", 1 }, { "C", "project", 0 } }, "project",
            { "B", "A", "C" } },
        OrderCase { "SeveralPriorities",
            { { "A", "task", 0 }, { "B", "task", 2 }, { "C", "task", 1 }, { "D", "task", 2 },
                { "E", "task", -1 } },
            "task", { "B", "D", "C", "A", "E" } },
        OrderCase { "OtherCategoriesNotCalled",
            { { "A", "task", 0 }, { "B", "process", 5 }, { "C", "task", 1 } }, "task",
            { "C", "A" } },
        OrderCase { "CategoryComparedExactly",
            { { "A", "Task", 0 }, { "B", "task ", 0 }, { "C", "task", 0 } }, "task", { "C" } },
        OrderCase { "NobodyListening", { { "A", "engine", 0 } }, "Message", {} }),
    [](const auto& info) { return std::string(info.param.name); });

TEST(EventBus, AsksCanHandleEventWithTheKindAndSkipsRefusingListeners)
{
    std::vector<std::string> trace;
    TraceListener refusing("refusing", trace);
    TraceListener taking("taking", trace);
    refusing.accept = false;
    refusing.returnValue = 11;
    taking.returnValue = 22;
    ASSERT_TRUE(refusing.listen("Message"));
    ASSERT_TRUE(taking.listen("Message"));

    EXPECT_EQ(publish("Message", "out", 6), 22);
    EXPECT_EQ(trace, std::vector<std::string> { "taking:Message/out" });
    EXPECT_EQ(refusing.lastKind, 6u);
    EXPECT_EQ(taking.lastKind, 6u);
}

TEST(EventBus, ReturnsTheLastNotifiedListenersValue)
{
    std::vector<std::string> trace;
    TraceListener first("first", trace);
    TraceListener second("second", trace);
    TraceListener last("last", trace);
    first.returnValue = 1;
    second.returnValue = 2;
    last.returnValue = 3;
    first.listen("task", 2);
    second.listen("task", 1);
    last.listen("task", 0);
    EXPECT_EQ(publish("task", "started"), 3);

    last.accept = false;
    EXPECT_EQ(publish("task", "started"), 2);

    EXPECT_EQ(publish("nobody", "started"), 0);
    EXPECT_EQ(PublishEvent(nullptr), 0);
}

TEST(EventBus, ListenersShareOneResultPerPublication)
{
    std::vector<std::string> trace;
    TraceListener writer("writer", trace);
    TraceListener reader("reader", trace);
    writer.writeResult = 5;
    writer.listen("task", 1);
    reader.listen("task", 0);
    publish("task", "started");
    EXPECT_EQ(writer.seenResult, 0);
    EXPECT_EQ(reader.seenResult, 5);
}

TEST(EventBus, OneListenerOnSeveralCategoriesAndNoDuplicates)
{
    std::vector<std::string> trace;
    TraceListener listener("L", trace);
    EXPECT_TRUE(listener.listen("task"));
    EXPECT_TRUE(listener.listen("engine"));
    EXPECT_FALSE(listener.listen("task", 3)) << "a second registration for the same category";
    PELNO_EVENT_LISTONER_CONTEXT context { "task", "", 0, "", "", 0 };
    EXPECT_FALSE(RegisterEventListoner(nullptr, &listener));
    EXPECT_FALSE(RegisterEventListoner(&context, nullptr));

    publish("task", "started");
    publish("engine", "finished");
    publish("process", "started");
    EXPECT_EQ(trace, (std::vector<std::string> { "L:task/started", "L:engine/finished" }));

    EXPECT_EQ(UnregisterEventListoner(&listener), 2);
    publish("task", "started");
    EXPECT_EQ(trace.size(), 2u);
}

TEST(EventBus, PublishingFromNotifyDeliversTheNestedEventFirst)
{
    std::vector<std::string> trace;
    TraceListener outerFirst("T1", trace);
    TraceListener outerSecond("T2", trace);
    TraceListener inner("P", trace);
    outerFirst.listen("task", 1);
    outerSecond.listen("task", 0);
    inner.listen("process");
    // The first task listener announces a process, and once a task event of its own.
    outerFirst.onNotify = [&](PELNO_EVENT_OBJ* event) {
        publish("process", "started");
        if (event->header.action == "started") {
            publish("task", "finished");
        }
    };
    publish("task", "started");
    EXPECT_EQ(trace,
        (std::vector<std::string> { "T1:task/started", "P:process/started", "T1:task/finished",
            "P:process/started", "T2:task/finished", "T2:task/started" }));
}

TEST(EventBus, ListenerRegisteredDuringDeliveryGetsOnlyLaterEvents)
{
    std::vector<std::string> trace;
    TraceListener creator("creator", trace);
    std::vector<std::unique_ptr<TraceListener>> created;
    creator.listen("task");
    // Created on every task start, like a handler made for a new implementation; even a
    // higher priority does not pull it into the delivery in flight.
    creator.onNotify = [&](PELNO_EVENT_OBJ*) {
        created.push_back(
            std::make_unique<TraceListener>("new" + std::to_string(created.size()), trace));
        created.back()->listen("task", 5);
    };
    publish("task", "started");
    EXPECT_EQ(trace, std::vector<std::string> { "creator:task/started" });

    trace.clear();
    publish("task", "finished");
    EXPECT_EQ(trace, (std::vector<std::string> { "new0:task/finished", "creator:task/finished" }));
    EXPECT_EQ(created.size(), 2u);
}

struct DeletionCase {
    const char* name;
    bool inCanHandle; // delete from canHandleEvent rather than from notify
    int deleter; // index of the listener that deletes
    int victim; // index of the listener deleted
    std::vector<std::string> expected;
};

void PrintTo(const DeletionCase& row, std::ostream* out)
{
    *out << row.name;
}

class DeletionDuringDelivery : public ::testing::TestWithParam<DeletionCase> { };

TEST_P(DeletionDuringDelivery, DeletedListenerIsNeverCalledAgain)
{
    const DeletionCase& row = GetParam();
    std::vector<std::string> trace;
    std::vector<std::unique_ptr<TraceListener>> listeners;
    for (const char* name : { "A", "B", "C" }) {
        listeners.push_back(std::make_unique<TraceListener>(name, trace));
        listeners.back()->listen("task");
        listeners.back()->listen("engine");
    }
    auto remove = [&listeners, victim = row.victim](
                      PELNO_EVENT_OBJ*) { listeners[static_cast<std::size_t>(victim)].reset(); };
    if (row.inCanHandle) {
        listeners[static_cast<std::size_t>(row.deleter)]->onCanHandle = remove;
    } else {
        listeners[static_cast<std::size_t>(row.deleter)]->onNotify = remove;
    }
    publish("task", "started");
    EXPECT_EQ(trace, row.expected);

    // Gone from every category it listened on.
    trace.clear();
    publish("engine", "started");
    for (const std::string& line : trace) {
        EXPECT_NE(line.front(), "ABC"[row.victim]) << line;
    }
    EXPECT_EQ(trace.size(), 2u);
}

INSTANTIATE_TEST_SUITE_P(EventBus, DeletionDuringDelivery,
    ::testing::Values(
        DeletionCase { "LaterListener", false, 0, 2, { "A:task/started", "B:task/started" } },
        DeletionCase {
            "Itself", false, 1, 1, { "A:task/started", "B:task/started", "C:task/started" } },
        DeletionCase { "EarlierListener", false, 2, 0,
            { "A:task/started", "B:task/started", "C:task/started" } },
        DeletionCase { "ItselfFromCanHandle", true, 1, 1, { "A:task/started", "C:task/started" } },
        DeletionCase { "NextFromCanHandle", true, 0, 1, { "A:task/started", "C:task/started" } }),
    [](const auto& info) { return std::string(info.param.name); });

// The library's listeners are QObjects first and bus listeners second, and die with their
// Qt parent.
class QtListener : public QObject, public PelnoEventListonerAbstract {
public:
    QtListener(QObject* parent, int& calls)
        : QObject(parent)
        , calls_(calls)
    {
        const PELNO_EVENT_LISTONER_CONTEXT context { "Message", "PELNO_Message", 0, "", "", 8 };
        RegisterEventListoner(&context, this);
    }
    bool canHandleEvent(PELNO_EVENT_OBJ*, unsigned int) override { return true; }
    long notify(PELNO_EVENT_OBJ*, long*) override
    {
        ++calls_;
        return 0;
    }

private:
    int& calls_;
};

TEST(EventBus, QtChildListenerUnregistersWithItsParent)
{
    int calls = 0;
    auto parent = std::make_unique<QObject>();
    new QtListener(parent.get(), calls);
    PELNO_MESSAGE_EVENT_OBJ event;
    event.header = { "Message", "out", "impl_1" };
    event.message_kind = 6;
    event.message = "text\n";
    PublishEvent(&event);
    EXPECT_EQ(calls, 1);
    parent.reset();
    PublishEvent(&event);
    EXPECT_EQ(calls, 1);
}

} // namespace
