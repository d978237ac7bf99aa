#include "regextranslator.h"

#include <QMutex>
#include <QRegExp>
#include <QStringList>

#include <algorithm>
#include <bitset>
#include <cctype>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zefa::msg_filter::impl_detail {

namespace {

using ByteSet = std::bitset<256>;

// The reference engine's largest repetition count is one below this; the automaton
// engine takes at most 1000.
constexpr int kUnbounded = 1025;
constexpr int kLargestAutomatonRepeat = 1000;

// The set of Latin-1 characters one character token accepts, asked of the reference
// engine itself: classes, escapes and case folding then mean exactly what they mean
// there, with no table of ours to drift from it. Each distinct token is asked once per
// process.
std::optional<ByteSet> acceptedBytes(const QString& token, bool caseSensitive)
{
    static QMutex mutex;
    static std::map<std::pair<QString, bool>, ByteSet> known;
    const QMutexLocker lock(&mutex);
    const auto key = std::make_pair(token, caseSensitive);
    const auto found = known.find(key);
    if (found != known.end()) {
        return found->second;
    }
    QRegExp single(token, caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive, QRegExp::RegExp);
    if (!single.isValid()) {
        return std::nullopt;
    }
    ByteSet bytes;
    for (int code = 0; code < 256; ++code) {
        if (single.exactMatch(QString(QChar(code)))) {
            bytes.set(static_cast<std::size_t>(code));
        }
    }
    known.emplace(key, bytes);
    return bytes;
}

struct Node {
    enum class Kind {
        Bytes, ///< one character out of `bytes`
        Sequence,
        Alternation,
        Repeat, ///< children[0] between `min` and `max` times
        StartOfText,
        EndOfText,
        Assertion, ///< look-ahead or word boundary: zero width, not carried over
        BackReference, ///< not carried over
        Capture, ///< children[0], its text kept as capture group `capture`
        NextCharacter, ///< look-ahead for one character out of `bytes`: zero width
    };

    explicit Node(Kind nodeKind = Kind::Sequence)
        : kind(nodeKind)
    {
    }

    Kind kind;
    ByteSet bytes;
    std::vector<Node> children;
    int min = 0;
    int max = 0;
    int capture = 0; ///< the group's number, for a Capture
    /// For the Assertion of a negative look-ahead for whole words, "(?!(?:w1|w2)\b)":
    /// the words, each of letters, digits and '_'; empty for any other assertion.
    std::vector<std::string> words;
};

// Whether the node may match the empty string; zero-width constructs and what cannot
// be told count as empty.
bool mayBeEmpty(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::Bytes:
        return false;
    case Node::Kind::Sequence:
        return std::all_of(node.children.begin(), node.children.end(),
            [](const Node& child) { return mayBeEmpty(child); });
    case Node::Kind::Alternation:
        return std::any_of(node.children.begin(), node.children.end(),
            [](const Node& child) { return mayBeEmpty(child); });
    case Node::Kind::Repeat:
        return node.min == 0 || mayBeEmpty(node.children.front());
    case Node::Kind::Capture:
        return mayBeEmpty(node.children.front());
    default:
        return true;
    }
}

bool holdsCapture(const Node& node)
{
    return node.kind == Node::Kind::Capture
        || std::any_of(node.children.begin(), node.children.end(), holdsCapture);
}

// The strings of `node` whose first character is one of `first`, as a tree of the same
// kind; nothing when the node has no such string or the rewriting cannot be sure.
struct Restricted {
    enum class Outcome { Rewritten, Never, Unsure };
    Outcome outcome = Outcome::Unsure;
    Node node;
};

Restricted restrictedChoice(Node alternation);
Restricted restrictSequence(const Node& sequence, std::size_t from, const ByteSet& first);

