#pragma once

#include "classifiedmessage.h"

#include <QIODevice>
#include <QStringList>

#include <optional>
#include <vector>

namespace zefa::msg_filter::tool {

/// Writes messages as a JUnit XML report, in the shape Jenkins and GitLab read: one test
/// suite per input, one test case per message id of that input (in order of first
/// appearance), failing when one of its messages fails, with every message of the case
/// in the failure text, or in its standard output when it passes.
///
/// A message fails at or above `failAt` (errors by default, the threshold of --fail-on
/// when lower), and, when it is new against a baseline, at or above `failNewAt`. Waived
/// messages are left out; an input without messages is an empty suite.
class JunitReport {
public:
    struct Options {
        QStringList inputs;
        Severity failAt = Severity::Error;
        std::optional<Severity> failNewAt;
    };

    explicit JunitReport(Options options);

    bool fails(const ClassifiedMessage& message) const;
    void write(const std::vector<ClassifiedMessage>& messages, QIODevice& device) const;

private:
    Options m_options;
};

} // namespace zefa::msg_filter::tool
