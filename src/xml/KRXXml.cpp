#include "KRXXml.h"

#include "KRXXmlGuard.h"

#include <QTextCodec>

namespace KRXXml {

namespace {

bool decode(const QByteArray& utf8, QString& text)
{
    constexpr int kMibUtf8 = 106;
    QTextCodec::ConverterState state;
    text = QTextCodec::codecForMib(kMibUtf8)->toUnicode(utf8.constData(), utf8.size(), &state);
    // What was replaced in decoding would go back to the service altered.
    return state.invalidChars == 0 && state.remainingChars == 0;
}

/// What is left of a document when those elements are cut out of it: well-formed exactly if they stood in
/// well-formed surroundings.
QString withoutSpans(const QString& text, const std::vector<ElementSpan>& spans, const QString& name)
{
    QString rest;
    int from = 0;
    for (const ElementSpan& span : spans) {
        rest += text.midRef(from, span.begin - from);
        // A blank keeps apart what was apart; a root leaves a root.
        rest += span.isRoot ? QString(QLatin1Char('<') + name + QLatin1String("/>")) : QStringLiteral(" ");
        from = span.end;
    }
    rest += text.midRef(from);
    return rest;
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

bool parse(const QByteArray& utf8, QDomDocument& document)
{
    QString text;
    return decode(utf8, text) && parse(text, document);
}

bool parseEach(const QByteArray& utf8, const QString& name,
               const std::function<void(const QDomElement&)>& visit)
{
    QString text;
    std::vector<ElementSpan> spans;
    QDomDocument document;
    if (!decode(utf8, text) || !isSafeToParse(text, name, &spans)
        || !document.setContent(withoutSpans(text, spans, name)))
        return false;
    for (const ElementSpan& span : spans) {
        if (!document.setContent(QString::fromRawData(text.constData() + span.begin, span.end - span.begin)))
            return false;
        for (const QDomElement& element : elementsByTag(document, name))
            visit(element);
    }
    return true;
}

QString textOf(const QDomElement& element)
{
    const QDomNode only = element.firstChild();
    if (only.isText() && only.nextSibling().isNull())
        return only.nodeValue();
    return element.text();
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
