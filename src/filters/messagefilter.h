#pragma once

#include <msgfilter/messagenode.h>

#include <QHash>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// The named message filters of one implementation, and the one of them that is active.
///
/// A filter hides whole severities, whole processes (milestones), message ids and single
/// messages with their exact arguments. Applying the active filter (`activePnFilter`)
/// switches types and ids off and on in the host catalogue; stored messages are never
/// dropped here.
///
/// Ownership: the set owns every FilterNode it holds or has let go of (a deleted filter, a
/// table replaced by a file load) and every message record its file reader created; all of
/// them stay valid until the set is destroyed. Records that other code put into an
/// individual filter remain that code's.
class MessageFilter : public QObject {
    Q_OBJECT
public:
    enum GeneralFilterMask { MaskMessageID = 0, MaskMilestone = 1, MaskSeverity = 2 };

    /// One named filter. A missing key of `generalFilter` reads as an empty list.
    struct FilterNode {
        QMap<GeneralFilterMask, QStringList> generalFilter;
        QVector<MessageNode*> individualFilter; ///< not owned
    };

    explicit MessageFilter(QObject* parent = nullptr);
    ~MessageFilter() override;

    /// Replaces the table (and, when the file marks one, the active name) with the file's
    /// filters. An empty path does nothing; a missing or unreadable file changes nothing.
    void loadFilters(const QString& path);
    /// Writes every filter to `path`; an empty path does nothing.
    void saveFilters(const QString& path);

    /// Names the filter `activePnFilter` applies; the name need not exist.
    void setPnFilter(const QString& name);
    QString getPnFilter() const;
    /// The stored node (not a copy), or null for an unknown name.
    FilterNode* getFilter(const QString& name) const;
    /// The filter names in hash order.
    QStringList getAllFilterName() const;
    /// Forgets the filter; forgetting the active one empties the active name.
    void deleteFilter(const QString& name);
    /// Stores a copy of `node` under `name`, replacing (and freeing) an existing one.
    void addFilter(const QString& name, const FilterNode* node);

    /// Resets the catalogue's switches and applies the active filter for `process`.
    void activePnFilter(const QString& process);

private:
    QString m_activeFilterName;
    QHash<QString, FilterNode*> m_filters;
    // Let go of but kept alive: callers may still hold pointers into them.
    std::vector<std::unique_ptr<FilterNode>> m_releasedFilters;
    std::vector<std::unique_ptr<MessageNode>> m_readRecords;
};

} // namespace zefa::msg_filter::impl_detail
