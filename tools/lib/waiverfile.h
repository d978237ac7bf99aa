#pragma once

#include "classification.h"
#include "filters/messagefilter.h"

#include <msgfilter/messagenode.h>

#include <QString>

#include <memory>
#include <vector>

namespace zefa::msg_filter::tool {

/// Builds the filter that accepts a run's messages and saves it as a filter file through
/// the library's own writer, so that the store, the host and `--filters` read it alike.
class WaiverFile {
public:
    enum class By {
        Message, ///< one individual filter per message: id, severity, input's file name, text
        Id, ///< the ids of the messages in the filter's id list
    };

    /// Adds the messages; errors are skipped, since no filter hides them. Returns how
    /// many were skipped.
    int add(const std::vector<ClassifiedLine>& messages, By by);

    const impl_detail::MessageFilter::FilterNode& filter() const { return m_filter; }

    /// Saves the filter as `name`, marked active, into `path`. The file's other filters
    /// are kept when it already is a filter file; a filter of that name is replaced.
    /// False with a reason (without the file's name) when the file cannot be written.
    bool save(const QString& path, const QString& name, QString& error) const;

private:
    impl_detail::MessageFilter::FilterNode m_filter;
    std::vector<std::unique_ptr<MessageNode>> m_records;
};

} // namespace zefa::msg_filter::tool
