#pragma once

#include <QString>
#include <QStringList>

#include <algorithm>
#include <string>
#include <vector>

namespace zefa::msg_filter::impl_detail {

// The rule engine and the host speak 8-bit strings; Qt text crosses over as Latin-1: every
// byte maps to the character of the same code and back, over the whole string, NUL bytes
// included. A character beyond Latin-1 (only possible from an XML file or a host's QString)
// becomes '?'.

inline bool fitsLatin1(const QString& text)
{
    for (const QChar ch : text)
        if (ch.unicode() > 0xff)
            return false;
    return true;
}

inline QString fromLatin1(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

// Straight into the string, each character Latin-1 lacks made '?' as QString::toLatin1()
// makes it, without the byte array in between.
inline std::string toLatin1(const QString& text)
{
    std::string out(static_cast<std::size_t>(text.size()), '\0');
    std::transform(text.cbegin(), text.cend(), out.begin(),
        [](QChar ch) { return ch.unicode() > 0xff ? '?' : static_cast<char>(ch.unicode()); });
    return out;
}

inline QStringList fromLatin1(const std::vector<std::string>& list)
{
    QStringList out;
    out.reserve(static_cast<int>(list.size()));
    for (const std::string& entry : list)
        out.append(fromLatin1(entry));
    return out;
}

inline std::vector<std::string> toLatin1(const QStringList& list)
{
    std::vector<std::string> out;
    out.reserve(static_cast<size_t>(list.size()));
    for (const QString& entry : list)
        out.push_back(toLatin1(entry));
    return out;
}

} // namespace zefa::msg_filter::impl_detail
