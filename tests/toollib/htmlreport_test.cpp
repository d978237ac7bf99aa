// The HTML report page as written: what the messages' data block gives back, what the
// counts, top ids and charts say, and that no text of a log becomes markup.

#include "formats/htmlreport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <map>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using zefa::msg_filter::tool::HtmlReport;
using zefa::msg_filter::tool::ReportMessage;
using zefa::msg_filter::tool::ReportRun;

namespace {

const QString kDataStart = QStringLiteral("<script type=\"application/json\" id=\"report-data\">");

ReportMessage message(const char* severity, const char* id, const char* text = "text",
    const char* origin = "run.log", long long originLine = 1, const char* state = "")
{
    ReportMessage result;
    result.severity = QString::fromUtf8(severity);
    result.id = QString::fromUtf8(id);
    result.text = QString::fromUtf8(text);
    result.origin = QString::fromUtf8(origin);
    result.originLine = originLine;
    result.state = QString::fromUtf8(state);
    return result;
}

QString pageOf(const std::vector<ReportMessage>& messages, const ReportRun& run = {})
{
    HtmlReport report;
    for (const ReportMessage& each : messages) {
        report.add(each);
    }
    return QString::fromUtf8(report.page(run));
}

QString dataBlock(const QString& page)
{
    const int start = page.indexOf(kDataStart) + kDataStart.size();
    return page.mid(start, page.indexOf(QStringLiteral("</script>"), start) - start);
}

// The messages as the page's script reads them back from the data block.
std::vector<ReportMessage> readBack(const QString& page)
{
    const QJsonObject data = QJsonDocument::fromJson(dataBlock(page).toUtf8()).object();
    const QJsonArray severities = data.value(QStringLiteral("severities")).toArray();
    const QJsonArray states = data.value(QStringLiteral("states")).toArray();
    const QJsonArray files = data.value(QStringLiteral("files")).toArray();
    const QJsonArray origins = data.value(QStringLiteral("origins")).toArray();
    std::vector<ReportMessage> messages;
    for (const QJsonValue& value : data.value(QStringLiteral("messages")).toArray()) {
        const QJsonArray m = value.toArray();
        ReportMessage read;
        read.severity = severities.at(m.at(0).toInt()).toString();
        read.id = m.at(1).toString();
        read.text = m.at(2).toString();
        read.sourceFile = m.at(3).toInt() < 0 ? QString() : files.at(m.at(3).toInt()).toString();
        read.sourceLine = static_cast<long long>(m.at(4).toDouble());
        read.origin = origins.at(m.at(5).toInt()).toString();
        read.originLine = static_cast<long long>(m.at(6).toDouble());
        read.state = states.at(m.at(7).toInt()).toString();
        messages.push_back(read);
    }
    return messages;
}

// The header's cards: key to the count they show.
std::map<std::string, std::string> cards(const QString& page)
{
    static const QRegularExpression card(
        QStringLiteral(R"re(data-key="([a-z]+)"[^>]*><span class="count">([^<]*)<)re"));
    std::map<std::string, std::string> counts;
    for (auto match = card.globalMatch(page); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        counts[found.captured(1).toStdString()] = found.captured(2).toStdString();
    }
    return counts;
}

// The tooltips of the chart's groups of shapes, in order.
QStringList chartTitles(const QString& page)
{
    static const QRegularExpression title(QStringLiteral("<g><title>([^<]*)</title>"));
    QStringList titles;
    for (auto match = title.globalMatch(page); match.hasNext();) {
        titles.append(match.next().captured(1));
    }
    return titles;
}

TEST(HtmlReport, TheDataBlockGivesBackEveryMessageWhateverItsText)
{
    const char* const texts[] = {
        "</script><script>alert(1)</script>",
        "<!-- <script> opens a comment in a script block",
        "a & b \"c\" 'd' \\ backslash",
        "line\u2028separator\u2029and NUL-free control \t tab",
        "\u00e9\u4e2d\U0001F600",
        "",
        "{{data}} {{script}} placeholders of the page",
    };
    std::vector<ReportMessage> messages;
    for (const char* text : texts) {
        ReportMessage each = message("Warning", "<b>id</b>", text, "<i>log</i>.log", 7);
        each.sourceFile = QStringLiteral("</script>.v");
        each.sourceLine = 3;
        messages.push_back(each);
    }
    messages.push_back(message("Critical Warning", "", "x", "b.log", 0, "waived"));
    const QString page = pageOf(messages);

    EXPECT_FALSE(dataBlock(page).contains(QLatin1Char('<')));
    EXPECT_EQ(page.count(QStringLiteral("<script")), 2) << "the data block and the page's script";
    const std::vector<ReportMessage> back = readBack(page);
    ASSERT_EQ(back.size(), messages.size());
    for (size_t index = 0; index < back.size(); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(back[index].severity, messages[index].severity);
        EXPECT_EQ(back[index].id, messages[index].id);
        EXPECT_EQ(back[index].text, messages[index].text);
        EXPECT_EQ(back[index].sourceFile, messages[index].sourceFile);
        EXPECT_EQ(back[index].sourceLine, messages[index].sourceLine);
        EXPECT_EQ(back[index].origin, messages[index].origin);
        EXPECT_EQ(back[index].originLine, messages[index].originLine);
        EXPECT_EQ(back[index].state, messages[index].state);
    }
}

TEST(HtmlReport, TextsInTheWrittenMarkupAreEscaped)
{
    ReportRun run;
    run.title = QStringLiteral("<img src=x onerror=alert(1)>");
    run.details.append({ QStringLiteral("<u>label</u>"), QStringLiteral("\"value\" & <more>") });
    run.baseline = true;
    run.fixed.append(message("Error", "<s>gone</s>", "<em>fixed</em>"));
    const QString page = pageOf({ message("Error", "<s>id</s>", "<em>text</em>", "<u>a</u>.log"),
                                    message("Info", "x", "y", "<u>b</u>.log") },
        run);
    for (const char* markup : { "<img", "<u>", "<s>", "<em>", "<more>" }) {
        EXPECT_FALSE(page.contains(QLatin1String(markup))) << markup;
    }
    for (const char* shown : { "<title>&lt;img src=x onerror=alert(1)&gt;</title>",
             "<dd>&quot;value&quot; &amp; &lt;more&gt;</dd>", "data-id=\"&lt;s&gt;id&lt;/s&gt;\"",
             "&lt;em&gt;fixed&lt;/em&gt;", "<title>&lt;u&gt;a&lt;/u&gt;.log</title>" }) {
        EXPECT_TRUE(page.contains(QLatin1String(shown))) << shown;
    }
}

TEST(HtmlReport, CardsCountTheMessagesThatAreNotWaived)
{
    struct Row {
        const char* name;
        std::vector<ReportMessage> messages;
        bool baseline;
        bool waivers;
        int fixed;
        std::map<std::string, std::string> expected;
    };
    const std::string dash = "\u2014";
    std::vector<ReportMessage> many(1234, message("Info", "I"));
    const Row rows[] = {
        { "without baseline or waivers, their counts are unknown",
            { message("Error", "E"), message("Warning", "W"), message("Warning", "W") }, false,
            false, 0,
            { { "messages", "3" }, { "error", "1" }, { "critical", "0" }, { "warning", "2" },
                { "info", "0" }, { "new", dash }, { "fixed", dash }, { "waived", dash } } },
        { "waived messages leave the severity counts",
            { message("Error", "E", "t", "a", 1, "waived"),
                message("Error", "E", "t", "a", 2, "new"),
                message("Critical Warning", "C", "t", "a", 3, "known"),
                message("Info", "I", "t", "a", 4, "new") },
            true, true, 5,
            { { "messages", "3" }, { "error", "1" }, { "critical", "1" }, { "warning", "0" },
                { "info", "1" }, { "new", "2" }, { "fixed", "5" }, { "waived", "1" } } },
        { "severity words in any case; an unknown one is info",
            { message("ERROR", "E"), message("critical warning", "C"), message("Fatal", "F") },
            false, false, 0,
            { { "messages", "3" }, { "error", "1" }, { "critical", "1" }, { "warning", "0" },
                { "info", "1" }, { "new", dash }, { "fixed", dash }, { "waived", dash } } },
        { "thousands are grouped", many, false, false, 0,
            { { "messages", "1,234" }, { "error", "0" }, { "critical", "0" }, { "warning", "0" },
                { "info", "1,234" }, { "new", dash }, { "fixed", dash }, { "waived", dash } } },
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ReportRun run;
        run.baseline = row.baseline;
        run.waivers = row.waivers;
        for (int index = 0; index < row.fixed; ++index) {
            run.fixed.append(message("Warning", "gone"));
        }
        EXPECT_EQ(cards(pageOf(row.messages, run)), row.expected);
    }
}

TEST(HtmlReport, TopIdsAreTheMostFrequentThenTheMostSevere)
{
    std::vector<ReportMessage> messages;
    const auto add = [&messages](int count, const char* severity, const char* id) {
        for (int index = 0; index < count; ++index) {
            messages.push_back(message(severity, id));
        }
    };
    add(3, "Info", "info-3");
    add(5, "Warning", "warning-5");
    add(3, "Error", "error-3");
    add(3, "Info", "another-info-3");
    add(4, "Info", "");
    add(1, "Info", "mixed");
    add(1, "Error", "mixed");
    add(9, "Error", "waived");
    for (int index = 0; index < 9; ++index) {
        messages[messages.size() - 1 - static_cast<size_t>(index)].state = QStringLiteral("waived");
    }
    for (int index = 0; index < 12; ++index) {
        add(1, "Info",
            QStringLiteral("single-%1").arg(index, 2, 10, QLatin1Char('0')).toUtf8().constData());
    }
    const QString page = pageOf(messages);
    const QString table = page.mid(page.indexOf(QStringLiteral("id=\"top-ids\"")));
    static const QRegularExpression row(QStringLiteral(
        R"re(<span class="badge ([a-z]+)">[^<]*</span></td><td class="id"><a [^>]*data-id="([^"]*)"[^>]*>[^<]*</a></td><td class="count">(\d+)<)re"));
    std::vector<std::string> top;
    for (auto match = row.globalMatch(table); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        top.push_back(QString(found.captured(2) + QLatin1Char(' ') + found.captured(3)
            + QLatin1Char(' ') + found.captured(1))
                          .toStdString());
    }
    EXPECT_EQ(top,
        std::vector<std::string>({ "warning-5 5 warning", " 4 info", "error-3 3 error",
            "another-info-3 3 info", "info-3 3 info", "mixed 2 error", "single-00 1 info",
            "single-01 1 info", "single-02 1 info", "single-03 1 info" }));
    EXPECT_TRUE(table.contains(QStringLiteral("18 distinct ids in all.")));
}

TEST(HtmlReport, ChartsCountEveryMessageOnceWhereItCameFrom)
{
    // Several logs: one bar each in order of arrival, those past the limit in one bar.
    std::vector<ReportMessage> messages;
    for (int origin = 0; origin < 30; ++origin) {
        const QByteArray name = QStringLiteral("/logs/step-%1.log").arg(origin).toUtf8();
        messages.push_back(message("Error", "E", "t", name.constData()));
        messages.push_back(message(origin % 2 ? "Warning" : "Info", "W", "t", name.constData()));
    }
    QStringList titles = chartTitles(pageOf(messages));
    ASSERT_EQ(titles.size(), 26);
    EXPECT_EQ(titles.front(), QStringLiteral("/logs/step-0.log"));
    EXPECT_EQ(titles[24], QStringLiteral("/logs/step-24.log"));
    EXPECT_EQ(titles.back(), QStringLiteral("5 more"));
    EXPECT_TRUE(pageOf(messages).contains(
        QStringLiteral("<title>Error: 5</title></rect><rect class=\"warning\"")));

    // One log: bins along its lines that cover every line once and every message once.
    messages.clear();
    const long long lines[] = { 1, 2, 40, 41, 99, 100, 100, 250, 997 };
    for (long long line : lines) {
        messages.push_back(message(line % 2 ? "Error" : "Warning", "E", "t", "one.log", line));
    }
    messages.push_back(message("Error", "E", "t", "one.log", 500, "waived"));
    titles = chartTitles(pageOf(messages));
    ASSERT_EQ(titles.size(), 60);
    static const QRegularExpression bin(
        QStringLiteral(R"re(^Lines ([\d,]+)\x{2013}([\d,]+): (.*)$)re"));
    // Each bin counts exactly the messages on the lines it names.
    long long next = 1;
    for (const QString& title : titles) {
        const QRegularExpressionMatch found = bin.match(title);
        ASSERT_TRUE(found.hasMatch()) << title.toStdString();
        const long long first = found.captured(1).remove(QLatin1Char(',')).toLongLong();
        const long long last = found.captured(2).remove(QLatin1Char(',')).toLongLong();
        EXPECT_EQ(first, next);
        next = last + 1;
        int errors = 0;
        int warnings = 0;
        for (long long line : lines) {
            if (line >= first && line <= last) {
                ++(line % 2 ? errors : warnings);
            }
        }
        QStringList parts;
        if (errors > 0) {
            parts.append(QStringLiteral("%1 Error").arg(errors));
        }
        if (warnings > 0) {
            parts.append(QStringLiteral("%1 Warning").arg(warnings));
        }
        EXPECT_EQ(found.captured(3),
            parts.isEmpty() ? QStringLiteral("no messages") : parts.join(QStringLiteral(", ")))
            << title.toStdString();
    }
    EXPECT_EQ(next, 998) << "the last bin ends at the last line with a message";
}

} // namespace
