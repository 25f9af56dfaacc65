// Folders added and removed, and edits written to the service.

#include "FolderViewFixture.h"
#include "KRXFolder.h"
#include "KRXFolderItemDelegate.h"
#include "KRXFolderProperties.h"
#include "KRXTest.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using View = KRXFolderViewWidget;

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

namespace {

QString updateDocument(const QString& id, const QString& path, const QString& profile, const QString& enabled)
{
    return QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                          "<xelMediaFolder id=\"%1\">\n <path>%2</path>\n <profile>%3</profile>\n"
                          " <enabled>%4</enabled>\n</xelMediaFolder>\n")
        .arg(id, path, profile, enabled);
}

} // namespace

class TestFolderViewEdits : public QObject
{
    Q_OBJECT

private slots:
    // --- Adding and removing ---
    void addedFolderBecomesTheCurrentRow();
    void addedFolderTakesItsPlaceInTheOrder_data();
    void addedFolderTakesItsPlaceInTheOrder();
    void samePathIsRefusedWithAMessage();
    void pathOfOtherCaseIsAccepted();
    void failedAddShowsTheServicesText();
    void textsWithMarkersStayWhole();
    void createdFolderThatCannotBeReadFillsTheView();
    void removedFolderLosesItsRow();
    void removingWithoutACurrentRowDoesNothing();
    void failedRemovalShowsTheServicesTextAndKeepsTheRow();

    // --- Writing edits ---
    void enablingWritesWithoutAQuestion();
    void profileOfAnEmptyDirectoryIsWrittenWithoutAQuestion();
    void profileOfAMissingDirectoryIsWrittenWithoutAQuestion();
    void hiddenEntriesDoNotFillADirectory_data();
    void hiddenEntriesDoNotFillADirectory();
    void profileOfAFilledDirectoryAsks_data();
    void profileOfAFilledDirectoryAsks();
    void failedWriteKeepsTheEditedRow();
    void otherColumnsAreNotWritten();
    void equalNamesOfTwoProfilesStillWriteOnce();
    void viewDestroyedUnderTheQuestionWritesNothing();
};

void TestFolderViewEdits::addedFolderBecomesTheCurrentRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->addFolder("/media/new"_s, "p2"_s);
    QCOMPARE(f.view->topLevelItemCount(), 3);
    QCOMPARE(View::getFolderId(f.view->currentItem()), QStringLiteral("new"));
    QCOMPARE(View::getProfileName(f.view->currentItem()), QStringLiteral("Conform"));
    QCOMPARE(f.view->currentItem()->checkState(View::kIdxActiveColumn), Qt::Unchecked);
    QCOMPARE(f.service.lines(), QStringList({"POST xelmediafolders"_s, "GET xelmediafolders/new"_s}));
    KRX_COMPARE_XML(
        f.service.bodyOf("POST xelmediafolders"_s),
        QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<xelMediaFolderRequest>\n"
                       " <xelMediaFolder>\n  <path>/media/new</path>\n  <profile>p2</profile>\n"
                       "  <enabled>false</enabled>\n </xelMediaFolder>\n</xelMediaFolderRequest>\n"));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderViewEdits::samePathIsRefusedWithAMessage()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "C:/Media"_s, "p1"_s}};
    f.view->fillView();
    f.service.clear();
    f.view->addFolder("C:/Media"_s, "p1"_s);
    compareMessage(0, QMessageBox::Warning, "Error occurred"_s,
                   "Unable to add a folder with the same path more than once.\n"_s
                   "Folder with path C:/Media already exists in this list."_s);
    QCOMPARE(StandInHost::messageLog().at(0).buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(StandInHost::messageLog().at(0).parent, f.view.get());
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(f.view->topLevelItemCount(), 1);
}

void TestFolderViewEdits::pathOfOtherCaseIsAccepted()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "C:/Media"_s, "p1"_s}};
    f.view->fillView();
    f.view->addFolder("c:/media"_s, "p1"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.view->topLevelItemCount(), 2);
}

void TestFolderViewEdits::failedAddShowsTheServicesText()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.refusals["POST xelmediafolders"_s] = "The volume is read-only"_s;
    f.view->addFolder("/media/new"_s, "p1"_s);
    compareMessage(0, QMessageBox::Critical, "Error occurred"_s,
                   "Can't add folder /media/new\nThe volume is read-only"_s);
    QCOMPARE(StandInHost::messageLog().at(0).buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s}));
}

