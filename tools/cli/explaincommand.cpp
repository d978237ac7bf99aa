// msgfilter explain: shows, for one line, what every rule of the engine makes of it,
// which rule wins, which of its sub-rules fires and what fields it cuts out.

#include "argumentfiles.h"
#include "commandline.h"
#include "commands.h"
#include "lineexplanation.h"
#include "rulesselection.h"

#include <string>

namespace zefa::msg_filter::tool {

namespace {

const char* const kCommand = "explain";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter explain [OPTIONS] LINE\n"
    "\n"
    "Shows how the rules of one engine treat LINE: every rule with the position and\n"
    "length of its match, the rule chosen (the longest match; on equal length the name\n"
    "that sorts first), the first of its sub-rules that matches, and the fields it\n"
    "cuts out.\n"
    "\n"
    "Options:\n"
    "  --rules PATH     Rule file, or a directory holding enginemsg.xml\n"
    "                   (default: the rules the library loads).\n"
    "  --target NAME    Target device family (default: fpga).\n"
    "  --engine NAME    Engine whose rules apply (default: default).\n"
    "  --no-newline     Match LINE as it is. By default a line feed is added, as the\n"
    "                   stand-alone filter sees each line; the engine-side handler\n"
    "                   sees lines without it.\n"
    "  -h, --help       Show this help.\n"
    "\n"
    "Exit status: 0 success, 2 usage error or a rule file that cannot be used.\n");

} // namespace

int runExplain(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption rulesOption(
        QStringLiteral("rules"), QString(), QStringLiteral("PATH"));
    const QCommandLineOption targetOption(
        QStringLiteral("target"), QString(), QStringLiteral("NAME"), QStringLiteral("fpga"));
    const QCommandLineOption engineOption(
        QStringLiteral("engine"), QString(), QStringLiteral("NAME"), QStringLiteral("default"));
    const QCommandLineOption noNewline(QStringLiteral("no-newline"), QString());
    parser.addOptions({ rulesOption, targetOption, engineOption, noNewline });
    parser.addPositionalArgument(QStringLiteral("LINE"), QStringLiteral("the line to explain"));
    int status = kExitSuccess;
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return status;
    }
    if (parser.positionalArguments().size() != 1) {
        reportError(kCommand,
            QStringLiteral("needs exactly one LINE (run 'msgfilter explain "
                           "--help')"));
        return kExitFailure;
    }
    RulesSelection rules;
    QString error;
    if (!selectRules(parser.value(rulesOption), parser.value(targetOption),
            parser.value(engineOption), rules, error)) {
        reportError(kCommand, error);
        return kExitFailure;
    }
    // The rules work on the bytes of the line as it was given.
    std::string line = argumentBytes(parser.positionalArguments().constFirst()).toStdString();
    if (!parser.isSet(noNewline)) {
        line += '\n';
    }

    writeOutput(explainLine(rules, line));
    return kExitSuccess;
}

} // namespace zefa::msg_filter::tool
