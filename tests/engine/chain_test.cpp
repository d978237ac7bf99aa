// The whole engine side from the host's point of view: records published on the bus go
// in; stored messages, catalogue calls, plain-text lines and debug traces come out.

#include "enginetestsupport.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using zefa::msg_filter::EngineMessageManager;
using zefa::msg_filter::MessageManager;
using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;
using zefa::pelno::MsgCatalogue;
using zefa::pelno::ZefaProjectManager;
using namespace enginetest;

namespace {

using Lines = std::vector<std::string>;

std::string joined(const QStringList& items)
{
    return items.join(QLatin1Char(';')).toStdString();
}

// One stored message as "id|severity|dynamic|navigation", lists joined by ';'.
std::string describe(MessageNode* node)
{
    return node->getMessageID().toStdString() + "|" + node->getMessageSeverity().toStdString() + "|"
        + joined(node->getMessageDynamicData()) + "|" + joined(node->getMessageNavigationData());
}

class EngineChain : public testing::Test {
protected:
    void SetUp() override
    {
        // The rule engine reads its file once per process, at the first handler.
        qputenv("ZEFA_DATA_PATH", QByteArray(MSGFILTER_TEST_DATA_DIR "/engine"));
        m_manager = EngineMessageManager::instance();
        // Handlers of an earlier test point into the store's objects: discard them first.
        publishProject("closed");
        MessageManager::getInstance()->clearAllObjects();
        ZefaProjectManager::getProjectManager()->openProject("chip");
        MsgCatalogue::instance().reset();
        m_plain = std::make_unique<QSignalSpy>(m_manager, &EngineMessageManager::sigMessagesOut);
    }

    void TearDown() override
    {
        m_plain.reset();
        publishProject("closed");
        MessageManager::getInstance()->clearAllObjects();
        ZefaProjectManager::getProjectManager()->closeProject();
    }

    zefa::pelno::ZefaProject* project() const
    {
        return ZefaProjectManager::getProjectManager()->getProject();
    }

    // Makes the implementation the project's default and announces it.
    void makeDefault(const std::string& implementation)
    {
        project()->setDefaultImplementation(implementation);
        publishProject("default_implement", implementation);
    }

    // An active implementation in a running process whose engine is `engine`.
    void runActive(const std::string& implementation, const std::string& engine = "default")
    {
        project()->addImplementation(implementation, "/tmp");
        makeDefault(implementation);
        publishTask("started", implementation);
        publishProcess("started", implementation, "Synthesize", "synth_1");
        if (!engine.empty()) {
            publishEngine("started", implementation, "synth_1", engine);
        }
    }

    // The unrecognised lines passed to the host so far; every one must carry the count 0.
    Lines plainLines() const
    {
        Lines lines;
        for (const QList<QVariant>& arguments : *m_plain) {
            EXPECT_EQ(arguments.at(1).toInt(), 0);
            lines.push_back(arguments.at(0).toString().toStdString());
        }
        return lines;
    }

    static MessageObject* object(const std::string& implementation)
    {
        return MessageManager::getInstance()->getObject(QString::fromStdString(implementation));
    }

    // The stored messages of one process, in arrival order.
    static Lines messagesOf(const std::string& implementation, const std::string& process)
    {
        Lines messages;
        for (MessageNode* node : object(implementation)->reloadAllMessages()) {
            if (node->getMessageProcess().toStdString() == process) {
                messages.push_back(describe(node));
            }
        }
        return messages;
    }

