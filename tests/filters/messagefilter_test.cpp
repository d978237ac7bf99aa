#include "../store/storetestsupport.h"
#include "filters/messagefilter.h"

#include <QDir>
#include <QTemporaryDir>

#include <memory>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::impl_detail::MessageFilter;

namespace {

using FilterNode = MessageFilter::FilterNode;
using Journal = std::vector<std::string>;

struct Record {
    const char* id;
    const char* severity;
    const char* process;
    QStringList dynamicData;
};

struct ApplicationRow {
    const char* name;
    QStringList ids;
    QStringList milestones;
    QStringList severities;
    std::vector<Record> records;
    const char* process;
    Journal expected;
};

const Journal kReset { "enableMsgType(15)", "enableMsg(null)" };

Journal withReset(const Journal& steps)
{
    Journal all = kReset;
    all.insert(all.end(), steps.begin(), steps.end());
    return all;
}

class FilterApplicationTest : public storetest::CatalogueTest,
                              public ::testing::WithParamInterface<ApplicationRow> {
protected:
    void SetUp() override
    {
        storetest::CatalogueTest::SetUp();
        storetest::catalogue().addEntry("synth", "SYN-12", 2, "warning %1");
        storetest::catalogue().addEntry("synth", "SYN-ERR", 1, "error %1");
        storetest::catalogue().addEntry("synth", "SYN-INFO", 4, "info %1");
        storetest::catalogue().addEntry("synth", "SYN-CRIT", 8, "critical %1");
    }
};

TEST_P(FilterApplicationTest, JournalOfOneApplication)
{
    const ApplicationRow& row = GetParam();
    std::vector<std::unique_ptr<MessageNode>> records;
    FilterNode node;
    node.generalFilter.insert(MessageFilter::MaskMessageID, row.ids);
    node.generalFilter.insert(MessageFilter::MaskMilestone, row.milestones);
    node.generalFilter.insert(MessageFilter::MaskSeverity, row.severities);
    for (const Record& record : row.records) {
        records.emplace_back(new MessageNode(QLatin1String(record.id),
            QLatin1String(record.severity), QLatin1String(record.process), record.dynamicData, {}));
        node.individualFilter.append(records.back().get());
    }
    MessageFilter filter;
    filter.addFilter(QStringLiteral("mine"), &node);
    filter.setPnFilter(QStringLiteral("mine"));
    clearJournal();

    filter.activePnFilter(QLatin1String(row.process));
    EXPECT_EQ(journal(), row.expected);
}

const QStringList kXY { QStringLiteral("x"), QStringLiteral("y") };

INSTANTIATE_TEST_SUITE_P(Rows, FilterApplicationTest,
    ::testing::Values(ApplicationRow { "NothingToFilter", {}, {}, {}, {}, "synth",
                          withReset({ "enableMsgType(1)" }) },
        ApplicationRow { "MilestoneShortCutsEverything", { QStringLiteral("SYN-12") },
            { QStringLiteral("place"), QStringLiteral("synth") }, { QStringLiteral("Warning") },
            { { "9991", "Warning", "synth", kXY } }, "synth", withReset({ "disableMsgType(-2)" }) },
        ApplicationRow { "MilestoneIsCaseSensitive", {}, { QStringLiteral("Synth") }, {}, {},
            "synth", withReset({ "enableMsgType(1)" }) },
        ApplicationRow { "IdsSkipEmptyEntriesAndErrors",
            { QStringLiteral("SYN-12"), QString(), QStringLiteral("SYN-ERR"),
                QStringLiteral("UNKNOWN"), QStringLiteral("SYN-CRIT") },
            {}, {}, {}, "synth",
            withReset({ "queryMsgType(SYN-12)", "disableMsg(SYN-12,0)", "queryMsgType(SYN-ERR)",
                "queryMsgType(UNKNOWN)", "disableMsg(UNKNOWN,0)", "queryMsgType(SYN-CRIT)",
                "disableMsg(SYN-CRIT,0)", "enableMsgType(1)" }) },
        ApplicationRow { "SeveritiesMakeOneMask", {}, {},
            { QStringLiteral("Warning"), QStringLiteral("Info"), QStringLiteral("Error") }, {},
            "synth", withReset({ "disableMsgType(6)", "enableMsgType(1)" }) },
        ApplicationRow { "InfoAlone", {}, {}, { QStringLiteral("Info") }, {}, "synth",
            withReset({ "disableMsgType(4)", "enableMsgType(1)" }) },
        ApplicationRow { "ErrorAndLowerCaseWordsHideNothing", {}, {},
            { QStringLiteral("Error"), QStringLiteral("warning"), QStringLiteral("INFO") }, {},
            "synth", withReset({ "enableMsgType(1)" }) },
        ApplicationRow { "IndividualMessagesOfThisProcessOnly", {}, {}, {},
            { { "9991", "Warning", "synth", kXY },
                { "9991", "Warning", "place", { QStringLiteral("other") } },
                { "SYN-ERR", "Error", "synth", { QStringLiteral("kept") } },
                { "SYN-ERR", "error", "synth", { QStringLiteral("lower") } },
                { "9992", "", "synth", {} } },
            "synth",
            withReset({ "disableMsg(9991,[x|y])", "disableMsg(SYN-ERR,[lower])",
                "disableMsg(9992,[])", "enableMsgType(1)" }) },
        ApplicationRow { "IdsThenSeveritiesThenMessagesThenErrorsOn", { QStringLiteral("SYN-12") },
            { QStringLiteral("place") }, { QStringLiteral("Info") },
            { { "9991", "Warning", "synth", kXY } }, "synth",
            withReset({ "queryMsgType(SYN-12)", "disableMsg(SYN-12,0)", "disableMsgType(4)",
                "disableMsg(9991,[x|y])", "enableMsgType(1)" }) }),
    [](const ::testing::TestParamInfo<ApplicationRow>& info) { return info.param.name; });

class MessageFilterTest : public storetest::CatalogueTest {
protected:
    static FilterNode makeNode(const QStringList& ids, const QStringList& milestones = {},
        const QStringList& severities = {})
    {
        FilterNode node;
        node.generalFilter.insert(MessageFilter::MaskMessageID, ids);
        node.generalFilter.insert(MessageFilter::MaskMilestone, milestones);
        node.generalFilter.insert(MessageFilter::MaskSeverity, severities);
        return node;
    }
};

TEST_F(MessageFilterTest, WithoutActiveFilterOnlyTheResetIsApplied)
{
    MessageFilter filter;
    filter.activePnFilter(QStringLiteral("synth"));
    EXPECT_EQ(journal(), kReset);

    // A name that is not in the table filters nothing either.
    FilterNode node = makeNode({ QStringLiteral("SYN-12") });
    filter.addFilter(QStringLiteral("some"), &node);
    filter.setPnFilter(QStringLiteral("other"));
    clearJournal();
    filter.activePnFilter(QStringLiteral("synth"));
    EXPECT_EQ(journal(), kReset);
}

TEST_F(MessageFilterTest, ApplicationsReplaceEachOtherInTheCatalogue)
{
    storetest::catalogue().addEntry("synth", "SYN-12", 2, "w");
    storetest::catalogue().addEntry("synth", "SYN-ERR", 1, "e");
    storetest::catalogue().addEntry("synth", "SYN-INFO", 4, "i");
    MessageNode record(QStringLiteral("9991"), QStringLiteral("Warning"), QStringLiteral("synth"),
        { QStringLiteral("x") }, {});
    FilterNode node = makeNode(
        { QStringLiteral("SYN-12"), QStringLiteral("SYN-ERR") }, {}, { QStringLiteral("Info") });
    node.individualFilter = { &record };
    MessageFilter filter;
    filter.addFilter(QStringLiteral("quiet"), &node);
    filter.setPnFilter(QStringLiteral("quiet"));
    filter.activePnFilter(QStringLiteral("synth"));

    const auto visible = [](const char* key, std::vector<std::string> arguments = {}) {
        return storetest::catalogue().isVisible(key, arguments);
    };
    EXPECT_FALSE(visible("SYN-12"));
    EXPECT_TRUE(visible("SYN-ERR"));
    EXPECT_FALSE(visible("SYN-INFO"));
    EXPECT_FALSE(visible("9991", { "x" }));
    EXPECT_TRUE(visible("9991", { "y" }));

    // The same set applied for another process leaves the individual message alone, and
    // no filter at all shows everything again.
    filter.activePnFilter(QStringLiteral("place"));
    EXPECT_TRUE(visible("9991", { "x" }));
    EXPECT_FALSE(visible("SYN-12"));
    filter.setPnFilter(QString());
    filter.activePnFilter(QStringLiteral("synth"));
    for (const char* key : { "SYN-12", "SYN-ERR", "SYN-INFO" })
        EXPECT_TRUE(visible(key)) << key;
}

TEST_F(MessageFilterTest, ToolMessagesFetchTheirArgumentsWhenApplied)
{
    storetest::catalogue().setMessageInfo(71, { "p", "q" }, {});
    MessageNode toolMessage(
        71, QStringLiteral("9991"), QStringLiteral("Warning"), QStringLiteral("Tool"), QString());
    FilterNode node = makeNode({});
    node.individualFilter = { &toolMessage };
    MessageFilter filter;
    filter.addFilter(QStringLiteral("f"), &node);
    filter.setPnFilter(QStringLiteral("f"));
    filter.activePnFilter(QStringLiteral("Tool"));
    EXPECT_EQ(journal(),
        withReset({ "retrieveMsgDynamicInfo(71)", "disableMsg(9991,[p|q])", "enableMsgType(1)" }));
}

TEST_F(MessageFilterTest, AddFilterStoresAnIndependentCopy)
{
    MessageNode record(QStringLiteral("R"), QString(), QStringLiteral("synth"), {}, {});
    FilterNode node = makeNode({ QStringLiteral("A") });
    node.individualFilter = { &record };
    MessageFilter filter;
    filter.addFilter(QStringLiteral("f"), &node);
    node.generalFilter[MessageFilter::MaskMessageID].append(QStringLiteral("B"));
    node.individualFilter.clear();

    FilterNode* stored = filter.getFilter(QStringLiteral("f"));
    ASSERT_NE(stored, nullptr);
    EXPECT_NE(stored, &node);
    EXPECT_EQ(stored->generalFilter.value(MessageFilter::MaskMessageID),
        QStringList { QStringLiteral("A") });
    EXPECT_EQ(stored->individualFilter, QVector<MessageNode*> { &record });

    // Replacing under the same name, also with the stored node itself as the source.
    FilterNode other = makeNode({ QStringLiteral("C") });
    filter.addFilter(QStringLiteral("f"), &other);
    filter.addFilter(QStringLiteral("f"), filter.getFilter(QStringLiteral("f")));
    EXPECT_EQ(
        filter.getFilter(QStringLiteral("f"))->generalFilter.value(MessageFilter::MaskMessageID),
        QStringList { QStringLiteral("C") });
    EXPECT_EQ(filter.getAllFilterName(), QStringList { QStringLiteral("f") });
}

TEST_F(MessageFilterTest, DeleteFilterClearsOnlyItsOwnActiveName)
{
    MessageFilter filter;
    EXPECT_TRUE(filter.getAllFilterName().isEmpty());
    EXPECT_EQ(filter.getFilter(QStringLiteral("a")), nullptr);
    FilterNode node = makeNode({ QStringLiteral("A") });
    filter.addFilter(QStringLiteral("a"), &node);
    filter.addFilter(QStringLiteral("b"), &node);
    filter.setPnFilter(QStringLiteral("a"));

    FilterNode* deleted = filter.getFilter(QStringLiteral("b"));
    filter.deleteFilter(QStringLiteral("b"));
    EXPECT_EQ(filter.getPnFilter(), QStringLiteral("a"));
    EXPECT_EQ(filter.getFilter(QStringLiteral("b")), nullptr);
    // Whoever still shows the deleted filter can keep reading it.
    EXPECT_EQ(deleted->generalFilter.value(MessageFilter::MaskMessageID),
        QStringList { QStringLiteral("A") });

    filter.deleteFilter(QStringLiteral("a"));
    EXPECT_EQ(filter.getPnFilter(), QStringLiteral(""));
    EXPECT_TRUE(filter.getAllFilterName().isEmpty());
    // Deleting an unknown name changes nothing, the active name included.
    filter.setPnFilter(QStringLiteral("ghost"));
    filter.deleteFilter(QStringLiteral("other"));
    EXPECT_EQ(filter.getPnFilter(), QStringLiteral("ghost"));
}

TEST_F(MessageFilterTest, SaveAndLoadThroughTheFile)
{
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("filters.xml"));
    MessageNode record(QStringLiteral("9991"), QStringLiteral("Warning"), QStringLiteral("synth"),
        { QStringLiteral("x") }, {});
    FilterNode node = makeNode({ QStringLiteral("A") }, { QStringLiteral("place") });
    node.individualFilter = { &record };

