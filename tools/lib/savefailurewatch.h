#pragma once

#include <QtGlobal>

namespace zefa::msg_filter::tool {

/// Notes, while it lives, the saves that the library reports as failed.
///
/// The library says nothing to its caller when the message log or the filter file cannot
/// be written; it writes one line on Qt's debug channel ("Fail to Writing message file",
/// then where). The watch catches those lines and hands every message on to the handler
/// installed before it. One watch at a time.
class SaveFailureWatch {
public:
    SaveFailureWatch();
    ~SaveFailureWatch();
    SaveFailureWatch(const SaveFailureWatch&) = delete;
    SaveFailureWatch& operator=(const SaveFailureWatch&) = delete;

    bool messageLogFailed() const { return m_messageLogFailed; }
    bool filterFileFailed() const { return m_filterFileFailed; }

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);

    QtMessageHandler m_previous = nullptr;
    bool m_messageLogFailed = false;
    bool m_filterFileFailed = false;
};

} // namespace zefa::msg_filter::tool
