#pragma once

#include <QString>

#include <string>
#include <utility>

namespace zefa::msg_filter::impl_detail {

namespace line_text {

// The few string operations the splitter needs, for the two kinds of text it cuts. A
// search that finds no line feed answers the text's size.

inline std::size_t findLineFeed(const std::string& text, std::size_t from)
{
    const std::size_t feed = text.find('\n', from);
    return feed == std::string::npos ? text.size() : feed;
}

inline int findLineFeed(const QString& text, int from)
{
    const int feed = text.indexOf(QLatin1Char('\n'), from);
    return feed < 0 ? text.size() : feed;
}

inline std::string slice(const std::string& text, std::size_t from, std::size_t size)
{
    return text.substr(from, size);
}

inline QString slice(const QString& text, int from, int size)
{
    return text.mid(from, size);
}

inline void dropFront(std::string& text, std::size_t size)
{
    text.erase(0, size);
}

inline void dropFront(QString& text, int size)
{
    text.remove(0, size);
}

} // namespace line_text

/// Cuts text that arrives in pieces of any size into lines at line feeds, in time linear
/// in the text: a line taken off the front is skipped by an offset, and the storage lets
/// go of taken lines only at compact(), which its owner calls once per piece. Works on
/// 8-bit text (`std::string`) and on `QString`.
///
///     LineSplitter<std::string> lines;
///     lines.append(piece);
///     std::string line;
///     while (lines.takeLine(line)) { ... }   // "text\n": the line feed comes along
///     lines.compact();
///
/// All of its state is in its members, so whoever handles a line may append more text and
/// take lines itself (a re-entrant call) before the outer loop asks for its next line:
/// every line still comes out once, in the order of the text, and a line has left the
/// splitter before anyone handles it.
template <typename Text> class LineSplitter {
public:
    using Size = decltype(Text().size());

    LineSplitter() = default;
    /// Starts from `text`, of which the first `searched` characters are known to hold no
    /// line feed (the rest of an earlier split, for example) and are not searched again.
    explicit LineSplitter(Text text, Size searched = 0)
        : m_buffer(std::move(text))
        , m_searched(searched)
    {
    }

    void append(const Text& text) { m_buffer.append(text); }

    /// Takes the next complete line, its line feed included; false when only an
    /// unterminated rest, or nothing, is left.
    bool takeLine(Text& line)
    {
        const Size feed = line_text::findLineFeed(m_buffer, m_searched);
        if (feed == m_buffer.size()) {
            m_searched = feed;
            return false;
        }
        line = line_text::slice(m_buffer, m_consumed, feed + 1 - m_consumed);
        m_consumed = feed + 1;
        m_searched = m_consumed;
        return true;
    }

    /// Lets go of the lines taken so far.
    void compact()
    {
        if (m_consumed == 0) {
            return;
        }
        line_text::dropFront(m_buffer, m_consumed);
        m_searched -= m_consumed;
        m_consumed = 0;
    }

    bool hasRest() const { return m_consumed < m_buffer.size(); }
    /// The text after the last line taken: a line still waiting for its line feed.
    Text rest() const
    {
        return line_text::slice(m_buffer, m_consumed, m_buffer.size() - m_consumed);
    }

    /// Hands the rest over and leaves the splitter empty.
    Text takeRest()
    {
        compact();
        m_searched = 0;
        return std::exchange(m_buffer, Text());
    }

private:
    Text m_buffer;
    // Lines before this offset have been taken.
    Size m_consumed = 0;
    // Where the search for the next line feed goes on: from m_consumed up to here, the
    // text holds none.
    Size m_searched = 0;
};

} // namespace zefa::msg_filter::impl_detail
