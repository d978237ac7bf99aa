// Arbitrary lines against the rules that ship with the library, with every engine of the
// "fpga" target. Besides crashes, sanitizer findings and slow patterns (libFuzzer's
// -timeout) it checks the choice of the best rule against a plain reading of its
// definition (the longest match, ties to the name that sorts first) and that every field a
// sub-rule cuts out is a piece of the line.

#include <msgfilter/zefamsgparserengin.h>

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace zefa::msg_filter::impl_detail;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// The rule the engine should pick, found by trying every rule of the engine.
const ZefaMsgParserRule* bestRuleByHand(
    ZefaMsgParserEngin& rules, const ZefaEnginMsgParser& engine, const std::string& line)
{
    const ZefaMsgParserRule* best = nullptr;
    int bestLength = -1;
    for (const std::string& name : engine.getRuleNames()) { // in byte-wise order
        const ZefaMsgParserRule* rule = rules.getRule(name);
        const int length = rule != nullptr ? rule->match(line) : -1;
        if (length > bestLength) {
            best = rule;
            bestLength = length;
        }
    }
    return best;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qputenv("ZEFA_DATA_PATH", QByteArrayLiteral(MSGFILTER_SOURCE_DATA_DIR));
    require(ZefaMsgParserEngin::getMsgParserEngin()->isInitialized());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ZefaMsgParserEngin* rules = ZefaMsgParserEngin::getMsgParserEngin();
    ZefaMsgTarget* target = rules->getTarget("fpga");
    require(target != nullptr);
    const std::string line(reinterpret_cast<const char*>(data), size);
    for (const auto& entry : target->getEngines()) {
        ZefaEnginMsgParser* engine = target->getEngine(entry.first);
        ZefaMsgParserRule* rule = FindBestMatchRule(rules, engine, line);
        require(rule == bestRuleByHand(*rules, *engine, line));
        if (rule == nullptr)
            continue;
        std::string type;
        std::string id;
        std::vector<std::pair<std::string, std::string>> fields;
        if (rule->matchSubRule(line, type, id, fields) == -1) {
            require(type.empty() && id.empty() && fields.empty());
            continue;
        }
        for (const auto& field : fields)
            require(line.find(field.second) != std::string::npos);
    }
    return 0;
}
