#pragma once

#include <QString>

namespace zefa::msg_filter::tool {

/// Turns the paths that logs name into the URIs of reports.
///
/// Paths are taken as the log writes them: '\' separates directories as '/' does, and
/// "E:/work/top.v" is absolute, as a log written on Windows means it. A path under the
/// source root becomes relative to it; other absolute paths become file URIs; relative
/// paths are first resolved against the working directory when a source root is set,
/// and stay relative otherwise. Everything but unreserved characters, '/' and ':' is
/// percent-encoded.
class SourceUri {
public:
    /// `sourceRoot` and `workingDirectory` are absolute; an empty source root keeps
    /// relative paths relative.
    SourceUri(QString sourceRoot, QString workingDirectory);

    struct Result {
        QString uri;
        bool underSourceRoot = false; ///< `uri` is relative to the source root
    };
    Result resolve(const QString& path) const;

    /// The source root as a directory URI ending in '/'; empty without one.
    QString sourceRootUri() const;

    /// The path relative to the source root when it lies under it, else the path itself
    /// with '/' separators: for reports that take plain paths.
    QString relativePath(const QString& path) const;

private:
    QString absolute(const QString& path) const;

    QString m_sourceRoot;
    QString m_workingDirectory;
};

} // namespace zefa::msg_filter::tool