Restricted restrictFirst(const Node& node, const ByteSet& first)
{
    Restricted result;
    switch (node.kind) {
    case Node::Kind::Bytes:
        result.node = node;
        result.node.bytes &= first;
        result.outcome =
            result.node.bytes.none() ? Restricted::Outcome::Never : Restricted::Outcome::Rewritten;
        return result;
    case Node::Kind::Capture: {
        Restricted inner = restrictFirst(node.children.front(), first);
        if (inner.outcome == Restricted::Outcome::Rewritten) {
            result.node = Node(Node::Kind::Capture);
            result.node.capture = node.capture;
            result.node.children.push_back(std::move(inner.node));
        }
        result.outcome = inner.outcome;
        return result;
    }
    case Node::Kind::Alternation: {
        Node alternation(Node::Kind::Alternation);
        for (const Node& child : node.children) {
            Restricted branch = restrictFirst(child, first);
            if (branch.outcome == Restricted::Outcome::Unsure) {
                return result;
            }
            if (branch.outcome == Restricted::Outcome::Rewritten) {
                alternation.children.push_back(std::move(branch.node));
            }
        }
        return restrictedChoice(std::move(alternation));
    }
    case Node::Kind::Sequence:
        return restrictSequence(node, 0, first);
    case Node::Kind::Repeat: {
        const Node& child = node.children.front();
        if (node.max == 0) {
            result.outcome = Restricted::Outcome::Never;
            return result;
        }
        // A group in the first pass and again in the passes after it would read as one
        // stretch over both, where the reference engine keeps the last pass only.
        if (mayBeEmpty(child) || (node.max != 1 && holdsCapture(child))) {
            return result;
        }
        Restricted once = restrictFirst(child, first);
        if (once.outcome != Restricted::Outcome::Rewritten || node.max == 1) {
            return once;
        }
        // The first pass starts with the character; the others are as they were.
        Node rest(Node::Kind::Repeat);
        rest.min = std::max(node.min - 1, 0);
        rest.max = node.max == kUnbounded ? kUnbounded : node.max - 1;
        rest.children.push_back(child);
        result.node = Node(Node::Kind::Sequence);
        result.node.children.push_back(std::move(once.node));
        result.node.children.push_back(std::move(rest));
        result.outcome = Restricted::Outcome::Rewritten;
        return result;
    }
    default:
        return result;
    }
}

Restricted restrictedChoice(Node alternation)
{
    Restricted result;
    result.outcome =
        alternation.children.empty() ? Restricted::Outcome::Never : Restricted::Outcome::Rewritten;
    if (alternation.children.size() == 1) {
        result.node = std::move(alternation.children.front());
    } else {
        result.node = std::move(alternation);
    }
    return result;
}

// The children of `sequence` from `from` on, restricted: either the first of them starts
// with the character, or it runs no pass and the rest starts with it.
Restricted restrictSequence(const Node& sequence, std::size_t from, const ByteSet& first)
{
    Restricted result;
    if (from == sequence.children.size()) {
        result.outcome = Restricted::Outcome::Never;
        return result;
    }
    const Node& head = sequence.children[from];
    Node alternation(Node::Kind::Alternation);
    Restricted starts = restrictFirst(head, first);
    if (starts.outcome == Restricted::Outcome::Unsure) {
        return result;
    }
    if (starts.outcome == Restricted::Outcome::Rewritten) {
        Node branch(Node::Kind::Sequence);
        branch.children.push_back(std::move(starts.node));
        branch.children.insert(
            branch.children.end(), sequence.children.begin() + from + 1, sequence.children.end());
        alternation.children.push_back(std::move(branch));
    }
    if (mayBeEmpty(head)) {
        // Only a repetition that may run no pass matches empty one way, with its groups
        // taking no part, as they take none where it is left out.
        if (head.kind != Node::Kind::Repeat || head.min != 0 || mayBeEmpty(head.children.front())) {
            return result;
        }
        Restricted later = restrictSequence(sequence, from + 1, first);
        if (later.outcome == Restricted::Outcome::Unsure) {
            return result;
        }
        if (later.outcome == Restricted::Outcome::Rewritten) {
            alternation.children.push_back(std::move(later.node));
        }
    }
    return restrictedChoice(std::move(alternation));
}

// A look-ahead for one character, followed in its sequence by what must read at least
// one character, only keeps the strings of the rest that start with that character:
// written so, the pattern needs no look-ahead.
void absorbLookAheads(Node& sequence)
{
    for (std::size_t index = sequence.children.size(); index-- > 0;) {
        if (sequence.children[index].kind != Node::Kind::NextCharacter) {
            continue;
        }
        Node rest(Node::Kind::Sequence);
        rest.children.assign(sequence.children.begin() + static_cast<std::ptrdiff_t>(index) + 1,
            sequence.children.end());
        if (mayBeEmpty(rest)) {
            continue;
        }
        Restricted restricted = restrictFirst(rest, sequence.children[index].bytes);
        if (restricted.outcome != Restricted::Outcome::Rewritten) {
            continue;
        }
        sequence.children.resize(index);
        sequence.children.push_back(std::move(restricted.node));
    }
}

// The words of a look-ahead written "(?:w1|w2|...)\b" or "w\b", each of ASCII letters,
// digits and '_'; none for anything else.
std::vector<std::string> wordsBeforeBoundary(QString inner)
{
    if (!inner.endsWith(QLatin1String("\\b"))) {
        return {};
    }
    inner.chop(2);
    if (inner.startsWith(QLatin1String("(?:")) && inner.endsWith(QLatin1Char(')'))) {
        inner = inner.mid(3, inner.size() - 4);
    } else if (inner.contains(QLatin1Char('|'))) {
        return {}; // "a|b\b" is a or b\b
    }
    std::vector<std::string> words;
    for (const QString& word : inner.split(QLatin1Char('|'))) {
        const bool plain = !word.isEmpty() && std::all_of(word.cbegin(), word.cend(), [](QChar c) {
            const ushort code = c.unicode();
            return code < 0x80 && (std::isalnum(code) != 0 || code == '_');
        });
        if (!plain) {
            return {};
        }
        words.push_back(word.toStdString());
    }
    return words;
}

