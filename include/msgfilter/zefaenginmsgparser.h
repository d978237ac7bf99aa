#pragma once

#include <msgfilter/msgfilter_export.h>

#include <memory>
#include <set>
#include <string>

namespace zefa::msg_filter::impl_detail {

class RuleScanSlot;

/// The rules that apply to one engine of one target device family.
///
/// It holds rule names only; the rules themselves live in the rule engine and are looked
/// up by name when a line is matched, so a name with no rule behind it is harmless. The
/// names are kept in byte-wise order, which is the order in which rules are tried.
class MSGFILTER_EXPORT ZefaEnginMsgParser {
public:
    ZefaEnginMsgParser(const std::string& name);

    const std::string& getName() const { return m_name; }
    /// The rule names, in the order rules are tried.
    const std::set<std::string>& getRuleNames() const { return m_ruleNames; }

    /// Adds a rule name; true if it was new, false if it was already there.
    bool addRule(const std::string& ruleName);

private:
    friend class RuleScanSlot;

    std::string m_name;
    std::set<std::string> m_ruleNames;
    // Where the rule engine keeps its one-pass scan over these rules. Copies share it
    // until one of them gains a rule and starts a fresh one.
    std::shared_ptr<RuleScanSlot> m_scanSlot;
};

} // namespace zefa::msg_filter::impl_detail
