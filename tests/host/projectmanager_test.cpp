#include <msgfilter/host/projectmanager.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace zefa::pelno;
using Strings = std::vector<std::string>;

namespace {

class ProjectManager : public ::testing::Test {
protected:
    void SetUp() override { manager()->closeProject(); }
    void TearDown() override { manager()->closeProject(); }
    static ZefaProjectManager* manager() { return ZefaProjectManager::getProjectManager(); }
};

TEST_F(ProjectManager, NoProjectNoDefault)
{
    ASSERT_NE(manager(), nullptr);
    EXPECT_EQ(manager(), ZefaProjectManager::getProjectManager());
    EXPECT_EQ(manager()->getProject(), nullptr);
    EXPECT_EQ(manager()->getDefaultImplementation(), nullptr);
}

TEST_F(ProjectManager, ImplementationsAndTheirDefault)
{
    ZefaProject* project = manager()->openProject("cpu");
    ASSERT_NE(project, nullptr);
    EXPECT_EQ(manager()->getProject(), project);
    EXPECT_EQ(project->getName(), "cpu");

    ZefaImplementation* first = project->addImplementation("impl_1", "/runs/impl_1/reports");
    ZefaImplementation* second = project->addImplementation("impl_2", "/runs/impl_2/reports");
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, first);
    EXPECT_EQ(first->getTitle(), "impl_1");
    ASSERT_NE(second->getRunTime(), nullptr);
    EXPECT_EQ(second->getRunTime()->getOutReportDirectory(), "/runs/impl_2/reports");
    EXPECT_EQ(project->getImplementationTitles(), (Strings { "impl_1", "impl_2" }));

    // Nothing is the default until the project says so.
    EXPECT_EQ(manager()->getDefaultImplementation(), nullptr);
    EXPECT_EQ(project->getDefaultImplementation(), "");

    project->setDefaultImplementation("impl_2");
    EXPECT_EQ(manager()->getDefaultImplementation(), second);
    EXPECT_EQ(project->getDefaultImplementation(), "impl_2");

    // Adding a known title again moves its reports, and keeps the object and the default.
    EXPECT_EQ(project->addImplementation("impl_2", "/elsewhere"), second);
    EXPECT_EQ(second->getRunTime()->getOutReportDirectory(), "/elsewhere");
    EXPECT_EQ(manager()->getDefaultImplementation(), second);

    project->setDefaultImplementation("impl_9");
    EXPECT_EQ(manager()->getDefaultImplementation(), nullptr);

    project->setDefaultImplementation("impl_1");
    EXPECT_FALSE(project->removeImplementation("impl_9"));
    EXPECT_TRUE(project->removeImplementation("impl_2"));
    EXPECT_EQ(manager()->getDefaultImplementation(), first) << "another one was removed";
    EXPECT_TRUE(project->removeImplementation("impl_1"));
    EXPECT_EQ(manager()->getDefaultImplementation(), nullptr);
    EXPECT_EQ(project->getDefaultImplementation(), "");
    EXPECT_EQ(project->getImplementation("impl_1"), nullptr);
}

TEST_F(ProjectManager, UntitledImplementationCanBeTheDefault)
{
    ZefaProject* project = manager()->openProject("p");
    ZefaImplementation* untitled = project->addImplementation("", "/r");
    project->setDefaultImplementation("");
    EXPECT_EQ(manager()->getDefaultImplementation(), untitled);
    EXPECT_EQ(project->getDefaultImplementation(), "");
}

TEST_F(ProjectManager, ReportFileNamesById)
{
    ZefaImplementation* impl = manager()->openProject("p")->addImplementation("impl_1", "/r");
    impl->setReportFileNames("Report_MessageFilter", { "filters.xml", "old.xml" });
    impl->setReportFileNames("Report_Empty", {});

    struct Row {
        const char* id;
        bool found;
        Strings names;
    };
    const Row rows[] = {
        { "Report_MessageFilter", true, { "filters.xml", "old.xml" } },
        { "Report_Empty", true, {} },
        { "report_messagefilter", false, { "untouched" } },
        { "Report_Timing", false, { "untouched" } },
        { nullptr, false, { "untouched" } },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id != nullptr ? row.id : "null");
        Strings names { "untouched" };
        EXPECT_EQ(impl->resolveReportsFileNameFromId(names, row.id), row.found);
        EXPECT_EQ(names, row.names);
    }

    impl->setReportFileNames("Report_MessageFilter", { "new.xml" });
    Strings names;
    ASSERT_TRUE(impl->resolveReportsFileNameFromId(names, "Report_MessageFilter"));
    EXPECT_EQ(names, Strings { "new.xml" });
}

TEST_F(ProjectManager, OpeningReplacesAndClosingForgets)
{
    ZefaProject* first = manager()->openProject("first");
    first->addImplementation("impl_1", "/r");
    first->setDefaultImplementation("impl_1");

    ZefaProject* second = manager()->openProject("second");
    EXPECT_EQ(manager()->getProject(), second);
    EXPECT_EQ(second->getName(), "second");
    EXPECT_TRUE(second->getImplementationTitles().empty());
    EXPECT_EQ(manager()->getDefaultImplementation(), nullptr);

    manager()->closeProject();
    EXPECT_EQ(manager()->getProject(), nullptr);
    manager()->closeProject();
    EXPECT_EQ(manager()->getProject(), nullptr);
}

} // namespace
