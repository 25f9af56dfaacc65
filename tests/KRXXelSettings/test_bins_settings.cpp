#include "KRXBinsSettings.h"
#include "SettingsFixture.h"
#include "StandInHost.h"

#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

using SettingsTest::settingsDocument;

namespace {

using Fixture = SettingsTest::Fixture<KRXBinsSettings>;

const QString kUseActive = QStringLiteral("Use Active Bin");
const QString kCreateNew = QStringLiteral("Create New Bin");
const QString kDefault = QStringLiteral("Default Bin Naming Convention");
const QString kVolume = QStringLiteral("Volume Name");
const QString kExplicit = QStringLiteral("Specify bin name");

QLineEdit* nameEdit(const Fixture& fixture)
{
    return fixture.widget->findChild<QLineEdit*>();
}

/// The checked buttons, as they are read from top to bottom.
QStringList checkedTexts(const Fixture& fixture)
{
    QStringList texts;
    for (const QString& text : {kUseActive, kCreateNew, kDefault, kVolume, kExplicit}) {
        if (fixture.isChecked(text))
            texts << text;
    }
    return texts;
}

QString binDetail(const QString& selection, const QString& naming)
{
    return QStringLiteral("<binDetail><binSelectionMethod>%1</binSelectionMethod>"
                          "<binNamingMethod>%2</binNamingMethod></binDetail>")
        .arg(selection, naming);
}

} // namespace

