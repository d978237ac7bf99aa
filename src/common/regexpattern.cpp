#include "regexpattern.h"

namespace zefa::msg_filter::impl_detail {

RegexPattern::RegexPattern(const QString& pattern, Case sensitivity)
    : m_expression(pattern,
                   sensitivity == Case::Sensitive ? Qt::CaseSensitive : Qt::CaseInsensitive,
                   QRegExp::RegExp)
{
    // Compiles the engine now, so that later copies only share it and the object is
    // never written to again.
    m_expression.isValid();
}

bool RegexPattern::isValid() const
{
    return m_expression.isValid();
}

QString RegexPattern::errorString() const
{
    return m_expression.errorString();
}

int RegexPattern::captureCount() const
{
    return m_expression.captureCount();
}

RegexPattern::Match RegexPattern::search(const QString& text, int from) const
{
    // A copy shares the compiled engine and carries its own match state.
    QRegExp expression(m_expression);
    Match match;
    match.position = expression.indexIn(text, from, QRegExp::CaretAtZero);
    if (match.position >= 0) {
        match.length = expression.matchedLength();
        match.captures = expression.capturedTexts();
    }
    return match;
}

bool RegexPattern::matchesWhole(const QString& text, QStringList* captures) const
{
    QRegExp expression(m_expression);
    if (!expression.exactMatch(text)) {
        return false;
    }
    if (captures != nullptr) {
        *captures = expression.capturedTexts();
    }
    return true;
}

QStringList RegexPattern::splitSkippingEmpty(const QString& text) const
{
    return text.split(m_expression, Qt::SkipEmptyParts);
}

} // namespace zefa::msg_filter::impl_detail
