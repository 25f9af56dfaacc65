// The panel's buttons for folders, and what a reload keeps.

#include "HostQtShell.h"
#include "PanelFixture.h"

#include <QDir>
#include <QTest>

class TestPanelList : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    // --- Adding and removing ---
    void firstChooserStartsNowhere();
    void chooserIsGuardedAndTitled();
    void chooserStartsWhereItWasLastInEveryPanel();
    void directoryIsRememberedThoughTheAddFailed();
    void cancelledChooserChangesNothing();
    void chosenDirectoryIsAddedWithTheBoxesProfile();
    void emptyBoxAddsWithoutAProfile();
    void panelDestroyedWhileChoosingIsHarmless();
    void removingTheLastFolderDisablesTheButton();
    void removingMovesToTheNextRow();
    void failedRemovalKeepsTheButton();

    // --- Refreshing ---
    void refreshRestoresTheCurrentFolder();
    void refreshFallsBackToTheFirstFolder();
    void refreshWritesNothing();
    void refreshUpdatesTheButtons();
    void refreshWhileOfflineEnablesNothing();
    void failedRefreshShowsTheKnownRowsAgain_data();
    void failedRefreshShowsTheKnownRowsAgain();
    void refreshOfAServiceWithoutFoldersEmptiesTheList();
    void vanishedProfileIsMendedByOneChoice_data();
    void vanishedProfileIsMendedByOneChoice();
    void vanishedProfileIsMendedByOneChoiceAfterALaterShow();
    void readyFoldersReachTheView();
    void acquiredClipsReachTheHost();
    void registeredCallbackDoesNotReachTheView();
    void nullCallbackIsNeverCalled();

private:
    QStringList m_startsOfTheFirstChooser;
};

void TestPanelList::initTestCase()
{
    // The directory is remembered for the life of the process, so the first chooser comes before every test.
    PanelFixture f;
    f.show();
    f.press(f.add());
    const auto choosers = StandInHost::directoryLog();
    for (const auto& chooser : choosers)
        m_startsOfTheFirstChooser << chooser.start;
}

void TestPanelList::firstChooserStartsNowhere()
{
    QCOMPARE(m_startsOfTheFirstChooser, QStringList(QString()));
}

void TestPanelList::chooserIsGuardedAndTitled()
{
    PanelFixture f;
    f.show();
    f.press(f.add());
    QCOMPARE(StandInHost::directoryLog().size(), 1);
    QCOMPARE(StandInHost::directoryLog().at(0).caption, "Select Folder"_s);
    QCOMPARE(StandInHost::directoryLog().at(0).parent, f.panel.get());
    QCOMPARE(f.guardDepthWhileChoosing, 1);
    QCOMPARE(StandInHost::navigationGuardDepth(), 0);
}

void TestPanelList::chooserStartsWhereItWasLastInEveryPanel()
{
    {
        PanelFixture f;
        f.show();
        f.directory = "/media/remembered"_s;
        f.press(f.add());
    }
    PanelFixture f;
    f.show();
    f.press(f.add());
    QCOMPARE(StandInHost::directoryLog().at(0).start, "/media/remembered"_s);
    // Cancelling keeps it.
    f.press(f.add());
    QCOMPARE(StandInHost::directoryLog().at(1).start, "/media/remembered"_s);
}

void TestPanelList::directoryIsRememberedThoughTheAddFailed()
{
    PanelFixture f;
    f.show();
    f.directory = "/media/a"_s;
    f.press(f.add());
    QCOMPARE(StandInHost::messageLog().size(), 1);
    f.press(f.add());
    QCOMPARE(StandInHost::directoryLog().at(1).start, "/media/a"_s);
}

void TestPanelList::cancelledChooserChangesNothing()
{
    PanelFixture f;
    f.show();
    f.press(f.add());
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.view()->topLevelItemCount(), 2);
}

void TestPanelList::chosenDirectoryIsAddedWithTheBoxesProfile()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.directory = "/media/new"_s;
    f.press(f.add());
    QCOMPARE(f.service.lines(), QStringList({"POST xelmediafolders"_s, "GET xelmediafolders/new"_s}));
    QCOMPARE(f.currentFolder(), "new"_s);
    QCOMPARE(f.profileOf("new"_s), "p2"_s);
    QCOMPARE(View::getFolderPath(f.row("new"_s)), QDir::toNativeSeparators("/media/new"_s));
    QVERIFY(f.del()->isEnabled());
}

