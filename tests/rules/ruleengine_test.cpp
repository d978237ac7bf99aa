#include <msgfilter/zefamsgfilter.h>
#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTextCodec>

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;
using Fields = std::vector<std::pair<std::string, std::string>>;

TEST(RuleMatch, GivesTheLengthOfTheLeftmostMatch)
{
    const std::tuple<const char*, const char*, std::string, int> rows[] = {
        { "later in line", "ERROR", "12: ERROR here\n", 5 },
        { "leftmost, not longest", "a+", "a baaaa", 1 },
        { "empty match", "x*", "abc", 0 },
        { "no match", "WARNING", "warning\n", -1 },
        { "unclosed bracket", "[a-z", "abc", -1 },
        { "eight-bit bytes", "caf.", "le caf\xe9!", 4 },
        { "NUL byte", "b", std::string("a\0b", 3), 1 },
    };
    for (const auto& [name, pattern, line, length] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(ZefaMsgParserRule("r", "T", pattern).match(line), length);
    }
}

TEST(SubRuleMatch, FirstMatchingSubRuleGivesPositionTypeIdAndAppendedFields)
{
    // The rule's own pattern plays no part in choosing a sub-rule; the invalid one never matches.
    ZefaMsgParserRule rule("r", "T", "does not occur");
    for (const auto& sub : std::vector<ZefaMsgParserRule::SubRule> { { "", "Bad", "0", "(", {} },
             { "", "A", "1", "^(\\w+):", { "w" } }, { "", "B", "2", "line (\\d+)", { "n" } },
             { "", "C", "3", "(\\w)(\\w)(\\w)=", { "a", "b" } },
             { "", "D", "", "(\\w)!", { "a", "b" } }, { "", "E", "5", "(p)|(q)", { "p", "q" } },
             { "", "F", "6", "x", {} }, { "", "G", "7", "xxxxx", {} } }) {
        rule.addSubRule(sub);
    }
    // name, line, position and type/id, fields appended after the caller's pair
    const std::tuple<const char*, const char*, const char*, Fields> rows[] = {
        { "none matches", "baz", "-1 old/old", {} },
        { "at line start", "top: x", "0 A/1", { { "w", "top" } } },
        { "position, not length", "at line 42", "3 B/2", { { "n", "42" } } },
        { "surplus groups unnamed", "xyz=", "0 C/3", { { "a", "x" }, { "b", "y" }, { "", "z" } } },
        { "surplus names ignored", "-y!", "1 D/", { { "a", "y" } } },
        { "group outside the match", "q", "0 E/5", { { "p", "" }, { "q", "q" } } },
        { "first, not longest", "xxxxx", "0 F/6", {} },
    };
    for (const auto& [name, line, outcome, fields] : rows) {
        SCOPED_TRACE(name);
        std::string type = "old", id = "old";
        Fields got { { "pre", "kept" } };
        const int position = rule.matchSubRule(line, type, id, got);
        EXPECT_EQ(std::to_string(position) + " " + type + "/" + id, outcome);
        Fields expected { { "pre", "kept" } };
        expected.insert(expected.end(), fields.begin(), fields.end());
        EXPECT_EQ(got, expected);
    }
}

// A rule keeps its compiled patterns: reused, it must answer every line as a rule built
// afresh would, whatever the line before matched, invalid patterns included.
TEST(RuleReuse, AnswersEveryLineAsAFreshRuleWould)
{
    const auto outcome = [](const ZefaMsgParserRule& rule, const std::string& line) {
        std::string type, id;
        Fields fields;
        return std::make_tuple(rule.match(line), rule.matchSubRule(line, type, id, fields), fields);
    };
    for (const std::string pattern :
        { "(a)?(b)?", "x*", "", "(unclosed", "[a-", "(a)\\1", "\\b(\\w+)$", "(x)|(y)" }) {
        ZefaMsgParserRule reused("r", "T", pattern);
        reused.addSubRule({ "", "A", "1", pattern, {} });
        for (const std::string line : { "ab", "b", "zzz", "", "aa", "y x", "ab", "x" }) {
            SCOPED_TRACE(pattern + " / " + line);
            ZefaMsgParserRule fresh("r", "T", pattern);
            fresh.addSubRule({ "", "A", "1", pattern, {} });
            EXPECT_EQ(outcome(reused, line), outcome(fresh, line));
        }
    }
}

