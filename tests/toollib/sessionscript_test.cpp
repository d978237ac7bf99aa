// The session line splitter: blanks, quotes anywhere in a word, escapes only inside
// quotes, comment lines, and the offsets a command uses to take the rest of the line.

#include "displaytext.h"
#include "sessionscript.h"

#include <QStringList>

#include <vector>

#include <gtest/gtest.h>

using zefa::msg_filter::tool::quoted;
using zefa::msg_filter::tool::SessionWord;
using zefa::msg_filter::tool::splitSessionLine;

namespace {

struct SplitRow {
    const char* name;
    QString line;
    QStringList words; ///< expected words, when the line splits
    std::vector<int> ends; ///< where each word ends in the line
    QString error; ///< expected reason, when it does not
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const SplitRow& row, std::ostream* out)
{
    *out << row.name;
}

class SplitSessionLine : public testing::TestWithParam<SplitRow> { };

TEST_P(SplitSessionLine, GivesWordsAndTheirEndsOrTheReason)
{
    const SplitRow& row = GetParam();
    QVector<SessionWord> words;
    QString error;
    const bool split = splitSessionLine(row.line, words, error);
    ASSERT_EQ(split, row.error.isEmpty()) << error.toStdString();
    if (!split) {
        EXPECT_EQ(error, row.error);
        return;
    }
    QStringList texts;
    std::vector<int> ends;
    for (const SessionWord& word : words) {
        texts.append(word.text);
        ends.push_back(word.end);
    }
    EXPECT_EQ(texts, row.words);
    EXPECT_EQ(ends, row.ends);
}

INSTANTIATE_TEST_SUITE_P(Rows, SplitSessionLine,
    testing::Values(SplitRow { "empty", QString(), {}, {}, {} },
        SplitRow { "only_blanks", QStringLiteral(" \t "), {}, {}, {} },
        SplitRow { "blanks_and_tabs", QStringLiteral("  task\tstarted  a "),
            { QStringLiteral("task"), QStringLiteral("started"), QStringLiteral("a") },
            { 6, 14, 17 }, {} },
        SplitRow { "comment_line", QStringLiteral("  # output a x"), {}, {}, {} },
        SplitRow { "hash_in_a_later_word", QStringLiteral("output a #x"),
            { QStringLiteral("output"), QStringLiteral("a"), QStringLiteral("#x") }, { 6, 8, 11 },
            {} },
        SplitRow { "quotes_group_blanks", QStringLiteral("write a \"two  words\""),
            { QStringLiteral("write"), QStringLiteral("a"), QStringLiteral("two  words") },
            { 5, 7, 20 }, {} },
        SplitRow { "quotes_inside_a_word", QStringLiteral("hide=\"some text\"x y"),
            { QStringLiteral("hide=some textx"), QStringLiteral("y") }, { 17, 19 }, {} },
        SplitRow { "empty_quotes_are_a_word", QStringLiteral("write a \"\""),
            { QStringLiteral("write"), QStringLiteral("a"), QString() }, { 5, 7, 10 }, {} },
        SplitRow { "escapes_inside_quotes", QStringLiteral("\"\\\"\\\\\\n\\r\\t\""),
            { QStringLiteral("\"\\\n\r\t") }, { 12 }, {} },
        SplitRow { "backslash_outside_quotes_is_plain", QStringLiteral("C:\\tmp\\n"),
            { QStringLiteral("C:\\tmp\\n") }, { 8 }, {} },
        SplitRow { "unterminated_quote", QStringLiteral("write a \"open"), {}, {},
            QStringLiteral("unterminated double quote") },
        SplitRow { "unknown_escape", QStringLiteral("write a \"\\q\""), {}, {},
            QStringLiteral("unknown escape \\q in quotes") },
        SplitRow { "backslash_ends_the_line_in_quotes", QStringLiteral("write a \"x\\"), {}, {},
            QStringLiteral("a backslash ends the line inside quotes") }),
    [](const testing::TestParamInfo<SplitRow>& info) { return std::string(info.param.name); });

// What explain shows in quotes, a session line reads back as the same word.
TEST(SplitSessionLine, ReadsQuotedTextBackAsOneWord)
{
    for (const QString& text : { QString(), QStringLiteral("two  words"),
             QStringLiteral("# \"x\" \\ \n\r\t end"), QStringLiteral("caf\u00e9\\") }) {
        QVector<SessionWord> words;
        QString error;
        ASSERT_TRUE(splitSessionLine(QStringLiteral("write a ") + quoted(text), words, error))
            << error.toStdString();
        ASSERT_EQ(words.size(), 3);
        EXPECT_EQ(words[2].text, text);
    }
}

} // namespace
