#include "storetestsupport.h"

#include <msgfilter/messagemanager.h>

#include <QSignalSpy>
#include <QXmlStreamReader>

#include <csignal>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using zefa::msg_filter::MessageManager;

namespace {

const std::string kReset = "enableMsgType(15) enableMsg(null) ";
const char* const kAppended = SIGNAL(sigMessageAppended(zefa::msg_filter::MessageNode*));

TEST_F(StoreTest, NodesTrimTheirTextAndAskTheCatalogueOncePerList)
{
    catalogue().addEntry("synth", "NODE-1", 2, "  net %1 \n");
    MessageNode text(q("NODE-1"), q("Warning"), q("synth"), list("clk"), list("top.v:3"));
    MessageNode tool(42, q("TOOL-3"), q("Info"), q("Tool"), q("\t started \n"));
    EXPECT_EQ(describe(&text) + describe(&tool),
        "NODE-1 [Warning] @synth (clk) (top.v:3)TOOL-3 [Info] @Tool () ()");
    catalogue().setMessageInfo(42, { "a" }, { "top.v" });
    EXPECT_EQ(describe(&tool), "TOOL-3 [Info] @Tool () ()"); // an empty answer is kept too
    EXPECT_EQ(journal().size(), 3u); // one display string, one query per list
    EXPECT_EQ(text.getMessageDisplayString() + tool.getMessageDisplayString(), q("net clkstarted"));
}

TEST_F(StoreTest, PostMessageResolvesTheKeyAndOverridesTheTypeOfADifferentWord)
{
    // Posts SYN-12, a warning, and checks the catalogue calls, which always come in this
    // order, and the stored message. `key` "$" is the catalogue number of synth/SYN-12;
    // `typeSet` 0 means no setMsgType call.
    const auto post = [](const char* component, const char* id, const char* severity, bool active,
                          const char* key, int typeSet, const char* stored) {
        SCOPED_TRACE(std::string(component) + "/" + id + " " + (severity ? severity : "-"));
        catalogue().reset();
        const int number = catalogue().addEntry("synth", "SYN-12", 2, "%1");
        const QString keyText = *key == '$' ? QString::number(number) : q(key);
        const std::string k = keyText.toLatin1().toStdString();
        MessageObject object;
        object.setObjectActive(active);
        clearJournal();
        object.postMessage(
            q(component), q(id), severity ? q(severity) : QString(), list("a"), list("n"));
        EXPECT_EQ(journal(),
            calls((*component ? "getMsgMID(" + std::string(component) + ",SYN-12) " : "")
                + "queryMsgType(" + k + ") "
                + (typeSet ? "setMsgType(" + k + "," + std::to_string(typeSet) + ") " : "")
                + (active ? "postMsg(" + k + ",[a],[n],0) " : "") + "queryMsgDisplayString(" + k
                + ",[a])"));
        EXPECT_EQ(
            contents(object), Lines { keyText.toStdString() + " [" + stored + "] @Tool (a) (n)" });
    };
    post("", "SYN-12", nullptr, true, "SYN-12", 0, "Warning");
    post("synth", "SYN-12", nullptr, true, "$", 0, "Warning");
    post("nosuch", "SYN-12", nullptr, true, "-1", 0, "");
    post("", "SYN-12", "Warning", true, "SYN-12", 0, "Warning");
    post("", "SYN-12", "", true, "SYN-12", 0, "Warning");
    post("", "SYN-12", "ERROR", true, "SYN-12", 1, "ERROR");
    post("", "SYN-12", "warning", true, "SYN-12", 2, "warning");
    post("synth", "SYN-12", "iNFO", true, "$", 4, "iNFO");
    post("", "SYN-12", "Fatal", true, "SYN-12", 0, "Fatal");
    post("", "SYN-12", "Error", false, "SYN-12", 1, "Error");
    post("", "\u03a9-1\u00e9", nullptr, true, "?-1\u00e9", 0, "");
}

TEST_F(StoreTest, AppendMessageRecordsToolMessagesOfTheActiveObjectOnly)
{
    // A null `severity`: nothing is recorded.
    const auto append = [](bool active, const char* process, int number, int type,
                            const char* severity) {
        SCOPED_TRACE(testing::Message() << type << process << number << active);
        MessageObject object;
        object.setObjectActive(active);
        object.setCurrentProcess(q(process));
        QSignalSpy appended(&object, kAppended);
        object.appendMessage(number, q("TOOL-1"), type, q("shown"));
        EXPECT_EQ(contents(object),
            severity ? Lines { "TOOL-1 [" + std::string(severity) + "] @Tool () ()" } : Lines {});
        EXPECT_EQ(appended.count(), severity ? 1 : 0);
    };
    append(true, "", 7, 4, "Info");
    append(true, "Tool", 7, 2, "Warning");
    for (int error : { 1, 17, 33, 65 })
        append(true, "Tool", 7, error, "Error");
    append(true, "Tool", 7, 8, "");
    append(true, "Tool", 7, 3, "");
    append(false, "Tool", 7, 4, nullptr);
    append(true, "synth", 7, 4, nullptr);
    append(true, "Tool", -1, 4, nullptr);
}

TEST_F(StoreTest, FilterEditsAreSavedAndAppliedForTheCurrentProcessWhileActive)
{
    MessageObject object;
    object.setCurrentProcess(q("synth"));
    object.postMessage(QString(), q("9991"), list("x"), list("lost"));
    debugLines([&] { object.loadAllFilters(path("filters.xml")); }); // missing: keeps the path
    clearJournal();
    object.saveFilter(
        q("f"), list("SYN-1"), list("place"), list("Info"), object.reloadAllMessages());
    object.setActiveFilter(q("f"));
    object.setFilterProcess(q("synth"));
    EXPECT_TRUE(journal().empty());
    EXPECT_TRUE(readAll(path("filters.xml")).contains("<Filter name=\"f\" active=\"\">"));
    QStringList ids, milestones, severities;
    QVector<MessageNode*> messages;
    object.getFilter(q("f"), ids, milestones, severities, messages);
    object.getFilter(q("unknown"), ids, milestones, severities, messages);
    EXPECT_EQ((QList<QStringList> { ids, milestones, severities }),
        (QList<QStringList> { list("SYN-1"), list("place"), list("Info") }));
    EXPECT_EQ(messages, object.reloadAllMessages());

    const std::string general =
        kReset + "queryMsgType(SYN-1) disableMsg(SYN-1,0) disableMsgType(4) ";
    const std::string forSynth = general + "disableMsg(9991,[x]) enableMsgType(1) ",
                      forTool = general + "enableMsgType(1) ";
    object.setObjectActive(true); // for synth
    object.setFilterProcess(QString()); // for Tool, which does not become the current process
    object.setActiveFilter(q("f")); // for synth
    object.setCurrentProcess(QString()); // nothing
    object.setObjectActive(true); // for Tool
    object.deleteFilter(q("g")); // for Tool: the active filter stays
    object.deleteFilter(q("f")); // nothing left to filter
    EXPECT_EQ(journal(), calls(forSynth + forTool + forSynth + forTool + forTool + kReset));
    EXPECT_TRUE(object.getActiveFilterName().isEmpty());
}

TEST_F(StoreTest, RefreshForgetsTheCurrentProcessAndTheLogLeavesToolMessagesOut)
{
    MessageObject object;
    object.postMessage(QString(), q("T1"), {}, {});
    object.setCurrentProcess(q("synth"));
    QSignalSpy appended(&object, kAppended);
    object.postMessage(QString(), q("S1"), {}, {});
    QSignalSpy updated(&object, SIGNAL(sigMessageBufferUpdated()));
    object.refreshCurrentProcessMessages();
    object.postMessage(QString(), q("S2"), {}, {});
    EXPECT_EQ(updated.count(), 1);
    EXPECT_EQ(describe(appended[0][0].value<MessageNode*>()), "S1 [] @synth () ()"); // readable
    debugLines([&] { object.loadProcessMessages(path("log.xml")); }); // missing: keeps the path
    object.saveProcessMessages();
    EXPECT_EQ(contents(object), (Lines { "T1 [] @Tool () ()", "S2 [] @synth () ()" }));
    MessageObject reread;
    reread.loadProcessMessages(path("log.xml"));
    EXPECT_EQ(contents(reread), Lines { "S2 [] @synth () ()" });
}

TEST_F(StoreTest, ManagerKeepsOneActiveObjectAndHandsToolMessagesToIt)
{
    MessageManager manager;
    const auto toolMessage = [&] { manager.appendMessage(5, q("TOOL-1"), 4, q("text")); };
    manager.setActiveObject(QString()); // already the active name
    toolMessage();
    EXPECT_TRUE(manager.getObjectNames().isEmpty());
    MessageObject* a = manager.getObject(q("a"));
    manager.setActiveObject(q("b"));
    MessageObject* b = manager.getObject(q("b"));
    toolMessage();
    manager.setActiveObject(q("a"));
    EXPECT_TRUE(manager.getObject(q("a")) == a && a->isObjectActive() && !b->isObjectActive());
    // The same name again changes nothing, even after the object was switched off directly.
    a->setObjectActive(false);
    manager.setActiveObject(q("a"));
    EXPECT_FALSE(a->isObjectActive());
    EXPECT_EQ(journal(), calls(kReset + kReset)); // only the activated objects applied filters
    EXPECT_EQ(contents(*b), Lines { "TOOL-1 [Info] @Tool () ()" });

    // The active name outlives its object while others remain; a message then reaches a
    // fresh, inactive object, which drops it.
    manager.clearOneObject(q("a"));
    toolMessage();
    EXPECT_EQ(manager.getActiveObjectName().toStdString(), "a");
    EXPECT_TRUE(contents(*manager.getObject(q("a"))).empty());
    manager.clearOneObject(q("b"));
    manager.clearOneObject(q("a"));
    EXPECT_TRUE(manager.getActiveObjectName().isEmpty());
    manager.setActiveObject(q("c"));
    manager.clearAllObjects();
    toolMessage();
    EXPECT_TRUE(manager.getObjectNames().isEmpty());
    manager.getObject(q("d"))->postMessage(QString(), q("left to the destructor"), {}, {});
}

TEST_F(StoreTest, LogIsWrittenByteForByte)
{
    catalogue().setMessageInfo(61, { "d1" }, { "n1" });
    MessageNode text(
        q("  SYN-12 "), q(" Warning\n"), q("synth"), list(" clk |a<b & \"c\""), list("top.v:12"));
    MessageNode numbered(61, q("TOOL-1"), QString(), q("synth"), q("not stored"));
    const auto written = [this](const MessageReadWrite::Buffer& buffer) {
        EXPECT_TRUE(MessageReadWrite(path("log.xml")).doWrite(buffer));
        return readAll(path("log.xml"));
    };
    EXPECT_EQ(written({}), readAll(fixture("store/empty_log.xml")));
    EXPECT_EQ(written({ { q("place"), {} } }), readAll(fixture("store/empty_task_log.xml")));
    EXPECT_EQ(written({ { q("synth"), { &text, &numbered } } }),
        readAll(fixture("store/written_log.xml")));
}

TEST_F(StoreTest, LoadReplacesTheProcessesOfTheFileAndKeepsTheOthers)
{
    const Lines before { "KEEP [] @map () ()", "OLD-PLACE [] @place () ()",
        "OLD-SYNTH [] @synth () ()" };
    const auto load = [&](const QString& file, const Lines& after, const Lines& diagnostics) {
        SCOPED_TRACE(file.toStdString());
        MessageObject object;
        object.loadProcessMessages(fixture("store/seed_log.xml"));
        const QVector<MessageNode*> seeded = object.reloadAllMessages();
        QSignalSpy updated(&object, SIGNAL(sigMessageBufferUpdated()));
        EXPECT_EQ(debugLines([&] { object.loadProcessMessages(file); }), diagnostics);
        EXPECT_EQ(contents(object), after);
        EXPECT_EQ(updated.count(), 1);
        for (MessageNode* node : seeded) // still readable once let go of
            EXPECT_NE(std::find(before.begin(), before.end(), describe(node)), before.end());
    };
    // Another root, blanks, CDATA, unknown elements, a message outside any task, a task
    // nested in a task (whose end tag closes the outer one), a task without a name, an
    // empty task and a process written twice (the last one wins).
    load(fixture("store/foreign_log.xml"),
        { "NO-NAME [] @ () ()", before[0], "R1 [] @route (|) (&<)",
            "SYN-12 [Warning] @synth (  clk  |a<b & c) ( top.v:12 )", "SYN-13 [] @synth () ()",
            "SYN-14 [Info] @synth () ()" },
        {});
    load(fixture("store/truncated_log.xml"), { before[0], before[1], "A1 [] @synth () ()" }, {});
    load(path("missing.xml"), before, { "message file doesn't exist s/messagereadwrite 36" });
    load(m_dir.path(), before, { "Fail to Open message file s/messagereadwrite 41" });
}

// Either file as a document of about `size` bytes.
bool saveDocument(const QString& path, bool log, int size)
{
    const QString text(size, QLatin1Char('x')), name = QStringLiteral("n");
    MessageNode node(name, name, name, { text }, {});
    FilterNode filter { { { MessageFilter::MaskMessageID, { text } } }, {} };
    return log ? MessageReadWrite(path).doWrite({ { name, { &node } } })
               : MessageFilterReadWrite(path).doWrite({ { name, &filter } }, name);
}

// What a save in a child process came to.
enum class Outcome { CannotRun = -1, NotSaved = 0, Saved = 1, Killed = 2 };
// A file-size limit of 4 KiB: with SIGXFSZ ignored, a write beyond it fails with EFBIG;
// by default the process is killed at that write, in the middle of the save.
enum class Limit { None, FailWrite, KillProcess };

// Saves in a child process, as "nobody" when run as root, so that permissions hold.
Outcome saveInChild(const QString& path, bool log, int size, Limit limit)
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit small { 4096, 4096 };
        const uid_t nobody = 65534;
        if (limit == Limit::FailWrite)
            std::signal(SIGXFSZ, SIG_IGN);
        if ((limit != Limit::None && setrlimit(RLIMIT_FSIZE, &small))
            || (!getuid()
                && (setresgid(nobody, nobody, nobody) || setresuid(nobody, nobody, nobody))))
            _exit(3);
        _exit(saveDocument(path, log, size));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return Outcome::CannotRun;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ)
        return Outcome::Killed;
    return WIFEXITED(status) && WEXITSTATUS(status) < 2 ? Outcome(WEXITSTATUS(status))
                                                        : Outcome::CannotRun;
}

