// The line splitter against the simplest splitter there is, one that searches its buffer
// from the front and removes each line as it takes it, on random texts cut at random.

#include "common/linesplitter.h"

#include <QString>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using zefa::msg_filter::impl_detail::LineSplitter;

namespace {

// Feeds the same pieces to a splitter and tells what came out, in order. A line that
// starts with 'R' is answered, while it is being handled, with more text and a nested
// round of taking lines, as a host that publishes output from inside a slot does.
class Script {
public:
    explicit Script(unsigned seed)
        : m_random(seed)
    {
        std::string text;
        const int length = static_cast<int>(m_random() % 600);
        for (int i = 0; i < length; ++i) {
            // Line feeds often, carriage returns, NUL bytes and a Latin-1 letter now and then.
            text += "aR\n\n\r\0\xe9 b"[m_random() % 9];
        }
        // Empty pieces too, and sometimes the whole text at once.
        const std::size_t longest = m_random() % 10 == 0 ? text.size() + 1 : 2 + m_random() % 70;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t size = std::min<std::size_t>(text.size() - at, m_random() % longest);
            m_pieces.push_back(text.substr(at, size));
            at += size;
        }
        m_compactAlways = m_random() % 2 == 0;
    }

    // What a line starting with 'R' adds while it is handled; it may hold lines itself.
    static std::string answerTo(const std::string& line) { return "x\nR" + line.substr(1, 2); }

    // The reference: every line found from the front and removed before it is handled.
    std::vector<std::string> naive(std::string& rest, bool answering) const
    {
        std::vector<std::string> lines;
        std::string buffer;
        std::function<void(int)> drain = [&](int depth) {
            std::size_t feed;
            while ((feed = buffer.find('\n')) != std::string::npos) {
                const std::string line = buffer.substr(0, feed + 1);
                buffer.erase(0, feed + 1);
                lines.push_back(line);
                if (answering && line[0] == 'R' && depth < 3) {
                    buffer += answerTo(line);
                    drain(depth + 1);
                }
            }
        };
        for (const std::string& piece : m_pieces) {
            buffer += piece;
            drain(0);
        }
        rest = buffer;
        return lines;
    }

    // One splitter for the whole text, compacted after each round of taking lines, or
    // only now and then.
    template <typename Text> std::vector<std::string> kept(std::string& rest)
    {
        std::vector<std::string> lines;
        LineSplitter<Text> splitter;
        std::function<void(int)> drain = [&](int depth) {
            Text line;
            while (splitter.takeLine(line)) {
                lines.push_back(bytes(line));
                if (lines.back()[0] == 'R' && depth < 3) {
                    splitter.append(toText<Text>(answerTo(lines.back())));
                    drain(depth + 1);
                }
            }
            if (m_compactAlways || m_random() % 4 == 0) {
                splitter.compact();
            }
        };
        for (const std::string& piece : m_pieces) {
            splitter.append(toText<Text>(piece));
            drain(0);
        }
        EXPECT_EQ(splitter.hasRest(), !bytes(splitter.rest()).empty());
        rest = bytes(splitter.rest());
        return lines;
    }

    // A fresh splitter for each piece, carrying the rest over, as the stand-alone filter
    // does; nothing answers the lines here.
    std::vector<std::string> carried(std::string& rest) const
    {
        std::vector<std::string> lines;
        std::string pending;
        for (const std::string& piece : m_pieces) {
            const std::size_t searched = pending.size();
            pending += piece;
            LineSplitter<std::string> splitter(std::move(pending), searched);
            std::string line;
            while (splitter.takeLine(line)) {
                lines.push_back(line);
            }
            pending = splitter.takeRest();
            EXPECT_FALSE(splitter.hasRest());
        }
        rest = pending;
        return lines;
    }

private:
    template <typename Text> static Text toText(const std::string& bytes);
    static std::string bytes(const std::string& text) { return text; }
    static std::string bytes(const QString& text) { return text.toLatin1().toStdString(); }

    std::mt19937 m_random;
    std::vector<std::string> m_pieces;
    bool m_compactAlways = false;
};

template <> std::string Script::toText<std::string>(const std::string& bytes)
{
    return bytes;
}

template <> QString Script::toText<QString>(const std::string& bytes)
{
    return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

TEST(LineSplitter, SameLinesInTheSameOrderAsTheNaiveSplitterHoweverTheTextIsCut)
{
    for (unsigned seed = 0; seed < 1500; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Script script(seed);
        std::string naiveRest;
        const std::vector<std::string> expected = script.naive(naiveRest, true);

        std::string rest;
        ASSERT_EQ(script.kept<std::string>(rest), expected);
        ASSERT_EQ(rest, naiveRest);
        ASSERT_EQ(script.kept<QString>(rest), expected);
        ASSERT_EQ(rest, naiveRest);
        const std::vector<std::string> unanswered = script.naive(naiveRest, false);
        ASSERT_EQ(script.carried(rest), unanswered);
        ASSERT_EQ(rest, naiveRest);
    }
}

} // namespace
