#include "ArrowButton.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXProfileState.h"
#include "KRXProfilesWindow.h"
#include "KRXSettingsController.h"
#include "KRXTwistWidget.h"
#include "KRXZorMetadata.h"
#include "SettingsFixture.h"
#include "SettingsTWidget.h"
#include "StandInHost.h"
#include "StandInMedia.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>

namespace {

constexpr XelSettingsType kEditorGroups[] = {PluginSettings, BinsSettings, LinkOptionsSettings,
                                             ZorMetadataSettings};
constexpr XelSettingsType kAllGroups[] = {PluginSettings,      BinsSettings,           QualitySettings,
                                          LinkOptionsSettings, VolumeMountingSettings, ZorMetadataSettings};

class Controller : public KRXSettingsController
{
public:
    using KRXSettingsController::getSettingNameByType;
    using KRXSettingsController::KRXSettingsController;
};

/// How many receivers a signal has; QObject keeps that to derived classes.
struct Receivers : QObject
{
    static int count(const QObject* sender, const char* signal)
    {
        int (QObject::*const receiversOf)(const char*) const = &Receivers::receivers;
        return (sender->*receiversOf)(signal);
    }
};

/// The editor's section with a controller and the editor's four groups.
struct Editor
{
    template <std::size_t Count>
    Editor(KRXProfilesWindow* window, const XelSettingsType (&types)[Count])
        : controller(new Controller(&section, window))
    {
        for (const XelSettingsType type : types)
            controller->addNewSetting(type);
    }
    Editor()
        : Editor(nullptr, kEditorGroups)
    {
    }

    QString written() const
    {
        QDomDocument document = KRXXml::makeDocument();
        QDomElement profile = document.createElement(QStringLiteral("profile"));
        document.appendChild(profile);
        controller->getSettingsDefXMLElement(&document, profile);
        return KRXXml::toText(document);
    }

    void read(const QString& text) const
    {
        QDomDocument document = SettingsTest::parsed(text);
        controller->updateUI(document);
    }

    QList<SettingsTWidget*> sections() const { return section.findChildren<SettingsTWidget*>(); }
    QLineEdit* binName() const { return section.findChild<QLineEdit*>(); }
    QRadioButton* radio(const char* text) const
    {
        for (QRadioButton* button : section.findChildren<QRadioButton*>()) {
            if (button->text() == QLatin1String(text))
                return button;
        }
        return nullptr;
    }
    KRXLinkOptionsSettings* linkOptions() const
    {
        return static_cast<KRXLinkOptionsSettings*>(controller->getSettingsByType(LinkOptionsSettings));
    }

    KRXTwistWidget section{nullptr, QStringLiteral("Link Settings & Actions")};
    Controller* controller;
};

} // namespace

