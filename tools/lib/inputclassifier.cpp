#include "inputclassifier.h"

#include "displaytext.h"
#include "formats/messageformat.h"

#include <QIODevice>

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
    // The filter takes C strings: a NUL byte would end the text early.
    m_partial.append(QByteArray(chunk).replace('\0', ""));
    const int lastLineFeed = m_partial.lastIndexOf('\n');
    if (lastLineFeed < 0) {
        return {};
    }
    const QByteArray complete = m_partial.left(lastLineFeed + 1);
    m_partial.remove(0, lastLineFeed + 1);
    m_filter.filterMessage(complete.constData());
    return drain();
}

QByteArray InputClassifier::finish()
{
    if (!m_partial.isEmpty()) {
        m_filter.filterMessage(m_partial.constData());
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
    if (result.type.size() <= ruleType(result.rule).size()) {
        ++m_summary.ruleWithoutSubRule;
        return Severity::None;
    }
    return severityOfType(result.type);
}

QByteArray InputClassifier::report(const ZefaMsgFilter::ParsResult& result)
{
    ++m_summary.lines;
    const Severity severity = severityOf(result);
    if (severity == Severity::None) {
        return {};
    }
    const auto index = static_cast<size_t>(severity);
    ++m_summary.bySeverity[index];
    ++m_summary.byRule[result.rule][index];
    if (severity > m_summary.highest) {
        m_summary.highest = severity;
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
    return m_format.message(line);
}

} // namespace zefa::msg_filter::tool
