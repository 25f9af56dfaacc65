// How the editor is put together.

#include "HostQtShell.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXProfilesWindow.h"
#include "KRXSettingsController.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"
#include "VProfileComboBox.h"
#include "XelSettingsType.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

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
    keepButtonsInPlace();
}

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
    m_cancelButton = new QPushButton(localised("Cancel"), this);
    m_cancelButton->setObjectName(QStringLiteral("KRX_CancelBtn"));
    connect(m_cancelButton, &QPushButton::clicked, this, &KRXProfilesWindow::cancelBtnPressed);
    m_saveButton = new QPushButton(localised("Save"), this);
    m_saveButton->setObjectName(QStringLiteral("KRX_SaveBtn"));
    connect(m_saveButton, &QPushButton::clicked, this, &KRXProfilesWindow::saveBtnPressed);

    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(m_cancelButton);
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

void KRXProfilesWindow::keepButtonsInPlace()
{
    // Who came since stands behind the buttons in the order of the Tab key.
    QWidget* last = previousInFocusChain();
    while (last != this && (last->focusPolicy() & Qt::TabFocus) == 0)
        last = last->previousInFocusChain();
    if (last != this && last != m_saveButton) {
        setTabOrder(last, m_cancelButton);
        setTabOrder(m_cancelButton, m_saveButton);
    }
    for (QPushButton* button : findChildren<QPushButton*>()) {
        button->setAutoDefault(button == m_saveButton);
        button->setDefault(button == m_saveButton);
    }
}
