#include "patternset.h"

#include "common/automatonoptions.h"
#include "common/regexpattern.h"

#include <algorithm>
#include <memory>
#include <numeric>
#include <string>

#include <re2/set.h>

namespace zefa::msg_filter::impl_detail {

// A pattern whose automaton form begins with "start of text" can match only there; the
// screen runs those anchored, so that a line is given up at the first byte where none
// of them can go on, instead of being read to its end.
//
// Most lines of a log match no pattern at all. One automaton of all a part's patterns as
// alternatives says so for less than the set, which also tells which patterns match.
class PatternSet::Screen {
public:
    struct Part {
        explicit Part(re2::RE2::Anchor where)
            : anchor(where)
            , set(automatonOptions(), where)
        {
        }

        re2::RE2::Anchor anchor;
        re2::RE2::Set set;
        std::vector<int> patternOfEntry; ///< set entry -> pattern index
        std::string alternatives; ///< every pattern of the part, as alternatives
        std::unique_ptr<const re2::RE2> any; ///< null when it did not compile
    };

    Part anchored { re2::RE2::ANCHOR_START };
    Part floating { re2::RE2::UNANCHORED };

    // Adds the pattern's automaton form to the part it belongs to; false when the
    // automaton does not take it.
    bool add(const std::string& pattern, int index)
    {
        const std::string text = withoutTrailingRepeats(pattern);
        Part& part = text.rfind("\\A", 0) == 0 ? anchored : floating;
        if (part.set.Add(text, nullptr) < 0) {
            return false;
        }
        part.patternOfEntry.push_back(index);
        // Each alternative in a group of its own, as the translator writes them: the
        // automaton's parser would pull a shared Latin-1 prefix out of bare alternatives
        // and then never match it.
        part.alternatives += part.alternatives.empty() ? "(" : "|(";
        part.alternatives += text;
        part.alternatives += ')';
        return true;
    }

    bool compile() { return compile(anchored) && compile(floating); }

    bool empty() const
    {
        return anchored.patternOfEntry.empty() && floating.patternOfEntry.empty();
    }

    // Appends the indices of the part's patterns that match; false when the automaton
    // ran out of memory and said nothing.
    static bool match(const Part& part, std::string_view latin1, std::vector<int>& indices)
    {
        const re2::StringPiece text(latin1.data(), latin1.size());
        if (part.patternOfEntry.empty()
            || (part.any && !part.any->Match(text, 0, text.size(), part.anchor, nullptr, 0))) {
            return true;
        }
        thread_local std::vector<int> entries;
        entries.clear();
        re2::RE2::Set::ErrorInfo error {};
        if (!part.set.Match(text, &entries, &error) && error.kind != re2::RE2::Set::kNoError) {
            return false;
        }
        for (const int entry : entries) {
            indices.push_back(part.patternOfEntry[static_cast<std::size_t>(entry)]);
        }
        return true;
    }

private:
    // A pattern matches somewhere exactly where it does without a part it may repeat no
    // times at its very end, as in "...[^\r\n]*", written "(?:[...]){0,}". Without it the
    // automaton knows a line matches as soon as what comes before has matched, instead of
    // reading the rest of the line. The translator writes every byte as a \x escape, so
    // each parenthesis opens or closes a group.
    static std::string withoutTrailingRepeats(std::string text)
    {
        while (true) {
            const std::size_t repeat = text.rfind("){0,");
            if (repeat == std::string::npos || text.back() != '}'
                || text.find_first_not_of("0123456789", repeat + 4) != text.size() - 1) {
                return text;
            }
            // The group the repeat applies to, and whether it stands at the top level
            // with no bare `|` before it, where it would end the last alternative only.
            std::vector<std::size_t> opened;
            std::size_t group = std::string::npos;
            bool bareAlternatives = false;
            for (std::size_t index = 0; index <= repeat; ++index) {
                if (text[index] == '(') {
                    opened.push_back(index);
                } else if (text[index] == ')') {
                    group = opened.back();
                    opened.pop_back();
                } else if (text[index] == '|' && opened.empty()) {
                    bareAlternatives = true;
                }
            }
            if (!opened.empty() || bareAlternatives) {
                return text;
            }
            text.erase(group);
        }
    }

    static bool compile(Part& part)
    {
        if (part.patternOfEntry.empty()) {
            return true;
        }
        auto any = std::make_unique<const re2::RE2>(part.alternatives, automatonOptions());
        if (any->ok()) {
            part.any = std::move(any);
        }
        return part.set.Compile();
    }
};

PatternSet::PatternSet(const std::vector<const RegexPattern*>& patterns)
    : m_count(static_cast<int>(patterns.size()))
    , m_listedMeansMatch(patterns.size(), false)
{
    auto screen = std::make_unique<Screen>();
    std::vector<int> unscreened;
    for (int index = 0; index < m_count; ++index) {
        const TranslatedPattern& translation =
            patterns[static_cast<std::size_t>(index)]->translation();
        if (translation.fidelity == TranslatedPattern::Fidelity::None
            || !screen->add(translation.text, index)) {
            unscreened.push_back(index);
        } else {
            m_listedMeansMatch[static_cast<std::size_t>(index)] =
                translation.fidelity == TranslatedPattern::Fidelity::Exact;
        }
    }
    if (!screen->empty() && screen->compile()) {
        m_screen = std::move(screen);
        m_unscreened = std::move(unscreened);
    } else {
        m_listedMeansMatch.assign(patterns.size(), false);
        m_unscreened.resize(static_cast<std::size_t>(m_count));
        std::iota(m_unscreened.begin(), m_unscreened.end(), 0);
    }
}

PatternSet::~PatternSet() = default;

bool PatternSet::candidates(std::string_view latin1, std::vector<int>& indices) const
{
    indices.clear();
    if (m_screen
        && (!Screen::match(m_screen->anchored, latin1, indices)
            || !Screen::match(m_screen->floating, latin1, indices))) {
        indices.resize(static_cast<std::size_t>(m_count));
        std::iota(indices.begin(), indices.end(), 0);
        return false;
    }
    indices.insert(indices.end(), m_unscreened.begin(), m_unscreened.end());
    std::sort(indices.begin(), indices.end());
    return true;
}

bool PatternSet::listedMeansMatch(int index) const
{
    return m_listedMeansMatch[static_cast<std::size_t>(index)];
}

} // namespace zefa::msg_filter::impl_detail
