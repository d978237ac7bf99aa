// Groups read from the characters of a match: only where the pattern can match the
// stretch one way, and then exactly as QRegExp splits it, null for a group that took
// no part.

#include "common/capturereader.h"
#include "common/latin1.h"
#include "common/regexpattern.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

std::string describe(const RegexPattern::Match& match)
{
    std::string text = std::to_string(match.position) + "/" + std::to_string(match.length);
    for (const QString& capture : match.captures) {
        text += capture.isNull() ? " null" : " [" + toLatin1(capture) + "]";
    }
    return text;
}

// The same for a match whose groups are told as places in `line`.
std::string describe(const RegexPattern::Match& match, std::string_view line)
{
    std::string text = std::to_string(match.position) + "/" + std::to_string(match.length);
    for (const MatchSpan& span : match.spans) {
        text += span.found() ? " [" + std::string(line.substr(span.position, span.length)) + "]"
                             : " null";
    }
    return text;
}

enum class Reader {
    Reads, ///< the groups come from the match's characters
    Declines, ///< a reader exists but leaves this match to QRegExp
    None, ///< the pattern gets no reader
};

struct ReaderRow {
    const char* name;
    const char* pattern;
    std::string text;
    Reader reader;
    std::string outcome; ///< as QRegExp reports it, "null" for a group that took no part
    RegexPattern::Case sensitivity = RegexPattern::Case::Sensitive;
};

const ReaderRow kRows[] = {
    { "file and line", "(\\S+):(\\d+):", "top.v:12: oops", Reader::Reads,
        "0/9 [top.v:12:] [top.v] [12]" },
    { "optional group left out", "^(\\w+)(?::(\\d+))?$", "abc", Reader::Reads,
        "0/3 [abc] [abc] null" },
    { "alternative inside a group", "(ab|cd)(e)", "xcde", Reader::Reads, "1/3 [cde] [cd] [e]" },
    { "group of the alternative not taken", "(a)|(b)", "b", Reader::Reads, "0/1 [b] null [b]" },
    { "counted repetition", "([A-Z]{2,}) error", "XYZ error", Reader::Reads,
        "0/9 [XYZ error] [XYZ]" },
    { "case folded", "(warn)ing", "WARNING", Reader::Reads, "0/7 [WARNING] [WARN]",
        RegexPattern::Case::Insensitive },
    { "repeated piece outside the groups", "([^\\s:]+)(?::[^\\s:\\d][^\\s:]*)*:(\\d+):",
        "a.v:x:y:12:", Reader::Reads, "0/11 [a.v:x:y:12:] [a.v] [12]" },
    { "anchors at both ends", "^(a)\\n$", "a\n", Reader::Reads, "0/2 [a\n] [a]" },
    { "group that may be empty reads characters", "(b*)c", "bbc", Reader::Reads, "0/3 [bbc] [bb]" },
    { "two ways to split a run", "(a*)(a*)", "aaa", Reader::Declines, "0/3 [aaa] [aaa] null" },
    // A run before a repetition that also reads its characters ends as late as it can.
    { "run before a wider repetition", ":(\\d+)[^\\r\\n]*", "x.v:33 x1", Reader::Reads,
        "3/6 [:33 x1] [33]" },
    { "run before a repetition of its own characters", "(\\d+)\\d*", "a123", Reader::Reads,
        "1/3 [123] [123]" },
    { "groups nested around the run", "((a\\d*))\\w*", "a12b", Reader::Reads,
        "0/4 [a12b] [a12] [a12]" },
    { "run inside a group before a repetition", "(x(\\d+)[^;]*);", "x12;", Reader::Reads,
        "0/4 [x12;] [x12] [12]" },
    { "run that reads nothing", "x(\\d*)\\w*", "xab", Reader::Declines, "0/3 [xab] null" },
    { "repetition narrower than the run", "(\\w+)\\d*", "ab12", Reader::Declines,
        "0/4 [ab12] [ab12]" },
    { "drive letter or file name", "\\[((?:[A-Za-z]:)?[^\\[\\]():]+):(\\d+)(?::(\\d+))?\\]",
        "[C:1:2]", Reader::Declines, "0/7 [[C:1:2]] [C:1] [2] null" },
    { "same character two ways", "(a|a)b", "ab", Reader::Declines, "0/2 [ab] [a]" },
    { "empty group", "x(b*)c", "xc", Reader::Declines, "0/2 [xc] null" },
    { "empty alternative", "x(b|)c", "xc", Reader::Declines, "0/2 [xc] null" },
    { "group under a repetition", "(ab)+", "abab", Reader::None, "0/4 [abab] [ab]" },
    { "anchor inside", "a(^b|c)", "ac", Reader::None, "0/2 [ac] [c]" },
    { "look-ahead", "(a)(?=b)", "ab", Reader::None, "0/1 [a] [a]" },
    // The group keeps its last pass only, not both passes as one stretch.
    { "look-ahead before a repeated group", "(?=\\s)(\\W\xb5{,2}){2}", " :\xb5", Reader::None,
        "0/3 [ :\xb5] [:\xb5]" },
};

