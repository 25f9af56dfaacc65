#include "FolderViewFixture.h"
#include "KRXFolder.h"
#include "KRXFolderItemDelegate.h"
#include "KRXFolderProperties.h"
#include "KRXTest.h"

#include <QDir>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using View = KRXFolderViewWidget;

namespace {

void setRecord(KRXFolder& folder, const QString& id, const QString& path, const QString& profile,
               const QString& enabled)
{
    folder.setProperty(KRXFolderProperties::kId, id);
    folder.setProperty(KRXFolderProperties::kPath, path);
    folder.setProperty(KRXFolderProperties::kProfileId, profile);
    folder.setProperty(KRXFolderProperties::kEnabled, enabled);
}

} // namespace

class TestFolderView : public QObject
{
    Q_OBJECT

private slots:
    // --- Set-up ---
    void columnsHaveTheirConstants();
    void headerShowsItsTitlesAndWidths();
    void headerTitlesAreLocalised();
    void viewIsSetUpAsAFlatFixedList();
    void delegateBelongsToTheParentWidget();
    void startsSortedByFolderAscending();

    // --- Rows ---
    void rowHoldsEveryCell();
    void rowOfUnknownProfileHasNoNameAndNoBin();
    void onlyTheTextTrueIsEnabled_data();
    void onlyTheTextTrueIsEnabled();
    void driveRootShowsItsWholePath();
    void recordWithoutIdentifierMakesNoRow();
    void makingARowChangesNothingOnTheService();
    void recordIsFilledFromARow();
    void partlyCheckedRowIsEnabled();
    void noRowLeavesTheRecordAlone();
    void accessorsOfNoRowAreEmptyAndSettersDoNothing();
    void acquireColumnSortsByState();
    void enableColumnSortsByCheckMark();
    void otherColumnsSortByText();

    // --- Filling ---
    void fillingAsksForFoldersThenProfiles();
    void fillingReplacesRowsAndDiscardsStates();
    void fillingKeepsTheSortColumn();
    void failedFolderRefreshKeepsTheRows();
    void failedProfileRefreshKeepsTheRows();
    void fillingWritesNothingAndEmitsNothing();

    // --- Output ready, paths, showing ---
    void readyFoldersAreMarkedAndOthersCleared();
    void identifiersAreComparedCaseSensitively();
    void acquiringRowsAreLeftAlone();
    void hiddenViewIgnoresReadyFolders();
    void viewWithoutCurrentRowIgnoresReadyFolders();
    void everyRowIsMarkedWhileSortedByTheAcquireColumn();
    void missingDirectoriesAreFound();
    void showingMakesTheFirstRowCurrent();
    void showingAnEmptyViewIsHarmless();
    void hostWithoutAFactoryIsContained();
};

void TestFolderView::columnsHaveTheirConstants()
{
    QCOMPARE(View::kIdxIngestColumn, 0);
    QCOMPARE(View::kIdxActiveColumn, 1);
    QCOMPARE(View::kIdxFolderColumn, 2);
    QCOMPARE(View::kIdxProfileColumn, 3);
    QCOMPARE(View::kIdxBinColumn, 4);
    QCOMPARE(View::kIdxPathColumn, 5);
    QCOMPARE(View::kFolderExistRole, 257);
    QCOMPARE(int(View::NoNewClips), 0);
    QCOMPARE(int(View::NewClipsAvailable), 1);
    QCOMPARE(int(View::AcquisitionInProgress), 2);
}

void TestFolderView::headerShowsItsTitlesAndWidths()
{
    FolderViewFixture f;
    const QTreeWidgetItem* titles = f.view->headerItem();
    QCOMPARE(f.view->columnCount(), 6);
    QStringList texts;
    for (int i = 0; i < 6; ++i)
        texts << titles->text(i);
    QCOMPARE(texts,
             QStringList({"Acquire"_s, "Enable"_s, "Folder"_s, "Profile"_s, "Target Bin"_s, "Path"_s}));
    QCOMPARE(titles->textAlignment(View::kIdxIngestColumn), int(Qt::AlignCenter));
    QCOMPARE(f.view->columnWidth(View::kIdxIngestColumn), f.view->header()->defaultSectionSize());
    QCOMPARE(f.view->columnWidth(View::kIdxActiveColumn), 42);
    QCOMPARE(f.view->columnWidth(View::kIdxFolderColumn), 130);
    QCOMPARE(f.view->columnWidth(View::kIdxProfileColumn), 180);
    QCOMPARE(f.view->columnWidth(View::kIdxBinColumn), 130);
    QVERIFY(!f.view->header()->isHidden());
    QVERIFY(!f.view->header()->highlightSections());
    QVERIFY(f.view->header()->isSortIndicatorShown());
    QVERIFY(!f.view->header()->sectionsMovable());
}

