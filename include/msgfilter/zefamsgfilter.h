#pragma once

#include <msgfilter/msgfilter_export.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter {

/// Classifies engine output line by line with the rule engine, without any host service.
///
/// Name the target device family and the engine, feed output in pieces of any size with
/// filterMessage(), and each complete line (newline included) is classified and queued as
/// a ParsResult; getResults() reads the queue. A line the engine has no rule for is
/// recorded as plain "Text". An unknown engine falls back to the target's "default"
/// engine.
///
///     ZefaMsgFilter filter;
///     filter.startFilter("fpga");
///     filter.startEngin("synth");
///     filter.filterMessage("WARNING: something\nERR");
///     filter.filterMessage("OR: other\n");
///     filter.endFilter();
///     for (const auto& result : filter.getResults()) { ... }
///
/// Things to know: the start/end/filter calls return whether any result was ever
/// recorded, not whether this call added one; startFilter(), startEngin() and endFilter()
/// classify the unterminated rest of the output but keep it pending, so it is classified
/// again at the next of these calls and later text is appended to it; getNextResult() is
/// a stub that never yields a result. One filter serves one thread.
class MSGFILTER_EXPORT ZefaMsgFilter {
public:
    /// The classification of one line.
    struct ParsResult {
        bool isNewMessage = false; ///< matched by rule "new-message" and one of its sub-rules
        std::string message; ///< the line as classified, normally with its newline
        std::string rule; ///< name of the best rule, empty when none applied
        /// "Text" when no rule applied; else the rule's type, followed by ":" and the
        /// sub-rule's type when a sub-rule matched and the rule is not "new-message".
        std::string type;
        /// (field name, captured text) pairs of the matching sub-rule.
        std::vector<std::pair<std::string, std::string>> fields;
    };

    ZefaMsgFilter();
    /// As the default constructor, then setTarget(target) unless it is null or empty.
    explicit ZefaMsgFilter(const char* target);
    ZefaMsgFilter(const ZefaMsgFilter& other);
    ZefaMsgFilter& operator=(const ZefaMsgFilter& other);
    /// Drops the results; pending text is not classified.
    ~ZefaMsgFilter();

    /// Selects the target device family and forgets the engine, even when the name is the
    /// one already selected. The family is looked up only when the name changes.
    void setTarget(const char* name);
    /// Selects an engine of the current target, or its "default" engine when the name is
    /// unknown. Ignored without a target, or when the name is the one already selected.
    void setEngine(const char* name);

    bool startFilter(const char* target);
    bool startEngin(const char* engine);
    bool endFilter();
    bool filterMessage(const char* text);
    /// As filterMessage(text), for `size` bytes: a NUL byte is text like any other and
    /// stays in its line, as everywhere else in the library.
    bool filterMessage(const char* text, std::size_t size);
    /// Classifies one line and appends its result; an empty line records nothing.
    void flushMessage(const std::string& line);

    /// A stub: empties `result` (except isNewMessage) and returns false. Use getResults().
    bool getNextResult(ParsResult& result);
    /// Every result recorded so far, oldest first.
    const std::deque<ParsResult>& getResults() const;
    /// Hands over every result recorded so far, oldest first, and forgets them, so that a
    /// long run does not keep them all. The start, end and filter calls still answer
    /// whether a result was ever recorded.
    std::deque<ParsResult> takeResults();
    /// Does nothing.
    void writeLogFile(const std::string& text);

    /// Decodes the fields of a structured message: "id" gives `id`; "dynamic" and
    /// "navigation" give the number of arguments of each list; "args" holds the arguments
    /// as name=value pieces separated by blanks, dynamic ones first. A value is cut at a
    /// blank or a second "=", and one pair of enclosing double quotes is dropped.
    static void parseNewMessage(const std::vector<std::pair<std::string, std::string>>& fields,
        std::string& id, std::vector<std::string>& dynamicArgs,
        std::vector<std::string>& navigationArgs);

private:
    struct FilterState;

    std::string m_pending;
    std::string m_engineName;
    std::string m_targetName;
    std::unique_ptr<FilterState> m_state;
    std::deque<ParsResult> m_results;
};

/// Matches `line` against the named rules of the process-wide rule engine, in the given
/// order. A rule must match at least one character and at least as long as the best match
/// so far. The first such rule whose sub-rules also match wins: `ruleName` names it,
/// `fields` receives its sub-rule's pairs, and its match length is returned. Otherwise the
/// result is the length of the last rule that matched without a matching sub-rule, with
/// `ruleName` naming it, or -1 when no rule matched (or the list is empty).
MSGFILTER_EXPORT int GetFieldsFromEngineMsg(const std::string& line,
    const std::vector<std::string>& ruleNames, std::string& ruleName,
    std::vector<std::pair<std::string, std::string>>& fields);

} // namespace zefa::msg_filter
