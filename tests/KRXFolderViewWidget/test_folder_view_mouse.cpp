#include "FolderViewFixture.h"
#include "HostQtShell.h"
#include "KRXTest.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QHelpEvent>
#include <QMenu>
#include <QPaintEvent>
#include <QRegion>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolTip>
#include <QtTest>

#include <algorithm>

using View = KRXFolderViewWidget;

namespace {

QMenu* openMenu()
{
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

QAction* actionOf(const QMenu* menu, const QString& profileId)
{
    const auto actions = menu->actions();
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [&](const QAction* a) { return a->data().toString() == profileId; });
    return found == actions.end() ? nullptr : *found;
}

/// Selects the row, then opens its profile menu.
QMenu* menuOf(const FolderViewFixture& f, const QString& folderId)
{
    f.view->setCurrentItem(f.row(folderId));
    f.pressCell(folderId, View::kIdxProfileColumn);
    return openMenu();
}

/// Asks for a tooltip at a position of the viewport as the window system would. \return whether it was
/// accepted.
bool askTooltip(const FolderViewFixture& f, const QPoint& position)
{
    QHelpEvent event(QEvent::ToolTip, f.view->viewport()->mapTo(f.view.get(), position),
                     f.view->viewport()->mapToGlobal(position));
    event.accept();
    [&] { QVERIFY2(QApplication::sendEvent(f.view.get(), &event), "a tooltip event was not handled"); }();
    return event.isAccepted();
}

QString progressText(const StandInHost::ProgressStep& step)
{
    switch (step.kind) {
    case StandInHost::ProgressStep::Reset:
        return QStringLiteral("reset");
    case StandInHost::ProgressStep::Close:
        return QStringLiteral("close");
    default:
        return QStringLiteral("%1 (%2/%3)")
            .arg(step.text, QString::number(step.current), QString::number(step.total));
    }
}

QStringList progress()
{
    QStringList texts;
    const auto steps = StandInHost::progressLog();
    for (const auto& step : steps)
        texts << progressText(step);
    return texts;
}

} // namespace

class TestFolderViewMouse : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    // --- Acquiring ---
    void clickOnTheReadyIconHandsOverEveryFile();
    void progressCountsFromNought();
    void rowIsInProgressWhileAFileIsTaken();
    void iconInProgressIsPaintedBeforeTheFirstFileIsTaken();
    void rowInProgressReactsToo();
    void rowWithoutClipsDoesNotReact();
    void clickBesideTheIconDoesNothing();
    void iconAreaIsCentredOnTheCell();
    void folderWithoutFilesOnlyLosesItsMark();
    void failedReadReturnsTheRowWithoutAMessage();
    void withoutACallbackTheClipsStayOnOffer();
    void otherButtonsDoNotAcquire();
    void fillingDuringAnAcquisitionIsHarmless();
    void sortingByStateDuringAnAcquisitionIsHarmless();
    void viewDestroyedDuringAnAcquisitionIsHarmless();
    void folderIsReadFreshFromTheService();
    void handlersRunBeforeTheSelectionChanges();

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

    // --- Tooltips ---
    void readyIconHasATooltip();
    void iconInProgressHasATooltip();
    void rowWithoutClipsHasNoTooltip();
    void besideTheIconThereIsNoTooltip();
    void otherColumnsHaveNoTooltip();
    void offTheRowsTheTooltipIsHiddenAndIgnored();
    void tooltipOfTheViewItselfIsNeverShown();
};

void TestFolderViewMouse::cleanup()
{
    while (QWidget* popup = QApplication::activePopupWidget())
        popup->close();
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestFolderViewMouse::clickOnTheReadyIconHandsOverEveryFile()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[1].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("b"_s), 1);
    f.pressCell("b"_s, View::kIdxIngestColumn);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/1.xel"_s, "/out/2.xel"_s}));
    QCOMPARE(View::getIngestState(f.row("b"_s)), 0);
    QCOMPARE(f.service.lines(), QStringList({"GET xelmediafolders/b"_s}));
}

void TestFolderViewMouse::progressCountsFromNought()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(progress(), QStringList({"reset"_s, "Acquiring clips from KRX... 0 of 2 (0/2)"_s,
                                      "Acquiring clips from KRX... 1 of 2 (1/2)"_s, "close"_s}));
}

