#include "DeskWindow.h"

#include "BinsPane.h"
#include "ClipIntake.h"
#include "DeskProject.h"
#include "FolderPane.h"

#include "KRXFolderViewWidget.h"

#include "HostQtShell.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QStatusBar>
#include <QTime>
#include <QVBoxLayout>

namespace {

constexpr int kWidth = 980;
constexpr int kHeight = 640;
constexpr int kPaneMargin = 8;
constexpr double kHeaderFontScale = 0.85;
constexpr int kProgressWidth = 160;
constexpr int kProgressTextWidth = 280;
constexpr int kMaxMessages = 2000;
constexpr int kMessageTime = 8000;
/// One missed answer may be a hiccup; after two the service counts as gone.
constexpr int kUnansweredLimit = 2;

/// The module's callback carries no context, so the one intake of the process is found here.
QPointer<ClipIntake> theIntake;

void acquire(const QString& linkDocument)
{
    if (theIntake)
        theIntake->take(linkDocument);
}

QString projectFilter()
{
    return DeskWindow::tr("KRX Desk projects (*.krxproject)");
}

} // namespace

DeskWindow::DeskWindow(DeskProject& project, const ServiceSupervisor::Settings& service, QWidget* parent)
    : QMainWindow(parent)
    , m_project(project)
    , m_supervisor(service)
    , m_intake(new ClipIntake(project, this))
{
    theIntake = m_intake;
    setObjectName(QStringLiteral("deskWindow"));
    setHeaderFont();
    makePanes();
    makeStatusBar();
    makeMessagesDock();
    makeMenus();
    resize(kWidth, kHeight);
    updateTitle();

    connect(&m_project, &DeskProject::wasReset, this, &DeskWindow::updateTitle);
    connect(&m_project, &DeskProject::modifiedChanged, this, &DeskWindow::updateTitle);
    connect(m_intake, &ClipIntake::failed, this, &DeskWindow::showMessage);
    connect(m_intake, &ClipIntake::taken, this, [this](const QString& clip, const QString& bin, bool doubled) {
        showMessage(doubled ? tr("%1 was acquired before").arg(clip) : tr("%1 is in the bin \"%2\"").arg(clip, bin));
    });
    connect(&m_monitor, &ServiceMonitor::reported, this, &DeskWindow::serviceReported);
    connect(&m_supervisor, &ServiceSupervisor::message, this, &DeskWindow::showMessage);
    connect(&m_supervisor, &ServiceSupervisor::line, m_messages, &QPlainTextEdit::appendPlainText);
    StandInHost::setProgressListener([this](const StandInHost::ProgressStep& step) { showProgress(step); });
}

DeskWindow::~DeskWindow()
{
    StandInHost::setProgressListener(nullptr);
    m_intake->finish();
}

void DeskWindow::start()
{
    m_monitor.start();
}

KRXFolderViewWidget* DeskWindow::folderView() const
{
    return m_folders->getFolderViewWidget();
}

void DeskWindow::refreshFolders()
{
    m_folders->refreshFolders();
}

void DeskWindow::showMessage(const QString& text)
{
    statusBar()->showMessage(text, kMessageTime);
    m_messages->appendPlainText(QStringLiteral("%1  %2").arg(QTime::currentTime().toString(Qt::ISODate), text));
}

void DeskWindow::setDarkSkin(bool dark)
{
    StandInHost::setSkin(dark ? StandInHost::kDarkSkin : StandInHost::kLightSkin);
    (dark ? m_darkSkin : m_lightSkin)->setChecked(true);
    update();
}

void DeskWindow::closeEvent(QCloseEvent* event)
{
    m_intake->finish();
    QString error;
    if (m_project.isModified() && !m_project.save(error)) {
        const auto answer = HostQtShell::showManagedMessageBox(
            this, QMessageBox::Warning, tr("Project not saved"), tr("%1\nQuit all the same?").arg(error),
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        if (answer != QMessageBox::Yes) {
            event->ignore();
            return;
        }
    }
    QMainWindow::closeEvent(event);
}

void DeskWindow::makePanes()
{
    m_folders = new FolderPane(&acquire, this);
    m_bins = new BinsPane(m_project, this);
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(kPaneMargin, kPaneMargin, kPaneMargin, kPaneMargin);
    layout->setSpacing(kPaneMargin);
    layout->addWidget(m_folders);
    layout->addWidget(m_bins, 1);
    setCentralWidget(central);
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
    m_progressText->setFixedWidth(kProgressTextWidth);
    m_progressText->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_serviceState = new QLabel(this);
    m_serviceState->setObjectName(QStringLiteral("serviceState"));
    statusBar()->addPermanentWidget(m_progressText);
    statusBar()->addPermanentWidget(m_progress);
    statusBar()->addPermanentWidget(m_serviceState);
    showServiceState(ServiceReport());
}

void DeskWindow::makeMessagesDock()
{
    m_messages = new QPlainTextEdit(this);
    m_messages->setObjectName(QStringLiteral("messages"));
    m_messages->setReadOnly(true);
    m_messages->setMaximumBlockCount(kMaxMessages);
    m_messagesDock = new QDockWidget(tr("Messages"), this);
    m_messagesDock->setObjectName(QStringLiteral("messagesDock"));
    m_messagesDock->setWidget(m_messages);
    addDockWidget(Qt::BottomDockWidgetArea, m_messagesDock);
    m_messagesDock->hide();
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
    makeServiceMenu();
    makeHelpMenu();
}

void DeskWindow::makeFileMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&File"));
    menu->addAction(tr("&New Project..."), this, &DeskWindow::newProject, QKeySequence::New);
    menu->addAction(tr("&Open Project..."), this, &DeskWindow::openProject, QKeySequence::Open);
    menu->addAction(tr("&Save Project"), this, &DeskWindow::saveProject, QKeySequence::Save);
    menu->addAction(tr("Save Project &As..."), this, &DeskWindow::saveProjectAs, QKeySequence::SaveAs);
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
    (HostQtShell::currentSkinIndex() < HostQtShell::kFirstDarkSkin ? m_lightSkin : m_darkSkin)->setChecked(true);
    menu->addActions(skins->actions());
    connect(m_lightSkin, &QAction::triggered, this, [this] { setDarkSkin(false); });
    connect(m_darkSkin, &QAction::triggered, this, [this] { setDarkSkin(true); });
    menu->addSeparator();
    menu->addAction(m_messagesDock->toggleViewAction());
}

