#include "rules/zefamsgfilterdefreader.h"

#include "common/regexpattern.h"
#include "common/xmlentitybound.h"
#include "rules/asciistring.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QObject>

namespace zefa::msg_filter::impl_detail {

namespace {

const QLatin1String kRootElement("ZefaMsgFilterDef");
const QLatin1String kTargetDeviceElement("TargetDevice");
const QLatin1String kEngineElement("Engine");
const QLatin1String kRuleElement("Rule");
const QLatin1String kFilterRuleElement("FilterRule");
const QLatin1String kSubRuleElement("SubRule");

const QLatin1String kNameAttribute("name");
const QLatin1String kTypeAttribute("type");
const QLatin1String kIdAttribute("id");
const QLatin1String kPatternAttribute("reg_patten");
const QLatin1String kFieldsAttribute("fields");

// The separator of the "fields" attribute: a comma and the blanks after it. Blanks before
// a comma stay part of the name before it.
const RegexPattern& fieldSeparator()
{
    static const RegexPattern separator(QStringLiteral(",\\s*"));
    return separator;
}

// The first attribute with that local name; false when there is none.
bool findAttribute(const QXmlStreamAttributes& attributes, QLatin1String name, QString* value)
{
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (attribute.name() == name) {
            *value = attribute.value().toString();
            return true;
        }
    }
    return false;
}

// Reads the children of the current element up to its end tag: those named `childName`
// go to `readChild`, all others are skipped whole. True at the end tag, false when the
// document ended first.
template <typename ReadChild>
bool readChildren(ZefaMsgFilterDefReader& reader, QLatin1String childName, ReadChild readChild)
{
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isEndElement()) {
            return true;
        }
        if (!reader.isStartElement()) {
            continue;
        }
        if (reader.name() == childName) {
            readChild();
        } else {
            reader.skipUnExpectedElement();
        }
        if (reader.atEnd()) {
            return false;
        }
    }
    return false;
}

} // namespace

QString ZefaMsgFilterDefReader::definitionFilePath()
{
    return zefa::pelno::BaseSystem::getDataPath().path() + QStringLiteral("/enginemsg.xml");
}

bool ZefaMsgFilterDefReader::doRead(ZefaMsgParserEngin* engine)
{
    return doRead(engine, definitionFilePath());
}

bool ZefaMsgFilterDefReader::doRead(ZefaMsgParserEngin* engine, const QString& filePath)
{
    if (engine == nullptr) {
        return false;
    }
    QFile file(filePath);
    if (!file.exists() || !file.open(QIODevice::ReadOnly)) {
        return false;
    }
    setDevice(&file);

    bool result = true;
    for (readPrologWithinEntityBound(*this); !atEnd(); readNext()) {
        if (isEndElement()) {
            result = true;
            break;
        }
        if (!isStartElement()) {
            continue;
        }
        if (name() == kRootElement) {
            if (!readFilterDef(engine)) {
                result = false;
                break;
            }
        } else {
            // Stops the reader at once; the text only serves that purpose.
            raiseError(QObject::tr("The file is not a valid Zefa Message Filter definition file."));
        }
    }
    if (hasError()) {
        result = false;
    }
    clear();
    file.close();
    return result;
}

bool ZefaMsgFilterDefReader::readFilterDef(ZefaMsgParserEngin* engine)
{
    for (;;) {
        if (atEnd()) {
            return true;
        }
        readNext();
        if (isEndElement()) {
            return true;
        }
        if (!isStartElement()) {
            continue;
        }
        if (name() == kTargetDeviceElement) {
            readTargetDeviceDef(engine);
        } else if (name() == kFilterRuleElement) {
            readFilterRule(engine);
        } else {
            skipUnExpectedElement();
        }
        if (atEnd()) {
            return false;
        }
    }
}

