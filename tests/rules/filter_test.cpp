#include <msgfilter/zefamsgfilter.h>

#include <QByteArray>

#include <algorithm>
#include <deque>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using zefa::msg_filter::ZefaMsgFilter;
using Fields = std::vector<std::pair<std::string, std::string>>;
using Strings = std::vector<std::string>;

// The process-wide rule engine reads its file once: every test of this program shares the
// fixture rules, named before anything can touch the engine.
[[maybe_unused]] const bool kFixtureRules =
    qputenv("ZEFA_DATA_PATH", QByteArrayLiteral(MSGFILTER_TEST_DATA_DIR "/rules/filter"));

// What a result says about its line, in one comparable string.
std::string summary(const ZefaMsgFilter::ParsResult& result)
{
    std::string text = (result.isNewMessage ? "new " : "") + result.rule + " [" + result.type + "]";
    for (const auto& [name, value] : result.fields) {
        text += " " + name + "=" + value;
    }
    return text;
}

// The lines recorded so far, or what the filter made of them.
Strings results(const ZefaMsgFilter& filter, bool summaries = false)
{
    Strings list;
    for (const auto& result : filter.getResults()) {
        list.push_back(summaries ? summary(result) : result.message);
    }
    return list;
}

TEST(FilterChunking, CutsCompleteLinesKeepingTheirNewline)
{
    const std::tuple<const char*, Strings, Strings> rows[] = {
        { "partial line waits", { "abc" }, {} },
        { "line completed later", { "abc", "def\n" }, { "abcdef\n" } },
        { "two lines in one chunk", { "a\nb\n" }, { "a\n", "b\n" } },
        { "bare newline is a line", { "x\n\ny" }, { "x\n", "\n" } },
        { "carriage return stays", { "dos\r", "\n" }, { "dos\r\n" } },
    };
    for (const auto& [name, chunks, lines] : rows) {
        SCOPED_TRACE(name);
        ZefaMsgFilter filter;
        for (const std::string& chunk : chunks) {
            filter.filterMessage(chunk.c_str());
        }
        EXPECT_EQ(results(filter), lines);
    }
}

// Output handed over with its size may hold NUL bytes: they stay in their lines and are
// matched like any other byte. Results taken out on the way are the same results, in the
// same order, however the output is cut.
TEST(FilterChunking, SizedOutputKeepsNulBytesAndTakenResultsAddUp)
{
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        std::string text;
        const int length = static_cast<int>(random() % 300);
        for (int i = 0; i < length; ++i) {
            text += std::string("ab\n\0 ", 5)[random() % 5];
        }
        Strings expected;
        std::size_t start = 0;
        for (std::size_t feed; (feed = text.find('\n', start)) != std::string::npos;) {
            expected.push_back(text.substr(start, feed + 1 - start));
            start = feed + 1;
        }
        ZefaMsgFilter filter;
        Strings taken;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t size = std::min<std::size_t>(text.size() - at, random() % 40);
            filter.filterMessage(text.data() + at, size);
            at += size;
            if (random() % 3 == 0) {
                for (const auto& result : filter.takeResults()) {
                    taken.push_back(result.message);
                }
            }
        }
        for (const auto& result : filter.takeResults()) {
            taken.push_back(result.message);
        }
        ASSERT_EQ(taken, expected);
        // What is left waits for its line feed.
        filter.endFilter();
        const std::string rest = text.substr(start);
        EXPECT_EQ(results(filter), rest.empty() ? Strings {} : Strings { rest });
    }

    ZefaMsgFilter filter("fpga");
    filter.setEngine("default");
    const std::string line("ERROR: a\0b\n", 11);
    filter.filterMessage(line.data(), line.size());
    filter.filterMessage(line.data());
    EXPECT_EQ(results(filter), Strings { line });
    EXPECT_EQ(results(filter, true), Strings { "error [Error]" });
}

