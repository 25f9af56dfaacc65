#include "KRXProfilesWindow.h"

#include "CodecBox.h"
#include "HostQtShell.h"
#include "HostStatusShell.h"
#include "KRXDeletionHold.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXModal.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXProfileXml.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "SaveProfileDialog.h"
#include "XelSettingsType.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLayout>
#include <QMenu>
#include <QPushButton>
#include <QRegExp>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QUndoStack>

#include <algorithm>

using KRXText::localised;

namespace {

// Host topic IDH_ProfileEditor_Window; without it: "What's This?" shows nothing.
const QLatin1String kHelpTopic("IDH_ProfileEditor_Window");
constexpr int kWindowHelpFlag = 1;

/// The smallest positive number that is not in \a taken.
int firstFreeNumber(QList<int> taken)
{
    std::sort(taken.begin(), taken.end());
    int free = 1;
    for (int number : qAsConst(taken)) {
        if (number == free)
            ++free;
    }
    return free;
}

} // namespace

KRXProfilesWindow::~KRXProfilesWindow() = default;

int KRXProfilesWindow::runModal()
{
    return exec();
}

void KRXProfilesWindow::setNewHeight(int height)
{
    resize(width(), height);
}

void KRXProfilesWindow::initXelSettingsValues() {}
void KRXProfilesWindow::updateMultiChannelLabel(QLabel*) {}
void KRXProfilesWindow::updateKRXWindowInfo() {}
void KRXProfilesWindow::updateCodecBox(CodecBox*) {}
void KRXProfilesWindow::updateEncodingProfileBox(CodecBox*) {}

bool KRXProfilesWindow::mayLeaveProfile(const QString&)
{
    return true;
}

void KRXProfilesWindow::fillListsOf(const CodecBox* box)
{
    connect(box, &CodecBox::updateRezList, this, &KRXProfilesWindow::updateCodecBox);
    connect(box, &CodecBox::codecChanged, this, &KRXProfilesWindow::updateEncodingProfileBox);
}

QComboBox* KRXProfilesWindow::getProfilesBox() const
{
    return m_profilesBox;
}

KRXTwistWidget* KRXProfilesWindow::getCurrentSelectedAction() const
{
    return m_selectedAction;
}

void KRXProfilesWindow::setCurrentSelectedAction(KRXTwistWidget* action)
{
    m_selectedAction = action;
}

void KRXProfilesWindow::updateProfilesBox(const QList<QPair<QString, QString>>& items,
                                          const QString& currentId)
{
    {
        const QSignalBlocker blocker(m_profilesBox);
        m_profilesBox->clear();
        for (const auto& item : items)
            m_profilesBox->addItem(item.second, item.first);
        m_profilesBox->setCurrentIndex(-1);
    }
    if (items.isEmpty()) {
        m_deleteButton->setEnabled(false);
        return;
    }
    // Nobody leaves a profile here: the list is another one.
    m_loadedProfile = QString();
    m_profilesBox->setCurrentIndex(std::max(indexOfProfile(currentId), 0));
    m_deleteButton->setEnabled(true);
    m_state.setModified(false);
}

void KRXProfilesWindow::updateModifiedState()
{
    m_state.setModified(true);
}

void KRXProfilesWindow::updateHeight()
{
    keepButtonsInPlace();
    if (!isVisible())
        return;
    const int fixedParts = height() - m_scrollArea->height();
    setNewHeight(m_scrollWidget->layout()->totalSizeHint().height() + fixedParts + layout()->spacing() +
                 layout()->contentsMargins().top());
}

