#pragma once

#include <QString>
#include <QVector>

namespace zefa::msg_filter::tool {

/// One word of a session line and where it ends in the line, so that a command can take
/// the rest of the line verbatim after a word.
struct SessionWord {
    QString text;
    int end = 0; ///< offset just after the word's last character
};

/// Splits one session line into words.
///
/// Words are separated by blanks and tabs. Double quotes group characters, blanks
/// included, and may appear anywhere in a word (`hide="some text"` is one word); inside
/// them \" \\ \n \r \t are escapes. Outside quotes a backslash is an ordinary character.
/// A line whose first word begins with '#' is a comment and gives no words.
/// Returns false, with the reason in `error`, for an unterminated quote or an unknown
/// escape. With a `wordLimit` of 0 or more, splitting stops after that many words and the
/// rest of the line is not looked at.
bool splitSessionLine(
    const QString& line, QVector<SessionWord>& words, QString& error, int wordLimit = -1);

} // namespace zefa::msg_filter::tool