class TestBinsSettings : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    void aNewBinNamedAfterTheVolumeIsTheDefault()
    {
        const Fixture fixture;
        QCOMPARE(int(fixture.group.settingsType()), 1);
        QCOMPARE(checkedTexts(fixture), QStringList({kCreateNew, kVolume}));
        QCOMPARE(nameEdit(fixture)->text(), QString());
    }

    void theWidgetsStandInOrderWithTheirTooltips()
    {
        Fixture fixture;
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        QStringList buttons;
        for (const QRadioButton* button : fixture.widget->findChildren<QRadioButton*>())
            buttons << QStringLiteral("%1|%2").arg(button->text(), button->toolTip());
        buttons.sort();
        QCOMPARE(
            buttons,
            QStringList({QStringLiteral("Create New Bin|Create New Bin to Store Linked Clips"),
                         QStringLiteral("Default Bin Naming Convention|Uses the Project Name for the Bin"),
                         QStringLiteral("Specify bin name|Lets You Enter a New Bin Name"),
                         QStringLiteral("Use Active Bin|Use the Currently Active Bin to Store Linked Clips"),
                         QStringLiteral("Volume Name|Uses the Name or Label of the Volume")}));
        QCOMPARE(nameEdit(fixture)->toolTip(), QStringLiteral("New Bin Name"));
        const auto* column = qobject_cast<QVBoxLayout*>(fixture.widget->layout());
        QVERIFY(column);
        QCOMPARE(column->spacing(), 3);
        QCOMPARE(column->itemAt(0)->widget(), fixture.button(kUseActive));
        QCOMPARE(column->itemAt(1)->widget(), fixture.button(kCreateNew));
        const auto* panel = fixture.widget->findChild<QWidget*>(QStringLiteral("binNamingMethod"));
        QCOMPARE(panel->minimumWidth(), 200);
        QCOMPARE(panel->maximumWidth(), 200);
        const QLayout* inside = panel->layout();
        QCOMPARE(inside->count(), 4);
        QCOMPARE(inside->itemAt(0)->widget(), fixture.button(kDefault));
        QCOMPARE(inside->itemAt(1)->widget(), fixture.button(kVolume));
        QCOMPARE(inside->itemAt(2)->widget(), fixture.button(kExplicit));
        QCOMPARE(inside->itemAt(3)->widget(), nameEdit(fixture));
    }

    void thePanelIsIndented()
    {
        const Fixture fixture;
        fixture.widget->resize(fixture.widget->sizeHint());
        fixture.widget->layout()->activate();
        const auto* panel = fixture.widget->findChild<QWidget*>(QStringLiteral("binNamingMethod"));
        QVERIFY(panel->mapTo(fixture.widget.get(), QPoint()).x() > fixture.button(kCreateNew)->x());
    }

    void theTwoChoicesAreIndependent()
    {
        Fixture fixture;
        fixture.check(kUseActive);
        QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kVolume}));
        fixture.check(kDefault);
        QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kDefault}));
    }

    void theTextsAreLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        const Fixture fixture;
        for (const QRadioButton* button : fixture.widget->findChildren<QRadioButton*>()) {
            QVERIFY(button->text().startsWith(QLatin1Char('~')));
            QVERIFY(button->toolTip().startsWith(QLatin1Char('~')));
        }
        QCOMPARE(nameEdit(fixture)->toolTip(), QStringLiteral("~New Bin Name"));
    }

    void everyChoiceIsWritten_data()
    {
        QTest::addColumn<QString>("selection");
        QTest::addColumn<QString>("naming");
        QTest::addColumn<QString>("inside");
        struct Choice
        {
            QString button;
            const char* value;
        };
        const Choice selections[] = {{kUseActive, "USEACTIVE"}, {kCreateNew, "CREATENEW"}};
        const Choice namings[] = {{kDefault, "DEFAULT"}, {kVolume, "VOLUME"}, {kExplicit, "EXPLICIT"}};
        for (const Choice& selection : selections) {
            for (const Choice& naming : namings) {
                const bool isExplicit = naming.button == kExplicit;
                const QString name =
                    isExplicit ? QStringLiteral("  <binExplicitName>Rushes</binExplicitName>\n") : QString();
                QTest::addRow("%s %s", selection.value, naming.value)
                    << selection.button << naming.button
                    << QStringLiteral(" <binDetail>\n%1"
                                      "  <binSelectionMethod>%2</binSelectionMethod>\n"
                                      "  <binNamingMethod>%3</binNamingMethod>\n"
                                      " </binDetail>\n")
                           .arg(name, QLatin1String(selection.value), QLatin1String(naming.value));
            }
        }
    }

    void everyChoiceIsWritten()
    {
        QFETCH(QString, selection);
        QFETCH(QString, naming);
        QFETCH(QString, inside);
        Fixture fixture;
        nameEdit(fixture)->setText(QStringLiteral("Rushes"));
        fixture.check(selection);
        fixture.check(naming);
        KRX_COMPARE_XML(fixture.written(), settingsDocument(inside));
        // And read back.
        Fixture other;
        other.read(inside);
        QCOMPARE(checkedTexts(other), QStringList({selection, naming}));
        QCOMPARE(nameEdit(other)->text(), naming == kExplicit ? QStringLiteral("Rushes") : QString());
    }

    void anExplicitNameComesFirst()
    {
        Fixture fixture;
        fixture.check(kExplicit);
        nameEdit(fixture)->setText(QStringLiteral("Rushes"));
        const QDomDocument document = SettingsTest::parsed(fixture.written());
        QStringList order;
        for (const QDomElement& child :
             KRXXml::childElements(KRXXml::firstElement(document, QStringLiteral("binDetail"))))
            order << child.tagName();
        QCOMPARE(order, QStringList({QStringLiteral("binExplicitName"), QStringLiteral("binSelectionMethod"),
                                     QStringLiteral("binNamingMethod")}));
    }

    void anEmptyExplicitNameIsWrittenWithATextNode()
    {
        Fixture fixture;
        fixture.check(kExplicit);
        QVERIFY(fixture.written().contains(QLatin1String("<binExplicitName></binExplicitName>")));
    }

    void anUnknownSelectionChecksTheActiveBin()
    {
        for (const QString& selection : {QStringLiteral("SOMETHING"), QString(), QStringLiteral("createnew"),
                                         QStringLiteral(" CREATENEW"), QStringLiteral("1")}) {
            Fixture fixture;
            fixture.read(binDetail(selection, QStringLiteral("VOLUME")));
            QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kVolume}));
        }
    }

    void anUnknownNamingLeavesTheButtonsAlone()
    {
        for (const QString& naming : {QStringLiteral("SOMETHING"), QString(), QStringLiteral("explicit"),
                                      QStringLiteral("DEFAULT ")}) {
            for (const QString& checked : {kDefault, kVolume, kExplicit}) {
                Fixture fixture;
                fixture.check(checked);
                fixture.read(binDetail(QStringLiteral("CREATENEW"), naming));
                QCOMPARE(checkedTexts(fixture), QStringList({kCreateNew, checked}));
            }
        }
    }

    void readingClearsTheNameFirst()
    {
        Fixture fixture;
        nameEdit(fixture)->setText(QStringLiteral("left over"));
        fixture.read(binDetail(QStringLiteral("CREATENEW"), QStringLiteral("EXPLICIT")));
        QCOMPARE(nameEdit(fixture)->text(), QString());
        QVERIFY(fixture.isChecked(kExplicit));
    }

    void documentsWithoutBinsOnlyClearTheName()
    {
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("binDetail"))) {
            Fixture fixture;
            fixture.check(kUseActive);
            fixture.check(kExplicit);
            nameEdit(fixture)->setText(QStringLiteral("left over"));
            fixture.read(inside);
            QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kExplicit}));
            QCOMPARE(nameEdit(fixture)->text(), QString());
        }
        Fixture fixture;
        nameEdit(fixture)->setText(QStringLiteral("left over"));
        fixture.group.readXml(QDomElement());
        QCOMPARE(nameEdit(fixture)->text(), QString());
    }

    void repeatedChildrenEndWithTheLastOne()
    {
        Fixture fixture;
        fixture.read(
            QStringLiteral("<binDetail><binNamingMethod>DEFAULT</binNamingMethod>"
                           "<binExplicitName>one</binExplicitName><binNamingMethod>EXPLICIT</binNamingMethod>"
                           "<binExplicitName>two</binExplicitName></binDetail>"));
        QVERIFY(fixture.isChecked(kExplicit));
        QCOMPARE(nameEdit(fixture)->text(), QStringLiteral("two"));
    }

    void onlyTheFirstBinDetailIsRead()
    {
        Fixture fixture;
        fixture.read(QString(binDetail(QStringLiteral("USEACTIVE"), QStringLiteral("DEFAULT")) +
                             binDetail(QStringLiteral("CREATENEW"), QStringLiteral("VOLUME"))));
        QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kDefault}));
    }

    void theFirstBinDetailAnywhereBelowTheRootIsRead()
    {
        Fixture fixture;
        fixture.readDeep(QString(binDetail(QStringLiteral("USEACTIVE"), QStringLiteral("DEFAULT")) +
                                 binDetail(QStringLiteral("CREATENEW"), QStringLiteral("VOLUME"))));
        QCOMPARE(checkedTexts(fixture), QStringList({kUseActive, kDefault}));
    }

    void tagsAreComparedExactly()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<binDetail><BinSelectionMethod>USEACTIVE</BinSelectionMethod>"
                                    "<BINNAMINGMETHOD>DEFAULT</BINNAMINGMETHOD>"
                                    "<binexplicitname>x</binexplicitname></binDetail>"));
        fixture.read(QStringLiteral("<BinDetail><binNamingMethod>DEFAULT</binNamingMethod></BinDetail>"));
        QCOMPARE(checkedTexts(fixture), QStringList({kCreateNew, kVolume}));
        QCOMPARE(nameEdit(fixture)->text(), QString());
    }

    void childrenOfTheWrongKindAreReadAsTheirText()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<binDetail><binNamingMethod><deep>DEFAULT</deep></binNamingMethod>"
                                    "<binExplicitName><b/>na<!-- x -->me</binExplicitName></binDetail>"));
        QVERIFY(fixture.isChecked(kDefault));
        QCOMPARE(nameEdit(fixture)->text(), QStringLiteral("name"));
    }

    void namesReadBackExactly_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("markup") << QStringLiteral("a <b> & \"c\" 'd' ]]>");
        QTest::newRow("blanks around") << QStringLiteral("  name  ");
        QTest::newRow("right to left")
            << QStringLiteral("\u05e9\u05dc\u05d5\u05dd \u0645\u0631\u062d\u0628\u0627 abc");
        QTest::newRow("direction marks") << QStringLiteral("\u202eabc\u202c");
        QTest::newRow("outside the first plane") << QStringLiteral("\U0001F3AC \U0001F980");
        QTest::newRow("combining") << QStringLiteral("e\u0301\u0323");
        QTest::newRow("4 KB") << QString(4096, QChar(0x4e2d));
        QTest::newRow("placeholders") << QStringLiteral("%1 %2 \\n &amp;");
    }

    void namesReadBackExactly()
    {
        QFETCH(QString, name);
        Fixture fixture;
        fixture.check(kExplicit);
        nameEdit(fixture)->setText(name);
        Fixture other;
        other.group.readXml(SettingsTest::parsed(fixture.written()).documentElement());
        QCOMPARE(nameEdit(other)->text(), name);
        QVERIFY(other.isChecked(kExplicit));
    }

    void anOversizedNameDoesNoHarm()
    {
        Fixture fixture;
        fixture.read(QStringLiteral("<binDetail><binExplicitName>%1</binExplicitName></binDetail>")
                         .arg(QString(1000000, QLatin1Char('x'))));
        QVERIFY(nameEdit(fixture)->text().startsWith(QLatin1String("xxx")));
    }
};

QTEST_MAIN(TestBinsSettings)
#include "test_bins_settings.moc"
