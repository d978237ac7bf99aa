#include "rulechecker.h"

#include "common/regexpattern.h"
#include "common/xmldocumentcodec.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <utility>

namespace zefa::msg_filter::tool {

namespace {

using impl_detail::RegexPattern;

// Where a name was first defined, to point back to it from a duplicate.
using Definitions = std::map<QString, FilePosition>;

/// One pass over the file with the library's grammar, collecting findings.
///
/// Elements the library drops (a duplicate target, a rule without its pattern) are
/// reported once; what is inside them is skipped unread, as the library skips it.
class DefinitionChecker {
public:
    explicit DefinitionChecker(const QByteArray& data)
        : m_reader(data)
        , m_text(impl_detail::decodedXmlDocument(data))
    {
        m_lineStarts.push_back(0);
        for (int i = 0; i < m_text.size(); ++i) {
            if (m_text.at(i) == QLatin1Char('\n')) {
                m_lineStarts.push_back(i + 1);
            }
        }
    }

    void run()
    {
        while (!m_reader.atEnd()) {
            if (next() == QXmlStreamReader::StartElement) {
                if (m_reader.name() == QLatin1String("ZefaMsgFilterDef")) {
                    readDefinition();
                } else {
                    add(elementPosition(),
                        QStringLiteral("the root element is '%1', not 'ZefaMsgFilterDef': "
                                       "the library loads nothing from this file")
                            .arg(m_reader.name().toString()));
                    return;
                }
            }
        }
        if (m_reader.hasError()) {
            add({ m_reader.lineNumber(), m_reader.columnNumber() },
                QStringLiteral("XML error: %1; the library loads nothing from this file")
                    .arg(m_reader.errorString()));
            return;
        }
        checkReferences();
    }

    std::vector<RuleFinding> takeFindings()
    {
        std::stable_sort(
            m_findings.begin(), m_findings.end(), [](const RuleFinding& a, const RuleFinding& b) {
                return a.at.line != b.at.line ? a.at.line < b.at.line : a.at.column < b.at.column;
            });
        return std::move(m_findings);
    }

    int targets = 0;
    int engines = 0;
    int rules = 0;
    int subRules = 0;

private:
    struct Reference {
        QString name;
        QString engine;
        FilePosition at;
    };

    QXmlStreamReader::TokenType next()
    {
        // About where the next token starts; elementPosition() finds its "<".
        m_tokenStart = m_reader.characterOffset();
        return m_reader.readNext();
    }

    FilePosition positionOf(qint64 offset) const
    {
        auto after = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
        const qint64 lineIndex = (after - m_lineStarts.begin()) - 1;
        return { lineIndex + 1, offset - m_lineStarts[static_cast<size_t>(lineIndex)] + 1 };
    }

    // The "<" of the current start tag. The reader may have taken that "<" already
    // (to end the text before it), or may not report the white space before it (outside
    // the root element): the tag begins at the first "<" from one character back.
    FilePosition elementPosition() const
    {
        const int tag = m_text.indexOf(
            QLatin1Char('<'), static_cast<int>(std::max<qint64>(m_tokenStart - 1, 0)));
        return positionOf(tag < 0 ? m_tokenStart : tag);
    }

    // The position of an attribute's name inside the current start tag, or of the tag
    // itself when the attribute is not written there.
    FilePosition attributePosition(const QString& attribute) const
    {
        const qint64 end = std::min<qint64>(m_reader.characterOffset(), m_text.size());
        qint64 from = std::max<qint64>(m_tokenStart - 1, 0);
        while (from < end) {
            const int found = m_text.indexOf(attribute, static_cast<int>(from));
            if (found < 0 || found >= end) {
                break;
            }
            const QChar before = m_text.at(found - 1);
            int after = found + attribute.size();
            while (after < end && m_text.at(after).isSpace()) {
                ++after;
            }
            if (before.isSpace() && after < end && m_text.at(after) == QLatin1Char('=')) {
                return positionOf(found);
            }
            from = found + 1;
        }
        return elementPosition();
    }

