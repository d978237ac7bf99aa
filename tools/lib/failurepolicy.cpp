#include "failurepolicy.h"

namespace zefa::msg_filter::tool {

bool FailurePolicy::fails(const ClassifiedLine& message) const
{
    if (message.waived) {
        return false;
    }
    if (failOn && message.severity >= *failOn) {
        return true;
    }
    return failOnNew && message.baseline == BaselineState::New && message.severity >= *failOnNew;
}

bool FailurePolicy::fails(const ClassificationSummary& summary) const
{
    // The summary's highest severities leave waived messages out already.
    return (failOn && summary.highest >= *failOn)
        || (failOnNew && summary.highestNew >= *failOnNew);
}

} // namespace zefa::msg_filter::tool
