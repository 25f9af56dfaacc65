#include "KRXTest.h"
#include "KRXXml.h"

#include <array>

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
        QVERIFY(
            KRXXml::parse(QStringLiteral("<r><x>1</x><y><x>2<x>3</x></x></y><z/><x>4</x></r>"), document));
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

    void guardRefusesEntityBombsOfEveryShape()
    {
        QVERIFY(!parses(QStringLiteral("<!DOCTYPE r [<!ENTITY a \"%1\">]><r>%2</r>")
                            .arg(QString(50000, QLatin1Char('x')), QStringLiteral("&a;").repeated(5000))));
        QVERIFY(
            !parses(QStringLiteral("<!DOCTYPE r [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><r>&a;</r>")));
        QVERIFY(!parses(QStringLiteral("<?xml version=\"1.0\"?>\n<!-- x -->\n<!doctype r><r/>")));
    }

    void onlyTheEntitiesOfXmlItselfAreKnown()
    {
        QVERIFY(
            parses(QStringLiteral("<r a=\"&quot;&#65;\">&amp;&lt;&gt;&apos;&#x1F3AC;&#9;&#0000000065;</r>")));
        for (const char* bad :
             {"<r>&nbsp;</r>", "<r a='&x;'/>", "<r>&;</r>", "<r>&#;</r>", "<r>&#x;</r>", "<r>&#X41;</r>",
              "<r>&#-65;</r>", "<r>&#+65;</r>", "<r>& amp;</r>", "<r>&amp</r>", "<r>&", "<r a='&'/>",
              "<r>&#99999999999999999999;</r>", "<r>&#x00000000000000000000000041;</r>"})
            QVERIFY2(!parses(QString::fromLatin1(bad)), bad);
        // No references in comments, CDATA and instructions.
        QVERIFY(parses(QStringLiteral("<r><!-- &x; --><![CDATA[&x;&#0;]]><?pi &x;?></r>")));
    }

    void charactersThatXmlCannotCarryAreRefusedAlsoByNumber()
    {
        for (const char* bad :
             {"0", "x0", "1", "x1F", "xD800", "xDFFF", "xFFFE", "xFFFF", "x110000", "55296"})
            QVERIFY2(!parses(QStringLiteral("<r>&#%1;</r>").arg(QLatin1String(bad))), bad);
        constexpr ushort kBad[] = {0x0, 0x1, 0x1F, 0xD800, 0xDFFF, 0xFFFE, 0xFFFF};
        for (const ushort bad : kBad) {
            QVERIFY2(!parses(QStringLiteral("<r>%1</r>").arg(QChar(bad))),
                     qPrintable(QString::number(bad, 16)));
            QVERIFY(!parses(QString(QStringLiteral("<r/>") + QChar(bad))));
        }
    }

    void bytesThatAreNotUtf8AreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("stray") << QByteArray("<r>\xFF</r>");
        QTest::newRow("overlong") << QByteArray("<r>\xC0\xBC</r>");
        QTest::newRow("surrogate") << QByteArray("<r>\xED\xA0\x80</r>");
        QTest::newRow("beyond the last plane") << QByteArray("<r>\xF4\x90\x80\x80</r>");
        QTest::newRow("cut in a character") << QByteArray("<r/>\xF0\x9F");
        QTest::newRow("cut before markup") << QByteArray("<r>\xC3</r>");
        QTest::newRow("NUL") << QByteArray("<r>\0</r>", 8);
        QTest::newRow("NUL at the end") << QByteArray("<r/>\0", 5);
        QTest::newRow("U+FFFF at the end") << QByteArray("<r/>\xEF\xBF\xBF");
        QTest::newRow("in the name of an entry") << QByteArray("<r><x a=\"\xC3\"/></r>");
        QTest::newRow("inside an entry") << QByteArray("<r><x>\xC3</x></r>");
        QTest::newRow("NUL inside an entry") << QByteArray("<r><x>\0</x></r>", 15);
        QTest::newRow("apart by an entry only") << QByteArray("<r>\xC3<x/>\xA4</r>");
    }
    void bytesThatAreNotUtf8AreRefused()
    {
        QFETCH(QByteArray, bytes);
        QDomDocument document;
        QVERIFY(!KRXXml::parse(bytes, document));
        QVERIFY(!KRXXml::parseEach(bytes, QStringLiteral("x"), [](const QDomElement&) {}));
    }

    void aByteOrderMarkIsNoContent()
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QByteArray("\xEF\xBB\xBF<?xml version=\"1.0\"?><r>\xC3\xA4</r>"), document));
        QCOMPARE(document.documentElement().text(), QStringLiteral("\u00e4"));
        QVERIFY(KRXXml::parseEach(QByteArray("\xEF\xBB\xBF<r><x/></r>"), QStringLiteral("x"),
                                  [](const QDomElement&) {}));
    }

    void textOfAnElementIsAllTextInsideIt_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QStringLiteral("<r/>") << QString();
        QTest::newRow("one node") << QStringLiteral("<r> a </r>") << QStringLiteral(" a ");
        QTest::newRow("references") << QStringLiteral("<r>a&amp;b</r>") << QStringLiteral("a&b");
        QTest::newRow("CDATA only") << QStringLiteral("<r><![CDATA[<]]></r>") << QStringLiteral("<");
        QTest::newRow("pieces") << QStringLiteral("<r>a<![CDATA[b]]><!--x-->c<y>d<z>e</z></y></r>")
                                << QStringLiteral("abcde");
        QTest::newRow("comment first") << QStringLiteral("<r><!--x-->a</r>") << QStringLiteral("a");
    }
    void textOfAnElementIsAllTextInsideIt()
    {
        QFETCH(QString, xml);
        QFETCH(QString, text);
        QDomDocument document;
        QVERIFY(KRXXml::parse(xml, document));
        QCOMPARE(KRXXml::textOf(document.documentElement()), text);
        QCOMPARE(KRXXml::textOf(document.documentElement()), document.documentElement().text());
    }

    void parseEachFindsWhatAWholeParseFinds_data()
    {
        QTest::addColumn<QByteArray>("xml");
        for (const char* xml :
             {"<r/>", "<x/>", "<x>a</x>", "<r><x>1</x><y><x>2<x>3</x></x></y><z/><x>4</x></r>",
              "<r>t<x a='>'/>t<x a=\"/>\">1</x >t<xx>no</xx><x\n/><x\t>2</x></r>",
              "<r><!-- <x>no</x> --><![CDATA[<x>no</x>]]><?x <x>no</x>?><x>1</x></r>",
              "<r><x><!-- </x> --><![CDATA[</x>]]>1</x><x>2</x></r>",
              "<?xml version=\"1.0\"?>\n<x><x/></x>\n<!-- -->", "<r>]]<x/>&gt;</r>",
              "<r><x>\xC3\xA4\xF0\x9F\x8E\xAC</x>\xC3\xA4</r>", "<r><x>1<y><y><x/></y></y></x></r>",
              "<a:x><x/></a:x>", "<r><x-y/><x.y/><x:y/><x>1</x></r>"})
            QTest::newRow(xml) << QByteArray(xml);
    }
    void parseEachFindsWhatAWholeParseFinds()
    {
        QFETCH(QByteArray, xml);
        const QString name = QStringLiteral("x");
        const auto print = [](const QDomElement& element) -> QString {
            QString text;
            QTextStream stream(&text);
            element.save(stream, 1);
            return text.trimmed(); // what stands around an element shapes its margins
        };
        QDomDocument document;
        QVERIFY(KRXXml::parse(xml, document));
        QStringList expected;
        for (const QDomElement& element : KRXXml::elementsByTag(document, name))
            expected << print(element);
        QStringList found;
        QVERIFY(KRXXml::parseEach(xml, name, [&](const QDomElement& element) { found << print(element); }));
        QCOMPARE(found, expected);
    }

    void parseEachRefusesWhatAWholeParseRefuses_data()
    {
        QTest::addColumn<QByteArray>("xml");
        for (const char* xml : {"",
                                " ",
                                "x",
                                "<x>",
                                "</x>",
                                "<x></y>",
                                "<x/><x/>",
                                "<x/>t",
                                "t<x/>",
                                "<r><x></r></x>",
                                "<r><x/></s>",
                                "<r><x><y></x></y></r>",
                                "<r><x a=1/></r>",
                                "<r><x",
                                "<r><x a='></r>",
                                "<r><x>1</x>",
                                "<r><x>1</x></r><r/>",
                                "<r><x>&y;</x></r>",
                                "<r><x>&#0;</x></r>",
                                "<r b='&'><x/></r>",
                                "<r><x><!-- </x></r>",
                                "<r><x/><![CDATA[</r>",
                                "<r>&<x/>amp;</r>",
                                "<r><x/ ></r>",
                                "<r>< x/></r>",
                                "<!DOCTYPE r><r><x/></r>",
                                "<r><x><!DOCTYPE r></x></r>",
                                "<r><x/></r>&amp;"})
            QTest::newRow(*xml ? xml : "nothing") << QByteArray(xml);
        QTest::newRow("deep") << QByteArray("<x>").repeated(100000);
        QTest::newRow("deep and closed") << QByteArray("<x>").repeated(65) + QByteArray("</x>").repeated(65);
        QTest::newRow("deep around") << QByteArray("<r>").repeated(64) + "<x></x>" +
                                            QByteArray("</r>").repeated(64);
    }
    void parseEachRefusesWhatAWholeParseRefuses()
    {
        QFETCH(QByteArray, xml);
        QDomDocument document;
        QVERIFY(!KRXXml::parse(xml, document));
        QVERIFY(!KRXXml::parseEach(xml, QStringLiteral("x"), [](const QDomElement&) {}));
    }

    void aRefusedTextLeavesTheDocumentAlone()
    {
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<kept/>"), document));
        for (const char* bad :
             {"", "no xml", "<a>", "<a></b>", "<a/><b/>", "{\"a\":1}", "<", "<a b='", "<!-- "})
            QVERIFY2(!KRXXml::parse(QString::fromLatin1(bad), document), bad);
        QCOMPARE(document.documentElement().tagName(), QStringLiteral("kept"));
    }

    void fieldsAreReadByTheirTableAndAllElseIsHandedOver()
    {
        struct Field
        {
            const char* element;
        };
        constexpr std::array<Field, 2> fields = {{{"name"}, {"size"}}};
        QDomDocument document;
        QVERIFY(KRXXml::parse(QStringLiteral("<r><size>1</size><other>o</other>text<in><name>deep</name></in>"
                                             "<name>a&amp;b</name><size>2</size><Name/></r>"),
                              document));
        QStringList taken, others;
        const auto take = [&taken](std::size_t field, const QString& text) {
            taken << QString::number(field) + QLatin1Char('=') + text;
        };
        KRXXml::readFields(document.documentElement(), fields, take,
                           [&others](const QString& tag, const QDomElement& child) {
                               others << tag + QLatin1Char('=') + child.text();
                           });
        const QStringList expected{QStringLiteral("1=1"), QStringLiteral("0=a&b"), QStringLiteral("1=2")};
        QCOMPARE(taken, expected);
        QCOMPARE(others, (QStringList{QStringLiteral("other=o"), QStringLiteral("in=deep"),
                                      QStringLiteral("Name=")}));
        taken.clear();
        KRXXml::readFields(document.documentElement(), fields, take);
        QCOMPARE(taken, expected);
        KRXXml::readFields(QDomElement(), fields, take);
        QCOMPARE(taken, expected);
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