    void add(FilePosition at, const QString& message) { m_findings.push_back({ at, message }); }

    // Reports attributes outside `known`: a misspelt "reg_patten" is the classic case.
    void checkAttributes(const char* element, std::initializer_list<const char*> known)
    {
        for (const QXmlStreamAttribute& attribute : m_reader.attributes()) {
            const bool isKnown = std::any_of(known.begin(), known.end(),
                [&attribute](const char* name) { return attribute.name() == QLatin1String(name); });
            if (!isKnown) {
                add(attributePosition(attribute.name().toString()),
                    QStringLiteral("unknown attribute '%1' on %2 is ignored")
                        .arg(attribute.name().toString(), QLatin1String(element)));
            }
        }
    }

    // Skips the rest of the current element; with `report`, each element found inside
    // is reported as ignored.
    void skipElement(bool report)
    {
        const QString parent = m_reader.name().toString();
        // Counted, not recursed into: a file may nest elements as deep as it likes.
        long long depth = 0;
        while (!m_reader.atEnd()) {
            const QXmlStreamReader::TokenType token = next();
            if (token == QXmlStreamReader::EndElement) {
                if (depth == 0) {
                    return;
                }
                --depth;
            } else if (token == QXmlStreamReader::StartElement) {
                if (report && depth == 0) {
                    add(elementPosition(),
                        QStringLiteral("element '%1' inside '%2' is ignored")
                            .arg(m_reader.name().toString(), parent));
                }
                ++depth;
            }
        }
    }

    using ChildReader = std::pair<const char*, std::function<void()>>;

    // Reads the children of the current element, handing those named in `readers` to
    // their reader and reporting all others as ignored.
    void readChildren(std::initializer_list<ChildReader> readers)
    {
        const QString parent = m_reader.name().toString();
        while (!m_reader.atEnd()) {
            const QXmlStreamReader::TokenType token = next();
            if (token == QXmlStreamReader::EndElement) {
                return;
            }
            if (token != QXmlStreamReader::StartElement) {
                continue;
            }
            const auto reader =
                std::find_if(readers.begin(), readers.end(), [this](const ChildReader& candidate) {
                    return m_reader.name() == QLatin1String(candidate.first);
                });
            if (reader != readers.end()) {
                reader->second();
            } else {
                add(elementPosition(),
                    QStringLiteral("element '%1' inside '%2' is ignored")
                        .arg(m_reader.name().toString(), parent));
                skipElement(false);
            }
        }
    }

    void readDefinition()
    {
        checkAttributes("ZefaMsgFilterDef", {});
        readChildren({ { "TargetDevice", [this] { readTarget(); } },
            { "FilterRule", [this] { readFilterRule(); } } });
    }

    // A "name" that must be present, non-empty unless `mayBeEmpty`, and new among `known`. Reports
    // and skips the element when it is not.
    bool takeName(const char* element, Definitions& known, QString& name, bool mayBeEmpty = false)
    {
        const QXmlStreamAttributes attributes = m_reader.attributes();
        if (!attributes.hasAttribute(QStringLiteral("name"))
            || (!mayBeEmpty && attributes.value(QStringLiteral("name")).isEmpty())) {
            add(elementPosition(),
                QStringLiteral("%1 without a name is ignored with "
                               "everything inside it")
                    .arg(QLatin1String(element)));
            skipElement(false);
            return false;
        }
        name = attributes.value(QStringLiteral("name")).toString();
        const auto [first, inserted] = known.emplace(name, elementPosition());
        if (!inserted) {
            add(elementPosition(),
                QStringLiteral("%1 '%2' is already defined at line %3: this one is ignored "
                               "with everything inside it")
                    .arg(QLatin1String(element), name)
                    .arg(first->second.line));
            skipElement(false);
            return false;
        }
        return true;
    }

