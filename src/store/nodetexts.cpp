#include "store/nodetexts.h"

#include "common/latin1.h"

#include <cstring>
#include <string>

namespace zefa::msg_filter::impl_detail {

namespace {

// Block layout: an encoding byte, the counts of dynamic and navigation texts, then the
// display string and every argument, each as its length (with the null flag in the lowest
// bit) followed by its characters. Numbers are 7 bits a byte, lowest first, so that the
// short texts of a message spend one byte on their length.
enum Encoding : char { Latin1 = 0, Utf16 = 1 };

class Writer {
public:
    explicit Writer(Encoding encoding)
        : m_encoding(encoding)
    {
        m_bytes.push_back(char(encoding));
    }

    void number(quint32 value)
    {
        while (value >= 0x80) {
            m_bytes.push_back(char(0x80 | (value & 0x7f)));
            value >>= 7;
        }
        m_bytes.push_back(char(value));
    }

    void text(const QString& value)
    {
        number(quint32(value.size()) << 1 | (value.isNull() ? 1u : 0u));
        if (m_encoding == Latin1) {
            for (const QChar ch : value)
                m_bytes.push_back(char(ch.unicode()));
        } else {
            const auto* data = reinterpret_cast<const char*>(value.constData());
            m_bytes.append(data, size_t(value.size()) * sizeof(QChar));
        }
    }

    // Exactly as long as the packed texts: the block lives as long as its node.
    QByteArray block() const { return QByteArray(m_bytes.data(), int(m_bytes.size())); }

private:
    Encoding m_encoding;
    std::string m_bytes;
};

class Reader {
public:
    explicit Reader(const QByteArray& block)
        : m_next(block.constData())
        , m_encoding(Encoding(*m_next++))
        , m_dynamicCount(int(number()))
        , m_navigationCount(int(number()))
    {
    }

    QString display() { return text(); }

    QStringList dynamic()
    {
        skipText();
        return texts(m_dynamicCount);
    }

    QStringList navigation()
    {
        for (int i = 0; i <= m_dynamicCount; ++i)
            skipText();
        return texts(m_navigationCount);
    }

private:
    quint32 number()
    {
        quint32 value = 0;
        for (int shift = 0;; shift += 7) {
            const auto byte = quint8(*m_next++);
            value |= quint32(byte & 0x7f) << shift;
            if (byte < 0x80)
                return value;
        }
    }

    int charWidth() const { return m_encoding == Latin1 ? 1 : int(sizeof(QChar)); }

    QString text()
    {
        const quint32 header = number();
        if (header & 1u)
            return QString();
        const int size = int(header >> 1);
        if (m_encoding == Latin1) {
            // Never null here: the pointer is into the block, also for an empty text.
            const QString value = QString::fromLatin1(m_next, size);
            m_next += size;
            return value;
        }
        QString value(size, Qt::Uninitialized);
        std::memcpy(value.data(), m_next, size_t(size) * sizeof(QChar));
        m_next += size * int(sizeof(QChar));
        return value;
    }

    void skipText() { m_next += int(number() >> 1) * charWidth(); }

    QStringList texts(int count)
    {
        QStringList out;
        out.reserve(count);
        for (int i = 0; i < count; ++i)
            out.append(text());
        return out;
    }

    const char* m_next;
    Encoding m_encoding;
    int m_dynamicCount;
    int m_navigationCount;
};

} // namespace

QByteArray NodeTexts::pack(
    const QString& displayString, const QStringList& dynamicData, const QStringList& navigationData)
{
    bool latin1 = fitsLatin1(displayString);
    for (const QStringList* list : { &dynamicData, &navigationData })
        for (const QString& value : *list)
            latin1 = latin1 && fitsLatin1(value);

    Writer writer(latin1 ? Latin1 : Utf16);
    writer.number(quint32(dynamicData.size()));
    writer.number(quint32(navigationData.size()));
    writer.text(displayString);
    for (const QStringList* list : { &dynamicData, &navigationData })
        for (const QString& value : *list)
            writer.text(value);
    return writer.block();
}

QString NodeTexts::displayString(const QByteArray& block)
{
    return Reader(block).display();
}

QStringList NodeTexts::dynamicData(const QByteArray& block)
{
    return Reader(block).dynamic();
}

QStringList NodeTexts::navigationData(const QByteArray& block)
{
    return Reader(block).navigation();
}

} // namespace zefa::msg_filter::impl_detail