// A trie of words, each node a prefix.
struct WordTrie {
    bool word = false; ///< the prefix is one of the words
    std::map<unsigned char, WordTrie> next;
};

// The strings of `first` then any number of `rest` that are none of the words below
// `node` (the words' prefix read so far, `depth` characters long).
Node identifiersExcept(
    const WordTrie& node, std::size_t depth, const ByteSet& first, const ByteSet& rest)
{
    const ByteSet& here = depth == 0 ? first : rest;
    Node choice(Node::Kind::Alternation);
    if (depth > 0 && !node.word) {
        choice.children.emplace_back(Node::Kind::Sequence); // it ends here
    }
    ByteSet taken;
    for (const auto& [byte, child] : node.next) {
        Node step(Node::Kind::Sequence);
        step.children.emplace_back(Node::Kind::Bytes);
        step.children.back().bytes.set(byte);
        step.children.push_back(identifiersExcept(child, depth + 1, first, rest));
        choice.children.push_back(std::move(step));
        taken.set(byte);
    }
    if ((here & ~taken).any()) {
        // Off every word: any identifier from here on.
        Node step(Node::Kind::Sequence);
        step.children.emplace_back(Node::Kind::Bytes);
        step.children.back().bytes = here & ~taken;
        Node more(Node::Kind::Repeat);
        more.max = kUnbounded;
        more.children.emplace_back(Node::Kind::Bytes);
        more.children.back().bytes = rest;
        step.children.push_back(std::move(more));
        choice.children.push_back(std::move(step));
    }
    return choice;
}

// A negative look-ahead for whole words before an identifier, as in
// "(?!(?:ERROR|INFO)\b)[A-Z][A-Za-z0-9_]*:", rules out exactly the identifiers that are one
// of the words: the identifier is all word characters and is followed by one that is
// not, so a word is followed by a word boundary there only when it is the whole
// identifier. Written as the identifiers that are none of the words, the pattern needs no
// look-ahead.
void excludeWords(Node& sequence, bool caseSensitive)
{
    static const ByteSet wordBytes = acceptedBytes(QStringLiteral("\\w"), true).value_or(ByteSet());
    std::vector<Node>& parts = sequence.children;
    for (std::size_t index = 0; caseSensitive && index + 2 < parts.size(); ++index) {
        if (parts[index].kind != Node::Kind::Assertion || parts[index].words.empty()) {
            continue;
        }
        // The identifier: "[A-Z][A-Za-z0-9_]*" (three parts with the look-ahead) or
        // "[A-Z]+" (two), then the character after it.
        const Node& head = parts[index + 1];
        const bool run = head.kind == Node::Kind::Repeat && head.min == 1 && head.max == kUnbounded
            && head.children.front().kind == Node::Kind::Bytes;
        const std::size_t taken = run ? 2 : 3;
        if (index + taken >= parts.size()) {
            continue;
        }
        const Node& rest = parts[index + (run ? 1 : 2)];
        const Node& after = parts[index + taken];
        if ((!run && head.kind != Node::Kind::Bytes) || rest.kind != Node::Kind::Repeat
            || rest.max != kUnbounded || rest.min != (run ? 1 : 0)
            || rest.children.front().kind != Node::Kind::Bytes || after.kind != Node::Kind::Bytes) {
            continue;
        }
        const ByteSet& first = run ? head.children.front().bytes : head.bytes;
        const ByteSet& more = rest.children.front().bytes;
        if (first.none() || more.none() || (first & ~wordBytes).any() || (more & ~wordBytes).any()
            || (after.bytes & wordBytes).any()) {
            continue;
        }
        // A word the identifier cannot spell rules nothing out.
        WordTrie trie;
        for (const std::string& word : parts[index].words) {
            bool spelt = true;
            for (std::size_t at = 0; at < word.size(); ++at) {
                spelt =
                    spelt && (at == 0 ? first : more).test(static_cast<unsigned char>(word[at]));
            }
            if (!spelt) {
                continue;
            }
            WordTrie* node = &trie;
            for (const char character : word) {
                node = &node->next[static_cast<unsigned char>(character)];
            }
            node->word = true;
        }
        Node identifiers = identifiersExcept(trie, 0, first, more);
        const auto begin = parts.begin() + static_cast<std::ptrdiff_t>(index);
        parts.erase(begin, begin + static_cast<std::ptrdiff_t>(taken));
        parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(index), std::move(identifiers));
    }
}

