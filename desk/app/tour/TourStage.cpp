#include "TourStage.h"

#include "DemoMedia.h"
#include "DeskSession.h"
#include "DeskWindow.h"

#include "ArrowButton.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXTwistWidget.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRadioButton>
#include <QScrollArea>
#include <QStyle>
#include <QStyleOptionViewItem>

#include <algorithm>

namespace {

/// Where an item view draws a check box in a cell.
QRect checkBoxArea(const QTreeWidget* view, const QRect& cell)
{
    QStyleOptionViewItem option;
    option.initFrom(view);
    option.rect = cell;
    option.features = QStyleOptionViewItem::HasCheckIndicator;
    option.widget = view;
    return view->style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, view);
}

QRect cellArea(QTreeWidgetItem* row, int column)
{
    const QTreeWidget* view = row->treeWidget();
    return view->visualRect(view->model()->index(view->indexOfTopLevelItem(row), column));
}

/// A folder as the service has it now. \return false when it does not answer.
bool freshFolder(const TourStage& stage, const QString& path, KRXFolder& folder)
{
    const QString id = KRXFolderViewWidget::getFolderId(stage.row(path));
    return !id.isEmpty() && KRXFolderManager::getInstance().readFolder(id, folder);
}

} // namespace

TourStage::TourStage(DeskWindow& window, DeskSession& session, TourRunner& runner, RealInput& input,
                     const QString& base)
    : m_window(window)
    , m_session(session)
    , m_project(session.project())
    , m_runner(runner)
    , m_input(input)
    , m_base(base)
    , m_media(QString(base + QLatin1String("/media")))
{
}

QString TourStage::watchedFolder(const QString& name) const
{
    const QString path = QDir(m_base).filePath(name);
    QDir().mkpath(path);
    return path;
}

void TourStage::drop(const QString& fileName, const QString& folder, const QString& newName)
{
    const QString target = QDir(folder).filePath(newName.isEmpty() ? fileName : newName);
    if (!QFile::copy(QDir(m_media).filePath(fileName), target))
        m_runner.fail(QStringLiteral("%1 cannot be copied to %2").arg(fileName, folder));
}

void TourStage::add(const QString& name, const std::function<void()>& action,
                    const TourStep::Condition& after, const QString& picture)
{
    TourStep step;
    step.name = name;
    step.action = action;
    step.after = after;
    step.picture = picture;
    m_runner.add(step);
}

void TourStage::addMenuChoice(const QString& menu, const QString& item, const QString& picture)
{
    add(
        QStringLiteral("The menu \"%1\" opens").arg(QString(menu).remove(QLatin1Char('&'))),
        [this, menu] { clickMenu(menu); }, menuIsOpen(), picture);
    add(
        QStringLiteral("\"%1\" is chosen").arg(QString(item).remove(QLatin1Char('&'))),
        [this, item] { clickMenuItem(item); },
        [this] { return menuIsOpen()().isEmpty() ? QStringLiteral("the menu is still open") : QString(); });
}

QWidget* TourStage::widget(const char* objectName) const
{
    const QList<QWidget*> found = topWindow()->findChildren<QWidget*>(QString::fromLatin1(objectName));
    const auto visible =
        std::find_if(found.begin(), found.end(), [](const QWidget* one) { return one->isVisible(); });
    return visible == found.end() ? nullptr : *visible;
}

QWidget* TourStage::topWindow() const
{
    QWidget* modal = QApplication::activeModalWidget();
    return modal ? modal : &m_window;
}

KRXFolderViewWidget* TourStage::folders() const
{
    return m_window.folderView();
}

KRXTwistWidget* TourStage::section(const QString& title) const
{
    const QList<KRXTwistWidget*> sections = topWindow()->findChildren<KRXTwistWidget*>();
    for (KRXTwistWidget* section : sections) {
        const auto* arrow = section->findChild<ArrowButton*>();
        const auto* label = arrow ? arrow->parentWidget()->findChild<QLabel*>() : nullptr;
        if (label && label->text() == title && section->isVisible())
            return section;
    }
    return nullptr;
}

QAbstractButton* TourStage::button(const QString& text) const
{
    const QList<QAbstractButton*> buttons = topWindow()->findChildren<QAbstractButton*>();
    for (QAbstractButton* button : buttons) {
        if (button->isVisible() && button->text() == text)
            return button;
    }
    return nullptr;
}

