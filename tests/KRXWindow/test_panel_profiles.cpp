// The panel's profile box.

#include "KRXProfile.h"
#include "KRXProfileProperties.h"
#include "PanelFixture.h"
#include "TestFiles.h"

#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QTest>

class TestPanelProfiles : public QObject
{
    Q_OBJECT

private slots:
    // --- Choosing in the box ---
    void chosenProfileIsShownAndWrittenOnce();
    void chosenProfileOfAFilledDirectoryAsks();
    void choosingWithoutAFolderOnlyShowsTheSummary();
    void noIndexIsIgnored();
    void profileThatCopiesIntoTheFolderIsRefused();
    void refusalLeavesABoxThatDoesNotHoldTheFormerProfile();
    void copyToPathsOfOtherCaseAreNotRefused();
    void equalNamesAreStillTwoProfiles();
    void editSurvivesARefreshUnderTheQuestion_data();
    void editSurvivesARefreshUnderTheQuestion();
    void goneProfileSelectedInASortedListSurvivesARefresh();
    void changedProfileMovesTheRowToItsPlace_data();
    void changedProfileMovesTheRowToItsPlace();
    void hostChoosesByIndex();

    // --- Following the list ---
    void selectedFoldersProfileIsShown();
    void selectingAFolderOfTheShownProfileAsksNothing();
    void selectingAFolderOfAGoneProfileAssignsTheFirst();
    void goneProfileGivesWayWhenTheBoxStandsAtTheFirstAlready();
    void folderWithoutAProfileGetsTheFirst();
    void identifiersAreMatchedExactly_data();
    void identifiersAreMatchedExactly();
    void firstProfileThatCopiesIntoTheFolderIsRefusedToo();
    void emptyBoxAssignsNothing();
    void profileUnknownToTheBoxButKnownIsNotReplaced();
    void profileChosenInTheListMovesTheBox();
    void otherChangesDoNotMoveTheBox();
    void removingARowBeforeAGoneProfileIsHarmless();

    // --- Box and summary ---
    void boxIsFilledInOrderWithoutASignal();
    void identifierOfAnEmptyBoxIsEmpty();
    void actualItemsAskTheService();
    void summaryFollowsTheProfile();
    void unknownProfileLeavesTheSummary();
    void profileThatDoesNotParseLeavesTheSummary_data();
    void profileThatDoesNotParseLeavesTheSummary();
};

