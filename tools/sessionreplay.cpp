#include "sessionreplay.h"

#include "htmlreport.h"
#include "severity.h"
#include "terminal.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace zefa::msg_filter::tool {

using zefa::msg_filter::EngineMessageManager;
using zefa::msg_filter::MessageManager;
using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;

namespace {

const char kFilterReportId[] = "Report_MessageFilter";
constexpr int kDefaultFeedChunk = 4096;

std::string host(const QString& text)
{
    return text.toLatin1().toStdString();
}

std::vector<std::string> hostList(const QStringList& items)
{
    std::vector<std::string> list;
    list.reserve(static_cast<std::size_t>(items.size()));
    for (const QString& item : items) {
        list.push_back(host(item));
    }
    return list;
}

void publish(zefa::pelno::PELNO_EVENT_OBJ& event, const char* category, const QString& action,
    const QString& implementation)
{
    event.header = { category, host(action), host(implementation) };
    zefa::pelno::PublishEvent(&event);
}

bool parseInt(const QString& text, int& value)
{
    bool ok = false;
    value = text.toInt(&ok, 10);
    return ok;
}

// The catalogue's type code of a severity word, 0 for an unknown word.
int catalogueType(const QString& severity)
{
    const QString word = severity.toLower();
    if (word == QLatin1String("error")) {
        return 1;
    }
    if (word == QLatin1String("warning")) {
        return 2;
    }
    if (word == QLatin1String("info")) {
        return 4;
    }
    if (word == QLatin1String("critical warning") || word == QLatin1String("critical-warning")) {
        return 8;
    }
    return 0;
}

QString wrongCount(const QString& command, const char* usage)
{
    return QStringLiteral("%1 expects: %2").arg(command, QLatin1String(usage));
}

} // namespace

QString messageText(MessageNode* node)
{
    const QString display = node->getMessageDisplayString();
    if (!display.isEmpty()) {
        return display;
    }
    return node->getMessageDynamicData().join(QLatin1Char(' ')).trimmed();
}

SessionReplay::SessionReplay(const QDir& sessionDirectory, QObject* parent)
    : QObject(parent)
    , m_sessionDirectory(sessionDirectory)
{
    connect(EngineMessageManager::instance(), &EngineMessageManager::sigMessagesOut, this,
        [this](const QString& line, int) { onPlainLine(line); });
}

SessionReplay::~SessionReplay() = default;

QString SessionReplay::path(const QString& name) const
{
    return QDir::cleanPath(m_sessionDirectory.absoluteFilePath(name));
}

bool SessionReplay::execute(const QString& line, QString& error)
{
    QVector<SessionWord> words;
    if (!splitSessionLine(line, words, error)) {
        return false;
    }
    if (words.isEmpty()) {
        return true;
    }
    const bool done = runCommand(line, words, error);
    // Handlers create message objects as tasks start; follow them from then on.
    watchNewObjects();
    return done;
}

