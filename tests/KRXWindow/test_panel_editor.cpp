// The panel's way into the profile editor.

#include "PanelFixture.h"
#include "TestFiles.h"

#include <QPointer>
#include <QTest>
#include <QTimer>

class TestPanelEditor : public QObject
{
    Q_OBJECT

private slots:
    // --- Editor ---
    void editorGetsTheProfilesAndTheCurrentOne();
    void editorRequestsAreInOrder();
    void visibleEditorIsNotOpenedAgain();
    void withoutAnEditorNothingHappens();
    void editorIsCreatedByTheButtonWhenThereIsNone();
    void newProfilesAreInTheBoxAfterwards();
    void deletedProfileOfTheCurrentFolderGivesWayToTheFirst();
    void withoutAFolderTheBoxKeepsItsProfile();
    void withoutAFolderADeletedProfileGivesWayToTheFirst();
    void lastProfileDeletedDisablesAdding();
    void hostRefreshingInTheEditorWritesNothing();
    void deletionInTheEditorIsNotUndone();
    void rowsAreUpToDateAfterTheEditor();
    void panelDestroyedUnderTheEditorIsHarmless();
    void panelDeletedLaterUnderAQuestionIsHarmless();
    void editorIsNotOpenedForAPanelThatIsGoing_data();
    void editorIsNotOpenedForAPanelThatIsGoing();
    void hostWithoutAFactoryIsContained();
};

void TestPanelEditor::editorGetsTheProfilesAndTheCurrentOne()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.press(f.edit());
    QCOMPARE(f.panel->editor()->runs, 1);
    QCOMPARE(f.panel->editor()->offeredId, "p2"_s);
    const QList<QPair<QString, QString>> expected = {{"p1"_s, "Conform"_s}, {"p2"_s, "Proxy"_s}};
    QCOMPARE(f.panel->editor()->offered, expected);
}

void TestPanelEditor::editorRequestsAreInOrder()
{
    PanelFixture f;
    f.show();
    f.panel->editor()->whileOpen = [&f] {
        QCOMPARE(f.service.lines(), QStringList({"GET profiles?level=detail"_s}));
    };
    f.press(f.edit());
    QCOMPARE(f.service.lines(), QStringList({"GET profiles?level=detail"_s, "GET profiles?level=detail"_s}));
    QCOMPARE(f.boxProfile(), "p1"_s);
}

