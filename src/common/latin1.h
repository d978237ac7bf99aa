#pragma once

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

namespace zefa::msg_filter::impl_detail {

// The rule engine and the host speak 8-bit strings; Qt text crosses over as Latin-1: every
// byte maps to the character of the same code and back, over the whole string, NUL bytes
// included. A character beyond Latin-1 (only possible from an XML file or a host's QString)
// becomes '?'.

inline QString fromLatin1(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

inline std::string toLatin1(const QString& text)
{
    // What QString::toLatin1() writes, one byte per UTF-16 unit, without its array.
    std::string bytes(static_cast<std::size_t>(text.size()), '\0');
    const QChar* characters = text.constData();
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        const ushort code = characters[index].unicode();
        bytes[index] = code > 0xff ? '?' : static_cast<char>(code);
    }
    return bytes;
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