void TestFolderView::headerTitlesAreLocalised()
{
    StandInHost::setTranslator(
        [](const QString& key) -> QString { return QLatin1Char('<') + key + QLatin1Char('>'); });
    FolderViewFixture f;
    StandInHost::setTranslator({});
    QCOMPARE(f.view->headerItem()->text(View::kIdxBinColumn), QStringLiteral("<Target Bin>"));
}

void TestFolderView::viewIsSetUpAsAFlatFixedList()
{
    FolderViewFixture f;
    QCOMPARE(f.view->minimumHeight(), 180);
    QCOMPARE(f.view->maximumHeight(), 180);
    QCOMPARE(f.view->indentation(), 10);
    QCOMPARE(f.view->frameShape(), QFrame::StyledPanel);
    QCOMPARE(f.view->frameShadow(), QFrame::Plain);
    QVERIFY(f.view->isSortingEnabled());
    QVERIFY(!f.view->rootIsDecorated());
    QVERIFY(!f.view->itemsExpandable());
    QVERIFY(!f.view->expandsOnDoubleClick());
    QVERIFY(f.view->uniformRowHeights());
    QVERIFY(!f.view->dragEnabled());
    QVERIFY(f.view->allColumnsShowFocus());
    QVERIFY(f.view->hasMouseTracking());
}

void TestFolderView::delegateBelongsToTheParentWidget()
{
    QWidget parent;
    KRXFolderViewWidget view(&parent);
    QVERIFY(qobject_cast<KRXFolderItemDelegate*>(view.itemDelegate()));
    QCOMPARE(view.itemDelegate()->parent(), &parent);
}

void TestFolderView::startsSortedByFolderAscending()
{
    FolderViewFixture f;
    f.service.folders = {
        {"1"_s, "/x/zebra"_s, "p1"_s}, {"2"_s, "/y/ape"_s, "p1"_s}, {"3"_s, "/a/monkey"_s, "p1"_s}};
    f.view->fillView();
    QCOMPARE(f.view->sortColumn(), View::kIdxFolderColumn);
    QCOMPARE(f.view->header()->sortIndicatorOrder(), Qt::AscendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"2"_s, "3"_s, "1"_s}));
}

void TestFolderView::rowHoldsEveryCell()
{
    FolderViewFixture f;
    f.service.folders = {{"7"_s, "/media/card one"_s, "p2"_s, "true"_s}};
    f.view->fillView();
    const QTreeWidgetItem* row = f.row("7"_s);
    QVERIFY(row);
    QCOMPARE(row->data(View::kIdxIngestColumn, Qt::UserRole), QVariant(0));
    QCOMPARE(row->text(View::kIdxIngestColumn), QString());
    QCOMPARE(row->checkState(View::kIdxActiveColumn), Qt::Checked);
    QCOMPARE(row->text(View::kIdxFolderColumn), QStringLiteral("card one"));
    QCOMPARE(row->data(View::kIdxFolderColumn, Qt::UserRole), QVariant(QStringLiteral("7")));
    QCOMPARE(row->data(View::kIdxFolderColumn, View::kFolderExistRole), QVariant(true));
    QVERIFY(!row->icon(View::kIdxFolderColumn).isNull());
    QCOMPARE(row->data(View::kIdxProfileColumn, Qt::UserRole), QVariant(QStringLiteral("p2")));
    QCOMPARE(row->text(View::kIdxProfileColumn), QStringLiteral("Conform"));
    QCOMPARE(row->text(View::kIdxBinColumn), QStringLiteral("Bin 2"));
    QCOMPARE(row->text(View::kIdxPathColumn), QStringLiteral("/media/card one"));
}

