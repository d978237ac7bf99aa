// msgfilter classify: prints each line of tool output the rules recognise, with its
// severity, rule and fields, in the format asked for.

#include "commandline.h"
#include "commands.h"
#include "formats/messageformat.h"
#include "inputclassifier.h"
#include "rulesselection.h"
#include "severity.h"
#include "terminal.h"

#include <QFile>

#include <memory>
#include <optional>

namespace zefa::msg_filter::tool {

namespace {

const char* const kCommand = "classify";

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

struct Options {
    QString rules;
    QString target = QStringLiteral("fpga");
    QString engine = QStringLiteral("default");
    QString format = QStringLiteral("text");
    std::unique_ptr<MessageFormat> formatter;
    std::optional<Severity> failOn;
    bool color = false;
    QStringList inputs;
};

bool parseOptions(const QStringList& arguments, Options& options, int& status)
{
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
    parser.addOptions({ rules, target, engine, format, failOn, color });
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return false;
    }
    const auto usage = [&status](const QString& message) {
        reportError(kCommand, message + QStringLiteral(" (run 'msgfilter classify --help')"));
        status = kExitFailure;
        return false;
    };
    options.rules = parser.value(rules);
    options.target = parser.value(target);
    options.engine = parser.value(engine);
    options.format = parser.value(format);
    if (!isMessageFormat(options.format)) {
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
    if (!parseColorMode(parser.value(color), mode)) {
        return usage(QStringLiteral("unknown colour mode '%1'").arg(parser.value(color)));
    }
    options.color = useColor(mode);
    options.formatter = makeMessageFormat(options.format, { options.color });
    options.inputs = parser.positionalArguments();
    if (options.inputs.isEmpty()) {
        options.inputs.append(QStringLiteral("-"));
    }
    return true;
}

bool openInput(const QString& name, QFile& file)
{
    const bool opened = name == QLatin1String("-")
        ? file.open(stdin, QIODevice::ReadOnly)
        : (file.setFileName(name), file.open(QIODevice::ReadOnly));
    if (!opened) {
        reportError(kCommand, QStringLiteral("cannot read '%1': %2").arg(name, file.errorString()));
    }
    return opened;
}

} // namespace

int runClassify(const QStringList& arguments)
{
    Options options;
    int status = kExitSuccess;
    if (!parseOptions(arguments, options, status)) {
        return status;
    }
    // Every input must be readable before anything is printed.
    for (const QString& name : options.inputs) {
        QFile file;
        if (name != QLatin1String("-") && !openInput(name, file)) {
            return kExitFailure;
        }
    }
    RulesSelection rules;
    QString error;
    if (!selectRules(options.rules, options.target, options.engine, rules, error)) {
        reportError(kCommand, error);
        return kExitFailure;
    }
    if (rules.usesDefaultEngine) {
        writeError(QStringLiteral("msgfilter classify: note: the rules in '%1' have no engine "
                                  "'%2'; using 'default'\n")
                       .arg(rules.path, options.engine));
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
        if (!openInput(name, file)) {
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
                kCommand, QStringLiteral("cannot read '%1': %2").arg(name, file.errorString()));
            return kExitFailure;
        }
        write(classifier.finish());
    }
    progress.clear();
    writeOutputBytes(options.formatter->finish(summary));
    std::fflush(stdout);
    if (options.failOn && summary.highest >= *options.failOn) {
        return kExitFindings;
    }
    return kExitSuccess;
}

} // namespace zefa::msg_filter::tool
