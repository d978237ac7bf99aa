#include "engine/enginemessagehandler.h"

#include "common/latin1.h"
#include "common/linesplitter.h"
#include "common/regexpattern.h"
#include "common/severity.h"
#include "engine/oldformattext.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QDebug>
#include <QPointer>

#include <optional>

namespace zefa::msg_filter::impl_detail {

namespace {

const char kDeviceTarget[] = "fpga";
const char kDefaultEngine[] = "default";
const char kNewMessageRule[] = "new-message";

// One argument of a structured line: group 1 the value between the double quotes, still
// XML-escaped. The number after "arg" is not read; values count by their order.
const QString kArgumentPattern = QStringLiteral("arg\\d+=\"([^\"]*)");

const RegexPattern& argumentExpression()
{
    static const RegexPattern expression(kArgumentPattern);
    return expression;
}

} // namespace

EngineMessageHandler::EngineMessageHandler(const QString& implementation, QObject* parent)
    : QObject(parent)
    , m_implementation(implementation)
{
    // Every handler classifies with the one device family the tool drives.
    m_target = ZefaMsgParserEngin::getMsgParserEngin()->getTarget(kDeviceTarget);

    zefa::pelno::ZefaProjectManager* projects =
        zefa::pelno::ZefaProjectManager::getProjectManager();
    if (projects != nullptr && projects->getProject() != nullptr) {
        m_active =
            fromLatin1(projects->getProject()->getDefaultImplementation()) == m_implementation;
    }
    m_messageObject = MessageManager::getInstance()->getObject(m_implementation);
}

EngineMessageHandler::~EngineMessageHandler() = default;

void EngineMessageHandler::updateMessageParser()
{
    // Without the "fpga" target no engine can be selected and every line stays plain
    // text; the rule file is expected to provide it.
    if (m_target == nullptr) {
        m_engineParser = nullptr;
        return;
    }
    m_engineParser = m_target->getEngine(toLatin1(m_currentEngine));
    if (m_engineParser == nullptr) {
        m_engineParser = m_target->getEngine(kDefaultEngine);
    }
}

void EngineMessageHandler::onEngineMessageOut(const QString& implemenation, const QString& message)
{
    if (implemenation != m_implementation) {
        return;
    }
    m_lines.append(message);
    processMessageBuffer();
}

void EngineMessageHandler::processMessageBuffer()
{
    // Handling a line reaches the host (signals of the store and of this handler), and a
    // host may answer by publishing more output or even by removing the implementation.
    // The line is therefore taken off the buffer before it is handled, and the loop stops
    // if this handler did not survive.
    QPointer<EngineMessageHandler> alive(this);
    QString line;
    while (m_lines.takeLine(line)) {
        line.chop(1);
        line.remove(QLatin1Char('\r'));
        handleMessageLine(line);
        if (alive.isNull()) {
            return;
        }
    }
    m_lines.compact();
}

void EngineMessageHandler::handleMessageLine(const QString& line)
{
    const std::string text = toLatin1(line);
    ZefaMsgParserRule* rule =
        FindBestMatchRule(ZefaMsgParserEngin::getMsgParserEngin(), m_engineParser, text);
    if (rule == nullptr) {
        if (m_active) {
            Q_EMIT sigMessagesOut(line, 0);
        }
        return;
    }

    QString component;
    QString id;
    QString severity;
    QStringList dynamic;
    QStringList navigation;
    std::string typeText;
    std::string idText;
    FieldList fields;
    // A rule that fits the line but none of whose sub-rules does is a rule that knows
    // the line is noise: it is dropped, not shown as plain text.
    if (rule->matchSubRule(text, typeText, idText, fields) == -1) {
        return;
    }

    if (rule->getName() == kNewMessageRule) {
        parseNewMessage(fields, id, severity, dynamic, navigation);
    } else {
        severity = convertMessageType(typeText);
        dynamic.append(OldFormatText::of(line).trimmed());
        if (!idText.empty()) {
            id = fromLatin1(idText);
        } else {
            component = parseOldMessageIds(id, severity);
        }
        parseOldMessageNavigation(fields, navigation);
    }
    if (m_messageObject != nullptr) {
        m_messageObject->postMessage(component, id, severity, dynamic, navigation);
    }
}

void EngineMessageHandler::parseNewMessage(const FieldList& fields, QString& id, QString& type,
    QStringList& dynamic, QStringList& navigation)
{
    id.clear();
    dynamic.clear();
    navigation.clear();
    int dynamicCount = 0;
    int navigationCount = 0;
    QString arguments;
    for (const auto& [name, value] : fields) {
        if (name == "id") {
            id = fromLatin1(value);
        } else if (name == "type") {
            type = fromLatin1(value);
        } else if (name == "dynamic") {
            dynamicCount = fromLatin1(value).toInt(nullptr, 10);
        } else if (name == "navigation") {
            navigationCount = fromLatin1(value).toInt(nullptr, 10);
        } else if (name == "args") {
            arguments = fromLatin1(value).trimmed();
        }
    }
    if (arguments.isEmpty()) {
        return;
    }

    // The counts come from the line and may be anything an int holds: their sum is taken
    // in 64 bits.
    const long long navigationEnd = static_cast<long long>(dynamicCount) + navigationCount;
    const RegexPattern& argument = argumentExpression();
    // The arguments came from Latin-1 bytes: searched as bytes, they are not converted
    // again for each argument.
    const QByteArray bytes = arguments.toLatin1();
    const std::string_view text(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    int position = 0;
    for (int index = 0;; ++index) {
        const RegexPattern::Match match =
            argument.search(text, position, RegexPattern::Captures::Spans);
        if (!match.found()) {
            break;
        }
        position = match.position + match.length;
        const MatchSpan value = match.spans.size() > 1 ? match.spans[1] : MatchSpan {};
        const QString captured = value.found()
            ? QString::fromLatin1(bytes.constData() + value.position, value.length)
            : QString();
        if (index < dynamicCount) {
            dynamic.append(parseXmlReserved(captured));
        } else if (index < navigationEnd) {
            navigation.append(parseXmlReserved(captured));
        }
    }
}

QString EngineMessageHandler::parseXmlReserved(const QString& text)
{
    // The order matters: "&amp;" goes third so that what it uncovers is decoded by the
    // replacements after it.
    QString decoded = text;
    decoded.replace(QLatin1String("&quot;"), QLatin1String("\""));
    decoded.replace(QLatin1String("&apos;"), QLatin1String("'"));
    decoded.replace(QLatin1String("&amp;"), QLatin1String("&"));
    decoded.replace(QLatin1String("&lt;"), QLatin1String("<"));
    decoded.replace(QLatin1String("&gt;"), QLatin1String(">"));
    decoded.replace(QLatin1String("&#xA;"), QLatin1String("\n"));
    decoded.replace(QLatin1String("&#x9;"), QLatin1String("\t"));
    return decoded;
}

QString EngineMessageHandler::parseOldMessageIds(QString& id, const QString& severity)
{
    // The catalogue's generic entries, one per severity; any other word leaves the id as
    // it was.
    const std::optional<Severity> known = severityOfWord(severity);
    if (known && *known != Severity::CriticalWarning) {
        id = QString::number(genericMessageNumber(*known));
    }
    return QLatin1String(kGenericComponent);
}

void EngineMessageHandler::parseOldMessageNavigation(
    const FieldList& fields, QStringList& navigation)
{
    navigation.clear();
    for (const auto& field : fields) {
        navigation.append(fromLatin1(field.second));
    }
}

QString EngineMessageHandler::convertMessageType(const std::string& type)
{
    return catalogueText(severityOfRuleType(type));
}

void EngineMessageHandler::onActiveImplementationChanged(const QString& implementation)
{
    m_active = implementation == m_implementation;
}

// The run-state slots trace each event of this implementation on the debug channel, one
// line each, labels bare and arguments quoted as QDebug writes them.

void EngineMessageHandler::onTaskStarted(const QString& implementation, int)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "task started:"
             << "implementation:" << implementation;
}

void EngineMessageHandler::onTaskFinished(const QString& implementation, int)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "task finished:"
             << "implementation:" << implementation;
    // The store files what arrives between tasks under its "Tool" pseudo-process.
    if (m_messageObject != nullptr) {
        m_messageObject->setCurrentProcess(QString());
    }
}

