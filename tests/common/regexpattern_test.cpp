#include "common/latin1.h"
#include "common/patternset.h"
#include "common/regexpattern.h"

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;
using Fidelity = TranslatedPattern::Fidelity;

std::string describe(const RegexPattern::Match& match)
{
    std::string text = std::to_string(match.position) + "/" + std::to_string(match.length);
    for (const QString& capture : match.captures) {
        text += " [" + toLatin1(capture) + "]";
    }
    return text;
}

struct SearchRow {
    const char* name;
    QString pattern;
    std::string text;
    int from;
    RegexPattern::Case sensitivity;
    Fidelity fidelity; ///< what the automaton is expected to run
    std::string outcome; ///< position/length [captures...] as QRegExp reports them
};

const RegexPattern::Case kSensitive = RegexPattern::Case::Sensitive;
const RegexPattern::Case kInsensitive = RegexPattern::Case::Insensitive;

// Each row pins down what QRegExp answers for one trait of the dialect, that the automaton
// answers the same on both kinds of text, and that the pattern really runs on the
// automaton (a translator that gave up on everything would pass the comparison alone).
const SearchRow kSearchRows[] = {
    { "dot takes a line feed", fromLatin1("a.b"), "a\nb", 0, kSensitive, Fidelity::Exact,
        "0/3 [a\nb]" },
    { "no-break space and next line are spaces", fromLatin1("x\\s+y"), "x\xa0\x85 y", 0, kSensitive,
        Fidelity::Exact, "0/5 [x\xa0\x85 y]" },
    { "vertical tab is a space", fromLatin1("\\s"), "a\x0b", 0, kSensitive, Fidelity::Exact,
        "1/1 [\x0b]" },
    { "accented letters and superscripts are word characters", fromLatin1("\\w+"),
        "-\xe9\xb2\xb5_a-", 0, kSensitive, Fidelity::Exact, "1/5 [\xe9\xb2\xb5_a]" },
    { "multiplication sign is no word character", fromLatin1("\\W"), "a\xd7", 0, kSensitive,
        Fidelity::Exact, "1/1 [\xd7]" },
    { "superscript two is no digit", fromLatin1("\\d+"),
        "\xb2"
        "12",
        0, kSensitive, Fidelity::Exact, "1/2 [12]" },
    { "case folding of Latin-1 letters", fromLatin1("CAF\xc9"), "caf\xe9", 0, kInsensitive,
        Fidelity::Exact, "0/4 [caf\xe9]" },
    { "case folding inside a class", fromLatin1("[a-c\xe0]+"), "AB\xc0x", 0, kInsensitive,
        Fidelity::Exact, "0/3 [AB\xc0]" },
    { "caret only at offset zero", fromLatin1("^b"), "ab", 1, kSensitive, Fidelity::Exact,
        "-1/-1" },
    { "caret in the middle never matches", fromLatin1("a^b"), "ab", 0, kSensitive, Fidelity::Exact,
        "-1/-1" },
    { "dollar only at the very end", fromLatin1("a$"), "a\n", 0, kSensitive, Fidelity::Exact,
        "-1/-1" },
    { "dollar at the end", fromLatin1("a\\n$"), "a\n", 0, kSensitive, Fidelity::Exact,
        "0/2 [a\n]" },
    { "leftmost, then longest", fromLatin1("a|ab"), "xab", 0, kSensitive, Fidelity::Exact,
        "1/2 [ab]" },
    { "alternatives sharing a Latin-1 prefix", fromLatin1("\xa0\xff|\xa0"), "z\xa0\xe9", 0,
        kSensitive, Fidelity::Exact, "1/1 [\xa0]" },
    { "longest over alternatives and groups", fromLatin1("(a|ab)(c|bcd)"), "abcd", 0, kSensitive,
        Fidelity::Exact, "0/4 [abcd] [a] [bcd]" },
    { "search from an offset", fromLatin1("a"), "aXa", 1, kSensitive, Fidelity::Exact, "2/1 [a]" },
    { "empty match at the offset", fromLatin1("x*"), "yyy", 2, kSensitive, Fidelity::Exact,
        "2/0 []" },
    { "offset at the end", fromLatin1("x*"), "yy", 2, kSensitive, Fidelity::Exact, "2/0 []" },
    { "offset beyond the end", fromLatin1("x*"), "yy", 3, kSensitive, Fidelity::Exact, "-1/-1" },
    { "at most, written {,m}", fromLatin1("a{,2}"), "aaaa", 0, kSensitive, Fidelity::Exact,
        "0/2 [aa]" },
    { "zero times, written {}", fromLatin1("ba{}c"), "bc", 0, kSensitive, Fidelity::Exact,
        "0/2 [bc]" },
    { "first class member is literal", fromLatin1("[]a]+"), "x]a]", 0, kSensitive, Fidelity::Exact,
        "1/3 []a]]" },
    { "reversed range", fromLatin1("[c-a]+"), "xbab", 0, kSensitive, Fidelity::Exact, "1/3 [bab]" },
    { "hex and octal escapes", fromLatin1("\\x41\\0102\\x00e9"), "zAB\xe9", 0, kSensitive,
        Fidelity::Exact, "1/3 [AB\xe9]" },
    { "unknown escape is the character", fromLatin1("\\q\\."), "q.", 0, kSensitive, Fidelity::Exact,
        "0/2 [q.]" },
    { "group that took no part is empty", fromLatin1("(p)|(q)"), "q", 0, kSensitive,
        Fidelity::Exact, "0/1 [q] [] [q]" },
    { "NUL byte in the text", fromLatin1("b"), std::string("a\0b", 3), 0, kSensitive,
        Fidelity::Exact, "2/1 [b]" },
    { "rejected lazy quantifier never matches", fromLatin1("a*?"), "aaa", 0, kSensitive,
        Fidelity::None, "-1/-1" },
    { "rejected stray bracket never matches", fromLatin1("a]"), "a]", 0, kSensitive, Fidelity::None,
        "-1/-1" },
    { "look-ahead is screened, then confirmed", fromLatin1("a(?=b)"), "acab", 0, kSensitive,
        Fidelity::Superset, "2/1 [a]" },
    { "look-ahead for one character folded into what follows", fromLatin1("a(?=\\S)\\w+"),
        "a b ab1", 0, kSensitive, Fidelity::Exact, "4/3 [ab1]" },
    { "look-ahead past an optional part", fromLatin1("x(?=\\d)(?:[a-z]*;)?\\w+"), "xab;c x1", 0,
        kSensitive, Fidelity::Exact, "6/2 [x1]" },
    { "look-ahead into an optional part", fromLatin1("x(?=[a-c])(?:[a-z]*;)?\\w+"), "xb;c", 0,
        kSensitive, Fidelity::Exact, "0/4 [xb;c]" },
    { "look-ahead over groups", fromLatin1("^(?=\\S)(\\w+ )?(\\d+)"), "ab 12", 0, kSensitive,
        Fidelity::Exact, "0/5 [ab 12] [ab ] [12]" },
    { "look-ahead under case folding", fromLatin1("(?=[a-c])[A-Z]+"), "XYB z", 0, kInsensitive,
        Fidelity::Exact, "2/1 [B]" },
    { "look-ahead no character can pass", fromLatin1("(?=\\d)[a-z]+"), "ab1", 0, kSensitive,
        Fidelity::Superset, "-1/-1" },
    { "look-ahead for more than a character", fromLatin1("a(?=bc)\\w+"), "abd abc", 0, kSensitive,
        Fidelity::Superset, "4/3 [abc]" },
    { "negative look-ahead for a word before a run", fromLatin1("^\\s*(?!ERROR\\b)[A-Z]+:"),
        "  ERRORS:", 0, kSensitive, Fidelity::Exact, "0/9 [  ERRORS:]" },
    { "negative look-ahead for words before an identifier",
        fromLatin1("^\\s*(?!(?:ERROR|INFO)\\b)[A-Z][A-Za-z0-9_]*:"), "  ERROR: x", 0, kSensitive,
        Fidelity::Exact, "-1/-1" },
    { "identifier longer than a word", fromLatin1("^(?!(?:ERROR|INFO)\\b)[A-Z][A-Za-z0-9_]*:"),
        "INFO_2: x", 0, kSensitive, Fidelity::Exact, "0/7 [INFO_2:]" },
    { "identifier shorter than a word", fromLatin1("(?!(?:ERROR|INFO)\\b)[A-Z][A-Za-z0-9_]*:"),
        "x INF: y", 0, kSensitive, Fidelity::Exact, "2/4 [INF:]" },
    { "word ruled out, later identifier found", fromLatin1("(?!(?:ab|abc)\\b)[a-z]\\w*-"),
        "ab- abc- abd-", 0, kSensitive, Fidelity::Exact, "1/2 [b-]" },
    { "Latin-1 letter continues the word", fromLatin1("(?!ab\\b)[a-z]\\w*-"), "ab\xe9-", 0,
        kSensitive, Fidelity::Exact, "0/4 [ab\xe9-]" },
    { "word character after the identifier", fromLatin1("(?!ab\\b)[a-z]+\\d"), "ab1", 0, kSensitive,
        Fidelity::Superset, "0/3 [ab1]" },
    { "look-ahead for words under case folding", fromLatin1("(?!ab\\b)[a-z]+:"), "AB:", 0,
        kInsensitive, Fidelity::Superset, "1/2 [B:]" },
    { "negative look-ahead for more than words", fromLatin1("(?!a\\d)[a-z]+:"), "a1 ab:", 0,
        kSensitive, Fidelity::Superset, "3/3 [ab:]" },
    { "word boundary uses Latin-1 letters", fromLatin1("\\bx"), "\xe9x x", 0, kSensitive,
        Fidelity::Superset, "3/1 [x]" },
    { "back-reference", fromLatin1("(a|b)\\1"), "abba", 0, kSensitive, Fidelity::Superset,
        "1/2 [bb] [b]" },
    { "anchor under a quantifier", fromLatin1("(^a)*b"), "ab", 0, kSensitive, Fidelity::Superset,
        "0/2 [ab] [a]" },
    { "repetition beyond the automaton's limit", fromLatin1("a{1001}"), "a", 0, kSensitive,
        Fidelity::None, "-1/-1" },
    { "character beyond Latin-1 in the pattern", QString(QChar(0x100)), "a", 0, kSensitive,
        Fidelity::None, "-1/-1" },
};

