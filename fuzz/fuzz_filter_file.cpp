// Arbitrary bytes as a filter file, read into a filter set that already holds filters,
// applied for a process, then saved again. Besides sanitizer findings it checks that the
// saved file is well-formed and reads back to the same filters.

#include "filters/messagefilter.h"
#include "fuzzstoresupport.h"

#include <msgfilter/host/host.h>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::impl_detail::MessageFilter;

// A filter as text, with the one difference a save may make: a carriage return in element
// text is written as it is and read back as a line feed.
static QString describe(const MessageFilter::FilterNode* node)
{
    QString text;
    for (auto mask :
        { MessageFilter::MaskMessageID, MessageFilter::MaskSeverity, MessageFilter::MaskMilestone })
        text += node->generalFilter.value(mask).join(QLatin1Char(';')) + QLatin1Char('|');
    for (MessageNode* record : node->individualFilter)
        text += QLatin1Char('+') + record->getMessageID() + QLatin1Char('|')
            + record->getMessageSeverity() + QLatin1Char('|') + record->getMessageProcess()
            + QLatin1Char('|') + record->getMessageDynamicData().join(QLatin1Char(','));
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return text;
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzzstore::silenceDebugOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString input = fuzzstore::scratchFile("filters.xml");
    static const QString saved = fuzzstore::scratchFile("saved.xml");
    fuzzstore::writeInput(input, data, size);
    QFile::remove(saved);

    MessageNode record(QStringLiteral("9991"), QStringLiteral("Warning"), QStringLiteral("synth"),
        { QStringLiteral("x") }, {});
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
    fuzzstore::requireWellFormed(saved);

    MessageFilter reread;
    reread.loadFilters(saved);
    QStringList rereadNames = reread.getAllFilterName();
    QStringList sortedNames = names;
    rereadNames.sort();
    sortedNames.sort();
    if (rereadNames != sortedNames)
        std::abort();
    for (const QString& name : names)
        if (describe(reread.getFilter(name)) != describe(filters.getFilter(name)))
            std::abort();
    if (names.contains(filters.getPnFilter()) && reread.getPnFilter() != filters.getPnFilter())
        std::abort();

    zefa::pelno::MsgCatalogue::instance().clearJournal();
    return 0;
}
