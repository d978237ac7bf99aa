// Text crosses between Qt and the 8-bit side as QString's own Latin-1 conversion has it.

#include "common/latin1.h"

#include <gtest/gtest.h>

using zefa::msg_filter::impl_detail::fromLatin1;
using zefa::msg_filter::impl_detail::toLatin1;

TEST(Latin1, ConvertsAsQStringDoes)
{
    const QChar nul(0);
    const struct {
        const char* name;
        QString text;
    } rows[] = {
        { "empty", QString() },
        { "ASCII", QStringLiteral("net n_1 of cell u_1") },
        { "every Latin-1 character",
            [] {
                QString all;
                for (int code = 0; code < 256; ++code)
                    all += QChar(code);
                return all;
            }() },
        { "NUL inside", QString(nul) + QStringLiteral("a") + nul },
        { "beyond Latin-1", QString::fromUtf8("Ω≠ω ĀŁ") },
        { "a surrogate pair and a lone surrogate",
            QString::fromUtf8("😀") + QChar(0xd800) + QStringLiteral("x") },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const QByteArray expected = row.text.toLatin1();
        EXPECT_EQ(toLatin1(row.text), std::string(expected.constData(), size_t(expected.size())));
        EXPECT_EQ(fromLatin1(toLatin1(row.text)),
            QString::fromLatin1(expected.constData(), expected.size()));
    }
}
