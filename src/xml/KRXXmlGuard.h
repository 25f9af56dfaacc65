#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace KRXXml {

/// Where one element stands in a text, from the "<" of its start to behind the ">" of its end.
struct ElementSpan
{
    int begin = 0;
    int end = 0;
    /// Whether it stands outside every other element.
    bool isRoot = false;
};

// Both functions look through markup without building anything, for what must never reach the parser: a
// document type declaration, nesting deeper than kMaxDepth, a text longer than kMaxDocumentLength, references
// to entities that XML itself does not define or to characters that it cannot carry. Whether the rest is
// well-formed is the parser's business.

/// Judges a text. Refuses also characters that XML cannot carry.
bool isSafeToParse(const QString& text);

/// Judges the markup of UTF-8 bytes, and finds the elements named \a name that stand in no other element of
/// that name. What is between the markup is not decoded and not judged.
bool findSpans(const QByteArray& utf8, const QByteArray& name, std::vector<ElementSpan>& spans);

} // namespace KRXXml