void TestFolderView::rowOfUnknownProfileHasNoNameAndNoBin()
{
    FolderViewFixture f;
    f.service.folders = {{"7"_s, "/media/a"_s, "gone"_s}};
    f.view->fillView();
    QCOMPARE(View::getProfileId(f.row("7"_s)), QStringLiteral("gone"));
    QCOMPARE(View::getProfileName(f.row("7"_s)), QString());
    QCOMPARE(f.row("7"_s)->text(View::kIdxBinColumn), QString());
}

void TestFolderView::onlyTheTextTrueIsEnabled_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("state");
    QTest::newRow("true") << "true"_s << int(Qt::Checked);
    QTest::newRow("false") << "false"_s << int(Qt::Unchecked);
    QTest::newRow("TRUE") << "TRUE"_s << int(Qt::Unchecked);
    QTest::newRow("1") << "1"_s << int(Qt::Unchecked);
    QTest::newRow("empty") << ""_s << int(Qt::Unchecked);
}

void TestFolderView::onlyTheTextTrueIsEnabled()
{
    QFETCH(QString, text);
    QFETCH(int, state);
    FolderViewFixture f;
    f.service.folders = {{"7"_s, "/media/a"_s, "p1"_s, text}};
    f.view->fillView();
    QCOMPARE(int(f.row("7"_s)->checkState(View::kIdxActiveColumn)), state);
}

void TestFolderView::driveRootShowsItsWholePath()
{
    FolderViewFixture f;
    f.service.folders = {{"7"_s, "/"_s, "p1"_s}, {"8"_s, "D:/"_s, "p1"_s}};
    f.view->fillView();
    QCOMPARE(View::getFolderName(f.row("7"_s)), QStringLiteral("/"));
    QCOMPARE(View::getFolderName(f.row("8"_s)), QStringLiteral("D:/"));
}

void TestFolderView::recordWithoutIdentifierMakesNoRow()
{
    FolderViewFixture f;
    KRXFolder folder;
    folder.setProperty(KRXFolderProperties::kPath, QStringLiteral("/media/a"));
    QCOMPARE(f.view->krxToFolderItem(folder), nullptr);
    QCOMPARE(f.view->topLevelItemCount(), 0);
    QVERIFY(!f.view->signalsBlocked());
}

void TestFolderView::makingARowChangesNothingOnTheService()
{
    FolderViewFixture f;
    QSignalSpy changes(f.view.get(), &QTreeWidget::itemChanged);
    KRXFolder folder;
    setRecord(folder, "7"_s, "/media/a"_s, "p1"_s, "true"_s);
    QTreeWidgetItem* row = f.view->krxToFolderItem(folder);
    QVERIFY(row);
    QCOMPARE(row, f.view->topLevelItem(0));
    QCOMPARE(changes.count(), 0);
    QVERIFY(!f.view->signalsBlocked());
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderView::recordIsFilledFromARow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    KRXFolder folder;
    View::folderItemToKRX(f.row("b"_s), folder);
    QCOMPARE(folder.property(KRXFolderProperties::kId), QVariant(QStringLiteral("b")));
    QCOMPARE(folder.property(KRXFolderProperties::kProfileId), QVariant(QStringLiteral("p2")));
    QCOMPARE(folder.property(KRXFolderProperties::kPath), QVariant(QStringLiteral("/media/b")));
    QCOMPARE(folder.property(KRXFolderProperties::kEnabled), QVariant(QStringLiteral("true")));
    View::folderItemToKRX(f.row("a"_s), folder);
    QCOMPARE(folder.property(KRXFolderProperties::kEnabled), QVariant(QStringLiteral("false")));
    QCOMPARE(folder.dynamicPropertyNames().size(), 4);
}

void TestFolderView::partlyCheckedRowIsEnabled()
{
    QTreeWidgetItem row;
    row.setCheckState(View::kIdxActiveColumn, Qt::PartiallyChecked);
    KRXFolder folder;
    View::folderItemToKRX(&row, folder);
    QCOMPARE(folder.property(KRXFolderProperties::kEnabled), QVariant(QStringLiteral("true")));
}

