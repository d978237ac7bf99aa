#pragma once

#include <QString>
#include <QStringList>
#include <QXmlStreamAttributes>

#include <functional>
#include <vector>

namespace zefa::msg_filter::impl_detail {

/// A place in a definition file: 1-based line and column, counted in characters. 0 and 0
/// when there is none.
struct TextPosition {
    qint64 line = 0;
    qint64 column = 0;

    bool operator==(const TextPosition& other) const
    {
        return line == other.line && column == other.column;
    }
};

/// What the definition-file reader says about one element, or about the whole file, when
/// someone listens (ZefaMsgFilterDefReader::setDiagnostics). The library itself never
/// listens: it drops what it cannot use without a word.
///
/// Every element the reader looks at in its place (the root, TargetDevice, Engine, Rule,
/// FilterRule, SubRule) gets exactly one diagnostic, in document order, before anything
/// inside it: Kept, or the reason it was dropped with everything inside it. Elements in a
/// place where the reader expects none get UnexpectedElement; what is inside them is not
/// looked at.
struct DefinitionDiagnostic {
    enum class Reason {
        Kept, ///< taken into the rule engine
        MissingName, ///< a TargetDevice or Engine without a non-empty name, a Rule without one
        MissingAttributes, ///< a FilterRule or SubRule without the attributes in `missing`
        DuplicateName, ///< a name taken before in its scope; `first` is where, if in this file
        UnexpectedElement, ///< an element its parent does not hold, skipped whole
        ForeignRoot, ///< the root element is not "ZefaMsgFilterDef": nothing loads
        XmlError, ///< malformed XML at `at`, described by `message`: nothing loads
    };

    Reason reason = Reason::Kept;
    QString element; ///< the element's name; empty for XmlError
    QString parent; ///< the enclosing element's name; empty for the root
    /// Where the element's start tag begins ("<"). A root element with no XML declaration
    /// before it is placed where the next tag begins: the XML reader has read past it
    /// before handing it over.
    TextPosition at;
    QXmlStreamAttributes attributes; ///< the element's attributes, as written
    /// Where each attribute's name is written, in the order of `attributes`; the start
    /// tag's position for one the reader cannot find in the text (a prefixed name, since
    /// it looks for the local name after white space).
    std::vector<TextPosition> attributePositions;
    QStringList missing; ///< MissingAttributes: the required attributes absent, in order
    TextPosition first; ///< DuplicateName: the first element of that name
    QString message; ///< XmlError: the XML reader's description
};

using DefinitionDiagnostics = std::function<void(const DefinitionDiagnostic&)>;

} // namespace zefa::msg_filter::impl_detail
