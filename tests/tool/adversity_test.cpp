// msgfilter under hostile input and failing output: pipes and FIFOs for files, files that
// cannot be written, standard output that cannot take the output, session lines with
// stray quotes and backslashes, control characters and NUL bytes in logs. Each case runs
// the built tool from a shell script, with a time limit: a hang fails the case.

#include "toolrunner.h"

#include <QProcess>
#include <QTemporaryDir>

#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace toolrunner;
using testing::HasSubstr;

namespace {

// Runs `script` with bash in a scratch directory, $TOOL naming the tool and $RULES the
// default rules. A script still running after 15 seconds is ended with all it started
// (timeout's process group): exit code -1.
ToolResult runScript(const QTemporaryDir& directory, const QString& script)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("ZEFA_DATA_PATH"));
    environment.insert(QStringLiteral("TOOL"), QStringLiteral(MSGFILTER_TOOL_PATH));
    environment.insert(QStringLiteral("RULES"), defaultRules());
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(directory.path());
    process.start(QStringLiteral("timeout"),
        { QStringLiteral("-k"), QStringLiteral("2"), QStringLiteral("15"), QStringLiteral("bash"),
            QStringLiteral("-c"), script });
    process.closeWriteChannel();
    ToolResult result;
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "the script did not end";
        process.kill();
        process.waitForFinished();
    }
    result.exitCode = process.exitCode() == 124 ? -1 : process.exitCode();
    result.out = process.readAllStandardOutput().toStdString();
    result.err = process.readAllStandardError().toStdString();
    return result;
}

// A session of one implementation "impl" with the log file log.xml, then `lines`.
const char kSessionStart[] = "open-project p\n"
                             "add-implementation impl out filters.xml\n"
                             "set-default impl\n"
                             "project loaded\n"
                             "task started impl\n"
                             "process started impl Synthesize synth_1\n"
                             "engine started impl synth_1 default\n"
                             "log-open impl log.xml\n";

