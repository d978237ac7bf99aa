#pragma once

#include <QRegExp>
#include <QString>
#include <QStringList>

namespace zefa::msg_filter::impl_detail {

/// One regular expression of the library's pattern dialect (QRegExp syntax), compiled once.
///
/// Every pattern the library runs goes through this class, so a faster engine replaces
/// this one file. A pattern is compiled at construction; an invalid one never matches
/// and reports nothing, which is what the rule files rely on. The object is immutable:
/// each search works on its own match state, so one pattern may be shared by threads.
class RegexPattern {
public:
    enum class Case { Sensitive, Insensitive };

    /// Where and what one search found.
    struct Match {
        int position = -1; ///< offset of the match, -1 when there was none
        int length = -1; ///< matched length, 0 for an empty match, -1 when none
        QStringList captures; ///< entry 0 the whole match, then one per group ("" if unused)

        bool found() const { return position >= 0; }
    };

    explicit RegexPattern(const QString& pattern, Case sensitivity = Case::Sensitive);

    bool isValid() const;
    /// The engine's own description of why the pattern does not compile.
    QString errorString() const;
    /// Number of capture groups in the pattern.
    int captureCount() const;

    /// The leftmost match at or after `from`; `^` matches only at offset 0.
    Match search(const QString& text, int from = 0) const;
    /// Whether the whole text matches; `captures` receives the groups when it does.
    bool matchesWhole(const QString& text, QStringList* captures = nullptr) const;
    /// Splits `text` at every match of the pattern, dropping empty pieces.
    QStringList splitSkippingEmpty(const QString& text) const;

private:
    QRegExp m_expression;
};

} // namespace zefa::msg_filter::impl_detail
