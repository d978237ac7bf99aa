#pragma once

#include "common/matchspan.h"

#include <bitset>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// Reads the capture groups of a match from the characters alone, where the pattern can
/// match the matched stretch one way only.
///
/// The reader is the pattern's position automaton: one state per character set of the
/// pattern, an edge from each state to every state that may read the next character.
/// Over a stretch the whole pattern matches, the states that lie on some way through it
/// are found forwards and backwards; where there is exactly one state per character,
/// there is exactly one way to match, and every engine that reports that stretch must
/// split its groups as that way does: a group spans the characters its states read, and
/// a group that reads none took no part (unless it may match empty: then the reader
/// cannot tell, and says so).
///
/// The translator builds it for patterns whose groups lie outside repetitions and whose
/// anchors stand only at the very start and end.
class CaptureReader {
public:
    /// One character set of the pattern: the bytes it reads and the groups it lies in
    /// (bit g for group g + 1).
    struct State {
        std::bitset<256> bytes;
        std::uint64_t groups = 0;
    };

    /// `follow[s]` lists the states that may read the character after one `s` read;
    /// `first` and `last` the states that may read the first and the last character.
    /// `groupMayBeEmpty[g]` tells whether group g + 1 may match the empty string.
    /// What the states alone do not tell of the pattern.
    struct Shape {
        bool mayBeEmpty = false; ///< it may match the empty string
        bool startAnchored = false; ///< it matches only at the start of the text
        bool endAnchored = false; ///< it matches only at the end of the text
    };

    CaptureReader(const std::vector<State>& states, const std::vector<std::vector<int>>& follow,
        const std::vector<int>& first, const std::vector<int>& last,
        std::vector<bool> groupMayBeEmpty, Shape shape);

    int groupCount() const { return static_cast<int>(m_groupMayBeEmpty.size()); }
    bool startAnchored() const { return m_shape.startAnchored; }

    /// Where the groups lie (entry 0 the whole stretch, then one per group, not found for
    /// a group that took no part) when the pattern matched `length` characters from
    /// `position`. False when the stretch can be matched more than one way, is empty, or a
    /// group's part cannot be told.
    bool read(
        std::string_view latin1, int position, int length, std::vector<MatchSpan>& spans) const;

    enum class Outcome {
        Read, ///< the spans are filled
        NoMatch, ///< the pattern matches nowhere from the start
        Unreadable, ///< it matches there, but the groups cannot be told from the characters
        Declined, ///< the reader cannot tell
    };
    /// For a pattern that matches only at the start of the text: its longest match there,
    /// found and read from the characters alone, where it can be matched one way only.
    Outcome readLongestFromStart(std::string_view latin1, std::vector<MatchSpan>& spans) const;

private:
    using Word = std::uint64_t;
    struct Scratch;

    template <std::size_t Words>
    std::size_t forward(const unsigned char* text, std::size_t size, std::vector<Word>& reachTable,
        std::vector<Word>& followingTable) const;
    std::size_t forwardInOneWord(const unsigned char* text, std::size_t size, Word* reach) const;
    template <std::size_t Words>
    bool backward(
        std::size_t end, const std::vector<Word>& reachTable, std::vector<std::size_t>& path) const;
    template <std::size_t Words>
    std::size_t longest(std::size_t reached, const std::vector<Word>& reachTable) const;
    template <std::size_t Words>
    Outcome readPath(const unsigned char* text, std::size_t size, bool longestFromStart,
        std::size_t& length, Scratch& scratch) const;
    /// The path through the first `size` characters, or the longest one from the first
    /// character, into scratch.path.
    Outcome readPath(const unsigned char* text, std::size_t size, bool longestFromStart,
        std::size_t& length, Scratch& scratch) const;
    /// The spans of the groups along scratch.path, for a match at `position`; false when a
    /// group's part cannot be told.
    bool spansOf(int position, Scratch& scratch, std::vector<MatchSpan>& spans) const;

    const Word* row(const std::vector<Word>& table, std::size_t index) const
    {
        return table.data() + index * m_words;
    }

    std::size_t m_words = 0; ///< words of one set of states
    std::vector<Word> m_byteStates; ///< per byte, the states that read it
    std::vector<Word> m_follow; ///< per state, the states after it
    std::vector<Word> m_precede; ///< per state, the states before it
    std::vector<Word> m_first;
    std::vector<Word> m_last;
    std::vector<std::uint64_t> m_groupsOf; ///< per state, its groups
    std::vector<bool> m_groupMayBeEmpty;
    Shape m_shape;
};

} // namespace zefa::msg_filter::impl_detail
