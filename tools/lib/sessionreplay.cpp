#include "sessionreplay.h"

#include "common/severity.h"
#include "hostevents.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <map>
#include <optional>
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

bool parseInt(const QString& text, int& value)
{
    bool ok = false;
    value = text.toInt(&ok, 10);
    return ok;
}

// The catalogue's type code of a severity word in any case, "critical-warning" written
// with a hyphen too; 0 for an unknown word.
int catalogueType(const QString& word)
{
    const std::optional<impl_detail::Severity> severity =
        impl_detail::severityOfWord(QString(word).replace(QLatin1Char('-'), QLatin1Char(' ')));
    return severity ? impl_detail::typeCode(*severity) : 0;
}

} // namespace

/// One session line being carried out by its command.
struct SessionReplay::Call {
    const Command& command;
    const QString& line;
    const QVector<SessionWord>& words;
    QString& error;

    int count() const { return words.size() - 1; }
    const QString& word(int index) const { return words.at(index).text; }
    std::string hostWord(int index) const { return host(word(index)); }

    bool fail(const QString& reason) const
    {
        error = reason;
        return false;
    }
    // The project the line works on; null, with the reason, when none is open.
    zefa::pelno::ZefaProject* openProject() const
    {
        zefa::pelno::ZefaProject* project =
            zefa::pelno::ZefaProjectManager::getProjectManager()->getProject();
        if (project == nullptr) {
            fail(QStringLiteral("no project is open (open-project first)"));
        }
        return project;
    }
    // The line does not fit the command: say what it expects.
    bool usage() const
    {
        return fail(QStringLiteral("%1 expects: %2").arg(word(0), QLatin1String(command.usage)));
    }
};