// Reads the dialect with the reference engine's own tokenizing rules (which characters
// an escape takes, where a class ends, that the first character of a class is literal,
// that `{,m}` and `{}` are quantifiers). Patterns come here only once the reference
// engine has accepted them, so a failure means only "not translated".
class Parser {
public:
    Parser(const QString& pattern, bool caseSensitive)
        : m_pattern(pattern)
        , m_caseSensitive(caseSensitive)
    {
    }

    std::optional<Node> parse()
    {
        Node root = parseAlternation();
        if (m_failed || !atEnd()) {
            return std::nullopt;
        }
        return root;
    }

private:
    bool atEnd() const { return m_position >= m_pattern.size(); }
    ushort peek() const { return m_pattern.at(m_position).unicode(); }
    void fail() { m_failed = true; }

    Node parseAlternation()
    {
        Node alternation(Node::Kind::Alternation);
        alternation.children.push_back(parseSequence());
        while (!m_failed && !atEnd() && peek() == '|') {
            ++m_position;
            alternation.children.push_back(parseSequence());
        }
        if (alternation.children.size() == 1) {
            return std::move(alternation.children.front());
        }
        return alternation;
    }

    Node parseSequence()
    {
        Node sequence(Node::Kind::Sequence);
        while (!m_failed && !atEnd() && peek() != '|' && peek() != ')') {
            sequence.children.push_back(parseFactor());
        }
        absorbLookAheads(sequence);
        excludeWords(sequence, m_caseSensitive);
        return sequence;
    }

    Node parseFactor()
    {
        Node atom = parseAtom();
        if (m_failed || atEnd()) {
            return atom;
        }
        int min = 0;
        int max = 0;
        switch (peek()) {
        case '*':
            max = kUnbounded;
            ++m_position;
            break;
        case '+':
            min = 1;
            max = kUnbounded;
            ++m_position;
            break;
        case '?':
            max = 1;
            ++m_position;
            break;
        case '{':
            if (!readInterval(min, max)) {
                fail();
            }
            break;
        default:
            return atom;
        }
        Node repeat(Node::Kind::Repeat);
        repeat.min = min;
        repeat.max = max;
        repeat.children.push_back(std::move(atom));
        return repeat;
    }

    // `{m}`, `{m,}`, `{,n}`, `{m,n}` and `{}` (zero times), leaving the position after '}'.
    bool readInterval(int& min, int& max)
    {
        ++m_position;
        min = readCount(0);
        max = min;
        if (!atEnd() && peek() == ',') {
            ++m_position;
            max = readCount(kUnbounded);
        }
        if (atEnd() || peek() != '}' || max < min) {
            return false;
        }
        ++m_position;
        return true;
    }

    int readCount(int absent)
    {
        if (atEnd() || peek() < '0' || peek() > '9') {
            return absent;
        }
        int count = 0;
        while (!atEnd() && peek() >= '0' && peek() <= '9') {
            count = count * 10 + (peek() - '0');
            if (count >= kUnbounded) {
                fail();
                return absent;
            }
            ++m_position;
        }
        return count;
    }

    Node parseAtom()
    {
        const int start = m_position;
        const ushort character = peek();
        ++m_position;
        switch (character) {
        case '^':
            return Node(Node::Kind::StartOfText);
        case '$':
            return Node(Node::Kind::EndOfText);
        case '(':
            return parseGroup();
        case '.': {
            Node any(Node::Kind::Bytes);
            any.bytes.set();
            return any;
        }
        case '[':
            skipClass();
            return bytesOf(start);
        case '\\':
            return parseEscape(start);
        case '*':
        case '+':
        case '?':
        case '{':
        case '}':
        case ']':
            fail();
            return Node();
        default:
            if (m_caseSensitive && character < 256) {
                Node literal(Node::Kind::Bytes);
                literal.bytes.set(character);
                return literal;
            }
            return bytesOf(start);
        }
    }

    Node parseGroup()
    {
        Node::Kind kind = Node::Kind::Capture;
        ushort marker = 0;
        if (!atEnd() && peek() == '?') {
            kind = Node::Kind::Sequence;
            ++m_position;
            if (atEnd()) {
                fail();
                return Node();
            }
            marker = peek();
            ++m_position;
            if (marker == '=' || marker == '!') {
                kind = Node::Kind::Assertion;
            } else if (marker != ':') {
                fail();
                return Node();
            }
        }
        // Groups are numbered in the order they open.
        const int number = kind == Node::Kind::Capture ? ++m_captureCount : 0;
        const int innerStart = m_position;
        Node inner = parseAlternation();
        if (m_failed || atEnd() || peek() != ')') {
            fail();
            return Node();
        }
        ++m_position;
        if (kind == Node::Kind::Assertion) {
            const Node* single = &inner;
            if (single->kind == Node::Kind::Sequence && single->children.size() == 1) {
                single = &single->children.front();
            }
            if (marker == '=' && single->kind == Node::Kind::Bytes) {
                Node next(Node::Kind::NextCharacter);
                next.bytes = single->bytes;
                return next;
            }
            Node assertion(Node::Kind::Assertion);
            if (marker == '!') {
                assertion.words =
                    wordsBeforeBoundary(m_pattern.mid(innerStart, m_position - 1 - innerStart));
            }
            return assertion;
        }
        if (kind == Node::Kind::Capture) {
            Node capture(Node::Kind::Capture);
            capture.capture = number;
            capture.children.push_back(std::move(inner));
            return capture;
        }
        return inner;
    }

