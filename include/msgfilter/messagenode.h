#pragma once

#include <msgfilter/msgfilter_export.h>

#include <QByteArray>
#include <QMetaType>
#include <QString>
#include <QStringList>

namespace zefa::msg_filter {

/// One stored message: its id, severity word, the process that produced it, the text to
/// show and the two argument lists the host catalogue renders and locates it with.
///
/// A plain value class. Two ways to make one:
/// - from a catalogue number (tool messages): the lists are fetched from the catalogue on
///   first use and cached, an empty answer included; number -1 never asks the catalogue;
/// - from texts and lists (engine messages, log and filter files): the lists are final and
///   the display string is rendered by the catalogue at once.
///
/// The display string is always kept trimmed. The node never interprets its severity word.
/// \code
/// MessageNode node(QStringLiteral("SYN-12"), QStringLiteral("Warning"), QStringLiteral("synth"),
///                  {QStringLiteral("clk")}, {});
/// node.getMessageDisplayString(); // the catalogue's text for SYN-12 with %1 = clk
/// \endcode
class MSGFILTER_EXPORT MessageNode {
public:
    /// A tool message: catalogue number, id text, severity word, process, display string.
    MessageNode(int number, const QString& messageId, const QString& severity,
        const QString& process, const QString& displayString);
    /// An engine message: id text, severity word, process and the final argument lists.
    MessageNode(const QString& messageId, const QString& severity, const QString& process,
        const QStringList& dynamicData, const QStringList& navigationData);
    MessageNode(const MessageNode& other) = default;
    MessageNode& operator=(const MessageNode& other) = default;
    ~MessageNode() = default;

    /// The textual id, never the catalogue number.
    QString getMessageID() const;
    QString getMessageSeverity() const;
    QString getMessageProcess() const;
    QString getMessageDisplayString() const;
    /// The dynamic arguments; may ask the catalogue once, hence not const.
    QStringList getMessageDynamicData();
    /// The navigation arguments; may ask the catalogue once, hence not const.
    QStringList getMessageNavigationData();

private:
    int m_number;
    bool m_dynamicDataLoaded;
    bool m_navigationDataLoaded;
    // Usually shared with every other node of the same id, severity and process.
    QString m_messageId;
    QString m_severity;
    QString m_process;
    // The display string and both argument lists, packed into one block of their own.
    QByteArray m_texts;
};

} // namespace zefa::msg_filter

Q_DECLARE_METATYPE(zefa::msg_filter::MessageNode*)
