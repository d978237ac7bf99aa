#pragma once

#include "messageformat.h"

#include <optional>

namespace zefa::msg_filter::tool {

/// "FILE:LINE: Severity [rule] text" per message, then counts per severity and per
/// rule, and, when there are waivers or a baseline, what they left out or found new.
/// Waived messages are left out of the lines and the counts.
class TextFormat : public MessageFormat {
public:
    explicit TextFormat(const FormatOptions& options);

    QByteArray message(const ClassifiedLine& line) override;
    QByteArray finish(const ClassificationSummary& summary) override;
    std::unique_ptr<MessageFormat> forPiece() const override;
    bool readsDescription() const override { return false; }
    bool readsFields() const override { return false; }

private:
    bool m_color;
    const MessageReview* m_review;
    // The last file name and how it prints: every message of an input names the same.
    QString m_file;
    QByteArray m_visibleFile;
    // The last severity and how it prints.
    std::optional<Severity> m_severity;
    QByteArray m_coloredSeverity;
};

} // namespace zefa::msg_filter::tool
