#include "HostMediaEngine.h"
#include "KRXLinkOptionsSettings.h"
#include "SettingsFixture.h"
#include "StandInHost.h"

#include <QPushButton>
#include <QVBoxLayout>

using SettingsTest::settingsDocument;

namespace {

/// What the host's parser was asked for since the test began.
QStringList parsedTexts;

} // namespace

// Takes the place of the host's parser, so that a test sees what is handed to it and what is not.
HostMediaEngine::ChannelGroups HostMediaEngine::channelGroupsFromText(const QString& text)
{
    parsedTexts << text;
    return {text, QStringLiteral("shown ") + text};
}

namespace {

struct Fixture : SettingsTest::Fixture<KRXLinkOptionsSettings>
{
    Fixture()
    {
        // As a profile editor fills them; data and text differ so that a test sees which of them is used.
        audioBox()->addItem(QStringLiteral("24 (film)"), QStringLiteral("24"));
        audioBox()->addItem(QStringLiteral("25 (PAL)"), QStringLiteral("25"));
        audioBox()->addItem(QStringLiteral("Thirty"), QStringLiteral("thirty"));
        stillBox()->addItem(QStringLiteral("23.976"), QStringLiteral("a"));
        stillBox()->addItem(QStringLiteral("25"), QStringLiteral("b"));
        stillBox()->addItem(QStringLiteral("Project"), QStringLiteral("c"));
    }

    QLabel* label() const { return group.getMultichannelLabel(); }
    QComboBox* audioBox() const { return group.getAudioStartTimeBox(); }
    QComboBox* stillBox() const { return group.getStillImageBox(); }
};

QString linkDetail(const QString& grouping, const QString& audio, const QString& still)
{
    return QStringLiteral(" <linkDetail>\n"
                          "  <multichannelAudio>%1</multichannelAudio>\n"
                          "  <xelAudioStartTimeOption>%2</xelAudioStartTimeOption>\n"
                          "  <xelStillImageFPS>%3</xelStillImageFPS>\n"
                          " </linkDetail>\n")
        .arg(grouping, audio, still);
}

QString grouping(const QString& text)
{
    return QStringLiteral("<linkDetail><multichannelAudio>%1</multichannelAudio></linkDetail>").arg(text);
}

} // namespace

