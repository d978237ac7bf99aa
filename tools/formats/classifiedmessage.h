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

/// One line the rules recognised, as every output format, gate and review sees it.
///
/// `file`, `number` and `text` are where and what the line is in its input (the input's
/// name as given, "-" for standard input; 1-based; the line without its line end).
/// `id` is the message's own id (the structured format's id, a bracket tag such as
/// "Synth 8-327", a numbered message's number); a line without one is filed under the
/// generic catalogue id of its severity ("9990" error, "9991" warning and critical
/// warning, "9992" info), as the engine side files it. `message` is the text without
/// severity tag and id when the rule cuts out a text, for a structured line the
/// catalogue's text for its id and arguments (the arguments when the catalogue does not
/// know the id), otherwise the whole line trimmed. `sourceFile`, `sourceLine` and
/// `sourceColumn` are the source place the message names (empty and 0 when it names
/// none, or no line).
struct ClassifiedLine {
    using Fields = std::vector<std::pair<QString, QString>>;

    QString file;
    long long number = 0;
    Severity severity = Severity::None;
    QString rule;
    QString type;
    Fields fields; ///< in the order of the sub-rule
    QString text;

    QString id;
    QString message;
    QString sourceFile;
    long long sourceLine = 0;
    long long sourceColumn = 0;
    BaselineState baseline = BaselineState::None;
    bool waived = false;

    /// The first field of that name, or a null string.
    QString field(const QString& name) const;
    /// Whether the line is in the structured format (rule "new-message").
    bool isStructured() const;
};

/// The decoded dynamic arguments of a structured line's fields, as the engine side
/// decodes them.
std::vector<std::string> structuredArguments(const ClassifiedLine::Fields& fields);

/// Derives id, message and source place of a line from its fields.
void describeMessage(ClassifiedLine& line);

/// A line as the rules produced it, described.
ClassifiedLine classifiedLine(const QString& file, long long number, Severity severity,
    const QString& rule, const QString& type, ClassifiedLine::Fields fields, const QString& text);

/// The object `classify --format jsonl` writes for a message.
QJsonObject toJsonl(const ClassifiedLine& message);

/// Reads an object written by toJsonl back; false when it lacks a member or has one of
/// the wrong kind.
bool fromJsonl(const QJsonObject& object, ClassifiedLine& message);

} // namespace zefa::msg_filter::tool