QTreeWidgetItem* TourStage::row(const QString& path) const
{
    const QList<QTreeWidgetItem*> found = folders()->findItems(
        path, Qt::MatchExactly | Qt::MatchCaseSensitive, KRXFolderViewWidget::kIdxPathColumn);
    return found.isEmpty() ? nullptr : found.first();
}

QStringList TourStage::clipsIn(const QString& binName) const
{
    QStringList names;
    for (const DeskBin& bin : m_project.bins()) {
        if (bin.name != binName)
            continue;
        for (const DeskClip& clip : bin.clips)
            names << clip.name;
    }
    names.sort();
    return names;
}

void TourStage::click(const QWidget* target)
{
    if (!target)
        return m_runner.fail(QStringLiteral("there is nothing to click on"));
    QPoint place = target->rect().center();
    // These react where their mark and text are, not on the empty rest of a wide one.
    if (qobject_cast<const QCheckBox*>(target) || qobject_cast<const QRadioButton*>(target))
        place.setX(target->style()->pixelMetric(QStyle::PM_IndicatorWidth) / 2);
    m_input.clickAt(target->mapToGlobal(place));
}

void TourStage::clickInside(QWidget* target)
{
    for (QWidget* around = target; around; around = around->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(around))
            area->ensureWidgetVisible(target);
    }
    click(target);
}

void TourStage::answer(QMessageBox::StandardButton button)
{
    const auto* box = qobject_cast<QMessageBox*>(topWindow());
    click(box ? box->button(button) : nullptr);
}

void TourStage::clickPopupItem(const char* boxName, const QString& text)
{
    clickPopupItem(qobject_cast<QComboBox*>(widget(boxName)), text);
}

void TourStage::clickPopupItem(const QComboBox* box, const QString& text)
{
    if (!box || box->findText(text) < 0)
        return m_runner.fail(QStringLiteral("there is no \"%1\" to choose").arg(text));
    const QAbstractItemView* list = box->view();
    const QRect item = list->visualRect(list->model()->index(box->findText(text), box->modelColumn()));
    m_input.clickAt(list->viewport()->mapToGlobal(item.center()));
}

void TourStage::clickCell(QTreeWidgetItem* row, int column)
{
    if (!row)
        return m_runner.fail(QStringLiteral("there is no row to click on"));
    m_input.clickAt(row->treeWidget()->viewport()->mapToGlobal(cellArea(row, column).center()));
}

void TourStage::clickCheckBox(QTreeWidgetItem* row, int column)
{
    if (!row)
        return m_runner.fail(QStringLiteral("there is no row to click on"));
    const QTreeWidget* view = row->treeWidget();
    m_input.clickAt(view->viewport()->mapToGlobal(checkBoxArea(view, cellArea(row, column)).center()));
}

void TourStage::clickMenu(const QString& title)
{
    QMenuBar* bar = m_window.menuBar();
    const QList<QAction*> menus = bar->actions();
    for (QAction* menu : menus) {
        if (menu->text() == title)
            m_input.clickAt(bar->mapToGlobal(bar->actionGeometry(menu).center()));
    }
}

void TourStage::clickMenuItem(const QString& text)
{
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    if (!menu)
        return;
    const QList<QAction*> items = menu->actions();
    for (QAction* item : items) {
        if (item->text() == text)
            m_input.clickAt(menu->mapToGlobal(menu->actionGeometry(item).center()));
    }
}

TourStep::Condition TourStage::menuIsOpen() const
{
    return [] {
        return qobject_cast<QMenu*>(QApplication::activePopupWidget()) ? QString()
                                                                       : QStringLiteral("no menu is open");
    };
}

TourStep::Condition TourStage::popupIsOpen() const
{
    return [] { return QApplication::activePopupWidget() ? QString() : QStringLiteral("no list is open"); };
}

TourStep::Condition TourStage::deskIsOnTop() const
{
    return [] {
        const QWidget* modal = QApplication::activeModalWidget();
        return modal ? QStringLiteral("\"%1\" is still open").arg(modal->windowTitle()) : QString();
    };
}

