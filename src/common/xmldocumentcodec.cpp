#include "common/xmldocumentcodec.h"

#include <QTextCodec>
#include <QXmlStreamReader>

namespace zefa::msg_filter::impl_detail {

namespace {

// The encoding the XML declaration names; empty without one.
QString declaredEncoding(const QByteArray& document)
{
    QXmlStreamReader reader(document);
    reader.readNext();
    return reader.isStartDocument() ? reader.documentEncoding().toString() : QString();
}

} // namespace

QTextCodec* xmlDocumentCodec(const QByteArray& document, const QString& declared)
{
    const QString encoding = declared.isEmpty() ? declaredEncoding(document) : declared;
    if (!encoding.isEmpty())
        return QTextCodec::codecForName(encoding.toLatin1());
    const auto byte = [&](int index) { return static_cast<uchar>(document.at(index)); };
    int mib = 106; // UTF-8
    if (document.size() >= 4) {
        if ((byte(0) == 0 && byte(1) == 0 && byte(2) == 0xfe && byte(3) == 0xff)
            || (byte(0) == 0xff && byte(1) == 0xfe && byte(2) == 0 && byte(3) == 0))
            mib = 1017; // UTF-32 with a byte order mark
        else if (byte(0) == 0x3c && byte(1) == 0 && byte(2) == 0 && byte(3) == 0)
            mib = 1019; // UTF-32LE
        else if (byte(0) == 0 && byte(1) == 0 && byte(2) == 0 && byte(3) == 0x3c)
            mib = 1018; // UTF-32BE
        else if ((byte(0) == 0xfe && byte(1) == 0xff) || (byte(0) == 0xff && byte(1) == 0xfe))
            mib = 1015; // UTF-16 with a byte order mark
        else if (byte(0) == 0x3c && byte(1) == 0)
            mib = 1014; // UTF-16LE
        else if (byte(0) == 0 && byte(1) == 0x3c)
            mib = 1013; // UTF-16BE
    }
    return QTextCodec::codecForMib(mib);
}

QString decodedXmlDocument(const QByteArray& document)
{
    // The reader does not count a byte order mark as a character; neither do we.
    const QTextCodec* codec = xmlDocumentCodec(document);
    return codec != nullptr ? codec->toUnicode(document) : QString::fromUtf8(document);
}

} // namespace zefa::msg_filter::impl_detail
