#include "regexpattern.h"

#include "common/automatonoptions.h"

#include <QRegExp>

namespace zefa::msg_filter::impl_detail {

namespace {

bool referenceForced()
{
#ifdef MSGFILTER_REFERENCE_REGEX
    return true;
#else
    static const bool forced =
        qEnvironmentVariable("MSGFILTER_REGEX_ENGINE") == QLatin1String("reference");
    return forced;
#endif
}

// The texts of a match's groups, as QRegExp lists them: a null string for a group that
// took no part.
QStringList textsOf(std::string_view latin1, const std::vector<MatchSpan>& spans)
{
    QStringList texts;
    texts.reserve(static_cast<int>(spans.size()));
    for (const MatchSpan& span : spans) {
        texts.append(span.found() ? QString::fromLatin1(latin1.data() + span.position, span.length)
                                  : QString());
    }
    return texts;
}

bool isLatin1(const QString& text)
{
    for (const QChar character : text) {
        if (character.unicode() > 0xff) {
            return false;
        }
    }
    return true;
}

} // namespace

struct RegexPattern::Compiled {
    Compiled(const QString& pattern, Case sensitivity, Engine engine)
        : reference(pattern,
            sensitivity == Case::Sensitive ? Qt::CaseSensitive : Qt::CaseInsensitive,
            QRegExp::RegExp)
    {
        // QRegExp's constructor already binds the compiled engine; asking for the capture
        // count makes sure of it even for the empty pattern. From here on the shared
        // expression is only read, which is what lets threads copy it concurrently.
        captureCount = reference.captureCount();
        // An invalid pattern never matches, even where the automaton would accept it.
        if (engine == Engine::Reference || referenceForced() || !reference.isValid()) {
            return;
        }
        translation = translatePattern(pattern, sensitivity == Case::Sensitive);
        if (translation.fidelity == TranslatedPattern::Fidelity::None) {
            return;
        }
        auto compiled = std::make_unique<re2::RE2>(translation.text, automatonOptions());
        if (compiled->ok()) {
            automaton = std::move(compiled);
        } else {
            translation = TranslatedPattern {};
        }
    }

    QRegExp reference;
    int captureCount = 0;
    TranslatedPattern translation;
    std::unique_ptr<const re2::RE2> automaton;
};

RegexPattern::RegexPattern(const QString& pattern, Case sensitivity, Engine engine)
    : m_compiled(std::make_shared<const Compiled>(pattern, sensitivity, engine))
{
}

QString RegexPattern::pattern() const
{
    return m_compiled->reference.pattern();
}

bool RegexPattern::isValid() const
{
    return m_compiled->reference.isValid();
}

QString RegexPattern::errorString() const
{
    return m_compiled->reference.errorString();
}

int RegexPattern::captureCount() const
{
    return m_compiled->captureCount;
}

const TranslatedPattern& RegexPattern::translation() const
{
    return m_compiled->translation;
}

RegexPattern::Match RegexPattern::search(const QString& text, int from, Captures captures) const
{
    if (!m_compiled->automaton || from < 0 || from > text.size() || !isLatin1(text)) {
        return searchOnReference(text, from, captures);
    }
    const QByteArray latin1 = text.toLatin1();
    return searchOnAutomaton(
        std::string_view(latin1.constData(), static_cast<std::size_t>(latin1.size())), from,
        captures, &text);
}

RegexPattern::Match RegexPattern::search(std::string_view latin1, int from, Captures captures) const
{
    if (!m_compiled->automaton || from < 0 || static_cast<std::size_t>(from) > latin1.size()) {
        return searchOnReference(
            QString::fromLatin1(latin1.data(), static_cast<int>(latin1.size())), from, captures);
    }
    return searchOnAutomaton(latin1, from, captures, nullptr);
}

RegexPattern::Match RegexPattern::searchOnAutomaton(
    std::string_view latin1, int from, Captures captures, const QString* text) const
{
    Match match;
    if (from == 0 && !m_compiled->translation.mayOpen(latin1)) {
        return match;
    }
    const auto onReference = [&](int start) {
        return text != nullptr
            ? searchOnReference(*text, start, captures)
            : searchOnReference(QString::fromLatin1(latin1.data(), static_cast<int>(latin1.size())),
                start, captures);
    };
    // The groups the reader found, as asked for.
    const auto read = [&]() {
        match.position = match.spans.front().position;
        match.length = match.spans.front().length;
        if (captures == Captures::Collect) {
            match.captures = textsOf(latin1, match.spans);
            match.spans.clear();
        }
        return match;
    };
    const bool exact = m_compiled->translation.fidelity == TranslatedPattern::Fidelity::Exact;
    const CaptureReader* reader = m_compiled->translation.captures.get();
    const bool readable = exact && reader != nullptr
        && reader->groupCount() == m_compiled->captureCount && m_compiled->captureCount > 0;
    // Groups wanted of a pattern that matches only at the start: the reader finds the
    // longest match there itself while it reads the groups, and the automaton is spared.
    if (readable && from == 0 && captures != Captures::Skip && reader->startAnchored()) {
        switch (reader->readLongestFromStart(latin1, match.spans)) {
        case CaptureReader::Outcome::Read:
            return read();
        case CaptureReader::Outcome::NoMatch:
            return match;
        case CaptureReader::Outcome::Unreadable:
            return onReference(0);
        case CaptureReader::Outcome::Declined:
            break;
        }
    }
    const re2::StringPiece whole(latin1.data(), latin1.size());
    re2::StringPiece found;
    if (!m_compiled->automaton->Match(whole, static_cast<std::size_t>(from), latin1.size(),
            re2::RE2::UNANCHORED, &found, 1)) {
        return match;
    }
    const int position = static_cast<int>(found.data() - latin1.data());
    if (exact && (captures == Captures::Skip || m_compiled->captureCount == 0)) {
        match.position = position;
        match.length = static_cast<int>(found.size());
        if (captures == Captures::Collect) {
            match.captures.append(QString::fromLatin1(found.data(), match.length));
        } else if (captures == Captures::Spans) {
            match.spans.push_back({ position, match.length });
        }
        return match;
    }
    if (readable && reader->read(latin1, position, static_cast<int>(found.size()), match.spans)) {
        return read();
    }
    // The automaton's leftmost start is at or before QRegExp's (the same with an exact
    // translation), so QRegExp starts there and skips the stretch already ruled out.
    return onReference(position);
}

RegexPattern::Match RegexPattern::searchOnReference(
    const QString& text, int from, Captures captures) const
{
    // A copy shares the compiled engine and carries its own match state.
    const QRegExp expression(m_compiled->reference);
    Match match;
    match.position = expression.indexIn(text, from, QRegExp::CaretAtZero);
    if (match.position >= 0) {
        match.length = expression.matchedLength();
        if (captures == Captures::Collect) {
            match.captures = expression.capturedTexts();
        } else if (captures == Captures::Spans) {
            for (int group = 0; group <= m_compiled->captureCount; ++group) {
                const int at = expression.pos(group);
                match.spans.push_back(
                    at < 0 ? MatchSpan {} : MatchSpan { at, expression.cap(group).size() });
            }
        }
    }
    return match;
}

bool RegexPattern::matchesWhole(const QString& text, QStringList* captures) const
{
    const QRegExp expression(m_compiled->reference);
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
    const QRegExp expression(m_compiled->reference);
    return text.split(expression, Qt::SkipEmptyParts);
}

} // namespace zefa::msg_filter::impl_detail
