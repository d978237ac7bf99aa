#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <utility>
#include <vector>

namespace toolrunner {

/// What one run of the tool left behind.
struct ToolResult {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

#ifdef MSGFILTER_TOOL_PATH
/// Runs the built tool with `arguments`, `input` on its standard input, and without
/// ZEFA_DATA_PATH, so that only --rules decides which rules it reads.
ToolResult runTool(const QStringList& arguments, const QByteArray& input = {});
#endif

/// A file under tests/data/tool/.
QString fixture(const QString& relative);
/// The default rules of the source tree.
QString defaultRules();
/// The directory of the real logs; empty when it is not there.
QString realDataDirectory();
/// Files of a directory matching `pattern`, sorted, with their full paths.
QStringList filesIn(const QString& directory, const QString& pattern);

QByteArray readAll(const QString& path);
/// Lines as the tool counts them: cut at line feeds, the line feed dropped; a last
/// line without a line feed counts too.
std::vector<QByteArray> splitLines(const QByteArray& bytes);

/// One object of the tool's jsonl output.
struct Message {
    QString file;
    long long line = 0;
    QString severity;
    QString rule;
    QString type;
    std::vector<std::pair<QString, QString>> fields;
    QString text;

    /// The value of the first field of that name, or a null string.
    QString field(const QString& name) const;
};

/// Parses jsonl output; fails the calling test on a line that is not a JSON object of
/// the expected shape.
std::vector<Message> parseJsonl(const QByteArray& output);
/// The messages keyed by line number (one file's output).
std::map<long long, Message> byLine(const std::vector<Message>& messages);

} // namespace toolrunner
