#include "rulesselection.h"

#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/msgfilter.h>

#include <QFile>
#include <QFileInfo>

namespace zefa::msg_filter::tool {

namespace {

const QString kRulesFileName = QStringLiteral("enginemsg.xml");

} // namespace

QString defaultRulesPath()
{
    return zefa::pelno::BaseSystem::getDataPath().path() + QLatin1Char('/') + kRulesFileName;
}

bool selectRules(const QString& rulesPath, const QString& target, const QString& engine,
    RulesSelection& selection, QString& error)
{
    QString path = defaultRulesPath();
    if (!rulesPath.isEmpty()) {
        path = QFileInfo(rulesPath).isDir() ? rulesPath + QLatin1Char('/') + kRulesFileName
                                            : rulesPath;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read rules '%1': %2").arg(path, file.errorString());
        return false;
    }
    file.close();
    if (!rulesPath.isEmpty()) {
        impl_detail::ZefaMsgFilterDefReader::useDefinitionFile(path);
    }

    selection.path = path;
    selection.rules = impl_detail::ZefaMsgParserEngin::getMsgParserEngin();
    if (!selection.rules->isInitialized()) {
        error = QStringLiteral("the rules in '%1' do not load (run 'msgfilter "
                               "check-rules %1')")
                    .arg(path);
        return false;
    }
    selection.targetName = target.toStdString();
    selection.engineName = engine.toStdString();
    selection.target = selection.rules->getTarget(selection.targetName);
    if (selection.target == nullptr) {
        error = QStringLiteral("the rules in '%1' have no target '%2'").arg(path, target);
        return false;
    }
    selection.engine = selection.target->getEngine(selection.engineName);
    if (selection.engine == nullptr) {
        selection.engine = selection.target->getEngine("default");
        selection.usesDefaultEngine = true;
        if (selection.engine == nullptr) {
            error = QStringLiteral("the rules in '%1' have neither an engine '%2' "
                                   "nor an engine 'default' for target '%3'")
                        .arg(path, engine, target);
            return false;
        }
    }
    return true;
}

} // namespace zefa::msg_filter::tool
