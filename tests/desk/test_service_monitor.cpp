#include "ClipFeed.h"
#include "ClipLists.h"
#include "ServiceMonitor.h"
#include "TestHttpServer.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <memory>

namespace {

using ClipLists::clipXml;
using ClipLists::listXml;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

constexpr int kInterval = 10;
const QByteArray kActivity = "/KRXService/activity";
const QByteArray kJobs = "/KRXService/jobs";

const QByteArray kFolderList = "/KRXService/xelmediafolders?level=detail";
const QByteArray kProfileList = "/KRXService/profiles?level=detail";
const QByteArray kChanges = "/KRXService/changes?since=";

QByteArray clipsUrl(int since)
{
    return "/KRXService/clips?since=" + QByteArray::number(since) + "&offset=0&limit=1000";
}
QStringList twelveFiles()
{
    QStringList files;
    for (int i = 0; i < 12; ++i)
        files << QStringLiteral("/media/%1.mov").arg(i);
    return files;
}

ServiceReport reportOf(const QSignalSpy& spy, int index = -1)
{
    const int position = index < 0 ? spy.count() - 1 : index;
    return spy.at(position).at(0).value<ServiceReport>();
}

} // namespace

class TestServiceMonitor : public QObject
{
    Q_OBJECT

private slots:
    void aServiceThatAnswersIsReportedWithItsReadyFolders()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, 200,
                        "<activity><status>StatusActive</status>"
                        "<outputReadyFolder><folderURI>http://h/KRXService/xelmediafolders/f7</folderURI>"
                        "<outputReady>true</outputReady></outputReadyFolder></activity>");
        ServiceMonitor monitor(kInterval);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_VERIFY(spy.count() > 1);
        QVERIFY(reportOf(spy).online);
        QVERIFY(reportOf(spy).active);
        QCOMPARE(reportOf(spy).readyFolders, QStringList{QStringLiteral("f7")});
        QVERIFY(reportOf(spy).errors.isEmpty());
    }

    void anErrorIsForgottenOnceTheServiceForgetsIt()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.addReplyOnce("GET", kActivity,
                            TestHttpServer::Reply::xml("<a><status>StatusIdle</status>"
                                                       "<errorMessage>Disk full</errorMessage></a>"));
        server.setReply("GET", kActivity, 200, "<a><status>StatusIdle</status></a>");
        server.setReply("GET", "/KRXService/errors", 200, "<e><errorMessage>Disk full</errorMessage></e>");
        ServiceMonitor monitor(kInterval);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_VERIFY(spy.count() > 1);
        QCOMPARE(reportOf(spy, 0).errors, QStringList{QStringLiteral("Disk full")});
        QVERIFY(reportOf(spy, 1).errors.isEmpty());
    }

    void aJobThatCompletesBetweenTwoQuestionsIsReportedWithAllItsOutputs()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, 200, "<activity><status>StatusActive</status></activity>");
        // Its last clip is offered and it is complete as soon as anything was asked about it.
        const auto asked = std::make_shared<std::atomic<int>>(0);
        server.setHandler([asked](const TestHttpServer::Request& request) {
            const bool isOver = (*asked)++ > 0;
            if (request.target.startsWith(kJobs + "/status"))
                return TestHttpServer::Reply::xml(
                    isOver ? "<a><jobStatus><id>j1</id><state>COMPLETED</state><complete>true</complete>"
                             "<percentComplete>100</percentComplete></jobStatus></a>"
                           : "<a><jobStatus><id>j1</id><state>RUNNING</state><complete>false</complete>"
                             "<percentComplete>50</percentComplete></jobStatus></a>");
            return TestHttpServer::Reply::xml(
                QByteArray(
                    "<a><jobInfo><id>j1</id><path>/m</path><outputXELFiles><fileName>/1.xel</fileName>") +
                (isOver ? "<fileName>/2.xel</fileName>" : "") + "</outputXELFiles></jobInfo></a>");
        });
        ServiceMonitor monitor(kInterval);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        const auto isComplete = [](const ServiceReport& report) {
            return !report.jobs.isEmpty() && report.jobs.first().complete;
        };
        QTRY_VERIFY(!spy.isEmpty() && isComplete(reportOf(spy)));
        for (int i = 0; i < spy.count(); ++i) {
            if (isComplete(reportOf(spy, i)))
                QCOMPARE(reportOf(spy, i).jobs.first().outputs.size(), 2);
        }
    }

    void anAbsentServiceIsReportedWithTheReason()
    {
        const RefusingPort port;
        const ScopedConnectPort connect(port.port());
        ServiceMonitor monitor(kInterval);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_VERIFY(spy.count() > 1);
        QVERIFY(!reportOf(spy).online);
        QVERIFY(!reportOf(spy).failure.isEmpty());
    }

    void aHangingServiceDoesNotHoldUpThisThread()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, TestHttpServer::Reply::xml("<a/>").heldBack());
        ServiceMonitor monitor(kInterval);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_COMPARE(server.requestCount(), 1);
        // The question is under way and unanswered, and this thread goes on handling events.
        int beats = 0;
        QTimer heart;
        connect_(heart, beats);
        heart.start(0);
        QTRY_VERIFY(beats > 100);
        QCOMPARE(spy.count(), 0);
        server.release();
        QTRY_VERIFY(spy.count() > 0);
        QVERIFY(reportOf(spy, 0).online);
    }

    void reportsArriveInTheThreadOfTheMonitor()
    {
        const RefusingPort port;
        const ScopedConnectPort connect(port.port());
        ServiceMonitor monitor(kInterval);
        QThread* where = nullptr;
        QObject::connect(&monitor, &ServiceMonitor::reported, &monitor,
                         [&] { where = QThread::currentThread(); });
        monitor.start();
        QTRY_VERIFY(where);
        QCOMPARE(where, QThread::currentThread());
    }

    void askingNowDoesNotWaitForTheInterval()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, 200, "<a/>");
        ServiceMonitor monitor(1000 * 1000);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_COMPARE(spy.count(), 1);
        monitor.askNow();
        QTRY_COMPARE(spy.count(), 2);
    }

    void filesForASilentServiceWaitAfterTheFirstSilence()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        // It falls silent with the first file, and not a moment before.
        const auto isSilent = std::make_shared<std::atomic<bool>>(false);
        server.setHandler([isSilent](const TestHttpServer::Request& request) {
            if (request.method == "POST")
                *isSilent = true;
            return *isSilent ? TestHttpServer::Reply::bare(503) : TestHttpServer::Reply::xml("<a/>");
        });
        ServiceMonitor monitor(kInterval);
        QSignalSpy failed(&monitor, &ServiceMonitor::commandFailed);
        QSignalSpy wait(&monitor, &ServiceMonitor::submissionsWait);
        QSignalSpy spy(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_VERIFY(spy.count() > 0);
        monitor.submitJobs(twelveFiles(), QStringLiteral("p1"));
        QTRY_COMPARE(wait.count(), 1);
        QCOMPARE(failed.count(), 1);
        QVERIFY(
            failed.at(0).at(0).toString().startsWith(QLatin1String("/media/0.mov could not be submitted: ")));
        QCOMPARE(wait.at(0).at(0).toString(),
                 QStringLiteral("11 files are submitted when the service is back"));
        // However often it is asked in vain, nothing more is sent.
        const int before = server.requestCount("GET", kActivity);
        QTRY_VERIFY(server.requestCount("GET", kActivity) > before + 5);
        QCOMPARE(server.requestCount("POST", kJobs), 1);
        server.setReply("GET", kActivity, 200, "<a/>");
        server.setReply("POST", kJobs, 200, "<jobInfo><id>j</id></jobInfo>");
        QTRY_COMPARE(server.requestCount("POST", kJobs), 12);
        QCOMPARE(failed.count() + wait.count(), 2);
    }

    void aRefusedFileHoldsUpNoOther()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, 200, "<a/>");
        server.setReply("POST", kJobs, 200, "<jobInfo><id>j</id></jobInfo>");
        server.addReplyOnce("POST", kJobs, TestHttpServer::Reply::text(409, "no such file"));
        ServiceMonitor monitor(kInterval);
        QSignalSpy failed(&monitor, &ServiceMonitor::commandFailed);
        monitor.start();
        monitor.submitJobs(twelveFiles(), QStringLiteral("p1"));
        QTRY_COMPARE(server.requestCount("POST", kJobs), 12);
        QCOMPARE(failed.count(), 1);
    }

    void nothingMoreIsSubmittedAtTheEnd()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kActivity, 200, "<a/>");
        server.setReply("POST", kJobs, TestHttpServer::Reply::xml("<a/>").heldBack());
        {
            ServiceMonitor monitor(kInterval);
            QSignalSpy spy(&monitor, &ServiceMonitor::reported);
            monitor.start();
            QTRY_VERIFY(spy.count() > 0);
            monitor.submitJobs(twelveFiles(), QStringLiteral("p1"));
            QTRY_COMPARE(server.requestCount("POST", kJobs), 1);
        }
        QCOMPARE(server.requestCount("POST", kJobs), 1);
    }

    void aMonitorThatWasNeverStartedGoesQuietly()
    {
        ServiceMonitor monitor(kInterval);
        monitor.askNow();
    }

    void theFeedTellsAllClipsAndThenWhatChanges()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kChanges + "0", 200,
                        "<changes version=\"5\"><changed>clips</changed></changes>");
        server.setReply("GET", clipsUrl(0), 200, listXml(1, clipXml("c1", "WAITING")));
        server.setReply("GET", kChanges + "5", 200,
                        "<changes version=\"6\"><changed>clips</changed><changed>jobs</changed></changes>");
        server.setReply("GET", clipsUrl(5), 200, listXml(2, clipXml("c2", "FOUND"), 6));
        server.setReply("GET", kChanges + "6", TestHttpServer::Reply::never());
        ClipFeed feed;
        QSignalSpy clips(&feed, &ClipFeed::clipsChanged);
        QSignalSpy topics(&feed, &ClipFeed::changed);
        QSignalSpy listening(&feed, &ClipFeed::listeningChanged);
        QCOMPARE(server.requestCount(), 0);
        feed.listen();
        QTRY_COMPARE(clips.count(), 2);
        QVERIFY(clips.at(0).at(0).value<ClipNews>().isWhole);
        QVERIFY(!clips.at(1).at(0).value<ClipNews>().isWhole);
        QCOMPARE(clips.at(1).at(0).value<ClipNews>().clips.at(0).id, s("c2"));
        QTRY_COMPARE(topics.count(), 1);
        QCOMPARE(topics.at(0).at(0).toStringList(), (QStringList{s("clips"), s("jobs")}));
        QCOMPARE(listening.count(), 1);
        QVERIFY(listening.at(0).at(0).toBool());
        // What it waits for is cut short by its end.
        QTRY_COMPARE(server.requestCount("GET", kChanges + "6"), 1);
    }

    void aFeedThatCountsAnotherNumberReadsAllAgain()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kChanges + "0", 200, "<changes version=\"5\"/>");
        server.addReplyOnce(
            "GET", clipsUrl(0),
            TestHttpServer::Reply::xml(listXml(2, clipXml("c1", "TAKEN") + clipXml("c2", "TAKEN"))));
        server.setReply("GET", kChanges + "5", 200,
                        "<changes version=\"6\"><changed>clips</changed></changes>");
        server.setReply("GET", clipsUrl(5), 200, listXml(1, clipXml("c2", "TAKEN"), 6));
        server.setReply("GET", clipsUrl(0), 200, listXml(1, clipXml("c2", "TAKEN"), 6));
        server.setReply("GET", kChanges + "6", TestHttpServer::Reply::never());
        ClipFeed feed;
        QSignalSpy clips(&feed, &ClipFeed::clipsChanged);
        feed.listen();
        QTRY_COMPARE(clips.count(), 2);
        QVERIFY(clips.at(1).at(0).value<ClipNews>().isWhole);
        QCOMPARE(clips.at(1).at(0).value<ClipNews>().clips.size(), 1);
    }

    void theFeedTellsWhatFoldersAndProfilesAreCalledWhoeverMadeThem()
    {
        const QByteArray folders =
            "<xelMediaFolderDetailList><xelMediaFolder id=\"f1\"><enabled>true</enabled>"
            "<path>/in/&lt;one&gt;</path><outputXELFiles><fileName>x</fileName>"
            "</outputXELFiles></xelMediaFolder>%1</xelMediaFolderDetailList>";
        const QByteArray other = "<xelMediaFolder id=\"f2\"><path>/in/two</path></xelMediaFolder>";
        const QByteArray profiles =
            "<profileDetailList><profile><profileDetail><profileName>%1</profileName><profileGUID>p1"
            "</profileGUID></profileDetail><xelSettings><profileName>no</profileName>"
            "</xelSettings></profile></profileDetailList>";
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kChanges + "0", 200, "<changes version=\"5\"/>");
        server.setReply("GET", clipsUrl(0), 200, listXml(0, {}));
        server.addReplyOnce("GET", kFolderList,
                            TestHttpServer::Reply::xml(QByteArray(folders).replace("%1", "")));
        server.addReplyOnce("GET", kProfileList,
                            TestHttpServer::Reply::xml(QByteArray(profiles).replace("%1", "Old")));
        server.setReply("GET", kChanges + "5", 200,
                        "<changes version=\"6\"><changed>folders</changed></changes>");
        server.addReplyOnce("GET", kFolderList,
                            TestHttpServer::Reply::xml(QByteArray(folders).replace("%1", other)));
        server.addReplyOnce("GET", kProfileList,
                            TestHttpServer::Reply::xml(QByteArray(profiles).replace("%1", "Old")));
        server.setReply("GET", kChanges + "6", 200,
                        "<changes version=\"7\"><changed>profiles</changed></changes>");
        server.setReply("GET", kFolderList, 200, QByteArray(folders).replace("%1", other));
        server.setReply("GET", kProfileList, 200, QByteArray(profiles).replace("%1", "New"));
        server.setReply("GET", kChanges + "7", TestHttpServer::Reply::never());
        ClipFeed feed;
        QSignalSpy names(&feed, &ClipFeed::namesChanged);
        feed.listen();
        QTRY_COMPARE(names.count(), 3);
        const auto at = [&](int i) { return names.at(i).at(0).value<ServiceNames>(); };
        QCOMPARE(at(0).folders, (QHash<QString, QString>{{s("f1"), s("/in/<one>")}}));
        QCOMPARE(at(1).folders,
                 (QHash<QString, QString>{{s("f1"), s("/in/<one>")}, {s("f2"), s("/in/two")}}));
        QCOMPARE(at(1).profiles, (QHash<QString, QString>{{s("p1"), s("Old")}}));
        QCOMPARE(at(2).profiles, (QHash<QString, QString>{{s("p1"), s("New")}}));
    }

    void aServiceThatKnowsNoChangesIsAskedAgainOnlyWhenTold()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        ClipFeed feed;
        QSignalSpy listening(&feed, &ClipFeed::listeningChanged);
        feed.listen();
        QVERIFY(server.waitForRequests(1));
        feed.listen();
        QVERIFY(server.waitForRequests(2));
        QCOMPARE(listening.count(), 0);
    }

    void aServiceThatGoesWhileItIsListenedToIsNoticed()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", kChanges + "0", 200, "<changes version=\"5\"/>");
        server.setReply("GET", clipsUrl(0), 200, listXml(0, {}));
        server.setReply("GET", kChanges + "5", TestHttpServer::Reply::never());
        ClipFeed feed;
        QSignalSpy listening(&feed, &ClipFeed::listeningChanged);
        feed.listen();
        QTRY_COMPARE(server.requestCount("GET", kChanges + "5"), 1);
        QTRY_COMPARE(listening.count(), 1);
        server.setReply("GET", kChanges + "5", TestHttpServer::Reply::bare(500));
        server.dropConnections();
        QTRY_COMPARE(listening.count(), 2);
        QVERIFY(!listening.at(1).at(0).toBool());
    }

    void jobsAreCancelledAndTriedAgainOneByOne()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("PUT", "/KRXService/jobs/j1", 200, "<jobInfo/>");
        server.setReply("PUT", "/KRXService/jobs/j2", TestHttpServer::Reply::text(409, "is COMPLETED"));
        server.setReply("PUT", "/KRXService/jobs/j3", 200, "<jobInfo/>");
        ServiceMonitor monitor(10000);
        QSignalSpy failed(&monitor, &ServiceMonitor::commandFailed);
        QSignalSpy reported(&monitor, &ServiceMonitor::reported);
        monitor.start();
        QTRY_COMPARE(reported.count(), 1);
        monitor.cancelTheseJobs({s("j1"), s("j2"), s("j3")});
        QTRY_COMPARE(failed.count(), 1);
        QCOMPARE(server.requestCount("PUT", "/KRXService/jobs/j3"), 1);
        monitor.retryTheseJobs({s("j1")});
        QTRY_COMPARE(server.requestCount("PUT", "/KRXService/jobs/j1"), 2);
        QStringList bodies;
        for (const auto& request : server.requests()) {
            if (request.target == "/KRXService/jobs/j1")
                bodies << QString::fromUtf8(request.body);
        }
        QVERIFY(bodies.at(0).contains(s("<state>CANCELLED</state>")));
        QVERIFY(bodies.at(1).contains(s("<state>SUBMITTED</state>")));
    }

    void whoHearsOfChangesAsksSeldomButAtOnceWhenTold()
    {
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", "/KRXService/activity", 200,
                        "<activity><status>StatusIdle</status></activity>");
        ServiceMonitor monitor(10);
        QSignalSpy reported(&monitor, &ServiceMonitor::reported);
        monitor.start();
        monitor.setHeardOfChanges(true);
        QTRY_VERIFY(reported.count() >= 1);
        const int before = reported.count();
        for (int i = 0; i < 50; ++i)
            monitor.askNow();
        QTRY_VERIFY(reported.count() > before);
        // Fifty wishes are not fifty questions.
        QVERIFY(reported.count() < before + 25);
        // While nobody wishes it nothing is asked: another one asks often meanwhile.
        ServiceMonitor other(10);
        QSignalSpy others(&other, &ServiceMonitor::reported);
        other.start();
        QTRY_VERIFY(others.count() > 20);
        const int settled = reported.count();
        QTRY_VERIFY(others.count() > 40);
        QCOMPARE(reported.count(), settled);
        monitor.setHeardOfChanges(false);
        QTRY_VERIFY(reported.count() > settled + 3);
    }

private:
    void connect_(QTimer& timer, int& beats)
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [&beats] { ++beats; });
    }
};

QTEST_GUILESS_MAIN(TestServiceMonitor)
#include "test_service_monitor.moc"
