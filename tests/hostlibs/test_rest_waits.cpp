#include "RestAnswer.h"
#include "RestWaits.h"
#include "TestHttpServer.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <future>
#include <memory>

using StandInHost::RestWaits;
using Reply = TestHttpServer::Reply;

namespace {

/// Longer than any test may take: a wait that is not cut short shows as a test that never ends.
constexpr std::uint32_t kForever = 3600 * 1000;

/// How often the client's own thread was woken so far; -1 when there is no such thread.
int wakesOfTheClientsThread()
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile status(tasks.filePath(task + QStringLiteral("/status")));
        if (!status.open(QIODevice::ReadOnly))
            continue;
        const QList<QByteArray> lines = status.readAll().split('\n');
        if (lines.value(0) != "Name:\tkrx-rest")
            continue;
        for (const QByteArray& line : lines) {
            if (line.startsWith("voluntary_ctxt_switches:"))
                return line.mid(line.indexOf(':') + 1).trimmed().toInt();
        }
    }
    return -1;
}

} // namespace

/// Who waits for the service, and how: every thread drives what it waits for, and waiting for a silent
/// service is cut short for a thread that is to end.
class TestRestWaits : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;

private slots:
    void init()
    {
        m_server = std::make_unique<TestHttpServer>();
        m_connect = std::make_unique<ScopedConnectPort>(m_server->port());
        m_server->setReply("GET", "/x", Reply::xml("<a/>").heldBack());
    }
    void cleanup()
    {
        RestWaits::follow(nullptr);
        m_server.reset();
        m_connect.reset();
    }

    void theThreadThatFollowsWaitsNoLonger()
    {
        const auto waits = std::make_shared<RestWaits>();
        IRestResponse* response = RestTest::start("GET", RestTest::serviceUrl(QStringLiteral("/x")));
        std::future<HostStatus> waited = std::async(std::launch::async, [&] {
            RestWaits::follow(waits);
            return response->waitForCompletion(kForever);
        });
        QVERIFY(m_server->waitForRequests(1));
        waits->end();
        QCOMPARE(waited.get(), kHostStatusFailed);
        // Only the wait is over: the exchange goes on.
        m_server->release();
        QCOMPARE(response->waitForCompletion(kForever), kHostStatusOk);
        QVERIFY(RestTest::answerOf(response).success);
        response->release();
    }

    void furtherWaitsEndAtOnceAndAnswersThatAreThereCount()
    {
        const auto waits = std::make_shared<RestWaits>();
        waits->end();
        RestWaits::follow(waits);
        IRestResponse* response = RestTest::start("GET", RestTest::serviceUrl(QStringLiteral("/x")));
        QCOMPARE(response->waitForCompletion(kForever), kHostStatusFailed);
        m_server->release();
        QTRY_COMPARE(response->isComplete(), kHostStatusOk);
        QCOMPARE(response->waitForCompletion(kForever), kHostStatusOk);
        response->release();
    }

    void otherThreadsWaitOn()
    {
        const auto waits = std::make_shared<RestWaits>();
        waits->end();
        IRestResponse* response = RestTest::start("GET", RestTest::serviceUrl(QStringLiteral("/x")));
        std::thread([&] { RestWaits::follow(waits); }).join();
        m_server->release();
        QCOMPARE(response->waitForCompletion(kForever), kHostStatusOk);
        response->release();
    }

    void whatIsWaitedForIsHandedToNoOtherThread()
    {
        m_server->setReply("GET", "/y", 200, "<a/>");
        const QString url = RestTest::serviceUrl(QStringLiteral("/y"));
        QVERIFY(RestTest::get(url).success);
        const int before = wakesOfTheClientsThread();
        QVERIFY(before >= 0);
        for (int i = 0; i < 200; ++i)
            QVERIFY(RestTest::get(url).success);
        // It may be called when this thread is held up between sending and waiting, which is rare.
        const int woken = wakesOfTheClientsThread() - before;
        QVERIFY2(woken < 100, qPrintable(QString::number(woken)));
    }

    void whoWaitsDrivesWhatOthersWaitForToo()
    {
        m_server->setReply("GET", "/y", 200, "<a/>");
        IRestResponse* held = RestTest::start("GET", RestTest::serviceUrl(QStringLiteral("/x")));
        std::future<HostStatus> waited =
            std::async(std::launch::async, [&] { return held->waitForCompletion(kForever); });
        QVERIFY(m_server->waitForRequests(1));
        for (int i = 0; i < 20; ++i)
            QVERIFY(RestTest::get(RestTest::serviceUrl(QStringLiteral("/y")), kForever).success);
        m_server->release();
        QCOMPARE(waited.get(), kHostStatusOk);
        QVERIFY(RestTest::answerOf(held).success);
        held->release();
    }

    void whatIsUnderWayGoesOnWhenTheThreadThatDroveItWaitsNoLonger()
    {
        const QString url = RestTest::serviceUrl(QStringLiteral("/x"));
        IRestResponse* left = RestTest::start("GET", url);
        QCOMPARE(left->waitForCompletion(1), kHostStatusFailed);
        IRestResponse* held = RestTest::start("GET", url);
        std::future<HostStatus> waited =
            std::async(std::launch::async, [&] { return held->waitForCompletion(kForever); });
        QCOMPARE(left->waitForCompletion(1), kHostStatusFailed);
        QVERIFY(m_server->waitForRequests(2));
        m_server->release();
        QCOMPARE(waited.get(), kHostStatusOk);
        // Nobody waits for this one any more.
        QTRY_COMPARE(left->isComplete(), kHostStatusOk);
        QVERIFY(RestTest::answerOf(left).success);
        left->release();
        held->release();
    }
};

QTEST_GUILESS_MAIN(TestRestWaits)
#include "test_rest_waits.moc"
