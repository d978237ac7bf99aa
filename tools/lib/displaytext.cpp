#include "displaytext.h"

#include <cstdint>
#include <cstring>

namespace zefa::msg_filter::tool {

namespace {

int qtSize(std::size_t size)
{
    return static_cast<int>(size);
}

// Whether no byte has its high bit set, eight bytes at a time.
bool isAscii(const char* bytes, std::size_t size)
{
    std::uint64_t any = 0;
    std::size_t index = 0;
    for (; index + sizeof any <= size; index += sizeof any) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes + index, sizeof word);
        any |= word;
    }
    for (; index < size; ++index) {
        any |= static_cast<unsigned char>(bytes[index]);
    }
    return (any & 0x8080808080808080U) == 0;
}

// Whether the bytes decode as UTF-8 and encode back to themselves: exactly the text
// whose bytes survive a round trip, whatever Qt's decoder counts as invalid.
bool decodesAsUtf8(const char* bytes, std::size_t size, QString& text)
{
    // ASCII, most of every log, is UTF-8 that decodes one character per byte.
    if (isAscii(bytes, size)) {
        text = QString::fromLatin1(bytes, qtSize(size));
        return true;
    }
    text = QString::fromUtf8(bytes, qtSize(size));
    const QByteArray again = text.toUtf8();
    return static_cast<std::size_t>(again.size()) == size
        && std::char_traits<char>::compare(again.constData(), bytes, size) == 0;
}

} // namespace

QString displayText(const char* bytes, std::size_t size)
{
    QString text;
    if (decodesAsUtf8(bytes, size, text)) {
        return text;
    }
    return QString::fromLatin1(bytes, qtSize(size));
}

QString displayText(const std::string& bytes)
{
    return displayText(bytes.data(), bytes.size());
}

QString quoted(const QString& text)
{
    QString result = QStringLiteral("\"");
    for (const QChar character : text) {
        switch (character.unicode()) {
        case '\n':
            result += QStringLiteral("\\n");
            break;
        case '\r':
            result += QStringLiteral("\\r");
            break;
        case '\t':
            result += QStringLiteral("\\t");
            break;
        case '"':
            result += QStringLiteral("\\\"");
            break;
        case '\\':
            result += QStringLiteral("\\\\");
            break;
        default:
            result += character;
        }
    }
    return result + QLatin1Char('"');
}

LineDecoder::LineDecoder(std::string_view line)
    : m_utf8(decodesAsUtf8(line.data(), line.size(), m_line))
{
    if (!m_utf8) {
        m_line = QString::fromLatin1(line.data(), qtSize(line.size()));
    }
}

QString LineDecoder::operator()(const std::string& part) const
{
    // A pattern may cut a UTF-8 line inside a character; that part reads as Latin-1.
    return m_utf8 ? displayText(part) : QString::fromLatin1(part.data(), qtSize(part.size()));
}

QString visibleText(const QString& text)
{
    QString visible;
    visible.reserve(text.size());
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if ((code < 0x20 && code != '\t') || code == 0x7f) {
            visible += QLatin1String("\\x")
                + QString::number(code, 16).toUpper().rightJustified(2, QLatin1Char('0'));
        } else {
            visible += character;
        }
    }
    return visible;
}

} // namespace zefa::msg_filter::tool