bool SessionReplay::runCommand(
    const QString& line, const QVector<SessionWord>& words, QString& error)
{
    const QString& command = words.at(0).text;
    const int count = words.size() - 1;
    auto word = [&words](int index) { return words.at(index).text; };
    zefa::pelno::ZefaProjectManager* projects =
        zefa::pelno::ZefaProjectManager::getProjectManager();

    // --- the project as the host holds it (nothing is announced) ---
    if (command == QLatin1String("open-project")) {
        if (count != 1) {
            error = wrongCount(command, "open-project NAME");
            return false;
        }
        projects->openProject(host(word(1)));
        return true;
    }
    if (command == QLatin1String("add-implementation")) {
        if (count < 2 || count > 3) {
            error = wrongCount(command, "add-implementation TITLE DIRECTORY [FILTER_FILE]");
            return false;
        }
        if (projects->getProject() == nullptr) {
            error = QStringLiteral("no project is open (open-project first)");
            return false;
        }
        if (!m_implementations.contains(word(1))) {
            m_implementations.append(word(1));
        }
        // A host creates an implementation's report directory before the first run.
        const QString directory = path(word(2));
        if (!QDir().mkpath(directory)) {
            error = QStringLiteral("cannot create the directory %1").arg(directory);
            return false;
        }
        zefa::pelno::ZefaImplementation* implementation =
            projects->getProject()->addImplementation(host(word(1)), host(directory));
        if (count == 3) {
            implementation->setReportFileNames(kFilterReportId, { host(word(3)) });
        }
        return true;
    }
    if (command == QLatin1String("set-default")) {
        if (count != 1) {
            error = wrongCount(command, "set-default TITLE");
            return false;
        }
        if (projects->getProject() == nullptr) {
            error = QStringLiteral("no project is open (open-project first)");
            return false;
        }
        projects->getProject()->setDefaultImplementation(host(word(1)));
        return true;
    }
    if (command == QLatin1String("catalogue")) {
        if (count != 4) {
            error = wrongCount(command, "catalogue COMPONENT ID SEVERITY TEMPLATE");
            return false;
        }
        const int type = catalogueType(word(3));
        if (type == 0) {
            error = QStringLiteral("unknown severity \"%1\" (Error, Warning, Info or "
                                   "\"Critical Warning\")")
                        .arg(word(3));
            return false;
        }
        if (zefa::pelno::MsgCatalogue::instance().addEntry(
                host(word(1)), host(word(2)), type, host(word(4)))
            < 0) {
            error = QStringLiteral("the catalogue refused the entry (an empty id?)");
            return false;
        }
        return true;
    }

    // --- events, published on the bus as the host would ---
    if (command == QLatin1String("task")) {
        int status = 0;
        if (count < 2 || count > 3 || (count == 3 && !parseInt(word(3), status))) {
            error = wrongCount(command, "task ACTION IMPLEMENTATION [STATUS]");
            return false;
        }
        zefa::pelno::PELNO_TASK_EVENT_OBJ event;
        event.status_code = status;
        m_publishingFor = word(2);
        publish(event, "task", word(1), word(2));
        return true;
    }
    if (command == QLatin1String("process")) {
        if (count != 4) {
            error = wrongCount(command, "process ACTION IMPLEMENTATION MILESTONE TASK");
            return false;
        }
        zefa::pelno::PELNO_PROCESS_EVENT_OBJ event;
        event.milestone = host(word(3));
        event.task = host(word(4));
        // The store files messages under the task; filters are applied by milestone.
        if (word(1) == QLatin1String("started")) {
            m_milestones[word(2)].insert(word(4), word(3));
        }
        m_publishingFor = word(2);
        publish(event, "process", word(1), word(2));
        return true;
    }
    if (command == QLatin1String("engine")) {
        if (count != 4) {
            error = wrongCount(command, "engine ACTION IMPLEMENTATION TASK ENGINE");
            return false;
        }
        zefa::pelno::PELNO_ENGINE_EVENT_OBJ event;
        event.task = host(word(3));
        event.engine = host(word(4));
        // The end of an engine may hand over an unterminated last line.
        m_publishingFor = word(2);
        publish(event, "engine", word(1), word(2));
        return true;
    }
    if (command == QLatin1String("project")) {
        if (count < 1 || count > 2) {
            error = wrongCount(command, "project ACTION [IMPLEMENTATION]");
            return false;
        }
        zefa::pelno::PELNO_EVENT_OBJ event;
        publish(event, "project", word(1), count == 2 ? word(2) : QString());
        return true;
    }
    if (command == QLatin1String("implement")) {
        if (count != 2) {
            error = wrongCount(command, "implement ACTION IMPLEMENTATION");
            return false;
        }
        zefa::pelno::PELNO_EVENT_OBJ event;
        publish(event, "implement", word(1), word(2));
        return true;
    }

    // --- engine output ---
    if (command == QLatin1String("output")) {
        if (count < 1) {
            error = wrongCount(command, "output IMPLEMENTATION [TEXT]");
            return false;
        }
        // The text is the rest of the line as written, after one separating blank.
        const int start = words.at(1).end + 1;
        const QString text = start < line.size() ? line.mid(start) : QString();
        return publishOutput(word(1), text.toLatin1() + '\n');
    }
    if (command == QLatin1String("write")) {
        if (count != 2) {
            error = wrongCount(command, "write IMPLEMENTATION \"TEXT\"");
            return false;
        }
        return publishOutput(word(1), word(2).toLatin1());
    }
    if (command == QLatin1String("feed")) {
        int chunk = kDefaultFeedChunk;
        if (count < 2 || count > 3 || (count == 3 && (!parseInt(word(3), chunk) || chunk <= 0))) {
            error = wrongCount(command, "feed IMPLEMENTATION FILE [BYTES>0]");
            return false;
        }
        QFile file(path(word(2)));
        if (!file.open(QIODevice::ReadOnly)) {
            error = QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString());
            return false;
        }
        while (!file.atEnd()) {
            publishOutput(word(1), file.read(chunk));
        }
        return true;
    }

    // --- filters and the message log, through the implementation's message object ---
    if (command == QLatin1String("filter-save")) {
        return saveFilter(words, error);
    }
    if (command == QLatin1String("filter-activate") || command == QLatin1String("filter-delete")) {
        if (count != 2) {
            error = wrongCount(command, "filter-activate|filter-delete IMPLEMENTATION NAME");
            return false;
        }
        MessageObject* object = MessageManager::getInstance()->getObject(word(1));
        if (command == QLatin1String("filter-activate")) {
            object->setActiveFilter(word(2));
        } else {
            object->deleteFilter(word(2));
        }
        return true;
    }
    if (command == QLatin1String("log-open")) {
        if (count != 2) {
            error = wrongCount(command, "log-open IMPLEMENTATION FILE");
            return false;
        }
        const QString file = path(word(2));
        if (!QDir().mkpath(QFileInfo(file).path())) {
            error = QStringLiteral("cannot create the directory of %1").arg(file);
            return false;
        }
        // A log that does not exist yet is fine: it names the file that log-save writes.
        m_loadingLog = true;
        MessageManager::getInstance()->getObject(word(1))->loadProcessMessages(file);
        m_loadingLog = false;
        m_logFiles.insert(word(1), file);
        return true;
    }
    if (command == QLatin1String("log-save")) {
        if (count != 1) {
            error = wrongCount(command, "log-save IMPLEMENTATION");
            return false;
        }
        if (!m_logFiles.contains(word(1))) {
            error = QStringLiteral("%1 has no message log (log-open it first)").arg(word(1));
            return false;
        }
        MessageManager::getInstance()->getObject(word(1))->saveProcessMessages();
        if (!QFileInfo::exists(m_logFiles.value(word(1)))) {
            error =
                QStringLiteral("the message log %1 was not written").arg(m_logFiles.value(word(1)));
            return false;
        }
        return true;
    }

    error = QStringLiteral("unknown command \"%1\"").arg(command);
    return false;
}

