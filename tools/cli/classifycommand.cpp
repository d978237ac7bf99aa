// msgfilter classify: prints each line of tool output the rules recognise, with its
// severity, rule and fields, in the format asked for. msgfilter report classifies the
// same way and writes the messages as one HTML page.

#include "argumentfiles.h"
#include "baselinereader.h"
#include "commandline.h"
#include "commands.h"
#include "formats/htmlformat.h"
#include "formats/messageformat.h"
#include "formats/reportformat.h"
#include "inputclassifier.h"
#include "messagereview.h"
#include "rulesselection.h"
#include "severity.h"
#include "terminal.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

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
    "  --format FORMAT       text: one line per message and a summary per severity\n"
    "                        and rule; jsonl: one JSON object per message with file,\n"
    "                        line, severity, rule, type, fields and text; sarif,\n"
    "                        github, codequality, junit: the reports of code scanning,\n"
    "                        GitHub annotations, GitLab code quality and JUnit\n"
    "                        (default: text).\n"
    "  --summary BY          Print the message summary grouped by id, file or rule in\n"
    "                        place of the messages ('msgfilter summary' is\n"
    "                        'classify --summary id').\n"
    "  --fail-on SEVERITY    Exit with 1 when a line is at or above SEVERITY\n"
    "                        (error, critical-warning, warning or info).\n"
    "  --baseline FILE       The jsonl or SARIF output of an earlier run: marks each\n"
    "                        message new or known and lists the fixed ones.\n"
    "  --fail-on-new SEVERITY  Exit with 1 when a new message is at or above SEVERITY.\n"
    "  --filters FILE        A filter file of the store's format (see 'msgfilter\n"
    "                        waive'): the messages its filter hides are waived, left\n"
    "                        out of every format, counted apart.\n"
    "  --filter NAME         The filter of --filters to apply (default: the active one).\n"
    "  --source-root DIR     Paths below DIR are written relative to it in reports.\n"
    "  --color WHEN          Colour severities: auto (on a terminal), always, never\n"
    "                        (default: auto).\n"
    "  --jobs N              Read the input on N threads; the output is the same\n"
    "                        (default: %1, the machine's cores).\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "A line's severity comes from the type of its rule and sub-rule: 'error' or '@E'\n"
    "in it makes an error, else 'warning' or '@W' a warning (a critical warning when\n"
    "the type also says 'critical'), else info; for the structured format the 'type'\n"
    "field decides. A line that fits a rule but none of its sub-rules counts as not\n"
    "recognised.\n"
    "\n"
    "Exit status: 0 success, 1 a line at or above --fail-on or a new one at or above\n"
    "--fail-on-new (waived lines never count), 2 usage error or an input, rule,\n"
    "baseline or filter file that cannot be used.\n");

const QString kReportHelp = QStringLiteral(
    "Usage: msgfilter report [OPTIONS] --output FILE [FILE...]\n"
    "\n"
    "Classifies each line of the files (standard input without files or for '-')\n"
    "as 'msgfilter classify' does and writes the messages as one HTML page: counts\n"
    "per severity, new, fixed and waived, a chart per input file, the most frequent\n"
    "message ids, and a table of every message to filter, group by id, sort and link\n"
    "to. The page is one file that loads nothing from anywhere.\n"
    "\n"
    "Options:\n"
    "  --output FILE         The page to write (required).\n"
    "  --rules PATH          Rule file, or a directory holding enginemsg.xml\n"
    "                        (default: the rules the library loads).\n"
    "  --target NAME         Target device family (default: fpga).\n"
    "  --engine NAME         Engine whose rules apply (default: default).\n"
    "  --fail-on SEVERITY    Exit with 1 when a line is at or above SEVERITY\n"
    "                        (error, critical-warning, warning or info); the page is\n"
    "                        written anyway.\n"
    "  --baseline FILE       The jsonl or SARIF output of an earlier run: marks each\n"
    "                        message new or known and lists the fixed ones.\n"
    "  --fail-on-new SEVERITY  Exit with 1 when a new message is at or above SEVERITY.\n"
    "  --filters FILE        A filter file of the store's format: the messages its\n"
    "                        filter hides are waived, shown apart on the page.\n"
    "  --filter NAME         The filter of --filters to apply (default: the active one).\n"
    "  --jobs N              Read the input on N threads; the page is the same\n"
    "                        (default: %1, the machine's cores).\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "Exit status: 0 success, 1 a line at or above --fail-on or a new one at or above\n"
    "--fail-on-new, 2 usage error, an input, rule, baseline or filter file that cannot\n"
    "be used, or a page that cannot be written.\n");

