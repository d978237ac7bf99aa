#include "rulesselection.h"

#include "argumentfiles.h"
#include "boundedread.h"

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
    // Holds the copy of a differently named rule file until the library has read it;
    // the library never reads the file again once it loaded.
    QTemporaryDir copyDirectory;
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
        // A rule file named enginemsg.xml is read where it is. Any other is read once,
        // through this open, and the library reads a copy: a pipe or a FIFO cannot be read
        // twice, and a name that is not UTF-8 is one the library cannot open.
        const QFileInfo info(path);
        QString directory = info.absolutePath();
        if (info.fileName() != kRulesFileName || file.isSequential()
            || argumentBytes(path) != QFile::encodeName(path)) {
            QByteArray content;
            if (!readAtMost(file, kMaximumRuleFileBytes, content)) {
                error = QStringLiteral("cannot read rules '%1': %2")
                            .arg(path,
                                file.error() == QFileDevice::NoError
                                    ? QStringLiteral("more than 64 MiB")
                                    : file.errorString());
                return false;
            }
            QFile copy(copyDirectory.path() + QLatin1Char('/') + kRulesFileName);
            if (!copyDirectory.isValid() || !copy.open(QIODevice::WriteOnly)
                || copy.write(content) != content.size() || !copy.flush()) {
                error = QStringLiteral("cannot read rules '%1': no temporary copy "
                                       "could be made")
                            .arg(path);
                return false;
            }
            directory = copyDirectory.path();
        }
        qputenv("ZEFA_DATA_PATH", QFile::encodeName(directory));
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