TEST_F(StoreTest, SaveReplacesThePreviousFileOnlyOnceTheNewOneIsComplete)
{
    using P = QFileDevice::Permissions;
    const P all(0x7077), readOnly(0x5055), absent;
    // Name, document size, limit, permissions of the previous file and of its directory,
    // the outcome, and whether the previous file is then the new document.
    const std::tuple<const char*, int, Limit, P, P, Outcome, bool> rows[] = {
        // Below 16 KiB a document fails only in the final flush, which a plain commit misses.
        { "limit reached in the final flush", 6000, Limit::FailWrite, all, all, Outcome::NotSaved,
            false },
        { "limit reached while writing", 80000, Limit::FailWrite, all, all, Outcome::NotSaved,
            false },
        { "killed while writing", 80000, Limit::KillProcess, all, all, Outcome::Killed, false },
        { "read-only previous file replaced", 6000, Limit::None, readOnly, all, Outcome::Saved,
            true },
        { "read-only previous file, limit reached", 6000, Limit::FailWrite, readOnly, all,
            Outcome::NotSaved, false },
        { "read-only previous file, killed while writing", 80000, Limit::KillProcess, readOnly, all,
            Outcome::Killed, false },
        { "writable file in a read-only directory written in place", 6000, Limit::None, all,
            readOnly, Outcome::Saved, true },
        { "read-only file in a read-only directory", 6000, Limit::None, readOnly, readOnly,
            Outcome::NotSaved, false },
        { "no file in a read-only directory", 6000, Limit::None, absent, readOnly,
            Outcome::NotSaved, false },
    };
    for (const bool log : { true, false }) {
        for (const auto& [name, size, limit, permissions, directory, outcome, replaced] : rows) {
            SCOPED_TRACE(std::string(log ? "log: " : "filters: ") + name);
            QTemporaryDir dir;
            const QString previous = dir.filePath(q("previous"));
            ASSERT_TRUE(saveDocument(path("reference"), log, size));
            if (permissions != absent) {
                ASSERT_TRUE(QFile::copy(fixture("store/truncated_log.xml"), previous)
                    && QFile::setPermissions(previous, permissions));
            }
            ASSERT_TRUE(QFile::setPermissions(dir.path(), directory));
            const Outcome saved = saveInChild(previous, log, size, limit);
            const QStringList left =
                QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden);
            QFile::setPermissions(dir.path(), all);
            if (saved == Outcome::CannotRun)
                GTEST_SKIP() << "cannot lower the file-size limit or drop privileges here";
            EXPECT_EQ(saved, outcome);
            EXPECT_EQ(readAll(previous),
                replaced                    ? readAll(path("reference"))
                    : permissions == absent ? QByteArray("<unreadable>")
                                            : readAll(fixture("store/truncated_log.xml")));
            if (!replaced) {
                EXPECT_EQ(QFile::permissions(previous) & all, permissions);
            }
            // A killed save may leave its temporary file behind, never anything else.
            if (outcome != Outcome::Killed) {
                EXPECT_EQ(
                    left, permissions == absent ? QStringList() : QStringList { q("previous") });
            }
        }
        const std::string where = log ? "s/messagereadwrite 131" : "s/messagefilterreadwrite 163";
        const auto blocked = [&] { EXPECT_FALSE(saveDocument(path("reference/x"), log, 9)); };
        EXPECT_EQ(debugLines(blocked), Lines { "Fail to Writing message file " + where });
    }
}