// Writes `xml` as the definition file of `directory` and returns the file's path.
std::string writeRules(const QTemporaryDir& directory, const QByteArray& xml)
{
    QFile file(directory.filePath(QStringLiteral("enginemsg.xml")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(xml) == xml.size());
    return file.fileName().toStdString();
}

// Rules are listed out of byte order; "some" has rules that miss where "all" finds one.
const QByteArray kBestRuleXml = R"(<ZefaMsgFilterDef><TargetDevice name="t">
  <Engine name="all"><Rule name="early"/><Rule name="late"/><Rule name="abcd"/><Rule name="abc"/>
    <Rule name="a-"/><Rule name="B-"/><Rule name="any"/><Rule name="broken"/><Rule name="undefined"/>
    <Rule name="def"/></Engine><Engine name="some"><Rule name="def"/></Engine>
  </TargetDevice>
  <FilterRule name="early" type="T" reg_patten="^AB"/><FilterRule name="late" type="T" reg_patten="XYZW"/>
  <FilterRule name="abcd" type="T" reg_patten="tie"/><FilterRule name="abc" type="T" reg_patten="tie"/>
  <FilterRule name="a-" type="T" reg_patten="tie"/><FilterRule name="B-" type="T" reg_patten="tie"/>
  <FilterRule name="any" type="T" reg_patten="z*"/><FilterRule name="broken" type="T" reg_patten="([a-z]+"/>
  <FilterRule name="def" type="T" reg_patten="def"/></ZefaMsgFilterDef>)";

TEST(BestRule, IsTheLongestMatchThenTheLowestName)
{
    ZefaMsgParserEngin engine;
    ASSERT_TRUE(engine.loadFilterRulesFromFile(writeRules(QTemporaryDir(), kBestRuleXml)));
    const std::tuple<const char*, const char*, const char*, std::string> rows[] = {
        { "longer later match beats match at start", "all", "AB then XYZW\n", "late" },
        { "tie: lowest name byte-wise", "all", "a tie\n", "B-" },
        { "empty match beats no match", "all", "plain\n", "any" },
        { "invalid pattern never wins", "all", "abc\n", "any" },
        { "undefined names skipped", "all", "def\n", "def" },
        { "no rule matches", "some", "plain\n", "" },
    };
    for (const auto& [name, engineName, line, expected] : rows) {
        SCOPED_TRACE(name);
        const ZefaMsgParserRule* rule =
            FindBestMatchRule(&engine, engine.getTarget("t")->getEngine(engineName), line);
        EXPECT_EQ(rule == nullptr ? "" : rule->getName(), expected);
    }
    EXPECT_EQ(FindBestMatchRule(&engine, nullptr, "AB"), nullptr);
}

// Everything an engine holds, one line per engine, rule and sub-rule, in table order.
std::string describe(const ZefaMsgParserEngin& engine)
{
    std::string out;
    for (const auto& [targetName, target] : engine.getTargets()) {
        for (const auto& [engineName, parser] : target.getEngines()) {
            out += targetName + "/" + engineName + ":";
            for (const std::string& ruleName : parser.getRuleNames()) {
                out += " <" + ruleName + ">";
            }
            out += "\n";
        }
    }
    for (const auto& [ruleName, rule] : engine.getRules()) {
        out += "rule " + ruleName + " [" + rule.getType() + "] " + rule.getRegPatten() + "\n";
        for (const auto& sub : rule.getSubRules()) {
            out += " sub " + sub.name + "|" + sub.type + "|" + sub.id + "|" + sub.reg_patten + "|";
            for (const std::string& field : sub.fields) {
                out += "<" + field + ">";
            }
            out += "\n";
        }
    }
    return out;
}

