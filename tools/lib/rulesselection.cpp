#include "rulesselection.h"

#include "argumentfiles.h"
#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/msgfilter.h>

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

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
    // Holds a copy of the rule file until the library has read it; the library never
    // reads the file again once it loaded.
    const QTemporaryDir copies;
    QString path = defaultRulesPath();
    if (!rulesPath.isEmpty()) {
        path = isArgumentDirectory(rulesPath) ? rulesPath + QLatin1Char('/') + kRulesFileName
                                              : rulesPath;
    }
    QFile file;
    QString reason;
    if (!openArgumentFile(file, path, QIODevice::ReadOnly, reason)) {
        error = QStringLiteral("cannot read rules '%1': %2").arg(path, reason);
        return false;
    }
    if (!rulesPath.isEmpty()) {
        // The library reads the named file itself; a pipe, a FIFO or a name Qt cannot
        // encode is read once here and the library reads a copy.
        const QString readable = readableRuleFile(file, path, copies, reason);
        if (readable.isEmpty()) {
            error = QStringLiteral("cannot read rules '%1': %2").arg(path, reason);
            return false;
        }
        impl_detail::ZefaMsgFilterDefReader::useDefinitionFile(readable);
    }
    file.close();

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
