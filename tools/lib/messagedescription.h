#pragma once

#include "classification.h"

#include <QJsonObject>
#include <QString>

#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// The decoded dynamic arguments of a structured line's fields, as the engine side
/// decodes them.
std::vector<std::string> structuredArguments(const MessageFields& fields);

/// Derives id, message and source place of a line from its fields.
void describeMessage(ClassifiedLine& line);

/// A line as the rules produced it, described.
ClassifiedLine classifiedLine(const QString& file, long long number, Severity severity,
    const QString& rule, const QString& type, MessageFields fields, const QString& text);

/// Reads a severity as reports write it (severityName(): "Error", "Warning", "Info", any
/// case), blanks included, unlike an option value.
bool severityOfName(const QString& name, Severity& severity);

/// The object `classify --format jsonl` writes for a message.
QJsonObject toJsonl(const ClassifiedLine& message);

/// Reads an object written by toJsonl back; false when it lacks a member or has one of
/// the wrong kind.
bool fromJsonl(const QJsonObject& object, ClassifiedLine& message);

} // namespace zefa::msg_filter::tool
