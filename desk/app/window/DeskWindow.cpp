#include "DeskWindow.h"

#include "ActivityDocks.h"
#include "BinsPane.h"
#include "DeskPanel.h"
#include "DeskSession.h"
#include "HelpDialog.h"
#include "LinkMediaDialog.h"
#include "ProjectActions.h"
#include "ServiceLight.h"
#include "ServicesDialog.h"
#include "VolumeWatcher.h"

#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "KRXProfilesWindow.h"

#include "HostQtShell.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMenuBar>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QStatusBar>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kWidth = 980;
constexpr int kHeight = 740; ///< with a dock below panel and bins
constexpr int kPaneMargin = 8;
constexpr int kMinBinsHeight = 120;
constexpr double kHeaderFontScale = 0.85;
constexpr int kProgressWidth = 160;
constexpr int kProgressTextWidth = 280;
constexpr int kMessageTime = 8000;
constexpr int kProgressPause = 50; ///< milliseconds between two steps that are painted
/// Milliseconds between two looks at the folders' directories, at most; so many questions to the service lie
/// between them where those follow each other faster.
constexpr int kLookAtFolders = 3000;
constexpr int kLookAtFoldersPolls = 3;

/// The module's callback carries no context, so the one intake of the process is found here.
QPointer<ClipIntake> theIntake;

void acquire(const QString& linkDocument)
{
    if (theIntake)
        theIntake->takeSoon(linkDocument);
}

} // namespace

DeskWindow::DeskWindow(DeskSession& session, const ServiceSupervisor::Settings& service, int pollInterval,
                       QWidget* parent)
    : QMainWindow(parent)
    , m_session(session)
    , m_pollInterval(pollInterval)
    , m_service(service, pollInterval)
    , m_projects(new ProjectActions(session, this))
{
    theIntake = &session.clips();
    setObjectName(QStringLiteral("deskWindow"));
    setHeaderFont();
    makePanes();
    makeStatusBar();
    m_docks = new ActivityDocks(*this, m_service);
    makeMenus();
    resize(QSize(kWidth, kHeight).boundedTo(screen()->availableSize()));
    updateTitle();

    connect(&m_session.project(), &DeskProject::modifiedChanged, this, &DeskWindow::updateTitle);
    connect(&m_session, &DeskSession::accessChanged, this, &DeskWindow::updateTitle);
    connect(m_projects, &ProjectActions::message, this, &DeskWindow::showMessage);
    connect(m_projects, &ProjectActions::saved, this, &DeskWindow::showNews);
    connect(&m_session.clips(), &ClipIntake::failed, this, &DeskWindow::showMessage);
    connect(&m_session.clips(), &ClipIntake::progressed, this, [this](int done, int all) {
        showProgress({done < all ? StandInHost::ProgressStep::Update : StandInHost::ProgressStep::Close,
                      tr("Acquiring clips... %1 of %2").arg(done).arg(all), done, all});
    });
    connect(&m_session.clips(), &ClipIntake::batchTaken, this, [this](const ClipIntake::Batch& batch) {
        showNews(ClipIntake::batchText(batch));
        // The service learns that they were taken when it looks.
        m_service.monitor().askNow();
    });
    connect(&m_session.jobs(), &JobIntake::failed, this, &DeskWindow::showMessage);
    connect(&m_session.jobs(), &JobIntake::taken, &m_service.monitor(), &ServiceMonitor::deleteJob);
    connect(&m_service, &ServiceFollower::message, this, &DeskWindow::showMessage);
    connect(&m_service, &ServiceFollower::absence, this, &DeskWindow::showAbsence);
    connect(&m_service, &ServiceFollower::onlineChanged, this, &DeskWindow::serviceCameOrWent);
    connect(&m_service, &ServiceFollower::reported, this, &DeskWindow::serviceReported);
    connect(&m_service.supervisor(), &ServiceSupervisor::line, m_docks, &ActivityDocks::addLine);
    StandInHost::setProgressListener([this](const StandInHost::ProgressStep& step) { showProgress(step); });
    StandInHost::setHelpListener(
        [this](const StandInHost::HelpRequest& request) { showHelp(request.topic); });
    followVolumes();
    followFocus();
    followRows();
}

DeskWindow::~DeskWindow()
{
    StandInHost::setProgressListener(nullptr);
    StandInHost::setHelpListener(nullptr);
}

