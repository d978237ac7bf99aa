#pragma once

#include <QString>

#include <vector>

namespace zefa::msg_filter::tool {

/// A place in a rule file, both counted from 1.
struct FilePosition {
    qint64 line = 0;
    qint64 column = 0;
};

struct RuleFinding {
    FilePosition at;
    QString message;
};

/// What a rule file loses or can never match, in file order, and what it defines.
struct RuleCheck {
    std::vector<RuleFinding> findings;
    int targets = 0;
    int engines = 0;
    int rules = 0;
    int subRules = 0;
};

/// Reads a rule file with the library's own reader and reports everything the library
/// drops silently or can never match: XML errors, a wrong root element, elements
/// without their required attributes, unknown elements and attributes, duplicate
/// names, Rule names with no FilterRule, rules no engine uses, invalid patterns and
/// sub-rules that name more fields than their pattern has capture groups.
RuleCheck checkRules(const QString& path);

/// The report for people: "PATH:LINE:COLUMN: finding" per finding, then a last line
/// with the count of findings, or with what the file defines when there are none.
QString ruleCheckReport(const QString& path, const RuleCheck& check);

} // namespace zefa::msg_filter::tool
