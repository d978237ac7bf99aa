#include "rulestestsupport.h"

#include <msgfilter/zefamsgfilter.h>
#include <msgfilter/zefamsgparserengin.h>

#include <gtest/gtest.h>

namespace {

using rules_test::DataDirectory;
using rules_test::DataPathOverride;
using zefa::msg_filter::ZefaMsgFilter;
using zefa::msg_filter::impl_detail::ZefaMsgParserEngin;

// The whole life of the process-wide engine in one test: the engine cannot be reset, so
// the steps must run in this order, in a program of their own.
TEST(ProcessWideEngine, RetriesUntilLoadedThenNeverReloads)
{
    DataDirectory directory;
    DataPathOverride dataPath(directory.path());

    ZefaMsgParserEngin* engine = ZefaMsgParserEngin::getMsgParserEngin();
    ASSERT_NE(engine, nullptr);
    EXPECT_FALSE(engine->isInitialized()) << "no file";

    directory.write(R"(<Other><FilterRule name="r" type="T" reg_patten="x"/></Other>)");
    EXPECT_EQ(ZefaMsgParserEngin::getMsgParserEngin(), engine);
    EXPECT_FALSE(engine->isInitialized()) << "wrong root";
    EXPECT_EQ(engine->getRule("r"), nullptr);

    directory.write(R"(<ZefaMsgFilterDef>
  <TargetDevice name="fpga"><Engine name="default"><Rule name="r"/></Engine></TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x)"); // cut off
    ZefaMsgFilter early("fpga");
    early.startEngin("default");
    early.filterMessage("x\n");
    EXPECT_FALSE(engine->isInitialized()) << "truncated file";
    EXPECT_TRUE(engine->getTargets().empty());
    EXPECT_EQ(early.getResults().back().type, "Text");

    directory.write(R"(<ZefaMsgFilterDef>
  <TargetDevice name="fpga"><Engine name="default"><Rule name="r"/></Engine></TargetDevice>
  <FilterRule name="r" type="T" reg_patten="x"/>
</ZefaMsgFilterDef>)");
    EXPECT_EQ(ZefaMsgParserEngin::getMsgParserEngin(), engine);
    EXPECT_TRUE(engine->isInitialized());
    ASSERT_NE(engine->getRule("r"), nullptr);

    // A filter whose target was looked up while nothing was loaded keeps that miss until
    // the target name changes.
    early.startEngin("other");
    early.filterMessage("x\n");
    EXPECT_EQ(early.getResults().back().type, "Text");

    directory.write("<ZefaMsgFilterDef/>");
    EXPECT_EQ(ZefaMsgParserEngin::getMsgParserEngin(), engine);
    EXPECT_FALSE(engine->loadFilterRules());
    EXPECT_NE(engine->getRule("r"), nullptr) << "loaded rules are final";

    ZefaMsgFilter late("fpga");
    late.startEngin("default");
    late.filterMessage("x\n");
    EXPECT_EQ(late.getResults().back().rule, "r");
}

} // namespace
