#include "common/latin1.h"
#include "common/linesplitter.h"

#include <msgfilter/zefamsgfilter.h>
#include <msgfilter/zefamsgparserengin.h>

#include <QStringList>

#include <algorithm>
#include <cstring>
#include <utility>

namespace zefa::msg_filter {

using impl_detail::FindBestMatchRule;
using impl_detail::LineSplitter;
using impl_detail::ZefaEnginMsgParser;
using impl_detail::ZefaMsgParserEngin;
using impl_detail::ZefaMsgParserRule;
using impl_detail::ZefaMsgTarget;

namespace {

const char kTextType[] = "Text";
const char kNewMessageRule[] = "new-message";
const char kDefaultEngine[] = "default";

// The value of one name=value argument: the text between the first and the second "=",
// trimmed, without one pair of enclosing double quotes.
std::string argumentValue(const QString& piece)
{
    QString value = piece.section(QLatin1Char('='), 1, 1).trimmed();
    if (value.size() > 1 && value.startsWith(QLatin1Char('"'))
        && value.endsWith(QLatin1Char('"'))) {
        value = value.mid(1, value.size() - 2).trimmed();
    }
    return impl_detail::toLatin1(value);
}

} // namespace

struct ZefaMsgFilter::FilterState {
    // Non-owning pointers into the rule engine, which outlives every filter.
    ZefaMsgTarget* target = nullptr;
    ZefaEnginMsgParser* engine = nullptr;
    // What the start, end and filter calls answer; results handed over by takeResults()
    // still count.
    bool recordedAny = false;
};

ZefaMsgFilter::ZefaMsgFilter()
    : m_state(std::make_unique<FilterState>())
{
}

ZefaMsgFilter::ZefaMsgFilter(const char* target)
    : ZefaMsgFilter()
{
    if (target != nullptr && target[0] != '\0') {
        setTarget(target);
    }
}

ZefaMsgFilter::ZefaMsgFilter(const ZefaMsgFilter& other)
    : m_pending(other.m_pending)
    , m_engineName(other.m_engineName)
    , m_targetName(other.m_targetName)
    , m_state(std::make_unique<FilterState>(*other.m_state))
    , m_results(other.m_results)
{
}

ZefaMsgFilter& ZefaMsgFilter::operator=(const ZefaMsgFilter& other)
{
    if (this != &other) {
        m_pending = other.m_pending;
        m_engineName = other.m_engineName;
        m_targetName = other.m_targetName;
        *m_state = *other.m_state;
        m_results = other.m_results;
    }
    return *this;
}

ZefaMsgFilter::~ZefaMsgFilter() = default;

void ZefaMsgFilter::setTarget(const char* name)
{
    const std::string targetName(name);
    if (targetName != m_targetName) {
        m_targetName = targetName;
        m_state->target = ZefaMsgParserEngin::getMsgParserEngin()->getTarget(targetName);
    }
    // Even the same target forgets its engine, so that the next setEngine() looks it up again.
    m_engineName.clear();
    m_state->engine = nullptr;
}

void ZefaMsgFilter::setEngine(const char* name)
{
    if (m_state->target == nullptr) {
        return;
    }
    const std::string engineName(name);
    if (engineName == m_engineName) {
        return;
    }
    m_engineName = engineName;
    m_state->engine = m_state->target->getEngine(engineName);
    if (m_state->engine == nullptr) {
        // The requested name stays stored: asking for it again changes nothing.
        m_state->engine = m_state->target->getEngine(kDefaultEngine);
    }
}

bool ZefaMsgFilter::startFilter(const char* target)
{
    // The unterminated rest is classified but kept: later output continues that line.
    flushMessage(m_pending);
    setTarget(target);
    return m_state->recordedAny;
}

bool ZefaMsgFilter::startEngin(const char* engine)
{
    flushMessage(m_pending);
    setEngine(engine);
    return m_state->recordedAny;
}

bool ZefaMsgFilter::endFilter()
{
    flushMessage(m_pending);
    m_targetName.clear();
    m_state->target = nullptr;
    m_engineName.clear();
    m_state->engine = nullptr;
    return m_state->recordedAny;
}

bool ZefaMsgFilter::filterMessage(const char* text)
{
    return filterMessage(text, std::strlen(text));
}

bool ZefaMsgFilter::filterMessage(const char* text, std::size_t size)
{
    // The pending text is the rest of the last split, so it holds no line feed and is not
    // searched again.
    const std::string::size_type searched = m_pending.size();
    m_pending.append(text, size);
    LineSplitter<std::string> lines(std::move(m_pending), searched);
    std::string line;
    while (lines.takeLine(line)) {
        flushMessage(line);
    }
    m_pending = lines.takeRest();
    return m_state->recordedAny;
}

void ZefaMsgFilter::flushMessage(const std::string& line)
{
    if (line.empty()) {
        return;
    }
    ParsResult result;
    result.message = line;
    result.type = kTextType;
    if (m_state->engine != nullptr) {
        const ZefaMsgParserRule* rule =
            FindBestMatchRule(ZefaMsgParserEngin::getMsgParserEngin(), m_state->engine, line);
        if (rule != nullptr) {
            result.rule = rule->getName();
            result.type = rule->getType();
            std::string subType;
            std::string subId;
            if (rule->matchSubRule(line, subType, subId, result.fields) != -1) {
                if (rule->getName() == kNewMessageRule) {
                    result.isNewMessage = true;
                } else {
                    result.type += ':';
                    result.type += subType;
                }
            }
        }
    }
    m_results.push_back(std::move(result));
    m_state->recordedAny = true;
}

bool ZefaMsgFilter::getNextResult(ParsResult& result)
{
    result.message.clear();
    result.rule.clear();
    result.type.clear();
    result.fields.clear();
    return false;
}

const std::deque<ZefaMsgFilter::ParsResult>& ZefaMsgFilter::getResults() const
{
    return m_results;
}

std::deque<ZefaMsgFilter::ParsResult> ZefaMsgFilter::takeResults()
{
    return std::exchange(m_results, {});
}

void ZefaMsgFilter::writeLogFile(const std::string& /*text*/) { }

void ZefaMsgFilter::parseNewMessage(const std::vector<std::pair<std::string, std::string>>& fields,
    std::string& id, std::vector<std::string>& dynamicArgs,
    std::vector<std::string>& navigationArgs)
{
    id.clear();
    dynamicArgs.clear();
    navigationArgs.clear();
    QString argumentText;
    int dynamicCount = 0;
    int navigationCount = 0;
    for (const auto& [name, value] : fields) {
        if (name == "id") {
            id = value;
        } else if (name == "dynamic") {
            dynamicCount = impl_detail::fromLatin1(value).toInt(nullptr, 10);
        } else if (name == "navigation") {
            navigationCount = impl_detail::fromLatin1(value).toInt(nullptr, 10);
        } else if (name == "args") {
            argumentText = impl_detail::fromLatin1(value).trimmed();
        }
    }
    if (argumentText.isEmpty()) {
        return;
    }
    const QStringList pieces =
        argumentText.split(QLatin1Char(' '), Qt::SkipEmptyParts, Qt::CaseSensitive);
    // 64-bit bounds: counts come from the line and may be anything an int holds.
    const long long pieceCount = pieces.size();
    const long long dynamicEnd = std::min<long long>(dynamicCount, pieceCount);
    for (long long index = 0; index < dynamicEnd; ++index) {
        dynamicArgs.push_back(argumentValue(pieces.at(static_cast<int>(index))));
    }
    // The navigation arguments follow the dynamic ones; with a negative dynamic count the
    // indices before the first piece are simply skipped.
    const long long navigationBegin = std::max<long long>(dynamicCount, 0);
    const long long navigationEnd =
        std::min<long long>(static_cast<long long>(dynamicCount) + navigationCount, pieceCount);
    for (long long index = navigationBegin; index < navigationEnd; ++index) {
        navigationArgs.push_back(argumentValue(pieces.at(static_cast<int>(index))));
    }
}

int GetFieldsFromEngineMsg(const std::string& line, const std::vector<std::string>& ruleNames,
    std::string& ruleName, std::vector<std::pair<std::string, std::string>>& fields)
{
    ZefaMsgParserEngin* engine = ZefaMsgParserEngin::getMsgParserEngin();
    if (ruleNames.empty()) {
        return -1;
    }
    int best = -1;
    for (const std::string& name : ruleNames) {
        const ZefaMsgParserRule* rule = engine->getRule(name);
        if (rule == nullptr) {
            continue;
        }
        const int length = rule->match(line);
        // Unlike the engine's best-rule search: at least one character, and a later rule
        // of equal length takes over.
        if (length <= 0 || length < best) {
            continue;
        }
        ruleName = rule->getName();
        std::string type;
        std::string id;
        if (rule->matchSubRule(line, type, id, fields) != -1) {
            return length;
        }
        best = length;
    }
    return best;
}

} // namespace zefa::msg_filter
