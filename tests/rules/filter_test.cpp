#include <msgfilter/zefamsgfilter.h>

#include <QByteArray>
#include <QtGlobal>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using zefa::msg_filter::GetFieldsFromEngineMsg;
using zefa::msg_filter::ZefaMsgFilter;
using Fields = std::vector<std::pair<std::string, std::string>>;

// The process-wide rule engine reads its file once; every test of this program shares
// the fixture rules, set before the first test touches the engine.
class FixtureRules : public testing::Environment {
public:
    void SetUp() override
    {
        qputenv("ZEFA_DATA_PATH", QByteArrayLiteral(MSGFILTER_TEST_DATA_DIR "/rules/filter"));
    }
};

[[maybe_unused]] testing::Environment* const kFixtureRules =
    testing::AddGlobalTestEnvironment(new FixtureRules);

std::vector<std::string> messages(const ZefaMsgFilter& filter)
{
    std::vector<std::string> result;
    for (const auto& parsed : filter.getResults()) {
        result.push_back(parsed.message);
    }
    return result;
}

// What a result says about the line, in one comparable string.
std::string summary(const ZefaMsgFilter::ParsResult& result)
{
    std::string text = (result.isNewMessage ? "new " : "") + result.rule + " [" + result.type + "]";
    for (const auto& [name, value] : result.fields) {
        text += " " + name + "=" + value;
    }
    return text;
}

std::string lastSummary(const ZefaMsgFilter& filter)
{
    return filter.getResults().empty() ? "none" : summary(filter.getResults().back());
}

struct ChunkRow {
    const char* name;
    std::vector<const char*> chunks;
    std::vector<std::string> expectedMessages;
};

class Chunking : public testing::TestWithParam<ChunkRow> { };

TEST_P(Chunking, CutsCompleteLinesKeepingTheirNewline)
{
    const ChunkRow& row = GetParam();
    ZefaMsgFilter filter;
    for (const char* chunk : row.chunks) {
        filter.filterMessage(chunk);
    }
    EXPECT_EQ(messages(filter), row.expectedMessages);
    for (const auto& result : filter.getResults()) {
        EXPECT_EQ(result.type, "Text");
        EXPECT_TRUE(result.rule.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Table, Chunking,
    testing::Values(ChunkRow { "PartialLineWaits", { "abc" }, {} },
        ChunkRow { "LineCompletedLater", { "abc", "def\n" }, { "abcdef\n" } },
        ChunkRow { "TwoLinesInOneChunk", { "a\nb\n" }, { "a\n", "b\n" } },
        ChunkRow { "EmptyChunks", { "", "", "" }, {} },
        ChunkRow { "BareNewlineIsALine", { "x\n\ny" }, { "x\n", "\n" } },
        ChunkRow { "NewlineAlone", { "tail", "\n" }, { "tail\n" } },
        ChunkRow { "CarriageReturnStays", { "dos\r\n" }, { "dos\r\n" } }),
    [](const testing::TestParamInfo<ChunkRow>& info) { return std::string(info.param.name); });

struct ClassifyRow {
    const char* name;
    const char* engine;
    const char* line;
    std::string expected;
};

class Classification : public testing::TestWithParam<ClassifyRow> { };

TEST_P(Classification, RecordsRuleTypeAndFields)
{
    const ClassifyRow& row = GetParam();
    ZefaMsgFilter filter;
    filter.startFilter("fpga");
    filter.startEngin(row.engine);
    filter.filterMessage(row.line);
    ASSERT_EQ(filter.getResults().size(), 1U);
    EXPECT_EQ(filter.getResults().front().message, row.line);
    EXPECT_EQ(summary(filter.getResults().front()), row.expected);
}

INSTANTIATE_TEST_SUITE_P(Table, Classification,
    testing::Values(ClassifyRow { "NewMessageHasNoSubTypeSuffix", "default",
                        "@msg id=MF-1 dynamic=1 navigation=0 args=a=1\n",
                        "new new-message [NewMessage] id=MF-1 dynamic=1 navigation=0 args=a=1" },
        ClassifyRow { "NewMessageRuleWithoutSubRuleMatch", "default", "@msg broken\n",
            "new-message [NewMessage]" },
        ClassifyRow { "SubRuleTypeAppended", "default", "WARNING: top.v:12: unused\n",
            "warning [Warning:Design] file=top.v line=12" },
        ClassifyRow {
            "RuleWithoutMatchingSubRule", "default", "WARNING: no place\n", "warning [Warning]" },
        ClassifyRow { "RuleWithoutSubRules", "default", "ERROR: failed\n", "error [Error]" },
        ClassifyRow { "NoRuleIsText", "default", "plain output\n", " [Text]" },
        ClassifyRow { "OtherEngineHasOtherRules", "synth", "ERROR: failed\n", " [Text]" },
        ClassifyRow {
            "NamedEngineUsed", "synth", "INFO: [Opt] done\n", "synth-info [Info:Synth] step=Opt" },
        ClassifyRow { "UnknownEngineFallsBackToDefault", "no-such-engine", "ERROR: failed\n",
            "error [Error]" }),
    [](const testing::TestParamInfo<ClassifyRow>& info) { return std::string(info.param.name); });

TEST(FilterFlush, PendingTextIsClassifiedButKept)
{
    ZefaMsgFilter filter;
    EXPECT_FALSE(filter.filterMessage("tail"));
    EXPECT_TRUE(filter.endFilter());
    EXPECT_TRUE(filter.endFilter());
    filter.startFilter("fpga");
    filter.startEngin("default");
    EXPECT_EQ(messages(filter), (std::vector<std::string> { "tail", "tail", "tail", "tail" }));
    filter.filterMessage(" ERROR: late\n");
    EXPECT_EQ(filter.getResults().back().message, "tail ERROR: late\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
    // The line is complete now: nothing is left to flush.
    filter.endFilter();
    EXPECT_EQ(filter.getResults().size(), 5U);
}

TEST(FilterFlush, ReturnValueSaysWhetherAnythingWasEverRecorded)
{
    ZefaMsgFilter filter;
    EXPECT_FALSE(filter.startFilter("fpga"));
    EXPECT_FALSE(filter.startEngin("default"));
    EXPECT_FALSE(filter.filterMessage("partial"));
    EXPECT_FALSE(filter.filterMessage(""));
    filter.flushMessage("");
    EXPECT_TRUE(filter.getResults().empty());
    EXPECT_TRUE(filter.filterMessage(" line\n"));
    EXPECT_TRUE(filter.filterMessage(""));
    EXPECT_TRUE(filter.startEngin("default"));
}

TEST(FilterSelection, EngineNeedsATarget)
{
    ZefaMsgFilter filter;
    filter.setEngine("default");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), " [Text]");
    // The name was not stored, so asking again after choosing a target works.
    filter.setTarget("fpga");
    filter.setEngine("default");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
}

TEST(FilterSelection, SameTargetAgainForgetsTheEngine)
{
    ZefaMsgFilter filter("fpga");
    filter.setEngine("default");
    filter.setTarget("fpga");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), " [Text]");
    filter.setEngine("default");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
}

