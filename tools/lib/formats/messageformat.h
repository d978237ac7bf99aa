#pragma once

#include "classification.h"
#include "failurepolicy.h"
#include "messagesummary.h"
#include "sourceuri.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

namespace zefa::msg_filter::tool {

/// How classify writes what it recognised: one object per output format.
///
/// `message` is called once per recognised line, in input order, and its bytes are
/// written at once; `finish` once after the last input. A format that needs every
/// message before it can write (a single document) keeps them and writes in `finish`.
class MessageFormat {
public:
    virtual ~MessageFormat();

    virtual QByteArray message(const ClassifiedLine& line) = 0;
    virtual QByteArray finish(const ClassificationSummary& summary) = 0;

    /// A format that writes each message as this one does, to format a piece of the
    /// input on a thread of its own; null (the default) for a format whose output for a
    /// message depends on the messages before it, or that writes in finish().
    virtual std::unique_ptr<MessageFormat> forPiece() const;

    /// Whether message() reads what describeMessage() derives (id, message, source
    /// place); lines for a format that does not are spared that work.
    virtual bool readsDescription() const;
    /// Whether message() reads a line's fields; a format that reads the description
    /// reads them too.
    virtual bool readsFields() const;
};

class MessageReview;

/// What every format may be told.
struct FormatOptions {
    bool color = false; ///< colour severities with ANSI escapes
    QString toolVersion; ///< for reports that name the tool
    SourceUri paths { QString(), QString() }; ///< how reports write file and log paths
    QStringList inputs; ///< every input, in order, for reports with a part per input
    FailurePolicy policy; ///< what fails the run, for reports that show failures
    /// The waivers and the baseline of the run, when there are any; its fixed messages
    /// are complete when finish() is called.
    const MessageReview* review = nullptr;
    QString waiverJustification; ///< why waived messages are left out
    MessageSummary::GroupBy summaryGrouping = MessageSummary::GroupBy::Id;
};

/// Whether a format of that name exists.
bool isMessageFormat(const QString& name);

/// The format of that name ("text", "jsonl", "sarif", "github", "codequality", "junit"),
/// or null for an unknown name. To add
/// a format, give it a file in this folder and a row in the table of messageformat.cpp.
std::unique_ptr<MessageFormat> makeMessageFormat(const QString& name, const FormatOptions& options);

/// The message summary as a format, grouped as the options say.
std::unique_ptr<MessageFormat> makeSummaryFormat(const FormatOptions& options);

} // namespace zefa::msg_filter::tool
