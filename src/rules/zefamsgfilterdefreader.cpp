#include "rules/zefamsgfilterdefreader.h"

#include "common/latin1.h"
#include "common/regexpattern.h"

#include <msgfilter/host/basesystem.h>
#include <msgfilter/zefamsgparserengin.h>

#include <QFile>
#include <QObject>

#include <utility>
#include <vector>

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

QString definitionFileOverride;

} // namespace

QString ZefaMsgFilterDefReader::definitionFilePath()
{
    if (!definitionFileOverride.isEmpty()) {
        return definitionFileOverride;
    }
    return zefa::pelno::BaseSystem::getDataPath().path() + QStringLiteral("/enginemsg.xml");
}

void ZefaMsgFilterDefReader::useDefinitionFile(const QString& path)
{
    definitionFileOverride = path;
}

void ZefaMsgFilterDefReader::setDiagnostics(DefinitionDiagnostics diagnostics)
{
    m_diagnostics = std::move(diagnostics);
}

// Reads the children of the current element up to its end tag: those named `childName`
// go to `readChild`, all others are skipped whole. True at the end tag, false when the
// document ended first.
template <typename ReadChild>
bool ZefaMsgFilterDefReader::readChildren(QLatin1String childName, ReadChild readChild)
{
    const QString parent = m_diagnostics ? name().toString() : QString();
    while (!atEnd()) {
        next();
        if (isEndElement()) {
            return true;
        }
        if (!isStartElement()) {
            continue;
        }
        if (name() == childName) {
            readChild();
        } else {
            report(DefinitionDiagnostic::Reason::UnexpectedElement, parent);
            skipUnExpectedElement();
        }
        if (atEnd()) {
            return false;
        }
    }
    return false;
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
    if (m_diagnostics) {
        // Positions are found in the text; the reader then reads the file as it always does.
        m_text = DefinitionText(file.readAll());
        file.seek(0);
        m_targetPositions.clear();
        m_rulePositions.clear();
    }
    setDevice(&file);

    bool result = true;
    bool foreignRoot = false;
    while (!atEnd()) {
        next();
        if (isEndElement()) {
            result = true;
            break;
        }
        if (!isStartElement()) {
            continue;
        }
        if (name() == kRootElement) {
            report(DefinitionDiagnostic::Reason::Kept, QString());
            if (!readFilterDef(engine)) {
                result = false;
                break;
            }
        } else {
            report(DefinitionDiagnostic::Reason::ForeignRoot, QString());
            foreignRoot = true;
            // Stops the reader at once; the text only serves that purpose.
            raiseError(QObject::tr("The file is not a valid Zefa Message Filter definition file."));
        }
    }
    if (hasError()) {
        result = false;
        if (m_diagnostics && !foreignRoot) {
            DefinitionDiagnostic diagnostic;
            diagnostic.reason = DefinitionDiagnostic::Reason::XmlError;
            diagnostic.at = { lineNumber(), columnNumber() };
            diagnostic.message = errorString();
            m_diagnostics(diagnostic);
        }
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
        next();
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
            report(DefinitionDiagnostic::Reason::UnexpectedElement, kRootElement);
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
        report(DefinitionDiagnostic::Reason::MissingName, kRootElement);
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toLatin1(targetName);
    const auto [inserted, target] = engine->addDeviceTarget(key, ZefaMsgTarget(key));
    reportDefinition(inserted, targetName, m_targetPositions, kRootElement);
    if (!inserted) {
        // The first definition of a family stands; a second one is not merged into it.
        skipUnExpectedElement();
        return false;
    }
    m_enginePositions.clear();
    ZefaMsgTarget* const stored = target;
    return readChildren(kEngineElement, [this, stored] { readEngineDef(stored); });
}

bool ZefaMsgFilterDefReader::readEngineDef(ZefaMsgTarget* target)
{
    QString engineName;
    if (!findAttribute(attributes(), kNameAttribute, &engineName) || engineName.isEmpty()) {
        report(DefinitionDiagnostic::Reason::MissingName, kTargetDeviceElement);
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toLatin1(engineName);
    const auto [inserted, parser] = target->addEnginParsser(key, ZefaEnginMsgParser(key));
    reportDefinition(inserted, engineName, m_enginePositions, kTargetDeviceElement);
    if (!inserted) {
        skipUnExpectedElement();
        return false;
    }
    m_referencePositions.clear();
    ZefaEnginMsgParser* const stored = parser;
    return readChildren(kRuleElement, [this, stored] { addRuleforEngine(stored); });
}

bool ZefaMsgFilterDefReader::addRuleforEngine(ZefaEnginMsgParser* parser)
{
    QString ruleName;
    if (findAttribute(attributes(), kNameAttribute, &ruleName)) {
        const bool added = parser->addRule(toLatin1(ruleName));
        reportDefinition(added, ruleName, m_referencePositions, kEngineElement);
    } else {
        report(DefinitionDiagnostic::Reason::MissingName, kEngineElement);
    }
    skipElement(true);
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
        report(DefinitionDiagnostic::Reason::MissingAttributes, kRootElement);
        skipUnExpectedElement();
        return false;
    }
    const std::string key = toLatin1(ruleName);
    const auto [inserted, rule] =
        engine->addMsgFilterRule(key, ZefaMsgParserRule(key, toLatin1(type), toLatin1(pattern)));
    reportDefinition(inserted, ruleName, m_rulePositions, kRootElement);
    if (!inserted) {
        // The first definition of a name stands, sub-rules included.
        skipUnExpectedElement();
        return false;
    }
    ZefaMsgParserRule* const stored = rule;
    return readChildren(kSubRuleElement, [this, stored] { readSubRuleDef(stored); });
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
    const bool usable = findAttribute(subAttributes, kTypeAttribute, &type)
        && findAttribute(subAttributes, kPatternAttribute, &pattern);
    report(usable ? DefinitionDiagnostic::Reason::Kept
                  : DefinitionDiagnostic::Reason::MissingAttributes,
        kFilterRuleElement);
    if (usable) {
        ZefaMsgParserRule::SubRule sub;
        sub.name = toLatin1(label);
        sub.type = toLatin1(type);
        sub.id = toLatin1(id);
        sub.reg_patten = toLatin1(pattern);
        const QStringList names = fieldSeparator().splitSkippingEmpty(fieldList);
        for (const QString& name : names) {
            sub.fields.push_back(toLatin1(name));
        }
        rule->addSubRule(sub);
    }
    skipElement(true);
    return true;
}

int ZefaMsgFilterDefReader::skipUnExpectedElement()
{
    return skipElement(false);
}

QXmlStreamReader::TokenType ZefaMsgFilterDefReader::next()
{
    m_tokenStart = characterOffset();
    return readNext();
}

QXmlStreamReader::TokenType ZefaMsgFilterDefReader::skipElement(bool reportChildren)
{
    const QString parent = reportChildren && m_diagnostics ? name().toString() : QString();
    // Counts the open elements instead of recursing, so that a deeply nested file cannot
    // exhaust the stack.
    int depth = 1;
    while (!atEnd()) {
        const TokenType token = next();
        if (token == StartElement) {
            if (reportChildren && depth == 1) {
                report(DefinitionDiagnostic::Reason::UnexpectedElement, parent);
            }
            ++depth;
        } else if (token == EndElement) {
            if (--depth == 0) {
                return token;
            }
        }
    }
    return tokenType();
}

DefinitionDiagnostic ZefaMsgFilterDefReader::describeElement(
    DefinitionDiagnostic::Reason reason, const QString& parent) const
{
    DefinitionDiagnostic diagnostic;
    diagnostic.reason = reason;
    diagnostic.element = name().toString();
    diagnostic.parent = parent;
    diagnostic.at = m_text.startTagPosition(m_tokenStart);
    diagnostic.attributes = attributes();
    for (const QXmlStreamAttribute& attribute : diagnostic.attributes) {
        diagnostic.attributePositions.push_back(
            m_text.attributePosition(attribute.name().toString(), m_tokenStart, characterOffset()));
    }
    if (reason == DefinitionDiagnostic::Reason::MissingAttributes) {
        const std::vector<QLatin1String> required = diagnostic.element == kSubRuleElement
            ? std::vector { kTypeAttribute, kPatternAttribute }
            : std::vector { kNameAttribute, kTypeAttribute, kPatternAttribute };
        QString value;
        for (QLatin1String attribute : required) {
            if (!findAttribute(diagnostic.attributes, attribute, &value)) {
                diagnostic.missing.append(attribute);
            }
        }
    }
    return diagnostic;
}

void ZefaMsgFilterDefReader::report(DefinitionDiagnostic::Reason reason, const QString& parent)
{
    if (m_diagnostics) {
        m_diagnostics(describeElement(reason, parent));
    }
}

void ZefaMsgFilterDefReader::reportDefinition(
    bool inserted, const QString& name, NamePositions& known, const QString& parent)
{
    if (!m_diagnostics) {
        return;
    }
    if (inserted) {
        DefinitionDiagnostic diagnostic =
            describeElement(DefinitionDiagnostic::Reason::Kept, parent);
        known.insert(name, diagnostic.at);
        m_diagnostics(diagnostic);
        return;
    }
    DefinitionDiagnostic diagnostic =
        describeElement(DefinitionDiagnostic::Reason::DuplicateName, parent);
    diagnostic.first = known.value(name);
    m_diagnostics(diagnostic);
}

} // namespace zefa::msg_filter::impl_detail
