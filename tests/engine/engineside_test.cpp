// The engine side from the host's point of view: records published on the bus go in;
// listener signals, stored messages, catalogue calls, plain-text lines and debug traces
// come out.

#include "engine/engineeventlistener.h"
#include "hostevents.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QMetaMethod>
#include <QSignalSpy>

#include <algorithm>
#include <cstdlib>
#include <list>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::msg_filter;
using namespace zefa::pelno;

namespace {

using Lines = std::vector<std::string>;

// Publishes one record, written as "CATEGORY ACTION IMPLEMENTATION [FIRST [REST]]", the
// way the session replay publishes its lines.
long publish(const std::string& words)
{
    return zefa::msg_filter::tool::publishHostEvent(words);
}

std::string joined(const QStringList& items, char separator = ';')
{
    return items.join(QLatin1Char(separator)).toStdString();
}

// Registered for project events ahead of the listeners at the default priority, it is
// called last (and the bus returns its 7) only if the event listener's priority put that
// one first.
class Probe : public PelnoEventListonerAbstract {
public:
    Probe() { RegisterEventListoner(&m_context, this); }
    bool canHandleEvent(PELNO_EVENT_OBJ*, unsigned int) override { return true; }
    long notify(PELNO_EVENT_OBJ*, long*) override { return 7; }

private:
    const PELNO_EVENT_LISTONER_CONTEXT m_context { "project", "", 0, "", "", 0 };
};

TEST(EventListener, TurnsEachEventIntoAtMostOneSignal)
{
    const std::pair<std::string, std::string> rows[] = { { "task started i 3", "TaskStarted(i,3)" },
        { "task finished i 4", "TaskFinished(i,4)" }, { "task cancled i 7", "TaskFinished(i,7)" },
        { "task canceled i 7", "" }, { "task Started i", "" }, { "Task started i", "" },
        { "process started i M t", "ProcessStarted(i,M,t)" },
        { "process updated i M t", "ProcessFinished(i,M,t)" },
        { "process failed i M t", "ProcessFinished(i,M,t)" },
        { "process cancled i M t", "ProcessFinished(i,M,t)" }, { "process finished i M t", "" },
        { "engine started i t e", "EngineStarted(i,t,e)" },
        { "engine finished i t e", "EngineFinished(i,t,e)" }, { "engine cancled i t e", "" },
        { "project loaded i", "ProjectLoaded()" }, { "project closed", "ProjectClosed()" },
        { "project default_implement b", "DefaultImplementationChanged(b)" },
        { "project removed b", "" }, { "implement removed b", "ImplementationRemoved(b)" },
        { "implement added b", "" }, { "implement changed b", "" },
        { "implement default_strategy b", "" } };
    const Probe probe;
    for (const auto& [words, expected] : rows) {
        SCOPED_TRACE(words);
        impl_detail::EngineEventListener events;
        std::list<QSignalSpy> spies;
        const QMetaObject* meta = events.metaObject();
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            if (meta->method(i).methodType() == QMetaMethod::Signal) {
                spies.emplace_back(&events, meta->method(i));
            }
        }
        EXPECT_EQ(publish(words), words.rfind("project", 0) == 0 ? 7 : 0);
        std::string emitted;
        for (const QSignalSpy& spy : spies) {
            for (const QList<QVariant>& arguments : spy) {
                emitted += (emitted.empty() ? "" : ";")
                    + spy.signal().split('(')[0].mid(3).toStdString() + "("
                    + joined(QVariant(arguments).toStringList(), ',') + ")";
            }
        }
        EXPECT_EQ(emitted, expected);
        EXPECT_EQ(UnregisterEventListoner(&events), 5);
    }
}

Lines debugLines;

