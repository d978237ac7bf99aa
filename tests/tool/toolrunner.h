#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string>
#include <utility>
#include <vector>

// Helpers of the tests that run the built tool, or read the logs it is tested on.
namespace toolrunner {

/// What one run of the tool left behind.
struct ToolResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

#ifdef MSGFILTER_TOOL_PATH
/// Runs the built tool with `input` on its standard input. ZEFA_DATA_PATH is `dataPath`,
/// unset when that is empty, so that only --rules or the source tree decides the rules.
ToolResult runTool(
    const QStringList& arguments, const QByteArray& input = {}, const QString& dataPath = {});
/// Runs the built tool and expects it refused: exit 2, nothing on standard output, and
/// one line on standard error that holds `message`.
void expectRefused(const QStringList& arguments, const QString& message);
#endif

/// The words of `text`, split at spaces: arguments written short.
QStringList words(const char* text);
/// A file under tests/data/.
QString testData(const char* relative);
/// The default rules of the source tree.
QString defaultRules();
/// The real tool logs (none when their directory is missing), or the logs written for
/// these tests in the same formats.
QStringList logs(bool real);
/// The real-log corpus under tests/data/logs/, one folder per toolchain.
QStringList corpusLogs();
QByteArray readAll(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);
/// Lines as the tool counts them: cut at line feeds, which go; a last line without a
/// line feed counts too.
std::vector<QByteArray> splitLines(const QByteArray& bytes);

/// One object of the tool's jsonl output.
struct Message {
    std::string file;
    long long line = 0;
    std::string severity, rule, type, text;
    std::vector<std::pair<std::string, std::string>> fields;

    /// The value of the first field of that name; empty when there is none.
    std::string field(const std::string& name) const;
};

/// Parses jsonl output with Qt's JSON classes; fails the calling test on a line that is
/// not an object of the expected shape.
std::vector<Message> parseJsonl(const std::string& output);

} // namespace toolrunner
