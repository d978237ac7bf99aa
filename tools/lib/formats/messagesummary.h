#pragma once

#include "classification.h"

#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace zefa::msg_filter::tool {

/// The table engineers read first: messages grouped by id, by input or by rule, with
/// each group's severity, count, first place and an example text, and each input's
/// counts per severity.
///
/// Waived messages are counted apart and never set a group's severity, count, place or
/// example; a group of waived messages only still appears, with a count of 0. Rows sort
/// by severity (most severe first), then count (largest first), then key.
class MessageSummary {
public:
    enum class GroupBy { Id, Input, Rule };

    struct Row {
        QString key;
        Severity severity = Severity::None;
        long long count = 0;
        long long newCount = 0;
        long long waived = 0;
        QString firstInput;
        long long firstLogLine = 0;
        QString example;
    };

    struct InputCounts {
        std::map<Severity, long long> bySeverity;
        long long waived = 0;
    };

    explicit MessageSummary(GroupBy groupBy);

    void add(const ClassifiedLine& message);
    /// The baseline messages this run no longer has.
    void setFixed(std::vector<ClassifiedLine> fixed);

    std::vector<Row> rows() const;
    /// Counts per input, in the order inputs were first seen.
    std::vector<std::pair<QString, InputCounts>> inputs() const;
    const std::vector<ClassifiedLine>& fixed() const { return m_fixed; }
    long long waived() const { return m_waived; }

    /// The table as text. `baseline` adds the "New" column and the fixed messages,
    /// `waivers` the "Waived" column.
    QString text(bool baseline, bool waivers) const;

private:
    QString keyOf(const ClassifiedLine& message) const;

    GroupBy m_groupBy;
    std::map<QString, Row> m_rows;
    std::vector<std::pair<QString, InputCounts>> m_inputs;
    std::vector<ClassifiedLine> m_fixed;
    long long m_waived = 0;
};

} // namespace zefa::msg_filter::tool
