#include "store/nodetexts.h"

#include "common/latin1.h"

#include <cstring>

namespace zefa::msg_filter::impl_detail {

namespace {

// Block layout: an encoding byte, the counts of dynamic and navigation texts, then the
// display string and every argument, each as its length (with the null flag in the lowest
// bit) followed by its characters. Numbers are 7 bits a byte, lowest first, so that the
// short texts of a message spend one byte on their length.
enum Encoding : char { Latin1 = 0, Utf16 = 1 };

// Writes a block, or with no destination only counts its bytes: packing runs it twice so
// that the block is allocated once at its final size.
class Writer {
public:
    Writer(Encoding encoding, char* out)
        : m_encoding(encoding)
        , m_out(out)
    {
        byte(char(encoding));
    }

    void number(quint32 value)
    {
        while (value >= 0x80) {
            byte(char(0x80 | (value & 0x7f)));
            value >>= 7;
        }
        byte(char(value));
    }

    void text(const QString& value)
    {
        number(quint32(value.size()) << 1 | (value.isNull() ? 1u : 0u));
        const int size = value.size();
        if (m_out != nullptr) {
            char* out = m_out + m_size;
            if (m_encoding == Latin1) {
                const QChar* in = value.constData();
                for (int i = 0; i < size; ++i)
                    out[i] = char(in[i].unicode());
            } else {
                std::memcpy(out, value.constData(), size_t(size) * sizeof(QChar));
            }
        }
        m_size += m_encoding == Latin1 ? size : size * int(sizeof(QChar));
    }

    int size() const { return m_size; }

private:
    void byte(char value)
    {
        if (m_out != nullptr)
            m_out[m_size] = value;
        ++m_size;
    }

    Encoding m_encoding;
    char* m_out;
    int m_size = 0;
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

    const Encoding encoding = latin1 ? Latin1 : Utf16;
    const auto write = [&](Writer& writer) {
        writer.number(quint32(dynamicData.size()));
        writer.number(quint32(navigationData.size()));
        writer.text(displayString);
        for (const QStringList* list : { &dynamicData, &navigationData })
            for (const QString& value : *list)
                writer.text(value);
    };
    Writer measure(encoding, nullptr);
    write(measure);
    // Exactly as long as the packed texts: the block lives as long as its node.
    QByteArray block(measure.size(), Qt::Uninitialized);
    Writer writer(encoding, block.data());
    write(writer);
    return block;
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
