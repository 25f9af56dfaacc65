// The folder list without a mouse, and its context menu.

#include "FolderViewFixture.h"

#include <QContextMenuEvent>
#include <QTest>

using View = KRXFolderViewWidget;

namespace {

void key(const FolderViewFixture& f, Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(f.view.get(), key, modifiers);
}

/// Opens the context menu of the current row by its key, or of the row below the mouse.
QMenu* contextMenu(const FolderViewFixture& f, const QPoint* mouse = nullptr)
{
    const QPoint position = mouse ? *mouse : QPoint(1, 1);
    QContextMenuEvent event(mouse ? QContextMenuEvent::Mouse : QContextMenuEvent::Keyboard, position,
                            f.view->viewport()->mapToGlobal(position));
    QApplication::sendEvent(f.view->viewport(), &event);
    return openMenu();
}

QAction* actionNamed(const QMenu* menu, const QString& text)
{
    const auto actions = menu->actions();
    for (QAction* action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

} // namespace

class TestFolderViewKeys : public QObject
{
    Q_OBJECT

private slots:
    void cleanup();

    void spaceTogglesEnable_data();
    void spaceTogglesEnable();
    void spaceWithAModifierTogglesNothing();
    void returnAcquires_data();
    void returnAcquires();
    void returnOnARowWithoutClipsAcquiresNothing();
    void keyOpensTheProfileMenu_data();
    void keyOpensTheProfileMenu();
    void profileMenuIsUsedByKeysAlone();
    void menuByKeyBringsItsRowIntoSight_data();
    void menuByKeyBringsItsRowIntoSight();
    void keysWithoutARowDoNothing();
    void otherKeysMoveAsEver();
    void contextMenuOffersTheSameActs();
    void contextMenuOfARowWithoutClipsOffersNoAcquisition();
    void contextMenuAcquires();
    void contextMenuTogglesEnable();
    void contextMenuChangesTheProfile();
    void contextMenuOfTheMouseIsOfTheRowBelowIt();
    void contextMenuOffTheRowsIsLeftToTheParent();
    void contextMenuFindsItsRowAgain();
};

void TestFolderViewKeys::cleanup()
{
    while (QWidget* popup = QApplication::activePopupWidget())
        popup->close();
}

void TestFolderViewKeys::spaceTogglesEnable_data()
{
    QTest::addColumn<int>("column");
    for (int column = 0; column < 6; ++column)
        QTest::addRow("column %d", column) << column;
}

void TestFolderViewKeys::spaceTogglesEnable()
{
    QFETCH(int, column);
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s), column);
    key(f, Qt::Key_Space);
    QCOMPARE(f.row("a"_s)->checkState(View::kIdxActiveColumn), Qt::Checked);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).enabled, "true"_s);
    key(f, Qt::Key_Space);
    QCOMPARE(f.row("a"_s)->checkState(View::kIdxActiveColumn), Qt::Unchecked);
    QCOMPARE(f.service.folders.at(0).enabled, "false"_s);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "a"_s);
    QVERIFY(StandInHost::messageLog().isEmpty());
}

void TestFolderViewKeys::spaceWithAModifierTogglesNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    for (const auto modifier : {Qt::ControlModifier, Qt::ShiftModifier})
        key(f, Qt::Key_Space, modifier);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewKeys::returnAcquires_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("state");
    QTest::newRow("return, ready") << int(Qt::Key_Return) << int(View::NewClipsAvailable);
    QTest::newRow("enter, ready") << int(Qt::Key_Enter) << int(View::NewClipsAvailable);
    QTest::newRow("return, in progress") << int(Qt::Key_Return) << int(View::AcquisitionInProgress);
}

