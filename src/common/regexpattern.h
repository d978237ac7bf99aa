#pragma once

#include "common/matchspan.h"
#include "common/regextranslator.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <string_view>
#include <vector>

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
/// Searches run on an automaton where the pattern translates to one with the same
/// matches (see TranslatedPattern); its leftmost-longest match is the match QRegExp
/// reports. Where the pattern can match that stretch one way only, the captured texts
/// follow from it (see CaptureReader); otherwise they come from QRegExp, started at the
/// position the automaton found, because the two engines may split groups differently.
/// Where only a superset translates, the automaton rules lines out and QRegExp decides the
/// rest; where nothing translates, or the text holds a character beyond Latin-1, QRegExp
/// runs alone.
/// The build option MSGFILTER_REFERENCE_REGEX, or MSGFILTER_REGEX_ENGINE=reference in the
/// environment (read once; meant for comparing the engines), makes QRegExp run alone always.
///
///     const RegexPattern fileAndLine(QStringLiteral("(\\S+):(\\d+):"));
///     const RegexPattern::Match m = fileAndLine.search(QStringLiteral("top.v:12: oops"));
///     // m.position == 0, m.length == 9, m.captures == {"top.v:12:", "top.v", "12"}
class RegexPattern {
public:
    enum class Case { Sensitive, Insensitive };
    /// Whether a search collects the captured texts, only where they lie (Spans: no
    /// string is built), or nothing but the match's position and length.
    enum class Captures { Collect, Spans, Skip };

    /// Where and what one search found.
    struct Match {
        int position = -1; ///< offset of the match, -1 when there was none
        int length = -1; ///< matched length, 0 for an empty match, -1 when none
        /// Entry 0 the whole match, then one per capture group ("" for a group that took
        /// no part); filled by Captures::Collect when there was a match.
        QStringList captures;
        /// The same as places in the text searched; filled by Captures::Spans.
        std::vector<MatchSpan> spans;

        bool found() const { return position >= 0; }
    };

    /// `Reference` makes every search of this pattern run on QRegExp alone: the yardstick
    /// the automaton is compared against.
    enum class Engine { Automatic, Reference };

    explicit RegexPattern(const QString& pattern, Case sensitivity = Case::Sensitive,
        Engine engine = Engine::Automatic);

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
    /// The same on 8-bit text, each byte being the Latin-1 character of that code.
    Match search(
        std::string_view latin1, int from = 0, Captures captures = Captures::Collect) const;
    /// Whether the whole text matches; `captures` receives the groups when it does.
    bool matchesWhole(const QString& text, QStringList* captures = nullptr) const;
    /// Splits `text` at every match of the pattern, dropping empty pieces.
    QStringList splitSkippingEmpty(const QString& text) const;

    /// What the automaton runs for this pattern; fidelity None when QRegExp runs alone.
    const TranslatedPattern& translation() const;

private:
    struct Compiled;

    Match searchOnAutomaton(
        std::string_view latin1, int from, Captures captures, const QString* text) const;
    Match searchOnReference(const QString& text, int from, Captures captures) const;

    // Immutable after construction and shared between copies.
    std::shared_ptr<const Compiled> m_compiled;
};

} // namespace zefa::msg_filter::impl_detail