class TestSettingsController : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        StandInHost::setTranslator({});
        StandInHost::MediaCatalogue catalogue = StandInHost::catalogue();
        catalogue.plugins = {{QStringLiteral("{0123abcd-0001-00ef-060e-2b3401020304}"), QStringLiteral("MXF"),
                              QStringLiteral("mxf")}};
        StandInHost::setCatalogue(catalogue);
    }
    void cleanup()
    {
        StandInHost::setTranslator({});
        StandInHost::resetMedia();
    }

    void theTitlesOfTheGroups()
    {
        const Editor editor;
        const QStringList titles{QStringLiteral("Plugin"),          QStringLiteral("Bins"),
                                 QStringLiteral("Quality"),         QStringLiteral("Link Options"),
                                 QStringLiteral("Volume Mounting"), QStringLiteral("ZOR Metadata")};
        for (int type = 0; type < titles.size(); ++type)
            QCOMPARE(editor.controller->getSettingNameByType(static_cast<XelSettingsType>(type)),
                     titles.at(type));
    }

    void anUnknownTypeHasTheTitleError()
    {
        const Editor editor;
        for (const int type : {7, 6, -1, 1000})
            QCOMPARE(editor.controller->getSettingNameByType(static_cast<XelSettingsType>(type)),
                     QStringLiteral("Error!!!"));
        StandInHost::setTranslator(
            [](const QString& english) -> QString { return QStringLiteral("~") + english; });
        QCOMPARE(editor.controller->getSettingNameByType(static_cast<XelSettingsType>(7)),
                 QStringLiteral("~Error!!!"));
        QCOMPARE(editor.controller->getSettingNameByType(BinsSettings), QStringLiteral("~Bins"));
    }

    void theControllerBelongsToItsSection()
    {
        auto section = std::make_unique<KRXTwistWidget>(nullptr, QString());
        const QPointer<KRXSettingsController> controller = new KRXSettingsController(section.get(), nullptr);
        controller->addNewSetting(BinsSettings);
        QCOMPARE(controller->parent(), section.get());
        section.reset();
        QVERIFY(!controller);
    }

    void eachGroupGetsASectionWithItsTitleInOrder()
    {
        const Editor editor(nullptr, kAllGroups);
        QStringList titles;
        QList<int> types;
        for (const SettingsTWidget* section : editor.sections()) {
            const ArrowButton* arrow = section->findChild<ArrowButton*>();
            titles << arrow->parentWidget()->findChild<QLabel*>()->text();
            types << section->getKRXXelSettings()->settingsType();
            QVERIFY(!section->isOpen());
            QCOMPARE(editor.controller->getSettingsByType(section->getKRXXelSettings()->settingsType()),
                     section->getKRXXelSettings());
            QVERIFY(section->isAncestorOf(section->getKRXXelSettings()->createWidget()));
        }
        QCOMPARE(titles, QStringList({QStringLiteral("Plugin"), QStringLiteral("Bins"),
                                      QStringLiteral("Quality"), QStringLiteral("Link Options"),
                                      QStringLiteral("Volume Mounting"), QStringLiteral("ZOR Metadata")}));
        QCOMPARE(types, QList<int>({0, 1, 2, 3, 4, 5}));
    }

    void theGroupsSectionsPassTheirSizeChangesOn()
    {
        const Editor editor;
        QSignalSpy resized(&editor.section, &KRXTwistWidget::widgetWasResized);
        for (SettingsTWidget* section : editor.sections())
            section->setOpen(true);
        QCOMPARE(resized.count(), 4);
    }

    void aGroupThatWasNotAddedIsNotFound()
    {
        const Editor editor;
        QCOMPARE(editor.controller->getSettingsByType(QualitySettings), nullptr);
        QCOMPARE(editor.controller->getSettingsByType(VolumeMountingSettings), nullptr);
        QCOMPARE(editor.controller->getSettingsByType(static_cast<XelSettingsType>(7)), nullptr);
        QVERIFY(editor.controller->getSettingsByType(BinsSettings));
    }

    void theFirstOfTwoGroupsOfATypeIsFound()
    {
        const XelSettingsType twice[] = {BinsSettings, BinsSettings};
        const Editor editor(nullptr, twice);
        QCOMPARE(editor.controller->getSettingsByType(BinsSettings),
                 editor.sections().at(0)->getKRXXelSettings());
    }

    void anUnknownTypeGetsASectionWithoutAGroup()
    {
        const XelSettingsType unknown[] = {static_cast<XelSettingsType>(7), BinsSettings};
        const Editor editor(nullptr, unknown);
        QCOMPARE(editor.sections().size(), 2);
        QCOMPARE(editor.sections().at(0)->getKRXXelSettings(), nullptr);
        QCOMPARE(editor.sections().at(0)->findChild<QLabel*>()->text(), QStringLiteral("Error!!!"));
        QVERIFY(editor.written().contains(QLatin1String("<binDetail>")));
    }

    void theEditorsFourGroupsAreWrittenInTheOrderOfTheFormat()
    {
        const Editor editor;
        KRX_COMPARE_XML(
            editor.written(),
            QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                           "<profile>\n"
                           " <profileSettings>\n"
                           "  <binDetail>\n"
                           "   <binSelectionMethod>CREATENEW</binSelectionMethod>\n"
                           "   <binNamingMethod>VOLUME</binNamingMethod>\n"
                           "  </binDetail>\n"
                           "  <linkDetail>\n"
                           "   <xelPreferredPluginDetail>\n"
                           "    <xelPluginName>Autodetect Plug-in</xelPluginName>\n"
                           "    <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n"
                           "   </xelPreferredPluginDetail>\n"
                           "   <multichannelAudio>None</multichannelAudio>\n"
                           "   <xelAudioStartTimeOption></xelAudioStartTimeOption>\n"
                           "   <xelStillImageFPS></xelStillImageFPS>\n"
                           "  </linkDetail>\n"
                           "  <zorMetadata>\n"
                           "   <reelNamingMethod>FILENAME</reelNamingMethod>\n"
                           "   <reelFolderLevel>1</reelFolderLevel>\n"
                           "   <frameCountingMethod>ZERO</frameCountingMethod>\n"
                           "   <timecodeMethod>EMBEDDED</timecodeMethod>\n"
                           "   <defaultFPS></defaultFPS>\n"
                           "  </zorMetadata>\n"
                           " </profileSettings>\n"
                           "</profile>\n"));
    }

    void theGroupsAreWrittenInTheOrderInWhichTheyWereAdded()
    {
        const XelSettingsType order[] = {ZorMetadataSettings, LinkOptionsSettings, VolumeMountingSettings,
                                         QualitySettings, PluginSettings};
        const Editor editor(nullptr, order);
        QStringList tags;
        const QDomDocument document = SettingsTest::parsed(editor.written());
        for (const QDomElement& child :
             KRXXml::childElements(KRXXml::firstElement(document, QStringLiteral("profileSettings"))))
            tags << child.tagName();
        // The plug-in group, asked last, moves the shared element behind the others.
        QCOMPARE(tags, QStringList({QStringLiteral("zorMetadata"), QStringLiteral("volumeMountingDetail"),
                                    QStringLiteral("xelDetail"), QStringLiteral("linkDetail")}));
        QStringList shared;
        for (const QDomElement& child :
             KRXXml::childElements(KRXXml::firstElement(document, QStringLiteral("linkDetail"))))
            shared << child.tagName();
        QCOMPARE(
            shared,
            QStringList({QStringLiteral("multichannelAudio"), QStringLiteral("xelAudioStartTimeOption"),
                         QStringLiteral("xelStillImageFPS"), QStringLiteral("xelPreferredPluginDetail")}));
    }

    void profileSettingsIsAppendedToTheParent()
    {
        const Editor editor;
        QDomDocument document =
            SettingsTest::parsed(QStringLiteral("<profile><version>200</version></profile>"));
        QDomElement profile = document.documentElement();
        editor.controller->getSettingsDefXMLElement(&document, profile);
        QCOMPARE(profile.firstChildElement().tagName(), QStringLiteral("version"));
        QCOMPARE(profile.lastChildElement().tagName(), QStringLiteral("profileSettings"));
    }

    void aWrittenProfileSetsAllGroupsOfAnotherEditor()
    {
        const Editor editor;
        const Editor other;
        for (const Editor* each : {&editor, &other}) {
            each->linkOptions()->getAudioStartTimeBox()->addItem(QStringLiteral("24"), QStringLiteral("24"));
            each->linkOptions()->getAudioStartTimeBox()->addItem(QStringLiteral("25"), QStringLiteral("25"));
        }
        editor.radio("Use Active Bin")->click();
        editor.radio("Specify bin name")->click();
        editor.binName()->setText(QStringLiteral("Rushes"));
        editor.section.findChild<QComboBox*>(QStringLiteral("xelPreferredPlugin"))->setCurrentIndex(1);
        editor.linkOptions()->getAudioStartTimeBox()->setCurrentIndex(1);
        editor.linkOptions()->getMultichannelLabel()->setProperty(KRXLinkOptionsSettings::kGroupingProperty,
                                                                  QStringLiteral("1-2:Stereo"));
        editor.radio("Convert timecode to frames")->click();
        QVERIFY(editor.written() != other.written());
        other.read(editor.written());
        KRX_COMPARE_XML(other.written(), editor.written());
    }

    void profileSettingsIsFoundAtAnyDepthBelowTheDocumentElement()
    {
        const Editor editor;
        editor.read(
            QStringLiteral("<a><b><profileSettings><binDetail><binNamingMethod>DEFAULT</binNamingMethod>"
                           "</binDetail></profileSettings></b><profileSettings><binDetail>"
                           "<binNamingMethod>EXPLICIT</binNamingMethod></binDetail></profileSettings></a>"));
        QVERIFY(editor.radio("Default Bin Naming Convention")->isChecked());
    }

    void aDocumentWithoutProfileSettingsOnlyClearsTheBinName_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << "<profile/>";
        QTest::newRow("groups elsewhere")
            << "<profile><binDetail><binNamingMethod>DEFAULT</binNamingMethod></binDetail></profile>";
        QTest::newRow("only the document element has the name")
            << "<profileSettings><binDetail><binNamingMethod>DEFAULT</binNamingMethod></binDetail></"
               "profileSettings>";
        QTest::newRow("other case")
            << "<profile><ProfileSettings><binDetail><binNamingMethod>DEFAULT</binNamingMethod>"
               "</binDetail></ProfileSettings></profile>";
        QTest::newRow("empty") << "<profile><profileSettings/></profile>";
    }

    void aDocumentWithoutProfileSettingsOnlyClearsTheBinName()
    {
        QFETCH(QString, text);
        const Editor editor;
        editor.radio("Specify bin name")->click();
        editor.radio("Source folder name")->click();
        const QString before = editor.written();
        editor.binName()->setText(QStringLiteral("Rushes"));
        editor.read(text);
        QCOMPARE(editor.binName()->text(), QString());
        KRX_COMPARE_XML(editor.written(), before);
    }

    void anEmptyDocumentDoesNoHarm()
    {
        const Editor editor;
        const QString before = editor.written();
        QDomDocument nothing;
        editor.controller->updateUI(nothing);
        KRX_COMPARE_XML(editor.written(), before);
    }

    void everyButtonAndBoxTellsTheEditorOncePerSignal()
    {
        KRXProfilesWindow window(nullptr);
        const Editor editor(&window, kAllGroups);
        int buttons = 0;
        int boxes = 0;
        for (const SettingsTWidget* section : editor.sections()) {
            for (QAbstractButton* button : section->findChildren<QAbstractButton*>()) {
                QCOMPARE(Receivers::count(button, SIGNAL(pressed())), 1);
                window.getProfileState()->setModified(false);
                emit button->pressed();
                QVERIFY2(window.getProfileState()->isModified(), qPrintable(button->text()));
                ++buttons;
            }
            for (QComboBox* box : section->findChildren<QComboBox*>()) {
                QCOMPARE(Receivers::count(box, SIGNAL(activated(int))), 1);
                window.getProfileState()->setModified(false);
                emit box->activated(0);
                QVERIFY2(window.getProfileState()->isModified(), qPrintable(box->objectName()));
                ++boxes;
            }
        }
        // 5 for bins, 4 for quality, "Edit...", the check box, 8 for metadata.
        QCOMPARE(buttons, 19);
        // Plug-in, two rates, folder level, default rate.
        QCOMPARE(boxes, 5);
    }

    void aClickOnARadioButtonMarksTheProfileAsModified()
    {
        KRXProfilesWindow window(nullptr);
        const Editor editor(&window, kEditorGroups);
        window.getProfileState()->setModified(false);
        editor.radio("Use Active Bin")->click();
        QVERIFY(window.getProfileState()->isModified());
    }

    void typingABinNameDoesNotMarkTheProfileAsModified()
    {
        KRXProfilesWindow window(nullptr);
        const Editor editor(&window, kEditorGroups);
        window.getProfileState()->setModified(false);
        QTest::keyClicks(editor.binName(), QStringLiteral("Rushes"));
        QVERIFY(!window.getProfileState()->isModified());
        QCOMPARE(Receivers::count(editor.binName(), SIGNAL(textEdited(QString))), 0);
    }

    void readingAProfileDoesNotMarkItAsModified()
    {
        KRXProfilesWindow window(nullptr);
        const Editor editor(&window, kEditorGroups);
        const Editor source;
        source.radio("Use Active Bin")->click();
        source.radio("Source folder name")->click();
        window.getProfileState()->setModified(false);
        editor.read(source.written());
        QVERIFY(editor.radio("Use Active Bin")->isChecked());
        QVERIFY(!window.getProfileState()->isModified());
    }

    void whatADocumentCarriesCanBeSaved()
    {
        const Editor editor;
        editor.radio("Specify bin name")->click();
        for (const QString& name :
             {QString(), QStringLiteral("Rushes"), QStringLiteral("a <b> & c"),
              QStringLiteral("\u05e9\u05dc\u05d5\u05dd"), QStringLiteral(" blanks around "),
              QString(4096, QLatin1Char('x')), QStringLiteral("\U0001F3AC")}) {
            editor.binName()->setText(name);
            QString error;
            QVERIFY2(editor.controller->validate(error), qPrintable(name));
            QVERIFY(error.isEmpty());
        }
    }

    void aBinNameThatADocumentWouldLoseIsRefusedWithAClearText_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("control character") << QStringLiteral("a\x01") + QStringLiteral("b");
        QTest::newRow("escape") << QString(QChar(0x1b));
        QTest::newRow("half a surrogate pair") << QString(QChar(0xd83c));
        QTest::newRow("no character") << QString(QChar(0xfffe));
        QTest::newRow("blanks only") << QStringLiteral("   ");
    }

    void aBinNameThatADocumentWouldLoseIsRefusedWithAClearText()
    {
        QFETCH(QString, name);
        const Editor editor;
        editor.radio("Specify bin name")->click();
        editor.binName()->setText(name);
        QCOMPARE(editor.binName()->text(), name);
        QString error;
        QVERIFY(!editor.controller->validate(error));
        QCOMPARE(error, QStringLiteral(
                            "The bin name can't be saved: it consists of blanks only or contains characters "
                            "that a profile can't hold."));
        // A name that is not written does no harm.
        editor.radio("Volume Name")->click();
        QVERIFY(editor.controller->validate(error));
    }

    void lineBreaksAndTabsInABinNameReadBackExactly()
    {
        for (const char* text : {"a\tb", "a\nb", "a\rb", "a\r\nb", "\na", "a\n"}) {
            const Editor editor;
            editor.radio("Specify bin name")->click();
            editor.binName()->setText(QLatin1String(text));
            QCOMPARE(editor.binName()->text(), QLatin1String(text));
            QString error;
            QVERIFY2(editor.controller->validate(error), text);
            const Editor other;
            other.read(editor.written());
            QCOMPARE(other.binName()->text(), QLatin1String(text));
        }
    }

    void anyOtherTextThatADocumentWouldLoseNamesItsElement()
    {
        const Editor editor;
        editor.linkOptions()->getMultichannelLabel()->setProperty(KRXLinkOptionsSettings::kGroupingProperty,
                                                                  QString(QChar(2)));
        QString error;
        QVERIFY(!editor.controller->validate(error));
        QCOMPARE(error, QStringLiteral(
                            "The link setting \"multichannelAudio\" can't be saved: it contains characters "
                            "that a profile can't hold."));
    }
};

QTEST_MAIN(TestSettingsController)
#include "test_settings_controller.moc"
