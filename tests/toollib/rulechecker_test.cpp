// The rule checker in process: elements nested at any depth are skipped without
// recursion, and only the direct children of an element that takes none are reported.

#include "rulechecker.h"

#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;

namespace {

QByteArray nested(const char* name, int depth)
{
    const QByteArray open = '<' + QByteArray(name) + '>';
    const QByteArray close = "</" + QByteArray(name) + '>';
    return open.repeated(depth) + close.repeated(depth);
}

// Checks `document` as a rule file.
RuleCheck checkDocument(const QByteArray& document)
{
    QTemporaryDir directory;
    QFile file(directory.filePath(QStringLiteral("rules.xml")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(document);
    file.close();
    return checkRules(file.fileName());
}

const QByteArray kRules = "<TargetDevice name=\"fpga\"><Engine name=\"default\">"
                          "<Rule name=\"r\"/></Engine></TargetDevice>"
                          "<FilterRule name=\"r\" type=\"t\" reg_patten=\"^x\">"
                          "<SubRule type=\"s\" reg_patten=\"^x\"/></FilterRule>";

const QByteArray kDeepJunk =
    "<ZefaMsgFilterDef>" + kRules + "<Junk>" + nested("a", 100000) + "</Junk></ZefaMsgFilterDef>";
const QByteArray kDeepReference =
    "<ZefaMsgFilterDef><TargetDevice name=\"fpga\"><Engine name=\"default\"><Rule name=\"r\">"
    "<x>"
    + nested("y", 70000)
    + "</x><z/></Rule></Engine></TargetDevice>"
      "<FilterRule name=\"r\" type=\"t\" reg_patten=\"^x\">"
      "<SubRule type=\"s\" reg_patten=\"^x\"/></FilterRule></ZefaMsgFilterDef>";

// "1:COLUMN MESSAGE" for the first `tag` of the one-line document.
QString at(const QByteArray& document, const char* tag, const char* message)
{
    return QStringLiteral("1:%1 %2").arg(document.indexOf(tag) + 1).arg(QLatin1String(message));
}

struct NestingRow {
    const char* name;
    QByteArray document;
    QStringList findings;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const NestingRow& row, std::ostream* out)
{
    *out << row.name;
}

class Nesting : public testing::TestWithParam<NestingRow> { };

TEST_P(Nesting, ReportsEachIgnoredElementOnceAtAnyDepthAndReadsOn)
{
    const NestingRow& row = GetParam();
    const RuleCheck check = checkDocument(row.document);
    QStringList findings;
    for (const RuleFinding& finding : check.findings) {
        findings.append(QStringLiteral("%1:%2 %3")
                            .arg(finding.at.line)
                            .arg(finding.at.column)
                            .arg(finding.message));
    }
    EXPECT_EQ(findings, row.findings);
    EXPECT_EQ(check.rules, 1);
    EXPECT_EQ(check.subRules, 1);
}

INSTANTIATE_TEST_SUITE_P(Rows, Nesting,
    testing::Values(
        NestingRow { "unknown_element_nested_100000_deep", kDeepJunk,
            { at(kDeepJunk, "<Junk>", "element 'Junk' inside 'ZefaMsgFilterDef' is ignored") } },
        NestingRow { "deep_children_of_a_rule_reference", kDeepReference,
            { at(kDeepReference, "<x>", "element 'x' inside 'Rule' is ignored"),
                at(kDeepReference, "<z/>", "element 'z' inside 'Rule' is ignored") } }),
    [](const testing::TestParamInfo<NestingRow>& info) { return std::string(info.param.name); });

TEST(RuleCheckReport, CountsWhatACleanFileDefinesOrTheFindings)
{
    const RuleCheck clean = checkDocument("<ZefaMsgFilterDef>" + kRules + "</ZefaMsgFilterDef>");
    EXPECT_EQ(ruleCheckReport(QStringLiteral("r.xml"), clean).toStdString(),
        "r.xml: no findings (1 targets, 1 engines, 1 rules, 1 sub-rules)\n");
    const RuleCheck one = checkDocument("<?xml version=\"1.0\"?>\n<Other/>");
    EXPECT_EQ(ruleCheckReport(QStringLiteral("r.xml"), one).toStdString(),
        "r.xml:2:1: the root element is 'Other', not 'ZefaMsgFilterDef': the library loads "
        "nothing from this file\nr.xml: 1 finding\n");
}

} // namespace
