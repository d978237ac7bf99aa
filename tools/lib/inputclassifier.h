#pragma once

#include "classification.h"
#include "rulesselection.h"

#include <msgfilter/msgfilter.h>

#include <QByteArray>
#include <QString>

#include <functional>
#include <map>
#include <string>

class QIODevice;

namespace zefa::msg_filter::tool {

class MessageFormat;

/// Classifies the lines of one input with the selected rules and hands each line the
/// rules recognise to a format.
///
/// Lines are numbered from 1 per input; a last line without a line feed counts too.
/// Every line is added to the summary, which several inputs may share.
class InputClassifier {
public:
    InputClassifier(const RulesSelection& rules, MessageFormat& format, QString name,
        ClassificationSummary& summary);
    ~InputClassifier();
    InputClassifier(const InputClassifier&) = delete;
    InputClassifier& operator=(const InputClassifier&) = delete;

    /// Classifies every complete line of `chunk`, without its NUL bytes; a trailing
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

private:
    QByteArray drain();
    const std::string& ruleType(const std::string& rule);
    Severity severityOf(const ZefaMsgFilter::ParsResult& result);
    QByteArray report(const ZefaMsgFilter::ParsResult& result);

    const RulesSelection& m_rules;
    MessageFormat& m_format;
    const QString m_name;
    ClassificationSummary& m_summary;
    ZefaMsgFilter m_filter;
    long long m_lineNumber = 0;
    QByteArray m_partial;
    std::map<std::string, std::string> m_ruleTypes;
};

} // namespace zefa::msg_filter::tool
