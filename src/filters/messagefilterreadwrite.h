#pragma once

#include "filters/messagefilter.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// Objects a filter file read hands to its caller besides the table entries.
struct FilterReadOwnership {
    /// The table's previous nodes, and earlier nodes of a name the file holds twice.
    std::vector<std::unique_ptr<MessageFilter::FilterNode>> filters;
    /// Every message record the read created for individual filters.
    std::vector<std::unique_ptr<MessageNode>> records;
};

/// Reads and writes the filter file of one implementation: an XML document rooted at
/// "ZefaMessageFilter" with one "Filter" element per named filter.
///
/// A "Filter" has the attribute "name" and, on the active filter only, an empty "active"
/// attribute. It holds one "GeneralFilter" with "ID", "Severity" and "Milestone" lists
/// joined with ";", then one "IndividualFilter" per hidden message with "ID", "Severity",
/// "Milestone" and one "Dynamic" per argument. A list entry holding ";" does not survive a
/// save and load; navigation data is never saved.
class MessageFilterReadWrite : public QObject {
    Q_OBJECT
public:
    using FilterTable = QHash<QString, MessageFilter::FilterNode*>;

    explicit MessageFilterReadWrite(const QString& fileName, QObject* parent = nullptr);
    ~MessageFilterReadWrite() override;

    /// Replaces `filters` with the file's filters and sets `activeName` when a filter is
    /// marked active. The new table's nodes belong to the caller, and so does everything
    /// moved to `owned`. Returns false, touching nothing, when the file is missing or
    /// unreadable; true otherwise, also when the XML is malformed part-way (the filters
    /// completed before the error are kept).
    bool doRead(FilterTable& filters, QString& activeName, FilterReadOwnership& owned);

    /// Replaces the file with every filter of the table, marking `activeName`. Returns
    /// false, leaving the previous file as it was, when the file could not be written.
    bool doWrite(const FilterTable& filters, const QString& activeName);

private:
    QString m_fileName;
};

} // namespace zefa::msg_filter::impl_detail
