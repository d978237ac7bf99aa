#include "common/xmlentitybound.h"

#include "common/xmldocumentcodec.h"

#include <QHash>
#include <QIODevice>
#include <QTextCodec>
#include <QXmlStreamReader>

#include <algorithm>
#include <limits>

namespace zefa::msg_filter::impl_detail {

namespace {

constexpr qint64 kCharactersPerByte = 16;
constexpr qint64 kMinimumBound = 64 * 1024;
// Larger than any bound, and small enough to add a few without overflow.
constexpr qint64 kUnbounded = std::numeric_limits<qint64>::max() / 4;

qint64 saturatedSum(qint64 a, qint64 b)
{
    return std::min(a + b, kUnbounded);
}

qint64 saturatedProduct(qint64 a, qint64 b)
{
    return a != 0 && b > kUnbounded / a ? kUnbounded : std::min(a * b, kUnbounded);
}

// Calls `reference(name, length)` for every "&name;" in `text`, in one pass: a name holds
// no "&", so only the last "&" before a ";" can start a reference.
template <class Reference> void forEachReference(const QString& text, Reference reference)
{
    int start = -1;
    for (int index = 0; index < text.size(); ++index) {
        if (text.at(index) == QLatin1Char('&')) {
            start = index;
        } else if (text.at(index) == QLatin1Char(';') && start >= 0) {
            reference(text.mid(start + 1, index - start - 1), index - start + 1);
            start = -1;
        }
    }
}

// The number of characters each declared entity expands to, nested references included.
class Expansions {
public:
    explicit Expansions(const QXmlStreamEntityDeclarations& declarations)
    {
        for (const QXmlStreamEntityDeclaration& declaration : declarations) {
            // The first declaration of a name is the one that counts; the longer one is
            // kept in case a reader took the other.
            const QString name = declaration.name().toString();
            const QString value = declaration.value().toString();
            if (value.size() >= m_values.value(name).size())
                m_values.insert(name, value);
        }
    }

    bool isEmpty() const { return m_values.isEmpty(); }
    const QHash<QString, QString>& values() const { return m_values; }

    // What one reference to `name` costs; a name declared nowhere counts as written.
    qint64 of(const QString& name, qint64 writtenLength, int depth = 0)
    {
        // Deeper nesting than any hand-written file uses is not followed: it counts as
        // unbounded, which keeps the stack small.
        constexpr int kMaximumDepth = 256;
        const auto value = m_values.constFind(name);
        if (value == m_values.cend())
            return writtenLength;
        const auto known = m_lengths.constFind(name);
        if (known != m_lengths.cend())
            return known.value();
        if (depth > kMaximumDepth)
            return kUnbounded;
        // A reference cycle never ends: it counts as unbounded while it is being followed.
        m_lengths.insert(name, kUnbounded);
        qint64 length = value->size();
        forEachReference(*value, [&](const QString& inner, int written) {
            length = saturatedSum(length - written, of(inner, written, depth + 1));
        });
        m_lengths.insert(name, length);
        return length;
    }

private:
    QHash<QString, QString> m_values;
    QHash<QString, qint64> m_lengths;
};

// The whole document, read without moving the reader's device; empty when the device
// cannot be read twice.
QByteArray wholeDocument(QIODevice* device)
{
    if (device == nullptr || device->isSequential())
        return QByteArray();
    const qint64 position = device->pos();
    QByteArray document;
    if (device->seek(0))
        document = device->readAll();
    return device->seek(position) ? document : QByteArray();
}

// Whether the references of the document stay within the bound. The document is decoded
// as the reader decodes it; the DTD the reader saw must appear in it, or the decoding
// cannot be trusted and the document is refused.
bool referencesWithinBound(Expansions& expansions, const QByteArray& document,
    const QString& declaredEncoding, QString dtd, qint64 bound)
{
    QTextCodec* codec = xmlDocumentCodec(document, declaredEncoding);
    if (document.isEmpty() || codec == nullptr)
        return false;
    QString text = codec->toUnicode(document);
    if (!text.remove(QLatin1Char('\r')).contains(dtd.remove(QLatin1Char('\r'))))
        return false;
    qint64 total = 0;
    forEachReference(text, [&](const QString& name, int written) {
        total = saturatedSum(total, expansions.of(name, written));
    });
    return total <= bound;
}

bool withinBound(QXmlStreamReader& reader, const QString& declaredEncoding)
{
    Expansions expansions(reader.entityDeclarations());
    if (expansions.isEmpty())
        return true;
    QIODevice* device = reader.device();
    const qint64 size = device != nullptr && !device->isSequential() ? device->size() : 0;
    const qint64 bound = std::max(saturatedProduct(size, kCharactersPerByte), kMinimumBound);

    // A reference takes at least its name and two characters, and a character takes at
    // least a byte: when no entity expands past the bound's share of its reference, no
    // document of this size can, and nothing needs counting.
    bool couldExceed = false;
    for (auto value = expansions.values().cbegin(); value != expansions.values().cend(); ++value) {
        const qint64 length = expansions.of(value.key(), 0);
        couldExceed = couldExceed || length >= kUnbounded
            || length > saturatedProduct(value.key().size() + 2, kCharactersPerByte);
    }
    return !couldExceed
        || referencesWithinBound(
            expansions, wholeDocument(device), declaredEncoding, reader.text().toString(), bound);
}

} // namespace

void readPrologWithinEntityBound(QXmlStreamReader& reader, const std::function<void()>& readNext)
{
    // No entity may expand while the DTD is read: only its declarations are wanted here.
    const int expansionLimit = reader.entityExpansionLimit();
    reader.setEntityExpansionLimit(0);
    // The declared encoding is only known while the reader stands on the declaration.
    QString declaredEncoding;
    while (!reader.atEnd()) {
        if (readNext)
            readNext();
        else
            reader.readNext();
        if (reader.isStartDocument())
            declaredEncoding = reader.documentEncoding().toString();
        if (reader.isDTD() || reader.isStartElement())
            break;
    }
    reader.setEntityExpansionLimit(expansionLimit);
    if (reader.isDTD() && !withinBound(reader, declaredEncoding))
        reader.raiseError(
            QStringLiteral("Entity references expand past the bound of this document."));
}

} // namespace zefa::msg_filter::impl_detail
