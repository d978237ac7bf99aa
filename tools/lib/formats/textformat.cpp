#include "textformat.h"

#include "ansicolor.h"
#include "displaytext.h"
#include "messagereview.h"

#include <algorithm>
#include <charconv>

namespace zefa::msg_filter::tool {

namespace {

// Appends text.toUtf8(), without a copy of its own where the text is ASCII.
void appendUtf8(QByteArray& out, const QString& text)
{
    const bool ascii = std::all_of(
        text.cbegin(), text.cend(), [](QChar character) { return character.unicode() < 0x80; });
    if (!ascii) {
        out += text.toUtf8();
        return;
    }
    const int start = out.size();
    out.resize(start + text.size());
    std::transform(text.cbegin(), text.cend(), out.data() + start,
        [](QChar character) { return static_cast<char>(character.unicode()); });
}

// Appends visibleText(text) in UTF-8. Returns false, having appended part of it, when
// the text holds a surrogate: only the conversion of the whole string says what an
// unpaired one becomes.
bool appendVisibleUtf8(QByteArray& out, const QString& text)
{
    static const char kHex[] = "0123456789ABCDEF";
    // No character takes more than four bytes ("\\xHH"); the array is cut to size after.
    const int start = out.size();
    out.resize(start + 4 * text.size());
    char* write = out.data() + start;
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if ((code < 0x20 && code != '\t') || code == 0x7f) {
            *write++ = '\\';
            *write++ = 'x';
            *write++ = kHex[code >> 4];
            *write++ = kHex[code & 15];
        } else if (code < 0x80) {
            *write++ = static_cast<char>(code);
        } else if (code < 0x800) {
            *write++ = static_cast<char>(0xc0 | (code >> 6));
            *write++ = static_cast<char>(0x80 | (code & 0x3f));
        } else if (QChar::isSurrogate(code)) {
            return false;
        } else {
            *write++ = static_cast<char>(0xe0 | (code >> 12));
            *write++ = static_cast<char>(0x80 | ((code >> 6) & 0x3f));
            *write++ = static_cast<char>(0x80 | (code & 0x3f));
        }
    }
    out.resize(static_cast<int>(write - out.data()));
    return true;
}

} // namespace

TextFormat::TextFormat(const FormatOptions& options)
    : m_color(options.color)
    , m_review(options.review)
{
}

QByteArray TextFormat::message(const ClassifiedLine& line)
{
    if (line.waived) {
        return {};
    }
    // The template below reads a '%' in the file name as a place marker; such a name
    // keeps going through it.
    if (!line.file.contains(QLatin1Char('%'))) {
        if (line.file != m_file) {
            m_file = line.file;
            m_visibleFile = visibleText(line.file).toUtf8();
        }
        QByteArray out;
        out.reserve(m_visibleFile.size() + 3 * line.rule.size() + 4 * line.text.size() + 64);
        out += m_visibleFile;
        out += ':';
        char number[24];
        out.append(number,
            static_cast<int>(
                std::to_chars(number, number + sizeof number, line.number).ptr - number));
        out += ": ";
        if (line.severity != m_severity) {
            m_severity = line.severity;
            m_coloredSeverity =
                colored(severityName(line.severity), line.severity, m_color).toUtf8();
        }
        out += m_coloredSeverity;
        out += " [";
        appendUtf8(out, line.rule);
        out += "] ";
        if (appendVisibleUtf8(out, line.text)) {
            out += '\n';
            return out;
        }
    }
    return QStringLiteral("%1:%2: %3 [%4] ")
               .arg(visibleText(line.file))
               .arg(line.number)
               .arg(colored(severityName(line.severity), line.severity, m_color), line.rule)
               .toUtf8()
        + visibleText(line.text).toUtf8() + '\n';
}

QByteArray TextFormat::finish(const ClassificationSummary& summary)
{
    const auto count = [](long long value, int width) {
        return QStringLiteral("%1").arg(value, width);
    };
    long long messages = 0;
    for (long long value : summary.bySeverity) {
        messages += value;
    }
    QString text = QStringLiteral("\n%1 lines, %2 messages\n").arg(summary.lines).arg(messages);
    for (Severity severity :
        { Severity::Error, Severity::CriticalWarning, Severity::Warning, Severity::Info }) {
        const QString name = severityName(severity);
        text += QStringLiteral("  %1%2%3\n")
                    .arg(colored(name, severity, m_color))
                    .arg(QString(18 - name.size(), QLatin1Char(' ')))
                    .arg(count(summary.bySeverity[static_cast<size_t>(severity)], 8));
    }
    if (!summary.byRule.empty()) {
        int width = 4;
        for (const auto& entry : summary.byRule) {
            width = std::max(width, static_cast<int>(entry.first.size()));
        }
        text += QStringLiteral("  %1   Error  Critical Warning  Warning     Info\n")
                    .arg(QStringLiteral("rule"), -width);
        for (const auto& [rule, counts] : summary.byRule) {
            text += QStringLiteral("  %1 %2 %3 %4 %5\n")
                        .arg(displayText(rule), -width)
                        .arg(count(counts[static_cast<size_t>(Severity::Error)], 7))
                        .arg(count(counts[static_cast<size_t>(Severity::CriticalWarning)], 17))
                        .arg(count(counts[static_cast<size_t>(Severity::Warning)], 8))
                        .arg(count(counts[static_cast<size_t>(Severity::Info)], 8));
        }
    }
    if (summary.ruleWithoutSubRule > 0) {
        text += QStringLiteral("  %1 lines fit a rule but none of its sub-rules\n")
                    .arg(summary.ruleWithoutSubRule);
    }
    if (m_review != nullptr && m_review->hasWaivers()) {
        text += QStringLiteral("  %1 waived\n").arg(summary.waived);
    }
    if (m_review != nullptr && m_review->hasBaseline()) {
        text += QStringLiteral("  %1 new, %2 known, %3 fixed since the baseline\n")
                    .arg(summary.newMessages)
                    .arg(summary.knownMessages)
                    .arg(m_review->fixed().size());
    }
    return text.toUtf8();
}

std::unique_ptr<MessageFormat> TextFormat::forPiece() const
{
    // A message's line depends on nothing but the message and the options.
    return std::make_unique<TextFormat>(*this);
}

} // namespace zefa::msg_filter::tool
