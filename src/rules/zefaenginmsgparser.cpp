#include "rules/rulescan.h"

#include <msgfilter/zefaenginmsgparser.h>

namespace zefa::msg_filter::impl_detail {

ZefaEnginMsgParser::ZefaEnginMsgParser(const std::string& name)
    : m_name(name)
    , m_scanSlot(std::make_shared<RuleScanSlot>())
{
}

bool ZefaEnginMsgParser::addRule(const std::string& ruleName)
{
    if (!m_ruleNames.insert(ruleName).second) {
        return false;
    }
    m_scanSlot = std::make_shared<RuleScanSlot>();
    return true;
}

} // namespace zefa::msg_filter::impl_detail
