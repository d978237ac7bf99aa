// Explaining one line with the default rules, in process: the choice, the sub-rule,
// the severity, and how the line and its fields are shown.

#include "lineexplanation.h"
#include "loadedrules.h"
#include "toolrunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;
using testing::HasSubstr;

namespace {

const RulesSelection& defaultRules()
{
    return toollibtest::loadedRules(toolrunner::defaultRules());
}

struct ExplainRow {
    const char* name;
    std::string line;
    std::vector<std::string> shows;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const ExplainRow& row, std::ostream* out)
{
    *out << row.name;
}

class Explanation : public testing::TestWithParam<ExplainRow> { };

TEST_P(Explanation, ShowsTheChoiceAndTheLineAsAPersonReadsIt)
{
    const std::string text = explainLine(defaultRules(), GetParam().line).toStdString();
    for (const std::string& expected : GetParam().shows) {
        EXPECT_THAT(text, HasSubstr(expected));
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, Explanation,
    testing::Values(ExplainRow { "plain_text", "just some output\n",
                        { "Chosen:  none; the line is plain text\n" } },
        ExplainRow { "rule_without_sub_rule", "<msg id=\"x\" broken/>\n",
            { "Chosen:  new-message", "Sub-rule: none of its 1 sub-rules matches" } },
        ExplainRow { "structured_type_decides_severity",
            "<msg id=\"A-1\" type=\"Error\" dynamic=\"1\" navigation=\"0\" arg1=\"v\"/>\n",
            { "Severity: Error\n" } },
        ExplainRow { "without_line_feed", "Info: x",
            { "Line:    \"Info: x\"\nRules:", "Severity: Info\n" } },
        ExplainRow { "escapes_control_characters_and_quotes", "Warning: a\tb \"c\" \\d\r\n",
            { "Line:    \"Warning: a\\tb \\\"c\\\" \\\\d\\r\\n\"\n" } },
        ExplainRow { "utf8_line", "Warning: caf\xc3\xa9\n",
            { "Line:    \"Warning: caf\xc3\xa9\\n\"", "  text  \"caf\xc3\xa9\"" } },
        ExplainRow { "latin1_line", "Warning: caf\xe9\n",
            { "Line:    \"Warning: caf\xc3\xa9\\n\"", "  text  \"caf\xc3\xa9\"" } }),
    [](const testing::TestParamInfo<ExplainRow>& info) { return std::string(info.param.name); });

} // namespace
