// Acquiring with the mouse, and tooltips.

#include "FolderViewFixture.h"
#include "HostQtShell.h"
#include "KRXTest.h"

#include <QApplication>
#include <QHelpEvent>
#include <QPaintEvent>
#include <QRegion>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

using View = KRXFolderViewWidget;

namespace {

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
    void bareHostsIconCanBeClicked();
    void everyAcquisitionTellsItsCount_data();
    void everyAcquisitionTellsItsCount();
    void acquisitionTellsItsCountWhenTheRowIsGone();
    void folderWithoutFilesOnlyLosesItsMark();
    void failedReadReturnsTheRowWithoutAMessage();
    void withoutACallbackTheClipsStayOnOffer();
    void otherButtonsDoNotAcquire();
    void fillingDuringAnAcquisitionIsHarmless();
    void sortingByStateDuringAnAcquisitionIsHarmless();
    void viewDestroyedDuringAnAcquisitionIsHarmless();
    void folderIsReadFreshFromTheService();
    void handlersRunBeforeTheSelectionChanges();

    // --- Tooltips ---
    void iconHasATooltip_data();
    void iconHasATooltip();
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
    QCOMPARE(progress().constLast(), "close"_s);
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
    QCOMPARE(progress().constLast(), "close"_s);
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

void TestFolderViewMouse::iconHasATooltip_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("text");
    QTest::newRow("ready") << 1 << "New clips available"_s;
    QTest::newRow("in progress") << 2 << "Linking to clips"_s;
}

void TestFolderViewMouse::iconHasATooltip()
{
    QFETCH(int, state);
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), state);
    QVERIFY(askTooltip(f, f.cell("a"_s, View::kIdxIngestColumn).center()));
    QTEST(QToolTip::text(), "text");
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

void TestFolderViewMouse::bareHostsIconCanBeClicked()
{
    StandInHost::setBare(true);
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect cell = f.cell("a"_s, View::kIdxIngestColumn);
    QRect area(0, 0, 16, 16);
    area.moveCenter(cell.center());
    const auto reacts = [&f](int x) { return f.acquiresAt("a"_s, x); };
    const bool isSound =
        reacts(area.left()) && reacts(area.right()) && !reacts(area.left() - 1) && !reacts(area.right() + 1);
    View::setIngestState(f.row("a"_s), 1);
    askTooltip(f, QPoint(area.left(), cell.center().y()));
    StandInHost::setBare(false);
    QVERIFY(isSound);
    QCOMPARE(QToolTip::text(), "New clips available"_s);
}

void TestFolderViewMouse::everyAcquisitionTellsItsCount_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {0, 1, 12})
        QTest::addRow("%d clips", count) << count;
}

void TestFolderViewMouse::everyAcquisitionTellsItsCount()
{
    QFETCH(int, count);
    FolderViewFixture f;
    f.showTwoFolders();
    for (int i = 0; i < count; ++i)
        f.service.folders[1].files << QStringLiteral("/out/%1.xel").arg(i);
    View::setIngestState(f.row("b"_s), 1);
    QSignalSpy acquisitions(f.view.get(), &View::clipsAcquired);
    f.pressCell("b"_s, View::kIdxIngestColumn);
    QCOMPARE(FolderViewFixture::acquired().size(), count);
    QCOMPARE(acquisitions.size(), count == 0 ? 0 : 1);
    if (count > 0) {
        QCOMPARE(acquisitions.at(0).at(0).toString(), "b"_s);
        QCOMPARE(acquisitions.at(0).at(1).toInt(), count);
        // The status bar is free for whoever shows it.
        QCOMPARE(progress().constLast(), "close"_s);
    }
}

void TestFolderViewMouse::acquisitionTellsItsCountWhenTheRowIsGone()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[1].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("b"_s), 1);
    FolderViewFixture::duringAcquisition() = [&](const QString&) { f.view->clear(); };
    QSignalSpy acquisitions(f.view.get(), &View::clipsAcquired);
    f.pressCell("b"_s, View::kIdxIngestColumn);
    QCOMPARE(acquisitions.size(), 1);
    QCOMPARE(acquisitions.at(0).at(1).toInt(), 2);
}

QTEST_MAIN(TestFolderViewMouse)
#include "test_folder_view_mouse.moc"
