#include "inputclassifier.h"

#include "displaytext.h"
#include "formats/messageformat.h"
#include "messagedescription.h"
#include "messagereview.h"

#include <QIODevice>

#include <algorithm>

namespace zefa::msg_filter::tool {

namespace {

// Input is read, and handed to the filter, in pieces of this size.
constexpr qint64 kChunkBytes = 256 * 1024;

// The line as the user sees it: without its line feed or a carriage return before it.
std::string withoutLineEnd(const std::string& line)
{
    std::string text = line;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

} // namespace

InputClassifier::InputClassifier(const RulesSelection& rules, MessageFormat& format, QString name,
    ClassificationSummary& summary)
    : m_rules(rules)
    , m_format(format)
    , m_name(std::move(name))
    , m_summary(summary)
{
    m_filter.startFilter(m_rules.targetName.c_str());
    m_filter.startEngin(m_rules.engineName.c_str());
}

InputClassifier::~InputClassifier() = default;

QByteArray InputClassifier::feed(const QByteArray& chunk)
{
    m_partial.append(chunk);
    const int lastLineFeed = m_partial.lastIndexOf('\n');
    if (lastLineFeed < 0) {
        return {};
    }
    const QByteArray complete = m_partial.left(lastLineFeed + 1);
    m_partial.remove(0, lastLineFeed + 1);
    m_filter.filterMessage(complete.constData(), static_cast<std::size_t>(complete.size()));
    return drain();
}

QByteArray InputClassifier::finish()
{
    if (!m_partial.isEmpty()) {
        m_filter.filterMessage(m_partial.constData(), static_cast<std::size_t>(m_partial.size()));
        m_partial.clear();
    }
    m_filter.endFilter();
    return drain();
}

void InputClassifier::feedAll(QIODevice& input,
    const std::function<void(const QByteArray& output, qint64 bytesRead)>& written)
{
    qint64 done = 0;
    while (true) {
        const QByteArray chunk = input.read(kChunkBytes);
        if (chunk.isEmpty()) {
            return;
        }
        done += chunk.size();
        written(feed(chunk), done);
    }
}

// Takes the results over from the filter, so that memory stays flat on long inputs.
QByteArray InputClassifier::drain()
{
    QByteArray output;
    for (const ZefaMsgFilter::ParsResult& result : m_filter.takeResults()) {
        ++m_lineNumber;
        output += report(result);
    }
    return output;
}

// The type of the rule as the file defines it: the result's type is longer exactly
// when a sub-rule matched too.
const std::string& InputClassifier::ruleType(const std::string& rule)
{
    auto found = m_ruleTypes.find(rule);
    if (found == m_ruleTypes.end()) {
        const impl_detail::ZefaMsgParserRule* definition = m_rules.rules->getRule(rule);
        found = m_ruleTypes.emplace(rule, definition ? definition->getType() : std::string()).first;
    }
    return found->second;
}

Severity InputClassifier::severityOf(const ZefaMsgFilter::ParsResult& result)
{
    if (result.rule.empty()) {
        return Severity::None;
    }
    if (result.isNewMessage) {
        std::string type;
        for (const auto& [name, value] : result.fields) {
            if (name == "type") {
                type = value;
            }
        }
        return severityOfType(type);
    }
    const std::size_t ruleTypeSize = ruleType(result.rule).size();
    if (result.type.size() <= ruleTypeSize) {
        ++m_summary.ruleWithoutSubRule;
        return Severity::None;
    }
    // The result's type is "rule type:sub-rule type"; the engine side reads the sub-rule's
    // type alone, and a rule type holding "error" must not make every line an error.
    return severityOfType(result.type.substr(ruleTypeSize + 1));
}

QByteArray InputClassifier::report(const ZefaMsgFilter::ParsResult& result)
{
    ++m_summary.lines;
    const Severity severity = severityOf(result);
    if (severity == Severity::None) {
        return {};
    }
    const LineDecoder decode(withoutLineEnd(result.message));
    ClassifiedLine line;
    line.file = m_name;
    line.number = m_lineNumber;
    line.severity = severity;
    line.rule = displayText(result.rule);
    line.type = displayText(result.type);
    for (const auto& [name, value] : result.fields) {
        line.fields.emplace_back(displayText(name), decode(value));
    }
    line.text = decode.line();
    describeMessage(line);
    if (m_review != nullptr) {
        m_review->review(line);
    }
    // A waived line is accepted: it counts nowhere but in the waived count.
    if (line.waived) {
        ++m_summary.waived;
        return m_format.message(line);
    }
    const auto index = static_cast<size_t>(severity);
    ++m_summary.bySeverity[index];
    ++m_summary.byRule[result.rule][index];
    m_summary.highest = std::max(m_summary.highest, severity);
    if (line.baseline == BaselineState::New) {
        ++m_summary.newMessages;
        m_summary.highestNew = std::max(m_summary.highestNew, severity);
    } else if (line.baseline == BaselineState::Known) {
        ++m_summary.knownMessages;
    }
    return m_format.message(line);
}

} // namespace zefa::msg_filter::tool