void TestFolderViewMouse::rowIsInProgressWhileAFileIsTaken()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    QList<int> states;
    FolderViewFixture::duringAcquisition() = [&](const QString&) {
        states << View::getIngestState(f.row("a"_s));
    };
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(states, QList<int>({2, 2}));
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
}

void TestFolderViewMouse::iconInProgressIsPaintedBeforeTheFirstFileIsTaken()
{
    class PaintedArea : public QObject
    {
    public:
        bool eventFilter(QObject*, QEvent* event) override
        {
            if (event->type() == QEvent::Paint)
                area += static_cast<QPaintEvent*>(event)->region();
            return false;
        }
        QRegion area;
    } painted;
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    const QPoint icon = f.cell("a"_s, View::kIdxIngestColumn).center();
    QCoreApplication::processEvents();
    f.view->viewport()->installEventFilter(&painted);
    QList<bool> beforeEachFile;
    // No event loop runs here, so only a painting at once can be seen.
    FolderViewFixture::duringAcquisition() = [&](const QString&) {
        beforeEachFile << painted.area.contains(icon);
        painted.area = QRegion();
    };
    f.press(icon);
    QCOMPARE(beforeEachFile, QList<bool>({true, false}));
}

void TestFolderViewMouse::rowInProgressReactsToo()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    View::setIngestState(f.row("a"_s), 2);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/1.xel"_s}));
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
}

void TestFolderViewMouse::rowWithoutClipsDoesNotReact()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QVERIFY(FolderViewFixture::acquired().isEmpty());
    QCOMPARE(f.service.lines(), QStringList());
    QVERIFY(progress().isEmpty());
}

void TestFolderViewMouse::clickBesideTheIconDoesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    const QRect cell = f.cell("a"_s, View::kIdxIngestColumn);
    f.press(QPoint(cell.left() + 2, cell.center().y()));
    f.press(QPoint(cell.right() - 2, cell.center().y()));
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
}

void TestFolderViewMouse::iconAreaIsCentredOnTheCell()
{
    const QPixmap icon = HostQtShell::skinnedPixmap("NoIngest.png"_s, "icons/KRX"_s);
    const QSize size = (QSizeF(icon.size()) / icon.devicePixelRatio()).toSize();
    QVERIFY(!size.isEmpty());
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect cell = f.cell("a"_s, View::kIdxIngestColumn);
    QRect area(QPoint(), size);
    area.moveCenter(cell.center());
    QVERIFY(area.left() > cell.left() + 1 && area.right() < cell.right() - 1);
    const int y = cell.center().y();
    const auto reacts = [&](int x) {
        f.service.clear();
        View::setIngestState(f.row("a"_s), 1);
        f.press(QPoint(x, y));
        return !f.service.lines().isEmpty();
    };
    QVERIFY(reacts(area.left()));
    QVERIFY(reacts(area.right()));
    QVERIFY(!reacts(area.left() - 1));
    QVERIFY(!reacts(area.right() + 1));
}

void TestFolderViewMouse::folderWithoutFilesOnlyLosesItsMark()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QVERIFY(FolderViewFixture::acquired().isEmpty());
    QCOMPARE(progress(), QStringList({"reset"_s, "close"_s}));
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
}

void TestFolderViewMouse::failedReadReturnsTheRowWithoutAMessage()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.refusals["GET xelmediafolders/a"_s] = "down"_s;
    View::setIngestState(f.row("a"_s), 2);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QVERIFY(FolderViewFixture::acquired().isEmpty());
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QVERIFY(progress().isEmpty());
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderViewMouse::withoutACallbackTheClipsStayOnOffer()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->registerCallback(nullptr);
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    QTest::ignoreMessage(QtWarningMsg, "No one is registered to take acquired clips");
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMouse::otherButtonsDoNotAcquire()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    const QPoint icon = f.cell("a"_s, View::kIdxIngestColumn).center();
    f.press(icon, Qt::RightButton);
    f.press(icon, Qt::MiddleButton);
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMouse::fillingDuringAnAcquisitionIsHarmless()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s, "/out/3.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    FolderViewFixture::duringAcquisition() = [&](const QString& path) {
        f.view->fillView();
        if (path == "/out/2.xel"_s)
            f.view->clear();
    };
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(FolderViewFixture::acquired().size(), 3);
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(progress().last(), "close"_s);
}

