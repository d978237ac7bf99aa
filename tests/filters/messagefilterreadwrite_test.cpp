#include "../store/storetestsupport.h"
#include "filters/messagefilterreadwrite.h"

#include <QDir>
#include <QTemporaryDir>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::impl_detail::FilterReadOwnership;
using zefa::msg_filter::impl_detail::MessageFilter;
using zefa::msg_filter::impl_detail::MessageFilterReadWrite;

namespace {

using FilterNode = MessageFilter::FilterNode;
using Table = MessageFilterReadWrite::FilterTable;

// A table read from a file, with everything the read created, freed at the end.
struct ReadTable {
    Table table;
    QString activeName = QStringLiteral("before");
    FilterReadOwnership owned;
    bool ok = false;

    explicit ReadTable(const QString& path) { read(path); }
    ~ReadTable() { qDeleteAll(table); }
    void read(const QString& path)
    {
        ok = MessageFilterReadWrite(path).doRead(table, activeName, owned);
    }
};

// A filter in one line: ids | severities | milestones, then each individual record.
QString describe(const FilterNode* node)
{
    QString text = node->generalFilter.value(MessageFilter::MaskMessageID).join(QLatin1Char(','))
        + QStringLiteral(" | ")
        + node->generalFilter.value(MessageFilter::MaskSeverity).join(QLatin1Char(','))
        + QStringLiteral(" | ")
        + node->generalFilter.value(MessageFilter::MaskMilestone).join(QLatin1Char(','));
    for (MessageNode* record : node->individualFilter)
        text += QStringLiteral(" + ") + storetest::describe(record);
    return text;
}

class FilterFileTest : public storetest::CatalogueTest {
protected:
    QString path(const char* name) const { return m_dir.filePath(QLatin1String(name)); }
    QTemporaryDir m_dir;
};

TEST_F(FilterFileTest, WritesTheDocumentLayoutByteForByte)
{
    MessageNode record(QStringLiteral("9991"), QStringLiteral("Warning"), QStringLiteral("synth"),
        { QStringLiteral(" x "), QStringLiteral("y&z") }, { QStringLiteral("nav") });
    FilterNode node;
    node.generalFilter.insert(
        MessageFilter::MaskMessageID, { QStringLiteral("SYN-12"), QStringLiteral("SYN-13") });
    node.generalFilter.insert(MessageFilter::MaskSeverity, { QStringLiteral("Warning") });
    node.individualFilter = { &record };
    const Table table { { QStringLiteral("mine"), &node } };

    const QByteArray generalAndRecord = "        <GeneralFilter>\n"
                                        "            <ID>SYN-12;SYN-13</ID>\n"
                                        "            <Severity>Warning</Severity>\n"
                                        "            <Milestone></Milestone>\n"
                                        "        </GeneralFilter>\n"
                                        "        <IndividualFilter>\n"
                                        "            <ID>9991</ID>\n"
                                        "            <Severity>Warning</Severity>\n"
                                        "            <Milestone>synth</Milestone>\n"
                                        "            <Dynamic> x </Dynamic>\n"
                                        "            <Dynamic>y&amp;z</Dynamic>\n"
                                        "        </IndividualFilter>\n"
                                        "    </Filter>\n"
                                        "</ZefaMessageFilter>";
    const QByteArray head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ZefaMessageFilter>\n";
    const struct {
        const char* name;
        QString activeName;
        QByteArray filterTag;
    } rows[] = {
        { "active", QStringLiteral("mine"), "    <Filter name=\"mine\" active=\"\">\n" },
        { "not active", QStringLiteral("Mine"), "    <Filter name=\"mine\">\n" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(MessageFilterReadWrite(path("filters.xml")).doWrite(table, row.activeName));
        EXPECT_EQ(storetest::readAll(path("filters.xml")), head + row.filterTag + generalAndRecord);
    }
}

TEST_F(FilterFileTest, EmptyTableIsAnEmptyRootAndReadsBackEmpty)
{
    ASSERT_TRUE(MessageFilterReadWrite(path("empty.xml")).doWrite(Table(), QStringLiteral("x")));
    EXPECT_EQ(storetest::readAll(path("empty.xml")),
        QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ZefaMessageFilter/>"));
    ReadTable back(path("empty.xml"));
    EXPECT_TRUE(back.ok);
    EXPECT_TRUE(back.table.isEmpty());
    EXPECT_EQ(back.activeName, QStringLiteral("before"));
}

TEST_F(FilterFileTest, RoundTripKeepsFiltersActiveNameAndRecords)
{
    MessageNode record(QStringLiteral("SYN-12"), QStringLiteral("Info"), QStringLiteral("place"),
        { QStringLiteral("  a  "), QString() }, { QStringLiteral("lost on save") });
    FilterNode first;
    first.generalFilter.insert(MessageFilter::MaskMessageID, { QStringLiteral(" spaced ") });
    first.generalFilter.insert(
        MessageFilter::MaskMilestone, { QStringLiteral("synth"), QStringLiteral("route") });
    first.generalFilter.insert(MessageFilter::MaskSeverity, {});
    first.individualFilter = { &record };
    FilterNode second;
    // An entry holding the separator comes back as two entries.
    second.generalFilter.insert(MessageFilter::MaskSeverity, { QStringLiteral("Warning;Info") });
    const Table table { { QStringLiteral("first"), &first },
        { QStringLiteral("second \u00e9<&>"), &second } };
    ASSERT_TRUE(
        MessageFilterReadWrite(path("filters.xml")).doWrite(table, QStringLiteral("first")));

    ReadTable back(path("filters.xml"));
    ASSERT_TRUE(back.ok);
    EXPECT_EQ(back.activeName, QStringLiteral("first"));
    ASSERT_EQ(back.table.size(), 2);
    ASSERT_TRUE(back.table.value(QStringLiteral("first")));
    EXPECT_EQ(describe(back.table.value(QStringLiteral("first"))),
        QStringLiteral(" spaced  |  | synth,route + SYN-12 [Info] @place (  a  |) ()"));
    ASSERT_TRUE(back.table.value(QStringLiteral("second \u00e9<&>")));
    EXPECT_EQ(describe(back.table.value(QStringLiteral("second \u00e9<&>"))),
        QStringLiteral(" | Warning,Info | "));
    // Every key is present after a read, even for lists that were missing when written.
    EXPECT_EQ(back.table.value(QStringLiteral("second \u00e9<&>"))->generalFilter.size(), 3);
}

TEST_F(FilterFileTest, ReadsWhatAnotherWriterProduced)
{
    ReadTable back(storetest::fixture("filters/foreign_filters.xml"));
    ASSERT_TRUE(back.ok);
    // Only the outer filter's own start tag can mark it active; the nested one cannot.
    EXPECT_EQ(back.activeName, QStringLiteral("warnings"));

    const struct {
        QString name;
        QString filter;
    } rows[] = {
        { QStringLiteral("warnings"),
            QStringLiteral("A,B |  Warning , Info |  + 9991 [Warning] @synth (  x  |) ()"
                           " + 9992 [] @place () ()") },
        { QString(), QStringLiteral("NONAME |  | ") },
        // The nested filter feeds the outer one and its end tag completes it; what follows
        // up to the outer end tag is lost.
        { QStringLiteral("outer"), QStringLiteral("O1 | Info | ") },
        { QStringLiteral("dup"), QStringLiteral("SECOND |  | ") },
    };
    EXPECT_EQ(back.table.size(), int(std::size(rows)));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        ASSERT_TRUE(back.table.value(row.name));
        EXPECT_EQ(describe(back.table.value(row.name)), row.filter);
    }
    // The first "dup" is handed over rather than freed or leaked.
    ASSERT_EQ(back.owned.filters.size(), 1u);
    EXPECT_EQ(describe(back.owned.filters.front().get()), QStringLiteral("FIRST |  | "));
    EXPECT_EQ(back.owned.records.size(), 2u);
}

TEST_F(FilterFileTest, MalformedFileKeepsTheFiltersCompletedBeforeTheError)
{
    ReadTable back(storetest::fixture("filters/truncated_filters.xml"));
    EXPECT_TRUE(back.ok);
    EXPECT_EQ(back.activeName, QStringLiteral("good"));
    EXPECT_EQ(back.table.keys(), QStringList { QStringLiteral("good") });
    EXPECT_EQ(
        describe(back.table.value(QStringLiteral("good"))), QStringLiteral("G1,G2 | Info | "));
}

TEST_F(FilterFileTest, UnreadableFileLeavesTableAndActiveNameAlone)
{
    ASSERT_TRUE(QDir(m_dir.path()).mkdir(QStringLiteral("a-directory")));
    const struct {
        const char* name;
        QString file;
        QString diagnostic;
    } rows[] = {
        { "missing", path("missing.xml"),
            QStringLiteral("message file doesn't exist s/messagefilterreadwrite 38") },
        { "directory", path("a-directory"),
            QStringLiteral("Fail to Open message file s/messagefilterreadwrite 43") },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        FilterNode kept;
        Table table { { QStringLiteral("kept"), &kept } };
        QString activeName = QStringLiteral("kept");
        FilterReadOwnership owned;
        storetest::DebugCapture debug;
        EXPECT_FALSE(MessageFilterReadWrite(row.file).doRead(table, activeName, owned));
        EXPECT_EQ(table, (Table { { QStringLiteral("kept"), &kept } }));
        EXPECT_EQ(activeName, QStringLiteral("kept"));
        EXPECT_TRUE(owned.filters.empty());
        EXPECT_EQ(storetest::DebugCapture::lines(), QStringList { row.diagnostic });
    }
}

TEST_F(FilterFileTest, FailedSavesKeepThePreviousFile)
{
    const QString diagnostic =
        QStringLiteral("Fail to Writing message file s/messagefilterreadwrite 163");
    ASSERT_TRUE(storetest::writeAll(path("plain"), "not a directory"));
    FilterNode node;
    const Table table { { QStringLiteral("f"), &node } };
    {
        storetest::DebugCapture debug;
        EXPECT_FALSE(MessageFilterReadWrite(path("plain/filters.xml")).doWrite(table, QString()));
        EXPECT_EQ(storetest::DebugCapture::lines(), QStringList { diagnostic });
        EXPECT_EQ(storetest::readAll(path("plain")), QByteArray("not a directory"));
    }

    ASSERT_TRUE(storetest::writeAll(path("filters.xml"), "previous"));
    // About 10 KiB: more than the limit, less than one write buffer, so only the final
    // flush fails.
    QStringList manyIds;
    for (int i = 0; i < 800; ++i)
        manyIds.append(QStringLiteral("ID-%1").arg(i, 8, 10, QLatin1Char('0')));
    FilterNode large;
    large.generalFilter.insert(MessageFilter::MaskMessageID, manyIds);
    const Table largeTable { { QStringLiteral("large"), &large } };
    storetest::DebugCapture debug;
    bool limited = false;
    const bool saved = storetest::saveUnderFileSizeLimit(
        [&] { return MessageFilterReadWrite(path("filters.xml")).doWrite(largeTable, QString()); },
        &limited);
    if (!limited)
        GTEST_SKIP() << "cannot lower the file-size limit here";
    EXPECT_FALSE(saved);
    EXPECT_EQ(storetest::DebugCapture::lines(), QStringList { diagnostic });
    EXPECT_EQ(storetest::readAll(path("filters.xml")), QByteArray("previous"));
    EXPECT_EQ(QDir(m_dir.path()).entryList(QDir::Files),
        (QStringList { QStringLiteral("filters.xml"), QStringLiteral("plain") }));
}

} // namespace
