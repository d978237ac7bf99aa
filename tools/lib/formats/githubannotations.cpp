#include "githubannotations.h"

namespace zefa::msg_filter::tool {

GithubAnnotations::GithubAnnotations(SourceUri paths)
    : m_paths(std::move(paths))
{
}

QString GithubAnnotations::escapeData(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('%'), QLatin1String("%25"));
    escaped.replace(QLatin1Char('\r'), QLatin1String("%0D"));
    escaped.replace(QLatin1Char('\n'), QLatin1String("%0A"));
    return escaped;
}

QString GithubAnnotations::escapeProperty(const QString& text)
{
    QString escaped = escapeData(text);
    escaped.replace(QLatin1Char(':'), QLatin1String("%3A"));
    escaped.replace(QLatin1Char(','), QLatin1String("%2C"));
    return escaped;
}

QString GithubAnnotations::command(const ClassifiedLine& message) const
{
    const bool atSource = message.sourceLine > 0;
    QString properties = QStringLiteral("file=")
        + escapeProperty(m_paths.relativePath(atSource ? message.sourceFile : message.file))
        + QStringLiteral(",line=")
        + QString::number(atSource ? message.sourceLine : message.number);
    if (atSource && message.sourceColumn > 0) {
        properties += QStringLiteral(",col=") + QString::number(message.sourceColumn);
    }
    properties += QStringLiteral(",title=") + escapeProperty(message.id);
    return QStringLiteral("::") + reportLevel(message.severity, QStringLiteral("notice"))
        + QLatin1Char(' ') + properties + QStringLiteral("::") + escapeData(message.message);
}

void GithubAnnotations::write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const
{
    for (const ClassifiedLine& message : messages) {
        if (!message.waived) {
            device.write((command(message) + QLatin1Char('\n')).toUtf8());
        }
    }
}

} // namespace zefa::msg_filter::tool
