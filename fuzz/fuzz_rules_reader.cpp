// Feeds arbitrary bytes to the definition-file reader as enginemsg.xml, loads them into a
// fresh rule engine and classifies a few lines with every engine the file defines.
//
// Beyond crashes and sanitizer findings it checks what a load promises: a failed load
// leaves both tables empty and every look-up null; a successful one hands out the tables.
// A second read of the same file with a diagnostics listener must load exactly the same,
// and say why a failed load failed.

#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
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

// Everything a load put into the tables, in one string.
std::string contents(const ZefaMsgParserEngin& engine)
{
    std::string out;
    for (const auto& [targetName, target] : engine.getTargets()) {
        for (const auto& [engineName, parser] : target.getEngines()) {
            out += "E " + targetName + "/" + engineName;
            for (const std::string& rule : parser.getRuleNames()) {
                out += " " + rule;
            }
            out += '\n';
        }
    }
    for (const auto& [name, rule] : engine.getRules()) {
        out += "R " + name + " " + rule.getType() + " " + rule.getRegPatten() + '\n';
        for (const ZefaMsgParserRule::SubRule& sub : rule.getSubRules()) {
            out += "S " + sub.name + " " + sub.type + " " + sub.id + " " + sub.reg_patten;
            for (const std::string& field : sub.fields) {
                out += " " + field;
            }
            out += '\n';
        }
    }
    return out;
}

// Reads the file again with a listener: the same outcome and tables, one diagnostic per
// element with a place for each attribute, and a file-level reason exactly when the load
// failed, as the last word.
void checkDiagnostics(const QString& path, bool loaded, const std::string& loadedContents)
{
    using Reason = DefinitionDiagnostic::Reason;
    ZefaMsgParserEngin engine;
    ZefaMsgFilterDefReader reader;
    std::vector<Reason> reasons;
    reader.setDiagnostics([&reasons](const DefinitionDiagnostic& diagnostic) {
        reasons.push_back(diagnostic.reason);
        require(diagnostic.attributePositions.size()
            == static_cast<std::size_t>(diagnostic.attributes.size()));
        require(diagnostic.reason == Reason::XmlError || !diagnostic.element.isEmpty());
        require((diagnostic.reason == Reason::MissingAttributes) == !diagnostic.missing.isEmpty());
    });
    require(reader.doRead(&engine, path) == loaded);
    if (loaded) {
        require(contents(engine) == loadedContents);
    }
    const auto fileLevel = [](Reason reason) {
        return reason == Reason::XmlError || reason == Reason::ForeignRoot;
    };
    const auto firstFileLevel = std::find_if(reasons.begin(), reasons.end(), fileLevel);
    require(loaded ? firstFileLevel == reasons.end() : firstFileLevel == reasons.end() - 1);
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
    checkDiagnostics(
        dataDirectory->filePath(QStringLiteral("enginemsg.xml")), loaded, contents(engine));
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
