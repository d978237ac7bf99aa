// The two bus listeners, driven by publishing host records and observed through the
// signals they turn those records into.

#include "engine/engineeventlistener.h"
#include "engine/enginemessagelistener.h"
#include "enginetestsupport.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using zefa::msg_filter::impl_detail::EngineEventListener;
using zefa::msg_filter::impl_detail::EngineMessageListener;

namespace {

// Writes every signal of the listener as "name(arg,arg)" in emission order.
class SignalLog {
public:
    explicit SignalLog(EngineEventListener& listener)
    {
        using L = EngineEventListener;
        QObject::connect(&listener, &L::sigTaskStarted, [this](const QString& i, int s) {
            add(QStringLiteral("sigTaskStarted(%1,%2)").arg(i).arg(s));
        });
        QObject::connect(&listener, &L::sigTaskFinished, [this](const QString& i, int s) {
            add(QStringLiteral("sigTaskFinished(%1,%2)").arg(i).arg(s));
        });
        QObject::connect(&listener, &L::sigProcessStarted,
            [this](const QString& i, const QString& m, const QString& t) {
                add(QStringLiteral("sigProcessStarted(%1,%2,%3)").arg(i, m, t));
            });
        QObject::connect(&listener, &L::sigProcessFinished,
            [this](const QString& i, const QString& m, const QString& t) {
                add(QStringLiteral("sigProcessFinished(%1,%2,%3)").arg(i, m, t));
            });
        QObject::connect(&listener, &L::sigEngineStarted,
            [this](const QString& i, const QString& t, const QString& e) {
                add(QStringLiteral("sigEngineStarted(%1,%2,%3)").arg(i, t, e));
            });
        QObject::connect(&listener, &L::sigEngineFinished,
            [this](const QString& i, const QString& t, const QString& e) {
                add(QStringLiteral("sigEngineFinished(%1,%2,%3)").arg(i, t, e));
            });
        QObject::connect(&listener, &L::sigDefaultImplementationChanged, [this](const QString& i) {
            add(QStringLiteral("sigDefaultImplementationChanged(%1)").arg(i));
        });
        QObject::connect(&listener, &L::sigImplementationRemoved, [this](const QString& i) {
            add(QStringLiteral("sigImplementationRemoved(%1)").arg(i));
        });
        QObject::connect(
            &listener, &L::sigProjectClosed, [this] { add(QStringLiteral("sigProjectClosed()")); });
        QObject::connect(
            &listener, &L::sigProjectLoaded, [this] { add(QStringLiteral("sigProjectLoaded()")); });
    }

