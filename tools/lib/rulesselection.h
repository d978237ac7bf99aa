#pragma once

#include <QString>

#include <string>

namespace zefa::msg_filter::impl_detail {
class ZefaMsgParserEngin;
class ZefaMsgTarget;
class ZefaEnginMsgParser;
} // namespace zefa::msg_filter::impl_detail

namespace zefa::msg_filter::tool {

/// The rules the tool works with: the loaded rule engine, and the target and engine
/// chosen in it the way ZefaMsgFilter chooses them.
struct RulesSelection {
    QString path; ///< the rule file, for messages
    impl_detail::ZefaMsgParserEngin* rules = nullptr;
    impl_detail::ZefaMsgTarget* target = nullptr;
    impl_detail::ZefaEnginMsgParser* engine = nullptr;
    std::string targetName;
    std::string engineName; ///< as asked for
    bool usesDefaultEngine = false; ///< the engine asked for is unknown; "default" stands in
};

/// The rule file the library loads when the tool is given none.
QString defaultRulesPath();

/// Loads the rules and looks up the target and the engine.
///
/// `rulesPath` is a rule file or a directory holding "enginemsg.xml"; empty means the
/// default rules. The rule engine reads its file once, so this is for before its first
/// use; the data directory (and the catalogue in it) stays where it is. On failure
/// (unreadable file, rules that do not load, unknown target, unknown engine without a
/// "default" engine) returns false with one sentence naming the file in `error`.
bool selectRules(const QString& rulesPath, const QString& target, const QString& engine,
    RulesSelection& selection, QString& error);

} // namespace zefa::msg_filter::tool
