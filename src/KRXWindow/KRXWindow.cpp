#include "KRXWindow.h"

#include "HostQtShell.h"
#include "KRXDeletionHold.h"
#include "KRXFolderViewWidget.h"
#include "KRXModal.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXProfileXml.h"
#include "KRXProfilesWindow.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"

#include <QComboBox>
#include <QDir>
#include <QDomDocument>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QStringList>
#include <QTreeWidget>
#include <QVariant>

namespace {

/// Where the next directory chooser starts, for all panels of the process.
QString& lastDirectory()
{
    static QString directory;
    return directory;
}

} // namespace

KRXWindow::KRXWindow(QWidget* parent, void (*callback)(const QString&))
    : QWidget(parent)
    , m_callback(callback)
{
    initInterior();
}

KRXWindow::~KRXWindow() = default;

// --- For the host ----------------------------------------------------------------------------------------

void KRXWindow::Show() {}

void KRXWindow::openServicesDialog() {}

void KRXWindow::setNewHeight(int) {}

void KRXWindow::initProfilesWindow()
{
    if (!m_profilesWindow)
        setProfilesWindow(new KRXProfilesWindow(this));
    fillProfilesComboBox(m_profilesBox);
}

void KRXWindow::setProfilesWindow(KRXProfilesWindow* window)
{
    m_profilesWindow = window;
}

KRXProfilesWindow* KRXWindow::profilesWindow() const
{
    return m_profilesWindow;
}

void KRXWindow::registerCallback(void (*callback)(const QString&))
{
    m_callback = callback;
}

void KRXWindow::updateFoldersOutputReadyState(const QStringList& folderIds)
{
    m_folderView->updateOutputsReadyState(folderIds);
}

void KRXWindow::updateCurrentProfileIndex(int index)
{
    m_profilesBox->setCurrentIndex(index);
}

void KRXWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    enableUI(isKRXServiceOnline());
    if (!isKRXServiceOnline())
        return;
    if (!m_profilesWindow)
        initProfilesWindow();
    const QPointer<KRXWindow> self(this);
    if (m_firstShow) {
        m_firstShow = false;
        loadFolders();
    }
    // The service may have gone while the user was asked about the first row.
    if (self && isKRXServiceOnline())
        followService();
}

void KRXWindow::updateKRXServiceOnlineState(bool online)
{
    if (m_serviceOnline == online)
        return;
    m_serviceOnline = online;
    enableUI(online);
    if (!online)
        return;
    const QPointer<KRXWindow> self(this);
    loadFolders();
    if (self && isKRXServiceOnline())
        followService();
}

void KRXWindow::refreshFolders()
{
    const QString formerId = KRXFolderViewWidget::getFolderId(m_folderView->currentItem());
    {
        // Restoring what was current is no choice of the user's, so nothing of it may reach the service.
        const QSignalBlocker viewBlocker(m_folderView);
        const QSignalBlocker boxBlocker(m_profilesBox);
        m_folderView->clear();
        m_folderView->fillView();
        // A service that does not answer takes no row away: what is known of it is shown again.
        if (m_folderView->topLevelItemCount() == 0)
            m_folderView->fillRows();
        fillProfilesComboBox(m_profilesBox);
        QTreeWidgetItem* former = m_folderView->itemByFolderId(formerId);
        m_folderView->setCurrentItem(former ? former : m_folderView->topLevelItem(0));
        showProfileOfCurrentRow();
    }
    refreshButtons();
    refreshProfileSummary(profileIdFromComboBox(m_profilesBox));
}

/// Fills the list and makes its first row current.
void KRXWindow::loadFolders()
{
    m_folderView->fillView();
    // Filling refreshed the profiles. A box that did not know them would take the first row's profile for one
    // that is gone, and write another one.
    putItems(m_profilesBox, KRXProfileManager::getInstance().profileItems());
    if (m_folderView->topLevelItemCount() > 0)
        m_folderView->setCurrentItem(m_folderView->topLevelItem(0));
}

