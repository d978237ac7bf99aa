#include <msgfilter/host/basesystem.h>
#include <msgfilter/host/msgcatalogue.h>

#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <string>
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
        ASSERT_TRUE(dataDirectory.isValid());
        qputenv("ZEFA_DATA_PATH", QFile::encodeName(dataDirectory.path()));
        catalogue().reset();
    }
    void TearDown() override { qunsetenv("ZEFA_DATA_PATH"); }
    static MsgCatalogue& catalogue() { return MsgCatalogue::instance(); }
    static std::string key(int mid) { return std::to_string(mid); }
    QTemporaryDir dataDirectory;
};

TEST_F(Catalogue, JournalsAndKeepsHandleCallsUntilReset)
{
    Strings ab { "a", "b" }, top { "top.v" }, none, blanks { "", "a b", "" }, out { "stale" };
    std::string text = "untouched", word = "stale", second = "stale";
    catalogue().addEntry("x", "X-1", 1, "not a handle call");
    catalogue().setMessageInfo(42, ab, top);
    msgManager {}.enableMsgType(15);
    msgManager m;
    m.disableMsgType(-2);
    m.enableMsg(nullptr);
    m.enableMsg("SYN-12");
    EXPECT_EQ(m.queryMsgType("SYN-12", word, second), 0);
    EXPECT_EQ(word + second, "");
    m.disableMsg("SYN-12", 0);
    m.disableMsg("9991", ab);
    m.disableMsg(nullptr, none);
    m.setMsgType("5012", 1);
    m.postMsg("5012", ab, top, 0);
    m.postMsg(nullptr, blanks, none, 3);
    EXPECT_EQ(m.getMsgMID("common", "9990"), 9990);
    EXPECT_EQ(m.getMsgMID(nullptr, "9990"), -1);
    EXPECT_FALSE(m.queryMsgDisplayString("5012", ab, text));
    EXPECT_EQ(text, "untouched");
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_EQ(out, ab);
    m.retrieveMsgNavigationInfo(-1, out);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(catalogue().journal(),
        (Strings { "enableMsgType(15)", "disableMsgType(-2)", "enableMsg(null)",
            "enableMsg(SYN-12)", "queryMsgType(SYN-12)", "disableMsg(SYN-12,0)",
            "disableMsg(9991,[a|b])", "disableMsg(null,[])", "setMsgType(5012,1)",
            "postMsg(5012,[a|b],[top.v],0)", "postMsg(null,[|a b|],[],3)", "getMsgMID(common,9990)",
            "getMsgMID(null,9990)", "queryMsgDisplayString(5012,[a|b])",
            "retrieveMsgDynamicInfo(42)", "retrieveMsgNavigationInfo(-1)" }));
    const auto& posted = catalogue().postedMessages();
    ASSERT_EQ(posted.size(), 2u) << "unknown keys are posted too";
    EXPECT_EQ(posted[0].key + "/" + posted[1].key, "5012/");
    EXPECT_EQ(posted[0].dynamic, ab);
    EXPECT_EQ(posted[0].navigation, top);
    EXPECT_EQ(posted[1].dynamic, blanks);
    EXPECT_FALSE(catalogue().isVisible("9991", {}));

    catalogue().reset();
    EXPECT_TRUE(catalogue().journal().empty());
    EXPECT_TRUE(catalogue().postedMessages().empty());
    EXPECT_TRUE(catalogue().isVisible("9991", ab));
    EXPECT_EQ(m.getMsgMID("x", "X-1"), -1);
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_TRUE(out.empty());
    m.enableMsgType(1);
    catalogue().clearJournal();
    EXPECT_TRUE(catalogue().journal().empty());
}

