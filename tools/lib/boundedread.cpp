#include "boundedread.h"

#include <QFileDevice>

namespace zefa::msg_filter::tool {

bool readAtMost(QFileDevice& file, qint64 limit, QByteArray& bytes)
{
    bytes.clear();
    // Piece by piece until a read brings nothing: a pipe has no size to ask for.
    constexpr qint64 kPiece = 1024 * 1024;
    for (QByteArray piece = file.read(kPiece); !piece.isEmpty(); piece = file.read(kPiece)) {
        bytes += piece;
        if (bytes.size() > limit)
            return false;
    }
    return file.error() == QFileDevice::NoError;
}

} // namespace zefa::msg_filter::tool
