#pragma once

#include <memory>
#include <string_view>
#include <vector>

namespace re2 {
class RE2;
} // namespace re2

namespace zefa::msg_filter::impl_detail {

class RegexPattern;

/// Many patterns screened in one pass over a text: which of them may match at all.
///
/// Built once from patterns that stay alive and unchanged while it is used; read-only
/// afterwards, so any number of threads may screen at once. A pattern that the automaton
/// cannot screen (see RegexPattern::translation) is always a candidate, and so is every
/// pattern when the automaton runs out of memory on a text.
///
///     PatternSet set({&error, &warning});
///     std::vector<int> maybe;
///     set.candidates("WARNING: x", maybe); // {1}: only `warning` may match
class PatternSet {
public:
    explicit PatternSet(const std::vector<const RegexPattern*>& patterns);
    ~PatternSet();
    PatternSet(const PatternSet&) = delete;
    PatternSet& operator=(const PatternSet&) = delete;

    /// Replaces `indices` with the ascending indices of the patterns that may match
    /// somewhere in `latin1`; a pattern left out does not match anywhere in it. False
    /// when the automaton gave up on the text and every pattern is listed.
    bool candidates(std::string_view latin1, std::vector<int>& indices) const;
    /// Whether a pattern listed by a candidates() that returned true surely matches: its
    /// automaton form matches exactly where it does.
    bool listedMeansMatch(int index) const;

private:
    class Screen;

    int m_count = 0;
    std::unique_ptr<const Screen> m_screen;
    std::vector<int> m_unscreened; ///< ascending
    std::vector<bool> m_listedMeansMatch; ///< per pattern
};

} // namespace zefa::msg_filter::impl_detail
