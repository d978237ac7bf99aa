#pragma once

#include "rules/definitiondiagnostic.h"
#include "rules/definitiontext.h"

#include <QHash>
#include <QString>
#include <QXmlStreamReader>

namespace zefa::msg_filter::impl_detail {

class ZefaEnginMsgParser;
class ZefaMsgParserEngin;
class ZefaMsgParserRule;
class ZefaMsgTarget;

// Reads a filter definition file into a rule engine in one forward pass, filling the
// engine's tables as it goes. Whatever is wrong with a single element (missing name,
// duplicate name, missing attribute) drops that element and everything inside it and
// reading goes on; only malformed XML or a foreign root element fails the whole read,
// and then the caller discards what was filled in. Nothing is reported unless someone
// listens through setDiagnostics(), as the command-line tool's rule check does.
//
// Each element reader is called standing on its element's start tag and returns standing
// on its end tag, or at the end of the document.
class ZefaMsgFilterDefReader : public QXmlStreamReader {
public:
    // The definition file in the tool's data directory, or the one named by
    // useDefinitionFile().
    static QString definitionFilePath();
    // From now on, engines read `path` when they load their rules instead of the file in
    // the data directory; an empty path goes back to that one. An engine that has loaded
    // keeps its rules, so this is meant for before the process-wide engine's first use,
    // from the thread that will use it first. The data directory itself does not change.
    static void useDefinitionFile(const QString& path);

    // Tells `diagnostics` about every element read and every one dropped; off by default.
    void setDiagnostics(DefinitionDiagnostics diagnostics);

    bool doRead(ZefaMsgParserEngin* engine);
    bool doRead(ZefaMsgParserEngin* engine, const QString& filePath);

    bool readFilterDef(ZefaMsgParserEngin* engine);
    bool readTargetDeviceDef(ZefaMsgParserEngin* engine);
    bool readEngineDef(ZefaMsgTarget* target);
    bool addRuleforEngine(ZefaEnginMsgParser* parser);
    bool readFilterRule(ZefaMsgParserEngin* engine);
    bool readSubRuleDef(ZefaMsgParserRule* rule);
    // Skips the rest of the current element, nested elements included; returns the last
    // token type read.
    int skipUnExpectedElement();

private:
    using NamePositions = QHash<QString, TextPosition>;

    TokenType next();
    template <typename ReadChild> bool readChildren(QLatin1String childName, ReadChild readChild);
    // The skip of skipUnExpectedElement(); with `reportChildren`, the elements right
    // inside the current one are reported as unexpected.
    TokenType skipElement(bool reportChildren);
    // What the diagnostics get about the current start tag.
    DefinitionDiagnostic describeElement(
        DefinitionDiagnostic::Reason reason, const QString& parent) const;
    void report(DefinitionDiagnostic::Reason reason, const QString& parent);
    // Reports the current element as kept, or as a duplicate of the one in `known`,
    // and records where a new name is defined.
    void reportDefinition(
        bool inserted, const QString& name, NamePositions& known, const QString& parent);

    DefinitionDiagnostics m_diagnostics;
    DefinitionText m_text;
    qint64 m_tokenStart = 0;
    // Where each name of the file was first defined, while diagnostics are on: targets
    // and rules for the file, engines for the current target, rule references for the
    // current engine.
    NamePositions m_targetPositions;
    NamePositions m_rulePositions;
    NamePositions m_enginePositions;
    NamePositions m_referencePositions;
};

} // namespace zefa::msg_filter::impl_detail
