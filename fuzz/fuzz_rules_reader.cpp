// Feeds arbitrary bytes to the definition-file reader as enginemsg.xml, loads them into a
// fresh rule engine and classifies a few lines with every engine the file defines.
//
// Beyond crashes and sanitizer findings it checks what a load promises: a failed load
// leaves both tables empty and every look-up null; a successful one hands out the tables.

#include <msgfilter/zefamsgparserengin.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zefa::msg_filter::impl_detail;

QTemporaryDir* dataDirectory = nullptr;

const char* const kLines[] = {
    "ERROR: [Synth 8-327] inferring latch for variable 'q' [top.v:12]\n",
    "WARNING: top.v:7: unused signal\n",
    "Info (12021): Found 1 design units\n",
    "@msg id=MF-1 dynamic=1 navigation=0 args=a=\"x\"\n",
    "",
    "no tag at all",
};

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    dataDirectory = new QTemporaryDir;
    qputenv("ZEFA_DATA_PATH", dataDirectory->path().toLocal8Bit());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    {
        QFile file(dataDirectory->filePath(QStringLiteral("enginemsg.xml")));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            return 0;
        }
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }

    ZefaMsgParserEngin engine;
    const bool loaded = engine.loadFilterRules();
    require(loaded == engine.isInitialized());
    if (!loaded) {
        require(engine.getTargets().empty() && engine.getRules().empty());
        require(engine.getTarget("fpga") == nullptr && engine.getRule("new-message") == nullptr);
        return 0;
    }
    require(!engine.loadFilterRules());

    std::vector<std::pair<std::string, std::string>> targetsAndEngines;
    for (const auto& [targetName, target] : engine.getTargets()) {
        for (const auto& [engineName, parser] : target.getEngines()) {
            targetsAndEngines.emplace_back(targetName, engineName);
        }
    }
    for (const auto& [targetName, engineName] : targetsAndEngines) {
        ZefaMsgTarget* target = engine.getTarget(targetName);
        require(target != nullptr);
        ZefaEnginMsgParser* parser = target->getEngine(engineName);
        require(parser != nullptr);
        for (const char* line : kLines) {
            ZefaMsgParserRule* rule = FindBestMatchRule(&engine, parser, line);
            if (rule == nullptr) {
                continue;
            }
            require(rule->match(line) >= 0);
            std::string type;
            std::string id;
            std::vector<std::pair<std::string, std::string>> fields;
            const int position = rule->matchSubRule(line, type, id, fields);
            require(position >= -1);
            require(position != -1 || fields.empty());
        }
    }
    return 0;
}
