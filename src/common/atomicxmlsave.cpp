#include "common/atomicxmlsave.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QXmlStreamWriter>

#include <cstdio>

namespace zefa::msg_filter::impl_detail {

namespace {

bool writeDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody)
{
    QSaveFile file(path);
    // A directory we may not write has no room for a temporary file: a file in it that we
    // may write is then written in place, as a save without a temporary file would.
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly))
        return false;

    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writeBody(writer);

    // commit() flushes the last buffered bytes itself but does not notice when that
    // flush fails: it would rename a truncated file over the good one. Flush first and
    // look at every error there is, and discard the temporary file on any of them (a file
    // written in place keeps what reached it).
    const bool written = !writer.hasError() && file.error() == QFileDevice::NoError && file.flush()
        && file.error() == QFileDevice::NoError;
    if (!written) {
        file.cancelWriting();
        file.commit(); // removes the temporary file
        return false;
    }
    return file.commit();
}

// QSaveFile refuses to replace a file that we may not write, although one that we may
// remove can be replaced. The document is then saved whole under a free name beside it and
// only then renamed over it, so that the previous file stays as it was until the new one is
// complete, whatever ends the process on the way.
bool replaceReadOnly(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const QString staged = path + QStringLiteral(".saving-%1").arg(attempt);
        if (QFileInfo(staged).exists() || QFileInfo(staged).isSymLink())
            continue;
        if (!writeDocument(staged, writeBody))
            return false;
        if (std::rename(QFile::encodeName(staged).constData(), QFile::encodeName(path).constData())
            == 0)
            return true;
        QFile::remove(staged);
        return false;
    }
    return false;
}

} // namespace

bool saveXmlDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody,
    const char* location, int failureLine)
{
    const QFileInfo previous(path);
    const bool saved = previous.exists() && !previous.isDir() && !previous.isWritable()
        ? replaceReadOnly(path, writeBody)
        : writeDocument(path, writeBody);
    if (!saved)
        qDebug() << "Fail to Writing message file" << location << failureLine;
    return saved;
}

} // namespace zefa::msg_filter::impl_detail
