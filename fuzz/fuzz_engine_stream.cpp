// Arbitrary engine output, published in chunks on the host's bus, through the engine side
// and the store up to a save of the message log and a load of it. The first byte chooses
// the engine and the chunk size; the rest is the output. Besides crashes and sanitizer
// findings it checks that the saved log is well-formed and loads back to the same messages.

#include "fuzzstoresupport.h"

#include <msgfilter/msgfilter.h>

#include <string>

using namespace zefa::msg_filter;
using namespace zefa::pelno;

namespace {

const char* const kEngines[] = { "default", "legacy", "synth", "route" };

void publish(const std::string& category, const std::string& action, const std::string& first = {},
    const std::string& second = {})
{
    const PELNO_EVENT_HEADER header { category, action, "impl" };
    PELNO_EVENT_OBJ plain { header };
    PELNO_TASK_EVENT_OBJ task { { header }, 0 };
    PELNO_PROCESS_EVENT_OBJ process { { header }, first, second };
    PELNO_ENGINE_EVENT_OBJ engine { { header }, first, second };
    PELNO_MESSAGE_EVENT_OBJ message { { header }, 6, first };
    PublishEvent(category == "task" ? &task
            : category == "process" ? &process
            : category == "engine"  ? &engine
            : category == "Message" ? static_cast<PELNO_EVENT_OBJ*>(&message)
                                    : &plain);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool started = [] {
        qputenv("ZEFA_DATA_PATH", QByteArrayLiteral(MSGFILTER_SOURCE_DATA_DIR));
        EngineMessageManager::instance();
        return true;
    }();
    if (!started || size == 0)
        return 0;
    const size_t chunkSize = 1 + data[0] % 61;
    const std::string output(reinterpret_cast<const char*>(data) + 1, size - 1);

    // A fresh project whose only implementation runs one process with the chosen engine.
    publish("project", "closed");
    MessageManager::getInstance()->clearAllObjects();
    MsgCatalogue::instance().reset();
    ZefaProject* project = ZefaProjectManager::getProjectManager()->openProject("chip");
    project->addImplementation("impl", fuzzstore::scratch().path().toStdString());
    project->setDefaultImplementation("impl");
    publish("project", "default_implement");
    publish("task", "started");
    publish("process", "started", "Synthesize", "synth_1");
    publish("engine", "started", "synth_1", kEngines[(data[0] >> 6) & 3]);
    for (size_t start = 0; start < output.size(); start += chunkSize)
        publish("Message", "output", output.substr(start, chunkSize));
    publish("engine", "finished", "synth_1", kEngines[(data[0] >> 6) & 3]);

    static const QString saved = fuzzstore::scratch().filePath(QStringLiteral("engine-log.xml"));
    QFile::remove(saved);
    MessageObject* object = MessageManager::getInstance()->getObject(QStringLiteral("impl"));
    object->loadProcessMessages(saved); // missing: only takes the path to save to
    object->saveProcessMessages();
    fuzzstore::requireWellFormed(saved);
    MessageObject reread;
    reread.loadProcessMessages(saved);
    if (fuzzstore::describeLog(reread) != fuzzstore::describeLog(*object))
        std::abort();
    MsgCatalogue::instance().clearJournal();
    return 0;
}
