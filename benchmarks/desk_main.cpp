// What krx-bench asks of the desk, which is linked with the module that everybody uses and so cannot be part
// of it: measures one thing and prints the numbers, in milliseconds.

#include "ActivityDocks.h"
#include "ClipIntake.h"
#include "DeskPanel.h"
#include "DeskSession.h"
#include "DeskWindow.h"
#include "LinkDocuments.h"
#include "TestHttpServer.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

constexpr int kPatience = 60000;

void require(bool held, const char* what)
{
    if (!held)
        qFatal("the measure means nothing: %s", what);
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
    while (!done)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
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
        QFile file(watch + QStringLiteral("/%1.txt").arg(i));
        require(file.open(QIODevice::WriteOnly) && file.write("no media") > 0, "a file can be written");
        file.close();
        const auto shown = [&] {
            return clips.clips().rowCount() > i && clips.clips().clips().at(i).state == ClipState::Rejected;
        };
        while (!shown())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        late.push_back(double(clips.clips().clips().at(i).since.msecsTo(QDateTime::currentDateTimeUtc())));
    }
    require(table != nullptr, "there is a table");
    std::nth_element(late.begin(), late.begin() + kTimes / 2, late.end());
    std::printf("%.3f\n", late[kTimes / 2]);
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
    else
        return 2;
    return 0;
}
