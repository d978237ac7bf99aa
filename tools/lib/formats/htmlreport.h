#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <utility>

namespace zefa::msg_filter::tool {

/// One message as the report shows it.
struct ReportMessage {
    /// "Error", "Critical Warning", "Warning" or "Info" in any case; any other word
    /// counts as Info.
    QString severity;
    /// The message id (a tag such as "Synth 8-327", a number, a catalogue id); empty
    /// when the line has none.
    QString id;
    QString text;
    /// Where the message points to; an empty file and line 0 when it names no place.
    QString sourceFile;
    long long sourceLine = 0;
    /// Where it was printed: the input file and its line, or an implementation and
    /// process with line 0. The bar chart has one bar per origin.
    QString origin;
    long long originLine = 0;
    /// Against a baseline or waivers: "new", "known" or "waived"; empty otherwise.
    QString state;
};

/// What the report says about the run it shows.
struct ReportRun {
    QString title;
    QString subtitle;
    /// (label, value) rows such as the command line, the inputs and the rules file.
    QVector<std::pair<QString, QString>> details;
    /// The heading of the origin column and the chart: "Log" or "Process".
    QString originLabel = QStringLiteral("Log");
    /// Whether origins are file paths, which the table may show below the folder they
    /// share.
    bool originsAreFiles = true;
    /// Whether messages were compared with a baseline: only then are new and fixed
    /// counted rather than shown as unknown.
    bool baseline = false;
    /// Whether waivers were applied: only then is the waived count meaningful.
    bool waivers = false;
    /// Messages of the baseline that this run no longer has.
    QVector<ReportMessage> fixed;
};

/// Writes one self-contained HTML page for a run's messages.
///
/// The page needs nothing but itself: its style sheet, script and the bar chart (SVG
/// drawn here) are inline, and a content security policy lets only that script and
/// style run and nothing load. The counts, chart and top ids are written as static
/// markup, so that they show without the script and in print; the messages travel as
/// JSON in a data block (with every '<' escaped, so that no text can end the block)
/// and the script builds the table from it with textContent. A message text is thus
/// always data, never markup, whatever the log holds.
///
///     HtmlReport report;
///     report.add(message);            // in log order: the permalinks #m-1, #m-2, ...
///     file.write(report.page(run));
class HtmlReport {
public:
    void add(ReportMessage message);

    QByteArray page(const ReportRun& run) const;

private:
    QString cards(const ReportRun& run) const;
    QString chart(const ReportRun& run) const;
    QString chartAlongLog() const;
    QString topIds() const;
    QByteArray data(const ReportRun& run) const;

    QVector<ReportMessage> m_messages;
};

} // namespace zefa::msg_filter::tool