int KRXProfilesWindow::indexOfProfile(const QString& profileId) const
{
    return m_profilesBox->findData(profileId, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
}

void KRXProfilesWindow::profileCurrentIndexChanged(int index)
{
    if (m_state.isModified() && !mayChoose(index))
        return;
    m_loadedProfile = m_profilesBox->itemData(index).toString();
    refreshProfileSummary(m_loadedProfile);
    updateHeight();
}

/// Whether the host lets a modified profile go for the one at \a index; if not, the box goes back.
bool KRXProfilesWindow::mayChoose(int index)
{
    const int former = m_loadedProfile.isNull() ? -1 : indexOfProfile(m_loadedProfile);
    if (former < 0)
        return true;
    const QVariant chosen = m_profilesBox->itemData(index);
    // The box that emitted the choice goes on after this; so a deletion that was asked for waits.
    const KRXDeletionHold hold(this);
    const QPointer<KRXProfilesWindow> self(this);
    const bool may = mayLeaveProfile(m_profilesBox->itemText(former));
    // While the host asks, the editor may go away, and the box may be filled anew, which loads by itself.
    if (!self || m_profilesBox->currentData() != chosen)
        return false;
    if (!may) {
        const QSignalBlocker blocker(m_profilesBox);
        m_profilesBox->setCurrentIndex(indexOfProfile(m_loadedProfile));
    }
    return may;
}

void KRXProfilesWindow::refreshProfileSummary(const QString& profileId)
{
    QDomDocument document;
    if (!KRXProfileXml::readDocumentOf(profileId, document))
        return;
    m_settingsController->updateUI(document);
    m_actionsController->readXml(document);
    m_summary->updateSummaryFromXML(document);
}

void KRXProfilesWindow::createDefaultProfileIfNeed()
{
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    manager.refreshProfiles(false);
    const auto profiles = manager.getKRXProfileList();
    const bool found = std::any_of(profiles.begin(), profiles.end(), [this](const KRXProfile* profile) {
        return profile->property(KRXProfileProperties::kName).toString() == m_defaultProfileName;
    });
    if (found)
        return;
    QString id;
    manager.createProfile(m_defaultProfileName, m_settingsController, m_actionsController, id);
}

QString KRXProfilesWindow::generateProfileNameForSave() const
{
    QString base = m_profilesBox->currentText();
    if (!base.isEmpty()) {
        // A name that is only a dot and digits keeps them.
        const int number = QRegExp(QStringLiteral("[.]\\d+$"), Qt::CaseSensitive).indexIn(base);
        if (number > 0)
            base.truncate(number);
    }
    if (base.isEmpty())
        base = localised("Untitled");

    // The base goes in as it is: characters that mean something in an expression keep that meaning.
    const QRegExp numbered(QStringLiteral("(%1)[.]\\d+$").arg(base), Qt::CaseSensitive);
    QList<int> taken;
    for (int i = 0; i < m_profilesBox->count(); ++i) {
        const QString name = m_profilesBox->itemText(i);
        if (numbered.indexIn(name) >= 0)
            taken << name.mid(name.lastIndexOf(QLatin1Char('.')) + 1).toInt();
    }
    return QStringLiteral("%1.%2").arg(base, QString::number(firstFreeNumber(taken)));
}

bool KRXProfilesWindow::mayBeSaved(QString& error) const
{
    return m_actionsController->validate(error) && m_actionsController->hasOneConsolidateAtMost(error) &&
           m_settingsController->validate(error);
}

void KRXProfilesWindow::saveBtnPressed()
{
    // The dialog and the host's hook may run event loops of their own.
    const KRXDeletionHold hold(this);
    QString error;
    if (!mayBeSaved(error)) {
        KRXModal::showMessageBox(this, QMessageBox::Warning, localised("Error occurred"), error,
                                 QMessageBox::Ok, QMessageBox::Ok);
        return;
    }
    // The editor may go away with its panel while the dialog is open, and takes the dialog with it.
    const QPointer<KRXProfilesWindow> self(this);
    const QPointer<SaveProfileDialog> dialog(new SaveProfileDialog(this));
    const bool accepted = dialog->exec() == QDialog::Accepted;
    const QString name = dialog ? dialog->profileName() : QString();
    if (dialog)
        dialog->deleteLater();
    if (!self || !accepted || name.isEmpty())
        return;
    saveAs(name);
}

void KRXProfilesWindow::saveAs(const QString& name)
{
    const QPointer<KRXProfilesWindow> self(this);
    KRXProfileManager& manager = KRXProfileManager::getInstance();
    QString id;
    if (manager.createProfile(name, m_settingsController, m_actionsController, id)) {
        m_state.setModified(false);
        manager.refreshProfiles(true);
        updateKRXWindowInfo();
    } else {
        KRXModal::showMessageBox(this, QMessageBox::Critical, localised("Error occurred"),
                                 localised("Can't create new profile!\n%1").arg(manager.lastError()),
                                 QMessageBox::Ok, QMessageBox::Ok);
    }
    // After a failure too, and without the question about unsaved changes: the error was the last word.
    if (self)
        accept();
}

void KRXProfilesWindow::cancelBtnPressed()
{
    close();
}

void KRXProfilesWindow::reject()
{
    close();
}

bool KRXProfilesWindow::confirmDeletion(const QString& name, const QList<QString>& paths)
{
    QString question;
    if (!paths.isEmpty()) {
        question =
            localised("The profile [%1] you are trying to delete is associated with existing KRX folders:\n")
                .arg(name);
        for (const QString& path : paths)
            question += QStringLiteral("%1 \n").arg(path);
        question +=
            localised("If you delete the profile it will be replaced with the Default profile for all "
                      "related KRX folders \n and these folders will be disabled.");
    }
    question += localised("Are you sure you want to delete [%1] profile?").arg(name);
    return KRXModal::showMessageBox(this, QMessageBox::Question, QString(), question,
                                    QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes;
}

void KRXProfilesWindow::delBtnPressed()
{
    const KRXDeletionHold hold(this);
    const int current = m_profilesBox->currentIndex();
    if (current < 0)
        return;
    const QString name = m_profilesBox->currentText();
    if (name == m_defaultProfileName) {
        KRXModal::showMessageBox(this, QMessageBox::Warning, QString(),
                                 localised("Can't delete %1").arg(name), QMessageBox::Ok, QMessageBox::Ok);
        return;
    }
    const QString id = m_profilesBox->itemData(current).toString();

    // Copies: the manager's records may go while the question is open.
    std::vector<std::unique_ptr<KRXFolder>> folders;
    QList<QString> paths;
    const KRXFolderManager& folderManager = KRXFolderManager::getInstance();
    for (int i = 0; i < folderManager.countFolders(); ++i) {
        auto folder = std::make_unique<KRXFolder>();
        if (!KRXFolderManager::getInstance().getFolder(i, *folder) ||
            folder->property(KRXFolderProperties::kProfileId).toString() != id)
            continue;
        paths << folder->property(KRXFolderProperties::kPath).toString();
        folders.push_back(std::move(folder));
    }

    const QPointer<KRXProfilesWindow> self(this);
    if (!confirmDeletion(name, paths) || !self)
        return;
    KRXProfileManager& profiles = KRXProfileManager::getInstance();
    if (!profiles.deleteProfile(id)) {
        KRXModal::showMessageBox(this, QMessageBox::Critical, localised("Error occurred"),
                                 localised("Can't delete selected profile!\n%1").arg(profiles.lastError()),
                                 QMessageBox::Ok, QMessageBox::Ok);
        return;
    }
    profiles.refreshProfiles(true);
    const QString defaultId = profiles.getDefaultProfileID();
    updateProfilesBox(profiles.profileItems(), defaultId);
    if (!self)
        return;
    reassignFolders(folders);
    KRXFolderManager::getInstance().refreshFolders(true);
    updateKRXWindowInfo();
}

void KRXProfilesWindow::reassignFolders(std::vector<std::unique_ptr<KRXFolder>>& folders)
{
    const QString defaultId = KRXProfileManager::getInstance().getDefaultProfileID();
    for (const auto& folder : folders) {
        folder->setProperty(KRXFolderProperties::kEnabled, QStringLiteral("false"));
        folder->setProperty(KRXFolderProperties::kProfileId, defaultId);
        KRXFolderManager::getInstance().updateFolder(*folder, false);
    }
}

void KRXProfilesWindow::showContextMenu(const QPoint& position)
{
    m_contextMenu->popup(mapToGlobal(position));
}

void KRXProfilesWindow::doWinHelp()
{
    // The menu that was clicked is in the middle of its own mouse handling.
    const KRXDeletionHold hold(this);
    HostStatusShell::showHelpTopic(kHelpTopic, kWindowHelpFlag);
}

KRXLinkOptionsSettings* KRXProfilesWindow::linkOptions() const
{
    return static_cast<KRXLinkOptionsSettings*>(m_settingsController->getSettingsByType(LinkOptionsSettings));
}

void KRXProfilesWindow::showMultiChannelDlg()
{
    const KRXDeletionHold hold(this);
    updateMultiChannelLabel(linkOptions()->getMultichannelLabel());
}

void KRXProfilesWindow::closeEvent(QCloseEvent* event)
{
    if (m_state.isModified()) {
        const QPointer<KRXProfilesWindow> self(this);
        const auto answer = KRXModal::showMessageBox(this, QMessageBox::Question, QString(),
                                                     localised("Exit without saving profile ?"),
                                                     QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Ok);
        if (!self)
            return;
        if (answer == QMessageBox::Cancel) {
            event->ignore();
            return;
        }
    }
    event->accept();
    accept();
}

void KRXProfilesWindow::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Minus:
    case Qt::Key_Delete:
    case Qt::Key_Z:
    case Qt::Key_Y:
        // Never passed on, so that a key of the list does nothing else while the list is closed.
        event->setAccepted(runActionKey(event->key(), event->modifiers()));
        return;
    default:
        QDialog::keyPressEvent(event);
    }
}

bool KRXProfilesWindow::runActionKey(int key, Qt::KeyboardModifiers modifiers)
{
    if (key == Qt::Key_Z || key == Qt::Key_Y) {
        QUndoStack* stack = m_actionsController->undoStack();
        const bool undo = key == Qt::Key_Z;
        if (!(modifiers & Qt::ControlModifier) || !(undo ? stack->canUndo() : stack->canRedo()))
            return false;
        if (undo)
            stack->undo();
        else
            stack->redo();
        // A row that went out again cannot stay selected: the next removal would have nothing to remove.
        if (m_selectedAction && !isAncestorOf(m_selectedAction))
            m_selectedAction = nullptr;
        m_settingsSection->updateTWLayout();
        updateHeight();
        return true;
    }
    if (!m_settingsSection->isOpen())
        return false;
    if (key == Qt::Key_Plus) {
        m_actionsController->addNewAction();
    } else {
        m_actionsController->selectRowWithFocus();
        m_actionsController->removeAction();
    }
    return true;
}
