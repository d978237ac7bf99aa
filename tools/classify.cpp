// msgfilter classify: feeds tool output through ZefaMsgFilter and prints each line
// the rules recognise, with its severity, rule and fields. msgfilter report classifies
// the same way and writes the messages as one HTML page.

#include "commandline.h"
#include "commands.h"
#include "htmlreport.h"
#include "rulesselection.h"
#include "severity.h"
#include "terminal.h"

#include <msgfilter/msgfilter.h>

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <map>
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
    "  --format text|jsonl   text: one line per message and a summary per severity\n"
    "                        and rule; jsonl: one JSON object per message with file,\n"
    "                        line, severity, rule, type, fields and text (default: text).\n"
    "  --fail-on SEVERITY    Exit with 1 when a line is at or above SEVERITY\n"
    "                        (error, warning or info).\n"
    "  --color WHEN          Colour severities: auto (on a terminal), always, never\n"
    "                        (default: auto).\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "A line's severity comes from the type of its rule and sub-rule: 'error' or '@E'\n"
    "in it makes an error, else 'warning' or '@W' a warning, else info; for the\n"
    "structured format the 'type' field decides. A line that fits a rule but none of\n"
    "its sub-rules counts as not recognised.\n"
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

// Input is read, and handed to the filter, in pieces of this size.
constexpr qint64 kChunkBytes = 256 * 1024;
// The filter keeps every result it ever produced; a fresh filter takes over after
// this many lines so that memory stays flat on long inputs.
constexpr size_t kLinesPerFilter = 50000;

enum class Format { Text, Jsonl, Html };

struct Options {
    QString rules;
    QString target = QStringLiteral("fpga");
    QString engine = QStringLiteral("default");
    Format format = Format::Text;
    std::optional<Severity> failOn;
    bool color = false;
    QStringList inputs;
    QString output;
};

using SeverityCounts = std::array<long long, 4>; // indexed by Severity

struct Summary {
    long long lines = 0;
    long long ruleWithoutSubRule = 0;
    SeverityCounts bySeverity {};
    std::map<std::string, SeverityCounts> byRule;
    Severity highest = Severity::None;
};

QString fromBytes(const std::string& bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
}

// The message as the report shows it: the id, text and place the rule cut out (the
// first field of each name), the whole line when the rule gives no text.
ReportMessage reportMessageOf(const ZefaMsgFilter::ParsResult& result, Severity severity,
    const std::string& line, const QString& input, long long lineNumber)
{
    ReportMessage message;
    message.severity = severityName(severity);
    message.origin = input;
    message.originLine = lineNumber;
    bool hasId = false;
    bool hasText = false;
    bool hasFile = false;
    bool hasLine = false;
    for (const auto& [name, value] : result.fields) {
        if (!hasId && (name == "tag" || name == "number" || name == "id")) {
            message.id = fromBytes(value);
            hasId = true;
        } else if (!hasText && name == "text" && !value.empty()) {
            message.text = fromBytes(value);
            hasText = true;
        } else if (!hasFile && name == "file") {
            message.sourceFile = fromBytes(value);
            hasFile = true;
        } else if (!hasLine && name == "line") {
            message.sourceLine = QByteArray::fromStdString(value).toLongLong();
            hasLine = true;
        }
    }
    if (!hasText) {
        message.text = fromBytes(line);
    }
    return message;
}