    std::vector<std::string> entries;

private:
    void add(const QString& entry) { entries.push_back(entry.toStdString()); }
};

struct EventRow {
    const char* name;
    std::function<void()> publish;
    std::vector<std::string> expected;
};

void PrintTo(const EventRow& row, std::ostream* out)
{
    *out << row.name;
}

class EventListenerTable : public testing::TestWithParam<EventRow> { };

TEST_P(EventListenerTable, PublishedEventBecomesAtMostOneSignal)
{
    EngineEventListener listener;
    SignalLog log(listener);
    GetParam().publish();
    EXPECT_EQ(log.entries, GetParam().expected);
}

using namespace enginetest;

INSTANTIATE_TEST_SUITE_P(Actions, EventListenerTable,
    testing::Values(EventRow { "TaskStarted", [] { publishTask("started", "impl_a", 3); },
                        { "sigTaskStarted(impl_a,3)" } },
        EventRow { "TaskFinished", [] { publishTask("finished", "impl_a", 4); },
            { "sigTaskFinished(impl_a,4)" } },
        EventRow { "TaskCancelledAsTheHostSpellsIt", [] { publishTask("cancled", "impl_a", 7); },
            { "sigTaskFinished(impl_a,7)" } },
        EventRow {
            "TaskCancelledSpeltCorrectly", [] { publishTask("canceled", "impl_a", 7); }, {} },
        EventRow { "TaskActionIsCaseSensitive", [] { publishTask("Started", "impl_a"); }, {} },
        EventRow { "ProcessStarted",
            [] { publishProcess("started", "impl_a", "Synthesize", "synth_1"); },
            { "sigProcessStarted(impl_a,Synthesize,synth_1)" } },
        EventRow { "ProcessUpdatedCountsAsFinished",
            [] { publishProcess("updated", "impl_a", "Synthesize", "synth_1"); },
            { "sigProcessFinished(impl_a,Synthesize,synth_1)" } },
        EventRow { "ProcessFailed", [] { publishProcess("failed", "impl_a", "Place", "pnr"); },
            { "sigProcessFinished(impl_a,Place,pnr)" } },
        EventRow { "ProcessCancelled", [] { publishProcess("cancled", "impl_a", "Place", "pnr"); },
            { "sigProcessFinished(impl_a,Place,pnr)" } },
        EventRow { "ProcessFinishedIsNotAProcessAction",
            [] { publishProcess("finished", "impl_a", "Place", "pnr"); }, {} },
        EventRow { "EngineStarted", [] { publishEngine("started", "impl_a", "synth_1", "synth"); },
            { "sigEngineStarted(impl_a,synth_1,synth)" } },
        EventRow { "EngineFinished",
            [] { publishEngine("finished", "impl_a", "synth_1", "synth"); },
            { "sigEngineFinished(impl_a,synth_1,synth)" } },
        EventRow { "EngineCancelledAnnouncesNothing",
            [] { publishEngine("cancled", "impl_a", "synth_1", "synth"); }, {} },
        EventRow {
            "ProjectLoaded", [] { publishProject("loaded", "impl_a"); }, { "sigProjectLoaded()" } },
        EventRow { "ProjectClosed", [] { publishProject("closed"); }, { "sigProjectClosed()" } },
        EventRow { "DefaultImplementationChanged",
            [] { publishProject("default_implement", "impl_b"); },
            { "sigDefaultImplementationChanged(impl_b)" } },
        EventRow { "ImplementationRemoved", [] { publishImplement("removed", "impl_b"); },
            { "sigImplementationRemoved(impl_b)" } },
        EventRow {
            "ImplementationAddedIsIgnored", [] { publishImplement("added", "impl_b"); }, {} },
        EventRow {
            "ImplementationChangedIsIgnored", [] { publishImplement("changed", "impl_b"); }, {} },
        EventRow { "DefaultStrategyIsIgnored",
            [] { publishImplement("default_strategy", "impl_b"); }, {} },
        EventRow { "RemovalAnnouncedAsProjectEventIsIgnored",
            [] { publishProject("removed", "impl_b"); }, {} },
        EventRow { "CategoryIsCaseSensitive",
            [] {
                zefa::pelno::PELNO_TASK_EVENT_OBJ event;
                event.header = { "Task", "started", "impl_a" };
                zefa::pelno::PublishEvent(&event);
            },
            {} },
        EventRow { "EngineOutputIsNotARunStateEvent", [] { publishOutput("impl_a", "x\n"); }, {} }),
    [](const testing::TestParamInfo<EventRow>& info) { return std::string(info.param.name); });

TEST(EventListener, AnswersEveryEventWithZeroAndLeavesTheResultAlone)
{
    EngineEventListener listener;
    SignalLog log(listener);
    zefa::pelno::PELNO_EVENT_OBJ foreign;
    foreign.header = { "Message", "output", "impl_a" };
    long result = 42;
    EXPECT_TRUE(listener.canHandleEvent(&foreign, 6));
    EXPECT_EQ(listener.notify(&foreign, &result), 0);
    EXPECT_EQ(listener.notify(nullptr, &result), 0);
    zefa::pelno::PELNO_TASK_EVENT_OBJ task;
    task.header = { "task", "started", "impl_a" };
    EXPECT_EQ(listener.notify(&task, &result), 0);
    EXPECT_EQ(result, 42);
    EXPECT_EQ(log.entries, std::vector<std::string> { "sigTaskStarted(impl_a,0)" });
}

TEST(EventListener, RegistersOncePerCategory)
{
    auto listener = std::make_unique<EngineEventListener>();
    // task, process, engine, project and implement.
    EXPECT_EQ(zefa::pelno::UnregisterEventListoner(listener.get()), 5);
}

// A bus listener of the default priority that notes, when a project event reaches it,
// what the engine listener had already announced.
class LateProjectListener : public zefa::pelno::PelnoEventListonerAbstract {
public:
    explicit LateProjectListener(const std::vector<std::string>& seen)
        : m_seen(seen)
    {
        const zefa::pelno::PELNO_EVENT_LISTONER_CONTEXT context { "project", "", 0, "", "", 0 };
        zefa::pelno::RegisterEventListoner(&context, this);
    }
    bool canHandleEvent(zefa::pelno::PELNO_EVENT_OBJ*, unsigned int) override { return true; }
    long notify(zefa::pelno::PELNO_EVENT_OBJ*, long*) override
    {
        seenWhenNotified = m_seen;
        return 0;
    }

    std::vector<std::string> seenWhenNotified;

private:
    const std::vector<std::string>& m_seen;
};

TEST(EventListener, HearsProjectEventsBeforeListenersOfDefaultPriority)
{
    std::vector<std::string> announced;
    // Registered first, so registration order alone would put it in front.
    LateProjectListener early(announced);
    EngineEventListener listener;
    QObject::connect(&listener, &EngineEventListener::sigProjectLoaded,
        [&announced] { announced.push_back("loaded"); });
    publishProject("loaded");
    EXPECT_EQ(early.seenWhenNotified, std::vector<std::string> { "loaded" });
}

struct OutputRow {
    const char* name;
    std::string text;
    int kind;
    std::vector<std::string> expected;
};

void PrintTo(const OutputRow& row, std::ostream* out)
{
    *out << row.name;
}

class MessageListenerTable : public testing::TestWithParam<OutputRow> { };

TEST_P(MessageListenerTable, ForwardsEngineOutputUnchanged)
{
    EngineMessageListener listener;
    std::vector<std::string> seen;
    QObject::connect(&listener, &EngineMessageListener::sigEngineMessageOut,
        [&seen](const QString& implementation, const QString& message) {
            seen.push_back(implementation.toStdString() + "|" + message.toStdString());
        });
    publishOutput("impl_m", GetParam().text, GetParam().kind);
    EXPECT_EQ(seen, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Kinds, MessageListenerTable,
    testing::Values(OutputRow { "SeveralLinesInOneChunk", "a\nb\r\nc", 6, { "impl_m|a\nb\r\nc" } },
        OutputRow { "PartialLine", "warn", 6, { "impl_m|warn" } },
        OutputRow { "EmptyText", "", 6, { "impl_m|" } }, OutputRow { "OtherKind", "text\n", 5, {} },
        OutputRow { "KindZero", "text\n", 0, {} }),
    [](const testing::TestParamInfo<OutputRow>& info) { return std::string(info.param.name); });

TEST(MessageListener, RegistersForMessagesOnly)
{
    auto listener = std::make_unique<EngineMessageListener>();
    EXPECT_EQ(zefa::pelno::UnregisterEventListoner(listener.get()), 1);
}

} // namespace