void TestFolderViewKeys::returnAcquires()
{
    QFETCH(int, key);
    QFETCH(int, state);
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[1].files = QStringList{"/out/1.xel"_s, "/out/2.xel"_s};
    View::setIngestState(f.row("b"_s), state);
    f.view->setCurrentItem(f.row("b"_s));
    QTest::keyClick(f.view.get(), Qt::Key(key),
                    key == Qt::Key_Enter ? Qt::KeyboardModifiers(Qt::KeypadModifier) : Qt::NoModifier);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/1.xel"_s, "/out/2.xel"_s}));
    QCOMPARE(View::getIngestState(f.row("b"_s)), 0);
    QCOMPARE(f.service.lines(), QStringList({"GET xelmediafolders/b"_s}));
}

void TestFolderViewKeys::returnOnARowWithoutClipsAcquiresNothing()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    key(f, Qt::Key_Return);
    QVERIFY(FolderViewFixture::acquired().isEmpty());
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewKeys::keyOpensTheProfileMenu_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("alt");
    QTest::newRow("F2") << int(Qt::Key_F2) << false;
    QTest::newRow("Alt+Down") << int(Qt::Key_Down) << true;
}

void TestFolderViewKeys::keyOpensTheProfileMenu()
{
    QFETCH(int, key);
    QFETCH(bool, alt);
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("b"_s), View::kIdxProfileColumn);
    QTest::keyClick(f.view.get(), Qt::Key(key), alt ? Qt::AltModifier : Qt::NoModifier);
    const QMenu* menu = openMenu();
    QVERIFY(menu);
    QCOMPARE(menu->actions().size(), 2);
    // The profile that the row has is where the arrow keys start.
    QCOMPARE(menu->activeAction(), actionOf(menu, "p2"_s));
    QCOMPARE(View::getFolderId(f.view->currentItem()), "b"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewKeys::profileMenuIsUsedByKeysAlone()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.view->setCurrentItem(f.row("a"_s), View::kIdxProfileColumn);
    key(f, Qt::Key_F2);
    QVERIFY(openMenu());
    QTest::keyClick(openMenu(), Qt::Key_Up);
    QTest::keyClick(openMenu(), Qt::Key_Return);
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewKeys::menuByKeyBringsItsRowIntoSight_data()
{
    QTest::addColumn<bool>("isContextMenu");
    QTest::newRow("of profiles") << false;
    QTest::newRow("context menu") << true;
}

void TestFolderViewKeys::menuByKeyBringsItsRowIntoSight()
{
    QFETCH(bool, isContextMenu);
    FolderViewFixture f;
    f.service.folders.clear();
    for (int number = 10; number < 50; ++number) {
        const QString id = QString::number(number);
        f.service.folders.append({id, "/media/"_s + id, "p1"_s});
    }
    f.view->fillView();
    f.show();
    f.view->setCurrentItem(f.row("49"_s));
    f.view->scrollToTop();
    QVERIFY(!f.view->viewport()->rect().intersects(f.view->visualItemRect(f.row("49"_s))));
    if (isContextMenu)
        QVERIFY(contextMenu(f));
    else
        key(f, Qt::Key_F2);
    QVERIFY(openMenu());
    QVERIFY(f.view->viewport()->rect().contains(f.view->visualItemRect(f.row("49"_s)).center()));
}

void TestFolderViewKeys::keysWithoutARowDoNothing()
{
    FolderViewFixture f;
    f.show();
    key(f, Qt::Key_Space);
    key(f, Qt::Key_Return);
    key(f, Qt::Key_F2);
    key(f, Qt::Key_Down, Qt::AltModifier);
    QCOMPARE(openMenu(), nullptr);
    QCOMPARE(contextMenu(f), nullptr);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewKeys::otherKeysMoveAsEver()
{
    FolderViewFixture f;
    f.showTwoFolders();
    key(f, Qt::Key_Down);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "b"_s);
    key(f, Qt::Key_Home);
    QCOMPARE(View::getFolderId(f.view->currentItem()), "a"_s);
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderViewKeys::contextMenuOffersTheSameActs()
{
    FolderViewFixture f;
    f.showTwoFolders();
    View::setIngestState(f.row("b"_s), View::NewClipsAvailable);
    f.view->setCurrentItem(f.row("b"_s));
    const QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    QVERIFY(actionNamed(menu, "Acquire"_s)->isEnabled());
    QCOMPARE(menu->activeAction(), actionNamed(menu, "Acquire"_s));
    QVERIFY(actionNamed(menu, "Enable"_s)->isCheckable());
    QVERIFY(actionNamed(menu, "Enable"_s)->isChecked());
    const QMenu* profiles = actionNamed(menu, "Profile"_s)->menu();
    QVERIFY(profiles);
    QCOMPARE(profiles->actions().size(), 2);
    QVERIFY(actionOf(profiles, "p2"_s)->isChecked());
    QVERIFY(!actionOf(profiles, "p1"_s)->isCheckable());
    QVERIFY(f.view->rect().contains(f.view->mapFromGlobal(menu->pos())));
}

void TestFolderViewKeys::contextMenuOfARowWithoutClipsOffersNoAcquisition()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    QVERIFY(!actionNamed(menu, "Acquire"_s)->isEnabled());
    QVERIFY(!actionNamed(menu, "Enable"_s)->isChecked());
}

void TestFolderViewKeys::contextMenuAcquires()
{
    FolderViewFixture f;
    f.showTwoFolders();
    f.service.folders[0].files = QStringList{"/out/1.xel"_s};
    View::setIngestState(f.row("a"_s), View::NewClipsAvailable);
    QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    QTest::keyClick(menu, Qt::Key_Return);
    QCOMPARE(FolderViewFixture::acquired(), QStringList({"/out/1.xel"_s}));
}

void TestFolderViewKeys::contextMenuTogglesEnable()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    actionNamed(menu, "Enable"_s)->trigger();
    QCOMPARE(f.row("a"_s)->checkState(View::kIdxActiveColumn), Qt::Checked);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    QCOMPARE(f.service.folders.at(0).enabled, "true"_s);
}

