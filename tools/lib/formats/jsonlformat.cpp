#include "jsonlformat.h"

#include "messagedescription.h"

#include <QJsonDocument>

#include <charconv>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zefa::msg_filter::tool {

namespace {

// Integers up to 2^53 are the doubles a reader takes back exactly; they print as plain
// digits, which is how the document writer prints a whole double of that size.
constexpr long long kLargestExactInteger = 9007199254740992LL;

char* writeHex4(char* write, ushort code)
{
    static const char kHex[] = "0123456789abcdef";
    *write++ = '\\';
    *write++ = 'u';
    *write++ = kHex[(code >> 12) & 15];
    *write++ = kHex[(code >> 8) & 15];
    *write++ = kHex[(code >> 4) & 15];
    *write++ = kHex[code & 15];
    return write;
}

// Copies the UTF-16 units at the start of `units` that a JSON string keeps as they are,
// printable ASCII but the quote and the backslash, to `write` as bytes; returns how many.
// `write` has room for six bytes a unit: eight units at a time may be stored before it is
// known how many of them count.
int copyPlainAscii(const QChar* units, int size, char* write)
{
    int index = 0;
#if defined(__SSE2__)
    const __m128i beforeSpace = _mm_set1_epi16(0x1f);
    const __m128i pastAscii = _mm_set1_epi16(0x80);
    const __m128i quote = _mm_set1_epi16('"');
    const __m128i backslash = _mm_set1_epi16('\\');
    for (; index + 8 <= size; index += 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + index));
        // Units from 0x8000 up compare as negative: below space, and so not plain.
        const __m128i printable =
            _mm_and_si128(_mm_cmpgt_epi16(block, beforeSpace), _mm_cmplt_epi16(block, pastAscii));
        const __m128i escaped =
            _mm_or_si128(_mm_cmpeq_epi16(block, quote), _mm_cmpeq_epi16(block, backslash));
        const int plain = _mm_movemask_epi8(_mm_andnot_si128(escaped, printable));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(write + index), _mm_packus_epi16(block, block));
        if (plain != 0xffff) {
            // Two mask bits a unit; the first unit that is not plain ends the run.
            return index + __builtin_ctz(static_cast<unsigned>(~plain)) / 2;
        }
    }
#endif
    for (; index < size; ++index) {
        const ushort code = units[index].unicode();
        if (code < 0x20 || code >= 0x80 || code == '"' || code == '\\') {
            break;
        }
        write[index] = static_cast<char>(code);
    }
    return index;
}

// Writes `text` as a JSON string as the document writer escapes it: the quote, the
// backslash and the C0 controls escaped (\b \f \n \r \t by name, the rest as \u00xx),
// everything else UTF-8, a lone surrogate as its \u escape. `write` has room for
// 6 * text.size() + 2 bytes, since no UTF-16 unit takes more than six (\uXXXX); returns
// the end of what it wrote.
char* writeString(char* write, const QString& text)
{
    *write++ = '"';
    const QChar* characters = text.constData();
    const int size = text.size();
    int index = 0;
    while (true) {
        // Most characters of a log are printable ASCII that stands as it is.
        const int plain = copyPlainAscii(characters + index, size - index, write);
        index += plain;
        write += plain;
        if (index == size) {
            break;
        }
        const ushort code = characters[index++].unicode();
        if (code >= 0x80) {
            if (QChar::isHighSurrogate(code) && index < size
                && characters[index].isLowSurrogate()) {
                const uint point = QChar::surrogateToUcs4(code, characters[index++].unicode());
                *write++ = static_cast<char>(0xf0 | (point >> 18));
                *write++ = static_cast<char>(0x80 | ((point >> 12) & 0x3f));
                *write++ = static_cast<char>(0x80 | ((point >> 6) & 0x3f));
                *write++ = static_cast<char>(0x80 | (point & 0x3f));
            } else if (QChar::isSurrogate(code)) {
                write = writeHex4(write, code);
            } else if (code < 0x800) {
                *write++ = static_cast<char>(0xc0 | (code >> 6));
                *write++ = static_cast<char>(0x80 | (code & 0x3f));
            } else {
                *write++ = static_cast<char>(0xe0 | (code >> 12));
                *write++ = static_cast<char>(0x80 | ((code >> 6) & 0x3f));
                *write++ = static_cast<char>(0x80 | (code & 0x3f));
            }
            continue;
        }
        const char* named = nullptr;
        switch (code) {
        case '"':
            named = "\\\"";
            break;
        case '\\':
            named = "\\\\";
            break;
        case '\b':
            named = "\\b";
            break;
        case '\f':
            named = "\\f";
            break;
        case '\n':
            named = "\\n";
            break;
        case '\r':
            named = "\\r";
            break;
        case '\t':
            named = "\\t";
            break;
        default:
            break;
        }
        if (named != nullptr) {
            *write++ = named[0];
            *write++ = named[1];
        } else {
            // What copyPlainAscii() leaves below 0x80 is a quote, a backslash or a control.
            write = writeHex4(write, code);
        }
    }
    *write++ = '"';
    return write;
}

