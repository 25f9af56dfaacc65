#pragma once

#include <QString>
#include <QStringView>

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

/// Looks through the markup of a text without building anything, for what must never reach the parser:
/// a document type declaration, nesting deeper than kMaxDepth, a text longer than kMaxDocumentLength,
/// characters that XML cannot carry, references to entities that XML itself does not define. Whether the rest is
/// well-formed is the parser's business.
/// \param spanName, spans when given, \a spans receives where the elements of that name stand that stand in no
/// other element of that name.
bool isSafeToParse(const QString& text, QStringView spanName = {}, std::vector<ElementSpan>* spans = nullptr);

} // namespace KRXXml
