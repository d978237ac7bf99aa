#include "toolrunner.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace toolrunner {

#ifdef MSGFILTER_TOOL_PATH
ToolResult runTool(const QStringList& arguments, const QByteArray& input)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("ZEFA_DATA_PATH"));
    environment.remove(QStringLiteral("NO_COLOR"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(MSGFILTER_TOOL_PATH), arguments);
    ToolResult result;
    if (!process.waitForStarted(30000)) {
        ADD_FAILURE() << "the tool does not start: " << process.errorString().toStdString();
        return result;
    }
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "the tool did not finish normally";
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}
#endif

QString fixture(const QString& relative)
{
    return QStringLiteral(MSGFILTER_TEST_DATA_DIR "/tool/") + relative;
}

QString defaultRules()
{
    return QStringLiteral(MSGFILTER_SOURCE_DATA_DIR "/enginemsg.xml");
}

QString realDataDirectory()
{
    const QDir directory(QStringLiteral(MSGFILTER_REALDATA_DIR));
    return directory.exists() ? directory.absolutePath() : QString();
}

QStringList filesIn(const QString& directory, const QString& pattern)
{
    QStringList files;
    const QDir dir(directory);
    for (const QString& name : dir.entryList({ pattern }, QDir::Files, QDir::Name)) {
        files.append(dir.filePath(name));
    }
    return files;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

std::vector<QByteArray> splitLines(const QByteArray& bytes)
{
    std::vector<QByteArray> lines;
    int start = 0;
    while (start < bytes.size()) {
        int end = bytes.indexOf('\n', start);
        if (end < 0) {
            end = bytes.size();
        }
        lines.push_back(bytes.mid(start, end - start));
        start = end + 1;
    }
    return lines;
}

QString Message::field(const QString& name) const
{
    for (const auto& [fieldName, value] : fields) {
        if (fieldName == name) {
            return value;
        }
    }
    return {};
}

std::vector<Message> parseJsonl(const QByteArray& output)
{
    std::vector<Message> messages;
    for (const QByteArray& line : splitLines(output)) {
        QJsonParseError error {};
        const QJsonDocument document = QJsonDocument::fromJson(line, &error);
        if (error.error != QJsonParseError::NoError || !document.isObject()) {
            ADD_FAILURE() << "not a JSON object: " << line.toStdString();
            continue;
        }
        const QJsonObject object = document.object();
        Message message;
        message.file = object.value(QStringLiteral("file")).toString();
        message.line = static_cast<long long>(object.value(QStringLiteral("line")).toDouble());
        message.severity = object.value(QStringLiteral("severity")).toString();
        message.rule = object.value(QStringLiteral("rule")).toString();
        message.type = object.value(QStringLiteral("type")).toString();
        message.text = object.value(QStringLiteral("text")).toString();
        for (const QJsonValue& pair : object.value(QStringLiteral("fields")).toArray()) {
            const QJsonArray nameAndValue = pair.toArray();
            EXPECT_EQ(nameAndValue.size(), 2) << line.toStdString();
            message.fields.emplace_back(
                nameAndValue.at(0).toString(), nameAndValue.at(1).toString());
        }
        EXPECT_GT(message.line, 0) << line.toStdString();
        messages.push_back(message);
    }
    return messages;
}

std::map<long long, Message> byLine(const std::vector<Message>& messages)
{
    std::map<long long, Message> lines;
    for (const Message& message : messages) {
        EXPECT_TRUE(lines.emplace(message.line, message).second)
            << "line " << message.line << " reported twice";
    }
    return lines;
}

} // namespace toolrunner
