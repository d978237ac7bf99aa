#pragma once

// Shared by the message log and filter file fuzzers: a scratch directory, quiet debug
// output, and a well-formedness check of what a save wrote.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace fuzzstore {

// Every save ends in an fsync; on a memory file system that costs nothing, which keeps
// the executions per second up.
inline const QTemporaryDir& scratch()
{
    static const QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
            ? QStringLiteral("/dev/shm/msgfilter-fuzz-XXXXXX")
            : QDir::tempPath() + QStringLiteral("/msgfilter-fuzz-XXXXXX"));
    return dir;
}

inline QString scratchFile(const char* name)
{
    return scratch().filePath(QLatin1String(name));
}

inline void writeInput(const QString& path, const uint8_t* data, size_t size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        std::abort();
    file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
}

// Whatever the input was, a save must produce a document the reader accepts.
inline void requireWellFormed(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        std::abort();
    QXmlStreamReader reader(&file);
    while (!reader.atEnd())
        reader.readNext();
    if (reader.hasError())
        std::abort();
}

inline void silenceDebugOutput()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
}

} // namespace fuzzstore
