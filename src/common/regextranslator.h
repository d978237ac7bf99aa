#pragma once

#include "common/capturereader.h"

#include <QString>

#include <bitset>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zefa::msg_filter::impl_detail {

/// A pattern of the library's dialect rewritten for the automaton engine, which matches
/// 8-bit text whose bytes are the Latin-1 characters of the same code.
///
/// Every character set (literal, class, `.`, `\s`, `\w`, `\d`, escapes, in either case
/// mode) is written out as the explicit set of bytes the reference engine accepts for it,
/// so the two engines cannot disagree on what a character is. `^` becomes "start of text"
/// and `$` "end of text". Constructs whose meaning the automaton cannot carry (look-ahead,
/// word boundaries, back-references, anchors under a quantifier) make the translation a
/// superset: it matches wherever the pattern matches, and maybe elsewhere, so it may only
/// rule a match out.
struct TranslatedPattern {
    enum class Fidelity {
        Exact, ///< same matches, same leftmost-longest bounds
        Superset, ///< matches at least wherever the pattern does
        None, ///< nothing usable: the reference engine decides alone
    };

    Fidelity fidelity = Fidelity::None;
    std::string text; ///< automaton syntax; empty when fidelity is None
    /// Reads the groups of an exact translation's matches where it can; null where groups
    /// lie in repetitions, anchors stand inside the pattern, or the pattern is too large.
    std::shared_ptr<const CaptureReader> captures;

    /// What a pattern anchored at the start needs first, as "^\s*ERROR" needs an E after
    /// the leading white space: its first character past a run of `skipped` ones is one
    /// of `first`, which holds none of them.
    struct Opening {
        std::bitset<256> skipped;
        std::bitset<256> first;
    };
    /// Set where the pattern is anchored at the start and begins that way.
    std::optional<Opening> opening;

    /// False when the text surely has no match from offset 0: its opening is not there.
    bool mayOpen(std::string_view latin1) const
    {
        if (!opening) {
            return true;
        }
        std::size_t at = 0;
        while (
            at < latin1.size() && opening->skipped.test(static_cast<unsigned char>(latin1[at]))) {
            ++at;
        }
        return at < latin1.size() && opening->first.test(static_cast<unsigned char>(latin1[at]));
    }
};

/// Translates a pattern the reference engine accepts; an invalid pattern yields None.
TranslatedPattern translatePattern(const QString& pattern, bool caseSensitive);

} // namespace zefa::msg_filter::impl_detail
