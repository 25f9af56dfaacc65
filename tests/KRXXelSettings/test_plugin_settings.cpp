#include "KRXXelPlugin.h"
#include "SettingsFixture.h"
#include "StandInHost.h"
#include "StandInMedia.h"

using SettingsTest::settingsDocument;

namespace {

using Fixture = SettingsTest::Fixture<KRXXelPlugin>;

const QString kNullGuid = QStringLiteral("00000000-0000-0000-0000-000000000000");
const QString kMxfGuid = QStringLiteral("0123abcd-0001-00ef-060e-2b3401020304");
const QString kFolderGuid = QStringLiteral("0123abcd-0002-00ef-060e-2b3401020304");

QComboBox* pluginBox(const Fixture& fixture)
{
    return fixture.widget->findChild<QComboBox*>(QStringLiteral("xelPreferredPlugin"));
}

QStringList itemTexts(const Fixture& fixture)
{
    QStringList texts;
    for (int i = 0; i < pluginBox(fixture)->count(); ++i)
        texts << pluginBox(fixture)->itemText(i);
    return texts;
}

void install(const QList<StandInHost::Plugin>& plugins)
{
    StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
    catalogue.plugins = plugins;
    StandInHost::setCatalogue(catalogue);
}

QString braced(const QString& guid)
{
    return QStringLiteral("{%1}").arg(guid);
}

QString pluginDetail(const QString& name, const QString& guid)
{
    return QStringLiteral("<linkDetail><xelPreferredPluginDetail><xelPluginName>%1</xelPluginName>"
                          "<xelPluginGUID>%2</xelPluginGUID></xelPreferredPluginDetail></linkDetail>")
        .arg(name, guid);
}

QString writtenDetail(const QString& name, const QString& guid)
{
    return settingsDocument(QStringLiteral(" <linkDetail>\n"
                                           "  <xelPreferredPluginDetail>\n"
                                           "   <xelPluginName>%1</xelPluginName>\n"
                                           "   <xelPluginGUID>%2</xelPluginGUID>\n"
                                           "  </xelPreferredPluginDetail>\n"
                                           " </linkDetail>\n")
                                .arg(name, guid));
}

} // namespace

