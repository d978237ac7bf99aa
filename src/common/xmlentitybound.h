#pragma once

#include <functional>

class QXmlStreamReader;

namespace zefa::msg_filter::impl_detail {

/// Reads the prolog of a document, up to its DTD or its first start tag, and stops the
/// reader with an error when the entities the DTD declares would expand past a bound
/// proportional to the document: sixteen characters per byte of the file, and 64 Ki
/// characters whatever its size.
///
/// XML lets a short file name a long entity many times: a 900 KB file can expand to
/// gigabytes, and the stream reader builds every expanded text in memory. Such a document is
/// refused before any of its content is read, as malformed XML is, so a reader's loop that
/// ends at the first error loads nothing of it. The count is exact for files; for a pipe,
/// which cannot be read twice, a document whose entities could exceed the bound at all is
/// refused. So is an attribute default of the DTD that refers to an entity longer than the
/// reference: the reader would expand it while reading the DTD itself.
///
/// The reader is left on the token it stopped at (the DTD, the root's start tag or the end
/// of the document), which the caller handles as the first token of its loop. `readNext`,
/// when given, reads each token in place of the reader's own readNext(), for a reader that
/// notes something about every token.
void readPrologWithinEntityBound(
    QXmlStreamReader& reader, const std::function<void()>& readNext = nullptr);

} // namespace zefa::msg_filter::impl_detail
