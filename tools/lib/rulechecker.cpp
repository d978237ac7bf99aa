#include "rulechecker.h"

#include "common/regexpattern.h"
#include "rules/zefamsgfilterdefreader.h"

#include <msgfilter/zefamsgparserengin.h>

#include <algorithm>
#include <initializer_list>
#include <map>
#include <set>
#include <utility>

namespace zefa::msg_filter::tool {

namespace {

using impl_detail::DefinitionDiagnostic;
using impl_detail::RegexPattern;
using Reason = DefinitionDiagnostic::Reason;

// Where a name was first defined, to point back to it.
using Definitions = std::map<QString, FilePosition>;

FilePosition positionOf(const impl_detail::TextPosition& position)
{
    return { position.line, position.column };
}

/// Turns what the library's reader says about each element into findings, and adds what
/// the reader cannot know: unknown attributes, invalid patterns, field names beyond the
/// capture groups, rule names no engine uses and engines' rules with no definition.
class DefinitionChecker {
public:
    void take(const DefinitionDiagnostic& diagnostic)
    {
        if (diagnostic.reason == Reason::XmlError) {
            add(positionOf(diagnostic.at),
                QStringLiteral("XML error: %1; the library loads nothing from this file")
                    .arg(diagnostic.message));
            m_loadsNothing = true;
            return;
        }
        if (diagnostic.reason == Reason::ForeignRoot) {
            add(positionOf(diagnostic.at),
                QStringLiteral("the root element is '%1', not 'ZefaMsgFilterDef': "
                               "the library loads nothing from this file")
                    .arg(diagnostic.element));
            m_loadsNothing = true;
            return;
        }
        if (diagnostic.reason == Reason::UnexpectedElement) {
            add(positionOf(diagnostic.at),
                QStringLiteral("element '%1' inside '%2' is ignored")
                    .arg(diagnostic.element, diagnostic.parent));
            return;
        }
        const QString& element = diagnostic.element;
        if (element == QLatin1String("ZefaMsgFilterDef")) {
            checkAttributes(diagnostic, {});
        } else if (element == QLatin1String("TargetDevice")) {
            checkAttributes(diagnostic, { "name" });
            if (takeDefinition(diagnostic)) {
                ++targets;
                m_target = value(diagnostic, "name");
            }
        } else if (element == QLatin1String("Engine")) {
            checkAttributes(diagnostic, { "name" });
            if (takeDefinition(diagnostic)) {
                ++engines;
                m_engine = QStringLiteral("%1/%2").arg(m_target, value(diagnostic, "name"));
            }
        } else if (element == QLatin1String("Rule")) {
            takeReference(diagnostic);
        } else if (element == QLatin1String("FilterRule")) {
            takeFilterRule(diagnostic);
        } else if (element == QLatin1String("SubRule")) {
            takeSubRule(diagnostic);
        }
    }

