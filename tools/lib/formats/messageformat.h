#pragma once

#include "classification.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace zefa::msg_filter::tool {

/// How classify writes what it recognised: one object per output format.
///
/// `message` is called once per recognised line, in input order, and its bytes are
/// written at once; `finish` once after the last input. A format that needs every
/// message before it can write (a single document) keeps them and writes in `finish`.
class MessageFormat {
public:
    virtual ~MessageFormat();

    virtual QByteArray message(const ClassifiedLine& line) = 0;
    virtual QByteArray finish(const ClassificationSummary& summary) = 0;
};

/// What every format may be told.
struct FormatOptions {
    bool color = false; ///< colour severities with ANSI escapes
};

/// Whether a format of that name exists.
bool isMessageFormat(const QString& name);

/// The format of that name ("text", "jsonl", ...), or null for an unknown name. To add
/// a format, give it a file in this folder and a row in the table of messageformat.cpp.
std::unique_ptr<MessageFormat> makeMessageFormat(const QString& name, const FormatOptions& options);

} // namespace zefa::msg_filter::tool