class Engine : public testing::Test {
protected:
    void SetUp() override
    {
        // The rule engine reads its file once per process, at the first handler.
        qputenv("ZEFA_DATA_PATH", QByteArray(MSGFILTER_TEST_DATA_DIR "/engine"));
        QObject::connect(EngineMessageManager::instance(), &EngineMessageManager::sigMessagesOut,
            &m_receiver, [this](const QString& line, int count) {
                plain.push_back(line.toStdString() + (count == 0 ? "" : " with a count"));
            });
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            debugLines.push_back((type == QtDebugMsg ? "" : "not debug: ") + text.toStdString());
        });
        reset();
    }

    void TearDown() override { reset(); }

    // Handlers point into the store's objects, so they go first; then a fresh project.
    void reset()
    {
        publish("project closed");
        MessageManager::getInstance()->clearAllObjects();
        ZefaProjectManager::getProjectManager()->openProject("chip");
        MsgCatalogue::instance().reset();
        plain.clear();
        debugLines.clear();
    }

    static ZefaProject* project() { return ZefaProjectManager::getProjectManager()->getProject(); }

    // "impl", the project's default before its handler comes into being, runs the process
    // "synth_1" with the engine "default".
    static void start()
    {
        project()->addImplementation("impl", "/tmp");
        project()->setDefaultImplementation("impl");
        for (const char* words : { "project default_implement impl", "task started impl",
                 "process started impl Synthesize synth_1",
                 "engine started impl synth_1 default" }) {
            publish(words);
        }
    }

    // One process's stored messages as "id|severity|dynamic|navigation", in arrival order.
    static Lines messagesOf(const std::string& process)
    {
        Lines messages;
        for (MessageNode* node :
            MessageManager::getInstance()->getObject(QStringLiteral("impl"))->reloadAllMessages()) {
            if (node->getMessageProcess().toStdString() == process) {
                messages.push_back(node->getMessageID().toStdString() + "|"
                    + node->getMessageSeverity().toStdString() + "|"
                    + joined(node->getMessageDynamicData()) + "|"
                    + joined(node->getMessageNavigationData()));
            }
        }
        return messages;
    }

    static Lines journal(const std::string& prefix)
    {
        Lines lines = MsgCatalogue::instance().journal();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                        [&](const std::string& line) { return line.rfind(prefix, 0) != 0; }),
            lines.end());
        return lines;
    }

    Lines plain; // the unrecognised lines handed to the host, in order
    QObject m_receiver;
};

TEST_F(Engine, OutputIsCutIntoLinesClassifiedAndDecoded)
{
    // Name; the steps: output of "impl", or after "bus:" the words of an event to publish;
    // the messages then stored in "synth_1"; the plain-text lines.
    const std::tuple<const char*, Lines, Lines, Lines> rows[] = {
        { "LinesEndAtLineFeedsWithoutCarriageReturns",
            { "bus:Message output impl 5 other kind\n", "warn", "ing: x\r\n", " a \nb", "c\n",
                "\r10%\r20", "%\r\r\n", "\n\r\n" },
            { "9991|Warning|x|" }, { " a ", "bc", "10%20%", "", "" } },
        { "OldFormat",
            { "  @E - Bad thing  \nWARNING - disk low \n@w: short\n  top.v: error: bad \n"
              "error: bad port [top.v:12]\nError: something\n# progress\n"
              "TYPED both\nTYPED w-short\nTYPED none\n" },
            { "9990|Error|Bad thing|", "9991|Warning|disk low|", "9991|Warning|short|",
                "9990|Error|top.v: error: bad|", "9990|Error|bad port [top.v:12]|top.v;12",
                "E-77|Error|something|something", "9990|Error|TYPED both|",
                "9991|Warning|TYPED w-short|", "9992|Info|TYPED none|" },
            {} },
        { "NewFormatKeptWhenTheNextProcessStarts",
            { "@msg id=S-2 type=Warning dynamic=2 navigation=1 "
              "args=arg1=\"a&amp;lt;b\" arg2=\"c\" arg3=\"file.v\" arg4=\"surplus\"\n"
              "@msg id=X-5 type=warning dynamic=1 navigation=2 args=arg2=\"2nd\" arg1=\"1st\"\n"
              "@msg id=N-2 type=Info navigation=2 args=arg1=\"f.v\" arg2=\"9\" arg3=\"x\"\n"
              "@msg id=N-3 type=Error dynamic=two navigation=1 args=arg1=\"p\" arg2=\"q\"\n",
                "bus:process started impl Place place_1" },
            { "S-2|Warning|a<b;c|file.v", "X-5|warning|2nd|1st", "N-2|Info||f.v;9",
                "N-3|Error||p" },
            {} },
        { "EntitiesDecodedAmpersandThird",
            { "@msg id=E type=Info dynamic=6 navigation=0 args=arg1=\"&quot;q&quot;&apos;\" "
              "arg1=\"a&amp;b&lt;x&gt;\" arg1=\"x&#xA;y&#x9;z\" arg1=\"&amp;lt;&amp;#xA;\" "
              "arg1=\"&amp;amp;&amp;quot;\" arg1=\"&#xa;&#10;&LT;\"\n" },
            { "E|Info|\"q\"';a&b<x>;x\ny\tz;<\n;&amp;&quot;;&#xa;&#10;&LT;|" }, {} },
        { "OnlyWhileActiveUnrecognisedLinesPassed",
            { "bus:project default_implement other", "warning: stored\nsilent\n",
                "bus:project default_implement impl", "loud\n" },
            { "9991|Warning|stored|" }, { "loud" } },
        { "EngineStartSelectsRulesFallingBackToDefault",
            { "bus:engine started impl s synth", "SYNTH a\nwarning: x\n",
                "bus:engine started impl s route", "SYNTH b\nwarning: y\n",
                "bus:engine started impl s synth", "bus:engine started impl s Synth", "SYNTH c\n",
                "bus:engine started impl s synth", "bus:engine finished impl s synth",
                "SYNTH d\n" },
            { "SYN-1|Info|SYNTH a|a", "9991|Warning|y|", "SYN-1|Info|SYNTH d|d" },
            { "warning: x", "SYNTH b", "SYNTH c" } },
        { "EngineEndHandlesTheTailAndKeepsItTaskEndEndsTheProcess",
            { "warning: a\rb", "bus:engine finished impl s default", "c\n",
                "bus:task finished impl", "warning: now a tool message\n" },
            { "9991|Warning|a\rb|", "9991|Warning|abc|" }, {} },
        { "RestartedProcessForgetsItsMessages",
            { "warning: first\n", "bus:process started impl Synthesize synth_1" }, {}, {} },
        { "HandlersKeptOnTaskStartDiscardedOnRemovalAndClose",
            { "warning: kept\n", "bus:Message output other 6 x ", "ab", "bus:task started impl",
                "c\n", "d", "bus:implement removed impl", "e\n", "bus:task started impl", "f\n",
                "g", "bus:project closed", "h\n", "bus:task started impl", "i\n",
                "bus:engine started impl s default", "warning: again\n" },
            { "9991|Warning|kept|", "9991|Warning|again|" }, { "abc", "f", "i" } }
    };
    for (const auto& [name, steps, messages, expectedPlain] : rows) {
        SCOPED_TRACE(name);
        reset();
        start();
        for (const std::string& step : steps) {
            publish(step.rfind("bus:", 0) == 0 ? step.substr(4) : "Message output impl 6 " + step);
        }
        EXPECT_EQ(messagesOf("synth_1"), messages);
        EXPECT_EQ(plain, expectedPlain);
    }
}

