#include "baselinereader.h"

#include "argumentfiles.h"
#include "messagedescription.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zefa::msg_filter::tool {

namespace {

bool severityOfLevel(const QString& level, Severity& severity)
{
    if (level == QLatin1String("error")) {
        severity = Severity::Error;
    } else if (level == QLatin1String("warning")) {
        severity = Severity::Warning;
    } else if (level == QLatin1String("note") || level == QLatin1String("none")) {
        severity = Severity::Info;
    } else {
        return false;
    }
    return true;
}

// The tool's own SARIF keeps the input's name and the fields among a result's properties;
// from them the message is rebuilt as the run saw it. A result without them still gives
// id, severity and text.
bool readSarifResult(const QJsonObject& result, ClassifiedLine& message)
{
    const QJsonValue ruleId = result.value(QStringLiteral("ruleId"));
    const QJsonValue text =
        result.value(QStringLiteral("message")).toObject().value(QStringLiteral("text"));
    if (!ruleId.isString() || !text.isString()) {
        return false;
    }
    const QJsonObject properties = result.value(QStringLiteral("properties")).toObject();
    Severity severity = Severity::None;
    if (!severityOfName(properties.value(QStringLiteral("severity")).toString(), severity)
        && !severityOfLevel(
            result.value(QStringLiteral("level")).toString(QStringLiteral("warning")), severity)) {
        return false;
    }
    MessageFields fields;
    for (const QJsonValue& pair : properties.value(QStringLiteral("fields")).toArray()) {
        fields.emplace_back(pair.toArray().at(0).toString(), pair.toArray().at(1).toString());
    }
    // The log's own place is the primary location, or the first related one when the
    // message names a source place.
    const QJsonArray related = result.value(QStringLiteral("relatedLocations")).toArray();
    const QJsonValue logPlace = related.isEmpty()
        ? result.value(QStringLiteral("locations")).toArray().at(0)
        : related.at(0);
    const auto logLine = static_cast<long long>(logPlace[QStringLiteral(
        "physicalLocation")][QStringLiteral("region")][QStringLiteral("startLine")]
                                                    .toInt());
    message = classifiedLine(properties.value(QStringLiteral("input")).toString(), logLine,
        severity, properties.value(QStringLiteral("rule")).toString(), QString(), std::move(fields),
        text.toString());
    message.id = ruleId.toString();
    message.message = text.toString();
    return true;
}

bool readSarif(const QJsonObject& log, std::vector<ClassifiedLine>& messages, QString& error)
{
    const QJsonValue runs = log.value(QStringLiteral("runs"));
    if (!runs.isArray()) {
        error = QStringLiteral("SARIF without a 'runs' array");
        return false;
    }
    for (const QJsonValue& run : runs.toArray()) {
        const QJsonArray results = run.toObject().value(QStringLiteral("results")).toArray();
        for (int index = 0; index < results.size(); ++index) {
            const QJsonObject result = results[index].toObject();
            if (!result.value(QStringLiteral("suppressions")).toArray().isEmpty()) {
                continue;
            }
            ClassifiedLine message;
            if (!readSarifResult(result, message)) {
                error = QStringLiteral("SARIF result %1 has no ruleId, message text or level")
                            .arg(index + 1);
                return false;
            }
            messages.push_back(std::move(message));
        }
    }
    return true;
}

bool readJsonl(const QByteArray& content, std::vector<ClassifiedLine>& messages, QString& error)
{
    const QList<QByteArray> lines = content.split('\n');
    for (int index = 0; index < lines.size(); ++index) {
        const QByteArray line = lines[index].trimmed();
        if (line.isEmpty()) {
            continue;
        }
        QJsonParseError parseError {};
        const QJsonDocument document = QJsonDocument::fromJson(line, &parseError);
        ClassifiedLine message;
        if (!document.isObject() || !fromJsonl(document.object(), message)) {
            error = QStringLiteral("line %1 is not a message of msgfilter's jsonl or SARIF output")
                        .arg(index + 1);
            return false;
        }
        messages.push_back(std::move(message));
    }
    return true;
}

} // namespace

bool readBaseline(const QByteArray& content, std::vector<ClassifiedLine>& messages, QString& error)
{
    messages.clear();
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (document.isObject() && document.object().contains(QStringLiteral("runs"))) {
        return readSarif(document.object(), messages, error);
    }
    return readJsonl(content, messages, error);
}

bool readBaselineFile(const QString& path, std::vector<ClassifiedLine>& messages, QString& error)
{
    QFile file;
    QString reason;
    if (!openArgumentFile(file, path, QIODevice::ReadOnly, reason)) {
        error = QStringLiteral("cannot read baseline '%1': %2").arg(path, reason);
        return false;
    }
    const QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        error = QStringLiteral("cannot read baseline '%1': %2").arg(path, file.errorString());
        return false;
    }
    if (!readBaseline(content, messages, reason)) {
        error = QStringLiteral("baseline '%1': %2").arg(path, reason);
        return false;
    }
    return true;
}

} // namespace zefa::msg_filter::tool
