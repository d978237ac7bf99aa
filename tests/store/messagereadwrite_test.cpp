#include "store/messagereadwrite.h"
#include "storetestsupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <set>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::impl_detail::MessageReadWrite;

namespace {

using Buffer = MessageReadWrite::Buffer;
using Released = std::vector<std::unique_ptr<MessageNode>>;

class MessageLogTest : public storetest::CatalogueTest {
protected:
    void TearDown() override
    {
        for (MessageNode* owned : m_owned)
            delete owned;
        storetest::CatalogueTest::TearDown();
    }

    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }

    // Nodes made here are freed at the end of the test.
    MessageNode* node(const QString& id, const QString& severity, const QString& process,
        const QStringList& dynamicData = {}, const QStringList& navigation = {})
    {
        auto* made = new MessageNode(id, severity, process, dynamicData, navigation);
        m_owned.insert(made);
        return made;
    }

    // Reads into `buffer`; the nodes the buffer ends up with are freed at the end of the test.
    bool read(const QString& file, Buffer& buffer, Released& released)
    {
        MessageReadWrite reader(file);
        const bool ok = reader.doRead(buffer, released);
        for (const auto& nodes : qAsConst(buffer))
            m_owned.insert(nodes.cbegin(), nodes.cend());
        return ok;
    }

    QTemporaryDir m_dir;
    std::set<MessageNode*> m_owned;
};

TEST_F(MessageLogTest, WritesTheDocumentLayoutByteForByte)
{
    Buffer buffer;
    buffer[QStringLiteral("synth")] = {
        node(QStringLiteral("  SYN-12 "), QStringLiteral(" Warning\n"), QStringLiteral("synth"),
            { QStringLiteral(" clk "), QStringLiteral("a<b & \"c\"") },
            { QStringLiteral("top.v:12") }),
        node(QStringLiteral("SYN-13"), QString(), QStringLiteral("synth")),
    };
    ASSERT_TRUE(MessageReadWrite(path("log.xml")).doWrite(buffer));

    // Ids and severities are trimmed, arguments are not; no newline after the root.
    const QByteArray expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<ZefaMessageLog>\n"
                                "    <Task name=\"synth\">\n"
                                "        <Message>\n"
                                "            <ID>SYN-12</ID>\n"
                                "            <Severity>Warning</Severity>\n"
                                "            <Dynamic> clk </Dynamic>\n"
                                "            <Dynamic>a&lt;b &amp; &quot;c&quot;</Dynamic>\n"
                                "            <Navigation>top.v:12</Navigation>\n"
                                "        </Message>\n"
                                "        <Message>\n"
                                "            <ID>SYN-13</ID>\n"
                                "            <Severity></Severity>\n"
                                "        </Message>\n"
                                "    </Task>\n"
                                "</ZefaMessageLog>";
    EXPECT_EQ(storetest::readAll(path("log.xml")), expected);
}

