#pragma once

#include "classification.h"

#include <optional>

namespace zefa::msg_filter::tool {

/// Which messages make a run fail: those at or above `failOn`, and those new against the
/// baseline at or above `failOnNew`. A waived message never does.
struct FailurePolicy {
    std::optional<Severity> failOn;
    std::optional<Severity> failOnNew;

    bool fails(const ClassifiedLine& message) const;
    /// Whether any message of the run fails it.
    bool fails(const ClassificationSummary& summary) const;
};

} // namespace zefa::msg_filter::tool
