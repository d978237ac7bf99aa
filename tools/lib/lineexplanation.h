#pragma once

#include <QString>

#include <string>

namespace zefa::msg_filter::tool {

struct RulesSelection;

/// How the selected rules treat one line, for people: every rule of the engine with
/// the position and length of its match, the rule chosen (the longest match; on equal
/// length the name that sorts first), the first of its sub-rules that matches, the
/// fields it cuts out and the severity that gives.
///
/// `line` is matched as it is: the stand-alone filter sees each line with its line
/// feed, the engine-side handler without.
QString explainLine(const RulesSelection& rules, const std::string& line);

} // namespace zefa::msg_filter::tool
