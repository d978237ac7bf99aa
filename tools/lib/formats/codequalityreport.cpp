#include "codequalityreport.h"

#include "messagekey.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace zefa::msg_filter::tool {

namespace {

QString qualitySeverity(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return QStringLiteral("blocker");
    case Severity::CriticalWarning:
        return QStringLiteral("critical");
    case Severity::Warning:
        return QStringLiteral("minor");
    case Severity::Info:
    case Severity::None:
        break;
    }
    return QStringLiteral("info");
}

} // namespace

CodeQualityReport::CodeQualityReport(SourceUri paths)
    : m_paths(std::move(paths))
{
}

QJsonArray CodeQualityReport::issues(const std::vector<ClassifiedLine>& messages) const
{
    QJsonArray issues;
    FingerprintCounter fingerprints;
    for (const ClassifiedLine& message : messages) {
        // Waived messages still count, so that the fingerprints match the SARIF output's.
        const QString fingerprint = fingerprints.next(message);
        if (message.waived) {
            continue;
        }
        const bool atSource = message.sourceLine > 0;
        const QJsonObject location {
            { QStringLiteral("path"),
                m_paths.relativePath(atSource ? message.sourceFile : message.file) },
            { QStringLiteral("lines"),
                QJsonObject { { QStringLiteral("begin"),
                    static_cast<double>(atSource ? message.sourceLine : message.number) } } },
        };
        issues.append(QJsonObject {
            { QStringLiteral("description"), message.message },
            { QStringLiteral("check_name"), message.id },
            { QStringLiteral("fingerprint"), fingerprint },
            { QStringLiteral("severity"), qualitySeverity(message.severity) },
            { QStringLiteral("location"), location },
        });
    }
    return issues;
}

void CodeQualityReport::write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const
{
    device.write(QJsonDocument(issues(messages)).toJson(QJsonDocument::Indented));
}

} // namespace zefa::msg_filter::tool
