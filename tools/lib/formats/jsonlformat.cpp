#include "jsonlformat.h"

#include "messagedescription.h"

#include <QJsonDocument>

#include <charconv>

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

// A JSON string as the document writer escapes it: the quote, the backslash and the C0
// controls escaped (\b \f \n \r \t by name, the rest as \u00xx), everything else UTF-8,
// a lone surrogate as its \u escape.
void appendString(QByteArray& out, const QString& text)
{
    // No UTF-16 unit takes more than six bytes (\uXXXX); the array is cut to size after.
    const int start = out.size();
    out.resize(start + 6 * text.size() + 2);
    char* write = out.data() + start;
    *write++ = '"';
    const QChar* characters = text.constData();
    const int size = text.size();
    for (int index = 0; index < size; ++index) {
        const ushort code = characters[index].unicode();
        // Most characters of a log are printable ASCII that stands as it is.
        if (code >= 0x20 && code < 0x80 && code != '"' && code != '\\') {
            *write++ = static_cast<char>(code);
            continue;
        }
        if (code >= 0x80) {
            if (QChar::isHighSurrogate(code) && index + 1 < size
                && characters[index + 1].isLowSurrogate()) {
                const uint point = QChar::surrogateToUcs4(code, characters[index + 1].unicode());
                ++index;
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
        } else if (code < 0x20) {
            write = writeHex4(write, code);
        } else {
            *write++ = static_cast<char>(code);
        }
    }
    *write++ = '"';
    out.resize(static_cast<int>(write - out.data()));
}

// Appends a string literal without measuring it.
template <int Size> void appendLiteral(QByteArray& out, const char (&text)[Size])
{
    out.append(text, Size - 1);
}

// Appends `"name":value,`, the name given with its quotes and colon.
template <int Size>
void appendMember(QByteArray& out, const char (&quotedName)[Size], const QString& value)
{
    appendLiteral(out, quotedName);
    appendString(out, value);
    out += ',';
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
    // Room for every string at its widest, so that the array grows once.
    int characters = line.file.size() + line.rule.size() + line.text.size() + line.type.size();
    for (const auto& [name, value] : line.fields) {
        characters += name.size() + value.size() + 8;
    }
    QByteArray out;
    out.reserve(6 * characters + 160);
    out += '{';
    if (line.baseline == BaselineState::New) {
        appendLiteral(out, "\"baseline\":\"new\",");
    } else if (line.baseline == BaselineState::Known) {
        appendLiteral(out, "\"baseline\":\"known\",");
    }
    appendLiteral(out, "\"fields\":[");
    for (std::size_t index = 0; index < line.fields.size(); ++index) {
        if (index > 0) {
            out += ',';
        }
        out += '[';
        appendString(out, line.fields[index].first);
        out += ',';
        appendString(out, line.fields[index].second);
        out += ']';
    }
    appendLiteral(out, "],");
    appendMember(out, "\"file\":", line.file);
    appendLiteral(out, "\"line\":");
    char number[24];
    out.append(number,
        static_cast<int>(std::to_chars(number, number + sizeof number, line.number).ptr - number));
    out += ',';
    appendMember(out, "\"rule\":", line.rule);
    appendMember(out, "\"severity\":", severityName(line.severity));
    appendMember(out, "\"text\":", line.text);
    appendLiteral(out, "\"type\":");
    appendString(out, line.type);
    appendLiteral(out, "}\n");
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
