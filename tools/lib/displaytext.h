#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace zefa::msg_filter::tool {

/// Bytes of tool output as text for a person: UTF-8 when they are valid UTF-8, else
/// Latin-1, which every byte sequence is.
///
/// Tool logs come in both encodings and never say which. Valid UTF-8 is kept exactly, so
/// that writing the text back as UTF-8 gives the same bytes; anything else is read one
/// character per byte rather than showing replacement characters.
QString displayText(const char* bytes, std::size_t size);
QString displayText(const std::string& bytes);

/// `text` in double quotes with \" \\ \n \r \t for the quote, the backslash and the
/// control characters that would otherwise hide (a line feed at the end of a line): as
/// explain shows a line and its fields, and as a session file writes a word.
QString quoted(const QString& text);

/// `text` with the control characters that would act on a terminal (escape sequences,
/// carriage returns, bells; every C0 character but the tab, and DEL) written as \xHH, so
/// that a line of a log shows as what it holds.
QString visibleText(const QString& text);

/// Decodes the parts of one line (its rule's name, its fields) the way the whole line
/// decodes, so that a field cut out of a Latin-1 line stays Latin-1 even where its own
/// bytes happen to be valid UTF-8.
class LineDecoder {
public:
    explicit LineDecoder(std::string_view line);

    /// The whole line.
    const QString& line() const { return m_line; }
    /// A part of the line, or any text that belongs to it.
    QString operator()(const std::string& part) const;

private:
    QString m_line;
    bool m_utf8;
};

} // namespace zefa::msg_filter::tool
