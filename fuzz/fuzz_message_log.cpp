// Arbitrary bytes as a message log, read into a buffer that already holds messages of
// several processes, then saved again. Besides sanitizer findings it checks that the saved
// log is well-formed and reads back to the same messages, "Tool" left out.

#include "fuzzstoresupport.h"

using zefa::msg_filter::MessageObject;

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
        return fuzzstore::describeLog(object);
    };
    const auto reread = [](const QString& saved) {
        MessageObject object;
        object.loadProcessMessages(saved);
        return fuzzstore::describeLog(object);
    };
    return fuzzstore::roundTrip(data, size, loadAndSave, reread);
}
