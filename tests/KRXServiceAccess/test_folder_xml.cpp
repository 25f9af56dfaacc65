#include "KRXFolder.h"
#include "KRXFolderProperties.h"
#include "KRXFolderXml.h"
#include "KRXRecord.h"
#include "KRXTest.h"
#include "KRXXml.h"

namespace {

QDomDocument documentOf(const QString& xml)
{
    QDomDocument document;
    if (!KRXXml::parse(xml, document))
        qFatal("The test's own document is not XML");
    return document;
}

std::unique_ptr<KRXFolder> folderOf(const QString& xml)
{
    return KRXFolderXml::parseFolderDetail(documentOf(xml));
}

QString text(const KRXFolder& folder, const char* property)
{
    return folder.property(property).toString();
}

} // namespace

class TestFolderXml : public QObject
{
    Q_OBJECT

private slots:
    // --- The record ------------------------------------------------------------------------------------

    void aRecordHoldsNothingAtFirst()
    {
        KRXFolder folder;
        QVERIFY(folder.dynamicPropertyNames().isEmpty());
        QVERIFY(!folder.property("folderId").isValid());
        QVERIFY(!folder.parent());
    }

    void theNamesOfThePropertiesAreFixed()
    {
        QCOMPARE(QByteArray(KRXFolderProperties::kId), QByteArray("folderId"));
        QCOMPARE(QByteArray(KRXFolderProperties::kPath), QByteArray("folderPath"));
        QCOMPARE(QByteArray(KRXFolderProperties::kProfileId), QByteArray("folderProfileId"));
        QCOMPARE(QByteArray(KRXFolderProperties::kEnabled), QByteArray("folderEnabled"));
        QCOMPARE(QByteArray(KRXFolderProperties::kOutputFiles), QByteArray("outputXELFiles"));
    }

    void copyingSetsEveryPropertyOfTheSourceAndKeepsTheRest()
    {
        KRXFolder source;
        source.setProperty("folderId", QStringLiteral("1"));
        source.setProperty("something", 7);
        KRXFolder target;
        target.setProperty("folderId", QStringLiteral("2"));
        target.setProperty("folderPath", QStringLiteral("/kept"));
        KRXRecord::copyProperties(source, target);
        QCOMPARE(text(target, "folderId"), QStringLiteral("1"));
        QCOMPARE(target.property("something").toInt(), 7);
        QCOMPARE(text(target, "folderPath"), QStringLiteral("/kept"));
    }

    void copyingOntoItselfChangesNothing()
    {
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        KRXRecord::copyProperties(folder, folder);
        QCOMPARE(text(folder, "folderId"), QStringLiteral("1"));
    }

    // --- Reading ---------------------------------------------------------------------------------------

    void aFolderElementFillsTheFivePropertiesInOrder()
    {
        const auto folder = folderOf(QStringLiteral(
            "<xelMediaFolder id=\"f-1\"><path>/media/a</path><profile>p-1</profile><enabled>true</enabled>"
            "<outputXELFiles><fileName>/o/1.xel</fileName><fileName>/o/2.xel</fileName></outputXELFiles>"
            "</xelMediaFolder>"));
        QVERIFY(folder);
        QCOMPARE(folder->dynamicPropertyNames(),
                 QList<QByteArray>(
                     {"folderId", "folderPath", "folderProfileId", "folderEnabled", "outputXELFiles"}));
        QCOMPARE(text(*folder, "folderId"), QStringLiteral("f-1"));
        QCOMPARE(text(*folder, "folderPath"), QStringLiteral("/media/a"));
        QCOMPARE(text(*folder, "folderProfileId"), QStringLiteral("p-1"));
        QCOMPARE(text(*folder, "folderEnabled"), QStringLiteral("true"));
        QCOMPARE(folder->property("outputXELFiles").type(), QVariant::StringList);
        QCOMPARE(folder->property("outputXELFiles").toStringList(),
                 QStringList({QStringLiteral("/o/1.xel"), QStringLiteral("/o/2.xel")}));
    }

    void anEmptyOrMissingIdYieldsNoRecordWhateverItsChildrenHold_data()
    {
        QTest::addColumn<QString>("start");
        QTest::newRow("missing") << QStringLiteral("<xelMediaFolder>");
        QTest::newRow("empty") << QStringLiteral("<xelMediaFolder id=\"\">");
        QTest::newRow("another case") << QStringLiteral("<xelMediaFolder ID=\"1\">");
    }
    void anEmptyOrMissingIdYieldsNoRecordWhateverItsChildrenHold()
    {
        QFETCH(QString, start);
        const QString rest =
            QStringLiteral("<path>/a</path><id>1</id><enabled>true</enabled></xelMediaFolder>");
        QVERIFY(!folderOf(start + rest));
    }

