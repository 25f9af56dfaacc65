// A host tells the panel, or its editor, to deleteLater() while a dialog of theirs is open. Every dialog of
// the module is opened here as a person opens it, and the deletion is asked for from the dialog's own event
// loop.

#include "ActivityTexts.h"
#include "FakeFolderService.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "KRXProfileState.h"
#include "KRXProfilesWindow.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "KRXWindow.h"
#include "StandInHost.h"

#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDialog>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>

using namespace KRXTest::literals;
using View = KRXFolderViewWidget;

namespace {

/// The longest that anything may take; a way out of a hanging test, not a measure.
constexpr int kPatience = 20000;
/// How often the dialog's loop goes round after the deletion was asked for and before the dialog is answered.
constexpr int kRoundsToDie = 10;
/// After so many rounds an editor that should be gone is closed, so that the test can say so.
constexpr int kRoundsToGiveUp = 100;

/// An event loop that somebody in the host runs for a while.
void letEventsRun()
{
    QEventLoop loop;
    QTimer timer;
    int rounds = 0;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        if (++rounds == kRoundsToDie)
            loop.quit();
    });
    timer.start(0);
    loop.exec();
}

/// A panel with its own editor in a window of the host, on a service in memory.
class Stage
{
public:
    Stage()
    {
        StandInHost::resetRecords();
        QDir(directory.path()).mkdir("a"_s);
        QFile(filled() + "/clip.mov"_s).open(QIODevice::WriteOnly);
        service.profiles = {{"p1"_s, "Conform"_s, "Bin 1"_s},
                            {"p2"_s, "Proxy"_s, "Bin 2"_s},
                            {"p3"_s, "Quarry"_s, "Bin 3"_s, {filled()}}};
        service.folders = {{"a"_s, filled(), "p1"_s, "true"_s}, {"b"_s, "/media/b"_s, "p2"_s}};
        panel = new KRXWindow(nullptr, [](const QString&) { letEventsRun(); });
    }

    ~Stage()
    {
        delete panel;
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        StandInHost::resetRecords();
    }

    void show()
    {
        panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(panel));
    }

    View* view() const { return panel->getFolderViewWidget(); }
    QTreeWidgetItem* row(const QString& id) const { return view()->itemByFolderId(id); }
    QComboBox* box() const
    {
        return panel->findChild<QComboBox*>("profilesBox"_s, Qt::FindDirectChildrenOnly);
    }
    KRXProfilesWindow* editor() const { return panel->findChild<KRXProfilesWindow*>(); }
    QComboBox* editorBox() const { return static_cast<QComboBox*>(editor()->getProfilesBox()); }

    void press(const QString& button) const
    {
        QTest::mouseClick(panel->findChild<QPushButton*>(button), Qt::LeftButton);
    }

    void clickRow(const QString& id, int column) const
    {
        QRect cell = view()->visualItemRect(row(id));
        cell.setLeft(view()->columnViewportPosition(column));
        cell.setWidth(view()->columnWidth(column));
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {}, cell.center());
    }

    /// A profile whose loading opens the notice of another project type.
    void makeForeign(int profile)
    {
        ActivityTexts::Transcode foreign;
        foreign.video.projectType = "Unheard of"_s;
        KRXTest::FakeFolderService::Profile& record = service.profiles[profile];
        record.document = KRXTest::FakeFolderService::profileDocument(record).replace(
            "<activities>"_s, "<activities>"_s + ActivityTexts::text(foreign));
    }

    /// The editor without its modal loop, with one profile loaded.
    void showEditor(const QString& profileId)
    {
        KRXProfileManager::getInstance().refreshProfiles(true);
        editor()->updateProfilesBox(KRXProfileManager::getInstance().profileItems(), profileId);
        editor()->show();
        QVERIFY(QTest::qWaitForWindowExposed(editor()));
    }

    void openActions() const
    {
        editor()->findChild<KRXTwistWidget*>("xelSettingsTwistWidget"_s)->setOpen(true);
    }

    /// A directory that sorts first and holds a file.
    QString filled() const { return directory.filePath("a"_s); }

    QTemporaryDir directory;
    KRXTest::FakeFolderService service;
    QPointer<KRXWindow> panel;
};

