#pragma once

#include "classification.h"
#include "rules/linematch.h"
#include "rulesselection.h"

#include <QByteArray>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zefa::msg_filter::tool {

/// What the rules make of a run of complete lines: the lines they recognise, read and
/// decoded for display, and the counts the summary needs.
struct LineBatch {
    /// A recognised line and its 0-based index in the batch. The line's file and number
    /// are left to the caller, which knows where the batch stands in its input.
    struct Recognised {
        long long index = 0;
        /// The rule's name as the rules spell it, for counts by rule; it lives as long as
        /// the rules.
        const std::string* rule = nullptr;
        ClassifiedLine line;
    };

    long long lines = 0;
    long long ruleWithoutSubRule = 0; ///< lines a rule won but none of its sub-rules fit
    std::vector<Recognised> recognised; ///< in line order
};

/// Reads lines with the selected rules, exactly as the stand-alone filter classifies
/// them, and tells from the engine's own match whether a sub-rule matched.
///
/// A reader only reads the loaded rules and the message catalogue, so any number of
/// threads may read batches at once, with one reader or several. The rules must not
/// change while a reader lives.
class LineReader {
public:
    explicit LineReader(const RulesSelection& rules);

    /// How much of a recognised line is read beyond its rule, type, severity and text.
    enum class Description {
        Made, ///< its fields, and what describeMessage() derives from them
        FieldsOnly, ///< its fields, left undescribed
        Skipped, ///< neither: the line's fields stay empty
    };

    /// Reads every line of `lines`, which holds complete lines only, except that the
    /// last one may lack its line feed (the end of the input). NUL bytes are line bytes.
    LineBatch read(const QByteArray& lines, Description description = Description::Made) const;

private:
    /// Counts the line in `batch`, and adds it to the recognised ones when it is.
    void readLine(std::string_view text, Description description, LineBatch& batch) const;

    const impl_detail::LineMatcher m_match;
};

} // namespace zefa::msg_filter::tool
