#include "common/latin1.h"
#include "common/severity.h"
#include "filters/messagefilter.h"
#include "store/messagereadwrite.h"
#include "store/textpool.h"

#include <msgfilter/host/host.h>
#include <msgfilter/messageobject.h>

#include <optional>
#include <string>
#include <utility>

namespace zefa::msg_filter {

using impl_detail::MessageFilter;
using impl_detail::Severity;

namespace {

// The pseudo-process of the tool's own messages.
const QString kToolProcess = QStringLiteral("Tool");

// The catalogue's type words are shared with the severity type, so nodes hold no copy
// of their own; any other word is kept as it came.
QString sharedTypeWord(const std::string& word)
{
    for (Severity severity : impl_detail::kCatalogueSeverities) {
        const QString& candidate = impl_detail::catalogueText(severity);
        if (candidate == QLatin1String(word.data(), int(word.size())))
            return candidate;
    }
    return impl_detail::fromLatin1(word);
}

} // namespace

MessageObject::MessageObject(QObject* parent)
    : QObject(parent)
    , m_active(false)
    , m_currentProcess(kToolProcess)
    , m_filter(new MessageFilter(this))
    , m_textPool(std::make_unique<impl_detail::TextPool>())
{
    // Lets queued connections and signal spies carry the node pointer.
    static const int nodeType = qRegisterMetaType<MessageNode*>("zefa::msg_filter::MessageNode*");
    Q_UNUSED(nodeType)
}

MessageObject::~MessageObject()
{
    for (const QVector<MessageNode*>& nodes : qAsConst(m_buffer))
        qDeleteAll(nodes);
    m_buffer.clear();
}

void MessageObject::postMessage(const QString& component, const QString& messageId,
    const QString& severity, const QStringList& dynamicData, const QStringList& navigationData)
{
    if (m_currentProcess.isEmpty())
        return;

    std::vector<std::string> dynamic = impl_detail::toLatin1(dynamicData);
    std::vector<std::string> navigation = impl_detail::toLatin1(navigationData);

    zefa::pelno::msgManager catalogue;
    QString key;
    if (!component.isEmpty()) {
        const int number =
            catalogue.getMsgMID(component.toLatin1().constData(), messageId.toLatin1().constData());
        key = QString::number(number, 10);
    } else {
        key = messageId;
    }
    const QByteArray keyText = key.toLatin1();

    std::string typeWord;
    std::string unused;
    catalogue.queryMsgType(keyText.constData(), typeWord, unused);

    const QByteArray severityText = severity.toLatin1();
    if (!severity.isEmpty() && severityText.toStdString() != typeWord) {
        // The caller knows better than the catalogue: the key's type follows the word,
        // when the catalogue has a type for that word.
        // The fourth type is the catalogue's own; a caller cannot ask for it.
        const std::optional<Severity> wanted = impl_detail::severityOfWord(severity);
        if (wanted && *wanted != Severity::CriticalWarning) {
            zefa::pelno::msgManager override;
            override.setMsgType(keyText.constData(), impl_detail::typeCode(*wanted));
        }
        typeWord = severityText.toStdString();
    }

    if (m_active)
        catalogue.postMsg(keyText.constData(), dynamic, navigation, 0);

    // The node's id is the 8-bit key text; a Latin-1 key is that text already.
    const QString nodeId = impl_detail::fitsLatin1(key) ? key : QString::fromLatin1(keyText);
    auto* node = new MessageNode(m_textPool->shared(nodeId), sharedTypeWord(typeWord),
        m_currentProcess, dynamicData, navigationData);
    m_buffer[m_currentProcess].append(node);
    Q_EMIT sigMessageAppended(node);
}

void MessageObject::postMessage(const QString& component, const QString& messageId,
    const QStringList& dynamicData, const QStringList& navigationData)
{
    postMessage(component, messageId, QString(), dynamicData, navigationData);
}

void MessageObject::appendMessage(
    int number, const QString& messageId, int type, const QString& displayString)
{
    // Catalogue messages belong to the tool, so they are kept only between flow steps.
    if (!m_active || m_currentProcess != kToolProcess || number == -1)
        return;
    const std::optional<Severity> severity = impl_detail::severityOfHostMessageType(type);
    auto* node = new MessageNode(number, m_textPool->shared(messageId),
        severity ? impl_detail::translatedText(*severity) : QString(), m_currentProcess,
        displayString);
    m_buffer[m_currentProcess].append(node);
    Q_EMIT sigMessageAppended(node);
}

void MessageObject::setCurrentProcess(const QString& process)
{
    m_currentProcess = process.isEmpty() ? kToolProcess : process;
}

QString MessageObject::getCurrentProcess() const
{
    return m_currentProcess;
}

void MessageObject::setFilterProcess(const QString& process)
{
    if (m_active)
        m_filter->activePnFilter(process.isEmpty() ? kToolProcess : process);
}

void MessageObject::setObjectActive(bool active)
{
    m_active = active;
    if (active)
        m_filter->activePnFilter(m_currentProcess);
}

bool MessageObject::isObjectActive() const
{
    return m_active;
}

void MessageObject::refreshCurrentProcessMessages()
{
    // The view and the filters may still point at these nodes: forget them, keep them.
    const QVector<MessageNode*> removed = m_buffer.take(m_currentProcess);
    for (MessageNode* node : removed)
        m_releasedNodes.emplace_back(node);
    Q_EMIT sigMessageBufferUpdated();
}

QVector<MessageNode*> MessageObject::reloadAllMessages()
{
    QVector<MessageNode*> all;
    for (const QVector<MessageNode*>& nodes : qAsConst(m_buffer))
        all += nodes;
    return all;
}

void MessageObject::loadProcessMessages(const QString& path)
{
    m_messageFilePath = path;
    impl_detail::MessageReadWrite reader(m_messageFilePath);
    reader.doRead(m_buffer, m_releasedNodes, *m_textPool);
    Q_EMIT sigMessageBufferUpdated();
}

void MessageObject::saveProcessMessages()
{
    if (m_messageFilePath.isEmpty())
        return;
    const QVector<MessageNode*> toolNodes = m_buffer.take(kToolProcess);
    impl_detail::MessageReadWrite writer(m_messageFilePath);
    writer.doWrite(m_buffer);
    m_buffer.insert(kToolProcess, toolNodes);
}

void MessageObject::loadAllFilters(const QString& path)
{
    m_filterFilePath = path;
    m_filter->loadFilters(path);
}

QStringList MessageObject::getAllFilterNames()
{
    return m_filter->getAllFilterName();
}

QString MessageObject::getActiveFilterName()
{
    return m_filter->getPnFilter();
}

void MessageObject::getFilter(const QString& name, QStringList& messageIds, QStringList& milestones,
    QStringList& severities, QVector<MessageNode*>& messages)
{
    const MessageFilter::FilterNode* node = m_filter->getFilter(name);
    if (!node)
        return;
    messageIds = node->generalFilter.value(MessageFilter::MaskMessageID);
    milestones = node->generalFilter.value(MessageFilter::MaskMilestone);
    severities = node->generalFilter.value(MessageFilter::MaskSeverity);
    messages = node->individualFilter;
}

void MessageObject::saveFilter(const QString& name, const QStringList& messageIds,
    const QStringList& milestones, const QStringList& severities,
    const QVector<MessageNode*>& messages)
{
    MessageFilter::FilterNode node;
    node.generalFilter.insert(MessageFilter::MaskMessageID, messageIds);
    node.generalFilter.insert(MessageFilter::MaskMilestone, milestones);
    node.generalFilter.insert(MessageFilter::MaskSeverity, severities);
    node.individualFilter = messages;
    m_filter->addFilter(name, &node);
    afterFilterChange();
}

void MessageObject::deleteFilter(const QString& name)
{
    m_filter->deleteFilter(name);
    afterFilterChange();
}

void MessageObject::setActiveFilter(const QString& name)
{
    m_filter->setPnFilter(name);
    afterFilterChange();
}

void MessageObject::afterFilterChange()
{
    if (!m_filterFilePath.isEmpty())
        m_filter->saveFilters(m_filterFilePath);
    if (m_active)
        m_filter->activePnFilter(m_currentProcess);
}

} // namespace zefa::msg_filter
