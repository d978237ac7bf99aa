#include "argumentfiles.h"

#include "boundedread.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>

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

QString readableRuleFile(
    QFile& file, const QString& name, const QTemporaryDir& copies, QString& error)
{
    if (!file.isSequential() && argumentBytes(name) == QFile::encodeName(name))
        return name;
    QByteArray content;
    if (!readAtMost(file, kMaximumRuleFileBytes, content)) {
        error = file.error() == QFileDevice::NoError ? QStringLiteral("more than 64 MiB")
                                                     : file.errorString();
        return QString();
    }
    QFile copy(copies.filePath(QStringLiteral("rules.xml")));
    if (!copies.isValid() || !copy.open(QIODevice::WriteOnly)
        || copy.write(content) != content.size() || !copy.flush()) {
        error = QStringLiteral("no temporary copy could be made");
        return QString();
    }
    return copy.fileName();
}

bool isArgumentDirectory(const QString& name)
{
    struct stat status { };
    return ::stat(argumentBytes(name).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace zefa::msg_filter::tool
