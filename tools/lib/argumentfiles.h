#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QString>

class QFile;

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

/// Whether `name` names a directory.
bool isArgumentDirectory(const QString& name);

} // namespace zefa::msg_filter::tool
