// The best rule comes from a scan built once per engine rule set; it must follow every
// change of the tables it was built from, and answer several threads at once.

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <thread>
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

// An engine loaded from a file whose engine "e" names "short" and "missing"; only
// "short" is defined.
class ScanTest : public testing::Test {
protected:
    void SetUp() override
    {
        QFile file(m_directory.filePath(QStringLiteral("enginemsg.xml")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(R"(<ZefaMsgFilterDef><TargetDevice name="t"><Engine name="e">
            <Rule name="short"/><Rule name="missing"/></Engine></TargetDevice>
            <FilterRule name="short" type="T" reg_patten="ab"/></ZefaMsgFilterDef>)");
        file.close();
        ASSERT_TRUE(m_engine.loadFilterRulesFromFile(file.fileName().toStdString()));
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
    m_engine = copy;
    EXPECT_EQ(FindBestMatchRule(&m_engine, m_parser, "xabcd"), m_engine.getRule("short"));
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

} // namespace
