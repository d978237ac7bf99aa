#include "baselinematcher.h"

#include "messagekey.h"

#include <algorithm>

namespace zefa::msg_filter::tool {

BaselineMatcher::BaselineMatcher(const std::vector<ClassifiedLine>& baseline)
    : m_baseline(baseline)
{
    for (size_t index = 0; index < m_baseline.size(); ++index) {
        m_unmatched[matchKey(m_baseline[index])].push_back(index);
    }
}

BaselineState BaselineMatcher::match(const ClassifiedLine& message)
{
    const auto found = m_unmatched.find(matchKey(message));
    if (found == m_unmatched.end() || found->second.empty()) {
        return BaselineState::New;
    }
    found->second.pop_front();
    return BaselineState::Known;
}

std::vector<ClassifiedLine> BaselineMatcher::fixed() const
{
    std::vector<size_t> indexes;
    for (const auto& entry : m_unmatched) {
        indexes.insert(indexes.end(), entry.second.begin(), entry.second.end());
    }
    std::sort(indexes.begin(), indexes.end());
    std::vector<ClassifiedLine> result;
    result.reserve(indexes.size());
    for (size_t index : indexes) {
        result.push_back(m_baseline[index]);
    }
    return result;
}

} // namespace zefa::msg_filter::tool
