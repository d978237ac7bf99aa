#pragma once

#include <QByteArray>

class QFileDevice;

namespace zefa::msg_filter::tool {

/// The largest rule file the tool reads whole: far beyond any real one, and small enough
/// that a device without end (/dev/zero) or a mistaken path is refused quickly.
constexpr qint64 kMaximumRuleFileBytes = 64 * 1024 * 1024;

/// Reads everything `file` gives, up to its end, into `bytes`. False when it gives more
/// than `limit` bytes (then `bytes` holds what was read) or a read fails.
bool readAtMost(QFileDevice& file, qint64 limit, QByteArray& bytes);

} // namespace zefa::msg_filter::tool
