#include "sourceuri.h"

#include <QDir>
#include <QUrl>

namespace zefa::msg_filter::tool {

namespace {

QString withSlashes(QString path)
{
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return path;
}

bool hasDrive(const QString& path)
{
    return path.size() >= 3 && path[0].isLetter() && path[1] == QLatin1Char(':')
        && path[2] == QLatin1Char('/');
}

bool isAbsolute(const QString& path)
{
    return path.startsWith(QLatin1Char('/')) || hasDrive(path);
}

QString encoded(const QString& path)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(path, "/:"));
}

QString fileUri(const QString& absolutePath)
{
    return QStringLiteral("file://") + (hasDrive(absolutePath) ? QStringLiteral("/") : QString())
        + encoded(absolutePath);
}

// The part of `path` below `root`, or a null string when it is not below it.
QString below(const QString& path, const QString& root)
{
    if (root.isEmpty()) {
        return {};
    }
    const QString prefix = root.endsWith(QLatin1Char('/')) ? root : root + QLatin1Char('/');
    return path.startsWith(prefix) ? path.mid(prefix.size()) : QString();
}

} // namespace

SourceUri::SourceUri(QString sourceRoot, QString workingDirectory)
    : m_sourceRoot(sourceRoot.isEmpty() ? QString() : QDir::cleanPath(withSlashes(sourceRoot)))
    , m_workingDirectory(QDir::cleanPath(withSlashes(workingDirectory)))
{
}

QString SourceUri::absolute(const QString& path) const
{
    const QString clean = QDir::cleanPath(withSlashes(path));
    if (isAbsolute(clean) || m_sourceRoot.isEmpty()) {
        return clean;
    }
    return QDir::cleanPath(m_workingDirectory + QLatin1Char('/') + clean);
}

SourceUri::Result SourceUri::resolve(const QString& path) const
{
    const QString full = absolute(path);
    const QString relative = below(full, m_sourceRoot);
    if (!relative.isEmpty()) {
        return { encoded(relative), true };
    }
    if (isAbsolute(full)) {
        return { fileUri(full), false };
    }
    // A relative reference whose first segment holds ':' would read as a scheme.
    const int colon = full.indexOf(QLatin1Char(':'));
    const int slash = full.indexOf(QLatin1Char('/'));
    const bool looksLikeScheme = colon >= 0 && (slash < 0 || colon < slash);
    return { (looksLikeScheme ? QStringLiteral("./") : QString()) + encoded(full), false };
}

QString SourceUri::sourceRootUri() const
{
    if (m_sourceRoot.isEmpty()) {
        return {};
    }
    const QString uri = fileUri(m_sourceRoot);
    return uri.endsWith(QLatin1Char('/')) ? uri : uri + QLatin1Char('/');
}

QString SourceUri::relativePath(const QString& path) const
{
    const QString full = absolute(path);
    const QString relative = below(full, m_sourceRoot);
    return relative.isEmpty() ? QDir::cleanPath(withSlashes(path)) : relative;
}

} // namespace zefa::msg_filter::tool
