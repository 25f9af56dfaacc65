#include "DeskProfilesWindow.h"
#include "HelpDialog.h"
#include "LinkMediaDialog.h"
#include "MultichannelDialog.h"
#include "ServicesDialog.h"
#include "TryItDialog.h"

#include "CodecBox.h"
#include "HostMediaEngine.h"
#include "HostRecorder.h"
#include "KRXFolderManager.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXProfileManager.h"
#include "KRXSettingsController.h"
#include "KRXTwistWidget.h"
#include "KRXZorMetadata.h"
#include "ModelWatch.h"
#include "StandInMedia.h"
#include "TestHttpServer.h"

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <QTreeWidget>
#include <QWindow>

namespace {

/// The editor with its hooks open to the test.
class Editor : public DeskProfilesWindow
{
public:
    Editor()
        : DeskProfilesWindow(nullptr)
    {
    }
    using DeskProfilesWindow::mayLeaveProfile;
    using DeskProfilesWindow::updateKRXWindowInfo;
    using DeskProfilesWindow::updateMultiChannelLabel;
};

/// A codec box with its fellows as a new action has them, and the editor that fills its lists.
struct CodecBench
{
    CodecBench() { box.setupDefaults(); }

    Editor editor;
    QComboBox type;
    QComboBox raster;
    QComboBox space;
    CodecBox box{&type, &raster, &space, nullptr};

private:
    using Tester = QAbstractItemModelTester;
    Tester m_codecs{box.model(), Tester::FailureReportingMode::QtTest};
    Tester m_encodings{box.getEncodingProfileBox()->model(), Tester::FailureReportingMode::QtTest};
};

QStringList itemTexts(const QComboBox* box)
{
    QStringList texts;
    for (int i = 0; i < box->count(); ++i)
        texts << box->itemText(i);
    return texts;
}

} // namespace

class TestDeskDialogs : public QObject
{
    Q_OBJECT

    TestHttpServer m_server;
    ScopedConnectPort m_connect{m_server.port()};

private slots:
    void init()
    {
        StandInHost::resetMedia();
        m_server.clearReplies();
        m_server.clearRequests();
    }
    void cleanupTestCase()
    {
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
    }

    // --- Editor -----------------------------------------------------------------------------------------

    void theRateBoxesAreFilledBeforeAnyProfileIsLoaded()
    {
        const Editor editor;
        const KRXSettingsController* settings = editor.getSettingsController();
        const auto* link =
            dynamic_cast<KRXLinkOptionsSettings*>(settings->getSettingsByType(LinkOptionsSettings));
        const auto* zor = dynamic_cast<KRXZorMetadata*>(settings->getSettingsByType(ZorMetadataSettings));
        for (const QComboBox* box :
             {link->getAudioStartTimeBox(), link->getStillImageBox(), zor->getDefaultFPSBox()}) {
            QCOMPARE(itemTexts(box), StandInHost::frameRateTexts());
            for (int i = 0; i < box->count(); ++i)
                QCOMPARE(box->itemData(i).toString(), box->itemText(i));
        }
    }

    void theCodecsAreThoseThatFitTheProjectTypeAndColourSpace()
    {
        CodecBench bench;
        CodecBox& box = bench.box;
        QSignalSpy changed(&box, &CodecBox::codecChanged);
        bench.editor.updateCodecBox(&box);
        QStringList expected;
        const auto fitting =
            StandInHost::compressionsFor(bench.type.currentData().toInt(), bench.space.currentData().toInt());
        for (const StandInHost::Compression& compression : fitting)
            expected << compression.name;
        QVERIFY(!expected.isEmpty());
        QCOMPARE(itemTexts(&box), expected);
        QCOMPARE(box.currentData().toUInt(), HostMediaEngine::defaultCompressionId());
        QCOMPARE(changed.count(), 0);
    }

    void aRefillKeepsTheCodecThatIsStillThere()
    {
        CodecBench bench;
        CodecBox& box = bench.box;
        bench.editor.updateCodecBox(&box);
        QVERIFY(box.count() > 1);
        box.setCurrentIndex(box.count() - 1);
        const QVariant chosen = box.currentData();
        bench.editor.updateCodecBox(&box);
        QCOMPARE(box.currentData(), chosen);
    }

