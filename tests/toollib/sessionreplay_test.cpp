// The session replay in process: what each command refuses, where a session stops, and
// the report of what the host's view would show.

#include "loadedrules.h"
#include "sessionreplay.h"
#include "toolrunner.h"

#include <msgfilter/host/host.h>
#include <msgfilter/msgfilter.h>

#include <QBuffer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;

namespace {

// Every replay of this executable classifies with the engine tests' rules.
void loadRules()
{
    ASSERT_NE(
        toollibtest::loadedRules(toolrunner::testData("engine/enginemsg.xml")).engine, nullptr);
}

struct RefusalRow {
    const char* name;
    const char* line;
    const char* reason;
};

// Names the row in test listings instead of dumping its bytes.
void PrintTo(const RefusalRow& row, std::ostream* out)
{
    *out << row.name;
}

class RefusedLine : public testing::TestWithParam<RefusalRow> { };

TEST_P(RefusedLine, NamesWhatTheCommandExpects)
{
    QTemporaryDir directory;
    SessionReplay replay(QDir(directory.path()));
    // Nothing of a refused line is done: the view shows what it showed before.
    const auto shown = [&replay] {
        QStringList entries;
        for (const SessionProcess& process : replay.report()) {
            entries.append(process.implementation + QLatin1Char('/') + process.process
                + QLatin1Char(':') + QString::number(process.entries.size()));
        }
        return entries;
    };
    const QStringList before = shown();
    QString error;
    EXPECT_FALSE(replay.execute(QString::fromUtf8(GetParam().line), error));
    EXPECT_EQ(error.toStdString(), GetParam().reason);
    EXPECT_EQ(shown(), before);
}

INSTANTIATE_TEST_SUITE_P(Rows, RefusedLine,
    testing::Values(RefusalRow { "unknown_command", "publish task", "unknown command \"publish\"" },
        RefusalRow { "too_few", "open-project", "open-project expects: open-project NAME" },
        RefusalRow { "too_many", "open-project p q", "open-project expects: open-project NAME" },
        RefusalRow { "optional_argument_over", "add-implementation a out f x",
            "add-implementation expects: add-implementation TITLE DIRECTORY [FILTER_FILE]" },
        RefusalRow { "status_not_a_number", "task finished a two",
            "task expects: task ACTION IMPLEMENTATION [STATUS]" },
        RefusalRow { "engine_without_its_name", "engine started a S",
            "engine expects: engine ACTION IMPLEMENTATION TASK ENGINE" },
        RefusalRow { "output_without_implementation", "output",
            "output expects: output IMPLEMENTATION [TEXT]" },
        RefusalRow {
            "write_two_texts", "write a b c", "write expects: write IMPLEMENTATION \"TEXT\"" },
        RefusalRow { "feed_chunk_of_zero", "feed a f.log 0",
            "feed expects: feed IMPLEMENTATION FILE [BYTES>0]" },
        RefusalRow { "feed_chunk_not_a_number", "feed a f.log 4k",
            "feed expects: feed IMPLEMENTATION FILE [BYTES>0]" },
        RefusalRow { "filter_save_without_name", "filter-save a",
            "filter-save expects: filter-save IMPLEMENTATION NAME [ids=A,B] [severities=S,T] "
            "[milestones=M,N] [hide=TEXT]..." },
        RefusalRow { "filter_delete_shares_usage", "filter-delete a",
            "filter-delete expects: filter-activate|filter-delete IMPLEMENTATION NAME" },
        RefusalRow {
            "log_save_without_log", "log-save a", "a has no message log (log-open it first)" },
        RefusalRow { "unknown_catalogue_severity", "catalogue c X-1 Fatal t",
            "unknown severity \"Fatal\" (Error, Warning, Info or \"Critical Warning\")" },
        RefusalRow { "unterminated_quote", "write a \"x", "unterminated double quote" }),
    [](const testing::TestParamInfo<RefusalRow>& info) { return std::string(info.param.name); });

TEST(SessionReplay, EveryCommandOfTheHelpIsInTheTable)
{
    QStringList names;
    for (const SessionReplay::Command& command : SessionReplay::commands()) {
        names.append(QString::fromUtf8(command.name));
        // The usage starts with the command, or with the pair that shares it.
        EXPECT_TRUE(QString::fromUtf8(command.usage).startsWith(names.last())
            || QString::fromUtf8(command.usage).contains(QLatin1Char('|') + names.last()))
            << command.usage;
    }
    EXPECT_EQ(names.join(QLatin1Char(' ')).toStdString(),
        "open-project add-implementation set-default catalogue task process engine project "
        "implement output write feed filter-save filter-activate filter-delete log-open "
        "log-save");
}

TEST(SessionReplay, StopsAtTheFirstBadLineWithItsNumber)
{
    loadRules();
    QTemporaryDir directory;
    SessionReplay replay(QDir(directory.path()));
    QBuffer session;
    session.setData("# a project\nopen-project p\n\nset-default\nopen-project q\n");
    ASSERT_TRUE(session.open(QIODevice::ReadOnly));
    int lineNumber = 0;
    QString error;
    EXPECT_FALSE(replay.executeAll(session, lineNumber, error));
    EXPECT_EQ(lineNumber, 4);
    EXPECT_EQ(error, QStringLiteral("set-default expects: set-default TITLE"));
    EXPECT_EQ(zefa::pelno::ZefaProjectManager::getProjectManager()->getProject()->getName(), "p");
}

TEST(SessionReplay, ReportsMessagesAndPlainLinesInArrivalOrderAndWhatTheFilterHides)
{
    loadRules();
    QTemporaryDir directory;
    SessionReplay replay(QDir(directory.path()));
    QBuffer session;
    session.setData("open-project p\nadd-implementation a out\nset-default a\n"
                    "task started a\nprocess started a Synthesis S\n"
                    "engine started a S default\n"
                    "output a warning: first\n"
                    "output a some  progress\n"
                    "write a \"error: sec\"\n"
                    "write a \"ond [top.v:7]\\n\"\n"
                    "filter-save a quiet severities=Warning\n"
                    "filter-activate a quiet\n");
    ASSERT_TRUE(session.open(QIODevice::ReadOnly));
    int lineNumber = 0;
    QString error;
    ASSERT_TRUE(replay.executeAll(session, lineNumber, error)) << error.toStdString();
    EXPECT_EQ(lineNumber, 12);

    const SessionReport report = replay.report();
    ASSERT_EQ(report.size(), 1);
    EXPECT_EQ(report[0].implementation, QStringLiteral("a"));
    EXPECT_EQ(report[0].process, QStringLiteral("S"));
    QStringList shown;
    for (const SessionEntry& entry : report[0].entries) {
        if (entry.node == nullptr) {
            shown.append(QStringLiteral("plain ") + entry.plain);
        } else {
            shown.append(entry.node->getMessageSeverity() + QLatin1Char(entry.visible ? ' ' : '-')
                + messageText(entry.node));
        }
    }
    EXPECT_EQ(shown,
        (QStringList { QStringLiteral("Warning-first"), QStringLiteral("plain some  progress"),
            QStringLiteral("Error second [top.v:7]") }));
    const SessionCounts counts = SessionCounts::of(report[0]);
    EXPECT_EQ(std::make_tuple(counts.error, counts.warning, counts.info, counts.other, counts.plain,
                  counts.hidden),
        std::make_tuple(1, 1, 0, 0, 1, 1));
}

} // namespace