    Node parseEscape(int start)
    {
        if (atEnd()) {
            fail();
            return Node();
        }
        const ushort escaped = peek();
        if (escaped == 'b' || escaped == 'B') {
            ++m_position;
            return Node(Node::Kind::Assertion);
        }
        if (escaped >= '1' && escaped <= '9') {
            skipEscape();
            return Node(Node::Kind::BackReference);
        }
        skipEscape();
        return bytesOf(start);
    }

    // Steps over the rest of an escape whose backslash is already behind the position:
    // `\0` takes up to three octal digits, `\x` up to four hexadecimal ones, a
    // back-reference all following digits, anything else one character.
    void skipEscape()
    {
        const ushort escaped = peek();
        ++m_position;
        if (escaped == '0') {
            for (int digit = 0; digit < 3 && !atEnd() && peek() >= '0' && peek() <= '7'; ++digit) {
                ++m_position;
            }
        } else if (escaped == 'x') {
            for (int digit = 0; digit < 4 && !atEnd() && isHexDigit(peek()); ++digit) {
                ++m_position;
            }
        } else if (escaped >= '1' && escaped <= '9') {
            while (!atEnd() && peek() >= '0' && peek() <= '9') {
                ++m_position;
            }
        }
    }

    bool isHexDigit(ushort character) const
    {
        const ushort lower = QChar(character).toLower().unicode();
        return (lower >= '0' && lower <= '9') || (lower >= 'a' && lower <= 'f');
    }

    // A class runs to the first ']' that is not its first member; a negating '^' does
    // not count as a member.
    void skipClass()
    {
        if (!atEnd() && peek() == '^') {
            ++m_position;
        }
        do {
            if (atEnd()) {
                fail();
                return;
            }
            if (peek() == '\\') {
                ++m_position;
                if (atEnd()) {
                    fail();
                    return;
                }
                skipEscape();
            } else {
                ++m_position;
            }
        } while (!atEnd() && peek() != ']');
        if (atEnd()) {
            fail();
            return;
        }
        ++m_position;
    }

    Node bytesOf(int start)
    {
        if (m_failed) {
            return Node();
        }
        const std::optional<ByteSet> bytes =
            acceptedBytes(m_pattern.mid(start, m_position - start), m_caseSensitive);
        if (!bytes) {
            fail();
            return Node();
        }
        Node node(Node::Kind::Bytes);
        node.bytes = *bytes;
        return node;
    }

    const QString& m_pattern;
    bool m_caseSensitive;
    int m_position = 0;
    int m_captureCount = 0;
    bool m_failed = false;
};

void appendByte(std::string& out, std::size_t byte)
{
    static const char kHex[] = "0123456789abcdef";
    out += "\\x";
    out += kHex[byte >> 4];
    out += kHex[byte & 15];
}

// Writes the automaton form of a tree; `exact` turns false at the first construct the
// automaton can only over-approximate.
class Writer {
public:
    bool write(const Node& node, std::string& out) { return append(node, out, 0); }
    bool exact() const { return m_exact; }

private:
    bool append(const Node& node, std::string& out, int repeatDepth)
    {
        switch (node.kind) {
        case Node::Kind::Bytes:
            return appendBytes(node.bytes, out);
        case Node::Kind::Capture:
            return append(node.children.front(), out, repeatDepth);
        case Node::Kind::Sequence:
            for (const Node& child : node.children) {
                if (!append(child, out, repeatDepth)) {
                    return false;
                }
            }
            return true;
        case Node::Kind::Alternation:
            // Each alternative in a group of its own: left bare, alternatives that begin
            // with the same characters get that prefix pulled out by the automaton's
            // parser, which in its Latin-1 mode then matches a byte of 0x80 or more as
            // two UTF-8 bytes, and never matches ("\xa0b|\xa0" never found "\xa0").
            out += "(?:";
            for (std::size_t index = 0; index < node.children.size(); ++index) {
                out += index > 0 ? "|(" : "(";
                if (!append(node.children[index], out, repeatDepth)) {
                    return false;
                }
                out += ')';
            }
            out += ')';
            return true;
        case Node::Kind::Repeat:
            return appendRepeat(node, out, repeatDepth);
        case Node::Kind::StartOfText:
        case Node::Kind::EndOfText:
            // An anchor under a quantifier is dropped: the superset keeps the rest.
            if (repeatDepth > 0) {
                m_exact = false;
            } else {
                out += node.kind == Node::Kind::StartOfText ? "\\A" : "\\z";
            }
            return true;
        case Node::Kind::Assertion:
        case Node::Kind::NextCharacter:
            m_exact = false;
            return true;
        case Node::Kind::BackReference:
            m_exact = false;
            out += "[\\x00-\\xff]*";
            return true;
        }
        return false;
    }

