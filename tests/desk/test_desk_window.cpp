#include "ActivityDocks.h"
#include "ClipLists.h"
#include "DeskPanel.h"
#include "DeskSession.h"
#include "DeskWindow.h"
#include "HelpDialog.h"
#include "LinkDocuments.h"
#include "ServicesDialog.h"

#include "HostRecorder.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "OtherUsersListener.h"
#include "StandInHost.h"
#include "TestHttpServer.h"

#include "HostQtShell.h"
#include "HostStatusShell.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QLabel>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QSignalSpy>
#include <QStatusBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace {

constexpr int kPollInterval = 10;

const QByteArray kFolders =
    "<xelMediaFolderDetailList><xelMediaFolder id=\"f1\"><path>/watch</path><profile>p1</profile>"
    "<enabled>true</enabled></xelMediaFolder></xelMediaFolderDetailList>";
const QByteArray kProfiles = "<profileDetailList><profile><profileDetail><profileName>Default "
                             "Profile</profileName><profileGUID>p1</profileGUID>"
                             "</profileDetail></profile></profileDetailList>";
const QByteArray kProfileList =
    "<profileList><profileURI>http://127.0.0.1:58885/KRXService/profiles/p1</profileURI></profileList>";
const QByteArray kIdle = "<activity><status>StatusIdle</status></activity>";
const QByteArray kReady = "<activity><status>StatusActive</status><outputReadyFolder>"
                          "<folderURI>http://127.0.0.1:58885/KRXService/xelmediafolders/f1</folderURI>"
                          "<outputReady>true</outputReady></outputReadyFolder></activity>";

} // namespace

class TestDeskWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;
    std::unique_ptr<DeskSession> m_session;
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
        m_session = std::make_unique<DeskSession>();
        QString error;
        QVERIFY2(m_session->create(m_dir->filePath(QStringLiteral("Show.krxproject")), error),
                 qPrintable(error));
        ServiceSupervisor::Settings service;
        service.program = QStringLiteral("/nowhere/krx-service");
        m_window = std::make_unique<DeskWindow>(*m_session, service, kPollInterval);
        m_window->show();
    }
    void cleanup()
    {
        m_window.reset();
        m_session.reset();
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

    void aDirectoryThatGoesOrComesIsNoticed()
    {
        const QString folder = m_dir->filePath(QStringLiteral("watched"));
        QVERIFY(QDir().mkpath(folder));
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/xelmediafolders?level=detail", 200,
                           QByteArray(kFolders).replace("/watch", folder.toUtf8()));
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        const auto exists = [this] {
            const QTreeWidgetItem* row = m_window->folderView()->topLevelItem(0);
            return row->data(KRXFolderViewWidget::kIdxFolderColumn, KRXFolderViewWidget::kFolderExistRole)
                .toBool();
        };
        QTRY_VERIFY(exists());
        // No volume is told of, and nobody touches the window.
        QVERIFY(QDir().rmdir(folder));
        QTRY_VERIFY(!exists());
        QVERIFY(QDir().mkpath(folder));
        QTRY_VERIFY(exists());
    }

    void whoHoldsThePortIsToldAndWhatToDo()
    {
        if (::geteuid() != 0)
            QSKIP("needs two users, which only root can be");
        OtherUsersListener other;
        const ScopedConnectPort connect(other.port());
        m_window->start();
        QTRY_VERIFY2(serviceState().contains(QLatin1String("Service: the port is 54321's")),
                     qPrintable(serviceState()));
        QVERIFY(!m_window->isServiceOnline());
        QVERIFY(m_window->findChild<QLabel*>(QStringLiteral("offlineMessage"))->isVisible());
        const auto told = [this] {
            const QString all =
                m_window->findChild<QPlainTextEdit*>(QStringLiteral("messages"))->toPlainText();
            return all.count(
                QStringLiteral("The service's port %1 is held by a program of the user 54321, which "
                               "is not asked. Let them start their service with --no-port")
                    .arg(ServiceSupervisor::portFromEnvironment()));
        };
        QCOMPARE(told(), 1);
        QVERIFY(m_window->findChild<QLabel*>(QStringLiteral("serviceState"))
                    ->toolTip()
                    .contains(QLatin1String("54321")));
        // Not one byte was said to it, and it is told once, however often it is looked at.
        for (int i = 0; i < 3; ++i)
            QCOMPARE(other.bytesOfNextConnection(), 0);
        QCOMPARE(told(), 1);
    }

    void aReadyFolderIsMarked()
    {
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/activity", 200, kReady);
        m_window->start();
        QTRY_VERIFY(m_window->isServiceOnline());
        QTRY_COMPARE(KRXFolderViewWidget::getIngestState(m_window->folderView()->topLevelItem(0)),
                     int(KRXFolderViewWidget::NewClipsAvailable));
        QVERIFY(serviceState().contains(QLatin1String("Service: working")));
    }

    void aReadyFolderStaysMarkedWhenItsRowIsMadeAnew()
    {
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/activity", 200, kReady);
        m_window->start();
        const auto state = [this] {
            return KRXFolderViewWidget::getIngestState(m_window->folderView()->topLevelItem(0));
        };
        QTRY_COMPARE(state(), int(KRXFolderViewWidget::NewClipsAvailable));
        // From here on no report comes, as while the service has nothing to tell.
        m_server->setReply("GET", "/KRXService/activity", TestHttpServer::Reply::xml(kReady).heldBack());
        const int before = m_server->requestCount("GET", "/KRXService/activity");
        QTRY_VERIFY(m_server->requestCount("GET", "/KRXService/activity") > before);
        action("&Refresh")->trigger();
        QTRY_COMPARE(state(), int(KRXFolderViewWidget::NewClipsAvailable));
        m_server->release();
    }

    void aFolderThatSomebodyElseMadeIsCalledByItsName()
    {
        serviceAnswers();
        const QByteArray changes = "/KRXService/changes?since=";
        m_server->setReply("GET", changes + "0", 200, "<changes version=\"5\"/>");
        m_server->setReply(
            "GET", "/KRXService/clips?since=0&offset=0&limit=1000", 200,
            ClipLists::listXml(1, ClipLists::clipXml("c1", "WAITING").replace(">f1<", ">f2<")));
        m_server->setReply(
            "GET", changes + "5",
            TestHttpServer::Reply::xml("<changes version=\"6\"><changed>folders</changed></changes>")
                .heldBack());
        m_server->setReply("GET", changes + "6", TestHttpServer::Reply::never());
        m_window->start();
        const auto* clips = m_window->findChild<QTableView*>(QStringLiteral("clipsTable"))->model();
        const auto shown = [clips] { return clips->index(0, ClipTable::Folder).data().toString(); };
        QTRY_COMPARE(shown(), QStringLiteral("f2"));
        // The panel read its list before.
        QTRY_COMPARE(m_window->folderView()->topLevelItemCount(), 1);
        m_server->setReply("GET", "/KRXService/xelmediafolders?level=detail", 200,
                           QByteArray(kFolders).replace("f1", "f2").replace("/watch", "/somewhere/Rushes"));
        m_server->release();
        QTRY_COMPARE(shown(), QStringLiteral("Rushes"));
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
        auto* link = m_window->findChild<StatusLink*>(QStringLiteral("messagesLink"));
        QVERIFY(!link->isVisible());
        m_window->start();
        QTRY_VERIFY(link->isVisible());
        QCOMPARE(link->text(), QStringLiteral("1 message"));
        QVERIFY(serviceState().contains(QLatin1String("Service: ready")));
        const auto* dock = m_window->findChild<QDockWidget*>(QStringLiteral("messagesDock"));
        QVERIFY(!dock->isVisible());
        QTest::mouseClick(link, Qt::LeftButton);
        QVERIFY(dock->isVisible());
        const auto* table = m_window->findChild<QTableView*>(QStringLiteral("messagesTable"));
        QCOMPARE(table->model()->index(0, MessageList::Text).data().toString(), QStringLiteral("Disk full"));
        m_window->panel()->openServicesDialog();
        auto* dialog = m_window->findChild<ServicesDialog*>();
        QVERIFY(dialog && dialog->isVisible());
    }

    void whatIsSaidOfAServiceThatIsAwayGoesWhenItAnswers()
    {
        auto* link = m_window->findChild<StatusLink*>(QStringLiteral("messagesLink"));
        const auto* list = m_window->findChild<QTableView*>(QStringLiteral("messagesTable"))->model();
        m_window->start();
        // There is no program that could be started.
        QTRY_VERIFY(link->isVisible());
        QVERIFY(list->rowCount() > 0);
        m_window->showNews(QStringLiteral("5 clips are in the bin"));
        QVERIFY(!list->index(0, MessageList::Text).data().toString().contains(QLatin1String("5 clips")));
        serviceAnswers();
        QTRY_VERIFY(!link->isVisible());
        QCOMPARE(list->rowCount(), 0);
        // It counts what the list shows, whoever said it.
        m_window->showMessage(QStringLiteral("The job could not be cancelled"));
        QVERIFY(link->isVisible());
        QCOMPARE(link->text(), QStringLiteral("1 message"));
    }

    void aClipThatBecameReadyWhenAllAreReadAgainIsTold()
    {
        serviceAnswers();
        const QByteArray changes = "/KRXService/changes?since=";
        const auto clips = [](int since) -> QByteArray {
            return "/KRXService/clips?since=" + QByteArray::number(since) + "&offset=0&limit=1000";
        };
        m_server->setReply("GET", changes + "0", 200, "<changes version=\"5\"/>");
        m_server->addReplyOnce(
            "GET", clips(0),
            TestHttpServer::Reply::xml(ClipLists::listXml(3, ClipLists::clipXml("c1", "WAITING") +
                                                                 ClipLists::clipXml("c2", "WAITING") +
                                                                 ClipLists::clipXml("c3", "OFFERED"))));
        m_server->setReply(
            "GET", changes + "5",
            TestHttpServer::Reply::xml("<changes version=\"6\"><changed>clips</changed></changes>")
                .heldBack());
        // The service forgot the second one.
        m_server->setReply("GET", clips(5), 200,
                           ClipLists::listXml(2, ClipLists::clipXml("c1", "OFFERED"), 6));
        m_server->setReply(
            "GET", clips(0), 200,
            ClipLists::listXml(2, ClipLists::clipXml("c1", "OFFERED") + ClipLists::clipXml("c3", "OFFERED"),
                               6));
        m_server->setReply("GET", changes + "6", TestHttpServer::Reply::never());
        QStringList notices;
        Notifier& notifier = m_window->findChild<ActivityDocks*>()->notifier();
        notifier.setShow([&](const QString&, const QString& text) { notices << text; });
        m_window->start();
        const auto* shown = m_window->findChild<QTableView*>(QStringLiteral("clipsTable"))->model();
        QTRY_COMPARE(shown->rowCount(), 3);
        notifier.setInFront(false);
        m_server->release();
        QTRY_COMPARE(shown->rowCount(), 2);
        QCOMPARE(notices, QStringList{QStringLiteral("1 clip is ready")});
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

    void textsThatLookLikeMarkupAreShownAsTheyAre()
    {
        serviceAnswers();
        m_server->setReply("GET", "/KRXService/activity", 200,
                           "<a><status>StatusIdle</status><errorMessage>x</errorMessage></a>");
        m_server->setReply("GET", "/KRXService/errors", 200,
                           "<e><errorMessage>/m/&lt;b&gt;a&lt;/b&gt;.mov is damaged</errorMessage></e>");
        m_window->start();
        const auto* state = m_window->findChild<QLabel*>(QStringLiteral("serviceState"));
        QTRY_VERIFY(!state->toolTip().isEmpty());
        QVERIFY2(state->toolTip().contains(QLatin1String("&lt;b&gt;")), qPrintable(state->toolTip()));
        QCOMPARE(m_window->findChild<QLabel*>(QStringLiteral("progressText"))->textFormat(), Qt::PlainText);
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
        m_session->project().binNamed(QStringLiteral("Rushes"));
        QVERIFY(m_window->close());
        DeskProject saved;
        QString error;
        QVERIFY2(saved.load(m_session->project().path(), error), qPrintable(error));
        QCOMPARE(saved.bins().size(), 1);
    }

    void aProjectThatCannotBeSavedIsNotLeftWithoutAsking()
    {
        m_session->project().binNamed(QStringLiteral("Rushes"));
        QVERIFY(QFile::remove(m_session->project().path()));
        QVERIFY(QDir().mkpath(QString(m_session->project().path() + QLatin1String("/in the way"))));
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::No; });
        QVERIFY(!m_window->close());
        QVERIFY(m_window->isVisible());
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Yes; });
        QVERIFY(m_window->close());
        // Each time: whether to put it in the place of what stands there, and whether to quit without.
        QCOMPARE(StandInHost::messageLog().size(), 4);
    }

    void anAcquisitionOfManyClipsTellsHowMany()
    {
        for (const char* name : {"a", "b", "c"}) {
            LinkDocuments::Parts parts;
            parts.id = name;
            const QString path = m_dir->filePath(QString::fromLatin1(name));
            QVERIFY(LinkDocuments::write(path, LinkDocuments::text(parts)));
            m_session->clips().take(path);
        }
        QVERIFY(m_session->clips().finish());
        QCOMPARE(m_window->statusBar()->currentMessage(), QStringLiteral("3 clips are in the bin \"Show\""));
    }

    void aProjectThatIsOnlyReadIsMarkedInTheTitle()
    {
        DeskSession second;
        QString error;
        QVERIFY(second.open(m_session->project().path(), error));
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Ok; });
        ServiceSupervisor::Settings service;
        service.program = QStringLiteral("/nowhere/krx-service");
        const DeskWindow window(second, service, kPollInterval);
        QCOMPARE(window.windowTitle(), QStringLiteral("Show (read-only)[*]"));
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Show[*]"));
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
