#include "KRXXml.h"

#include "KRXXmlGuard.h"

#include <QTextCodec>

namespace KRXXml {

namespace {

/// Decodes UTF-8. Refuses bytes that are not UTF-8: what was replaced in decoding would go back to the
/// service altered.
bool decode(const char* utf8, int size, QString& text)
{
    constexpr int kMibUtf8 = 106;
    static QTextCodec* const codec = QTextCodec::codecForMib(kMibUtf8);
    QTextCodec::ConverterState state;
    text = codec->toUnicode(utf8, size, &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

/// Parses bytes whose markup is known to be safe.
bool parseSafeMarkup(const char* utf8, int size, QDomDocument& document)
{
    QString text;
    return decode(utf8, size, text) && canCarry(text) && document.setContent(text);
}

/// What is left of a document when those elements are cut out of it: well-formed exactly if they stood in
/// well-formed surroundings.
QByteArray withoutSpans(const QByteArray& utf8, const std::vector<ElementSpan>& spans)
{
    QByteArray rest;
    int from = 0;
    for (const ElementSpan& span : spans) {
        rest.append(utf8.constData() + from, span.begin - from);
        // A blank keeps apart what was apart; a root leaves a root.
        rest.append(span.isRoot ? "<root/>" : " ");
        from = span.end;
    }
    rest.append(utf8.constData() + from, utf8.size() - from);
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
    return decode(utf8.constData(), utf8.size(), text) && parse(text, document);
}

bool parseEach(const QByteArray& utf8, const QString& name,
               const std::function<void(const QDomElement&)>& visit)
{
    std::vector<ElementSpan> spans;
    if (!findSpans(utf8, name.toUtf8(), spans))
        return false;
    QDomDocument document;
    const QByteArray surroundings = withoutSpans(utf8, spans);
    if (!parseSafeMarkup(surroundings.constData(), surroundings.size(), document))
        return false;
    for (const ElementSpan& span : spans) {
        if (!parseSafeMarkup(utf8.constData() + span.begin, span.end - span.begin, document))
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
