#pragma once

#include "severity.h"

#include <QString>

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// One line the rules recognised, decoded for display.
struct ClassifiedLine {
    QString file; ///< the input's name as given, "-" for standard input
    long long number = 0; ///< 1-based, counted per input
    Severity severity = Severity::None;
    QString rule;
    QString type;
    std::vector<std::pair<QString, QString>> fields; ///< in the order of the sub-rule
    QString text; ///< the line without its line end
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
};

} // namespace zefa::msg_filter::tool
