// A line's severity from its type, as the tool reads it, whatever it read before.

#include "severity.h"

#include <string>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;

namespace {

struct TypeRow {
    const char* type;
    Severity severity;
};

const TypeRow kRows[] = {
    { "error", Severity::Error },
    { "message:ERROR", Severity::Error },
    { "@E", Severity::Error },
    { "critical-warning", Severity::CriticalWarning },
    { "Critical Warning", Severity::CriticalWarning },
    { "warning", Severity::Warning },
    { "@w", Severity::Warning },
    // A type naming both is an error; "critical" alone is no warning.
    { "critical error warning", Severity::Error },
    { "critical", Severity::Info },
    { "info", Severity::Info },
    { "", Severity::Info },
};

void expectRows()
{
    for (const TypeRow& row : kRows) {
        SCOPED_TRACE(row.type);
        EXPECT_EQ(severityOfType(row.type), row.severity);
    }
}

TEST(SeverityOfType, ReadsTheWordsOfTheType)
{
    expectRows();
}

// Structured lines bring types of their own; however many a log holds, each known type
// keeps its answer and each new one gets its own.
TEST(SeverityOfType, AnswersAlikeAfterManyOtherTypes)
{
    expectRows();
    for (int index = 0; index < 200; ++index) {
        const std::string type = (index % 2 == 0 ? "warning-" : "note-") + std::to_string(index);
        EXPECT_EQ(severityOfType(type), index % 2 == 0 ? Severity::Warning : Severity::Info);
    }
    expectRows();
}

} // namespace
