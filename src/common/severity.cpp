#include "common/severity.h"

#include "common/latin1.h"

#include <QObject>

namespace zefa::msg_filter::impl_detail {

namespace {

// Translated when the library is loaded, before a host can install a translator: the
// words stay as they were then for the life of the process.
const QString kTranslatedError = QObject::tr("Error");
const QString kTranslatedWarning = QObject::tr("Warning");
const QString kTranslatedInfo = QObject::tr("Info");

} // namespace

const QString& catalogueText(Severity severity)
{
    static const QString error = QLatin1String(catalogueWord(Severity::Error));
    static const QString warning = QLatin1String(catalogueWord(Severity::Warning));
    static const QString info = QLatin1String(catalogueWord(Severity::Info));
    static const QString critical = QLatin1String(catalogueWord(Severity::CriticalWarning));
    switch (severity) {
    case Severity::Error:
        return error;
    case Severity::Warning:
        return warning;
    case Severity::Info:
        return info;
    case Severity::CriticalWarning:
        break;
    }
    return critical;
}

const QString& translatedText(Severity severity)
{
    static const QString none;
    switch (severity) {
    case Severity::Error:
        return kTranslatedError;
    case Severity::Warning:
        return kTranslatedWarning;
    case Severity::Info:
        return kTranslatedInfo;
    case Severity::CriticalWarning:
        break;
    }
    return none;
}

std::optional<Severity> severityOfHostMessageType(int code)
{
    switch (code) {
    case 17:
    case 33:
    case 65:
        return Severity::Error;
    case typeCode(Severity::CriticalWarning):
        return std::nullopt;
    default:
        return severityOfTypeCode(code);
    }
}

Severity severityOfRuleType(const std::string& type)
{
    const QString text = fromLatin1(type);
    if (text.contains(QLatin1String("error"), Qt::CaseInsensitive)
        || text.contains(QLatin1String("@E"), Qt::CaseInsensitive)) {
        return Severity::Error;
    }
    if (text.contains(QLatin1String("warning"), Qt::CaseInsensitive)
        || text.contains(QLatin1String("@W"), Qt::CaseInsensitive)) {
        return Severity::Warning;
    }
    return Severity::Info;
}

} // namespace zefa::msg_filter::impl_detail
