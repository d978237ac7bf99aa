#pragma once

#include "severity.h"

#include <QJsonObject>
#include <QString>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// Where a message stands against a baseline run.
enum class BaselineState {
    None, ///< no baseline was given
    New, ///< not in the baseline
    Known, ///< in the baseline
};

/// One recognised line of one input, as every output format and gate sees it.
///
/// `id` is the message's own id (the structured format's id, a bracket tag such as
/// "Synth 8-327", a numbered message's number); a line without one is filed under the
/// generic catalogue id of its severity ("9990" error, "9991" warning and critical
/// warning, "9992" info), as the engine side files it. `text` is the message without its
/// severity tag and id when the rule cuts out a text, for a structured line the
/// catalogue's text for its id and arguments (the arguments when the catalogue does not
/// know the id), otherwise the whole line trimmed.
/// `file`, `line` and `column` are the source place the message names (empty and 0 when
/// it names none); `input` and `logLine` are where the message stands in the log.
struct ClassifiedMessage {
    using Fields = std::vector<std::pair<QString, QString>>;

    QString input;
    long long logLine = 0;
    Severity severity = Severity::None;
    QString rule;
    QString type;
    QString id;
    QString text;
    QString file;
    long long line = 0;
    long long column = 0;
    Fields fields;
    QString rawLine;
    BaselineState baseline = BaselineState::None;
    bool waived = false;

    /// The first field of that name, or a null string.
    QString field(const QString& name) const;
    /// Whether the line is in the structured format (rule "new-message").
    bool isStructured() const;
};

/// The decoded dynamic arguments of a structured line's fields, as the engine side
/// decodes them.
std::vector<std::string> structuredArguments(const ClassifiedMessage::Fields& fields);

/// Builds a message from what the rules produced for one line: derives id, text and
/// source place from the fields.
ClassifiedMessage classifiedMessage(const QString& input, long long logLine, Severity severity,
    const QString& rule, const QString& type, ClassifiedMessage::Fields fields,
    const QString& rawLine);

/// The object `classify --format jsonl` writes for a message.
QJsonObject toJsonl(const ClassifiedMessage& message);

/// Reads an object written by toJsonl back; false when it lacks a member or has one of
/// the wrong kind.
bool fromJsonl(const QJsonObject& object, ClassifiedMessage& message);

} // namespace zefa::msg_filter::tool
