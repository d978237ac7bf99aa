#include "ansicolor.h"

namespace zefa::msg_filter::tool {

QString colored(const QString& text, Severity severity, bool color)
{
    if (!color) {
        return text;
    }
    const char* code = nullptr;
    switch (severity) {
    case Severity::Error:
        code = "1;31";
        break;
    case Severity::CriticalWarning:
        code = "1;35";
        break;
    case Severity::Warning:
        code = "1;33";
        break;
    case Severity::Info:
        code = "36";
        break;
    case Severity::None:
        return text;
    }
    return QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text);
}

} // namespace zefa::msg_filter::tool