void TestPanelList::emptyBoxAddsWithoutAProfile()
{
    PanelFixture f;
    f.service.profiles.clear();
    f.show();
    f.directory = "/media/new"_s;
    // Only the button is shut off; the host may still reach the slot.
    QVERIFY(QMetaObject::invokeMethod(f.panel.get(), "addFolderBtnPressed"));
    QVERIFY(f.service.bodyOf("POST xelmediafolders"_s).contains("<profile></profile>"_s));
}

void TestPanelList::panelDestroyedWhileChoosingIsHarmless()
{
    PanelFixture f;
    f.show();
    f.directory = "/media/new"_s;
    f.whileChoosing = [&f] { f.panel.reset(); };
    f.add()->click();
    QVERIFY(!f.panel);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(StandInHost::navigationGuardDepth(), 0);
}

void TestPanelList::removingTheLastFolderDisablesTheButton()
{
    PanelFixture f;
    f.service.folders.removeLast();
    f.show();
    QVERIFY(f.del()->isEnabled());
    f.press(f.del());
    QCOMPARE(f.service.lines(), QStringList({"DELETE xelmediafolders/a"_s}));
    QCOMPARE(f.view()->topLevelItemCount(), 0);
    QVERIFY(!f.del()->isEnabled());
}

void TestPanelList::removingMovesToTheNextRow()
{
    PanelFixture f;
    f.show();
    f.press(f.del());
    QCOMPARE(f.currentFolder(), "b"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QVERIFY(f.del()->isEnabled());
    QCOMPARE(f.puts(), QStringList());
}

void TestPanelList::failedRemovalKeepsTheButton()
{
    PanelFixture f;
    f.show();
    f.service.refusals["DELETE xelmediafolders/a"_s] = "Busy"_s;
    f.press(f.del());
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(StandInHost::messageLog().at(0).text, "Can't delete folder a!\nBusy"_s);
    QVERIFY(f.del()->isEnabled());
    QCOMPARE(f.currentFolder(), "a"_s);
}

void TestPanelList::refreshRestoresTheCurrentFolder()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.service.folders.prepend({"0"_s, "/media/0"_s, "p1"_s});
    f.service.clear();
    f.panel->refreshFolders();
    QCOMPARE(f.service.lines(), kLoading + QStringList({kProfiles}));
    QCOMPARE(f.view()->topLevelItemCount(), 3);
    QCOMPARE(f.currentFolder(), "b"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QVERIFY(!f.view()->signalsBlocked());
    QVERIFY(!f.box()->signalsBlocked());
}

void TestPanelList::refreshFallsBackToTheFirstFolder()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.service.folders.removeLast();
    f.panel->refreshFolders();
    QCOMPARE(f.currentFolder(), "a"_s);
    QCOMPARE(f.boxProfile(), "p1"_s);
}

void TestPanelList::refreshWritesNothing()
{
    PanelFixture f;
    f.show();
    f.service.folders[0].profile = "gone"_s;
    f.service.profiles.append({"p9"_s, "Zoom"_s});
    f.service.folders[1].profile = "p9"_s;
    f.panel->refreshFolders();
    f.view()->setCurrentItem(f.row("b"_s));
    f.panel->refreshFolders();
    QCOMPARE(f.puts(), QStringList());
    QCOMPARE(f.profileOf("a"_s), "gone"_s);
    QCOMPARE(f.boxProfile(), "p9"_s);
}

void TestPanelList::refreshUpdatesTheButtons()
{
    PanelFixture f;
    f.show();
    f.service.folders.clear();
    f.service.profiles.clear();
    f.panel->refreshFolders();
    QVERIFY(!f.add()->isEnabled());
    QVERIFY(!f.del()->isEnabled());
    f.service.folders = {{"a"_s, "/media/a"_s, "p1"_s}};
    f.service.profiles = {{"p1"_s, "Conform"_s}};
    f.panel->refreshFolders();
    QVERIFY(f.add()->isEnabled());
    QVERIFY(f.del()->isEnabled());
}

void TestPanelList::refreshWhileOfflineEnablesNothing()
{
    PanelFixture f;
    f.show();
    f.panel->updateKRXServiceOnlineState(false);
    f.panel->refreshFolders();
    QVERIFY(!f.add()->isEnabled());
    QVERIFY(!f.del()->isEnabled());
}