void TestFolderViewKeys::contextMenuChangesTheProfile()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    actionOf(actionNamed(menu, "Profile"_s)->menu(), "p2"_s)->trigger();
    QCOMPARE(View::getProfileId(f.row("a"_s)), "p2"_s);
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
}

void TestFolderViewKeys::contextMenuOfTheMouseIsOfTheRowBelowIt()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QPoint overB = f.cell("b"_s, View::kIdxFolderColumn).center();
    const QMenu* menu = contextMenu(f, &overB);
    QVERIFY(menu);
    QCOMPARE(menu->pos(), f.view->viewport()->mapToGlobal(overB));
    QVERIFY(actionNamed(menu, "Enable"_s)->isChecked());
    actionNamed(menu, "Enable"_s)->trigger();
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/b"_s}));
}

void TestFolderViewKeys::contextMenuOffTheRowsIsLeftToTheParent()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QRect last = f.cell("b"_s, View::kIdxFolderColumn);
    const QPoint below(last.center().x(), last.bottom() + 20);
    QCOMPARE(contextMenu(f, &below), nullptr);
}

void TestFolderViewKeys::contextMenuFindsItsRowAgain()
{
    FolderViewFixture f;
    f.showTwoFolders();
    const QMenu* menu = contextMenu(f);
    QVERIFY(menu);
    f.view->fillView();
    f.service.clear();
    actionNamed(menu, "Enable"_s)->trigger();
    QCOMPARE(f.service.lines(), QStringList({"PUT xelmediafolders/a"_s}));
    f.service.folders.removeFirst();
    f.view->fillView();
    f.service.clear();
    actionNamed(menu, "Enable"_s)->trigger();
    QCOMPARE(f.service.lines(), QStringList());
}

QTEST_MAIN(TestFolderViewKeys)
#include "test_folder_view_keys.moc"
