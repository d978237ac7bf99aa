#include "jsonlformat.h"

#include "messagedescription.h"

#include <QJsonDocument>

namespace zefa::msg_filter::tool {

JsonlFormat::JsonlFormat(const FormatOptions&) { }

QByteArray JsonlFormat::message(const ClassifiedLine& line)
{
    if (line.waived) {
        return {};
    }
    return QJsonDocument(toJsonl(line)).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray JsonlFormat::finish(const ClassificationSummary&)
{
    return {};
}

} // namespace zefa::msg_filter::tool
