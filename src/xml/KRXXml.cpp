#include "KRXXml.h"

namespace KRXXml {

namespace {

bool isNameStart(QChar c)
{
    return c.isLetter() || c == QLatin1Char('_') || c == QLatin1Char(':');
}

/// Position just behind the next \a end at or after \a from; -1 when there is none.
int behind(const QString& text, QLatin1String end, int from)
{
    const int found = text.indexOf(end, from);
    return found < 0 ? -1 : found + end.size();
}

/// Looks through the markup of \a text without building anything. Well-formedness is the parser's business:
/// this only finds what must never reach it.
bool isSafeToParse(const QString& text)
{
    if (text.size() > kMaxDocumentLength)
        return false;
    int depth = 0;
    int at = text.indexOf(QLatin1Char('<'));
    while (at >= 0 && at + 1 < text.size()) {
        const QChar next = text.at(at + 1);
        int after = -1;
        if (next == QLatin1Char('!')) {
            if (text.midRef(at, 4) == QLatin1String("<!--"))
                after = behind(text, QLatin1String("-->"), at + 4);
            else if (text.midRef(at, 9) == QLatin1String("<![CDATA["))
                after = behind(text, QLatin1String("]]>"), at + 9);
            else
                return false; // a document type declaration, whatever its case
        } else if (next == QLatin1Char('?')) {
            after = behind(text, QLatin1String("?>"), at + 2);
        } else if (next == QLatin1Char('/')) {
            --depth;
            after = at + 2;
        } else if (isNameStart(next) || next.isSurrogate()) {
            // A ">" inside an attribute value does not end the tag.
            QChar quote;
            after = at + 1;
            for (; after < text.size(); ++after) {
                const QChar c = text.at(after);
                if (!quote.isNull()) {
                    if (c == quote)
                        quote = QChar();
                } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
                    quote = c;
                } else if (c == QLatin1Char('>')) {
                    break;
                }
            }
            if (after >= text.size())
                return false;
            if (text.at(after - 1) != QLatin1Char('/') && ++depth > kMaxDepth)
                return false;
        } else {
            return false;
        }
        if (after < 0)
            return false;
        at = text.indexOf(QLatin1Char('<'), after);
    }
    return true;
}

/// The node that follows \a node in a walk of the tree below \a root; null at the end.
QDomNode nextInWalk(const QDomNode& node, const QDomNode& root)
{
    QDomNode next = node.firstChild();
    if (!next.isNull())
        return next;
    for (QDomNode up = node; up != root; up = up.parentNode()) {
        next = up.nextSibling();
        if (!next.isNull())
            return next;
    }
    return {};
}

} // namespace

QDomDocument makeDocument(Declaration declaration)
{
    QDomDocument document;
    QString data = QStringLiteral("version=\"1.0\" encoding=\"utf-8\"");
    if (declaration == Declaration::Standalone)
        data += QLatin1String(" standalone=\"yes\"");
    document.appendChild(document.createProcessingInstruction(QStringLiteral("xml"), data));
    return document;
}

QDomElement appendTextElement(QDomDocument& document, QDomNode& parent, const QString& name,
                              const QString& text)
{
    QDomElement element = document.createElement(name);
    element.appendChild(document.createTextNode(text));
    parent.appendChild(element);
    return element;
}

QString toText(const QDomDocument& document)
{
    return document.toString(1);
}

bool parse(const QString& text, QDomDocument& document)
{
    if (!isSafeToParse(text))
        return false;
    QDomDocument parsed;
    if (!parsed.setContent(text))
        return false;
    document = parsed;
    return true;
}

std::vector<QDomElement> elementsByTag(const QDomNode& root, const QString& name)
{
    std::vector<QDomElement> elements;
    if (root.isNull())
        return elements;
    for (QDomNode node = nextInWalk(root, root); !node.isNull(); node = nextInWalk(node, root)) {
        if (node.isElement() && node.nodeName() == name)
            elements.push_back(node.toElement());
    }
    return elements;
}

QDomElement firstElement(const QDomNode& root, const QString& name)
{
    if (root.isNull())
        return {};
    for (QDomNode node = nextInWalk(root, root); !node.isNull(); node = nextInWalk(node, root)) {
        if (node.isElement() && node.nodeName() == name)
            return node.toElement();
    }
    return {};
}

std::vector<QDomElement> childElements(const QDomNode& parent)
{
    std::vector<QDomElement> elements;
    for (QDomElement child = parent.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        elements.push_back(child);
    return elements;
}

bool canCarry(const QString& text)
{
    for (int i = 0; i < text.size(); ++i) {
        const ushort c = text.at(i).unicode();
        if (c < 0x20 && c != 0x09 && c != 0x0A && c != 0x0D)
            return false;
        if (QChar::isLowSurrogate(c))
            return false;
        if (QChar::isHighSurrogate(c)) {
            if (i + 1 >= text.size() || !text.at(i + 1).isLowSurrogate())
                return false;
            ++i;
        } else if (c >= 0xFFFE) {
            return false;
        }
    }
    return true;
}

} // namespace KRXXml
