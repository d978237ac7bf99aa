#include "linereader.h"

#include "displaytext.h"
#include "messagedescription.h"
#include "severity.h"

#include <cstring>
#include <string_view>
#include <unordered_map>

namespace zefa::msg_filter::tool {

namespace {

// The line as the user sees it: without its line feed or a carriage return before it.
std::string_view withoutLineEnd(std::string_view line)
{
    std::string_view::size_type end = line.size();
    while (end > 0 && (line[end - 1] == '\n' || line[end - 1] == '\r')) {
        --end;
    }
    return line.substr(0, end);
}

// The names of rules, types and fields come back on every line a rule recognises; each
// thread keeps the display text of those it has met.
const QString& displayName(const std::string& name)
{
    thread_local std::unordered_map<std::string, QString> known;
    auto found = known.find(name);
    if (found == known.end()) {
        found = known.emplace(name, displayText(name)).first;
    }
    return found->second;
}

} // namespace

LineReader::LineReader(const RulesSelection& rules)
    : m_match(rules.rules, rules.engine, impl_detail::LineMatcher::Rule::Unplaced)
{
}

LineBatch LineReader::read(const QByteArray& lines, Description description) const
{
    LineBatch batch;
    const char* at = lines.constData();
    const char* const end = at + lines.size();
    while (at < end) {
        const void* feed = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
        const char* const next = feed != nullptr ? static_cast<const char*>(feed) + 1 : end;
        readLine(std::string_view(at, static_cast<std::size_t>(next - at)), description, batch);
        ++batch.lines;
        at = next;
    }
    return batch;
}

void LineReader::readLine(std::string_view text, Description description, LineBatch& batch) const
{
    const impl_detail::LineMatch found = m_match(text);
    if (found.rule == nullptr) {
        return;
    }
    if (found.subRule < 0) {
        ++batch.ruleWithoutSubRule;
        return;
    }
    LineBatch::Recognised recognised;
    recognised.index = batch.lines;
    recognised.rule = &found.rule->getName();
    ClassifiedLine& line = recognised.line;
    line.rule = displayName(*recognised.rule);
    // A structured line's own "type" field gives its severity, and its type is the
    // rule's alone.
    std::string type = found.rule->getType();
    Severity severity = Severity::None;
    if (line.isStructured()) {
        std::string typeField;
        for (const auto& [name, value] : found.fields) {
            if (name == "type") {
                typeField = value;
            }
        }
        severity = severityOfType(typeField);
    } else {
        // The engine side reads the sub-rule's type alone: a rule type holding "error"
        // must not make every line of the rule an error.
        severity = severityOfType(found.type);
        type += ':';
        type += found.type;
    }
    if (severity == Severity::None) {
        return;
    }
    const LineDecoder decode(withoutLineEnd(text));
    line.severity = severity;
    line.type = displayName(type);
    line.text = decode.line();
    if (description != Description::Skipped) {
        line.fields.reserve(found.fields.size());
        for (const auto& [name, value] : found.fields) {
            line.fields.emplace_back(displayName(name), decode(value));
        }
    }
    if (description == Description::Made) {
        describeMessage(line);
    }
    batch.recognised.push_back(std::move(recognised));
}

} // namespace zefa::msg_filter::tool
