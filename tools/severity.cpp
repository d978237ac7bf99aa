#include "severity.h"

namespace zefa::msg_filter::tool {

Severity severityOfType(const std::string& type)
{
    const QString text = QString::fromLatin1(type.data(), static_cast<int>(type.size()));
    const auto has = [&text](const char* word) {
        return text.contains(QLatin1String(word), Qt::CaseInsensitive);
    };
    if (has("error") || has("@E")) {
        return Severity::Error;
    }
    if (has("warning") || has("@W")) {
        return Severity::Warning;
    }
    return Severity::Info;
}

QString severityName(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return QStringLiteral("Error");
    case Severity::Warning:
        return QStringLiteral("Warning");
    case Severity::Info:
        return QStringLiteral("Info");
    case Severity::None:
        break;
    }
    return {};
}

bool parseSeverity(const QString& text, Severity& severity)
{
    for (Severity candidate : { Severity::Info, Severity::Warning, Severity::Error }) {
        if (text.compare(severityName(candidate), Qt::CaseInsensitive) == 0) {
            severity = candidate;
            return true;
        }
    }
    return false;
}

} // namespace zefa::msg_filter::tool
