#pragma once

#include <re2/re2.h>

namespace zefa::msg_filter::impl_detail {

// Options of every automaton the library builds. Bytes are Latin-1 characters; the match
// reported is the leftmost-longest one, which is the one QRegExp reports; patterns come
// from our translator, so the only failures left are size limits, and those fall back
// to QRegExp without a word.
inline re2::RE2::Options automatonOptions()
{
    re2::RE2::Options options;
    options.set_encoding(re2::RE2::Options::EncodingLatin1);
    options.set_longest_match(true);
    options.set_log_errors(false);
    options.set_max_mem(64 << 20);
    return options;
}

} // namespace zefa::msg_filter::impl_detail