const QVector<SessionReplay::Command>& SessionReplay::commands()
{
    // The project as the host holds it (nothing is announced), events published on the
    // bus as the host would, engine output, then filters and the message log through
    // the implementation's message object.
    static const QVector<Command> table {
        { "open-project", "open-project NAME", 1, 1, &SessionReplay::openProject },
        { "add-implementation", "add-implementation TITLE DIRECTORY [FILTER_FILE]", 2, 3,
            &SessionReplay::addImplementation },
        { "set-default", "set-default TITLE", 1, 1, &SessionReplay::setDefault },
        { "catalogue", "catalogue COMPONENT ID SEVERITY TEMPLATE", 4, 4,
            &SessionReplay::addCatalogueEntry },
        { "task", "task ACTION IMPLEMENTATION [STATUS]", 2, 3, &SessionReplay::publishTask },
        { "process", "process ACTION IMPLEMENTATION MILESTONE TASK", 4, 4,
            &SessionReplay::publishProcess },
        { "engine", "engine ACTION IMPLEMENTATION TASK ENGINE", 4, 4,
            &SessionReplay::publishEngine },
        { "project", "project ACTION [IMPLEMENTATION]", 1, 2, &SessionReplay::publishProject },
        { "implement", "implement ACTION IMPLEMENTATION", 2, 2, &SessionReplay::publishImplement },
        { "output", "output IMPLEMENTATION [TEXT]", 1, -1, &SessionReplay::output },
        { "write", "write IMPLEMENTATION \"TEXT\"", 2, 2, &SessionReplay::write },
        { "feed", "feed IMPLEMENTATION FILE [BYTES>0]", 2, 3, &SessionReplay::feed },
        { "filter-save",
            "filter-save IMPLEMENTATION NAME [ids=A,B] [severities=S,T] [milestones=M,N] "
            "[hide=TEXT]...",
            2, -1, &SessionReplay::saveFilter },
        { "filter-activate", "filter-activate|filter-delete IMPLEMENTATION NAME", 2, 2,
            &SessionReplay::activateFilter },
        { "filter-delete", "filter-activate|filter-delete IMPLEMENTATION NAME", 2, 2,
            &SessionReplay::deleteFilter },
        { "log-open", "log-open IMPLEMENTATION FILE", 2, 2, &SessionReplay::openLog },
        { "log-save", "log-save IMPLEMENTATION", 1, 1, &SessionReplay::saveLog },
    };
    return table;
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

bool SessionReplay::executeAll(QIODevice& session, int& lineNumber, QString& error)
{
    lineNumber = 0;
    while (!session.atEnd()) {
        ++lineNumber;
        QString line = QString::fromLatin1(session.readLine());
        if (line.endsWith(QLatin1Char('\n'))) {
            line.chop(1);
        }
        if (!execute(line, error)) {
            return false;
        }
    }
    return true;
}

bool SessionReplay::runCommand(
    const QString& line, const QVector<SessionWord>& words, QString& error)
{
    const QString& name = words.at(0).text;
    for (const Command& command : commands()) {
        if (name != QLatin1String(command.name)) {
            continue;
        }
        const Call call { command, line, words, error };
        if (call.count() < command.minArguments
            || (command.maxArguments >= 0 && call.count() > command.maxArguments)) {
            return call.usage();
        }
        return (this->*command.run)(call);
    }
    error = QStringLiteral("unknown command \"%1\"").arg(name);
    return false;
}

bool SessionReplay::openProject(const Call& call)
{
    zefa::pelno::ZefaProjectManager::getProjectManager()->openProject(call.hostWord(1));
    return true;
}

bool SessionReplay::addImplementation(const Call& call)
{
    zefa::pelno::ZefaProject* project = call.openProject();
    if (project == nullptr) {
        return false;
    }
    if (!m_implementations.contains(call.word(1))) {
        m_implementations.append(call.word(1));
    }
    // A host creates an implementation's report directory before the first run.
    const QString directory = path(call.word(2));
    if (!QDir().mkpath(directory)) {
        return call.fail(QStringLiteral("cannot create the directory %1").arg(directory));
    }
    zefa::pelno::ZefaImplementation* implementation =
        project->addImplementation(call.hostWord(1), host(directory));
    if (call.count() == 3) {
        implementation->setReportFileNames(kFilterReportId, { call.hostWord(3) });
    }
    return true;
}

bool SessionReplay::setDefault(const Call& call)
{
    zefa::pelno::ZefaProject* project = call.openProject();
    if (project == nullptr) {
        return false;
    }
    project->setDefaultImplementation(call.hostWord(1));
    return true;
}

bool SessionReplay::addCatalogueEntry(const Call& call)
{
    const int type = catalogueType(call.word(3));
    if (type == 0) {
        return call.fail(QStringLiteral("unknown severity \"%1\" (Error, Warning, Info or "
                                        "\"Critical Warning\")")
                             .arg(call.word(3)));
    }
    if (zefa::pelno::MsgCatalogue::instance().addEntry(
            call.hostWord(1), call.hostWord(2), type, call.hostWord(4))
        < 0) {
        return call.fail(QStringLiteral("the catalogue refused the entry (an empty id?)"));
    }
    return true;
}

bool SessionReplay::publishTask(const Call& call)
{
    int status = 0;
    if (call.count() == 3 && !parseInt(call.word(3), status)) {
        return call.usage();
    }
    m_publishingFor = call.word(2);
    publishHostEvent("task", call.hostWord(1), call.hostWord(2), std::to_string(status));
    return true;
}

bool SessionReplay::publishProcess(const Call& call)
{
    // The store files messages under the task; filters are applied by milestone.
    if (call.word(1) == QLatin1String("started")) {
        m_milestones[call.word(2)].insert(call.word(4), call.word(3));
    }
    m_publishingFor = call.word(2);
    publishHostEvent(
        "process", call.hostWord(1), call.hostWord(2), call.hostWord(3), call.hostWord(4));
    return true;
}

bool SessionReplay::publishEngine(const Call& call)
{
    // The end of an engine may hand over an unterminated last line.
    m_publishingFor = call.word(2);
    publishHostEvent(
        "engine", call.hostWord(1), call.hostWord(2), call.hostWord(3), call.hostWord(4));
    return true;
}

bool SessionReplay::publishProject(const Call& call)
{
    publishHostEvent("project", call.hostWord(1), call.count() == 2 ? call.hostWord(2) : "");
    return true;
}

bool SessionReplay::publishImplement(const Call& call)
{
    publishHostEvent("implement", call.hostWord(1), call.hostWord(2));
    return true;
}

bool SessionReplay::output(const Call& call)
{
    // The text is the rest of the line as written, after one separating blank.
    const int start = call.words.at(1).end + 1;
    const QString text = start < call.line.size() ? call.line.mid(start) : QString();
    return publishOutput(call.word(1), text.toLatin1() + '\n');
}

bool SessionReplay::write(const Call& call)
{
    return publishOutput(call.word(1), call.word(2).toLatin1());
}

bool SessionReplay::feed(const Call& call)
{
    int chunk = kDefaultFeedChunk;
    if (call.count() == 3 && (!parseInt(call.word(3), chunk) || chunk <= 0)) {
        return call.usage();
    }
    QFile file(path(call.word(2)));
    if (!file.open(QIODevice::ReadOnly)) {
        return call.fail(
            QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
    }
    while (!file.atEnd()) {
        publishOutput(call.word(1), file.read(chunk));
    }
    return true;
}

bool SessionReplay::publishOutput(const QString& implementation, const QByteArray& text)
{
    m_publishingFor = implementation;
    publishHostEvent("Message", "output", host(implementation), "6", text.toStdString());
    return true;
}

bool SessionReplay::saveFilter(const Call& call)
{
    MessageObject* object = MessageManager::getInstance()->getObject(call.word(1));
    QStringList ids;
    QStringList severities;
    QStringList milestones;
    QVector<MessageNode*> hidden;
    for (int index = 3; index < call.words.size(); ++index) {
        const QString& option = call.word(index);
        const int equals = option.indexOf(QLatin1Char('='));
        const QString key = option.left(equals);
        const QString value = equals < 0 ? QString() : option.mid(equals + 1);
        const QStringList list = value.split(QLatin1Char(','), Qt::SkipEmptyParts);
        if (equals < 0) {
            return call.fail(QStringLiteral("\"%1\" is not KEY=VALUE").arg(option));
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
                return call.fail(QStringLiteral("no stored message of %1 holds \"%2\"")
                                     .arg(call.word(1), value));
            }
        } else {
            return call.fail(QStringLiteral("unknown filter option \"%1\" (ids, severities, "
                                            "milestones, hide)")
                                 .arg(key));
        }
    }
    object->saveFilter(call.word(2), ids, milestones, severities, hidden);
    return true;
}

bool SessionReplay::activateFilter(const Call& call)
{
    MessageManager::getInstance()->getObject(call.word(1))->setActiveFilter(call.word(2));
    return true;
}

bool SessionReplay::deleteFilter(const Call& call)
{
    MessageManager::getInstance()->getObject(call.word(1))->deleteFilter(call.word(2));
    return true;
}

bool SessionReplay::openLog(const Call& call)
{
    const QString file = path(call.word(2));
    if (!QDir().mkpath(QFileInfo(file).path())) {
        return call.fail(QStringLiteral("cannot create the directory of %1").arg(file));
    }
    // A log that does not exist yet is fine: it names the file that log-save writes.
    m_loadingLog = true;
    MessageManager::getInstance()->getObject(call.word(1))->loadProcessMessages(file);
    m_loadingLog = false;
    m_logFiles.insert(call.word(1), file);
    return true;
}

bool SessionReplay::saveLog(const Call& call)
{
    if (!m_logFiles.contains(call.word(1))) {
        return call.fail(
            QStringLiteral("%1 has no message log (log-open it first)").arg(call.word(1)));
    }
    MessageManager::getInstance()->getObject(call.word(1))->saveProcessMessages();
    if (!QFileInfo::exists(m_logFiles.value(call.word(1)))) {
        return call.fail(QStringLiteral("the message log %1 was not written")
                             .arg(m_logFiles.value(call.word(1))));
    }
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

SessionReport SessionReplay::report()
{
    watchNewObjects();
    MessageManager* store = MessageManager::getInstance();
    const QString wasActive = store->getActiveObjectName();
    zefa::pelno::MsgCatalogue& catalogue = zefa::pelno::MsgCatalogue::instance();

    SessionReport report;
    for (const QString& implementation : qAsConst(m_implementations)) {
        if (!store->getObjectNames().contains(implementation)) {
            continue;
        }
        MessageObject* object = store->getObject(implementation);
        // Within a process, in arrival order; messages read from a log file came before
        // anything of this run.
        std::map<QString, QVector<SessionEntry>> byProcess;
        for (MessageNode* node : object->reloadAllMessages()) {
            byProcess[node->getMessageProcess()].append(
                { m_nodeSequence.value(node), node, {}, true });
        }
        for (const PlainLine& plain : qAsConst(m_plainLines)) {
            if (plain.implementation == implementation) {
                byProcess[plain.process].append({ plain.sequence, nullptr, plain.text, true });
            }
        }
        QVector<SessionProcess> processes;
        for (auto& [process, entries] : byProcess) {
            std::stable_sort(
                entries.begin(), entries.end(), [](const SessionEntry& a, const SessionEntry& b) {
                    return a.sequence < b.sequence;
                });
            processes.append({ implementation, process, entries });
        }
        // Processes in the order they first showed something in this run; those known
        // only from a log file go first, by name (they are from an earlier run).
        const QStringList order = m_processOrder.value(implementation);
        std::stable_sort(processes.begin(), processes.end(),
            [&order](const SessionProcess& a, const SessionProcess& b) {
                return order.indexOf(a.process) < order.indexOf(b.process);
            });

        // What the view shows for a process is decided by the implementation's active
        // filter applied as that process starts: by its milestone, like the engine side.
        store->setActiveObject(implementation);
        const QHash<QString, QString> milestones = m_milestones.value(implementation);
        for (SessionProcess& process : processes) {
            object->setFilterProcess(milestones.value(process.process, process.process));
            for (SessionEntry& entry : process.entries) {
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

} // namespace zefa::msg_filter::tool