TEST(CaptureReader, ReadsOnlyUnambiguousMatchesAndAsQRegExpDoes)
{
    for (const ReaderRow& row : kRows) {
        SCOPED_TRACE(row.name);
        const QString pattern = fromLatin1(row.pattern);
        const RegexPattern fast(pattern, row.sensitivity);
        const RegexPattern reference(pattern, row.sensitivity, RegexPattern::Engine::Reference);
        EXPECT_EQ(describe(reference.search(std::string_view(row.text))), row.outcome);
        const RegexPattern::Match found = fast.search(std::string_view(row.text));
        EXPECT_EQ(describe(found), row.outcome);
        const std::string_view text(row.text);
        EXPECT_EQ(describe(fast.search(text, 0, RegexPattern::Captures::Spans), text), row.outcome);

        const CaptureReader* reader = fast.translation().captures.get();
        if (row.reader == Reader::None) {
            EXPECT_EQ(reader, nullptr);
            continue;
        }
        ASSERT_NE(reader, nullptr);
        EXPECT_EQ(reader->groupCount(), fast.captureCount());
        RegexPattern::Match fromReader = found;
        const bool read = reader->read(text, found.position, found.length, fromReader.spans);
        EXPECT_EQ(read, row.reader == Reader::Reads);
        if (read) {
            fromReader.captures.clear();
            EXPECT_EQ(describe(fromReader, text), row.outcome);
        }
    }
}

// A pattern anchored at the start has its longest match there found by the reader
// itself; where it cannot tell, the search goes on as before.
struct FromStartRow {
    const char* name;
    const char* pattern;
    std::string text;
    CaptureReader::Outcome reader;
    std::string outcome; ///< as QRegExp reports it
};

const FromStartRow kFromStartRows[] = {
    { "longest of several ends", "^(ab|abcd)e?", "abcdx", CaptureReader::Outcome::Read,
        "0/4 [abcd] [abcd]" },
    { "run then an optional group", "^(a+)(b*)", "aabbbc", CaptureReader::Outcome::Read,
        "0/5 [aabbb] [aa] [bbb]" },
    { "end anchor not reached", "^(a+)$", "aab", CaptureReader::Outcome::NoMatch, "-1/-1" },
    { "end anchor reached", "^(a+)b$", "aab", CaptureReader::Outcome::Read, "0/3 [aab] [aa]" },
    { "first character not read", "^(x)", "y", CaptureReader::Outcome::NoMatch, "-1/-1" },
    { "stops where no state reads on", "^(a)b", "ac", CaptureReader::Outcome::NoMatch, "-1/-1" },
    { "empty match left to the automaton", "^(a*)", "b", CaptureReader::Outcome::Declined,
        "0/0 [] null" },
    { "two ways to split", "^(a*)(a*)", "aaa", CaptureReader::Outcome::Unreadable,
        "0/3 [aaa] [aaa] null" },
    { "back-reference: no reader", "^(a)b?\\1?", "aba", CaptureReader::Outcome::Declined,
        "0/3 [aba] [a]" },
};

TEST(CaptureReader, FindsTheLongestMatchFromTheStart)
{
    for (const FromStartRow& row : kFromStartRows) {
        SCOPED_TRACE(row.name);
        const QString pattern = fromLatin1(row.pattern);
        const RegexPattern fast(pattern);
        const RegexPattern reference(
            pattern, RegexPattern::Case::Sensitive, RegexPattern::Engine::Reference);
        EXPECT_EQ(describe(reference.search(std::string_view(row.text))), row.outcome);
        EXPECT_EQ(describe(fast.search(std::string_view(row.text))), row.outcome);
        const CaptureReader* reader = fast.translation().captures.get();
        if (row.reader == CaptureReader::Outcome::Declined && reader == nullptr) {
            continue;
        }
        ASSERT_NE(reader, nullptr);
        EXPECT_TRUE(reader->startAnchored());
        std::vector<MatchSpan> spans;
        EXPECT_EQ(reader->readLongestFromStart(row.text, spans), row.reader);
    }
}

// A line of megabytes would need a table of states per character as large; past 16 MiB
// of it the groups are left to QRegExp.
TEST(CaptureReader, LeavesMatchesOfHugeLinesToQRegExp)
{
    const RegexPattern pattern(fromLatin1("(a+)b"));
    const CaptureReader* reader = pattern.translation().captures.get();
    ASSERT_NE(reader, nullptr);
    const std::size_t mostCharacters = std::size_t { 1 } << 21;
    for (const std::size_t length : { mostCharacters, mostCharacters + 1 }) {
        SCOPED_TRACE(length);
        const std::string text = std::string(length - 1, 'a') + 'b';
        std::vector<MatchSpan> spans;
        const bool read = reader->read(text, 0, static_cast<int>(length), spans);
        EXPECT_EQ(read, length == mostCharacters);
        if (read) {
            ASSERT_EQ(spans.size(), 2U);
            EXPECT_EQ(spans[1].length, static_cast<int>(length - 1));
        }
    }
}

} // namespace
