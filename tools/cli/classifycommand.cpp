// msgfilter classify: prints each line of tool output the rules recognise, with its
// severity, rule and fields, in the format asked for. msgfilter report classifies the
// same way and writes the messages as one HTML page.

#include "commandline.h"
#include "commands.h"
#include "formats/htmlformat.h"
#include "formats/messageformat.h"
#include "inputclassifier.h"
#include "rulesselection.h"
#include "severity.h"
#include "terminal.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <memory>
#include <optional>

namespace zefa::msg_filter::tool {

namespace {

const char* const kClassify = "classify";
const char* const kReport = "report";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter classify [OPTIONS] [FILE...]\n"
    "\n"
    "Classifies each line of the files (standard input without files or for '-')\n"
    "with the rules of one engine and prints the lines the rules recognise.\n"
    "\n"
    "Options:\n"
    "  --rules PATH          Rule file, or a directory holding enginemsg.xml\n"
    "                        (default: the rules the library loads).\n"
    "  --target NAME         Target device family (default: fpga).\n"
    "  --engine NAME         Engine whose rules apply (default: default); an unknown\n"
    "                        engine falls back to 'default'.\n"
    "  --format text|jsonl   text: one line per message and a summary per severity\n"
    "                        and rule; jsonl: one JSON object per message with file,\n"
    "                        line, severity, rule, type, fields and text (default: text).\n"
    "  --fail-on SEVERITY    Exit with 1 when a line is at or above SEVERITY\n"
    "                        (error, critical-warning, warning or info).\n"
    "  --color WHEN          Colour severities: auto (on a terminal), always, never\n"
    "                        (default: auto).\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "A line's severity comes from the type of its rule and sub-rule: 'error' or '@E'\n"
    "in it makes an error, else 'warning' or '@W' a warning (a critical warning when\n"
    "the type also says 'critical'), else info; for the structured format the 'type'\n"
    "field decides. A line that fits a rule but none of its sub-rules counts as not\n"
    "recognised.\n"
    "\n"
    "Exit status: 0 success, 1 a line at or above --fail-on, 2 usage error or an\n"
    "input or rule file that cannot be read.\n");

const QString kReportHelp = QStringLiteral(
    "Usage: msgfilter report [OPTIONS] --output FILE [FILE...]\n"
    "\n"
    "Classifies each line of the files (standard input without files or for '-')\n"
    "as 'msgfilter classify' does and writes the messages as one HTML page: counts\n"
    "per severity, a chart per input file, the most frequent message ids, and a table\n"
    "of every message to filter, group by id, sort and link to. The page is one file\n"
    "that loads nothing from anywhere.\n"
    "\n"
    "Options:\n"
    "  --output FILE         The page to write (required).\n"
    "  --rules PATH          Rule file, or a directory holding enginemsg.xml\n"
    "                        (default: the rules the library loads).\n"
    "  --target NAME         Target device family (default: fpga).\n"
    "  --engine NAME         Engine whose rules apply (default: default).\n"
    "  --fail-on SEVERITY    Exit with 1 when a line is at or above SEVERITY\n"
    "                        (error, warning or info); the page is written anyway.\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "Exit status: 0 success, 1 a line at or above --fail-on, 2 usage error, an input\n"
    "or rule file that cannot be read, or a page that cannot be written.\n");

struct Options {
    QString rules;
    QString target = QStringLiteral("fpga");
    QString engine = QStringLiteral("default");
    QString format = QStringLiteral("text");
    std::unique_ptr<MessageFormat> formatter;
    std::optional<Severity> failOn;
    bool color = false;
    QStringList inputs;
    QString output; ///< the page of msgfilter report
};

// The page's description of the run: what is classified, with which rules, and when.
ReportRun describeRun(const Options& options, const RulesSelection& rules)
{
    QStringList names;
    for (const QString& input : options.inputs) {
        names.append(input == QLatin1String("-") ? QStringLiteral("standard input")
                                                 : QFileInfo(input).fileName());
    }
    ReportRun run;
    run.title = QStringLiteral("Messages of %1").arg(names.join(QStringLiteral(", ")));
    run.subtitle =
        QStringLiteral("classified with the rules of engine '%1', target '%2'; "
                       "written %3")
            .arg(QString::fromStdString(rules.engineName), QString::fromStdString(rules.targetName),
                QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'")));
    run.details.append({ QStringLiteral("Inputs"), options.inputs.join(QStringLiteral(", ")) });
    run.details.append({ QStringLiteral("Rules"), rules.path });
    return run;
}

bool parseOptions(const char* command, const QStringList& arguments, Options& options, int& status)
{
    const bool report = qstrcmp(command, kReport) == 0;
    QCommandLineParser parser;
    const QCommandLineOption rules(QStringLiteral("rules"), QString(), QStringLiteral("PATH"));
    const QCommandLineOption target(
        QStringLiteral("target"), QString(), QStringLiteral("NAME"), options.target);
    const QCommandLineOption engine(
        QStringLiteral("engine"), QString(), QStringLiteral("NAME"), options.engine);
    const QCommandLineOption format(
        QStringLiteral("format"), QString(), QStringLiteral("FORMAT"), QStringLiteral("text"));
    const QCommandLineOption failOn(
        QStringLiteral("fail-on"), QString(), QStringLiteral("SEVERITY"));
    const QCommandLineOption color(
        QStringLiteral("color"), QString(), QStringLiteral("WHEN"), QStringLiteral("auto"));
    const QCommandLineOption output(QStringLiteral("output"), QString(), QStringLiteral("FILE"));
    parser.addOptions({ rules, target, engine, failOn });
    parser.addOptions(report ? QList<QCommandLineOption> { output }
                             : QList<QCommandLineOption> { format, color });
    if (!parseCommandLine(parser, command, report ? kReportHelp : kHelp, arguments, status)) {
        return false;
    }
    const auto usage = [&status, command](const QString& message) {
        reportError(command,
            message + QStringLiteral(" (run 'msgfilter %1 --help')").arg(QLatin1String(command)));
        status = kExitFailure;
        return false;
    };
    options.rules = parser.value(rules);
    options.target = parser.value(target);
    options.engine = parser.value(engine);
    // The parser knows only the options of this command.
    options.format = report ? QString() : parser.value(format);
    options.output = report ? parser.value(output) : QString();
    if (report && options.output.isEmpty()) {
        return usage(QStringLiteral("expects --output FILE"));
    }
    if (!report && !isMessageFormat(options.format)) {
        return usage(QStringLiteral("unknown format '%1'").arg(options.format));
    }
    if (parser.isSet(failOn)) {
        Severity severity = Severity::None;
        if (!parseSeverity(parser.value(failOn), severity)) {
            return usage(QStringLiteral("unknown severity '%1'").arg(parser.value(failOn)));
        }
        options.failOn = severity;
    }
    ColorMode mode = ColorMode::Auto;
    if (!report && !parseColorMode(parser.value(color), mode)) {
        return usage(QStringLiteral("unknown colour mode '%1'").arg(parser.value(color)));
    }
    options.color = !report && useColor(mode);
    options.inputs = parser.positionalArguments();
    if (options.inputs.isEmpty()) {
        options.inputs.append(QStringLiteral("-"));
    }
    if (!report) {
        options.formatter = makeMessageFormat(options.format, { options.color });
    }
    return true;
}

bool openInput(const char* command, const QString& name, QFile& file)
{
    const bool opened = name == QLatin1String("-")
        ? file.open(stdin, QIODevice::ReadOnly)
        : (file.setFileName(name), file.open(QIODevice::ReadOnly));
    if (!opened) {
        reportError(command, QStringLiteral("cannot read '%1': %2").arg(name, file.errorString()));
    }
    return opened;
}

int classifyCommand(const char* command, const QStringList& arguments)
{
    Options options;
    int status = kExitSuccess;
    if (!parseOptions(command, arguments, options, status)) {
        return status;
    }
    // Every input must be readable before anything is printed.
    for (const QString& name : options.inputs) {
        QFile file;
        if (name != QLatin1String("-") && !openInput(command, name, file)) {
            return kExitFailure;
        }
    }
    RulesSelection rules;
    QString error;
    if (!selectRules(options.rules, options.target, options.engine, rules, error)) {
        reportError(command, error);
        return kExitFailure;
    }
    if (rules.usesDefaultEngine) {
        writeError(QStringLiteral("msgfilter %1: note: the rules in '%2' have no engine "
                                  "'%3'; using 'default'\n")
                       .arg(QLatin1String(command), rules.path, options.engine));
    }
    if (!options.output.isEmpty()) {
        options.formatter = std::make_unique<HtmlFormat>(describeRun(options, rules));
    }

    ClassificationSummary summary;
    ProgressLine progress;
    const bool outputOnTerminal = isTerminal(stdout);
    const auto write = [&](const QByteArray& output) {
        if (outputOnTerminal && !output.isEmpty()) {
            progress.clear();
        }
        writeOutputBytes(output);
    };
    for (const QString& name : options.inputs) {
        QFile file;
        if (!openInput(command, name, file)) {
            return kExitFailure;
        }
        const qint64 total = file.isSequential() ? 0 : file.size();
        InputClassifier classifier(rules, *options.formatter, name, summary);
        classifier.feedAll(file, [&](const QByteArray& output, qint64 done) {
            write(output);
            progress.update(name, classifier.lines(), done, total);
        });
        if (file.error() != QFileDevice::NoError) {
            progress.clear();
            reportError(
                command, QStringLiteral("cannot read '%1': %2").arg(name, file.errorString()));
            return kExitFailure;
        }
        write(classifier.finish());
    }
    progress.clear();
    if (options.output.isEmpty()) {
        writeOutputBytes(options.formatter->finish(summary));
    } else if (!writeOutputFile(command, options.output, options.formatter->finish(summary))) {
        return kExitFailure;
    }
    std::fflush(stdout);
    if (options.failOn && summary.highest >= *options.failOn) {
        return kExitFindings;
    }
    return kExitSuccess;
}

} // namespace

int runClassify(const QStringList& arguments)
{
    return classifyCommand(kClassify, arguments);
}

int runReport(const QStringList& arguments)
{
    return classifyCommand(kReport, arguments);
}

} // namespace zefa::msg_filter::tool
