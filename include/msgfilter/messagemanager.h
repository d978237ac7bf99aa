#pragma once

#include <msgfilter/messageobject.h>
#include <msgfilter/msgfilter_export.h>

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

namespace zefa::msg_filter {

/// The process-wide registry of message objects, one per implementation name, and the
/// name of the active one (the project's default implementation).
///
/// Objects are created on demand, any name (the empty one included) being valid, and
/// start inactive. Activating a name deactivates every other object; activating the name
/// that is already active does nothing at all.
/// \code
/// MessageManager* manager = MessageManager::getInstance();
/// manager->setActiveObject(QStringLiteral("impl_1"));
/// manager->getObject(QStringLiteral("impl_1"))->loadAllFilters(filterPath);
/// \endcode
class MSGFILTER_EXPORT MessageManager : public QObject {
    Q_OBJECT
public:
    /// The process-wide manager, created on first use and never destroyed.
    static MessageManager* getInstance();

    explicit MessageManager(QObject* parent = nullptr);
    ~MessageManager() override;

    /// The object of `name`, created (inactive) when there is none yet. Never null.
    MessageObject* getObject(const QString& name);
    void setActiveObject(const QString& name);
    /// Hands a catalogue message to the active object; nothing when no name is active.
    void appendMessage(
        int number, const QString& messageId, int type, const QString& displayString);
    /// Destroys the object of `name`. The active name is kept unless no object is left.
    void clearOneObject(const QString& name);
    void clearAllObjects();

    QString getActiveObjectName() const;
    /// The registered implementation names, in hash order.
    QStringList getObjectNames() const;

private:
    QString m_activeObjectName;
    QHash<QString, MessageObject*> m_objects;

    static MessageManager* m_instance;
};

} // namespace zefa::msg_filter
