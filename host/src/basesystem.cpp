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
    // The data sits at the same place relative to the library wherever the prefix was
    // moved; a build tree lays itself out the same way.
    const QDir data(
        loadedLibraryDirectory() + QLatin1Char('/') + QStringLiteral(MSGFILTER_LIB_TO_DATA));
    return data.exists() ? QDir(data.canonicalPath()) : data;
}

} // namespace zefa::pelno
