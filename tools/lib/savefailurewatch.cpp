#include "savefailurewatch.h"

#include <QString>

namespace zefa::msg_filter::tool {

namespace {

SaveFailureWatch* current = nullptr;

} // namespace

SaveFailureWatch::SaveFailureWatch()
{
    current = this;
    m_previous = qInstallMessageHandler(&SaveFailureWatch::handle);
}

SaveFailureWatch::~SaveFailureWatch()
{
    qInstallMessageHandler(m_previous);
    current = nullptr;
}

void SaveFailureWatch::handle(
    QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    // The line names the writer by its source location: the message log's or the filter
    // file's.
    if (type == QtDebugMsg && text.startsWith(QLatin1String("Fail to Writing message file"))) {
        if (text.contains(QLatin1String("messagefilterreadwrite")))
            current->m_filterFileFailed = true;
        else
            current->m_messageLogFailed = true;
    }
    if (current->m_previous != nullptr)
        current->m_previous(type, context, text);
}

} // namespace zefa::msg_filter::tool
