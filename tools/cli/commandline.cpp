#include "commandline.h"

#include "commands.h"

#include <QSaveFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace zefa::msg_filter::tool {

namespace {

// Why standard output first failed to take what was written; 0 while it never did.
int outputError = 0;

void writeBytes(std::FILE* stream, const QByteArray& bytes)
{
    if (!bytes.isEmpty()
        && std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream)
            != static_cast<size_t>(bytes.size())
        && stream == stdout && outputError == 0) {
        outputError = errno;
    }
}

} // namespace

bool standardOutputIsOpen()
{
    return fcntl(STDOUT_FILENO, F_GETFD) != -1 || errno != EBADF;
}

bool finishStandardOutput(QString& reason)
{
    if (std::fflush(stdout) != 0 && outputError == 0) {
        outputError = errno;
    }
    if (outputError == 0 && !std::ferror(stdout)) {
        return true;
    }
    reason = QString::fromLocal8Bit(std::strerror(outputError != 0 ? outputError : EIO));
    return false;
}

void writeOutput(const QString& text)
{
    writeBytes(stdout, text.toUtf8());
}

void writeError(const QString& text)
{
    std::fflush(stdout);
    writeBytes(stderr, text.toUtf8());
}

void writeOutputBytes(const QByteArray& bytes)
{
    writeBytes(stdout, bytes);
}

void reportError(const char* command, const QString& message)
{
    writeError(QStringLiteral("msgfilter %1: %2\n").arg(QLatin1String(command), message));
}

bool writeOutputFile(const char* command, const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        reportError(command, QStringLiteral("cannot write '%1': %2").arg(path, file.errorString()));
        return false;
    }
    return true;
}

bool parseCommandLine(QCommandLineParser& parser, const char* command, const QString& help,
    const QStringList& arguments, int& status)
{
    const QCommandLineOption helpOption(
        { QStringLiteral("h"), QStringLiteral("help") }, QStringLiteral("Show this help."));
    parser.addOption(helpOption);
    // The parser skips the first entry as the program name.
    QStringList withProgram = arguments;
    withProgram.prepend(QStringLiteral("msgfilter"));
    if (!parser.parse(withProgram)) {
        reportError(command,
            QStringLiteral("%1 (run 'msgfilter %2 --help')")
                .arg(parser.errorText(), QLatin1String(command)));
        status = kExitFailure;
        return false;
    }
    if (parser.isSet(helpOption)) {
        writeOutput(help);
        status = kExitSuccess;
        return false;
    }
    return true;
}

bool parseColorMode(const QString& text, ColorMode& mode)
{
    if (text == QLatin1String("auto")) {
        mode = ColorMode::Auto;
    } else if (text == QLatin1String("always")) {
        mode = ColorMode::Always;
    } else if (text == QLatin1String("never")) {
        mode = ColorMode::Never;
    } else {
        return false;
    }
    return true;
}

} // namespace zefa::msg_filter::tool
