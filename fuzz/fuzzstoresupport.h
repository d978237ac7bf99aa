#pragma once

// The body shared by the message log and filter file fuzzers: each input is written to a
// scratch file, read into state that already holds something, saved again, and the saved
// file must be well-formed and read back to the same state.

#include <msgfilter/host/host.h>
#include <msgfilter/messageobject.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QString>
#include <QStringList>
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

// The stream writer escapes line ends in attributes but writes a carriage return in element
// text as it is, and every XML reader turns that into a line feed; descriptions of what was
// saved compare equal across a save modulo that.
inline QString withLineFeeds(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text;
}

// Every message of the object but the tool's (which a log leaves out), by process, each
// process in arrival order; id and severity trimmed, as the log keeps them.
inline QHash<QString, QStringList> describeLog(zefa::msg_filter::MessageObject& object)
{
    const QChar separator(0x1f);
    QHash<QString, QStringList> messages;
    for (zefa::msg_filter::MessageNode* node : object.reloadAllMessages())
        if (node->getMessageProcess() != QLatin1String("Tool"))
            messages[node->getMessageProcess()].append(withLineFeeds(node->getMessageID().trimmed()
                + separator + node->getMessageSeverity().trimmed() + separator
                + node->getMessageDynamicData().join(separator) + separator
                + node->getMessageNavigationData().join(separator)));
    return messages;
}

// Runs one input: `loadAndSave(input, saved)` reads the input file into prepared state,
// saves that state to `saved` and returns a description of it; `reread(saved)` must
// describe the same.
template <class LoadAndSave, class Reread>
int roundTrip(const uint8_t* data, size_t size, LoadAndSave loadAndSave, Reread reread)
{
    static const QString input = scratch().filePath(QStringLiteral("input.xml"));
    static const QString saved = scratch().filePath(QStringLiteral("saved.xml"));
    {
        QFile file(input);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    // The save goes to a second file, so that it replaces nothing the input decided.
    QFile::remove(saved);
    const auto before = loadAndSave(input, saved);
    requireWellFormed(saved);
    if (reread(saved) != before)
        std::abort();
    zefa::pelno::MsgCatalogue::instance().clearJournal();
    return 0;
}

} // namespace fuzzstore

// Diagnostics of missing files and failed reads are expected here by the thousand.
extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}
