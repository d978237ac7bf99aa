#include "sessionscript.h"

namespace zefa::msg_filter::tool {

namespace {

bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\t');
}

} // namespace

bool splitSessionLine(
    const QString& line, QVector<SessionWord>& words, QString& error, int wordLimit)
{
    words.clear();
    int position = 0;
    const int length = line.size();
    while (wordLimit < 0 || words.size() < wordLimit) {
        while (position < length && isBlank(line.at(position))) {
            ++position;
        }
        if (position >= length) {
            return true;
        }
        if (words.isEmpty() && line.at(position) == QLatin1Char('#')) {
            return true;
        }
        SessionWord word;
        bool quoted = false;
        while (position < length && (quoted || !isBlank(line.at(position)))) {
            const QChar c = line.at(position);
            if (c == QLatin1Char('"')) {
                quoted = !quoted;
                ++position;
                continue;
            }
            if (quoted && c == QLatin1Char('\\')) {
                if (position + 1 >= length) {
                    error = QStringLiteral("a backslash ends the line inside quotes");
                    return false;
                }
                const QChar escaped = line.at(position + 1);
                switch (escaped.unicode()) {
                case '"':
                case '\\':
                    word.text.append(escaped);
                    break;
                case 'n':
                    word.text.append(QLatin1Char('\n'));
                    break;
                case 'r':
                    word.text.append(QLatin1Char('\r'));
                    break;
                case 't':
                    word.text.append(QLatin1Char('\t'));
                    break;
                default:
                    error = QStringLiteral("unknown escape \\%1 in quotes").arg(escaped);
                    return false;
                }
                position += 2;
                continue;
            }
            word.text.append(c);
            ++position;
        }
        if (quoted) {
            error = QStringLiteral("unterminated double quote");
            return false;
        }
        word.end = position;
        words.append(word);
    }
    return true;
}

} // namespace zefa::msg_filter::tool
