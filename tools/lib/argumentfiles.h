#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>

class QFile;
class QTemporaryDir;

namespace zefa::msg_filter::tool {

/// The text of one command-line argument, and the bytes of the file it names.
///
/// A file name is a string of bytes that need not be valid UTF-8, and Qt opens files by
/// names it encodes itself. Arguments are therefore read as UTF-8 when they are valid
/// UTF-8 and as Latin-1 otherwise (one character per byte, as the tool shows log text),
/// and a file named by an argument is opened by the argument's own bytes.
QString argumentText(const char* argument);

/// The bytes of an argument: its own bytes when `text` came from argumentText(), else the
/// UTF-8 encoding of `text`. For a file name, the bytes of the file it names.
QByteArray argumentBytes(const QString& text);

/// Opens the file `name` names for reading, through its bytes. False, with the reason in
/// `error`, when it cannot be opened.
bool openArgumentFile(QFile& file, const QString& name, QIODevice::OpenMode mode, QString& error);

/// Where the library can read the rule file `name`, opened as `file`: `name` itself for a
/// regular file whose name Qt can encode; otherwise a copy in `copies`, read once through
/// `file` (a pipe or a FIFO cannot be read twice), of at most kMaximumRuleFileBytes. Empty,
/// with the reason in `error`, when no copy can be made.
QString readableRuleFile(
    QFile& file, const QString& name, const QTemporaryDir& copies, QString& error);

/// Whether `name` names a directory.
bool isArgumentDirectory(const QString& name);

} // namespace zefa::msg_filter::tool
