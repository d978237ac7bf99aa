#include <msgfilter/zefamsgparserrule.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using zefa::msg_filter::impl_detail::ZefaMsgParserRule;
using Fields = std::vector<std::pair<std::string, std::string>>;

ZefaMsgParserRule::SubRule subRule(const std::string& type, const std::string& id,
    const std::string& pattern, std::vector<std::string> fields = {})
{
    return { "label", type, id, pattern, std::move(fields) };
}

struct MatchRow {
    const char* name;
    std::string pattern;
    std::string line;
    int expectedLength;
};

class RuleMatch : public testing::TestWithParam<MatchRow> { };

TEST_P(RuleMatch, GivesLengthOfLeftmostMatch)
{
    const MatchRow& row = GetParam();
    const ZefaMsgParserRule rule("r", "T", row.pattern);
    EXPECT_EQ(rule.match(row.line), row.expectedLength);
}

INSTANTIATE_TEST_SUITE_P(Table, RuleMatch,
    testing::Values(MatchRow { "MatchLaterInLine", "ERROR", "12: ERROR here\n", 5 },
        MatchRow { "LeftmostNotLongest", "a+", "a baaaa", 1 },
        MatchRow { "EmptyPatternMatchesEmpty", "", "anything", 0 },
        MatchRow { "StarMatchesEmptyAtStart", "x*", "abc", 0 },
        MatchRow { "NoMatch", "WARNING", "warning: lower case\n", -1 },
        MatchRow { "CaretAnchorsAtLineStart", "^ERROR", "  ERROR\n", -1 },
        MatchRow { "DollarDoesNotMatchBeforeNewline", "done$", "done\n", -1 },
        MatchRow { "DollarAfterNewline", "done\\n$", "done\n", 5 },
        MatchRow { "UnclosedBracketNeverMatches", "[a-z", "abc", -1 },
        MatchRow { "UnclosedGroupNeverMatches", "(abc", "abc", -1 },
        MatchRow { "InvalidEvenAgainstEmptyLine", "*", "", -1 },
        MatchRow { "NulByteIsPartOfLine", "b", std::string("a\0b", 3), 1 },
        MatchRow { "EightBitBytes", "caf.", "le caf\xe9!", 4 }),
    [](const testing::TestParamInfo<MatchRow>& info) { return std::string(info.param.name); });

struct SubRuleRow {
    const char* name;
    std::vector<ZefaMsgParserRule::SubRule> subRules;
    std::string line;
    int expectedPosition;
    std::string expectedType;
    std::string expectedId;
    Fields expectedFields;
};

class SubRuleMatch : public testing::TestWithParam<SubRuleRow> { };

TEST_P(SubRuleMatch, FirstMatchingSubRuleWins)
{
    const SubRuleRow& row = GetParam();
    // The rule's own pattern never matches: sub-rules are tried regardless.
    ZefaMsgParserRule rule("r", "T", "does not occur");
    for (const auto& sub : row.subRules) {
        rule.addSubRule(sub);
    }
    std::string type = "untouched-type";
    std::string id = "untouched-id";
    Fields fields { { "pre", "existing" } };
    const int position = rule.matchSubRule(row.line, type, id, fields);

    EXPECT_EQ(position, row.expectedPosition);
    EXPECT_EQ(type, row.expectedType);
    EXPECT_EQ(id, row.expectedId);
    Fields expected { { "pre", "existing" } };
    expected.insert(expected.end(), row.expectedFields.begin(), row.expectedFields.end());
    EXPECT_EQ(fields, expected);
}

INSTANTIATE_TEST_SUITE_P(Table, SubRuleMatch,
    testing::Values(SubRuleRow { "NoSubRules", {}, "x", -1, "untouched-type", "untouched-id", {} },
        SubRuleRow { "NoneMatchesLeavesOutputs",
            { subRule("A", "1", "^foo"), subRule("B", "2", "bar") }, "baz\n", -1, "untouched-type",
            "untouched-id", {} },
        SubRuleRow { "MatchAtStartGivesZero", { subRule("A", "1", "^(\\w+):", { "word" }) },
            "top: x\n", 0, "A", "1", { { "word", "top" } } },
        SubRuleRow { "ReturnsPositionNotLength", { subRule("A", "1", "line (\\d+)", { "n" }) },
            "at line 42\n", 3, "A", "1", { { "n", "42" } } },
        SubRuleRow { "FirstInOrderNotLongest",
            { subRule("Short", "1", "x"), subRule("Long", "2", "xxxxx") }, "xxxxx\n", 0, "Short",
            "1", {} },
        SubRuleRow { "LaterSubRuleWhenEarlierMisses",
            { subRule("A", "1", "nope"), subRule("B", "", "(o)k") }, "ok\n", 0, "B", "",
            { { "", "o" } } },
        SubRuleRow { "InvalidPatternIsSkipped",
            { subRule("Bad", "1", "(unclosed"), subRule("Good", "2", "unclosed") },
            "an unclosed group\n", 3, "Good", "2", {} },
        SubRuleRow { "SurplusGroupsGetEmptyNames",
            { subRule("A", "1", "(\\w)(\\w)(\\w)", { "a", "b" }) }, "xyz", 0, "A", "1",
            { { "a", "x" }, { "b", "y" }, { "", "z" } } },
        SubRuleRow { "SurplusNamesAreIgnored", { subRule("A", "1", "(\\w)", { "a", "b" }) }, "xyz",
            0, "A", "1", { { "a", "x" } } },
        SubRuleRow { "GroupOutsideMatchGivesEmptyValue",
            { subRule("A", "1", "(x)|(y)", { "ex", "why" }) }, "y", 0, "A", "1",
            { { "ex", "" }, { "why", "y" } } },
        SubRuleRow { "NonCapturingGroupsGiveNoField", { subRule("A", "1", "(?:a)(b)", { "b" }) },
            "ab", 0, "A", "1", { { "b", "b" } } },
        SubRuleRow { "EightBitCapturesComeBackUnchanged", { subRule("A", "1", "(\\S+)$", { "w" }) },
            "un caf\xe9", 3, "A", "1", { { "w", "caf\xe9" } } }),
    [](const testing::TestParamInfo<SubRuleRow>& info) { return std::string(info.param.name); });