    static Lines journalLinesStartingWith(const std::string& prefix)
    {
        Lines lines;
        for (const std::string& line : MsgCatalogue::instance().journal()) {
            if (line.compare(0, prefix.size(), prefix) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    EngineMessageManager* m_manager = nullptr;
    std::unique_ptr<QSignalSpy> m_plain;
};

// --- cutting output into lines ------------------------------------------------------

struct SplitRow {
    const char* name;
    // Each chunk with the plain lines expected once it has been delivered.
    std::vector<std::pair<std::string, Lines>> steps;
};

void PrintTo(const SplitRow& row, std::ostream* out)
{
    *out << row.name;
}

class LineSplitting : public EngineChain, public testing::WithParamInterface<SplitRow> { };

// No engine has started, so no rule set is selected and every line comes back as
// plain text exactly as the splitter cut it.
TEST_P(LineSplitting, CutsAtLineFeedsAndDropsCarriageReturns)
{
    runActive("impl_split", "");
    for (const auto& [chunk, expected] : GetParam().steps) {
        SCOPED_TRACE(chunk);
        publishOutput("impl_split", chunk);
        EXPECT_EQ(plainLines(), expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Chunks, LineSplitting,
    testing::Values(SplitRow { "LineSplitAcrossChunks",
                        { { "warn", {} }, { "ing: x\r\n", { "warning: x" } } } },
        SplitRow { "TailWaitsForItsLineFeed", { { "a\nb", { "a" } }, { "c\n", { "a", "bc" } } } },
        SplitRow { "CarriageReturnInsideLine", { { "10%\r20%\n", { "10%20%" } } } },
        SplitRow { "EveryCarriageReturnGoes", { { "\rx\r\r\n", { "x" } } } },
        SplitRow { "LoneCarriageReturnEndsNoLine", { { "a\rb", {} }, { "\n", { "ab" } } } },
        SplitRow { "EmptyLinesAreLines", { { "\n\r\n", { "", "" } } } },
        SplitRow { "SeveralLinesInOneChunk", { { "a\nb\nc\nd", { "a", "b", "c" } } } },
        SplitRow { "EmptyChunkChangesNothing", { { "x", {} }, { "", {} }, { "\n", { "x" } } } }),
    [](const testing::TestParamInfo<SplitRow>& info) { return std::string(info.param.name); });

TEST_F(EngineChain, OutputOfAnotherImplementationNeverEntersTheBuffer)
{
    runActive("impl_own", "");
    publishOutput("impl_other", "foreign ");
    publishOutput("impl_own", "own\n");
    EXPECT_EQ(plainLines(), Lines { "own" });
}

// --- classifying lines ----------------------------------------------------------------

struct LineRow {
    const char* name;
    std::string output;
    Lines messages; // stored in the running process, as "id|severity|dynamic|navigation"
    Lines plain;
};

void PrintTo(const LineRow& row, std::ostream* out)
{
    *out << row.name;
}

class LineClassification : public EngineChain, public testing::WithParamInterface<LineRow> { };

TEST_P(LineClassification, StoresDecodedMessageOrPassesPlainText)
{
    runActive("impl_lines");
    publishOutput("impl_lines", GetParam().output);
    EXPECT_EQ(messagesOf("impl_lines", "synth_1"), GetParam().messages);
    EXPECT_EQ(plainLines(), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(Formats, LineClassification,
    testing::Values(LineRow { "OldErrorGetsGenericId", "  @E - Bad thing  \n",
                        { "9990|Error|Bad thing|" }, {} },
        LineRow { "OldWarningWithColon", "warning: x\n", { "9991|Warning|x|" }, {} },
        LineRow { "OldWarningWithDashInCapitals", "WARNING - disk low \n",
            { "9991|Warning|disk low|" }, {} },
        LineRow { "OldWarningAbbreviated", "@w: short\n", { "9991|Warning|short|" }, {} },
        LineRow { "OldRuleOfTypeNoteIsInfo", "Note: hello \n", { "9992|Info|Note: hello|" }, {} },
        LineRow { "OldRuleFieldsBecomeNavigation", "error: bad port [top.v:12]\n",
            { "9990|Error|bad port [top.v:12]|top.v;12" }, {} },
        LineRow { "RuleSuppliedIdReplacesGenericOne", "Error: something\n",
            { "E-77|Error|something|something" }, {} },
        LineRow { "OldRuleWithoutOldSyntaxKeepsWholeLine", "  the error_flag is high \n",
            { "9990|Error|the error_flag is high|" }, {} },
        LineRow { "OldSyntaxMustSpanTheWholeLine", "top.v: error: bad\n",
            { "9990|Error|top.v: error: bad|" }, {} },
        LineRow {
            "TypeNamingBothSeveritiesIsError", "TYPED both\n", { "9990|Error|TYPED both|" }, {} },
        LineRow {
            "ShortErrorTypeInAnyCase", "TYPED e-short\n", { "9990|Error|TYPED e-short|" }, {} },
        LineRow { "ShortWarningTypeAnywhereInText", "TYPED w-short\n",
            { "9991|Warning|TYPED w-short|" }, {} },
        LineRow { "RuleWithoutMatchingSubRuleDropsLine", "# progress 10%\n", {}, {} },
        LineRow { "UnrecognisedLineIsPlainText", "  Starting placement \n", {},
            { "  Starting placement " } },
        LineRow { "NewFormatSplitsArgumentsByCount",
            "@msg id=SYN-12 type=Warning dynamic=2 navigation=1 "
            "args=arg1=\"a&amp;lt;b\" arg2=\"c\" arg3=\"file.v\"\n",
            { "SYN-12|Warning|a<b;c|file.v" }, {} },
        LineRow { "NewFormatWithoutDynamicCount",
            "@msg id=N-2 type=Info navigation=2 args=arg1=\"f.v\" arg2=\"9\" arg3=\"x\"\n",
            { "N-2|Info||f.v;9" }, {} },
        LineRow { "NewFormatNonNumericCountIsZero",
            "@msg id=X-3 type=Error dynamic=two navigation=1 args=arg1=\"p\" arg2=\"q\"\n",
            { "X-3|Error||p" }, {} },
        LineRow { "NewFormatFewerArgumentsThanCounted",
            "@msg id=X-4 type=Info dynamic=3 navigation=1 args=arg1=\"only one\"\n",
            { "X-4|Info|only one|" }, {} },
        LineRow { "NewFormatTakesArgumentsInOrderOfAppearance",
            "@msg id=X-5 type=Info dynamic=1 navigation=1 args=arg2=\"second\" arg1=\"first\"\n",
            { "X-5|Info|second|first" }, {} },
        LineRow { "NewFormatWithoutArguments", "@msg id=X-6 type=Error dynamic=1 navigation=0\n",
            { "X-6|Error||" }, {} },
        LineRow { "NewFormatWithBlankArguments",
            "@msg id=X-7 type=Info dynamic=1 navigation=0 args=   \n", { "X-7|Info||" }, {} },
        LineRow { "NewFormatSeverityTakenVerbatim",
            "@msg id=X-8 type=warning dynamic=1 navigation=0 args=arg1=\"v\"\n",
            { "X-8|warning|v|" }, {} }),
    [](const testing::TestParamInfo<LineRow>& info) { return std::string(info.param.name); });

// Only an old-format line without an id of its own goes to the catalogue's generic
// entries, looked up under their component; every other message is keyed by its id.
TEST_F(EngineChain, GenericIdsAreLookedUpUnderTheirComponent)
{
    runActive("impl_keys");
    MsgCatalogue::instance().clearJournal();
    publishOutput(
        "impl_keys", "@E - a\nError: b\n@msg id=X-9 type=Info dynamic=0 navigation=0\nNote: c\n");
    EXPECT_EQ(journalLinesStartingWith("getMsgMID"),
        (Lines { "getMsgMID(common,9990)", "getMsgMID(common,9992)" }));
    EXPECT_EQ(journalLinesStartingWith("postMsg"),
        (Lines { "postMsg(9990,[a],[],0)", "postMsg(E-77,[b],[b],0)", "postMsg(X-9,[],[],0)",
            "postMsg(9992,[Note: c],[],0)" }));
}

struct EntityRow {
    const char* name;
    std::string escaped;
    std::string decoded;
};

void PrintTo(const EntityRow& row, std::ostream* out)
{
    *out << row.name;
}

class EntityDecoding : public EngineChain, public testing::WithParamInterface<EntityRow> { };

TEST_P(EntityDecoding, DecodesArgumentValues)
{
    runActive("impl_entities");
    publishOutput("impl_entities",
        "@msg id=ENT type=Info dynamic=1 navigation=0 args=arg1=\"" + GetParam().escaped + "\"\n");
    const QVector<MessageNode*> nodes = object("impl_entities")->reloadAllMessages();
    ASSERT_EQ(nodes.size(), 1);
    EXPECT_EQ(nodes.front()->getMessageDynamicData(),
        QStringList { QString::fromStdString(GetParam().decoded) });
}

INSTANTIATE_TEST_SUITE_P(Entities, EntityDecoding,
    testing::Values(EntityRow { "Quote", "&quot;q&quot;", "\"q\"" },
        EntityRow { "Apostrophe", "it&apos;s", "it's" },
        EntityRow { "Ampersand", "a&amp;b", "a&b" },
        EntityRow { "LessAndGreater", "&lt;x&gt;", "<x>" },
        EntityRow { "LineFeed", "x&#xA;y", "x\ny" }, EntityRow { "Tab", "x&#x9;y", "x\ty" },
        EntityRow { "DoublyEscapedLess", "&amp;lt;", "<" },
        EntityRow { "DoublyEscapedLineFeed", "&amp;#xA;", "\n" },
        EntityRow { "AmpersandDecodedOnce", "&amp;amp;", "&amp;" },
        EntityRow { "QuoteBeforeAmpersand", "&amp;quot;", "&quot;" },
        EntityRow { "LowerCaseHexKept", "&#xa;", "&#xa;" },
        EntityRow { "DecimalReferenceKept", "&#10;", "&#10;" },
        EntityRow { "CapitalEntityKept", "&LT;", "&LT;" }),
    [](const testing::TestParamInfo<EntityRow>& info) { return std::string(info.param.name); });

// --- the active implementation --------------------------------------------------------

TEST_F(EngineChain, OnlyTheActiveImplementationPassesPlainTextAndPosts)
{
    project()->addImplementation("impl_a", "/tmp");
    project()->addImplementation("impl_b", "/tmp");
    for (const char* implementation : { "impl_a", "impl_b" }) {
        publishTask("started", implementation);
        publishProcess("started", implementation, "Synthesize", "synth_1");
        publishEngine("started", implementation, "synth_1", "default");
    }
    publishOutput("impl_a", "silent a\nwarning: stored a\n");
    EXPECT_EQ(plainLines(), Lines {});
    EXPECT_EQ(messagesOf("impl_a", "synth_1"), Lines { "9991|Warning|stored a|" });
    EXPECT_EQ(journalLinesStartingWith("postMsg"), Lines {});

    makeDefault("impl_a");
    EXPECT_EQ(MessageManager::getInstance()->getActiveObjectName(), QStringLiteral("impl_a"));
    publishOutput("impl_a", "loud a\nwarning: posted a\n");
    publishOutput("impl_b", "silent b\nwarning: stored b\n");
    EXPECT_EQ(plainLines(), Lines { "loud a" });
    EXPECT_EQ(journalLinesStartingWith("postMsg"), Lines { "postMsg(9991,[posted a],[],0)" });

    makeDefault("impl_b");
    EXPECT_EQ(MessageManager::getInstance()->getActiveObjectName(), QStringLiteral("impl_b"));
    publishOutput("impl_a", "silent again\n");
    publishOutput("impl_b", "loud b\n");
    EXPECT_EQ(plainLines(), (Lines { "loud a", "loud b" }));
}

TEST_F(EngineChain, HandlerOfTheProjectDefaultStartsActive)
{
    project()->addImplementation("impl_default", "/tmp");
    // Set on the project only: no event announces it.
    project()->setDefaultImplementation("impl_default");
    publishTask("started", "impl_default");
    publishOutput("impl_default", "hello\n");
    EXPECT_EQ(plainLines(), Lines { "hello" });
}

// --- run state ------------------------------------------------------------------------

TEST_F(EngineChain, TracesEachRunStateEventOfItsImplementationOnce)
{
    project()->addImplementation("impl_t", "/tmp");
    DebugCapture debug;
    publishTask("started", "impl_t", 5);
    publishProcess("started", "impl_t", "Synthesize", "synth_1");
    publishEngine("started", "impl_t", "synth_1", "synth");
    // No handler serves impl_u, and impl_t's keeps out of it.
    publishProcess("started", "impl_u", "Synthesize", "synth_1");
    publishEngine("started", "impl_u", "synth_1", "synth");
    publishEngine("finished", "impl_t", "synth_1", "synth");
    publishProcess("updated", "impl_t", "Synthesize", "synth_1");
    publishTask("cancled", "impl_t", 9);
    publishTask("started", "impl_t");
    const QStringList expected {
        QStringLiteral("task started: implementation: \"impl_t\""),
        QStringLiteral("\nprocess started: implementation: \"impl_t\"  milestone: \"Synthesize\" "
                       " task: \"synth_1\""),
        QStringLiteral("engine started: implementation: \"impl_t\"  milestone: N/A  task: "
                       "\"synth_1\"  engine: \"synth\""),
        QStringLiteral("engine finished: implementation: \"impl_t\"  milestone: N/A  task: "
                       "\"synth_1\"  engine: \"synth\""),
        QStringLiteral("process finished: implementation: \"impl_t\"  milestone: \"Synthesize\" "
                       " task: \"synth_1\""),
        QStringLiteral("task finished: implementation: \"impl_t\""),
        QStringLiteral("task started: implementation: \"impl_t\""),
    };
    EXPECT_EQ(debug.lines(), expected);
}

TEST_F(EngineChain, ProcessStartNamesTheProcessAndFiltersByMilestone)
{
    runActive("impl_p", "");
    MessageObject* messages = object("impl_p");
    messages->saveFilter(QStringLiteral("hide_place"), {}, { QStringLiteral("Place") }, {}, {});
    messages->setActiveFilter(QStringLiteral("hide_place"));

    MsgCatalogue::instance().clearJournal();
    publishProcess("started", "impl_p", "Place", "place_1");
    EXPECT_EQ(messages->getCurrentProcess(), QStringLiteral("place_1"));
    EXPECT_EQ(MsgCatalogue::instance().journal(),
        (Lines { "enableMsgType(15)", "enableMsg(null)", "disableMsgType(-2)" }));

    // The task name is what the store files messages under, the milestone what the
    // filter looks at: a process whose task is called "Place" is not hidden.
    MsgCatalogue::instance().clearJournal();
    publishProcess("started", "impl_p", "Route", "Place");
    EXPECT_EQ(MsgCatalogue::instance().journal(),
        (Lines { "enableMsgType(15)", "enableMsg(null)", "enableMsgType(1)" }));
}

TEST_F(EngineChain, RestartedProcessForgetsItsEarlierMessages)
{
    runActive("impl_r");
    publishOutput("impl_r", "warning: first run\n");
    publishProcess("started", "impl_r", "Place", "place_1");
    publishOutput("impl_r", "warning: placing\n");

    QSignalSpy updated(object("impl_r"), &MessageObject::sigMessageBufferUpdated);
    publishProcess("started", "impl_r", "Synthesize", "synth_1");
    EXPECT_EQ(updated.count(), 1);
    EXPECT_EQ(messagesOf("impl_r", "synth_1"), Lines {});
    EXPECT_EQ(messagesOf("impl_r", "place_1"), Lines { "9991|Warning|placing|" });
}

TEST_F(EngineChain, OutputAfterTaskEndIsFiledUnderTool)
{
    runActive("impl_tool");
    publishTask("finished", "impl_tool");
    EXPECT_EQ(object("impl_tool")->getCurrentProcess(), QStringLiteral("Tool"));
    publishOutput("impl_tool", "warning: between tasks\n");
    EXPECT_EQ(messagesOf("impl_tool", "Tool"), Lines { "9991|Warning|between tasks|" });
}

struct EngineRow {
    const char* name;
    std::string engine;
    Lines messages;
    Lines plain;
};

void PrintTo(const EngineRow& row, std::ostream* out)
{
    *out << row.name;
}

class EngineSelection : public EngineChain, public testing::WithParamInterface<EngineRow> { };

TEST_P(EngineSelection, EngineStartSelectsItsRuleSet)
{
    runActive("impl_e", GetParam().engine);
    publishOutput("impl_e", "SYNTH mapping\n@msg id=X-1 type=Info dynamic=0 navigation=0\n");
    EXPECT_EQ(messagesOf("impl_e", "synth_1"), GetParam().messages);
    EXPECT_EQ(plainLines(), GetParam().plain);
}

INSTANTIATE_TEST_SUITE_P(Engines, EngineSelection,
    testing::Values(EngineRow { "KnownEngine", "synth", { "SYN-1|Info|SYNTH mapping|mapping" },
                        { "@msg id=X-1 type=Info dynamic=0 navigation=0" } },
        EngineRow { "DefaultEngine", "default", { "X-1|Info||" }, { "SYNTH mapping" } },
        EngineRow {
            "UnknownEngineFallsBackToDefault", "route", { "X-1|Info||" }, { "SYNTH mapping" } },
        EngineRow {
            "EngineNamesAreCaseSensitive", "Synth", { "X-1|Info||" }, { "SYNTH mapping" } }),
    [](const testing::TestParamInfo<EngineRow>& info) { return std::string(info.param.name); });

TEST_F(EngineChain, FinishedEngineKeepsItsRuleSet)
{
    runActive("impl_keep", "synth");
    publishEngine("finished", "impl_keep", "synth_1", "synth");
    publishOutput("impl_keep", "SYNTH after the end\n");
    EXPECT_EQ(messagesOf("impl_keep", "synth_1"),
        Lines { "SYN-1|Info|SYNTH after the end|after the end" });
}

TEST_F(EngineChain, EngineEndHandlesThePartialLineAndKeepsIt)
{
    runActive("impl_tail");
    publishOutput("impl_tail", "ab\rc");
    EXPECT_EQ(plainLines(), Lines {});
    // At the engine end the tail is handled as it stands, carriage return included...
    publishEngine("finished", "impl_tail", "synth_1", "default");
    EXPECT_EQ(plainLines(), Lines { "ab\rc" });
    // ...and stays in the buffer, to be handled again, whole, with its line feed.
    publishOutput("impl_tail", "def\n");
    EXPECT_EQ(plainLines(), (Lines { "ab\rc", "abcdef" }));
}

TEST_F(EngineChain, EngineEndPostsAClassifiedTailTwice)
{
    runActive("impl_twice");
    publishOutput("impl_twice", "warning: half");
    publishEngine("finished", "impl_twice", "synth_1", "default");
    publishOutput("impl_twice", " done\n");
    EXPECT_EQ(messagesOf("impl_twice", "synth_1"),
        (Lines { "9991|Warning|half|", "9991|Warning|half done|" }));
}

// --- handlers come and go -------------------------------------------------------------

TEST_F(EngineChain, LaterTaskStartKeepsTheHandler)
{
    runActive("impl_same", "");
    publishOutput("impl_same", "ab");
    publishTask("started", "impl_same");
    publishOutput("impl_same", "c\n");
    EXPECT_EQ(plainLines(), Lines { "abc" });
}

TEST_F(EngineChain, RemovedImplementationLosesItsHandler)
{
    runActive("impl_gone", "");
    publishOutput("impl_gone", "ab");
    publishImplement("removed", "impl_gone");
    publishOutput("impl_gone", "c\n");
    EXPECT_EQ(plainLines(), Lines {});
    publishTask("started", "impl_gone");
    publishOutput("impl_gone", "d\n");
    EXPECT_EQ(plainLines(), Lines { "d" });
}

TEST_F(EngineChain, ClosedProjectLosesAllHandlers)
{
    runActive("impl_one", "");
    runActive("impl_two", "");
    publishOutput("impl_one", "one ");
    publishOutput("impl_two", "two ");
    publishProject("closed");
    publishOutput("impl_two", "lost\n");
    makeDefault("impl_one");
    publishOutput("impl_one", "lost\n");
    EXPECT_EQ(plainLines(), Lines {});

    publishTask("started", "impl_one");
    publishOutput("impl_one", "fresh\n");
    EXPECT_EQ(plainLines(), Lines { "fresh" });
    // The store's objects are left alone: impl_one is still in its last process.
    EXPECT_EQ(object("impl_one")->getCurrentProcess(), QStringLiteral("synth_1"));
}

// --- loading a project ----------------------------------------------------------------

const char kFilterFile[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<ZefaMessageFilter>
  <Filter name="quiet" active="">
    <GeneralFilter><ID/><Severity>Warning</Severity><Milestone/></GeneralFilter>
  </Filter>
</ZefaMessageFilter>
)";

struct LoadRow {
    const char* name;
    bool setNames;
    std::vector<std::string> names;
    bool filtersLoaded;
};

void PrintTo(const LoadRow& row, std::ostream* out)
{
    *out << row.name;
}

class ProjectLoad : public EngineChain, public testing::WithParamInterface<LoadRow> { };

TEST_P(ProjectLoad, LoadsTheDefaultImplementationsFiltersAndActivatesIt)
{
    QTemporaryDir reports;
    ASSERT_TRUE(reports.isValid());
    ASSERT_TRUE(QDir(reports.path()).mkdir(QStringLiteral("sub")));
    QFile file(reports.filePath(QStringLiteral("sub/filters.xml")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(kFilterFile);
    file.close();

    zefa::pelno::ZefaImplementation* implementation =
        project()->addImplementation("impl_load", reports.path().toStdString());
    if (GetParam().setNames) {
        implementation->setReportFileNames("Report_MessageFilter", GetParam().names);
    }
    project()->setDefaultImplementation("impl_load");

    DebugCapture debug;
    publishProject("loaded");
    EXPECT_EQ(MessageManager::getInstance()->getActiveObjectName(), QStringLiteral("impl_load"));
    const bool loaded = object("impl_load")->getActiveFilterName() == QStringLiteral("quiet");
    EXPECT_EQ(loaded, GetParam().filtersLoaded);
    EXPECT_EQ(journalLinesStartingWith("disableMsgType"),
        GetParam().filtersLoaded ? Lines { "disableMsgType(2)" } : Lines {});
}

INSTANTIATE_TEST_SUITE_P(ReportNames, ProjectLoad,
    testing::Values(LoadRow { "NameResolvedInReportDirectory", true, { "sub/filters.xml" }, true },
        LoadRow { "OnlyTheFirstNameCounts", true, { "sub/filters.xml", "x.xml" }, true },
        LoadRow { "UnresolvedName", false, {}, false },
        LoadRow { "EmptyListOfNames", true, {}, false }),
    [](const testing::TestParamInfo<LoadRow>& info) { return std::string(info.param.name); });

TEST_F(EngineChain, ProjectLoadWithoutUsableDefaultChangesNothing)
{
    // No default at all, then a default without a title: neither loads filters nor
    // moves the active object.
    zefa::pelno::ZefaImplementation* untitled = project()->addImplementation("", "/tmp");
    untitled->setReportFileNames("Report_MessageFilter", { "filters.xml" });
    MessageManager::getInstance()->setActiveObject(QStringLiteral("impl_earlier"));
    for (bool withDefault : { false, true }) {
        SCOPED_TRACE(withDefault ? "untitled default" : "no default");
        if (withDefault) {
            project()->setDefaultImplementation("");
        }
        publishProject("loaded");
        EXPECT_EQ(
            MessageManager::getInstance()->getActiveObjectName(), QStringLiteral("impl_earlier"));
        EXPECT_EQ(MessageManager::getInstance()->getObjectNames(),
            QStringList { QStringLiteral("impl_earlier") });
    }
}

// The manager is torn down at exit; a use after that is the caller's programming error
// and must say so rather than hand out a destroyed object.
void useManagerAfterExit()
{
    try {
        EngineMessageManager::instance();
    } catch (const std::logic_error& error) {
        std::_Exit(std::string(error.what()) == "Dead Reference Detected" ? 3 : 4);
    }
    std::_Exit(5);
}

TEST(EngineMessageManagerLifetime, UseAfterExitIsADeadReference)
{
    // A fresh process, so that the probe is registered before the manager's own clean-up
    // and therefore runs after it.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::atexit(useManagerAfterExit);
            EngineMessageManager::instance();
            std::exit(0);
        },
        testing::ExitedWithCode(3), "");
}

} // namespace
