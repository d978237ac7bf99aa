#pragma once

#include <msgfilter/msgfilter_export.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::impl_detail {

class RegexPattern;

/// One filter rule: a pattern that says whether, and how well, it fits a line, and
/// sub-rules that read the line into a message type, an id and named fields.
///
/// match() gives the length of the leftmost match of the rule's pattern (0 for an empty
/// match, -1 for none); the engine picks the rule with the longest match. matchSubRule()
/// then tries the sub-rules in the order they were added and takes the first that
/// matches anywhere in the line. An invalid pattern never matches.
///
/// Patterns are compiled when the rule or sub-rule is added and shared between copies,
/// so copying a rule is cheap and matching never changes the rule: once loaded, rules
/// may be matched from several threads.
class MSGFILTER_EXPORT ZefaMsgParserRule {
public:
    /// One way of reading a line that the rule fits.
    struct SubRule {
        std::string name; ///< optional label, not used by matching
        std::string type; ///< message type delivered on a match
        std::string id; ///< message id delivered on a match, may be empty
        std::string reg_patten; ///< pattern tried against the line; its groups give the fields
        std::vector<std::string> fields; ///< names of the capture groups, in group order
    };

    ZefaMsgParserRule(
        const std::string& name, const std::string& type, const std::string& reg_patten);

    const std::string& getName() const { return m_name; }
    const std::string& getType() const { return m_type; }
    const std::string& getRegPatten() const { return m_reg_patten; }
    /// The sub-rules in the order they are tried.
    const std::vector<SubRule>& getSubRules() const { return m_subRules; }

    /// Appends a copy of `sub`; it is tried after every sub-rule added before it.
    void addSubRule(const SubRule& sub);

    /// Length of the leftmost match of the rule's pattern anywhere in the line: 0 for an
    /// empty match, -1 when the pattern does not match or is invalid.
    int match(const std::string& line) const;

    /// Tries the sub-rules in order; the first whose pattern matches anywhere in the line
    /// wins. Then `type` and `id` receive its type and id, and one (name, captured text)
    /// pair per capture group is appended to `fields` (a group without a name gets "",
    /// surplus names are ignored; the list is never cleared). Returns the position of
    /// the winning match (0 or more), or -1, leaving all three outputs untouched, when no
    /// sub-rule matches.
    int matchSubRule(const std::string& line, std::string& type, std::string& id,
        std::vector<std::pair<std::string, std::string>>& fields) const;

private:
    friend class RuleScan;

    std::string m_name;
    std::string m_type;
    std::string m_reg_patten;
    std::vector<SubRule> m_subRules;
    // Compiled forms of m_reg_patten and of each sub-rule's pattern (same index); immutable
    // and shared between copies of the rule.
    std::shared_ptr<const RegexPattern> m_pattern;
    std::vector<std::shared_ptr<const RegexPattern>> m_subPatterns;
};

} // namespace zefa::msg_filter::impl_detail