    void readTarget()
    {
        checkAttributes("TargetDevice", { "name" });
        QString target;
        if (!takeName("TargetDevice", m_targets, target)) {
            return;
        }
        ++targets;
        Definitions enginesOfTarget;
        readChildren({ { "Engine", [&] { readEngine(target, enginesOfTarget); } } });
    }

    void readEngine(const QString& target, Definitions& enginesOfTarget)
    {
        checkAttributes("Engine", { "name" });
        QString engine;
        if (!takeName("Engine", enginesOfTarget, engine)) {
            return;
        }
        ++engines;
        const QString label = QStringLiteral("%1/%2").arg(target, engine);
        Definitions listed;
        readChildren({ { "Rule", [&] { readRuleReference(label, listed); } } });
    }

    void readRuleReference(const QString& engine, Definitions& listed)
    {
        checkAttributes("Rule", { "name" });
        const FilePosition at = elementPosition();
        const QXmlStreamAttributes attributes = m_reader.attributes();
        if (!attributes.hasAttribute(QStringLiteral("name"))) {
            add(at, QStringLiteral("Rule without a name is ignored"));
        } else {
            const QString name = attributes.value(QStringLiteral("name")).toString();
            const auto [first, inserted] = listed.emplace(name, at);
            if (inserted) {
                m_references.push_back({ name, engine, at });
            } else {
                add(at,
                    QStringLiteral("Rule '%1' is already listed for engine '%2' at line "
                                   "%3: the repeat has no effect")
                        .arg(name, engine)
                        .arg(first->second.line));
            }
        }
        skipElement(true);
    }

    void readFilterRule()
    {
        checkAttributes("FilterRule", { "name", "type", "reg_patten" });
        const QXmlStreamAttributes attributes = m_reader.attributes();
        for (const char* required : { "name", "type", "reg_patten" }) {
            if (!attributes.hasAttribute(QLatin1String(required))) {
                add(elementPosition(),
                    QStringLiteral("FilterRule%1 lacks the attribute '%2': it is ignored with "
                                   "its sub-rules")
                        .arg(attributes.hasAttribute(QStringLiteral("name"))
                                ? QStringLiteral(" '%1'").arg(
                                    attributes.value(QStringLiteral("name")).toString())
                                : QString(),
                            QLatin1String(required)));
                skipElement(false);
                return;
            }
        }
        QString name;
        if (!takeName("FilterRule", m_filterRules, name, true)) {
            return;
        }
        ++rules;
        checkPattern(attributes.value(QStringLiteral("reg_patten")).toString(),
            QStringLiteral("FilterRule '%1'").arg(name), -1);
        int subRulesOfRule = 0;
        readChildren({ { "SubRule", [&] { subRulesOfRule += readSubRule(name) ? 1 : 0; } } });
        if (subRulesOfRule == 0) {
            add(m_filterRules[name],
                QStringLiteral("FilterRule '%1' has no usable SubRule: the lines it wins get "
                               "no message type and no fields")
                    .arg(name));
        }
    }

    bool readSubRule(const QString& rule)
    {
        checkAttributes("SubRule", { "name", "type", "id", "reg_patten", "fields" });
        const QXmlStreamAttributes attributes = m_reader.attributes();
        const QString label = attributes.hasAttribute(QStringLiteral("name"))
            ? QStringLiteral("SubRule '%1' of '%2'")
                  .arg(attributes.value(QStringLiteral("name")).toString(), rule)
            : QStringLiteral("a SubRule of '%1'").arg(rule);
        bool usable = true;
        for (const char* required : { "type", "reg_patten" }) {
            if (!attributes.hasAttribute(QLatin1String(required))) {
                add(elementPosition(),
                    QStringLiteral("%1 lacks the attribute '%2': it is ignored")
                        .arg(label, QLatin1String(required)));
                usable = false;
            }
        }
        if (usable) {
            ++subRules;
            const QStringList fields = splitFields(attributes.value(QStringLiteral("fields")));
            checkPattern(attributes.value(QStringLiteral("reg_patten")).toString(), label,
                static_cast<int>(fields.size()));
            for (const QString& field : fields) {
                if (field.trimmed() != field) {
                    add(attributePosition(QStringLiteral("fields")),
                        QStringLiteral("%1: the field name '%2' ends in white space (write "
                                       "\"a, b\", not \"a ,b\")")
                            .arg(label, field));
                }
            }
        }
        skipElement(true);
        return usable;
    }

