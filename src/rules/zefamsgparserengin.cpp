#include "rules/rulescan.h"
#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>

#include <atomic>

namespace zefa::msg_filter::impl_detail {

ZefaMsgParserEngin* ZefaMsgParserEngin::pInstance = nullptr;

ZefaMsgParserEngin::ZefaMsgParserEngin()
{
    renewRulesStamp();
}

ZefaMsgParserEngin::ZefaMsgParserEngin(const ZefaMsgParserEngin& other)
    : m_initialized(other.m_initialized)
    , m_rules(other.m_rules)
    , m_targets(other.m_targets)
{
    renewRulesStamp();
}

ZefaMsgParserEngin& ZefaMsgParserEngin::operator=(const ZefaMsgParserEngin& other)
{
    m_initialized = other.m_initialized;
    m_rules = other.m_rules;
    m_targets = other.m_targets;
    renewRulesStamp();
    return *this;
}

void ZefaMsgParserEngin::renewRulesStamp()
{
    static std::atomic<std::uint64_t> lastStamp { 0 };
    m_rulesStamp = ++lastStamp;
}

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
    renewRulesStamp();
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
    if (inserted) {
        renewRulesStamp();
    }
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
    return RuleScanSlot::findBest(engine, parser, line).rule;
}

} // namespace zefa::msg_filter::impl_detail