TourStep::Condition TourStage::boxSays(const QString& beginning) const
{
    return [this, beginning]() -> QString {
        const auto* box = qobject_cast<QMessageBox*>(topWindow());
        if (!box)
            return QStringLiteral("no question is asked");
        return box->text().startsWith(beginning) ? QString()
                                                 : QStringLiteral("the question is: %1").arg(box->text());
    };
}

TourStep::Condition TourStage::boxShows(const char* boxName, const QString& text) const
{
    return [this, boxName, text]() -> QString {
        const auto* box = qobject_cast<QComboBox*>(widget(boxName));
        if (!box)
            return QStringLiteral("%1 is not to be seen").arg(QLatin1String(boxName));
        return box->currentText() == text ? QString()
                                          : QStringLiteral("the box shows \"%1\"").arg(box->currentText());
    };
}

TourStep::Condition TourStage::widgetIsThere(const char* objectName) const
{
    return [this, objectName] {
        return widget(objectName) ? QString()
                                  : QStringLiteral("%1 is not to be seen").arg(QLatin1String(objectName));
    };
}

TourStep::Condition TourStage::rowState(const QString& path, int state) const
{
    return [this, path, state]() -> QString {
        const QTreeWidgetItem* found = row(path);
        if (!found)
            return QStringLiteral("%1 is not listed").arg(path);
        const int now = KRXFolderViewWidget::getIngestState(found);
        return now == state ? QString()
                            : QStringLiteral("%1 is in state %2, not %3").arg(path).arg(now).arg(state);
    };
}

TourStep::Condition TourStage::serviceIsOnline(bool online) const
{
    return [this, online] {
        return m_window.isServiceOnline() == online
                   ? QString()
                   : QStringLiteral("the service is %1")
                         .arg(online ? QLatin1String("not there") : QLatin1String("still there"));
    };
}

TourStep::Condition TourStage::serviceHasFolder(const QString& path, bool enabled) const
{
    return [this, path, enabled]() -> QString {
        KRXFolder folder;
        if (!freshFolder(*this, path, folder))
            return QStringLiteral("the service does not know %1").arg(path);
        const bool is = folder.property(KRXFolderProperties::kEnabled).toString() == QLatin1String("true");
        return is == enabled ? QString()
                             : QStringLiteral("%1 has the wrong enabled flag on the service").arg(path);
    };
}

TourStep::Condition TourStage::serviceHasProfile(const QString& path, const QString& profileName) const
{
    return [this, path, profileName]() -> QString {
        KRXFolder folder;
        KRXProfile profile;
        if (!freshFolder(*this, path, folder))
            return QStringLiteral("the service does not know %1").arg(path);
        const QString id = folder.property(KRXFolderProperties::kProfileId).toString();
        KRXProfileManager::getInstance().getProfile(id, profile);
        const QString name = profile.property(KRXProfileProperties::kName).toString();
        return name == profileName ? QString() : QStringLiteral("the folder has \"%1\"").arg(name);
    };
}

TourStep::Condition TourStage::projectFileHolds(int clips) const
{
    return [this, clips]() -> QString {
        DeskProject saved;
        QString error;
        if (!saved.load(m_project.path(), error))
            return error;
        return saved.clipCount() == clips && m_project.clipCount() == clips
                   ? QString()
                   : QStringLiteral("the project has %1 clips, its file %2")
                         .arg(m_project.clipCount())
                         .arg(saved.clipCount());
    };
}

TourStep::Condition TourStage::outputsWaiting(const QString& path, int count) const
{
    return [this, path, count]() -> QString {
        KRXFolder folder;
        if (!freshFolder(*this, path, folder))
            return QStringLiteral("the service does not know %1").arg(path);
        const QStringList waiting = folder.property(KRXFolderProperties::kOutputFiles).toStringList();
        return waiting.size() == count
                   ? QString()
                   : QStringLiteral("outputs that wait: \"%1\"").arg(waiting.join(QLatin1String("\", \"")));
    };
}

TourStep::Condition TourStage::binHolds(const QString& binName, const QStringList& clips) const
{
    return [this, binName, clips]() -> QString {
        QStringList wanted = clips;
        wanted.sort();
        const QStringList there = clipsIn(binName);
        return there == wanted
                   ? QString()
                   : QStringLiteral("the bin \"%1\" holds: %2").arg(binName, there.join(QLatin1String(", ")));
    };
}
