#include "capturereader.h"

#include <algorithm>

namespace zefa::msg_filter::impl_detail {

namespace {

constexpr std::size_t kWordBits = 64;

// The largest table of states per character a read builds (16 MiB): a match beyond it,
// on a line of megabytes, keeps QRegExp's groups.
constexpr std::size_t kMostTableWords = std::size_t { 1 } << 21;
// The largest table a thread keeps between reads.
constexpr std::size_t kKeptTableWords = std::size_t { 1 } << 16;

void setBit(std::uint64_t* words, int bit)
{
    words[static_cast<std::size_t>(bit) / kWordBits] |= std::uint64_t { 1 }
        << (static_cast<std::size_t>(bit) % kWordBits);
}

} // namespace

CaptureReader::CaptureReader(const std::vector<State>& states,
    const std::vector<std::vector<int>>& follow, const std::vector<int>& first,
    const std::vector<int>& last, std::vector<bool> groupMayBeEmpty, Shape shape)
    : m_words((states.size() + kWordBits - 1) / kWordBits)
    , m_byteStates(256 * m_words)
    , m_follow(states.size() * m_words)
    , m_precede(states.size() * m_words)
    , m_first(m_words)
    , m_last(m_words)
    , m_groupMayBeEmpty(std::move(groupMayBeEmpty))
    , m_shape(shape)
{
    for (std::size_t state = 0; state < states.size(); ++state) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            if (states[state].bytes.test(byte)) {
                setBit(m_byteStates.data() + byte * m_words, static_cast<int>(state));
            }
        }
        m_groupsOf.push_back(states[state].groups);
        for (const int next : follow[state]) {
            setBit(m_follow.data() + state * m_words, next);
            setBit(m_precede.data() + static_cast<std::size_t>(next) * m_words,
                static_cast<int>(state));
        }
    }
    for (const int state : first) {
        setBit(m_first.data(), state);
    }
    for (const int state : last) {
        setBit(m_last.data(), state);
    }
}

namespace {

} // namespace

// What one read works on, kept per thread so that reading allocates nothing once warm.
struct CaptureReader::Scratch {
    std::vector<Word> reach;
    std::vector<Word> following;
    std::vector<std::size_t> path;
    std::vector<int> begin;
    std::vector<int> end;
};

// reach[i]: the states that may read character i, coming from the start; filled while
// some state reads the character, up to `size` characters. Returns how many were reached.
// `Words` is the size of a set of states when known at compile time (most patterns need
// one or two words), 0 when only `m_words` tells.
template <std::size_t Words>
std::size_t CaptureReader::forward(const unsigned char* text, std::size_t size,
    std::vector<Word>& reachTable, std::vector<Word>& followingTable) const
{
    const std::size_t words = Words != 0 ? Words : m_words;
    reachTable.resize(size * words);
    if constexpr (Words == 1) {
        return forwardInOneWord(text, size, reachTable.data());
    }
    followingTable.resize(words);
    Word* const reach = reachTable.data();
    Word* const following = followingTable.data();
    const Word* bytes = row(m_byteStates, text[0]);
    Word any = 0;
    for (std::size_t word = 0; word < words; ++word) {
        reach[word] = m_first[word] & bytes[word];
        any |= reach[word];
    }
    if (any == 0) {
        return 0;
    }
    for (std::size_t index = 1; index < size; ++index) {
        const Word* before = reach + (index - 1) * words;
        // Inside a repetition the same states read character after character: what
        // follows them is known already.
        if (index == 1 || !std::equal(before, before + words, before - words)) {
            std::fill(following, following + words, 0);
            for (std::size_t word = 0; word < words; ++word) {
                for (Word bits = before[word]; bits != 0; bits &= bits - 1) {
                    const Word* next = row(m_follow,
                        word * kWordBits + static_cast<std::size_t>(__builtin_ctzll(bits)));
                    for (std::size_t target = 0; target < words; ++target) {
                        following[target] |= next[target];
                    }
                }
            }
        }
        Word* now = reach + index * words;
        bytes = row(m_byteStates, text[index]);
        any = 0;
        for (std::size_t word = 0; word < words; ++word) {
            now[word] = following[word] & bytes[word];
            any |= now[word];
        }
        if (any == 0) {
            return index;
        }
    }
    return size;
}