TEST(Adversity, EveryCaseEndsWithTheRightStatusAndMessage)
{
    // Name, the script, the exit status, text standard output must hold (or "" for
    // nothing in particular), text standard error must hold ("" for empty).
    const std::tuple<const char*, std::string, int, const char*, const char*> rows[] = {
        { "a log save that fails is reported",
            "mkdir log.xml && printf '%s' \"$SESSION\" > s && printf 'output impl warning: x\\n"
            "log-save impl\\n' >> s && \"$TOOL\" run s",
            2, "", "s:10: cannot save the message log" },
        { "a filter save that fails is reported",
            "mkdir -p out/filters.xml && printf '%s' \"$SESSION\" > s && "
            "printf 'filter-save impl f ids=X\\n' >> s && \"$TOOL\" run s",
            2, "", "s:9: cannot save the filter file" },
        { "output to a full device",
            "printf 'ERROR: x\\n' > log && \"$TOOL\" classify log > /dev/full", 2, "",
            "cannot write to standard output" },
        { "standard output closed", "\"$TOOL\" --help >&-", 2, "", "standard output" },
        { "a FIFO as input", "mkfifo f && (printf 'ERROR: x\\n' > f &) && \"$TOOL\" classify f", 0,
            "f:1: Error [keyword-message] ERROR: x", "" },
        { "a FIFO as rules",
            "mkfifo r && (cat \"$RULES\" > r &) && printf 'ERROR: x\\n' | \"$TOOL\" classify "
            "--rules r",
            0, "-:1: Error [keyword-message] ERROR: x", "" },
        { "FIFOs as baseline and as filter file",
            "printf 'WARNING: x\\n' > log && \"$TOOL\" classify --format jsonl log > b && "
            "\"$TOOL\" waive -o w.xml b > /dev/null && mkfifo fb fw && (cat b > fb &) && "
            "(cat w.xml > fw &) && \"$TOOL\" classify --baseline fb --filters fw log",
            0, "  1 waived\n", "" },
        { "a FIFO as rules to explain",
            "mkfifo r && (cat \"$RULES\" > r &) && \"$TOOL\" explain --rules r 'ERROR: x'", 0,
            "Severity: Error", "" },
        { "a session from a pipe",
            "{ printf '%s' \"$SESSION\"; printf 'output impl ERROR: piped\\n'; } | \"$TOOL\" run "
            "/dev/stdin",
            0, "piped", "" },
        { "a session from a process substitution, fed from a FIFO",
            "mkfifo o && (printf 'ERROR: fed\\n' > o &) && "
            "\"$TOOL\" run <(printf '%s' \"$SESSION\"; echo \"feed impl $PWD/o\")",
            0, "fed", "" },
        { "output keeps the rest of the line as written",
            "printf '%s' \"$SESSION\" > s && "
            "printf 'output impl ERROR: C:\\\\temp\\\\\"new \\\\q\\n' >> s && \"$TOOL\" run s",
            0, "C:\\temp\\\"new \\q", "" },
        { "an unknown implementation in filter-activate",
            "printf '%s' \"$SESSION\" > s && printf 'filter-activate imp f\\n' >> s && "
            "\"$TOOL\" run s",
            2, "", "s:9: unknown implementation \"imp\"" },
        { "an unknown implementation in output",
            "printf '%s' \"$SESSION\" > s && printf 'output imp x\\n' >> s && \"$TOOL\" run s", 2,
            "", "s:9: unknown implementation \"imp\"" },
        { "control characters shown escaped",
            "printf 'ERROR: \\033[31mred\\r\\033[0m\\n' > log && \"$TOOL\" classify --color never "
            "log",
            0, "ERROR: \\x1B[31mred\\x0D\\x1B[0m\n", "" },
        { "control characters shown escaped in a replay",
            "printf '%s' \"$SESSION\" > s && "
            "printf 'write impl \"warning: \\033[1mx\\\\n\"\\n' >> s && \"$TOOL\" run --color "
            "never s",
            0, "9991  \\x1B[1mx\n", "" },
        { "a NUL byte is kept",
            "printf 'ERROR: a\\000b\\n' > log && \"$TOOL\" classify --format jsonl log", 0,
            "\"text\":\"ERROR: a\\u0000b\"", "" },
        { "forty thousand nested elements",
            "{ printf '<ZefaMsgFilterDef>'; for i in $(seq 40000); do printf '<a>'; done; "
            "for i in $(seq 40000); do printf '</a>'; done; printf '</ZefaMsgFilterDef>'; } > "
            "deep.xml "
            "&& \"$TOOL\" check-rules deep.xml",
            1, "deep.xml:1:", "" },
        { "check-rules positions in a UTF-16 file",
            "printf '<ZefaMsgFilterDef>\\n  <Bogus/>\\n</ZefaMsgFilterDef>\\n' | iconv -f UTF-8 "
            "-t UTF-16 > u.xml && \"$TOOL\" check-rules u.xml",
            1, "u.xml:2:3: element 'Bogus'", "" },
        { "file names that are not UTF-8",
            "n=$(printf 'caf\\351') && printf 'ERROR: x\\n' > \"$n.log\" && cp \"$RULES\" "
            "\"$n.xml\" && "
            "printf '%s' \"$SESSION\" > \"$n.s\" && \"$TOOL\" check-rules \"$n.xml\" > /dev/null "
            "&& "
            "\"$TOOL\" run \"$n.s\" > /dev/null && \"$TOOL\" classify --rules \"$n.xml\" "
            "\"$n.log\"",
            0, "caf\xc3\xa9.log:1: Error", "" },
        { "explain and classify read a Latin-1 line alike",
            "\"$TOOL\" explain \"$(printf 'ERROR: caf\\351')\" && printf 'ERROR: caf\\351\\n' | "
            "\"$TOOL\" classify --format jsonl",
            0, "text  \"caf\xc3\xa9\"\nSeverity: Error\n{\"fields\":[[\"text\",\"caf\xc3\xa9\"]]",
            "" },
        { "check-rules on an endless device", "\"$TOOL\" check-rules /dev/zero", 2, "",
            "msgfilter check-rules: cannot read '/dev/zero'" },
    };
    for (const auto& [name, script, status, out, err] : rows) {
        SCOPED_TRACE(name);
        QTemporaryDir directory;
        const ToolResult result = runScript(directory,
            // Absolute paths in the session: one read from a pipe has no directory of its own.
            QStringLiteral("SESSION=\"$(printf '%1' | sed \"s|impl out|impl "
                           "$PWD/out|;s|log.xml|$PWD/log.xml|\")\n\"; %2")
                .arg(QString::fromLatin1(kSessionStart), QString::fromStdString(script)));
        EXPECT_EQ(result.exitCode, status) << result.err;
        EXPECT_THAT(result.out, HasSubstr(out));
        if (*err == '\0') {
            EXPECT_EQ(result.err, "");
        } else {
            EXPECT_THAT(result.err, HasSubstr(err));
            EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        }
    }
}

// A rule whose own type holds "error" but whose sub-rule type does not: the engine side
// reads the sub-rule type, and so must classify.
TEST(Adversity, ClassifyAndTheEngineSideAgreeOnSeverity)
{
    const std::pair<const char*, const char*> rows[] = { { "note", "Info" },
        { "warning", "Warning" }, { "@E", "Error" } };
    for (const auto& [subType, severity] : rows) {
        SCOPED_TRACE(subType);
        QTemporaryDir directory;
        writeFile(directory.filePath(QStringLiteral("rules.xml")),
            QByteArray("<ZefaMsgFilterDef><TargetDevice name=\"fpga\"><Engine name=\"default\">"
                       "<Rule name=\"r\"/></Engine></TargetDevice><FilterRule name=\"r\" "
                       "type=\"error-prone\" reg_patten=\"^NOTE\"><SubRule type=\"")
                + subType
                + "\" reg_patten=\"^NOTE: (.*)\" fields=\"text\"/></FilterRule>"
                  "</ZefaMsgFilterDef>");
        const ToolResult classified = runScript(directory,
            QStringLiteral(
                "printf 'NOTE: x\\n' | \"$TOOL\" classify --format jsonl --rules rules.xml"));
        EXPECT_THAT(classified.out, HasSubstr(std::string("\"severity\":\"") + severity + "\""));
        const ToolResult replayed = runScript(directory,
            QStringLiteral("printf '%1output impl NOTE: x\\n' > s && \"$TOOL\" run --format jsonl "
                           "--rules rules.xml s")
                .arg(QString::fromLatin1(kSessionStart)));
        EXPECT_THAT(replayed.out, HasSubstr(std::string("\"severity\":\"") + severity + "\""))
            << replayed.out << replayed.err;
    }
}

} // namespace
