#include "messagekey.h"

#include <QCryptographicHash>

namespace zefa::msg_filter::tool {

namespace {

bool isDigit(QChar c)
{
    return c >= QLatin1Char('0') && c <= QLatin1Char('9');
}

bool isHexDigit(QChar c)
{
    return isDigit(c) || (c.toLower() >= QLatin1Char('a') && c.toLower() <= QLatin1Char('f'));
}

// A digit after a letter, a digit or an underscore belongs to a name ("n_12", "clk200"),
// which stays as it is.
bool continuesName(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

// Separates the parts of a key; it cannot occur in a line of text.
const QChar kKeySeparator(0x1f);

} // namespace

QString withoutNumbers(const QString& text)
{
    QString result;
    result.reserve(text.size());
    const int size = text.size();
    for (int i = 0; i < size;) {
        if (!isDigit(text[i]) || (i > 0 && continuesName(text[i - 1]))) {
            result += text[i++];
            continue;
        }
        if (text[i] == QLatin1Char('0') && i + 2 < size && text[i + 1].toLower() == QLatin1Char('x')
            && isHexDigit(text[i + 2])) {
            i += 2;
            while (i < size && isHexDigit(text[i])) {
                ++i;
            }
        } else {
            while (i < size
                && (isDigit(text[i])
                    || (text[i] == QLatin1Char('.') && i + 1 < size && isDigit(text[i + 1])))) {
                ++i;
            }
        }
        result += QLatin1Char('#');
    }
    return result;
}

QString matchKey(const ClassifiedLine& message)
{
    QString file = message.sourceFile;
    file.replace(QLatin1Char('\\'), QLatin1Char('/'));
    file = file.mid(file.lastIndexOf(QLatin1Char('/')) + 1);
    return severityName(message.severity) + kKeySeparator + message.id + kKeySeparator + file
        + kKeySeparator + withoutNumbers(message.message);
}

QString FingerprintCounter::next(const ClassifiedLine& message)
{
    const QString key = matchKey(message);
    const int occurrence = ++m_seen[key];
    const QByteArray hash = QCryptographicHash::hash(
        (key + kKeySeparator + QString::number(occurrence)).toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex().left(32));
}

} // namespace zefa::msg_filter::tool
