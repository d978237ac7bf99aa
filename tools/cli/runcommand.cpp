// msgfilter run: replays a recorded tool session through the library, on the host
// substitute, and shows what the host's message view would show.

#include "commandline.h"
#include "commands.h"
#include "formats/sessionjsonlreport.h"
#include "formats/sessiontextreport.h"
#include "rulesselection.h"
#include "sessionreplay.h"
#include "terminal.h"

#include <msgfilter/host/msgcatalogue.h>

#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cstdio>

namespace zefa::msg_filter::tool {

namespace {

const char* const kCommand = "run";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter run [OPTIONS] SESSION\n"
    "\n"
    "Replays a session file line by line: it opens a project, publishes the host's\n"
    "task, process, engine, project and implementation events, feeds engine output,\n"
    "edits filters and saves the message log, all through the library. Then it prints\n"
    "every stored message the message catalogue would show, grouped by implementation\n"
    "and process (severity, id, text), the lines no rule recognised as plain text, and\n"
    "a summary of counts per severity and process with the messages filters hid.\n"
    "\n"
    "Options:\n"
    "  --rules PATH          Rule file, or a directory holding enginemsg.xml\n"
    "                        (default: the rules the library loads).\n"
    "  --format text|jsonl   text for people, or one JSON object per message, plain\n"
    "                        line and summary row (default: text).\n"
    "  --trace               Show the library's debug channel (run-state traces and\n"
    "                        file diagnostics) on standard error.\n"
    "  --color WHEN          Colour severities: auto, always, never (default: auto).\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "Session lines (words split at blanks; \"double quotes\" group, with \\\" \\\\ \\n \\r \\t\n"
    "inside them; '#' starts a comment line; paths are relative to the session):\n"
    "  open-project NAME                          set-default TITLE\n"
    "  add-implementation TITLE DIRECTORY [FILTER_FILE]\n"
    "  catalogue COMPONENT ID SEVERITY TEMPLATE\n"
    "  task ACTION IMPL [STATUS]                  project ACTION [IMPL]\n"
    "  process ACTION IMPL MILESTONE TASK         implement ACTION IMPL\n"
    "  engine ACTION IMPL TASK ENGINE\n"
    "  output IMPL [TEXT]    the rest of the line and a line feed\n"
    "  write IMPL \"TEXT\"     exactly TEXT, no line feed added\n"
    "  feed IMPL FILE [BYTES]                     the file in chunks (default 4096)\n"
    "  filter-save IMPL NAME [ids=A,B] [severities=S,..] [milestones=M,..] [hide=TEXT]...\n"
    "  filter-activate IMPL NAME                  filter-delete IMPL NAME\n"
    "  log-open IMPL FILE                         log-save IMPL\n"
    "\n"
    "A session line that is malformed or cannot be carried out stops the replay: what\n"
    "was replayed before it is still reported, then SESSION:LINE: and the reason go to\n"
    "standard error and the exit status is 2.\n");

bool showDebugChannel = false;

void debugChannel(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type != QtDebugMsg || showDebugChannel) {
        std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    }
}

// A catalogue file the catalogue had to ignore leaves every message with its bare
// arguments; say which line spoiled it.
void reportCatalogueProblems()
{
    const zefa::pelno::MsgCatalogue& catalogue = zefa::pelno::MsgCatalogue::instance();
    for (const zefa::pelno::CatalogueProblem& problem : catalogue.defaultFileProblems()) {
        reportError(kCommand,
            QStringLiteral("%1:%2: %3 (the catalogue file is ignored)")
                .arg(zefa::pelno::MsgCatalogue::defaultFilePath())
                .arg(problem.line)
                .arg(QString::fromStdString(problem.reason)));
    }
}

} // namespace

int runSession(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption rulesOption(
        QStringLiteral("rules"), QString(), QStringLiteral("PATH"));
    const QCommandLineOption formatOption(
        QStringLiteral("format"), QString(), QStringLiteral("FORMAT"), QStringLiteral("text"));
    const QCommandLineOption traceOption(QStringLiteral("trace"));
    const QCommandLineOption colorOption(
        QStringLiteral("color"), QString(), QStringLiteral("WHEN"), QStringLiteral("auto"));
    parser.addOptions({ rulesOption, formatOption, traceOption, colorOption });
    parser.addPositionalArgument(QStringLiteral("SESSION"), QString());
    int status = kExitSuccess;
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return status;
    }
    const QString format = parser.value(formatOption);
    if (format != QLatin1String("text") && format != QLatin1String("jsonl")) {
        reportError(kCommand, QStringLiteral("unknown format '%1' (text or jsonl)").arg(format));
        return kExitFailure;
    }
    ColorMode colorMode = ColorMode::Auto;
    if (!parseColorMode(parser.value(colorOption), colorMode)) {
        reportError(
            kCommand, QStringLiteral("unknown --color value '%1'").arg(parser.value(colorOption)));
        return kExitFailure;
    }
    if (parser.positionalArguments().size() != 1) {
        reportError(
            kCommand, QStringLiteral("expects one SESSION file (run 'msgfilter run --help')"));
        return kExitFailure;
    }
    const QString sessionPath = parser.positionalArguments().constFirst();
    QFile session(sessionPath);
    if (!session.open(QIODevice::ReadOnly | QIODevice::Text)) {
        reportError(
            kCommand, QStringLiteral("cannot read %1: %2").arg(sessionPath, session.errorString()));
        return kExitFailure;
    }

    // The catalogue's file, read at its first use, spoils every message it would have
    // described: say so before anything else.
    reportCatalogueProblems();
    // Nothing here reads the catalogue's journal of calls; a long session would only
    // pile it up.
    zefa::pelno::MsgCatalogue::instance().setJournalEnabled(false);

    // The rules are loaded before the first handler asks for them; the engine side
    // classifies with the "fpga" target and its engines.
    RulesSelection rules;
    QString error;
    if (!selectRules(parser.value(rulesOption), QStringLiteral("fpga"), QStringLiteral("default"),
            rules, error)) {
        reportError(kCommand, error);
        return kExitFailure;
    }

    showDebugChannel = parser.isSet(traceOption);
    const QtMessageHandler previous = qInstallMessageHandler(debugChannel);

    SessionReplay replay(QFileInfo(sessionPath).absoluteDir());
    int lineNumber = 0;
    QString failure;
    const bool failed = !replay.executeAll(session, lineNumber, failure);

    QString report;
    QTextStream out(&report);
    if (format == QLatin1String("jsonl")) {
        writeSessionJsonLines(out, replay.report());
    } else {
        writeSessionText(out, replay.report(), useColor(colorMode));
    }
    writeOutput(report);
    qInstallMessageHandler(previous);

    if (failed) {
        writeError(QStringLiteral("%1:%2: %3\n").arg(sessionPath).arg(lineNumber).arg(failure));
        return kExitFailure;
    }
    return kExitSuccess;
}

} // namespace zefa::msg_filter::tool