    void aDocumentWithoutAFolderElementYieldsNoRecord()
    {
        QVERIFY(!folderOf(QStringLiteral("<xelmediafolder id=\"1\"/>")));
        QVERIFY(!folderOf(QStringLiteral("<list><xelMediaFolderURI>u</xelMediaFolderURI></list>")));
        QVERIFY(!KRXFolderXml::parseFolderDetail(QDomDocument()));
    }

    void theFirstFolderElementAnywhereCounts()
    {
        const auto folder = folderOf(QStringLiteral("<a><b><xelMediaFolder id=\"1\"/></b>"
                                                    "<xelMediaFolder id=\"2\"/></a>"));
        QCOMPARE(text(*folder, "folderId"), QStringLiteral("1"));
        // Also when the first one has no id.
        QVERIFY(!folderOf(QStringLiteral("<a><xelMediaFolder/><xelMediaFolder id=\"2\"/></a>")));
    }

    void missingChildrenGiveEmptyTextsAndAnEmptyList()
    {
        const auto folder = folderOf(QStringLiteral("<xelMediaFolder id=\"1\"/>"));
        for (const char* property : {"folderPath", "folderProfileId", "folderEnabled"}) {
            QVERIFY2(folder->property(property).isValid(), property);
            QCOMPARE(text(*folder, property), QString());
        }
        QVERIFY(folder->property("outputXELFiles").isValid());
        QVERIFY(folder->property("outputXELFiles").toStringList().isEmpty());
    }

    void aRepeatedChildOverwritesTheEarlierOneAndOutputListsAddUp()
    {
        const auto folder = folderOf(QStringLiteral(
            "<xelMediaFolder id=\"1\"><path>/a</path><outputXELFiles><fileName>1</fileName></outputXELFiles>"
            "<path>/b</path><outputXELFiles><fileName>2</fileName></outputXELFiles></xelMediaFolder>"));
        QCOMPARE(text(*folder, "folderPath"), QStringLiteral("/b"));
        QCOMPARE(folder->property("outputXELFiles").toStringList(),
                 QStringList({QStringLiteral("1"), QStringLiteral("2")}));
    }

    void nestedContainersInTheOutputsStillYieldEveryFileName()
    {
        const auto folder = folderOf(QStringLiteral(
            "<xelMediaFolder id=\"1\"><outputXELFiles><fileName>1</fileName><day><hour><fileName>2</fileName>"
            "</hour><fileName>3</fileName></day><fileName>4</fileName></outputXELFiles></xelMediaFolder>"));
        QCOMPARE(folder->property("outputXELFiles").toStringList(),
                 QStringList(
                     {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3"), QStringLiteral("4")}));
    }

    void onlyDirectChildrenAndKnownNamesAreRead()
    {
        const auto folder = folderOf(
            QStringLiteral("<xelMediaFolder id=\"1\"><extra><path>/no</path></extra><fileName>no</fileName>"
                           "<Path>/no</Path><path>/yes</path></xelMediaFolder>"));
        QCOMPARE(text(*folder, "folderPath"), QStringLiteral("/yes"));
        QVERIFY(folder->property("outputXELFiles").toStringList().isEmpty());
    }

    void enabledPassesThroughUnchangedBothWays_data()
    {
        QTest::addColumn<QString>("enabled");
        for (const char* word : {"true", "false", "TRUE", "maybe", "1", ""})
            QTest::newRow(*word ? word : "empty") << QString::fromLatin1(word);
    }
    void enabledPassesThroughUnchangedBothWays()
    {
        QFETCH(QString, enabled);
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        folder.setProperty("folderEnabled", enabled);
        const QString written = KRXFolderXml::updateRequest(folder);
        QVERIFY(written.contains(QStringLiteral("<enabled>%1</enabled>").arg(enabled)));
        QCOMPARE(text(*folderOf(written), "folderEnabled"), enabled);
    }

    void textsInPiecesAreReadWhole()
    {
        const auto folder = folderOf(QStringLiteral(
            "<xelMediaFolder id=\"1\"><path>/a<![CDATA[<b>]]>c<!-- no -->d<x>e</x></path></xelMediaFolder>"));
        QCOMPARE(text(*folder, "folderPath"), QStringLiteral("/a<b>cde"));
    }

    // --- Writing ---------------------------------------------------------------------------------------

    void theElementGoesIntoTheParentThatIsGiven()
    {
        QDomDocument document = documentOf(QStringLiteral("<a><b><c/></b></a>"));
        QDomElement parent = KRXXml::firstElement(document, QStringLiteral("b"));
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        KRXFolderXml::createXmlFolderElement(document, parent, folder);
        QCOMPARE(document.toString(-1), QStringLiteral("<a><b><c/><xelMediaFolder id=\"1\"/></b></a>"));
        // Without one it is the document's own.
        QDomDocument empty;
        QDomElement none;
        KRXFolderXml::createXmlFolderElement(empty, none, folder);
        QCOMPARE(empty.toString(-1), QStringLiteral("<xelMediaFolder id=\"1\"/>"));
    }

    void theCreateRequestIsWrittenAsAWhole()
    {
        KRXFolder folder;
        folder.setProperty("folderPath", QStringLiteral("D:/Watch"));
        folder.setProperty("folderProfileId", QStringLiteral("12"));
        folder.setProperty("folderEnabled", QStringLiteral("false"));
        QCOMPARE(KRXFolderXml::createRequest(folder),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolderRequest>\n"
                                " <xelMediaFolder>\n"
                                "  <path>D:/Watch</path>\n"
                                "  <profile>12</profile>\n"
                                "  <enabled>false</enabled>\n"
                                " </xelMediaFolder>\n"
                                "</xelMediaFolderRequest>\n"));
    }

    void theUpdateRequestIsTheBareFolderElement()
    {
        KRXFolder folder;
        // The order in which properties were set does not matter.
        folder.setProperty("outputXELFiles", QStringList({QStringLiteral("never written")}));
        folder.setProperty("folderEnabled", QStringLiteral("true"));
        folder.setProperty("folderPath", QStringLiteral("/a & b"));
        folder.setProperty("folderId", QStringLiteral("f-1"));
        folder.setProperty("folderProfileId", QStringLiteral("p-1"));
        QCOMPARE(KRXFolderXml::updateRequest(folder),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolder id=\"f-1\">\n"
                                " <path>/a &amp; b</path>\n"
                                " <profile>p-1</profile>\n"
                                " <enabled>true</enabled>\n"
                                "</xelMediaFolder>\n"));
    }

    void whatTheRecordLacksIsNotWritten()
    {
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        folder.setProperty("folderPath", QStringLiteral("/a"));
        QCOMPARE(KRXFolderXml::updateRequest(folder),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolder id=\"1\">\n"
                                " <path>/a</path>\n"
                                "</xelMediaFolder>\n"));
    }

