#include "filters/messagefilterreadwrite.h"

#include "common/atomicxmlsave.h"
#include "common/xmlentitybound.h"
#include "common/xmlescapedtext.h"
#include "common/xmlfileopen.h"

#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace zefa::msg_filter::impl_detail {

namespace {

const QString kRootElement = QStringLiteral("ZefaMessageFilter");
const QString kFilterElement = QStringLiteral("Filter");
const QString kGeneralElement = QStringLiteral("GeneralFilter");
const QString kIndividualElement = QStringLiteral("IndividualFilter");
const QString kIdElement = QStringLiteral("ID");
const QString kSeverityElement = QStringLiteral("Severity");
const QString kMilestoneElement = QStringLiteral("Milestone");
const QString kDynamicElement = QStringLiteral("Dynamic");
const QString kNameAttribute = QStringLiteral("name");
const QString kActiveAttribute = QStringLiteral("active");
const QString kListSeparator = QStringLiteral(";");

// The same three-item diagnostics as the message log, with this file's own location.
const char* const kLocation = "s/messagefilterreadwrite";
constexpr int kMissingLine = 38;
constexpr int kOpenReadLine = 43;
constexpr int kOpenWriteLine = 163;

using Mask = MessageFilter::GeneralFilterMask;

} // namespace

MessageFilterReadWrite::MessageFilterReadWrite(const QString& fileName, QObject* parent)
    : QObject(parent)
    , m_fileName(fileName)
{
}

MessageFilterReadWrite::~MessageFilterReadWrite() = default;

bool MessageFilterReadWrite::doWrite(const FilterTable& filters, const QString& activeName)
{
    return saveXmlDocument(
        m_fileName,
        [&](QXmlStreamWriter& writer) {
            writer.writeStartElement(kRootElement);
            for (auto entry = filters.cbegin(); entry != filters.cend(); ++entry) {
                const MessageFilter::FilterNode* node = entry.value();
                writer.writeStartElement(kFilterElement);
                writeEscapedAttribute(writer, kNameAttribute, entry.key());
                if (entry.key() == activeName)
                    writer.writeAttribute(kActiveAttribute, QString());

                writer.writeStartElement(kGeneralElement);
                writeEscapedTextElement(writer, kIdElement,
                    node->generalFilter.value(Mask::MaskMessageID).join(kListSeparator));
                writeEscapedTextElement(writer, kSeverityElement,
                    node->generalFilter.value(Mask::MaskSeverity).join(kListSeparator));
                writeEscapedTextElement(writer, kMilestoneElement,
                    node->generalFilter.value(Mask::MaskMilestone).join(kListSeparator));
                writer.writeEndElement();

                for (MessageNode* record : node->individualFilter) {
                    writer.writeStartElement(kIndividualElement);
                    writeEscapedTextElement(writer, kIdElement, record->getMessageID());
                    writeEscapedTextElement(writer, kSeverityElement, record->getMessageSeverity());
                    writeEscapedTextElement(writer, kMilestoneElement, record->getMessageProcess());
                    const QStringList dynamicData = record->getMessageDynamicData();
                    for (const QString& value : dynamicData)
                        writeEscapedTextElement(writer, kDynamicElement, value);
                    writer.writeEndElement();
                }
                writer.writeEndElement();
            }
            writer.writeEndElement();
        },
        kLocation, kOpenWriteLine);
}

bool MessageFilterReadWrite::doRead(
    FilterTable& filters, QString& activeName, FilterReadOwnership& owned)
{
    QFile file(m_fileName);
    if (!openXmlFileForReading(file, kLocation, kMissingLine, kOpenReadLine))
        return false;

    QXmlStreamReader reader(&file);
    for (MessageFilter::FilterNode* previous : qAsConst(filters))
        owned.filters.emplace_back(previous);
    filters.clear();

    // One forward pass without a depth count: a "Filter" nested in another feeds the outer
    // one, and the first "Filter" end tag completes whichever filter is open.
    enum class Section { None, General, Individual };
    bool inFilter = false;
    Section section = Section::None;
    QString filterName;
    QStringList ids;
    QStringList severities;
    QStringList milestones;
    QString recordId;
    QString recordSeverity;
    QString recordMilestone;
    QStringList recordDynamic;
    QVector<MessageNode*> records;

    for (readPrologWithinEntityBound(reader); !reader.atEnd(); reader.readNext()) {
        if (reader.isStartElement()) {
            const QStringRef name = reader.name();
            if (name == kFilterElement && !inFilter) {
                const QXmlStreamAttributes attributes = reader.attributes();
                filterName = escapedAttributeValue(attributes, kNameAttribute);
                if (attributes.hasAttribute(kActiveAttribute))
                    activeName = filterName;
                inFilter = true;
            } else if (name == kGeneralElement && inFilter) {
                section = Section::General;
            } else if (name == kIndividualElement && inFilter) {
                section = Section::Individual;
            } else if (section == Section::General) {
                QStringList* list = name == kIdElement ? &ids
                    : name == kSeverityElement         ? &severities
                    : name == kMilestoneElement        ? &milestones
                                                       : nullptr;
                if (list)
                    *list = readEscapedElementText(reader).split(
                        kListSeparator, Qt::SkipEmptyParts, Qt::CaseSensitive);
            } else if (section == Section::Individual) {
                if (name == kIdElement)
                    recordId = readEscapedElementText(reader).trimmed();
                else if (name == kSeverityElement)
                    recordSeverity = readEscapedElementText(reader).trimmed();
                else if (name == kMilestoneElement)
                    recordMilestone = readEscapedElementText(reader).trimmed();
                else if (name == kDynamicElement)
                    recordDynamic.append(readEscapedElementText(reader));
            }
        } else if (reader.isEndElement()) {
            const QStringRef name = reader.name();
            if (name == kFilterElement && inFilter) {
                auto* node = new MessageFilter::FilterNode;
                node->generalFilter.insert(Mask::MaskMessageID, ids);
                node->generalFilter.insert(Mask::MaskSeverity, severities);
                node->generalFilter.insert(Mask::MaskMilestone, milestones);
                node->individualFilter = records;
                auto earlier = filters.find(filterName);
                if (earlier != filters.end())
                    owned.filters.emplace_back(earlier.value());
                filters.insert(filterName, node);
                ids.clear();
                severities.clear();
                milestones.clear();
                records.clear();
                section = Section::None;
                inFilter = false;
                filterName.clear();
            } else if (name == kGeneralElement && inFilter && section == Section::General) {
                section = Section::None;
            } else if (name == kIndividualElement && inFilter && section == Section::Individual) {
                auto* record =
                    new MessageNode(recordId, recordSeverity, recordMilestone, recordDynamic, {});
                owned.records.emplace_back(record);
                records.append(record);
                recordId.clear();
                recordSeverity.clear();
                recordMilestone.clear();
                recordDynamic.clear();
                section = Section::None;
            }
        }
    }
    file.close();
    return true;
}

} // namespace zefa::msg_filter::impl_detail
