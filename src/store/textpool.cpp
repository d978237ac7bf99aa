#include "store/textpool.h"

namespace zefa::msg_filter::impl_detail {

QString TextPool::shared(const QString& text)
{
    // A null text equals the empty one in a set; it keeps being null.
    if (text.isNull())
        return text;
    auto found = m_texts.constFind(text);
    if (found == m_texts.constEnd())
        found = m_texts.insert(text);
    return *found;
}

} // namespace zefa::msg_filter::impl_detail
