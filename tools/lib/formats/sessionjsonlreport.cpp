#include "sessionjsonlreport.h"

#include <msgfilter/msgfilter.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace zefa::msg_filter::tool {

namespace {

QJsonArray jsonList(const QStringList& items)
{
    QJsonArray array;
    for (const QString& item : items) {
        array.append(item);
    }
    return array;
}

QJsonObject jsonCounts(const SessionCounts& counts)
{
    return QJsonObject { { QStringLiteral("Error"), counts.error },
        { QStringLiteral("Warning"), counts.warning }, { QStringLiteral("Info"), counts.info },
        { QStringLiteral("other"), counts.other }, { QStringLiteral("plain"), counts.plain },
        { QStringLiteral("hidden"), counts.hidden } };
}

} // namespace

void writeSessionJsonLines(QTextStream& out, const SessionReport& report)
{
    auto line = [&out](const QJsonObject& object) {
        out << QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) << '\n';
    };
    SessionCounts total;
    for (const SessionProcess& process : report) {
        for (const SessionEntry& entry : process.entries) {
            QJsonObject object { { QStringLiteral("implementation"), process.implementation },
                { QStringLiteral("process"), process.process } };
            if (entry.node == nullptr) {
                object.insert(QStringLiteral("kind"), QStringLiteral("plain"));
                object.insert(QStringLiteral("text"), entry.plain);
            } else if (entry.visible) {
                object.insert(QStringLiteral("kind"), QStringLiteral("message"));
                object.insert(QStringLiteral("severity"), entry.node->getMessageSeverity());
                object.insert(QStringLiteral("id"), entry.node->getMessageID());
                object.insert(QStringLiteral("text"), messageText(entry.node));
                object.insert(
                    QStringLiteral("dynamic"), jsonList(entry.node->getMessageDynamicData()));
                object.insert(
                    QStringLiteral("navigation"), jsonList(entry.node->getMessageNavigationData()));
            } else {
                continue;
            }
            line(object);
        }
    }
    for (const SessionProcess& process : report) {
        const SessionCounts counts = SessionCounts::of(process);
        total.add(counts);
        QJsonObject object = jsonCounts(counts);
        object.insert(QStringLiteral("kind"), QStringLiteral("summary"));
        object.insert(QStringLiteral("implementation"), process.implementation);
        object.insert(QStringLiteral("process"), process.process);
        line(object);
    }
    QJsonObject object = jsonCounts(total);
    object.insert(QStringLiteral("kind"), QStringLiteral("total"));
    line(object);
    out.flush();
}

} // namespace zefa::msg_filter::tool
