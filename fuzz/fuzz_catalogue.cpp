// Arbitrary bytes as the catalogue file of the host substitute. Besides crashes and
// sanitizer findings it checks what a load promises: a file is taken whole or not at all,
// with a reason for every line refused, and what a clean load holds is what the file means:
// written out again entry by entry, it loads to the same entries.

#include <msgfilter/host/host.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

namespace {

using zefa::pelno::CatalogueEntry;
using zefa::pelno::CatalogueProblem;
using zefa::pelno::MsgCatalogue;

QTemporaryDir* scratch = nullptr;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

using Entries = std::vector<std::tuple<int, std::string, std::string, int, std::string>>;

Entries entries()
{
    Entries all;
    for (const CatalogueEntry& entry : MsgCatalogue::instance().entries())
        all.emplace_back(entry.mid, entry.component, entry.id, entry.type, entry.text);
    return all;
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    require(file.write(bytes) == bytes.size());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    // An empty data directory: reset() leaves the generic entries only.
    scratch = new QTemporaryDir;
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(scratch->path()));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    MsgCatalogue& catalogue = MsgCatalogue::instance();
    catalogue.reset();
    const Entries generic = entries();
    const QString input = scratch->filePath(QStringLiteral("input.txt"));
    write(input, QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));

    std::vector<CatalogueProblem> problems;
    const bool loaded = catalogue.loadFile(input, &problems);
    require(loaded == problems.empty());
    for (const CatalogueProblem& problem : problems)
        require(problem.line > 0 && !problem.reason.empty());
    const Entries after = entries();
    if (!loaded) {
        require(after == generic);
        return 0;
    }

    QByteArray written;
    std::string shown;
    for (const CatalogueEntry& entry : catalogue.entries()) {
        const CatalogueEntry* found = catalogue.findEntry(std::to_string(entry.mid));
        require(found != nullptr && found->component == entry.component && found->id == entry.id);
        catalogue.displayString(std::to_string(entry.mid).c_str(), { "a", "b" }, shown);
        written += QByteArray::fromStdString(entry.component + "|" + entry.id + "|"
            + std::to_string(entry.type) + "|" + std::to_string(entry.mid) + "|" + entry.text
            + "\n");
    }
    const QString again = scratch->filePath(QStringLiteral("again.txt"));
    write(again, written);
    catalogue.reset();
    require(catalogue.loadFile(again) && entries() == after);
    return 0;
}