TEST(FilterSelection, FallbackKeepsTheRequestedName)
{
    ZefaMsgFilter filter("fpga");
    filter.setEngine("unknown");
    filter.setEngine("unknown");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
    filter.setEngine("synth");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), " [Text]");
}

TEST(FilterSelection, WithoutDefaultEngineAnUnknownNameLeavesNoEngine)
{
    ZefaMsgFilter filter("bare");
    filter.setEngine("unknown");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), " [Text]");
    filter.setEngine("only");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
}

TEST(FilterSelection, UnknownOrEmptyTargetGivesText)
{
    for (const char* target : { "no-such-family", "" }) {
        SCOPED_TRACE(target);
        ZefaMsgFilter filter;
        filter.startFilter(target);
        filter.startEngin("default");
        filter.filterMessage("ERROR: x\n");
        EXPECT_EQ(lastSummary(filter), " [Text]");
    }
    ZefaMsgFilter noTarget(nullptr);
    noTarget.setEngine("default");
    noTarget.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(noTarget), " [Text]");
}

TEST(FilterSelection, EndFilterDropsTargetAndEngine)
{
    ZefaMsgFilter filter("fpga");
    filter.startEngin("default");
    filter.endFilter();
    filter.startEngin("default");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), " [Text]");
    filter.startFilter("fpga");
    filter.startEngin("default");
    filter.filterMessage("ERROR: x\n");
    EXPECT_EQ(lastSummary(filter), "error [Error]");
}

TEST(FilterResults, GetNextResultIsAStubThatEmptiesItsArgument)
{
    ZefaMsgFilter filter("fpga");
    filter.startEngin("default");
    filter.filterMessage("WARNING: a.v:1: x\n");
    ZefaMsgFilter::ParsResult result { true, "m", "r", "t", { { "n", "v" } } };
    EXPECT_FALSE(filter.getNextResult(result));
    EXPECT_TRUE(result.isNewMessage);
    EXPECT_TRUE(result.message.empty());
    EXPECT_TRUE(result.rule.empty());
    EXPECT_TRUE(result.type.empty());
    EXPECT_TRUE(result.fields.empty());
    EXPECT_EQ(filter.getResults().size(), 1U);
}

struct ParseNewRow {
    const char* name;
    Fields fields;
    std::string expectedId;
    std::vector<std::string> expectedDynamic;
    std::vector<std::string> expectedNavigation;
};

class ParseNewMessage : public testing::TestWithParam<ParseNewRow> { };