bool ZefaMsgFilterDefReader::readTargetDeviceDef(ZefaMsgParserEngin* engine)
{
    QString targetName;
    if (!findAttribute(attributes(), kNameAttribute, &targetName) || targetName.isEmpty()) {
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toStdString(targetName);
    const auto [inserted, target] = engine->addDeviceTarget(key, ZefaMsgTarget(key));
    if (!inserted) {
        // The first definition of a family stands; a second one is not merged into it.
        skipUnExpectedElement();
        return false;
    }
    ZefaMsgTarget* const stored = target;
    return readChildren(*this, kEngineElement, [this, stored] { readEngineDef(stored); });
}

bool ZefaMsgFilterDefReader::readEngineDef(ZefaMsgTarget* target)
{
    QString engineName;
    if (!findAttribute(attributes(), kNameAttribute, &engineName) || engineName.isEmpty()) {
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toStdString(engineName);
    const auto [inserted, parser] = target->addEnginParsser(key, ZefaEnginMsgParser(key));
    if (!inserted) {
        skipUnExpectedElement();
        return false;
    }
    ZefaEnginMsgParser* const stored = parser;
    return readChildren(*this, kRuleElement, [this, stored] { addRuleforEngine(stored); });
}

bool ZefaMsgFilterDefReader::addRuleforEngine(ZefaEnginMsgParser* parser)
{
    QString ruleName;
    if (findAttribute(attributes(), kNameAttribute, &ruleName)) {
        parser->addRule(toStdString(ruleName));
    }
    skipUnExpectedElement();
    return true;
}

bool ZefaMsgFilterDefReader::readFilterRule(ZefaMsgParserEngin* engine)
{
    const QXmlStreamAttributes ruleAttributes = attributes();
    QString ruleName;
    QString type;
    QString pattern;
    if (!findAttribute(ruleAttributes, kNameAttribute, &ruleName)
        || !findAttribute(ruleAttributes, kTypeAttribute, &type)
        || !findAttribute(ruleAttributes, kPatternAttribute, &pattern)) {
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toStdString(ruleName);
    const auto [inserted, rule] = engine->addMsgFilterRule(
        key, ZefaMsgParserRule(key, toStdString(type), toStdString(pattern)));
    if (!inserted) {
        // The first definition of a name stands, sub-rules included.
        skipUnExpectedElement();
        return false;
    }
    ZefaMsgParserRule* const stored = rule;
    return readChildren(*this, kSubRuleElement, [this, stored] { readSubRuleDef(stored); });
}

bool ZefaMsgFilterDefReader::readSubRuleDef(ZefaMsgParserRule* rule)
{
    const QXmlStreamAttributes subAttributes = attributes();
    QString label;
    QString type;
    QString id;
    QString pattern;
    QString fieldList;
    findAttribute(subAttributes, kNameAttribute, &label);
    findAttribute(subAttributes, kIdAttribute, &id);
    findAttribute(subAttributes, kFieldsAttribute, &fieldList);
    if (findAttribute(subAttributes, kTypeAttribute, &type)
        && findAttribute(subAttributes, kPatternAttribute, &pattern)) {
        ZefaMsgParserRule::SubRule sub;
        sub.name = toStdString(label);
        sub.type = toStdString(type);
        sub.id = toStdString(id);
        sub.reg_patten = toStdString(pattern);
        const QStringList names = fieldSeparator().splitSkippingEmpty(fieldList);
        for (const QString& name : names) {
            sub.fields.push_back(toStdString(name));
        }
        rule->addSubRule(sub);
    }
    skipUnExpectedElement();
    return true;
}

int ZefaMsgFilterDefReader::skipUnExpectedElement()
{
    // Counts the open elements instead of recursing, so that a deeply nested file cannot
    // exhaust the stack.
    int depth = 1;
    while (!atEnd()) {
        const TokenType token = readNext();
        if (token == StartElement) {
            ++depth;
        } else if (token == EndElement) {
            if (--depth == 0) {
                return token;
            }
        }
    }
    return tokenType();
}

} // namespace zefa::msg_filter::impl_detail
