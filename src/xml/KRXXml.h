#pragma once

#include <QByteArray>
#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

/// The module's way with XML documents, so that every document is built, guarded, searched and written alike.
namespace KRXXml {

/// What the declaration says of outside markup.
enum class Declaration { Plain, Standalone };

/// The largest text, in characters, that is read as a document.
constexpr int kMaxDocumentLength = 256 * 1024 * 1024;
/// The deepest nesting of elements that is read. Beyond it QDom would overflow the stack.
constexpr int kMaxDepth = 64;

/// A new document that holds only its declaration (version 1.0, UTF-8).
QDomDocument makeDocument(Declaration declaration = Declaration::Plain);

/// Appends \a name with one text node holding \a text, also when \a text is empty.
QDomElement appendTextElement(QDomDocument& document, QDomNode& parent, const QString& name,
                              const QString& text);

/// The document as it is sent: one blank of indent for each level.
QString toText(const QDomDocument& document);

/// Parses a text that came from outside into \a document. Refused before anything is built: a document type
/// declaration, nesting deeper than \ref kMaxDepth, a text longer than \ref kMaxDocumentLength, characters
/// that XML cannot carry (also by number) and references to entities that XML itself does not define. What is
/// refused counts as text that is not XML. \return false, with \a document as it was, when the text is
/// refused or is not well-formed.
bool parse(const QString& text, QDomDocument& document);

/// As above for the bytes of an answer. Refused too: bytes that are not UTF-8.
bool parse(const QByteArray& utf8, QDomDocument& document);

/// Parses the bytes of an answer for the elements of one name only, and gives each to \a visit, in document
/// order. Outermost elements of that name are parsed one by one, each in a document of its own, so that a
/// long list costs the memory of one entry. Refuses what parse() refuses. \return false when the answer is
/// not well-formed; \a visit may have been called by then.
bool parseEach(const QByteArray& utf8, const QString& name,
               const std::function<void(const QDomElement&)>& visit);

/// The text of an element, without a copy in the usual case of one text node.
QString textOf(const QDomElement& element);

/// All elements of that name below \a root (not \a root itself), in document order. The list is a snapshot
/// made in one walk: a live QDomNodeList is searched anew from its start whenever any document changes.
std::vector<QDomElement> elementsByTag(const QDomNode& root, const QString& name);
/// The first element of that name below \a root, in document order; null when there is none.
QDomElement firstElement(const QDomNode& root, const QString& name);
/// The direct child elements of \a parent, in order.
std::vector<QDomElement> childElements(const QDomNode& parent);

/// Reads the direct child elements of \a parent in order, by a table whose rows name an `element` each. \a
/// take gets the number of the row that a child is called after, and the child's text; when several children
/// have the same name, it is called for each. \a other gets every other child with its name.
template <typename Fields, typename Take, typename Other>
void readFields(const QDomElement& parent, const Fields& fields, Take take, Other other)
{
    for (QDomElement child = parent.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        const auto field = std::find_if(fields.begin(), fields.end(), [&tag](const auto& candidate) {
            return tag == QLatin1String(candidate.element);
        });
        if (field == fields.end())
            other(tag, child);
        else
            take(static_cast<std::size_t>(field - fields.begin()), textOf(child));
    }
}

/// As above; other children are passed over.
template <typename Fields, typename Take>
void readFields(const QDomElement& parent, const Fields& fields, Take take)
{
    readFields(parent, fields, take, [](const QString&, const QDomElement&) {});
}

/// Whether XML 1.0 can carry every character of \a text (no control characters but tab, line feed and
/// carriage return, no lone surrogates, no U+FFFE and U+FFFF).
bool canCarry(const QString& text);

} // namespace KRXXml