// A host may answer a plain line by publishing more events before the handler takes its
// next line. The line has left the buffer before it is handled, so a nested call sees only
// the lines after it, and every line is handled once.
TEST_F(Engine, HostAnswersToALineInterleaveAsTheyDoToday)
{
    // Name; the plain line the host answers and the event it then publishes; the output
    // steps of "impl"; the plain lines in the order the host sees them.
    const std::tuple<const char*, std::pair<const char*, const char*>, Lines, Lines> rows[] = {
        { "OutputDuringALineFollowsTheRestOfTheChunk",
            { "echo", "Message output impl 6 inner\nnext " }, { "a\necho\nb\nc", "last\n" },
            { "a", "echo", "b", "cinner", "next last" } },
        { "EngineEndDuringALineHandlesWhatFollowsItAsOneLine",
            { "end", "engine finished impl synth_1 default" }, { "end\nb\nc", "d\n" },
            { "end", "b\nc", "b", "cd" } },
        { "RemovalDuringALineDropsTheRestOfTheChunk", { "remove", "implement removed impl" },
            { "a\nremove\nb\n", "c\n" }, { "a", "remove" } },
    };
    for (const auto& [name, answer, steps, expectedPlain] : rows) {
        SCOPED_TRACE(name);
        reset();
        start();
        QObject answering;
        const std::pair<std::string, std::string> reaction(answer.first, answer.second);
        QObject::connect(EngineMessageManager::instance(), &EngineMessageManager::sigMessagesOut,
            &answering, [&reaction](const QString& line, int) {
                if (line.toStdString() == reaction.first) {
                    publish(reaction.second);
                }
            });
        for (const std::string& step : steps) {
            publish("Message output impl 6 " + step);
        }
        EXPECT_EQ(plain, expectedPlain);
    }
}

// However the output is cut into pieces, the handler hands over the same lines, in order.
TEST_F(Engine, AnyCuttingOfTheOutputGivesTheSameLines)
{
    start();
    std::mt19937 random(14);
    std::string text;
    for (int i = 0; i < 4000; ++i) {
        text += "abw\r\n c\n"[random() % 8];
    }
    Lines expected;
    std::string line;
    for (char c : text) {
        if (c == '\n') {
            expected.push_back(line);
            line.clear();
        } else if (c != '\r') {
            line += c;
        }
    }
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        plain.clear();
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t size = std::min<std::size_t>(text.size() - at, random() % 300);
            publish("Message output impl 6 " + text.substr(at, size));
            at += size;
        }
        publish("Message output impl 6 \n");
        Lines wanted = expected;
        wanted.push_back(line);
        ASSERT_EQ(plain, wanted);
    }
}

