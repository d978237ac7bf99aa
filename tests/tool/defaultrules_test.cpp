// The default rules in process: they must give the same answer whether a line comes
// with its line feed (the stand-alone filter) or without it (the engine side), and the
// structured format must decode through both of the library's decoders.

#include "engine/enginemessagehandler.h"
#include "toolrunner.h"

#include <msgfilter/msgfilter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using zefa::msg_filter::ZefaMsgFilter;
using namespace zefa::msg_filter::impl_detail;
using testing::StartsWith;

namespace {

using FieldList = std::vector<std::pair<std::string, std::string>>;

// What the rules make of a line: rule, whether a sub-rule matched (not where), its type
// and id, and the fields; those go to `fields` too when asked for.
std::string classify(const std::string& line, FieldList* fields = nullptr)
{
    // Before the first use: the engine reads its file once, from here.
    qputenv("ZEFA_DATA_PATH", MSGFILTER_SOURCE_DATA_DIR);
    ZefaMsgParserEngin* rules = ZefaMsgParserEngin::getMsgParserEngin();
    auto* target = rules->getTarget("fpga");
    EXPECT_NE(target, nullptr);
    ZefaMsgParserRule* rule =
        target ? FindBestMatchRule(rules, target->getEngine("default"), line) : nullptr;
    if (rule == nullptr) {
        return "no rule";
    }
    std::string type, id;
    FieldList found;
    std::string text = rule->getName()
        + (rule->matchSubRule(line, type, id, found) >= 0 ? " matched " : " unmatched ") + type
        + " / " + id;
    for (const auto& [name, value] : found) {
        text += " " + name + "=" + value;
    }
    if (fields != nullptr) {
        *fields = found;
    }
    return text;
}

TEST(DefaultRules, SameAnswerWithAndWithoutTheLineFeed)
{
    long long compared = 0;
    for (const QString& log : logs(true) + logs(false)) {
        SCOPED_TRACE(log.toStdString());
        int mismatches = 0;
        const std::vector<QByteArray> lines = splitLines(readAll(log));
        for (size_t index = 0; index < lines.size(); ++index, ++compared) {
            // The filter keeps a carriage return, the engine side drops every one.
            const std::string filter = classify(lines[index].toStdString() + '\n');
            const std::string engine =
                classify(QByteArray(lines[index]).replace('\r', "").toStdString());
            if (filter != engine && ++mismatches <= 5) {
                ADD_FAILURE() << "line " << index + 1 << "\n  with line feed: " << filter
                              << "\n  without:        " << engine;
            }
        }
        EXPECT_EQ(mismatches, 0);
    }
    EXPECT_GT(compared, 100);
}

TEST(DefaultRules, StructuredFormatDecodesThroughBothDecoders)
{
    // A line, its type, and "id;dynamic arguments;navigation arguments" ('|'-joined) from
    // the stand-alone decoder and, when it differs, from the engine side's, which undoes
    // the XML escaping of the values too.
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        { R"(<msg id="PAR-1201" type="Warning" dynamic="2" navigation="1" arg1="clk" arg2="12.5" arg3="top.v"/>)",
            "Warning", "PAR-1201;clk|12.5;top.v", nullptr },
        { R"(   <msg  id="SYN-7"   type="Error" dynamic="1"  navigation="1"  arg1="q_reg"  arg2="a.v" />)",
            "Error", "SYN-7;q_reg;a.v", nullptr },
        { R"(<msg id="TIM-1" type="Info" dynamic="0" navigation="0"/>)", "Info", "TIM-1;;",
            nullptr },
        { R"(<msg id="X-2" type="Info" dynamic="1" navigation="0" arg1="a" arg2="b"/>)", "Info",
            "X-2;a;", nullptr },
        { R"(<msg id="Synth 8-327" type="Warning" dynamic="1" navigation="0" arg1="q"/>)",
            "Warning", "Synth 8-327;q;", nullptr },
        { R"(<msg id="E-1" type="Error" dynamic="2" navigation="0" arg1="a&amp;lt;b" arg2="&quot;q&quot;"/>)",
            "Error", "E-1;a&amp;lt;b|&quot;q&quot;;", "E-1;a<b|\"q\";" },
    };
    for (const auto& [line, type, expected, handlerExpected] : rows) {
        SCOPED_TRACE(line);
        // The stand-alone filter: the line with its line feed.
        ZefaMsgFilter filter("fpga");
        filter.startEngin("default");
        filter.filterMessage((std::string(line) + '\n').c_str());
        ASSERT_EQ(filter.getResults().size(), 1u);
        const ZefaMsgFilter::ParsResult& result = filter.getResults().front();
        ASSERT_TRUE(result.isNewMessage) << result.rule << " " << result.type;
        std::string id;
        std::vector<std::string> dynamic, navigation;
        ZefaMsgFilter::parseNewMessage(result.fields, id, dynamic, navigation);
        QStringList joined[2];
        for (int i = 0; i < 2; ++i) {
            for (const std::string& value : i == 0 ? dynamic : navigation) {
                joined[i] << QString::fromStdString(value);
            }
        }
        EXPECT_EQ(id + ';' + joined[0].join(u'|').toStdString() + ';'
                + joined[1].join(u'|').toStdString(),
            expected);

        // The engine side sees the line without its line feed.
        FieldList fields;
        ASSERT_THAT(classify(line, &fields), StartsWith("new-message matched "));
        EXPECT_EQ(fields, result.fields);
        QString handlerId, handlerType;
        QStringList handlerDynamic, handlerNavigation;
        EngineMessageHandler::parseNewMessage(
            fields, handlerId, handlerType, handlerDynamic, handlerNavigation);
        EXPECT_EQ(handlerType.toStdString(), type);
        EXPECT_EQ(
            QStringList({ handlerId, handlerDynamic.join(u'|'), handlerNavigation.join(u'|') })
                .join(u';')
                .toStdString(),
            handlerExpected ? handlerExpected : expected);
    }
}

} // namespace