void DeskWindow::start()
{
    m_service.start();
}

KRXFolderViewWidget* DeskWindow::folderView() const
{
    return m_panel->getFolderViewWidget();
}

void DeskWindow::refreshFolders()
{
    m_panel->refreshFolders();
}

void DeskWindow::showMessage(const QString& text)
{
    statusBar()->showMessage(text, kMessageTime);
    m_docks->addMessage(text);
}

void DeskWindow::showNews(const QString& text)
{
    statusBar()->showMessage(text, kMessageTime);
    m_docks->addNews(text);
}

/// What is said of a service that is away holds until it answers.
void DeskWindow::showAbsence(const QString& text)
{
    statusBar()->showMessage(text, kMessageTime);
    m_docks->addMessage(text, MessageList::WhileServiceIsAway);
}

void DeskWindow::setDarkSkin(bool dark)
{
    StandInHost::setSkin(dark ? StandInHost::kDarkSkin : StandInHost::kLightSkin);
    (dark ? m_darkSkin : m_lightSkin)->setChecked(true);
    update();
}

void DeskWindow::closeEvent(QCloseEvent* event)
{
    if (!m_projects->mayClose()) {
        event->ignore();
        return;
    }
    QMainWindow::closeEvent(event);
}

void DeskWindow::makePanes()
{
    // A pane with a scroll bar for screens on which the panel does not fit whole.
    m_pane = new QScrollArea(this);
    m_pane->setObjectName(QStringLiteral("panelPane"));
    m_pane->setFrameShape(QFrame::NoFrame);
    m_pane->setWidgetResizable(true);
    auto* content = new QWidget(m_pane);
    m_panel = new DeskPanel(content, &acquire);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_panel);
    column->addStretch();
    m_pane->setWidget(content);
    connect(m_panel, &DeskPanel::heightWanted, this, &DeskWindow::setPaneHeight);
    connect(m_panel, &DeskPanel::servicesDialogWanted, this, &DeskWindow::openServicesDialog);

    m_bins = new BinsPane(m_session.project(), this);
    m_bins->setMinimumHeight(kMinBinsHeight);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(kPaneMargin, kPaneMargin, kPaneMargin, kPaneMargin);
    layout->setSpacing(kPaneMargin);
    layout->addWidget(m_pane);
    layout->addWidget(m_bins, 1);
    setCentralWidget(central);
}

void DeskWindow::setPaneHeight(int height)
{
    // The window grows with the pane as far as its screen goes; beyond that the pane scrolls.
    const int decoration = frameGeometry().height() - geometry().height();
    const int others = this->height() - m_pane->height() - m_bins->height() + m_bins->minimumHeight();
    const int room = screen()->availableGeometry().height() - decoration - others;
    m_pane->setFixedHeight(std::min(height, std::max(room, kMinBinsHeight)));
}

void DeskWindow::followVolumes()
{
    auto* volumes = new VolumeWatcher(this);
    connect(volumes, &VolumeWatcher::changed, this, [this](const QString& mountPoint, int type, int action) {
        folderView()->lookForDirectories();
        if (m_service.isOnline()) {
            const QByteArray name = mountPoint.toUtf8();
            KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>(name.constData()),
                                                   type, action);
        }
    });
    // A directory comes and goes without any notice, too.
    auto* look = new QTimer(this);
    look->setInterval(std::min(kLookAtFolders, kLookAtFoldersPolls * m_pollInterval));
    connect(look, &QTimer::timeout, this, [this] { folderView()->lookForDirectories(); });
    look->start();
}

void DeskWindow::followFocus()
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        // No widget at all has the focus while another program is in front.
        if (now)
            m_panel->setInHighlightState(m_panel->isAncestorOf(now));
    });
}

/// New rows know nothing of clips that are ready, and while nothing changes the service is not asked for
/// long.
void DeskWindow::followRows()
{
    m_readySoon.setSingleShot(true);
    connect(&m_readySoon, &QTimer::timeout, this,
            [this] { m_panel->updateFoldersOutputReadyState(m_readyFolders); });
    // The list of the service is one of many reasons to fill them.
    connect(folderView()->model(), &QAbstractItemModel::rowsInserted, this, [this] { m_readySoon.start(0); });
}

void DeskWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    if (!event->spontaneous())
        m_panel->Show();
}

