#pragma once

#include "sessionreport.h"
#include "sessionscript.h"

#include <QDir>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

class QIODevice;

namespace zefa::msg_filter {
class MessageNode;
class MessageObject;
} // namespace zefa::msg_filter

namespace zefa::msg_filter::tool {

/// Replays a recorded tool session, one line at a time, through the library on the host
/// substitute, and reports what the host's message view would show.
///
/// The replay keeps its own record of arrival order (messages as the store announces
/// them, unrecognised lines as the engine manager passes them on) so that the report
/// lists each process in the order things happened, whatever the store's hash order.
class SessionReplay : public QObject {
    Q_OBJECT

public:
    /// One session command: its word, what it expects (for the message when a line
    /// does not fit), the range of its argument count (-1: no upper bound) and what
    /// carries it out.
    struct Command;

    /// Relative paths in the session are taken relative to `sessionDirectory`.
    explicit SessionReplay(const QDir& sessionDirectory, QObject* parent = nullptr);
    ~SessionReplay() override;

    /// Runs one session line; false, with the reason in `error`, for a malformed line
    /// or one that cannot be carried out. Nothing of the line is done then.
    bool execute(const QString& line, QString& error);

    /// Runs the lines of a session file (read as Latin-1) up to its end or the first
    /// line that fails; then `lineNumber` is that line's number (from 1) and `error`
    /// the reason.
    bool executeAll(QIODevice& session, int& lineNumber, QString& error);

    /// Stored messages the catalogue would show and the unrecognised lines, grouped by
    /// implementation and process.
    SessionReport report();

    /// The table of session commands, in the order of the session help.
    static const QVector<Command>& commands();

private:
    struct Call;

    bool openProject(const Call& call);
    bool addImplementation(const Call& call);
    bool setDefault(const Call& call);
    bool addCatalogueEntry(const Call& call);
    bool publishTask(const Call& call);
    bool publishProcess(const Call& call);
    bool publishEngine(const Call& call);
    bool publishProject(const Call& call);
    bool publishImplement(const Call& call);
    bool output(const Call& call);
    bool write(const Call& call);
    bool feed(const Call& call);
    bool saveFilter(const Call& call);
    bool activateFilter(const Call& call);
    bool deleteFilter(const Call& call);
    bool openLog(const Call& call);
    bool saveLog(const Call& call);

    bool runCommand(const QString& line, const QVector<SessionWord>& words, QString& error);
    bool savesSucceeded(
        const QString& implementation, bool logFailed, bool filterFileFailed, QString& error) const;
    bool publishOutput(const QString& implementation, const QByteArray& text);
    bool knownImplementation(const Call& call) const;
    void watchNewObjects();
    void onPlainLine(const QString& line);
    void noteProcess(const QString& implementation, const QString& process);
    QString path(const QString& name) const;

    struct PlainLine {
        QString implementation;
        QString process;
        QString text;
        quint64 sequence = 0;
    };

    QDir m_sessionDirectory;
    QString m_publishingFor;
    quint64 m_sequence = 0;
    bool m_loadingLog = false;
    QHash<zefa::msg_filter::MessageNode*, quint64> m_nodeSequence;
    QVector<PlainLine> m_plainLines;
    QSet<zefa::msg_filter::MessageObject*> m_watched;
    QStringList m_implementations;
    QHash<QString, QString> m_logFiles;
    QHash<QString, QString> m_filterFiles;
    QHash<QString, QStringList> m_processOrder;
    QHash<QString, QHash<QString, QString>> m_milestones; // implementation: task to milestone
};

struct SessionReplay::Command {
    const char* name;
    const char* usage;
    int minArguments;
    int maxArguments;
    bool (SessionReplay::*run)(const Call& call);
};

} // namespace zefa::msg_filter::tool