// Taking the results empties the filter's list but not its memory of having recorded one,
// nor its unfinished line.
TEST(FilterResults, TakenResultsLeaveTheAnswerAndThePendingLine)
{
    ZefaMsgFilter filter;
    filter.filterMessage("a\nb");
    std::deque<ZefaMsgFilter::ParsResult> first = filter.takeResults();
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first.front().message, "a\n");
    EXPECT_TRUE(filter.getResults().empty());
    EXPECT_TRUE(filter.takeResults().empty());
    EXPECT_TRUE(filter.filterMessage("c"));
    EXPECT_TRUE(filter.endFilter());
    EXPECT_EQ(results(filter), Strings { "bc" });
    ZefaMsgFilter copy(filter);
    copy.takeResults();
    EXPECT_TRUE(copy.startFilter("fpga"));
}

TEST(FilterSelection, ClassifiesWithTheChosenTargetAndEngine)
{
    const char* error = "ERROR: x\n";
    // name, target given to the constructor, steps (T:setTarget E:setEngine X:endFilter),
    // line, what its result says
    const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
        { "structured line", "fpga", "E:default", "@msg M-1 x\n", "new new-message [New] id=M-1" },
        { "structured, no sub-rule", "fpga", "E:default", "@msg \n", "new-message [New]" },
        { "sub-rule type appended", "fpga", "E:default", "WARNING: top.v:12: unused\n",
            "warning [Warning:Design] file=top.v line=12" },
        { "no sub-rule matches", "fpga", "E:default", "WARNING: x\n", "warning [Warning]" },
        { "no rule is text", "fpga", "E:default", "plain\n", " [Text]" },
        { "named engine", "fpga", "E:synth", "ab ERROR: x\n", "g-short [T]" },
        { "unknown engine falls back", "fpga", "E:unknown", error, "error [Error]" },
        { "no default to fall back to", "bare", "E:unknown", error, " [Text]" },
        { "engine needs a target", nullptr, "E:default", error, " [Text]" },
        { "unknown target", "", "T:none E:default", error, " [Text]" },
        { "same target forgets engine", "fpga", "E:default T:fpga", error, " [Text]" },
        { "engine again", "fpga", "E:default T:fpga E:default", error, "error [Error]" },
        { "end drops target and engine", "fpga", "E:default X: E:default", error, " [Text]" },
        { "target again after end", "fpga", "E:default X: T:fpga E:default", error,
            "error [Error]" },
    };
    for (const auto& [name, target, steps, line, expected] : rows) {
        SCOPED_TRACE(name);
        ZefaMsgFilter filter(target);
        std::istringstream stream(steps);
        for (std::string step; stream >> step;) {
            const char* arg = step.c_str() + 2;
            step[0] == 'T'       ? filter.setTarget(arg)
                : step[0] == 'E' ? filter.setEngine(arg)
                                 : (void)filter.endFilter();
        }
        filter.filterMessage(line);
        EXPECT_EQ(results(filter), Strings { line });
        EXPECT_EQ(results(filter, true), Strings { expected });
    }
}

TEST(FilterFlush, ClassifiesPendingTextBeforeSwitchingAndKeepsIt)
{
    ZefaMsgFilter filter;
    filter.flushMessage("");
    // Each call returns whether a result was ever recorded, not whether it recorded one.
    const std::vector<bool> returned { filter.startFilter("fpga"), filter.startEngin("synth"),
        filter.filterMessage("ERROR: ta"), filter.filterMessage("il"), filter.startEngin("default"),
        filter.startFilter("fpga"), filter.startEngin("default"), filter.endFilter(),
        filter.endFilter(), filter.filterMessage(""), filter.filterMessage(" late\n"),
        filter.endFilter() };
    EXPECT_EQ(returned, std::vector<bool>({ 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1 }));
    // Every switch classified the unfinished line with the engine it was leaving; the last
    // endFilter() found the line complete and had nothing left to flush.
    Strings lines(5, "ERROR: tail");
    lines.push_back("ERROR: tail late\n");
    EXPECT_EQ(results(filter), lines);
    EXPECT_EQ(results(filter, true),
        (Strings { " [Text]", "error [Error]", " [Text]", "error [Error]", " [Text]", " [Text]" }));
    // A stub: it empties all of its argument but isNewMessage and reads nothing.
    ZefaMsgFilter::ParsResult result { true, "m", "r", "t", { { "n", "v" } } };
    EXPECT_FALSE(filter.getNextResult(result));
    EXPECT_EQ(summary(result) + result.message, "new  []");
}

