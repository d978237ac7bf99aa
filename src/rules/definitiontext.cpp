#include "rules/definitiontext.h"

#include "common/xmldocumentcodec.h"

#include <algorithm>

namespace zefa::msg_filter::impl_detail {

DefinitionText::DefinitionText(const QByteArray& data)
    : m_text(decodedXmlDocument(data))
{
    m_lineStarts.push_back(0);
    for (int i = 0; i < m_text.size(); ++i) {
        if (m_text.at(i) == QLatin1Char('\n')) {
            m_lineStarts.push_back(i + 1);
        }
    }
}

TextPosition DefinitionText::positionOf(qint64 offset) const
{
    if (m_lineStarts.empty()) {
        return {};
    }
    const auto after = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    const qint64 lineIndex = (after - m_lineStarts.begin()) - 1;
    return { lineIndex + 1, offset - m_lineStarts[static_cast<size_t>(lineIndex)] + 1 };
}

TextPosition DefinitionText::startTagPosition(qint64 tokenStart) const
{
    const int tag =
        m_text.indexOf(QLatin1Char('<'), static_cast<int>(std::max<qint64>(tokenStart - 1, 0)));
    return positionOf(tag < 0 ? tokenStart : tag);
}

TextPosition DefinitionText::attributePosition(
    const QString& attribute, qint64 tokenStart, qint64 tagEnd) const
{
    const qint64 end = std::min<qint64>(tagEnd, m_text.size());
    qint64 from = std::max<qint64>(tokenStart - 1, 0);
    while (from < end) {
        const int found = m_text.indexOf(attribute, static_cast<int>(from));
        if (found < 0 || found >= end) {
            break;
        }
        const QChar before = found > 0 ? m_text.at(found - 1) : QChar();
        int after = found + attribute.size();
        while (after < end && m_text.at(after).isSpace()) {
            ++after;
        }
        if (before.isSpace() && after < end && m_text.at(after) == QLatin1Char('=')) {
            return positionOf(found);
        }
        from = found + 1;
    }
    return startTagPosition(tokenStart);
}

} // namespace zefa::msg_filter::impl_detail
