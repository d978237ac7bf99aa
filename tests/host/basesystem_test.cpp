#include <msgfilter/host/basesystem.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using zefa::pelno::BaseSystem;

namespace {

class DataPath : public ::testing::Test {
protected:
    void SetUp() override
    {
        hadValue = qEnvironmentVariableIsSet("ZEFA_DATA_PATH");
        saved = qgetenv("ZEFA_DATA_PATH");
    }
    void TearDown() override
    {
        if (hadValue) {
            qputenv("ZEFA_DATA_PATH", saved);
        } else {
            qunsetenv("ZEFA_DATA_PATH");
        }
    }
    bool hadValue = false;
    QByteArray saved;
};

TEST_F(DataPath, EnvironmentWinsAndIsReadAtEveryCall)
{
    QTemporaryDir first;
    QTemporaryDir second;
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(first.path()));
    EXPECT_EQ(BaseSystem::getDataPath().absolutePath(), QDir(first.path()).absolutePath());
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(second.path()));
    EXPECT_EQ(BaseSystem::getDataPath().absolutePath(), QDir(second.path()).absolutePath());
}

TEST_F(DataPath, WithoutEnvironmentTheBuildTreeUsesTheSourceData)
{
    qunsetenv("ZEFA_DATA_PATH");
    const QDir data = BaseSystem::getDataPath();
    EXPECT_EQ(
        data.canonicalPath(), QDir(QFile::decodeName(MSGFILTER_SOURCE_DATA_DIR)).canonicalPath());
    EXPECT_TRUE(data.exists(QStringLiteral("msgcatalogue.txt")));
}

} // namespace
