#include <msgfilter/zefamsgtarget.h>

namespace zefa::msg_filter::impl_detail {

ZefaMsgTarget::ZefaMsgTarget(const std::string& name)
    : m_name(name)
{
}

ZefaEnginMsgParser* ZefaMsgTarget::getEngine(const std::string& name)
{
    const auto found = m_engines.find(name);
    return found == m_engines.end() ? nullptr : &found->second;
}

std::pair<bool, ZefaEnginMsgParser*> ZefaMsgTarget::addEnginParsser(
    const std::string& name, const ZefaEnginMsgParser& parser)
{
    const auto [position, inserted] = m_engines.try_emplace(name, parser);
    return { inserted, &position->second };
}

} // namespace zefa::msg_filter::impl_detail
