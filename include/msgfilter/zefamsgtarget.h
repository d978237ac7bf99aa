#pragma once

#include <msgfilter/msgfilter_export.h>
#include <msgfilter/zefaenginmsgparser.h>

#include <map>
#include <string>
#include <utility>

namespace zefa::msg_filter::impl_detail {

/// One target device family and the engines it knows, by name.
///
/// getEngine() is an exact look-up with no fallback; a client that wants a default engine
/// asks for it by name (the stand-alone filter falls back to "default").
class MSGFILTER_EXPORT ZefaMsgTarget {
public:
    ZefaMsgTarget(const std::string& name);

    const std::string& getName() const { return m_name; }
    const std::map<std::string, ZefaEnginMsgParser>& getEngines() const { return m_engines; }

    /// The engine of that exact name, or null.
    ZefaEnginMsgParser* getEngine(const std::string& name);

    /// Stores a copy of `parser` under `name` unless the name is taken. Returns (true, the
    /// stored copy) when inserted, (false, the engine already stored) when not; an existing
    /// entry is never replaced.
    std::pair<bool, ZefaEnginMsgParser*> addEnginParsser(
        const std::string& name, const ZefaEnginMsgParser& parser);

private:
    std::string m_name;
    std::map<std::string, ZefaEnginMsgParser> m_engines;
};

} // namespace zefa::msg_filter::impl_detail
