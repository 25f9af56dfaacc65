#include "HostMediaEngine.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "KRXXml.h"
#include "StandInHost.h"

namespace {

QDomDocument document(const QString& profileContent)
{
    QDomDocument parsed;
    const QString text = QStringLiteral("<profile>%1</profile>").arg(profileContent);
    if (!KRXXml::parse(text, parsed))
        qFatal("the test's document is not XML: %s", qPrintable(text));
    return parsed;
}

QString activity(const QString& id, const QString& name, const QString& content)
{
    return QStringLiteral("<activity id=\"%1\" name=\"%2\">%3</activity>").arg(id, name, content);
}

} // namespace

class TestSummary : public QObject
{
    Q_OBJECT

private:
    static QString cell(const KRXSummaryWidget& summary, int row, int column)
    {
        const QTableWidgetItem* item = summary.item(row, column);
        return item ? item->text() : QString();
    }

    static QString detailOf(const QString& content, int row)
    {
        KRXSummaryWidget summary(nullptr);
        QDomDocument doc = document(content);
        summary.updateSummaryFromXML(doc);
        return cell(summary, row, 1);
    }

private slots:
    void init() { StandInHost::resetRecords(); }

    void aDocumentWithoutActivitiesYieldsExactlyTwoRows()
    {
        KRXSummaryWidget summary(nullptr);
        QDomDocument doc = document(QString());
        summary.updateSummaryFromXML(doc);
        QCOMPARE(summary.rowCount(), 2);
        QCOMPARE(summary.columnCount(), 2);
        QCOMPARE(cell(summary, 0, 0), QStringLiteral("Bins:"));
        QCOMPARE(cell(summary, 1, 0), QStringLiteral("Link Options:"));
        QCOMPARE(cell(summary, 0, 1), QString());
    }

    void anActivityOfAnotherKindYieldsAnEmptyRowInItsPlace()
    {
        KRXSummaryWidget summary(nullptr);
        QDomDocument doc =
            document(activity(QStringLiteral("copy"), QStringLiteral("Copy 1"), QString()) +
                     activity(QStringLiteral("remove"), QStringLiteral("Remove"), QString()) +
                     activity(QStringLiteral("Copy"), QStringLiteral("Upper"), QString()) +
                     activity(QStringLiteral("consolidate"), QStringLiteral("Consolidate"), QString()) +
                     activity(QStringLiteral("Transcode"), QStringLiteral("Upper"), QString()) +
                     activity(QStringLiteral("CONSOLIDATE"), QStringLiteral("Upper"), QString()));
        summary.updateSummaryFromXML(doc);
        QCOMPARE(summary.rowCount(), 8);
        QCOMPARE(cell(summary, 2, 0), QStringLiteral("Copy 1"));
        QVERIFY(!summary.item(3, 0));
        QVERIFY(!summary.item(3, 1));
        QVERIFY(!summary.item(4, 0));
        QCOMPARE(cell(summary, 5, 0), QStringLiteral("Consolidate"));
        QVERIFY(!summary.item(6, 0));
        QVERIFY(!summary.item(7, 0));
    }

    void aSecondDocumentLeavesNothingOfTheFirst()
    {
        KRXSummaryWidget summary(nullptr);
        QDomDocument first = document(activity(QStringLiteral("copy"), QStringLiteral("Copy 1"), QString()));
        summary.updateSummaryFromXML(first);
        QDomDocument second = document(activity(QStringLiteral("remove"), QStringLiteral("x"), QString()));
        summary.updateSummaryFromXML(second);
        QCOMPARE(summary.rowCount(), 3);
        QVERIFY(!summary.item(2, 0));
    }

    void binsRow_data()
    {
        QTest::addColumn<QString>("bins");
        QTest::addColumn<QString>("text");
        const auto bins = [](const char* selection, const char* naming, const char* name) -> QString {
            return QStringLiteral("<binDetail><binExplicitName>%3</binExplicitName><binSelectionMethod>%1"
                                  "</binSelectionMethod><binNamingMethod>%2</binNamingMethod></binDetail>")
                .arg(QLatin1String(selection), QLatin1String(naming), QLatin1String(name));
        };
        QTest::newRow("a new bin with the default name")
            << bins("CREATENEW", "DEFAULT", "") << QStringLiteral("Create a new Bin : Default Bin Name");
        QTest::newRow("a new bin named after the volume")
            << bins("CREATENEW", "VOLUME", "x") << QStringLiteral("Create a new Bin : Volume Name");
        QTest::newRow("a new bin with a name")
            << bins("CREATENEW", "EXPLICIT", "Rushes") << QStringLiteral("Create a new Bin : Rushes");
        QTest::newRow("the active bin still shows the naming, without a blank")
            << bins("USEACTIVE", "VOLUME", "") << QStringLiteral("Use Active BinVolume Name");
        QTest::newRow("an unknown selection counts as the active bin")
            << bins("createnew", "EXPLICIT", "Day 1") << QStringLiteral("Use Active BinDay 1");
        QTest::newRow("an unknown naming shows none")
            << bins("CREATENEW", "OTHER", "x") << QStringLiteral("Create a new Bin : ");
    }

