#pragma once

#include <msgfilter/messagenode.h>
#include <msgfilter/msgfilter_export.h>

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <vector>

namespace zefa::msg_filter {

namespace impl_detail {
class MessageFilter;
class TextPool;
} // namespace impl_detail

/// All messages of one implementation: one buffer of nodes per process (flow step), the
/// process running now, the implementation's named filters, and its log and filter files.
///
/// Every posted message is stored, whatever the filters say; filters act on the host
/// catalogue only. Only the active object (see MessageManager) hands messages on to the
/// catalogue and applies its filters there. The process "Tool" holds the tool's own
/// messages: it is the initial current process, it stands in for an empty process name,
/// and it is never written to the message log.
///
/// The object owns its nodes. Nodes it lets go of (a refreshed process, the vectors a log
/// load replaces) are no longer listed, but stay valid until the object is destroyed.
/// \code
/// MessageObject messages;
/// messages.setObjectActive(true);
/// messages.setCurrentProcess(QStringLiteral("synth"));
/// messages.postMessage(QString(), QStringLiteral("SYN-12"), QStringLiteral("Warning"),
///                      {QStringLiteral("clk")}, {});
/// \endcode
class MSGFILTER_EXPORT MessageObject : public QObject {
    Q_OBJECT
public:
    using ProcessBuffer = QHash<QString, QVector<MessageNode*>>;

    explicit MessageObject(QObject* parent = nullptr);
    ~MessageObject() override;

    /// Records one engine message under the current process. `component` may be empty
    /// (the id is then the catalogue key); a non-empty `severity` that differs from the
    /// catalogue's word overrides the catalogue's type for the key.
    void postMessage(const QString& component, const QString& messageId, const QString& severity,
        const QStringList& dynamicData, const QStringList& navigationData);
    /// As above, keeping the catalogue's own severity.
    void postMessage(const QString& component, const QString& messageId,
        const QStringList& dynamicData, const QStringList& navigationData);
    /// Records one tool message from the catalogue; only an active object whose current
    /// process is "Tool" records it, and never for catalogue number -1.
    void appendMessage(
        int number, const QString& messageId, int type, const QString& displayString);

    /// An empty name selects "Tool".
    void setCurrentProcess(const QString& process);
    QString getCurrentProcess() const;
    /// Applies the active filter for `process` ("Tool" for an empty name) when active.
    void setFilterProcess(const QString& process);
    /// Activating applies the active filter for the current process.
    void setObjectActive(bool active);
    bool isObjectActive() const;

    /// Forgets the current process's messages, then emits sigMessageBufferUpdated().
    void refreshCurrentProcessMessages();
    /// The nodes of every process, process after process in hash order, each in arrival
    /// order. The object keeps ownership.
    QVector<MessageNode*> reloadAllMessages();
    /// Reads the message log at `path` (remembered for saving): every process in the file
    /// replaces the buffered one. Emits sigMessageBufferUpdated(), also when the file is
    /// missing or unreadable (the buffer is then unchanged).
    void loadProcessMessages(const QString& path);
    /// Writes every process but "Tool" to the remembered log path; nothing without one.
    void saveProcessMessages();

    /// Loads the named filters from `path`, which is remembered: later filter changes are
    /// saved there.
    void loadAllFilters(const QString& path);
    QStringList getAllFilterNames();
    QString getActiveFilterName();
    /// Fills the lists and the hidden messages of the named filter; an unknown name leaves
    /// every output untouched.
    void getFilter(const QString& name, QStringList& messageIds, QStringList& milestones,
        QStringList& severities, QVector<MessageNode*>& messages);
    /// Stores a copy of the filter under `name`, saves the filters and re-applies them.
    void saveFilter(const QString& name, const QStringList& messageIds,
        const QStringList& milestones, const QStringList& severities,
        const QVector<MessageNode*>& messages);
    void deleteFilter(const QString& name);
    void setActiveFilter(const QString& name);

Q_SIGNALS:
    void sigMessageBufferUpdated();
    void sigMessageAppended(zefa::msg_filter::MessageNode* node);

private:
    void afterFilterChange();

    bool m_active;
    QString m_currentProcess;
    ProcessBuffer m_buffer;
    impl_detail::MessageFilter* m_filter;
    QString m_messageFilePath;
    QString m_filterFilePath;
    std::vector<std::unique_ptr<MessageNode>> m_releasedNodes;
    std::unique_ptr<impl_detail::TextPool> m_textPool;
};

} // namespace zefa::msg_filter