/// Asks for a deletion from inside of the dialog that an act opens, then closes the dialog as a person does.
class Host : public QObject
{
public:
    explicit Host(QObject* victim)
        : m_victim(victim)
    {
        connect(&m_timer, &QTimer::timeout, this, &Host::look);
        connect(victim, &QObject::destroyed, this, [this] {
            diedDuringTheAct = m_isActing;
            m_loop.quit();
        });
    }

    /// Which dialog, of those that the act opens, the deletion is asked in.
    int dialog = 1;
    /// The deletion is asked in whatever loop runs, though it shows no dialog.
    bool inAnyLoop = false;
    /// Done while the modal editor waits for somebody.
    std::function<void()> inTheEditor;

    /// What is given as the name of a new profile.
    QString newName = "Fresh"_s;

    bool isAsked = false;
    bool diedDuringTheAct = false;
    bool modalEditorRan = false;
    /// The modal editor was still open, in whose loop the deletion may happen.
    bool isAskedInTheEditor = false;

    void run(const std::function<void()>& act)
    {
        QTimer::singleShot(0, this, [this, act] {
            m_isActing = true;
            m_timer.start(0);
            act();
            m_timer.stop();
            m_isActing = false;
        });
        QTimer::singleShot(kPatience, &m_loop, &QEventLoop::quit);
        m_loop.exec();
    }

private:
    void look()
    {
        if (inAnyLoop) {
            if (!isAsked)
                ask();
            return;
        }
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || (isAsked && ++m_roundsSince < kRoundsToDie))
            return;
        if (qobject_cast<KRXProfilesWindow*>(modal)) {
            modalEditorRan = true;
            if (inTheEditor)
                soon(std::exchange(inTheEditor, {}));
            else if (dialog == 0 && !isAsked)
                ask();
            else if (m_roundsSince > kRoundsToGiveUp)
                modal->close();
        } else if (modal != m_seen) {
            m_seen = modal;
            if (++m_count == dialog)
                ask();
        } else if (auto* message = qobject_cast<QMessageBox*>(modal)) {
            message->defaultButton()->click();
        } else if (auto* save = modal->findChild<QPushButton*>("saveBtn"_s); save && !isAsked) {
            modal->findChild<QLineEdit*>()->setText(newName);
            soon([save] { save->click(); });
        } else {
            QMetaObject::invokeMethod(modal, "reject");
        }
    }

    /// Out of the timer's own handler, in which the timer would stand still.
    void soon(const std::function<void()>& work)
    {
        m_timer.stop();
        QMetaObject::invokeMethod(
            this,
            [this, work] {
                m_timer.start(0);
                work();
            },
            Qt::QueuedConnection);
    }

    void ask()
    {
        isAsked = true;
        const QWidgetList windows = QApplication::topLevelWidgets();
        isAskedInTheEditor = std::any_of(windows.begin(), windows.end(), [](QWidget* window) {
            return qobject_cast<KRXProfilesWindow*>(window) && window->isModal() && window->isVisible();
        });
        m_victim->deleteLater();
    }

    QPointer<QObject> m_victim;
    QPointer<QWidget> m_seen;
    QEventLoop m_loop;
    QTimer m_timer;
    int m_count = 0;
    int m_roundsSince = 0;
    bool m_isActing = false;
};

struct Case
{
    const char* name;
    std::function<void(Stage&)> prepare;
    std::function<void(Stage&, Host&)> act;
};

void chooseInMenu(int downs)
{
    QWidget* menu = QApplication::activePopupWidget();
    for (int i = 0; i < downs; ++i)
        QTest::keyClick(menu, Qt::Key_Down);
    QTest::keyClick(menu, Qt::Key_Return);
}

void chooseInMenuByMouse(const QString& profileId)
{
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    for (const QAction* action : menu->actions()) {
        if (action->data().toString() == profileId) {
            QTest::mouseClick(menu, Qt::LeftButton, {},
                              menu->actionGeometry(const_cast<QAction*>(action)).center());
            return;
        }
    }
}

