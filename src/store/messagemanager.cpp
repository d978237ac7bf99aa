#include <msgfilter/messagemanager.h>

namespace zefa::msg_filter {

MessageManager* MessageManager::m_instance = nullptr;

MessageManager* MessageManager::getInstance()
{
    // Never destroyed: message objects may be reached from static destructors of the host.
    if (!m_instance)
        m_instance = new MessageManager(nullptr);
    return m_instance;
}

MessageManager::MessageManager(QObject* parent)
    : QObject(parent)
{
}

MessageManager::~MessageManager()
{
    qDeleteAll(m_objects);
    m_objects.clear();
}

MessageObject* MessageManager::getObject(const QString& name)
{
    MessageObject*& object = m_objects[name];
    if (!object)
        object = new MessageObject(nullptr);
    return object;
}

void MessageManager::setActiveObject(const QString& name)
{
    // Re-activating would re-apply the filters; an unchanged name is left alone on purpose.
    if (name == m_activeObjectName)
        return;
    for (MessageObject* object : qAsConst(m_objects))
        object->setObjectActive(false);
    getObject(name)->setObjectActive(true);
    m_activeObjectName = name;
}

void MessageManager::appendMessage(
    int number, const QString& messageId, int type, const QString& displayString)
{
    if (m_activeObjectName.isEmpty())
        return;
    getObject(m_activeObjectName)->appendMessage(number, messageId, type, displayString);
}

void MessageManager::clearOneObject(const QString& name)
{
    auto entry = m_objects.find(name);
    if (entry != m_objects.end()) {
        delete entry.value();
        m_objects.erase(entry);
    }
    if (m_objects.isEmpty())
        m_activeObjectName = QString();
}

void MessageManager::clearAllObjects()
{
    qDeleteAll(m_objects);
    m_objects.clear();
    m_activeObjectName = QString();
}

QString MessageManager::getActiveObjectName() const
{
    return m_activeObjectName;
}

QStringList MessageManager::getObjectNames() const
{
    return m_objects.keys();
}

} // namespace zefa::msg_filter