    static QStringList splitFields(const QStringRef& fields)
    {
        static const RegexPattern separator(QStringLiteral(",\\s*"));
        return separator.splitSkippingEmpty(fields.toString());
    }

    // `fieldCount` is the number of named fields of a sub-rule, -1 for a rule pattern.
    void checkPattern(const QString& pattern, const QString& owner, int fieldCount)
    {
        const FilePosition at = attributePosition(QStringLiteral("reg_patten"));
        // The library hands patterns over as 8-bit text; check what it will really see.
        const RegexPattern expression(QString::fromLatin1(pattern.toLatin1()));
        if (!expression.isValid()) {
            add(at,
                QStringLiteral("%1: invalid regular expression (%2): it never matches")
                    .arg(owner, expression.errorString()));
            return;
        }
        if (fieldCount > expression.captureCount()) {
            add(at,
                QStringLiteral("%1 names %2 fields but its pattern has only %3 capture "
                               "groups: the surplus names never get a value")
                    .arg(owner)
                    .arg(fieldCount)
                    .arg(expression.captureCount()));
        }
    }

    void checkReferences()
    {
        std::set<QString> used;
        for (const Reference& reference : m_references) {
            used.insert(reference.name);
            if (m_filterRules.count(reference.name) == 0) {
                add(reference.at,
                    QStringLiteral("Rule '%1' of engine '%2' names no "
                                   "FilterRule: it never matches")
                        .arg(reference.name, reference.engine));
            }
        }
        for (const auto& [name, at] : m_filterRules) {
            if (used.count(name) == 0) {
                add(at,
                    QStringLiteral("FilterRule '%1' is listed by no Engine: it never "
                                   "matches")
                        .arg(name));
            }
        }
    }

    QXmlStreamReader m_reader;
    QString m_text;
    std::vector<qint64> m_lineStarts;
    qint64 m_tokenStart = 0;
    std::vector<RuleFinding> m_findings;
    Definitions m_targets;
    Definitions m_filterRules;
    std::vector<Reference> m_references;
};

} // namespace

RuleCheck checkRules(const QByteArray& data)
{
    DefinitionChecker checker(data);
    checker.run();
    RuleCheck check;
    check.findings = checker.takeFindings();
    check.targets = checker.targets;
    check.engines = checker.engines;
    check.rules = checker.rules;
    check.subRules = checker.subRules;
    return check;
}

QString ruleCheckReport(const QString& path, const RuleCheck& check)
{
    const std::vector<RuleFinding>& findings = check.findings;
    QString report;
    for (const RuleFinding& finding : findings) {
        report += QStringLiteral("%1:%2:%3: %4\n")
                      .arg(path)
                      .arg(finding.at.line)
                      .arg(finding.at.column)
                      .arg(finding.message);
    }
    if (findings.empty()) {
        report += QStringLiteral("%1: no findings (%2 targets, %3 engines, %4 rules, %5 "
                                 "sub-rules)\n")
                      .arg(path)
                      .arg(check.targets)
                      .arg(check.engines)
                      .arg(check.rules)
                      .arg(check.subRules);
    } else {
        report += QStringLiteral("%1: %2 finding%3\n")
                      .arg(path)
                      .arg(findings.size())
                      .arg(findings.size() == 1 ? QString() : QStringLiteral("s"));
    }
    return report;
}

} // namespace zefa::msg_filter::tool