    void theEncodingProfilesAreThoseOfTheCodec()
    {
        CodecBench bench;
        CodecBox& box = bench.box;
        bench.editor.updateCodecBox(&box);
        for (const StandInHost::Compression& compression : StandInHost::catalogue().compressions) {
            const int index = box.findData(compression.id);
            if (index < 0)
                continue;
            box.setCurrentIndex(index);
            bench.editor.updateEncodingProfileBox(&box);
            QStringList expected;
            for (const StandInHost::EncodingProfile& profile : compression.profiles)
                expected << profile.name;
            QCOMPARE(itemTexts(box.getEncodingProfileBox()), expected);
            QCOMPARE(box.getEncodingProfileBox()->isEnabled(), expected.size() > 1);
        }
    }

    void theEditorStaysOnItsScreen()
    {
        Editor editor;
        editor.show();
        const QRect available = editor.screen()->availableGeometry();
        editor.setNewHeight(available.height() * 3);
        QVERIFY(editor.frameGeometry().height() <= available.height());
        QVERIFY(editor.frameGeometry().bottom() <= available.bottom());
        editor.setNewHeight(300);
        QCOMPARE(editor.height(), 300);
    }

    void theEditorDoesNotMoveWhenItGrows()
    {
        Editor editor;
        editor.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor));
        const QRect available = editor.screen()->availableGeometry();
        editor.setNewHeight(200);
        editor.move(50, available.bottom() - 300);
        QCoreApplication::processEvents();
        const QPoint place = editor.pos();
        editor.setNewHeight(available.height());
        QCOMPARE(editor.pos(), place);
        QVERIFY(editor.height() > 200);
        QVERIFY(editor.frameGeometry().bottom() <= available.bottom());
        // Where there is hardly any room it keeps its least height and its place.
        editor.move(50, available.bottom() - 20);
        editor.setNewHeight(available.height());
        QCOMPARE(editor.pos().y(), available.bottom() - 20);
        QCOMPARE(editor.height(), editor.minimumSizeHint().height());
    }

    void theEditorKeepsTheHeightThatAPersonGaveIt()
    {
        Editor editor;
        editor.show();
        editor.move(20, 20);
        editor.setNewHeight(300);
        editor.setNewHeight(350);
        // What the window system confirms late is nobody's choice.
        editor.windowHandle()->resize(editor.width(), 300);
        editor.windowHandle()->resize(editor.width() + 20, 350);
        QCoreApplication::processEvents();
        editor.setNewHeight(400);
        QCOMPARE(editor.height(), 400);
        editor.windowHandle()->resize(editor.width(), 333);
        QCoreApplication::processEvents();
        QCOMPARE(editor.height(), 333);
        editor.setNewHeight(400);
        QCOMPARE(editor.height(), 333);
        // For as long as the editor is there.
        editor.close();
        editor.show();
        editor.findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget"))->setOpen(true);
        QCOMPARE(editor.height(), 333);
    }

    void savedAndDeletedProfilesAreTold()
    {
        Editor editor;
        QSignalSpy changed(&editor, &DeskProfilesWindow::profilesChanged);
        editor.updateKRXWindowInfo();
        QCOMPARE(changed.count(), 1);
    }

    void anEditedGroupingIsStoredAndShown()
    {
        Editor editor;
        QLabel label;
        QTimer::singleShot(0, &editor, [] {
            auto* dialog = qobject_cast<MultichannelDialog*>(QApplication::activeModalWidget());
            auto* first = dialog->findChild<QComboBox*>(QStringLiteral("track1"));
            first->setCurrentIndex(first->findData(QStringLiteral("Stereo")));
            dialog->accept();
        });
        editor.updateMultiChannelLabel(&label);
        const QString stored = label.property(KRXLinkOptionsSettings::kGroupingProperty).toString();
        QCOMPARE(stored, QStringLiteral("1-2:Stereo"));
        QCOMPARE(label.text(), HostMediaEngine::channelGroupsFromText(stored).displayText);
    }

    void aCancelledGroupingChangesNothing()
    {
        Editor editor;
        QLabel label(QStringLiteral("as before"));
        QTimer::singleShot(0, &editor,
                           [] { qobject_cast<QDialog*>(QApplication::activeModalWidget())->reject(); });
        editor.updateMultiChannelLabel(&label);
        editor.updateMultiChannelLabel(nullptr);
        QCOMPARE(label.text(), QStringLiteral("as before"));
        QVERIFY(!label.property(KRXLinkOptionsSettings::kGroupingProperty).isValid());
    }

    // --- Changes that were not saved --------------------------------------------------------------------

    void changesAreDiscardedOnlyByAYes()
    {
        Editor editor;
        editor.getProfileState()->setModified(true);
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::No; });
        QVERIFY(!editor.mayLeaveProfile(QStringLiteral("Proxy")));
        QVERIFY(editor.getProfileState()->isModified());
        QCOMPARE(StandInHost::messageLog().size(), 1);
        QCOMPARE(StandInHost::messageLog().at(0).text, QStringLiteral("Discard the changes to Proxy?"));
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Yes; });
        QVERIFY(editor.mayLeaveProfile(QStringLiteral("Proxy")));
        QVERIFY(!editor.getProfileState()->isModified());
        StandInHost::resetRecords();
    }

    void choosingAnotherProfileAsksAndGoesBackAfterANo()
    {
        m_server.setReply("GET", "/KRXService/profiles?level=detail", 200,
                          "<profiles><profile><profileDetail><profileName>Proxy</profileName>"
                          "<profileGUID>p1</profileGUID></profileDetail></profile>"
                          "<profile><profileDetail><profileName>Conform</profileName>"
                          "<profileGUID>p2</profileGUID></profileDetail></profile></profiles>");
        KRXProfileManager& profiles = KRXProfileManager::getInstance();
        QVERIFY(profiles.refreshProfiles(true));
        Editor editor;
        editor.updateProfilesBox(profiles.profileItems(), QStringLiteral("p1"));
        auto* box = editor.findChild<QComboBox*>(QStringLiteral("profilesBox"));
        QCOMPARE(box->currentData().toString(), QStringLiteral("p1"));
        editor.updateModifiedState();
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::No; });
        box->setCurrentIndex(box->findData(QStringLiteral("p2")));
        QCOMPARE(box->currentData().toString(), QStringLiteral("p1"));
        QVERIFY(editor.getProfileState()->isModified());
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Yes; });
        box->setCurrentIndex(box->findData(QStringLiteral("p2")));
        QCOMPARE(box->currentData().toString(), QStringLiteral("p2"));
        QVERIFY(!editor.getProfileState()->isModified());
        QCOMPARE(StandInHost::messageLog().size(), 2);
        StandInHost::resetRecords();
    }

    // --- Groupings --------------------------------------------------------------------------------------

    void aGroupingIsShownAsItWasStored_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("shown");
        QTest::newRow("none") << "None"
                              << "None";
        QTest::newRow("two groups") << "1-2:Stereo;3-8:5.1"
                                    << "1-2:Stereo;3-8:5.1";
        QTest::newRow("beyond the tracks shown at first") << "31-32:Stereo"
                                                          << "31-32:Stereo";
        QTest::newRow("unreadable") << "something else"
                                    << "None";
    }
    void aGroupingIsShownAsItWasStored()
    {
        QFETCH(QString, stored);
        const MultichannelDialog dialog(stored, nullptr);
        QTEST(dialog.groupingText(), "shown");
    }

    void theTracksOfAGroupCannotBeginAnother()
    {
        const MultichannelDialog dialog(QStringLiteral("1-2:Stereo"), nullptr);
        const QAbstractItemModelTester tester(dialog.findChild<QTableWidget*>()->model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(dialog.findChild<QComboBox*>(QStringLiteral("track1"))->isEnabled());
        QVERIFY(!dialog.findChild<QComboBox*>(QStringLiteral("track2"))->isEnabled());
        QVERIFY(dialog.findChild<QComboBox*>(QStringLiteral("track3"))->isEnabled());
        dialog.findChild<QPushButton*>(QStringLiteral("ungroupBtn"))->click();
        QVERIFY(dialog.findChild<QComboBox*>(QStringLiteral("track2"))->isEnabled());
        QCOMPARE(dialog.groupingText(), QStringLiteral("None"));
    }

    // --- Linking media ----------------------------------------------------------------------------------

    void mediaCanBeLinkedOnceThereAreFiles()
    {
        m_server.setReply("GET", "/KRXService/profiles?level=detail", 200,
                          "<profiles><profile><profileDetail><profileName>Proxy</profileName>"
                          "<profileGUID>p7</profileGUID></profileDetail></profile></profiles>");
        LinkMediaDialog dialog(nullptr, nullptr);
        const auto* link = dialog.findChild<QPushButton*>(QStringLiteral("linkBtn"));
        QVERIFY(!link->isEnabled());
        const QAbstractItemModelTester tester(
            dialog.findChild<QListWidget*>(QStringLiteral("linkFiles"))->model(),
            QAbstractItemModelTester::FailureReportingMode::QtTest);
        dialog.addFiles({QStringLiteral("/a.mov"), QStringLiteral("/b.mov"), QStringLiteral("/a.mov")});
        QVERIFY(link->isEnabled());
        QCOMPARE(dialog.files(), (QStringList{QStringLiteral("/a.mov"), QStringLiteral("/b.mov")}));
        QCOMPARE(dialog.profileId(), QStringLiteral("p7"));
        // Profiles that are deleted in the editor are looked for among the folders, so these are known.
        QCOMPARE(m_server.requestCount("GET", "/KRXService/xelmediafolders?level=detail"), 1);
    }

    void theDialogCanBeShutOffWhileTheEditorIsOpen()
    {
        LinkMediaDialog dialog(nullptr, nullptr);
        dialog.setWindowEnabled(false);
        QVERIFY(!dialog.isEnabled());
        dialog.setWindowEnabled(true);
        QVERIFY(dialog.isEnabled());
    }

    // --- Services manager -------------------------------------------------------------------------------

    void onlyAServiceOfOurOwnCanBeStopped()
    {
        ServicesDialog dialog(nullptr);
        const auto* start = dialog.findChild<QPushButton*>(QStringLiteral("startServiceBtn"));
        const auto* stop = dialog.findChild<QPushButton*>(QStringLiteral("stopServiceBtn"));
        QVERIFY(start->isEnabled());
        QVERIFY(!stop->isEnabled());
        ServiceReport report;
        report.online = true;
        dialog.showReport(report, false);
        QVERIFY(!start->isEnabled());
        QVERIFY(!stop->isEnabled());
        dialog.showReport(report, true);
        QVERIFY(stop->isEnabled());
    }

    void jobsAndMessagesAreShownAndTheSelectionStays()
    {
        ServicesDialog dialog(nullptr);
        auto* table = dialog.findChild<QTableWidget*>(QStringLiteral("jobsTable"));
        const QAbstractItemModelTester tester(table->model(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        const auto* errors = dialog.findChild<QListWidget*>(QStringLiteral("errorsList"));
        const QAbstractItemModelTester errorsTester(errors->model(),
                                                    QAbstractItemModelTester::FailureReportingMode::QtTest);
        ServiceReport report;
        report.online = true;
        report.errors << QStringLiteral("Disk full");
        report.jobs << DeskJob{
            QStringLiteral("1"), QStringLiteral("/m/a.mov"), QStringLiteral("FAILED"), true, 40, {}};
        report.jobs << DeskJob{
            QStringLiteral("2"), QStringLiteral("/m/b.mov"), QStringLiteral("RUNNING"), false, 5, {}};
        dialog.showReport(report, true);
        QCOMPARE(table->rowCount(), 2);
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("a.mov"));
        QCOMPARE(table->item(1, 1)->text(), QStringLiteral("RUNNING"));
        QCOMPARE(table->item(1, 2)->text(), QStringLiteral("5 %"));
        QCOMPARE(errors->count(), 1);
        table->selectRow(1);
        dialog.showReport(report, true);
        QVERIFY(table->item(1, 0)->isSelected());
        report.jobs.removeFirst();
        dialog.showReport(report, true);
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(table->item(0, 0)->text(), QStringLiteral("b.mov"));
    }

    void aJobsPathThatLooksLikeMarkupIsShownAsItIs()
    {
        ServicesDialog dialog(nullptr);
        ServiceReport report;
        report.jobs << DeskJob{
            QStringLiteral("1"), QStringLiteral("/m/<b>a</b>.mov"), QStringLiteral("RUNNING"), false, 0, {}};
        dialog.showReport(report, true);
        const QString tip =
            dialog.findChild<QTableWidget*>(QStringLiteral("jobsTable"))->item(0, 0)->toolTip();
        QVERIFY2(tip.contains(QLatin1String("/m/&lt;b&gt;a&lt;/b&gt;.mov")), qPrintable(tip));
    }

    // --- Help -------------------------------------------------------------------------------------------

    void everyTopicOfTheModuleHasItsText()
    {
        HelpDialog dialog(nullptr);
        const auto* text = dialog.findChild<QTextBrowser*>();
        dialog.showTopic(QStringLiteral("IDH_ProfileEditor_Window"));
        QVERIFY(text->toPlainText().startsWith(QLatin1String("Profile Editor")));
        dialog.showTopic(QStringLiteral("no such topic"));
        QVERIFY(text->toPlainText().startsWith(QLatin1String("KRX Desk")));
    }

    void whatAProfileWouldDoIsShownStepByStep()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("POST", "/KRXService/profiles/p1/dryrun", 200,
                        "<dryRun><path>/in/a &amp; b.mov</path><clip><name>a &amp; b</name>"
                        "<path>/in/a &amp; b.mov</path><files>1</files><bytes>1000</bytes><kind>video</kind>"
                        "<duration>4.000000</duration><timecode>11:00:00:00</timecode>"
                        "<stream><type>video</type><codec>prores</codec><raster>640x360</raster>"
                        "<frameRate>30000/1001</frameRate></stream><stream><type>audio</type>"
                        "<codec>pcm_s16le</codec><channels>2</channels></stream>"
                        "<stream><type>data</type><codec>unknown</codec></stream></clip>"
                        "<activity><id>copy</id><name>Copy</name><verdict>WILL_DO</verdict>"
                        "<result><path>/to/a &amp; b.mov</path><bytes>1000</bytes></result>"
                        "<seconds>12</seconds></activity>"
                        "<activity><id>transcode</id><name>Transcode</name><verdict>CANNOT</verdict>"
                        "<reason>the volume is away</reason></activity></dryRun>");
        TryItDialog dialog(QStringLiteral("p1"), QStringLiteral("/in/a & b.mov"), nullptr);
        dialog.show();
        auto* steps = dialog.findChild<QTreeWidget*>(QStringLiteral("tryItSteps"));
        KRXTest::watchModel(steps);
        QTRY_COMPARE(steps->topLevelItemCount(), 2);
        QVERIFY(server.lastRequest().body.contains("<path>/in/a &amp; b.mov</path>"));
        QVERIFY(dialog.findChild<QLabel*>()->text().startsWith(
            QStringLiteral("a & b would be taken as a clip: ")));
        QVERIFY(dialog.findChild<QLabel*>()->text().contains(
            QStringLiteral("; %1 s; 11:00:00:00; prores 640x360 %2 fps; pcm_s16le 2 channels. Nothing")
                .arg(QLocale().toString(4.0, 'f', 2), QLocale().toString(29.97, 'f', 2))));
        QCOMPARE(steps->topLevelItem(0)->text(0), QStringLiteral("Copy"));
        QCOMPARE(steps->topLevelItem(0)->text(1), QStringLiteral("Will be done"));
        QVERIFY(steps->topLevelItem(0)->text(2).contains(QStringLiteral("12 s")));
        QCOMPARE(steps->topLevelItem(0)->child(0)->text(2), QStringLiteral("/to/a & b.mov"));
        QCOMPARE(steps->topLevelItem(1)->text(1), QStringLiteral("Cannot be done"));
        QCOMPARE(steps->topLevelItem(1)->text(2), QStringLiteral("the volume is away"));
    }
    void whatAProfileCannotTellIsSaid_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("text");
        QTest::newRow("not offered") << 200
                                     << QByteArray("<dryRun><path>/in/a.txt</path><reason>it is no media file"
                                                   "</reason></dryRun>")
                                     << QStringLiteral("a.txt would not be offered: it is no media file");
        QTest::newRow("another document")
            << 200 << QByteArray("<html/>") << QStringLiteral("The service's answer was not understood.");
        QTest::newRow("refused") << 503 << QByteArray() << QStringLiteral("The service cannot tell: ");
    }
    void whatAProfileCannotTellIsSaid()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, text);
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("POST", "/KRXService/profiles/p1/dryrun", status, body);
        TryItDialog dialog(QStringLiteral("p1"), QStringLiteral("/in/a.txt"), nullptr);
        QTRY_VERIFY(dialog.findChild<QLabel*>()->text().startsWith(text));
    }
    void aDialogThatIsClosedWaitsForNoService()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("POST", "/KRXService/profiles/p1/dryrun", TestHttpServer::Reply::never());
        auto dialog =
            std::make_unique<TryItDialog>(QStringLiteral("p1"), QStringLiteral("/in/a.txt"), nullptr);
        QVERIFY(server.waitForRequests(1));
        dialog.reset();
    }
    void theEditorsWindowAndTheLinkDialogOfferToTry()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        Editor editor;
        editor.show();
        const auto* button = editor.findChild<QPushButton*>(QStringLiteral("tryItBtn"));
        QVERIFY(button && button->isVisible());
        const auto* cancel = editor.findChild<QPushButton*>(QStringLiteral("KRX_CancelBtn"));
        QVERIFY(!button->geometry().intersects(QRect(cancel->mapTo(&editor, QPoint()), cancel->size())));
        LinkMediaDialog link(nullptr, nullptr);
        auto* tries = link.findChild<QPushButton*>(QStringLiteral("tryItBtn"));
        QVERIFY(!tries->isEnabled());
        link.addFiles({QStringLiteral("/in/a.mov")});
        QVERIFY(tries->isEnabled());
        tries->click();
        QVERIFY(link.findChild<TryItDialog*>());
    }
};

QTEST_MAIN(TestDeskDialogs)
#include "test_desk_dialogs.moc"
