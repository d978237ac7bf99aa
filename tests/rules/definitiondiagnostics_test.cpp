// What the definition-file reader tells a listener about broken rule files, and that
// listening changes nothing about what loads.

#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QTemporaryDir>

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;
using Lines = std::vector<std::string>;
using Reason = DefinitionDiagnostic::Reason;

std::string text(const QString& value)
{
    return value.toStdString();
}

std::string position(const TextPosition& at)
{
    return std::to_string(at.line) + ":" + std::to_string(at.column);
}

// "Reason Element@line:col", then " in Parent", the attributes with where their names
// are written, what is missing, where the first of a name is, the XML error.
std::string describe(const DefinitionDiagnostic& diagnostic)
{
    static const char* const reasons[] = { "Kept", "MissingName", "MissingAttributes",
        "DuplicateName", "UnexpectedElement", "ForeignRoot", "XmlError" };
    std::string out = reasons[static_cast<int>(diagnostic.reason)] + std::string(" ")
        + text(diagnostic.element) + "@" + position(diagnostic.at);
    if (!diagnostic.parent.isEmpty()) {
        out += " in " + text(diagnostic.parent);
    }
    for (int i = 0; i < diagnostic.attributes.size(); ++i) {
        out += " " + text(diagnostic.attributes[i].qualifiedName().toString()) + "@"
            + position(diagnostic.attributePositions.at(static_cast<size_t>(i)));
    }
    if (!diagnostic.missing.isEmpty()) {
        out += " missing " + text(diagnostic.missing.join(QLatin1Char(',')));
    }
    if (diagnostic.reason == Reason::DuplicateName) {
        out += " first " + position(diagnostic.first);
    }
    if (!diagnostic.message.isEmpty()) {
        out += " " + text(diagnostic.message);
    }
    return out;
}

class DefinitionDiagnostics : public testing::Test {
protected:
    QString write(const std::string& content)
    {
        const QString path = m_directory.filePath(QStringLiteral("rules.xml"));
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content.data(), static_cast<qint64>(content.size()));
        return path;
    }

    // Every target, engine with its rule names, and rule with its sub-rules, on one line each.
    static Lines contents(const ZefaMsgParserEngin& engine)
    {
        Lines out;
        for (const auto& [name, target] : engine.getTargets()) {
            for (const auto& [engineName, parser] : target.getEngines()) {
                std::string line = name + "/" + engineName + ":";
                for (const std::string& rule : parser.getRuleNames()) {
                    line += " " + rule;
                }
                out.push_back(line);
            }
        }
        for (const auto& [name, rule] : engine.getRules()) {
            std::string line = name + " " + rule.getType() + " " + rule.getRegPatten();
            for (const ZefaMsgParserRule::SubRule& sub : rule.getSubRules()) {
                line += " [" + sub.type + " " + sub.reg_patten + "]";
            }
            out.push_back(line);
        }
        return out;
    }

    QTemporaryDir m_directory;
};

