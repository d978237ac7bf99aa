#pragma once

// The fixture of the message store and filter tests: a clean catalogue and a scratch
// directory per test, the debug lines a call writes, and messages described in one line.

#include "filters/messagefilterreadwrite.h"
#include "store/messagereadwrite.h"
#include "store/textpool.h"

#include <msgfilter/host/host.h>
#include <msgfilter/messageobject.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;
using zefa::msg_filter::MessageNode;
using zefa::msg_filter::MessageObject;
using zefa::msg_filter::impl_detail::MessageFilter;
using zefa::msg_filter::impl_detail::MessageFilterReadWrite;
using zefa::msg_filter::impl_detail::MessageReadWrite;
using zefa::msg_filter::impl_detail::TextPool;
using FilterNode = MessageFilter::FilterNode;

class StoreTest : public ::testing::Test {
public:
    void SetUp() override { catalogue().reset(); }
    static zefa::pelno::MsgCatalogue& catalogue() { return zefa::pelno::MsgCatalogue::instance(); }
    static Lines journal() { return catalogue().journal(); }
    static void clearJournal() { catalogue().clearJournal(); }
    static QString q(const char* utf8) { return QString::fromUtf8(utf8); }
    // "a|b" is the list a, b; the empty text is the empty list.
    static QStringList list(const char* utf8)
    {
        return *utf8 ? q(utf8).split(QLatin1Char('|')) : QStringList();
    }
    // A journal written as one blank-separated text.
    static Lines calls(const std::string& text)
    {
        std::istringstream words(text);
        return Lines(std::istream_iterator<std::string>(words), {});
    }
    static QString fixture(const char* name) { return q(MSGFILTER_TEST_DATA_DIR "/") + q(name); }
    QString path(const char* name) const { return m_dir.filePath(q(name)); }

    static QByteArray readAll(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
    }

    /// The debug lines that `call` writes.
    template <class Call> static Lines debugLines(Call call)
    {
        static Lines captured;
        captured.clear();
        const QtMessageHandler previous =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
                captured.push_back(text.toStdString());
            });
        call();
        qInstallMessageHandler(previous);
        return captured;
    }

    /// A message in one line: id [severity] @process (dynamic) (navigation).
    static std::string describe(MessageNode* node)
    {
        return QStringLiteral("%1 [%2] @%3 (%4) (%5)")
            .arg(node->getMessageID(), node->getMessageSeverity(), node->getMessageProcess(),
                node->getMessageDynamicData().join(QLatin1Char('|')),
                node->getMessageNavigationData().join(QLatin1Char('|')))
            .toStdString();
    }

    /// Every message of the object, the processes in name order, each in arrival order.
    static Lines contents(MessageObject& object)
    {
        QVector<MessageNode*> nodes = object.reloadAllMessages();
        std::stable_sort(nodes.begin(), nodes.end(), [](MessageNode* a, MessageNode* b) {
            return a->getMessageProcess() < b->getMessageProcess();
        });
        Lines lines;
        std::transform(nodes.begin(), nodes.end(), std::back_inserter(lines), describe);
        return lines;
    }

    QTemporaryDir m_dir;
};