TEST_F(MessageLogTest, EmptyBufferIsAnEmptyRoot)
{
    ASSERT_TRUE(MessageReadWrite(path("empty.xml")).doWrite(Buffer()));
    EXPECT_EQ(storetest::readAll(path("empty.xml")),
        QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ZefaMessageLog/>"));
}

TEST_F(MessageLogTest, RoundTripKeepsEveryProcessAndArgument)
{
    storetest::catalogue().addEntry("synth", "RT-1", 2, "driver %1 of %2");
    Buffer buffer;
    buffer[QStringLiteral("synth")] = {
        node(QStringLiteral("RT-1"), QStringLiteral("Warning"), QStringLiteral("synth"),
            { QStringLiteral("  spaced  "), QStringLiteral("r\u00e9sum\u00e9 \u4e2d"), QString() },
            { QStringLiteral("a.v"), QStringLiteral("17") }),
        node(QStringLiteral("RT-2"), QStringLiteral("Info"), QStringLiteral("synth")),
    };
    buffer[QStringLiteral("route")] = { node(QStringLiteral("RT-3"), QStringLiteral("Error"),
        QStringLiteral("route"), { QStringLiteral("]]>&") }) };
    buffer[QStringLiteral("place")] = {};
    ASSERT_TRUE(MessageReadWrite(path("log.xml")).doWrite(buffer));

    Buffer back;
    Released released;
    ASSERT_TRUE(read(path("log.xml"), back, released));
    EXPECT_TRUE(released.empty());
    QStringList keys = back.keys();
    keys.sort();
    EXPECT_EQ(keys,
        (QStringList {
            QStringLiteral("place"), QStringLiteral("route"), QStringLiteral("synth") }));
    for (const QString& process : keys) {
        SCOPED_TRACE(process.toStdString());
        EXPECT_EQ(storetest::describeAll(back.value(process)),
            storetest::describeAll(buffer.value(process)));
    }
    // The display string is not stored: the catalogue renders it again.
    EXPECT_EQ(back.value(QStringLiteral("synth")).first()->getMessageDisplayString(),
        QStringLiteral("driver   spaced   of r\u00e9sum\u00e9 ?"));
}

TEST_F(MessageLogTest, WritingFetchesTheListsOfToolMessagesFromTheCatalogue)
{
    storetest::catalogue().setMessageInfo(61, { "d1", "d2" }, { "n1" });
    MessageNode toolMessage(61, QStringLiteral("TOOL-1"), QStringLiteral("Info"),
        QStringLiteral("Tool"), QStringLiteral("text"));
    Buffer buffer;
    buffer[QStringLiteral("Tool")] = { &toolMessage };
    ASSERT_TRUE(MessageReadWrite(path("log.xml")).doWrite(buffer));
    EXPECT_EQ(journal(),
        (std::vector<std::string> {
            "retrieveMsgDynamicInfo(61)", "retrieveMsgNavigationInfo(61)" }));
    const QByteArray written = storetest::readAll(path("log.xml"));
    EXPECT_TRUE(written.contains("<Dynamic>d1</Dynamic>\n            <Dynamic>d2</Dynamic>\n"
                                 "            <Navigation>n1</Navigation>"))
        << written.toStdString();
}

TEST_F(MessageLogTest, ReadsWhatAnotherWriterProduced)
{
    Buffer buffer;
    Released released;
    ASSERT_TRUE(read(storetest::fixture("store/foreign_log.xml"), buffer, released));

    struct Row {
        const char* process;
        QStringList nodes;
    };
    const Row rows[] = {
        // The nested task's end tag closes the outer task: SYN-14 is filed under "synth",
        // and the message after it lies outside any task.
        { "synth",
            { QStringLiteral("SYN-12 [Warning] @synth (  clk  |a<b & c) ( top.v:12 )"),
                QStringLiteral("SYN-13 [] @synth () ()"),
                QStringLiteral("SYN-14 [Info] @synth () ()") } },
        { "place", {} },
        { "", { QStringLiteral("NO-NAME [] @ () ()") } },
        { "route", { QStringLiteral("R1 [] @route (|) (&<)") } },
    };
    EXPECT_EQ(buffer.size(), int(std::size(rows)));
    for (const Row& row : rows) {
        SCOPED_TRACE(row.process);
        ASSERT_TRUE(buffer.contains(QLatin1String(row.process)));
        EXPECT_EQ(storetest::describeAll(buffer.value(QLatin1String(row.process))), row.nodes);
    }
    EXPECT_TRUE(released.empty());
}

TEST_F(MessageLogTest, ReadReplacesTheFileProcessesAndKeepsTheOthers)
{
    MessageNode* oldSynth = node(QStringLiteral("OLD-1"), QString(), QStringLiteral("synth"));
    MessageNode* oldMap = node(QStringLiteral("OLD-2"), QString(), QStringLiteral("map"));
    Buffer buffer;
    buffer[QStringLiteral("synth")] = { oldSynth };
    buffer[QStringLiteral("map")] = { oldMap };

    // The same process twice in one file: the last one wins.
    ASSERT_TRUE(storetest::writeAll(path("twice.xml"),
        "<ZefaMessageLog><Task name=\"synth\"><Message><ID>A</ID>"
        "</Message></Task><Task name=\"synth\"><Message><ID>B</ID>"
        "</Message></Task></ZefaMessageLog>"));
    Released released;
    ASSERT_TRUE(read(path("twice.xml"), buffer, released));
    EXPECT_EQ(storetest::describeAll(buffer.value(QStringLiteral("synth"))),
        QStringList { QStringLiteral("B [] @synth () ()") });
    EXPECT_EQ(buffer.value(QStringLiteral("map")), QVector<MessageNode*> { oldMap });

    // What the read let go of is handed over, not freed: the old node and the first "A".
    ASSERT_EQ(released.size(), 2u);
    EXPECT_EQ(released[0].get(), oldSynth);
    EXPECT_EQ(released[1]->getMessageID(), QStringLiteral("A"));
    released[0].release(); // the test owns oldSynth
}

TEST_F(MessageLogTest, MalformedFileKeepsTheTasksCompletedBeforeTheError)
{
    const struct {
        const char* fixture;
        size_t parsedButDropped; // messages of the cut-off task that were complete
    } rows[] = {
        { "store/truncated_log.xml", 1 }, // P1
        { "store/mismatched_log.xml", 0 }, // P1 ends in a misspelt tag
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fixture);
        MessageNode* kept = node(QStringLiteral("KEEP"), QString(), QStringLiteral("map"));
        MessageNode* place = node(QStringLiteral("OLD-PLACE"), QString(), QStringLiteral("place"));
        Buffer buffer;
        buffer[QStringLiteral("map")] = { kept };
        buffer[QStringLiteral("place")] = { place };
        Released released;
        EXPECT_TRUE(read(storetest::fixture(row.fixture), buffer, released));
        // "place" was cut off by the error: its old messages stay, the new ones are dropped.
        EXPECT_EQ(buffer.value(QStringLiteral("place")), QVector<MessageNode*> { place });
        EXPECT_EQ(storetest::describeAll(buffer.value(QStringLiteral("synth"))),
            QStringList { QStringLiteral("A1 [] @synth () ()") });
        EXPECT_EQ(buffer.value(QStringLiteral("map")), QVector<MessageNode*> { kept });
        EXPECT_EQ(released.size(), row.parsedButDropped);
    }
}

