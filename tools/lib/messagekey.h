#pragma once

#include "classification.h"

#include <QString>

#include <map>

namespace zefa::msg_filter::tool {

/// The message text with the numbers that change from run to run (counts, delays,
/// addresses, line numbers) replaced by '#': a run of digits that does not continue a
/// name, with the decimal point between digits and a "0x" prefix taken with it. Digits
/// inside names stay: "net n_12 delay 0.35 ns at 0x7f3a, 3 loads" becomes
/// "net n_12 delay # ns at #, # loads".
QString withoutNumbers(const QString& text);

/// What two runs must share for a message of one to be the same as a message of the
/// other: severity, id, the name (not the directory) of the source file, and the text
/// without numbers. Log lines, source lines and columns, the input's name and the
/// directories of paths are left out, since they move between runs and machines.
QString matchKey(const ClassifiedLine& message);

/// Hands out stable fingerprints, 32 hexadecimal digits: a hash of a message's match key
/// and of how many messages of this run had that key before it, so that repeated
/// messages differ. The same log, or one whose lines only moved, gets the same
/// fingerprints.
class FingerprintCounter {
public:
    QString next(const ClassifiedLine& message);

private:
    std::map<QString, int> m_seen;
};

} // namespace zefa::msg_filter::tool
