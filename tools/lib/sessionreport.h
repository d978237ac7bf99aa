#pragma once

#include <QString>
#include <QVector>

namespace zefa::msg_filter {
class MessageNode;
} // namespace zefa::msg_filter

namespace zefa::msg_filter::tool {

/// One thing the host's message view shows for a process: a stored message, or a line
/// no rule recognised.
struct SessionEntry {
    quint64 sequence = 0; ///< arrival order in the replay; 0 for a message read from a log
    zefa::msg_filter::MessageNode* node = nullptr; ///< null for a plain line
    QString plain;
    bool visible = true; ///< false for a message the active filter hides
};

/// What one process of one implementation holds, in arrival order.
struct SessionProcess {
    QString implementation;
    QString process;
    QVector<SessionEntry> entries;
};

/// Processes grouped by implementation, each implementation's in the order they ran.
using SessionReport = QVector<SessionProcess>;

/// The counts of a summary row.
struct SessionCounts {
    int error = 0;
    int warning = 0;
    int info = 0;
    int other = 0; ///< stored messages of any other severity
    int plain = 0;
    int hidden = 0;

    void add(const SessionCounts& more);
    static SessionCounts of(const SessionProcess& process);
};

/// The text a person reads for a stored message: its display string, or its dynamic
/// arguments when the catalogue has no template for its id.
QString messageText(zefa::msg_filter::MessageNode* node);

} // namespace zefa::msg_filter::tool
