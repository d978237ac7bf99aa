#include "common/severity.h"

#include "common/latin1.h"

#include <QObject>

#include <algorithm>
#include <string_view>

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
    // A rule's type is 8-bit text, and no character of Latin-1 beyond ASCII folds onto a
    // letter of these words: an ASCII case-insensitive search reads what a Unicode one
    // reads, without a conversion per message.
    const auto contains = [&type](std::string_view lowerCaseWord) {
        const auto sameLetter = [](char fromType, char fromWord) {
            return (fromType >= 'A' && fromType <= 'Z' ? char(fromType - 'A' + 'a') : fromType)
                == fromWord;
        };
        return std::search(
                   type.begin(), type.end(), lowerCaseWord.begin(), lowerCaseWord.end(), sameLetter)
            != type.end();
    };
    if (contains("error") || contains("@e")) {
        return Severity::Error;
    }
    if (contains("warning") || contains("@w")) {
        return Severity::Warning;
    }
    return Severity::Info;
}

} // namespace zefa::msg_filter::impl_detail
