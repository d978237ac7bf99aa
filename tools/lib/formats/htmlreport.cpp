#include "htmlreport.h"

#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>
#include <array>

// The page's files are resources of the tool's static library, which a program must
// register itself before it reads them.
static void registerPageFiles()
{
    Q_INIT_RESOURCE(report);
}

namespace zefa::msg_filter::tool {

namespace {

// Severities from the most to the least severe: the page's colours, cards, chart
// segments and sort order all follow this order.
struct SeverityStyle {
    const char* name;
    const char* cssClass;
    const char* cardLabel;
};
constexpr std::array<SeverityStyle, 4> kSeverities { {
    { "Error", "error", "Errors" },
    { "Critical Warning", "critical", "Critical warnings" },
    { "Warning", "warning", "Warnings" },
    { "Info", "info", "Infos" },
} };
constexpr int kInfo = 3;
using SeverityCounts = std::array<long long, kSeverities.size()>;

// The states a message can have against a baseline and waivers; the first is "none".
const QStringList kStates { QString(), QStringLiteral("new"), QStringLiteral("known"),
    QStringLiteral("waived") };

constexpr int kTopIds = 10;
constexpr int kChartBars = 25;
constexpr int kFixedShown = 200;

// The bar chart's geometry in SVG user units; the browser scales it to the panel.
constexpr double kChartWidth = 720;
constexpr double kLabelWidth = 220;
constexpr double kTotalWidth = 60;
constexpr double kRowHeight = 26;
constexpr double kBarHeight = 16;
constexpr int kLabelCharacters = 30;
constexpr int kAlongBins = 60;
constexpr double kAlongWidth = 1200;
constexpr double kAlongHeight = 150;
constexpr double kAlongPlot = 124;

const QString kDash = QStringLiteral("\u2014");

int severityIndex(const QString& severity)
{
    for (size_t index = 0; index < kSeverities.size(); ++index) {
        if (severity.compare(QLatin1String(kSeverities[index].name), Qt::CaseInsensitive) == 0) {
            return static_cast<int>(index);
        }
    }
    return kInfo;
}

bool isWaived(const ReportMessage& message)
{
    return message.state == QLatin1String("waived");
}

QString escaped(const QString& text)
{
    return text.toHtmlEscaped();
}

QString number(long long value)
{
    // Thousands grouped as the page's script groups them.
    QString digits = QString::number(value < 0 ? -value : value);
    for (int position = digits.size() - 3; position > 0; position -= 3) {
        digits.insert(position, QLatin1Char(','));
    }
    return value < 0 ? QLatin1Char('-') + digits : digits;
}

QString messageCount(long long count)
{
    return number(count) + (count == 1 ? QStringLiteral(" message") : QStringLiteral(" messages"));
}

QString coordinate(double value)
{
    return QString::number(value, 'f', 1);
}

QString place(const QString& file, long long line)
{
    return line > 0 ? file + QLatin1Char(':') + QString::number(line) : file;
}

// A label that fits the chart's label column: long paths keep their end, which names
// the file.
QString chartLabel(const QString& origin)
{
    if (origin.size() <= kLabelCharacters) {
        return origin;
    }
    return QStringLiteral("\u2026") + origin.right(kLabelCharacters - 1);
}

QByteArray resource(const char* name)
{
    static const bool registered = (registerPageFiles(), true);
    Q_UNUSED(registered);
    QFile file(QStringLiteral(":/report/") + QLatin1String(name));
    // The resources are compiled into the program; a missing one is a build fault.
    const bool opened = file.open(QIODevice::ReadOnly);
    Q_ASSERT(opened);
    Q_UNUSED(opened);
    return file.readAll();
}

// The content security policy source that lets exactly this inline text run.
QByteArray policyHash(const QByteArray& text)
{
    return "sha256-" + QCryptographicHash::hash(text, QCryptographicHash::Sha256).toBase64();
}

// Replaces each {{name}} of the template in one pass, so that a value can never
// bring in a placeholder of its own.
QByteArray fill(const QByteArray& page, const QHash<QByteArray, QByteArray>& values)
{
    QByteArray result;
    result.reserve(page.size() + values.value("data").size());
    int position = 0;
    while (true) {
        const int open = page.indexOf("{{", position);
        const int close = open < 0 ? -1 : page.indexOf("}}", open);
        if (close < 0) {
            result.append(page.mid(position));
            return result;
        }
        result.append(page.mid(position, open - position));
        result.append(values.value(page.mid(open + 2, close - open - 2)));
        position = close + 2;
    }
}

QString element(const char* tag, const QString& text, const QString& cssClass = {})
{
    const QString open = cssClass.isEmpty()
        ? QStringLiteral("<%1>").arg(QLatin1String(tag))
        : QStringLiteral("<%1 class=\"%2\">").arg(QLatin1String(tag), cssClass);
    return open + escaped(text) + QStringLiteral("</%1>").arg(QLatin1String(tag));
}

QString legend()
{
    QString html = QStringLiteral("<div class=\"legend\">");
    for (const SeverityStyle& severity : kSeverities) {
        html += QStringLiteral("<span class=\"%1\">%2</span>")
                    .arg(QLatin1String(severity.cssClass), QLatin1String(severity.name));
    }
    return html + QStringLiteral("</div>");
}

QString badge(int severity)
{
    return QStringLiteral("<span class=\"badge %1\">%2</span>")
        .arg(QLatin1String(kSeverities[static_cast<size_t>(severity)].cssClass),
            QLatin1String(kSeverities[static_cast<size_t>(severity)].name));
}

QString runDetails(const ReportRun& run)
{
    if (run.details.isEmpty()) {
        return {};
    }
    QString list = QStringLiteral("<dl class=\"run\">");
    for (const auto& [label, value] : run.details) {
        list += element("dt", label) + element("dd", value);
    }
    return list + QStringLiteral("</dl>");
}

QString fixedList(const ReportRun& run)
{
    if (!run.baseline || run.fixed.isEmpty()) {
        return {};
    }
    QString html = QStringLiteral("<details class=\"panel\" id=\"fixed\"><summary>%1 of the "
                                  "baseline gone</summary><table class=\"top\"><tbody>")
                       .arg(messageCount(run.fixed.size()));
    for (int index = 0; index < std::min<int>(kFixedShown, run.fixed.size()); ++index) {
        const ReportMessage& message = run.fixed[index];
        html += QStringLiteral("<tr><td>%1</td>%2%3%4</tr>")
                    .arg(badge(severityIndex(message.severity)),
                        element("td", message.id, QStringLiteral("id")),
                        element("td", message.text, QStringLiteral("text")),
                        element("td", place(message.origin, message.originLine),
                            QStringLiteral("loc")));
    }
    html += QStringLiteral("</tbody></table>");
    if (run.fixed.size() > kFixedShown) {
        html += QStringLiteral("<p class=\"note\">and %1 more</p>")
                    .arg(number(run.fixed.size() - kFixedShown));
    }
    return html + QStringLiteral("</details>");
}

} // namespace

void HtmlReport::add(ReportMessage message)
{
    m_messages.append(std::move(message));
}

QString HtmlReport::cards(const ReportRun& run) const
{
    SeverityCounts counts {};
    long long fresh = 0;
    long long waived = 0;
    for (const ReportMessage& message : m_messages) {
        if (isWaived(message)) {
            ++waived;
            continue;
        }
        ++counts[static_cast<size_t>(severityIndex(message.severity))];
        fresh += message.state == QLatin1String("new") ? 1 : 0;
    }
    long long total = 0;
    for (long long count : counts) {
        total += count;
    }
    const auto card = [](const QString& key, const QString& cssClass, const QString& count,
                          const QString& label, const QString& hint) {
        return QStringLiteral("<div class=\"card %1\" data-key=\"%2\"%3><span class=\"count\">%4"
                              "</span><span class=\"label\">%5</span></div>")
            .arg(cssClass, key,
                hint.isEmpty() ? QString() : QStringLiteral(" title=\"%1\"").arg(escaped(hint)),
                count, escaped(label));
    };
    QString html = QStringLiteral("<div class=\"cards\" id=\"counts\">");
    html += card(QStringLiteral("messages"), QStringLiteral("total"), number(total),
        QStringLiteral("Messages"), QString());
    for (size_t index = 0; index < kSeverities.size(); ++index) {
        const QString cssClass = QLatin1String(kSeverities[index].cssClass);
        html += card(cssClass, counts[index] > 0 ? cssClass : QStringLiteral("none"),
            number(counts[index]), QLatin1String(kSeverities[index].cardLabel), QString());
    }
    const QString noBaseline = QStringLiteral("no baseline was given");
    html +=
        card(QStringLiteral("new"), QStringLiteral("none"), run.baseline ? number(fresh) : kDash,
            QStringLiteral("New"), run.baseline ? QString() : noBaseline);
    html += card(QStringLiteral("fixed"), QStringLiteral("none"),
        run.baseline ? number(run.fixed.size()) : kDash, QStringLiteral("Fixed"),
        run.baseline ? QString() : noBaseline);
    html += card(QStringLiteral("waived"), QStringLiteral("none"),
        run.waivers ? number(waived) : kDash, QStringLiteral("Waived"),
        run.waivers ? QString() : QStringLiteral("no waivers were applied"));
    return html + QStringLiteral("</div>");
}

QString HtmlReport::chart(const ReportRun& run) const
{
    QVector<QString> origins;
    QHash<QString, SeverityCounts> counts;
    for (const ReportMessage& message : m_messages) {
        if (isWaived(message)) {
            continue;
        }
        auto found = counts.find(message.origin);
        if (found == counts.end()) {
            origins.append(message.origin);
            found = counts.insert(message.origin, SeverityCounts {});
        }
        ++(*found)[static_cast<size_t>(severityIndex(message.severity))];
    }
    if (origins.isEmpty()) {
        return QStringLiteral("<p class=\"note\">No messages.</p>");
    }
    // Too many bars would make a wall of labels: the rest share one bar.
    QVector<std::pair<QString, SeverityCounts>> bars;
    for (const QString& origin : origins) {
        if (bars.size() < kChartBars) {
            bars.append({ origin, counts.value(origin) });
            continue;
        }
        if (bars.size() == kChartBars) {
            bars.append({ QString(), SeverityCounts {} });
        }
        for (size_t index = 0; index < kSeverities.size(); ++index) {
            bars.back().second[index] += counts.value(origin)[index];
        }
    }
    if (bars.size() > kChartBars) {
        bars.back().first = QStringLiteral("%1 more").arg(origins.size() - kChartBars);
    }
    long long largest = 1;
    for (const auto& bar : bars) {
        long long total = 0;
        for (long long count : bar.second) {
            total += count;
        }
        largest = std::max(largest, total);
    }

    const double barLeft = kLabelWidth;
    const double barSpace = kChartWidth - kLabelWidth - kTotalWidth;
    const double height = kRowHeight * bars.size();
    QString svg =
        QStringLiteral("<svg class=\"chart\" viewBox=\"0 0 %1 %2\" role=\"img\" "
                       "aria-label=\"Messages per %3 and severity\">")
            .arg(coordinate(kChartWidth), coordinate(height), escaped(run.originLabel.toLower()));
    for (int row = 0; row < bars.size(); ++row) {
        const auto& [origin, barCounts] = bars[row];
        const double top = row * kRowHeight + (kRowHeight - kBarHeight) / 2;
        const double baseline = row * kRowHeight + kRowHeight / 2 + 4;
        const QString label =
            run.originsAreFiles ? origin.mid(origin.lastIndexOf(QLatin1Char('/')) + 1) : origin;
        svg += QStringLiteral("<g><title>%1</title><text x=\"0\" y=\"%2\">%3</text>")
                   .arg(escaped(origin), coordinate(baseline), escaped(chartLabel(label)));
        svg += QStringLiteral("<rect class=\"track\" x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" "
                              "rx=\"2\"/>")
                   .arg(coordinate(barLeft), coordinate(top), coordinate(barSpace),
                       coordinate(kBarHeight));
        double x = barLeft;
        long long total = 0;
        for (size_t index = 0; index < kSeverities.size(); ++index) {
            total += barCounts[index];
            if (barCounts[index] == 0) {
                continue;
            }
            const double width =
                barSpace * static_cast<double>(barCounts[index]) / static_cast<double>(largest);
            svg +=
                QStringLiteral("<rect class=\"%1\" x=\"%2\" y=\"%3\" width=\"%4\" "
                               "height=\"%5\"><title>%6: %7</title></rect>")
                    .arg(QLatin1String(kSeverities[index].cssClass), coordinate(x), coordinate(top),
                        coordinate(std::max(width, 1.0)), coordinate(kBarHeight),
                        QLatin1String(kSeverities[index].name), number(barCounts[index]));
            x += width;
        }
        svg += QStringLiteral("<text class=\"total\" x=\"%1\" y=\"%2\">%3</text></g>")
                   .arg(coordinate(kChartWidth - kTotalWidth + 8), coordinate(baseline),
                       number(total));
    }
    return svg + QStringLiteral("</svg>") + legend();
}

QString HtmlReport::chartAlongLog() const
{
    long long lastLine = 1;
    for (const ReportMessage& message : m_messages) {
        lastLine = std::max(lastLine, message.originLine);
    }
    const long long bins = std::min<long long>(kAlongBins, lastLine);
    QVector<SeverityCounts> counts(static_cast<int>(bins));
    for (const ReportMessage& message : m_messages) {
        if (!isWaived(message) && message.originLine > 0) {
            const long long bin = (message.originLine - 1) * bins / lastLine;
            ++counts[static_cast<int>(bin)][static_cast<size_t>(severityIndex(message.severity))];
        }
    }
    long long largest = 1;
    for (const SeverityCounts& bin : counts) {
        long long total = 0;
        for (long long count : bin) {
            total += count;
        }
        largest = std::max(largest, total);
    }
    const double slot = kAlongWidth / static_cast<double>(bins);
    QString svg = QStringLiteral("<svg class=\"chart along\" viewBox=\"0 0 %1 %2\" role=\"img\" "
                                 "aria-label=\"Messages along the log, by severity\">")
                      .arg(coordinate(kAlongWidth), coordinate(kAlongHeight));
    for (long long bin = 0; bin < bins; ++bin) {
        const SeverityCounts& binCounts = counts[static_cast<int>(bin)];
        // The lines whose messages fall into this bin.
        const long long first = (bin * lastLine + bins - 1) / bins + 1;
        const long long last = ((bin + 1) * lastLine + bins - 1) / bins;
        QStringList parts;
        for (size_t index = 0; index < kSeverities.size(); ++index) {
            if (binCounts[index] > 0) {
                parts.append(QStringLiteral("%1 %2").arg(
                    number(binCounts[index]), QLatin1String(kSeverities[index].name)));
            }
        }
        svg += QStringLiteral("<g><title>Lines %1\u2013%2: %3</title>")
                   .arg(number(first), number(last),
                       parts.isEmpty() ? QStringLiteral("no messages")
                                       : parts.join(QStringLiteral(", ")));
        svg += QStringLiteral("<rect class=\"track\" x=\"%1\" y=\"0\" width=\"%2\" "
                              "height=\"%3\"/>")
                   .arg(coordinate(bin * slot), coordinate(slot - 2), coordinate(kAlongPlot));
        // Stacked from the axis up, the most severe at the bottom where it catches the eye.
        double bottom = kAlongPlot;
        for (size_t index = 0; index < kSeverities.size(); ++index) {
            if (binCounts[index] == 0) {
                continue;
            }
            const double height = std::max(1.0,
                kAlongPlot * static_cast<double>(binCounts[index]) / static_cast<double>(largest));
            bottom -= height;
            svg += QStringLiteral("<rect class=\"%1\" x=\"%2\" y=\"%3\" width=\"%4\" "
                                  "height=\"%5\"/>")
                       .arg(QLatin1String(kSeverities[index].cssClass), coordinate(bin * slot),
                           coordinate(bottom), coordinate(slot - 2), coordinate(height));
        }
        svg += QStringLiteral("</g>");
    }
    const double labels = kAlongHeight - 6;
    svg += QStringLiteral("<text class=\"total\" x=\"0\" y=\"%1\">line 1</text>"
                          "<text class=\"total\" x=\"%2\" y=\"%1\" text-anchor=\"end\">"
                          "line %3</text><text class=\"total\" x=\"%4\" y=\"%1\" "
                          "text-anchor=\"middle\">highest bar: %5</text></svg>")
               .arg(coordinate(labels), coordinate(kAlongWidth), number(lastLine),
                   coordinate(kAlongWidth / 2), messageCount(largest));
    return svg + legend();
}

QString HtmlReport::topIds() const
{
    struct IdCount {
        QString id;
        long long count = 0;
        int severity = kInfo;
        QString example;
    };
    QVector<IdCount> ids;
    QHash<QString, int> position;
    for (const ReportMessage& message : m_messages) {
        if (isWaived(message)) {
            continue;
        }
        auto found = position.find(message.id);
        if (found == position.end()) {
            found = position.insert(message.id, ids.size());
            ids.append({ message.id, 0, kInfo, message.text });
        }
        IdCount& entry = ids[*found];
        ++entry.count;
        entry.severity = std::min(entry.severity, severityIndex(message.severity));
    }
    if (ids.isEmpty()) {
        return QStringLiteral("<p class=\"note\">No messages.</p>");
    }
    // The most frequent first; among equals the more severe, then by id.
    std::stable_sort(ids.begin(), ids.end(), [](const IdCount& a, const IdCount& b) {
        if (a.count != b.count) {
            return a.count > b.count;
        }
        return a.severity != b.severity ? a.severity < b.severity : a.id < b.id;
    });
    QString html = QStringLiteral("<table class=\"top\" id=\"top-ids\"><thead><tr><th>Severity"
                                  "</th><th>Id</th><th class=\"count\">Count</th><th>Example"
                                  "</th></tr></thead><tbody>");
    for (int index = 0; index < std::min<int>(kTopIds, ids.size()); ++index) {
        const IdCount& entry = ids[index];
        html += QStringLiteral("<tr><td>%1</td><td class=\"id\"><a href=\"#messages\" "
                               "data-id=\"%2\" title=\"Show the messages of this id\">%3</a>"
                               "</td><td class=\"count\">%4</td><td class=\"text\"><span "
                               "class=\"clamp\" title=\"%5\">%5</span></td></tr>")
                    .arg(badge(entry.severity), escaped(entry.id),
                        entry.id.isEmpty() ? QStringLiteral("(no id)") : escaped(entry.id),
                        number(entry.count), escaped(entry.example));
    }
    html += QStringLiteral("</tbody></table>");
    html += QStringLiteral("<p class=\"note\">%1 distinct ids in all.</p>").arg(number(ids.size()));
    return html;
}

QByteArray HtmlReport::data(const ReportRun& run) const
{
    // Files and origins repeat on many messages: the messages hold their index.
    QJsonArray files;
    QJsonArray origins;
    QHash<QString, int> fileIndex;
    QHash<QString, int> originIndex;
    const auto indexOf = [](QHash<QString, int>& index, QJsonArray& list, const QString& name) {
        auto found = index.find(name);
        if (found == index.end()) {
            found = index.insert(name, list.size());
            list.append(name);
        }
        return *found;
    };
    QJsonArray messages;
    bool waived = false;
    bool compared = false;
    for (const ReportMessage& message : m_messages) {
        const int state = std::max(0, static_cast<int>(kStates.indexOf(message.state)));
        waived = waived || isWaived(message);
        compared = compared || (state > 0 && !isWaived(message));
        messages.append(QJsonArray {
            severityIndex(message.severity),
            message.id,
            message.text,
            message.sourceFile.isEmpty() ? -1 : indexOf(fileIndex, files, message.sourceFile),
            static_cast<double>(message.sourceLine),
            indexOf(originIndex, origins, message.origin),
            static_cast<double>(message.originLine),
            state,
        });
    }
    QJsonArray severities;
    QJsonArray classes;
    for (const SeverityStyle& severity : kSeverities) {
        severities.append(QLatin1String(severity.name));
        classes.append(QLatin1String(severity.cssClass));
    }
    const QJsonObject object {
        { QStringLiteral("severities"), severities },
        { QStringLiteral("classes"), classes },
        { QStringLiteral("states"), QJsonArray::fromStringList(kStates) },
        { QStringLiteral("hasStates"), waived || compared || run.baseline || run.waivers },
        { QStringLiteral("baseline"), compared || run.baseline },
        { QStringLiteral("waivers"), waived || run.waivers },
        { QStringLiteral("originLabel"), run.originLabel },
        { QStringLiteral("originsAreFiles"), run.originsAreFiles },
        { QStringLiteral("files"), files },
        { QStringLiteral("origins"), origins },
        { QStringLiteral("messages"), messages },
    };
    // JSON has '<' only inside strings, where \u003c means the same: no text can close
    // the data block or open a comment in it.
    return QJsonDocument(object).toJson(QJsonDocument::Compact).replace('<', "\\u003c");
}

QByteArray HtmlReport::page(const ReportRun& run) const
{
    const QByteArray style = resource("report.css");
    const QByteArray script = resource("report.js");
    // One log alone makes a chart of one bar: where in the log its messages come tells
    // more, as the steps of a run follow each other down the log.
    QSet<QString> origins;
    bool lines = false;
    for (const ReportMessage& message : m_messages) {
        if (!isWaived(message)) {
            origins.insert(message.origin);
            lines = lines || message.originLine > 0;
        }
    }
    const bool alongLog = origins.size() == 1 && lines;
    const QString chartHeading = alongLog
        ? QStringLiteral("Messages along the log")
        : QStringLiteral("Messages per %1").arg(run.originLabel.toLower());
    const QHash<QByteArray, QByteArray> values {
        { "title", escaped(run.title).toUtf8() },
        { "subtitle", escaped(run.subtitle).toUtf8() },
        { "version", QByteArrayLiteral(MSGFILTER_TOOL_VERSION) },
        { "style", style },
        { "script", script },
        { "style-hash", policyHash(style) },
        { "script-hash", policyHash(script) },
        { "run", runDetails(run).toUtf8() },
        { "cards", cards(run).toUtf8() },
        { "chart-heading", escaped(chartHeading).toUtf8() },
        { "chart", (alongLog ? chartAlongLog() : chart(run)).toUtf8() },
        { "top", topIds().toUtf8() },
        { "fixed", fixedList(run).toUtf8() },
        { "data", data(run) },
    };
    return fill(resource("report.html"), values);
}

} // namespace zefa::msg_filter::tool