void chooseInBox(QComboBox* box, int index)
{
    box->setFocus();
    while (box->currentIndex() < index) {
        const int before = box->currentIndex();
        QTest::keyClick(box, Qt::Key_Down);
        if (box->currentIndex() == before)
            return;
    }
}

QMenu* contextMenuOf(QWidget* widget, const QPoint& position)
{
    QContextMenuEvent event(QContextMenuEvent::Mouse, position, widget->mapToGlobal(position));
    QApplication::sendEvent(widget, &event);
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

QMenu* contextMenuOfRow(const Stage& s, const QString& id)
{
    return contextMenuOf(s.view()->viewport(), s.view()->visualItemRect(s.row(id)).center());
}

/// Chooses in the list of profiles that the context menu of a row opens.
void chooseInContextMenu(const Stage& s, const QString& id, const QString& profileId)
{
    QMenu* menu = contextMenuOfRow(s, id);
    QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions().constLast()).center());
    menu->actions().constLast()->menu()->popup(menu->pos());
    chooseInMenuByMouse(profileId);
}

QComboBox* typeBox(const Stage& s)
{
    const auto boxes = s.editor()->findChildren<QComboBox*>();
    for (QComboBox* box : boxes) {
        if (box->toolTip() == "Choose Action"_s)
            return box;
    }
    return nullptr;
}

/// The editor with a row that copies to a folder, and one that consolidates.
void showEditorWithActions(Stage& s)
{
    s.showEditor("p1"_s);
    s.openActions();
    s.press("addActionBtn"_s);
    s.press("addActionBtn"_s);
    QCoreApplication::processEvents();
}

void removeProfile(Stage& s, const QString& refused = QString())
{
    if (!refused.isEmpty())
        s.service.refusals["DELETE profiles/p2"_s] = refused;
    s.showEditor("p2"_s);
}

