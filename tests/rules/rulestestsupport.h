#pragma once

#include <msgfilter/zefamsgparserengin.h>

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <memory>
#include <sstream>
#include <string>

namespace rules_test {

using zefa::msg_filter::impl_detail::ZefaMsgParserEngin;

// A temporary data directory whose enginemsg.xml the test writes.
class DataDirectory {
public:
    QString path() const { return m_directory.path(); }
    QString definitionFile() const { return m_directory.filePath(QStringLiteral("enginemsg.xml")); }

    void write(const QByteArray& content) const
    {
        QFile file(definitionFile());
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.write(content);
        }
    }

    std::string definitionFileName() const { return definitionFile().toStdString(); }

private:
    QTemporaryDir m_directory;
};

// Points the rule engine's data directory at `path` for the lifetime of the object.
class DataPathOverride {
public:
    explicit DataPathOverride(const QString& path)
        : m_hadValue(qEnvironmentVariableIsSet("ZEFA_DATA_PATH"))
        , m_oldValue(qgetenv("ZEFA_DATA_PATH"))
    {
        qputenv("ZEFA_DATA_PATH", path.toLocal8Bit());
    }
    ~DataPathOverride()
    {
        if (m_hadValue) {
            qputenv("ZEFA_DATA_PATH", m_oldValue);
        } else {
            qunsetenv("ZEFA_DATA_PATH");
        }
    }
    DataPathOverride(const DataPathOverride&) = delete;
    DataPathOverride& operator=(const DataPathOverride&) = delete;

private:
    bool m_hadValue;
    QByteArray m_oldValue;
};

// A fresh engine loaded from `xml`; `loaded` tells whether the load succeeded.
inline std::unique_ptr<ZefaMsgParserEngin> engineFromXml(const QByteArray& xml, bool* loaded)
{
    DataDirectory directory;
    directory.write(xml);
    auto engine = std::make_unique<ZefaMsgParserEngin>();
    *loaded = engine->loadFilterRulesFromFile(directory.definitionFileName());
    return engine;
}

// Everything an engine holds, one line per item, in table order:
//   target T / engine E: r1,r2 / rule R [type] pattern / sub name|type|id|pattern|f1;f2
inline std::string describe(const ZefaMsgParserEngin& engine)
{
    std::ostringstream out;
    for (const auto& [targetName, target] : engine.getTargets()) {
        out << "target " << targetName << '\n';
        for (const auto& [engineName, parser] : target.getEngines()) {
            out << " engine " << engineName << ':';
            const char* separator = " ";
            for (const std::string& ruleName : parser.getRuleNames()) {
                out << separator << '<' << ruleName << '>';
                separator = ",";
            }
            out << '\n';
        }
    }
    for (const auto& [ruleName, rule] : engine.getRules()) {
        out << "rule " << ruleName << " [" << rule.getType() << "] " << rule.getRegPatten() << '\n';
        for (const auto& sub : rule.getSubRules()) {
            out << " sub " << sub.name << '|' << sub.type << '|' << sub.id << '|' << sub.reg_patten
                << '|';
            const char* separator = "";
            for (const std::string& field : sub.fields) {
                out << separator << '<' << field << '>';
                separator = ";";
            }
            out << '\n';
        }
    }
    return out.str();
}

} // namespace rules_test
