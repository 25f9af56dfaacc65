#include "RestAnswer.h"
#include "RestClientLimits.h"
#include "TestHttpServer.h"

#include <QTest>

#include <memory>

using RestTest::Answer;
using RestTest::serviceUrl;
using Reply = TestHttpServer::Reply;

/// The REST client with a service that misbehaves: it ends every exchange within its bounds, says why in
/// words, and works again for the next one.
class TestRestClientTrouble : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void absentService();
    void serviceThatTakesNoConnection();
    void hangingServiceEndsWithTheDeadline();
    void hangingServiceEndsTheWait();
    void drippingServiceEndsWithTheDeadline();
    void drippingServiceThatEndsInTimeIsRead();
    void resetBeforeTheAnswer();
    void resetInTheBody();
    void closeWithoutAnswer();
    void closeInTheHeaders();
    void bodyCutShort();
    void chunkedBodyCutShort();
    void negativeLength();
    void lengthOfTwoToThe63rd();
    void lengthThatIsNoNumber();
    void lengthLongerThanTheBody();
    void lengthShorterThanTheBodyDoesNotSpoilTheNextAnswer();
    void lengthAboveTheCap();
    void bodyAboveTheCap();
    void html();
    void json();
    void nothing();
    void floodOfInterimAnswers();
    void fewInterimAnswersAreFine();
    void headerLineOf64Kilobytes();
    void headerLineBeyondAllBounds();
    void manyHeaderLines();
    void endlessHeaders();
    void redirectIsNotFollowed_data();
    void redirectIsNotFollowed();
    void answerThatIsNotHttp();
    void answerNobodyAskedFor();

private:
    /// Runs \a reply against GET "/x" with an exchange deadline of \a exchangeMs.
    Answer answerTo(const Reply& reply, std::uint32_t exchangeMs = 20000);
    /// The next good call works.
    bool nextCallWorks();

    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;
};

#define VERIFY_FAILED(answer, text)                                                                          \
    do {                                                                                                     \
        QVERIFY((answer).started);                                                                           \
        QVERIFY((answer).complete);                                                                          \
        QVERIFY(!(answer).success);                                                                          \
        QCOMPARE((answer).message, QStringLiteral(text));                                                    \
    } while (false)

#define BROKE_OFF "The connection to the service broke off before the answer was complete"

void TestRestClientTrouble::init()
{
    StandInHost::setRestClientLimits({});
    m_server = std::make_unique<TestHttpServer>();
    m_connect = std::make_unique<ScopedConnectPort>(m_server->port());
    m_server->setReply("GET", "/good", 200, "<good/>");
}

void TestRestClientTrouble::cleanup()
{
    m_connect.reset();
    m_server.reset();
    StandInHost::setRestClientLimits({});
}

Answer TestRestClientTrouble::answerTo(const Reply& reply, std::uint32_t exchangeMs)
{
    StandInHost::RestClientLimits limits;
    limits.exchangeMs = exchangeMs;
    StandInHost::setRestClientLimits(limits);
    m_server->setReply("GET", "/x", reply);
    const Answer answer = RestTest::get(serviceUrl(QStringLiteral("/x")), 25000);
    StandInHost::setRestClientLimits({});
    return answer;
}

bool TestRestClientTrouble::nextCallWorks()
{
    const Answer answer = RestTest::get(serviceUrl(QStringLiteral("/good")));
    return answer.success && answer.body == "<good/>" && answer.status == 200;
}