TEST(ParseNewMessage, SplitsTheArgumentsByTheCounts)
{
    // name, dynamic count, navigation count, argument text, dynamic and navigation arguments
    const std::tuple<const char*, const char*, const char*, const char*, Strings, Strings>
        rows[] = {
            { "quoted and plain", "1", "1", " a=\"x\" b=y ", { "x" }, { "y" } },
            { "counts beyond the pieces", "2", "5", "a=1  b=2 c=3", { "1", "2" }, { "3" } },
            { "dynamic count beyond all", "9", "1", "a=1", { "1" }, {} },
            { "count not a number", "2x", "1", "a=1 b=2", {}, { "1" } },
            { "negative count", "-1", "2", "a=1 b=2", {}, { "1" } },
            { "value shapes", "6", "0", "a=\"\" b=\" c=x=y d e= f=\" s \"",
                { "", "\"", "x", "", "", "\"" }, {} },
            { "blank arguments", "1", "1", " \t ", {}, {} },
        };
    for (const auto& [name, dynamic, navigation, args, wantDynamic, wantNavigation] : rows) {
        SCOPED_TRACE(name);
        // Later pairs override earlier ones.
        const Fields fields { { "id", "1" }, { "dynamic", "0" }, { "id", "M-7" },
            { "dynamic", dynamic }, { "navigation", navigation }, { "args", args } };
        std::string id = "stale";
        Strings gotDynamic { "stale" }, gotNavigation { "stale" };
        ZefaMsgFilter::parseNewMessage(fields, id, gotDynamic, gotNavigation);
        EXPECT_EQ(std::tie(id, gotDynamic, gotNavigation),
            std::make_tuple("M-7", wantDynamic, wantNavigation));
    }
}

TEST(FieldLookup, TriesTheRulesInTheGivenOrder)
{
    // name, rule names, result, rule named, fields; the line is "abcd\n"
    const std::tuple<const char*, Strings, int, std::string, Fields> rows[] = {
        { "empty list", {}, -1, "untouched", {} },
        { "unknown names and empty matches skipped", { "missing", "g-empty" }, -1, "untouched",
            {} },
        { "match without sub-rule", { "g-short" }, 2, "g-short", {} },
        { "shorter later rule skipped", { "g-long", "g-short-sub" }, 4, "g-long", {} },
        { "longer later rule", { "g-short", "g-long-sub" }, 4, "g-long-sub", { { "long", "c" } } },
        { "equal later rule takes over", { "g-long", "g-long-too" }, 4, "g-long-too", {} },
        { "sub-rule match stops the search", { "g-short-sub", "g-long-sub" }, 2, "g-short-sub",
            { { "short", "a" } } },
        { "caller order, not name order", { "g-long-sub-too", "g-long-sub" }, 4, "g-long-sub-too",
            { { "too", "d" } } },
    };
    for (const auto& [name, ruleNames, result, rule, fields] : rows) {
        SCOPED_TRACE(name);
        std::string gotRule = "untouched";
        Fields gotFields;
        EXPECT_EQ(zefa::msg_filter::GetFieldsFromEngineMsg("abcd\n", ruleNames, gotRule, gotFields),
            result);
        EXPECT_EQ(std::tie(gotRule, gotFields), std::tie(rule, fields));
    }
}

} // namespace