TEST_F(DefinitionDiagnostics, EachElementIsKeptOrDroppedWithItsReason)
{
    // Without an XML declaration the XML reader has gone past the root's start tag before
    // it hands it over, so the root is placed where the next tag begins; with one, it is
    // placed right (ForeignRoot).
    const std::tuple<const char*, std::string, bool, Lines> rows[] = {
        { "AllKept",
            "<ZefaMsgFilterDef>\n"
            " <TargetDevice name=\"fpga\"><Engine name=\"e\"><Rule "
            "name=\"r\"/></Engine></TargetDevice>\n"
            " <FilterRule name=\"r\" type=\"T\" reg_patten=\"x\"><SubRule type=\"t\" "
            "reg_patten=\"y\"/></FilterRule>\n"
            "</ZefaMsgFilterDef>\n",
            true,
            { "Kept ZefaMsgFilterDef@2:2", "Kept TargetDevice@2:2 in ZefaMsgFilterDef name@2:16",
                "Kept Engine@2:28 in TargetDevice name@2:36", "Kept Rule@2:45 in Engine name@2:51",
                "Kept FilterRule@3:2 in ZefaMsgFilterDef name@3:14 type@3:23 reg_patten@3:32",
                "Kept SubRule@3:47 in FilterRule type@3:56 reg_patten@3:65" } },
        { "NamesMissingOrEmpty",
            "<ZefaMsgFilterDef><TargetDevice><Engine name=\"lost\"/></TargetDevice>\n"
            "<TargetDevice name=\"\"/><TargetDevice name=\"t\"><Engine/><Engine name=\"e\">"
            "<Rule/><Rule name=\"\"/></Engine></TargetDevice></ZefaMsgFilterDef>",
            true,
            { "Kept ZefaMsgFilterDef@1:19", "MissingName TargetDevice@1:19 in ZefaMsgFilterDef",
                "MissingName TargetDevice@2:1 in ZefaMsgFilterDef name@2:15",
                "Kept TargetDevice@2:24 in ZefaMsgFilterDef name@2:38",
                "MissingName Engine@2:47 in TargetDevice",
                "Kept Engine@2:56 in TargetDevice name@2:64", "MissingName Rule@2:73 in Engine",
                "Kept Rule@2:80 in Engine name@2:86" } },
        { "RequiredAttributesMissing",
            "<ZefaMsgFilterDef>\n"
            "<FilterRule name=\"a\" reg_patten=\"x\"><SubRule type=\"t\" "
            "reg_patten=\"x\"/></FilterRule>\n"
            "<FilterRule type=\"T\"/>\n"
            "<FilterRule name=\"b\" type=\"T\" reg_patten=\"x\"><SubRule id=\"1\"/><SubRule "
            "type=\"t\"/></FilterRule>\n"
            "</ZefaMsgFilterDef>",
            true,
            { "Kept ZefaMsgFilterDef@2:1",
                "MissingAttributes FilterRule@2:1 in ZefaMsgFilterDef name@2:13 reg_patten@2:22 "
                "missing type",
                "MissingAttributes FilterRule@3:1 in ZefaMsgFilterDef type@3:13 missing "
                "name,reg_patten",
                "Kept FilterRule@4:1 in ZefaMsgFilterDef name@4:13 type@4:22 reg_patten@4:31",
                "MissingAttributes SubRule@4:46 in FilterRule id@4:55 missing type,reg_patten",
                "MissingAttributes SubRule@4:63 in FilterRule type@4:72 missing reg_patten" } },
        { "SecondDefinitionsPointToTheFirst",
            "<ZefaMsgFilterDef>\n"
            "<TargetDevice name=\"t\"><Engine name=\"e\"><Rule name=\"r\"/><Rule "
            "name=\"r\"/></Engine>\n"
            "  <Engine name=\"e\"/></TargetDevice>\n"
            "<TargetDevice name=\"u\"><Engine name=\"e\"/></TargetDevice><TargetDevice "
            "name=\"t\"/>\n"
            "<FilterRule name=\"r\" type=\"A\" reg_patten=\"x\"/><FilterRule name=\"r\" type=\"B\" "
            "reg_patten=\"y\"/>\n"
            "</ZefaMsgFilterDef>",
            true,
            { "Kept ZefaMsgFilterDef@2:1", "Kept TargetDevice@2:1 in ZefaMsgFilterDef name@2:15",
                "Kept Engine@2:24 in TargetDevice name@2:32", "Kept Rule@2:41 in Engine name@2:47",
                "DuplicateName Rule@2:57 in Engine name@2:63 first 2:41",
                "DuplicateName Engine@3:3 in TargetDevice name@3:11 first 2:24",
                "Kept TargetDevice@4:1 in ZefaMsgFilterDef name@4:15",
                "Kept Engine@4:24 in TargetDevice name@4:32",
                "DuplicateName TargetDevice@4:57 in ZefaMsgFilterDef name@4:71 first 2:1",
                "Kept FilterRule@5:1 in ZefaMsgFilterDef name@5:13 type@5:22 reg_patten@5:31",
                "DuplicateName FilterRule@5:47 in ZefaMsgFilterDef name@5:59 type@5:68 "
                "reg_patten@5:77 first 5:1" } },
        { "ElementsOutOfPlaceSkippedWhole",
            "<ZefaMsgFilterDef><Engine name=\"e\"><Rule name=\"r\"/></Engine>\n"
            "<TargetDevice name=\"t\"><Rule name=\"x\"/><Engine name=\"e\"><Rule name=\"r\">"
            "<Note><Deeper/></Note></Rule><Note/></Engine></TargetDevice>\n"
            "<FilterRule name=\"r\" type=\"T\" reg_patten=\"x\"><Note/><SubRule type=\"t\" "
            "reg_patten=\"y\"><a/><b><c/></b></SubRule></FilterRule></ZefaMsgFilterDef>",
            true,
            { "Kept ZefaMsgFilterDef@1:19",
                "UnexpectedElement Engine@1:19 in ZefaMsgFilterDef name@1:27",
                "Kept TargetDevice@2:1 in ZefaMsgFilterDef name@2:15",
                "UnexpectedElement Rule@2:24 in TargetDevice name@2:30",
                "Kept Engine@2:40 in TargetDevice name@2:48", "Kept Rule@2:57 in Engine name@2:63",
                "UnexpectedElement Note@2:72 in Rule", "UnexpectedElement Note@2:101 in Engine",
                "Kept FilterRule@3:1 in ZefaMsgFilterDef name@3:13 type@3:22 reg_patten@3:31",
                "UnexpectedElement Note@3:46 in FilterRule",
                "Kept SubRule@3:53 in FilterRule type@3:62 reg_patten@3:71",
                "UnexpectedElement a@3:86 in SubRule", "UnexpectedElement b@3:90 in SubRule" } },
        { "ForeignRoot", "<?xml version=\"1.0\"?>\n  <Rules><FilterRule/></Rules>", false,
            { "ForeignRoot Rules@2:3" } },
        { "MalformedXml",
            "<ZefaMsgFilterDef>\n<TargetDevice name=\"t\">\n<Engine name=\"e\"></Rule>\n", false,
            { "Kept ZefaMsgFilterDef@2:1", "Kept TargetDevice@2:1 in ZefaMsgFilterDef name@2:15",
                "Kept Engine@3:1 in TargetDevice name@3:9",
                "XmlError @3:24 Opening and ending tag mismatch." } },
    };
    for (const auto& [name, content, loads, expected] : rows) {
        SCOPED_TRACE(name);
        const QString path = write(content);
        ZefaMsgParserEngin silent;
        const bool silentLoads = ZefaMsgFilterDefReader().doRead(&silent, path);

        ZefaMsgParserEngin heard;
        ZefaMsgFilterDefReader reader;
        Lines diagnostics;
        reader.setDiagnostics([&diagnostics](const DefinitionDiagnostic& diagnostic) {
            diagnostics.push_back(describe(diagnostic));
        });
        EXPECT_EQ(reader.doRead(&heard, path), loads);
        EXPECT_EQ(diagnostics, expected);
        // Listening changes nothing about what loads.
        EXPECT_EQ(silentLoads, loads);
        EXPECT_EQ(contents(heard), contents(silent));
    }
}