    bool appendRepeat(const Node& node, std::string& out, int repeatDepth)
    {
        // The reference engine takes `{0}` and `{0,0}` as "nothing at all".
        if (node.max == 0) {
            return true;
        }
        if (node.min > kLargestAutomatonRepeat
            || (node.max != kUnbounded && node.max > kLargestAutomatonRepeat)) {
            return false;
        }
        out += "(?:";
        if (!append(node.children.front(), out, repeatDepth + 1)) {
            return false;
        }
        out += "){" + std::to_string(node.min) + ',';
        if (node.max != kUnbounded) {
            out += std::to_string(node.max);
        }
        out += '}';
        return true;
    }

    static bool appendBytes(const ByteSet& bytes, std::string& out)
    {
        if (bytes.none()) {
            return false;
        }
        if (bytes.count() == 1) {
            for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
                if (bytes.test(byte)) {
                    appendByte(out, byte);
                }
            }
            return true;
        }
        out += '[';
        std::size_t byte = 0;
        while (byte < bytes.size()) {
            if (!bytes.test(byte)) {
                ++byte;
                continue;
            }
            std::size_t last = byte;
            while (last + 1 < bytes.size() && bytes.test(last + 1)) {
                ++last;
            }
            appendByte(out, byte);
            if (last > byte) {
                out += '-';
                appendByte(out, last);
            }
            byte = last + 1;
        }
        out += ']';
        return true;
    }

    bool m_exact = true;
};

// The characters a node surely ends on a run of, as in "(\d+)": an unbounded repetition
// of one character set, last in the node, maybe inside groups; none otherwise.
std::optional<ByteSet> endingRun(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::Repeat:
        if (node.max == kUnbounded && node.children.front().kind == Node::Kind::Bytes) {
            return node.children.front().bytes;
        }
        return std::nullopt;
    case Node::Kind::Capture:
        return endingRun(node.children.front());
    case Node::Kind::Sequence:
        return node.children.empty() ? std::nullopt : endingRun(node.children.back());
    default:
        return std::nullopt;
    }
}

// Builds the position automaton of a tree for a CaptureReader: one state per character
// set, repetitions with counts written out as that many copies.
//
// A run followed by a repetition that reads all its characters and more, as in
// "(\d+)[^\r\n]*", can be split between the two in as many ways as the run is long. QRegExp
// ends a group as late as it can, so the groups that end with the run take all of it: the
// automaton lets the repetition start only on a character the run cannot read, which
// matches the same texts ("\d+(?:[^\d\r\n][^\r\n]*)?") and leaves that one split.
class CaptureReaderBuilder {
public:
    std::shared_ptr<const CaptureReader> build(const Node& root)
    {
        std::vector<const Node*> parts;
        if (root.kind == Node::Kind::Sequence) {
            for (const Node& child : root.children) {
                parts.push_back(&child);
            }
        } else {
            parts.push_back(&root);
        }
        // A match the search found already stands where its anchors allow.
        CaptureReader::Shape shape;
        if (!parts.empty() && parts.front()->kind == Node::Kind::StartOfText) {
            parts.erase(parts.begin());
            shape.startAnchored = true;
        }
        if (!parts.empty() && parts.back()->kind == Node::Kind::EndOfText) {
            parts.pop_back();
            shape.endAnchored = true;
        }
        const Piece whole = sequenceOf(parts, 0);
        shape.mayBeEmpty = whole.mayBeEmpty;
        if (m_failed || m_groupMayBeEmpty.size() > 64) {
            return nullptr;
        }
        for (const bool known : m_groupKnown) {
            if (!known) {
                return nullptr;
            }
        }
        return std::make_shared<const CaptureReader>(
            m_states, m_follow, whole.first, whole.last, m_groupMayBeEmpty, shape);
    }

private:
    // The largest automaton worth building; a pattern beyond it keeps QRegExp's groups.
    static constexpr std::size_t kMostStates = 2048;

    struct Piece {
        bool mayBeEmpty = true;
        std::vector<int> first;
        std::vector<int> last;
    };

    static Piece empty() { return Piece {}; }

