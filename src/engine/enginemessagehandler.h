#pragma once

#include "common/linesplitter.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter {
class MessageObject;
}

namespace zefa::msg_filter::impl_detail {

class ZefaEnginMsgParser;
class ZefaMsgTarget;

/// Turns the raw output of one implementation's engines into stored messages.
///
/// Every handler hears the output and run-state events of every implementation and keeps
/// only those of its own. Output is cut into lines at line feeds (a partial line waits,
/// unbounded, for its line feed; carriage returns anywhere in a line are dropped); each
/// line is classified with the rule set of the engine now running and posted to the
/// implementation's message object. A line no rule fits leaves as `sigMessagesOut(line, 0)`
/// while the implementation is the active one, and is dropped otherwise.
class EngineMessageHandler : public QObject {
    Q_OBJECT

public:
    using FieldList = std::vector<std::pair<std::string, std::string>>;

    EngineMessageHandler(const QString& implementation, QObject* parent = nullptr);
    ~EngineMessageHandler() override;

    /// Selects the rule set of the current engine, or the target's "default" engine when
    /// the current one is unknown.
    void updateMessageParser();
    /// Takes every complete line off the front of the buffer and handles it, in order.
    void processMessageBuffer();
    /// Classifies one line and posts it, or passes it on as plain text.
    void handleMessageLine(const QString& line);

    /// Decodes the fields of a structured line: id, severity word and the argument values
    /// split into dynamic and navigation data by the counts the line announces.
    static void parseNewMessage(const FieldList& fields, QString& id, QString& type,
        QStringList& dynamic, QStringList& navigation);
    /// Undoes the XML escaping of an argument value. "&amp;" is decoded before the entities
    /// that follow it, so a doubly escaped "&amp;lt;" becomes "<": engines escape some
    /// values twice and rely on this.
    static QString parseXmlReserved(const QString& text);
    /// Sets the generic catalogue id of a severity and returns the generic component.
    static QString parseOldMessageIds(QString& id, const QString& severity);
    /// Every field value of an old-format line, in order, as navigation data.
    static void parseOldMessageNavigation(const FieldList& fields, QStringList& navigation);
    /// The severity word of an old-format line, from its rule's type text.
    static QString convertMessageType(const std::string& type);

    QString implementationName() const { return m_implementation; }
    bool isActive() const { return m_active; }

public Q_SLOTS:
    void onEngineMessageOut(const QString& implemenation, const QString& message);
    void onActiveImplementationChanged(const QString& implementation);

    void onTaskStarted(const QString& implementation, int status_code);
    void onTaskFinished(const QString& implementation, int status_code);
    void onProcessStarted(
        const QString& implementation, const QString& milestone, const QString& task);
    void onProcessFinished(
        const QString& implementation, const QString& milestone, const QString& task);
    void onEngineStarted(const QString& implementation, const QString& task, const QString& engine);
    void onEngineFinished(
        const QString& implementation, const QString& task, const QString& engine);

Q_SIGNALS:
    void sigMessagesOut(const QString&, int);

private:
    bool m_active = false;
    QString m_implementation;
    QString m_currentEngine;
    LineSplitter<QString> m_lines;
    ZefaEnginMsgParser* m_engineParser = nullptr;
    ZefaMsgTarget* m_target = nullptr;
    MessageObject* m_messageObject = nullptr;
};

} // namespace zefa::msg_filter::impl_detail
