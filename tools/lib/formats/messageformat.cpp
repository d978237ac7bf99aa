#include "messageformat.h"

#include "jsonlformat.h"
#include "textformat.h"

namespace zefa::msg_filter::tool {

namespace {

struct FormatRow {
    const char* name;
    std::unique_ptr<MessageFormat> (*make)(const FormatOptions& options);
};

template <class Format> std::unique_ptr<MessageFormat> make(const FormatOptions& options)
{
    return std::make_unique<Format>(options);
}

constexpr FormatRow kFormats[] = {
    { "text", make<TextFormat> },
    { "jsonl", make<JsonlFormat> },
};

const FormatRow* findFormat(const QString& name)
{
    for (const FormatRow& row : kFormats) {
        if (name == QLatin1String(row.name)) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

MessageFormat::~MessageFormat() = default;

bool isMessageFormat(const QString& name)
{
    return findFormat(name) != nullptr;
}

std::unique_ptr<MessageFormat> makeMessageFormat(const QString& name, const FormatOptions& options)
{
    const FormatRow* row = findFormat(name);
    return row == nullptr ? nullptr : row->make(options);
}

} // namespace zefa::msg_filter::tool