void DeskWindow::makeServiceMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&Service"));
    QAction* start = menu->addAction(tr("&Start Service"), this, [this] { m_supervisor.start(); });
    QAction* stop = menu->addAction(tr("S&top Service"), this, [this] {
        m_supervisor.stop();
        m_monitor.askNow();
    });
    connect(menu, &QMenu::aboutToShow, this, [this, start, stop] {
        start->setEnabled(!m_online && !m_supervisor.owns());
        // Somebody else's service is not ours to stop.
        stop->setEnabled(m_supervisor.owns());
    });
}

void DeskWindow::makeHelpMenu()
{
    QMenu* menu = menuBar()->addMenu(tr("&Help"));
    menu->addAction(tr("&About KRX Desk"), this, &DeskWindow::about);
}

void DeskWindow::newProject()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("New Project"), QFileInfo(m_project.path()).path(),
                                                      projectFilter());
    if (path.isEmpty() || !keepCurrentProject())
        return;
    m_project.create(path.endsWith(QLatin1String(".krxproject")) ? path
                                                                 : QString(path + QLatin1String(".krxproject")));
    saveProject();
}

void DeskWindow::openProject()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Project"), QFileInfo(m_project.path()).path(),
                                                      projectFilter());
    if (path.isEmpty() || !keepCurrentProject())
        return;
    QString error;
    if (!m_project.load(path, error))
        showError(error);
}

void DeskWindow::saveProject()
{
    QString error;
    if (m_project.save(error)) {
        showMessage(tr("%1 is saved").arg(m_project.path()));
        return;
    }
    showError(error);
}

void DeskWindow::saveProjectAs()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save Project As"), m_project.path(), projectFilter());
    if (path.isEmpty())
        return;
    QString error;
    if (!m_project.saveAs(path, error))
        showError(error);
    updateTitle();
}

bool DeskWindow::keepCurrentProject()
{
    QString error;
    if (!m_intake->finish() || (m_project.isModified() && !m_project.save(error))) {
        showMessage(error);
        return false;
    }
    return true;
}

void DeskWindow::showError(const QString& text)
{
    HostQtShell::showManagedMessageBox(this, QMessageBox::Critical, tr("Error occurred"), text, QMessageBox::Ok,
                                       QMessageBox::Ok);
}

void DeskWindow::about()
{
    HostQtShell::showManagedMessageBox(
        this, QMessageBox::Information, tr("About KRX Desk"),
        tr("KRX Desk %1\nA small host around KRX Folders: watched folders, their profiles and the clips that come "
           "of them.")
            .arg(QApplication::applicationVersion()),
        QMessageBox::Ok, QMessageBox::Ok);
}

void DeskWindow::serviceReported(const ServiceReport& report)
{
    m_unanswered = report.online ? 0 : m_unanswered + 1;
    if (!report.online)
        m_supervisor.needService();
    const bool online = report.online || (m_online && m_unanswered < kUnansweredLimit);
    const bool changed = online != m_online;
    m_online = online;
    if (changed)
        m_folders->updateKRXServiceOnlineState(online);
    if (report.online)
        m_folders->updateFoldersOutputReadyState(report.readyFolders);
    showServiceState(report);
    if (changed)
        emit serviceOnlineChanged(online);
}

void DeskWindow::showServiceState(const ServiceReport& report)
{
    QString text = tr("Service: not running");
    QColor color(0x8a, 0x90, 0x99);
    if (m_online && !report.errors.isEmpty()) {
        text = tr("Service: %1").arg(report.errors.last());
        color = QColor(0xd9, 0x8e, 0x04);
    } else if (m_online) {
        text = report.active ? tr("Service: working") : tr("Service: ready");
        color = report.active ? QColor(0x2f, 0x6f, 0xd0) : QColor(0x2e, 0x9e, 0x5b);
    } else if (m_supervisor.owns()) {
        text = tr("Service: starting");
    }
    m_serviceState->setText(QStringLiteral("<span style=\"color:%1\">&#9679;</span> %2")
                                .arg(color.name(), text.toHtmlEscaped()));
    m_serviceState->setToolTip(m_online ? report.errors.join(QLatin1Char('\n')) : report.failure);
    for (const QString& error : report.errors) {
        if (!m_serviceErrors.contains(error))
            showMessage(error);
    }
    if (report.online)
        m_serviceErrors = report.errors;
}

void DeskWindow::showProgress(const StandInHost::ProgressStep& step)
{
    const bool shown = step.kind == StandInHost::ProgressStep::Update;
    m_progressText->setVisible(shown);
    m_progress->setVisible(shown);
    if (!shown)
        return;
    m_progressText->setText(step.text);
    m_progress->setRange(0, step.total);
    m_progress->setValue(step.current);
    // No event is handled while clips are acquired, so the bar paints itself.
    statusBar()->repaint();
}

void DeskWindow::updateTitle()
{
    setWindowTitle(tr("%1[*] - KRX Desk").arg(m_project.name()));
    setWindowModified(m_project.isModified());
}
