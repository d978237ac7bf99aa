#include "rulesselection.h"

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
        path = QFileInfo(rulesPath).isDir() ? rulesPath + QLatin1Char('/') + kRulesFileName
                                            : rulesPath;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read rules '%1': %2").arg(path, file.errorString());
        return false;
    }
    // A pipe or a FIFO can be read once only: its content is read through this one open
    // and the library reads a copy. A regular file is read by the library itself.
    QByteArray content;
    const bool regular = QFileInfo(path).isFile();
    if (!regular && !readAtMost(file, kMaximumRuleFileBytes, content)) {
        error = QStringLiteral("cannot read rules '%1': %2")
                    .arg(path,
                        file.error() == QFileDevice::NoError ? QStringLiteral("more than 64 MiB")
                                                             : file.errorString());
        return false;
    }
    file.close();
    if (!rulesPath.isEmpty()) {
        const QFileInfo info(path);
        QString directory = info.absolutePath();
        if (info.fileName() != kRulesFileName || !regular) {
            const QString copy = copyDirectory.path() + QLatin1Char('/') + kRulesFileName;
            QFile copyFile(copy);
            if (!copyDirectory.isValid()
                || !(regular ? QFile::copy(path, copy)
                             : copyFile.open(QIODevice::WriteOnly)
                            && copyFile.write(content) == content.size() && copyFile.flush())) {
                error = QStringLiteral("cannot read rules '%1': no temporary copy "
                                       "could be made")
                            .arg(path);
                return false;
            }
            directory = copyDirectory.path();
        }
        qputenv("ZEFA_DATA_PATH", QFile::encodeName(directory));
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
