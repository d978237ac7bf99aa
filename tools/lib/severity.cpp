#include "severity.h"

#include "common/severity.h"

#include <unordered_map>

namespace zefa::msg_filter::tool {

namespace {

// The types a thread remembers: the few of the rule files and of structured lines, not
// whatever an odd log puts in a structured line's type.
constexpr std::size_t kMostRememberedTypes = 64;

Severity readSeverityOfType(const std::string& type)
{
    // The engine side's own reading, so that the tool and the host never disagree.
    switch (impl_detail::severityOfRuleType(type)) {
    case impl_detail::Severity::Error:
        return Severity::Error;
    case impl_detail::Severity::Warning:
        // The library files a critical warning as a warning; the tool keeps it apart.
        if (QString::fromLatin1(type.data(), static_cast<int>(type.size()))
                .contains(QLatin1String("critical"), Qt::CaseInsensitive)) {
            return Severity::CriticalWarning;
        }
        return Severity::Warning;
    case impl_detail::Severity::Info:
    case impl_detail::Severity::CriticalWarning:
        break;
    }
    return Severity::Info;
}

} // namespace

Severity severityOfType(const std::string& type)
{
    // Every recognised line asks, and the answer takes case-blind searches for words.
    thread_local std::unordered_map<std::string, Severity> remembered;
    const auto found = remembered.find(type);
    if (found != remembered.end()) {
        return found->second;
    }
    const Severity severity = readSeverityOfType(type);
    if (remembered.size() < kMostRememberedTypes) {
        remembered.emplace(type, severity);
    }
    return severity;
}

QString severityName(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return QStringLiteral("Error");
    case Severity::CriticalWarning:
        return QStringLiteral("Critical Warning");
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
    for (Severity candidate :
        { Severity::Info, Severity::Warning, Severity::CriticalWarning, Severity::Error }) {
        // "critical-warning": an option value holds no blank.
        if (text.compare(severityName(candidate).replace(QLatin1Char(' '), QLatin1Char('-')),
                Qt::CaseInsensitive)
            == 0) {
            severity = candidate;
            return true;
        }
    }
    return false;
}

QString reportLevel(Severity severity, const QString& lowest)
{
    switch (severity) {
    case Severity::Error:
    case Severity::CriticalWarning:
        return QStringLiteral("error");
    case Severity::Warning:
        return QStringLiteral("warning");
    case Severity::Info:
    case Severity::None:
        break;
    }
    return lowest;
}

} // namespace zefa::msg_filter::tool
