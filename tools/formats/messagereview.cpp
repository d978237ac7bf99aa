#include "messagereview.h"

namespace zefa::msg_filter::tool {

void MessageReview::setWaivers(std::unique_ptr<WaiverStep> waivers)
{
    m_waivers = std::move(waivers);
}

void MessageReview::setBaseline(const std::vector<ClassifiedMessage>& baseline)
{
    m_baseline.emplace(baseline);
}

void MessageReview::review(ClassifiedMessage& message)
{
    message.waived = m_waivers != nullptr && m_waivers->isWaived(message);
    message.baseline = m_baseline ? m_baseline->match(message) : BaselineState::None;
}

std::vector<ClassifiedMessage> MessageReview::fixed() const
{
    return m_baseline ? m_baseline->fixed() : std::vector<ClassifiedMessage>();
}

} // namespace zefa::msg_filter::tool