TEST_F(MessageLogTest, UnreadableFileLeavesTheBufferAlone)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("a-directory")));
    const struct {
        const char* name;
        QString file;
        QString diagnostic;
    } rows[] = {
        { "missing", path("missing.xml"),
            QStringLiteral("message file doesn't exist s/messagereadwrite 36") },
        { "directory", path("a-directory"),
            QStringLiteral("Fail to Open message file s/messagereadwrite 41") },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MessageNode* kept = node(QStringLiteral("KEEP"), QString(), QStringLiteral("synth"));
        Buffer buffer;
        buffer[QStringLiteral("synth")] = { kept };
        Released released;
        storetest::DebugCapture debug;
        EXPECT_FALSE(read(row.file, buffer, released));
        EXPECT_EQ(buffer.keys(), QStringList { QStringLiteral("synth") });
        EXPECT_EQ(buffer.value(QStringLiteral("synth")), QVector<MessageNode*> { kept });
        EXPECT_EQ(storetest::DebugCapture::lines(), QStringList { row.diagnostic });
    }
}

TEST_F(MessageLogTest, FailedSaveUnderAPathBlockedByAFile)
{
    ASSERT_TRUE(storetest::writeAll(path("plain"), "not a directory"));
    Buffer buffer;
    buffer[QStringLiteral("synth")] = { node(
        QStringLiteral("X"), QString(), QStringLiteral("synth")) };
    storetest::DebugCapture debug;
    EXPECT_FALSE(MessageReadWrite(path("plain/log.xml")).doWrite(buffer));
    EXPECT_EQ(storetest::DebugCapture::lines(),
        QStringList { QStringLiteral("Fail to Writing message file s/messagereadwrite 131") });
    EXPECT_EQ(storetest::readAll(path("plain")), QByteArray("not a directory"));
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
        QStringList { QStringLiteral("plain") });
}

