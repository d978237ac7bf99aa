// Text crossing between the 8-bit engine and Qt: every byte, NUL included, and back.

#include "common/latin1.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

TEST(Latin1, EveryByteCrossesBothWays)
{
    std::string all;
    for (int code = 0; code < 256; ++code) {
        all += static_cast<char>(code);
    }
    const QString text = fromLatin1(all);
    ASSERT_EQ(text.size(), 256);
    EXPECT_EQ(text.at(0xe9), QChar(0xe9));
    EXPECT_EQ(toLatin1(text), all);
}

// Beyond Latin-1 each UTF-16 unit becomes one '?', as QString::toLatin1() writes it.
TEST(Latin1, CharactersBeyondLatin1BecomeQuestionMarks)
{
    const struct {
        const char* name;
        QString text;
    } rows[] = {
        { "empty", QString() },
        { "euro sign", QStringLiteral("a\u20acb") },
        { "surrogate pair", QStringLiteral("x\U0001F600y") },
        { "lone surrogate and NUL", QString(QChar(0xd800)) + QChar(0) + QChar(0xff) },
        { "last Latin-1 and first beyond", QString(QChar(0xff)) + QChar(0x100) },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(toLatin1(row.text), row.text.toLatin1().toStdString());
    }
    EXPECT_EQ(toLatin1(QStringLiteral("x\U0001F600y")), "x??y");
}

} // namespace
