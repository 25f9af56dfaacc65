// The menu of profiles of a row.

#include "FolderViewFixture.h"
#include "HostQtShell.h"
#include "KRXTest.h"
#include "TestFiles.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QMenu>
#include <QTest>

using View = KRXFolderViewWidget;

class TestFolderViewMenu : public QObject
{
    Q_OBJECT

private slots:
    // --- Choosing a profile ---
    void firstClickOnTheProfileOnlySelects();
    void secondClickOpensTheMenu();
    void menuListsTheProfilesByName();
    void menuChecksTheProfileOfTheRow();
    void menuHasTheApplicationsFontAndTheCellsWidth();
    void menuOpensBelowTheCell();
    void menuShowsAnAmpersand();
    void menuIsGoneAfterItsUse();
    void chosenProfileIsShownAndWrittenOnce();
    void chosenProfileOfAFilledDirectoryAsks();
    void choosingTheSameNameStillWrites();
    void profileThatCopiesIntoTheFolderIsRefused();
    void pathsOfOtherCaseAreNotRefused();
    void forgottenProfileIsWrittenWithoutABin();
    void fillingWhileTheMenuIsOpenFindsTheRowAgain();
    void folderGoneWhileTheMenuIsOpenChangesNothing();
    void viewClosedWhileTheMenuIsOpenIsHarmless();
    void otherButtonsDoNotOpenTheMenu();
    void clickBelowTheRowsDoesNothing();
    void otherColumnsOnlySelect();
    void checkBoxIsToggledByTheMouse();
};

void TestFolderViewMenu::firstClickOnTheProfileOnlySelects()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.pressCell("b"_s, View::kIdxProfileColumn);
    QCOMPARE(openMenu(), nullptr);
    QVERIFY(f.row("b"_s)->isSelected());
}

void TestFolderViewMenu::secondClickOpensTheMenu()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.pressCell("b"_s, View::kIdxProfileColumn);
    f.pressCell("b"_s, View::kIdxProfileColumn);
    QVERIFY(openMenu());
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMenu::menuListsTheProfilesByName()
{
    FolderViewFixture f;
    f.service.profiles.append({"p0"_s, "archive"_s});
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    QStringList texts;
    QStringList ids;
    const auto actions = menu->actions();
    for (const QAction* action : actions) {
        texts << action->text();
        ids << action->data().toString();
    }
    QCOMPARE(texts, QStringList({"archive"_s, "Conform"_s, "Proxy"_s}));
    QCOMPARE(ids, QStringList({"p0"_s, "p2"_s, "p1"_s}));
}

void TestFolderViewMenu::menuChecksTheProfileOfTheRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "b"_s);
    QVERIFY(menu);
    QVERIFY(actionOf(menu, "p2"_s)->isCheckable());
    QVERIFY(actionOf(menu, "p2"_s)->isChecked());
    QVERIFY(!actionOf(menu, "p1"_s)->isCheckable());
}

void TestFolderViewMenu::menuHasTheApplicationsFontAndTheCellsWidth()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QFont other = f.view->font();
    other.setPointSize(other.pointSize() + 7);
    f.view->setFont(other);
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    QCOMPARE(menu->font(), QApplication::font());
    QVERIFY(menu->width() >= f.view->columnWidth(View::kIdxProfileColumn));
}

void TestFolderViewMenu::menuOpensBelowTheCell()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    const QRect cell = f.cell("a"_s, View::kIdxProfileColumn);
    QCOMPARE(menu->pos(),
             f.view->mapToGlobal(QPoint(cell.left(), cell.bottom() + f.view->header()->height() + 2)));
}

void TestFolderViewMenu::menuShowsAnAmpersand()
{
    FolderViewFixture f;
    f.service.profiles = {{"p1"_s, "Cut & Colour"_s}, {"p2"_s, "Conform"_s}};
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "b"_s);
    QVERIFY(menu);
    QCOMPARE(actionOf(menu, "p1"_s)->text(), "Cut && Colour"_s);
    actionOf(menu, "p1"_s)->trigger();
    QCOMPARE(View::getProfileName(f.row("b"_s)), "Cut & Colour"_s);
}

void TestFolderViewMenu::menuIsGoneAfterItsUse()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QPointer<QMenu> menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(actionOf(menu, "p2"_s)).center());
    QTRY_VERIFY(!menu);
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
}

