// The process-wide rule engine loading a named rule file before its first use. This
// program's only test, so that nothing touched the engine before it.

#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/zefamsgparserengin.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <string>

#include <gtest/gtest.h>

namespace {

using namespace zefa::msg_filter::impl_detail;

void write(const QString& path, const std::string& content)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content.data(), static_cast<qint64>(content.size()));
}

std::string rulesWithTarget(const std::string& target)
{
    return "<ZefaMsgFilterDef><TargetDevice name=\"" + target
        + "\"><Engine name=\"default\"/></TargetDevice></ZefaMsgFilterDef>";
}

TEST(DefinitionFile, TheProcessWideEngineLoadsANamedFileAndLeavesTheDataDirectoryAlone)
{
    // The data directory holds rules of its own, which must not be the ones loaded.
    const QString dataDirectory = QStringLiteral(MSGFILTER_TEST_DATA_DIR "/engine");
    qputenv("ZEFA_DATA_PATH", QFile::encodeName(dataDirectory));
    QTemporaryDir directory;
    const QString named = directory.filePath(QStringLiteral("my-rules.xml"));
    write(named, "<ZefaMsgFilterDef><TargetDevice");

    ZefaMsgFilterDefReader::useDefinitionFile(named);
    ZefaMsgParserEngin* engine = ZefaMsgParserEngin::getMsgParserEngin();
    EXPECT_FALSE(engine->isInitialized()) << "a broken named file loads nothing";
    EXPECT_EQ(engine->getTarget("fpga"), nullptr);

    // As with the default file, the next use tries the named file again.
    write(named, rulesWithTarget("mine"));
    engine = ZefaMsgParserEngin::getMsgParserEngin();
    ASSERT_TRUE(engine->isInitialized());
    EXPECT_NE(engine->getTarget("mine"), nullptr);
    EXPECT_EQ(engine->getTarget("fpga"), nullptr);
    EXPECT_EQ(zefa::pelno::BaseSystem::getDataPath(), QDir(dataDirectory));

    // Once loaded, the engine keeps its rules; a later choice only concerns engines that
    // load afterwards, and an empty one goes back to the data directory's file.
    const QString other = directory.filePath(QStringLiteral("other.xml"));
    write(other, rulesWithTarget("other"));
    ZefaMsgFilterDefReader::useDefinitionFile(other);
    EXPECT_NE(ZefaMsgParserEngin::getMsgParserEngin()->getTarget("mine"), nullptr);
    ZefaMsgParserEngin fresh;
    ASSERT_TRUE(fresh.loadFilterRules());
    EXPECT_NE(fresh.getTarget("other"), nullptr);

    ZefaMsgFilterDefReader::useDefinitionFile(QString());
    ZefaMsgParserEngin fromData;
    ASSERT_TRUE(fromData.loadFilterRules());
    EXPECT_NE(fromData.getTarget("fpga"), nullptr);
}

} // namespace
