// The packed texts of a message node read back exactly as they went in, null and empty
// texts apart, in either encoding; equal ids and severity words end up shared.

#include "store/nodetexts.h"
#include "storetestsupport.h"

using zefa::msg_filter::impl_detail::NodeTexts;

namespace {

// A list as its texts with their null flags, so that a null text read back as an empty
// one (or the other way round) shows as a difference.
std::string spelled(const QStringList& texts)
{
    std::string out;
    for (const QString& text : texts)
        out += (text.isNull() ? "null" : '"' + text.toStdString() + '"') + ",";
    return out;
}

std::string spelled(const QString& text)
{
    return spelled(QStringList { text });
}

} // namespace

TEST(NodeTexts, EveryTextReadsBackAsItWentIn)
{
    const QString latin1High = QString::fromLatin1("\xe9t\xe9 \xa0\xff");
    const QString nul = QString(QChar(0)) + QStringLiteral("x") + QChar(0);
    const QString wide = QString::fromUtf8("Ω ≠ ω 😀");
    const QString long200 = QString(200, QLatin1Char('a'));
    const QString long20000 = QString(20000, QChar(0x3a9));
    struct Row {
        const char* name;
        QString display;
        QStringList dynamic;
        QStringList navigation;
    };
    const std::vector<Row> rows = {
        { "nothing at all", QString(), {}, {} },
        { "empty and null texts kept apart", QStringLiteral(""),
            { QString(), QStringLiteral(""), QString() }, { QStringLiteral(""), QString() } },
        { "plain texts", QStringLiteral("net n_1 of cell u_1 is unused"),
            { QStringLiteral("n_1"), QStringLiteral("u_1") }, { QStringLiteral("top.v:12") } },
        { "every Latin-1 character kind", latin1High, { nul, latin1High }, { nul } },
        { "one character beyond Latin-1 in the last list", QStringLiteral("d"), { latin1High },
            { QStringLiteral("a"), wide } },
        { "beyond Latin-1 in the display string only", wide, { QStringLiteral("x") }, {} },
        { "lengths that take two and three bytes", long200, { long20000, long200 }, { long200 } },
        { "many arguments, no navigation", QString(),
            QString(300, QLatin1Char('x')).split(QString(), Qt::SkipEmptyParts), {} },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QByteArray block = NodeTexts::pack(row.display, row.dynamic, row.navigation);
        EXPECT_EQ(spelled(NodeTexts::displayString(block)), spelled(row.display));
        EXPECT_EQ(spelled(NodeTexts::dynamicData(block)), spelled(row.dynamic));
        EXPECT_EQ(spelled(NodeTexts::navigationData(block)), spelled(row.navigation));
    }
}

TEST(NodeTexts, LatinOneTextsTakeOneBytePerCharacter)
{
    const QString text(100, QChar(0xe9));
    EXPECT_LT(NodeTexts::pack(text, { text }, { text }).size(), 3 * 100 + 16);
    const QString wide(100, QChar(0x3a9));
    EXPECT_GE(NodeTexts::pack(wide, {}, {}).size(), 200);
}

TEST_F(StoreTest, EqualIdsAndSeveritiesAreSharedByTheNodesOfAnObjectAndOfALoadedLog)
{
    catalogue().addEntry("synth", "SYN-1", 2, "net %1");
    const auto id = [] { return QStringLiteral("SYN-%1").arg(1); };
    MessageObject object;
    object.setCurrentProcess(q("synth"));
    object.postMessage(QString(), id(), { q("a") }, {});
    object.postMessage(QString(), id(), { q("b") }, {});
    const QVector<MessageNode*> posted = object.reloadAllMessages();
    ASSERT_EQ(posted.size(), 2);
    EXPECT_EQ(posted[0]->getMessageID().constData(), posted[1]->getMessageID().constData());
    EXPECT_EQ(posted[1]->getMessageDisplayString(), q("net b"));

    object.loadProcessMessages(path("log.xml"));
    object.saveProcessMessages();
    MessageObject loaded;
    loaded.loadProcessMessages(path("log.xml"));
    const QVector<MessageNode*> read = loaded.reloadAllMessages();
    ASSERT_EQ(read.size(), 2);
    EXPECT_EQ(read[0]->getMessageID(), id());
    EXPECT_EQ(read[0]->getMessageID().constData(), read[1]->getMessageID().constData());
    EXPECT_EQ(read[0]->getMessageSeverity().constData(), read[1]->getMessageSeverity().constData());
    EXPECT_EQ(read[1]->getMessageDynamicData(), QStringList { q("b") });
}
