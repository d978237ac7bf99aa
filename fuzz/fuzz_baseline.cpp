// Arbitrary bytes as the baseline of a run. Whatever reads as messages must survive every
// report: SARIF and jsonl read back to the same messages, JUnit is well-formed XML, the
// code-quality report is a JSON array with one issue per message.

#include "baselinereader.h"
#include "formats/codequalityreport.h"
#include "formats/junitreport.h"
#include "formats/sarifwriter.h"
#include "messagedescription.h"
#include "messagekey.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QXmlStreamReader>

#include <cstdio>
#include <cstdlib>

using namespace zefa::msg_filter::tool;

namespace {

QStringList keys(const std::vector<ClassifiedLine>& messages)
{
    QStringList result;
    for (const ClassifiedLine& message : messages) {
        result << matchKey(message);
    }
    return result;
}

template <typename Writer>
QByteArray written(const Writer& writer, const std::vector<ClassifiedLine>& messages)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    writer.write(messages, buffer);
    return buffer.data();
}

void check(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::abort();
    }
}

} // namespace

// Qt's JSON parser leaks when an object repeats a key. Suppressing what it allocates,
// and only that, needs whole allocation stacks: Qt is built without frame pointers.
extern "C" const char* __asan_default_options()
{
    return "fast_unwind_on_malloc=0";
}

extern "C" const char* __lsan_default_suppressions()
{
    return "leak:QJsonDocument::fromJson\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<ClassifiedLine> messages;
    QString error;
    if (!readBaseline(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)),
            messages, error)) {
        check(!error.isEmpty(), "a refusal says why");
        return 0;
    }
    const SourceUri paths(QStringLiteral("/src"), QStringLiteral("/work"));

    std::vector<ClassifiedLine> again;
    check(
        readBaseline(written(SarifWriter({ QString(), paths, QString() }), messages), again, error),
        "SARIF reads back");
    check(keys(again) == keys(messages), "SARIF reads back to the same messages");

    // jsonl carries no id or message text of its own; they follow from the fields again.
    // Once through jsonl, a message must come back unchanged. A SARIF result of another
    // tool may lack the log line that jsonl needs.
    const auto asJsonl = [](const std::vector<ClassifiedLine>& input, bool& everyLogLine) {
        QByteArray jsonl;
        everyLogLine = true;
        for (const ClassifiedLine& message : input) {
            jsonl += QJsonDocument(toJsonl(message)).toJson(QJsonDocument::Compact) + '\n';
            everyLogLine = everyLogLine && message.number > 0;
        }
        return jsonl;
    };
    bool everyLogLine = true;
    const QByteArray jsonl = asJsonl(messages, everyLogLine);
    check(readBaseline(jsonl, again, error) == everyLogLine, "jsonl reads back");
    if (everyLogLine) {
        std::vector<ClassifiedLine> twice;
        check(readBaseline(asJsonl(again, everyLogLine), twice, error), "jsonl reads back twice");
        check(keys(twice) == keys(again), "jsonl reads back to the same messages");
    }

    QStringList inputs;
    for (const ClassifiedLine& message : messages) {
        inputs << message.file;
    }
    inputs.removeDuplicates();
    QXmlStreamReader junit(written(JunitReport({ inputs, {} }), messages));
    while (!junit.atEnd()) {
        junit.readNext();
    }
    check(!junit.hasError(), "JUnit is well-formed");

    const QJsonDocument quality =
        QJsonDocument::fromJson(written(CodeQualityReport(paths), messages));
    check(quality.isArray() && quality.array().size() == static_cast<int>(messages.size()),
        "one code-quality issue per message");
    return 0;
}
