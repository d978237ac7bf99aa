#include "rulestestsupport.h"

#include <msgfilter/zefamsgparserengin.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;
using rules_test::DataDirectory;
using rules_test::DataPathOverride;
using rules_test::engineFromXml;

// Each engine of target "t" isolates one way the best rule is chosen.
const QByteArray kRules = R"(<?xml version="1.0"?>
<ZefaMsgFilterDef>
  <TargetDevice name="t">
    <Engine name="longest">
      <Rule name="early"/><Rule name="late"/>
    </Engine>
    <Engine name="ties">
      <Rule name="abcd"/><Rule name="abc"/><Rule name="a-lower"/><Rule name="B-upper"/>
    </Engine>
    <Engine name="empty-match">
      <Rule name="anything"/><Rule name="specific"/><Rule name="broken"/>
    </Engine>
    <Engine name="dangling">
      <Rule name="not-defined"/><Rule name="defined-later"/>
    </Engine>
    <Engine name="none"/>
  </TargetDevice>
  <FilterRule name="early" type="E" reg_patten="^AB"/>
  <FilterRule name="late" type="L" reg_patten="XYZW"/>
  <FilterRule name="abcd" type="T" reg_patten="tie"/>
  <FilterRule name="abc" type="T" reg_patten="tie"/>
  <FilterRule name="a-lower" type="T" reg_patten="case"/>
  <FilterRule name="B-upper" type="T" reg_patten="case"/>
  <FilterRule name="anything" type="Any" reg_patten="z*"/>
  <FilterRule name="specific" type="S" reg_patten="hit"/>
  <FilterRule name="broken" type="B" reg_patten="([a-z]+"/>
  <FilterRule name="defined-later" type="D" reg_patten="late def"/>
</ZefaMsgFilterDef>
)";

struct BestRuleRow {
    const char* name;
    const char* engine;
    std::string line;
    const char* expectedRule; // nullptr: no rule
};

class BestRule : public testing::TestWithParam<BestRuleRow> {
protected:
    static void SetUpTestSuite()
    {
        bool loaded = false;
        s_engine = engineFromXml(kRules, &loaded).release();
        ASSERT_TRUE(loaded);
    }
    static void TearDownTestSuite()
    {
        delete s_engine;
        s_engine = nullptr;
    }
    static ZefaMsgParserEngin* s_engine;
};

ZefaMsgParserEngin* BestRule::s_engine = nullptr;

TEST_P(BestRule, IsLongestMatchThenLowestName)
{
    const BestRuleRow& row = GetParam();
    ZefaMsgTarget* target = s_engine->getTarget("t");
    ASSERT_NE(target, nullptr);
    ZefaEnginMsgParser* parser = target->getEngine(row.engine);
    ASSERT_NE(parser, nullptr);
    const ZefaMsgParserRule* rule = FindBestMatchRule(s_engine, parser, row.line);
    if (row.expectedRule == nullptr) {
        EXPECT_EQ(rule, nullptr) << rule->getName();
    } else {
        ASSERT_NE(rule, nullptr);
        EXPECT_EQ(rule->getName(), row.expectedRule);
    }
}

INSTANTIATE_TEST_SUITE_P(Table, BestRule,
    testing::Values(BestRuleRow { "LongerLaterMatchBeatsShortMatchAtStart", "longest",
                        "AB then XYZW\n", "late" },
        BestRuleRow { "OnlyMatchingRule", "longest", "AB only\n", "early" },
        BestRuleRow { "NoRuleMatches", "longest", "nothing\n", nullptr },
        BestRuleRow { "TieGoesToShorterPrefixName", "ties", "a tie\n", "abc" },
        BestRuleRow { "TieGoesToUpperCaseFirst", "ties", "in case\n", "B-upper" },
        BestRuleRow { "EmptyMatchBeatsNoMatch", "empty-match", "plain text\n", "anything" },
        BestRuleRow { "LongerMatchBeatsEmptyMatch", "empty-match", "a hit\n", "specific" },
        BestRuleRow { "InvalidPatternNeverWins", "empty-match", "abc\n", "anything" },
        BestRuleRow { "UndefinedNamesAreSkipped", "dangling", "late def\n", "defined-later" },
        BestRuleRow { "EngineWithoutRules", "none", "anything\n", nullptr }),
    [](const testing::TestParamInfo<BestRuleRow>& info) { return std::string(info.param.name); });

TEST_F(BestRule, NullEngineOrParserGivesNull)
{
    ZefaEnginMsgParser* parser = s_engine->getTarget("t")->getEngine("longest");
    EXPECT_EQ(FindBestMatchRule(nullptr, parser, "AB"), nullptr);
    EXPECT_EQ(FindBestMatchRule(s_engine, nullptr, "AB"), nullptr);
}

// Records the names it is shown and stops after `limit` of them.
class RecordingVisitor final : public zefa::msg_filter::IVisitor<ZefaMsgParserRule> {
public:
    explicit RecordingVisitor(std::size_t limit)
        : m_limit(limit)
    {
    }
    bool visit(ZefaMsgParserRule* rule) override
    {
        names.push_back(rule->getName());
        return names.size() < m_limit;
    }
    std::vector<std::string> names;

private:
    std::size_t m_limit;
};

