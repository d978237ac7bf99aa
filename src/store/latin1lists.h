#pragma once

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

namespace zefa::msg_filter::impl_detail {

// The host catalogue speaks 8-bit strings; Qt text crosses over as Latin-1, so a
// character outside Latin-1 arrives as '?'.
inline std::vector<std::string> toLatin1Vector(const QStringList& list)
{
    std::vector<std::string> out;
    out.reserve(static_cast<size_t>(list.size()));
    for (const QString& entry : list)
        out.push_back(entry.toLatin1().toStdString());
    return out;
}

inline QString fromLatin1String(const std::string& text)
{
    return QString::fromLatin1(text.data(), static_cast<int>(text.size()));
}

inline QStringList fromLatin1Vector(const std::vector<std::string>& list)
{
    QStringList out;
    out.reserve(static_cast<int>(list.size()));
    for (const std::string& entry : list)
        out.append(fromLatin1String(entry));
    return out;
}

} // namespace zefa::msg_filter::impl_detail
