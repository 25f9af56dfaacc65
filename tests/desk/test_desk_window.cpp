#include "DeskPanel.h"
#include "DeskProject.h"
#include "DeskWindow.h"
#include "HelpDialog.h"
#include "ServicesDialog.h"

#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "StandInHost.h"
#include "TestHttpServer.h"

#include "HostQtShell.h"
#include "HostStatusShell.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr int kPollInterval = 10;

const QByteArray kFolders =
    "<xelMediaFolders><xelMediaFolder id=\"f1\"><path>/watch</path><profile>p1</profile>"
    "<enabled>true</enabled></xelMediaFolder></xelMediaFolders>";
const QByteArray kProfiles = "<profiles><profile><profileDetail><profileName>Default "
                             "Profile</profileName><profileGUID>p1</profileGUID>"
                             "</profileDetail></profile></profiles>";
const QByteArray kProfileList =
    "<profiles><profileURI>http://127.0.0.1:58885/KRXService/profiles/p1</profileURI></profiles>";
const QByteArray kIdle = "<activity><status>StatusIdle</status></activity>";

} // namespace

class TestDeskWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;
    std::unique_ptr<DeskProject> m_project;
    std::unique_ptr<DeskWindow> m_window;

    void serviceAnswers()
    {
        m_server->setReply("GET", "/KRXService/activity", 200, kIdle);
        m_server->setReply("GET", "/KRXService/xelmediafolders?level=detail", 200, kFolders);
        m_server->setReply("GET", "/KRXService/profiles?level=detail", 200, kProfiles);
        m_server->setReply("GET", "/KRXService/profiles", 200, kProfileList);
        m_server->setReply("GET", "/KRXService/profiles/p1", 200, kProfiles);
        m_server->setReply("GET", "/KRXService/jobs/detail?kind=manual&filter=true", 200, "<jobs/>");
        m_server->setReply("GET", "/KRXService/jobs/status?filter=true", 200, "<jobs/>");
    }
    QAction* action(const char* text) const
    {
        const QList<QAction*> actions = m_window->findChildren<QAction*>();
        for (QAction* one : actions) {
            if (one->text() == QLatin1String(text))
                return one;
        }
        return nullptr;
    }
    QString serviceState() const
    {
        return m_window->findChild<QLabel*>(QStringLiteral("serviceState"))->text();
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_server = std::make_unique<TestHttpServer>();
        m_connect = std::make_unique<ScopedConnectPort>(m_server->port());
        m_project = std::make_unique<DeskProject>();
        m_project->create(m_dir->filePath(QStringLiteral("Show.krxproject")));
        ServiceSupervisor::Settings service;
        service.program = QStringLiteral("/nowhere/krx-service");
        m_window = std::make_unique<DeskWindow>(*m_project, service, kPollInterval);
        m_window->show();
    }
    void cleanup()
    {
        m_window.reset();
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        StandInHost::resetRecords();
        StandInHost::setSkin(StandInHost::kLightSkin);
        m_connect.reset();
        m_server.reset();
    }

    void nothingIsAskedBeforeTheServiceIsKnownToBeThere()
    {
        QVERIFY(m_window->panel()->isVisible());
        QCOMPARE(m_server->requestCount(), 0);
        QVERIFY(m_window->findChild<QLabel*>(QStringLiteral("offlineMessage"))->isVisible());
    }

    void theFoldersAppearWhenTheServiceAnswers()
    {
        serviceAnswers();
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        QCOMPARE(m_window->folderView()->topLevelItemCount(), 1);
        QVERIFY(!m_window->findChild<QLabel*>(QStringLiteral("offlineMessage"))->isVisible());
        QVERIFY(serviceState().contains(QLatin1String("Service: ready")));
        QVERIFY(action("&Link Media with a Profile...")->isEnabled());
    }

    void aReadyFolderIsMarked()
    {
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/activity", 200,
                           "<activity><status>StatusActive</status><outputReadyFolder>"
                           "<folderURI>http://127.0.0.1:58885/KRXService/xelmediafolders/f1</folderURI>"
                           "<outputReady>true</outputReady></outputReadyFolder></activity>");
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        QTRY_COMPARE(KRXFolderViewWidget::getIngestState(m_window->folderView()->topLevelItem(0)),
                     int(KRXFolderViewWidget::NewClipsAvailable));
        QVERIFY(serviceState().contains(QLatin1String("Service: working")));
    }

    void aServiceThatGoesAwayTakesThePanelOffLineAndLeavesItsRows()
    {
        serviceAnswers();
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        m_server->clearReplies();
        QTRY_VERIFY(!m_window->isServiceOnline());
        QVERIFY(m_window->findChild<QLabel*>(QStringLiteral("offlineMessage"))->isVisible());
        QCOMPARE(m_window->folderView()->topLevelItemCount(), 1);
        QVERIFY(!m_window->folderView()->isEnabled());
    }

    void oneMissedAnswerIsNoOutage()
    {
        serviceAnswers();
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        QSignalSpy changed(m_window.get(), &DeskWindow::serviceOnlineChanged);
        m_server->addReplyOnce("GET", "/KRXService/activity", TestHttpServer::Reply::bare(500));
        const int before = m_server->requestCount("GET", "/KRXService/activity");
        QTRY_VERIFY(m_server->requestCount("GET", "/KRXService/activity") > before + 3);
        QCOMPARE(changed.count(), 0);
    }

    void aHangingServiceDoesNotFreezeTheWindow()
    {
        m_server->setReply("GET", "/KRXService/activity", TestHttpServer::Reply::xml(kIdle).heldBack());
        m_window->start();
        QTRY_COMPARE(m_server->requestCount(), 1);
        int beats = 0;
        QTimer heart;
        connect(&heart, &QTimer::timeout, &heart, [&beats] { ++beats; });
        heart.start(0);
        QTRY_VERIFY(beats > 100);
        QVERIFY(!m_window->isServiceOnline());
        m_server->release();
    }

    void messagesOfTheServiceAreCountedAndListed()
    {
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/activity", 200,
                           "<a><status>StatusIdle</status><errorMessage>Disk full</errorMessage></a>");
        m_server->setReply("GET", "/KRXService/errors", 200, "<e><errorMessage>Disk full</errorMessage></e>");
        m_window->start();
        QTRY_VERIFY(serviceState().contains(QLatin1String("Service: 1 message")));
        m_window->panel()->openServicesDialog();
        auto* dialog = m_window->findChild<ServicesDialog*>();
        QVERIFY(dialog && dialog->isVisible());
    }

    void progressIsShownInTheStatusBarWhileClipsAreAcquired()
    {
        const auto* bar = m_window->findChild<QProgressBar*>(QStringLiteral("progress"));
        const auto* text = m_window->findChild<QLabel*>(QStringLiteral("progressText"));
        QVERIFY(!bar->isVisible());
        HostStatusShell::statusProgressUpdate(QStringLiteral("Acquiring clips from KRX... 1 of 3"), 1, 3);
        QVERIFY(bar->isVisible());
        QCOMPARE(bar->value(), 1);
        QCOMPARE(bar->maximum(), 3);
        QCOMPARE(text->text(), QStringLiteral("Acquiring clips from KRX... 1 of 3"));
        HostStatusShell::statusProgressClose();
        QVERIFY(!bar->isVisible());
    }

    void helpIsShownForATopicOfTheModule()
    {
        HostStatusShell::showHelpTopic(QStringLiteral("IDH_ProfileEditor_Window"), 1);
        auto* help = m_window->findChild<HelpDialog*>();
        QVERIFY(help && help->isVisible());
    }

    void theSkinCanBeChanged()
    {
        action("&Dark Skin")->trigger();
        QCOMPARE(HostQtShell::currentSkinIndex(), StandInHost::kDarkSkin);
        QVERIFY(action("&Dark Skin")->isChecked());
        action("&Light Skin")->trigger();
        QCOMPARE(HostQtShell::currentSkinIndex(), StandInHost::kLightSkin);
    }

    void closingSavesWhatTheProjectFileDoesNotHold()
    {
        m_project->binNamed(QStringLiteral("Rushes"));
        QVERIFY(m_window->close());
        DeskProject saved;
        QString error;
        QVERIFY2(saved.load(m_project->path(), error), qPrintable(error));
        QCOMPARE(saved.bins().size(), 1);
    }

    void aProjectThatCannotBeSavedIsNotLeftWithoutAsking()
    {
        m_project->binNamed(QStringLiteral("Rushes"));
        QVERIFY(QDir().mkpath(QString(m_project->path() + QLatin1String("/in the way"))));
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::No; });
        QVERIFY(!m_window->close());
        QVERIFY(m_window->isVisible());
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Yes; });
        QVERIFY(m_window->close());
        QCOMPARE(StandInHost::messageLog().size(), 2);
    }

    void thePanelTellsWhichHeightItNeeds()
    {
        QSignalSpy wanted(m_window->panel(), &DeskPanel::heightWanted);
        m_window->panel()->Show();
        QCOMPARE(wanted.count(), 1);
        QCOMPARE(wanted.at(0).at(0).toInt(), m_window->panel()->neededHeight());
    }
};

QTEST_MAIN(TestDeskWindow)
#include "test_desk_window.moc"