void TestFolderViewEdits::textsWithMarkersStayWhole()
{
    FolderViewFixture f;
    f.service.folders = {{"1"_s, "/media/%2"_s, "p1"_s}};
    f.view->fillView();
    f.service.refusals["POST xelmediafolders"_s] = "why"_s;
    f.view->addFolder("/media/%2/x"_s, "p1"_s);
    compareMessage(0, QMessageBox::Critical, "Error occurred"_s, "Can't add folder /media/%2/x\nwhy"_s);
    f.service.refusals["DELETE xelmediafolders/1"_s] = "because"_s;
    f.view->setCurrentItem(f.row("1"_s));
    f.view->delFolder();
    compareMessage(1, QMessageBox::Critical, "Error occurred"_s, "Can't delete folder %2!\nbecause"_s);
}

void TestFolderViewEdits::createdFolderThatCannotBeReadFillsTheView()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.nextFolderId.clear();
    f.service.folders.append({"unreadable"_s, "/media/new"_s, "p1"_s});
    f.view->addFolder("/media/new"_s, "p1"_s);
    QCOMPARE(f.service.lines(), QStringList({"POST xelmediafolders"_s, "GET xelmediafolders?level=detail"_s,
                                             "GET profiles?level=detail"_s}));
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s, "unreadable"_s}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderViewEdits::removedFolderLosesItsRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("b"_s));
    f.view->delFolder();
    QCOMPARE(f.service.lines(), QStringList({"DELETE xelmediafolders/b"_s}));
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s}));
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderViewEdits::removingWithoutACurrentRowDoesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(nullptr);
    f.view->delFolder();
    QCOMPARE(f.service.lines(), QStringList());
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s}));
}

void TestFolderViewEdits::failedRemovalShowsTheServicesTextAndKeepsTheRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("b"_s));
    f.service.refusals["DELETE xelmediafolders/b"_s] = "Busy"_s;
    f.view->delFolder();
    compareMessage(0, QMessageBox::Critical, "Error occurred"_s, "Can't delete folder b!\nBusy"_s);
    QCOMPARE(StandInHost::messageLog().at(0).buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(shownIds(*f.view), QStringList({"a"_s, "b"_s}));
}

void TestFolderViewEdits::enablingWritesWithoutAQuestion()
{
    const TestFiles::FilledFolder filled;
    FolderViewFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "false"_s}};
    f.view->fillView();
    f.service.clear();
    f.row("a"_s)->setCheckState(View::kIdxActiveColumn, Qt::Checked);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    KRX_COMPARE_XML(f.service.bodyOf("PUT xelmediafolders/a"_s),
                    updateDocument("a"_s, filled.path(), "p1"_s, "true"_s));
    f.service.clear();
    f.row("a"_s)->setCheckState(View::kIdxActiveColumn, Qt::Unchecked);
    QVERIFY(StandInHost::messageLog().isEmpty());
    KRX_COMPARE_XML(f.service.bodyOf("PUT xelmediafolders/a"_s),
                    updateDocument("a"_s, filled.path(), "p1"_s, "false"_s));
}

void TestFolderViewEdits::profileOfAnEmptyDirectoryIsWrittenWithoutAQuestion()
{
    QTemporaryDir empty;
    FolderViewFixture f;
    f.service.folders = {{"a"_s, empty.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.service.clear();
    View::setProfileId(f.row("a"_s), "p2"_s);
    View::setProfileName(f.row("a"_s), "Conform"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.service.lines().constLast(), "PUT xelmediafolders/a"_s);
    KRX_COMPARE_XML(f.service.bodyOf("PUT xelmediafolders/a"_s),
                    updateDocument("a"_s, empty.path(), "p2"_s, "true"_s));
}

void TestFolderViewEdits::profileOfAMissingDirectoryIsWrittenWithoutAQuestion()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setProfileName(f.row("a"_s), "Conform"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewEdits::profileOfAFilledDirectoryAsks_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("reply");
    QTest::addColumn<bool>("directoryInside");
    QTest::addColumn<QString>("line");
    QTest::newRow("yes, a file") << QMessageBox::Yes << false << "PUT xelmediafolders/a?reprocess=true"_s;
    QTest::newRow("no, a file") << QMessageBox::No << false << "PUT xelmediafolders/a"_s;
    QTest::newRow("yes, a directory") << QMessageBox::Yes << true << "PUT xelmediafolders/a?reprocess=true"_s;
}

void TestFolderViewEdits::profileOfAFilledDirectoryAsks()
{
    QFETCH(QMessageBox::StandardButton, reply);
    QFETCH(bool, directoryInside);
    QFETCH(QString, line);
    QTemporaryDir filled;
    if (directoryInside)
        QVERIFY(QDir(filled.path()).mkdir("inside"_s));
    else
        QVERIFY(QFile(filled.filePath("clip.mov"_s)).open(QIODevice::WriteOnly));
    FolderViewFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.service.clear();
    f.reply = reply;
    View::setProfileName(f.row("a"_s), "Conform"_s);
    QCOMPARE(StandInHost::messageLog().size(), 1);
    compareMessage(0, QMessageBox::Question, QString(),
                   "Do you want to process existing files with the new folder profile?"_s);
    QCOMPARE(StandInHost::messageLog().at(0).buttons,
             QMessageBox::StandardButtons(QMessageBox::Yes | QMessageBox::No));
    QCOMPARE(StandInHost::messageLog().at(0).defaultButton, QMessageBox::Yes);
    QCOMPARE(f.service.lines(), QStringList({line}));
}

void TestFolderViewEdits::failedWriteKeepsTheEditedRow()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.refusals["PUT xelmediafolders/a"_s] = "no"_s;
    f.row("a"_s)->setCheckState(View::kIdxActiveColumn, Qt::Checked);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.row("a"_s)->checkState(View::kIdxActiveColumn), Qt::Checked);
}

