#include "junitreport.h"

#include <QXmlStreamWriter>

#include <algorithm>
#include <map>

namespace zefa::msg_filter::tool {

namespace {

struct TestCase {
    QString id;
    std::vector<const ClassifiedLine*> messages;
    int failing = 0;
    Severity worstFailing = Severity::None;
};

struct Suite {
    std::vector<TestCase> cases;
    std::map<QString, size_t> caseById;
    int failures = 0;
};

// XML 1.0 cannot carry every character, not even escaped: control characters (the
// colour codes of a terminal log), unpaired surrogates, U+FFFE and U+FFFF. They are
// dropped; a carriage return goes too, as XML readers would turn it into a line feed.
QString xmlText(const QString& text)
{
    QString clean;
    clean.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            clean += c;
            clean += text[++i];
        } else if ((c.unicode() >= 0x20 && !c.isSurrogate() && c.unicode() < 0xfffe)
            || c == QLatin1Char('\t') || c == QLatin1Char('\n')) {
            clean += c;
        }
    }
    return clean;
}

// One line of a case's failure text or output: where, how severe, what.
QString messageLine(const ClassifiedLine& message)
{
    QString line = QStringLiteral("%1:%2: %3")
                       .arg(message.file)
                       .arg(message.number)
                       .arg(severityName(message.severity));
    if (message.sourceLine > 0) {
        line += QStringLiteral(" [%1:%2]").arg(message.sourceFile).arg(message.sourceLine);
    }
    return xmlText(line + QStringLiteral(": ") + message.message) + QLatin1Char('\n');
}

} // namespace

JunitReport::JunitReport(Options options)
    : m_options(std::move(options))
{
}

bool JunitReport::fails(const ClassifiedLine& message) const
{
    return message.severity == Severity::Error || m_options.policy.fails(message);
}

void JunitReport::write(const std::vector<ClassifiedLine>& messages, QIODevice& device) const
{
    std::map<QString, Suite> suites;
    for (const ClassifiedLine& message : messages) {
        if (message.waived) {
            continue;
        }
        Suite& suite = suites[message.file];
        auto found = suite.caseById.find(message.id);
        if (found == suite.caseById.end()) {
            found = suite.caseById.emplace(message.id, suite.cases.size()).first;
            suite.cases.push_back(TestCase { message.id, {}, 0 });
        }
        TestCase& testCase = suite.cases[found->second];
        testCase.messages.push_back(&message);
        if (fails(message)) {
            if (testCase.failing++ == 0) {
                ++suite.failures;
            }
            testCase.worstFailing = std::max(testCase.worstFailing, message.severity);
        }
    }
    int tests = 0;
    int failures = 0;
    for (const auto& entry : suites) {
        tests += static_cast<int>(entry.second.cases.size());
        failures += entry.second.failures;
    }

    QXmlStreamWriter xml(&device);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuites"));
    xml.writeAttribute(QStringLiteral("name"), QStringLiteral("msgfilter"));
    xml.writeAttribute(QStringLiteral("tests"), QString::number(tests));
    xml.writeAttribute(QStringLiteral("failures"), QString::number(failures));
    xml.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
    for (const QString& input : m_options.inputs) {
        const Suite& suite = suites[input];
        xml.writeStartElement(QStringLiteral("testsuite"));
        xml.writeAttribute(QStringLiteral("name"), xmlText(input));
        xml.writeAttribute(QStringLiteral("tests"), QString::number(suite.cases.size()));
        xml.writeAttribute(QStringLiteral("failures"), QString::number(suite.failures));
        xml.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
        xml.writeAttribute(QStringLiteral("skipped"), QStringLiteral("0"));
        xml.writeAttribute(QStringLiteral("time"), QStringLiteral("0"));
        for (const TestCase& testCase : suite.cases) {
            xml.writeStartElement(QStringLiteral("testcase"));
            xml.writeAttribute(QStringLiteral("classname"), xmlText(input));
            xml.writeAttribute(QStringLiteral("name"), xmlText(testCase.id));
            xml.writeAttribute(QStringLiteral("time"), QStringLiteral("0"));
            QString details;
            for (const ClassifiedLine* message : testCase.messages) {
                details += messageLine(*message);
            }
            if (testCase.failing > 0) {
                xml.writeStartElement(QStringLiteral("failure"));
                xml.writeAttribute(QStringLiteral("message"),
                    QStringLiteral("%1 of %2 messages fail")
                        .arg(testCase.failing)
                        .arg(testCase.messages.size()));
                xml.writeAttribute(QStringLiteral("type"), severityName(testCase.worstFailing));
                xml.writeCharacters(details);
                xml.writeEndElement();
            } else {
                xml.writeTextElement(QStringLiteral("system-out"), details);
            }
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndDocument();
}

} // namespace zefa::msg_filter::tool
