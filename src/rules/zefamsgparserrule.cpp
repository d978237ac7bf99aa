#include "common/latin1.h"
#include "common/regexpattern.h"
#include "rules/rulescan.h"

#include <msgfilter/zefamsgparserrule.h>

namespace zefa::msg_filter::impl_detail {

namespace {

std::shared_ptr<const RegexPattern> compile(const std::string& pattern)
{
    return std::make_shared<const RegexPattern>(fromLatin1(pattern), RegexPattern::Case::Sensitive);
}

} // namespace

ZefaMsgParserRule::ZefaMsgParserRule(
    const std::string& name, const std::string& type, const std::string& reg_patten)
    : m_name(name)
    , m_type(type)
    , m_reg_patten(reg_patten)
    , m_pattern(compile(reg_patten))
{
}

void ZefaMsgParserRule::addSubRule(const SubRule& sub)
{
    m_subRules.push_back(sub);
    m_subPatterns.push_back(compile(sub.reg_patten));
}

int ZefaMsgParserRule::match(const std::string& line) const
{
    return RuleScan::matchOf(*this, line).length;
}

int ZefaMsgParserRule::matchSubRule(const std::string& line, std::string& type, std::string& id,
    std::vector<std::pair<std::string, std::string>>& fields) const
{
    const RuleScan::SubRuleFound found = RuleScan::findSubRule(*this, line);
    if (found.index < 0) {
        return -1;
    }
    const SubRule& sub = m_subRules[static_cast<std::size_t>(found.index)];
    type = sub.type;
    id = sub.id;
    RuleScan::appendFields(sub, found.match, line, fields);
    return found.match.position;
}

} // namespace zefa::msg_filter::impl_detail
