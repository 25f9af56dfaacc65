#include "ServiceMonitor.h"
#include "TestHttpServer.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

namespace {

constexpr int kInterval = 10;
const QByteArray kActivity = "/KRXService/activity";

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

    void aMonitorThatWasNeverStartedGoesQuietly()
    {
        ServiceMonitor monitor(kInterval);
        monitor.askNow();
    }

private:
    void connect_(QTimer& timer, int& beats)
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [&beats] { ++beats; });
    }
};

QTEST_GUILESS_MAIN(TestServiceMonitor)
#include "test_service_monitor.moc"
