#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QRegExp;

namespace zefa::msg_filter::impl_detail {

/// One regular expression of the library's pattern dialect (QRegExp syntax), compiled once.
///
/// Every pattern the library runs goes through this class, so a faster engine replaces
/// this one file. A pattern is compiled at construction; an invalid one never matches
/// and reports nothing, which is what the rule files rely on.
///
/// The object is an immutable handle: copies share the compiled expression (a copy costs a
/// reference count), and each search runs on its own match state, so one pattern may be
/// searched from several threads at once. Results are exactly those of a QRegExp built
/// from the same pattern for that one search, invalid patterns included.
///
///     const RegexPattern fileAndLine(QStringLiteral("(\\S+):(\\d+):"));
///     const RegexPattern::Match m = fileAndLine.search(QStringLiteral("top.v:12: oops"));
///     // m.position == 0, m.length == 9, m.captures == {"top.v:12:", "top.v", "12"}
class RegexPattern {
public:
    enum class Case { Sensitive, Insensitive };
    /// Whether a search collects the captured texts (skip it when only position and
    /// length matter: it saves building a string list per search).
    enum class Captures { Collect, Skip };

    /// Where and what one search found.
    struct Match {
        int position = -1; ///< offset of the match, -1 when there was none
        int length = -1; ///< matched length, 0 for an empty match, -1 when none
        /// Entry 0 the whole match, then one per capture group ("" for a group that took
        /// no part); empty when there was no match or captures were skipped.
        QStringList captures;

        bool found() const { return position >= 0; }
    };

    explicit RegexPattern(const QString& pattern, Case sensitivity = Case::Sensitive);

    /// The pattern text as given.
    QString pattern() const;
    bool isValid() const;
    /// The engine's own description of why the pattern does not compile.
    QString errorString() const;
    /// Number of capture groups in the pattern.
    int captureCount() const;

    /// The leftmost match at or after `from`; `^` matches only at offset 0 of the text,
    /// whatever `from` is.
    Match search(const QString& text, int from = 0, Captures captures = Captures::Collect) const;
    /// Whether the whole text matches; `captures` receives the groups when it does.
    bool matchesWhole(const QString& text, QStringList* captures = nullptr) const;
    /// Splits `text` at every match of the pattern, dropping empty pieces.
    QStringList splitSkippingEmpty(const QString& text) const;

private:
    // Never searched itself: every search works on a copy, which shares the compiled
    // engine but owns its match state. That keeps this object read-only after construction.
    std::shared_ptr<const QRegExp> m_expression;
};

} // namespace zefa::msg_filter::impl_detail