// Skipping counts depths instead of recursing: a file nested far deeper than any stack
// allows is read, and only the outermost element out of place is reported.
TEST_F(DefinitionDiagnostics, AnyNestingDepthIsSkipped)
{
    const int depth = 300000;
    std::string content =
        "<ZefaMsgFilterDef><TargetDevice name=\"t\"><Engine name=\"e\"><Rule name=\"r\">";
    for (int i = 0; i < depth; ++i) {
        content += "<n>";
    }
    for (int i = 0; i < depth; ++i) {
        content += "</n>";
    }
    content += "</Rule></Engine></TargetDevice></ZefaMsgFilterDef>";
    ZefaMsgParserEngin engine;
    ZefaMsgFilterDefReader reader;
    Lines diagnostics;
    reader.setDiagnostics([&diagnostics](const DefinitionDiagnostic& diagnostic) {
        diagnostics.push_back(describe(diagnostic));
    });
    EXPECT_TRUE(reader.doRead(&engine, write(content)));
    EXPECT_EQ(diagnostics,
        (Lines { "Kept ZefaMsgFilterDef@1:19",
            "Kept TargetDevice@1:19 in ZefaMsgFilterDef name@1:33",
            "Kept Engine@1:42 in TargetDevice name@1:50", "Kept Rule@1:59 in Engine name@1:65",
            "UnexpectedElement n@1:74 in Rule" }));
}

} // namespace
