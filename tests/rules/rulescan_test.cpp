// The best rule comes from a scan built once per engine rule set; it must follow every
// change of the tables it was built from, and answer several threads at once.

#include "rules/linematch.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

std::string bestName(
    ZefaMsgParserEngin& engine, ZefaEnginMsgParser* parser, const std::string& line)
{
    const ZefaMsgParserRule* rule = FindBestMatchRule(&engine, parser, line);
    return rule == nullptr ? "none" : rule->getName();
}

std::string writeRules(const QTemporaryDir& directory, const QByteArray& xml)
{
    QFile file(directory.filePath(QStringLiteral("enginemsg.xml")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(xml) == xml.size());
    return file.fileName().toStdString();
}

// An engine loaded from a file whose engine "e" names "short" and "missing"; only
// "short" is defined.
class ScanTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_engine.loadFilterRulesFromFile(writeRules(m_directory,
            R"(<ZefaMsgFilterDef><TargetDevice name="t"><Engine name="e">
            <Rule name="short"/><Rule name="missing"/></Engine></TargetDevice>
            <FilterRule name="short" type="T" reg_patten="ab"/></ZefaMsgFilterDef>)")));
        m_parser = m_engine.getTarget("t")->getEngine("e");
        ASSERT_EQ(bestName(m_engine, m_parser, "xabcd"), "short");
    }

    QTemporaryDir m_directory;
    ZefaMsgParserEngin m_engine;
    ZefaEnginMsgParser* m_parser = nullptr;
};

TEST_F(ScanTest, RuleDefinedLaterForANameAlreadyListed)
{
    m_engine.addMsgFilterRule("missing", ZefaMsgParserRule("missing", "T", "abcd"));
    EXPECT_EQ(bestName(m_engine, m_parser, "xabcd"), "missing");
}

TEST_F(ScanTest, NameAddedToTheEngineRuleSet)
{
    m_engine.addMsgFilterRule("added", ZefaMsgParserRule("added", "T", "abc"));
    EXPECT_EQ(bestName(m_engine, m_parser, "xabcd"), "short");
    m_parser->addRule("added");
    EXPECT_EQ(bestName(m_engine, m_parser, "xabcd"), "added");
}

TEST_F(ScanTest, RuleAssignedThroughTheHandedOutPointer)
{
    *m_engine.getRule("short") = ZefaMsgParserRule("short", "T", "zz");
    EXPECT_EQ(bestName(m_engine, m_parser, "xabcd"), "none");
    EXPECT_EQ(bestName(m_engine, m_parser, "zz"), "short");
}

TEST_F(ScanTest, CopiesAnswerWithTheirOwnRules)
{
    ZefaMsgParserEngin copy = m_engine;
    const ZefaMsgParserRule* fromCopy = FindBestMatchRule(&copy, m_parser, "xabcd");
    EXPECT_EQ(fromCopy, copy.getRule("short"));
    ZefaEnginMsgParser parserCopy = *m_parser;
    parserCopy.addRule("other");
    copy.addMsgFilterRule("other", ZefaMsgParserRule("other", "T", "abcd"));
    EXPECT_EQ(bestName(copy, &parserCopy, "xabcd"), "other");
    EXPECT_EQ(bestName(copy, m_parser, "xabcd"), "short");
    // The original never saw "other".
    EXPECT_EQ(bestName(m_engine, m_parser, "xabcd"), "short");
    // Assigned, the engine holds new tables (and a new parser); the scan built over the
    // old ones must not answer.
    m_engine = copy;
    ZefaEnginMsgParser* assigned = m_engine.getTarget("t")->getEngine("e");
    EXPECT_EQ(FindBestMatchRule(&m_engine, assigned, "xabcd"), m_engine.getRule("short"));
}

