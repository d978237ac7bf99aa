#pragma once

#include <string>

namespace zefa::msg_filter::tool {

/// Publishes one event on the host's bus, as the host would, from its words.
///
/// `first` is a task's status code, a process's milestone, an engine's task or a
/// message's kind; `rest` a process's task, an engine's name or a message's text. Any
/// other category ("project", "implement") is published as a bare event. Returns what
/// the bus returns.
long publishHostEvent(const std::string& category, const std::string& action,
    const std::string& implementation, const std::string& first = {}, const std::string& rest = {});

/// The same from one line "CATEGORY ACTION IMPLEMENTATION [FIRST [REST]]": words at
/// single blanks, REST everything after the blank that ends FIRST (blanks and line
/// feeds included).
long publishHostEvent(const std::string& line);

} // namespace zefa::msg_filter::tool
