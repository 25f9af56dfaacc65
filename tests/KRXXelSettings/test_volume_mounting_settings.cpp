#include "KRXVolumeMountingSettings.h"
#include "SettingsFixture.h"
#include "StandInHost.h"

#include <QCheckBox>

using SettingsTest::settingsDocument;

namespace {

using Fixture = SettingsTest::Fixture<KRXVolumeMountingSettings>;

QCheckBox* box(const Fixture& fixture)
{
    return fixture.widget->findChild<QCheckBox*>(QStringLiteral("doNotCheckPreviousForModifications"));
}

QString detail(const QString& text)
{
    return QStringLiteral(" <volumeMountingDetail>\n"
                          "  <doNotCheckPreviousForModifications>%1</doNotCheckPreviousForModifications>\n"
                          " </volumeMountingDetail>\n")
        .arg(text);
}

} // namespace

class TestVolumeMountingSettings : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    void theBoxIsUncheckedByDefault()
    {
        Fixture fixture;
        QCOMPARE(int(fixture.group.settingsType()), 4);
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        QCOMPARE(box(fixture)->text(),
                 QStringLiteral(
                     "When mounting previously mounted volumes do not check for modification to the volume"));
        QVERIFY(!box(fixture)->isChecked());
    }

    void theBoxStandsBetweenStretches()
    {
        const Fixture fixture;
        const QSize wanted = fixture.widget->sizeHint();
        fixture.widget->resize(wanted.width() + 100, wanted.height() + 100);
        fixture.widget->layout()->activate();
        const QRect place = box(fixture)->geometry();
        QCOMPARE(place.height(), box(fixture)->sizeHint().height());
        QVERIFY(place.top() >= 50);
        QVERIFY(fixture.widget->height() - place.bottom() >= 50);
        QVERIFY(fixture.widget->width() - place.right() >= 100);
    }

    void theTextIsLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        QVERIFY(box(Fixture())->text().startsWith(QLatin1String("~When mounting")));
    }

    void bothStatesAreWrittenInUpperCase()
    {
        Fixture fixture;
        KRX_COMPARE_XML(fixture.written(), settingsDocument(detail(QStringLiteral("FALSE"))));
        box(fixture)->setChecked(true);
        KRX_COMPARE_XML(fixture.written(), settingsDocument(detail(QStringLiteral("TRUE"))));
    }

    void onlyLowerCaseTrueReadsAsChecked_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("checked");
        QTest::newRow("true") << "true" << true;
        QTest::newRow("TRUE, as it is written") << "TRUE" << false;
        QTest::newRow("True") << "True" << false;
        QTest::newRow("false") << "false" << false;
        QTest::newRow("FALSE") << "FALSE" << false;
        QTest::newRow("blank behind") << "true " << false;
        QTest::newRow("1") << "1" << false;
        QTest::newRow("empty") << "" << false;
    }

    void onlyLowerCaseTrueReadsAsChecked()
    {
        QFETCH(QString, text);
        QFETCH(bool, checked);
        for (const bool before : {false, true}) {
            Fixture fixture;
            box(fixture)->setChecked(before);
            fixture.read(detail(text));
            QCOMPARE(box(fixture)->isChecked(), checked);
        }
    }

    void aCheckedBoxIsUncheckedAfterWritingAndReading()
    {
        Fixture fixture;
        box(fixture)->setChecked(true);
        fixture.group.readXml(SettingsTest::parsed(fixture.written()).documentElement());
        QVERIFY(!box(fixture)->isChecked());
    }

    void theFirstDetailAnywhereBelowTheRootIsRead()
    {
        Fixture fixture;
        fixture.readDeep(detail(QStringLiteral("true")) + detail(QStringLiteral("false")));
        QVERIFY(box(fixture)->isChecked());
    }

    void tagsAreComparedExactly()
    {
        Fixture fixture;
        fixture.read(
            detail(QStringLiteral("true")).replace(QLatin1String("doNotCheck"), QLatin1String("DoNotCheck")));
        fixture.read(detail(QStringLiteral("true"))
                         .replace(QLatin1String("volumeMounting"), QLatin1String("VolumeMounting")));
        QVERIFY(!box(fixture)->isChecked());
    }

    void documentsWithoutVolumeMountingLeaveTheBoxAlone()
    {
        Fixture fixture;
        box(fixture)->setChecked(true);
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("volumeMountingDetail"))) {
            fixture.read(inside);
            QVERIFY(box(fixture)->isChecked());
        }
        fixture.group.readXml(QDomElement());
        QVERIFY(box(fixture)->isChecked());
    }
};

QTEST_MAIN(TestVolumeMountingSettings)
#include "test_volume_mounting_settings.moc"