class TestLinkOptionsSettings : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        StandInHost::setTranslator({});
        parsedTexts.clear();
    }
    void cleanup() { StandInHost::setTranslator({}); }

    void theBareGroupHasEmptyBoxesAndNoGrouping()
    {
        SettingsTest::Fixture<KRXLinkOptionsSettings> fixture;
        QCOMPARE(int(fixture.group.settingsType()), 3);
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        QCOMPARE(fixture.group.getAudioStartTimeBox()->count(), 0);
        QCOMPARE(fixture.group.getStillImageBox()->count(), 0);
        QCOMPARE(fixture.group.getMultichannelLabel()->text(), QStringLiteral("None"));
        QVERIFY(!fixture.group.getMultichannelLabel()->property("PersistentStringRepresentation").isValid());
        KRX_COMPARE_XML(fixture.written(),
                        settingsDocument(linkDetail(QStringLiteral("None"), QString(), QString())));
        // Reading into empty boxes selects nothing.
        fixture.read(linkDetail(QStringLiteral("None"), QStringLiteral("25"), QStringLiteral("25")));
        QCOMPARE(fixture.group.getAudioStartTimeBox()->currentIndex(), -1);
        QCOMPARE(fixture.group.getStillImageBox()->currentIndex(), -1);
    }

    void thereIsNothingToFillBeforeTheWidgetIsBuilt()
    {
        const KRXLinkOptionsSettings group;
        QCOMPARE(group.getMultichannelLabel(), nullptr);
        QCOMPARE(group.getAudioStartTimeBox(), nullptr);
        QCOMPARE(group.getStillImageBox(), nullptr);
        QCOMPARE(group.getEditButton(), nullptr);
    }

    void theWidgetsHaveTheirTextsNamesAndTooltips()
    {
        const Fixture fixture;
        QStringList labels = fixture.labels();
        labels.sort();
        QCOMPARE(labels,
                 QStringList({QStringLiteral("Audio Start-Time Option (for Broadcast Wave)"),
                              QStringLiteral("Audio timecode rate:"), QStringLiteral("Multichannel Audio :"),
                              QStringLiteral("None"), QStringLiteral("Still Image FPS:")}));
        const QPushButton* edit = fixture.group.getEditButton();
        QCOMPARE(edit->text(), QStringLiteral("Edit..."));
        QCOMPARE(edit->toolTip(),
                 QStringLiteral("Assign Audio Tracks to Specific Channels in Your Linked Media"));
        QCOMPARE(fixture.label()->objectName(), QStringLiteral("multichannelAudio"));
        QCOMPARE(fixture.audioBox()->objectName(), QStringLiteral("xelAudioStartTimeOption"));
        QCOMPARE(fixture.audioBox()->toolTip(),
                 QStringLiteral("Set the Audio Project Rate for Broadcast Wave Files"));
        QCOMPARE(fixture.stillBox()->objectName(), QStringLiteral("xelStillImageFPS"));
        QCOMPARE(fixture.stillBox()->minimumWidth(), 180);
        QCOMPARE(fixture.stillBox()->maximumWidth(), 180);
        const auto* panel = fixture.widget->findChild<QWidget*>(QStringLiteral("Still_Image_FPS"));
        QCOMPARE(panel->layout()->contentsMargins().left(), 24);
        QVERIFY(panel->isAncestorOf(fixture.stillBox()));
        QCOMPARE(fixture.widget->layout()->spacing(), 3);
    }

    void theWidgetsStandInOrder()
    {
        const Fixture fixture;
        QWidget* grouping = fixture.labelOf(QStringLiteral("Multichannel Audio :"));
        QWidget* startTime = fixture.labelOf(QStringLiteral("Audio Start-Time Option (for Broadcast Wave)"));
        QWidget* rate = fixture.labelOf(QStringLiteral("Audio timecode rate:"));
        QWidget* still = fixture.labelOf(QStringLiteral("Still Image FPS:"));
        QVERIFY(fixture.standBelowEachOther({grouping, startTime, rate, still}));
        QVERIFY(fixture.standSideBySide({grouping, fixture.group.getEditButton(), fixture.label()}));
        QVERIFY(fixture.standSideBySide({rate, fixture.audioBox()}));
        QVERIFY(fixture.standSideBySide({still, fixture.stillBox()}));
        QVERIFY(fixture.widget->findChild<QWidget*>(QStringLiteral("Still_Image_FPS"))->isAncestorOf(still));
    }

    void theTextsAreLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        Fixture fixture;
        for (const QString& text : fixture.labels())
            QVERIFY(text.startsWith(QLatin1Char('~')));
        QCOMPARE(fixture.label()->text(), QStringLiteral("~None"));
        QCOMPARE(fixture.group.getEditButton()->text(), QStringLiteral("~Edit..."));
        QCOMPARE(fixture.group.getEditButton()->toolTip(),
                 QStringLiteral("~Assign Audio Tracks to Specific Channels in Your Linked Media"));
        QCOMPARE(fixture.audioBox()->toolTip(),
                 QStringLiteral("~Set the Audio Project Rate for Broadcast Wave Files"));
        // What is stored is not.
        QVERIFY(fixture.written().contains(QLatin1String("<multichannelAudio>None<")));
    }

    void everyStateIsWrittenAndReadBack_data()
    {
        QTest::addColumn<int>("audio");
        QTest::addColumn<int>("still");
        QTest::addColumn<QVariant>("property");
        QTest::addColumn<QString>("inside");
        const QStringList audioValues{QStringLiteral("24"), QStringLiteral("25"), QStringLiteral("thirty")};
        const QStringList stillValues{QStringLiteral("23.976"), QStringLiteral("25"),
                                      QStringLiteral("Project")};
        const QList<QPair<QVariant, QString>> groupings{
            {QVariant(), QStringLiteral("None")},
            {QVariant(QStringLiteral("1-2:Stereo")), QStringLiteral("1-2:Stereo")},
            {QVariant(QStringLiteral("None")), QStringLiteral("None")},
            {QVariant(QString()), QString()},
        };
        for (int audio = 0; audio < audioValues.size(); ++audio) {
            for (int still = 0; still < stillValues.size(); ++still) {
                for (const auto& entry : groupings) {
                    QTest::addRow("%d %d %s", audio, still, qPrintable(entry.first.toString()))
                        << audio << still << entry.first
                        << linkDetail(entry.second, audioValues.at(audio), stillValues.at(still));
                }
            }
        }
    }

    void everyStateIsWrittenAndReadBack()
    {
        QFETCH(int, audio);
        QFETCH(int, still);
        QFETCH(QVariant, property);
        QFETCH(QString, inside);
        Fixture fixture;
        fixture.audioBox()->setCurrentIndex(audio);
        fixture.stillBox()->setCurrentIndex(still);
        fixture.label()->setProperty("PersistentStringRepresentation", property);
        KRX_COMPARE_XML(fixture.written(), settingsDocument(inside));

        Fixture other;
        other.audioBox()->setCurrentIndex((audio + 1) % 3);
        other.stillBox()->setCurrentIndex((still + 1) % 3);
        other.read(inside);
        QCOMPARE(other.audioBox()->currentIndex(), audio);
        QCOMPARE(other.stillBox()->currentIndex(), still);
        KRX_COMPARE_XML(other.written(), settingsDocument(inside));
    }

    void aGroupingIsHandedToTheHostsParser()
    {
        Fixture fixture;
        const QString text = QStringLiteral("1-2:Stereo;3-8:5.1");
        fixture.read(grouping(text));
        QCOMPARE(fixture.label()->property("PersistentStringRepresentation").toString(), text);
        QCOMPARE(fixture.label()->text(), QStringLiteral("shown 1-2:Stereo;3-8:5.1"));
        QCOMPARE(parsedTexts, QStringList({text}));
    }

    void noneIsNotHandedToTheParserAndShowsNone()
    {
        Fixture fixture;
        fixture.read(grouping(QStringLiteral("None")));
        QCOMPARE(fixture.label()->property("PersistentStringRepresentation").toString(),
                 QStringLiteral("None"));
        QCOMPARE(fixture.label()->text(), QStringLiteral("None"));
        QCOMPARE(parsedTexts, QStringList());
    }

    void noneAfterAnotherGroupingShowsNoneAgain()
    {
        Fixture fixture;
        fixture.read(grouping(QStringLiteral("1-2:Stereo")));
        QVERIFY(fixture.label()->text() != QLatin1String("None"));
        fixture.read(grouping(QStringLiteral("None")));
        QCOMPARE(fixture.label()->text(), QStringLiteral("None"));
        QCOMPARE(fixture.label()->property("PersistentStringRepresentation").toString(),
                 QStringLiteral("None"));
    }

    void anyOtherTextIsHandedToTheParserAndKeptAsItIs_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << QString();
        QTest::newRow("none in another case") << QStringLiteral("none");
        QTest::newRow("blank behind") << QStringLiteral("None ");
        QTest::newRow("nonsense") << QStringLiteral("9-1:Stereo;x");
        QTest::newRow("placeholders") << QStringLiteral("%1 %2");
        QTest::newRow("oversized") << QString(200000, QLatin1Char('x'));
    }

    void anyOtherTextIsHandedToTheParserAndKeptAsItIs()
    {
        QFETCH(QString, text);
        Fixture fixture;
        fixture.read(grouping(text));
        QCOMPARE(fixture.label()->property("PersistentStringRepresentation").toString(), text);
        QCOMPARE(fixture.label()->text(), QString(QStringLiteral("shown ") + text));
        QCOMPARE(parsedTexts, QStringList({text}));
        QVERIFY(fixture.written().contains(
            QStringLiteral("<multichannelAudio>%1</multichannelAudio>").arg(text)));
    }

    void markupInAGroupingIsShownAsText()
    {
        Fixture fixture;
        fixture.read(
            grouping(QStringLiteral("&lt;h1&gt;big&lt;/h1&gt;&lt;img src='file:///etc/hostname'/&gt;")));
        QCOMPARE(fixture.label()->textFormat(), Qt::PlainText);
        QVERIFY(fixture.label()->text().contains(QLatin1String("<h1>big</h1>")));
    }

    void aLongGroupingDoesNotWidenTheEditor()
    {
        Fixture fixture;
        const int before = fixture.widget->minimumSizeHint().width();
        fixture.read(grouping(QString(5000, QLatin1Char('x'))));
        fixture.widget->layout()->activate();
        QCOMPARE(fixture.widget->minimumSizeHint().width(), before);
    }

    void ratesAreMatchedWithoutRegardToCaseOrFallBackToTheFirst_data()
    {
        QTest::addColumn<QString>("audio");
        QTest::addColumn<int>("audioIndex");
        QTest::addColumn<QString>("still");
        QTest::addColumn<int>("stillIndex");
        QTest::newRow("data for one, text for the other") << "25" << 1 << "25" << 1;
        QTest::newRow("text for the one, data for the other") << "25 (PAL)" << 0 << "b" << 0;
        QTest::newRow("other case") << "THIRTY" << 2 << "project" << 2;
        QTest::newRow("unknown") << "99" << 0 << "99" << 0;
        QTest::newRow("empty") << "" << 0 << "" << 0;
        QTest::newRow("only the beginning") << "thir" << 0 << "Proj" << 0;
        QTest::newRow("blanks around") << " 25 " << 0 << " 25 " << 0;
        QTest::newRow("wildcards") << "*" << 0 << "*" << 0;
        QTest::newRow("oversized") << QString(100000, QLatin1Char('2')) << 0
                                   << QString(100000, QLatin1Char('2')) << 0;
    }

    void ratesAreMatchedWithoutRegardToCaseOrFallBackToTheFirst()
    {
        QFETCH(QString, audio);
        QFETCH(int, audioIndex);
        QFETCH(QString, still);
        QFETCH(int, stillIndex);
        Fixture fixture;
        fixture.audioBox()->setCurrentIndex(1);
        fixture.stillBox()->setCurrentIndex(1);
        fixture.read(linkDetail(QStringLiteral("None"), audio, still));
        QCOMPARE(fixture.audioBox()->currentIndex(), audioIndex);
        QCOMPARE(fixture.stillBox()->currentIndex(), stillIndex);
    }

    void documentsWithoutLinkOptionsLeaveTheWidgetsAlone()
    {
        Fixture fixture;
        fixture.audioBox()->setCurrentIndex(2);
        fixture.stillBox()->setCurrentIndex(1);
        fixture.read(grouping(QStringLiteral("1-2:Stereo")));
        const QString before = fixture.written();
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("linkDetail"))) {
            fixture.read(inside);
            KRX_COMPARE_XML(fixture.written(), before);
        }
        fixture.group.readXml(QDomElement());
        KRX_COMPARE_XML(fixture.written(), before);
    }

    void repeatedChildrenEndWithTheLastOne()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<linkDetail><xelStillImageFPS>Project</xelStillImageFPS>"
                                    "<xelStillImageFPS>25</xelStillImageFPS></linkDetail>"));
        QCOMPARE(fixture.stillBox()->currentIndex(), 1);
    }

    void theFirstLinkDetailAnywhereBelowTheRootIsRead()
    {
        Fixture fixture;
        fixture.readDeep(
            linkDetail(QStringLiteral("None"), QStringLiteral("25"), QStringLiteral("25")) +
            linkDetail(QStringLiteral("None"), QStringLiteral("thirty"), QStringLiteral("Project")));
        QCOMPARE(fixture.audioBox()->currentIndex(), 1);
        QCOMPARE(fixture.stillBox()->currentIndex(), 1);
    }

    void tagsAreComparedExactly()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<linkDetail><MULTICHANNELAUDIO>x</MULTICHANNELAUDIO>"
                                    "<XelAudioStartTimeOption>25</XelAudioStartTimeOption>"
                                    "<xelstillimagefps>25</xelstillimagefps></linkDetail>"));
        fixture.read(linkDetail(QStringLiteral("x"), QStringLiteral("25"), QStringLiteral("25")).toLower());
        QCOMPARE(fixture.label()->text(), QStringLiteral("None"));
        QCOMPARE(fixture.audioBox()->currentIndex(), 0);
        QCOMPARE(fixture.stillBox()->currentIndex(), 0);
        QCOMPARE(parsedTexts, QStringList());
    }

    void theLinkDetailIsSharedAndMovedToTheEnd()
    {
        Fixture fixture;
        SettingsTest::verifyLinkDetailIsShared<KRXLinkOptionsSettings>(
            fixture, QStringLiteral("  <multichannelAudio>None</multichannelAudio>\n"
                                    "  <xelAudioStartTimeOption>24</xelAudioStartTimeOption>\n"
                                    "  <xelStillImageFPS>23.976</xelStillImageFPS>\n"));
    }
};

QTEST_MAIN(TestLinkOptionsSettings)
#include "test_link_options_settings.moc"