    void presentIsNotNonEmpty()
    {
        KRXFolder folder;
        folder.setProperty("folderId", QLatin1String(""));
        folder.setProperty("folderProfileId", QLatin1String(""));
        QCOMPARE(KRXFolderXml::updateRequest(folder),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolder id=\"\">\n"
                                " <profile></profile>\n"
                                "</xelMediaFolder>\n"));
    }

    void theDeviceStatusIsWrittenAsAWhole()
    {
        QCOMPARE(KRXFolderXml::deviceStatus(QStringLiteral("Media <1>"), -3, 2147483647),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n"
                                "<deviceStatus>\n"
                                " <volumeName>Media &lt;1></volumeName>\n"
                                " <volumeType>-3</volumeType>\n"
                                " <volumeAction>2147483647</volumeAction>\n"
                                "</deviceStatus>\n"));
    }

    // --- Round trips -----------------------------------------------------------------------------------

    void difficultTextsRoundTrip_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("emoji") << QStringLiteral("/media/\U0001F3AC \U0001F469\u200D\U0001F4BB");
        QTest::newRow("right to left") << QStringLiteral("/\u05e9\u05dc\u05d5\u05dd/\u202e\u0627\u0644");
        QTest::newRow("4 KB") << QString(4096, QLatin1Char('x'));
        QTest::newRow("leading blanks") << QStringLiteral("   /a  b  ");
        QTest::newRow("carriage return") << QStringLiteral("/a\rb\r\nc\rd");
        QTest::newRow("tab and line feed") << QStringLiteral("/a\tb\nc");
        QTest::newRow("markup") << QStringLiteral("<a href=\"x\">&amp;]]></a>");
        QTest::newRow("markers") << QStringLiteral("%1 %2 %L1 %%");
        QTest::newRow("combining") << QStringLiteral("/e\u0301 \u00e9");
        QTest::newRow("last plane") << QStringLiteral("\U0010FFFD\uE000\uFFFD");
    }
    void difficultTextsRoundTrip()
    {
        QFETCH(QString, path);
        KRXFolder folder;
        folder.setProperty("folderId", path);
        folder.setProperty("folderPath", path);
        const QString written = KRXFolderXml::updateRequest(folder);
        QDomDocument document;
        QVERIFY(KRXXml::parse(written.toUtf8(), document));
        const auto read = KRXFolderXml::parseFolderDetail(document);
        QCOMPARE(text(*read, "folderPath"), path);
        QCOMPARE(text(*read, "folderId"), path);
    }
};

QTEST_GUILESS_MAIN(TestFolderXml)
#include "test_folder_xml.moc"