TEST_P(ParseNewMessage, SplitsArgumentsByCount)
{
    const ParseNewRow& row = GetParam();
    std::string id = "stale";
    std::vector<std::string> dynamicArgs { "stale" };
    std::vector<std::string> navigationArgs { "stale" };
    ZefaMsgFilter::parseNewMessage(row.fields, id, dynamicArgs, navigationArgs);
    EXPECT_EQ(id, row.expectedId);
    EXPECT_EQ(dynamicArgs, row.expectedDynamic);
    EXPECT_EQ(navigationArgs, row.expectedNavigation);
}

INSTANTIATE_TEST_SUITE_P(Table, ParseNewMessage,
    testing::Values(ParseNewRow { "QuotedAndPlain",
                        { { "dynamic", "1" }, { "navigation", "1" }, { "args", " a=\"x\" b=y " } },
                        "", { "x" }, { "y" } },
        ParseNewRow { "NothingGiven", {}, "", {}, {} },
        ParseNewRow { "IdOnly", { { "id", "MF-7" }, { "args", "a=1" } }, "MF-7", {}, {} },
        ParseNewRow { "LaterRepeatWins",
            { { "id", "1" }, { "dynamic", "2" }, { "id", "2" }, { "dynamic", "1" },
                { "args", "a=p b=q" } },
            "2", { "p" }, {} },
        ParseNewRow { "CountsBeyondThePieces",
            { { "dynamic", "2" }, { "navigation", "5" }, { "args", "a=1  b=2 c=3" } }, "",
            { "1", "2" }, { "3" } },
        ParseNewRow { "DynamicCountBeyondAll",
            { { "dynamic", "9" }, { "navigation", "1" }, { "args", "a=1" } }, "", { "1" }, {} },
        ParseNewRow { "CountThatIsNoNumberIsZero",
            { { "dynamic", "two" }, { "navigation", "1" }, { "args", "a=1 b=2" } }, "", {},
            { "1" } },
        ParseNewRow { "NegativeDynamicCount",
            { { "dynamic", "-1" }, { "navigation", "2" }, { "args", "a=1 b=2" } }, "", {},
            { "1" } },
        ParseNewRow { "ValueShapes",
            { { "dynamic", "6" }, { "args", "a=\"\" b=\" c=x=y d e= f=\" spaced \"" } }, "",
            { "", "\"", "x", "", "", "\"" }, {} },
        ParseNewRow { "NamesAreCaseSensitive",
            { { "Dynamic", "1" }, { "ID", "x" }, { "args", "a=1" } }, "", {}, {} },
        ParseNewRow { "BlankArgumentsStopEarly",
            { { "id", "9" }, { "dynamic", "1" }, { "args", "  \t " } }, "9", {}, {} }),
    [](const testing::TestParamInfo<ParseNewRow>& info) { return std::string(info.param.name); });

struct FieldLookupRow {
    const char* name;
    std::vector<std::string> ruleNames;
    int expectedResult;
    std::string expectedRule;
    Fields expectedFields;
};

class FieldLookup : public testing::TestWithParam<FieldLookupRow> { };

TEST_P(FieldLookup, TriesRulesInTheGivenOrder)
{
    const FieldLookupRow& row = GetParam();
    std::string ruleName = "untouched";
    Fields fields;
    EXPECT_EQ(
        GetFieldsFromEngineMsg("abcd\n", row.ruleNames, ruleName, fields), row.expectedResult);
    EXPECT_EQ(ruleName, row.expectedRule);
    EXPECT_EQ(fields, row.expectedFields);
}

INSTANTIATE_TEST_SUITE_P(Table, FieldLookup,
    testing::Values(FieldLookupRow { "EmptyList", {}, -1, "untouched", {} },
        FieldLookupRow {
            "UnknownNamesSkipped", { "missing", "also-missing" }, -1, "untouched", {} },
        FieldLookupRow { "EmptyMatchDoesNotCount", { "g-empty" }, -1, "untouched", {} },
        FieldLookupRow { "MatchWithoutSubRule", { "g-short" }, 2, "g-short", {} },
        FieldLookupRow { "ShorterLaterRuleSkipped", { "g-long", "g-short-sub" }, 4, "g-long", {} },
        FieldLookupRow { "LongerLaterRuleWithSubRule", { "g-short", "g-long-sub" }, 4, "g-long-sub",
            { { "long", "c" } } },
        FieldLookupRow {
            "EqualLengthLaterRuleTakesOver", { "g-long", "g-long-too" }, 4, "g-long-too", {} },
        FieldLookupRow { "EqualLengthLaterRuleWithSubRule", { "g-long", "g-long-sub-too" }, 4,
            "g-long-sub-too", { { "too", "d" } } },
        FieldLookupRow { "FirstRuleWithSubRuleStopsTheSearch", { "g-short-sub", "g-long-sub" }, 2,
            "g-short-sub", { { "short", "a" } } },
        FieldLookupRow { "CallerOrderNotNameOrder", { "g-long-sub-too", "g-long-sub" }, 4,
            "g-long-sub-too", { { "too", "d" } } }),
    [](const testing::TestParamInfo<FieldLookupRow>& info) {
        return std::string(info.param.name);
    });

} // namespace