void TestFolderView::noRowLeavesTheRecordAlone()
{
    KRXFolder folder;
    setRecord(folder, "7"_s, "/media/a"_s, "p1"_s, "true"_s);
    View::folderItemToKRX(nullptr, folder);
    QCOMPARE(folder.property(KRXFolderProperties::kId), QVariant(QStringLiteral("7")));
    QCOMPARE(folder.property(KRXFolderProperties::kEnabled), QVariant(QStringLiteral("true")));
}

void TestFolderView::accessorsOfNoRowAreEmptyAndSettersDoNothing()
{
    QCOMPARE(View::getFolderId(nullptr), QString());
    QCOMPARE(View::getFolderName(nullptr), QString());
    QCOMPARE(View::getFolderPath(nullptr), QString());
    QCOMPARE(View::getIngestState(nullptr), 0);
    QCOMPARE(View::getProfileId(nullptr), QString());
    QCOMPARE(View::getProfileName(nullptr), QString());
    View::setIngestState(nullptr, 1);
    View::setProfileId(nullptr, QStringLiteral("p1"));
    View::setProfileName(nullptr, QStringLiteral("Proxy"));
    View::setTargetBin(nullptr, QStringLiteral("Bin"));
}

void TestFolderView::acquireColumnSortsByState()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "/a"_s, "p1"_s}, {"2"_s, "/b"_s, "p1"_s}, {"3"_s, "/c"_s, "p1"_s}};
    f.view->fillView();
    View::setIngestState(f.row("1"_s), 2);
    View::setIngestState(f.row("3"_s), 1);
    f.view->sortByColumn(View::kIdxIngestColumn, Qt::AscendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"2"_s, "3"_s, "1"_s}));
}

void TestFolderView::enableColumnSortsByCheckMark()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "/a"_s, "p1"_s, "true"_s}, {"2"_s, "/b"_s, "p1"_s, "false"_s}};
    f.view->fillView();
    f.view->sortByColumn(View::kIdxActiveColumn, Qt::AscendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"2"_s, "1"_s}));
    f.view->sortByColumn(View::kIdxActiveColumn, Qt::DescendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"1"_s, "2"_s}));
}

void TestFolderView::otherColumnsSortByText()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "/b/x"_s, "p2"_s}, {"2"_s, "/a/y"_s, "p1"_s}};
    f.view->fillView();
    f.view->sortByColumn(View::kIdxPathColumn, Qt::AscendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"2"_s, "1"_s}));
    f.view->sortByColumn(View::kIdxProfileColumn, Qt::AscendingOrder);
    QCOMPARE(shownIds(*f.view), QStringList({"1"_s, "2"_s}));
}

void TestFolderView::fillingAsksForFoldersThenProfiles()
{
    FolderViewFixture f;
    f.view->fillView();
    QCOMPARE(f.service.lines(),
             QStringList({"GET xelmediafolders?level=detail"_s, "GET profiles?level=detail"_s}));
}

void TestFolderView::fillingReplacesRowsAndDiscardsStates()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    View::setIngestState(f.row("b"_s), 2);
    f.service.folders.append({"c"_s, "/media/c"_s, "p1"_s});
    f.view->fillView();
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s, "c"_s}));
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 0);
    f.service.folders.clear();
    f.view->fillView();
    QCOMPARE(f.view->topLevelItemCount(), 0);
}

void TestFolderView::fillingKeepsTheSortColumn()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->sortByColumn(View::kIdxPathColumn, Qt::DescendingOrder);
    f.view->fillView();
    QCOMPARE(f.view->sortColumn(), View::kIdxPathColumn);
    QCOMPARE(shownIds(*f.view), QStringList({"b"_s, "a"_s}));
    QVERIFY(f.view->isSortingEnabled());
}

