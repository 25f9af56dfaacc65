#include "KRXProfilesWindow.h"

#include "HostQtShell.h"
#include "HostStatusShell.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "ProfileActionsController.h"
#include "SaveProfileDialog.h"
#include "VProfileComboBox.h"
#include "XelSettingsType.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QRegExp>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QUndoStack>
#include <QVBoxLayout>

#include <algorithm>

using KRXText::localised;

namespace {

constexpr QSize kMinimumWindowSize(400, 60);
constexpr QSize kMinimumScrollSize(500, 50);
constexpr QSize kSmallButtonSize(20, 20);
constexpr int kProfilesBoxWidth = 180;
constexpr int kSettingsLabelHeight = 20;
constexpr int kActionButtonsHeight = 25;

/// The groups that the editor offers, in the order in which they are shown and written.
constexpr XelSettingsType kEditorGroups[] = {PluginSettings, BinsSettings, LinkOptionsSettings,
                                             ZorMetadataSettings};

const QLatin1String kHelpTopic("IDH_ProfileEditor_Window");
constexpr int kWindowHelpFlag = 1;

/// A button of the small square kind that adds or removes something.
QPushButton* makeSmallButton(const QString& text, const char* objectName, const QString& toolTip,
                             QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(QLatin1String(objectName));
    button->setToolTip(toolTip);
    button->setFixedSize(kSmallButtonSize);
    return button;
}

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

KRXProfilesWindow::KRXProfilesWindow(QWidget* parent)
    : QDialog(parent)
    , m_state(this)
    , m_defaultProfileName(localised("Default Profile"))
{
    setMinimumSize(kMinimumWindowSize);
    setWindowTitle(localised("Profile Editor"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(addProfileRow());
    addScrollArea();
    layout->addWidget(m_scrollArea);
    addSummarySection();
    addSettingsSection();
    addActionsPart();
    static_cast<QVBoxLayout*>(m_scrollWidget->layout())->addStretch();
    layout->addLayout(addButtonRow());
    addContextMenu();
    keepEnterForSave();
}

KRXProfilesWindow::~KRXProfilesWindow() = default;

QBoxLayout* KRXProfilesWindow::addProfileRow()
{
    m_profilesBox = new VProfileComboBox(m_state, this);
    m_profilesBox->setObjectName(QStringLiteral("profilesBox"));
    m_profilesBox->setToolTip(localised("Profile to Edit"));
    m_profilesBox->setFixedWidth(kProfilesBoxWidth);
    connect(m_profilesBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &KRXProfilesWindow::profileCurrentIndexChanged);
    m_deleteButton = makeSmallButton(localised("-"), "delProfileBtn", localised("Delete Profile"), this);
    connect(m_deleteButton, &QPushButton::clicked, this, &KRXProfilesWindow::delBtnPressed);

    auto* row = new QHBoxLayout;
    row->addWidget(m_profilesBox);
    row->addWidget(m_deleteButton);
    row->addStretch();
    return row;
}

void KRXProfilesWindow::addScrollArea()
{
    m_scrollArea = new HostQtShell::VScrollWidget<QScrollArea>(this);
    m_scrollArea->setObjectName(QStringLiteral("scrollArea"));
    m_scrollArea->setMinimumSize(kMinimumScrollSize);
    m_scrollArea->setWidgetResizable(true);
    m_scrollWidget = new QWidget;
    m_scrollWidget->setObjectName(QStringLiteral("scrollWidget"));
    auto* layout = new QVBoxLayout(m_scrollWidget);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_scrollArea->setWidget(m_scrollWidget);
}

void KRXProfilesWindow::addSummarySection()
{
    m_summarySection = new KRXTwistWidget(m_scrollWidget, localised("Summary"));
    m_summarySection->setObjectName(QStringLiteral("summaryTwistWidget"));
    m_summarySection->setToolTip(localised("Summary of Selected Folder's Profile"));
    m_summary = new KRXSummaryWidget(m_summarySection);
    m_summary->setObjectName(QStringLiteral("summaryWidget"));
    m_summarySection->addWidgetToBody(m_summary, 0);
    m_scrollWidget->layout()->addWidget(m_summarySection);
    connect(m_summarySection, &KRXTwistWidget::widgetWasResized, this, &KRXProfilesWindow::updateHeight);
}

void KRXProfilesWindow::addSettingsSection()
{
    m_settingsSection = new KRXTwistWidget(m_scrollWidget, localised("Link Settings & Actions"));
    m_settingsSection->setObjectName(QStringLiteral("xelSettingsTwistWidget"));
    m_scrollWidget->layout()->addWidget(m_settingsSection);
    connect(m_settingsSection, &KRXTwistWidget::widgetWasResized, this, &KRXProfilesWindow::updateHeight);

    auto* title = new QLabel(localised("SETTINGS:"));
    title->setFixedHeight(kSettingsLabelHeight);
    m_settingsSection->addWidgetToBody(title, 0);
    m_settingsSection->addWidgetToBody(new QLabel(localised("Linking to files/volumes will:")), 0);

    m_settingsController = new KRXSettingsController(m_settingsSection, this);
    for (XelSettingsType group : kEditorGroups)
        m_settingsController->addNewSetting(group);
    connect(linkOptions()->getEditButton(), &QPushButton::clicked, this,
            &KRXProfilesWindow::showMultiChannelDlg);
}

void KRXProfilesWindow::addActionsPart()
{
    m_settingsSection->addWidgetToBody(new QLabel(localised("ACTIONS:")), 0);
    m_settingsSection->addWidgetToBody(new QLabel(localised("Drag to order:")), 0);

    auto* buttons = new QWidget;
    buttons->setFixedHeight(kActionButtonsHeight);
    QPushButton* add = makeSmallButton(localised("+"), "addActionBtn", localised("Add an Action"), buttons);
    QPushButton* remove =
        makeSmallButton(localised("-"), "delActionBtn", localised("Remove Selected Action"), buttons);
    auto* row = new QHBoxLayout(buttons);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(add);
    row->addWidget(remove);
    row->addStretch();
    m_settingsSection->addWidgetToBody(buttons, 0);

    m_actionsController = new ProfileActionsController(m_settingsSection, this);
    connect(add, &QPushButton::clicked, m_actionsController, &ProfileActionsController::addNewAction);
    connect(remove, &QPushButton::clicked, m_actionsController, &ProfileActionsController::removeAction);
}

QBoxLayout* KRXProfilesWindow::addButtonRow()
{
    auto* cancel = new QPushButton(localised("Cancel"), this);
    cancel->setObjectName(QStringLiteral("KRX_CancelBtn"));
    connect(cancel, &QPushButton::clicked, this, &KRXProfilesWindow::cancelBtnPressed);
    m_saveButton = new QPushButton(localised("Save"), this);
    m_saveButton->setObjectName(QStringLiteral("KRX_SaveBtn"));
    connect(m_saveButton, &QPushButton::clicked, this, &KRXProfilesWindow::saveBtnPressed);

    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(cancel);
    row->addWidget(m_saveButton);
    return row;
}

void KRXProfilesWindow::addContextMenu()
{
    setContextMenuPolicy(Qt::CustomContextMenu);
    m_contextMenu = new QMenu(this);
    m_contextMenu->addAction(localised("What's This?"), this, &KRXProfilesWindow::doWinHelp);
    connect(this, &QWidget::customContextMenuRequested, this, &KRXProfilesWindow::showContextMenu);
}

void KRXProfilesWindow::keepEnterForSave()
{
    for (QPushButton* button : findChildren<QPushButton*>()) {
        button->setAutoDefault(button == m_saveButton);
        button->setDefault(button == m_saveButton);
    }
}

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
    const int index =
        m_profilesBox->findData(currentId, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
    m_profilesBox->setCurrentIndex(std::max(index, 0));
    m_deleteButton->setEnabled(true);
    m_state.setModified(false);
}

void KRXProfilesWindow::updateModifiedState()
{
    m_state.setModified(true);
}

void KRXProfilesWindow::updateHeight()
{
    keepEnterForSave();
    if (!isVisible())
        return;
    const int fixedParts = height() - m_scrollArea->height();
    setNewHeight(m_scrollWidget->layout()->totalSizeHint().height() + fixedParts + layout()->spacing() +
                 layout()->contentsMargins().top());
}

void KRXProfilesWindow::profileCurrentIndexChanged(int index)
{
    refreshProfileSummary(m_profilesBox->itemData(index).toString());
    updateHeight();
}

void KRXProfilesWindow::refreshProfileSummary(const QString& profileId)
{
    KRXProfile profile;
    if (!KRXProfileManager::getInstance().getProfile(profileId, profile))
        return;
    const QVariant xml = profile.property(KRXProfileProperties::kXml);
    QDomDocument document;
    if (!xml.isValid() || !KRXXml::parse(xml.toString(), document))
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
    return m_actionsController->validate(error) && m_settingsController->validate(error);
}

void KRXProfilesWindow::saveBtnPressed()
{
    QString error;
    if (!mayBeSaved(error)) {
        HostQtShell::showManagedMessageBox(this, QMessageBox::Warning, localised("Error occurred"), error,
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
        HostQtShell::showManagedMessageBox(
            this, QMessageBox::Critical, localised("Error occurred"),
            localised("Can't create new profile!\n%1").arg(manager.lastError()), QMessageBox::Ok,
            QMessageBox::Ok);
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
    return HostQtShell::showManagedMessageBox(this, QMessageBox::Question, QString(), question,
                                              QMessageBox::Yes | QMessageBox::No,
                                              QMessageBox::Yes) == QMessageBox::Yes;
}

void KRXProfilesWindow::delBtnPressed()
{
    const int current = m_profilesBox->currentIndex();
    if (current < 0)
        return;
    const QString name = m_profilesBox->currentText();
    if (name == m_defaultProfileName) {
        HostQtShell::showManagedMessageBox(this, QMessageBox::Warning, QString(),
                                           localised("Can't delete %1").arg(name), QMessageBox::Ok,
                                           QMessageBox::Ok);
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
        HostQtShell::showManagedMessageBox(
            this, QMessageBox::Critical, localised("Error occurred"),
            localised("Can't delete selected profile!\n%1").arg(profiles.lastError()), QMessageBox::Ok,
            QMessageBox::Ok);
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
    HostStatusShell::showHelpTopic(kHelpTopic, kWindowHelpFlag);
}

KRXLinkOptionsSettings* KRXProfilesWindow::linkOptions() const
{
    return static_cast<KRXLinkOptionsSettings*>(m_settingsController->getSettingsByType(LinkOptionsSettings));
}

void KRXProfilesWindow::showMultiChannelDlg()
{
    updateMultiChannelLabel(linkOptions()->getMultichannelLabel());
}

void KRXProfilesWindow::closeEvent(QCloseEvent* event)
{
    if (m_state.isModified()) {
        const QPointer<KRXProfilesWindow> self(this);
        const auto answer = HostQtShell::showManagedMessageBox(
            this, QMessageBox::Question, QString(), localised("Exit without saving profile ?"),
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
    if (key == Qt::Key_Plus)
        m_actionsController->addNewAction();
    else
        m_actionsController->removeAction();
    return true;
}
