#include "regexpattern.h"

#include <QRegExp>

namespace zefa::msg_filter::impl_detail {

RegexPattern::RegexPattern(const QString& pattern, Case sensitivity)
    : m_expression(std::make_shared<const QRegExp>(pattern,
        sensitivity == Case::Sensitive ? Qt::CaseSensitive : Qt::CaseInsensitive, QRegExp::RegExp))
{
    // QRegExp's constructor already binds the compiled engine; asking for the capture
    // count makes sure of it even for the empty pattern. From here on the shared
    // expression is only read, which is what lets threads copy it concurrently.
    m_expression->captureCount();
}

QString RegexPattern::pattern() const
{
    return m_expression->pattern();
}

bool RegexPattern::isValid() const
{
    return m_expression->isValid();
}

QString RegexPattern::errorString() const
{
    return m_expression->errorString();
}

int RegexPattern::captureCount() const
{
    return m_expression->captureCount();
}

RegexPattern::Match RegexPattern::search(const QString& text, int from, Captures captures) const
{
    // A copy shares the compiled engine and carries its own match state.
    const QRegExp expression(*m_expression);
    Match match;
    match.position = expression.indexIn(text, from, QRegExp::CaretAtZero);
    if (match.position >= 0) {
        match.length = expression.matchedLength();
        if (captures == Captures::Collect) {
            match.captures = expression.capturedTexts();
        }
    }
    return match;
}

bool RegexPattern::matchesWhole(const QString& text, QStringList* captures) const
{
    const QRegExp expression(*m_expression);
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
    const QRegExp expression(*m_expression);
    return text.split(expression, Qt::SkipEmptyParts);
}

} // namespace zefa::msg_filter::impl_detail
