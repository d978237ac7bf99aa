#pragma once

#include "common/patternset.h"
#include "common/regexpattern.h"

#include <msgfilter/zefaenginmsgparser.h>
#include <msgfilter/zefamsgparserengin.h>
#include <msgfilter/zefamsgparserrule.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// The rules of one engine rule set, screened together: one pass over a line finds the
/// rules that may match, and only those are searched for their exact match length.
///
/// It answers exactly what visiting every rule in name order and keeping the first
/// strictly longest match answers. It is built from the engine's tables as they are and
/// holds pointers into them; isCurrent() tells whether the tables have moved on since.
class RuleScan {
public:
    /// Where the best rule matched; rule null when no rule matches.
    struct Best {
        ZefaMsgParserRule* rule = nullptr;
        int position = -1;
        int length = -1;
    };

    RuleScan(ZefaMsgParserEngin& engine, const ZefaEnginMsgParser& parser);

    /// The first sub-rule of a rule that matches anywhere in a line.
    struct SubRuleFound {
        int index = -1; ///< in the rule's order; -1 when none matches
        RegexPattern::Match match; ///< with the spans of its groups
    };

    /// Whether findBest() measures the best rule's match when no other rule can match:
    /// when it is skipped, position and length stay -1 where the one candidate surely
    /// matches.
    enum class Measure { Always, WhenCompared };

    bool isCurrent(const ZefaMsgParserEngin& engine) const;
    Best findBest(std::string_view line, Measure measure = Measure::Always) const;

    /// The leftmost match of the rule's own pattern, without captures.
    static RegexPattern::Match matchOf(const ZefaMsgParserRule& rule, std::string_view line);
    static SubRuleFound findSubRule(const ZefaMsgParserRule& rule, std::string_view line);
    /// One (name, captured text) pair per group of `match`, a search of `line` with its
    /// spans, named in order by `sub`.
    static void appendFields(const ZefaMsgParserRule::SubRule& sub,
        const RegexPattern::Match& match, std::string_view line,
        std::vector<std::pair<std::string, std::string>>& fields);

private:
    struct Entry {
        ZefaMsgParserRule* rule;
        const RegexPattern* pattern; ///< the rule's compiled pattern when the scan was built
    };

    const ZefaMsgParserEngin* m_engine;
    std::uint64_t m_rulesStamp;
    std::vector<Entry> m_entries; ///< in the order rules are tried
    std::unique_ptr<PatternSet> m_screen;
};

/// Holds the scan of one engine rule set, built on first use and rebuilt when the rule
/// tables change; several threads may ask at once.
class RuleScanSlot {
public:
    /// The current scan of `parser`'s rules in `engine`.
    static std::shared_ptr<const RuleScan> scanFor(
        ZefaMsgParserEngin& engine, const ZefaEnginMsgParser& parser);
    /// The best rule of `parser` for the line; none for null arguments or an engine that
    /// is not initialized (it hands out no rule then).
    static RuleScan::Best findBest(
        ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, std::string_view line);

private:
    std::mutex m_mutex;
    std::shared_ptr<const RuleScan> m_scan;
};

} // namespace zefa::msg_filter::impl_detail