TEST_F(BestRule, WalkGoesInByteOrderSkipsUndefinedAndStopsOnRequest)
{
    ZefaEnginMsgParser* ties = s_engine->getTarget("t")->getEngine("ties");
    RecordingVisitor all(100);
    VisitRulesForEngine(s_engine, ties, &all);
    EXPECT_EQ(all.names, (std::vector<std::string> { "B-upper", "a-lower", "abc", "abcd" }));

    RecordingVisitor firstTwo(2);
    VisitRulesForEngine(s_engine, ties, &firstTwo);
    EXPECT_EQ(firstTwo.names, (std::vector<std::string> { "B-upper", "a-lower" }));

    RecordingVisitor dangling(100);
    VisitRulesForEngine(s_engine, s_engine->getTarget("t")->getEngine("dangling"), &dangling);
    EXPECT_EQ(dangling.names, (std::vector<std::string> { "defined-later" }));

    RecordingVisitor untouched(100);
    VisitRulesForEngine(nullptr, ties, &untouched);
    VisitRulesForEngine(s_engine, ties, nullptr);
    EXPECT_TRUE(untouched.names.empty());
}

TEST(EngineTables, InsertCopiesAndNeverReplaces)
{
    ZefaMsgParserEngin engine;
    const auto first = engine.addMsgFilterRule("r", ZefaMsgParserRule("r", "First", "a"));
    ASSERT_TRUE(first.first);
    const auto second = engine.addMsgFilterRule("r", ZefaMsgParserRule("r", "Second", "b"));
    EXPECT_FALSE(second.first);
    EXPECT_EQ(second.second, first.second);
    EXPECT_EQ(second.second->getType(), "First");

    const auto target = engine.addDeviceTarget("t", ZefaMsgTarget("t"));
    ASSERT_TRUE(target.first);
    EXPECT_FALSE(engine.addDeviceTarget("t", ZefaMsgTarget("other")).first);
    const auto parser = target.second->addEnginParsser("e", ZefaEnginMsgParser("e"));
    ASSERT_TRUE(parser.first);
    EXPECT_FALSE(target.second->addEnginParsser("e", ZefaEnginMsgParser("e")).first);
    EXPECT_TRUE(parser.second->addRule("r"));
    EXPECT_FALSE(parser.second->addRule("r"));

    // Present in the tables, yet not handed out: the engine was never loaded.
    EXPECT_EQ(engine.getRule("r"), nullptr);
    EXPECT_EQ(engine.getTarget("t"), nullptr);
    EXPECT_EQ(FindBestMatchRule(&engine, parser.second, "a"), nullptr);
}

TEST(EngineLoading, FailedLoadLeavesNothingAndCanBeRetried)
{
    DataDirectory directory;
    DataPathOverride dataPath(directory.path());
    ZefaMsgParserEngin engine;

    EXPECT_FALSE(engine.loadFilterRules()) << "no file yet";
    EXPECT_FALSE(engine.isInitialized());

    // Well-formed up to the last line, which breaks the document.
    directory.write(R"(<ZefaMsgFilterDef>
  <TargetDevice name="t"><Engine name="e"><Rule name="r"/></Engine></TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x"/>
</ZefaMsgFilterDe>)");
    EXPECT_FALSE(engine.loadFilterRules());
    EXPECT_FALSE(engine.isInitialized());
    EXPECT_EQ(engine.getTarget("t"), nullptr);
    EXPECT_EQ(engine.getRule("r"), nullptr);
    EXPECT_TRUE(engine.getTargets().empty());
    EXPECT_TRUE(engine.getRules().empty());

    directory.write(R"(<ZefaMsgFilterDef>
  <TargetDevice name="t"><Engine name="e"><Rule name="r"/></Engine></TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x"/>
</ZefaMsgFilterDef>)");
    EXPECT_TRUE(engine.loadFilterRules());
    EXPECT_TRUE(engine.isInitialized());
    ASSERT_NE(engine.getTarget("t"), nullptr);
    ASSERT_NE(engine.getRule("r"), nullptr);

    // Loaded is final: a changed file is not read again.
    directory.write("<ZefaMsgFilterDef/>");
    EXPECT_FALSE(engine.loadFilterRules());
    EXPECT_FALSE(engine.loadFilterRulesFromFile(directory.definitionFileName()));
    EXPECT_NE(engine.getRule("r"), nullptr);
    EXPECT_EQ(engine.getRules().size(), 1U);
}

TEST(EngineLoading, ReadsTheDataDirectoryCurrentAtEachAttempt)
{
    DataDirectory empty;
    DataDirectory filled;
    filled.write(
        R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x"/></ZefaMsgFilterDef>)");
    ZefaMsgParserEngin engine;
    {
        DataPathOverride dataPath(empty.path());
        EXPECT_FALSE(engine.loadFilterRules());
    }
    DataPathOverride dataPath(filled.path());
    EXPECT_TRUE(engine.loadFilterRules());
    EXPECT_NE(engine.getRule("r"), nullptr);
}

} // namespace
