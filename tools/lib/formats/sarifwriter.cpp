#include "sarifwriter.h"

#include "messagekey.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <map>

namespace zefa::msg_filter::tool {

namespace {

const QString kSchema = QStringLiteral(
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json");
const QString kSourceRootId = QStringLiteral("SRCROOT");
const QString kFingerprintName = QStringLiteral("messageKey/v1");

QString sarifLevel(Severity severity)
{
    return reportLevel(severity, QStringLiteral("note"));
}

// What a later run needs to read this one back as its baseline, or to waive it.
QJsonObject properties(const ClassifiedLine& message)
{
    QJsonArray fields;
    for (const auto& [name, value] : message.fields) {
        fields.append(QJsonArray { name, value });
    }
    return QJsonObject {
        { QStringLiteral("severity"), severityName(message.severity) },
        { QStringLiteral("rule"), message.rule },
        { QStringLiteral("input"), message.file },
        { QStringLiteral("fields"), fields },
    };
}

QJsonObject text(const QString& value)
{
    return QJsonObject { { QStringLiteral("text"), value } };
}

} // namespace

SarifWriter::SarifWriter(Options options)
    : m_options(std::move(options))
{
}

QJsonObject SarifWriter::location(const QString& path, long long line, long long column) const
{
    const SourceUri::Result uri = m_options.uris.resolve(path);
    QJsonObject artifact { { QStringLiteral("uri"), uri.uri } };
    if (uri.underSourceRoot) {
        artifact.insert(QStringLiteral("uriBaseId"), kSourceRootId);
    }
    QJsonObject region { { QStringLiteral("startLine"), static_cast<double>(line) } };
    if (column > 0) {
        region.insert(QStringLiteral("startColumn"), static_cast<double>(column));
    }
    return QJsonObject { { QStringLiteral("physicalLocation"),
        QJsonObject { { QStringLiteral("artifactLocation"), artifact },
            { QStringLiteral("region"), region } } } };
}

QJsonObject SarifWriter::result(
    const ClassifiedLine& message, int ruleIndex, const QString& fingerprint) const
{
    QJsonObject logPlace = location(message.file, message.number, 0);
    QJsonObject result {
        { QStringLiteral("ruleId"), message.id },
        { QStringLiteral("ruleIndex"), ruleIndex },
        { QStringLiteral("level"), sarifLevel(message.severity) },
        { QStringLiteral("message"), text(message.message) },
        { QStringLiteral("partialFingerprints"),
            QJsonObject { { kFingerprintName, fingerprint } } },
        { QStringLiteral("properties"), properties(message) },
    };
    if (message.sourceLine > 0) {
        result.insert(QStringLiteral("locations"),
            QJsonArray { location(message.sourceFile, message.sourceLine, message.sourceColumn) });
        logPlace.insert(QStringLiteral("id"), 0);
        logPlace.insert(QStringLiteral("message"), text(QStringLiteral("log line")));
        result.insert(QStringLiteral("relatedLocations"), QJsonArray { logPlace });
    } else {
        result.insert(QStringLiteral("locations"), QJsonArray { logPlace });
    }
    if (message.baseline != BaselineState::None) {
        result.insert(QStringLiteral("baselineState"),
            message.baseline == BaselineState::New ? QStringLiteral("new")
                                                   : QStringLiteral("unchanged"));
    }
    if (message.waived) {
        QJsonObject suppression { { QStringLiteral("kind"), QStringLiteral("external") } };
        if (!m_options.waiverJustification.isEmpty()) {
            suppression.insert(QStringLiteral("justification"), m_options.waiverJustification);
        }
        result.insert(QStringLiteral("suppressions"), QJsonArray { suppression });
    }
    return result;
}

QJsonObject SarifWriter::document(const std::vector<ClassifiedLine>& messages) const
{
    QJsonArray rules;
    QJsonArray results;
    std::map<QString, int> ruleIndexes;
    FingerprintCounter fingerprints;
    for (const ClassifiedLine& message : messages) {
        auto found = ruleIndexes.find(message.id);
        if (found == ruleIndexes.end()) {
            found = ruleIndexes.emplace(message.id, rules.size()).first;
            rules.append(QJsonObject {
                { QStringLiteral("id"), message.id },
                { QStringLiteral("shortDescription"), text(message.message) },
                { QStringLiteral("defaultConfiguration"),
                    QJsonObject { { QStringLiteral("level"), sarifLevel(message.severity) } } },
                { QStringLiteral("properties"),
                    QJsonObject {
                        { QStringLiteral("severity"), severityName(message.severity) } } },
            });
        }
        results.append(result(message, found->second, fingerprints.next(message)));
    }
    QJsonObject driver {
        { QStringLiteral("name"), QStringLiteral("msgfilter") },
        { QStringLiteral("rules"), rules },
    };
    if (!m_options.toolVersion.isEmpty()) {
        driver.insert(QStringLiteral("version"), m_options.toolVersion);
    }
    QJsonObject run {
        { QStringLiteral("tool"), QJsonObject { { QStringLiteral("driver"), driver } } },
        { QStringLiteral("results"), results },
    };
    const QString rootUri = m_options.uris.sourceRootUri();
    if (!rootUri.isEmpty()) {
        run.insert(QStringLiteral("originalUriBaseIds"),
            QJsonObject { { kSourceRootId, QJsonObject { { QStringLiteral("uri"), rootUri } } } });
    }
    return QJsonObject {
        { QStringLiteral("$schema"), kSchema },
        { QStringLiteral("version"), QStringLiteral("2.1.0") },
        { QStringLiteral("runs"), QJsonArray { run } },
    };
}

void SarifWriter::write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const
{
    device.write(QJsonDocument(document(messages)).toJson(QJsonDocument::Indented));
}

} // namespace zefa::msg_filter::tool