bool SessionReplay::publishOutput(const QString& implementation, const QByteArray& text)
{
    zefa::pelno::PELNO_MESSAGE_EVENT_OBJ event;
    event.message_kind = 6;
    event.message = text.toStdString();
    m_publishingFor = implementation;
    publish(event, "Message", QStringLiteral("output"), implementation);
    return true;
}

bool SessionReplay::saveFilter(const QVector<SessionWord>& words, QString& error)
{
    if (words.size() < 3) {
        error = QStringLiteral("filter-save expects: filter-save IMPLEMENTATION NAME [ids=A,B] "
                               "[severities=S,T] [milestones=M,N] [hide=TEXT]...");
        return false;
    }
    MessageObject* object = MessageManager::getInstance()->getObject(words.at(1).text);
    QStringList ids;
    QStringList severities;
    QStringList milestones;
    QVector<MessageNode*> hidden;
    for (int index = 3; index < words.size(); ++index) {
        const QString& option = words.at(index).text;
        const int equals = option.indexOf(QLatin1Char('='));
        const QString key = option.left(equals);
        const QString value = equals < 0 ? QString() : option.mid(equals + 1);
        const QStringList list = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
        if (equals < 0) {
            error = QStringLiteral("\"%1\" is not KEY=VALUE").arg(option);
            return false;
        }
        if (key == QLatin1String("ids")) {
            ids += list;
        } else if (key == QLatin1String("severities")) {
            severities += list;
        } else if (key == QLatin1String("milestones")) {
            milestones += list;
        } else if (key == QLatin1String("hide")) {
            // Hides the messages stored so far whose text holds VALUE, each with its own
            // arguments, in the process it was recorded in.
            int found = 0;
            QVector<MessageNode*> nodes = object->reloadAllMessages();
            std::stable_sort(nodes.begin(), nodes.end(), [this](MessageNode* a, MessageNode* b) {
                return m_nodeSequence.value(a) < m_nodeSequence.value(b);
            });
            for (MessageNode* node : nodes) {
                if (!value.isEmpty() && messageText(node).contains(value)) {
                    hidden.append(node);
                    ++found;
                }
            }
            if (found == 0) {
                error = QStringLiteral("no stored message of %1 holds \"%2\"")
                            .arg(words.at(1).text, value);
                return false;
            }
        } else {
            error = QStringLiteral("unknown filter option \"%1\" (ids, severities, milestones, "
                                   "hide)")
                        .arg(key);
            return false;
        }
    }
    object->saveFilter(words.at(2).text, ids, milestones, severities, hidden);
    return true;
}

