#include "ActivityDocks.h"

#include "JobsPane.h"
#include "NotReadyPane.h"
#include "ServiceFollower.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXProfileManager.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenu>
#include <QPlainTextEdit>
#include <QSet>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QTime>

namespace {

constexpr int kMostLines = 2000;
constexpr int kMessageTime = 8000;
constexpr int kRowPadding = 6;
constexpr int kTimePadding = 12;
const QLatin1String kWidestTime("30 MMM 00:00"); ///< of one that is not today's
constexpr int kDockHeight = 240;                 ///< at least, when it is shown

} // namespace

StatusLink::StatusLink(QWidget* parent)
    : QLabel(parent)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    QFont underlined = font();
    underlined.setUnderline(true);
    setFont(underlined);
}

void StatusLink::mouseReleaseEvent(QMouseEvent* event)
{
    QLabel::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        emit clicked();
}

void StatusLink::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space || event->key() == Qt::Key_Return)
        emit clicked();
    else
        QLabel::keyPressEvent(event);
}

ActivityDocks::ActivityDocks(QMainWindow& window, ServiceFollower& service)
    : QObject(&window)
    , m_window(window)
    , m_service(service)
    , m_jobs(new JobsPane(m_clips))
    , m_notReady(new NotReadyPane(m_clips))
    , m_jobsDock(addDock("jobsDock", tr("Jobs"), m_jobs))
    , m_notReadyDock(addDock("notReadyDock", tr("Why Not Ready?"), m_notReady))
    , m_messagesDock(addDock("messagesDock", tr("Messages"), makeMessages()))
    , m_working(new StatusLink(&window))
    , m_complaints(new StatusLink(&window))
{
    window.tabifyDockWidget(m_jobsDock, m_notReadyDock);
    window.tabifyDockWidget(m_notReadyDock, m_messagesDock);
    m_working->setObjectName(QStringLiteral("workingLink"));
    m_complaints->setObjectName(QStringLiteral("messagesLink"));
    for (StatusLink* link : {m_working, m_complaints})
        window.statusBar()->addPermanentWidget(link);
    connect(m_working, &StatusLink::clicked, this, [this] { show(m_jobsDock); });
    connect(m_complaints, &StatusLink::clicked, this, [this] { show(m_messagesDock); });
    connect(m_jobs, &JobsPane::cancelWanted, &service.monitor(), &ServiceMonitor::cancelTheseJobs);
    connect(m_jobs, &JobsPane::retryWanted, &service.monitor(), &ServiceMonitor::retryTheseJobs);
    connect(&m_feed, &ClipFeed::clipsChanged, this, &ActivityDocks::clipsChanged);
    connect(&m_feed, &ClipFeed::namesChanged, this, [this](const ServiceNames& names) {
        m_hearsNames = true;
        setNames(names);
    });
    connect(&m_feed, &ClipFeed::changed, this, &ActivityDocks::serviceChanged);
    connect(&m_feed, &ClipFeed::listeningChanged, &service.monitor(), &ServiceMonitor::setHeardOfChanges);
    connect(&m_feed, &ClipFeed::listeningChanged, this, [this](bool listens) {
        m_listens = listens;
        m_hearsNames = m_hearsNames && listens;
        // The next service counts its clips anew.
        m_knowsClips = m_knowsClips && listens;
    });
    connect(&service, &ServiceFollower::reported, this, &ActivityDocks::showReport);
    m_messages.follow(m_clips);
    m_notifier.setInFront(QGuiApplication::applicationState() == Qt::ApplicationActive);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this,
            [this](Qt::ApplicationState state) { m_notifier.setInFront(state == Qt::ApplicationActive); });
    showCounts();
}

QDockWidget* ActivityDocks::addDock(const char* name, const QString& title, QWidget* content)
{
    auto* dock = new QDockWidget(title, &m_window);
    dock->setObjectName(QString::fromLatin1(name));
    dock->setWidget(content);
    m_window.addDockWidget(Qt::BottomDockWidgetArea, dock);
    dock->hide();
    // Behind another tab it would be shown and not seen.
    connect(dock->toggleViewAction(), &QAction::triggered, this, [this, dock](bool shown) {
        if (shown)
            show(dock);
    });
    return dock;
}

QWidget* ActivityDocks::makeMessages()
{
    auto* tabs = new QTabWidget;
    tabs->setTabPosition(QTabWidget::South);
    auto* table = new QTableView(tabs);
    table->setObjectName(QStringLiteral("messagesTable"));
    table->setModel(&m_messages);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    // Two lines each: messages hold paths, and advice is a sentence.
    table->verticalHeader()->setDefaultSectionSize(2 * table->fontMetrics().lineSpacing() + kRowPadding);
    table->setShowGrid(false);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setTextElideMode(Qt::ElideMiddle);
    table->horizontalHeader()->setSectionResizeMode(MessageList::Text, QHeaderView::Stretch);
    table->setColumnWidth(MessageList::Time,
                          table->fontMetrics().horizontalAdvance(kWidestTime) + kTimePadding);
    table->setColumnWidth(MessageList::Advice, 260);
    m_log = new QPlainTextEdit(tabs);
    m_log->setObjectName(QStringLiteral("messages"));
    m_log->setReadOnly(true);
    m_log->setMaximumBlockCount(kMostLines);
    tabs->addTab(table, tr("Messages"));
    tabs->addTab(m_log, tr("Log"));
    return tabs;
}