void TestFolderViewMouse::sortingByStateDuringAnAcquisitionIsHarmless()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->sortByColumn(View::kIdxIngestColumn, Qt::AscendingOrder);
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    View::setIngestState(f.row("b"_s), 1);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 1);
}

void TestFolderViewMouse::viewDestroyedDuringAnAcquisitionIsHarmless()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    FolderViewFixture::duringAcquisition() = [&](const QString&) { f.view.reset(); };
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QVERIFY(!f.view);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/1.xel"_s}));
    QCOMPARE(progress().last(), "close"_s);
}

void TestFolderViewMouse::folderIsReadFreshFromTheService()
{
    FolderViewFixture f;
    f.service.folders = {{"a"_s, "/media/a"_s, "p1"_s, "true"_s, {"/out/old.xel"_s}}};
    f.view->fillView();
    f.show();
    f.service.folders[0].files = QStringList{"/out/new.xel"_s};
    View::setIngestState(f.row("a"_s), 1);
    f.pressCell("a"_s, View::kIdxIngestColumn);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/new.xel"_s}));
}

void TestFolderViewMouse::handlersRunBeforeTheSelectionChanges()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.service.folders[1].files = QStringList{"/out/1.xel"_s};
    View::setIngestState(f.row("b"_s), 1);
    QString currentDuring;
    FolderViewFixture::duringAcquisition() = [&](const QString&) {
        currentDuring = View::getFolderId(f.view->currentItem());
    };
    f.pressCell("b"_s, View::kIdxIngestColumn);
    QCOMPARE(currentDuring, "a"_s);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "b"_s);
}

void TestFolderViewMouse::firstClickOnTheProfileOnlySelects()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.pressCell("b"_s, View::kIdxProfileColumn);
    QCOMPARE(openMenu(), nullptr);
    QVERIFY(f.row("b"_s)->isSelected());
}

void TestFolderViewMouse::secondClickOpensTheMenu()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.pressCell("b"_s, View::kIdxProfileColumn);
    f.pressCell("b"_s, View::kIdxProfileColumn);
    QVERIFY(openMenu());
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewMouse::menuListsTheProfilesByName()
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

void TestFolderViewMouse::menuChecksTheProfileOfTheRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "b"_s);
    QVERIFY(menu);
    QVERIFY(actionOf(menu, "p2"_s)->isCheckable());
    QVERIFY(actionOf(menu, "p2"_s)->isChecked());
    QVERIFY(!actionOf(menu, "p1"_s)->isCheckable());
}

void TestFolderViewMouse::menuHasTheApplicationsFontAndTheCellsWidth()
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

void TestFolderViewMouse::menuOpensBelowTheCell()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    const QRect cell = f.cell("a"_s, View::kIdxProfileColumn);
    QCOMPARE(menu->pos(),
             f.view->mapToGlobal(QPoint(cell.left(), cell.bottom() + f.view->header()->height() + 2)));
}

void TestFolderViewMouse::menuShowsAnAmpersand()
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

void TestFolderViewMouse::menuIsGoneAfterItsUse()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QPointer<QMenu> menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(actionOf(menu, "p2"_s)).center());
    QTRY_VERIFY(!menu);
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
}

void TestFolderViewMouse::chosenProfileIsShownAndWrittenOnce()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    actionOf(menu, "p2"_s)->trigger();
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

void TestFolderViewMouse::chosenProfileOfAFilledDirectoryAsks()
{
    QTemporaryDir filled;
    QVERIFY(QFile(filled.filePath("clip.mov"_s)).open(QIODevice::WriteOnly));
    FolderViewFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.show();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    actionOf(menu, "p2"_s)->trigger();
    QCOMPARE(StandInHost::messageLog().size(), 1);
    QCOMPARE(StandInHost::messageLog().at(0).text,
             "Do you want to process existing files with the new folder profile?"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a?reprocess=true"_s}));
}

void TestFolderViewMouse::choosingTheSameNameStillWrites()
{
    FolderViewFixture f;
    f.service.profiles = {{"p1"_s, "Twin"_s, "Bin 1"_s}, {"p2"_s, "Twin"_s, "Bin 2"_s}};
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    actionOf(menu, "p2"_s)->trigger();
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).profile, "p2"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
}

