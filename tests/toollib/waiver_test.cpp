// Waivers: filter files, written by the waiver file builder or by hand, applied through
// the library's filter set and the host catalogue.

#include "formatsamples.h"
#include "waiverfile.h"
#include "waiverstep.h"

#include <msgfilter/host/host.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace zefa::msg_filter::tool;
using formatsamples::messages;

namespace {

class WaiverTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        zefa::pelno::MsgCatalogue::instance().reset();
    }

    QString path(const char* name) const { return m_dir.filePath(QString::fromUtf8(name)); }

    QString write(const char* name, const QByteArray& content) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    // Which of `input` the filter waives, as a string of 'w' and '-'.
    static std::string waived(WaiverStep& step, const std::vector<ClassifiedLine>& input)
    {
        std::string marks;
        for (const ClassifiedLine& message : input) {
            marks += step.isWaived(message) ? 'w' : '-';
        }
        return marks;
    }

    QTemporaryDir m_dir;
};

// A file with one filter, marked active, whose general lists are these.
QByteArray generalFilter(const char* ids, const char* severities, const char* milestones)
{
    return QByteArray("<ZefaMessageFilter><Filter name=\"f\" active=\"\"><GeneralFilter><ID>") + ids
        + "</ID><Severity>" + severities + "</Severity><Milestone>" + milestones
        + "</Milestone></GeneralFilter></Filter></ZefaMessageFilter>";
}

} // namespace

// messages(): 0 synth Synth 8-3331 W, 1 synth 9991 W, 2 synth Synth 8-327 W, 3 synth 9990 E,
// 4 route 10230 I, 5 route Synth 8-3331 W, 6 route 9991 W.

