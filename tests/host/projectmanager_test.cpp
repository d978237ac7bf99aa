#include <msgfilter/host/projectmanager.h>

#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using Strings = std::vector<std::string>;

namespace {

TEST(ProjectManager, HoldsOneProjectWithImplementationsAndADefault)
{
    ZefaProjectManager* manager = ZefaProjectManager::getProjectManager();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(manager->getProject(), nullptr);
    EXPECT_EQ(manager->getDefaultImplementation(), nullptr);
    ZefaProject* old = manager->openProject("old");
    old->addImplementation("impl_1", "/r");
    old->setDefaultImplementation("impl_1");

    ZefaProject* project = manager->openProject("cpu");
    EXPECT_EQ(manager->getProject(), project);
    EXPECT_EQ(manager->getDefaultImplementation(), nullptr) << "the old project's default";
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

    manager->closeProject();
    EXPECT_EQ(manager->getProject(), nullptr);
    EXPECT_EQ(manager->getDefaultImplementation(), nullptr);
}

TEST(ProjectManager, ResolvesReportFileNamesOfTheIdsSet)
{
    ZefaImplementation* impl =
        ZefaProjectManager::getProjectManager()->openProject("p")->addImplementation(
            "impl_1", "/r");
    impl->setReportFileNames("Report_MessageFilter", { "old.xml" });
    impl->setReportFileNames("Report_MessageFilter", { "filters.xml", "more.xml" });
    impl->setReportFileNames("Report_Empty", {});
    const std::tuple<const char*, bool, Strings> rows[] = {
        { "Report_MessageFilter", true, { "filters.xml", "more.xml" } },
        { "Report_Empty", true, {} },
        { "report_messagefilter", false, { "untouched" } },
        { nullptr, false, { "untouched" } },
    };
    for (const auto& [id, found, expected] : rows) {
        Strings names { "untouched" };
        EXPECT_EQ(impl->resolveReportsFileNameFromId(names, id), found);
        EXPECT_EQ(names, expected) << (id != nullptr ? id : "null");
    }
}

} // namespace
