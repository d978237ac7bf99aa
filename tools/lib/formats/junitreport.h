#pragma once

#include "classification.h"
#include "failurepolicy.h"

#include <QIODevice>
#include <QStringList>

#include <vector>

namespace zefa::msg_filter::tool {

/// Writes messages as a JUnit XML report, in the shape Jenkins and GitLab read: one test
/// suite per input, one test case per message id of that input (in order of first
/// appearance), failing when one of its messages fails, with every message of the case
/// in the failure text, or in its standard output when it passes.
///
/// An error always fails; so does whatever makes the run fail (--fail-on, --fail-on-new).
/// Waived messages are left out; an input without messages is an empty suite.
class JunitReport {
public:
    struct Options {
        QStringList inputs;
        FailurePolicy policy;
    };

    explicit JunitReport(Options options);

    bool fails(const ClassifiedLine& message) const;
    void write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const;

private:
    Options m_options;
};

} // namespace zefa::msg_filter::tool
