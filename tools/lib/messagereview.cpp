#include "messagereview.h"

namespace zefa::msg_filter::tool {

void MessageReview::setWaivers(std::unique_ptr<WaiverStep> waivers)
{
    m_waivers = std::move(waivers);
}

void MessageReview::setBaseline(const std::vector<ClassifiedLine>& baseline)
{
    m_baseline.emplace(baseline);
}

void MessageReview::review(ClassifiedLine& message)
{
    message.waived = m_waivers != nullptr && m_waivers->isWaived(message);
    message.baseline = m_baseline ? m_baseline->match(message) : BaselineState::None;
}

std::vector<ClassifiedLine> MessageReview::fixed() const
{
    return m_baseline ? m_baseline->fixed() : std::vector<ClassifiedLine>();
}

} // namespace zefa::msg_filter::tool
