#include "jsonlformat.h"

#include "messagedescription.h"

#include <QJsonDocument>

namespace zefa::msg_filter::tool {

namespace {

// Integers up to 2^53 are the doubles a reader takes back exactly; they print as plain
// digits, which is how the document writer prints a whole double of that size.
constexpr long long kLargestExactInteger = 9007199254740992LL;

void appendHex4(QByteArray& out, ushort code)
{
    static const char kHex[] = "0123456789abcdef";
    out += "\\u";
    out += kHex[(code >> 12) & 15];
    out += kHex[(code >> 8) & 15];
    out += kHex[(code >> 4) & 15];
    out += kHex[code & 15];
}

// A JSON string as the document writer escapes it: the quote, the backslash and the C0
// controls escaped (\b \f \n \r \t by name, the rest as \u00xx), everything else UTF-8,
// a lone surrogate as its \u escape.
void appendString(QByteArray& out, const QString& text)
{
    out += '"';
    const QChar* characters = text.constData();
    const int size = text.size();
    for (int index = 0; index < size; ++index) {
        const ushort code = characters[index].unicode();
        if (code >= 0x80) {
            if (QChar::isHighSurrogate(code) && index + 1 < size
                && characters[index + 1].isLowSurrogate()) {
                const uint point = QChar::surrogateToUcs4(code, characters[index + 1].unicode());
                ++index;
                out += static_cast<char>(0xf0 | (point >> 18));
                out += static_cast<char>(0x80 | ((point >> 12) & 0x3f));
                out += static_cast<char>(0x80 | ((point >> 6) & 0x3f));
                out += static_cast<char>(0x80 | (point & 0x3f));
            } else if (QChar::isSurrogate(code)) {
                appendHex4(out, code);
            } else if (code < 0x800) {
                out += static_cast<char>(0xc0 | (code >> 6));
                out += static_cast<char>(0x80 | (code & 0x3f));
            } else {
                out += static_cast<char>(0xe0 | (code >> 12));
                out += static_cast<char>(0x80 | ((code >> 6) & 0x3f));
                out += static_cast<char>(0x80 | (code & 0x3f));
            }
            continue;
        }
        switch (code) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (code < 0x20) {
                appendHex4(out, code);
            } else {
                out += static_cast<char>(code);
            }
        }
    }
    out += '"';
}

void appendMember(QByteArray& out, const char* name, const QString& value)
{
    out += '"';
    out += name;
    out += "\":";
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
    QByteArray out;
    out.reserve(64 + 3 * line.text.size());
    out += '{';
    if (line.baseline != BaselineState::None) {
        out += line.baseline == BaselineState::New ? "\"baseline\":\"new\","
                                                   : "\"baseline\":\"known\",";
    }
    out += "\"fields\":[";
    for (std::size_t index = 0; index < line.fields.size(); ++index) {
        out += index == 0 ? "[" : ",[";
        appendString(out, line.fields[index].first);
        out += ',';
        appendString(out, line.fields[index].second);
        out += ']';
    }
    out += "],";
    appendMember(out, "file", line.file);
    out += "\"line\":";
    out += QByteArray::number(line.number);
    out += ',';
    appendMember(out, "rule", line.rule);
    appendMember(out, "severity", severityName(line.severity));
    appendMember(out, "text", line.text);
    out += "\"type\":";
    appendString(out, line.type);
    out += "}\n";
    return out;
}

QByteArray JsonlFormat::finish(const ClassificationSummary&)
{
    return {};
}

} // namespace zefa::msg_filter::tool