TEST(RegexPattern, AutomatonAnswersAsQRegExp)
{
    for (const SearchRow& row : kSearchRows) {
        SCOPED_TRACE(row.name);
        const RegexPattern fast(row.pattern, row.sensitivity);
        const RegexPattern reference(row.pattern, row.sensitivity, RegexPattern::Engine::Reference);
        EXPECT_EQ(fast.translation().fidelity, row.fidelity);
        EXPECT_EQ(reference.translation().fidelity, Fidelity::None);
        EXPECT_EQ(describe(reference.search(fromLatin1(row.text), row.from)), row.outcome);
        EXPECT_EQ(describe(fast.search(fromLatin1(row.text), row.from)), row.outcome);
        EXPECT_EQ(describe(fast.search(std::string_view(row.text), row.from)), row.outcome);
        const RegexPattern::Match skipped =
            fast.search(std::string_view(row.text), row.from, RegexPattern::Captures::Skip);
        EXPECT_EQ(describe(skipped), row.outcome.substr(0, row.outcome.find(' ')));
    }
}

TEST(RegexPattern, TextBeyondLatin1RunsOnQRegExp)
{
    const RegexPattern pattern(QStringLiteral("b+"));
    ASSERT_EQ(pattern.translation().fidelity, Fidelity::Exact);
    const QString text = QString(QChar(0x263a)) + QStringLiteral("abb");
    EXPECT_EQ(describe(pattern.search(text)), "2/2 [bb]");
}

