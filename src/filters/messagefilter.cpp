#include "filters/messagefilter.h"

#include "filters/messagefilterreadwrite.h"
#include "store/latin1lists.h"

#include <msgfilter/host/host.h>

#include <string>

namespace zefa::msg_filter::impl_detail {

namespace {

// Translated once, when the library is loaded; every severity test compares against
// these words exactly.
const QString kInfoWord = QObject::tr("Info");
const QString kWarningWord = QObject::tr("Warning");
const QString kErrorWord = QObject::tr("Error");

// Catalogue message type bits.
constexpr int kTypeError = 1;
constexpr int kTypeWarning = 2;
constexpr int kTypeInfo = 4;
constexpr int kAllTypes = 15;
constexpr int kAllTypesButError = ~kTypeError; // -2

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
    catalogue.enableMsgType(kAllTypes);
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
        if (catalogue.queryMsgType(key.constData(), typeWord, secondWord) != kTypeError)
            catalogue.disableMsg(key.constData(), 0);
    }

    int severityMask = 0;
    const QStringList severities = filter->generalFilter.value(MaskSeverity);
    for (const QString& severity : severities) {
        if (severity == kWarningWord)
            severityMask |= kTypeWarning;
        else if (severity == kInfoWord)
            severityMask |= kTypeInfo;
    }
    if (severityMask != 0)
        catalogue.disableMsgType(severityMask);

    // A single message is hidden only in the process it was recorded in.
    for (MessageNode* record : filter->individualFilter) {
        if (record->getMessageProcess() != process || record->getMessageSeverity() == kErrorWord)
            continue;
        std::vector<std::string> arguments = toLatin1Vector(record->getMessageDynamicData());
        const QByteArray key = record->getMessageID().toLatin1();
        catalogue.disableMsg(key.constData(), arguments);
    }

    catalogue.enableMsgType(kTypeError);
}

} // namespace zefa::msg_filter::impl_detail
