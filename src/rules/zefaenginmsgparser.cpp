#include <msgfilter/zefaenginmsgparser.h>

namespace zefa::msg_filter::impl_detail {

ZefaEnginMsgParser::ZefaEnginMsgParser(const std::string& name)
    : m_name(name)
{
}

bool ZefaEnginMsgParser::addRule(const std::string& ruleName)
{
    return m_ruleNames.insert(ruleName).second;
}

} // namespace zefa::msg_filter::impl_detail
