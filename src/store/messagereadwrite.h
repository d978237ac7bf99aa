#pragma once

#include <msgfilter/messagenode.h>

#include <QHash>
#include <QObject>
#include <QString>
#include <QVector>

#include <memory>
#include <vector>

namespace zefa::msg_filter::impl_detail {

class TextPool;

/// Reads and writes one implementation's message log: every process buffer of a message
/// object, as an XML document rooted at "ZefaMessageLog".
///
/// One "Task" element per process (attribute "name"), one "Message" per node with "ID",
/// "Severity", then zero or more "Dynamic" and "Navigation" elements. The display string
/// and the process of a node are not stored: a read rebuilds the node from its texts and
/// the catalogue renders the display string again.
class MessageReadWrite : public QObject {
    Q_OBJECT
public:
    using Buffer = QHash<QString, QVector<MessageNode*>>;

    explicit MessageReadWrite(const QString& fileName, QObject* parent = nullptr);

    /// Replaces the file with the whole buffer ("Tool" included if present: leaving it out
    /// is the caller's business). Returns false, leaving the previous file as it was, when
    /// the file could not be written.
    bool doWrite(const Buffer& buffer);

    /// Reads the file into `buffer`: each process the file holds replaces the buffer's
    /// vector of that name; other processes keep theirs. Every node a read lets go of (the
    /// replaced vectors, and a process that occurs twice in the file) is moved to
    /// `released`, so that pointers held elsewhere stay valid while the caller keeps them.
    /// The ids and severity words of the nodes are shared through `pool`.
    /// Returns false, touching nothing, when the file is missing or unreadable; true
    /// otherwise, also when the XML turned out to be malformed part-way.
    bool doRead(
        Buffer& buffer, std::vector<std::unique_ptr<MessageNode>>& released, TextPool& pool);

private:
    QString m_fileName;
};

} // namespace zefa::msg_filter::impl_detail
