#include "RestAnswer.h"
#include "RestWaits.h"
#include "TestHttpServer.h"

#include <QTest>

#include <future>
#include <memory>

using StandInHost::RestWaits;
using Reply = TestHttpServer::Reply;

namespace {

/// Longer than any test may take: a wait that is not cut short shows as a test that never ends.
constexpr std::uint32_t kForever = 3600 * 1000;

} // namespace

/// Waiting for a silent service is cut short for a thread that is to end.
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
};

QTEST_GUILESS_MAIN(TestRestWaits)
#include "test_rest_waits.moc"
