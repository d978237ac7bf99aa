#pragma once

#include <QStringList>

namespace zefa::msg_filter::tool {

/// Exit status of every command.
enum ExitStatus : int {
    kExitSuccess = 0, ///< done, nothing to report
    kExitFindings = 1, ///< check-rules found problems, or a line reached --fail-on
    kExitFailure = 2, ///< bad usage, or an input or rules file that cannot be used
};

/// One command of the tool: the word that selects it, a one-line summary for the
/// overview, and the function that runs it on the arguments after that word.
struct Command {
    const char* name;
    const char* summary;
    int (*run)(const QStringList& arguments);
};

int runClassify(const QStringList& arguments);
int runReport(const QStringList& arguments);
int runCheckRules(const QStringList& arguments);
int runExplain(const QStringList& arguments);
int runSession(const QStringList& arguments);
int runSummary(const QStringList& arguments);
int runWaive(const QStringList& arguments);

} // namespace zefa::msg_filter::tool