struct Options {
    QString rules;
    QString target = QStringLiteral("fpga");
    QString engine = QStringLiteral("default");
    QString format = QStringLiteral("text");
    std::optional<MessageSummary::GroupBy> summary;
    QString sourceRoot;
    QString baseline;
    QString filters;
    QString filter;
    FormatOptions formatOptions;
    QStringList inputs;
    QString output; ///< the page of msgfilter report
    int jobs = 1;
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
    if (!options.baseline.isEmpty()) {
        run.details.append({ QStringLiteral("Baseline"), options.baseline });
    }
    if (!options.filters.isEmpty()) {
        run.details.append(
            { QStringLiteral("Waivers"), options.formatOptions.waiverJustification });
    }
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
    const QCommandLineOption summary(QStringLiteral("summary"), QString(), QStringLiteral("BY"));
    const QCommandLineOption failOn(
        QStringLiteral("fail-on"), QString(), QStringLiteral("SEVERITY"));
    const QCommandLineOption baseline(
        QStringLiteral("baseline"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption failOnNew(
        QStringLiteral("fail-on-new"), QString(), QStringLiteral("SEVERITY"));
    const QCommandLineOption filters(QStringLiteral("filters"), QString(), QStringLiteral("FILE"));
    const QCommandLineOption filter(QStringLiteral("filter"), QString(), QStringLiteral("NAME"));
    const QCommandLineOption sourceRoot(
        QStringLiteral("source-root"), QString(), QStringLiteral("DIR"));
    const QCommandLineOption color(
        QStringLiteral("color"), QString(), QStringLiteral("WHEN"), QStringLiteral("auto"));
    const QCommandLineOption output(QStringLiteral("output"), QString(), QStringLiteral("FILE"));
    const int cores = std::max(1, QThread::idealThreadCount());
    const QCommandLineOption jobs(
        QStringLiteral("jobs"), QString(), QStringLiteral("N"), QString::number(cores));
    parser.addOptions(
        { rules, target, engine, failOn, baseline, failOnNew, filters, filter, jobs });
    parser.addOptions(report ? QList<QCommandLineOption> { output }
                             : QList<QCommandLineOption> { format, summary, sourceRoot, color });
    if (!parseCommandLine(
            parser, command, (report ? kReportHelp : kHelp).arg(cores), arguments, status)) {
        return false;
    }
    const auto usage = [&status, command](const QString& message) {
        reportError(command,
            message + QStringLiteral(" (run 'msgfilter %1 --help')").arg(QLatin1String(command)));
        status = kExitFailure;
        return false;
    };
    const auto severityOption = [&](const QCommandLineOption& option,
                                    std::optional<Severity>& value) {
        if (parser.isSet(option)) {
            Severity severity = Severity::None;
            if (!parseSeverity(parser.value(option), severity)) {
                return usage(QStringLiteral("unknown severity '%1'").arg(parser.value(option)));
            }
            value = severity;
        }
        return true;
    };
    bool jobsValid = false;
    options.jobs = parser.value(jobs).toInt(&jobsValid);
    if (!jobsValid || options.jobs < 1) {
        return usage(QStringLiteral("--jobs expects a number of at least 1, not '%1'")
                         .arg(parser.value(jobs)));
    }
    FormatOptions& formatOptions = options.formatOptions;
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
    if (!report && parser.isSet(summary)) {
        MessageSummary::GroupBy grouping = MessageSummary::GroupBy::Id;
        if (!parseSummaryGrouping(parser.value(summary), grouping)) {
            return usage(
                QStringLiteral("unknown summary grouping '%1'").arg(parser.value(summary)));
        }
        if (options.format != QLatin1String("text")) {
            return usage(QStringLiteral("--summary writes text; it takes no --format"));
        }
        options.summary = grouping;
        formatOptions.summaryGrouping = grouping;
    }
    if (!severityOption(failOn, formatOptions.policy.failOn)
        || !severityOption(failOnNew, formatOptions.policy.failOnNew)) {
        return false;
    }
    options.baseline = parser.value(baseline);
    if (parser.isSet(failOnNew) && !parser.isSet(baseline)) {
        return usage(QStringLiteral("--fail-on-new needs --baseline"));
    }
    options.filters = parser.value(filters);
    options.filter = parser.value(filter);
    if (parser.isSet(filter) && !parser.isSet(filters)) {
        return usage(QStringLiteral("--filter needs --filters"));
    }
    ColorMode mode = ColorMode::Auto;
    if (!report && !parseColorMode(parser.value(color), mode)) {
        return usage(QStringLiteral("unknown colour mode '%1'").arg(parser.value(color)));
    }
    formatOptions.color = !report && useColor(mode);
    formatOptions.toolVersion = QStringLiteral(MSGFILTER_TOOL_VERSION);
    formatOptions.paths = SourceUri(!report && parser.isSet(sourceRoot)
            ? QDir(parser.value(sourceRoot)).absolutePath()
            : QString(),
        QDir::currentPath());
    options.inputs = parser.positionalArguments();
    if (options.inputs.isEmpty()) {
        options.inputs.append(QStringLiteral("-"));
    }
    formatOptions.inputs = options.inputs;
    return true;
}

// Reads the baseline and the waivers the options name. On failure reports one line
// naming the file and returns false.
bool loadReview(const char* command, const Options& options, MessageReview& review)
{
    QString error;
    if (!options.baseline.isEmpty()) {
        std::vector<ClassifiedLine> baseline;
        if (!readBaselineFile(options.baseline, baseline, error)) {
            reportError(command, error);
            return false;
        }
        review.setBaseline(baseline);
    }
    if (!options.filters.isEmpty()) {
        // The filter file is read twice (checked whole, then loaded by the library), which
        // a pipe does not allow: one that is not a plain file is read once into a copy.
        const auto failed = [&options, command](const QString& reason) {
            reportError(
                command, QStringLiteral("filter file '%1': %2").arg(options.filters, reason));
            return false;
        };
        QFile file;
        if (!openArgumentFile(file, options.filters, QIODevice::ReadOnly, error)) {
            return failed(error);
        }
        const QTemporaryDir copies;
        const QString readable = readableRuleFile(file, options.filters, copies, error);
        auto waivers = std::make_unique<WaiverStep>();
        if (readable.isEmpty() || !waivers->load(readable, options.filter, error)) {
            return failed(error);
        }
        review.setWaivers(std::move(waivers));
    }
    return true;
}

bool openInput(const char* command, const QString& name, QFile& file)
{
    QString reason;
    const bool opened = name == QLatin1String("-")
        ? file.open(stdin, QIODevice::ReadOnly) || (reason = file.errorString(), false)
        : openArgumentFile(file, name, QIODevice::ReadOnly, reason);
    if (!opened) {
        reportError(command, QStringLiteral("cannot read '%1': %2").arg(name, reason));
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
    // Every input must be readable before anything is printed. Each is opened once: a FIFO
    // opened a second time waits for a writer that is gone.
    std::vector<std::unique_ptr<QFile>> files;
    for (const QString& name : options.inputs) {
        files.push_back(std::make_unique<QFile>());
        if (!openInput(command, name, *files.back())) {
            return kExitFailure;
        }
    }
    MessageReview review;
    if (!loadReview(command, options, review)) {
        return kExitFailure;
    }
    const bool reviewed = review.hasBaseline() || review.hasWaivers();
    if (review.hasWaivers()) {
        options.formatOptions.waiverJustification =
            QStringLiteral("waived by filter '%1' in %2")
                .arg(review.waiverFilterName(), options.filters);
    }
    options.formatOptions.review = reviewed ? &review : nullptr;
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
    const std::unique_ptr<MessageFormat> formatter = !options.output.isEmpty()
        ? std::make_unique<HtmlFormat>(describeRun(options, rules), options.formatOptions.review)
        : options.summary ? makeSummaryFormat(options.formatOptions)
                          : makeMessageFormat(options.format, options.formatOptions);

    ClassificationSummary summary;
    ProgressLine progress;
    const bool outputOnTerminal = isTerminal(stdout);
    const auto write = [&](const QByteArray& output) {
        if (outputOnTerminal && !output.isEmpty()) {
            progress.clear();
        }
        writeOutputBytes(output);
    };
    for (std::size_t index = 0; index < files.size(); ++index) {
        const QString& name = options.inputs.at(static_cast<int>(index));
        QFile& file = *files[index];
        const qint64 total = file.isSequential() ? 0 : file.size();
        InputClassifier classifier(rules, *formatter, name, summary, options.jobs);
        classifier.setReview(reviewed ? &review : nullptr);
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
        writeOutputBytes(formatter->finish(summary));
    } else if (!writeOutputFile(command, options.output, formatter->finish(summary))) {
        return kExitFailure;
    }
    std::fflush(stdout);
    return options.formatOptions.policy.fails(summary) ? kExitFindings : kExitSuccess;
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

int runSummary(const QStringList& arguments)
{
    return runClassify(
        QStringList { QStringLiteral("--summary"), QStringLiteral("id") } + arguments);
}

} // namespace zefa::msg_filter::tool