class TestPluginSettings : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        StandInHost::setTranslator({});
        install({{braced(kMxfGuid), QStringLiteral("Name"), QStringLiteral("mxf.mov")},
                 {braced(kFolderGuid), QStringLiteral("Sequence"), QStringLiteral("DPX Folder.x")}});
    }
    void cleanup()
    {
        StandInHost::setTranslator({});
        StandInHost::resetMedia();
    }

    void theRowHasALabelAndABox()
    {
        const Fixture fixture;
        QCOMPARE(int(fixture.group.settingsType()), 0);
        QCOMPARE(fixture.labels(), QStringList({QStringLiteral("Link using:")}));
        const auto* label = fixture.widget->findChild<QLabel*>();
        QCOMPARE(label->minimumWidth(), 60);
        QCOMPARE(label->maximumWidth(), 60);
        QCOMPARE(pluginBox(fixture)->minimumWidth(), 300);
        QCOMPARE(pluginBox(fixture)->maximumWidth(), 300);
        QCOMPARE(pluginBox(fixture)->toolTip(), QStringLiteral("Plug-in Used When Linking"));
    }

    void theLabelStandsLeftOfTheBox()
    {
        const Fixture fixture;
        QVERIFY(
            fixture.standSideBySide({fixture.labelOf(QStringLiteral("Link using:")), pluginBox(fixture)}));
    }

    void laterCallsReturnTheSameWidget()
    {
        Fixture fixture;
        QCOMPARE(fixture.group.createWidget(), fixture.widget.get());
        QCOMPARE(fixture.widget->parent(), nullptr);
    }

    void aPluginIsShownWithItsExtensionsAndABlankBeforeTheParenthesis()
    {
        const Fixture fixture;
        QCOMPARE(itemTexts(fixture),
                 QStringList({QStringLiteral("Autodetect Plug-in"), QStringLiteral("Name (*.mxf *.mov )"),
                              QStringLiteral("Sequence (DPX Folder.x)")}));
        QCOMPARE(pluginBox(fixture)->itemData(0).toString(), kNullGuid);
        QCOMPARE(pluginBox(fixture)->itemData(1).toString(), kMxfGuid);
        QCOMPARE(pluginBox(fixture)->itemData(2).toString(), kFolderGuid);
        QCOMPARE(pluginBox(fixture)->currentIndex(), 0);
    }

    void theExtensionListIsTakenApartAtTheDots_data()
    {
        QTest::addColumn<QString>("extensions");
        QTest::addColumn<QString>("shown");
        QTest::newRow("one") << "wav"
                             << "P (*.wav )";
        QTest::newRow("empty parts are dropped") << ".mxf..mov."
                                                 << "P (*.mxf *.mov )";
        QTest::newRow("none") << ""
                              << "P ()";
        QTest::newRow("folder") << "Folder"
                                << "P (Folder)";
        QTest::newRow("folder inside a word") << "a.ImageFolders.b"
                                              << "P (a.ImageFolders.b)";
        QTest::newRow("folder in another case is an extension") << "folder.mxf"
                                                                << "P (*.folder *.mxf )";
        QTest::newRow("placeholders stay whole") << "%1.%2"
                                                 << "P (*.%1 *.%2 )";
    }

    void theExtensionListIsTakenApartAtTheDots()
    {
        QFETCH(QString, extensions);
        QFETCH(QString, shown);
        install({{braced(kMxfGuid), QStringLiteral("P"), extensions}});
        const Fixture fixture;
        QCOMPARE(itemTexts(fixture).value(1), shown);
    }

    void namesWithPlaceholdersStayWhole()
    {
        install({{braced(kMxfGuid), QStringLiteral("%2 100%1"), QStringLiteral("mxf")}});
        QCOMPARE(itemTexts(Fixture()).value(1), QStringLiteral("%2 100%1 (*.mxf )"));
    }

    void aGuidWithoutBracesToTakeAwayDoesNoHarm()
    {
        install({{QString(), QStringLiteral("A"), QString()},
                 {QStringLiteral("{"), QStringLiteral("B"), QString()}});
        const Fixture fixture;
        QCOMPARE(pluginBox(fixture)->count(), 3);
        QCOMPARE(pluginBox(fixture)->itemData(1).toString(), QString());
    }

    void theTextsAreLocalised()
    {
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        const Fixture fixture;
        QCOMPARE(fixture.labels(), QStringList({QStringLiteral("~Link using:")}));
        QCOMPARE(itemTexts(fixture).value(0), QStringLiteral("~Autodetect Plug-in"));
        QCOMPARE(itemTexts(fixture).value(1), QStringLiteral("Name (*.mxf *.mov )"));
        QCOMPARE(pluginBox(fixture)->toolTip(), QStringLiteral("~Plug-in Used When Linking"));
    }

    void autodetectIsWrittenWithTheNullGuid()
    {
        KRX_COMPARE_XML(Fixture().written(), writtenDetail(QStringLiteral("Autodetect Plug-in"), kNullGuid));
    }

    void everyPluginIsWrittenWithItsTextAndGuidAndReadBack()
    {
        Fixture fixture;
        for (int i = 0; i < pluginBox(fixture)->count(); ++i) {
            pluginBox(fixture)->setCurrentIndex(i);
            const QString name = pluginBox(fixture)->itemText(i);
            const QString guid = pluginBox(fixture)->itemData(i).toString();
            KRX_COMPARE_XML(fixture.written(), writtenDetail(name, guid));
            pluginBox(fixture)->setCurrentIndex((i + 1) % pluginBox(fixture)->count());
            fixture.read(pluginDetail(name, guid));
            QCOMPARE(pluginBox(fixture)->currentIndex(), i);
        }
    }

    void whatIsSelectedAfterReading_data()
    {
        QTest::addColumn<QString>("inside");
        QTest::addColumn<int>("index");
        const QString name = QStringLiteral("Name (*.mxf *.mov )");
        const QString sequence = QStringLiteral("Sequence (DPX Folder.x)");
        const QString gone = QStringLiteral("99999999-0001-00ef-060e-2b3401020304");
        QTest::newRow("name and GUID agree") << pluginDetail(name, kMxfGuid) << 1;
        QTest::newRow("case does not matter") << pluginDetail(name.toUpper(), kMxfGuid.toUpper()) << 1;
        QTest::newRow("name and GUID of different plug-ins") << pluginDetail(sequence, kMxfGuid) << 0;
        QTest::newRow("the GUID of a plug-in no longer installed") << pluginDetail(name, gone) << 0;
        QTest::newRow("the name of a plug-in no longer installed")
            << pluginDetail(QStringLiteral("Gone"), kMxfGuid) << 0;
        QTest::newRow("both no longer installed") << pluginDetail(QStringLiteral("Gone"), gone) << 0;
        QTest::newRow("both empty") << pluginDetail(QString(), QString()) << 0;
        QTest::newRow("a GUID with braces") << pluginDetail(name, braced(kMxfGuid)) << 0;
        QTest::newRow("autodetect") << pluginDetail(QStringLiteral("Autodetect Plug-in"), kNullGuid) << 0;
        QTest::newRow("no name") << QStringLiteral(
                                        "<xelPreferredPluginDetail><xelPluginGUID>%1</xelPluginGUID>"
                                        "</xelPreferredPluginDetail>")
                                        .arg(kMxfGuid)
                                 << 0;
        QTest::newRow("neither") << QStringLiteral("<xelPreferredPluginDetail/>") << 0;
        QTest::newRow("oversized") << pluginDetail(QString(100000, QLatin1Char('x')), kMxfGuid) << 0;
        QTest::newRow("deeper in the document")
            << QStringLiteral("<a><b>%1</b></a>").arg(pluginDetail(name, kMxfGuid)) << 1;
        QTest::newRow("the first of two counts")
            << QString(pluginDetail(name, kMxfGuid) + pluginDetail(QStringLiteral("Gone"), gone)) << 1;
    }

    void whatIsSelectedAfterReading()
    {
        QFETCH(QString, inside);
        QFETCH(int, index);
        Fixture fixture;
        pluginBox(fixture)->setCurrentIndex(2);
        fixture.read(inside);
        QCOMPARE(pluginBox(fixture)->currentIndex(), index);
    }

    void documentsWithoutAPluginLeaveTheBoxAlone()
    {
        Fixture fixture;
        pluginBox(fixture)->setCurrentIndex(2);
        for (const QString& inside : SettingsTest::hostileContents(QStringLiteral("linkDetail"))) {
            fixture.read(inside);
            QCOMPARE(pluginBox(fixture)->currentIndex(), 2);
        }
        fixture.read(pluginDetail(QStringLiteral("Name"), kMxfGuid).toUpper());
        QCOMPARE(pluginBox(fixture)->currentIndex(), 2);
        fixture.group.readXml(QDomElement());
        QCOMPARE(pluginBox(fixture)->currentIndex(), 2);
    }

    void thePluginIsFoundAnywhereBelowTheRootAndItsTagsAreComparedExactly()
    {
        const QString detail = QStringLiteral(
            "<xelPreferredPluginDetail><xelPluginName>%1</xelPluginName><xelPluginGUID>%2</xelPluginGUID>"
            "</xelPreferredPluginDetail>");
        Fixture fixture;
        pluginBox(fixture)->setCurrentIndex(1);
        const QString second =
            detail.arg(pluginBox(fixture)->currentText(), pluginBox(fixture)->currentData().toString());
        pluginBox(fixture)->setCurrentIndex(0);
        fixture.read(second.toLower());
        QCOMPARE(pluginBox(fixture)->currentIndex(), 0);
        // The first one counts, and it need not stand in the link options.
        fixture.readDeep(second + detail.arg(QStringLiteral("x"), QStringLiteral("y")));
        QCOMPARE(pluginBox(fixture)->currentIndex(), 1);
    }

    void theLinkDetailIsSharedAndMovedToTheEnd()
    {
        Fixture fixture;
        SettingsTest::verifyLinkDetailIsShared(
            fixture, QStringLiteral("  <xelPreferredPluginDetail>\n"
                                    "   <xelPluginName>Autodetect Plug-in</xelPluginName>\n"
                                    "   <xelPluginGUID>%1</xelPluginGUID>\n"
                                    "  </xelPreferredPluginDetail>\n")
                         .arg(kNullGuid));
    }
};

QTEST_MAIN(TestPluginSettings)
#include "test_plugin_settings.moc"
