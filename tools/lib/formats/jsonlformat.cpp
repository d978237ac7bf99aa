#include "jsonlformat.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zefa::msg_filter::tool {

JsonlFormat::JsonlFormat(const FormatOptions&) { }

QByteArray JsonlFormat::message(const ClassifiedLine& line)
{
    QJsonArray fields;
    for (const auto& [name, value] : line.fields) {
        fields.append(QJsonArray { name, value });
    }
    const QJsonObject object {
        { QStringLiteral("file"), line.file },
        { QStringLiteral("line"), static_cast<double>(line.number) },
        { QStringLiteral("severity"), severityName(line.severity) },
        { QStringLiteral("rule"), line.rule },
        { QStringLiteral("type"), line.type },
        { QStringLiteral("fields"), fields },
        { QStringLiteral("text"), line.text },
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray JsonlFormat::finish(const ClassificationSummary&)
{
    return {};
}

} // namespace zefa::msg_filter::tool
