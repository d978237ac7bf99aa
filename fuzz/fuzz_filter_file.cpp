// Arbitrary bytes as a filter file, read into a filter set that already holds filters,
// applied for a process, then saved again. Besides sanitizer findings it checks that the
// saved file is well-formed and reads back to the same filters.

#include "filters/messagefilter.h"
#include "fuzzstoresupport.h"

#include <QStringList>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::impl_detail::MessageFilter;

// Every filter of the set in name order, then the active name if a filter carries it: a
// save marks no filter when none does, and a read then leaves the active name alone.
static QStringList describe(const MessageFilter& filters)
{
    QStringList names = filters.getAllFilterName();
    names.sort();
    QStringList text;
    for (const QString& name : names) {
        const MessageFilter::FilterNode* node = filters.getFilter(name);
        QString filter = name + QLatin1Char('=');
        for (auto mask : { MessageFilter::MaskMessageID, MessageFilter::MaskSeverity,
                 MessageFilter::MaskMilestone })
            filter += node->generalFilter.value(mask).join(QLatin1Char(';')) + QLatin1Char('|');
        for (MessageNode* record : node->individualFilter)
            filter += QLatin1Char('+') + record->getMessageID() + QLatin1Char('|')
                + record->getMessageSeverity() + QLatin1Char('|') + record->getMessageProcess()
                + QLatin1Char('|') + record->getMessageDynamicData().join(QLatin1Char(','));
        text.append(fuzzstore::withLineFeeds(filter));
    }
    if (names.contains(filters.getPnFilter()))
        text.append(QStringLiteral("active: ") + filters.getPnFilter());
    return text;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto loadAndSave = [](const QString& input, const QString& saved) {
        MessageNode record(QStringLiteral("9991"), QStringLiteral("Warning"),
            QStringLiteral("synth"), { QStringLiteral("x") }, {});
        MessageFilter::FilterNode node;
        node.generalFilter.insert(MessageFilter::MaskMessageID, { QStringLiteral("9992") });
        node.generalFilter.insert(MessageFilter::MaskSeverity, { QStringLiteral("Info") });
        node.individualFilter = { &record };
        MessageFilter filters;
        filters.addFilter(QStringLiteral("before"), &node);
        filters.addFilter(QStringLiteral("other"), &node);
        filters.setPnFilter(QStringLiteral("before"));
        filters.loadFilters(input);
        filters.activePnFilter(QStringLiteral("synth"));
        // Whatever the file made active, apply every filter it holds once.
        const QStringList names = filters.getAllFilterName();
        for (const QString& name : names) {
            filters.setPnFilter(name);
            filters.activePnFilter(QStringLiteral("synth"));
        }
        filters.saveFilters(saved);
        return describe(filters);
    };
    const auto reread = [](const QString& saved) {
        MessageFilter filters;
        filters.loadFilters(saved);
        return describe(filters);
    };
    return fuzzstore::roundTrip(data, size, loadAndSave, reread);
}