void TestFolderViewMouse::profileThatCopiesIntoTheFolderIsRefused()
{
    FolderViewFixture f;
    f.service.profiles[1].copyTo = QStringList{"/elsewhere"_s, "/media/a"_s};
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    actionOf(menu, "p2"_s)->trigger();
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

void TestFolderViewMouse::pathsOfOtherCaseAreNotRefused()
{
    FolderViewFixture f;
    f.service.profiles[1].copyTo = QStringList{"/MEDIA/a"_s, "/media/a/below"_s};
    f.showTwoFolders();
    const QMenu* menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    actionOf(menu, "p2"_s)->trigger();
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
}

void TestFolderViewMouse::forgottenProfileIsWrittenWithoutABin()
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

void TestFolderViewMouse::fillingWhileTheMenuIsOpenFindsTheRowAgain()
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

void TestFolderViewMouse::folderGoneWhileTheMenuIsOpenChangesNothing()
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

void TestFolderViewMouse::viewClosedWhileTheMenuIsOpenIsHarmless()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QPointer<QMenu> menu = menuOf(f, "a"_s);
    QVERIFY(menu);
    f.view.reset();
    QVERIFY(!menu);
    QCOMPARE(QApplication::activePopupWidget(), nullptr);
}

void TestFolderViewMouse::otherButtonsDoNotOpenTheMenu()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s));
    f.press(f.cell("a"_s, View::kIdxProfileColumn).center(), Qt::RightButton);
    QCOMPARE(openMenu(), nullptr);
}

void TestFolderViewMouse::clickBelowTheRowsDoesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect last = f.cell("b"_s, View::kIdxIngestColumn);
    f.press(QPoint(last.center().x(), last.bottom() + 20));
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(openMenu(), nullptr);
}

void TestFolderViewMouse::otherColumnsOnlySelect()
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

void TestFolderViewMouse::checkBoxIsToggledByTheMouse()
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

void TestFolderViewMouse::readyIconHasATooltip()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    QVERIFY(askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center()));
    QCOMPARE(QToolTip::text(), "New clips available"_s);
}

void TestFolderViewMouse::iconInProgressHasATooltip()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 2);
    QVERIFY(askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center()));
    QCOMPARE(QToolTip::text(), "Linking to clips"_s);
}

void TestFolderViewMouse::rowWithoutClipsHasNoTooltip()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("b"_s), 1);
    askTooltip(f, f.cell("b"_s, View::kIdxIngestColumn).center());
    QVERIFY(QToolTip::isVisible());
    QVERIFY(askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center()));
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestFolderViewMouse::besideTheIconThereIsNoTooltip()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    const QRect cell = f.cell("a"_s, View::kIdxIngestColumn);
    askTooltip(f, cell.center());
    QVERIFY(QToolTip::isVisible());
    QVERIFY(askTooltip(f, QPoint(cell.left() + 2, cell.center().y())));
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestFolderViewMouse::otherColumnsHaveNoTooltip()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    for (int column = View::kIdxActiveColumn; column <= View::kIdxPathColumn; ++column) {
        askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center());
        QVERIFY(QToolTip::isVisible());
        QVERIFY(askTooltip(f, f.cell("a"_s, column).topLeft() + QPoint(5, 5)));
        QTRY_VERIFY(!QToolTip::isVisible());
    }
}

void TestFolderViewMouse::offTheRowsTheTooltipIsHiddenAndIgnored()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center());
    QVERIFY(QToolTip::isVisible());
    const QRect last = f.cell("b"_s, View::kIdxIngestColumn);
    QVERIFY(!askTooltip(f, QPoint(last.center().x(), last.bottom() + 20)));
    QTRY_VERIFY(!QToolTip::isVisible());
    // Over the header.
    QVERIFY(!askTooltip(f, QPoint(last.center().x(), -5)));
}

void TestFolderViewMouse::tooltipOfTheViewItselfIsNeverShown()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setToolTip("List of KRX Folders"_s);
    askTooltip(f, f.cell("a"_s, View::kIdxFolderColumn).center());
    QVERIFY(!QToolTip::isVisible());
}

QTEST_MAIN(TestFolderViewMouse)
#include "test_folder_view_mouse.moc"
