#pragma once

#include "classification.h"
#include "linereader.h"
#include "rulesselection.h"

#include <QByteArray>
#include <QString>

#include <functional>

class QIODevice;

namespace zefa::msg_filter::tool {

class MessageFormat;
class MessageReview;

/// Classifies the lines of one input with the selected rules and hands each line the
/// rules recognise to a format.
///
/// Lines are numbered from 1 per input; a last line without a line feed counts too.
/// Every line is added to the summary, which several inputs may share. With more than one
/// job, feedAll() reads pieces of the input on that many threads at once; review and
/// counting stay on the calling thread, in input order, and so does formatting unless
/// there is no review and the format writes each message alone (MessageFormat::forPiece),
/// so the output is the same bytes for any number of jobs.
class InputClassifier {
public:
    InputClassifier(const RulesSelection& rules, MessageFormat& format, QString name,
        ClassificationSummary& summary, int jobs = 1);
    InputClassifier(const InputClassifier&) = delete;
    InputClassifier& operator=(const InputClassifier&) = delete;

    /// Classifies every complete line of `chunk`, NUL bytes included; a trailing
    /// partial line waits for the next chunk. Returns the format's output for these
    /// lines.
    QByteArray feed(const QByteArray& chunk);

    /// Classifies the last line when it has no line feed.
    QByteArray finish();

    /// Feeds everything `input` gives, in pieces, up to its end or a read error (the
    /// caller asks the device which). After each piece `written` gets that piece's
    /// output and the bytes read so far. Does not call finish().
    void feedAll(QIODevice& input,
        const std::function<void(const QByteArray& output, qint64 bytesRead)>& written);

    /// Lines classified so far.
    long long lines() const { return m_lineNumber; }

    /// Has every recognised line reviewed against waivers and a baseline before it is
    /// counted and formatted; waived lines are counted apart. Null: no review.
    void setReview(MessageReview* review) { m_review = review; }

private:
    /// Whether recognised lines need what describeMessage() derives.
    LineReader::Description description() const;
    /// The complete lines of what arrived so far; the partial last line stays behind.
    QByteArray takeCompleteLines(const QByteArray& chunk);
    struct Piece;

    /// Numbers, reviews, counts and formats a piece's lines, or counts them only where
    /// the piece's own format wrote them.
    QByteArray report(Piece piece);
    /// Numbers a batch's lines from `first` and writes them with `format`.
    QByteArray write(LineBatch& batch, long long first, MessageFormat& format) const;
    void count(const ClassifiedLine& line, const std::string& rule);
    /// Leaves of each line what count() reads. A piece's thread does this to the lines
    /// it wrote, so that what it made is freed there and not on the calling thread.
    static void keepCountsOnly(LineBatch& batch);

    const LineReader m_reader;
    MessageFormat& m_format;
    const QString m_name;
    ClassificationSummary& m_summary;
    const int m_jobs;
    MessageReview* m_review = nullptr;
    long long m_lineNumber = 0;
    QByteArray m_partial;
};

} // namespace zefa::msg_filter::tool