TEST(SubRuleMatchList, IsAppendedToOnEveryCall)
{
    ZefaMsgParserRule rule("r", "T", "");
    rule.addSubRule(subRule("A", "1", "(\\d+)", { "n" }));
    std::string type;
    std::string id;
    Fields fields;
    ASSERT_EQ(rule.matchSubRule("x 7", type, id, fields), 2);
    ASSERT_EQ(rule.matchSubRule("8", type, id, fields), 0);
    EXPECT_EQ(fields, (Fields { { "n", "7" }, { "n", "8" } }));
}

// A rule compiles its patterns once and keeps them; a rule built afresh for every call
// must not be able to tell the difference, whatever the previous call matched.
TEST(RuleReuse, AnswersEveryCallAsAFreshRuleWould)
{
    const std::vector<std::string> patterns { "(a)?(b)?", "x*", "", "(unclosed", "[a-", "(a)\\1",
        "\\b(\\w+)$", "(x)|(y)" };
    // Each line after the first follows one that matched differently, or not at all.
    const std::vector<std::string> lines { "ab", "b", "zzz", "", "aa", "y x", "ab", "x" };
    for (const std::string& pattern : patterns) {
        ZefaMsgParserRule reused("r", "T", pattern);
        reused.addSubRule(subRule("A", "1", pattern, { "first" }));
        for (const std::string& line : lines) {
            SCOPED_TRACE("pattern '" + pattern + "', line '" + line + "'");
            ZefaMsgParserRule fresh("r", "T", pattern);
            fresh.addSubRule(subRule("A", "1", pattern, { "first" }));
            EXPECT_EQ(reused.match(line), fresh.match(line));
            std::string reusedType;
            std::string reusedId;
            Fields reusedFields;
            std::string freshType;
            std::string freshId;
            Fields freshFields;
            EXPECT_EQ(reused.matchSubRule(line, reusedType, reusedId, reusedFields),
                fresh.matchSubRule(line, freshType, freshId, freshFields));
            EXPECT_EQ(reusedFields, freshFields);
        }
    }
}

TEST(RuleCopy, IsIndependentOfTheOriginal)
{
    ZefaMsgParserRule original("r", "T", "a");
    original.addSubRule(subRule("First", "1", "a"));
    ZefaMsgParserRule copy = original;
    copy.addSubRule(subRule("Second", "2", "b"));

    std::string type;
    std::string id;
    Fields fields;
    EXPECT_EQ(original.matchSubRule("b", type, id, fields), -1);
    EXPECT_EQ(copy.matchSubRule("b", type, id, fields), 0);
    EXPECT_EQ(type, "Second");
    EXPECT_EQ(original.getSubRules().size(), 1U);
    EXPECT_EQ(copy.match("xa"), 1);
}

TEST(RuleMatching, GivesTheSameResultsFromSeveralThreads)
{
    ZefaMsgParserRule rule("r", "T", "(\\w+)\\s+(\\d+)");
    rule.addSubRule(subRule("A", "1", "(\\w+)\\s+(\\d+)", { "word", "number" }));
    const std::vector<std::pair<std::string, std::string>> inputs { { "alpha 1", "1" },
        { "-- beta 22", "22" }, { "gamma   333 x", "333" }, { "d 4444", "4444" } };

    std::vector<int> failures(inputs.size(), 0);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < inputs.size(); ++t) {
        threads.emplace_back([&rule, &inputs, &failures, t] {
            for (int round = 0; round < 2000; ++round) {
                std::string type;
                std::string id;
                Fields fields;
                const std::string& line = inputs[t].first;
                const bool ok = rule.match(line) > 0
                    && rule.matchSubRule(line, type, id, fields) >= 0 && fields.size() == 2
                    && fields[1].second == inputs[t].second;
                failures[t] += ok ? 0 : 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (std::size_t t = 0; t < inputs.size(); ++t) {
        EXPECT_EQ(failures[t], 0) << inputs[t].first;
    }
}

} // namespace
