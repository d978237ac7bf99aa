#include "common/xmlescapedtext.h"

#include <QXmlStreamAttributes>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace zefa::msg_filter::impl_detail {

namespace {

const QString kEscapedAttribute = QStringLiteral("escaped");
const QChar kEscape = QLatin1Char('\\');

// XML 1.0 carries tab, line feed, carriage return, U+0020 to U+FFFD without the
// surrogates, and U+10000 upwards as a surrogate pair.
bool carriesUnit(const QString& text, int index)
{
    const QChar unit = text.at(index);
    const ushort code = unit.unicode();
    if (unit.isHighSurrogate())
        return index + 1 < text.size() && text.at(index + 1).isLowSurrogate();
    if (unit.isLowSurrogate())
        return index > 0 && text.at(index - 1).isHighSurrogate();
    return code >= 0x20 ? code <= 0xFFFD : code == 0x9 || code == 0xA || code == 0xD;
}

bool carries(const QString& text)
{
    for (int index = 0; index < text.size(); ++index)
        if (!carriesUnit(text, index))
            return false;
    return true;
}

QString escaped(const QString& text)
{
    QString result;
    result.reserve(text.size() + 8);
    for (int index = 0; index < text.size(); ++index) {
        const QChar unit = text.at(index);
        if (unit == kEscape)
            result += QLatin1String("\\\\");
        else if (carriesUnit(text, index))
            result += unit;
        else
            result += QLatin1String("\\u")
                % QString::number(unit.unicode(), 16).toUpper().rightJustified(4, QLatin1Char('0'));
    }
    return result;
}

// The unit of a "\uXXXX" escape at `index`, or -1 when none starts there.
int escapedUnit(const QString& text, int index)
{
    if (text.midRef(index, 2) != QLatin1String("\\u") || index + 6 > text.size())
        return -1;
    int code = 0;
    for (const QChar digit : text.midRef(index + 2, 4)) {
        const int value = QStringLiteral("0123456789ABCDEF").indexOf(digit);
        if (value < 0)
            return -1;
        code = code * 16 + value;
    }
    return code;
}

// A backslash that starts neither escape is kept as it is: a hand-edited file reads as
// written.
QString unescaped(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (int index = 0; index < text.size(); ++index) {
        const int code = escapedUnit(text, index);
        if (code >= 0) {
            result += QChar(static_cast<ushort>(code));
            index += 5;
        } else if (text.midRef(index, 2) == QLatin1String("\\\\")) {
            result += kEscape;
            ++index;
        } else {
            result += text.at(index);
        }
    }
    return result;
}

} // namespace

void writeEscapedTextElement(QXmlStreamWriter& writer, const QString& name, const QString& text)
{
    if (carries(text)) {
        writer.writeTextElement(name, text);
        return;
    }
    writer.writeStartElement(name);
    writer.writeAttribute(kEscapedAttribute, QString());
    writer.writeCharacters(escaped(text));
    writer.writeEndElement();
}

void writeEscapedAttribute(QXmlStreamWriter& writer, const QString& name, const QString& value)
{
    if (carries(value)) {
        writer.writeAttribute(name, value);
        return;
    }
    writer.writeAttribute(name, escaped(value));
    writer.writeAttribute(kEscapedAttribute, QString());
}

QString readEscapedElementText(QXmlStreamReader& reader)
{
    const bool marked = reader.attributes().hasAttribute(kEscapedAttribute);
    const QString text = reader.readElementText();
    return marked ? unescaped(text) : text;
}

QString escapedAttributeValue(const QXmlStreamAttributes& attributes, const QString& name)
{
    const QString value = attributes.value(name).toString();
    return attributes.hasAttribute(kEscapedAttribute) ? unescaped(value) : value;
}

} // namespace zefa::msg_filter::impl_detail
