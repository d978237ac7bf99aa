// The message text of old-format lines, read directly, against the regular expression
// that defines it.

#include "engine/oldformattext.h"

#include <QStringList>

#include <random>

#include <gtest/gtest.h>

using zefa::msg_filter::impl_detail::OldFormatText;

TEST(OldFormatText, ReadsTheTextAfterKeywordAndSeparatorBlanksIncluded)
{
    struct Row {
        const char* name;
        const char* line;
        const char* text;
    };
    const Row rows[] = {
        { "warning and colon", "WARNING: net x is unused", " net x is unused" },
        { "blanks everywhere", " \t warning \t- \t text  ", " \t text  " },
        { "short keywords", "@E:boom", "boom" },
        { "mixed case", "ErRoR - x", " x" },
        { "only blanks after the separator", "error:   ", "   " },
        { "a second separator is text", "warning::x", ":x" },
        { "a longer word is no keyword", "warnings: x", "warnings: x" },
        { "no separator", "error x", "error x" },
        { "text before the keyword", "an error: x", "an error: x" },
        { "empty line", "", "" },
        { "keyword alone", "@w", "@w" },
        { "Latin-1 letters go to the expression", "warning: caf\xc3\xa9", " caf\xc3\xa9" },
        { "a line feed inside goes to the expression", "error:a\nb", "a\nb" },
        { "a blank beyond Latin-1 goes to the expression", "\xe2\x80\x83warning: x", " x" },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QString line = QString::fromUtf8(row.line);
        EXPECT_EQ(OldFormatText::of(line).toStdString(), row.text);
        EXPECT_EQ(OldFormatText::of(line), OldFormatText::ofByExpression(line));
    }
}

// Lines made of the pieces that decide the answer, in every order a generator finds.
TEST(OldFormatText, AnswersAsTheExpressionOnGeneratedLines)
{
    const char* const pieces[] = { "warning", "WARN", "wARNinG", "@w", "@W", "@e", "error", "ERROR",
        "erro", "@", " ", "\t", "  ", "-", ":", "x", "s", "\xc3\xa9", "\x0b", "\x1f", "\x7f",
        "\n" };
    std::mt19937 random(20261123);
    std::uniform_int_distribution<int> count(0, 7);
    std::uniform_int_distribution<int> pick(0, int(std::size(pieces)) - 1);
    for (int i = 0; i < 20000; ++i) {
        QString line;
        for (int n = count(random); n > 0; --n)
            line += QString::fromUtf8(pieces[pick(random)]);
        ASSERT_EQ(OldFormatText::of(line), OldFormatText::ofByExpression(line))
            << line.toStdString();
    }
}
