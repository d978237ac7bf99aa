// The stand-alone filter fed arbitrary output in chunks of arbitrary sizes, with the rules
// that ship with the library. The first byte chooses the engine and the chunk size; the
// rest is the output. Besides crashes and sanitizer findings it checks that no text is lost
// or repeated: the lines recorded, joined, are the output up to its last line feed, and
// every field of a result is a piece of its line.

#include <msgfilter/zefamsgfilter.h>

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

const char* const kEngines[] = { "default", "legacy", "synth", "" };

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    qputenv("ZEFA_DATA_PATH", QByteArrayLiteral(MSGFILTER_SOURCE_DATA_DIR));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::size_t chunkSize = 1 + data[0] % 61;
    const std::string output(reinterpret_cast<const char*>(data) + 1, size - 1);

    zefa::msg_filter::ZefaMsgFilter filter("fpga");
    filter.startEngin(kEngines[(data[0] >> 6) & 3]);
    for (std::size_t start = 0; start < output.size(); start += chunkSize) {
        const std::string chunk = output.substr(start, chunkSize);
        filter.filterMessage(chunk.data(), chunk.size());
    }

    std::string joined;
    for (const auto& result : filter.getResults()) {
        require(!result.message.empty() && result.message.back() == '\n');
        require(result.rule.empty() == (result.type == "Text"));
        for (const auto& field : result.fields)
            require(result.message.find(field.second) != std::string::npos);
        joined += result.message;
    }
    require(joined == output.substr(0, output.rfind('\n') + 1));
    return 0;
}
