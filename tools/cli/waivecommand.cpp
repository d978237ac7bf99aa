// msgfilter waive: turns the output of an earlier run into a filter file that waives
// its messages, so that a team accepts what a design prints today in one step.

#include "baselinereader.h"
#include "commandline.h"
#include "commands.h"
#include "waiverfile.h"

namespace zefa::msg_filter::tool {

namespace {

const char* const kCommand = "waive";

const QString kHelp = QStringLiteral(
    "Usage: msgfilter waive [OPTIONS] BASELINE\n"
    "\n"
    "Writes a filter file that waives the messages of BASELINE, the jsonl or SARIF\n"
    "output of an earlier 'msgfilter classify'. 'classify --filters FILE' then leaves\n"
    "them out. Errors are never waived.\n"
    "\n"
    "Options:\n"
    "  -o, --output FILE     Filter file to write. A filter file of that name keeps its\n"
    "                        other filters; any other file is left alone.\n"
    "  --filter NAME         Name of the filter, marked active (default: accepted).\n"
    "  --by message|id       message: each message with its id, exact text and input\n"
    "                        (default); id: every message of the ids seen.\n"
    "  -h, --help            Show this help.\n"
    "\n"
    "Exit status: 0 success, 2 usage error, a baseline that cannot be read or a file\n"
    "that cannot be written.\n");

} // namespace

int runWaive(const QStringList& arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption output(QStringList { QStringLiteral("o"), QStringLiteral("output") },
        QString(), QStringLiteral("FILE"));
    const QCommandLineOption filter(
        QStringLiteral("filter"), QString(), QStringLiteral("NAME"), QStringLiteral("accepted"));
    const QCommandLineOption by(
        QStringLiteral("by"), QString(), QStringLiteral("KIND"), QStringLiteral("message"));
    parser.addOptions({ output, filter, by });
    int status = kExitSuccess;
    if (!parseCommandLine(parser, kCommand, kHelp, arguments, status)) {
        return status;
    }
    const auto fail = [](const QString& message) {
        reportError(kCommand, message);
        return kExitFailure;
    };
    const auto usage = [&fail](const QString& message) {
        return fail(message + QStringLiteral(" (run 'msgfilter waive --help')"));
    };
    if (parser.positionalArguments().size() != 1) {
        return usage(QStringLiteral("expects one BASELINE file"));
    }
    if (!parser.isSet(output)) {
        return usage(QStringLiteral("needs --output FILE"));
    }
    WaiverFile::By kind = WaiverFile::By::Message;
    if (parser.value(by) == QLatin1String("id")) {
        kind = WaiverFile::By::Id;
    } else if (parser.value(by) != QLatin1String("message")) {
        return usage(QStringLiteral("unknown waiver kind '%1'").arg(parser.value(by)));
    }

    std::vector<ClassifiedLine> messages;
    QString error;
    if (!readBaselineFile(parser.positionalArguments().constFirst(), messages, error)) {
        return fail(error);
    }
    WaiverFile waivers;
    const int errors = waivers.add(messages, kind);
    const QString path = parser.value(output);
    if (!waivers.save(path, parser.value(filter), error)) {
        return fail(QStringLiteral("filter file '%1': %2").arg(path, error));
    }
    const long long waived = kind == WaiverFile::By::Id
        ? waivers.filter().generalFilter.value(impl_detail::MessageFilter::MaskMessageID).size()
        : waivers.filter().individualFilter.size();
    writeOutput(
        QStringLiteral("msgfilter waive: filter '%1' in '%2' waives %3 %4%5\n")
            .arg(parser.value(filter), path)
            .arg(waived)
            .arg(kind == WaiverFile::By::Id ? QStringLiteral("ids") : QStringLiteral("messages"))
            .arg(errors == 0
                    ? QString()
                    : QStringLiteral("; %1 %2 cannot be waived")
                          .arg(errors)
                          .arg(errors == 1 ? QStringLiteral("error") : QStringLiteral("errors"))));
    return kExitSuccess;
}

} // namespace zefa::msg_filter::tool
