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
/// For an answer that nobody may ever fetch.
constexpr std::uint32_t kPatience = 20 * 1000;

struct ProcessorTime
{
    qint64 client = -1; ///< of the client's own thread; -1 when there is no such thread
    qint64 caller = -1; ///< of this one

    /// In nanoseconds, so far.
    static ProcessorTime now()
    {
        ProcessorTime time;
        const auto firstLine = [](const QString& path) {
            QFile file(path);
            return file.open(QIODevice::ReadOnly) ? file.readAll().simplified() : QByteArray();
        };
        const QDir tasks(QStringLiteral("/proc/self/task"));
        for (const QString& task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            const qint64 used =
                firstLine(tasks.filePath(task + QStringLiteral("/schedstat"))).split(' ')[0].toLongLong();
            if (firstLine(tasks.filePath(task + QStringLiteral("/comm"))) == "krx-rest")
                time.client = used;
            if (task == QString::number(QCoreApplication::applicationPid()))
                time.caller = used;
        }
        return time;
    }
};

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
        // Also when the client's thread was at work before, for a request that nobody waited for.
        RestTest::start("GET", url)->release();
        QVERIFY(m_server->waitForRequests(1));
        QVERIFY(RestTest::get(url).success);
        const ProcessorTime before = ProcessorTime::now();
        for (int i = 0; i < 300; ++i)
            QVERIFY(RestTest::get(url).success);
        const ProcessorTime after = ProcessorTime::now();
        QVERIFY(before.client >= 0 && before.caller >= 0);
        // Nearly nothing: it may be called when this thread is held up between sending and waiting.
        QVERIFY2(
            (after.client - before.client) * 4 < after.caller - before.caller,
            qPrintable(
                QStringLiteral("%1 %2").arg(after.client - before.client).arg(after.caller - before.caller)));
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

    // Of two who wait one drives, and which one is nobody's business: so each of them is the one who ends
    // first, and again and again.
    void whoWaitsOnIsDrivenWhenTheOtherEnds()
    {
        const QString url = RestTest::serviceUrl(QStringLiteral("/x"));
        for (int round = 0; round < 20; ++round) {
            m_server = std::make_unique<TestHttpServer>();
            const ScopedConnectPort connect(m_server->port());
            m_server->setReply("GET", "/x", Reply::xml("<a/>").heldBack());
            const std::shared_ptr<RestWaits> waits[] = {std::make_shared<RestWaits>(),
                                                        std::make_shared<RestWaits>()};
            IRestResponse* responses[2] = {};
            std::future<HostStatus> waited[2];
            for (int each = 0; each < 2; ++each) {
                responses[each] = RestTest::start("GET", url);
                waited[each] = std::async(std::launch::async, [&, each] {
                    RestWaits::follow(waits[each]);
                    return responses[each]->waitForCompletion(kPatience);
                });
                QVERIFY(m_server->waitForRequests(each + 1));
            }
            const int first = round % 2;
            waits[first]->end();
            const HostStatus cutShort = waited[first].get();
            m_server->release();
            const HostStatus answered = waited[1 - first].get();
            for (IRestResponse* response : responses)
                response->release();
            QCOMPARE(cutShort, kHostStatusFailed);
            QCOMPARE(answered, kHostStatusOk);
        }
    }
};

QTEST_GUILESS_MAIN(TestRestWaits)
#include "test_rest_waits.moc"
