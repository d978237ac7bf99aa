#include "common/atomicxmlsave.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamWriter>

namespace zefa::msg_filter::impl_detail {

namespace {

// QSaveFile refuses to replace a file that we may not write, although a file we may
// remove can always be written anew. Such a file is moved aside for the save and either
// dropped once the new one is in place or moved back when the save fails. Returns the
// name it was moved to, or an empty string when nothing was moved.
QString moveAsideIfReadOnly(const QString& path)
{
    const QFileInfo previous(path);
    if (!previous.exists() || previous.isDir() || previous.isWritable())
        return QString();
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString aside = path + QStringLiteral(".previous-%1").arg(attempt);
        if (QFileInfo(aside).exists() || QFileInfo(aside).isSymLink())
            continue;
        return QFile::rename(path, aside) ? aside : QString();
    }
    return QString();
}

bool writeDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;

    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writeBody(writer);

    // commit() flushes the last buffered bytes itself but does not notice when that
    // flush fails: it would rename a truncated file over the good one. Flush first and
    // look at every error there is, and discard the temporary file on any of them.
    const bool written = !writer.hasError() && file.error() == QFileDevice::NoError && file.flush()
        && file.error() == QFileDevice::NoError;
    if (!written) {
        file.cancelWriting();
        file.commit(); // removes the temporary file
        return false;
    }
    return file.commit();
}

} // namespace

bool saveXmlDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody,
    const char* location, int failureLine)
{
    const QString aside = moveAsideIfReadOnly(path);
    const bool saved = writeDocument(path, writeBody);
    if (!aside.isEmpty()) {
        if (saved)
            QFile::remove(aside);
        else
            QFile::rename(aside, path);
    }
    if (!saved)
        qDebug() << "Fail to Writing message file" << location << failureLine;
    return saved;
}

} // namespace zefa::msg_filter::impl_detail
