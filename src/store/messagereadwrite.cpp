#include "store/messagereadwrite.h"

#include "common/atomicxmlsave.h"
#include "common/xmlentitybound.h"
#include "common/xmlescapedtext.h"
#include "common/xmlfileopen.h"
#include "store/textpool.h"

#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace zefa::msg_filter::impl_detail {

namespace {

const QString kRootElement = QStringLiteral("ZefaMessageLog");
const QString kTaskElement = QStringLiteral("Task");
const QString kNameAttribute = QStringLiteral("name");
const QString kMessageElement = QStringLiteral("Message");
const QString kIdElement = QStringLiteral("ID");
const QString kSeverityElement = QStringLiteral("Severity");
const QString kDynamicElement = QStringLiteral("Dynamic");
const QString kNavigationElement = QStringLiteral("Navigation");

// Diagnostics keep the three-item shape the host's log readers expect:
// text, where it comes from, and a fixed line number.
const char* const kLocation = "s/messagereadwrite";
constexpr int kMissingLine = 36;
constexpr int kOpenReadLine = 41;
constexpr int kOpenWriteLine = 131;

void releaseVector(
    const QVector<MessageNode*>& nodes, std::vector<std::unique_ptr<MessageNode>>& released)
{
    for (MessageNode* node : nodes)
        released.emplace_back(node);
}

} // namespace

MessageReadWrite::MessageReadWrite(const QString& fileName, QObject* parent)
    : QObject(parent)
    , m_fileName(fileName)
{
}

bool MessageReadWrite::doWrite(const Buffer& buffer)
{
    return saveXmlDocument(
        m_fileName,
        [&buffer](QXmlStreamWriter& writer) {
            writer.writeStartElement(kRootElement);
            for (auto process = buffer.cbegin(); process != buffer.cend(); ++process) {
                writer.writeStartElement(kTaskElement);
                writeEscapedAttribute(writer, kNameAttribute, process.key());
                for (MessageNode* node : process.value()) {
                    writer.writeStartElement(kMessageElement);
                    writeEscapedTextElement(writer, kIdElement, node->getMessageID().trimmed());
                    writeEscapedTextElement(
                        writer, kSeverityElement, node->getMessageSeverity().trimmed());
                    const QStringList dynamicData = node->getMessageDynamicData();
                    for (const QString& value : dynamicData)
                        writeEscapedTextElement(writer, kDynamicElement, value);
                    const QStringList navigationData = node->getMessageNavigationData();
                    for (const QString& value : navigationData)
                        writeEscapedTextElement(writer, kNavigationElement, value);
                    writer.writeEndElement();
                }
                writer.writeEndElement();
            }
            writer.writeEndElement();
        },
        kLocation, kOpenWriteLine);
}

bool MessageReadWrite::doRead(
    Buffer& buffer, std::vector<std::unique_ptr<MessageNode>>& released, TextPool& pool)
{
    QFile file(m_fileName);
    if (!openXmlFileForReading(file, kLocation, kMissingLine, kOpenReadLine))
        return false;

    // A tolerant pass: elements out of place are ignored rather than rejected, and the
    // first XML error ends the read with whatever was complete by then.
    QXmlStreamReader reader(&file);
    bool inTask = false;
    bool inMessage = false;
    QString processName;
    QVector<MessageNode*> nodes;
    QString messageId;
    QString severity;
    QStringList dynamicData;
    QStringList navigationData;

    for (readPrologWithinEntityBound(reader); !reader.atEnd(); reader.readNext()) {
        if (reader.isStartElement()) {
            const QStringRef name = reader.name();
            if (name == kTaskElement && !inTask) {
                inTask = true;
                processName = escapedAttributeValue(reader.attributes(), kNameAttribute);
            } else if (name == kMessageElement && inTask) {
                inMessage = true;
            } else if (inMessage) {
                if (name == kIdElement)
                    messageId = pool.shared(readEscapedElementText(reader).trimmed());
                else if (name == kSeverityElement)
                    severity = pool.shared(readEscapedElementText(reader).trimmed());
                else if (name == kDynamicElement)
                    dynamicData.append(readEscapedElementText(reader));
                else if (name == kNavigationElement)
                    navigationData.append(readEscapedElementText(reader));
            }
        } else if (reader.isEndElement()) {
            const QStringRef name = reader.name();
            if (name == kMessageElement && inMessage && inTask) {
                nodes.append(
                    new MessageNode(messageId, severity, processName, dynamicData, navigationData));
                messageId.clear();
                severity.clear();
                dynamicData.clear();
                navigationData.clear();
                inMessage = false;
            } else if (name == kTaskElement && inTask) {
                auto previous = buffer.find(processName);
                if (previous != buffer.end())
                    releaseVector(previous.value(), released);
                buffer.insert(processName, nodes);
                nodes.clear();
                inTask = false;
                processName.clear();
            }
        }
    }
    // The messages of a task cut off by an error never reach the buffer.
    releaseVector(nodes, released);
    file.close();
    return true;
}

} // namespace zefa::msg_filter::impl_detail
