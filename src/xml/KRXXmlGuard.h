#pragma once

#include <QString>

namespace KRXXml {

/// Looks through the markup of a text without building anything, for what must never reach the parser:
/// a document type declaration, nesting deeper than kMaxDepth, a text longer than kMaxDocumentLength,
/// characters that XML cannot carry, references to entities that XML itself does not define. Whether the rest is
/// well-formed is the parser's business.
bool isSafeToParse(const QString& text);

} // namespace KRXXml
