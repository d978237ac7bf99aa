#pragma once

#include "rulesselection.h"

#include <QString>

namespace toollibtest {

/// The rules of this test executable, loaded from `path` at the first call. The library
/// reads its rule file once per process, so every later call must name the same file;
/// a test fails when the rules do not load.
const zefa::msg_filter::tool::RulesSelection& loadedRules(const QString& path);

} // namespace toollibtest
