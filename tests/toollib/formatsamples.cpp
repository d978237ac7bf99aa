#include "formatsamples.h"

#include "messagedescription.h"

#include <QFile>

#include <gtest/gtest.h>

namespace formatsamples {

using namespace zefa::msg_filter::tool;

namespace {

ClassifiedLine make(const char* input, long long line, Severity severity, const char* rule,
    const char* type, MessageFields fields, const char* raw)
{
    return classifiedLine(QString::fromUtf8(input), line, severity, QString::fromUtf8(rule),
        QString::fromUtf8(type), std::move(fields), QString::fromUtf8(raw));
}

QString q(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

std::vector<ClassifiedLine> messages()
{
    return {
        make("logs/synth.log", 7, Severity::Warning, "bracket-tag-message", "message:warning",
            { { q("tag"), q("Synth 8-3331") },
                { q("text"), q("design uart_tx has unconnected port dbg_o[3]") } },
            "WARNING: [Synth 8-3331] design uart_tx has unconnected port dbg_o[3]"),
        make("logs/synth.log", 8, Severity::Warning, "keyword-message", "message:warning",
            { { q("text"), q("net 'tx_busy' has no driver, tied to constant 0") } },
            "@W - net 'tx_busy' has no driver, tied to constant 0"),
        make("logs/synth.log", 15, Severity::Warning, "bracket-tag-message",
            "message:warning-located",
            { { q("tag"), q("Synth 8-327") },
                { q("text"), q("inferring latch for variable 'q_reg'") },
                { q("file"), q("/work/ci/rtl/top.v") }, { q("line"), q("42") } },
            "WARNING: [Synth 8-327] inferring latch for variable 'q_reg' [/work/ci/rtl/top.v:42]"),
        make("logs/synth.log", 20, Severity::Error, "file-line-message", "message:error",
            { { q("file"), q("rtl/uart_rx.v") }, { q("line"), q("57") }, { q("column"), q("9") },
                { q("text"), q("syntax error, unexpected ';'") } },
            "rtl/uart_rx.v:57:9: error: syntax error, unexpected ';'"),
        make("logs/route.log", 3, Severity::Info, "numbered-message", "message:info",
            { { q("number"), q("10230") },
                { q("text"), q("100% of nets routed: 2,345 of 2,345\r\nnext") } },
            "Info (10230): 100% of nets routed: 2,345 of 2,345"),
        make("logs/route.log", 9, Severity::Warning, "bracket-tag-message", "message:warning",
            { { q("tag"), q("Synth 8-3331") },
                { q("text"), q("design uart_rx has unconnected port dbg_o[3]") } },
            "WARNING: [Synth 8-3331] design uart_rx has unconnected port dbg_o[3]"),
        make("logs/route.log", 11, Severity::Warning, "keyword-message", "message:warning-located",
            { { q("text"), q("multi-driven net 'n1' in E:\\proj\\src\\a b.v:3") },
                { q("file"), q("E:\\proj\\src\\a b.v") }, { q("line"), q("3") } },
            "Warning: multi-driven net 'n1' in E:\\proj\\src\\a b.v:3"),
    };
}

std::vector<ClassifiedLine> reviewedMessages()
{
    std::vector<ClassifiedLine> reviewed = messages();
    for (ClassifiedLine& message : reviewed) {
        message.baseline = message.number == 15 || message.number == 20 ? BaselineState::New
                                                                        : BaselineState::Known;
    }
    reviewed[1].waived = true;
    return reviewed;
}

SourceUri ciPaths()
{
    return SourceUri(q("/work/ci"), q("/work/ci"));
}

QString fixture(const char* relative)
{
    return QStringLiteral(MSGFILTER_TEST_DATA_DIR "/formats/") + QString::fromUtf8(relative);
}

QByteArray readFixture(const char* relative)
{
    QFile file(fixture(relative));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    return file.readAll();
}

} // namespace formatsamples
