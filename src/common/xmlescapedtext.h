#pragma once

#include <QString>

class QXmlStreamAttributes;
class QXmlStreamReader;
class QXmlStreamWriter;

namespace zefa::msg_filter::impl_detail {

/// Texts that XML 1.0 cannot carry, written so that they survive a save and a load.
///
/// Engine output holds control characters (colour codes, bells, form feeds) that no XML 1.0
/// document may contain, and an application may hand the store any UTF-16 text, unpaired
/// surrogates included. A value holding such a character is written in an escaped form and
/// its element is marked with the attribute escaped="": a backslash is written as two, and
/// every UTF-16 unit that XML cannot carry as a backslash, "u" and four upper-case hex digits
/// (an escape character comes out as \u001B). Values without such characters are written as
/// they are and carry no mark, so files that could be written before do not change.
///
/// One element carries at most one escaped value: its own text, or its "name" attribute.

/// Writes `<name>text</name>`, escaped and marked when XML cannot carry `text`.
void writeEscapedTextElement(QXmlStreamWriter& writer, const QString& name, const QString& text);

/// Writes the attribute `name` of the element just started, escaped and with the mark on
/// the element when XML cannot carry `value`.
void writeEscapedAttribute(QXmlStreamWriter& writer, const QString& name, const QString& value);

/// The text of the element the reader stands on, as `QXmlStreamReader::readElementText`
/// reads it, unescaped when the element is marked.
QString readEscapedElementText(QXmlStreamReader& reader);

/// The value of the attribute `name` (a null string when absent), unescaped when the
/// element is marked.
QString escapedAttributeValue(const QXmlStreamAttributes& attributes, const QString& name);

} // namespace zefa::msg_filter::impl_detail