    void link(const std::vector<int>& from, const std::vector<int>& to)
    {
        for (const int state : from) {
            auto& next = m_follow[static_cast<std::size_t>(state)];
            next.insert(next.end(), to.begin(), to.end());
        }
    }

    Piece sequence(const Piece& before, const Piece& after)
    {
        link(before.last, after.first);
        Piece joined;
        joined.mayBeEmpty = before.mayBeEmpty && after.mayBeEmpty;
        joined.first = before.first;
        if (before.mayBeEmpty) {
            joined.first.insert(joined.first.end(), after.first.begin(), after.first.end());
        }
        joined.last = after.last;
        if (after.mayBeEmpty) {
            joined.last.insert(joined.last.end(), before.last.begin(), before.last.end());
        }
        return joined;
    }

    static Piece either(Piece one, const Piece& other)
    {
        one.mayBeEmpty = one.mayBeEmpty || other.mayBeEmpty;
        one.first.insert(one.first.end(), other.first.begin(), other.first.end());
        one.last.insert(one.last.end(), other.last.begin(), other.last.end());
        return one;
    }

    Piece piece(const Node& node, std::uint64_t groups)
    {
        if (m_failed) {
            return empty();
        }
        switch (node.kind) {
        case Node::Kind::Bytes: {
            if (m_states.size() >= kMostStates) {
                m_failed = true;
                return empty();
            }
            const int state = static_cast<int>(m_states.size());
            m_states.push_back({ node.bytes, groups });
            m_follow.emplace_back();
            Piece single;
            single.mayBeEmpty = false;
            single.first = { state };
            single.last = { state };
            return single;
        }
        case Node::Kind::Capture: {
            const auto index = static_cast<std::size_t>(node.capture - 1);
            if (index >= 64) {
                m_failed = true;
                return empty();
            }
            if (m_groupMayBeEmpty.size() <= index) {
                m_groupMayBeEmpty.resize(index + 1, false);
                m_groupKnown.resize(index + 1, false);
            }
            Piece inner = piece(node.children.front(), groups | (std::uint64_t { 1 } << index));
            // A group written out in two alternatives may be empty if either copy may.
            m_groupMayBeEmpty[index] = m_groupMayBeEmpty[index] || inner.mayBeEmpty;
            m_groupKnown[index] = true;
            return inner;
        }
        case Node::Kind::Sequence: {
            std::vector<const Node*> parts;
            for (const Node& child : node.children) {
                parts.push_back(&child);
            }
            return sequenceOf(parts, groups);
        }
        case Node::Kind::Alternation: {
            Piece any = piece(node.children.front(), groups);
            for (std::size_t index = 1; index < node.children.size(); ++index) {
                any = either(std::move(any), piece(node.children[index], groups));
            }
            return any;
        }
        case Node::Kind::Repeat:
            return repeat(node, groups);
        case Node::Kind::StartOfText:
        case Node::Kind::EndOfText:
        case Node::Kind::Assertion:
        case Node::Kind::NextCharacter:
        case Node::Kind::BackReference:
            break;
        }
        m_failed = true;
        return empty();
    }

    Piece sequenceOf(const std::vector<const Node*>& parts, std::uint64_t groups)
    {
        Piece joined = empty();
        for (std::size_t index = 0; index < parts.size(); ++index) {
            const Node& part = *parts[index];
            const std::optional<ByteSet> run =
                index > 0 ? endingRun(*parts[index - 1]) : std::nullopt;
            const bool tailAfterRun = run && part.kind == Node::Kind::Repeat && part.min == 0
                && part.max == kUnbounded && part.children.front().kind == Node::Kind::Bytes
                && (*run & ~part.children.front().bytes).none();
            joined = sequence(joined,
                tailAfterRun ? tailAfter(*run, part.children.front().bytes, groups)
                             : piece(part, groups));
        }
        return joined;
    }

    // What may follow a run of `run` characters out of a repetition of `tail` characters,
    // all of them among `tail`: nothing, or a character the run cannot read and then any
    // of the repetition's.
    Piece tailAfter(const ByteSet& run, const ByteSet& tail, std::uint64_t groups)
    {
        Node first(Node::Kind::Bytes);
        first.bytes = tail & ~run;
        if (first.bytes.none()) {
            return empty();
        }
        Node rest(Node::Kind::Bytes);
        rest.bytes = tail;
        Piece loop = piece(rest, groups);
        link(loop.last, loop.first);
        loop.mayBeEmpty = true;
        Piece optional = sequence(piece(first, groups), loop);
        optional.mayBeEmpty = true;
        return optional;
    }