// Writes a string literal without measuring it; returns the end of what it wrote.
template <int Size> char* writeLiteral(char* write, const char (&text)[Size])
{
    std::memcpy(write, text, Size - 1);
    return write + Size - 1;
}

// Writes `"name":value,`, the name given with its quotes and colon.
template <int Size>
char* writeMember(char* write, const char (&quotedName)[Size], const QString& value)
{
    write = writeLiteral(write, quotedName);
    write = writeString(write, value);
    *write++ = ',';
    return write;
}

} // namespace

JsonlFormat::JsonlFormat(const FormatOptions&) { }

QByteArray JsonlFormat::message(const ClassifiedLine& line)
{
    if (line.waived) {
        return {};
    }
    if (line.number < -kLargestExactInteger || line.number > kLargestExactInteger) {
        return QJsonDocument(toJsonl(line)).toJson(QJsonDocument::Compact) + '\n';
    }
    // The members of toJsonl(), written directly in the document writer's compact form:
    // names in byte order, no blanks. Building the document first costs more than the
    // rest of classifying a line.
    // Room for every string at its widest, six bytes a unit: its quotes and a field's
    // brackets and commas are in the eight units counted for each field, the names, the
    // other punctuation and the number in the 160 bytes.
    const QString severity = severityName(line.severity);
    int characters =
        line.file.size() + line.rule.size() + severity.size() + line.text.size() + line.type.size();
    for (const auto& [name, value] : line.fields) {
        characters += name.size() + value.size() + 8;
    }
    QByteArray out(6 * characters + 160, Qt::Uninitialized);
    char* write = out.data();
    *write++ = '{';
    if (line.baseline == BaselineState::New) {
        write = writeLiteral(write, "\"baseline\":\"new\",");
    } else if (line.baseline == BaselineState::Known) {
        write = writeLiteral(write, "\"baseline\":\"known\",");
    }
    write = writeLiteral(write, "\"fields\":[");
    for (std::size_t index = 0; index < line.fields.size(); ++index) {
        if (index > 0) {
            *write++ = ',';
        }
        *write++ = '[';
        write = writeString(write, line.fields[index].first);
        *write++ = ',';
        write = writeString(write, line.fields[index].second);
        *write++ = ']';
    }
    write = writeLiteral(write, "],");
    write = writeMember(write, "\"file\":", line.file);
    write = writeLiteral(write, "\"line\":");
    write = std::to_chars(write, write + 24, line.number).ptr;
    *write++ = ',';
    write = writeMember(write, "\"rule\":", line.rule);
    write = writeMember(write, "\"severity\":", severity);
    write = writeMember(write, "\"text\":", line.text);
    write = writeLiteral(write, "\"type\":");
    write = writeString(write, line.type);
    write = writeLiteral(write, "}\n");
    out.resize(static_cast<int>(write - out.data()));
    return out;
}

QByteArray JsonlFormat::finish(const ClassificationSummary&)
{
    return {};
}

std::unique_ptr<MessageFormat> JsonlFormat::forPiece() const
{
    // A message's line depends on nothing but the message and the options.
    return std::make_unique<JsonlFormat>(*this);
}

} // namespace zefa::msg_filter::tool
