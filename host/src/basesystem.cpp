#include <msgfilter/host/basesystem.h>

#include <QFileInfo>

#include <dlfcn.h>

namespace zefa::pelno {

namespace {

// The directory this shared library was loaded from; empty if the loader cannot tell.
QString loadedLibraryDirectory()
{
    Dl_info info {};
    if (dladdr(reinterpret_cast<void*>(&BaseSystem::getDataPath), &info) == 0
        || info.dli_fname == nullptr) {
        return {};
    }
    return QFileInfo(QFile::decodeName(info.dli_fname)).absolutePath();
}

} // namespace

QDir BaseSystem::getDataPath()
{
    if (qEnvironmentVariableIsSet("ZEFA_DATA_PATH")) {
        return QDir(qEnvironmentVariable("ZEFA_DATA_PATH"));
    }
    // An installed library finds its data beside it, wherever the prefix was moved;
    // a library in a build tree has no such directory and uses the sources' data.
    const QString libraryDirectory = loadedLibraryDirectory();
    if (!libraryDirectory.isEmpty()) {
        const QDir installed(
            libraryDirectory + QLatin1Char('/') + QStringLiteral(MSGFILTER_LIB_TO_DATA));
        if (installed.exists()) {
            return QDir(installed.canonicalPath());
        }
    }
    return QDir(QStringLiteral(MSGFILTER_SOURCE_DATA_DIR));
}

} // namespace zefa::pelno
