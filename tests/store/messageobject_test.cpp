#include "storetestsupport.h"

#include <msgfilter/messageobject.h>

#include <QDir>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <functional>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;

namespace {

using Journal = std::vector<std::string>;

const QStringList kDynamic { QStringLiteral("a"), QStringLiteral("b") };
const QStringList kNavigation { QStringLiteral("top.v") };

struct PostRow {
    const char* name;
    const char* component;
    const char* id;
    const char* severity; // null: the overload without a severity
    bool active;
    Journal expected; // "{mid}" stands for the catalogue number of synth/SYN-12
    const char* nodeId;
    const char* nodeSeverity;
    int typeAfter; // the catalogue's type of SYN-12 afterwards
};

std::string withMid(std::string text, int mid)
{
    const std::string placeholder = "{mid}";
    for (size_t at = text.find(placeholder); at != std::string::npos; at = text.find(placeholder))
        text.replace(at, placeholder.size(), std::to_string(mid));
    return text;
}

class PostMessageTest : public storetest::CatalogueTest,
                        public ::testing::WithParamInterface<PostRow> { };

TEST_P(PostMessageTest, CatalogueCallsAndStoredNode)
{
    const PostRow& row = GetParam();
    const int mid = storetest::catalogue().addEntry("synth", "SYN-12", 2, " net %1 to %2 ");
    MessageObject object;
    object.setObjectActive(row.active);
    object.setCurrentProcess(QStringLiteral("synth"));
    QSignalSpy appended(&object, &MessageObject::sigMessageAppended);
    clearJournal();

    if (row.severity)
        object.postMessage(QLatin1String(row.component), QLatin1String(row.id),
            QLatin1String(row.severity), kDynamic, kNavigation);
    else
        object.postMessage(
            QLatin1String(row.component), QLatin1String(row.id), kDynamic, kNavigation);

    Journal expected;
    for (const std::string& line : row.expected)
        expected.push_back(withMid(line, mid));
    EXPECT_EQ(journal(), expected);

    const QVector<MessageNode*> nodes = object.reloadAllMessages();
    ASSERT_EQ(nodes.size(), 1);
    EXPECT_EQ(storetest::describe(nodes.first()),
        QString::fromStdString(withMid(row.nodeId, mid)) + QStringLiteral(" [")
            + QLatin1String(row.nodeSeverity) + QStringLiteral("] @synth (a|b) (top.v)"));
    ASSERT_EQ(appended.count(), 1);
    EXPECT_EQ(appended.first().first().value<MessageNode*>(), nodes.first());
    ASSERT_NE(storetest::catalogue().findEntry("SYN-12"), nullptr);
    EXPECT_EQ(storetest::catalogue().findEntry("SYN-12")->type, row.typeAfter);
    EXPECT_EQ(storetest::catalogue().postedMessages().size(), row.active ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Rows, PostMessageTest,
    ::testing::Values(PostRow { "IdIsTheKey", "", "SYN-12", nullptr, true,
                          { "queryMsgType(SYN-12)", "postMsg(SYN-12,[a|b],[top.v],0)",
                              "queryMsgDisplayString(SYN-12,[a|b])" },
                          "SYN-12", "Warning", 2 },
        PostRow { "ComponentMakesTheNumberTheKey", "synth", "SYN-12", nullptr, true,
            { "getMsgMID(synth,SYN-12)", "queryMsgType({mid})", "postMsg({mid},[a|b],[top.v],0)",
                "queryMsgDisplayString({mid},[a|b])" },
            "{mid}", "Warning", 2 },
        PostRow { "UnknownPairIsKeyMinusOne", "nosuch", "SYN-12", nullptr, true,
            { "getMsgMID(nosuch,SYN-12)", "queryMsgType(-1)", "postMsg(-1,[a|b],[top.v],0)",
                "queryMsgDisplayString(-1,[a|b])" },
            "-1", "", 2 },
        PostRow { "EqualWordLeavesTheCatalogue", "", "SYN-12", "Warning", true,
            { "queryMsgType(SYN-12)", "postMsg(SYN-12,[a|b],[top.v],0)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "Warning", 2 },
        PostRow { "EmptyWordIsNoOverride", "", "SYN-12", "", true,
            { "queryMsgType(SYN-12)", "postMsg(SYN-12,[a|b],[top.v],0)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "Warning", 2 },
        PostRow { "CapitalErrorOverrides", "", "SYN-12", "ERROR", true,
            { "queryMsgType(SYN-12)", "setMsgType(SYN-12,1)", "postMsg(SYN-12,[a|b],[top.v],0)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "ERROR", 1 },
        PostRow { "LowerCaseWarningStillDiffers", "", "SYN-12", "warning", true,
            { "queryMsgType(SYN-12)", "setMsgType(SYN-12,2)", "postMsg(SYN-12,[a|b],[top.v],0)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "warning", 2 },
        PostRow { "InfoInAnyCase", "synth", "SYN-12", "iNFO", true,
            { "getMsgMID(synth,SYN-12)", "queryMsgType({mid})", "setMsgType({mid},4)",
                "postMsg({mid},[a|b],[top.v],0)", "queryMsgDisplayString({mid},[a|b])" },
            "{mid}", "iNFO", 4 },
        PostRow { "OtherWordSetsNoType", "", "SYN-12", "Fatal", true,
            { "queryMsgType(SYN-12)", "postMsg(SYN-12,[a|b],[top.v],0)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "Fatal", 2 },
        PostRow { "InactiveStoresWithoutPosting", "", "SYN-12", "Error", false,
            { "queryMsgType(SYN-12)", "setMsgType(SYN-12,1)",
                "queryMsgDisplayString(SYN-12,[a|b])" },
            "SYN-12", "Error", 1 }),
    [](const ::testing::TestParamInfo<PostRow>& info) { return info.param.name; });

class MessageObjectTest : public storetest::CatalogueTest {
protected:
    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }
    QTemporaryDir m_dir;
};

TEST_F(MessageObjectTest, SignalsAreConnectableBySignature)
{
    const QMetaObject& meta = MessageObject::staticMetaObject;
    for (const char* signature :
        { "sigMessageBufferUpdated()", "sigMessageAppended(zefa::msg_filter::MessageNode*)" }) {
        SCOPED_TRACE(signature);
        const int index = meta.indexOfSignal(signature);
        ASSERT_GE(index, 0);
        EXPECT_EQ(meta.method(index).methodType(), QMetaMethod::Signal);
    }
}

TEST_F(MessageObjectTest, NodeIdIsTheEightBitKeyText)
{
    MessageObject object;
    object.postMessage(
        QString(), QStringLiteral("\u03a9-1 caf\u00e9"), QStringLiteral("Note"), {}, {});
    EXPECT_EQ(journal(),
        (Journal { "queryMsgType(?-1 caf\xe9)", "queryMsgDisplayString(?-1 caf\xe9,[])" }));
    ASSERT_EQ(object.reloadAllMessages().size(), 1);
    EXPECT_EQ(object.reloadAllMessages().first()->getMessageID(), QStringLiteral("?-1 caf\u00e9"));
    EXPECT_EQ(object.reloadAllMessages().first()->getMessageSeverity(), QStringLiteral("Note"));
}

TEST_F(MessageObjectTest, AppendMessageRecordsToolMessagesOnly)
{
    const struct {
        const char* name;
        bool active;
        const char* process;
        int number;
        int type;
        const char* severity; // null: not recorded
    } rows[] = {
        { "info", true, "", 7, 4, "Info" },
        { "warning", true, "Tool", 7, 2, "Warning" },
        { "error", true, "Tool", 7, 1, "Error" },
        { "error 17", true, "Tool", 7, 17, "Error" },
        { "error 33", true, "Tool", 7, 33, "Error" },
        { "error 65", true, "Tool", 7, 65, "Error" },
        { "fourth type", true, "Tool", 7, 8, "" },
        { "error with another flag", true, "Tool", 7, 3, "" },
        { "inactive", false, "Tool", 7, 4, nullptr },
        { "during a flow step", true, "synth", 7, 4, nullptr },
        { "no catalogue number", true, "Tool", -1, 4, nullptr },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MessageObject object;
        object.setObjectActive(row.active);
        object.setCurrentProcess(QLatin1String(row.process));
        QSignalSpy appended(&object, &MessageObject::sigMessageAppended);
        clearJournal();
        object.appendMessage(
            row.number, QStringLiteral("TOOL-1"), row.type, QStringLiteral(" shown \n"));
        const QVector<MessageNode*> nodes = object.reloadAllMessages();
        EXPECT_TRUE(journal().empty());
        if (!row.severity) {
            EXPECT_TRUE(nodes.isEmpty());
            EXPECT_EQ(appended.count(), 0);
            continue;
        }
        ASSERT_EQ(nodes.size(), 1);
        EXPECT_EQ(nodes.first()->getMessageSeverity(), QLatin1String(row.severity));
        EXPECT_EQ(nodes.first()->getMessageID(), QStringLiteral("TOOL-1"));
        EXPECT_EQ(nodes.first()->getMessageProcess(), QStringLiteral("Tool"));
        EXPECT_EQ(nodes.first()->getMessageDisplayString(), QStringLiteral("shown"));
        EXPECT_EQ(appended.count(), 1);
    }
}

TEST_F(MessageObjectTest, ActivationAndProcessChangesApplyTheActiveFilter)
{
    MessageObject object;
    object.saveFilter(QStringLiteral("quiet"), {}, { QStringLiteral("Tool") }, {}, {});
    object.setActiveFilter(QStringLiteral("quiet"));
    const Journal toolFilter { "enableMsgType(15)", "enableMsg(null)", "disableMsgType(-2)" };
    const Journal synthFilter { "enableMsgType(15)", "enableMsg(null)", "enableMsgType(1)" };

    // Inactive: filter changes and process changes apply nothing.
    object.setFilterProcess(QString());
    object.setCurrentProcess(QStringLiteral("synth"));
    object.setObjectActive(false);
    EXPECT_TRUE(journal().empty());

    object.setObjectActive(true);
    EXPECT_EQ(journal(), synthFilter);
    clearJournal();
    object.setFilterProcess(QString());
    EXPECT_EQ(journal(), toolFilter);
    // Applying for a process does not make it the current one.
    EXPECT_EQ(object.getCurrentProcess(), QStringLiteral("synth"));
    clearJournal();
    object.setCurrentProcess(QString());
    EXPECT_EQ(object.getCurrentProcess(), QStringLiteral("Tool"));
    EXPECT_TRUE(journal().empty());
    object.setObjectActive(true);
    EXPECT_EQ(journal(), toolFilter);
}

TEST_F(MessageObjectTest, RefreshForgetsOnlyTheCurrentProcess)
{
    MessageObject object;
    object.postMessage(QString(), QStringLiteral("T1"), {}, {});
    object.setCurrentProcess(QStringLiteral("synth"));
    object.postMessage(QString(), QStringLiteral("S1"), {}, {});
    QSignalSpy appended(&object, &MessageObject::sigMessageAppended);
    object.postMessage(QString(), QStringLiteral("S2"), {}, {});
    ASSERT_EQ(appended.count(), 1);
    auto* forgotten = appended.first().first().value<MessageNode*>();
    QSignalSpy updated(&object, &MessageObject::sigMessageBufferUpdated);

    object.refreshCurrentProcessMessages();
    EXPECT_EQ(updated.count(), 1);
    EXPECT_EQ(storetest::describeAll(object.reloadAllMessages()),
        QStringList { QStringLiteral("T1 [] @Tool () ()") });
    // Whoever got the node from sigMessageAppended can still read it.
    EXPECT_EQ(forgotten->getMessageID(), QStringLiteral("S2"));

    object.postMessage(QString(), QStringLiteral("S3"), {}, {});
    EXPECT_EQ(object.reloadAllMessages().size(), 2);
}

TEST_F(MessageObjectTest, ReloadAllKeepsArrivalOrderWithinEachProcess)
{
    MessageObject object;
    const QStringList processes { QStringLiteral("synth"), QStringLiteral("place"),
        QStringLiteral("Tool") };
    for (int i = 0; i < 9; ++i) {
        object.setCurrentProcess(processes.at(i % 3));
        object.postMessage(QString(), QStringLiteral("M%1").arg(i), {}, {});
    }
    // Each process's messages come one after the other, in the order they arrived.
    QStringList ids;
    for (MessageNode* node : object.reloadAllMessages())
        ids.append(node->getMessageID());
    ASSERT_EQ(ids.size(), 9);
    for (int first = 0; first < 3; ++first) {
        const int at = int(ids.indexOf(QStringLiteral("M%1").arg(first)));
        ASSERT_GE(at, 0);
        EXPECT_EQ(ids.mid(at, 3),
            (QStringList { QStringLiteral("M%1").arg(first), QStringLiteral("M%1").arg(first + 3),
                QStringLiteral("M%1").arg(first + 6) }));
    }
}

TEST_F(MessageObjectTest, SaveLeavesToolOutAndLoadRestoresTheRest)
{
    storetest::catalogue().setMessageInfo(9, { "d" }, { "n" });
    const QString log = path("messages.xml");
    MessageObject source;
    source.setObjectActive(true);
    source.appendMessage(9, QStringLiteral("TOOL-1"), 4, QStringLiteral("tool text"));
    source.setCurrentProcess(QStringLiteral("synth"));
    source.postMessage(QString(), QStringLiteral("S1"), QStringLiteral("Warning"),
        { QStringLiteral(" x ") }, { QStringLiteral("a.v") });
    source.postMessage(QString(), QStringLiteral("S2"), {}, {});
    source.setCurrentProcess(QStringLiteral("place"));
    source.postMessage(QString(), QStringLiteral("P1"), QStringLiteral("Info"), {}, {});

    // Without a log path nothing is written; a load of a missing file sets the path,
    // leaves the buffer alone and still announces an update.
    source.saveProcessMessages();
    EXPECT_TRUE(QDir(m_dir.path()).isEmpty());
    QSignalSpy sourceUpdated(&source, &MessageObject::sigMessageBufferUpdated);
    {
        storetest::DebugCapture debug;
        source.loadProcessMessages(log);
        EXPECT_EQ(storetest::DebugCapture::lines(),
            QStringList { QStringLiteral("message file doesn't exist s/messagereadwrite 36") });
    }
    EXPECT_EQ(sourceUpdated.count(), 1);
    EXPECT_EQ(source.reloadAllMessages().size(), 4);

    source.saveProcessMessages();
    const QByteArray written = storetest::readAll(log);
    EXPECT_FALSE(written.contains("Tool")) << written.toStdString();
    EXPECT_EQ(source.reloadAllMessages().size(), 4);

    MessageObject target;
    target.setCurrentProcess(QStringLiteral("synth"));
    target.postMessage(QString(), QStringLiteral("OLD-SYNTH"), {}, {});
    MessageNode* oldSynth = target.reloadAllMessages().first();
    target.setCurrentProcess(QStringLiteral("map"));
    target.postMessage(QString(), QStringLiteral("OLD-MAP"), {}, {});
    QSignalSpy targetUpdated(&target, &MessageObject::sigMessageBufferUpdated);
    target.loadProcessMessages(log);
    EXPECT_EQ(targetUpdated.count(), 1);

    QStringList loaded = storetest::describeAll(target.reloadAllMessages());
    loaded.sort();
    EXPECT_EQ(loaded,
        (QStringList { QStringLiteral("OLD-MAP [] @map () ()"),
            QStringLiteral("P1 [Info] @place () ()"),
            QStringLiteral("S1 [Warning] @synth ( x ) (a.v)"),
            QStringLiteral("S2 [] @synth () ()") }));
    EXPECT_EQ(oldSynth->getMessageID(), QStringLiteral("OLD-SYNTH"));
}

TEST_F(MessageObjectTest, FiltersKeepTheirListsApartAndUnknownNamesTouchNothing)
{
    MessageObject object;
    object.setCurrentProcess(QStringLiteral("synth"));
    object.postMessage(QString(), QStringLiteral("9991"), { QStringLiteral("x") }, {});
    const QVector<MessageNode*> hidden = object.reloadAllMessages();
    object.saveFilter(QStringLiteral("f"), { QStringLiteral("ID") },
        { QStringLiteral("MILESTONE") }, { QStringLiteral("Info") }, hidden);

    QStringList ids { QStringLiteral("untouched") };
    QStringList milestones { QStringLiteral("untouched") };
    QStringList severities { QStringLiteral("untouched") };
    QVector<MessageNode*> messages { nullptr };
    object.getFilter(QStringLiteral("unknown"), ids, milestones, severities, messages);
    EXPECT_EQ(ids, QStringList { QStringLiteral("untouched") });
    EXPECT_EQ(milestones, QStringList { QStringLiteral("untouched") });
    EXPECT_EQ(severities, QStringList { QStringLiteral("untouched") });
    EXPECT_EQ(messages, QVector<MessageNode*> { nullptr });

    object.getFilter(QStringLiteral("f"), ids, milestones, severities, messages);
    EXPECT_EQ(ids, QStringList { QStringLiteral("ID") });
    EXPECT_EQ(milestones, QStringList { QStringLiteral("MILESTONE") });
    EXPECT_EQ(severities, QStringList { QStringLiteral("Info") });
    EXPECT_EQ(messages, hidden);
    EXPECT_EQ(object.getAllFilterNames(), QStringList { QStringLiteral("f") });
    EXPECT_EQ(object.getActiveFilterName(), QStringLiteral(""));
}

TEST_F(MessageObjectTest, FilterChangesAreSavedAndAppliedAtOnce)
{
    const QString file = path("filters.xml");
    MessageObject object;
    object.setCurrentProcess(QStringLiteral("synth"));
    object.postMessage(QString(), QStringLiteral("9991"), { QStringLiteral("x") }, {});
    const QVector<MessageNode*> hidden = object.reloadAllMessages();
    {
        storetest::DebugCapture debug;
        object.loadAllFilters(file); // missing: only remembers the path
    }

    // Inactive: each change is saved, none is applied.
    clearJournal();
    object.saveFilter(QStringLiteral("f"), { QStringLiteral("SYN-1") }, {}, {}, hidden);
    object.saveFilter(QStringLiteral("g"), {}, {}, {}, {});
    object.setActiveFilter(QStringLiteral("f"));
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(storetest::readAll(file).contains("<Filter name=\"f\" active=\"\">"));

    const Journal applied { "enableMsgType(15)", "enableMsg(null)", "queryMsgType(SYN-1)",
        "disableMsg(SYN-1,0)", "disableMsg(9991,[x])", "enableMsgType(1)" };
    const Journal nothing { "enableMsgType(15)", "enableMsg(null)" };
    object.setObjectActive(true);
    EXPECT_EQ(journal(), applied);

    // Active: each change is saved and then applied for the current process.
    const struct {
        const char* name;
        std::function<void()> change;
        Journal expected;
    } rows[] = {
        { "another filter saved", [&] { object.saveFilter(QStringLiteral("g"), {}, {}, {}, {}); },
            applied },
        { "active filter chosen again", [&] { object.setActiveFilter(QStringLiteral("f")); },
            applied },
        { "other filter deleted", [&] { object.deleteFilter(QStringLiteral("g")); }, applied },
        { "active filter deleted", [&] { object.deleteFilter(QStringLiteral("f")); }, nothing },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        clearJournal();
        row.change();
        EXPECT_EQ(journal(), row.expected);
    }

    // Every change reached the file: a fresh object reads the final state.
    MessageObject reread;
    reread.loadAllFilters(file);
    EXPECT_TRUE(reread.getAllFilterNames().isEmpty());
    EXPECT_EQ(reread.getActiveFilterName(), QStringLiteral(""));
}

} // namespace