void EngineMessageHandler::onProcessStarted(
    const QString& implementation, const QString& milestone, const QString& task)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "\nprocess started:"
             << "implementation:" << implementation << " milestone:" << milestone
             << " task:" << task;
    if (m_messageObject != nullptr) {
        m_messageObject->setCurrentProcess(task);
        m_messageObject->setFilterProcess(milestone);
        m_messageObject->refreshCurrentProcessMessages();
    }
}

void EngineMessageHandler::onProcessFinished(
    const QString& implementation, const QString& milestone, const QString& task)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "process finished:"
             << "implementation:" << implementation << " milestone:" << milestone
             << " task:" << task;
}

void EngineMessageHandler::onEngineStarted(
    const QString& implementation, const QString& task, const QString& engine)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "engine started:"
             << "implementation:" << implementation << " milestone:"
             << "N/A"
             << " task:" << task << " engine:" << engine;
    m_currentEngine = engine;
    updateMessageParser();
}

void EngineMessageHandler::onEngineFinished(
    const QString& implementation, const QString& task, const QString& engine)
{
    if (implementation != m_implementation) {
        return;
    }
    qDebug() << "engine finished:"
             << "implementation:" << implementation << " milestone:"
             << "N/A"
             << " task:" << task << " engine:" << engine;
    // The unterminated tail is handled now, so that it is not lost if nothing follows,
    // and kept: the next output of this implementation continues it and it is handled
    // again, whole, when its line feed arrives. The rule set stays selected as well.
    if (m_lines.hasRest()) {
        QPointer<EngineMessageHandler> alive(this);
        const QString pending = m_lines.rest();
        handleMessageLine(pending);
        if (alive.isNull()) {
            return;
        }
    }
    m_currentEngine.clear();
}

} // namespace zefa::msg_filter::impl_detail
