#pragma once

#include "messageformat.h"

namespace zefa::msg_filter::tool {

/// One compact JSON object per message (file, line, severity, rule, type, fields as
/// [name, value] pairs, text, and against a baseline "new" or "known") and nothing
/// else. Waived messages are left out.
class JsonlFormat : public MessageFormat {
public:
    explicit JsonlFormat(const FormatOptions& options);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;
    std::unique_ptr<MessageFormat> forPiece() const override;
    bool readsDescription() const override { return false; }
};

} // namespace zefa::msg_filter::tool
