#include "engine/oldformattext.h"

#include "common/regexpattern.h"

#include <QStringList>

namespace zefa::msg_filter::impl_detail {

namespace {

// Group 1 the keyword, group 2 the separator, group 3 the message text; matched against
// the whole line.
const QString kOldFormatPattern = QStringLiteral("\\s*(warning|@w|error|@e)\\s*(-|:)\\s*(.*)");

const RegexPattern& oldFormatExpression()
{
    static const RegexPattern expression(kOldFormatPattern, RegexPattern::Case::Insensitive);
    return expression;
}

// Only printable ASCII and tabs: there case and blanks mean what they mean to everyone,
// with no letter elsewhere in Unicode that folds onto a keyword's.
bool isPlain(const QString& line)
{
    for (const QChar ch : line) {
        const ushort code = ch.unicode();
        if ((code < 0x20 && code != '\t') || code > 0x7e)
            return false;
    }
    return true;
}

int skipBlanks(const QString& line, int from)
{
    while (
        from < line.size() && (line[from] == QLatin1Char(' ') || line[from] == QLatin1Char('\t')))
        ++from;
    return from;
}

// The length of the keyword at `from`, 0 when there is none. The keywords start with
// different characters, so at most one can match.
int keywordAt(const QString& line, int from)
{
    for (const char* keyword : { "warning", "@w", "error", "@e" }) {
        const QLatin1String word(keyword);
        if (QStringView(line).mid(from).startsWith(word, Qt::CaseInsensitive))
            return word.size();
    }
    return 0;
}

} // namespace

QString OldFormatText::of(const QString& line)
{
    if (!isPlain(line))
        return ofByExpression(line);
    int position = skipBlanks(line, 0);
    const int keyword = keywordAt(line, position);
    if (keyword == 0)
        return line;
    position = skipBlanks(line, position + keyword);
    if (position == line.size()
        || (line[position] != QLatin1Char('-') && line[position] != QLatin1Char(':')))
        return line;
    // The expression gives the blanks after the separator to the text, not to the "\s*"
    // before it.
    return line.mid(position + 1);
}

QString OldFormatText::ofByExpression(const QString& line)
{
    QStringList captures;
    return oldFormatExpression().matchesWhole(line, &captures) ? captures.value(3) : line;
}

} // namespace zefa::msg_filter::impl_detail
