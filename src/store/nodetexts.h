#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace zefa::msg_filter::impl_detail {

/// The texts a message node owns alone (its display string and both argument lists),
/// packed into one block so that a node costs one allocation for them instead of one per
/// text and per list.
///
/// The block is Latin-1 when every character fits, UTF-16 otherwise. Each text keeps
/// whether it was null, so every list and string reads back exactly as it went in.
class NodeTexts {
public:
    static QByteArray pack(const QString& displayString, const QStringList& dynamicData,
        const QStringList& navigationData);

    static QString displayString(const QByteArray& block);
    static QStringList dynamicData(const QByteArray& block);
    static QStringList navigationData(const QByteArray& block);
};

} // namespace zefa::msg_filter::impl_detail
