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

namespace {

Q_LOGGING_CATEGORY(logFolderView, "krx.folderview")

/// Pixels between a profile cell and its menu.
constexpr int kMenuGap = 2;

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
    font.resolve(~0u);
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
        return QStringLiteral("IngestReady.png");
    case AcquisitionInProgress:
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
        const QPixmap icon = HostQtShell::skinnedPixmap(QStringLiteral("NoIngest.png"), ingestIconGroup());
        m_ingestIconSize = (QSizeF(icon.size()) / icon.devicePixelRatio()).toSize();
    }
    QRect area(QPoint(0, 0), m_ingestIconSize);
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
    const int state = getIngestState(m_clickedItem);
    if ((state != NewClipsAvailable && state != AcquisitionInProgress) ||
        !ingestIconArea(index).contains(position))
        return;
    if (!m_callback) {
        // The clips stay on offer: nobody is there to take them.
        qCWarning(logFolderView, "No one is registered to take acquired clips");
        return;
    }
    acquire(getFolderId(m_clickedItem));
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
        for (int i = 0; i < files.size() && self; ++i) {
            HostStatusShell::statusProgressUpdate(KRXText::localised("Acquiring clips from KRX... %1 of %2")
                                                      .arg(QString::number(i), QString::number(files.size())),
                                                  i, files.size());
            showIngestState(folderId, AcquisitionInProgress);
            // The host may do anything here, such as fill the list again or close the panel.
            callback(files.at(i));
        }
        HostStatusShell::statusProgressClose();
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
    if (!m_clickedItemWasSelected)
        return;
    const QString folderId = getFolderId(m_clickedItem);
    const QString currentId = getProfileId(m_clickedItem);
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
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
    const QRect cell = visualRect(index);
    menu->setFont(applicationFont());
    menu->setMinimumWidth(cell.width());
    menu->popup(mapToGlobal(QPoint(cell.left(), cell.bottom() + header()->height() + kMenuGap)));
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