// A pattern anchored at the start rules a text out on its first character past the
// leading run, without running the automaton; only where that cannot change an answer.
struct OpeningRow {
    const char* name;
    const char* pattern;
    std::string text;
    int from;
    bool opening; ///< whether the pattern gets an opening at all
    bool ruledOut; ///< whether the opening alone rules the text out
    std::string outcome; ///< as QRegExp reports it
    RegexPattern::Case sensitivity = kSensitive;
};

const OpeningRow kOpeningRows[] = {
    { "keyword after white space", "^\\s*ERROR", " \t ERROR: x", 0, true, false,
        "0/8 [ \t ERROR]" },
    { "other keyword", "^\\s*ERROR", "  WARNING", 0, true, true, "-1/-1" },
    { "white space only", "^\\s*ERROR", "   ", 0, true, true, "-1/-1" },
    { "empty text", "^\\s*ERROR", "", 0, true, true, "-1/-1" },
    { "optional part before the keyword", "^\\s*(?:#\\s+)?E", " # E", 0, true, false,
        "0/4 [ # E]" },
    { "keyword after the optional part's place", "^\\s*(?:#\\s+)?E", " E", 0, true, false,
        "0/2 [ E]" },
    { "no leading run", "^a(b)", "xab", 0, true, true, "-1/-1" },
    { "case folded", "^\\s*error",
        "\xa0"
        "ERROR",
        0, true, false,
        "0/6 [\xa0"
        "ERROR]",
        kInsensitive },
    { "rest that may be empty", "^\\s*x?", "  y", 0, false, false, "0/2 [  ]" },
    { "rest that may begin inside the run", "^\\s*\\sx", " \tx", 0, false, false, "0/3 [ \tx]" },
    { "alternative without the caret", "^a|b", "xb", 0, false, false, "1/1 [b]" },
    { "look-ahead before the first character", "^\\s*(?!E)\\w+", " F", 0, false, false,
        "0/2 [ F]" },
    { "search from past the start", "^\\s*E", " E", 1, true, false, "-1/-1" },
};