TEST_F(Catalogue, NumbersEntriesAndResolvesKeysByNumberOrFirstId)
{
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-12", 2, "w"), 5001);
    EXPECT_EQ(catalogue().addEntry("place", "SYN-12", 1, "later, so never found by id"), 5002);
    EXPECT_EQ(catalogue().addEntry("route", "12345", 4, "numeric id, not a number"), 5003);
    EXPECT_EQ(catalogue().addEntry("route", "5001", 1, "id that equals a number"), 5004);
    EXPECT_EQ(catalogue().addEntry("crit", "CW-1", 2, "c"), 5005);
    // A known pair keeps its number and takes the new type; bad entries are refused.
    EXPECT_EQ(catalogue().addEntry("crit", "CW-1", 8, "c"), 5005);
    EXPECT_EQ(catalogue().addEntry("syn", "", 1, "t"), -1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-3", 3, "t"), -1);
    msgManager m;
    EXPECT_EQ(m.getMsgMID("place", "SYN-12"), 5002);
    EXPECT_EQ(m.getMsgMID("other", "9990"), -1);
    const std::pair<std::string, std::string> rows[] = { { "SYN-12", "2 Warning syn" },
        { "5001", "2 Warning syn" }, { "12345", "4 Info route" },
        { "CW-1", "8 Critical Warning crit" }, { "9990", "1 Error common" }, { "syn-12", "0  " },
        { "SYN-12 ", "0  " }, { "4999", "0  " }, { "", "0  " } };
    std::string word, component;
    for (const auto& [key, expected] : rows) {
        word = component = "stale";
        const int type = m.queryMsgType(key.c_str(), word, component);
        EXPECT_EQ(std::to_string(type) + " " + word + " " + component, expected) << key;
    }
    // An override through the number is seen through the id; reset forgets overrides and
    // added entries, and numbers from 5001 again.
    m.setMsgType("5001", 8);
    EXPECT_EQ(m.queryMsgType("SYN-12", word, component), 8);
    m.setMsgType("9990", 4);
    catalogue().reset();
    EXPECT_EQ(m.queryMsgType("9990", word, component), 1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-9", 2, "a"), 5001);
}

TEST_F(Catalogue, DisplayStringFillsTheTemplate)
{
    const struct {
        std::string text;
        Strings args;
        std::string out;
    } rows[] = {
        { "%2-%1-%2", { "a", "b" }, "b-a-b" },
        { "%1 and %3", { "x" }, "x and " },
        { "only %1", { "x", "y", "z" }, "only x" },
        { "%10|%1", { "1", "2", "3", "4", "5", "6", "7", "8", "9", "ten" }, "ten|1" },
        { "100% of %1%", { "LUTs" }, "100% of LUTs%" },
        { "%0 %1", { "a" }, "%0 a" },
    };
    msgManager m;
    std::string out;
    for (auto row : rows) {
        const int mid = catalogue().addEntry("t", row.text, 4, row.text);
        EXPECT_TRUE(m.queryMsgDisplayString(key(mid).c_str(), row.args, out));
        EXPECT_EQ(out, row.out) << row.text;
    }
    Strings args { "x" };
    EXPECT_TRUE(m.queryMsgDisplayString("9991", args, out));
    EXPECT_EQ(out, "x");
}

// disableMsg takes its argument lists by non-const reference.
Strings clkTop { "clk", "top" }, justA { "a" };

TEST_F(Catalogue, SwitchesNameTheEntryWhateverTheKey)
{
    // SYN-1 to SYN-4 are 5001 to 5004, of types 2, 1, 4 and 8. Each row gives the visibility
    // of the probes in order: 'v' shown, '-' hidden.
    const std::vector<std::pair<std::string, Strings>> probes { { "SYN-1", {} }, { "5001", {} },
        { "SYN-1", { "clk", "top" } }, { "SYN-1", { "clk" } }, { "SYN-1", { "clk", "top", "x" } },
        { "SYN-2", {} }, { "5002", { "a" } }, { "SYN-3", {} }, { "SYN-3", { "clk", "top" } },
        { "SYN-4", {} }, { "9990", {} }, { "LOST-1", {} }, { "LOST-2", {} } };
    const struct {
        const char* name;
        std::function<void(msgManager&)> switches;
        const char* visible;
    } rows[] = {
        { "all on at start", [](msgManager&) {}, "vvvvvvvvvvvvv" },
        { "all but errors off", [](msgManager& m) { m.disableMsgType(-2); }, "-----vv---vvv" },
        { "info back on", [](msgManager& m) { m.disableMsgType(15), m.enableMsgType(4); },
            "-------vv--vv" },
        { "off by id", [](msgManager& m) { m.disableMsg("SYN-1", 0); }, "-----vvvvvvvv" },
        { "off by number", [](msgManager& m) { m.disableMsg("5002", 0); }, "vvvvv--vvvvvv" },
        { "unknown id off", [](msgManager& m) { m.disableMsg("LOST-1", 0); }, "vvvvvvvvvvv-v" },
        { "arguments off", [](msgManager& m) { m.disableMsg("5001", clkTop); }, "vv-vvvvvvvvvv" },
        { "enableMsg(null) clears ids and arguments, not types",
            [](msgManager& m) {
                m.disableMsg("SYN-1", 0), m.disableMsg("SYN-2", justA);
                m.disableMsgType(4), m.enableMsg(nullptr);
            },
            "vvvvvvv--vvvv" },
        { "enableMsg(id) by the other key",
            [](msgManager& m) {
                m.disableMsg("SYN-1", 0), m.disableMsg("SYN-1", clkTop);
                m.disableMsg("SYN-2", 0), m.enableMsg("5001");
            },
            "vvvvv--vvvvvv" },
        { "type override moves the entry",
            [](msgManager& m) { m.disableMsgType(-2), m.setMsgType("SYN-1", 1); },
            "vvvvvvv---vvv" },
    };
    for (const auto& row : rows) {
        catalogue().reset();
        int n = 0;
        for (int type : { 2, 1, 4, 8 }) {
            catalogue().addEntry("syn", "SYN-" + std::to_string(++n), type, "%1");
        }
        msgManager m;
        row.switches(m);
        std::string visible;
        for (const auto& [key, args] : probes) {
            visible += catalogue().isVisible(key, args) ? 'v' : '-';
        }
        EXPECT_EQ(visible, row.visible) << row.name;
    }
}

TEST_F(Catalogue, LoadsWholeFilesOnlyAndNamesTheBadLines)
{
    const struct {
        const char* name;
        const char* content;
        std::vector<int> badLines;
        Strings loaded; // "id=mid/type:template" beyond the generic entries, in file order
    } rows[] = {
        { "good",
            "# header\n\n   \n  # indented comment\n"
            "syn|SYN-1|Warning|6001|Signal '%1' unused\r\n"
            " place | PLACE-2 | critical warning |  | a|b %1 \n"
            "route|ROUTE-3|1||\n"
            "common|9990|Error|9990|%1\ncommon|9991|2||%1",
            {}, { "SYN-1=6001/2:Signal '%1' unused", "PLACE-2=5001/8:a|b %1", "ROUTE-3=5002/1:" } },
        { "bad",
            "common|9991|Error||a good line that changes a known entry\n"
            "syn|SYN-1|Warning|6001|ok\n"
            "syn|SYN-2|Warning|6002\n"
            "syn||Error||empty id\n"
            "syn|SYN-4|Fatal||bad type\n"
            "syn|SYN-5|Info|-3|bad number\n"
            "syn|SYN-6|Info|6001|number taken\n"
            "common|9990|Error|7000|number of a known entry changed\n"
            "syn|SYN-8|Info|12x|bad number\n"
            "syn|SYN-9|Info||ok",
            { 3, 4, 5, 6, 7, 8, 9 }, {} },
    };
    // No file at all: the generic entries, and nothing to complain about.
    EXPECT_EQ(catalogue().entries().size(), 3u);
    EXPECT_TRUE(catalogue().defaultFileProblems().empty());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QFile file(MsgCatalogue::defaultFilePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(row.content);
        file.close();
        // Read at reset, as the default file, with its problems kept for the caller.
        catalogue().reset();
        std::vector<int> lines;
        for (const CatalogueProblem& problem : catalogue().defaultFileProblems()) {
            lines.push_back(problem.line);
            EXPECT_FALSE(problem.reason.empty());
        }
        EXPECT_EQ(lines, row.badLines);
        Strings entries, expected { "9990=9990/1:%1", "9991=9991/2:%1", "9992=9992/4:%1" };
        expected.insert(expected.end(), row.loaded.begin(), row.loaded.end());
        for (const CatalogueEntry& e : catalogue().entries()) {
            entries.push_back(e.id + "=" + key(e.mid) + "/" + key(e.type) + ":" + e.text);
        }
        EXPECT_EQ(entries, expected);
        // Loaded again on top of itself: the same verdict.
        EXPECT_EQ(catalogue().loadFile(file.fileName()), row.badLines.empty());
    }
    std::vector<CatalogueProblem> problems;
    EXPECT_FALSE(catalogue().loadFile(dataDirectory.filePath(QStringLiteral("absent")), &problems));
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].line, 0);
}

TEST(DataPath, EnvironmentWinsAtEveryCallOtherwiseTheShippedData)
{
    QTemporaryDir first, second;
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(first.path()));
    EXPECT_EQ(BaseSystem::getDataPath().absolutePath(), QDir(first.path()).absolutePath());
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(second.path()));
    EXPECT_EQ(BaseSystem::getDataPath().absolutePath(), QDir(second.path()).absolutePath());
    // From a build tree: the source tree's data, whose catalogue loads cleanly.
    qunsetenv("ZEFA_DATA_PATH");
    EXPECT_EQ(BaseSystem::getDataPath().canonicalPath(),
        QDir(QFile::decodeName(MSGFILTER_SOURCE_DATA_DIR)).canonicalPath());
    MsgCatalogue::instance().reset();
    EXPECT_TRUE(MsgCatalogue::instance().defaultFileProblems().empty());
    EXPECT_GT(MsgCatalogue::instance().entries().size(), 3u);
}

} // namespace
