#pragma once

#include <QString>

namespace zefa::msg_filter::impl_detail {

/// The message text of an old-format line: a line that is, as a whole, blanks, a keyword
/// (warning, @w, error, @e in any case), blanks, "-" or ":", blanks and the text. Any
/// other line is its own message text.
class OldFormatText {
public:
    /// Reads plain lines (printable ASCII and tabs) directly and leaves every other line to
    /// the regular expression, which gives the same answer on the plain ones.
    static QString of(const QString& line);
    /// The same answer through the regular expression alone.
    static QString ofByExpression(const QString& line);
};

} // namespace zefa::msg_filter::impl_detail
