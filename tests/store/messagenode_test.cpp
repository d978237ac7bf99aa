#include "storetestsupport.h"

#include <msgfilter/messagenode.h>

using zefa::msg_filter::MessageNode;

namespace {

using Journal = std::vector<std::string>;

class MessageNodeTest : public storetest::CatalogueTest { };

TEST_F(MessageNodeTest, TextNodeRendersItsDisplayStringOnceAndKeepsItsLists)
{
    storetest::catalogue().addEntry("synth", "NODE-1", 2, "  net %1 drives %2 \n");
    storetest::catalogue().setMessageInfo(77, { "other" }, { "elsewhere" });
    clearJournal();

    MessageNode node(QStringLiteral("NODE-1"), QStringLiteral("Warning"), QStringLiteral("synth"),
        { QStringLiteral("clk"), QStringLiteral("q") }, { QStringLiteral("top.v:3") });

    EXPECT_EQ(node.getMessageDisplayString(), QStringLiteral("net clk drives q"));
    EXPECT_EQ(
        node.getMessageDynamicData(), (QStringList { QStringLiteral("clk"), QStringLiteral("q") }));
    EXPECT_EQ(node.getMessageNavigationData(), QStringList { QStringLiteral("top.v:3") });
    EXPECT_EQ(node.getMessageID(), QStringLiteral("NODE-1"));
    EXPECT_EQ(node.getMessageSeverity(), QStringLiteral("Warning"));
    EXPECT_EQ(node.getMessageProcess(), QStringLiteral("synth"));
    // The catalogue renders the text and is never asked for the lists.
    EXPECT_EQ(journal(), Journal { "queryMsgDisplayString(NODE-1,[clk|q])" });
}

TEST_F(MessageNodeTest, TextNodeOfUnknownIdHasEmptyDisplayString)
{
    MessageNode node(QStringLiteral("NOPE-9"), QString(), QStringLiteral("p"), {}, {});
    EXPECT_TRUE(node.getMessageDisplayString().isEmpty());
}

TEST_F(MessageNodeTest, NumberedNodeAsksTheCatalogueOncePerList)
{
    storetest::catalogue().setMessageInfo(42, { "a", "b" }, { "top.v" });
    MessageNode node(42, QStringLiteral("TOOL-3"), QStringLiteral("Info"), QStringLiteral("Tool"),
        QStringLiteral("\t started \n"));
    EXPECT_EQ(node.getMessageDisplayString(), QStringLiteral("started"));
    EXPECT_EQ(node.getMessageID(), QStringLiteral("TOOL-3"));
    EXPECT_TRUE(journal().empty());

    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(node.getMessageDynamicData(),
            (QStringList { QStringLiteral("a"), QStringLiteral("b") }));
        EXPECT_EQ(node.getMessageNavigationData(), QStringList { QStringLiteral("top.v") });
    }
    EXPECT_EQ(
        journal(), (Journal { "retrieveMsgDynamicInfo(42)", "retrieveMsgNavigationInfo(42)" }));
}

TEST_F(MessageNodeTest, EmptyCatalogueAnswerIsCachedToo)
{
    MessageNode node(43, QStringLiteral("TOOL-4"), QString(), QStringLiteral("Tool"), QString());
    EXPECT_TRUE(node.getMessageDynamicData().isEmpty());
    storetest::catalogue().setMessageInfo(43, { "late" }, { "late" });
    EXPECT_TRUE(node.getMessageDynamicData().isEmpty());
    // Navigation had not been asked yet, so it sees the new answer.
    EXPECT_EQ(node.getMessageNavigationData(), QStringList { QStringLiteral("late") });
    EXPECT_EQ(
        journal(), (Journal { "retrieveMsgDynamicInfo(43)", "retrieveMsgNavigationInfo(43)" }));
}

TEST_F(MessageNodeTest, NodeWithoutCatalogueNumberNeverAsks)
{
    storetest::catalogue().setMessageInfo(-1, { "x" }, { "y" });
    MessageNode node(-1, QStringLiteral("T"), QString(), QStringLiteral("Tool"), QString());
    EXPECT_TRUE(node.getMessageDynamicData().isEmpty());
    EXPECT_TRUE(node.getMessageNavigationData().isEmpty());
    EXPECT_TRUE(journal().empty());
}

TEST_F(MessageNodeTest, CopiesShareWhatWasLoadedAndLoadWhatWasNot)
{
    storetest::catalogue().setMessageInfo(50, { "d" }, { "n" });
    MessageNode loaded(50, QStringLiteral("A"), QString(), QStringLiteral("Tool"), QString());
    loaded.getMessageDynamicData();
    MessageNode copyOfLoaded(loaded);
    MessageNode copyOfUnloaded(loaded); // navigation still unloaded in both
    clearJournal();

    EXPECT_EQ(copyOfLoaded.getMessageDynamicData(), QStringList { QStringLiteral("d") });
    EXPECT_TRUE(journal().empty());
    EXPECT_EQ(copyOfUnloaded.getMessageNavigationData(), QStringList { QStringLiteral("n") });
    EXPECT_EQ(loaded.getMessageNavigationData(), QStringList { QStringLiteral("n") });
    EXPECT_EQ(
        journal(), (Journal { "retrieveMsgNavigationInfo(50)", "retrieveMsgNavigationInfo(50)" }));
}

} // namespace
