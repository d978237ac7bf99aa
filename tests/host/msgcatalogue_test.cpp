#include <msgfilter/host/basesystem.h>
#include <msgfilter/host/msgcatalogue.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using Strings = std::vector<std::string>;

namespace {

// Every test starts from the generic entries only: the data directory is an empty
// temporary directory, so there is no catalogue file to load.
class Catalogue : public ::testing::Test {
protected:
    void SetUp() override
    {
        qputenv("ZEFA_DATA_PATH", QFile::encodeName(dataDirectory.path()));
        catalogue().reset();
    }
    static MsgCatalogue& catalogue() { return MsgCatalogue::instance(); }
    static std::string key(int mid) { return std::to_string(mid); }
    QTemporaryDir dataDirectory;
};

TEST_F(Catalogue, JournalsAndKeepsHandleCallsUntilReset)
{
    Strings ab { "a", "b" }, top { "top.v" }, none, blanks { "", "a b", "" }, out { "stale" };
    std::string text, word, second;
    catalogue().setMessageInfo(42, ab, top);
    msgManager {}.enableMsgType(15);
    msgManager m;
    m.disableMsgType(-2);
    m.enableMsg(nullptr);
    m.enableMsg("SYN-12");
    m.queryMsgType("SYN-12", word, second);
    m.disableMsg("SYN-12", 0);
    m.disableMsg("9991", ab);
    m.disableMsg(nullptr, none);
    m.setMsgType("5012", 1);
    m.postMsg("5012", ab, top, 0);
    m.postMsg(nullptr, blanks, none, 3);
    EXPECT_EQ(m.getMsgMID("common", "9990"), 9990);
    EXPECT_EQ(m.getMsgMID(nullptr, "9990"), -1);
    m.queryMsgDisplayString("5012", ab, text);
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_EQ(out, ab);
    m.retrieveMsgNavigationInfo(42, out);
    EXPECT_EQ(out, top);
    EXPECT_EQ(catalogue().journal(),
        (Strings { "enableMsgType(15)", "disableMsgType(-2)", "enableMsg(null)",
            "enableMsg(SYN-12)", "queryMsgType(SYN-12)", "disableMsg(SYN-12,0)",
            "disableMsg(9991,[a|b])", "disableMsg(null,[])", "setMsgType(5012,1)",
            "postMsg(5012,[a|b],[top.v],0)", "postMsg(null,[|a b|],[],3)", "getMsgMID(common,9990)",
            "getMsgMID(null,9990)", "queryMsgDisplayString(5012,[a|b])",
            "retrieveMsgDynamicInfo(42)", "retrieveMsgNavigationInfo(42)" }));
    const auto& posted = catalogue().postedMessages();
    ASSERT_EQ(posted.size(), 2u) << "unknown keys are posted too";
    EXPECT_EQ(posted[0].key + "/" + posted[1].key, "5012/");
    EXPECT_EQ(posted[0].dynamic, ab);
    EXPECT_EQ(posted[0].navigation, top);

    catalogue().reset();
    EXPECT_TRUE(catalogue().journal().empty());
    EXPECT_TRUE(catalogue().postedMessages().empty());
    EXPECT_TRUE(catalogue().isVisible("9991", ab));
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_TRUE(out.empty());
}

// Switched off, the journal stays as it was while the catalogue goes on working; reset()
// leaves the switch alone.
TEST_F(Catalogue, JournalSwitchedOffRecordsNothing)
{
    Strings ab { "a", "b" }, none;
    msgManager m;
    m.enableMsg("before");
    catalogue().setJournalEnabled(false);
    m.disableMsg("9991", 0);
    m.postMsg("9991", ab, none, 0);
    EXPECT_EQ(m.getMsgMID("common", "9992"), 9992);
    EXPECT_EQ(catalogue().journal(), Strings { "enableMsg(before)" });
    EXPECT_FALSE(catalogue().isVisible("9991", ab));
    EXPECT_EQ(catalogue().postedMessages().size(), 1u);

    catalogue().reset();
    m.enableMsgType(4);
    EXPECT_TRUE(catalogue().journal().empty());
    catalogue().setJournalEnabled(true);
    m.disableMsgType(4);
    EXPECT_EQ(catalogue().journal(), Strings { "disableMsgType(4)" });
}

TEST_F(Catalogue, NumbersEntriesAndResolvesKeysByNumberOrFirstId)
{
    Strings justX { "x" };
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-12", 2, "unused %1"), 5001);
    EXPECT_EQ(catalogue().addEntry("place", "SYN-12", 1, "later, so never found by id"), 5002);
    EXPECT_EQ(catalogue().addEntry("route", "12345", 4, "a numeric id"), 5003);
    EXPECT_EQ(catalogue().addEntry("route", "5001", 1, "id that equals a number"), 5004);
    EXPECT_EQ(catalogue().addEntry("crit", "CW-1", 2, "old"), 5005);
    // A known pair keeps its number and takes the new type and text; bad entries are refused.
    EXPECT_EQ(catalogue().addEntry("crit", "CW-1", 8, "new %1"), 5005);
    EXPECT_EQ(catalogue().addEntry("syn", "", 1, "t"), -1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-3", 3, "t"), -1);
    msgManager m;
    EXPECT_EQ(m.getMsgMID("place", "SYN-12"), 5002);
    EXPECT_EQ(m.getMsgMID("other", "9990"), -1);
    // Each key with its type, type word and component, and its display string of "x"
    // (unknown keys leave the outputs of the display string untouched).
    const std::pair<std::string, std::string> rows[] = { { "SYN-12", "2 Warning syn: unused x" },
        { "5001", "2 Warning syn: unused x" }, { "12345", "4 Info route: a numeric id" },
        { "CW-1", "8 Critical Warning crit: new x" }, { "9990", "1 Error common: x" },
        { "syn-12", "0  : -" }, { "SYN-12 ", "0  : -" }, { "4999", "0  : -" }, { "", "0  : -" } };
    std::string word, component, text;
    for (auto [key, expected] : rows) {
        word = component = "stale", text = "-";
        const int type = m.queryMsgType(key.c_str(), word, component);
        m.queryMsgDisplayString(key.c_str(), justX, text);
        EXPECT_EQ(std::to_string(type) + " " + word + " " + component + ": " + text, expected);
    }
    // An override through the number is seen through the id; reset forgets overrides and
    // added entries.
    m.setMsgType("5001", 8);
    EXPECT_EQ(m.queryMsgType("SYN-12", word, component), 8);
    m.setMsgType("9990", 4);
    catalogue().reset();
    EXPECT_EQ(m.queryMsgType("9990", word, component), 1);
    EXPECT_EQ(m.getMsgMID("syn", "SYN-12"), -1);
}

TEST_F(Catalogue, DisplayStringFillsTheTemplate)
{
    const std::tuple<std::string, Strings, std::string> rows[] = {
        { "%2-%1-%2", { "a", "b", "surplus" }, "b-a-b" }, { "%1 and %3", { "x" }, "x and " },
        { "%10|%1", { "1", "2", "3", "4", "5", "6", "7", "8", "9", "ten" }, "ten|1" },
        { "100% %0 %1%", { "a" }, "100% %0 a%" }
    };
    msgManager m;
    std::string out;
    for (auto [text, args, expected] : rows) {
        const int mid = catalogue().addEntry("t", text, 4, text);
        EXPECT_TRUE(m.queryMsgDisplayString(key(mid).c_str(), args, out));
        EXPECT_EQ(out, expected) << text;
    }
}

TEST_F(Catalogue, SwitchesNameTheEntryWhateverTheKey)
{
    for (int type : { 2, 1, 4, 8 }) { // SYN-1 to SYN-4, numbered 5001 to 5004
        catalogue().addEntry("syn", "SYN-" + key(int(catalogue().entries().size()) - 2), type, "");
    }
    const std::vector<std::pair<std::string, Strings>> probes { { "SYN-1", {} }, { "5001", {} },
        { "SYN-1", { "clk", "top" } }, { "SYN-1", { "clk" } }, { "SYN-1", { "clk", "top", "x" } },
        { "SYN-2", {} }, { "5002", { "a" } }, { "SYN-3", {} }, { "SYN-3", { "clk", "top" } },
        { "SYN-4", {} }, { "9990", {} }, { "LOST-1", {} }, { "LOST-2", {} } };
    // The probes in order: 'v' shown, '-' hidden.
    const auto visible = [&probes] {
        std::string shown;
        for (const auto& [key, args] : probes) {
            shown += catalogue().isVisible(key, args) ? 'v' : '-';
        }
        return shown;
    };
    Strings clkTop { "clk", "top" };
    msgManager m;
    m.disableMsg("5001", clkTop);
    EXPECT_EQ(visible(), "vv-vvvvvvvvvv");
    m.disableMsg("SYN-2", 0);
    EXPECT_EQ(visible(), "vv-vv--vvvvvv");
    m.disableMsg("LOST-1", 0);
    EXPECT_EQ(visible(), "vv-vv--vvvv-v");
    m.enableMsg("SYN-1");
    EXPECT_EQ(visible(), "vvvvv--vvvv-v");
    m.disableMsg("5004", 0);
    EXPECT_EQ(visible(), "vvvvv--vv-v-v");
    m.enableMsg("5002");
    EXPECT_EQ(visible(), "vvvvvvvvv-v-v");
    m.disableMsg("SYN-3", clkTop);
    EXPECT_EQ(visible(), "vvvvvvvv--v-v");
    m.disableMsgType(-2);
    EXPECT_EQ(visible(), "-----vv---v-v");
    m.setMsgType("SYN-1", 1);
    EXPECT_EQ(visible(), "vvvvvvv---v-v");
    m.enableMsg(nullptr); // ids and arguments, never the type mask
    EXPECT_EQ(visible(), "vvvvvvv---vvv");
    m.enableMsgType(4);
    EXPECT_EQ(visible(), "vvvvvvvvv-vvv");
}

TEST_F(Catalogue, LoadsTheDataDirectorysFileWholeOnlyAndNamesTheBadLines)
{
    // A file, its bad lines, and the entries beyond the generic ones as "id=mid/type:template".
    const std::tuple<const char*, std::vector<int>, Strings> rows[] = {
        { "# header\n\n   \n  # indented comment\n"
          "syn|SYN-1|Warning|6001|Signal '%1' unused\r\n"
          " place | PLACE-2 | critical warning |  | a|b %1 \n"
          "route|ROUTE-3|1||\n"
          "common|9990|Error|9990|%1\ncommon|9991|2||%1",
            {}, { "SYN-1=6001/2:Signal '%1' unused", "PLACE-2=5001/8:a|b %1", "ROUTE-3=5002/1:" } },
        { "common|9991|Error||a good line that changes a known entry\n"
          "syn|SYN-1|Warning|6001|ok\n"
          "syn|SYN-2|Warning|6002\n"
          "syn||Error||empty id\n"
          "syn|SYN-4|Fatal||bad type\n"
          "syn|SYN-6|Info|6001|number taken\n"
          "common|9990|Error|7000|number of a known entry changed\n"
          "syn|SYN-8|Info|12x|bad number\n"
          "syn|SYN-9|Info||ok",
            { 3, 4, 5, 6, 7, 8 }, {} },
    };
    // No file at all in the data directory: the generic entries, and nothing to complain about.
    EXPECT_EQ(BaseSystem::getDataPath().absolutePath(), QDir(dataDirectory.path()).absolutePath());
    EXPECT_EQ(catalogue().entries().size(), 3u);
    EXPECT_TRUE(catalogue().defaultFileProblems().empty());
    for (const auto& [content, badLines, loaded] : rows) {
        QFile file(dataDirectory.filePath(QStringLiteral("msgcatalogue.txt")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
        file.close();
        // Read at reset, as the default file, with its problems kept for the caller.
        catalogue().reset();
        std::vector<int> lines;
        for (const CatalogueProblem& problem : catalogue().defaultFileProblems()) {
            lines.push_back(problem.line);
            EXPECT_FALSE(problem.reason.empty());
        }
        EXPECT_EQ(lines, badLines);
        Strings entries, expected { "9990=9990/1:%1", "9991=9991/2:%1", "9992=9992/4:%1" };
        expected.insert(expected.end(), loaded.begin(), loaded.end());
        for (const CatalogueEntry& e : catalogue().entries()) {
            entries.push_back(e.id + "=" + key(e.mid) + "/" + key(e.type) + ":" + e.text);
        }
        EXPECT_EQ(entries, expected);
    }
    // Without the environment, from a build tree: its link to the source tree's data, which
    // loads cleanly.
    qunsetenv("ZEFA_DATA_PATH");
    EXPECT_EQ(BaseSystem::getDataPath().canonicalPath(),
        QDir(QFile::decodeName(MSGFILTER_SOURCE_DATA_DIR)).canonicalPath());
    catalogue().reset();
    EXPECT_GT(catalogue().entries().size(), 3u);
}

} // namespace
