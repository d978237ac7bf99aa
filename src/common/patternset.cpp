#include "patternset.h"

#include "common/automatonoptions.h"
#include "common/regexpattern.h"

#include <algorithm>
#include <numeric>

#include <re2/set.h>

namespace zefa::msg_filter::impl_detail {

class PatternSet::Screen {
public:
    Screen()
        : m_set(automatonOptions(), re2::RE2::UNANCHORED)
    {
    }

    re2::RE2::Set m_set;
    std::vector<int> m_patternOfEntry; ///< set entry -> pattern index
};

PatternSet::PatternSet(const std::vector<const RegexPattern*>& patterns)
    : m_count(static_cast<int>(patterns.size()))
{
    auto screen = std::make_unique<Screen>();
    std::vector<int> unscreened;
    for (int index = 0; index < m_count; ++index) {
        const TranslatedPattern& translation =
            patterns[static_cast<std::size_t>(index)]->translation();
        if (translation.fidelity == TranslatedPattern::Fidelity::None
            || screen->m_set.Add(translation.text, nullptr) < 0) {
            unscreened.push_back(index);
            continue;
        }
        screen->m_patternOfEntry.push_back(index);
    }
    if (!screen->m_patternOfEntry.empty() && screen->m_set.Compile()) {
        m_screen = std::move(screen);
        m_unscreened = std::move(unscreened);
    } else {
        m_unscreened.resize(static_cast<std::size_t>(m_count));
        std::iota(m_unscreened.begin(), m_unscreened.end(), 0);
    }
}

PatternSet::~PatternSet() = default;

void PatternSet::candidates(std::string_view latin1, std::vector<int>& indices) const
{
    indices.clear();
    if (m_screen) {
        re2::RE2::Set::ErrorInfo error {};
        if (!m_screen->m_set.Match(re2::StringPiece(latin1.data(), latin1.size()), &indices, &error)
            && error.kind != re2::RE2::Set::kNoError) {
            indices.resize(static_cast<std::size_t>(m_count));
            std::iota(indices.begin(), indices.end(), 0);
            return;
        }
        for (int& entry : indices) {
            entry = m_screen->m_patternOfEntry[static_cast<std::size_t>(entry)];
        }
    }
    indices.insert(indices.end(), m_unscreened.begin(), m_unscreened.end());
    std::sort(indices.begin(), indices.end());
}

} // namespace zefa::msg_filter::impl_detail
