#include "common/latin1.h"

#include <msgfilter/host/host.h>
#include <msgfilter/messagenode.h>

namespace zefa::msg_filter {

using impl_detail::fromLatin1;
using impl_detail::toLatin1;

MessageNode::MessageNode(int number, const QString& messageId, const QString& severity,
    const QString& process, const QString& displayString)
    : m_number(number)
    , m_messageId(messageId)
    , m_severity(severity)
    , m_process(process)
    , m_displayString(displayString.trimmed())
    , m_dynamicDataLoaded(false)
    , m_navigationDataLoaded(false)
{
}

MessageNode::MessageNode(const QString& messageId, const QString& severity, const QString& process,
    const QStringList& dynamicData, const QStringList& navigationData)
    : m_number(-1)
    , m_messageId(messageId)
    , m_severity(severity)
    , m_process(process)
    , m_dynamicData(dynamicData)
    , m_navigationData(navigationData)
    , m_dynamicDataLoaded(true)
    , m_navigationDataLoaded(true)
{
    std::vector<std::string> dynamic = toLatin1(dynamicData);
    const QByteArray key = messageId.toLatin1();
    std::string rendered;
    // An unknown id leaves the text empty; the node is kept all the same.
    zefa::pelno::msgManager catalogue;
    catalogue.queryMsgDisplayString(key.constData(), dynamic, rendered);
    m_displayString = impl_detail::fromLatin1(rendered).trimmed();
}

QString MessageNode::getMessageID() const
{
    return m_messageId;
}

QString MessageNode::getMessageSeverity() const
{
    return m_severity;
}

QString MessageNode::getMessageProcess() const
{
    return m_process;
}

QString MessageNode::getMessageDisplayString() const
{
    return m_displayString;
}

QStringList MessageNode::getMessageDynamicData()
{
    if (m_dynamicDataLoaded || m_number == -1)
        return m_dynamicData;
    std::vector<std::string> answer;
    zefa::pelno::msgManager catalogue;
    catalogue.retrieveMsgDynamicInfo(m_number, answer);
    m_dynamicData = fromLatin1(answer);
    m_dynamicDataLoaded = true;
    return m_dynamicData;
}

QStringList MessageNode::getMessageNavigationData()
{
    if (m_navigationDataLoaded || m_number == -1)
        return m_navigationData;
    std::vector<std::string> answer;
    zefa::pelno::msgManager catalogue;
    catalogue.retrieveMsgNavigationInfo(m_number, answer);
    m_navigationData = fromLatin1(answer);
    m_navigationDataLoaded = true;
    return m_navigationData;
}

} // namespace zefa::msg_filter
