#include "messageformat.h"

#include "jsonlformat.h"
#include "reportformat.h"
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

template <ReportKind Kind> std::unique_ptr<MessageFormat> makeReport(const FormatOptions& options)
{
    return std::make_unique<ReportFormat>(Kind, options);
}

constexpr FormatRow kFormats[] = {
    { "text", make<TextFormat> },
    { "jsonl", make<JsonlFormat> },
    { "sarif", makeReport<ReportKind::Sarif> },
    { "github", makeReport<ReportKind::Github> },
    { "codequality", makeReport<ReportKind::CodeQuality> },
    { "junit", makeReport<ReportKind::Junit> },
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

bool MessageFormat::readsDescription() const
{
    return true;
}

bool MessageFormat::readsFields() const
{
    return true;
}

std::unique_ptr<MessageFormat> MessageFormat::forPiece() const
{
    return nullptr;
}

bool isMessageFormat(const QString& name)
{
    return findFormat(name) != nullptr;
}

std::unique_ptr<MessageFormat> makeMessageFormat(const QString& name, const FormatOptions& options)
{
    const FormatRow* row = findFormat(name);
    return row == nullptr ? nullptr : row->make(options);
}

std::unique_ptr<MessageFormat> makeSummaryFormat(const FormatOptions& options)
{
    return makeReport<ReportKind::Summary>(options);
}

} // namespace zefa::msg_filter::tool
