#pragma once

#include <msgfilter/host/host.h>

#include <QString>
#include <QStringList>

#include <string>

// Helpers shared by the engine-side tests: they drive the library the way a host does,
// by publishing records on the bus, and capture what it writes to the debug channel.
namespace enginetest {

void publishTask(const std::string& action, const std::string& implementation, int status = 0);
void publishProcess(const std::string& action, const std::string& implementation,
    const std::string& milestone, const std::string& task);
void publishEngine(const std::string& action, const std::string& implementation,
    const std::string& task, const std::string& engine);
void publishProject(const std::string& action, const std::string& implementation = {});
void publishImplement(const std::string& action, const std::string& implementation);
void publishOutput(const std::string& implementation, const std::string& text, int kind = 6);

/// Collects every debug-channel message while it lives and restores the previous
/// message handler afterwards.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    QStringList lines() const;
    void clear();
};

} // namespace enginetest