// True when the file is a well-formed XML document.
bool wellFormed(const QByteArray& document)
{
    QXmlStreamReader reader(document);
    while (!reader.atEnd())
        reader.readNext();
    return !reader.hasError();
}

TEST_F(StoreTest, CharactersXmlCannotCarrySurviveASaveAndALoad)
{
    const QChar nul(0), high(0xD800), low(0xDC00);
    const std::pair<const char*, QString> rows[] = {
        { "colour codes", q("\x1b[31mred\x1b[0m") },
        { "bell, form feed, vertical tab",
            q("a\x07"
              "b\x0c"
              "c\x0b") },
        { "NUL", QString(nul) + q("x") + nul },
        { "backslashes beside an escape", q("C:\\u001B\\\\\\x01\\") },
        { "unpaired surrogates and non-characters",
            QString(high) + q("a") + low + high + QChar(0xFFFE) + QChar(0xFFFF) },
        { "a pair reversed, and a pair with a control", QString(low) + high + q("😀\x1f") },
    };
    for (const auto& [name, value] : rows) {
        SCOPED_TRACE(name);
        const QString log = path("log.xml"), filters = path("filters.xml");
        MessageNode node(q("I") + value + q("I"), q("S") + value + q("S"), q("P") + value + q("P"),
            { value, q("plain") }, { value });
        ASSERT_TRUE(MessageReadWrite(log).doWrite({ { q("P") + value + q("P"), { &node } } }));
        EXPECT_TRUE(wellFormed(readAll(log)));
        MessageReadWrite::Buffer read;
        std::vector<std::unique_ptr<MessageNode>> released;
        TextPool pool;
        EXPECT_TRUE(MessageReadWrite(log).doRead(read, released, pool));
        const QVector<MessageNode*> nodes = read.value(q("P") + value + q("P"));
        ASSERT_EQ(nodes.size(), 1);
        released.emplace_back(nodes.front());
        EXPECT_EQ(describe(released.back().get()), describe(&node));

        FilterNode filter { { { MessageFilter::MaskMessageID, { value, q("B") } },
                                { MessageFilter::MaskSeverity, { q("W") + value } },
                                { MessageFilter::MaskMilestone, { value } } },
            { &node } };
        ASSERT_TRUE(MessageFilterReadWrite(filters).doWrite(
            { { q("F") + value, &filter } }, q("F") + value));
        EXPECT_TRUE(wellFormed(readAll(filters)));
        MessageFilterReadWrite::FilterTable table;
        QString active;
        zefa::msg_filter::impl_detail::FilterReadOwnership owned;
        EXPECT_TRUE(MessageFilterReadWrite(filters).doRead(table, active, owned));
        for (FilterNode* read : qAsConst(table))
            owned.filters.emplace_back(read);
        EXPECT_EQ(active, q("F") + value);
        ASSERT_EQ(table.keys(), QStringList { q("F") + value });
        const FilterNode* back = table.value(q("F") + value);
        EXPECT_EQ(back->generalFilter, filter.generalFilter);
        ASSERT_EQ(back->individualFilter.size(), 1);
        EXPECT_EQ(describe(back->individualFilter.front()),
            describe(&node).substr(0, describe(&node).rfind('(')) + "()");
    }
}

