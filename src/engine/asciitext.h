#pragma once

#include <QByteArray>
#include <QString>

#include <string>

namespace zefa::msg_filter::impl_detail {

// The host speaks 8-bit text and the engine side works on QString; both directions are
// plain ASCII conversions (Latin-1 in Qt 5, which is what the host's text has always meant).
inline QString fromHostText(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

inline std::string toHostText(const QString& text)
{
    return text.toLatin1().toStdString();
}

} // namespace zefa::msg_filter::impl_detail
