#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>

namespace zefa::msg_filter::impl_detail {

ZefaMsgParserEngin* ZefaMsgParserEngin::pInstance = nullptr;

namespace {

// Keeps the longest match seen so far. Only a strictly longer match replaces the best
// rule, so among equally long matches the rule visited first (lowest name) stays.
class MachBestRule final : public IVisitor<ZefaMsgParserRule> {
public:
    explicit MachBestRule(const std::string& line)
        : m_line(line)
    {
    }

    bool visit(ZefaMsgParserRule* rule) override
    {
        const int length = rule->match(m_line);
        if (length > m_bestLength) {
            m_bestLength = length;
            m_bestRule = rule;
        }
        // Every rule is looked at: a later rule may still match a longer stretch.
        return true;
    }

    ZefaMsgParserRule* bestRule() const { return m_bestRule; }

private:
    std::string m_line;
    ZefaMsgParserRule* m_bestRule = nullptr;
    int m_bestLength = -1;
};

} // namespace

ZefaMsgParserEngin::ZefaMsgParserEngin() = default;

ZefaMsgParserEngin* ZefaMsgParserEngin::getMsgParserEngin()
{
    static ZefaMsgParserEngin instance;
    // Written once only, so that later calls from other threads merely read it.
    if (pInstance == nullptr) {
        pInstance = &instance;
    }
    if (!pInstance->isInitialized()) {
        pInstance->loadFilterRules();
    }
    return pInstance;
}

bool ZefaMsgParserEngin::isInitialized() const
{
    return m_initialized;
}

bool ZefaMsgParserEngin::loadFilterRules()
{
    if (m_initialized) {
        return false;
    }
    ZefaMsgFilterDefReader reader;
    return finishLoad(reader.doRead(this));
}

bool ZefaMsgParserEngin::loadFilterRulesFromFile(const std::string& filePath)
{
    if (m_initialized) {
        return false;
    }
    ZefaMsgFilterDefReader reader;
    return finishLoad(reader.doRead(this, QFile::decodeName(filePath.c_str())));
}

bool ZefaMsgParserEngin::finishLoad(bool loaded)
{
    m_initialized = loaded;
    if (!loaded) {
        // The reader fills the tables as it goes; a file broken anywhere must leave
        // nothing behind, so that the next attempt starts clean.
        m_rules.clear();
        m_targets.clear();
    }
    return loaded;
}

ZefaMsgTarget* ZefaMsgParserEngin::getTarget(const std::string& name)
{
    if (!m_initialized) {
        return nullptr;
    }
    const auto found = m_targets.find(name);
    return found == m_targets.end() ? nullptr : &found->second;
}

ZefaMsgParserRule* ZefaMsgParserEngin::getRule(const std::string& name)
{
    if (!m_initialized) {
        return nullptr;
    }
    const auto found = m_rules.find(name);
    return found == m_rules.end() ? nullptr : &found->second;
}

std::pair<bool, ZefaMsgParserRule*> ZefaMsgParserEngin::addMsgFilterRule(
    const std::string& name, const ZefaMsgParserRule& rule)
{
    const auto [position, inserted] = m_rules.try_emplace(name, rule);
    return { inserted, &position->second };
}

std::pair<bool, ZefaMsgTarget*> ZefaMsgParserEngin::addDeviceTarget(
    const std::string& name, const ZefaMsgTarget& target)
{
    const auto [position, inserted] = m_targets.try_emplace(name, target);
    return { inserted, &position->second };
}

void VisitRulesForEngine(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, IVisitor<ZefaMsgParserRule>* visitor)
{
    if (engine == nullptr || parser == nullptr || visitor == nullptr) {
        return;
    }
    for (const std::string& name : parser->getRuleNames()) {
        ZefaMsgParserRule* rule = engine->getRule(name);
        if (rule == nullptr) {
            continue;
        }
        if (!visitor->visit(rule)) {
            return;
        }
    }
}

ZefaMsgParserRule* FindBestMatchRule(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, const std::string& line)
{
    if (engine == nullptr || parser == nullptr) {
        return nullptr;
    }
    MachBestRule visitor(line);
    VisitRulesForEngine(engine, parser, &visitor);
    return visitor.bestRule();
}

} // namespace zefa::msg_filter::impl_detail
