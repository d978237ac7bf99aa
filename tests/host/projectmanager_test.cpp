#include <msgfilter/host/projectmanager.h>

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using Strings = std::vector<std::string>;

namespace {

TEST(ProjectManager, HoldsOneProjectWithImplementationsADefaultAndReportNames)
{
    ZefaProjectManager* manager = ZefaProjectManager::getProjectManager();
    ASSERT_NE(manager, nullptr);
    manager->openProject("old")->addImplementation("impl_1", "/r");
    // Opening another project replaces the old one with all it held.
    ZefaProject* project = manager->openProject("cpu");
    EXPECT_EQ(manager->getProject(), project);
    EXPECT_EQ(project->getImplementation("impl_1"), nullptr);
    ZefaImplementation* first = project->addImplementation("impl_1", "/runs/impl_1");
    ZefaImplementation* second = project->addImplementation("impl_2", "/elsewhere");
    EXPECT_EQ(project->getDefaultImplementation(), "");
    project->setDefaultImplementation("impl_2");
    EXPECT_EQ(manager->getDefaultImplementation(), second);
    EXPECT_EQ(project->getDefaultImplementation(), "impl_2");
    // A known title again moves its reports and keeps the object.
    EXPECT_EQ(project->addImplementation("impl_2", "/runs/impl_2"), second);
    EXPECT_EQ(second->getTitle() + " " + second->getRunTime()->getOutReportDirectory(),
        "impl_2 /runs/impl_2");
    project->setDefaultImplementation("impl_9");
    EXPECT_EQ(manager->getDefaultImplementation(), nullptr);
    project->setDefaultImplementation("impl_1");
    EXPECT_EQ(manager->getDefaultImplementation(), first);
    ZefaImplementation* untitled = project->addImplementation("", "/r");
    project->setDefaultImplementation("");
    EXPECT_EQ(manager->getDefaultImplementation(), untitled);

    // Report names are set per implementation and id; the last setting wins.
    first->setReportFileNames("Report_MessageFilter", { "old.xml" });
    first->setReportFileNames("Report_MessageFilter", { "filters.xml", "more.xml" });
    first->setReportFileNames("Report_Empty", {});
    const std::tuple<ZefaImplementation*, const char*, bool, Strings> rows[] = {
        { first, "Report_MessageFilter", true, { "filters.xml", "more.xml" } },
        { first, "Report_Empty", true, {} },
        { second, "Report_Empty", false, { "untouched" } },
        { first, "report_messagefilter", false, { "untouched" } },
        { first, nullptr, false, { "untouched" } },
    };
    for (const auto& [implementation, id, found, expected] : rows) {
        Strings names { "untouched" };
        EXPECT_EQ(implementation->resolveReportsFileNameFromId(names, id), found);
        EXPECT_EQ(names, expected) << implementation->getTitle() << " " << (id ? id : "null");
    }

    manager->closeProject();
    EXPECT_EQ(manager->getProject(), nullptr);
    EXPECT_EQ(manager->getDefaultImplementation(), nullptr);
}

} // namespace
