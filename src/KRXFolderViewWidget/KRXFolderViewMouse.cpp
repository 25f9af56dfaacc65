// What the mouse does in the folder list: acquiring, choosing a profile, tooltips.

#include "HostQtShell.h"
#include "HostStatusShell.h"
#include "KRXDeletionHold.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXFolderViewWidget.h"
#include "KRXModal.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXText.h"

#include <QAction>
#include <QApplication>
#include <QFont>
#include <QHeaderView>
#include <QHelpEvent>
#include <QLoggingCategory>
#include <QMenu>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPixmap>
#include <QPointer>
#include <QSignalBlocker>
#include <QToolTip>

#include <algorithm>

namespace {

Q_LOGGING_CATEGORY(logFolderView, "krx.folderview")

/// Pixels between a profile cell and its menu.
constexpr int kMenuGap = 2;
constexpr QSize kLeastClickArea(16, 16);

QString ingestTooltip(int state)
{
    switch (state) {
    case KRXFolderViewWidget::NewClipsAvailable:
        return KRXText::localised("New clips available");
    case KRXFolderViewWidget::AcquisitionInProgress:
        return KRXText::localised("Linking to clips");
    default:
        return KRXText::localised("No new clips available");
    }
}

/// The application's font with every property set, so that a menu takes none from the view below it.
QFont applicationFont()
{
    QFont font = QApplication::font();
#if QT_VERSION_MAJOR < 6
    font.resolve(~0u);
#else
    font.setResolveMask(~0u);
#endif
    return font;
}

/// The text as a menu shows it, which would take a single "&" for the mark of a shortcut.
QString menuText(QString text)
{
    return text.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

QString KRXFolderViewWidget::ingestIconName(int state)
{
    switch (state) {
    case NewClipsAvailable:
        // Host icon icons/KRX/IngestReady.png; without it: an arrow onto a tray is drawn.
        return QStringLiteral("IngestReady.png");
    case AcquisitionInProgress:
        // Host icon icons/KRX/IngestInProgress.png; without it: three dots are drawn.
        return QStringLiteral("IngestInProgress.png");
    default:
        return QString();
    }
}

QString KRXFolderViewWidget::ingestIconGroup()
{
    return QStringLiteral("icons/KRX");
}

void KRXFolderViewWidget::forgetClickedItem()
{
    m_clickedItem = nullptr;
}

QRect KRXFolderViewWidget::ingestIconArea(const QModelIndex& index) const
{
    if (!m_ingestIconSize.isValid()) {
        // Host icon icons/KRX/NoIngest.png; without it: only its size counts, and the smallest is taken.
        const QPixmap icon = HostQtShell::skinnedPixmap(QStringLiteral("NoIngest.png"), ingestIconGroup());
        m_ingestIconSize = (QSizeF(icon.size()) / icon.devicePixelRatio()).toSize();
    }
    // A skin may have no such picture, or one that nobody can hit.
    QRect area(QPoint(0, 0), m_ingestIconSize.expandedTo(kLeastClickArea));
    area.moveCenter(visualRect(index).center());
    return area;
}

bool KRXFolderViewWidget::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QTreeWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const QPoint position = viewport()->mapFrom(this, help->pos());
    const QModelIndex index = viewport()->rect().contains(position) ? indexAt(position) : QModelIndex();
    if (!index.isValid()) {
        QToolTip::hideText();
        event->ignore();
        return true;
    }
    const int state = getIngestState(itemFromIndex(index));
    if (index.column() == kIdxIngestColumn && state != NoNewClips && ingestIconArea(index).contains(position))
        QToolTip::showText(help->globalPos(), ingestTooltip(state), viewport(), ingestIconArea(index));
    else
        QToolTip::hideText();
    return true;
}

void KRXFolderViewWidget::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        const QPointer<KRXFolderViewWidget> self(this);
        handlePress(event->pos());
        if (!self)
            return;
    }
    QTreeWidget::mousePressEvent(event);
}

void KRXFolderViewWidget::handlePress(const QPoint& position)
{
    m_clickedItem = itemAt(position);
    m_clickedItemWasSelected = m_clickedItem && m_clickedItem->isSelected();
    const QModelIndex index = indexAt(position);
    if (!index.isValid())
        return;
    if (index.column() == kIdxIngestColumn)
        ingestClicked(index, position);
    else if (index.column() == kIdxProfileColumn)
        profileClicked(index);
}

// --- Acquiring -------------------------------------------------------------------------------------------

void KRXFolderViewWidget::ingestClicked(const QModelIndex& index, const QPoint& position)
{
    if (isReady(m_clickedItem) && ingestIconArea(index).contains(position))
        acquireClips(getFolderId(m_clickedItem));
}

bool KRXFolderViewWidget::isReady(const QTreeWidgetItem* row)
{
    const int state = getIngestState(row);
    return state == NewClipsAvailable || state == AcquisitionInProgress;
}