TEST_F(MessageLogTest, FailedSaveUnderAFileSizeLimitKeepsThePreviousLog)
{
    Buffer small;
    small[QStringLiteral("synth")] = { node(
        QStringLiteral("OLD"), QString(), QStringLiteral("synth")) };
    ASSERT_TRUE(MessageReadWrite(path("log.xml")).doWrite(small));
    const QByteArray previous = storetest::readAll(path("log.xml"));

    // A document that fits the file's 16 KiB write buffer fails only in the last flush,
    // which a plain commit does not notice; a larger one fails while it is being written.
    const struct {
        const char* name;
        int messages;
    } rows[] = { { "fails in the final flush", 30 }, { "fails while writing", 400 } };
    const QStringList arguments(QStringLiteral("x").repeated(200));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Buffer large;
        for (int i = 0; i < row.messages; ++i)
            large[QStringLiteral("synth")].append(node(QStringLiteral("N-%1").arg(i),
                QStringLiteral("Info"), QStringLiteral("synth"), arguments));
        storetest::DebugCapture debug;
        bool limited = false;
        const bool saved = storetest::saveUnderFileSizeLimit(
            [&] { return MessageReadWrite(path("log.xml")).doWrite(large); }, &limited);
        if (!limited)
            GTEST_SKIP() << "cannot lower the file-size limit here";
        EXPECT_FALSE(saved);
        EXPECT_EQ(storetest::DebugCapture::lines(),
            QStringList { QStringLiteral("Fail to Writing message file s/messagereadwrite 131") });
        EXPECT_EQ(storetest::readAll(path("log.xml")), previous);
        EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
            QStringList { QStringLiteral("log.xml") });
        // The same buffer saves fine without the limit, so the limit was the only obstacle.
        EXPECT_TRUE(MessageReadWrite(path("unlimited.xml")).doWrite(large));
        QFile::remove(path("unlimited.xml"));
    }
}

TEST_F(MessageLogTest, ReadOnlyPreviousLogIsReplacedOrKeptWhole)
{
    // A log the user may not write but may remove is replaced like any other; when the
    // save fails on the way, the previous log is back, its permissions included.
    const QFileDevice::Permissions readOnly =
        QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    const QFileDevice::Permissions everyone = readOnly | QFileDevice::WriteOwner
        | QFileDevice::WriteGroup | QFileDevice::WriteOther | QFileDevice::ExeOwner
        | QFileDevice::ExeGroup | QFileDevice::ExeOther;
    ASSERT_TRUE(QFile::setPermissions(m_dir.path(), everyone));
    Buffer buffer;
    for (int i = 0; i < 30; ++i)
        buffer[QStringLiteral("synth")].append(
            node(QStringLiteral("N-%1").arg(i), QStringLiteral("Info"), QStringLiteral("synth"),
                QStringList(QStringLiteral("x").repeated(200))));
    ASSERT_TRUE(MessageReadWrite(path("reference.xml")).doWrite(buffer));
    const QByteArray replaced = storetest::readAll(path("reference.xml"));
    ASSERT_TRUE(QFile::remove(path("reference.xml")));

    const struct {
        const char* name;
        bool fileSizeLimit;
        int expected; // 0 saved, 1 not saved
    } rows[] = { { "replaced", false, 0 }, { "save fails", true, 1 } };
    constexpr int kCannotRunHere = 3;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(storetest::writeAll(path("log.xml"), "previous"));
        ASSERT_TRUE(QFile::setPermissions(path("log.xml"), readOnly));
        const int answer = storetest::runUnprivileged([&] {
            if (access(QFile::encodeName(m_dir.path()).constData(), W_OK | X_OK) != 0
                || access(QFile::encodeName(path("log.xml")).constData(), W_OK) == 0)
                return kCannotRunHere;
            const auto save = [&] { return MessageReadWrite(path("log.xml")).doWrite(buffer); };
            if (!row.fileSizeLimit)
                return save() ? 0 : 1;
            bool limited = false;
            const bool saved = storetest::saveUnderFileSizeLimit(save, &limited);
            return !limited ? kCannotRunHere : saved ? 0 : 1;
        });
        if (answer == kCannotRunHere || answer < 0)
            GTEST_SKIP() << "cannot take away the write permission here";
        EXPECT_EQ(answer, row.expected);
        EXPECT_EQ(storetest::readAll(path("log.xml")),
            row.expected == 0 ? replaced : QByteArray("previous"));
        if (row.expected != 0) {
            EXPECT_EQ(QFile::permissions(path("log.xml")) & everyone, readOnly);
        }
        EXPECT_EQ(
            QDir(m_dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
            QStringList { QStringLiteral("log.xml") });
        QFile::remove(path("log.xml"));
    }
}

} // namespace