void TestRestClientTrouble::absentService()
{
    {
        const RefusingPort nobody;
        const ScopedConnectPort connect(nobody.port());
        for (const char* method : {"GET", "POST", "PUT", "DELETE"}) {
            const Answer answer = RestTest::exchange(method, serviceUrl(QStringLiteral("/x")), "<a/>");
            VERIFY_FAILED(answer, "No service answers at localhost:58885");
            QCOMPARE(answer.status, -1);
            QCOMPARE(answer.length, qint64(0));
        }
    }
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::serviceThatTakesNoConnection()
{
    StandInHost::RestClientLimits limits;
    limits.connectMs = 200;
    StandInHost::setRestClientLimits(limits);
    {
        const DeafPort deaf;
        const ScopedConnectPort connect(deaf.port());
        const Answer answer = RestTest::get(serviceUrl(QStringLiteral("/x")));
        VERIFY_FAILED(answer, "The service did not answer in time");
        QCOMPARE(answer.status, -1);
    }
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::hangingServiceEndsWithTheDeadline()
{
    const Answer answer = answerTo(Reply::never(), 200);
    VERIFY_FAILED(answer, "The service did not answer in time");
    QCOMPARE(answer.status, -1);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::hangingServiceEndsTheWait()
{
    m_server->setReply("GET", "/x", Reply::never());
    StandInHost::RestClientLimits limits;
    limits.longestWaitMs = 100;
    StandInHost::setRestClientLimits(limits);
    const Answer answer = RestTest::get(serviceUrl(QStringLiteral("/x")), 3000);
    QVERIFY(!answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.message, QStringLiteral("The service did not answer in time"));
    StandInHost::setRestClientLimits({});
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::drippingServiceEndsWithTheDeadline()
{
    const Answer answer = answerTo(Reply::xml("<a/>").dripping(1000), 300);
    VERIFY_FAILED(answer, "The service did not answer in time");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::drippingServiceThatEndsInTimeIsRead()
{
    const Answer answer = answerTo(Reply::xml("<a/>").dripping(1));
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<a/>"));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::resetBeforeTheAnswer()
{
    const Answer answer = answerTo(Reply::reset());
    VERIFY_FAILED(answer, BROKE_OFF);
    QCOMPARE(answer.status, -1);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::resetInTheBody()
{
    const Answer answer = answerTo(Reply::xml(QByteArray(100000, 'x')).resetAfter(50000));
    VERIFY_FAILED(answer, BROKE_OFF);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::closeWithoutAnswer()
{
    Reply reply = Reply::never();
    reply.ending = TestHttpServer::Ending::Close;
    const Answer answer = answerTo(reply);
    VERIFY_FAILED(answer, BROKE_OFF);
    QCOMPARE(answer.status, -1);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::closeInTheHeaders()
{
    const Answer answer = answerTo(Reply::raw("HTTP/1.1 200 OK\r\nContent-Type: application/x"));
    VERIFY_FAILED(answer, BROKE_OFF);
    QCOMPARE(answer.status, 200);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::bodyCutShort()
{
    const Answer answer = answerTo(Reply::xml("<a>0123456789</a>").cutAfter(6));
    VERIFY_FAILED(answer, BROKE_OFF);
    QCOMPARE(answer.status, 200);
    // What was received, never what was promised.
    QCOMPARE(answer.length, qint64(6));
    QCOMPARE(answer.body, QByteArray("<a>012"));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::chunkedBodyCutShort()
{
    const Answer answer =
        answerTo(Reply::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\n<a>b\r\n4\r\n</"));
    VERIFY_FAILED(answer, BROKE_OFF);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::negativeLength()
{
    const Answer answer = answerTo(Reply::xml("<a/>").lengthSaid("-1").thenClose());
    VERIFY_FAILED(answer, "The answer of the service is not proper HTTP");
    QVERIFY(answer.length >= 0);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::lengthOfTwoToThe63rd()
{
    const Answer answer = answerTo(Reply::xml("<a/>").lengthSaid("9223372036854775808").thenClose());
    VERIFY_FAILED(answer, "The answer of the service is too large");
    QVERIFY(answer.length >= 0);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::lengthThatIsNoNumber()
{
    const Answer answer = answerTo(Reply::xml("<a/>").lengthSaid("many").thenClose());
    VERIFY_FAILED(answer, "The answer of the service is not proper HTTP");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::lengthLongerThanTheBody()
{
    const Answer closed = answerTo(Reply::xml("<a/>").lengthSaid("400").thenClose());
    VERIFY_FAILED(closed, BROKE_OFF);
    QCOMPARE(closed.length, qint64(4));
    QVERIFY(nextCallWorks());
    // The same with a connection that stays open: nothing follows, so only the deadline ends it.
    const Answer open = answerTo(Reply::xml("<a/>").lengthSaid("400"), 200);
    VERIFY_FAILED(open, "The service did not answer in time");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::lengthShorterThanTheBodyDoesNotSpoilTheNextAnswer()
{
    for (int round = 0; round < 20; ++round) {
        const Answer answer =
            answerTo(Reply::xml("<a/>HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\n<false>").lengthSaid("4"));
        QVERIFY(answer.success);
        QCOMPARE(answer.body, QByteArray("<a/>"));
        QVERIFY(nextCallWorks());
    }
}

void TestRestClientTrouble::lengthAboveTheCap()
{
    const Answer answer = answerTo(Reply::xml("<a/>").lengthSaid("268435457").thenClose());
    VERIFY_FAILED(answer, "The answer of the service is too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::bodyAboveTheCap()
{
    StandInHost::RestClientLimits limits;
    limits.bodyBytes = 1000;
    StandInHost::setRestClientLimits(limits);
    Reply reply = Reply::xml(QByteArray(1000, 'x'));
    reply.withoutLength = true;
    m_server->setReply("GET", "/x", reply);
    const Answer full = RestTest::get(serviceUrl(QStringLiteral("/x")));
    QVERIFY(full.success);
    QCOMPARE(full.length, qint64(1000));
    reply.body += 'x';
    m_server->setReply("GET", "/x", reply);
    const Answer answer = RestTest::get(serviceUrl(QStringLiteral("/x")));
    VERIFY_FAILED(answer, "The answer of the service is too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::html()
{
    Reply reply = Reply::xml("<!DOCTYPE html><p>Hello<br>");
    reply.contentType = "text/html";
    const Answer answer = answerTo(reply);
    // Whether a body can be read as what it should be is the caller's business.
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<!DOCTYPE html><p>Hello<br>"));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::json()
{
    Reply reply = Reply::xml("{\"a\": 1}");
    reply.contentType = "application/json";
    const Answer answer = answerTo(reply);
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("{\"a\": 1}"));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::nothing()
{
    const Answer answer = answerTo(Reply::xml({}));
    QVERIFY(answer.success);
    QCOMPARE(answer.length, qint64(0));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::floodOfInterimAnswers()
{
    const Answer answer = answerTo(Reply::xml("<a/>").withInformational(200000));
    VERIFY_FAILED(answer, "The headers of the service's answer are too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::fewInterimAnswersAreFine()
{
    const Answer answer = answerTo(Reply::xml("<a/>").withInformational(3));
    QVERIFY(answer.success);
    QCOMPARE(answer.status, 200);
    QCOMPARE(answer.body, QByteArray("<a/>"));
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::headerLineOf64Kilobytes()
{
    const Answer below = answerTo(Reply::xml("<a/>").withHeader("X-Long", QByteArray(60 * 1024, 'x')));
    QVERIFY(below.success);
    const Answer answer = answerTo(Reply::xml("<a/>").withHeader("X-Long", QByteArray(64 * 1024, 'x')));
    VERIFY_FAILED(answer, "The headers of the service's answer are too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::headerLineBeyondAllBounds()
{
    const Answer answer = answerTo(Reply::xml("<a/>").withHeader("X-Long", QByteArray(8 * 1024 * 1024, 'x')));
    VERIFY_FAILED(answer, "The headers of the service's answer are too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::manyHeaderLines()
{
    Reply reply = Reply::xml("<a/>");
    for (int i = 0; i < 20000; ++i)
        reply.withHeader("X-" + QByteArray::number(i), "value");
    const Answer answer = answerTo(reply);
    VERIFY_FAILED(answer, "The headers of the service's answer are too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::endlessHeaders()
{
    const Answer answer =
        answerTo(Reply::raw("HTTP/1.1 200 OK\r\n" + QByteArray("X: y\r\n").repeated(500000)));
    VERIFY_FAILED(answer, "The headers of the service's answer are too large");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::redirectIsNotFollowed_data()
{
    QTest::addColumn<int>("status");
    for (const int status : {301, 302, 303, 307, 308})
        QTest::newRow(QByteArray::number(status).constData()) << status;
}

void TestRestClientTrouble::redirectIsNotFollowed()
{
    QFETCH(int, status);
    TestHttpServer elsewhere;
    const QByteArray location = "http://127.0.0.1:" + QByteArray::number(elsewhere.port()) + "/trap";
    Reply reply = Reply::redirect(location, status);
    reply.reason = "Elsewhere";
    const Answer answer = answerTo(reply);
    QVERIFY(answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.message, QStringLiteral("The service answered %1 Elsewhere").arg(status));
    QCOMPARE(elsewhere.connectionCount(), 0);
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::answerThatIsNotHttp()
{
    const Answer answer = answerTo(Reply::raw("220 mail.example.org ready\r\n"));
    VERIFY_FAILED(answer, "The answer of the service is not proper HTTP");
    QVERIFY(nextCallWorks());
}

void TestRestClientTrouble::answerNobodyAskedFor()
{
    // A second answer in the same piece must not be taken for that of the next request.
    const Reply reply = Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\n<a/>"
                                   "HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\n<false>");
    Reply open = reply;
    open.ending = TestHttpServer::Ending::KeepAlive;
    const Answer answer = answerTo(open);
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<a/>"));
    QVERIFY(nextCallWorks());
}

QTEST_GUILESS_MAIN(TestRestClientTrouble)
#include "test_rest_client_trouble.moc"
