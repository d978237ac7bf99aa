#include "inputclassifier.h"

#include "formats/messageformat.h"
#include "messagereview.h"

#include <QIODevice>
#include <QThreadPool>

#include <algorithm>
#include <deque>
#include <future>
#include <memory>
#include <optional>
#include <utility>

namespace zefa::msg_filter::tool {

namespace {

// Input is read, and read by the rules, in pieces of this size.
constexpr qint64 kChunkBytes = 256 * 1024;

} // namespace

// A piece read on a thread of its own: its lines, and their output when the piece's own
// format wrote it there.
struct InputClassifier::Piece {
    LineBatch batch;
    std::optional<QByteArray> output;
};

InputClassifier::InputClassifier(const RulesSelection& rules, MessageFormat& format, QString name,
    ClassificationSummary& summary, int jobs)
    : m_reader(rules)
    , m_format(format)
    , m_name(std::move(name))
    , m_summary(summary)
    , m_jobs(std::max(1, jobs))
{
}

QByteArray InputClassifier::takeCompleteLines(const QByteArray& chunk)
{
    // The partial line holds no line feed: the last one is the chunk's.
    const int lastLineFeed = chunk.lastIndexOf('\n');
    if (lastLineFeed < 0) {
        m_partial.append(chunk);
        return {};
    }
    // A chunk that ends its last line, after no partial one, is shared, not copied.
    QByteArray complete = m_partial.isEmpty() ? chunk.left(lastLineFeed + 1)
                                              : m_partial + chunk.left(lastLineFeed + 1);
    m_partial = chunk.mid(lastLineFeed + 1);
    return complete;
}

QByteArray InputClassifier::feed(const QByteArray& chunk)
{
    return report({ m_reader.read(takeCompleteLines(chunk), description()), std::nullopt });
}

QByteArray InputClassifier::finish()
{
    return report({ m_reader.read(std::exchange(m_partial, {}), description()), std::nullopt });
}

void InputClassifier::feedAll(QIODevice& input,
    const std::function<void(const QByteArray& output, qint64 bytesRead)>& written)
{
    // Pieces being read by the rules, oldest first, with the bytes read up to each.
    std::deque<std::pair<std::future<Piece>, qint64>> reading;
    const auto reportOldest = [&]() {
        auto [piece, bytesRead] = std::move(reading.front());
        reading.pop_front();
        written(report(piece.get()), bytesRead);
    };
    // Without a review, a message's output depends on nothing but the message, so a
    // format that can be copied writes each piece's messages on the piece's thread; the
    // lines are numbered there from the lines handed out before.
    const std::unique_ptr<MessageFormat> pieceFormat =
        m_review == nullptr ? m_format.forPiece() : nullptr;
    long long linesHandedOut = m_lineNumber;
    // The same threads read every piece, so what a thread keeps for itself (the rules'
    // automata among it) is built once, not once per piece.
    QThreadPool threads;
    threads.setMaxThreadCount(m_jobs);
    qint64 done = 0;
    while (true) {
        const QByteArray chunk = input.read(kChunkBytes);
        if (chunk.isEmpty()) {
            break;
        }
        done += chunk.size();
        if (m_jobs == 1) {
            written(feed(chunk), done);
            continue;
        }
        QByteArray lines = takeCompleteLines(chunk);
        const long long first = linesHandedOut + 1;
        linesHandedOut += std::count(lines.cbegin(), lines.cend(), '\n');
        auto task = std::make_shared<std::packaged_task<Piece()>>(
            [this, lines = std::move(lines), first, description = description(),
                format = pieceFormat ? pieceFormat->forPiece() : nullptr]() {
                Piece piece { m_reader.read(lines, description), std::nullopt };
                if (format) {
                    piece.output = write(piece.batch, first, *format);
                    keepCountsOnly(piece.batch);
                }
                return piece;
            });
        reading.emplace_back(task->get_future(), done);
        threads.start([task]() { (*task)(); });
        while (static_cast<int>(reading.size()) > m_jobs) {
            reportOldest();
        }
    }
    while (!reading.empty()) {
        reportOldest();
    }
}

LineReader::Description InputClassifier::description() const
{
    // A review keys messages by their id and text; formats may show them.
    if (m_review != nullptr || m_format.readsDescription()) {
        return LineReader::Description::Made;
    }
    return m_format.readsFields() ? LineReader::Description::FieldsOnly
                                  : LineReader::Description::Skipped;
}

QByteArray InputClassifier::write(LineBatch& batch, long long first, MessageFormat& format) const
{
    QByteArray output;
    for (LineBatch::Recognised& recognised : batch.recognised) {
        recognised.line.file = m_name;
        recognised.line.number = first + recognised.index;
        output += format.message(recognised.line);
    }
    return output;
}

QByteArray InputClassifier::report(Piece piece)
{
    LineBatch& batch = piece.batch;
    const long long first = m_lineNumber + 1;
    m_lineNumber += batch.lines;
    m_summary.lines += batch.lines;
    m_summary.ruleWithoutSubRule += batch.ruleWithoutSubRule;
    if (piece.output) {
        for (const LineBatch::Recognised& recognised : batch.recognised) {
            count(recognised.line, *recognised.rule);
        }
        return *piece.output;
    }
    QByteArray output;
    for (LineBatch::Recognised& recognised : batch.recognised) {
        recognised.line.file = m_name;
        recognised.line.number = first + recognised.index;
        if (m_review != nullptr) {
            m_review->review(recognised.line);
        }
        count(recognised.line, *recognised.rule);
        output += m_format.message(recognised.line);
    }
    return output;
}

void InputClassifier::keepCountsOnly(LineBatch& batch)
{
    for (LineBatch::Recognised& recognised : batch.recognised) {
        ClassifiedLine counted;
        counted.severity = recognised.line.severity;
        counted.waived = recognised.line.waived;
        counted.baseline = recognised.line.baseline;
        recognised.line = std::move(counted);
    }
}

void InputClassifier::count(const ClassifiedLine& line, const std::string& rule)
{
    // A waived line is accepted: it counts nowhere but in the waived count.
    if (line.waived) {
        ++m_summary.waived;
        return;
    }
    const auto index = static_cast<size_t>(line.severity);
    ++m_summary.bySeverity[index];
    ++m_summary.byRule[rule][index];
    m_summary.highest = std::max(m_summary.highest, line.severity);
    if (line.baseline == BaselineState::New) {
        ++m_summary.newMessages;
        m_summary.highestNew = std::max(m_summary.highestNew, line.severity);
    } else if (line.baseline == BaselineState::Known) {
        ++m_summary.knownMessages;
    }
}

} // namespace zefa::msg_filter::tool
