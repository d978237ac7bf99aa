#pragma once

#include <QByteArray>

#include <string>

// How a person reading a tool log calls a line, written from the logs and kept apart from
// the shipped rule file, so that the two can check each other.
namespace referencereader {

struct Reading {
    /// "Error", "Critical Warning", "Warning", "Info", or "" for a line that carries no
    /// severity tag (continuations, summaries, table rows, echoed commands).
    std::string severity;
    /// The message's code or tag as the line prints it ("Synth 8-327", "10230",
    /// "vsim-3015", "WIDTH", the program in front of a severity); "" when it has none.
    std::string id;
};

Reading read(const QByteArray& line);

} // namespace referencereader
