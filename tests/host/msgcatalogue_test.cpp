#include <msgfilter/host/msgcatalogue.h>

#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using Strings = std::vector<std::string>;

namespace {

// Every test starts from a catalogue with the generic entries only: the data directory
// points to an empty temporary directory, so no catalogue file is found.
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

    void writeCatalogueFile(const char* content)
    {
        QFile file(dataDirectory.filePath(QStringLiteral("msgcatalogue.txt")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir dataDirectory;
};

struct JournalCase {
    const char* name;
    std::function<void(msgManager&)> call;
    std::string line;
};

void PrintTo(const JournalCase& row, std::ostream* out)
{
    *out << row.name;
}

class JournalLine : public Catalogue, public ::testing::WithParamInterface<JournalCase> { };

TEST_P(JournalLine, OneLinePerCallWithInputsOnly)
{
    catalogue().addEntry("syn", "SYN-12", 2, "unused %1");
    catalogue().clearJournal();
    msgManager handle;
    GetParam().call(handle);
    EXPECT_EQ(catalogue().journal(), Strings { GetParam().line });
}

Strings ab { "a", "b" };
Strings top { "top.v" };
Strings none;
Strings xy { "x", "y" };

INSTANTIATE_TEST_SUITE_P(Catalogue, JournalLine,
    ::testing::Values(JournalCase { "EnableMsgType", [](msgManager& m) { m.enableMsgType(15); },
                          "enableMsgType(15)" },
        JournalCase { "DisableMsgTypeNegative", [](msgManager& m) { m.disableMsgType(-2); },
            "disableMsgType(-2)" },
        JournalCase {
            "EnableMsgNull", [](msgManager& m) { m.enableMsg(nullptr); }, "enableMsg(null)" },
        JournalCase {
            "EnableMsgId", [](msgManager& m) { m.enableMsg("SYN-12"); }, "enableMsg(SYN-12)" },
        JournalCase { "QueryMsgType",
            [](msgManager& m) {
                std::string word = "x", second = "y";
                m.queryMsgType("SYN-12", word, second);
            },
            "queryMsgType(SYN-12)" },
        JournalCase { "DisableMsgInt", [](msgManager& m) { m.disableMsg("SYN-12", 0); },
            "disableMsg(SYN-12,0)" },
        JournalCase { "DisableMsgArgs", [](msgManager& m) { m.disableMsg("9991", xy); },
            "disableMsg(9991,[x|y])" },
        JournalCase { "DisableMsgNoArgs", [](msgManager& m) { m.disableMsg("9991", none); },
            "disableMsg(9991,[])" },
        JournalCase { "DisableMsgNull", [](msgManager& m) { m.disableMsg(nullptr, 0); },
            "disableMsg(null,0)" },
        JournalCase {
            "SetMsgType", [](msgManager& m) { m.setMsgType("5012", 1); }, "setMsgType(5012,1)" },
        JournalCase { "PostMsg", [](msgManager& m) { m.postMsg("5012", ab, top, 0); },
            "postMsg(5012,[a|b],[top.v],0)" },
        JournalCase { "PostMsgEmptyItems",
            [](msgManager& m) {
                Strings blanks { "", "a b", "" };
                m.postMsg("", blanks, none, 3);
            },
            "postMsg(,[|a b|],[],3)" },
        JournalCase { "GetMsgMID", [](msgManager& m) { m.getMsgMID("common", "9990"); },
            "getMsgMID(common,9990)" },
        JournalCase { "GetMsgMIDNull", [](msgManager& m) { m.getMsgMID(nullptr, "9990"); },
            "getMsgMID(null,9990)" },
        JournalCase { "QueryMsgDisplayString",
            [](msgManager& m) {
                std::string out;
                m.queryMsgDisplayString("5012", ab, out);
            },
            "queryMsgDisplayString(5012,[a|b])" },
        JournalCase { "RetrieveDynamic",
            [](msgManager& m) {
                Strings out;
                m.retrieveMsgDynamicInfo(42, out);
            },
            "retrieveMsgDynamicInfo(42)" },
        JournalCase { "RetrieveNavigation",
            [](msgManager& m) {
                Strings out;
                m.retrieveMsgNavigationInfo(-1, out);
            },
            "retrieveMsgNavigationInfo(-1)" }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Catalogue, JournalKeepsCallOrderAcrossHandlesUntilCleared)
{
    msgManager {}.enableMsgType(15);
    msgManager second;
    second.enableMsg(nullptr);
    second.disableMsgType(6);
    EXPECT_EQ(catalogue().journal(),
        (Strings { "enableMsgType(15)", "enableMsg(null)", "disableMsgType(6)" }));
    catalogue().clearJournal();
    EXPECT_TRUE(catalogue().journal().empty());
    catalogue().addEntry("x", "X-1", 1, "t");
    catalogue().setMessageInfo(1, ab, top);
    EXPECT_TRUE(catalogue().journal().empty()) << "only handle calls are journalled";

    catalogue().setJournalEnabled(false);
    msgManager {}.enableMsgType(1);
    catalogue().reset();
    msgManager {}.enableMsgType(2);
    catalogue().setJournalEnabled(true);
    msgManager {}.enableMsgType(4);
    EXPECT_EQ(catalogue().journal(), Strings { "enableMsgType(4)" });
}

TEST_F(Catalogue, GenericEntriesAndNewNumbers)
{
    msgManager m;
    EXPECT_EQ(m.getMsgMID("common", "9990"), 9990);
    EXPECT_EQ(m.getMsgMID("common", "9991"), 9991);
    EXPECT_EQ(m.getMsgMID("common", "9992"), 9992);
    EXPECT_EQ(m.getMsgMID("other", "9990"), -1);
    EXPECT_EQ(m.getMsgMID("common", nullptr), -1);

    const int first = catalogue().addEntry("syn", "SYN-1", 2, "a");
    const int second = catalogue().addEntry("syn", "SYN-2", 1, "b");
    const int sameIdElsewhere = catalogue().addEntry("place", "SYN-1", 4, "c");
    EXPECT_EQ(first, 5001);
    EXPECT_EQ(second, 5002);
    EXPECT_EQ(sameIdElsewhere, 5003);
    EXPECT_EQ(m.getMsgMID("syn", "SYN-2"), second);
    EXPECT_EQ(m.getMsgMID("place", "SYN-1"), sameIdElsewhere);

    // A known pair keeps its number and takes the new type and text.
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-1", 1, "new %1"), first);
    std::string word, second_;
    EXPECT_EQ(m.queryMsgType("SYN-1", word, second_), 1);

    EXPECT_EQ(catalogue().addEntry("syn", "", 1, "t"), -1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-3", 3, "t"), -1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-3", 0, "t"), -1);

    // After a reset the added entries are gone and numbering starts again.
    catalogue().reset();
    EXPECT_EQ(m.getMsgMID("syn", "SYN-1"), -1);
    EXPECT_EQ(catalogue().addEntry("syn", "SYN-9", 2, "a"), 5001);
}

TEST_F(Catalogue, KeysNameEntriesByNumberOrByFirstId)
{
    const int warning = catalogue().addEntry("syn", "SYN-12", 2, "w");
    catalogue().addEntry("place", "SYN-12", 1, "e"); // later, so never found by id
    catalogue().addEntry("route", "12345", 4, "numeric id, not a number");
    catalogue().addEntry("route", std::to_string(warning), 8, "id that equals a number");

    struct Row {
        std::string key;
        int type;
        std::string word;
        std::string component;
    };
    const std::vector<Row> rows {
        { "SYN-12", 2, "Warning", "syn" },
        { std::to_string(warning), 2, "Warning", "syn" },
        { "12345", 4, "Info", "route" },
        { "9990", 1, "Error", "common" },
        { "9992", 4, "Info", "common" },
        { "syn-12", 0, "", "" },
        { "SYN-12 ", 0, "", "" },
        { "4999", 0, "", "" },
        { "", 0, "", "" },
    };
    msgManager m;
    for (const Row& row : rows) {
        SCOPED_TRACE("key '" + row.key + "'");
        std::string word = "stale", component = "stale";
        EXPECT_EQ(m.queryMsgType(row.key.c_str(), word, component), row.type);
        EXPECT_EQ(word, row.word);
        EXPECT_EQ(component, row.component);
    }
    std::string word = "stale", component;
    EXPECT_EQ(m.queryMsgType(nullptr, word, component), 0);
}

TEST_F(Catalogue, TypeWordsAndOverrides)
{
    msgManager m;
    const struct {
        int type;
        const char* word;
    } words[] = { { 1, "Error" }, { 2, "Warning" }, { 4, "Info" }, { 8, "Critical Warning" } };
    for (const auto& row : words) {
        const std::string id = "T-" + std::to_string(row.type);
        const int mid = catalogue().addEntry("t", id, row.type, "");
        std::string word, second;
        EXPECT_EQ(m.queryMsgType(id.c_str(), word, second), row.type);
        EXPECT_EQ(word, row.word);
        // Overriding through the number is seen through the id.
        m.setMsgType(std::to_string(mid).c_str(), 1);
        EXPECT_EQ(m.queryMsgType(id.c_str(), word, second), 1);
        EXPECT_EQ(word, "Error");
    }
    m.setMsgType("unknown", 2);
    std::string word, second;
    EXPECT_EQ(m.queryMsgType("unknown", word, second), 0);

    catalogue().reset();
    EXPECT_EQ(m.queryMsgType("9990", word, second), 1);
    m.setMsgType("9990", 4);
    catalogue().reset();
    EXPECT_EQ(m.queryMsgType("9990", word, second), 1) << "reset restores the generic types";
}

TEST_F(Catalogue, DisplayStringFillsTheTemplate)
{
    struct Row {
        const char* name;
        std::string text;
        Strings args;
        std::string out;
    };
    const std::vector<Row> rows {
        { "inOrder", "Signal '%1' unused in %2", { "clk", "top" }, "Signal 'clk' unused in top" },
        { "reordered and repeated", "%2-%1-%2", { "a", "b" }, "b-a-b" },
        { "missing arguments empty", "%1 and %3", { "x" }, "x and " },
        { "surplus arguments ignored", "only %1", { "x", "y", "z" }, "only x" },
        { "two digits", "%10|%1", { "1", "2", "3", "4", "5", "6", "7", "8", "9", "ten" }, "ten|1" },
        { "percent not before a digit", "100% of %1%", { "LUTs" }, "100% of LUTs%" },
        { "percent zero literal", "%0 %1", { "a" }, "%0 a" },
        { "no placeholders", "plain", { "a" }, "plain" },
    };
    msgManager m;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const int mid = catalogue().addEntry("t", row.name, 4, row.text);
        Strings args = row.args;
        std::string out = "stale";
        EXPECT_TRUE(m.queryMsgDisplayString(std::to_string(mid).c_str(), args, out));
        EXPECT_EQ(out, row.out);
    }
    Strings args { "x" };
    std::string out = "untouched";
    EXPECT_FALSE(m.queryMsgDisplayString("nope", args, out));
    EXPECT_EQ(out, "untouched");
    EXPECT_TRUE(m.queryMsgDisplayString("9991", args, out));
    EXPECT_EQ(out, "x");
}

// A row runs the switch calls through a handle, then asks isVisible about several keys.
struct Query {
    std::string key;
    Strings args;
    bool visible;
};
struct SwitchCase {
    const char* name;
    std::function<void(msgManager&)> switches;
    std::vector<Query> queries;
};

void PrintTo(const SwitchCase& row, std::ostream* out)
{
    *out << row.name;
}

class Switches : public Catalogue, public ::testing::WithParamInterface<SwitchCase> {
protected:
    void SetUp() override
    {
        Catalogue::SetUp();
        // Known numbers, so that the rows can name the entries both ways.
        ASSERT_EQ(catalogue().addEntry("syn", "SYN-1", 2, "w %1"), 5001);
        ASSERT_EQ(catalogue().addEntry("syn", "SYN-2", 1, "e %1"), 5002);
        ASSERT_EQ(catalogue().addEntry("syn", "SYN-3", 4, "i %1"), 5003);
        ASSERT_EQ(catalogue().addEntry("syn", "SYN-4", 8, "c %1"), 5004);
    }
};

TEST_P(Switches, DecideVisibility)
{
    msgManager m;
    GetParam().switches(m);
    for (const Query& q : GetParam().queries) {
        SCOPED_TRACE(q.key + " [" + std::to_string(q.args.size()) + " args]");
        EXPECT_EQ(catalogue().isVisible(q.key, q.args), q.visible);
    }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, Switches,
    ::testing::Values(
        SwitchCase { "AllOnAtStart", [](msgManager&) {},
            { { "SYN-1", {}, true }, { "5002", { "a" }, true }, { "unknown", {}, true } } },
        SwitchCase { "AllButErrorsOff", [](msgManager& m) { m.disableMsgType(-2); },
            { { "SYN-1", {}, false }, { "SYN-2", {}, true }, { "5003", {}, false },
                { "SYN-4", {}, false }, { "9990", {}, true }, { "unknown", {}, true } } },
        SwitchCase { "TypesBackOn",
            [](msgManager& m) {
                m.disableMsgType(15);
                m.enableMsgType(4);
            },
            { { "SYN-3", {}, true }, { "SYN-2", {}, false } } },
        SwitchCase { "IdOffByTextAskedByNumber", [](msgManager& m) { m.disableMsg("SYN-1", 0); },
            { { "5001", {}, false }, { "SYN-1", { "x" }, false }, { "SYN-3", {}, true } } },
        SwitchCase { "IdOffByNumberAskedByText", [](msgManager& m) { m.disableMsg("5002", 0); },
            { { "SYN-2", {}, false }, { "5001", {}, true } } },
        SwitchCase { "UnknownIdOff", [](msgManager& m) { m.disableMsg("LOST-1", 0); },
            { { "LOST-1", {}, false }, { "LOST-2", {}, true }, { "SYN-1", {}, true } } },
        SwitchCase { "ArgumentsOffExactlyThese",
            [](msgManager& m) {
                Strings args { "clk", "top" };
                m.disableMsg("5001", args);
            },
            { { "SYN-1", { "clk", "top" }, false }, { "5001", { "clk", "top" }, false },
                { "SYN-1", { "clk" }, true }, { "SYN-1", { "clk", "top", "x" }, true },
                { "SYN-1", { "rst", "top" }, true }, { "SYN-3", { "clk", "top" }, true } } },
        SwitchCase { "EnableNullClearsIdsNotTypes",
            [](msgManager& m) {
                Strings args { "a" };
                m.disableMsg("SYN-1", 0);
                m.disableMsg("SYN-2", args);
                m.disableMsgType(4);
                m.enableMsg(nullptr);
            },
            { { "SYN-1", {}, true }, { "SYN-2", { "a" }, true }, { "SYN-3", {}, false } } },
        SwitchCase { "EnableOneIdByOtherKey",
            [](msgManager& m) {
                Strings args { "a" };
                m.disableMsg("SYN-1", 0);
                m.disableMsg("SYN-1", args);
                m.disableMsg("SYN-2", 0);
                m.enableMsg("5001");
            },
            { { "SYN-1", {}, true }, { "SYN-1", { "a" }, true }, { "SYN-2", {}, false } } },
        SwitchCase { "TypeOverrideMovesTheEntry",
            [](msgManager& m) {
                m.disableMsgType(-2);
                m.setMsgType("SYN-1", 1);
            },
            { { "SYN-1", {}, true }, { "SYN-3", {}, false } } }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Catalogue, PostedMessagesAndToolMessageInfo)
{
    msgManager m;
    Strings dynamic { "a", "b" };
    Strings navigation { "top.v", "12" };
    Strings nothing;
    m.disableMsgType(15);
    m.postMsg("9991", dynamic, navigation, 0);
    m.postMsg("unknown", nothing, navigation, 0);
    m.postMsg(nullptr, nothing, nothing, 0);
    const auto& posted = catalogue().postedMessages();
    ASSERT_EQ(posted.size(), 3u) << "hidden and unknown messages are kept too";
    EXPECT_EQ(posted[0].key, "9991");
    EXPECT_EQ(posted[0].dynamic, dynamic);
    EXPECT_EQ(posted[0].navigation, navigation);
    EXPECT_EQ(posted[1].key, "unknown");
    EXPECT_TRUE(posted[1].dynamic.empty());
    EXPECT_EQ(posted[2].key, "");

    catalogue().setMessageInfo(42, { "x", "y" }, { "file.v" });
    Strings out { "stale" };
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_EQ(out, (Strings { "x", "y" }));
    m.retrieveMsgNavigationInfo(42, out);
    EXPECT_EQ(out, Strings { "file.v" });
    m.retrieveMsgDynamicInfo(43, out);
    EXPECT_TRUE(out.empty());
    catalogue().setMessageInfo(42, {}, { "other.v" });
    m.retrieveMsgDynamicInfo(42, out);
    EXPECT_TRUE(out.empty());

    catalogue().reset();
    EXPECT_TRUE(catalogue().postedMessages().empty());
    EXPECT_TRUE(catalogue().journal().empty());
    EXPECT_EQ(catalogue().enabledTypes(), 15);
    m.retrieveMsgNavigationInfo(42, out);
    EXPECT_TRUE(out.empty());
}

struct FileCase {
    const char* name;
    const char* content;
    std::vector<int> problemLines;
    Strings loaded; // "id=mid/type:template" of the entries beyond the generic ones, in file order
};

void PrintTo(const FileCase& row, std::ostream* out)
{
    *out << row.name;
}

class CatalogueFile : public Catalogue, public ::testing::WithParamInterface<FileCase> { };

TEST_P(CatalogueFile, LoadsWholeFilesOnlyAndReportsBadLines)
{
    const FileCase& row = GetParam();
    writeCatalogueFile(row.content);
    std::vector<CatalogueProblem> problems;
    const bool clean = catalogue().loadFile(MsgCatalogue::defaultFilePath(), &problems);
    EXPECT_EQ(clean, row.problemLines.empty());
    std::vector<int> lines;
    for (const CatalogueProblem& p : problems) {
        lines.push_back(p.line);
        EXPECT_FALSE(p.reason.empty());
    }
    EXPECT_EQ(lines, row.problemLines);
    Strings loaded;
    for (std::size_t i = 3; i < catalogue().entries().size(); ++i) {
        const CatalogueEntry& e = catalogue().entries()[i];
        loaded.push_back(
            e.id + "=" + std::to_string(e.mid) + "/" + std::to_string(e.type) + ":" + e.text);
    }
    EXPECT_EQ(loaded, row.loaded);
    Strings generic;
    for (std::size_t i = 0; i < 3 && i < catalogue().entries().size(); ++i) {
        const CatalogueEntry& e = catalogue().entries()[i];
        generic.push_back(e.id + "/" + std::to_string(e.type) + ":" + e.text);
    }
    EXPECT_EQ(generic, (Strings { "9990/1:%1", "9991/2:%1", "9992/4:%1" }));

    // The same file as the default one: loaded at reset, problems kept for the caller.
    catalogue().reset();
    EXPECT_EQ(catalogue().defaultFileProblems().size(), row.problemLines.size());
    EXPECT_EQ(catalogue().entries().size(), 3 + row.loaded.size());
}

INSTANTIATE_TEST_SUITE_P(Catalogue, CatalogueFile,
    ::testing::Values(
        FileCase { "CommentsAndBlankLines", "# header\n\n   \n  # indented comment\n", {}, {} },
        FileCase { "Fields",
            "syn|SYN-1|Warning|6001|Signal '%1' unused\r\n"
            " place | PLACE-2 | critical warning |  | a|b %1 \n"
            "route|ROUTE-3|1||\n",
            {}, { "SYN-1=6001/2:Signal '%1' unused", "PLACE-2=5001/8:a|b %1", "ROUTE-3=5002/1:" } },
        FileCase {
            "GenericEntriesRepeated", "common|9990|Error|9990|%1\ncommon|9991|2||%1\n", {}, {} },
        FileCase { "BadLines",
            "syn|SYN-1|Warning|6001|ok\n"
            "syn|SYN-2|Warning|6002\n"
            "syn||Error||empty id\n"
            "syn|SYN-4|Fatal||bad type\n"
            "syn|SYN-5|Info|-3|bad number\n"
            "syn|SYN-6|Info|6001|number taken\n"
            "common|9990|Error|7000|number of a known entry changed\n"
            "syn|SYN-8|Info|12x|bad number\n"
            "syn|SYN-9|Info||last line without line feed",
            { 2, 3, 4, 5, 6, 7, 8 }, {} },
        FileCase { "BadLineUndoesChangesToKnownEntries",
            "common|9991|Error||changed %1\nsyn|SYN-1|Fatal||bad type\n", { 2 }, {} }),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Catalogue, MissingFileMeansGenericEntriesOnly)
{
    EXPECT_EQ(catalogue().entries().size(), 3u);
    EXPECT_TRUE(catalogue().defaultFileProblems().empty());
    std::vector<CatalogueProblem> problems;
    EXPECT_FALSE(
        catalogue().loadFile(dataDirectory.filePath(QStringLiteral("absent.txt")), &problems));
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].line, 0);
}

TEST_F(Catalogue, ShippedFileIsWellFormed)
{
    qputenv("ZEFA_DATA_PATH", MSGFILTER_SOURCE_DATA_DIR);
    catalogue().reset();
    for (const CatalogueProblem& p : catalogue().defaultFileProblems()) {
        ADD_FAILURE() << "line " << p.line << ": " << p.reason;
    }
    // Beyond the generic entries, and every type in use.
    ASSERT_GT(catalogue().entries().size(), 3u);
    int types = 0;
    for (const CatalogueEntry& entry : catalogue().entries()) {
        types |= entry.type;
    }
    EXPECT_EQ(types, 15);
    msgManager m;
    EXPECT_EQ(m.getMsgMID("common", "9991"), 9991);
}

} // namespace
