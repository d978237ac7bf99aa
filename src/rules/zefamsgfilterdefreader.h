#pragma once

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
// and then the caller discards what was filled in. Nothing is ever reported: a user
// learns about dropped elements from the command-line tool's rule check.
//
// Each element reader is called standing on its element's start tag and returns standing
// on its end tag, or at the end of the document.
class ZefaMsgFilterDefReader : public QXmlStreamReader {
public:
    // The definition file in the tool's data directory.
    static QString definitionFilePath();

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
};

} // namespace zefa::msg_filter::impl_detail
