#pragma once

#include "rules/definitiondiagnostic.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace zefa::msg_filter::impl_detail {

/// The text of a definition file, to turn the XML reader's character offsets into lines
/// and columns and to find where a start tag and its attributes are written.
class DefinitionText {
public:
    DefinitionText() = default;
    explicit DefinitionText(const QByteArray& data);

    TextPosition positionOf(qint64 offset) const;

    /// The "<" of the start tag the reader read from `tokenStart` (its offset before that
    /// token). The reader may have taken that "<" already, to end the text before it, or
    /// may not report the white space before it (outside the root element): the tag
    /// begins at the first "<" from one character back.
    TextPosition startTagPosition(qint64 tokenStart) const;

    /// Where the name of `attribute` is written in the start tag between `tokenStart` and
    /// `tagEnd` (the reader's offset after the tag): preceded by white space and followed,
    /// after any blanks, by "=". The start tag's position when it is not found.
    TextPosition attributePosition(
        const QString& attribute, qint64 tokenStart, qint64 tagEnd) const;

private:
    QString m_text;
    std::vector<qint64> m_lineStarts;
};

} // namespace zefa::msg_filter::impl_detail