// A rule file whose DTD declares `entities` ("name" "value" pairs, or whole declarations)
// and whose only rule has the type `type`.
QByteArray entityRules(const QByteArray& entities, const QByteArray& type)
{
    return "<!DOCTYPE ZefaMsgFilterDef [" + entities
        + "]><ZefaMsgFilterDef><FilterRule name=\"r\" type=\"" + type
        + "\" reg_patten=\"x\"/></ZefaMsgFilterDef>";
}

TEST(DefinitionReader, FillsTheTablesAsWritten)
{
    const std::tuple<const char*, QByteArray, bool, std::string> rows[] = {
        { "first of each name stands, whole", R"x(<?xml version="1.0"?><!-- one family -->
<ZefaMsgFilterDef><TargetDevice name="t">
  <Engine name="e"><Rule name="w"/><Rule name="r"/></Engine><Engine name="e"><Rule name="2"/></Engine>
</TargetDevice><TargetDevice name="t"><Engine name="f"/></TargetDevice>
  <FilterRule name="w" type="W" reg_patten="^W"><SubRule type="S" id="1" reg_patten="(\S+):(\d+)" fields="file, line"/></FilterRule>
  <FilterRule name="w" type="X" reg_patten="x"><SubRule type="S2" reg_patten="2"/></FilterRule>
</ZefaMsgFilterDef>)x",
            true, "t/e: <r> <w>\nrule w [W] ^W\n sub |S|1|(\\S+):(\\d+)|<file><line>\n" },
        { "empty root", "<ZefaMsgFilterDef/>", true, "" },
        { "wrong root", R"(<Other><FilterRule name="r" type="T" reg_patten="x"/></Other>)", false,
            "" },
        { "broken last line", R"(<ZefaMsgFilterDef><FilterRule name="r" type="T" reg_patten="x"/>
<TargetDevice name="t"></ZefaMsgFilterDef>)",
            false, "" },
        { "missing attributes", R"(<ZefaMsgFilterDef>
  <TargetDevice><Engine name="lost"/></TargetDevice><TargetDevice name=""><Engine name="lost"/></TargetDevice>
  <TargetDevice name="t"><Engine/><Engine name=""/><Engine name="e"><Rule name=""/><Rule/></Engine></TargetDevice>
  <FilterRule name="no-type" reg_patten="x"/><FilterRule name="no-pattern" type="T"/>
  <FilterRule type="T" reg_patten="x"/><FilterRule name="" type="" reg_patten=""/>
  <FilterRule name="r" type="T" reg_patten="x" colour="red">
    <SubRule name="n" type="A" id="7" reg_patten="p" fields="f"/><SubRule type="B" reg_patten=""><C/></SubRule>
    <SubRule name="no-type" reg_patten="q"/><SubRule name="no-pattern" type="C"/>
  </FilterRule></ZefaMsgFilterDef>)",
            true, "t/e: <>\nrule  [] \nrule r [T] x\n sub n|A|7|p|<f>\n sub |B|||\n" },
        { "fields split at comma and following blanks", R"(<ZefaMsgFilterDef>
  <FilterRule name="r" type="T" reg_patten="x"><SubRule type="A" reg_patten="1" fields="file, line,col"/>
  <SubRule type="B" reg_patten="2" fields="a ,b"/><SubRule type="C" reg_patten="3" fields=", a"/>
  <SubRule type="D" reg_patten="4" fields=" a,,&#9;&#10; caf&#xE9;,"/></FilterRule></ZefaMsgFilterDef>)",
            true,
            "rule r [T] x\n sub |A||1|<file><line><col>\n sub |B||2|<a ><b>\n sub |C||3|<a>\n"
            " sub |D||4|< a><caf\xe9>\n" },
        { "unknown elements skipped at every level", R"(<x:ZefaMsgFilterDef xmlns:x="urn:x">
  <Unknown><TargetDevice name="hidden"/><FilterRule name="hidden" type="T" reg_patten="x"/></Unknown>
  <TargetDevice name="t"><Note><Engine name="hidden"/></Note><engine name="case"/>
    <Engine name="e"><Extra><Rule name="hidden"/></Extra><Rule name="r"/></Engine></TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x">
    <a><b><SubRule type="hidden" reg_patten="x"/></b></a><SubRule type="S" reg_patten="y"/>
  </FilterRule><?processing instruction?> text
</x:ZefaMsgFilterDef>)",
            true, "t/e: <r>\nrule r [T] x\n sub |S||y|\n" },
        { "a short entity used often",
            entityRules("<!ENTITY v 'ab'>", QByteArray("&v;").repeated(3000)), true,
            "rule r [" + std::string(QByteArray("ab").repeated(3000)) + "] x\n" },
        { "a long entity used once",
            entityRules("<!ENTITY long '" + QByteArray(4000, 'b') + "'>", "&long;"), true,
            "rule r [" + std::string(4000, 'b') + "] x\n" },
        { "a long entity used once in a declared encoding",
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                + entityRules("<!ENTITY long '\xe9" + QByteArray(4000, 'b') + "'>", "&long;"),
            true, "rule r [\xe9" + std::string(4000, 'b') + "] x\n" },
        { "a long entity used once in UTF-16",
            QTextCodec::codecForName("UTF-16")->fromUnicode(QString::fromLatin1(
                entityRules("<!ENTITY long '" + QByteArray(4000, 'b') + "'>", "&long;"))),
            true, "rule r [" + std::string(4000, 'b') + "] x\n" },
        { "a long entity used past the bound in UTF-16",
            QTextCodec::codecForName("UTF-16")->fromUnicode(QString::fromLatin1(entityRules(
                "<!ENTITY e '" + QByteArray(4000, 'a') + "'>", QByteArray("&e;").repeated(30000)))),
            false, "" },
        { "a long entity used past the bound",
            entityRules(
                "<!ENTITY e '" + QByteArray(4000, 'a') + "'>", QByteArray("&e;").repeated(30000)),
            false, "" },
        { "nested entities",
            entityRules("<!ENTITY a 'aaaaaaaaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;'>"
                        "<!ENTITY c '&b;&b;&b;&b;&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;'>",
                QByteArray("&d;").repeated(2000)),
            false, "" },
        { "an entity no longer than its reference in an attribute default",
            entityRules("<!ENTITY v 'ab'><!ATTLIST FilterRule type CDATA '&v;'>", "T"), true,
            "rule r [T] x\n" },
        { "a longer entity in an attribute default",
            entityRules("<!ENTITY v 'abcd'><!ATTLIST FilterRule type CDATA '&v;'>", "T"), false,
            "" },
    };
    for (const auto& [name, xml, loaded, tables] : rows) {
        SCOPED_TRACE(name);
        ZefaMsgParserEngin engine;
        EXPECT_EQ(engine.loadFilterRulesFromFile(writeRules(QTemporaryDir(), xml)), loaded);
        EXPECT_EQ(describe(engine), tables);
    }
}