void TestFolderViewMenu::chosenProfileIsShownAndWrittenOnce()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QVERIFY(chooseProfile(f, "a"_s, "p2"_s));
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Conform"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QVERIFY(!f.view->model()->signalsBlocked());
    // The slot itself takes what was chosen last.
    f.service.clear();
    QVERIFY(QMetaObject::invokeMethod(f.view.get(), "updateProfileValue"));
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewMenu::chosenProfileOfAFilledDirectoryAsks()
{
    const TestFiles::FilledFolder filled;
    FolderViewFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.show();
    QVERIFY(chooseProfile(f, "a"_s, "p2"_s));
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(StandInHost::messageLog().at(0).text,
             "Do you want to process existing files with the new folder profile?"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a?reprocess=true"_s}));
}

void TestFolderViewMenu::choosingTheSameNameStillWrites()
{
    FolderViewFixture f;
    f.service.profiles = {{"p1"_s, "Twin"_s, "Bin 1"_s}, {"p2"_s, "Twin"_s, "Bin 2"_s}};
    f.showTwoFolders();
    QVERIFY(chooseProfile(f, "a"_s, "p2"_s));
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
}

void TestFolderViewMenu::profileThatCopiesIntoTheFolderIsRefused()
{
    FolderViewFixture f;
    f.service.profiles[1].copyTo = QStringList{"/elsewhere"_s, "/media/a"_s};
    f.showTwoFolders();
    QVERIFY(chooseProfile(f, "a"_s, "p2"_s));
    const auto log = StandInHost::messageLog();
    QCOMPARE(log.size(), 1);
    QCOMPARE(log.at(0).icon, QMessageBox::Warning);
    QCOMPARE(log.at(0).title, "Error occurred"_s);
    QCOMPARE(log.at(0).text,
             "Can't assign Conform profile to this folder. Folder and Profile [Copy To] action have "
             "the same path"_s);
    QCOMPARE(log.at(0).buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p1"_s);
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Proxy"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 1"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMenu::pathsOfOtherCaseAreNotRefused()
{
    FolderViewFixture f;
    f.service.profiles[1].copyTo = QStringList{"/MEDIA/a"_s, "/media/a/below"_s};
    f.showTwoFolders();
    QVERIFY(chooseProfile(f, "a"_s, "p2"_s));
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
}

void TestFolderViewMenu::forgottenProfileIsWrittenWithoutABin()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    f.service.profiles.removeLast();
    QVERIFY(KRXProfileManager::getInstance().refreshProfiles(true));
    f.service.clear();
    actionOf(menu, "p2"_s)->trigger();
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Conform"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), QString());
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewMenu::fillingWhileTheMenuIsOpenFindsTheRowAgain()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    f.view->fillView();
    f.service.clear();
    actionOf(menu, "p2"_s)->trigger();
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewMenu::folderGoneWhileTheMenuIsOpenChangesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    f.view->delFolder();
    QCOMPARE(f.row("a"_s), nullptr);
    f.service.clear();
    actionOf(menu, "p2"_s)->trigger();
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMenu::viewClosedWhileTheMenuIsOpenIsHarmless()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QPointer<QMenu> menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    f.view.reset();
    QVERIFY(!menu);
    QCOMPARE(QApplication::activePopupWidget(), nullptr);
}

void TestFolderViewMenu::otherButtonsDoNotOpenTheMenu()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.press(f.cell("a"_s, View::kIdxProfileColumn).center(), Qt::RightButton);
    QCOMPARE(openMenu(), nullptr);
}

void TestFolderViewMenu::clickBelowTheRowsDoesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect last = f.cell("b"_s, View::kIdxIngestColumn);
    f.press(QPoint(last.center().x(), last.bottom() + 20));
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(openMenu(), nullptr);
}

void TestFolderViewMenu::otherColumnsOnlySelect()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("b"_s), 1);
    f.pressCell("b"_s, View::kIdxFolderColumn);
    f.pressCell("b"_s, View::kIdxFolderColumn);
    f.pressCell("b"_s, View::kIdxBinColumn);
    f.pressCell("b"_s, View::kIdxPathColumn);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "b"_s);
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(openMenu(), nullptr);
}

void TestFolderViewMenu::checkBoxIsToggledByTheMouse()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QStyleOptionViewItem option;
    option.initFrom(f.view.get());
    option.features = QStyleOptionViewItem::HasCheckIndicator;
    option.rect = f.cell("a"_s, View::kIdxActiveColumn);
    const QRect box =
        f.view->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, f.view.get());
    f.press(box.center());
    QCOMPARE(f.row("a"_s)->checkState(View::kIdxActiveColumn), Qt::Checked);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).enabled, "true"_s);
}

QTEST_MAIN(TestFolderViewMenu)
#include "test_folder_view_menu.moc"