const QList<Case>& listCases()
{
    static const auto askAgain = [](Stage& s) {
        s.service.folders[1] = {"b"_s, s.filled(), "gone"_s};
        s.panel->refreshFolders();
    };
    static const QList<Case> list = {
        {"question, box by mouse",
         {},
         [](Stage& s, Host&) {
             s.box()->showPopup();
             auto* items = QApplication::activePopupWidget()->findChild<QAbstractItemView*>();
             const QPoint item = items->visualRect(items->model()->index(1, 0)).center();
             QTest::mouseMove(items->viewport(), item);
             QTest::mouseClick(items->viewport(), Qt::LeftButton, {}, item);
         }},
        {"question, box by keyboard", {}, [](Stage& s, Host&) { chooseInBox(s.box(), 1); }},
        {"question, menu by mouse",
         {},
         [](Stage& s, Host&) {
             s.clickRow("a"_s, View::kIdxProfileColumn);
             chooseInMenuByMouse("p2"_s);
         }},
        {"question, menu by keyboard",
         {},
         [](Stage& s, Host&) {
             s.clickRow("a"_s, View::kIdxProfileColumn);
             chooseInMenu(2);
         }},
        {"question, going on-line",
         {},
         [](Stage& s, Host&) {
             s.panel->updateKRXServiceOnlineState(false);
             s.service.folders[0].profile = "gone"_s;
             s.panel->updateKRXServiceOnlineState(true);
         }},
        {"question, row by mouse", askAgain,
         [](Stage& s, Host&) { s.clickRow("b"_s, View::kIdxFolderColumn); }},
        {"question, row by keyboard", askAgain,
         [](Stage& s, Host&) {
             s.view()->setFocus();
             QTest::keyClick(s.view(), Qt::Key_Down);
         }},
        {"question, sorted by profile",
         {},
         [](Stage& s, Host&) {
             s.view()->sortByColumn(View::kIdxProfileColumn, Qt::AscendingOrder);
             chooseInBox(s.box(), 1);
         }},
        {"question, removal", askAgain, [](Stage& s, Host&) { s.press("delFolderBtn"_s); }},
        {"refusal of copies, box",
         {},
         [](Stage& s, Host& h) {
             h.dialog = 2;
             chooseInBox(s.box(), 2);
         }},
        {"refusal of copies, menu by mouse",
         {},
         [](Stage& s, Host&) {
             s.clickRow("a"_s, View::kIdxProfileColumn);
             chooseInMenuByMouse("p3"_s);
         }},
        {"refusal of copies, menu by keyboard",
         {},
         [](Stage& s, Host&) {
             s.clickRow("a"_s, View::kIdxProfileColumn);
             chooseInMenu(3);
         }},
        {"question, context menu", {}, [](Stage& s, Host&) { chooseInContextMenu(s, "a"_s, "p2"_s); }},
        {"refusal of copies, context menu",
         {},
         [](Stage& s, Host&) { chooseInContextMenu(s, "a"_s, "p3"_s); }},
        {"question, first show",
         [](Stage& s) {
             delete s.panel;
             s.service.folders[0].profile = "gone"_s;
             s.panel = new KRXWindow(nullptr, nullptr);
         },
         [](Stage& s, Host&) { s.panel->show(); }},
        {"question, after the editor",
         {},
         [](Stage& s, Host& h) {
             h.inTheEditor = [&s] {
                 s.service.folders[0].profile = "gone"_s;
                 KRXFolderManager::getInstance().refreshFolders(true);
                 s.editor()->close();
             };
             s.press("profileEditBtn"_s);
         }},
        {"folder chooser", {}, [](Stage& s, Host&) { s.press("addFolderBtn"_s); }},
        {"refusal of a listed folder",
         [](Stage& s) {
             StandInHost::setDirectoryAnswerer(
                 [](const StandInHost::DirectoryRequest&) { return "/media/b"_s; });
             Q_UNUSED(s)
         },
         [](Stage& s, Host&) { s.press("addFolderBtn"_s); }},
        {"failed addition",
         [](Stage& s) {
             StandInHost::setDirectoryAnswerer(
                 [](const StandInHost::DirectoryRequest&) { return "/media/c"_s; });
             s.service.refusals["POST xelmediafolders"_s] = "no"_s;
         },
         [](Stage& s, Host&) { s.press("addFolderBtn"_s); }},
        {"failed removal", [](Stage& s) { s.service.refusals["DELETE xelmediafolders/a"_s] = "no"_s; },
         [](Stage& s, Host&) { s.press("delFolderBtn"_s); }},
        {"acquisition", [](Stage& s) { s.service.folders[0].files = QStringList{"/out/1.xel"_s}; },
         [](Stage& s, Host& h) {
             h.inAnyLoop = true;
             View::setIngestState(s.row("a"_s), View::NewClipsAvailable);
             s.clickRow("a"_s, View::kIdxIngestColumn);
         }},
        {"acquisition by keyboard",
         [](Stage& s) { s.service.folders[0].files = QStringList{"/out/1.xel"_s}; },
         [](Stage& s, Host& h) {
             h.inAnyLoop = true;
             View::setIngestState(s.row("a"_s), View::NewClipsAvailable);
             QTest::keyClick(s.view(), Qt::Key_Return);
         }},
        {"acquisition, context menu",
         [](Stage& s) { s.service.folders[0].files = QStringList{"/out/1.xel"_s}; },
         [](Stage& s, Host& h) {
             h.inAnyLoop = true;
             View::setIngestState(s.row("a"_s), View::NewClipsAvailable);
             QMenu* menu = contextMenuOfRow(s, "a"_s);
             QTest::mouseClick(menu, Qt::LeftButton, {},
                               menu->actionGeometry(menu->actions().at(0)).center());
         }},
    };
    return list;
}

