// Feeds arbitrary bytes, read as Latin-1 like a session file, to the session line
// splitter.
//
// Beyond crashes and sanitizer findings it checks what the splitter promises: words
// end in increasing order inside the line, each at a blank or the line's end, and
// writing the words back in quotes, escaped, splits into the same words again.

#include "displaytext.h"
#include "sessionscript.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

using zefa::msg_filter::tool::quoted;
using zefa::msg_filter::tool::SessionWord;
using zefa::msg_filter::tool::splitSessionLine;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

QStringList texts(const QVector<SessionWord>& words)
{
    QStringList list;
    for (const SessionWord& word : words) {
        list.append(word.text);
    }
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString line =
        QString::fromLatin1(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QVector<SessionWord> words;
    QString error;
    if (!splitSessionLine(line, words, error)) {
        require(!error.isEmpty());
        return 0;
    }
    int previousEnd = 0;
    for (const SessionWord& word : words) {
        require(word.end > previousEnd && word.end <= line.size());
        require(word.end == line.size() || line.at(word.end) == QLatin1Char(' ')
            || line.at(word.end) == QLatin1Char('\t'));
        previousEnd = word.end;
    }

    QStringList written;
    for (const SessionWord& word : words) {
        written.append(quoted(word.text));
    }
    QVector<SessionWord> again;
    require(splitSessionLine(written.join(QLatin1Char(' ')), again, error));
    require(texts(again) == texts(words));
    return 0;
}