void TestPanelProfiles::chosenProfileIsShownAndWrittenOnce()
{
    PanelFixture f;
    f.show();
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.profileOf("a"_s), "p2"_s);
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Proxy"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QVERIFY(!f.view()->model()->signalsBlocked());
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestPanelProfiles::chosenProfileOfAFilledDirectoryAsks()
{
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.show();
    f.reply = QMessageBox::No;
    f.box()->setCurrentIndex(1);
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(StandInHost::messageLog().at(0).text,
             "Do you want to process existing files with the new folder profile?"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestPanelProfiles::choosingWithoutAFolderOnlyShowsTheSummary()
{
    PanelFixture f;
    f.service.folders.clear();
    f.show();
    f.box()->setCurrentIndex(1);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
}

void TestPanelProfiles::noIndexIsIgnored()
{
    PanelFixture f;
    f.show();
    f.box()->setCurrentIndex(-1);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.profileOf("a"_s), "p1"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestPanelProfiles::profileThatCopiesIntoTheFolderIsRefused()
{
    PanelFixture f;
    f.service.profiles[1].copyTo = QStringList{"/media/a"_s};
    f.show();
    f.box()->setCurrentIndex(1);
    const auto log = StandInHost::messageLog();
    QCOMPARE(log.size(), 1);
    QCOMPARE(log.at(0).icon, QMessageBox::Warning);
    QCOMPARE(log.at(0).title, "Error occurred"_s);
    QCOMPARE(log.at(0).text,
             "Can't assign Proxy profile to this folder. Folder and Profile [Copy To] action have the "
             "same path"_s);
    QCOMPARE(log.at(0).buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(f.boxProfile(), "p1"_s);
    QCOMPARE(f.profileOf("a"_s), "p1"_s);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    QVERIFY(!f.box()->signalsBlocked());
}

void TestPanelProfiles::refusalLeavesABoxThatDoesNotHoldTheFormerProfile()
{
    PanelFixture f;
    f.service.profiles[1].copyTo = QStringList{"/media/a"_s};
    f.show();
    // The row's profile is gone from the service and from the box.
    {
        const QSignalBlocker blocker(f.view()->model());
        View::setProfileId(f.row("a"_s), "gone"_s);
    }
    f.box()->setCurrentIndex(1);
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelProfiles::equalNamesAreStillTwoProfiles()
{
    PanelFixture f;
    f.service.profiles = {{"p1"_s, "Twin"_s, "Bin 1"_s}, {"p2"_s, "Twin"_s, "Bin 2"_s}};
    f.show();
    const int other = f.box()->findData("p2"_s);
    f.box()->setCurrentIndex(other);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
}

void TestPanelProfiles::editSurvivesARefreshUnderTheQuestion_data()
{
    QTest::addColumn<int>("sortColumn");
    QTest::addColumn<bool>("fewerRows");
    QTest::addColumn<bool>("byState");
    for (int column = 0; column < 6; ++column) {
        for (const bool fewerRows : {false, true}) {
            for (const bool byState : {false, true}) {
                QTest::addRow("sorted by %d, %s rows, %s", column, fewerRows ? "fewer" : "the same",
                              byState ? "off-line and on-line" : "refreshed")
                    << column << fewerRows << byState;
            }
        }
    }
}

void TestPanelProfiles::editSurvivesARefreshUnderTheQuestion()
{
    QFETCH(int, sortColumn);
    QFETCH(bool, fewerRows);
    QFETCH(bool, byState);
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s},
                         {"b"_s, "/media/b"_s, "p1"_s},
                         {"c"_s, "/media/c"_s, "p1"_s, "true"_s}};
    f.show();
    f.view()->sortByColumn(sortColumn, Qt::AscendingOrder);
    f.view()->setCurrentItem(f.row("a"_s));
    f.whileAsked = [&] {
        f.whileAsked = nullptr;
        if (fewerRows)
            f.service.folders.erase(f.service.folders.begin() + 1, f.service.folders.end());
        if (byState) {
            f.panel->updateKRXServiceOnlineState(false);
            f.panel->updateKRXServiceOnlineState(true);
        } else {
            f.panel->refreshFolders();
        }
    };
    f.box()->setCurrentIndex(1);
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QCOMPARE(f.profileOf("a"_s), "p2"_s);
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Proxy"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
    QCOMPARE(f.view()->topLevelItemCount(), fewerRows ? 1 : 3);
    if (f.currentFolder() == "a"_s)
        QCOMPARE(f.boxProfile(), "p2"_s);
}

void TestPanelProfiles::goneProfileSelectedInASortedListSurvivesARefresh()
{
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.service.folders = {{"a"_s, "/0/a"_s, "p1"_s}, {"b"_s, filled.path(), "gone"_s, "true"_s}};
    f.show();
    // Nobody knows the profile of the other row, so its text is empty and sorts first.
    f.view()->sortByColumn(View::kIdxProfileColumn, Qt::AscendingOrder);
    QCOMPARE(f.currentFolder(), "a"_s);
    f.whileAsked = [&f] {
        f.whileAsked = nullptr;
        f.service.folders.removeFirst();
        f.panel->refreshFolders();
    };
    const QRect cell = f.view()->visualItemRect(f.row("b"_s));
    QTest::mouseClick(f.view()->viewport(), Qt::LeftButton, {}, cell.topLeft() + QPoint(5, 5));
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(f.service.folders.at(0).profile, "p1"_s);
    QCOMPARE(f.profileOf("b"_s), "p1"_s);
}

void TestPanelProfiles::changedProfileMovesTheRowToItsPlace_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("byMenu");
    for (const bool byMenu : {false, true}) {
        QTest::addRow("profile, %s", byMenu ? "menu" : "box") << View::kIdxProfileColumn << byMenu;
        QTest::addRow("bin, %s", byMenu ? "menu" : "box") << View::kIdxBinColumn << byMenu;
    }
}

void TestPanelProfiles::changedProfileMovesTheRowToItsPlace()
{
    QFETCH(int, column);
    QFETCH(bool, byMenu);
    PanelFixture f;
    f.service.folders[1].profile = "p1"_s;
    f.show();
    f.view()->sortByColumn(column, Qt::AscendingOrder);
    QTreeWidgetItem* first = f.view()->topLevelItem(0);
    f.view()->setCurrentItem(first);
    if (byMenu) {
        QRect cell = f.view()->visualItemRect(first);
        cell.moveLeft(f.view()->columnViewportPosition(View::kIdxProfileColumn));
        QTest::mouseClick(f.view()->viewport(), Qt::LeftButton, {}, cell.topLeft() + QPoint(5, 5));
        const auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        menu->actions().at(1)->trigger();
    } else {
        f.box()->setCurrentIndex(1);
    }
    QCOMPARE(f.view()->indexOfTopLevelItem(first), 1);
    QCOMPARE(f.puts().size(), 1);
}

void TestPanelProfiles::hostChoosesByIndex()
{
    PanelFixture f;
    f.show();
    f.panel->updateCurrentProfileIndex(1);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.profileOf("a"_s), "p2"_s);
}

void TestPanelProfiles::selectedFoldersProfileIsShown()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelProfiles::selectingAFolderOfTheShownProfileAsksNothing()
{
    PanelFixture f;
    f.service.folders[1].profile = "p1"_s;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.boxProfile(), "p1"_s);
}