TEST_F(ScanTest, SeveralThreadsGetTheSameAnswers)
{
    m_engine.addMsgFilterRule("missing", ZefaMsgParserRule("missing", "T", "(?=c)cd+"));
    const std::vector<std::pair<std::string, std::string>> lines = { { "xab", "short" },
        { "abcd", "missing" }, { "cddd", "missing" }, { "none here", "none" } };
    std::vector<std::string> wrong(4);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < wrong.size(); ++thread) {
        threads.emplace_back([&, thread] {
            for (int round = 0; round < 500; ++round) {
                for (const auto& [line, expected] : lines) {
                    if (bestName(m_engine, m_parser, line) != expected) {
                        wrong[thread] = line;
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, std::vector<std::string>(4));
}

// One call tells what FindBestMatchRule and matchSubRule tell, and where each matched.
TEST(LineMatch, TellsTheRuleTheSubRuleAndWhereEachMatched)
{
    ZefaMsgParserEngin engine;
    ASSERT_TRUE(engine.loadFilterRulesFromFile(writeRules(QTemporaryDir(),
        R"(<ZefaMsgFilterDef><TargetDevice name="t"><Engine name="e">
        <Rule name="tag"/><Rule name="bare"/></Engine></TargetDevice>
        <FilterRule name="tag" type="T" reg_patten="\w+: \[[^\]]+\]">
          <SubRule type="warning" id="W1" reg_patten="^WARNING: \[(\S+)\] .*\[(\S+):(\d+)\]$"
                   fields="tag, file, line"/>
          <SubRule type="note" id="N" reg_patten="\[(\S+)\]( x)?" fields="tag"/>
        </FilterRule>
        <FilterRule name="bare" type="T" reg_patten="^bare"/></ZefaMsgFilterDef>)")));
    ZefaEnginMsgParser* parser = engine.getTarget("t")->getEngine("e");
    // line; rule position/length; sub-rule index position/length, type, id, fields; the
    // rule's position/length as a matcher that leaves the rule unplaced tells them
    const std::tuple<const char*, std::string, std::string, std::string> rows[] = {
        { "first sub-rule", "WARNING: [S-1] x [a.v:3]",
            "tag 0/14; 0 0/24 warning W1 tag=S-1 file=a.v line=3", "-1/-1" },
        { "later sub-rule, later in the line", " > INFO: [X-2] y",
            "tag 3/11; 1 9/5 note N tag=X-2 =", "-1/-1" },
        { "two rules match: both measured", "bare: [x]", "tag 0/9; 1 6/3 note N tag=x =", "0/9" },
        { "no sub-rule matches", "bare", "bare 0/4; -1 -1/-1  ", "-1/-1" },
        { "no rule matches", "plain", "none -1/-1; -1 -1/-1  ", "-1/-1" },
    };
    const auto describe = [](const LineMatch& found) {
        std::string text = (found.rule ? found.rule->getName() : "none") + " "
            + std::to_string(found.position) + "/" + std::to_string(found.length) + "; "
            + std::to_string(found.subRule) + " " + std::to_string(found.subRulePosition) + "/"
            + std::to_string(found.subRuleLength) + " " + found.type + " " + found.id;
        for (const auto& [field, value] : found.fields) {
            text += " " + field + "=" + value;
        }
        return text;
    };
    const LineMatcher unplaced(&engine, parser, LineMatcher::Rule::Unplaced);
    for (const auto& [name, line, expected, unplacedSpan] : rows) {
        SCOPED_TRACE(name);
        const LineMatch found = matchLine(&engine, parser, line);
        EXPECT_EQ(describe(found), expected);
        EXPECT_EQ(found.rule, FindBestMatchRule(&engine, parser, line));
        LineMatch placedAsUnplaced = found;
        const LineMatch withoutPlace = unplaced(line);
        placedAsUnplaced.position = withoutPlace.position;
        placedAsUnplaced.length = withoutPlace.length;
        EXPECT_EQ(describe(withoutPlace), describe(placedAsUnplaced));
        EXPECT_EQ(std::to_string(withoutPlace.position) + "/" + std::to_string(withoutPlace.length),
            unplacedSpan);
    }
    EXPECT_EQ(matchLine(&engine, nullptr, "bare").rule, nullptr);
}

} // namespace