    // x{m,n} as m copies of x, then n - m nested optional copies, or a looping copy when
    // n is unbounded. A group would be copied, and read once per pass: left to QRegExp.
    Piece repeat(const Node& node, std::uint64_t groups)
    {
        const Node& child = node.children.front();
        if (node.max == 0) {
            m_failed = m_failed || holdsCapture(child);
            return empty();
        }
        if (node.max > 1 && holdsCapture(child)) {
            m_failed = true;
            return empty();
        }
        Piece joined = empty();
        for (int copy = 0; copy < node.min; ++copy) {
            joined = sequence(joined, piece(child, groups));
        }
        if (node.max == kUnbounded) {
            Piece loop = piece(child, groups);
            link(loop.last, loop.first);
            loop.mayBeEmpty = true;
            return sequence(joined, loop);
        }
        // The optional copies, innermost first: (x(x(x)?)?)?
        Piece optional = empty();
        for (int copy = node.min; copy < node.max; ++copy) {
            Piece one = piece(child, groups);
            optional = sequence(one, optional);
            optional.mayBeEmpty = true;
        }
        return sequence(joined, optional);
    }

    std::vector<CaptureReader::State> m_states;
    std::vector<std::vector<int>> m_follow;
    std::vector<bool> m_groupMayBeEmpty;
    std::vector<bool> m_groupKnown;
    bool m_failed = false;
};

// The characters a node's matches may begin with, and whether it may match the empty
// string; nothing for a zero-width construct or an anchor, whose effect is not followed.
struct FirstCharacters {
    ByteSet bytes;
    bool mayBeEmpty = false;
};

std::optional<FirstCharacters> firstCharacters(const Node& node);

std::optional<FirstCharacters> firstOfSequence(
    std::vector<Node>::const_iterator begin, std::vector<Node>::const_iterator end)
{
    FirstCharacters first;
    first.mayBeEmpty = true;
    for (auto child = begin; child != end && first.mayBeEmpty; ++child) {
        const std::optional<FirstCharacters> next = firstCharacters(*child);
        if (!next) {
            return std::nullopt;
        }
        first.bytes |= next->bytes;
        first.mayBeEmpty = next->mayBeEmpty;
    }
    return first;
}

std::optional<FirstCharacters> firstCharacters(const Node& node)
{
    switch (node.kind) {
    case Node::Kind::Bytes:
        return FirstCharacters { node.bytes, false };
    case Node::Kind::Sequence:
        return firstOfSequence(node.children.begin(), node.children.end());
    case Node::Kind::Alternation: {
        FirstCharacters first;
        for (const Node& child : node.children) {
            const std::optional<FirstCharacters> next = firstCharacters(child);
            if (!next) {
                return std::nullopt;
            }
            first.bytes |= next->bytes;
            first.mayBeEmpty = first.mayBeEmpty || next->mayBeEmpty;
        }
        return first;
    }
    case Node::Kind::Repeat: {
        if (node.max == 0) {
            return FirstCharacters { ByteSet(), true };
        }
        std::optional<FirstCharacters> first = firstCharacters(node.children.front());
        if (first) {
            first->mayBeEmpty = first->mayBeEmpty || node.min == 0;
        }
        return first;
    }
    case Node::Kind::Capture:
        return firstCharacters(node.children.front());
    default:
        return std::nullopt;
    }
}

// "^", maybe a run of one character set, then a part that reads at least one character
// and cannot begin with one of the run's: a match takes the whole run and goes on with
// the part's first character.
std::optional<TranslatedPattern::Opening> openingOf(const Node& root)
{
    if (root.kind != Node::Kind::Sequence || root.children.empty()
        || root.children.front().kind != Node::Kind::StartOfText) {
        return std::nullopt;
    }
    auto rest = root.children.begin() + 1;
    TranslatedPattern::Opening opening;
    if (rest != root.children.end() && rest->kind == Node::Kind::Repeat && rest->min == 0
        && rest->max == kUnbounded && rest->children.front().kind == Node::Kind::Bytes) {
        opening.skipped = rest->children.front().bytes;
        ++rest;
    }
    const std::optional<FirstCharacters> first = firstOfSequence(rest, root.children.end());
    if (!first || first->mayBeEmpty || (first->bytes & opening.skipped).any()) {
        return std::nullopt;
    }
    opening.first = first->bytes;
    return opening;
}

} // namespace

TranslatedPattern translatePattern(const QString& pattern, bool caseSensitive)
{
    TranslatedPattern translated;
    const std::optional<Node> tree = Parser(pattern, caseSensitive).parse();
    if (!tree) {
        return translated;
    }
    Writer writer;
    std::string text;
    if (!writer.write(*tree, text)) {
        return translated;
    }
    translated.fidelity =
        writer.exact() ? TranslatedPattern::Fidelity::Exact : TranslatedPattern::Fidelity::Superset;
    translated.text = std::move(text);
    translated.opening = openingOf(*tree);
    if (writer.exact()) {
        translated.captures = CaptureReaderBuilder().build(*tree);
    }
    return translated;
}

} // namespace zefa::msg_filter::impl_detail
