#pragma once

#include <QByteArray>
#include <QString>

class QTextCodec;

namespace zefa::msg_filter::impl_detail {

/// The codec QXmlStreamReader decodes `document` with: the encoding its XML declaration
/// names, else the one its first bytes show (a byte order mark, or UTF-16 and UTF-32 by the
/// zero bytes around the first "<"), else UTF-8. Null for a declared encoding Qt does not
/// know. `declared` is the declaration's encoding when the caller has it already.
QTextCodec* xmlDocumentCodec(const QByteArray& document, const QString& declared = QString());

/// The text of `document` as QXmlStreamReader reads it, for finding places in it by the
/// reader's character offsets; UTF-8 when the codec is unknown.
QString decodedXmlDocument(const QByteArray& document);

} // namespace zefa::msg_filter::impl_detail