void TestPanelEditor::visibleEditorIsNotOpenedAgain()
{
    PanelFixture f;
    f.show();
    f.panel->editor()->show();
    f.press(f.edit());
    QCOMPARE(f.panel->editor()->runs, 0);
    QCOMPARE(f.panel->editor()->offeredId, "not called"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelEditor::withoutAnEditorNothingHappens()
{
    PanelFixture f;
    f.panel->withoutEditor = true;
    f.show();
    f.panel->editorInits = 0;
    f.press(f.edit());
    QCOMPARE(f.panel->editorInits, 1);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestPanelEditor::editorIsCreatedByTheButtonWhenThereIsNone()
{
    PanelFixture f;
    f.panel->updateKRXServiceOnlineState(false);
    f.show();
    f.panel->updateKRXServiceOnlineState(true);
    QCOMPARE(f.panel->profilesWindow(), nullptr);
    f.press(f.edit());
    QVERIFY(f.panel->profilesWindow());
    QCOMPARE(f.panel->editor()->runs, 1);
}

void TestPanelEditor::newProfilesAreInTheBoxAfterwards()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.panel->editor()->whileOpen = [&f] { f.service.profiles.prepend({"p0"_s, "Archive"_s, "Bin 0"_s}); };
    f.press(f.edit());
    QCOMPARE(f.box()->count(), 3);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
    QCOMPARE(f.puts(), QStringList());
}

void TestPanelEditor::deletedProfileOfTheCurrentFolderGivesWayToTheFirst()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    f.panel->editor()->whileOpen = [&f] { f.service.profiles.removeLast(); };
    f.press(f.edit());
    QCOMPARE(f.boxProfile(), "p1"_s);
    QCOMPARE(f.profileOf("b"_s), "p1"_s);
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/b"_s}));
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
}

void TestPanelEditor::withoutAFolderTheBoxKeepsItsProfile()
{
    PanelFixture f;
    f.service.folders.clear();
    f.show();
    f.box()->setCurrentIndex(1);
    f.panel->editor()->whileOpen = [&f] { f.service.profiles.prepend({"p0"_s, "Archive"_s, "Bin 0"_s}); };
    f.press(f.edit());
    QCOMPARE(f.panel->editor()->offeredId, "p2"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
    QCOMPARE(f.summaryBin(), "Bin 2"_s);
}

void TestPanelEditor::withoutAFolderADeletedProfileGivesWayToTheFirst()
{
    PanelFixture f;
    f.service.folders.clear();
    f.show();
    f.box()->setCurrentIndex(1);
    f.panel->editor()->whileOpen = [&f] { f.service.profiles.removeLast(); };
    f.press(f.edit());
    QCOMPARE(f.boxProfile(), "p1"_s);
    QCOMPARE(f.summaryBin(), "Bin 1"_s);
    QCOMPARE(f.puts(), QStringList());
}

void TestPanelEditor::lastProfileDeletedDisablesAdding()
{
    PanelFixture f;
    f.show();
    f.panel->editor()->whileOpen = [&f] { f.service.profiles.clear(); };
    f.press(f.edit());
    QVERIFY(!f.add()->isEnabled());
    QCOMPARE(f.box()->count(), 0);
    QCOMPARE(f.puts(), QStringList());
}

void TestPanelEditor::hostRefreshingInTheEditorWritesNothing()
{
    PanelFixture f;
    f.show();
    f.view()->setCurrentItem(f.row("b"_s));
    // What a deletion in the editor does: the folder goes to another profile and is disabled.
    f.panel->editor()->whileOpen = [&f] {
        f.service.profiles.removeLast();
        f.service.folders[1].profile = "p1"_s;
        f.service.folders[1].enabled = "false"_s;
        f.panel->refreshFolders();
    };
    f.press(f.edit());
    QCOMPARE(f.puts(), QStringList());
    QCOMPARE(f.currentFolder(), "b"_s);
    QCOMPARE(f.row("b"_s)->checkState(View::kIdxActiveColumn), Qt::Unchecked);
    QCOMPARE(f.service.folders.at(1).enabled, "false"_s);
}

void TestPanelEditor::panelDestroyedUnderTheEditorIsHarmless()
{
    PanelFixture f;
    f.show();
    f.panel->editor()->whileOpen = [&f] { f.panel.reset(); };
    f.edit()->click();
    QVERIFY(!f.panel);
    QCOMPARE(f.service.lines(), QStringList({"GET profiles?level=detail"_s}));
}

void TestPanelEditor::panelDeletedLaterUnderAQuestionIsHarmless()
{
    const TestFiles::FilledFolder filled;
    PanelFixture f;
    f.service.folders = {{"a"_s, filled.path(), "p1"_s, "true"_s}};
    f.show();
    const QPointer<HostPanel> panel = f.panel.get();
    f.whileAsked = [&f] {
        f.panel->close();
        f.panel.release()->deleteLater();
        QCoreApplication::processEvents();
    };
    // The press comes from the event loop, as a person's does.
    QMetaObject::invokeMethod(
        f.box(), [box = f.box()] { box->setCurrentIndex(1); }, Qt::QueuedConnection);
    QTRY_VERIFY(!panel);
    QCOMPARE(StandInHost::messageLog().size(), 1);
}

void TestPanelEditor::editorIsNotOpenedForAPanelThatIsGoing_data()
{
    QTest::addColumn<bool>("ofThePanel");
    QTest::newRow("a child of the panel") << true;
    QTest::newRow("a window of its own") << false;
}

void TestPanelEditor::editorIsNotOpenedForAPanelThatIsGoing()
{
    QFETCH(bool, ofThePanel);
    PanelFixture f;
    f.show();
    const QPointer<FakeEditor> editor = f.panel->editor();
    if (!ofThePanel)
        editor->setParent(nullptr);
    const QPointer<HostPanel> panel = f.panel.get();
    int runs = 0;
    editor->whileOpen = [&runs] { ++runs; };
    // Loading a profile may open a notice, and the host may do anything while that stands.
    editor->whileLoading = [&f] {
        f.panel.release()->deleteLater();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    f.edit()->click();
    QCOMPARE(runs, 0);
    QVERIFY(panel);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!panel);
    QCOMPARE(editor.isNull(), ofThePanel);
    if (editor)
        std::unique_ptr<FakeEditor>(editor.data()).reset();
}

void TestPanelEditor::hostWithoutAFactoryIsContained()
{
    PanelFixture f;
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    f.service.client().factoryIsNull = true;
    f.show();
    QCOMPARE(f.box()->count(), 0);
    QCOMPARE(f.view()->topLevelItemCount(), 0);
    QVERIFY(!f.add()->isEnabled());
}

void TestPanelEditor::deletionInTheEditorIsNotUndone()
{
    // The module alone: no host tells the panel that profiles changed.
    PanelFixture f;
    f.service.profiles = {{"p1"_s, "Conform"_s, "Bin 1"_s},
                          {"p2"_s, "Proxy"_s, "Bin 2"_s},
                          {"p3"_s, "Default Profile"_s, "Bin 3"_s}};
    KRXWindow panel(nullptr, nullptr);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    View* view = panel.getFolderViewWidget();
    view->setCurrentItem(view->itemByFolderId("b"_s));
    f.service.clear();
    auto* editor = panel.findChild<KRXProfilesWindow*>();
    QTimer::singleShot(0, editor, [editor] {
        QTest::mouseClick(editor->findChild<QPushButton*>("delProfileBtn"_s), Qt::LeftButton);
        editor->close();
    });
    QTest::mouseClick(panel.findChild<QPushButton*>("profileEditBtn"_s), Qt::LeftButton);
    // Only the editor's own write.
    QCOMPARE(f.puts(), QStringList({"PUT xelmediafolders/b"_s}));
    QCOMPARE(f.service.folders.at(1).profile, "p3"_s);
    QCOMPARE(f.service.folders.at(1).enabled, "false"_s);
    const QTreeWidgetItem* row = view->itemByFolderId("b"_s);
    QCOMPARE(View::getFolderId(view->currentItem()), "b"_s);
    QCOMPARE(View::getProfileId(row), "p3"_s);
    QCOMPARE(View::getProfileName(row), "Default Profile"_s);
    QCOMPARE(row->text(View::kIdxBinColumn), "Bin 3"_s);
    QCOMPARE(row->checkState(View::kIdxActiveColumn), Qt::Unchecked);
    auto* box = panel.findChild<QComboBox*>("profilesBox"_s, Qt::FindDirectChildrenOnly);
    QCOMPARE(box->currentData().toString(), "p3"_s);
}

void TestPanelEditor::rowsAreUpToDateAfterTheEditor()
{
    PanelFixture f;
    f.show();
    View::setIngestState(f.row("a"_s), View::NewClipsAvailable);
    f.panel->editor()->whileOpen = [&f] {
        f.service.folders[0].profile = "p2"_s;
        f.service.folders[1].enabled = "false"_s;
        KRXFolderManager::getInstance().refreshFolders(true);
    };
    f.press(f.edit());
    QCOMPARE(f.puts(), QStringList());
    QCOMPARE(f.profileOf("a"_s), "p2"_s);
    QCOMPARE(View::getProfileName(f.row("a"_s)), "Proxy"_s);
    QCOMPARE(f.row("a"_s)->text(View::kIdxBinColumn), "Bin 2"_s);
    QCOMPARE(f.row("b"_s)->checkState(View::kIdxActiveColumn), Qt::Unchecked);
    // What the records do not tell stays.
    QCOMPARE(View::getIngestState(f.row("a"_s)), int(View::NewClipsAvailable));
    QCOMPARE(f.currentFolder(), "a"_s);
    QCOMPARE(f.boxProfile(), "p2"_s);
}

QTEST_MAIN(TestPanelEditor)
#include "test_panel_editor.moc"
