#pragma once

#include "sessionscript.h"

#include <QDir>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

class QTextStream;

namespace zefa::msg_filter {
class MessageNode;
class MessageObject;
} // namespace zefa::msg_filter

namespace zefa::msg_filter::tool {

class HtmlReport;

/// Replays a recorded tool session, one line at a time, through the library on the host
/// substitute, and reports what the host's message view would show.
///
/// The replay keeps its own record of arrival order (messages as the store announces
/// them, unrecognised lines as the engine manager passes them on) so that the report
/// lists each process in the order things happened, whatever the store's hash order.
class SessionReplay : public QObject {
    Q_OBJECT

public:
    /// Relative paths in the session are taken relative to `sessionDirectory`.
    explicit SessionReplay(const QDir& sessionDirectory, QObject* parent = nullptr);
    ~SessionReplay() override;

    /// Runs one session line; false, with the reason in `error`, for a malformed line
    /// or one that cannot be carried out. Nothing of the line is done then.
    bool execute(const QString& line, QString& error);

    /// The report for people: stored messages the catalogue would show and the
    /// unrecognised lines, grouped by implementation and process, then a summary.
    void writeText(QTextStream& out, bool color = false);
    /// The same as one JSON object per line.
    void writeJsonLines(QTextStream& out);
    /// The stored messages, by implementation and process, for a report page; one
    /// that the active filter hides counts as waived. Returns whether a filter hid any.
    bool addToReport(HtmlReport& page);

private:
    struct PlainLine {
        QString implementation;
        QString process;
        QString text;
        quint64 sequence = 0;
    };
    struct Entry {
        quint64 sequence = 0;
        zefa::msg_filter::MessageNode* node = nullptr; // null for a plain line
        QString plain;
        bool visible = true;
    };
    struct ProcessReport {
        QString implementation;
        QString process;
        QVector<Entry> entries;
    };

    bool runCommand(const QString& line, const QVector<SessionWord>& words, QString& error);
    bool publishOutput(const QString& implementation, const QByteArray& text);
    bool saveFilter(const QVector<SessionWord>& words, QString& error);
    void watchNewObjects();
    void onPlainLine(const QString& line);
    void noteProcess(const QString& implementation, const QString& process);
    QString path(const QString& name) const;
    QVector<ProcessReport> buildReport();

    QDir m_sessionDirectory;
    QString m_publishingFor;
    quint64 m_sequence = 0;
    bool m_loadingLog = false;
    QHash<zefa::msg_filter::MessageNode*, quint64> m_nodeSequence;
    QVector<PlainLine> m_plainLines;
    QSet<zefa::msg_filter::MessageObject*> m_watched;
    QStringList m_implementations;
    QHash<QString, QString> m_logFiles;
    QHash<QString, QStringList> m_processOrder;
    QHash<QString, QHash<QString, QString>> m_milestones; // implementation: task to milestone
};

/// The text a person reads for a stored message: its display string, or its dynamic
/// arguments when the catalogue has no template for its id.
QString messageText(zefa::msg_filter::MessageNode* node);

} // namespace zefa::msg_filter::tool