void TestFolderView::failedFolderRefreshKeepsTheRows()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    f.service.folders.clear();
    f.service.refusals["GET xelmediafolders?level=detail"_s] = "down"_s;
    f.view->fillView();
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s}));
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
    QCOMPARE(f.service.lines(), QStringList({"GET xelmediafolders?level=detail"_s}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderView::failedProfileRefreshKeepsTheRows()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders.clear();
    f.service.refusals["GET profiles?level=detail"_s] = "down"_s;
    f.view->fillView();
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderView::fillingWritesNothingAndEmitsNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QSignalSpy changes(f.view.get(), &QTreeWidget::itemChanged);
    QSignalSpy currents(f.view.get(), &QTreeWidget::currentItemChanged);
    f.view->fillView();
    QCOMPARE(changes.count(), 0);
    QCOMPARE(currents.count(), 0);
    QVERIFY(!f.view->signalsBlocked());
    QCOMPARE(f.service.lines().filter("PUT"_s), QStringList());
}

void TestFolderView::readyFoldersAreMarkedAndOthersCleared()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->updateOutputsReadyState({"b"_s, "unknown"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 1);
    f.view->updateOutputsReadyState({"a"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 1);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 0);
    f.view->updateOutputsReadyState({});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderView::identifiersAreComparedCaseSensitively()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->updateOutputsReadyState({"A"_s, "bb"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
    QCOMPARE(View::getIngestState(f.row("b"_s)), 0);
}

void TestFolderView::acquiringRowsAreLeftAlone()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 2);
    f.view->updateOutputsReadyState({"a"_s, "b"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 2);
    f.view->updateOutputsReadyState({});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 2);
}

void TestFolderView::hiddenViewIgnoresReadyFolders()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->hide();
    f.view->updateOutputsReadyState({"a"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
}

void TestFolderView::viewWithoutCurrentRowIgnoresReadyFolders()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(nullptr);
    f.view->updateOutputsReadyState({"a"_s});
    QCOMPARE(View::getIngestState(f.row("a"_s)), 0);
}

void TestFolderView::everyRowIsMarkedWhileSortedByTheAcquireColumn()
{
    FolderViewFixture f;
    for (int i = 0; i < 50; ++i)
        f.service.folders.append({QString::number(i), QStringLiteral("/media/%1").arg(i), "p1"_s});
    f.view->fillView();
    f.show();
    f.view->sortByColumn(View::kIdxIngestColumn, Qt::AscendingOrder);
    QStringList ready;
    for (int i = 0; i < 50; i += 2)
        ready << QString::number(i);
    f.view->updateOutputsReadyState(ready);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(View::getIngestState(f.row(QString::number(i))), i % 2 == 0 ? 1 : 0);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(View::getIngestState(f.view->topLevelItem(i)), i < 25 ? 0 : 1);
}

void TestFolderView::missingDirectoriesAreFound()
{
    QTemporaryDir there;
    FolderViewFixture f;
    f.service.folders = {{"here"_s, there.path(), "p1"_s}, {"gone"_s, there.filePath("gone"_s), "p1"_s}};
    f.view->fillView();
    f.service.clear();
    f.view->verifyFoldersPath();
    QCOMPARE(f.row("here"_s)->data(View::kIdxFolderColumn, View::kFolderExistRole), QVariant(true));
    QCOMPARE(f.row("gone"_s)->data(View::kIdxFolderColumn, View::kFolderExistRole), QVariant(false));
    QVERIFY(QDir(there.path()).mkdir("gone"_s));
    f.view->verifyFoldersPath();
    QCOMPARE(f.row("gone"_s)->data(View::kIdxFolderColumn, View::kFolderExistRole), QVariant(true));
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderView::showingMakesTheFirstRowCurrent()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QCOMPARE(f.view->currentItem(), f.view->topLevelItem(0));
    QCOMPARE(f.row("a"_s)->data(View::kIdxFolderColumn, View::kFolderExistRole), QVariant(false));
    f.view->setCurrentItem(f.row("b"_s));
    f.view->hide();
    f.view->show();
    QCOMPARE(f.view->currentItem(), f.view->topLevelItem(0));
}

void TestFolderView::showingAnEmptyViewIsHarmless()
{
    FolderViewFixture f;
    f.show();
    QCOMPARE(f.view->currentItem(), nullptr);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderView::hostWithoutAFactoryIsContained()
{
    FolderViewFixture f;
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    f.service.client().factoryIsNull = true;
    const QRegularExpression complaint("gave no component factory"_s);
    QTest::ignoreMessage(QtCriticalMsg, complaint);
    QTest::ignoreMessage(QtCriticalMsg, complaint);
    f.view->fillView();
    QCOMPARE(f.view->topLevelItemCount(), 0);
}

QTEST_MAIN(TestFolderView)
#include "test_folder_view.moc"