const QList<Case>& editorCases()
{
    static const auto showPlain = [](Stage& s) { s.showEditor("p1"_s); };
    static const QList<Case> list = {
        {"notice, opening",
         [](Stage& s) {
             s.makeForeign(1);
             s.service.folders[0].profile = "p2"_s;
             s.panel->refreshFolders();
         },
         [](Stage& s, Host&) { s.press("profileEditBtn"_s); }},
        {"notice, switching",
         [](Stage& s) {
             s.makeForeign(1);
             s.showEditor("p1"_s);
         },
         [](Stage& s, Host&) { chooseInBox(s.editorBox(), 1); }},
        {"notice, switching in the modal editor", [](Stage& s) { s.makeForeign(1); },
         [](Stage& s, Host& h) {
             h.inTheEditor = [&s] { chooseInBox(s.editorBox(), 1); };
             s.press("profileEditBtn"_s);
         }},
        {"notice, after a deletion",
         [](Stage& s) {
             s.makeForeign(0);
             s.showEditor("p2"_s);
         },
         [](Stage& s, Host& h) {
             h.dialog = 2;
             s.press("delProfileBtn"_s);
         }},
        {"refusal of a second consolidate, keyboard", showEditorWithActions,
         [](Stage& s, Host&) { chooseInBox(typeBox(s), 1); }},
        {"refusal of a second consolidate, mouse", showEditorWithActions,
         [](Stage& s, Host&) {
             typeBox(s)->showPopup();
             auto* items = QApplication::activePopupWidget()->findChild<QAbstractItemView*>();
             const QPoint item = items->visualRect(items->model()->index(1, 0)).center();
             QTest::mouseMove(items->viewport(), item);
             QTest::mouseClick(items->viewport(), Qt::LeftButton, {}, item);
         }},
        {"chooser of a row", showEditorWithActions,
         [](Stage& s, Host&) {
             auto* row = s.editor()->findChild<QWidget*>("filesystemPath"_s);
             QTest::mouseClick(row->findChild<QPushButton*>(), Qt::LeftButton);
         }},
        {"validation", showEditorWithActions, [](Stage& s, Host&) { s.press("KRX_SaveBtn"_s); }},
        {"name of a new profile", showPlain, [](Stage& s, Host&) { s.press("KRX_SaveBtn"_s); }},
        {"name that exists", showPlain,
         [](Stage& s, Host& h) {
             h.dialog = 2;
             h.newName = "Proxy"_s;
             s.press("KRX_SaveBtn"_s);
         }},
        {"failed creation",
         [](Stage& s) {
             s.service.refusals["POST profiles"_s] = "no"_s;
             s.showEditor("p1"_s);
         },
         [](Stage& s, Host& h) {
             h.dialog = 2;
             s.press("KRX_SaveBtn"_s);
         }},
        {"default profile",
         [](Stage& s) {
             s.service.profiles[0].name = "Default Profile"_s;
             s.showEditor("p1"_s);
         },
         [](Stage& s, Host&) { s.press("delProfileBtn"_s); }},
        {"question before a deletion", [](Stage& s) { removeProfile(s); },
         [](Stage& s, Host&) { s.press("delProfileBtn"_s); }},
        {"failed deletion", [](Stage& s) { removeProfile(s, "no"_s); },
         [](Stage& s, Host& h) {
             h.dialog = 2;
             s.press("delProfileBtn"_s);
         }},
        {"question before closing",
         [](Stage& s) {
             s.showEditor("p1"_s);
             s.editor()->updateModifiedState();
         },
         [](Stage& s, Host&) { s.press("KRX_CancelBtn"_s); }},
        {"help from the menu",
         [](Stage& s) {
             StandInHost::setHelpListener([](const StandInHost::HelpRequest&) { letEventsRun(); });
             s.showEditor("p1"_s);
         },
         [](Stage& s, Host& h) {
             h.inAnyLoop = true;
             QMenu* menu = contextMenuOf(s.editor(), QPoint(5, 5));
             QTest::mouseClick(menu, Qt::LeftButton, {},
                               menu->actionGeometry(menu->actions().at(0)).center());
         }},
    };
    return list;
}

} // namespace

Q_DECLARE_METATYPE(const Case*)

class TestHeldDeletion : public QObject
{
    Q_OBJECT

private slots:
    void deletionWaitsForTheDialog_data();
    void deletionWaitsForTheDialog();
    void modalEditorGoesAtOnce_data();
    void modalEditorGoesAtOnce();
    void editorDoesNotOpenWhenItIsGoing();
    void openListGoesWithItsOwner_data();
    void openListGoesWithItsOwner();
};