// forward() where a set of states fits in one word. The sets reached follow one another
// among a few values (inside a message: a space, a word character, a space again), so
// what may follow each is kept in a small table instead of being worked out again.
std::size_t CaptureReader::forwardInOneWord(
    const unsigned char* text, std::size_t size, Word* reach) const
{
    struct Known {
        Word states = 0; ///< 0, which never needs a look-up, marks a free entry
        Word following = 0;
    };
    constexpr unsigned kSlotBits = 4;
    Known known[std::size_t { 1 } << kSlotBits] = {};
    Word current = m_first[0] & m_byteStates[text[0]];
    reach[0] = current;
    for (std::size_t index = 1; index < size && current != 0; ++index) {
        Known& slot = known[(current * 0x9e3779b97f4a7c15ULL) >> (kWordBits - kSlotBits)];
        if (slot.states != current) {
            Word following = 0;
            for (Word bits = current; bits != 0; bits &= bits - 1) {
                following |= m_follow[static_cast<std::size_t>(__builtin_ctzll(bits))];
            }
            slot = { current, following };
        }
        current = slot.following & m_byteStates[text[index]];
        reach[index] = current;
        if (current == 0) {
            return index;
        }
    }
    return current == 0 ? 0 : size;
}

// Backwards from character `end` - 1, the one state of each character on a way through
// the first `end` characters; false when there is none or more than one.
template <std::size_t Words>
bool CaptureReader::backward(
    std::size_t end, const std::vector<Word>& reachTable, std::vector<std::size_t>& path) const
{
    const std::size_t words = Words != 0 ? Words : m_words;
    const Word* const reach = reachTable.data();
    path.resize(end);
    const Word* allowed = m_last.data();
    for (std::size_t index = end; index-- > 0;) {
        const Word* reached = reach + index * words;
        if (words == 1 && (reached[0] & (reached[0] - 1)) == 0) {
            // One state reached the character: the path goes through it or nowhere. Where
            // it goes next is known without waiting for the check.
            if ((reached[0] & allowed[0]) == 0) {
                return false;
            }
            path[index] = static_cast<std::size_t>(__builtin_ctzll(reached[0]));
            allowed = row(m_precede, path[index]);
            continue;
        }
        int found = 0;
        for (std::size_t word = 0; word < words; ++word) {
            const Word live = reached[word] & allowed[word];
            if (live == 0) {
                continue;
            }
            if ((live & (live - 1)) != 0 || ++found > 1) {
                return false;
            }
            path[index] = word * kWordBits + static_cast<std::size_t>(__builtin_ctzll(live));
        }
        if (found == 0) {
            return false;
        }
        allowed = row(m_precede, path[index]);
    }
    return true;
}

// The longest stretch from the first character that the pattern matches: its length, 0
// when none does.
template <std::size_t Words>
std::size_t CaptureReader::longest(std::size_t reached, const std::vector<Word>& reachTable) const
{
    const std::size_t words = Words != 0 ? Words : m_words;
    for (std::size_t end = reached; end > 0; --end) {
        const Word* states = reachTable.data() + (end - 1) * words;
        bool last = false;
        for (std::size_t word = 0; word < words; ++word) {
            last = last || (states[word] & m_last[word]) != 0;
        }
        if (last) {
            return end;
        }
        if (m_shape.endAnchored) {
            break;
        }
    }
    return 0;
}

template <std::size_t Words>
CaptureReader::Outcome CaptureReader::readPath(const unsigned char* text, std::size_t size,
    bool longestFromStart, std::size_t& length, Scratch& scratch) const
{
    std::vector<Word>& reach = scratch.reach;
    std::vector<std::size_t>& path = scratch.path;
    const std::size_t reached = forward<Words>(text, size, reach, scratch.following);
    Outcome outcome = Outcome::Declined;
    if (longestFromStart) {
        length = m_shape.endAnchored && reached < size ? 0 : longest<Words>(reached, reach);
        outcome = length == 0 ? (m_shape.mayBeEmpty ? Outcome::Declined : Outcome::NoMatch)
            : backward<Words>(length, reach, path) ? Outcome::Read
                                                   : Outcome::Unreadable;
    } else {
        length = size;
        outcome = reached == size && backward<Words>(size, reach, path) ? Outcome::Read
                                                                        : Outcome::Declined;
    }
    // A long line's table is not kept for the short ones after it.
    if (reach.size() > kKeptTableWords) {
        reach = {};
    }
    return outcome;
}

