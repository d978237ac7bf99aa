#include "filters/messagefilter.h"

#include "common/latin1.h"
#include "common/severity.h"
#include "filters/messagefilterreadwrite.h"

#include <msgfilter/host/host.h>

#include <string>

namespace zefa::msg_filter::impl_detail {

namespace {

constexpr int kErrorType = typeCode(Severity::Error);
// Every type bit but the error bit: -2.
constexpr int kAllTypesButError = ~kErrorType;

} // namespace

MessageFilter::MessageFilter(QObject* parent)
    : QObject(parent)
    , m_activeFilterName(QStringLiteral(""))
{
}

MessageFilter::~MessageFilter()
{
    qDeleteAll(m_filters);
}

void MessageFilter::loadFilters(const QString& path)
{
    if (path.isEmpty())
        return;
    MessageFilterReadWrite reader(path, nullptr);
    FilterReadOwnership owned;
    reader.doRead(m_filters, m_activeFilterName, owned);
    for (auto& node : owned.filters)
        m_releasedFilters.push_back(std::move(node));
    for (auto& record : owned.records)
        m_readRecords.push_back(std::move(record));
}

void MessageFilter::saveFilters(const QString& path)
{
    if (path.isEmpty())
        return;
    MessageFilterReadWrite writer(path, nullptr);
    writer.doWrite(m_filters, m_activeFilterName);
}

void MessageFilter::setPnFilter(const QString& name)
{
    m_activeFilterName = name;
}

QString MessageFilter::getPnFilter() const
{
    return m_activeFilterName;
}

MessageFilter::FilterNode* MessageFilter::getFilter(const QString& name) const
{
    return m_filters.value(name, nullptr);
}

QStringList MessageFilter::getAllFilterName() const
{
    return m_filters.keys();
}

void MessageFilter::deleteFilter(const QString& name)
{
    // Unlike a replacement in addFilter, a deleted filter's node stays alive: the user
    // interface may still be showing it.
    FilterNode* removed = m_filters.take(name);
    if (removed)
        m_releasedFilters.emplace_back(removed);
    if (name == m_activeFilterName)
        m_activeFilterName = QStringLiteral("");
}

void MessageFilter::addFilter(const QString& name, const FilterNode* node)
{
    // Copy before freeing the node being replaced: `node` may be that very node.
    auto* copy = new FilterNode;
    copy->generalFilter = node->generalFilter;
    copy->individualFilter = node->individualFilter;
    delete m_filters.take(name);
    m_filters.insert(name, copy);
}

void MessageFilter::activePnFilter(const QString& process)
{
    zefa::pelno::msgManager catalogue;
    // Start from a catalogue that shows everything, so that switches of an earlier
    // application never survive into this one.
    catalogue.enableMsgType(kAllSeverityTypes);
    catalogue.enableMsg(nullptr);

    const FilterNode* filter = m_filters.value(m_activeFilterName, nullptr);
    if (!filter)
        return;

    // A hidden milestone hides everything but errors; nothing else needs doing.
    if (filter->generalFilter.value(MaskMilestone).contains(process)) {
        catalogue.disableMsgType(kAllTypesButError);
        return;
    }

    const QStringList ids = filter->generalFilter.value(MaskMessageID);
    for (const QString& id : ids) {
        if (id.isEmpty())
            continue;
        const QByteArray key = id.toLatin1();
        std::string typeWord;
        std::string secondWord;
        // Error messages are never hidden by id.
        if (catalogue.queryMsgType(key.constData(), typeWord, secondWord) != kErrorType)
            catalogue.disableMsg(key.constData(), 0);
    }

    int severityMask = 0;
    const QStringList severities = filter->generalFilter.value(MaskSeverity);
    // Severities are compared with the library's translated words, exactly; errors are
    // never hidden.
    for (const QString& severity : severities) {
        if (severity == translatedText(Severity::Warning))
            severityMask |= typeCode(Severity::Warning);
        else if (severity == translatedText(Severity::Info))
            severityMask |= typeCode(Severity::Info);
    }
    if (severityMask != 0)
        catalogue.disableMsgType(severityMask);

    // A single message is hidden only in the process it was recorded in.
    for (MessageNode* record : filter->individualFilter) {
        if (record->getMessageProcess() != process
            || record->getMessageSeverity() == translatedText(Severity::Error))
            continue;
        std::vector<std::string> arguments = toLatin1(record->getMessageDynamicData());
        const QByteArray key = record->getMessageID().toLatin1();
        catalogue.disableMsg(key.constData(), arguments);
    }

    catalogue.enableMsgType(kErrorType);
}

} // namespace zefa::msg_filter::impl_detail
