#pragma once

#include "commandline.h"

#include <QElapsedTimer>
#include <QString>

#include <cstdio>

namespace zefa::msg_filter::tool {

/// Whether the stream is a terminal.
bool isTerminal(std::FILE* stream);

/// Whether output to standard output gets colour: "always", "never", or with "auto"
/// only on a terminal, unless NO_COLOR is set or TERM is "dumb".
bool useColor(ColorMode mode);

/// A progress line on standard error for inputs that take a while.
///
/// It shows only when standard error is a terminal, and only after the first half
/// second, so that short inputs print nothing; then it is redrawn at most five times a
/// second. `clear` erases it, for example before output goes to the same terminal.
class ProgressLine {
public:
    ProgressLine();
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// `total` is the size of the input in bytes, or 0 when unknown (a pipe).
    void update(const QString& name, long long lines, qint64 done, qint64 total);
    void clear();

private:
    bool m_enabled;
    bool m_visible = false;
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceDraw;
};

} // namespace zefa::msg_filter::tool