    void binsRow()
    {
        QFETCH(QString, bins);
        QTEST(detailOf(bins, 0), "text");
    }

    void theGroupingNoneIsShownAsItStands()
    {
        QCOMPARE(
            detailOf(QStringLiteral("<linkDetail><multichannelAudio>None</multichannelAudio>"
                                    "<xelAudioStartTimeOption>25</xelAudioStartTimeOption>"
                                    "<xelPreferredPluginDetail><xelPluginName>QuickTime</xelPluginName>"
                                    "</xelPreferredPluginDetail></linkDetail>"),
                     1),
            QStringLiteral("Multichannel Audio : None\nAudio timecode rate : 25\nLink using : QuickTime\n"));
    }

    void aGroupingIsShownInItsDisplayForm()
    {
        const QString stored = QStringLiteral("1-2:Stereo");
        const QString display = HostMediaEngine::channelGroupsFromText(stored).displayText;
        QVERIFY(display != stored);
        QCOMPARE(
            detailOf(QStringLiteral("<linkDetail><multichannelAudio>%1</multichannelAudio></linkDetail>")
                         .arg(stored),
                     1),
            QStringLiteral("Multichannel Audio : %1\nAudio timecode rate : \nLink using : \n").arg(display));
    }

    void thePluginIsNamedByItsNameAmongItsChildren()
    {
        QCOMPARE(detailOf(QStringLiteral("<linkDetail><xelPreferredPluginDetail>"
                                         "<xelPluginGUID>{12-34}</xelPluginGUID>"
                                         "<deeper><xelPluginName>Deeper</xelPluginName></deeper>"
                                         "<xelPluginName>QuickTime</xelPluginName>"
                                         "</xelPreferredPluginDetail></linkDetail>"),
                          1),
                 QStringLiteral("Multichannel Audio : \nAudio timecode rate : \nLink using : QuickTime\n"));
    }

    void allThreeLinkLinesAreThereWithoutALinkDetail()
    {
        QCOMPARE(detailOf(QString(), 1),
                 QStringLiteral("Multichannel Audio : \nAudio timecode rate : \nLink using : \n"));
    }

    void copyRowShowsThePathThenCheckInThenRelink()
    {
        QCOMPARE(
            detailOf(activity(QStringLiteral("copy"), QStringLiteral("Copy 1"),
                              QStringLiteral("<destinationDetail><filesystemPath>/media/%2/x</filesystemPath>"
                                             "<relinkAfterCopy>true</relinkAfterCopy>"
                                             "<autoCheckin>true</autoCheckin></destinationDetail>")),
                     2),
            QStringLiteral(
                "Auto copy to : /media/%2/x\nCheckin to Ledgerhouse\nAuto Relink when complete\n"));
    }

    void copyRowLeavesOutWhatIsNotExactlyTrue()
    {
        QCOMPARE(detailOf(activity(QStringLiteral("copy"), QStringLiteral("Copy 1"),
                                   QStringLiteral("<destinationDetail><filesystemPath>/m</filesystemPath>"
                                                  "<relinkAfterCopy>TRUE</relinkAfterCopy>"
                                                  "<autoCheckin>1</autoCheckin></destinationDetail>")),
                          2),
                 QStringLiteral("Auto copy to : /m\n"));
    }

