#pragma once

#include <QString>

#include <functional>

class QXmlStreamWriter;

namespace zefa::msg_filter::impl_detail {

/// Writes one auto-formatted XML document (declaration included, no end-of-document call)
/// to `path`, replacing the file only once every byte has reached the disk, also when the
/// previous file is read-only.
///
/// Where no file can be created beside it (a directory we may not write), a file that we
/// may write is written in place instead, the one way such a file can be saved at all.
///
/// `writeBody` writes the root element and everything under it. Returns false when the
/// file could not be opened or anything failed on the way (a full disk, a file-size limit);
/// the previous file is then exactly as it was (unless it was being written in place), no
/// temporary file is left behind, and the writers' shared one-line diagnostic ("Fail to
/// Writing message file", then `location` and `failureLine`) is written.
bool saveXmlDocument(const QString& path, const std::function<void(QXmlStreamWriter&)>& writeBody,
    const char* location, int failureLine);

} // namespace zefa::msg_filter::impl_detail
