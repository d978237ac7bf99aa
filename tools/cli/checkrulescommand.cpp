// msgfilter check-rules: reports, with line and column, everything a rule file loses
// or can never match.

#include "commandline.h"
#include "commands.h"
#include "rulechecker.h"
#include "rulesselection.h"

#include <QFile>

namespace zefa::msg_filter::tool {

namespace {

const char* const kCommand = "check-rules";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter check-rules [PATH]\n"
    "\n"
    "Reads a rule file (by default the one the library loads) and reports, as\n"
    "PATH:LINE:COLUMN: message, everything the library drops silently or can never\n"
    "match: XML errors, a wrong root element, elements without their required\n"
    "attributes, unknown elements and attributes, duplicate names, Rule names with no\n"
    "FilterRule, rules no engine uses, invalid regular expressions, and sub-rules that\n"
    "name more fields than their pattern has capture groups.\n"
    "\n"
    "Options:\n"
    "  -h, --help   Show this help.\n"
    "\n"
    "Exit status: 0 nothing found, 1 findings, 2 the file cannot be read.\n");

} // namespace

int runCheckRules(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("PATH"), QStringLiteral("rule file"));
    int status = kExitSuccess;
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return status;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() > 1) {
        reportError(kCommand,
            QStringLiteral("takes at most one rule file, got %1 "
                           "(run 'msgfilter check-rules --help')")
                .arg(positional.size()));
        return kExitFailure;
    }
    const QString path = positional.isEmpty() ? defaultRulesPath() : positional.first();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        reportError(kCommand, QStringLiteral("cannot read '%1': %2").arg(path, file.errorString()));
        return kExitFailure;
    }
    file.close();
    const RuleCheck check = checkRules(path);
    writeOutput(ruleCheckReport(path, check));
    return check.findings.empty() ? kExitSuccess : kExitFindings;
}

} // namespace zefa::msg_filter::tool