void TestPanelList::readyFoldersReachTheView()
{
    PanelFixture f;
    f.show();
    f.panel->updateFoldersOutputReadyState({"b"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 1);
}

namespace {

void acquire(const PanelFixture& f, const QString& folderId)
{
    View::setIngestState(f.row(folderId), View::NewClipsAvailable);
    QRect cell = f.view()->visualItemRect(f.row(folderId));
    cell.setWidth(f.view()->columnWidth(View::kIdxIngestColumn));
    cell.moveLeft(0);
    QTest::mouseClick(f.view()->viewport(), Qt::LeftButton, {}, cell.center());
}

QStringList& otherAcquired()
{
    static QStringList paths;
    return paths;
}

} // namespace

void TestPanelList::acquiredClipsReachTheHost()
{
    PanelFixture f;
    f.show();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    acquire(f, "a"_s);
    QCOMPARE(PanelFixture::acquired(), QStringList({"/out/1.xel"_s, "/out/2.xel"_s}));
}

void TestPanelList::registeredCallbackDoesNotReachTheView()
{
    PanelFixture f;
    f.show();
    otherAcquired().clear();
    f.panel->registerCallback([](const QString& path) { otherAcquired() << path; });
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    acquire(f, "a"_s);
    QCOMPARE(PanelFixture::acquired(), QStringList({"/out/1.xel"_s}));
    QCOMPARE(otherAcquired(), QStringList());
}

void TestPanelList::nullCallbackIsNeverCalled()
{
    PanelFixture f;
    f.panel = std::make_unique<HostPanel>(nullptr);
    f.show();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    QTest::ignoreMessage(QtWarningMsg, "No one is registered to take acquired clips");
    acquire(f, "a"_s);
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
}

void TestPanelList::failedRefreshShowsTheKnownRowsAgain_data()
{
    QTest::addColumn<QString>("refused");
    QTest::newRow("folders") << "GET xelmediafolders?level=detail"_s;
    QTest::newRow("profiles") << "GET profiles?level=detail"_s;
    QTest::newRow("everything") << "*"_s;
}

void TestPanelList::failedRefreshShowsTheKnownRowsAgain()
{
    QFETCH(QString, refused);
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.service.refusals[refused] = "down"_s;
    for (int i = 0; i < 2; ++i) {
        f.panel->refreshFolders();
        QCOMPARE(f.view()->topLevelItemCount(), 2);
        QCOMPARE(f.currentFolder(), "b"_s);
        QCOMPARE(f.boxProfile(), "p2"_s);
        QCOMPARE(View::getProfileName(f.row("b"_s)), "Proxy"_s);
        QCOMPARE(f.row("b"_s)->checkState(View::kIdxActiveColumn), Qt::Checked);
        QVERIFY(f.del()->isEnabled());
    }
    QCOMPARE(f.puts(), QStringList());
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestPanelList::refreshOfAServiceWithoutFoldersEmptiesTheList()
{
    PanelFixture f;
    f.show();
    f.service.folders.clear();
    f.panel->refreshFolders();
    QCOMPARE(f.view()->topLevelItemCount(), 0);
    f.service.refusals["*"_s] = "down"_s;
    f.panel->refreshFolders();
    QCOMPARE(f.view()->topLevelItemCount(), 0);
}

void TestPanelList::vanishedProfileIsMendedByOneChoice_data()
{
    QTest::addColumn<int>("choice");
    QTest::addColumn<bool>("byKey");
    QTest::newRow("the first") << 0 << false;
    QTest::newRow("the second") << 1 << false;
    QTest::newRow("the first, by key") << 0 << true;
}

void TestPanelList::vanishedProfileIsMendedByOneChoice()
{
    QFETCH(int, choice);
    QFETCH(bool, byKey);
    PanelFixture f;
    f.show();
    f.service.folders[0].profile = "gone"_s;
    f.panel->refreshFolders();
    QCOMPARE(f.puts(), QStringList());
    // It shows no profile that the folder does not have.
    QCOMPARE(f.box()->currentIndex(), -1);
    QVERIFY(f.add()->isEnabled());
    if (byKey)
        QTest::keyClick(f.box(), Qt::Key_Down);
    else
        f.panel->updateCurrentProfileIndex(choice);
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.profileOf("a"_s), choice == 0 ? "p1"_s : "p2"_s);
    QCOMPARE(f.summaryBin(), choice == 0 ? "Bin 1"_s : "Bin 2"_s);
}

void TestPanelList::vanishedProfileIsMendedByOneChoiceAfterALaterShow()
{
    PanelFixture f;
    f.show();
    f.service.folders[0].profile = "gone"_s;
    f.panel->refreshFolders();
    f.panel->hide();
    f.show();
    f.panel->updateCurrentProfileIndex(0);
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/a"_s}));
}

QTEST_MAIN(TestPanelList)
#include "test_panel_list.moc"
