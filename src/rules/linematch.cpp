#include "linematch.h"

#include "rules/rulescan.h"

namespace zefa::msg_filter::impl_detail {

RuleSpan matchRule(const ZefaMsgParserRule& rule, const std::string& line)
{
    const RegexPattern::Match found = RuleScan::matchOf(rule, line);
    return { found.position, found.length };
}

LineMatcher::LineMatcher(ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, Rule rule)
    : m_rule(rule)
{
    // The conditions under which FindBestMatchRule hands out no rule.
    if (engine != nullptr && parser != nullptr && engine->isInitialized()) {
        m_scan = RuleScanSlot::scanFor(*engine, *parser);
    }
}

LineMatch LineMatcher::operator()(std::string_view line) const
{
    LineMatch result;
    if (!m_scan) {
        return result;
    }
    const RuleScan::Best best = m_scan->findBest(
        line, m_rule == Rule::Placed ? RuleScan::Measure::Always : RuleScan::Measure::WhenCompared);
    if (best.rule == nullptr) {
        return result;
    }
    result.rule = best.rule;
    result.position = best.position;
    result.length = best.length;
    const RuleScan::SubRuleFound found = RuleScan::findSubRule(*best.rule, line);
    if (found.index < 0) {
        return result;
    }
    const ZefaMsgParserRule::SubRule& sub =
        best.rule->getSubRules()[static_cast<std::size_t>(found.index)];
    result.subRule = found.index;
    result.subRulePosition = found.match.position;
    result.subRuleLength = found.match.length;
    result.type = sub.type;
    result.id = sub.id;
    RuleScan::appendFields(sub, found.match, line, result.fields);
    return result;
}

LineMatch matchLine(ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, const std::string& line)
{
    return LineMatcher(engine, parser)(line);
}

} // namespace zefa::msg_filter::impl_detail