void TestHeldDeletion::deletionWaitsForTheDialog_data()
{
    QTest::addColumn<const Case*>("dialog");
    QTest::addColumn<bool>("editorGoes");
    for (const Case& one : listCases())
        QTest::addRow("panel, %s", one.name) << &one << false;
    for (const Case& one : editorCases()) {
        QTest::addRow("panel, %s", one.name) << &one << false;
        QTest::addRow("editor, %s", one.name) << &one << true;
    }
}

void TestHeldDeletion::deletionWaitsForTheDialog()
{
    QFETCH(const Case*, dialog);
    QFETCH(bool, editorGoes);
    Stage stage;
    stage.show();
    if (dialog->prepare)
        dialog->prepare(stage);
    const QPointer<QWidget> victim =
        editorGoes ? static_cast<QWidget*>(stage.editor()) : static_cast<QWidget*>(stage.panel);
    Host host(victim);
    host.run([&] { dialog->act(stage, host); });
    QVERIFY2(host.isAsked, "no dialog was open");
    QVERIFY2(!victim, "the deletion was forgotten");
    QVERIFY2(!host.diedDuringTheAct || host.isAskedInTheEditor,
             "it died below the code that opened the dialog");
}

void TestHeldDeletion::modalEditorGoesAtOnce_data()
{
    QTest::addColumn<bool>("editorGoes");
    QTest::newRow("panel") << false;
    QTest::newRow("editor") << true;
}

void TestHeldDeletion::modalEditorGoesAtOnce()
{
    // Nothing is on the way but the editor's own loop, and nobody has to close the editor first.
    QFETCH(bool, editorGoes);
    Stage stage;
    stage.show();
    const QPointer<QWidget> victim =
        editorGoes ? static_cast<QWidget*>(stage.editor()) : static_cast<QWidget*>(stage.panel);
    Host host(victim);
    host.dialog = 0;
    host.run([&] { stage.press("profileEditBtn"_s); });
    QVERIFY(host.isAsked);
    QVERIFY(!victim);
    QVERIFY(host.diedDuringTheAct);
    QCOMPARE(stage.panel.isNull(), !editorGoes);
    if (stage.panel)
        QCOMPARE(stage.editor(), nullptr);
}

void TestHeldDeletion::editorDoesNotOpenWhenItIsGoing()
{
    Stage stage;
    stage.show();
    stage.makeForeign(1);
    stage.service.folders[0].profile = "p2"_s;
    stage.panel->refreshFolders();
    const QPointer<QWidget> victim = stage.panel.data();
    Host host(victim);
    host.run([&] { stage.press("profileEditBtn"_s); });
    QVERIFY(host.isAsked);
    QVERIFY(!host.modalEditorRan);
}

void TestHeldDeletion::openListGoesWithItsOwner_data()
{
    QTest::addColumn<int>("list");
    int number = 0;
    for (const char* list : {"menu of profiles", "context menu", "box", "box of the editor", "help"})
        QTest::newRow(list) << number++;
}

void TestHeldDeletion::openListGoesWithItsOwner()
{
    // None of them runs a loop of its own, so nothing is on the way.
    QFETCH(int, list);
    Stage stage;
    stage.show();
    stage.showEditor("p1"_s);
    const std::function<void()> opens[] = {
        [&] { stage.clickRow("a"_s, View::kIdxProfileColumn); },
        [&] { contextMenuOfRow(stage, "a"_s); },
        [&] { stage.box()->showPopup(); },
        [&] { stage.editorBox()->showPopup(); },
        [&] { contextMenuOf(stage.editor(), QPoint(5, 5)); },
    };
    opens[list]();
    QVERIFY(QApplication::activePopupWidget());
    stage.panel->deleteLater();
    letEventsRun();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!stage.panel);
    QVERIFY(!QApplication::activePopupWidget());
}

QTEST_MAIN(TestHeldDeletion)
#include "test_held_deletion.moc"