// Only an old-format line without an id of its own goes to the catalogue's generic
// entries, looked up under their component; every other message is keyed by its id.
TEST_F(Engine, GenericIdsAreLookedUpUnderTheirComponent)
{
    start();
    MsgCatalogue::instance().clearJournal();
    publish("Message output impl 6 @E - a\nError: b\n@msg id=X-9 type=Info dynamic=0 navigation=0 "
            "args=\nTYPED none\n");
    EXPECT_EQ(journal("getMsgMID"), (Lines { "getMsgMID(common,9990)", "getMsgMID(common,9992)" }));
    EXPECT_EQ(journal("postMsg"),
        (Lines { "postMsg(9990,[a],[],0)", "postMsg(E-77,[b],[b],0)", "postMsg(X-9,[],[],0)",
            "postMsg(9992,[TYPED none],[],0)" }));
}

TEST_F(Engine, TracesEachRunStateEventOfItsImplementationOnce)
{
    project()->addImplementation("i", "/tmp");
    for (const char* words : { "task started i 5", "process started i M t", "engine started i t e",
             "process started u M t", "engine started u t e", "engine finished i t e",
             "process updated i M t", "task cancled i 9", "task started i" }) {
        publish(words);
    }
    EXPECT_EQ(debugLines,
        (Lines { "task started: implementation: \"i\"",
            "\nprocess started: implementation: \"i\"  milestone: \"M\"  task: \"t\"",
            "engine started: implementation: \"i\"  milestone: N/A  task: \"t\"  engine: \"e\"",
            "engine finished: implementation: \"i\"  milestone: N/A  task: \"t\"  engine: \"e\"",
            "process finished: implementation: \"i\"  milestone: \"M\"  task: \"t\"",
            "task finished: implementation: \"i\"", "task started: implementation: \"i\"" }));
}

// The filters look at the milestone of a process, not at its task.
TEST_F(Engine, ProcessStartFiltersByMilestone)
{
    start();
    MessageObject* messages = MessageManager::getInstance()->getObject(QStringLiteral("impl"));
    messages->saveFilter(QStringLiteral("hide"), {}, { QStringLiteral("Place") }, {}, {});
    messages->setActiveFilter(QStringLiteral("hide"));
    for (const auto& [words, last] :
        { std::pair { "process started impl Place synth_1", "disableMsgType(-2)" },
            std::pair { "process started impl Route Place", "enableMsgType(1)" } }) {
        MsgCatalogue::instance().clearJournal();
        publish(words);
        EXPECT_EQ(journal(""), (Lines { "enableMsgType(15)", "enableMsg(null)", last }));
    }
}

TEST_F(Engine, ProjectLoadReadsTheDefaultImplementationsFilterFileAndActivatesIt)
{
    // The default implementation's title (none if null), its report file names for the
    // filter file, whether the filters come into force and whether the implementation
    // gets an object and becomes the active one. A resolution that yields no name at all
    // ends the load before the store is touched.
    struct Row {
        const char* title;
        std::optional<Lines> names;
        bool loads;
        bool activates;
    };
    const Row rows[] = {
        { "impl", Lines { "filters.xml", "x.xml" }, true, true },
        { "impl", std::nullopt, false, true },
        { "impl", Lines {}, false, false },
        { "", Lines { "filters.xml" }, false, false },
        { nullptr, std::nullopt, false, false },
    };
    for (const auto& [title, names, loads, activates] : rows) {
        SCOPED_TRACE(testing::Message() << (title ? title : "none") << names.has_value());
        reset();
        if (title != nullptr) {
            ZefaImplementation* implementation =
                project()->addImplementation(title, MSGFILTER_TEST_DATA_DIR "/engine");
            if (names) {
                implementation->setReportFileNames("Report_MessageFilter", *names);
            }
            project()->setDefaultImplementation(title);
        }
        MessageManager::getInstance()->setActiveObject(QStringLiteral("before"));
        publish("project loaded");
        EXPECT_EQ(MessageManager::getInstance()->getActiveObjectName(),
            QLatin1String(activates ? "impl" : "before"));
        EXPECT_EQ(MessageManager::getInstance()->getObjectNames().contains(QStringLiteral("impl")),
            activates);
        EXPECT_EQ(journal("disableMsgType"), loads ? Lines { "disableMsgType(2)" } : Lines {});
    }
}

// The manager is torn down at exit; a use after that is the caller's programming error
// and must say so rather than hand out a destroyed object.
TEST(EngineMessageManagerLifetime, UseAfterExitIsADeadReference)
{
    // A fresh process, so that the probe is registered before the manager's own clean-up
    // and therefore runs after it.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            std::atexit([] { EngineMessageManager::instance(); });
            EngineMessageManager::instance();
            std::exit(0);
        },
        "Dead Reference Detected");
}

} // namespace
