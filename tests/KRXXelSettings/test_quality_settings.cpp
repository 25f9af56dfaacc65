#include "KRXQualitySettings.h"
#include "SettingsFixture.h"
#include "StandInHost.h"
#include "VGroupBox.h"

using SettingsTest::settingsDocument;

namespace {

using Fixture = SettingsTest::Fixture<KRXQualitySettings>;

const QString kVideo = QStringLiteral("xelLinkPolicyVideo");
const QString kAudio = QStringLiteral("xelLinkPolicyAudio");
const QString kHighest = QStringLiteral("Highest Quality");
const QString kCompressed = QStringLiteral("Most Compressed");

QString detail(const char* video, const char* audio)
{
    return QStringLiteral(" <xelDetail>\n"
                          "  <xelLinkPolicyVideo>%1</xelLinkPolicyVideo>\n"
                          "  <xelLinkPolicyAudio>%2</xelLinkPolicyAudio>\n"
                          " </xelDetail>\n")
        .arg(QLatin1String(video), QLatin1String(audio));
}

} // namespace

class TestQualitySettings : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    void highestQualityIsTheDefault()
    {
        Fixture fixture;
        QCOMPARE(int(fixture.group.settingsType()), 2);
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        QCOMPARE(fixture.labels(), QStringList({QStringLiteral("Link Preferences")}));
        QCOMPARE(fixture.widget->layout()->spacing(), 3);
        QVERIFY(fixture.isChecked(kHighest, kVideo));
        QVERIFY(fixture.isChecked(kHighest, kAudio));
    }

    void theTwoBoxesStandSideBySide()
    {
        const Fixture fixture;
        const auto* video = fixture.widget->findChild<VGroupBox*>(kVideo);
        const auto* audio = fixture.widget->findChild<VGroupBox*>(kAudio);
        QCOMPARE(video->title(), QStringLiteral("Video"));
        QCOMPARE(audio->title(), QStringLiteral("Audio"));
        for (const VGroupBox* box : {video, audio}) {
            QCOMPARE(box->minimumWidth(), 150);
            QCOMPARE(box->maximumWidth(), 150);
        }
        fixture.widget->resize(fixture.widget->sizeHint());
        fixture.widget->layout()->activate();
        QCOMPARE(video->y(), audio->y());
        QVERIFY(video->geometry().right() < audio->x());
        // They stay together however wide the section is.
        const int between = audio->x() - video->geometry().right();
        fixture.widget->layout()->setGeometry(fixture.widget->rect().adjusted(0, 0, 400, 0));
        QCOMPARE(audio->x() - video->geometry().right(), between);
    }

    void theLabelStandsAboveTheBoxesAndHighestQualityAboveMostCompressed()
    {
        const Fixture fixture;
        QWidget* label = fixture.labelOf(QStringLiteral("Link Preferences"));
        for (const QString& box : {kVideo, kAudio}) {
            QVERIFY(fixture.standBelowEachOther({label, fixture.widget->findChild<VGroupBox*>(box)}));
            QVERIFY(fixture.standBelowEachOther(
                {label, fixture.button(kHighest, box), fixture.button(kCompressed, box)}));
        }
    }

    void theTextsAreLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        const Fixture fixture;
        QCOMPARE(fixture.labels(), QStringList({QStringLiteral("~Link Preferences")}));
        QCOMPARE(fixture.widget->findChild<VGroupBox*>(kVideo)->title(), QStringLiteral("~Video"));
        QCOMPARE(fixture.widget->findChild<VGroupBox*>(kAudio)->title(), QStringLiteral("~Audio"));
        for (const QString& box : {kVideo, kAudio}) {
            QVERIFY(fixture.isChecked(QStringLiteral("~Highest Quality"), box));
            QVERIFY(!fixture.isChecked(QStringLiteral("~Most Compressed"), box));
        }
    }

    void eachElementCarriesTheOtherBoxesChoice_data()
    {
        QTest::addColumn<QString>("video");
        QTest::addColumn<QString>("audio");
        QTest::addColumn<QString>("inside");
        QTest::newRow("both highest") << kHighest << kHighest << detail("HIGHESTQUALITY", "HIGHESTQUALITY");
        QTest::newRow("video most compressed")
            << kCompressed << kHighest << detail("HIGHESTQUALITY", "MOSTCOMPRESSED");
        QTest::newRow("audio most compressed")
            << kHighest << kCompressed << detail("MOSTCOMPRESSED", "HIGHESTQUALITY");
        QTest::newRow("both most compressed")
            << kCompressed << kCompressed << detail("MOSTCOMPRESSED", "MOSTCOMPRESSED");
    }

    void eachElementCarriesTheOtherBoxesChoice()
    {
        QFETCH(QString, video);
        QFETCH(QString, audio);
        QFETCH(QString, inside);
        Fixture fixture;
        fixture.check(video, kVideo);
        fixture.check(audio, kAudio);
        KRX_COMPARE_XML(fixture.written(), settingsDocument(inside));
        // Read back, the choices are exchanged.
        Fixture other;
        other.read(inside);
        QVERIFY(other.isChecked(audio, kVideo));
        QVERIFY(other.isChecked(video, kAudio));
    }

    void readingTakesEachElementForItsOwnBox()
    {
        Fixture fixture;
        fixture.read(detail("MOSTCOMPRESSED", "HIGHESTQUALITY"));
        QVERIFY(fixture.isChecked(kCompressed, kVideo));
        QVERIFY(fixture.isChecked(kHighest, kAudio));
        fixture.read(detail("HIGHESTQUALITY", "MOSTCOMPRESSED"));
        QVERIFY(fixture.isChecked(kHighest, kVideo));
        QVERIFY(fixture.isChecked(kCompressed, kAudio));
    }

    void anythingButHighestQualityReadsAsMostCompressed()
    {
        for (const char* text : {"", "highestquality", "HIGHESTQUALITY ", "BEST", "true"}) {
            Fixture fixture;
            fixture.read(detail(text, "HIGHESTQUALITY"));
            QVERIFY(fixture.isChecked(kCompressed, kVideo));
            QVERIFY(fixture.isChecked(kHighest, kAudio));
            fixture.read(detail("HIGHESTQUALITY", text));
            QVERIFY(fixture.isChecked(kHighest, kVideo));
            QVERIFY(fixture.isChecked(kCompressed, kAudio));
        }
    }

    void theFirstDetailAnywhereBelowTheRootIsRead()
    {
        Fixture fixture;
        fixture.readDeep(detail("MOSTCOMPRESSED", "MOSTCOMPRESSED") +
                         detail("HIGHESTQUALITY", "HIGHESTQUALITY"));
        QVERIFY(fixture.isChecked(kCompressed, kVideo));
        QVERIFY(fixture.isChecked(kCompressed, kAudio));
    }

    void tagsAreComparedExactly()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<xelDetail><xellinkpolicyvideo>x</xellinkpolicyvideo>"
                                    "<XELLINKPOLICYAUDIO>x</XELLINKPOLICYAUDIO></xelDetail>"));
        fixture.read(QStringLiteral("<XelDetail><xelLinkPolicyVideo>x</xelLinkPolicyVideo></XelDetail>"));
        QVERIFY(fixture.isChecked(kHighest, kVideo));
        QVERIFY(fixture.isChecked(kHighest, kAudio));
    }

    void documentsWithoutQualityLeaveTheButtonsAlone()
    {
        Fixture fixture;
        fixture.check(kCompressed, kVideo);
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("xelDetail"))) {
            fixture.read(inside);
            QVERIFY(fixture.isChecked(kCompressed, kVideo));
            QVERIFY(fixture.isChecked(kHighest, kAudio));
        }
        fixture.group.readXml(QDomElement());
        QVERIFY(fixture.isChecked(kCompressed, kVideo));
    }

    void aMissingChildLeavesItsBoxAlone()
    {
        Fixture fixture;
        fixture.check(kCompressed, kVideo);
        fixture.read(
            QStringLiteral("<xelDetail><xelLinkPolicyAudio>MOSTCOMPRESSED</xelLinkPolicyAudio></xelDetail>"));
        QVERIFY(fixture.isChecked(kCompressed, kVideo));
        QVERIFY(fixture.isChecked(kCompressed, kAudio));
    }
};

QTEST_MAIN(TestQualitySettings)
#include "test_quality_settings.moc"