// The process-wide engine cannot be reset: its whole life is this one test, and no other
// test of this program may touch it.
TEST(ProcessWideEngine, RetriesUntilLoadedThenNeverReloads)
{
    QTemporaryDir directory;
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(directory.path()));
    ZefaMsgParserEngin* engine = ZefaMsgParserEngin::getMsgParserEngin();
    EXPECT_FALSE(engine->isInitialized()) << "no file";
    writeRules(directory, kBestRuleXml.chopped(2)); // cut off in the closing tag
    zefa::msg_filter::ZefaMsgFilter early("t");
    EXPECT_TRUE(
        !engine->isInitialized() && engine->getTargets().empty() && engine->getRules().empty());
    writeRules(directory, kBestRuleXml);
    EXPECT_TRUE(ZefaMsgParserEngin::getMsgParserEngin() == engine && engine->isInitialized());
    writeRules(directory, "<ZefaMsgFilterDef/>");
    EXPECT_FALSE(engine->loadFilterRules());
    EXPECT_NE(engine->getRule("late"), nullptr) << "loaded rules are final";
    // The target is looked up only when its name changes: the early filter keeps its miss.
    zefa::msg_filter::ZefaMsgFilter late("t");
    for (auto* filter : { &early, &late }) {
        filter->setTarget("t");
        filter->setEngine("all");
        filter->filterMessage("XYZW\n");
    }
    EXPECT_EQ(early.getResults().back().rule + "/" + late.getResults().back().rule, "/late");
}

} // namespace
