#pragma once

#include "FakeFolderService.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "KRXTest.h"
#include "ModelWatch.h"
#include "StandInHost.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMouseEvent>

#include <algorithm>
#include <functional>
#include <memory>

using namespace KRXTest::literals;

/// One folder list on a service in memory, with every question answered by the test.
class FolderViewFixture
{
public:
    FolderViewFixture()
    {
        StandInHost::resetRecords();
        StandInHost::setMessageAnswerer(
            [this](const StandInHost::MessageRequest& request) { return answer(request); });
        service.profiles = {{"p1"_s, "Proxy"_s, "Bin 1"_s, {}, {}}, {"p2"_s, "Conform"_s, "Bin 2"_s, {}, {}}};
        view = std::make_unique<KRXFolderViewWidget>(nullptr);
        KRXTest::watchModel(view.get());
        acquired().clear();
        view->registerCallback([](const QString& path) {
            acquired() << path;
            if (duringAcquisition())
                duringAcquisition()(path);
        });
    }

    ~FolderViewFixture()
    {
        view.reset();
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        StandInHost::resetRecords();
        StandInHost::setSkin(StandInHost::kLightSkin);
        duringAcquisition() = nullptr;
    }

    /// The folders a (/media/a, profile p1) and b (/media/b, profile p2), shown.
    void showTwoFolders()
    {
        service.folders = {{"a"_s, "/media/a"_s, "p1"_s, "false"_s, {}},
                           {"b"_s, "/media/b"_s, "p2"_s, "true"_s, {}}};
        view->fillView();
        show();
    }

    void show()
    {
        view->resize(900, 180);
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        service.clear();
    }

    QTreeWidgetItem* row(const QString& folderId) const { return view->itemByFolderId(folderId); }

    QRect cell(const QString& folderId, int column) const
    {
        const QTreeWidgetItem* item = row(folderId);
        QRect rect = view->visualItemRect(item);
        rect.setLeft(view->columnViewportPosition(column));
        rect.setWidth(view->columnWidth(column));
        return rect;
    }

    void press(const QPoint& position, Qt::MouseButton button = Qt::LeftButton) const
    {
        QTest::mousePress(view->viewport(), button, {}, position);
        if (QWidget* target = view ? view->viewport() : nullptr)
            QTest::mouseRelease(target, button, {}, position);
    }

    void pressCell(const QString& folderId, int column) const { press(cell(folderId, column).center()); }

    /// Whether a click at \a x in the middle of the folder's icon cell acquires.
    bool acquiresAt(const QString& folderId, int x)
    {
        service.clear();
        KRXFolderViewWidget::setIngestState(row(folderId), 1);
        press(QPoint(x, cell(folderId, KRXFolderViewWidget::kIdxIngestColumn).center().y()));
        return !service.lines().isEmpty();
    }

    /// The answer to every message box.
    QMessageBox::StandardButton reply = QMessageBox::Yes;
    /// Runs while a message box is open.
    std::function<void()> whileAsked;

    static QStringList& acquired()
    {
        static QStringList paths;
        return paths;
    }
    static std::function<void(const QString&)>& duringAcquisition()
    {
        static std::function<void(const QString&)> work;
        return work;
    }

    KRXTest::FakeFolderService service;
    std::unique_ptr<KRXFolderViewWidget> view;

private:
    QMessageBox::StandardButton answer(const StandInHost::MessageRequest& request) const
    {
        // A copy, because the work may take itself away.
        if (const auto work = whileAsked)
            work();
        return request.buttons.testFlag(reply) ? reply : request.defaultButton;
    }
};

inline QStringList shownIds(const KRXFolderViewWidget& view)
{
    QStringList ids;
    for (int i = 0; i < view.topLevelItemCount(); ++i)
        ids << KRXFolderViewWidget::getFolderId(view.topLevelItem(i));
    return ids;
}

inline void compareMessage(int index, QMessageBox::Icon icon, const QString& title, const QString& text)
{
    const auto log = StandInHost::messageLog();
    QVERIFY2(log.size() > index, "the message box was not shown");
    QCOMPARE(log.at(index).icon, icon);
    QCOMPARE(log.at(index).title, title);
    QCOMPARE(log.at(index).text, text);
}

inline QMenu* openMenu()
{
    return qobject_cast<QMenu*>(QApplication::activePopupWidget());
}

inline QAction* actionOf(const QMenu* menu, const QString& profileId)
{
    const auto actions = menu->actions();
    const auto found = std::find_if(actions.begin(), actions.end(),
                                    [&](const QAction* a) { return a->data().toString() == profileId; });
    return found == actions.end() ? nullptr : *found;
}

/// Selects the row, then opens its profile menu.
inline QMenu* menuOf(const FolderViewFixture& f, const QString& folderId)
{
    f.view->setCurrentItem(f.row(folderId));
    f.pressCell(folderId, KRXFolderViewWidget::kIdxProfileColumn);
    return openMenu();
}

/// Chooses a profile in the row's menu. \return false when there is no such menu or profile.
inline bool chooseProfile(const FolderViewFixture& f, const QString& folderId, const QString& profileId)
{
    const QMenu* menu = menuOf(f, folderId);
    QAction* action = menu ? actionOf(menu, profileId) : nullptr;
    if (action)
        action->trigger();
    return action;
}