    /// The findings in file order, with those that need the whole file.
    std::vector<RuleFinding> finish()
    {
        for (const auto& [name, at] : m_filterRuleOrder) {
            if (m_usableSubRules[name] == 0) {
                add(at,
                    QStringLiteral("FilterRule '%1' has no usable SubRule: the lines it wins "
                                   "get no message type and no fields")
                        .arg(name));
            }
        }
        if (!m_loadsNothing) {
            checkReferences();
        }
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

    void add(FilePosition at, const QString& message) { m_findings.push_back({ at, message }); }

    static QString value(const DefinitionDiagnostic& diagnostic, const char* attribute)
    {
        return diagnostic.attributes.value(QLatin1String(attribute)).toString();
    }

    // Where an attribute's name is written in the start tag, or the tag itself when the
    // attribute is not there.
    static FilePosition attributePosition(
        const DefinitionDiagnostic& diagnostic, const QString& attribute)
    {
        for (int index = 0; index < diagnostic.attributes.size(); ++index) {
            if (diagnostic.attributes.at(index).name() == attribute) {
                return positionOf(diagnostic.attributePositions.at(static_cast<size_t>(index)));
            }
        }
        return positionOf(diagnostic.at);
    }

    // Reports attributes outside `known`: a misspelt "reg_patten" is the classic case.
    void checkAttributes(
        const DefinitionDiagnostic& diagnostic, std::initializer_list<const char*> known)
    {
        for (int index = 0; index < diagnostic.attributes.size(); ++index) {
            const QXmlStreamAttribute& attribute = diagnostic.attributes.at(index);
            const bool isKnown = std::any_of(known.begin(), known.end(),
                [&attribute](const char* name) { return attribute.name() == QLatin1String(name); });
            if (!isKnown) {
                add(positionOf(diagnostic.attributePositions.at(static_cast<size_t>(index))),
                    QStringLiteral("unknown attribute '%1' on %2 is ignored")
                        .arg(attribute.name().toString(), diagnostic.element));
            }
        }
    }

    // A TargetDevice, Engine or FilterRule that was kept; the reason it was dropped
    // otherwise.
    bool takeDefinition(const DefinitionDiagnostic& diagnostic)
    {
        if (diagnostic.reason == Reason::MissingName) {
            add(positionOf(diagnostic.at),
                QStringLiteral("%1 without a name is ignored with everything inside it")
                    .arg(diagnostic.element));
            return false;
        }
        if (diagnostic.reason == Reason::DuplicateName) {
            add(positionOf(diagnostic.at),
                QStringLiteral("%1 '%2' is already defined at line %3: this one is ignored "
                               "with everything inside it")
                    .arg(diagnostic.element, value(diagnostic, "name"))
                    .arg(diagnostic.first.line));
            return false;
        }
        return diagnostic.reason == Reason::Kept;
    }

    void takeReference(const DefinitionDiagnostic& diagnostic)
    {
        checkAttributes(diagnostic, { "name" });
        const FilePosition at = positionOf(diagnostic.at);
        const QString name = value(diagnostic, "name");
        if (diagnostic.reason == Reason::MissingName) {
            add(at, QStringLiteral("Rule without a name is ignored"));
        } else if (diagnostic.reason == Reason::DuplicateName) {
            add(at,
                QStringLiteral("Rule '%1' is already listed for engine '%2' at line "
                               "%3: the repeat has no effect")
                    .arg(name, m_engine)
                    .arg(diagnostic.first.line));
        } else {
            m_references.push_back({ name, m_engine, at });
        }
    }

    void takeFilterRule(const DefinitionDiagnostic& diagnostic)
    {
        checkAttributes(diagnostic, { "name", "type", "reg_patten" });
        if (diagnostic.reason == Reason::MissingAttributes) {
            add(positionOf(diagnostic.at),
                QStringLiteral("FilterRule%1 lacks the attribute '%2': it is ignored with "
                               "its sub-rules")
                    .arg(diagnostic.attributes.hasAttribute(QStringLiteral("name"))
                            ? QStringLiteral(" '%1'").arg(value(diagnostic, "name"))
                            : QString(),
                        diagnostic.missing.constFirst()));
            return;
        }
        if (!takeDefinition(diagnostic)) {
            return;
        }
        ++rules;
        m_rule = value(diagnostic, "name");
        m_filterRules.emplace(m_rule, positionOf(diagnostic.at));
        m_filterRuleOrder.emplace_back(m_rule, positionOf(diagnostic.at));
        m_usableSubRules[m_rule] = 0;
        checkPattern(diagnostic, value(diagnostic, "reg_patten"),
            QStringLiteral("FilterRule '%1'").arg(m_rule), -1);
    }

    void takeSubRule(const DefinitionDiagnostic& diagnostic)
    {
        checkAttributes(diagnostic, { "name", "type", "id", "reg_patten", "fields" });
        const QString label = diagnostic.attributes.hasAttribute(QStringLiteral("name"))
            ? QStringLiteral("SubRule '%1' of '%2'").arg(value(diagnostic, "name"), m_rule)
            : QStringLiteral("a SubRule of '%1'").arg(m_rule);
        if (diagnostic.reason == Reason::MissingAttributes) {
            for (const QString& attribute : diagnostic.missing) {
                add(positionOf(diagnostic.at),
                    QStringLiteral("%1 lacks the attribute '%2': it is ignored")
                        .arg(label, attribute));
            }
            return;
        }
        ++subRules;
        ++m_usableSubRules[m_rule];
        const QStringList fields = splitFields(value(diagnostic, "fields"));
        checkPattern(
            diagnostic, value(diagnostic, "reg_patten"), label, static_cast<int>(fields.size()));
        for (const QString& field : fields) {
            if (field.trimmed() != field) {
                add(attributePosition(diagnostic, QStringLiteral("fields")),
                    QStringLiteral("%1: the field name '%2' ends in white space (write "
                                   "\"a, b\", not \"a ,b\")")
                        .arg(label, field));
            }
        }
    }

    static QStringList splitFields(const QString& fields)
    {
        static const RegexPattern separator(QStringLiteral(",\\s*"));
        return separator.splitSkippingEmpty(fields);
    }

    // `fieldCount` is the number of named fields of a sub-rule, -1 for a rule pattern.
    void checkPattern(const DefinitionDiagnostic& diagnostic, const QString& pattern,
        const QString& owner, int fieldCount)
    {
        const FilePosition at = attributePosition(diagnostic, QStringLiteral("reg_patten"));
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

    std::vector<RuleFinding> m_findings;
    bool m_loadsNothing = false;
    QString m_target;
    QString m_engine; ///< "target/engine" of the engine being read
    QString m_rule; ///< the FilterRule being read
    Definitions m_filterRules;
    std::vector<std::pair<QString, FilePosition>> m_filterRuleOrder;
    std::map<QString, int> m_usableSubRules;
    std::vector<Reference> m_references;
};

} // namespace

RuleCheck checkRules(const QString& path)
{
    DefinitionChecker checker;
    impl_detail::ZefaMsgFilterDefReader reader;
    reader.setDiagnostics(
        [&checker](const DefinitionDiagnostic& diagnostic) { checker.take(diagnostic); });
    impl_detail::ZefaMsgParserEngin engine;
    reader.doRead(&engine, path);
    RuleCheck check;
    check.findings = checker.finish();
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
