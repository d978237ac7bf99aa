// Arbitrary bytes as a message log, read into a buffer that already holds messages of
// several processes, then saved again. Besides sanitizer findings it checks that the saved
// log is well-formed and reads back to the same messages, "Tool" left out.

#include "fuzzstoresupport.h"

#include <msgfilter/messageobject.h>

#include <QHash>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;

// Every message of the object but the tool's, by process, each process in arrival order.
static QHash<QString, QStringList> describe(MessageObject& object)
{
    QHash<QString, QStringList> messages;
    for (MessageNode* node : object.reloadAllMessages())
        if (node->getMessageProcess() != QLatin1String("Tool"))
            messages[node->getMessageProcess()].append(fuzzstore::withLineFeeds(node->getMessageID()
                + QLatin1Char('|') + node->getMessageSeverity() + QLatin1Char('|')
                + node->getMessageDynamicData().join(QLatin1Char(',')) + QLatin1Char('|')
                + node->getMessageNavigationData().join(QLatin1Char(','))));
    return messages;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto loadAndSave = [](const QString& input, const QString& saved) {
        MessageObject object;
        object.postMessage(QString(), QStringLiteral("9992"), { QStringLiteral("tool") }, {});
        object.setCurrentProcess(QStringLiteral("synth"));
        object.postMessage(QStringLiteral("common"), QStringLiteral("9991"),
            { QStringLiteral("a"), QStringLiteral(" b ") }, { QStringLiteral("top.v") });
        object.setCurrentProcess(QStringLiteral("place"));
        object.postMessage(QString(), QStringLiteral("9990"), QStringLiteral("Error"), {}, {});
        object.loadProcessMessages(input);
        object.loadProcessMessages(saved); // missing: only takes the path to save to
        object.saveProcessMessages();
        return describe(object);
    };
    const auto reread = [](const QString& saved) {
        MessageObject object;
        object.loadProcessMessages(saved);
        return describe(object);
    };
    return fuzzstore::roundTrip(data, size, loadAndSave, reread);
}
