#pragma once

// Helpers shared by the message store and filter tests: a clean catalogue per test,
// the debug lines a call wrote, and small file utilities.

#include <msgfilter/host/host.h>

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <csignal>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

// Readable failure output for Qt strings (found by argument-dependent lookup).
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << '[';
    for (int i = 0; i < list.size(); ++i)
        *out << (i ? ", \"" : "\"") << list.at(i).toStdString() << '"';
    *out << ']';
}

namespace storetest {

inline zefa::pelno::MsgCatalogue& catalogue()
{
    return zefa::pelno::MsgCatalogue::instance();
}

/// Every test starts on a catalogue with default entries, all switches on and an empty
/// journal, and adds the entries it talks about.
class CatalogueTest : public ::testing::Test {
protected:
    void SetUp() override { catalogue().reset(); }
    void TearDown() override { catalogue().reset(); }

    static std::vector<std::string> journal() { return catalogue().journal(); }
    static void clearJournal() { catalogue().clearJournal(); }
};

/// Collects the debug-channel lines written while it lives.
class DebugCapture {
public:
    DebugCapture()
    {
        lines().clear();
        m_previous = qInstallMessageHandler(&DebugCapture::handle);
    }
    ~DebugCapture() { qInstallMessageHandler(m_previous); }
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    static QStringList& lines()
    {
        static QStringList captured;
        return captured;
    }

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        if (type == QtDebugMsg)
            lines().append(text);
    }

    QtMessageHandler m_previous = nullptr;
};

inline QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

inline bool writeAll(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        && file.write(content) == content.size();
}

inline QString fixture(const char* relative)
{
    return QStringLiteral(MSGFILTER_TEST_DATA_DIR "/") + QLatin1String(relative);
}

inline QStringList toQt(const std::vector<std::string>& list)
{
    QStringList out;
    for (const std::string& entry : list)
        out.append(QString::fromStdString(entry));
    return out;
}

/// A node in one line, for comparing whole buffers: id [severity] @process (dynamic) (navigation).
template <class Node> QString describe(Node* node)
{
    return node->getMessageID() + QStringLiteral(" [") + node->getMessageSeverity()
        + QStringLiteral("] @") + node->getMessageProcess() + QStringLiteral(" (")
        + node->getMessageDynamicData().join(QLatin1Char('|')) + QStringLiteral(") (")
        + node->getMessageNavigationData().join(QLatin1Char('|')) + QLatin1Char(')');
}

template <class Vector> QStringList describeAll(const Vector& nodes)
{
    QStringList out;
    for (auto* node : nodes)
        out.append(describe(node));
    return out;
}

// Runs `save` under a file-size limit far below what it writes, with SIGXFSZ ignored so
// that the write fails with EFBIG instead of ending the process.
template <class Save> bool saveUnderFileSizeLimit(Save save, bool* limited)
{
    rlimit previous {};
    *limited = getrlimit(RLIMIT_FSIZE, &previous) == 0
        && (previous.rlim_max == RLIM_INFINITY || previous.rlim_max > 4096);
    if (!*limited)
        return false;
    rlimit small = previous;
    small.rlim_cur = 4096;
    void (*previousHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    *limited = setrlimit(RLIMIT_FSIZE, &small) == 0;
    const bool saved = *limited && save();
    setrlimit(RLIMIT_FSIZE, &previous);
    std::signal(SIGXFSZ, previousHandler);
    return saved;
}

// Runs `work` in a child process that, started as root, first takes the ids of "nobody",
// so that file permissions apply to it. Returns what `work` returned (0 to 127), or -1
// when the child could not run or could not give up its privileges.
template <class Work> int runUnprivileged(Work work)
{
    const pid_t child = fork();
    if (child < 0)
        return -1;
    if (child == 0) {
        const uid_t nobody = 65534;
        if (getuid() == 0
            && (setresgid(nobody, nobody, nobody) != 0 || setresuid(nobody, nobody, nobody) != 0))
            _exit(255);
        _exit(work());
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) > 127)
        return -1;
    return WEXITSTATUS(status);
}

} // namespace storetest