    MessageFilter saved;
    saved.addFilter(QStringLiteral("f"), &node);
    saved.setPnFilter(QStringLiteral("f"));
    saved.saveFilters(file);

    MessageFilter loaded;
    FilterNode stale = makeNode({ QStringLiteral("STALE") });
    loaded.addFilter(QStringLiteral("stale"), &stale);
    FilterNode* staleNode = loaded.getFilter(QStringLiteral("stale"));
    loaded.loadFilters(file);
    EXPECT_EQ(loaded.getAllFilterName(), QStringList { QStringLiteral("f") });
    EXPECT_EQ(loaded.getPnFilter(), QStringLiteral("f"));
    // The replaced table stays readable for whoever holds it.
    EXPECT_EQ(staleNode->generalFilter.value(MessageFilter::MaskMessageID),
        QStringList { QStringLiteral("STALE") });
    clearJournal();
    loaded.activePnFilter(QStringLiteral("synth"));
    EXPECT_EQ(journal(),
        withReset(
            { "queryMsgType(A)", "disableMsg(A,0)", "disableMsg(9991,[x])", "enableMsgType(1)" }));
}

TEST_F(MessageFilterTest, EmptyPathOrMissingFileChangesNothing)
{
    QTemporaryDir dir;
    FilterNode node = makeNode({ QStringLiteral("A") });
    MessageFilter filter;
    filter.addFilter(QStringLiteral("f"), &node);
    filter.setPnFilter(QStringLiteral("f"));
    {
        storetest::DebugCapture debug;
        filter.loadFilters(QString());
        filter.saveFilters(QString());
        EXPECT_TRUE(storetest::DebugCapture::lines().isEmpty());
    }
    storetest::DebugCapture debug;
    filter.loadFilters(dir.filePath(QStringLiteral("missing.xml")));
    EXPECT_EQ(storetest::DebugCapture::lines(),
        QStringList { QStringLiteral("message file doesn't exist s/messagefilterreadwrite 38") });
    EXPECT_EQ(filter.getAllFilterName(), QStringList { QStringLiteral("f") });
    EXPECT_EQ(filter.getPnFilter(), QStringLiteral("f"));
    EXPECT_TRUE(QDir(dir.path()).isEmpty());
}

} // namespace
