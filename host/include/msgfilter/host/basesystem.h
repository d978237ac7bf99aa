#pragma once

#include <msgfilter/host/host_export.h>

#include <QDir>

namespace zefa::pelno {

/// The tool's base services; the library only asks it where the data lives.
class MSGFILTER_HOST_EXPORT BaseSystem {
public:
    /// The data directory, which holds the default "enginemsg.xml".
    ///
    /// The environment variable ZEFA_DATA_PATH, read at every call, wins when it is set.
    /// Otherwise the data that ships with the library: share/msgfilter of the prefix it
    /// was installed to, or the build tree's link to the sources' data/.
    static QDir getDataPath();
};

} // namespace zefa::pelno
