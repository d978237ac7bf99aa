#include "rulestestsupport.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using rules_test::DataDirectory;
using rules_test::DataPathOverride;
using rules_test::describe;
using zefa::msg_filter::impl_detail::ZefaMsgParserEngin;

struct ReaderRow {
    const char* name;
    QByteArray xml;
    bool expectedLoaded;
    std::string expectedTables; // see describe(); empty for a failed load
};

class DefinitionReader : public testing::TestWithParam<ReaderRow> { };

TEST_P(DefinitionReader, FillsTheTablesAsWritten)
{
    const ReaderRow& row = GetParam();
    DataDirectory directory;
    directory.write(row.xml);
    DataPathOverride dataPath(directory.path());
    ZefaMsgParserEngin engine;
    EXPECT_EQ(engine.loadFilterRules(), row.expectedLoaded);
    EXPECT_EQ(engine.isInitialized(), row.expectedLoaded);
    EXPECT_EQ(describe(engine), row.expectedTables);
}

INSTANTIATE_TEST_SUITE_P(Grammar, DefinitionReader,
    testing::Values(ReaderRow { "ExampleFile",
                        R"xml(<?xml version="1.0" encoding="UTF-8"?>
<!-- rules of one family -->
<ZefaMsgFilterDef>
  <TargetDevice name="family1">
    <Engine name="default"><Rule name="err"/><Rule name="warn"/></Engine>
  </TargetDevice>
  <FilterRule name="err" type="Error" reg_patten="^ERROR"/>
  <FilterRule name="warn" type="Warning" reg_patten="^WARNING">
    <SubRule type="Warning" id="1001" reg_patten="^WARNING - (\S+): line (\d+)" fields="file, line"/>
  </FilterRule>
</ZefaMsgFilterDef>
)xml",
                        true,
                        "target family1\n engine default: <err>,<warn>\n"
                        "rule err [Error] ^ERROR\nrule warn [Warning] ^WARNING\n"
                        " sub |Warning|1001|^WARNING - (\\S+): line (\\d+)|<file>;<line>\n" },
        ReaderRow { "EmptyRootLoads", "<ZefaMsgFilterDef/>", true, "" },
        ReaderRow { "EmptyFileFails", "", false, "" },
        ReaderRow {
            "NoRootElementFails", "<?xml version=\"1.0\"?>\n<!-- nothing -->\n", false, "" },
        ReaderRow { "WrongRootFails",
            R"(<Filters><FilterRule name="r" type="T" reg_patten="x"/></Filters>)", false, "" },
        ReaderRow { "RootNameIsCaseSensitive", "<zefamsgfilterdef/>", false, "" },
        ReaderRow { "BrokenLastLineDiscardsEverything",
            R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x"/>
<FilterRule name="s" type="T" reg_patten="y"></ZefaMsgFilterDef>)",
            false, "" },
        ReaderRow { "UnclosedRootFails",
            R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x"/>)", false, "" },
        ReaderRow { "SecondRootElementFails", "<ZefaMsgFilterDef/><ZefaMsgFilterDef/>", false, "" },
        ReaderRow { "RootFoundByLocalName",
            R"(<x:ZefaMsgFilterDef xmlns:x="urn:x"><x:FilterRule name="r" type="T" reg_patten="p"/></x:ZefaMsgFilterDef>)",
            true, "rule r [T] p\n" },
        ReaderRow { "DuplicateTargetIgnoredWithItsEngines",
            R"(<ZefaMsgFilterDef>
  <TargetDevice name="t"><Engine name="a"><Rule name="r1"/></Engine></TargetDevice>
  <TargetDevice name="t"><Engine name="b"><Rule name="r2"/></Engine></TargetDevice>
</ZefaMsgFilterDef>)",
            true, "target t\n engine a: <r1>\n" },
        ReaderRow { "DuplicateEngineIgnoredWithItsRules",
            R"(<ZefaMsgFilterDef><TargetDevice name="t">
  <Engine name="e"><Rule name="r1"/></Engine>
  <Engine name="e"><Rule name="r2"/></Engine>
  <Engine name="f"/>
</TargetDevice></ZefaMsgFilterDef>)",
            true, "target t\n engine e: <r1>\n engine f:\n" },
        ReaderRow { "TargetAndEngineNeedNonEmptyName",
            R"(<ZefaMsgFilterDef>
  <TargetDevice><Engine name="lost"/></TargetDevice>
  <TargetDevice name=""><Engine name="lost"/></TargetDevice>
  <TargetDevice Name="t"><Engine name="lost"/></TargetDevice>
  <TargetDevice name="t"><Engine/><Engine name=""><Rule name="lost"/></Engine><Engine name="e"/></TargetDevice>
</ZefaMsgFilterDef>)",
            true, "target t\n engine e:\n" },
        ReaderRow { "RuleNamesSortedEmptyKeptRepeatsOnce",
            R"(<ZefaMsgFilterDef><TargetDevice name="t"><Engine name="e">
  <Rule name="zeta"/><Rule name="Alpha"/><Rule name=""/><Rule/><Rule name="zeta"><Nested/></Rule><Rule name="beta"/>
</Engine></TargetDevice></ZefaMsgFilterDef>)",
            true, "target t\n engine e: <>,<Alpha>,<beta>,<zeta>\n" },
        ReaderRow { "FilterRuleNeedsAllThreeAttributesEmptyAllowed",
            R"(<ZefaMsgFilterDef>
  <FilterRule name="no-type" reg_patten="x"><SubRule type="S" reg_patten="y"/></FilterRule>
  <FilterRule name="no-pattern" type="T"/>
  <FilterRule type="T" reg_patten="x"/>
  <FilterRule name="" type="" reg_patten=""/>
  <FilterRule name="extra" type="T" reg_patten="x" colour="red"/>
</ZefaMsgFilterDef>)",
            true, "rule  [] \nrule extra [T] x\n" },
        ReaderRow { "DuplicateFilterRuleFirstStandsWithSubRules",
            R"(<ZefaMsgFilterDef>
  <FilterRule name="r" type="First" reg_patten="a"><SubRule type="S1" reg_patten="1"/></FilterRule>
  <FilterRule name="r" type="Second" reg_patten="b"><SubRule type="S2" reg_patten="2"/></FilterRule>
</ZefaMsgFilterDef>)",
            true, "rule r [First] a\n sub |S1||1|\n" },
        ReaderRow { "SubRuleAttributes",
            R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x">
  <SubRule name="full" type="A" id="7" reg_patten="p" fields="f"/>
  <SubRule type="B" reg_patten="q"/>
  <SubRule name="no-type" reg_patten="q"/>
  <SubRule name="no-pattern" type="C"/>
  <SubRule type="D" reg_patten="" fields=""><Ignored><Deeper/></Ignored></SubRule>
  <SubRule type="E" reg_patten="r"/>
</FilterRule></ZefaMsgFilterDef>)",
            true, "rule r [T] x\n sub full|A|7|p|<f>\n sub |B||q|\n sub |D|||\n sub |E||r|\n" },
        ReaderRow { "FieldsSplitAtCommaAndFollowingBlanks",
            R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x">
  <SubRule type="A" reg_patten="1" fields="file, line,col"/>
  <SubRule type="B" reg_patten="2" fields="a ,b"/>
  <SubRule type="C" reg_patten="3" fields=", a"/>
  <SubRule type="D" reg_patten="4" fields="a,,b,"/>
  <SubRule type="E" reg_patten="5" fields="a,&#9;&#10; b"/>
  <SubRule type="F" reg_patten="6" fields=" lead"/>
</FilterRule></ZefaMsgFilterDef>)",
            true,
            "rule r [T] x\n sub |A||1|<file>;<line>;<col>\n sub |B||2|<a >;<b>\n"
            " sub |C||3|<a>\n sub |D||4|<a>;<b>\n sub |E||5|<a>;<b>\n"
            " sub |F||6|< lead>\n" },
        ReaderRow { "UnknownElementsAtEveryLevelAreSkipped",
            R"(<ZefaMsgFilterDef>
  <Unknown><TargetDevice name="hidden"/><FilterRule name="hidden" type="T" reg_patten="x"/></Unknown>
  <TargetDevice name="t">
    <Comment><Engine name="hidden"/></Comment>
    <Engine name="e"><Extra><Rule name="hidden"/></Extra><Rule name="r"/></Engine>
    <engine name="lower-case"/>
  </TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x">
    <a><b><c><d><SubRule type="hidden" reg_patten="x"/></d></c></b></a>
    <SubRule type="S" reg_patten="y"/>
  </FilterRule>
  <?processing instruction?>
  text between elements
</ZefaMsgFilterDef>)",
            true, "target t\n engine e: <r>\nrule r [T] x\n sub |S||y|\n" },
        ReaderRow { "RuleMayNameFilterRuleDefinedLaterOrNever",
            R"(<ZefaMsgFilterDef>
  <TargetDevice name="t"><Engine name="e"><Rule name="later"/><Rule name="never"/></Engine></TargetDevice>
  <FilterRule name="later" type="T" reg_patten="x"/>
</ZefaMsgFilterDef>)",
            true, "target t\n engine e: <later>,<never>\nrule later [T] x\n" },
        ReaderRow { "AttributeValuesAreUnescapedAndNarrowed",
            R"(<ZefaMsgFilterDef><FilterRule name="caf&#xE9;&#x20AC;" type="&quot;T&quot;" reg_patten="a&lt;b&amp;c"/></ZefaMsgFilterDef>)",
            true, "rule caf\xe9? [\"T\"] a<b&c\n" }),
    [](const testing::TestParamInfo<ReaderRow>& info) { return std::string(info.param.name); });

TEST(DefinitionReaderFile, MissingFileFailsQuietly)
{
    DataDirectory directory;
    DataPathOverride dataPath(directory.path());
    ZefaMsgParserEngin engine;
    EXPECT_FALSE(engine.loadFilterRules());
    EXPECT_FALSE(engine.loadFilterRulesFromFile(directory.definitionFileName() + ".missing"));
    EXPECT_FALSE(engine.isInitialized());
}

} // namespace
