#include "waiverfile.h"

#include "filters/messagefilterreadwrite.h"
#include "waiverstep.h"

#include <QFileInfo>
#include <QSet>

#include <set>
#include <tuple>

namespace zefa::msg_filter::tool {

int WaiverFile::add(const std::vector<ClassifiedLine>& messages, By by)
{
    using Impl = impl_detail::MessageFilter;
    QStringList& ids = m_filter.generalFilter[Impl::MaskMessageID];
    m_filter.generalFilter[Impl::MaskSeverity];
    m_filter.generalFilter[Impl::MaskMilestone];
    std::set<std::tuple<QString, QString, QStringList>> individual;
    for (MessageNode* record : m_filter.individualFilter) {
        individual.emplace(
            record->getMessageID(), record->getMessageProcess(), record->getMessageDynamicData());
    }
    int skipped = 0;
    for (const ClassifiedLine& message : messages) {
        if (message.severity == Severity::Error) {
            ++skipped;
            continue;
        }
        if (by == By::Id) {
            if (!ids.contains(message.id)) {
                ids.append(message.id);
            }
            continue;
        }
        QStringList arguments;
        for (const std::string& argument : waiverArguments(message)) {
            arguments << QString::fromLatin1(argument.data(), static_cast<int>(argument.size()));
        }
        const QString process = waiverProcess(message);
        if (individual.emplace(message.id, process, arguments).second) {
            m_records.push_back(std::make_unique<MessageNode>(
                message.id, severityName(message.severity), process, arguments, QStringList()));
            m_filter.individualFilter.append(m_records.back().get());
        }
    }
    return skipped;
}

bool WaiverFile::save(const QString& path, const QString& name, QString& error) const
{
    impl_detail::MessageFilter filters;
    if (QFileInfo::exists(path)) {
        // Another kind of file of that name is not overwritten: it is more likely a
        // mistyped argument than a file to lose.
        QSet<QString> names;
        if (!checkFilterFile(path, names, error)) {
            return false;
        }
        filters.loadFilters(path);
    }
    filters.addFilter(name, &m_filter);
    filters.setPnFilter(name);
    impl_detail::MessageFilterReadWrite::FilterTable table;
    const QStringList names = filters.getAllFilterName();
    for (const QString& filterName : names) {
        table.insert(filterName, filters.getFilter(filterName));
    }
    impl_detail::MessageFilterReadWrite writer(path);
    if (!writer.doWrite(table, name)) {
        error = QStringLiteral("cannot be written");
        return false;
    }
    return true;
}

} // namespace zefa::msg_filter::tool
