// The message store at scale: posting a million messages into a message object (time
// and memory per stored message), and saving and loading a million-message log beside a
// bare stream writer and reader pass over the same document.
//
//   cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DMSGFILTER_BUILD_BENCH=ON
//   cmake --build build-bench --target bench_store && build-bench/bench/bench_store
//
// The host substitute's catalogue journal is switched off: nobody reads it here.

#include <msgfilter/host/host.h>
#include <msgfilter/messageobject.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <memory>

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

namespace {

using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;
using zefa::pelno::MsgCatalogue;

constexpr int kMessages = 1000000;
constexpr int kIds = 20;
const char* const kProcesses[] = { "synth", "opt", "place", "route", "timing", "power", "drc",
    "bitgen" };
constexpr int kProcessCount = int(std::size(kProcesses));

double residentBytes()
{
    long pages = 0;
    long resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(statm);
    }
    return double(resident) * double(sysconf(_SC_PAGESIZE));
}

double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd);
}

void prepareCatalogue()
{
    static bool done = false;
    if (done)
        return;
    done = true;
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    MsgCatalogue::instance().setJournalEnabled(false);
    MsgCatalogue::instance().reset();
    for (int id = 0; id < kIds; ++id)
        MsgCatalogue::instance().addEntry(
            "bench", "BENCH-" + std::to_string(id), 1 << (id % 3), "net %1 of cell %2 is unused");
}

// Messages as an engine posts them: the process changes every kMessages / 8 messages, ids
// come from a small set, and every message has its own arguments.
void postMessages(MessageObject& object, int count)
{
    QStringList ids;
    for (int id = 0; id < kIds; ++id)
        ids.append(QStringLiteral("BENCH-%1").arg(id));
    for (int i = 0; i < count; ++i) {
        if (i % (count / kProcessCount) == 0)
            object.setCurrentProcess(QLatin1String(kProcesses[i / (count / kProcessCount)]));
        object.postMessage(QString(), ids.at(i % kIds),
            { QStringLiteral("n_%1").arg(i), QStringLiteral("u_core/r_%1").arg(i % 977) },
            { QStringLiteral("top.v:%1").arg(i % 5000) });
    }
}

// One object holding a million messages and the log it saved, shared by the file benchmarks.
struct SavedLog {
    QTemporaryDir dir;
    MessageObject object;
    QString path;

    SavedLog()
        : path(dir.filePath(QStringLiteral("messages.xml")))
    {
        prepareCatalogue();
        postMessages(object, kMessages);
        object.loadProcessMessages(path); // missing: only remembers the path
        object.saveProcessMessages();
    }
    qint64 size() const { return QFileInfo(path).size(); }
};

SavedLog& savedLog()
{
    static SavedLog log;
    return log;
}

void BM_PostMessages(benchmark::State& state)
{
    prepareCatalogue();
    for (auto _ : state) {
        state.PauseTiming();
        auto object = std::make_unique<MessageObject>();
        malloc_trim(0);
        const double residentBefore = residentBytes();
        const double heapBefore = heapBytes();
        state.ResumeTiming();

        postMessages(*object, kMessages);

        state.PauseTiming();
        state.counters["resident_B_per_msg"] = (residentBytes() - residentBefore) / kMessages;
        state.counters["heap_B_per_msg"] = (heapBytes() - heapBefore) / kMessages;
        object.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}

void BM_SaveLog(benchmark::State& state)
{
    SavedLog& log = savedLog();
    for (auto _ : state)
        log.object.saveProcessMessages();
    state.counters["file_bytes"] = double(log.size());
    state.SetBytesProcessed(state.iterations() * log.size());
    state.SetItemsProcessed(state.iterations() * kMessages);
}

// The same document written by a bare stream writer straight into a file.
void BM_BareStreamWrite(benchmark::State& state)
{
    SavedLog& log = savedLog();
    const QString path = log.dir.filePath(QStringLiteral("bare.xml"));
    const QVector<MessageNode*> all = log.object.reloadAllMessages();
    qint64 written = 0;
    for (auto _ : state) {
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        QXmlStreamWriter writer(&file);
        writer.setAutoFormatting(true);
        writer.writeStartDocument();
        writer.writeStartElement(QStringLiteral("ZefaMessageLog"));
        QString process;
        for (MessageNode* node : all) {
            if (node->getMessageProcess() == QLatin1String("Tool"))
                continue;
            if (node->getMessageProcess() != process) {
                if (!process.isNull())
                    writer.writeEndElement();
                process = node->getMessageProcess();
                writer.writeStartElement(QStringLiteral("Task"));
                writer.writeAttribute(QStringLiteral("name"), process);
            }
            writer.writeStartElement(QStringLiteral("Message"));
            writer.writeTextElement(QStringLiteral("ID"), node->getMessageID());
            writer.writeTextElement(QStringLiteral("Severity"), node->getMessageSeverity());
            for (const QString& value : node->getMessageDynamicData())
                writer.writeTextElement(QStringLiteral("Dynamic"), value);
            for (const QString& value : node->getMessageNavigationData())
                writer.writeTextElement(QStringLiteral("Navigation"), value);
            writer.writeEndElement();
        }
        writer.writeEndElement();
        writer.writeEndElement();
        file.close();
        written = QFileInfo(path).size();
    }
    if (written != log.size())
        state.SkipWithError("the bare writer wrote a different document size");
    state.SetBytesProcessed(state.iterations() * written);
    state.SetItemsProcessed(state.iterations() * kMessages);
}

void BM_LoadLog(benchmark::State& state)
{
    SavedLog& log = savedLog();
    for (auto _ : state) {
        state.PauseTiming();
        auto object = std::make_unique<MessageObject>();
        state.ResumeTiming();

        object->loadProcessMessages(log.path);

        state.PauseTiming();
        if (object->reloadAllMessages().size() != kMessages)
            state.SkipWithError("the log did not read back whole");
        object.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * log.size());
    state.SetItemsProcessed(state.iterations() * kMessages);
}

// The same file through a bare stream reader, reading the same texts but building nothing.
void BM_BareStreamRead(benchmark::State& state)
{
    SavedLog& log = savedLog();
    const QString kId = QStringLiteral("ID");
    const QString kSeverity = QStringLiteral("Severity");
    const QString kDynamic = QStringLiteral("Dynamic");
    const QString kNavigation = QStringLiteral("Navigation");
    const QString kTask = QStringLiteral("Task");
    qint64 texts = 0;
    for (auto _ : state) {
        QFile file(log.path);
        file.open(QIODevice::ReadOnly);
        QXmlStreamReader reader(&file);
        while (!reader.atEnd()) {
            reader.readNext();
            if (!reader.isStartElement())
                continue;
            const QStringRef name = reader.name();
            if (name == kTask) {
                benchmark::DoNotOptimize(
                    reader.attributes().value(QStringLiteral("name")).toString());
            } else if (name == kId || name == kSeverity || name == kDynamic
                || name == kNavigation) {
                const QString text = reader.readElementText();
                benchmark::DoNotOptimize(text);
                ++texts;
            }
        }
    }
    state.counters["texts"] = double(texts) / double(state.iterations());
    state.SetBytesProcessed(state.iterations() * log.size());
    state.SetItemsProcessed(state.iterations() * kMessages);
}

BENCHMARK(BM_PostMessages)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_SaveLog)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_BareStreamWrite)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_LoadLog)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_BareStreamRead)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

BENCHMARK_MAIN();
