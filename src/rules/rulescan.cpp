#include "rulescan.h"

namespace zefa::msg_filter::impl_detail {

RuleScan::RuleScan(ZefaMsgParserEngin& engine, const ZefaEnginMsgParser& parser)
    : m_engine(&engine)
    , m_rulesStamp(engine.m_rulesStamp)
{
    std::vector<const RegexPattern*> patterns;
    for (const std::string& name : parser.getRuleNames()) {
        ZefaMsgParserRule* rule = engine.getRule(name);
        if (rule != nullptr) {
            m_entries.push_back({ rule, rule->m_pattern.get() });
            patterns.push_back(rule->m_pattern.get());
        }
    }
    m_screen = std::make_unique<PatternSet>(patterns);
}

bool RuleScan::isCurrent(const ZefaMsgParserEngin& engine) const
{
    if (m_engine != &engine || m_rulesStamp != engine.m_rulesStamp) {
        return false;
    }
    // A rule handed out by the engine may have been assigned another one meanwhile.
    for (const Entry& entry : m_entries) {
        if (entry.rule->m_pattern.get() != entry.pattern) {
            return false;
        }
    }
    return true;
}

RuleScan::Best RuleScan::findBest(std::string_view line, Measure measure) const
{
    thread_local std::vector<int> candidates;
    const bool screened = m_screen->candidates(line, candidates);
    Best best;
    if (measure == Measure::WhenCompared && screened && candidates.size() == 1
        && m_screen->listedMeansMatch(candidates.front())) {
        best.rule = m_entries[static_cast<std::size_t>(candidates.front())].rule;
        return best;
    }
    for (const int index : candidates) {
        const Entry& entry = m_entries[static_cast<std::size_t>(index)];
        const RegexPattern::Match match =
            entry.pattern->search(line, 0, RegexPattern::Captures::Skip);
        // Only a strictly longer match wins, so among equals the rule tried first stays.
        if (match.length > best.length) {
            best.rule = entry.rule;
            best.position = match.position;
            best.length = match.length;
        }
    }
    return best;
}

RegexPattern::Match RuleScan::matchOf(const ZefaMsgParserRule& rule, std::string_view line)
{
    return rule.m_pattern->search(line, 0, RegexPattern::Captures::Skip);
}

RuleScan::SubRuleFound RuleScan::findSubRule(const ZefaMsgParserRule& rule, std::string_view line)
{
    SubRuleFound found;
    for (std::size_t index = 0; index < rule.m_subPatterns.size(); ++index) {
        // Fields are read from the line where the groups lie.
        found.match = rule.m_subPatterns[index]->search(line, 0, RegexPattern::Captures::Spans);
        if (!found.match.found()) {
            continue;
        }
        // First match wins, not best match: the file's order of sub-rules is the priority.
        found.index = static_cast<int>(index);
        return found;
    }
    return found;
}

void RuleScan::appendFields(const ZefaMsgParserRule::SubRule& sub, const RegexPattern::Match& match,
    std::string_view line, std::vector<std::pair<std::string, std::string>>& fields)
{
    if (match.spans.size() > 1) {
        fields.reserve(fields.size() + match.spans.size() - 1);
    }
    for (std::size_t group = 1; group < match.spans.size(); ++group) {
        const MatchSpan& span = match.spans[group];
        std::string name = group - 1 < sub.fields.size() ? sub.fields[group - 1] : std::string();
        fields.emplace_back(std::move(name),
            span.found() ? std::string(line.substr(
                static_cast<std::size_t>(span.position), static_cast<std::size_t>(span.length)))
                         : std::string());
    }
}

std::shared_ptr<const RuleScan> RuleScanSlot::scanFor(
    ZefaMsgParserEngin& engine, const ZefaEnginMsgParser& parser)
{
    if (!parser.m_scanSlot) { // a moved-from parser
        return std::make_shared<const RuleScan>(engine, parser);
    }
    RuleScanSlot& slot = *parser.m_scanSlot;
    const std::lock_guard<std::mutex> lock(slot.m_mutex);
    if (!slot.m_scan || !slot.m_scan->isCurrent(engine)) {
        slot.m_scan = std::make_shared<const RuleScan>(engine, parser);
    }
    return slot.m_scan;
}

RuleScan::Best RuleScanSlot::findBest(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, std::string_view line)
{
    if (engine == nullptr || parser == nullptr || !engine->isInitialized()) {
        return {};
    }
    return scanFor(*engine, *parser)->findBest(line);
}

} // namespace zefa::msg_filter::impl_detail
