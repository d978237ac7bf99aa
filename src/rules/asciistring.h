#pragma once

#include <QString>

#include <string>

namespace zefa::msg_filter::impl_detail {

// The rule engine keeps 8-bit strings, the pattern engine works on QString: every byte
// maps to the character of the same code and back. The whole string is converted, NUL
// bytes included. Characters beyond 8 bits (only possible from the XML file) become '?'.
inline QString toQString(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

inline std::string toStdString(const QString& text)
{
    return text.toLatin1().toStdString();
}

} // namespace zefa::msg_filter::impl_detail