    void transcodeRowWithEveryOption()
    {
        QCOMPARE(detailOf(activity(QStringLiteral("transcode"), QStringLiteral("Transcode 1"),
                                   QStringLiteral(
                                       "<outputDetail><filesystemVideoVolume>/v/</filesystemVideoVolume>"
                                       "<filesystemAudioVolume>/a/</filesystemAudioVolume>"
                                       "<outputTranscodeVideoProfile>"
                                       "<videoIncludeReformattedContent>true</videoIncludeReformattedContent>"
                                       "<applyColorTransformations>true</applyColorTransformations>"
                                       "<videoCompressionType name=\"ProRes 422\">7</videoCompressionType>"
                                       "</outputTranscodeVideoProfile>"
                                       "<outputAudioProfile>"
                                       "<audioSampleRate enabled=\"true\">48000</audioSampleRate>"
                                       "<audioSampleWidth enabled=\"true\">24</audioSampleWidth>"
                                       "<audioFormat enabled=\"true\">PCM  (MXF OP1a)</audioFormat>"
                                       "</outputAudioProfile></outputDetail>")),
                          2),
                 QStringLiteral("Video: ProRes 422\n"
                                "Apply Reformatting option (compatibility mode)\n"
                                "Apply color transformations (compatibility mode)\n"
                                "Convert Audio Sample Rate :  : 48000\n"
                                "Convert Audio Bit Depth :  : 24\n"
                                "Convert Audio Format : PCM  (MXF OP1a)\n"
                                "Video Volume : /v/   Audio Volume : /a/"));
    }

    void transcodeRowWithoutEnabledAudioShowsOnlyVideoOptionsAndVolumes()
    {
        QCOMPARE(
            detailOf(
                activity(QStringLiteral("transcode"), QStringLiteral("Transcode "),
                         QStringLiteral(
                             "<outputDetail><filesystemVideoVolume>/v/</filesystemVideoVolume>"
                             "<filesystemAudioVolume>/a/</filesystemAudioVolume>"
                             "<outputTranscodeVideoProfile>"
                             "<videoIncludeReformattedContent>true</videoIncludeReformattedContent>"
                             "<applyColorTransformations>True</applyColorTransformations>"
                             "<videoCompressionType name=\"FFV1\">7</videoCompressionType>"
                             "</outputTranscodeVideoProfile>"
                             "<outputAudioProfile><audioSampleRate enabled=\"false\">48000</audioSampleRate>"
                             "<audioSampleWidth enabled=\"TRUE\">24</audioSampleWidth>"
                             "<audioFormat>PCM</audioFormat></outputAudioProfile></outputDetail>")),
                2),
            QStringLiteral("Video: FFV1\nApply Reformatting option (compatibility mode)\n"
                           "Video Volume : /v/   Audio Volume : /a/"));
    }

    void aVolumeMayHoldWhatLooksLikeAPlaceholder()
    {
        QCOMPARE(detailOf(activity(QStringLiteral("transcode"), QStringLiteral("Transcode 1"),
                                   QStringLiteral("<outputDetail>"
                                                  "<filesystemVideoVolume>/v%2/</filesystemVideoVolume>"
                                                  "<filesystemAudioVolume>/a%1/</filesystemAudioVolume>"
                                                  "</outputDetail>")),
                          2),
                 QStringLiteral("Video: \nVideo Volume : /v%2/   Audio Volume : /a%1/"));
    }

    void aLaterColourTextThatIsNotTrueClearsTheColourLine()
    {
        QCOMPARE(
            detailOf(activity(QStringLiteral("transcode"), QStringLiteral("Transcode 1"),
                              QStringLiteral("<outputDetail><outputTranscodeVideoProfile>"
                                             "<applyColorTransformations>true</applyColorTransformations>"
                                             "<applyColorTransformations>no</applyColorTransformations>"
                                             "</outputTranscodeVideoProfile></outputDetail>")),
                     2),
            QStringLiteral("Video: \nVideo Volume :    Audio Volume : "));
    }

    void consolidateRowWithEveryOption()
    {
        QCOMPARE(
            detailOf(activity(QStringLiteral("consolidate"), QStringLiteral("Consolidate"),
                              QStringLiteral("<outputDetail><outputConsolidateVideoProfile>"
                                             "<videoSkipOnTarget>true</videoSkipOnTarget>"
                                             "<videoRelinkSkippedToTarget>true</videoRelinkSkippedToTarget>"
                                             "</outputConsolidateVideoProfile><outputAudioProfile>"
                                             "<audioFormat enabled=\"true\">F</audioFormat>"
                                             "<audioSampleRate enabled=\"true\">R</audioSampleRate>"
                                             "<audioSampleWidth enabled=\"true\">W</audioSampleWidth>"
                                             "</outputAudioProfile></outputDetail>")),
                     2),
            QStringLiteral("Skip Media Already On Target Drive\n"
                           "Relink selected clips to target drive before skipping\n"
                           "Convert Audio Sample Rate :  : R\nConvert Audio Bit Depth :  : W\n"
                           "Convert Audio Format : F\n"));
    }

