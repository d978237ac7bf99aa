// Arbitrary bytes as a message log, read into a buffer that already holds messages of
// several processes, then saved again. Besides sanitizer findings it checks that the saved
// log is well-formed and reads back to the same messages, "Tool" left out.

#include "fuzzstoresupport.h"

#include <msgfilter/host/host.h>
#include <msgfilter/messageobject.h>

#include <QHash>

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;

// One message as text. The stream writer escapes line ends in attributes but writes a
// carriage return in element text as it is, and every XML reader turns that into a line
// feed; a message compares equal across a save modulo that.
static QString describe(MessageNode* node)
{
    QString text = node->getMessageID() + QLatin1Char('|') + node->getMessageSeverity()
        + QLatin1Char('|') + node->getMessageDynamicData().join(QLatin1Char(',')) + QLatin1Char('|')
        + node->getMessageNavigationData().join(QLatin1Char(','));
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
    static const QString input = fuzzstore::scratchFile("input.xml");
    static const QString saved = fuzzstore::scratchFile("saved.xml");
    fuzzstore::writeInput(input, data, size);
    QFile::remove(saved);

    MessageObject object;
    object.postMessage(QString(), QStringLiteral("9992"), { QStringLiteral("tool") }, {});
    object.setCurrentProcess(QStringLiteral("synth"));
    object.postMessage(QStringLiteral("common"), QStringLiteral("9991"),
        { QStringLiteral("a"), QStringLiteral(" b ") }, { QStringLiteral("top.v") });
    object.setCurrentProcess(QStringLiteral("place"));
    object.postMessage(QString(), QStringLiteral("9990"), QStringLiteral("Error"), {}, {});

    object.loadProcessMessages(input);
    object.reloadAllMessages();
    // Save to a second file, so that the save replaces nothing the input decided.
    object.loadProcessMessages(saved);
    object.saveProcessMessages();
    fuzzstore::requireWellFormed(saved);

    // Reading the saved log back gives every process but "Tool", message for message.
    MessageObject reread;
    reread.loadProcessMessages(saved);
    QHash<QString, QStringList> before;
    for (MessageNode* node : object.reloadAllMessages())
        if (node->getMessageProcess() != QLatin1String("Tool"))
            before[node->getMessageProcess()].append(describe(node));
    QHash<QString, QStringList> after;
    for (MessageNode* node : reread.reloadAllMessages())
        after[node->getMessageProcess()].append(describe(node));
    if (after != before)
        std::abort();

    zefa::pelno::MsgCatalogue::instance().clearJournal();
    return 0;
}