TEST_F(StoreTest, EscapedValuesAreMarkedAndOthersWrittenAsBefore)
{
    MessageNode node(
        q("SYN-1"), q("Warning"), q("syn\x1bth"), { q("\x1b[1mC:\\temp"), q("C:\\temp") }, {});
    ASSERT_TRUE(MessageReadWrite(path("log.xml")).doWrite({ { q("syn\x1bth"), { &node } } }));
    EXPECT_EQ(readAll(path("log.xml")),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<ZefaMessageLog>\n"
        "    <Task name=\"syn\\u001Bth\" escaped=\"\">\n"
        "        <Message>\n"
        "            <ID>SYN-1</ID>\n"
        "            <Severity>Warning</Severity>\n"
        "            <Dynamic escaped=\"\">\\u001B[1mC:\\\\temp</Dynamic>\n"
        "            <Dynamic>C:\\temp</Dynamic>\n"
        "        </Message>\n"
        "    </Task>\n"
        "</ZefaMessageLog>");
}

TEST_F(StoreTest, EntitiesExpandingPastTheBoundAreRefusedLikeMalformedXml)
{
    // The DTD of either file, the text of one value, and whether the file is read.
    const QByteArray longValue(4000, 'b');
    const std::tuple<const char*, QByteArray, QByteArray, bool> rows[] = {
        { "a long entity used past the bound", "<!ENTITY e '" + longValue + "'>",
            QByteArray("&e;").repeated(30000), false },
        { "a long entity used once", "<!ENTITY e '" + longValue + "'>", "&e;x", true },
        { "a longer entity in an attribute default",
            "<!ENTITY e 'abcd'><!ATTLIST Task x CDATA '&e;'>", "&e;", false },
    };
    const QString expanded = QString::fromLatin1(longValue) + q("x");
    for (const auto& [name, entities, text, read] : rows) {
        SCOPED_TRACE(name);
        const QByteArray doctype = "<!DOCTYPE r [" + entities + "]><r>";
        QFile log(path("log.xml")), filters(path("filters.xml"));
        ASSERT_TRUE(log.open(QIODevice::WriteOnly) && filters.open(QIODevice::WriteOnly));
        log.write(doctype + "<Task name=\"t\"><Message><ID>" + text + "</ID></Message></Task></r>");
        filters.write(doctype + "<Filter name=\"f\"><GeneralFilter><ID>" + text
            + "</ID></GeneralFilter></Filter></r>");
        log.close();
        filters.close();

        MessageObject object;
        object.setCurrentProcess(q("kept"));
        object.postMessage(QString(), q("K"), {}, {});
        object.loadProcessMessages(path("log.xml"));
        Lines messages { "K [] @kept () ()" };
        if (read)
            messages.push_back(expanded.toStdString() + " [] @t () ()");
        EXPECT_EQ(contents(object), messages);

        MessageFilterReadWrite::FilterTable table { { q("previous"), new FilterNode } };
        QString active;
        zefa::msg_filter::impl_detail::FilterReadOwnership owned;
        EXPECT_TRUE(MessageFilterReadWrite(path("filters.xml")).doRead(table, active, owned));
        for (FilterNode* node : qAsConst(table))
            owned.filters.emplace_back(node);
        EXPECT_EQ(table.keys(), read ? QStringList { q("f") } : QStringList());
        if (read) {
            EXPECT_EQ(table.value(q("f"))->generalFilter.value(MessageFilter::MaskMessageID),
                QStringList { expanded });
        }
    }
}

} // namespace
