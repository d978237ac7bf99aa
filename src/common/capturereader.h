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
    CaptureReader(const std::vector<State>& states, const std::vector<std::vector<int>>& follow,
        const std::vector<int>& first, const std::vector<int>& last,
        std::vector<bool> groupMayBeEmpty);

    int groupCount() const { return static_cast<int>(m_groupMayBeEmpty.size()); }

    /// Where the groups lie (entry 0 the whole stretch, then one per group, not found for
    /// a group that took no part) when the pattern matched `length` characters from
    /// `position`. False when the stretch can be matched more than one way, is empty, or a
    /// group's part cannot be told.
    bool read(
        std::string_view latin1, int position, int length, std::vector<MatchSpan>& spans) const;

private:
    using Word = std::uint64_t;

    template <std::size_t Words>
    bool findPath(const unsigned char* text, std::size_t size, std::vector<Word>& reachTable,
        std::vector<Word>& followingTable, std::vector<std::size_t>& path) const;

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
};

} // namespace zefa::msg_filter::impl_detail