void DeskWindow::makeStatusBar()
{
    m_progressText = new QLabel(this);
    m_progressText->setObjectName(QStringLiteral("progressText"));
    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("progress"));
    m_progress->setFixedWidth(kProgressWidth);
    m_progress->setTextVisible(false);
    // Progress is shown while no event is handled, so its place is kept and needs no new layout.
    for (QWidget* widget : {static_cast<QWidget*>(m_progressText), static_cast<QWidget*>(m_progress)}) {
        QSizePolicy policy = widget->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        widget->setSizePolicy(policy);
        widget->hide();
    }
    m_progressText->setTextFormat(Qt::PlainText);
    m_progressText->setFixedWidth(kProgressTextWidth);
    m_progressText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_serviceState = new ServiceLight(m_service, this);
    m_serviceState->setObjectName(QStringLiteral("serviceState"));
    statusBar()->addPermanentWidget(m_progressText);
    statusBar()->addPermanentWidget(m_progress);
    statusBar()->addPermanentWidget(m_serviceState);
    connect(m_serviceState, &ServiceLight::message, this, &DeskWindow::showAbsence);
}

void DeskWindow::setHeaderFont()
{
    // The folder list's narrow columns have room for their titles only in smaller type.
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * kHeaderFontScale);
    QApplication::setFont(font, "QHeaderView");
}

void DeskWindow::makeMenus()
{
    makeFileMenu();
    makeViewMenu();
    makeFoldersMenu();
    makeServiceMenu();
    makeHelpMenu();
}

void DeskWindow::makeFileMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&File"));
    m_projects->addTo(menu);
    menu->addSeparator();
    m_linkMedia = menu->addAction(tr("&Link Media with a Profile..."), this, &DeskWindow::linkMedia);
    m_linkMedia->setEnabled(false);
    menu->addSeparator();
    menu->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);
}

void DeskWindow::makeViewMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&View"));
    auto* skins = new QActionGroup(this);
    m_lightSkin = skins->addAction(tr("&Light Skin"));
    m_darkSkin = skins->addAction(tr("&Dark Skin"));
    for (QAction* skin : {m_lightSkin, m_darkSkin})
        skin->setCheckable(true);
    (HostQtShell::currentSkinIndex() < HostQtShell::kFirstDarkSkin ? m_lightSkin : m_darkSkin)
        ->setChecked(true);
    menu->addActions(skins->actions());
    connect(m_lightSkin, &QAction::triggered, this, [this] { setDarkSkin(false); });
    connect(m_darkSkin, &QAction::triggered, this, [this] { setDarkSkin(true); });
    menu->addSeparator();
    m_docks->addTo(*menu);
}

void DeskWindow::makeFoldersMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("F&olders"));
    QAction* refresh =
        menu->addAction(tr("&Refresh"), m_panel, &DeskPanel::refreshFolders, QKeySequence::Refresh);
    // The same choice as in the panel's box, for hands that are on the keyboard.
    QMenu* profiles = menu->addMenu(tr("&Profile of the Selected Folder"));
    connect(menu, &QMenu::aboutToShow, this, [this, refresh, profiles] {
        const QTreeWidgetItem* row = folderView()->currentItem();
        refresh->setEnabled(m_service.isOnline());
        profiles->setEnabled(m_service.isOnline() && row);
        profiles->clear();
        int index = 0;
        const auto items = KRXProfileManager::getInstance().profileItems();
        for (const auto& item : items) {
            QString text = item.second;
            QAction* choice =
                profiles->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")), this,
                                    [this, index] { m_panel->updateCurrentProfileIndex(index); });
            choice->setCheckable(true);
            choice->setChecked(item.first == KRXFolderViewWidget::getProfileId(row));
            ++index;
        }
    });
}

void DeskWindow::makeServiceMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&Service"));
    QAction* start = menu->addAction(tr("&Start Service"), this, [this] { m_service.supervisor().start(); });
    QAction* stop = menu->addAction(tr("S&top Service"), this, [this] { m_service.supervisor().stop(); });
    menu->addSeparator();
    menu->addAction(tr("Services &Manager..."), this, [this] { m_panel->openServicesDialog(); });
    connect(menu, &QMenu::aboutToShow, this, [this, start, stop] {
        start->setEnabled(!m_service.isOnline() && !m_service.supervisor().owns());
        // Somebody else's service is not ours to stop.
        stop->setEnabled(m_service.supervisor().owns());
    });
}

