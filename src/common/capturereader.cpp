#include "capturereader.h"

#include <bitset>

namespace zefa::msg_filter::impl_detail {

namespace {

constexpr std::size_t kWordBits = 64;

void setBit(std::uint64_t* words, int bit)
{
    words[static_cast<std::size_t>(bit) / kWordBits] |= std::uint64_t { 1 }
        << (static_cast<std::size_t>(bit) % kWordBits);
}

} // namespace

CaptureReader::CaptureReader(const std::vector<State>& states,
    const std::vector<std::vector<int>>& follow, const std::vector<int>& first,
    const std::vector<int>& last, std::vector<bool> groupMayBeEmpty)
    : m_words((states.size() + kWordBits - 1) / kWordBits)
    , m_byteStates(256 * m_words)
    , m_follow(states.size() * m_words)
    , m_precede(states.size() * m_words)
    , m_first(m_words)
    , m_last(m_words)
    , m_groupMayBeEmpty(std::move(groupMayBeEmpty))
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

bool CaptureReader::read(
    std::string_view latin1, int position, int length, QStringList& captures) const
{
    if (length <= 0 || m_words == 0) {
        return false;
    }
    const auto size = static_cast<std::size_t>(length);
    const auto* text = reinterpret_cast<const unsigned char*>(latin1.data()) + position;
    // reach[i]: the states that may read character i, coming from the start.
    thread_local std::vector<Word> reach;
    reach.assign(size * m_words, 0);
    const Word* bytes = row(m_byteStates, text[0]);
    for (std::size_t word = 0; word < m_words; ++word) {
        reach[word] = m_first[word] & bytes[word];
    }
    for (std::size_t index = 1; index < size; ++index) {
        const Word* before = reach.data() + (index - 1) * m_words;
        Word* now = reach.data() + index * m_words;
        for (std::size_t word = 0; word < m_words; ++word) {
            for (Word bits = before[word]; bits != 0; bits &= bits - 1) {
                const std::size_t state =
                    word * kWordBits + static_cast<std::size_t>(__builtin_ctzll(bits));
                const Word* next = row(m_follow, state);
                for (std::size_t target = 0; target < m_words; ++target) {
                    now[target] |= next[target];
                }
            }
        }
        bytes = row(m_byteStates, text[index]);
        for (std::size_t word = 0; word < m_words; ++word) {
            now[word] &= bytes[word];
        }
    }
    // Backwards from the end, the one state of each character that leads to the end; two
    // such states mean two ways to match.
    thread_local std::vector<std::size_t> path;
    path.assign(size, 0);
    const Word* allowed = m_last.data();
    for (std::size_t index = size; index-- > 0;) {
        const Word* reached = reach.data() + index * m_words;
        int found = 0;
        for (std::size_t word = 0; word < m_words; ++word) {
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
    const int groups = groupCount();
    thread_local std::vector<int> begin;
    thread_local std::vector<int> end;
    begin.assign(static_cast<std::size_t>(groups), -1);
    end.assign(static_cast<std::size_t>(groups), -1);
    thread_local std::vector<int> read;
    read.assign(static_cast<std::size_t>(groups), 0);
    for (std::size_t index = 0; index < size; ++index) {
        for (std::uint64_t bits = m_groupsOf[path[index]]; bits != 0; bits &= bits - 1) {
            const auto group = static_cast<std::size_t>(__builtin_ctzll(bits));
            if (begin[group] < 0) {
                begin[group] = static_cast<int>(index);
            }
            end[group] = static_cast<int>(index) + 1;
            ++read[group];
        }
    }
    captures.clear();
    captures.reserve(groups + 1);
    captures.append(QString::fromLatin1(latin1.data() + position, length));
    for (std::size_t group = 0; group < static_cast<std::size_t>(groups); ++group) {
        if (begin[group] < 0) {
            if (m_groupMayBeEmpty[group]) {
                return false;
            }
            captures.append(QString());
            continue;
        }
        // A group outside repetitions reads one unbroken stretch.
        if (read[group] != end[group] - begin[group]) {
            return false;
        }
        captures.append(QString::fromLatin1(
            latin1.data() + position + begin[group], end[group] - begin[group]));
    }
    return true;
}

} // namespace zefa::msg_filter::impl_detail
