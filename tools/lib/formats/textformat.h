#pragma once

#include "messageformat.h"

namespace zefa::msg_filter::tool {

/// "FILE:LINE: Severity [rule] text" per message, then counts per severity and per
/// rule.
class TextFormat : public MessageFormat {
public:
    explicit TextFormat(const FormatOptions& options);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;

private:
    bool m_color;
};

} // namespace zefa::msg_filter::tool
