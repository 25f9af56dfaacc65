#include "FolderPane.h"

#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"

#include "HostQtShell.h"

#include <QBoxLayout>
#include <QDir>
#include <QLabel>
#include <QPushButton>

namespace {

constexpr int kButtonSize = 24;

} // namespace

FolderPane::FolderPane(void (*callback)(const QString&), QWidget* parent)
    : QWidget(parent)
    , m_view(new HostQtShell::VScrollWidget<KRXFolderViewWidget>(this))
    , m_add(new QPushButton(QStringLiteral("+"), this))
    , m_remove(new QPushButton(QStringLiteral("-"), this))
    , m_offline(new QLabel(tr("The folder service is not running."), this))
{
    m_view->setObjectName(QStringLiteral("folderViewWidget"));
    m_view->registerCallback(callback);
    m_add->setObjectName(QStringLiteral("addFolderBtn"));
    m_add->setToolTip(tr("Add a folder"));
    m_remove->setObjectName(QStringLiteral("delFolderBtn"));
    m_remove->setToolTip(tr("Remove the selected folder"));
    for (QPushButton* button : {m_add, m_remove})
        button->setFixedSize(kButtonSize, kButtonSize);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_add);
    buttons->addWidget(m_remove);
    buttons->addStretch();
    buttons->addWidget(m_offline);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    layout->addLayout(buttons);

    connect(m_add, &QPushButton::clicked, this, &FolderPane::addFolder);
    connect(m_remove, &QPushButton::clicked, this, &FolderPane::removeFolder);
    connect(m_view, &QTreeWidget::currentItemChanged, this, &FolderPane::refreshButtons);
    refreshButtons();
}

void FolderPane::updateKRXServiceOnlineState(bool online)
{
    if (online == m_online)
        return;
    m_online = online;
    if (online)
        refreshFolders();
    refreshButtons();
}

void FolderPane::refreshFolders()
{
    m_view->fillView();
    m_view->setCurrentItem(m_view->topLevelItem(0));
    refreshButtons();
}

void FolderPane::updateFoldersOutputReadyState(const QStringList& folderIds)
{
    m_view->updateOutputsReadyState(folderIds);
}

void FolderPane::addFolder()
{
    QString path;
    {
        const HostQtShell::NavigationPaneGuard guard;
        path = QDir::toNativeSeparators(HostQtShell::chooseDirectory(this, tr("Select Folder"), QString()));
    }
    if (path.isEmpty())
        return;
    m_view->addFolder(path, KRXProfileManager::getInstance().getDefaultProfileID());
    refreshButtons();
}

void FolderPane::removeFolder()
{
    m_view->delFolder();
    refreshButtons();
}

void FolderPane::refreshButtons()
{
    m_view->setEnabled(m_online);
    m_add->setEnabled(m_online);
    m_remove->setEnabled(m_online && m_view->currentItem());
    m_offline->setVisible(!m_online);
}