void ActivityDocks::addTo(QMenu& menu) const
{
    for (const QDockWidget* dock : {m_jobsDock, m_notReadyDock, m_messagesDock})
        menu.addAction(dock->toggleViewAction());
}

void ActivityDocks::addMessage(const QString& text, MessageList::Holds holds)
{
    m_messages.add(text, holds);
    addNews(text);
    showCounts();
}

void ActivityDocks::addNews(const QString& text)
{
    addLine(QStringLiteral("%1  %2").arg(QTime::currentTime().toString(Qt::ISODate), text));
}

void ActivityDocks::addLine(const QString& line)
{
    m_log->appendPlainText(line);
}

void ActivityDocks::showReport(const ServiceReport& report)
{
    if (report.online) {
        m_messages.serviceAnswers();
        m_messages.setServiceErrors(report.errors);
        const QSet<QString> known(m_errors.begin(), m_errors.end());
        for (const QString& error : report.errors) {
            if (!known.contains(error))
                m_window.statusBar()->showMessage(error, kMessageTime);
        }
        m_errors = report.errors;
    }
    if (report.online && !m_listens)
        m_feed.listen();
    if (!m_hearsNames)
        setNames(namesOfPanel());
    showCounts();
}

/// What folders and profiles are called as far as the panel knows, which learns of those that others make
/// only when it reads its list again.
ServiceNames ActivityDocks::namesOfPanel()
{
    ServiceNames names;
    const auto& manager = KRXFolderManager::getInstance();
    for (int i = 0; i < manager.countFolders(); ++i) {
        const KRXFolder* folder = manager.getFolder(i);
        names.folders.insert(folder->property(KRXFolderProperties::kId).toString(),
                             folder->property(KRXFolderProperties::kPath).toString());
    }
    for (const auto& item : KRXProfileManager::getInstance().profileItems())
        names.profiles.insert(item.first, item.second);
    return names;
}

void ActivityDocks::setNames(const ServiceNames& names)
{
    QHash<QString, QString> folders;
    for (auto it = names.folders.cbegin(); it != names.folders.cend(); ++it)
        folders.insert(it.key(), it.value().mid(it.value().lastIndexOf(QLatin1Char('/')) + 1));
    m_clips.setNames(folders, names.profiles);
    m_messages.setFolders(names.folders.values());
}

void ActivityDocks::clipsChanged(const ClipNews& news)
{
    int ready = 0;
    int failed = 0;
    QSet<QString> done;
    QHash<QString, ClipState> whole;
    QHash<QString, ClipState>& states = news.isWhole ? whole : m_states;
    for (const ServiceClip& clip : news.clips) {
        const auto before = m_states.value(clip.id, ClipState::Found);
        // What was so when the desk began is no news.
        if (m_knowsClips && before != clip.state) {
            ready += clip.state == ClipState::Offered ? 1 : 0;
            failed += clip.state == ClipState::Failed ? 1 : 0;
            if (clip.state == ClipState::Offered || clip.state == ClipState::Taken)
                done.insert(clip.path);
        }
        states.insert(clip.id, clip.state);
    }
    if (news.isWhole)
        m_states = whole;
    m_knowsClips = true;
    m_clips.apply(news);
    m_messages.clipsAreReady(done);
    m_notifier.tell(ready, failed);
    showCounts();
}

void ActivityDocks::serviceChanged(const QStringList& topics)
{
    Q_UNUSED(topics)
    m_service.monitor().askNow();
}

void ActivityDocks::show(QDockWidget* dock)
{
    dock->show();
    dock->raise();
    if (dock->height() < kDockHeight)
        m_window.resizeDocks({dock}, {kDockHeight}, Qt::Vertical);
}

void ActivityDocks::showCounts()
{
    int working = 0;
    for (const ServiceClip& clip : m_clips.clips())
        working += clip.state == ClipState::Waiting || clip.state == ClipState::Acting ||
                           clip.state == ClipState::Publishing
                       ? 1
                       : 0;
    const int complaints = m_messages.rowCount();
    m_working->setVisible(working > 0);
    m_working->setText(working == 1 ? tr("1 clip in work") : tr("%1 clips in work").arg(working));
    m_complaints->setVisible(complaints > 0);
    m_complaints->setText(complaints == 1 ? tr("1 message") : tr("%1 messages").arg(complaints));
}