void SessionReplay::watchNewObjects()
{
    MessageManager* store = MessageManager::getInstance();
    QStringList names = store->getObjectNames();
    names.sort();
    for (const QString& name : qAsConst(names)) {
        MessageObject* object = store->getObject(name);
        if (m_watched.contains(object)) {
            continue;
        }
        m_watched.insert(object);
        if (!m_implementations.contains(name)) {
            m_implementations.append(name);
        }
        connect(object, &MessageObject::sigMessageAppended, this, [this, name](MessageNode* node) {
            m_nodeSequence.insert(node, ++m_sequence);
            noteProcess(name, node->getMessageProcess());
        });
        // A restarted process starts afresh in the view: its plain lines go with its
        // stored messages. A log load replaces messages, not the running process.
        connect(object, &MessageObject::sigMessageBufferUpdated, this, [this, name, object] {
            if (m_loadingLog) {
                return;
            }
            const QString process = object->getCurrentProcess();
            m_plainLines.erase(std::remove_if(m_plainLines.begin(), m_plainLines.end(),
                                   [&](const PlainLine& plain) {
                                       return plain.implementation == name
                                           && plain.process == process;
                                   }),
                m_plainLines.end());
        });
    }
}

void SessionReplay::onPlainLine(const QString& line)
{
    const QString process =
        MessageManager::getInstance()->getObject(m_publishingFor)->getCurrentProcess();
    m_plainLines.append({ m_publishingFor, process, line, ++m_sequence });
    noteProcess(m_publishingFor, process);
}

void SessionReplay::noteProcess(const QString& implementation, const QString& process)
{
    QStringList& order = m_processOrder[implementation];
    if (!order.contains(process)) {
        order.append(process);
    }
}