void DeskWindow::makeHelpMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&Help"));
    menu->addAction(
        tr("&Contents"), this, [this] { showHelp(QString()); }, QKeySequence::HelpContents);
    menu->addAction(tr("&About KRX Desk"), this, &DeskWindow::about);
}

void DeskWindow::linkMedia()
{
    LinkMediaDialog dialog(m_panel->editor(), this);
    if (dialog.exec() == QDialog::Accepted)
        m_service.monitor().submitJobs(dialog.files(), dialog.profileId());
    // The editor may have been open above the dialog.
    m_panel->refreshFolders();
}

void DeskWindow::openServicesDialog()
{
    if (!m_services) {
        m_services = new ServicesDialog(this);
        m_services->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_services, &ServicesDialog::startWanted, this, [this] { m_service.supervisor().start(); });
        connect(m_services, &ServicesDialog::stopWanted, this, [this] { m_service.supervisor().stop(); });
        connect(m_services, &ServicesDialog::clearErrorsWanted, &m_service.monitor(),
                &ServiceMonitor::clearErrors);
        connect(m_services, &ServicesDialog::cancelJobsWanted, &m_service.monitor(),
                &ServiceMonitor::cancelJobs);
        connect(m_services, &ServicesDialog::retryJobsWanted, &m_service.monitor(),
                &ServiceMonitor::retryJobs);
        connect(m_services, &ServicesDialog::deleteJobWanted, &m_service.monitor(),
                &ServiceMonitor::deleteJob);
        m_services->showReport(m_service.lastReport(), m_service.supervisor().owns());
    }
    m_services->show();
    m_services->raise();
    m_services->activateWindow();
}

void DeskWindow::showHelp(const QString& topic)
{
    // Above whatever window asked, which may be a modal one.
    QWidget* asking = QApplication::activeModalWidget();
    if (m_help)
        m_help->deleteLater();
    m_help = new HelpDialog(asking ? asking : this);
    m_help->setAttribute(Qt::WA_DeleteOnClose);
    m_help->showTopic(topic);
    m_help->show();
}

void DeskWindow::about()
{
    HostQtShell::showManagedMessageBox(this, QMessageBox::Information, tr("About KRX Desk"),
                                       tr("KRX Desk %1\nA small host around KRX Folders: watched folders, "
                                          "their profiles and the clips that come "
                                          "of them.")
                                           .arg(QApplication::applicationVersion()),
                                       QMessageBox::Ok, QMessageBox::Ok);
}

void DeskWindow::serviceCameOrWent(bool online)
{
    m_linkMedia->setEnabled(online);
    if (online)
        m_panel->editor()->createDefaultProfileIfNeed();
    m_panel->updateKRXServiceOnlineState(online);
    setPaneHeight(m_panel->neededHeight());
    emit serviceOnlineChanged(online);
}

void DeskWindow::serviceReported(const ServiceReport& report)
{
    if (report.online) {
        m_readyFolders = report.readyFolders;
        m_panel->updateFoldersOutputReadyState(m_readyFolders);
        m_session.jobs().follow(report.jobs);
    }
    if (m_services)
        m_services->showReport(report, m_service.supervisor().owns());
}

void DeskWindow::showProgress(const StandInHost::ProgressStep& step)
{
    const bool shown = step.kind == StandInHost::ProgressStep::Update;
    m_progressText->setVisible(shown);
    m_progress->setVisible(shown);
    if (!shown)
        return;
    // Thousands of steps come in a second, and the eye sees a few.
    if (m_progressShown.isValid() && m_progressShown.elapsed() < kProgressPause && step.current > 0)
        return;
    m_progressShown.start();
    m_progressText->setText(step.text);
    m_progress->setRange(0, step.total);
    m_progress->setValue(step.current);
    // No event is handled while clips are acquired, so the bar paints itself.
    statusBar()->repaint();
}

void DeskWindow::updateTitle()
{
    // The program's name comes behind it by itself.
    const QString name = m_session.project().name();
    setWindowTitle(
        QString((m_session.isReadOnly() ? tr("%1 (read-only)").arg(name) : name) + QLatin1String("[*]")));
    setWindowModified(m_session.project().isModified());
}
