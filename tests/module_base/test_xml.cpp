#include "KRXTest.h"
#include "KRXXml.h"

class TestXml : public QObject
{
    Q_OBJECT

private:
    static bool parses(const QString& text)
    {
        QDomDocument document;
        return KRXXml::parse(text, document);
    }

private slots:
    void writtenDocumentsStartWithTheDeclarationAndIndentByOne()
    {
        QDomDocument document = KRXXml::makeDocument();
        QDomElement root = document.createElement(QStringLiteral("a"));
        document.appendChild(root);
        QDomElement b = document.createElement(QStringLiteral("b"));
        root.appendChild(b);
        KRXXml::appendTextElement(document, b, QStringLiteral("c"), QStringLiteral("x<&>"));
        QCOMPARE(KRXXml::toText(document), QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                                          "<a>\n <b>\n  <c>x&lt;&amp;></c>\n </b>\n</a>\n"));
    }

    void standaloneDeclarationSaysSo()
    {
        QCOMPARE(KRXXml::toText(KRXXml::makeDocument(KRXXml::Declaration::Standalone)),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n"));
    }

    void anEmptyTextIsWrittenWithATextNode()
    {
        QDomDocument document = KRXXml::makeDocument();
        KRXXml::appendTextElement(document, document, QStringLiteral("profile"), QString());
        QCOMPARE(KRXXml::toText(document),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profile></profile>\n"));
    }

    void elementsByTagIsASnapshotInDocumentOrderAtAnyDepth()
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<r><x>1</x><y><x>2<x>3</x></x></y><z/><x>4</x></r>"), document));
        QStringList texts;
        for (const QDomElement& element : KRXXml::elementsByTag(document, QStringLiteral("x")))
            texts << element.firstChild().nodeValue();
        QCOMPARE(texts, QStringList({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"),
                                     QStringLiteral("4")}));
        QCOMPARE(KRXXml::elementsByTag(document, QStringLiteral("none")).size(), std::size_t(0));
        QVERIFY(KRXXml::elementsByTag(QDomNode(), QStringLiteral("x")).empty());
    }

    void searchBelowAnElementStaysBelowIt()
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<r><a><x>1</x></a><b><x>2</x></b></r>"), document));
        const QDomElement a = document.documentElement().firstChildElement();
        QCOMPARE(KRXXml::elementsByTag(a, QStringLiteral("x")).size(), std::size_t(1));
        QVERIFY(KRXXml::firstElement(a, QStringLiteral("b")).isNull());
        QCOMPARE(KRXXml::firstElement(document, QStringLiteral("b")).text(), QStringLiteral("2"));
    }

    void guardRefusesDocumentTypeDeclarations()
    {
        QVERIFY(!parses(QStringLiteral("<!DOCTYPE r><r/>")));
        QVERIFY(!parses(QStringLiteral("<!DOCTYPE r [<!ENTITY a \"x\"><!ENTITY b \"&a;&a;\">]><r>&b;</r>")));
        QVERIFY(!parses(QStringLiteral("<!DOCTYPE r SYSTEM \"file:///etc/passwd\"><r/>")));
        QVERIFY(parses(QStringLiteral("<r><!-- <!DOCTYPE --><![CDATA[<!DOCTYPE]]></r>")));
    }

    void guardRefusesDeepNesting()
    {
        const auto nested = [](int depth) -> QString {
            return QStringLiteral("<a>").repeated(depth) + QStringLiteral("</a>").repeated(depth);
        };
        QVERIFY(parses(nested(KRXXml::kMaxDepth)));
        QVERIFY(!parses(nested(KRXXml::kMaxDepth + 1)));
        QVERIFY(!parses(nested(100000)));
        QVERIFY(!parses(QStringLiteral("<a x='>'>").repeated(100000)));
    }

    void aRefusedTextLeavesTheDocumentAlone()
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<kept/>"), document));
        for (const char* bad : {"", "no xml", "<a>", "<a></b>", "<a/><b/>", "{\"a\":1}", "<", "<a b='", "<!-- "})
            QVERIFY2(!KRXXml::parse(QString::fromLatin1(bad), document), bad);
        QCOMPARE(document.documentElement().tagName(), QStringLiteral("kept"));
    }

    void canCarryKnowsTheCharactersOfXml()
    {
        QVERIFY(KRXXml::canCarry(QString()));
        QVERIFY(KRXXml::canCarry(QStringLiteral("tab\t line\n return\r \u05d0 \U0001F3AC")));
        QVERIFY(!KRXXml::canCarry(QString(QChar(0))));
        QVERIFY(!KRXXml::canCarry(QString(QChar(0x1b))));
        QVERIFY(!KRXXml::canCarry(QString(QChar(0xD83C))));
        QVERIFY(!KRXXml::canCarry(QString(QChar(0xDC00))));
        QVERIFY(!KRXXml::canCarry(QString(QChar(0xFFFE))));
    }
};

QTEST_GUILESS_MAIN(TestXml)
#include "test_xml.moc"
