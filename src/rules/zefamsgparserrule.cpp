#include "common/latin1.h"
#include "common/regexpattern.h"

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
    return m_pattern->search(fromLatin1(line), 0, RegexPattern::Captures::Skip).length;
}

int ZefaMsgParserRule::matchSubRule(const std::string& line, std::string& type, std::string& id,
    std::vector<std::pair<std::string, std::string>>& fields) const
{
    if (m_subRules.empty()) {
        return -1;
    }
    const QString text = fromLatin1(line);
    for (std::size_t index = 0; index < m_subRules.size(); ++index) {
        const RegexPattern::Match found = m_subPatterns[index]->search(text);
        if (!found.found()) {
            continue;
        }
        // First match wins, not best match: the file's order of sub-rules is the priority.
        const SubRule& sub = m_subRules[index];
        type = sub.type;
        id = sub.id;
        for (int group = 1; group < found.captures.size(); ++group) {
            const auto nameIndex = static_cast<std::size_t>(group - 1);
            std::string name =
                nameIndex < sub.fields.size() ? sub.fields[nameIndex] : std::string();
            fields.emplace_back(std::move(name), toLatin1(found.captures.at(group)));
        }
        return found.position;
    }
    return -1;
}

} // namespace zefa::msg_filter::impl_detail
