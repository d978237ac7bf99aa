#include "toolrunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace toolrunner {

#ifdef MSGFILTER_TOOL_PATH
ToolResult runTool(const QStringList& arguments, const QByteArray& input, const QString& dataPath)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("ZEFA_DATA_PATH"));
    environment.remove(QStringLiteral("NO_COLOR"));
    if (!dataPath.isEmpty()) {
        environment.insert(QStringLiteral("ZEFA_DATA_PATH"), dataPath);
    }
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(MSGFILTER_TOOL_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "the tool did not finish normally: "
                      << process.errorString().toStdString();
        process.kill();
        process.waitForFinished();
    }
    return { process.exitCode(), process.readAllStandardOutput().toStdString(),
        process.readAllStandardError().toStdString() };
}

void expectRefused(const QStringList& arguments, const QString& message)
{
    const ToolResult result = runTool(arguments);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(message.toStdString()), std::string::npos) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
}
#endif

QStringList words(const char* text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QString testData(const char* relative)
{
    return QStringLiteral(MSGFILTER_TEST_DATA_DIR "/") + QString::fromUtf8(relative);
}

QString defaultRules()
{
    return QStringLiteral(MSGFILTER_SOURCE_DATA_DIR "/enginemsg.xml");
}

QStringList logs(bool real)
{
    const QDir directory(real ? QStringLiteral(MSGFILTER_REALDATA_DIR) : testData("tool/logs"));
    QStringList files;
    for (const QString& name : directory.entryList(
             { QStringLiteral("*.log"), QStringLiteral("*.rpt") }, QDir::Files, QDir::Name)) {
        files.append(directory.absoluteFilePath(name));
    }
    return files;
}

QStringList corpusLogs()
{
    QStringList files;
    QDirIterator found(testData("logs"), QDir::Files, QDirIterator::Subdirectories);
    while (found.hasNext()) {
        const QString file = found.next();
        if (!QFileInfo(file).fileName().startsWith(QLatin1String("SOURCES"))) {
            files.append(file);
        }
    }
    files.sort();
    return files;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
}

std::vector<QByteArray> splitLines(const QByteArray& bytes)
{
    QList<QByteArray> lines = bytes.split('\n');
    if (lines.last().isEmpty()) {
        lines.removeLast();
    }
    return { lines.begin(), lines.end() };
}

std::string Message::field(const std::string& name) const
{
    for (const auto& [fieldName, value] : fields) {
        if (fieldName == name) {
            return value;
        }
    }
    return {};
}

std::vector<Message> parseJsonl(const std::string& output)
{
    std::vector<Message> messages;
    for (const QByteArray& line : splitLines(QByteArray::fromStdString(output))) {
        QJsonParseError error {};
        const QJsonObject object = QJsonDocument::fromJson(line, &error).object();
        if (error.error != QJsonParseError::NoError || object.isEmpty()) {
            ADD_FAILURE() << "not a JSON object: " << line.toStdString();
            continue;
        }
        const auto text = [&object](const char* key) {
            return object.value(QLatin1String(key)).toString().toStdString();
        };
        Message message { text("file"),
            object.value(QStringLiteral("line")).toVariant().toLongLong(), text("severity"),
            text("rule"), text("type"), text("text"), {} };
        for (const QJsonValue& pair : object.value(QStringLiteral("fields")).toArray()) {
            const QJsonArray nameAndValue = pair.toArray();
            EXPECT_EQ(nameAndValue.size(), 2) << line.toStdString();
            message.fields.emplace_back(nameAndValue.at(0).toString().toStdString(),
                nameAndValue.at(1).toString().toStdString());
        }
        EXPECT_GT(message.line, 0) << line.toStdString();
        messages.push_back(message);
    }
    return messages;
}

} // namespace toolrunner
