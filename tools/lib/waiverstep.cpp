#include "waiverstep.h"

#include "messagedescription.h"

#include <msgfilter/host/host.h>

#include <QFile>
#include <QSet>
#include <QXmlStreamReader>

namespace zefa::msg_filter::tool {

namespace {

const QString kFilterFileRoot = QStringLiteral("ZefaMessageFilter");
const QString kFilterElement = QStringLiteral("Filter");
// The catalogue component under which the tool enters the ids it meets.
const char* const kToolComponent = "msgfilter";

// Arguments go through the filter file, whose XML turns CR LF and a lone CR into LF and
// cannot carry other control characters; compared as the file gives them back, a
// waiver written from a message still matches it.
std::string asXmlKeepsIt(const std::string& text)
{
    std::string kept;
    kept.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '\r') {
            kept += '\n';
            if (i + 1 < text.size() && text[i + 1] == '\n') {
                ++i;
            }
        } else if (c >= 0x20 || c == '\t' || c == '\n') {
            kept += text[i];
        }
    }
    return kept;
}

} // namespace

bool checkFilterFile(const QString& path, QSet<QString>& names, QString& error)
{
    QFile file(path);
    if (!file.exists()) {
        error = QStringLiteral("no such file");
        return false;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    QXmlStreamReader xml(&file);
    if (!xml.readNextStartElement()) {
        error = xml.hasError() ? xml.errorString() : QStringLiteral("empty document");
        return false;
    }
    if (xml.name() != kFilterFileRoot) {
        error = QStringLiteral("root element '%1' is not '%2'")
                    .arg(xml.name().toString(), kFilterFileRoot);
        return false;
    }
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement() && xml.name() == kFilterElement) {
            names.insert(xml.attributes().value(QStringLiteral("name")).toString());
        }
    }
    if (xml.hasError()) {
        error = QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString());
        return false;
    }
    return true;
}

QString waiverProcess(const ClassifiedLine& line)
{
    return line.file.mid(line.file.lastIndexOf(QLatin1Char('/')) + 1);
}

int catalogueType(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return 1;
    case Severity::CriticalWarning:
        return 8;
    case Severity::Warning:
        return 2;
    case Severity::Info:
    case Severity::None:
        break;
    }
    return 4;
}

std::vector<std::string> waiverArguments(const ClassifiedLine& message)
{
    std::vector<std::string> arguments = message.isStructured()
        ? structuredArguments(message.fields)
        : std::vector<std::string> { message.message.toLatin1().toStdString() };
    for (std::string& argument : arguments) {
        argument = asXmlKeepsIt(argument);
    }
    return arguments;
}

bool WaiverStep::load(const QString& path, const QString& filterName, QString& error)
{
    QSet<QString> names;
    if (!checkFilterFile(path, names, error)) {
        return false;
    }
    m_filters.loadFilters(path);
    if (!filterName.isEmpty()) {
        m_filters.setPnFilter(filterName);
    }
    const QString chosen = m_filters.getPnFilter();
    if (chosen.isEmpty() && filterName.isEmpty()) {
        error = QStringLiteral("no filter is marked active; name one with --filter");
        return false;
    }
    if (!names.contains(chosen)) {
        error = QStringLiteral("no filter named '%1'").arg(chosen);
        return false;
    }
    m_applied = false;
    return true;
}

bool WaiverStep::isWaived(const ClassifiedLine& message)
{
    zefa::pelno::MsgCatalogue& catalogue = zefa::pelno::MsgCatalogue::instance();
    const std::string key = message.id.toLatin1().toStdString();
    if (catalogue.findEntry(key) == nullptr) {
        catalogue.addEntry(kToolComponent, key, catalogueType(message.severity), "%1");
        // The filter asks the catalogue for each id's type when it is applied; an id
        // entered since then must be asked about again.
        m_applied = false;
    }
    const QString process = waiverProcess(message);
    if (!m_applied || process != m_appliedProcess) {
        m_filters.activePnFilter(process);
        m_appliedProcess = process;
        m_applied = true;
    }
    return !catalogue.isVisible(key, waiverArguments(message));
}

} // namespace zefa::msg_filter::tool
