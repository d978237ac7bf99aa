#include "storetestsupport.h"

#include <msgfilter/messagemanager.h>

#include <QPointer>

using zefa::msg_filter::MessageManager;
using zefa::msg_filter::MessageObject;

namespace {

using Journal = std::vector<std::string>;
const Journal kApplyNothing { "enableMsgType(15)", "enableMsg(null)" };

class MessageManagerTest : public storetest::CatalogueTest {
protected:
    static QStringList sortedNames(const MessageManager& manager)
    {
        QStringList names = manager.getObjectNames();
        names.sort();
        return names;
    }
};

TEST_F(MessageManagerTest, OneInstanceAndOneObjectPerName)
{
    MessageManager* instance = MessageManager::getInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(MessageManager::getInstance(), instance);

    MessageManager manager;
    MessageObject* a = manager.getObject(QStringLiteral("a"));
    MessageObject* unnamed = manager.getObject(QString());
    ASSERT_NE(a, nullptr);
    ASSERT_NE(unnamed, nullptr);
    EXPECT_NE(a, unnamed);
    EXPECT_EQ(manager.getObject(QStringLiteral("a")), a);
    EXPECT_EQ(manager.getObject(QStringLiteral("")), unnamed);
    EXPECT_FALSE(a->isObjectActive());
    EXPECT_EQ(a->getCurrentProcess(), QStringLiteral("Tool"));
}

TEST_F(MessageManagerTest, ActivationSwitchesExactlyOneObject)
{
    MessageManager manager;
    MessageObject* a = manager.getObject(QStringLiteral("a"));
    clearJournal();

    manager.setActiveObject(QStringLiteral("b"));
    MessageObject* b = manager.getObject(QStringLiteral("b"));
    EXPECT_TRUE(b->isObjectActive());
    EXPECT_FALSE(a->isObjectActive());
    EXPECT_EQ(manager.getActiveObjectName(), QStringLiteral("b"));
    EXPECT_EQ(journal(), kApplyNothing); // only the activated object applies its filters

    clearJournal();
    manager.setActiveObject(QStringLiteral("a"));
    EXPECT_TRUE(a->isObjectActive());
    EXPECT_FALSE(b->isObjectActive());
    EXPECT_EQ(journal(), kApplyNothing);

    // The same name again changes nothing, even after the object was switched off directly.
    a->setObjectActive(false);
    clearJournal();
    manager.setActiveObject(QStringLiteral("a"));
    EXPECT_FALSE(a->isObjectActive());
    EXPECT_TRUE(journal().empty());
}

TEST_F(MessageManagerTest, EmptyNameIsActiveFromTheStart)
{
    MessageManager manager;
    manager.setActiveObject(QString());
    EXPECT_TRUE(manager.getObjectNames().isEmpty());
    EXPECT_TRUE(journal().empty());
}

TEST_F(MessageManagerTest, AppendMessageGoesToTheActiveObjectOnly)
{
    MessageManager manager;
    manager.appendMessage(5, QStringLiteral("TOOL-1"), 4, QStringLiteral("text"));
    EXPECT_TRUE(manager.getObjectNames().isEmpty());

    manager.setActiveObject(QStringLiteral("a"));
    MessageObject* other = manager.getObject(QStringLiteral("b"));
    manager.appendMessage(5, QStringLiteral("TOOL-1"), 4, QStringLiteral("text"));
    const auto nodes = manager.getObject(QStringLiteral("a"))->reloadAllMessages();
    ASSERT_EQ(nodes.size(), 1);
    EXPECT_EQ(nodes.first()->getMessageSeverity(), QStringLiteral("Info"));
    EXPECT_TRUE(other->reloadAllMessages().isEmpty());
}

TEST_F(MessageManagerTest, ClearingObjects)
{
    MessageManager manager;
    manager.setActiveObject(QStringLiteral("a"));
    manager.getObject(QStringLiteral("b"));
    QPointer<MessageObject> a = manager.getObject(QStringLiteral("a"));

    // The active name outlives its object while others remain; a later message then
    // reaches a fresh, inactive object, which drops it.
    manager.clearOneObject(QStringLiteral("a"));
    EXPECT_TRUE(a.isNull());
    EXPECT_EQ(manager.getActiveObjectName(), QStringLiteral("a"));
    manager.appendMessage(5, QStringLiteral("TOOL-1"), 4, QStringLiteral("text"));
    EXPECT_EQ(sortedNames(manager), (QStringList { QStringLiteral("a"), QStringLiteral("b") }));
    MessageObject* fresh = manager.getObject(QStringLiteral("a"));
    EXPECT_FALSE(fresh->isObjectActive());
    EXPECT_TRUE(fresh->reloadAllMessages().isEmpty());

    manager.clearOneObject(QStringLiteral("unknown"));
    EXPECT_EQ(manager.getActiveObjectName(), QStringLiteral("a"));
    manager.clearOneObject(QStringLiteral("a"));
    manager.clearOneObject(QStringLiteral("b"));
    EXPECT_TRUE(manager.getObjectNames().isEmpty());
    EXPECT_EQ(manager.getActiveObjectName(), QString());

    manager.setActiveObject(QStringLiteral("c"));
    QPointer<MessageObject> c = manager.getObject(QStringLiteral("c"));
    manager.clearAllObjects();
    EXPECT_TRUE(c.isNull());
    EXPECT_EQ(manager.getActiveObjectName(), QString());
    manager.appendMessage(5, QStringLiteral("TOOL-1"), 4, QStringLiteral("text"));
    EXPECT_TRUE(manager.getObjectNames().isEmpty());
}

TEST_F(MessageManagerTest, DestroyingTheManagerDestroysItsObjects)
{
    QPointer<MessageObject> object;
    {
        MessageManager manager;
        object = manager.getObject(QStringLiteral("a"));
        object->postMessage(QString(), QStringLiteral("X"), {}, {});
    }
    EXPECT_TRUE(object.isNull());
}

} // namespace