TEST(RegexPattern, RulesOutTextsWithoutTheirOpening)
{
    for (const OpeningRow& row : kOpeningRows) {
        SCOPED_TRACE(row.name);
        const QString pattern = fromLatin1(row.pattern);
        const RegexPattern fast(pattern, row.sensitivity);
        const RegexPattern reference(pattern, row.sensitivity, RegexPattern::Engine::Reference);
        EXPECT_EQ(fast.translation().opening.has_value(), row.opening);
        EXPECT_EQ(!fast.translation().mayOpen(row.text), row.ruledOut);
        EXPECT_EQ(describe(reference.search(fromLatin1(row.text), row.from)), row.outcome);
        EXPECT_EQ(describe(fast.search(std::string_view(row.text), row.from)), row.outcome);
    }
}

TEST(PatternSet, LeavesOutOnlyPatternsThatCannotMatch)
{
    const RegexPattern error(QStringLiteral("^ERROR:"));
    const RegexPattern warning(QStringLiteral("WARNING"));
    const RegexPattern lookAhead(QStringLiteral("x(?=y)"));
    const RegexPattern tooLong(QStringLiteral("z{1001}"));
    const RegexPattern invalid(QStringLiteral("("));
    const RegexPattern anchoredBranch(QStringLiteral("^ab|cd"));
    const RegexPattern spacedStart(QStringLiteral("^\\s*INFO"));
    // Screened without their optional ends, which must not change where they match.
    const RegexPattern optionalEnd(QStringLiteral("^-(?:ab)?[^\\r\\n]*"));
    const RegexPattern requiredEnd(QStringLiteral("=a[^\\r\\n]+"));
    const RegexPattern endInGroup(QStringLiteral("^[+](x|y*)"));
    const PatternSet set({ &error, &warning, &lookAhead, &tooLong, &invalid, &anchoredBranch,
        &spacedStart, &optionalEnd, &requiredEnd, &endInGroup });
    const std::tuple<const char*, std::string, std::vector<int>> rows[] = {
        // The look-ahead pattern is screened without its look-ahead; the others always go.
        { "nothing screened matches", "plain", { 3, 4 } },
        { "anchored pattern away from the start", "a ERROR: WARNING", { 1, 3, 4 } },
        { "both, in index order", "ERROR: WARNING", { 0, 1, 3, 4 } },
        { "screen wider than the pattern", "xz", { 2, 3, 4 } },
        { "only one alternative anchored", "- cd", { 3, 4, 5, 7 } },
        { "anchored alternative at the start", "ab", { 3, 4, 5 } },
        { "anchored pattern after blanks and a line feed", " \n INFO WARNING", { 1, 3, 4, 6 } },
        { "anchored pattern behind its start", "- INFO", { 3, 4, 7 } },
        { "optional end left out", "-", { 3, 4, 7 } },
        { "required end missing", "=a", { 3, 4 } },
        { "required end there", "=ab", { 3, 4, 8 } },
        { "repeat inside a group", "+", { 3, 4, 9 } },
    };
    for (const int index : { 0, 1, 5, 6, 7, 8, 9 }) {
        EXPECT_TRUE(set.listedMeansMatch(index)) << index;
    }
    for (const int index : { 2, 3, 4 }) {
        EXPECT_FALSE(set.listedMeansMatch(index)) << index;
    }
    for (const auto& [name, text, expected] : rows) {
        SCOPED_TRACE(name);
        std::vector<int> found { 99 };
        EXPECT_TRUE(set.candidates(text, found));
        EXPECT_EQ(found, expected);
    }
}

// The automaton's parser must not pull a Latin-1 character both patterns start with out
// of them: it would then never match it.
TEST(PatternSet, ScreensPatternsSharingALatin1Prefix)
{
    const RegexPattern noBreakSpace(fromLatin1("\xa0\xb5?"));
    const RegexPattern noBreakSpaceAlone(fromLatin1("\xa0"));
    const PatternSet set({ &noBreakSpace, &noBreakSpaceAlone });
    std::vector<int> found;
    set.candidates("-\xa0\xe9", found);
    EXPECT_EQ(found, (std::vector<int> { 0, 1 }));
}

} // namespace
