#include "common/xmlfileopen.h"

#include <QDebug>
#include <QFile>

namespace zefa::msg_filter::impl_detail {

bool openXmlFileForReading(QFile& file, const char* location, int missingLine, int openLine)
{
    if (!file.exists()) {
        qDebug() << "message file doesn't exist" << location << missingLine;
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qDebug() << "Fail to Open message file" << location << openLine;
        return false;
    }
    return true;
}

} // namespace zefa::msg_filter::impl_detail