QVector<SessionReplay::ProcessReport> SessionReplay::buildReport()
{
    watchNewObjects();
    MessageManager* store = MessageManager::getInstance();
    const QString wasActive = store->getActiveObjectName();
    zefa::pelno::MsgCatalogue& catalogue = zefa::pelno::MsgCatalogue::instance();

    QVector<ProcessReport> report;
    for (const QString& implementation : qAsConst(m_implementations)) {
        if (!store->getObjectNames().contains(implementation)) {
            continue;
        }
        MessageObject* object = store->getObject(implementation);
        // Within a process, in arrival order; messages read from a log file came before
        // anything of this run.
        std::map<QString, QVector<Entry>> byProcess;
        for (MessageNode* node : object->reloadAllMessages()) {
            byProcess[node->getMessageProcess()].append(
                { m_nodeSequence.value(node), node, {}, true });
        }
        for (const PlainLine& plain : qAsConst(m_plainLines)) {
            if (plain.implementation == implementation) {
                byProcess[plain.process].append({ plain.sequence, nullptr, plain.text, true });
            }
        }
        QVector<ProcessReport> processes;
        for (auto& [process, entries] : byProcess) {
            std::stable_sort(entries.begin(), entries.end(),
                [](const Entry& a, const Entry& b) { return a.sequence < b.sequence; });
            processes.append({ implementation, process, entries });
        }
        // Processes in the order they first showed something in this run; those known
        // only from a log file go first, by name (they are from an earlier run).
        const QStringList order = m_processOrder.value(implementation);
        std::stable_sort(processes.begin(), processes.end(),
            [&order](const ProcessReport& a, const ProcessReport& b) {
                return order.indexOf(a.process) < order.indexOf(b.process);
            });

        // What the view shows for a process is decided by the implementation's active
        // filter applied as that process starts: by its milestone, like the engine side.
        store->setActiveObject(implementation);
        const QHash<QString, QString> milestones = m_milestones.value(implementation);
        for (ProcessReport& process : processes) {
            object->setFilterProcess(milestones.value(process.process, process.process));
            for (Entry& entry : process.entries) {
                if (entry.node != nullptr) {
                    entry.visible = catalogue.isVisible(host(entry.node->getMessageID()),
                        hostList(entry.node->getMessageDynamicData()));
                }
            }
            report.append(process);
        }
    }
    if (!wasActive.isEmpty()) {
        store->setActiveObject(wasActive);
    }
    return report;
}

namespace {

struct Counts {
    int error = 0;
    int warning = 0;
    int info = 0;
    int other = 0;
    int plain = 0;
    int hidden = 0;

    void add(const Counts& more)
    {
        error += more.error;
        warning += more.warning;
        info += more.info;
        other += more.other;
        plain += more.plain;
        hidden += more.hidden;
    }
};

template <class Report> Counts countsOf(const Report& process)
{
    Counts counts;
    for (const auto& entry : process.entries) {
        if (entry.node == nullptr) {
            ++counts.plain;
            continue;
        }
        const QString severity = entry.node->getMessageSeverity().toLower();
        if (severity == QLatin1String("error")) {
            ++counts.error;
        } else if (severity == QLatin1String("warning")) {
            ++counts.warning;
        } else if (severity == QLatin1String("info")) {
            ++counts.info;
        } else {
            ++counts.other;
        }
        if (!entry.visible) {
            ++counts.hidden;
        }
    }
    return counts;
}

QJsonArray jsonList(const QStringList& items)
{
    QJsonArray array;
    for (const QString& item : items) {
        array.append(item);
    }
    return array;
}

QJsonObject jsonCounts(const Counts& counts)
{
    return QJsonObject { { QStringLiteral("Error"), counts.error },
        { QStringLiteral("Warning"), counts.warning }, { QStringLiteral("Info"), counts.info },
        { QStringLiteral("other"), counts.other }, { QStringLiteral("plain"), counts.plain },
        { QStringLiteral("hidden"), counts.hidden } };
}

} // namespace

