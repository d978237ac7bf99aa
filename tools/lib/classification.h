#pragma once

#include "severity.h"

#include <QString>

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// A line's fields as (name, value) pairs, in the order of the sub-rule.
using MessageFields = std::vector<std::pair<QString, QString>>;

/// Where a message stands against a baseline run.
enum class BaselineState {
    None, ///< no baseline was given
    New, ///< not in the baseline
    Known, ///< in the baseline
};

/// One line the rules recognised, decoded for display, and the message it carries as
/// every output format, gate and review sees it.
///
/// `id` is the message's own id (the structured format's id, a bracket tag such as
/// "Synth 8-327", a numbered message's number); a line without one is filed under the
/// generic catalogue id of its severity ("9990" error, "9991" warning and critical
/// warning, "9992" info), as the engine side files it. `message` is the text without
/// severity tag and id when the rule cuts out a text, for a structured line the
/// catalogue's text for its id and arguments (the arguments when the catalogue does not
/// know the id), otherwise the whole line trimmed. `sourceFile`, `sourceLine` and
/// `sourceColumn` are the source place the message names (empty and 0 when it names
/// none, or no line). describeMessage() derives them from the fields.
struct ClassifiedLine {
    QString file; ///< the input's name as given, "-" for standard input
    long long number = 0; ///< 1-based, counted per input
    Severity severity = Severity::None;
    QString rule;
    QString type;
    MessageFields fields;
    QString text; ///< the line without its line end

    QString id;
    QString message;
    QString sourceFile;
    long long sourceLine = 0;
    long long sourceColumn = 0;
    BaselineState baseline = BaselineState::None;
    bool waived = false; ///< a filter file of waivers hides it

    /// The first field of that name, or a null string.
    QString field(const QString& name) const;
    /// Whether the line is in the structured format (rule "new-message").
    bool isStructured() const;
};

/// Counts indexed by Severity.
using SeverityCounts = std::array<long long, 5>;

/// What all inputs of one classification held, for summaries and the exit status.
struct ClassificationSummary {
    long long lines = 0;
    long long ruleWithoutSubRule = 0; ///< lines a rule won but none of its sub-rules fit
    SeverityCounts bySeverity {};
    std::map<std::string, SeverityCounts> byRule; ///< by the rule's name, in byte order
    Severity highest = Severity::None;
    long long waived = 0; ///< lines a waiver hides; left out of every count above
    long long newMessages = 0; ///< against a baseline, not waived
    long long knownMessages = 0; ///< against a baseline, not waived
    Severity highestNew = Severity::None;
};

} // namespace zefa::msg_filter::tool
