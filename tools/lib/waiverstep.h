#pragma once

#include "classification.h"
#include "filters/messagefilter.h"

#include <QSet>
#include <QString>

namespace zefa::msg_filter::tool {

/// Decides which messages a filter file waives, the way the host's message view hides
/// them: the library's filter set loads the file and applies the chosen filter to the
/// host catalogue, and the catalogue answers for each message.
///
/// Each message id is entered in the catalogue with its severity the first time it is
/// seen (unless the catalogue knows it already), so that severity filters and the rule
/// that errors are never hidden by id apply to it. The process (milestone) of a message
/// is its input's file name without folders (waiverProcess()), which is what `msgfilter
/// waive` records for individual messages. Errors are never waived, as the view never
/// hides them.
class WaiverStep {
public:
    /// Reads the filter file and picks `filterName`, or the filter the file marks active
    /// when that is empty. False with a reason (without the file's name) when the file is
    /// missing, unreadable, not a well-formed filter file, or has no such filter.
    bool load(const QString& path, const QString& filterName, QString& error);

    QString filterName() const { return m_filters.getPnFilter(); }

    /// Whether the filter hides this message.
    bool isWaived(const ClassifiedLine& message);

private:
    impl_detail::MessageFilter m_filters;
    QString m_appliedProcess;
    bool m_applied = false;
};

/// Checks that `path` is a whole, well-formed filter file and collects its filter names.
/// The library's reader stops quietly at the first XML error and keeps what it read; a
/// waiver file cut short must not waive less without a word. False with a reason
/// (without the file's name) otherwise.
bool checkFilterFile(const QString& path, QSet<QString>& names, QString& error);

/// The process a waiver names a message's input by: its file name without folders, so
/// that a waiver written in one checkout applies in the next ("-" for standard input).
QString waiverProcess(const ClassifiedLine& line);

/// The catalogue type code of a severity: 1 error, 8 critical warning, 2 warning, 4 info.
int catalogueType(Severity severity);

/// The dynamic arguments the catalogue matches individual waivers against: the decoded
/// dynamic arguments of a structured line, the message text for any other; line breaks
/// as LF and without other control characters, as the filter file gives them back.
std::vector<std::string> waiverArguments(const ClassifiedLine& message);

} // namespace zefa::msg_filter::tool