TEST_F(WaiverTest, GeneralListsActAsInTheHostsView)
{
    const struct {
        const char* name;
        QByteArray file;
        const char* waived;
    } rows[] = {
        { "nothing listed", generalFilter("", "", ""), "-------" },
        { "ids, in every input", generalFilter("Synth 8-3331;10230", "", ""), "w---ww-" },
        { "an error's id never hides it", generalFilter("9990", "", ""), "-------" },
        { "warnings", generalFilter("", "Warning", ""), "www--ww" },
        { "info", generalFilter("", "Info", ""), "----w--" },
        { "errors cannot be hidden by severity", generalFilter("", "Error", ""), "-------" },
        { "severity words are case-sensitive", generalFilter("", "warning", ""), "-------" },
        { "a milestone hides all but errors of that input", generalFilter("", "", "route.log"),
            "----www" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WaiverStep step;
        QString error;
        ASSERT_TRUE(step.load(write("filters.xml", row.file), QString(), error))
            << error.toStdString();
        EXPECT_EQ(waived(step, messages()), row.waived);
    }
}

TEST_F(WaiverTest, CriticalWarningsAreTheirOwnType)
{
    ClassifiedLine critical = messages()[2];
    critical.severity = Severity::CriticalWarning;
    const struct {
        const char* name;
        QByteArray file;
        const char* waived;
    } rows[] = {
        { "not hidden as warnings", generalFilter("", "Warning", ""), "-" },
        { "hidden by id", generalFilter("Synth 8-327", "", ""), "w" },
        { "hidden with its milestone", generalFilter("", "", "synth.log"), "w" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        zefa::pelno::MsgCatalogue::instance().reset();
        WaiverStep step;
        QString error;
        ASSERT_TRUE(step.load(write("filters.xml", row.file), QString(), error));
        EXPECT_EQ(waived(step, { critical }), row.waived);
    }
}

TEST_F(WaiverTest, AcceptingARunWaivesExactlyItsMessages)
{
    WaiverFile byMessage;
    EXPECT_EQ(byMessage.add(messages(), WaiverFile::By::Message), 1); // the error
    QString error;
    ASSERT_TRUE(byMessage.save(path("waivers.xml"), QStringLiteral("accepted"), error));

    WaiverStep step;
    ASSERT_TRUE(step.load(path("waivers.xml"), QString(), error)) << error.toStdString();
    EXPECT_EQ(step.filterName().toStdString(), "accepted");
    EXPECT_EQ(waived(step, messages()), "www-www");

    // A message is waived with its own text, in an input of its own file name only;
    // the folders around it may change.
    ClassifiedLine movedInput = messages()[1];
    movedInput.file = QStringLiteral("/builds/124/logs/synth.log");
    EXPECT_EQ(waived(step, { movedInput }), "w");
    ClassifiedLine otherText = messages()[0];
    otherText.message = QStringLiteral("design uart_tx has unconnected port dbg_o[4]");
    ClassifiedLine otherInput = messages()[1];
    otherInput.file = QStringLiteral("logs/route.log");
    EXPECT_EQ(waived(step, { otherText, otherInput }), "--");
}

TEST_F(WaiverTest, AcceptingIdsWaivesTheirLaterMessagesToo)
{
    WaiverFile byId;
    byId.add(messages(), WaiverFile::By::Id);
    EXPECT_EQ(byId.filter()
                  .generalFilter.value(zefa::msg_filter::impl_detail::MessageFilter::MaskMessageID)
                  .join(QLatin1Char(';'))
                  .toStdString(),
        "Synth 8-3331;9991;Synth 8-327;10230");
    QString error;
    ASSERT_TRUE(byId.save(path("waivers.xml"), QStringLiteral("ids"), error));
    WaiverStep step;
    ASSERT_TRUE(step.load(path("waivers.xml"), QString(), error));
    ClassifiedLine otherText = messages()[0];
    otherText.message = QStringLiteral("design uart_tx has unconnected port dbg_o[4]");
    EXPECT_EQ(waived(step, { otherText }), "w");
}

TEST_F(WaiverTest, SavingKeepsTheFilesOtherFilters)
{
    QString error;
    write("waivers.xml", generalFilter("X-1", "", ""));
    WaiverFile accepted;
    accepted.add({ messages()[0] }, WaiverFile::By::Id);
    ASSERT_TRUE(accepted.save(path("waivers.xml"), QStringLiteral("accepted"), error));

    WaiverStep earlier;
    ASSERT_TRUE(earlier.load(path("waivers.xml"), QStringLiteral("f"), error))
        << error.toStdString();
    WaiverStep active;
    ASSERT_TRUE(active.load(path("waivers.xml"), QString(), error));
    EXPECT_EQ(active.filterName().toStdString(), "accepted");
}

TEST_F(WaiverTest, UnusableFilterFilesAreRefusedWithAReason)
{
    const QString truncated = formatsamples::fixture("../filters/truncated_filters.xml");
    const struct {
        const char* name;
        QString file;
        const char* filter;
        const char* error;
    } rows[] = {
        { "missing", path("absent.xml"), "", "no such file" },
        { "cut short", truncated, "good", "line 16: Premature end of document." },
        { "another root", write("other.xml", "<Filters><Filter name=\"f\"/></Filters>"), "f",
            "root element 'Filters' is not 'ZefaMessageFilter'" },
        { "not XML", write("log.xml", "WARNING: [Synth 8-327] latch\n"), "",
            "Start tag expected." },
        { "empty", write("empty.xml", ""), "", "Premature end of document." },
        { "no such filter", write("f.xml", generalFilter("", "", "")), "g", "no filter named 'g'" },
        { "nothing active and none named",
            write("g.xml", "<ZefaMessageFilter><Filter name=\"f\"/></ZefaMessageFilter>"), "",
            "no filter is marked active; name one with --filter" },
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        WaiverStep step;
        QString error;
        EXPECT_FALSE(step.load(row.file, QString::fromUtf8(row.filter), error));
        EXPECT_EQ(error.toStdString(), row.error);
    }
}

TEST_F(WaiverTest, SavingOverAnotherKindOfFileIsRefused)
{
    const QString log = write("synth.log", "WARNING: [Synth 8-327] latch\n");
    WaiverFile accepted;
    accepted.add(messages(), WaiverFile::By::Message);
    QString error;
    EXPECT_FALSE(accepted.save(log, QStringLiteral("accepted"), error));
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().toStdString(), "WARNING: [Synth 8-327] latch\n");
}
