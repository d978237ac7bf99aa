#include "common/latin1.h"
#include "store/nodetexts.h"

#include <msgfilter/host/host.h>
#include <msgfilter/messagenode.h>

namespace zefa::msg_filter {

using impl_detail::fromLatin1;
using impl_detail::NodeTexts;
using impl_detail::toLatin1;

MessageNode::MessageNode(int number, const QString& messageId, const QString& severity,
    const QString& process, const QString& displayString)
    : m_number(number)
    , m_dynamicDataLoaded(false)
    , m_navigationDataLoaded(false)
    , m_messageId(messageId)
    , m_severity(severity)
    , m_process(process)
    , m_texts(NodeTexts::pack(displayString.trimmed(), {}, {}))
{
}

MessageNode::MessageNode(const QString& messageId, const QString& severity, const QString& process,
    const QStringList& dynamicData, const QStringList& navigationData)
    : m_number(-1)
    , m_dynamicDataLoaded(true)
    , m_navigationDataLoaded(true)
    , m_messageId(messageId)
    , m_severity(severity)
    , m_process(process)
{
    std::vector<std::string> dynamic = toLatin1(dynamicData);
    const QByteArray key = messageId.toLatin1();
    std::string rendered;
    // An unknown id leaves the text empty; the node is kept all the same.
    zefa::pelno::msgManager catalogue;
    catalogue.queryMsgDisplayString(key.constData(), dynamic, rendered);
    m_texts = NodeTexts::pack(fromLatin1(rendered).trimmed(), dynamicData, navigationData);
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
    return NodeTexts::displayString(m_texts);
}

QStringList MessageNode::getMessageDynamicData()
{
    if (m_dynamicDataLoaded || m_number == -1)
        return NodeTexts::dynamicData(m_texts);
    std::vector<std::string> answer;
    zefa::pelno::msgManager catalogue;
    catalogue.retrieveMsgDynamicInfo(m_number, answer);
    const QStringList dynamicData = fromLatin1(answer);
    m_texts = NodeTexts::pack(
        NodeTexts::displayString(m_texts), dynamicData, NodeTexts::navigationData(m_texts));
    m_dynamicDataLoaded = true;
    return dynamicData;
}

QStringList MessageNode::getMessageNavigationData()
{
    if (m_navigationDataLoaded || m_number == -1)
        return NodeTexts::navigationData(m_texts);
    std::vector<std::string> answer;
    zefa::pelno::msgManager catalogue;
    catalogue.retrieveMsgNavigationInfo(m_number, answer);
    const QStringList navigationData = fromLatin1(answer);
    m_texts = NodeTexts::pack(
        NodeTexts::displayString(m_texts), NodeTexts::dynamicData(m_texts), navigationData);
    m_navigationDataLoaded = true;
    return navigationData;
}

} // namespace zefa::msg_filter