// The line as the user sees it: without its line feed or a carriage return before it.
std::string withoutLineEnd(const std::string& line)
{
    std::string text = line;
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

/// Classifies the lines of one input and writes what it recognises.
class InputClassifier {
public:
    InputClassifier(const RulesSelection& rules, const Options& options, QString name,
        Summary& summary, HtmlReport* page)
        : m_rules(rules)
        , m_options(options)
        , m_name(std::move(name))
        , m_summary(summary)
        , m_page(page)
    {
        renewFilter();
    }

    /// Classifies every complete line of `chunk`; a trailing partial line waits for
    /// the next chunk. Returns the output for these lines.
    QByteArray feed(const QByteArray& chunk)
    {
        m_partial.append(chunk);
        const int lastLineFeed = m_partial.lastIndexOf('\n');
        if (lastLineFeed < 0) {
            return {};
        }
        const QByteArray complete = m_partial.left(lastLineFeed + 1);
        m_partial.remove(0, lastLineFeed + 1);
        m_filter->filterMessage(complete.constData());
        QByteArray output = drain();
        // The filter holds no partial line now, so a fresh one goes on seamlessly.
        if (m_consumed >= kLinesPerFilter) {
            renewFilter();
        }
        return output;
    }

    /// Classifies the last line when it has no line feed.
    QByteArray finish()
    {
        if (!m_partial.isEmpty()) {
            m_filter->filterMessage(m_partial.constData());
            m_partial.clear();
        }
        m_filter->endFilter();
        return drain();
    }

    long long lines() const { return m_lineNumber; }

private:
    void renewFilter()
    {
        m_filter = std::make_unique<ZefaMsgFilter>();
        m_filter->startFilter(m_rules.targetName.c_str());
        m_filter->startEngin(m_rules.engineName.c_str());
        m_consumed = 0;
    }

    QByteArray drain()
    {
        QByteArray output;
        const std::deque<ZefaMsgFilter::ParsResult>& results = m_filter->getResults();
        for (; m_consumed < results.size(); ++m_consumed) {
            ++m_lineNumber;
            output += report(results[m_consumed]);
        }
        return output;
    }

    // The type of the rule as the file defines it: the result's type is longer exactly
    // when a sub-rule matched too.
    const std::string& ruleType(const std::string& rule)
    {
        auto found = m_ruleTypes.find(rule);
        if (found == m_ruleTypes.end()) {
            const impl_detail::ZefaMsgParserRule* definition = m_rules.rules->getRule(rule);
            found =
                m_ruleTypes.emplace(rule, definition ? definition->getType() : std::string()).first;
        }
        return found->second;
    }

    Severity severityOf(const ZefaMsgFilter::ParsResult& result)
    {
        if (result.rule.empty()) {
            return Severity::None;
        }
        if (result.isNewMessage) {
            std::string type;
            for (const auto& [name, value] : result.fields) {
                if (name == "type") {
                    type = value;
                }
            }
            return severityOfType(type);
        }
        if (result.type.size() <= ruleType(result.rule).size()) {
            ++m_summary.ruleWithoutSubRule;
            return Severity::None;
        }
        return severityOfType(result.type);
    }

    QByteArray report(const ZefaMsgFilter::ParsResult& result)
    {
        ++m_summary.lines;
        const Severity severity = severityOf(result);
        if (severity == Severity::None) {
            return {};
        }
        const auto index = static_cast<size_t>(severity);
        ++m_summary.bySeverity[index];
        ++m_summary.byRule[result.rule][index];
        if (severity > m_summary.highest) {
            m_summary.highest = severity;
        }
        const std::string text = withoutLineEnd(result.message);
        if (m_options.format == Format::Html) {
            m_page->add(reportMessageOf(result, severity, text, m_name, m_lineNumber));
            return {};
        }
        if (m_options.format == Format::Jsonl) {
            QJsonArray fields;
            for (const auto& [name, value] : result.fields) {
                fields.append(QJsonArray { fromBytes(name), fromBytes(value) });
            }
            const QJsonObject object {
                { QStringLiteral("file"), m_name },
                { QStringLiteral("line"), static_cast<double>(m_lineNumber) },
                { QStringLiteral("severity"), severityName(severity) },
                { QStringLiteral("rule"), fromBytes(result.rule) },
                { QStringLiteral("type"), fromBytes(result.type) },
                { QStringLiteral("fields"), fields },
                { QStringLiteral("text"), fromBytes(text) },
            };
            return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
        }
        QByteArray line = QStringLiteral("%1:%2: %3 [%4] ")
                              .arg(m_name)
                              .arg(m_lineNumber)
                              .arg(colored(severityName(severity), severity, m_options.color),
                                  fromBytes(result.rule))
                              .toUtf8();
        line.append(text.data(), static_cast<int>(text.size()));
        line.append('\n');
        return line;
    }

    const RulesSelection& m_rules;
    const Options& m_options;
    const QString m_name;
    Summary& m_summary;
    HtmlReport* m_page;
    std::unique_ptr<ZefaMsgFilter> m_filter;
    size_t m_consumed = 0;
    long long m_lineNumber = 0;
    QByteArray m_partial;
    std::map<std::string, std::string> m_ruleTypes;
};

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
    if (report) {
        options.format = Format::Html;
        options.output = parser.value(output);
        if (options.output.isEmpty()) {
            return usage(QStringLiteral("expects --output FILE"));
        }
    } else if (parser.value(format) == QLatin1String("jsonl")) {
        options.format = Format::Jsonl;
    } else if (parser.value(format) != QLatin1String("text")) {
        return usage(QStringLiteral("unknown format '%1'").arg(parser.value(format)));
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

QString summaryText(const Summary& summary, bool color)
{
    const auto count = [](long long value, int width) {
        return QStringLiteral("%1").arg(value, width);
    };
    long long messages = 0;
    for (long long value : summary.bySeverity) {
        messages += value;
    }
    QString text = QStringLiteral("\n%1 lines, %2 messages\n").arg(summary.lines).arg(messages);
    for (Severity severity : { Severity::Error, Severity::Warning, Severity::Info }) {
        const QString name = severityName(severity);
        text += QStringLiteral("  %1%2%3\n")
                    .arg(colored(name, severity, color))
                    .arg(QString(10 - name.size(), QLatin1Char(' ')))
                    .arg(count(summary.bySeverity[static_cast<size_t>(severity)], 8));
    }
    if (!summary.byRule.empty()) {
        int width = 4;
        for (const auto& entry : summary.byRule) {
            width = std::max(width, static_cast<int>(entry.first.size()));
        }
        text +=
            QStringLiteral("  %1   Error  Warning     Info\n").arg(QStringLiteral("rule"), -width);
        for (const auto& [rule, counts] : summary.byRule) {
            text += QStringLiteral("  %1 %2 %3 %4\n")
                        .arg(fromBytes(rule), -width)
                        .arg(count(counts[static_cast<size_t>(Severity::Error)], 7))
                        .arg(count(counts[static_cast<size_t>(Severity::Warning)], 8))
                        .arg(count(counts[static_cast<size_t>(Severity::Info)], 8));
        }
    }
    if (summary.ruleWithoutSubRule > 0) {
        text += QStringLiteral("  %1 lines fit a rule but none of its sub-rules\n")
                    .arg(summary.ruleWithoutSubRule);
    }
    return text;
}

} // namespace

namespace {

// The page's description of the run: what was classified, with which rules, and when.
ReportRun describeRun(const Options& options, const RulesSelection& rules, const Summary& summary)
{
    QStringList names;
    for (const QString& input : options.inputs) {
        names.append(input == QLatin1String("-") ? QStringLiteral("standard input")
                                                 : QFileInfo(input).fileName());
    }
    ReportRun run;
    run.title = QStringLiteral("Messages of %1").arg(names.join(QStringLiteral(", ")));
    run.subtitle =
        QStringLiteral("%1 lines classified with the rules of engine '%2', target "
                       "'%3'; written %4")
            .arg(summary.lines)
            .arg(QString::fromStdString(rules.engineName), QString::fromStdString(rules.targetName),
                QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'")));
    run.details.append({ QStringLiteral("Inputs"), options.inputs.join(QStringLiteral(", ")) });
    run.details.append({ QStringLiteral("Rules"), rules.path });
    if (summary.ruleWithoutSubRule > 0) {
        run.details.append({ QStringLiteral("Not classified"),
            QStringLiteral("%1 lines fit a rule but none of its sub-rules")
                .arg(summary.ruleWithoutSubRule) });
    }
    return run;
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
    if (!selectRules(command, options.rules, options.target, options.engine, rules)) {
        return kExitFailure;
    }
    if (rules.usesDefaultEngine) {
        writeError(QStringLiteral("msgfilter %1: note: the rules in '%2' have no engine "
                                  "'%3'; using 'default'\n")
                       .arg(QLatin1String(command), rules.path, options.engine));
    }

    Summary summary;
    HtmlReport page;
    ProgressLine progress;
    const bool outputOnTerminal = isTerminal(stdout);
    for (const QString& name : options.inputs) {
        QFile file;
        if (!openInput(command, name, file)) {
            return kExitFailure;
        }
        const qint64 total = file.isSequential() ? 0 : file.size();
        InputClassifier classifier(rules, options, name, summary, &page);
        qint64 done = 0;
        const auto write = [&](const QByteArray& output) {
            if (outputOnTerminal && !output.isEmpty()) {
                progress.clear();
            }
            writeOutputBytes(output);
        };
        while (true) {
            QByteArray chunk = file.read(kChunkBytes);
            if (chunk.isEmpty()) {
                break;
            }
            done += chunk.size();
            // The filter takes C strings: a NUL byte would end the text early.
            chunk.replace('\0', "");
            write(classifier.feed(chunk));
            progress.update(name, classifier.lines(), done, total);
        }
        if (file.error() != QFileDevice::NoError) {
            progress.clear();
            reportError(
                command, QStringLiteral("cannot read '%1': %2").arg(name, file.errorString()));
            return kExitFailure;
        }
        write(classifier.finish());
    }
    progress.clear();
    if (options.format == Format::Text) {
        writeOutput(summaryText(summary, options.color));
    }
    if (options.format == Format::Html
        && !writeOutputFile(
            command, options.output, page.page(describeRun(options, rules, summary)))) {
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
