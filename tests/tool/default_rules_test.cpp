// The default rules in process: they must give the same answer whether a line comes
// with its line feed (the stand-alone filter) or without it (the engine side), and the
// structured format must decode through both of the library's decoders.

#include "engine/enginemessagehandler.h"
#include "toolrunner.h"

#include <msgfilter/msgfilter.h>

#include <gtest/gtest.h>

using namespace toolrunner;
using zefa::msg_filter::ZefaMsgFilter;
using zefa::msg_filter::impl_detail::EngineMessageHandler;
using zefa::msg_filter::impl_detail::FindBestMatchRule;
using zefa::msg_filter::impl_detail::ZefaEnginMsgParser;
using zefa::msg_filter::impl_detail::ZefaMsgParserEngin;
using zefa::msg_filter::impl_detail::ZefaMsgParserRule;

namespace {

using FieldList = std::vector<std::pair<std::string, std::string>>;

ZefaMsgParserEngin* rules()
{
    // Before the first use: the engine reads its file once, from here.
    qputenv("ZEFA_DATA_PATH", MSGFILTER_SOURCE_DATA_DIR);
    ZefaMsgParserEngin* engine = ZefaMsgParserEngin::getMsgParserEngin();
    EXPECT_TRUE(engine->isInitialized());
    return engine;
}

ZefaEnginMsgParser* defaultEngine()
{
    auto* target = rules()->getTarget("fpga");
    return target == nullptr ? nullptr : target->getEngine("default");
}

// What the rules make of a line: rule, sub-rule type and id, fields; "" when none.
struct Classification {
    std::string rule;
    int position = -1;
    std::string type;
    std::string id;
    FieldList fields;

