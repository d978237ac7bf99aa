#pragma once

#include "classification.h"

#include <deque>
#include <map>
#include <vector>

namespace zefa::msg_filter::tool {

/// Tells the messages of this run that an earlier run (the baseline) had from those it
/// did not, and lists what the baseline had that this run no longer has.
///
/// Messages are compared by their match key (see matchKey), counted: a baseline with a
/// message twice makes the first two such messages of this run known and a third one
/// new. Whatever the run leaves unmatched is fixed, in baseline order.
class BaselineMatcher {
public:
    explicit BaselineMatcher(const std::vector<ClassifiedLine>& baseline);

    /// New or Known; a known message uses up one baseline message of its key.
    BaselineState match(const ClassifiedLine& message);

    /// The baseline messages no message of this run has matched so far.
    std::vector<ClassifiedLine> fixed() const;

private:
    std::vector<ClassifiedLine> m_baseline;
    std::map<QString, std::deque<size_t>> m_unmatched; // key -> indexes into m_baseline
};

} // namespace zefa::msg_filter::tool
