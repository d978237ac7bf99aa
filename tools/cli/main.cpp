// msgfilter: classify tool output with the library's rules, check rule files and
// explain how a line is matched.

#include "argumentfiles.h"
#include "commandline.h"
#include "commands.h"

#include <QCoreApplication>

namespace tool = zefa::msg_filter::tool;

namespace {

// To add a command, give it a source file with its run function, declare that in
// commands.h and add one row here; the overview and the dispatch follow the table.
constexpr tool::Command kCommands[] = {
    { "classify", "classify the lines of tool output", tool::runClassify },
    { "report", "write the messages of tool output as one HTML page", tool::runReport },
    { "summary", "count the messages of tool output per id", tool::runSummary },
    { "waive", "write a filter file that waives an earlier run's messages", tool::runWaive },
    { "check-rules", "report what a rule file loses or can never match", tool::runCheckRules },
    { "explain", "show how the rules treat one line", tool::runExplain },
    { "run", "replay a recorded tool session through the library", tool::runSession },
};

QString overview()
{
    QString text = QStringLiteral("Usage: msgfilter COMMAND [OPTIONS] [ARGUMENTS]\n\n"
                                  "Classifies the messages of FPGA tool output with the rules "
                                  "of libmsgfilter.\n\nCommands:\n");
    for (const tool::Command& command : kCommands) {
        text += QStringLiteral("  %1  %2\n")
                    .arg(QLatin1String(command.name), -12)
                    .arg(QLatin1String(command.summary));
    }
    text += QStringLiteral("\nRun 'msgfilter COMMAND --help' for the options of a command.\n"
                           "Exit status: 0 success, 1 findings or a line at or above "
                           "--fail-on (a new one at or above --fail-on-new), 2 usage error or "
                           "unusable file.\n");
    return text;
}

// A command's exit status, unless its output did not reach standard output: then one
// line says so and the status is 2, whatever the command found.
int finished(const char* command, int status)
{
    QString reason;
    if (tool::finishStandardOutput(reason)) {
        return status;
    }
    tool::writeError(QStringLiteral("msgfilter%1%2: cannot write to standard output: %3\n")
                         .arg(QLatin1String(*command ? " " : ""), QLatin1String(command), reason));
    return tool::kExitFailure;
}

} // namespace

int main(int argc, char* argv[])
{
    if (!tool::standardOutputIsOpen()) {
        tool::writeError(QStringLiteral("msgfilter: standard output is closed\n"));
        return tool::kExitFailure;
    }
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("msgfilter"));
    // Not QCoreApplication::arguments(): it cannot keep a file name that is not UTF-8.
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.append(tool::argumentText(argv[index]));
    }

    if (arguments.isEmpty()) {
        tool::writeError(overview());
        return tool::kExitFailure;
    }
    const QString word = arguments.takeFirst();
    if (word == QLatin1String("--help") || word == QLatin1String("-h")
        || word == QLatin1String("help")) {
        tool::writeOutput(overview());
        return finished("", tool::kExitSuccess);
    }
    if (word == QLatin1String("--version")) {
        tool::writeOutput(QStringLiteral("msgfilter " MSGFILTER_TOOL_VERSION "\n"));
        return finished("", tool::kExitSuccess);
    }
    for (const tool::Command& command : kCommands) {
        if (word == QLatin1String(command.name)) {
            return finished(command.name, command.run(arguments));
        }
    }
    tool::writeError(
        QStringLiteral("msgfilter: unknown command '%1' (run 'msgfilter --help')\n").arg(word));
    return tool::kExitFailure;
}