    void consolidateRowWithoutOptionsIsEmpty()
    {
        QCOMPARE(
            detailOf(activity(QStringLiteral("consolidate"), QStringLiteral("Consolidate"), QString()), 2),
            QString());
    }

    void textsAreLookedUpInTheHost()
    {
        StandInHost::setTranslator(
            [](const QString& text) -> QString { return QStringLiteral("<%1>").arg(text); });
        KRXSummaryWidget summary(nullptr);
        QDomDocument doc =
            document(QStringLiteral("<binDetail><binSelectionMethod>CREATENEW</binSelectionMethod>"
                                    "<binNamingMethod>VOLUME</binNamingMethod></binDetail>"));
        summary.updateSummaryFromXML(doc);
        StandInHost::setTranslator({});
        QCOMPARE(cell(summary, 0, 0), QStringLiteral("<Bins:>"));
        QCOMPARE(cell(summary, 0, 1), QStringLiteral("<Create a new Bin : ><Volume Name>"));
        QCOMPARE(cell(summary, 1, 1),
                 QStringLiteral("<Multichannel Audio> : \n<Audio timecode rate> : \n<Link using> : \n"));
        QCOMPARE(cell(summary, 1, 0), QStringLiteral("<Link Options:>"));
    }

    void textsOfActionsAreLookedUpButTheirFormatsAreNot()
    {
        QDomDocument doc = document(
            activity(QStringLiteral("copy"), QStringLiteral("Copy 1"),
                     QStringLiteral("<destinationDetail><filesystemPath>/m</filesystemPath>"
                                    "<relinkAfterCopy>true</relinkAfterCopy><autoCheckin>true</autoCheckin>"
                                    "</destinationDetail>")) +
            activity(QStringLiteral("transcode"), QStringLiteral("Transcode 1"),
                     QStringLiteral(
                         "<outputDetail><filesystemVideoVolume>/v</filesystemVideoVolume>"
                         "<filesystemAudioVolume>/a</filesystemAudioVolume><outputTranscodeVideoProfile>"
                         "<videoIncludeReformattedContent>true</videoIncludeReformattedContent>"
                         "<applyColorTransformations>true</applyColorTransformations>"
                         "<videoCompressionType name=\"FFV1\">7</videoCompressionType>"
                         "</outputTranscodeVideoProfile><outputAudioProfile>"
                         "<audioSampleRate enabled=\"true\">48</audioSampleRate>"
                         "<audioSampleWidth enabled=\"true\">24</audioSampleWidth>"
                         "<audioFormat enabled=\"true\">PCM</audioFormat>"
                         "</outputAudioProfile></outputDetail>")) +
            activity(QStringLiteral("consolidate"), QStringLiteral("Consolidate"),
                     QStringLiteral("<outputDetail><outputConsolidateVideoProfile>"
                                    "<videoSkipOnTarget>true</videoSkipOnTarget>"
                                    "<videoRelinkSkippedToTarget>true</videoRelinkSkippedToTarget>"
                                    "</outputConsolidateVideoProfile></outputDetail>")));
        StandInHost::setTranslator(
            [](const QString& text) -> QString { return QLatin1Char('<') + text + QLatin1Char('>'); });
        KRXSummaryWidget summary(nullptr);
        summary.updateSummaryFromXML(doc);
        StandInHost::setTranslator({});
        QCOMPARE(cell(summary, 2, 0), QStringLiteral("Copy 1"));
        QCOMPARE(
            cell(summary, 2, 1),
            QStringLiteral("<Auto copy to> : /m\n<Checkin to Ledgerhouse>\n<Auto Relink when complete>\n"));
        QCOMPARE(cell(summary, 3, 1), QStringLiteral("Video: FFV1\n"
                                                     "<Apply Reformatting option (compatibility mode)>\n"
                                                     "<Apply color transformations (compatibility mode)>\n"
                                                     "<Convert Audio Sample Rate : > : 48\n"
                                                     "<Convert Audio Bit Depth : > : 24\n"
                                                     "<Convert Audio Format> : PCM\n"
                                                     "<Video Volume : /v   Audio Volume : /a>"));
        QCOMPARE(cell(summary, 4, 1),
                 QStringLiteral("<Skip Media Already On Target Drive>\n"
                                "<Relink selected clips to target drive before skipping>\n"));
    }
};

QTEST_MAIN(TestSummary)
#include "test_summary.moc"