CaptureReader::Outcome CaptureReader::readPath(const unsigned char* text, std::size_t size,
    bool longestFromStart, std::size_t& length, Scratch& scratch) const
{
    return m_words == 1 ? readPath<1>(text, size, longestFromStart, length, scratch)
        : m_words == 2  ? readPath<2>(text, size, longestFromStart, length, scratch)
                        : readPath<0>(text, size, longestFromStart, length, scratch);
}

bool CaptureReader::read(
    std::string_view latin1, int position, int length, std::vector<MatchSpan>& spans) const
{
    const auto size = static_cast<std::size_t>(length);
    if (length <= 0 || m_words == 0 || size * m_words > kMostTableWords) {
        return false;
    }
    thread_local Scratch scratch;
    std::size_t read = 0;
    return readPath(reinterpret_cast<const unsigned char*>(latin1.data()) + position, size, false,
               read, scratch)
        == Outcome::Read
        && spansOf(position, scratch, spans);
}

CaptureReader::Outcome CaptureReader::readLongestFromStart(
    std::string_view latin1, std::vector<MatchSpan>& spans) const
{
    const std::size_t size = latin1.size();
    if (size == 0 || m_words == 0 || size * m_words > kMostTableWords) {
        return Outcome::Declined;
    }
    thread_local Scratch scratch;
    std::size_t length = 0;
    const Outcome outcome = readPath(
        reinterpret_cast<const unsigned char*>(latin1.data()), size, true, length, scratch);
    if (outcome == Outcome::Read && !spansOf(0, scratch, spans)) {
        return Outcome::Unreadable;
    }
    return outcome;
}

bool CaptureReader::spansOf(int position, Scratch& scratch, std::vector<MatchSpan>& spans) const
{
    // The groups of consecutive characters differ only where a group begins or ends. A
    // group outside repetitions reads one unbroken stretch: one that begins twice cannot.
    const std::vector<std::size_t>& path = scratch.path;
    const std::size_t size = path.size();
    const auto groups = static_cast<std::size_t>(groupCount());
    std::vector<int>& begin = scratch.begin;
    std::vector<int>& end = scratch.end;
    begin.assign(groups, -1);
    end.assign(groups, -1);
    std::uint64_t open = 0;
    for (std::size_t index = 0; index <= size; ++index) {
        const std::uint64_t now = index < size ? m_groupsOf[path[index]] : 0;
        if (now == open) {
            continue;
        }
        for (std::uint64_t bits = now & ~open; bits != 0; bits &= bits - 1) {
            const auto group = static_cast<std::size_t>(__builtin_ctzll(bits));
            if (begin[group] >= 0) {
                return false;
            }
            begin[group] = static_cast<int>(index);
        }
        for (std::uint64_t bits = open & ~now; bits != 0; bits &= bits - 1) {
            end[static_cast<std::size_t>(__builtin_ctzll(bits))] = static_cast<int>(index);
        }
        open = now;
    }
    // A group that read nothing took no part, unless it may match empty: then it cannot
    // be told whether it did.
    for (std::size_t group = 0; group < groups; ++group) {
        if (begin[group] < 0 && m_groupMayBeEmpty[group]) {
            return false;
        }
    }
    spans.clear();
    spans.reserve(groups + 1);
    spans.push_back({ position, static_cast<int>(size) });
    for (std::size_t group = 0; group < groups; ++group) {
        spans.push_back(begin[group] < 0
                ? MatchSpan {}
                : MatchSpan { position + begin[group], end[group] - begin[group] });
    }
    return true;
}

} // namespace zefa::msg_filter::impl_detail
