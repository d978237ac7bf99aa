#pragma once

namespace zefa::msg_filter::impl_detail {

/// Where a match, or one of its groups, lies in the text searched.
struct MatchSpan {
    int position = -1; ///< -1 for a group that took no part
    int length = 0;

    bool found() const { return position >= 0; }
};

} // namespace zefa::msg_filter::impl_detail