void TestFolderViewEdits::otherColumnsAreNotWritten()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("a"_s), 1);
    View::setTargetBin(f.row("a"_s), "Bin"_s);
    f.row("a"_s)->setText(View::kIdxFolderColumn, "name"_s);
    f.row("a"_s)->setText(View::kIdxPathColumn, "/path"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewEdits::equalNamesOfTwoProfilesStillWriteOnce()
{
    FolderViewFixture f;
    f.showTwoFolders();
    QSignalSpy changes(f.view.get(), &QTreeWidget::itemChanged);
    View::setProfileName(f.row("a"_s), View::getProfileName(f.row("a"_s)));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(changes.at(0).at(1).toInt(), View::kIdxProfileColumn);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(View::getProfileName(f.row("a"_s)), QStringLiteral("Proxy"));
}

void TestFolderViewEdits::viewDestroyedUnderTheQuestionWritesNothing()
{
    const TestFiles::FilledFolder filled;
    FolderViewFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.service.clear();
    // The signal is sent straight, because the tree itself may not die while it changes an item.
    f.whileAsked = [&f] { f.view.reset(); };
    QVERIFY(QMetaObject::invokeMethod(f.view.get(), "itemChanged", Q_ARG(QTreeWidgetItem*, f.row("a"_s)),
                                      Q_ARG(int, View::kIdxProfileColumn)));
    QVERIFY(!f.view);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewEdits::addedFolderTakesItsPlaceInTheOrder_data()
{
    QTest::addColumn<int>("order");
    QTest::addColumn<QStringList>("ids");
    QTest::newRow("ascending") << int(Qt::AscendingOrder) << QStringList({"a"_s, "new"_s, "b"_s});
    QTest::newRow("descending") << int(Qt::DescendingOrder) << QStringList({"b"_s, "new"_s, "a"_s});
}

void TestFolderViewEdits::addedFolderTakesItsPlaceInTheOrder()
{
    QFETCH(int, order);
    QFETCH(QStringList, ids);
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->sortByColumn(View::kIdxFolderColumn, Qt::SortOrder(order));
    f.view->addFolder("/media/aa"_s, "p1"_s);
    QCOMPARE(shownIds(*f.view), ids);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "new"_s);
}

void TestFolderViewEdits::hiddenEntriesDoNotFillADirectory_data()
{
    QTest::addColumn<bool>("isDirectory");
    QTest::newRow("file") << false;
    QTest::newRow("directory") << true;
}

void TestFolderViewEdits::hiddenEntriesDoNotFillADirectory()
{
    QFETCH(bool, isDirectory);
    QTemporaryDir empty;
    if (isDirectory)
        QVERIFY(QDir(empty.path()).mkdir(".hidden"_s));
    else
        QVERIFY(QFile(empty.filePath(".hidden"_s)).open(QIODevice::WriteOnly));
    FolderViewFixture f;
    f.service.folders = {{"a"_s, empty.path(), "p1"_s, "true"_s}};
    f.view->fillView();
    f.service.clear();
    View::setProfileName(f.row("a"_s), "Conform"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

QTEST_MAIN(TestFolderViewEdits)
#include "test_folder_view_edits.moc"
