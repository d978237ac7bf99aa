// Feeds arbitrary bytes as tool output to the input classifier with the default rules.
//
// Beyond crashes and sanitizer findings it checks that the way the input is cut into
// pieces never matters: the first byte picks a piece size, and the output (in every
// format) and the summary must equal those of the whole input, and so must the output of
// the input read from a device on two threads. Every line shown must
// also give its bytes back: as UTF-8 when it is valid UTF-8, else as Latin-1. Each jsonl
// line, written without a document, must be what the document writer writes for the
// object it reads back as.

#include "displaytext.h"
#include "formats/messageformat.h"
#include "inputclassifier.h"
#include "rulesselection.h"

#include <QBuffer>
#include <QByteArray>
#include <QJsonDocument>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace zefa::msg_filter::tool;

RulesSelection* rules = nullptr;

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

struct Outcome {
    QByteArray output;
    ClassificationSummary summary;
};

Outcome classify(const QByteArray& input, int piece, const QString& format)
{
    Outcome outcome;
    const std::unique_ptr<MessageFormat> formatter = makeMessageFormat(format, {});
    InputClassifier classifier(*rules, *formatter, QStringLiteral("fuzz"), outcome.summary);
    for (int at = 0; at < input.size(); at += piece) {
        outcome.output += classifier.feed(input.mid(at, piece));
    }
    outcome.output += classifier.finish();
    outcome.output += formatter->finish(outcome.summary);
    return outcome;
}

// Reads the input from a device as classify reads a file, on two threads.
QByteArray classifyDevice(const QByteArray& input, const QString& format)
{
    QBuffer device;
    device.setData(input);
    require(device.open(QIODevice::ReadOnly));
    ClassificationSummary summary;
    const std::unique_ptr<MessageFormat> formatter = makeMessageFormat(format, {});
    InputClassifier classifier(*rules, *formatter, QStringLiteral("fuzz"), summary, 2);
    QByteArray output;
    classifier.feedAll(
        device, [&output](const QByteArray& piece, qint64 /*bytesRead*/) { output += piece; });
    output += classifier.finish();
    output += formatter->finish(summary);
    return output;
}

void requireDocumentWriterLines(const QByteArray& output)
{
    for (const QByteArray& line : output.split('\n')) {
        require(
            line.isEmpty() || QJsonDocument::fromJson(line).toJson(QJsonDocument::Compact) == line);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    rules = new RulesSelection;
    QString error;
    require(selectRules(QStringLiteral(MSGFILTER_SOURCE_DATA_DIR "/enginemsg.xml"),
        QStringLiteral("fpga"), QStringLiteral("default"), *rules, error));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const int piece = 1 + data[0] % 16;
    const QByteArray input(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size - 1));
    for (const QString& format : { QStringLiteral("text"), QStringLiteral("jsonl") }) {
        const Outcome whole = classify(input, std::max(1, input.size()), format);
        const Outcome pieces = classify(input, piece, format);
        require(pieces.output == whole.output);
        require(pieces.summary.lines == whole.summary.lines);
        require(pieces.summary.bySeverity == whole.summary.bySeverity);
        require(pieces.summary.byRule == whole.summary.byRule);
        require(pieces.summary.ruleWithoutSubRule == whole.summary.ruleWithoutSubRule);
        require(classifyDevice(input, format) == whole.output);
        if (format == QStringLiteral("jsonl")) {
            requireDocumentWriterLines(whole.output);
        }
    }
    const QString shown = displayText(input.constData(), static_cast<std::size_t>(input.size()));
    require(shown.toUtf8() == input || shown.toLatin1() == input);
    return 0;
}
