#pragma once

#include <msgfilter/ivisitor.h>
#include <msgfilter/msgfilter_export.h>
#include <msgfilter/zefamsgparserrule.h>
#include <msgfilter/zefamsgtarget.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace zefa::msg_filter::impl_detail {

/// The rule engine: every target device family, engine and filter rule of the filter
/// definition file "enginemsg.xml" in the tool's data directory.
///
/// getMsgParserEngin() hands out the process-wide engine and loads the file on first use.
/// A load that fails (missing file, malformed XML, wrong root element) leaves both tables
/// empty and the engine uninitialized, and the next getMsgParserEngin() tries the file
/// again; a successful load is final, the tables never change afterwards. While the
/// engine is not initialized every look-up returns null.
///
/// Look-ups hand out pointers into the engine's tables; they stay valid as long as the
/// engine lives. Once loaded, look-ups and matching only read, so they may run from
/// several threads.
///
/// Other engines may be constructed, e.g. to check a definition file without touching the
/// process-wide one:
///
///     ZefaMsgParserEngin engine;
///     if (engine.loadFilterRulesFromFile("/path/to/rules.xml")) { ... }
class MSGFILTER_EXPORT ZefaMsgParserEngin {
public:
    /// An empty, uninitialized engine.
    ZefaMsgParserEngin();
    ZefaMsgParserEngin(const ZefaMsgParserEngin& other);
    ZefaMsgParserEngin& operator=(const ZefaMsgParserEngin& other);

    /// The process-wide engine, created on first call; loads the definition file whenever
    /// it is not loaded yet. Never null.
    static ZefaMsgParserEngin* getMsgParserEngin();

    bool isInitialized() const;

    /// Reads "enginemsg.xml" from the tool's data directory. True only when this call
    /// loaded it; false at once, without reading, when the engine is already initialized.
    /// A failed load empties both tables.
    bool loadFilterRules();
    /// The same, from the given file instead of the data directory.
    bool loadFilterRulesFromFile(const std::string& filePath);

    /// The target of that exact name; null when unknown or the engine is not initialized.
    ZefaMsgTarget* getTarget(const std::string& name);
    /// The rule of that exact name; null when unknown or the engine is not initialized.
    ZefaMsgParserRule* getRule(const std::string& name);

    /// Stores a copy of `rule` under `name` unless the name is taken. Returns (true, the
    /// stored copy) when inserted, (false, the rule already stored) when not.
    std::pair<bool, ZefaMsgParserRule*> addMsgFilterRule(
        const std::string& name, const ZefaMsgParserRule& rule);
    /// The same for targets.
    std::pair<bool, ZefaMsgTarget*> addDeviceTarget(
        const std::string& name, const ZefaMsgTarget& target);

    /// Every target and every rule, by name, whether or not the engine is initialized.
    const std::map<std::string, ZefaMsgTarget>& getTargets() const { return m_targets; }
    const std::map<std::string, ZefaMsgParserRule>& getRules() const { return m_rules; }

private:
    friend class RuleScan;

    // Keeps the tables in step with the outcome of one read attempt.
    bool finishLoad(bool loaded);
    // Marks the rule table as changed, for the scans built over it.
    void renewRulesStamp();

    bool m_initialized = false;
    std::map<std::string, ZefaMsgParserRule> m_rules;
    std::map<std::string, ZefaMsgTarget> m_targets;
    // Unique in the process to one state of one engine's rule table: copies get their own.
    std::uint64_t m_rulesStamp = 0;

    static ZefaMsgParserEngin* pInstance;
};

/// Calls `visitor` with each rule of `parser` in byte-wise order of the rule names,
/// looking each up in `engine` (names without a rule are skipped) until the visitor
/// returns false. Does nothing if any argument is null.
MSGFILTER_EXPORT void VisitRulesForEngine(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, IVisitor<ZefaMsgParserRule>* visitor);

/// The rule of `parser` with the longest match in `line`, wherever the match lies; on
/// equal lengths the rule whose name sorts first byte-wise. A rule matching the empty
/// string beats rules that do not match. Null when no rule matches or an argument is null.
MSGFILTER_EXPORT ZefaMsgParserRule* FindBestMatchRule(
    ZefaMsgParserEngin* engine, ZefaEnginMsgParser* parser, const std::string& line);

} // namespace zefa::msg_filter::impl_detail
