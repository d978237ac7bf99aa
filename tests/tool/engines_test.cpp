// msgfilter classify on every log, once with patterns on the automaton and once on QRegExp
// alone: the output must not differ by a byte.

#include "toolrunner.h"

#include <QDirIterator>

#include <gtest/gtest.h>

using namespace toolrunner;

namespace {

ToolResult classify(const QString& log, const char* format, bool referenceOnly)
{
    if (referenceOnly) {
        qputenv("MSGFILTER_REGEX_ENGINE", "reference");
    }
    ToolResult result = runTool(words("classify --color never --format")
        << QString::fromLatin1(format) << QStringLiteral("--rules") << defaultRules() << log);
    qunsetenv("MSGFILTER_REGEX_ENGINE");
    return result;
}

// The real logs, the logs written for the tool tests and the collected log corpus.
QStringList everyLog()
{
    QStringList all = logs(true) + logs(false);
    QDirIterator corpus(QStringLiteral(MSGFILTER_TEST_DATA_DIR "/logs"),
        { QStringLiteral("*.log") }, QDir::Files, QDirIterator::Subdirectories);
    while (corpus.hasNext()) {
        all.append(corpus.next());
    }
    return all;
}

TEST(PatternEngines, ClassifyEveryLogAlike)
{
    const QStringList all = everyLog();
    const QStringList real = logs(true);
    ASSERT_GT(all.size(), 80);
    for (const QString& log : all) {
        for (const char* format : { "text", "jsonl" }) {
            SCOPED_TRACE(log.toStdString() + " " + format);
            const ToolResult automaton = classify(log, format, false);
            const ToolResult reference = classify(log, format, true);
            EXPECT_EQ(automaton.exitCode, 0) << automaton.err;
            // Every real log holds messages the default rules know: an engine that matched
            // no rule at all would show here.
            if (real.contains(log)) {
                EXPECT_NE(automaton.out.find("-message"), std::string::npos);
            }
            EXPECT_EQ(automaton.exitCode, reference.exitCode);
            EXPECT_EQ(automaton.err, reference.err);
            EXPECT_TRUE(automaton.out == reference.out) << "outputs differ";
        }
    }
}

} // namespace
