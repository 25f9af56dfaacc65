// What krx-bench asks of the desk, which is linked with the module that everybody uses and so cannot be part
// of it: measures one thing and prints the numbers, in milliseconds.

#include "ActivityDocks.h"
#include "ClipIntake.h"
#include "ClipTable.h"
#include "DeskPanel.h"
#include "DeskSession.h"
#include "DeskWindow.h"
#include "JobsPane.h"
#include "LinkDocuments.h"
#include "TestHttpServer.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

constexpr int kPatience = 60000;
constexpr int kRest = 200; ///< milliseconds in which nothing is left to be done

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
}

/// Handles events as they come. A timer of its own wakes it in the end.
template <typename Condition>
void waitUntil(Condition holds, const char* what)
{
    QTimer end;
    end.setSingleShot(true);
    end.start(kPatience);
    while (!holds()) {
        require(end.isActive(), what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

/// The longest time in which no event was handled, as an event that always waits sees it.
class Heart
{
public:
    Heart()
    {
        m_timer.callOnTimeout([this] {
            m_longest = std::max(m_longest, m_beat.nsecsElapsed());
            m_beat.start();
        });
        restart();
        m_timer.start(0);
    }
    void restart()
    {
        m_longest = 0;
        m_beat.start();
    }
    double longestMs() const { return double(m_longest) / 1e6; }

private:
    QTimer m_timer;
    QElapsedTimer m_beat;
    qint64 m_longest = 0;
};

/// A desk on a project of its own.
struct Stage
{
    QTemporaryDir dir;
    DeskSession session;
    std::unique_ptr<DeskWindow> window;

    explicit Stage(const ServiceSupervisor::Settings& service)
    {
        QString error;
        require(session.create(dir.filePath(QStringLiteral("Bench.krxproject")), error),
                "a project can be made");
        window = std::make_unique<DeskWindow>(session, service);
        window->show();
        window->start();
        require(QTest::qWaitFor([this] { return window->isServiceOnline(); }, kPatience),
                "the service answers");
    }
    ~Stage()
    {
        window.reset();
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
    }
};

ServiceSupervisor::Settings noService()
{
    ServiceSupervisor::Settings settings;
    settings.program = QStringLiteral("/nowhere/krx-service");
    return settings;
}

void answer(TestHttpServer& server, const QByteArray& folder)
{
    server.setReply("GET", "/KRXService/activity", 200, "<activity><status>StatusIdle</status></activity>");
    server.setReply("GET", "/KRXService/xelmediafolders?level=detail", 200, "<l>" + folder + "</l>");
    server.setReply("GET", "/KRXService/xelmediafolders/f1", 200, folder);
    server.setReply("GET", "/KRXService/profiles?level=detail", 200,
                    "<l><profile><profileDetail><profileName>Default Profile</profileName>"
                    "<profileGUID>p1</profileGUID></profileDetail></profile></l>");
    server.setReply("GET", "/KRXService/jobs/detail?kind=manual&filter=true", 200, "<jobs/>");
    server.setReply("GET", "/KRXService/jobs/status?filter=true", 200, "<jobs/>");
}

/// From the click to the end of the batch, and the longest stall meanwhile.
void acquire(int count)
{
    QTemporaryDir outputs;
    QByteArray files;
    for (int i = 0; i < count; ++i) {
        LinkDocuments::Parts parts;
        parts.id = "id" + QByteArray::number(i);
        const QString path = outputs.filePath(QStringLiteral("%1.xel").arg(i));
        require(LinkDocuments::write(path, LinkDocuments::text(parts)), "documents can be written");
        files += "<fileName>" + path.toUtf8() + "</fileName>";
    }
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    answer(server, "<xelMediaFolder id=\"f1\"><path>/watch</path><profile>p1</profile><enabled>true</enabled>"
                   "<outputXELFiles>" +
                       files + "</outputXELFiles></xelMediaFolder>");
    Stage stage(noService());
    KRXFolderViewWidget* view = stage.window->folderView();
    stage.window->panel()->updateFoldersOutputReadyState({QStringLiteral("f1")});
    view->setCurrentItem(view->topLevelItem(0));
    bool done = false;
    QObject::connect(&stage.session.clips(), &ClipIntake::batchTaken, [&] { done = true; });
    Heart heart;
    QElapsedTimer time;
    time.start();
    QTest::keyClick(view, Qt::Key_Return);
    waitUntil([&] { return done; }, "the clips are taken");
    QCoreApplication::processEvents();
    require(stage.session.project().clipCount() == count, "all clips were taken");
    std::printf("%.3f %.3f\n", double(time.nsecsElapsed()) / 1e6, heart.longestMs());
}

/// How long after the service had it a change stands in the desk's table, in the middle of several.
void show(const QString& program)
{
    QTemporaryDir data;
    ServiceSupervisor::Settings service;
    service.program = program;
    service.arguments = QStringList{QStringLiteral("--data"),     data.path(),
                                    QStringLiteral("--settle"),   QStringLiteral("0.05"),
                                    QStringLiteral("--log-file"), QStringLiteral("none")};
    Stage stage(service);
    const QString watch = stage.dir.filePath(QStringLiteral("watch"));
    require(QDir().mkpath(watch), "a folder can be made");
    KRXFolderManager& folders = KRXFolderManager::getInstance();
    KRXFolder folder;
    require(folders.createFolder(watch, KRXProfileManager::getInstance().getDefaultProfileID(), folder),
            "the folder is taken");
    folder.setProperty("folderEnabled", QStringLiteral("true"));
    require(folders.updateFolder(folder, false), "the folder can be enabled");
    const auto* table = stage.window->findChild<QTableView*>(QStringLiteral("clipsTable"));
    auto& clips = *stage.window->findChild<ActivityDocks*>();
    std::vector<double> late;
    constexpr int kTimes = 11;
    for (int i = 0; i < kTimes; ++i) {
        // What is no media is told of soonest, unless its name says that it belongs to a clip.
        QFile file(watch + QStringLiteral("/%1.doc").arg(i));
        require(file.open(QIODevice::WriteOnly) && file.write("no media") > 0, "a file can be written");
        file.close();
        const auto shown = [&] {
            return clips.clips().rowCount() > i && clips.clips().clips().at(i).state == ClipState::Rejected;
        };
        waitUntil(shown, "the change is shown");
        late.push_back(double(ClockReading::now().steady - clips.clips().clips().at(i).since));
    }
    require(table != nullptr, "there is a table");
    std::nth_element(late.begin(), late.begin() + kTimes / 2, late.end());
    std::printf("%.3f\n", late[kTimes / 2]);
}

/// The panel with many folders is refreshed several times: the longest stall of each, the median of those.
void refresh(int count)
{
    QByteArray list;
    for (int i = 0; i < count; ++i) {
        const QByteArray number = QByteArray::number(i);
        list += "<xelMediaFolder id=\"f" + number + "\"><path>/watch/" + number +
                "</path><profile>p1</profile><enabled>true</enabled></xelMediaFolder>";
    }
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    answer(server, list);
    Stage stage(noService());
    const KRXFolderViewWidget* view = stage.window->folderView();
    require(QTest::qWaitFor([&] { return view->topLevelItemCount() == count; }, kPatience),
            "all folders are listed");
    std::vector<double> stalls;
    constexpr int kTimes = 7;
    for (int i = 0; i < kTimes; ++i) {
        QTest::qWait(kRest);
        Heart heart;
        stage.window->refreshFolders();
        QTest::qWait(kRest);
        stalls.push_back(heart.longestMs());
        require(view->topLevelItemCount() == count, "all folders are listed again");
    }
    std::nth_element(stalls.begin(), stalls.begin() + kTimes / 2, stalls.end());
    std::printf("%.3f\n", stalls[kTimes / 2]);
}

/// The table of many jobs is scrolled from end to end, page by page, while their bars grow: the longest that
/// one page took to be shown.
void scroll(int count)
{
    ClipNews news;
    news.isWhole = true;
    const qint64 now = ClockReading::now().steady;
    for (int i = 0; i < count; ++i) {
        ServiceClip clip;
        clip.id = QString::number(i);
        clip.name = QStringLiteral("Take %1.mov").arg(i);
        clip.path = QStringLiteral("/watch/") + clip.name;
        clip.folderId = QStringLiteral("f1");
        clip.profileId = QStringLiteral("p1");
        clip.state = static_cast<ClipState>(i % (static_cast<int>(ClipState::Rejected) + 1));
        clip.percent = i % 100;
        clip.activity = QStringLiteral("Transcode 1");
        clip.reason = QStringLiteral("Transcoding %1 failed: no space is left on the device").arg(clip.path);
        clip.shownBy = QStringLiteral("j%1").arg(i);
        clip.since = clip.started = now - qint64{i} * 1000;
        clip.took = qint64{i} % 1000 * 1000;
        news.clips.append(clip);
    }
    ClipTable table;
    JobsPane pane(table);
    pane.resize(1000, 400);
    pane.show();
    table.apply(news);
    QTest::qWait(kRest);
    auto* view = pane.findChild<QTableView*>(QStringLiteral("clipsTable"));
    QScrollBar* bar = view->verticalScrollBar();
    require(bar->maximum() > count / 2, "there is something to scroll");
    double longest = 0;
    int pages = 0;
    for (int at = 0; at <= bar->maximum(); at += bar->pageStep(), ++pages) {
        QElapsedTimer time;
        time.start();
        if (pages % 10 == 0) {
            // Two, as two workers have them.
            QVector<ServiceClip> working;
            for (const int row : {pages * 7 % count, count - 1 - pages * 3 % count}) {
                news.clips[row].state = ClipState::Acting;
                news.clips[row].percent = (news.clips[row].percent + 1) % 100;
                working << news.clips[row];
            }
            table.apply({false, working, count});
        }
        bar->setValue(at);
        while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
        }
        longest = std::max(longest, double(time.nsecsElapsed()) / 1e6);
    }
    std::printf("%.3f\n", longest);
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("acquire"))
        acquire(arguments.value(2).toInt());
    else if (arguments.value(1) == QLatin1String("show"))
        show(arguments.value(2));
    else if (arguments.value(1) == QLatin1String("refresh"))
        refresh(arguments.value(2).toInt());
    else if (arguments.value(1) == QLatin1String("scroll"))
        scroll(arguments.value(2).toInt());
    else
        return 2;
    return 0;
}
