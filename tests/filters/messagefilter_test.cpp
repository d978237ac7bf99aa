#include "../store/storetestsupport.h"

#include <deque>

namespace {

using M = MessageFilter;

FilterNode filter(const char* ids, const char* milestones = "", const char* severities = "")
{
    return { { { M::MaskMessageID, StoreTest::list(ids) },
                 { M::MaskMilestone, StoreTest::list(milestones) },
                 { M::MaskSeverity, StoreTest::list(severities) } },
        {} };
}

// Every filter of the set as "name / ids / severities / milestones / single messages...".
Lines filters(const MessageFilter& set)
{
    Lines lines;
    for (const QString& name : set.getAllFilterName()) {
        const FilterNode* node = set.getFilter(name);
        QStringList parts { name };
        for (auto mask : { M::MaskMessageID, M::MaskSeverity, M::MaskMilestone })
            parts << node->generalFilter.value(mask).join(QLatin1Char(','));
        for (MessageNode* record : node->individualFilter)
            parts << QString::fromStdString(StoreTest::describe(record));
        lines.push_back(parts.join(QLatin1String(" / ")).toStdString());
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST_F(StoreTest, ApplyingAFilterSwitchesTheCatalogueInItsOrder)
{
    catalogue().addEntry("synth", "SYN-12", 2, "warning %1");
    catalogue().addEntry("synth", "SYN-ERR", 1, "error %1");
    // Single messages are "id/severity/process/dynamic", separated by ";".
    const auto apply = [](const char* ids, const char* milestones, const char* severities,
                           const char* messages, const char* process, const std::string& expected,
                           const char* active = "mine") {
        SCOPED_TRACE(std::string(ids) + " " + milestones + " " + severities + " " + messages);
        FilterNode node = filter(ids, milestones, severities);
        std::deque<MessageNode> records;
        for (const QString& message : q(messages).split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const QStringList f = message.split(QLatin1Char('/'));
            records.emplace_back(
                f[0], f[1], f[2], f[3].split(QLatin1Char('|'), Qt::SkipEmptyParts), QStringList());
            node.individualFilter.append(&records.back());
        }
        MessageFilter set;
        set.addFilter(q("mine"), &node);
        set.setPnFilter(q(active));
        clearJournal();
        set.activePnFilter(q(process));
        EXPECT_EQ(journal(), calls("enableMsgType(15) enableMsg(null) " + expected));
    };
    apply("SYN-12", "", "", "", "synth", "", "another");
    apply("SYN-12", "place|synth", "Warning", "9991//synth/x", "synth", "disableMsgType(-2)");
    apply("", "Synth", "", "", "synth", "enableMsgType(1)");
    apply("SYN-12||SYN-ERR|UNKNOWN", "", "", "", "synth",
        "queryMsgType(SYN-12) disableMsg(SYN-12,0) queryMsgType(SYN-ERR) queryMsgType(UNKNOWN) "
        "disableMsg(UNKNOWN,0) enableMsgType(1)");
    apply("", "", "Warning|Info|Error", "", "synth", "disableMsgType(6) enableMsgType(1)");
    apply("", "", "Info", "", "synth", "disableMsgType(4) enableMsgType(1)");
    apply("", "", "Error|warning|INFO", "", "synth", "enableMsgType(1)");
    apply("", "", "",
        "9991/Warning/synth/x|y;9991/Warning/place/other;SYN-ERR/Error/synth/kept;"
        "SYN-ERR/error/synth/lower;9992//synth/",
        "synth",
        "disableMsg(9991,[x|y]) disableMsg(SYN-ERR,[lower]) disableMsg(9992,[]) enableMsgType(1)");
    apply("SYN-12", "place", "Info", "9991/Warning/synth/x|y", "synth",
        "queryMsgType(SYN-12) disableMsg(SYN-12,0) disableMsgType(4) disableMsg(9991,[x|y]) "
        "enableMsgType(1)");
}

TEST_F(StoreTest, FilterFileIsWrittenByteForByte)
{
    MessageNode record(q("9991"), q("Warning"), q("synth"), list(" x |y&z"), list("nav"));
    FilterNode node = filter("SYN-12|SYN-13", "", "Warning");
    node.generalFilter.remove(M::MaskMilestone);
    node.individualFilter = { &record };
    const auto written = [&](const MessageFilterReadWrite::FilterTable& table, const char* active) {
        EXPECT_TRUE(MessageFilterReadWrite(path("filters.xml")).doWrite(table, q(active)));
        return readAll(path("filters.xml"));
    };
    const QByteArray expected = readAll(fixture("filters/written_filters.xml"));
    EXPECT_EQ(written({}, "x"), readAll(fixture("filters/empty_filters.xml")));
    EXPECT_EQ(written({ { q("mine"), &node } }, "mine"), expected);
    EXPECT_EQ(written({ { q("mine"), &node } }, "Mine"),
        QByteArray(expected).replace(" active=\"\"", ""));
}

TEST_F(StoreTest, FilterLoadReplacesTheTableOnlyWhenTheFileCanBeRead)
{
    const FilterNode kept = filter("K");
    const auto load = [&](const QString& file, const Lines& after, const char* active,
                          const Lines& diagnostics) {
        SCOPED_TRACE(file.toStdString());
        MessageFilter set;
        set.addFilter(q("kept"), &kept);
        set.setPnFilter(q("kept"));
        FilterNode* previous = set.getFilter(q("kept"));
        EXPECT_EQ(debugLines([&] { set.loadFilters(file); }), diagnostics);
        EXPECT_EQ(filters(set), after);
        EXPECT_EQ(set.getPnFilter().toStdString(), active);
        EXPECT_EQ(previous->generalFilter.value(M::MaskMessageID), list("K")); // still readable
    };
    // Another root, blanks around separators, empty parts, unknown elements, a filter
    // without a name, a filter nested in a filter (it feeds the outer one, and its end tag
    // completes it) and a name used twice (the last one wins).
    load(fixture("filters/foreign_filters.xml"),
        { " / NONAME /  / ", "dup / SECOND /  / ", "outer / O1 / Info / ",
            "warnings / A,B /  Warning , Info /  / 9991 [Warning] @synth (  x  |) () / 9992 [] "
            "@place () ()" },
        "warnings", {});
    load(fixture("filters/truncated_filters.xml"), { "good / G1,G2 / Info / " }, "good", {});
    load(path("missing.xml"), { "kept / K /  / " }, "kept",
        { "message file doesn't exist s/messagefilterreadwrite 38" });
    load(m_dir.path(), { "kept / K /  / " }, "kept",
        { "Fail to Open message file s/messagefilterreadwrite 43" });
}

} // namespace
