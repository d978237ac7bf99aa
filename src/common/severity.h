#pragma once

#include <QString>

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

namespace zefa::msg_filter::impl_detail {

/// The severity of a message, as the host's message catalogue types it: each value is the
/// catalogue's type bit. The library files messages as Error, Warning or Info only; the
/// catalogue knows a fourth type, "Critical Warning", that entries may carry but that the
/// library never asks for.
enum class Severity { Error = 1, Warning = 2, Info = 4, CriticalWarning = 8 };

/// Every severity, in the order of the catalogue's type bits.
constexpr Severity kCatalogueSeverities[] = { Severity::Error, Severity::Warning, Severity::Info,
    Severity::CriticalWarning };

/// Every type bit the catalogue knows: its type switches start with all of them on.
constexpr int kAllSeverityTypes = 15;

/// The component of the catalogue's generic entries (see genericMessageNumber()).
constexpr char kGenericComponent[] = "common";

constexpr int typeCode(Severity severity)
{
    return static_cast<int>(severity);
}

/// The catalogue's own, untranslated type word.
constexpr const char* catalogueWord(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return "Error";
    case Severity::Warning:
        return "Warning";
    case Severity::Info:
        return "Info";
    case Severity::CriticalWarning:
        return "Critical Warning";
    }
    return "";
}

/// The severity of a catalogue type code, or none for anything but 1, 2, 4 and 8.
constexpr std::optional<Severity> severityOfTypeCode(int code)
{
    for (Severity severity : kCatalogueSeverities) {
        if (typeCode(severity) == code) {
            return severity;
        }
    }
    return std::nullopt;
}

/// The number of the catalogue's generic entry for a library severity; it is also the
/// entry's id in component kGenericComponent: 9990 error, 9991 warning, 9992 info. Lines
/// that bring no id of their own are filed there. -1 for the fourth type, which has none.
constexpr int genericMessageNumber(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return 9990;
    case Severity::Warning:
        return 9991;
    case Severity::Info:
        return 9992;
    case Severity::CriticalWarning:
        break;
    }
    return -1;
}

/// Reads a catalogue type word of 8-bit text in any case, letters compared one byte at a
/// time with the C library's case mapping.
inline std::optional<Severity> severityOfWord(const std::string& word)
{
    for (Severity severity : kCatalogueSeverities) {
        const std::string candidate = catalogueWord(severity);
        if (word.size() == candidate.size()
            && std::equal(word.begin(), word.end(), candidate.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x))
                       == std::tolower(static_cast<unsigned char>(y));
               })) {
            return severity;
        }
    }
    return std::nullopt;
}

/// Reads a catalogue type word of Qt text in any case, as QString compares case-insensitively.
inline std::optional<Severity> severityOfWord(const QString& word)
{
    for (Severity severity : kCatalogueSeverities) {
        if (word.compare(QLatin1String(catalogueWord(severity)), Qt::CaseInsensitive) == 0) {
            return severity;
        }
    }
    return std::nullopt;
}

// The rest lives in the library only.

/// The catalogue's word as Qt text. Every caller gets the same shared string, so messages
/// that keep it hold no copy of their own.
const QString& catalogueText(Severity severity);

/// The word the library files its own messages under and that filters compare with,
/// translated once, when the library is loaded. Empty for the fourth type.
const QString& translatedText(Severity severity);

/// The severity of a type code the host hands over with one of its own messages. The
/// host's error codes may carry flag bits above the error bit (17, 33, 65); the fourth type
/// and unknown codes have no library severity.
std::optional<Severity> severityOfHostMessageType(int code);

/// The severity of an old-format line, read from the type text of the sub-rule that
/// matched it: "error" or "@E" anywhere in it, in any case, is an error, else "warning" or
/// "@W" a warning, and anything else is info.
Severity severityOfRuleType(const std::string& type);

} // namespace zefa::msg_filter::impl_detail
