#include "argumentfiles.h"

#include <QFile>
#include <QHash>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zefa::msg_filter::tool {

namespace {

// The arguments that are not valid UTF-8, by the text they were read as.
QHash<QString, QByteArray>& latin1Arguments()
{
    static QHash<QString, QByteArray> arguments;
    return arguments;
}

} // namespace

QString argumentText(const char* argument)
{
    const QByteArray bytes(argument);
    const QString utf8 = QString::fromUtf8(bytes);
    if (utf8.toUtf8() == bytes)
        return utf8;
    const QString latin1 = QString::fromLatin1(bytes);
    latin1Arguments().insert(latin1, bytes);
    return latin1;
}

QByteArray argumentBytes(const QString& text)
{
    return latin1Arguments().value(text, text.toUtf8());
}

bool openArgumentFile(QFile& file, const QString& name, QIODevice::OpenMode mode, QString& error)
{
    const int descriptor = ::open(argumentBytes(name).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    if (!file.open(descriptor, mode, QFileDevice::AutoCloseHandle)) {
        error = file.errorString();
        ::close(descriptor);
        return false;
    }
    return true;
}

bool isArgumentDirectory(const QString& name)
{
    struct stat status { };
    return ::stat(argumentBytes(name).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace zefa::msg_filter::tool