void KRXFolderViewWidget::acquireClips(const QString& folderId)
{
    if (!m_callback) {
        // The clips stay on offer: nobody is there to take them.
        qCWarning(logFolderView, "No one is registered to take acquired clips");
        return;
    }
    acquire(folderId);
}

void KRXFolderViewWidget::acquire(const QString& folderId)
{
    // The host may run an event loop in its callback.
    const KRXDeletionHold hold(this);
    const QPointer<KRXFolderViewWidget> self(this);
    KRXFolder folder;
    if (KRXFolderManager::getInstance().readFolder(folderId, folder)) {
        const QStringList files = folder.property(KRXFolderProperties::kOutputFiles).toStringList();
        const AcquireCallback callback = m_callback;
        HostStatusShell::statusProgressReset();
        int taken = 0;
        for (int i = 0; i < files.size() && self; ++i) {
            HostStatusShell::statusProgressUpdate(KRXText::localised("Acquiring clips from KRX... %1 of %2")
                                                      .arg(QString::number(i), QString::number(files.size())),
                                                  i, files.size());
            showIngestState(folderId, AcquisitionInProgress);
            // The host may do anything here, such as fill the list again or close the panel.
            callback(files.at(i));
            ++taken;
        }
        HostStatusShell::statusProgressClose();
        if (self && taken > 0)
            emit clipsAcquired(folderId, taken);
    }
    if (self)
        showIngestState(folderId, NoNewClips);
}

void KRXFolderViewWidget::showIngestState(const QString& folderId, int state)
{
    QTreeWidgetItem* item = itemByFolderId(folderId);
    if (!item || getIngestState(item) == state)
        return;
    setIngestState(item, state);
    // At once: the event loop does not run while clips are acquired.
    viewport()->repaint(visualRect(indexFromItem(item, kIdxIngestColumn)));
}

// --- Choosing a profile ----------------------------------------------------------------------------------

void KRXFolderViewWidget::profileClicked(const QModelIndex& index)
{
    // The first click on a row only selects it.
    if (m_clickedItemWasSelected)
        openProfileMenu(index);
}

QMenu* KRXFolderViewWidget::openProfileMenu(const QModelIndex& cell)
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addProfiles(menu, itemFromIndex(cell));
    const QRect area = visualRect(cell);
    menu->setFont(applicationFont());
    menu->setMinimumWidth(area.width());
    menu->popup(mapToGlobal(QPoint(area.left(), area.bottom() + header()->height() + kMenuGap)));
    return menu;
}

void KRXFolderViewWidget::addProfiles(QMenu* menu, const QTreeWidgetItem* row)
{
    const QString folderId = getFolderId(row);
    const QString currentId = getProfileId(row);
    const auto profiles = KRXProfileManager::getInstance().profileItems();
    for (const QPair<QString, QString>& profile : profiles) {
        QAction* action = menu->addAction(menuText(profile.second));
        action->setData(profile.first);
        if (profile.first == currentId) {
            action->setCheckable(true);
            action->setChecked(true);
        }
        connect(action, &QAction::triggered, this, [this, folderId, profile] {
            // The list may have been filled again while the menu was open.
            m_clickedItem = itemByFolderId(folderId);
            m_chosenProfile = profile;
        });
        // Runs after the choice was noted: slots run in the order in which they were connected.
        connect(action, &QAction::triggered, this, &KRXFolderViewWidget::updateProfileValue);
    }
}

QAction* KRXFolderViewWidget::chosenAction(const QMenu* menu)
{
    const auto actions = menu->actions();
    const auto chosen = std::find_if(actions.begin(), actions.end(),
                                     [](const QAction* action) { return action->isChecked(); });
    return chosen != actions.end() ? *chosen : actions.value(0);
}

void KRXFolderViewWidget::updateProfileValue()
{
    if (!m_clickedItem)
        return;
    const auto [profileId, profileName] = m_chosenProfile;
    KRXProfile profile;
    KRXProfileManager::getInstance().getProfile(profileId, profile);
    const QStringList copyTo = profile.property(KRXProfileProperties::kCopyToFolder).toStringList();
    if (copyTo.contains(getFolderPath(m_clickedItem))) {
        KRXModal::showMessageBox(this, QMessageBox::Warning, KRXText::localised("Error occurred"),
                                 KRXText::localised("Can't assign %1 profile to this folder. "
                                                    "Folder and Profile [Copy To] action have the same path")
                                     .arg(profileName),
                                 QMessageBox::Ok, QMessageBox::Ok);
        return;
    }
    {
        // One change for the service, not three.
        const QSignalBlocker blocker(this);
        setProfileId(m_clickedItem, profileId);
        setTargetBin(m_clickedItem, profile.property(KRXProfileProperties::kBin).toString());
    }
    setProfileName(m_clickedItem, profileName);
}