void TestPanelProfiles::selectingAFolderOfAGoneProfileAssignsTheFirst()
{
    PanelFixture f;
    f.service.folders[0].profile = "p2"_s;
    f.service.folders[1].profile = "gone"_s;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.boxProfile(), "p1"_s);
    QCOMPARE(f.profileOf("b"_s), "p1"_s);
    QCOMPARE(View::getProfileName(f.row("b"_s)), "Conform"_s);
    QCOMPARE(f.row("b"_s)->text(View::kIdxBinColumn), "Bin 1"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/b"_s}));
    QCOMPARE(f.service.folders.at(1).profile, "p1"_s);
    QCOMPARE(f.service.folders.at(1).enabled, "true"_s);
}

void TestPanelProfiles::goneProfileGivesWayWhenTheBoxStandsAtTheFirstAlready()
{
    PanelFixture f;
    f.service.folders[1].profile = "gone"_s;
    f.show();
    QCOMPARE(f.box()->currentIndex(), 0);
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.profileOf("b"_s), "p1"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/b"_s}));
}

void TestPanelProfiles::folderWithoutAProfileGetsTheFirst()
{
    PanelFixture f;
    f.service.folders[1].profile.clear();
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.profileOf("b"_s), "p1"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/b"_s}));
}

void TestPanelProfiles::firstProfileThatCopiesIntoTheFolderIsRefusedToo()
{
    PanelFixture f;
    f.service.profiles[0].copyTo = QStringList{"/media/b"_s};
    f.service.folders[1].profile = "gone"_s;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(f.profileOf("b"_s), "gone"_s);
    QCOMPARE(f.boxProfile(), "p1"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelProfiles::emptyBoxAssignsNothing()
{
    PanelFixture f;
    f.service.profiles.clear();
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.profileOf("b"_s), "p2"_s);
}

void TestPanelProfiles::profileUnknownToTheBoxButKnownIsNotReplaced()
{
    PanelFixture f;
    f.show();
    f.service.profiles.append({"p9"_s, "Zoom"_s, "Bin 9"_s});
    f.service.folders[1].profile = "p9"_s;
    // The host filled the list by itself, so the box has not heard of the new profile.
    f.view()->fillView();
    f.service.clear();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.boxProfile(), "p9"_s);
    QCOMPARE(f.profileOf("b"_s), "p9"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelProfiles::profileChosenInTheListMovesTheBox()
{
    PanelFixture f;
    f.show();
    {
        const QSignalBlocker blocker(f.view()->model());
        View::setProfileId(f.row("a"_s), "p2"_s);
    }
    View::setProfileName(f.row("a"_s), "Proxy"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestPanelProfiles::otherChangesDoNotMoveTheBox()
{
    PanelFixture f;
    f.show();
    {
        const QSignalBlocker blocker(f.view()->model());
        View::setProfileId(f.row("a"_s), "p2"_s);
    }
    View::setTargetBin(f.row("a"_s), "x"_s);
    View::setIngestState(f.row("a"_s), 1);
    f.row("a"_s)->setCheckState(View::kIdxActiveColumn, Qt::Checked);
    QCOMPARE(f.boxProfile(), "p1"_s);
}

void TestPanelProfiles::removingARowBeforeAGoneProfileIsHarmless()
{
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.service.folders = {
        {"a"_s, "/0/a"_s, "p1"_s}, {"b"_s, filled.path(), "gone"_s}, {"c"_s, "/z/zz"_s, "p1"_s}};
    f.show();
    f.view()->sortByColumn(View::kIdxPathColumn, Qt::AscendingOrder);
    f.view()->setCurrentItem(f.row("a"_s));
    // The next row asks about its files as it becomes current; the list is filled again meanwhile.
    f.whileAsked = [&f] {
        f.whileAsked = nullptr;
        f.panel->refreshFolders();
    };
    f.press(f.del());
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(f.view()->topLevelItemCount(), 2);
    QCOMPARE(f.row("a"_s), nullptr);
    QCOMPARE(f.service.folders.at(0).profile, "p1"_s);
}

void TestPanelProfiles::boxIsFilledInOrderWithoutASignal()
{
    PanelFixture f;
    f.service.profiles = {{"1"_s, "zeta"_s}, {"2"_s, "Alpha"_s}, {"3"_s, "beta"_s}};
    QComboBox box;
    int changes = 0;
    connect(&box, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [&changes] { ++changes; });
    box.addItem("old"_s);
    changes = 0;
    f.panel->fillProfilesComboBox(&box);
    QStringList texts;
    QStringList ids;
    for (int i = 0; i < box.count(); ++i) {
        texts << box.itemText(i);
        ids << box.itemData(i, Qt::UserRole).toString();
    }
    QCOMPARE(texts, QStringList({"Alpha"_s, "beta"_s, "zeta"_s}));
    QCOMPARE(ids, QStringList({"2"_s, "3"_s, "1"_s}));
    QCOMPARE(changes, 0);
    QCOMPARE(box.currentIndex(), 0);
}

void TestPanelProfiles::identifierOfAnEmptyBoxIsEmpty()
{
    PanelFixture f;
    QComboBox box;
    QCOMPARE(f.panel->profileIdFromComboBox(&box), QString());
}

void TestPanelProfiles::actualItemsAskTheService()
{
    PanelFixture f;
    const QList<QPair<QString, QString>> expected = {{"p1"_s, "Conform"_s}, {"p2"_s, "Proxy"_s}};
    QCOMPARE(f.panel->getActualProfileItems(), expected);
    QCOMPARE(f.service.lines(), QStringList({"GET profiles?level=detail"_s}));
    f.service.refusals["*"_s] = "down"_s;
    QCOMPARE(f.panel->getActualProfileItems(), expected);
}

void TestPanelProfiles::summaryFollowsTheProfile()
{
    PanelFixture f;
    f.show();
    f.panel->refreshProfileSummary("p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    f.panel->refreshProfileSummary("p1"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelProfiles::unknownProfileLeavesTheSummary()
{
    PanelFixture f;
    f.show();
    f.panel->refreshProfileSummary("gone"_s);
    f.panel->refreshProfileSummary(QString());
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestPanelProfiles::copyToPathsOfOtherCaseAreNotRefused()
{
    PanelFixture f;
    f.service.profiles[1].copyTo = QStringList{"/MEDIA/a"_s, "/media/A"_s, "/media/a/"_s, "/media"_s};
    f.show();
    f.box()->setCurrentIndex(1);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestPanelProfiles::identifiersAreMatchedExactly_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("other case") << "P2"_s;
    QTest::newRow("the beginning") << "p"_s;
    QTest::newRow("the end") << "2"_s;
    QTest::newRow("more") << "p22"_s;
}

void TestPanelProfiles::identifiersAreMatchedExactly()
{
    QFETCH(QString, id);
    PanelFixture f;
    f.service.profiles[0].id = "a1"_s;
    f.service.folders[0].profile = "a1"_s;
    // None of the box's profiles is the row's, so it gets the first one.
    f.service.folders[1].profile = id;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    QCOMPARE(f.boxProfile(), "a1"_s);
    QCOMPARE(f.service.folders.at(1).profile, "a1"_s);
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/b"_s}));
}

void TestPanelProfiles::profileThatDoesNotParseLeavesTheSummary_data()
{
    QTest::addColumn<QString>("xml");
    QTest::newRow("no element") << "text"_s;
    QTest::newRow("cut off") << "<profile><binDetail><binSelectionMethod>CREATENEW"_s;
    QTest::newRow("empty") << ""_s;
}

void TestPanelProfiles::profileThatDoesNotParseLeavesTheSummary()
{
    QFETCH(QString, xml);
    PanelFixture f;
    f.show();
    const auto profiles = KRXProfileManager::getInstance().getKRXProfileList();
    profiles.at(1)->setProperty(KRXProfileProperties::kXml, xml);
    const int rows = f.summary()->rowCount();
    f.panel->refreshProfileSummary("p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    QCOMPARE(f.summary()->rowCount(), rows);
}

QTEST_MAIN(TestPanelProfiles)
#include "test_panel_profiles.moc"
