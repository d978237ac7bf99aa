#pragma once

#include "baselinematcher.h"
#include "classification.h"
#include "waiverstep.h"

#include <memory>
#include <optional>
#include <vector>

namespace zefa::msg_filter::tool {

/// What a run is compared with: an optional filter file of waivers and an optional
/// baseline. Marks each message waived or not, and new or known.
///
/// Waived messages are matched against the baseline too: a message that is waived now
/// but was there before is not "fixed".
class MessageReview {
public:
    void setWaivers(std::unique_ptr<WaiverStep> waivers);
    void setBaseline(const std::vector<ClassifiedLine>& baseline);

    bool hasWaivers() const { return m_waivers != nullptr; }
    bool hasBaseline() const { return m_baseline.has_value(); }
    /// The name of the filter that waives, empty without waivers.
    QString waiverFilterName() const { return m_waivers ? m_waivers->filterName() : QString(); }

    void review(ClassifiedLine& message);

    /// The baseline messages no message of this run matched; empty without a baseline.
    std::vector<ClassifiedLine> fixed() const;

private:
    std::unique_ptr<WaiverStep> m_waivers;
    std::optional<BaselineMatcher> m_baseline;
};

} // namespace zefa::msg_filter::tool
