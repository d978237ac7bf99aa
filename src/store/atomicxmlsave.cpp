#include "store/atomicxmlsave.h"

#include <QSaveFile>
#include <QXmlStreamWriter>

namespace zefa::msg_filter::impl_detail {

bool saveXmlDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody)
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

} // namespace zefa::msg_filter::impl_detail