/// Brings everything but the list up to date with the service.
void KRXWindow::followService()
{
    fillProfilesComboBox(m_profilesBox);
    showProfileOfCurrentRow();
    refreshButtons();
    refreshProfileSummary(profileIdFromComboBox(m_profilesBox));
}

/// Off-line everything stays shut off, also when the service went while a dialog was open.
void KRXWindow::refreshButtons()
{
    if (!isKRXServiceOnline())
        return;
    refreshStateAddFolderBtn();
    refreshStateDelFolderBtn();
}

// --- Folders ---------------------------------------------------------------------------------------------

void KRXWindow::addFolderBtnPressed()
{
    const QPointer<KRXWindow> self(this);
    QString path;
    {
        const HostQtShell::NavigationPaneGuard guard;
        path = KRXModal::chooseDirectory(this, this, KRXText::localised("Select Folder"), lastDirectory());
    }
    path = QDir::toNativeSeparators(path);
    if (path.isEmpty() || !self)
        return;
    m_folderView->addFolder(path, profileIdFromComboBox(m_profilesBox));
    lastDirectory() = path;
    if (self)
        refreshButtons();
}

void KRXWindow::delFolderBtnPressed()
{
    const QPointer<KRXWindow> self(this);
    m_folderView->delFolder();
    if (self)
        refreshButtons();
}

void KRXWindow::folderItemChanged(QTreeWidgetItem*, int column)
{
    if (column == KRXFolderViewWidget::kIdxProfileColumn)
        refreshCurrentProfileItem();
}

void KRXWindow::folderCurrentItemChanged(QTreeWidgetItem*, QTreeWidgetItem*)
{
    refreshCurrentProfileItem();
}

// --- Profiles --------------------------------------------------------------------------------------------

void KRXWindow::openProfilesWindow()
{
    if (!m_profilesWindow)
        initProfilesWindow();
    if (!m_profilesWindow || m_profilesWindow->isVisible())
        return;
    const QPointer<KRXWindow> self(this);
    if (!offerProfiles())
        return;
    m_profilesWindow->runModal();
    if (!self)
        return;
    const QString formerId = profileIdFromComboBox(m_profilesBox);
    fillProfilesComboBox(m_profilesBox);
    // A deletion in the editor gave its folders to another profile and disabled them. A row that did not know
    // would be written back as it was.
    m_folderView->updateRows();
    if (m_folderView->currentItem())
        refreshCurrentProfileItem();
    else
        m_profilesBox->setCurrentIndex(qMax(0, profileIndex(formerId)));
    if (!self)
        return;
    refreshButtons();
    // The refill left the first item current without a signal, so the summary may be another profile's.
    refreshProfileSummary(profileIdFromComboBox(m_profilesBox));
}

/// Gives the editor its profiles and has it load one, which may open a notice. \return false when the editor
/// or the panel is gone or going by then.
bool KRXWindow::offerProfiles()
{
    // The editor need not be in the panel.
    const KRXDeletionHold holdEditor(m_profilesWindow);
    const KRXDeletionHold hold(this);
    const QPointer<KRXWindow> self(this);
    m_profilesWindow->updateProfilesBox(getActualProfileItems(), profileIdFromComboBox(m_profilesBox));
    return self && m_profilesWindow && !hold.isDeletionAsked() && !holdEditor.isDeletionAsked();
}

void KRXWindow::profileCurrentIndexChanged(int index)
{
    if (index == -1)
        return;
    const QPointer<KRXWindow> self(this);
    refreshCurrentFolderItem();
    if (self)
        refreshProfileSummary(profileIdFromComboBox(m_profilesBox));
}

