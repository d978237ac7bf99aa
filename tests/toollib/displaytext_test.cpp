// Bytes of tool output decoded for display: valid UTF-8 as UTF-8, anything else as
// Latin-1, and the parts of a line the way the whole line decodes.

#include "displaytext.h"

#include <gtest/gtest.h>

using zefa::msg_filter::tool::displayText;
using zefa::msg_filter::tool::LineDecoder;

namespace {

struct DecodingRow {
    const char* name;
    std::string bytes;
    QString shown;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const DecodingRow& row, std::ostream* out)
{
    *out << row.name;
}

class DisplayText : public testing::TestWithParam<DecodingRow> { };

TEST_P(DisplayText, ShowsValidUtf8AsUtf8AndEverythingElseAsLatin1)
{
    const DecodingRow& row = GetParam();
    const QString shown = displayText(row.bytes);
    EXPECT_EQ(shown, row.shown);
    // Either reading gives the bytes back: nothing is replaced or lost.
    const QByteArray back =
        shown == QString::fromLatin1(row.bytes.data(), static_cast<int>(row.bytes.size()))
        ? shown.toLatin1()
        : shown.toUtf8();
    EXPECT_EQ(back.toStdString(), row.bytes);
}

INSTANTIATE_TEST_SUITE_P(Rows, DisplayText,
    testing::Values(DecodingRow { "empty", "", QString() },
        DecodingRow { "ascii", "Warning: plain [a.v:3]", QStringLiteral("Warning: plain [a.v:3]") },
        DecodingRow { "utf8_two_bytes", "caf\xc3\xa9", QStringLiteral("caf\u00e9") },
        DecodingRow { "utf8_four_bytes", "\xf0\x9f\x98\x80!", QStringLiteral("\U0001F600!") },
        DecodingRow { "latin1_e_acute", "caf\xe9", QStringLiteral("caf\u00e9") },
        DecodingRow { "truncated_utf8_sequence", "caf\xc3", QStringLiteral("caf\u00c3") },
        DecodingRow { "overlong_slash", "\xc0\xaf", QStringLiteral("\u00c0\u00af") },
        DecodingRow { "encoded_surrogate", "\xed\xa0\x80", QStringLiteral("\u00ed\u00a0\u0080") },
        DecodingRow {
            "beyond_unicode", "\xf4\x90\x80\x80", QStringLiteral("\u00f4\u0090\u0080\u0080") },
        DecodingRow { "utf8_then_latin1", "\xc3\xa9 \xe9", QStringLiteral("\u00c3\u00a9 \u00e9") },
        // Bytes are screened for ASCII eight at a time, then one by one.
        DecodingRow { "latin1_in_a_whole_word", "0123456789 caf\xe9 and more",
            QStringLiteral("0123456789 caf\u00e9 and more") },
        DecodingRow { "latin1_in_the_last_bytes", "0123456789abcdef caf\xe9",
            QStringLiteral("0123456789abcdef caf\u00e9") }),
    [](const testing::TestParamInfo<DecodingRow>& info) { return std::string(info.param.name); });

struct PartRow {
    const char* name;
    std::string line;
    std::string part;
    QString shown;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const PartRow& row, std::ostream* out)
{
    *out << row.name;
}

class LineParts : public testing::TestWithParam<PartRow> { };

TEST_P(LineParts, DecodeAsTheirLineDoes)
{
    const PartRow& row = GetParam();
    EXPECT_EQ(LineDecoder(row.line)(row.part), row.shown);
}

INSTANTIATE_TEST_SUITE_P(Rows, LineParts,
    testing::Values(PartRow { "utf8_part_of_utf8_line", "file caf\xc3\xa9.v", "caf\xc3\xa9",
                        QStringLiteral("caf\u00e9") },
        // Bytes that happen to be valid UTF-8 inside a Latin-1 line stay Latin-1.
        PartRow { "utf8_looking_part_of_latin1_line", "caf\xe9 \xc3\xa9", "\xc3\xa9",
            QStringLiteral("\u00c3\u00a9") },
        // A pattern that cuts a character in two leaves bytes no UTF-8 reading takes.
        PartRow {
            "part_cut_inside_a_character", "caf\xc3\xa9", "caf\xc3", QStringLiteral("caf\u00c3") }),
    [](const testing::TestParamInfo<PartRow>& info) { return std::string(info.param.name); });

TEST(LineDecoder, DecodesTheWholeLineOnce)
{
    EXPECT_EQ(LineDecoder("Warning: caf\xe9").line(), QStringLiteral("Warning: caf\u00e9"));
    EXPECT_EQ(LineDecoder("Warning: caf\xc3\xa9").line(), QStringLiteral("Warning: caf\u00e9"));
}

} // namespace
