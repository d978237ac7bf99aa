#pragma once

#include <QSet>
#include <QString>

namespace zefa::msg_filter::impl_detail {

/// Hands out one shared copy of each distinct text, so that the many nodes carrying the
/// same id or severity word hold a reference instead of a copy of their own.
class TextPool {
public:
    /// The pool's copy of `text`, equal to it (null stays null).
    QString shared(const QString& text);

private:
    QSet<QString> m_texts;
};

} // namespace zefa::msg_filter::impl_detail