void SessionReplay::writeText(QTextStream& out, bool color)
{
    const QVector<ProcessReport> report = buildReport();
    int idWidth = 4;
    for (const ProcessReport& process : report) {
        for (const Entry& entry : process.entries) {
            if (entry.node != nullptr && entry.visible) {
                idWidth = std::max(idWidth, static_cast<int>(entry.node->getMessageID().size()));
            }
        }
    }

    QString implementation;
    for (const ProcessReport& process : report) {
        if (process.implementation != implementation) {
            implementation = process.implementation;
            out << implementation << '\n';
        }
        out << "  " << process.process << '\n';
        for (const Entry& entry : process.entries) {
            if (entry.node == nullptr) {
                out << "    " << QString(8 + 1 + idWidth + 2, QLatin1Char(' ')) << entry.plain
                    << '\n';
            } else if (entry.visible) {
                const QString severityWord = entry.node->getMessageSeverity();
                Severity severity = Severity::None;
                parseSeverity(severityWord, severity);
                out << "    " << colored(severityWord.leftJustified(8), severity, color) << ' '
                    << entry.node->getMessageID().leftJustified(idWidth) << "  "
                    << messageText(entry.node) << '\n';
            }
        }
    }

    out << '\n' << "Summary";
    const int nameWidth = 24;
    out << QString(nameWidth - 7, QLatin1Char(' '))
        << QStringLiteral("  Error Warning   Info  Other  Plain Hidden\n");
    auto row = [&out](const QString& name, const Counts& counts) {
        out << name.leftJustified(nameWidth) << QStringLiteral("%1").arg(counts.error, 7)
            << QStringLiteral("%1").arg(counts.warning, 8)
            << QStringLiteral("%1").arg(counts.info, 7) << QStringLiteral("%1").arg(counts.other, 7)
            << QStringLiteral("%1").arg(counts.plain, 7)
            << QStringLiteral("%1").arg(counts.hidden, 7) << '\n';
    };
    Counts total;
    for (const ProcessReport& process : report) {
        const Counts counts = countsOf(process);
        total.add(counts);
        row(process.implementation + QStringLiteral(" / ") + process.process, counts);
    }
    row(QStringLiteral("total"), total);
    out.flush();
}

void SessionReplay::writeJsonLines(QTextStream& out)
{
    const QVector<ProcessReport> report = buildReport();
    auto line = [&out](const QJsonObject& object) {
        out << QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) << '\n';
    };
    Counts total;
    for (const ProcessReport& process : report) {
        for (const Entry& entry : process.entries) {
            QJsonObject object { { QStringLiteral("implementation"), process.implementation },
                { QStringLiteral("process"), process.process } };
            if (entry.node == nullptr) {
                object.insert(QStringLiteral("kind"), QStringLiteral("plain"));
                object.insert(QStringLiteral("text"), entry.plain);
            } else if (entry.visible) {
                object.insert(QStringLiteral("kind"), QStringLiteral("message"));
                object.insert(QStringLiteral("severity"), entry.node->getMessageSeverity());
                object.insert(QStringLiteral("id"), entry.node->getMessageID());
                object.insert(QStringLiteral("text"), messageText(entry.node));
                object.insert(
                    QStringLiteral("dynamic"), jsonList(entry.node->getMessageDynamicData()));
                object.insert(
                    QStringLiteral("navigation"), jsonList(entry.node->getMessageNavigationData()));
            } else {
                continue;
            }
            line(object);
        }
    }
    for (const ProcessReport& process : report) {
        const Counts counts = countsOf(process);
        total.add(counts);
        QJsonObject object = jsonCounts(counts);
        object.insert(QStringLiteral("kind"), QStringLiteral("summary"));
        object.insert(QStringLiteral("implementation"), process.implementation);
        object.insert(QStringLiteral("process"), process.process);
        line(object);
    }
    QJsonObject object = jsonCounts(total);
    object.insert(QStringLiteral("kind"), QStringLiteral("total"));
    line(object);
    out.flush();
}

bool SessionReplay::addToReport(HtmlReport& page)
{
    bool hidden = false;
    for (const ProcessReport& process : buildReport()) {
        for (const Entry& entry : process.entries) {
            if (entry.node == nullptr) {
                continue;
            }
            ReportMessage message;
            message.severity = entry.node->getMessageSeverity();
            message.id = entry.node->getMessageID();
            message.text = messageText(entry.node);
            // A message points to a place when its navigation arguments start with a
            // file and a line; those of an older-format line are the rule's fields,
            // which may be a tag or a text instead.
            const QStringList navigation = entry.node->getMessageNavigationData();
            bool isLine = false;
            const long long line = navigation.value(1).toLongLong(&isLine);
            if (isLine && line > 0) {
                message.sourceFile = navigation.value(0);
                message.sourceLine = line;
            }
            message.origin = process.implementation + QStringLiteral(" / ") + process.process;
            message.state = entry.visible ? QString() : QStringLiteral("waived");
            hidden = hidden || !entry.visible;
            page.add(message);
        }
    }
    return hidden;
}

} // namespace zefa::msg_filter::tool
