#include "terminal.h"

#include <unistd.h>

namespace zefa::msg_filter::tool {

namespace {

constexpr qint64 kQuietMilliseconds = 500;
constexpr qint64 kRedrawMilliseconds = 200;

} // namespace

bool isTerminal(std::FILE* stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

bool useColor(ColorMode mode)
{
    switch (mode) {
    case ColorMode::Always:
        return true;
    case ColorMode::Never:
        return false;
    case ColorMode::Auto:
        break;
    }
    if (qEnvironmentVariableIsSet("NO_COLOR")
        || qEnvironmentVariable("TERM") == QLatin1String("dumb")) {
        return false;
    }
    return isTerminal(stdout);
}

ProgressLine::ProgressLine()
    : m_enabled(isTerminal(stderr))
{
    m_sinceStart.start();
}

ProgressLine::~ProgressLine()
{
    clear();
}

void ProgressLine::update(const QString& name, long long lines, qint64 done, qint64 total)
{
    if (!m_enabled || m_sinceStart.elapsed() < kQuietMilliseconds) {
        return;
    }
    if (m_visible && m_sinceDraw.isValid() && m_sinceDraw.elapsed() < kRedrawMilliseconds) {
        return;
    }
    QString text = QStringLiteral("\r\033[Kmsgfilter: %1: %2 lines").arg(name).arg(lines);
    if (total > 0) {
        text += QStringLiteral(" (%1%)").arg(done * 100 / total);
    }
    writeError(text);
    std::fflush(stderr);
    m_visible = true;
    m_sinceDraw.start();
}

void ProgressLine::clear()
{
    if (m_visible) {
        writeError(QStringLiteral("\r\033[K"));
        std::fflush(stderr);
        m_visible = false;
    }
}

} // namespace zefa::msg_filter::tool
