#include "messagedescription.h"

#include "engine/enginemessagehandler.h"

#include <msgfilter/host/host.h>

#include <QJsonArray>

namespace zefa::msg_filter::tool {

namespace {

// The fields, in order of preference, that carry a message's own id: the structured
// format's id, a bracket tag, a numbered message's number.
const char* const kIdFields[] = { "id", "tag", "number" };

// The engine side files a message without an id under the catalogue's generic entry of
// its severity; doing the same keeps ids, waivers and the host's view in step.
QString genericId(Severity severity)
{
    switch (severity) {
    case Severity::Error:
        return QStringLiteral("9990");
    case Severity::CriticalWarning:
    case Severity::Warning:
        return QStringLiteral("9991");
    case Severity::Info:
        return QStringLiteral("9992");
    case Severity::None:
        break;
    }
    return {};
}

long long positiveNumber(const QString& text)
{
    bool ok = false;
    const long long value = text.toLongLong(&ok);
    return ok && value > 0 ? value : 0;
}

const QString kStructuredRule = QStringLiteral("new-message");

// A structured line reads best as the catalogue's text for its id and arguments; an id
// the catalogue does not know shows its arguments.
QString structuredText(const QString& id, const std::vector<std::string>& arguments)
{
    std::string display;
    if (zefa::pelno::MsgCatalogue::instance().displayString(
            id.toLatin1().constData(), arguments, display)) {
        return QString::fromLatin1(display.data(), static_cast<int>(display.size())).trimmed();
    }
    QStringList words;
    for (const std::string& argument : arguments) {
        words << QString::fromLatin1(argument.data(), static_cast<int>(argument.size()));
    }
    return words.join(QLatin1Char(' ')).trimmed();
}

} // namespace

std::vector<std::string> structuredArguments(const MessageFields& fields)
{
    impl_detail::EngineMessageHandler::FieldList hostFields;
    for (const auto& [name, value] : fields) {
        hostFields.emplace_back(name.toLatin1().toStdString(), value.toLatin1().toStdString());
    }
    QString id;
    QString type;
    QStringList dynamic;
    QStringList navigation;
    impl_detail::EngineMessageHandler::parseNewMessage(hostFields, id, type, dynamic, navigation);
    std::vector<std::string> arguments;
    for (const QString& argument : dynamic) {
        arguments.push_back(argument.toLatin1().toStdString());
    }
    return arguments;
}

bool ClassifiedLine::isStructured() const
{
    return rule == kStructuredRule;
}

QString ClassifiedLine::field(const QString& name) const
{
    for (const auto& [fieldName, value] : fields) {
        if (fieldName == name) {
            return value;
        }
    }
    return {};
}

void describeMessage(ClassifiedLine& line)
{
    line.id.clear();
    for (const char* name : kIdFields) {
        line.id = line.field(QLatin1String(name)).trimmed();
        if (!line.id.isEmpty()) {
            break;
        }
    }
    if (line.id.isEmpty()) {
        line.id = genericId(line.severity);
    }
    line.message = line.isStructured() ? structuredText(line.id, structuredArguments(line.fields))
                                       : line.field(QStringLiteral("text")).trimmed();
    if (line.message.isEmpty()) {
        line.message = line.text.trimmed();
    }
    line.sourceFile = line.field(QStringLiteral("file")).trimmed();
    line.sourceLine =
        line.sourceFile.isEmpty() ? 0 : positiveNumber(line.field(QStringLiteral("line")));
    line.sourceColumn =
        line.sourceLine == 0 ? 0 : positiveNumber(line.field(QStringLiteral("column")));
}

ClassifiedLine classifiedLine(const QString& file, long long number, Severity severity,
    const QString& rule, const QString& type, MessageFields fields, const QString& text)
{
    ClassifiedLine line;
    line.file = file;
    line.number = number;
    line.severity = severity;
    line.rule = rule;
    line.type = type;
    line.fields = std::move(fields);
    line.text = text;
    describeMessage(line);
    return line;
}

bool severityOfName(const QString& name, Severity& severity)
{
    // Every severity above None, up to the highest, Error.
    for (int value = static_cast<int>(Severity::None) + 1;
         value <= static_cast<int>(Severity::Error); ++value) {
        const auto candidate = static_cast<Severity>(value);
        if (name.compare(severityName(candidate), Qt::CaseInsensitive) == 0) {
            severity = candidate;
            return true;
        }
    }
    return false;
}

QJsonObject toJsonl(const ClassifiedLine& message)
{
    QJsonArray fields;
    for (const auto& [name, value] : message.fields) {
        fields.append(QJsonArray { name, value });
    }
    QJsonObject object {
        { QStringLiteral("file"), message.file },
        { QStringLiteral("line"), static_cast<double>(message.number) },
        { QStringLiteral("severity"), severityName(message.severity) },
        { QStringLiteral("rule"), message.rule },
        { QStringLiteral("type"), message.type },
        { QStringLiteral("fields"), fields },
        { QStringLiteral("text"), message.text },
    };
    if (message.baseline != BaselineState::None) {
        object.insert(QStringLiteral("baseline"),
            message.baseline == BaselineState::New ? QStringLiteral("new")
                                                   : QStringLiteral("known"));
    }
    return object;
}

bool fromJsonl(const QJsonObject& object, ClassifiedLine& message)
{
    const QJsonValue fieldsValue = object.value(QStringLiteral("fields"));
    const QJsonValue line = object.value(QStringLiteral("line"));
    // Line numbers are whole and positive; 2^53 keeps the conversion exact and defined.
    const double lineNumber = line.toDouble(-1);
    Severity severity = Severity::None;
    if (!fieldsValue.isArray() || !(lineNumber >= 1 && lineNumber <= 9007199254740992.0)
        || !severityOfName(object.value(QStringLiteral("severity")).toString(), severity)) {
        return false;
    }
    for (const char* member : { "file", "rule", "type", "text" }) {
        if (!object.value(QLatin1String(member)).isString()) {
            return false;
        }
    }
    MessageFields fields;
    for (const QJsonValue& pair : fieldsValue.toArray()) {
        const QJsonArray nameAndValue = pair.toArray();
        if (nameAndValue.size() != 2 || !nameAndValue[0].isString()
            || !nameAndValue[1].isString()) {
            return false;
        }
        fields.emplace_back(nameAndValue[0].toString(), nameAndValue[1].toString());
    }
    message = classifiedLine(object.value(QStringLiteral("file")).toString(),
        static_cast<long long>(lineNumber), severity,
        object.value(QStringLiteral("rule")).toString(),
        object.value(QStringLiteral("type")).toString(), std::move(fields),
        object.value(QStringLiteral("text")).toString());
    return true;
}

} // namespace zefa::msg_filter::tool
