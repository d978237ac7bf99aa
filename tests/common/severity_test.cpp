// The one reading of severities: words as the catalogue and callers write them, type
// codes as the host hands them over, and the type texts of rule files.

#include "common/severity.h"

#include <QString>

#include <optional>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::impl_detail;

namespace {

TEST(Severity, WordsAreReadInAnyCaseAndOnlyWhole)
{
    const std::tuple<const char*, const char*, std::optional<Severity>> rows[] = {
        { "CatalogueSpelling", "Warning", Severity::Warning },
        { "LowerCase", "error", Severity::Error },
        { "UpperCase", "INFO", Severity::Info },
        { "FourthTypeWithItsBlank", "critical WARNING", Severity::CriticalWarning },
        { "FourthTypeWithAHyphenIsNoWord", "Critical-Warning", std::nullopt },
        { "Abbreviation", "Warn", std::nullopt },
        { "Blanks", " Error", std::nullopt },
        { "Code", "1", std::nullopt },
        { "Empty", "", std::nullopt },
    };
    for (const auto& [name, word, expected] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(severityOfWord(std::string(word)), expected);
        EXPECT_EQ(severityOfWord(QString::fromLatin1(word)), expected);
    }
    for (Severity severity : kCatalogueSeverities) {
        EXPECT_EQ(severityOfWord(std::string(catalogueWord(severity))), severity);
        EXPECT_EQ(catalogueText(severity), QLatin1String(catalogueWord(severity)));
    }
}

TEST(Severity, TypeCodesAndTheGenericEntries)
{
    // Code; its catalogue severity; its severity when the host hands it over with a
    // message of its own; the generic entry of that catalogue severity.
    const std::tuple<int, std::optional<Severity>, std::optional<Severity>, int> rows[] = {
        { 1, Severity::Error, Severity::Error, 9990 },
        { 2, Severity::Warning, Severity::Warning, 9991 },
        { 4, Severity::Info, Severity::Info, 9992 },
        { 8, Severity::CriticalWarning, std::nullopt, -1 },
        { 17, std::nullopt, Severity::Error, -1 },
        { 33, std::nullopt, Severity::Error, -1 },
        { 65, std::nullopt, Severity::Error, -1 },
        { 0, std::nullopt, std::nullopt, -1 },
        { 3, std::nullopt, std::nullopt, -1 },
        { 15, std::nullopt, std::nullopt, -1 },
        { -1, std::nullopt, std::nullopt, -1 },
    };
    for (const auto& [code, catalogue, hosted, generic] : rows) {
        SCOPED_TRACE(code);
        EXPECT_EQ(severityOfTypeCode(code), catalogue);
        EXPECT_EQ(severityOfHostMessageType(code), hosted);
        if (catalogue) {
            EXPECT_EQ(typeCode(*catalogue), code);
            EXPECT_EQ(genericMessageNumber(*catalogue), generic);
        }
    }
}

TEST(Severity, RuleTypesReadErrorBeforeWarning)
{
    const std::tuple<const char*, Severity> rows[] = {
        { "error", Severity::Error },
        { "Warning", Severity::Warning },
        { "critical-warning", Severity::Warning },
        { "warning, then error", Severity::Error },
        { "see @w", Severity::Warning },
        { "@E", Severity::Error },
        { "ERR", Severity::Info },
        { "info", Severity::Info },
        { "", Severity::Info },
    };
    for (const auto& [type, expected] : rows) {
        SCOPED_TRACE(type);
        EXPECT_EQ(severityOfRuleType(type), expected);
    }
}

// Every byte in place of each letter of the words, and beside them, read as a Unicode
// case-insensitive search of the Latin-1 text reads it.
TEST(Severity, RuleTypesReadAsAUnicodeSearchOfTheirLatinOneText)
{
    const auto unicodeReading = [](const std::string& type) {
        const QString text = QString::fromLatin1(type.data(), int(type.size()));
        const auto has = [&text](const char* word) {
            return text.contains(QLatin1String(word), Qt::CaseInsensitive);
        };
        if (has("error") || has("@E"))
            return Severity::Error;
        return has("warning") || has("@W") ? Severity::Warning : Severity::Info;
    };
    for (const std::string word : { "error", "@E", "Warning", "@w" }) {
        for (std::size_t at = 0; at <= word.size(); ++at) {
            for (int code = 0; code < 256; ++code) {
                std::string replaced = word;
                std::string inserted = word;
                if (at < word.size())
                    replaced[at] = char(code);
                inserted.insert(at, 1, char(code));
                for (const std::string& type : { replaced, inserted, "x" + replaced + "x" }) {
                    ASSERT_EQ(severityOfRuleType(type), unicodeReading(type))
                        << "word " << word << ", byte " << code << " at " << at;
                }
            }
        }
    }
}

} // namespace
