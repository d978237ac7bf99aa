#pragma once

#include <QByteArray>
#include <QCommandLineParser>
#include <QString>
#include <QStringList>

namespace zefa::msg_filter::tool {

/// Writes text, encoded as UTF-8, to standard output or standard error.
void writeOutput(const QString& text);
void writeError(const QString& text);
/// Writes bytes unchanged to standard output.
void writeOutputBytes(const QByteArray& bytes);

/// Whether standard output is an open file descriptor at all. With it closed, the first
/// file the tool opens would take its place and receive its output.
bool standardOutputIsOpen();

/// Flushes standard output; false, with the reason in `reason`, when anything written to
/// it did not arrive (a full disk, /dev/full, a closed descriptor).
bool finishStandardOutput(QString& reason);

/// Reports a failure as the single line "msgfilter COMMAND: MESSAGE" on standard error.
void reportError(const char* command, const QString& message);

/// Writes a whole output file, replacing it only once every byte is written, or reports
/// why it cannot and returns false.
bool writeOutputFile(const char* command, const QString& path, const QByteArray& bytes);

/// Parses the arguments that follow a command's name.
///
/// Adds -h/--help to the parser. Returns true when the command should go on. Returns
/// false with `status` set when it is done: 0 after printing `help` for --help, 2 after
/// a one-line message for an unknown option or a missing option value.
bool parseCommandLine(QCommandLineParser& parser, const char* command, const QString& help,
    const QStringList& arguments, int& status);

/// The value of a --color option: whether to colour output written to a terminal.
enum class ColorMode { Auto, Always, Never };
bool parseColorMode(const QString& text, ColorMode& mode);

} // namespace zefa::msg_filter::tool
