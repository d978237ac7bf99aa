#pragma once

#include <msgfilter/zefaenginmsgparser.h>
#include <msgfilter/zefamsgparserengin.h>
#include <msgfilter/zefamsgparserrule.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// All the rule engine decides about one line: the rule FindBestMatchRule picks and what
/// matchSubRule then reads, with where each pattern matched and which sub-rule won, so a
/// caller never has to search again or infer it.
struct LineMatch {
    ZefaMsgParserRule* rule = nullptr; ///< the best rule; null when no rule matches
    int position = -1; ///< where the rule's pattern matched (see LineMatcher::Rule)
    int length = -1; ///< how long that match is: what made the rule the best one
    int subRule = -1; ///< index of the first matching sub-rule; -1 when none matches
    int subRulePosition = -1; ///< where it matched: what matchSubRule returns
    int subRuleLength = -1;
    std::string type; ///< the sub-rule's type, empty when no sub-rule matches
    std::string id; ///< the sub-rule's id
    std::vector<std::pair<std::string, std::string>> fields; ///< as matchSubRule appends them
};

/// Where a rule's own pattern matches in a line, leftmost; match() tells only the length.
struct RuleSpan {
    int position = -1; ///< -1 when the pattern does not match
    int length = -1;
};

RuleSpan matchRule(const ZefaMsgParserRule& rule, const std::string& line);

class RuleScan;

/// matchLine() for many lines of one engine rule set, from as many threads as wish: the
/// rule set's scan is looked up once, when the matcher is made, so the rules must not
/// change while it lives.
class LineMatcher {
public:
    /// Whether a match tells where the rule's own pattern matched: finding that out costs
    /// a search of its own where the rule is the only one that can match. Skipped, it is
    /// -1 there, and the rule, sub-rule and fields are the same.
    enum class Rule { Placed, Unplaced };

    LineMatcher(ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, Rule rule = Rule::Placed);
    LineMatch operator()(std::string_view line) const;

private:
    std::shared_ptr<const RuleScan> m_scan; ///< null when no rule can match
    Rule m_rule;
};

/// FindBestMatchRule(engine, parser, line), then matchSubRule on the rule it picks, in one
/// call with the same answers. Null arguments give an empty result, as they give null.
///
///     const LineMatch found = matchLine(engine, parser, "WARNING: [Synth 8-327] latch\n");
///     if (found.subRule >= 0) { ... found.rule->getSubRules()[found.subRule].name ... }
LineMatch matchLine(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, const std::string& line);

} // namespace zefa::msg_filter::impl_detail
