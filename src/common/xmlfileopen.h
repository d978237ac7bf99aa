#pragma once

class QFile;

namespace zefa::msg_filter::impl_detail {

/// Opens `file` read-only for the message log and filter file readers. When the file is
/// missing or cannot be opened, writes the readers' shared one-line diagnostic ("message
/// file doesn't exist" or "Fail to Open message file", then `location` and the matching
/// line number) and returns false.
bool openXmlFileForReading(QFile& file, const char* location, int missingLine, int openLine);

} // namespace zefa::msg_filter::impl_detail