    bool operator==(const Classification& other) const
    {
        return rule == other.rule && (position < 0) == (other.position < 0) && type == other.type
            && id == other.id && fields == other.fields;
    }
};

Classification classify(const std::string& line)
{
    Classification result;
    ZefaMsgParserRule* rule = FindBestMatchRule(rules(), defaultEngine(), line);
    if (rule != nullptr) {
        result.rule = rule->getName();
        result.position = rule->matchSubRule(line, result.type, result.id, result.fields);
    }
    return result;
}

std::string fieldValue(const FieldList& fields, const std::string& name)
{
    for (const auto& [fieldName, value] : fields) {
        if (fieldName == name) {
            return value;
        }
    }
    return {};
}

std::string describe(const Classification& c)
{
    std::string text = c.rule + " / " + c.type;
    for (const auto& [name, value] : c.fields) {
        text += " " + name + "=" + value;
    }
    return text;
}

TEST(DefaultRules, SameAnswerWithAndWithoutTheLineFeed)
{
    ASSERT_NE(defaultEngine(), nullptr);
    QStringList logs = filesIn(realDataDirectory(), QStringLiteral("*.log"));
    logs += filesIn(fixture(QStringLiteral("logs")), QStringLiteral("*.log"));
    logs += filesIn(fixture(QStringLiteral("logs")), QStringLiteral("*.rpt"));
    long long compared = 0;
    for (const QString& log : logs) {
        SCOPED_TRACE(log.toStdString());
        int mismatches = 0;
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        for (size_t index = 0; index < lines.size(); ++index) {
            // The filter keeps a carriage return, the engine side drops every one.
            const std::string withLineFeed = lines[index].toStdString() + '\n';
            const std::string engineSide = QByteArray(lines[index]).replace('\r', "").toStdString();
            const Classification filter = classify(withLineFeed);
            const Classification engine = classify(engineSide);
            ++compared;
            if (!(filter == engine) && ++mismatches <= 5) {
                ADD_FAILURE() << "line " << index + 1 << "\n  with line feed: " << describe(filter)
                              << "\n  without:        " << describe(engine);
            }
        }
        EXPECT_EQ(mismatches, 0);
    }
    EXPECT_GT(compared, 100);
}

struct StructuredRow {
    const char* name;
    const char* line;
    const char* id;
    const char* type;
    std::vector<std::string> dynamic;
    std::vector<std::string> navigation;
    // The engine side undoes the XML escaping, the stand-alone decoder does not: where
    // a value is escaped, the engine side's values (otherwise both agree).
    std::vector<std::string> handlerDynamic = {};
};

void PrintTo(const StructuredRow& row, std::ostream* out)
{
    *out << row.line;
}

class StructuredFormat : public ::testing::TestWithParam<StructuredRow> { };

TEST_P(StructuredFormat, DecodesThroughBothDecoders)
{
    const StructuredRow& row = GetParam();

    // The stand-alone filter: the line with its line feed.
    ZefaMsgFilter filter("fpga");
    filter.startEngin("default");
    filter.filterMessage((std::string(row.line) + '\n').c_str());
    ASSERT_EQ(filter.getResults().size(), 1u);
    const ZefaMsgFilter::ParsResult& result = filter.getResults().front();
    ASSERT_TRUE(result.isNewMessage) << result.rule << " " << result.type;
    std::string id;
    std::vector<std::string> dynamic;
    std::vector<std::string> navigation;
    ZefaMsgFilter::parseNewMessage(result.fields, id, dynamic, navigation);
    EXPECT_EQ(fieldValue(result.fields, "type"), row.type);
    EXPECT_EQ(id, row.id);
    EXPECT_EQ(dynamic, row.dynamic);
    EXPECT_EQ(navigation, row.navigation);

    // The engine side sees the line without its line feed, and decodes the values too.
    const Classification engine = classify(row.line);
    ASSERT_EQ(engine.rule, "new-message");
    ASSERT_GE(engine.position, 0);
    EXPECT_EQ(engine.fields, result.fields);
    QString handlerId;
    QString handlerType;
    QStringList handlerDynamic;
    QStringList handlerNavigation;
    EngineMessageHandler::parseNewMessage(
        engine.fields, handlerId, handlerType, handlerDynamic, handlerNavigation);
    EXPECT_EQ(handlerId.toStdString(), row.id);
    EXPECT_EQ(handlerType.toStdString(), row.type);
    const auto strings = [](const QStringList& list) {
        std::vector<std::string> values;
        for (const QString& value : list) {
            values.push_back(value.toStdString());
        }
        return values;
    };
    EXPECT_EQ(
        strings(handlerDynamic), row.handlerDynamic.empty() ? row.dynamic : row.handlerDynamic);
    EXPECT_EQ(strings(handlerNavigation), row.navigation);
}

INSTANTIATE_TEST_SUITE_P(Lines, StructuredFormat,
    ::testing::Values(
        StructuredRow { "DynamicAndNavigation",
            R"(<msg id="PAR-1201" type="Warning" dynamic="2" navigation="1" arg1="clk" arg2="12.5" arg3="top.v"/>)",
            "PAR-1201", "Warning", { "clk", "12.5" }, { "top.v" } },
        StructuredRow { "IndentedWithExtraSpace",
            R"(   <msg  id="SYN-7"   type="Error" dynamic="1"  navigation="1"  arg1="q_reg"  arg2="a.v" />)",
            "SYN-7", "Error", { "q_reg" }, { "a.v" } },
        StructuredRow { "NoArguments",
            R"(<msg id="TIM-1" type="Info" dynamic="0" navigation="0"/>)", "TIM-1", "Info", {},
            {} },
        StructuredRow { "SurplusArgumentsAreIgnored",
            R"(<msg id="X-2" type="Info" dynamic="1" navigation="0" arg1="a" arg2="b"/>)", "X-2",
            "Info", { "a" }, {} },
        StructuredRow { "IdWithASpace",
            R"(<msg id="Synth 8-327" type="Warning" dynamic="1" navigation="0" arg1="q"/>)",
            "Synth 8-327", "Warning", { "q" }, {} },
        StructuredRow { "EscapedValue",
            R"(<msg id="E-1" type="Error" dynamic="2" navigation="0" arg1="a&amp;lt;b" arg2="&quot;q&quot;"/>)",
            "E-1", "Error", { "a&amp;lt;b", "&quot;q&quot;" }, {}, { "a<b", "\"q\"" } }),
    [](const ::testing::TestParamInfo<StructuredRow>& info) { return info.param.name; });

} // namespace