void KRXWindow::refreshCurrentFolderItem()
{
    QTreeWidgetItem* row = m_folderView->currentItem();
    if (!row)
        return;
    const QString profileId = profileIdFromComboBox(m_profilesBox);
    const QString profileName = m_profilesBox->currentText();
    const QString formerId = KRXFolderViewWidget::getProfileId(row);
    KRXProfile profile;
    KRXProfileManager::getInstance().getProfile(profileId, profile);
    const QStringList copyTo = profile.property(KRXProfileProperties::kCopyToFolder).toStringList();
    if (copyTo.contains(KRXFolderViewWidget::getFolderPath(row))) {
        refuseProfile(profileName, formerId);
        return;
    }
    if (formerId == profileId)
        return;

    const QString folderId = KRXFolderViewWidget::getFolderId(row);
    const QPointer<KRXWindow> self(this);
    {
        // One change for the service, not two.
        const QSignalBlocker blocker(m_folderView->model());
        KRXFolderViewWidget::setProfileId(row, profileId);
    }
    KRXFolderViewWidget::setProfileName(row, profileName);
    // The question about existing files may have let anything happen to the row.
    if (self && KRXProfileManager::getInstance().getProfile(profileId, profile)) {
        KRXFolderViewWidget::setTargetBin(m_folderView->itemByFolderId(folderId),
                                          profile.property(KRXProfileProperties::kBin).toString());
    }
}

void KRXWindow::refuseProfile(const QString& profileName, const QString& formerProfileId)
{
    const int former = profileIndex(formerProfileId);
    if (former >= 0) {
        const QSignalBlocker blocker(m_profilesBox);
        m_profilesBox->setCurrentIndex(former);
    }
    KRXModal::showMessageBox(this, QMessageBox::Warning, KRXText::localised("Error occurred"),
                             KRXText::localised("Can't assign %1 profile to this folder. "
                                                "Folder and Profile [Copy To] action have the same path")
                                 .arg(profileName),
                             QMessageBox::Ok, QMessageBox::Ok);
}

void KRXWindow::refreshCurrentProfileItem()
{
    const QTreeWidgetItem* row = m_folderView->currentItem();
    if (!row || m_profilesBox->count() == 0)
        return;
    const QString profileId = KRXFolderViewWidget::getProfileId(row);
    if (profileId == profileIdFromComboBox(m_profilesBox))
        return;
    if (profileIndex(profileId) < 0)
        putKnownProfileInBox(profileId);
    const int index = qMax(0, profileIndex(profileId));
    if (index == m_profilesBox->currentIndex())
        // The first profile takes the place of one that is gone, and no signal would come to say so.
        profileCurrentIndexChanged(index);
    else
        m_profilesBox->setCurrentIndex(index);
}

/// Fills the box again when the list was filled without it and brought a profile that the box has not seen.
void KRXWindow::putKnownProfileInBox(const QString& profileId)
{
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    KRXProfile profile;
    if (manager.getProfile(profileId, profile))
        putItems(m_profilesBox, manager.profileItems());
}

void KRXWindow::refreshProfileSummary(const QString& profileId)
{
    QDomDocument document;
    if (KRXProfileXml::readDocumentOf(profileId, document))
        m_summaryWidget->updateSummaryFromXML(document);
}

QList<QPair<QString, QString>> KRXWindow::getActualProfileItems()
{
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    manager.refreshProfiles(true);
    return manager.profileItems();
}

void KRXWindow::fillProfilesComboBox(QComboBox* box)
{
    putItems(box, getActualProfileItems());
}

void KRXWindow::putItems(QComboBox* box, const ProfileItems& items)
{
    const QSignalBlocker blocker(box);
    box->clear();
    for (const QPair<QString, QString>& item : items)
        box->addItem(item.second, item.first);
}

QString KRXWindow::profileIdFromComboBox(const QComboBox* box) const
{
    return box->currentData(Qt::UserRole).toString();
}

int KRXWindow::profileIndex(const QString& profileId) const
{
    return m_profilesBox->findData(profileId, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
}

/// Shows the current row's profile in the box, which changes nothing. The box shows none when the profile is
/// gone: whatever is chosen then, the first one too, is a change.
void KRXWindow::showProfileOfCurrentRow()
{
    const QTreeWidgetItem* row = m_folderView->currentItem();
    if (!row)
        return;
    const QSignalBlocker blocker(m_profilesBox);
    m_profilesBox->setCurrentIndex(profileIndex(KRXFolderViewWidget::getProfileId(row)));
}
