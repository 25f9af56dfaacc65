#include "RestAnswer.h"
#include "RestClientLimits.h"
#include "TestHttpServer.h"

#include "StandInHost.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

using RestTest::Answer;
using RestTest::serviceUrl;
using Reply = TestHttpServer::Reply;

namespace {

constexpr const char* kAtExitVariable = "KRX_TEST_AT_EXIT";

QString path(const char* text)
{
    return serviceUrl(QString::fromLatin1(text));
}

} // namespace

/// The REST client with a service that behaves.
class TestRestClient : public QObject
{
    Q_OBJECT

private slots:
    void init() { StandInHost::setRestClientLimits({}); }
    void cleanup() { StandInHost::setRestClientLimits({}); }

    void eachMethodSendsItsRequest();
    void bodiesAreSentByteForByteAndDeclaredAsXml();
    void aRequestWithoutBodyDeclaresNone();
    void emptyBodyIsSentAsEmpty();
    void largeRequestBodyIsSentWithoutWaitingForAnInvitation();
    void missingArgumentsFailTheCall();

    void successHasStatusLengthAndBodyAndNoMessage();
    void emptyBodyHasLengthZero();
    void readContentIsClampedToTheBuffer();
    void unfinishedResponseHasNothingButAMessage();
    void messageOfAnUnfinishedResponseStaysValid();
    void errorStatusGivesTheShortTextOfTheService_data();
    void errorStatusGivesTheShortTextOfTheService();
    void chunkedBodyArrivesWhole();
    void bodyWithoutLengthEndsWithTheConnection();
    void largeBodyArrivesWhole();

    void startingReturnsBeforeTheAnswer();
    void connectionsAreKeptAlive();
    void aRestartedServiceIsReachedAgain();
    void postIsNeverSentTwice();
    void releaseBeforeTheEndDoesNotCancel();
    void releaseAtOnceStillSends();
    void aHangingExchangeDoesNotHoldUpOthers();
    void severalThreadsShareTheClient();
    void tooManyExchangesFailAtOnce();
    void processEndsWithExchangesUnderWay();
};

void TestRestClient::eachMethodSendsItsRequest()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    for (const char* method : {"GET", "POST", "PUT", "DELETE"}) {
        server.setReply(method, "/KRXService/jobs", 200, method);
        const Answer answer = RestTest::exchange(method, path("/KRXService/jobs"), "<jobs/>");
        QVERIFY(answer.success);
        QCOMPARE(answer.body, QByteArray(method));
        QCOMPARE(server.lastRequest().method, QByteArray(method));
        QCOMPARE(server.lastRequest().target, QByteArray("/KRXService/jobs"));
    }
    QCOMPARE(server.requestCount(), 4);
}

void TestRestClient::bodiesAreSentByteForByteAndDeclaredAsXml()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    QByteArray body = QStringLiteral("<a>\u00e9\U0001F3AC \r\n</a>").toUtf8();
    body += '\0';
    body += "after";
    for (const char* method : {"POST", "PUT"}) {
        RestTest::exchange(method, path("/x"), body);
        const auto request = server.lastRequest();
        QCOMPARE(request.method, QByteArray(method));
        QCOMPARE(request.body, body);
        QCOMPARE(request.header("Content-Type"), QByteArray("application/xml; charset=utf-8"));
        QCOMPARE(request.headerCount("Content-Type"), 1);
        QCOMPARE(request.header("Content-Length"), QByteArray::number(body.size()));
        QCOMPARE(request.headerCount("Expect"), 0);
    }
}

void TestRestClient::aRequestWithoutBodyDeclaresNone()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    for (const char* method : {"GET", "DELETE"}) {
        RestTest::exchange(method, path("/x"));
        QCOMPARE(server.lastRequest().headerCount("Content-Type"), 0);
        QVERIFY(server.lastRequest().body.isEmpty());
    }
}

void TestRestClient::emptyBodyIsSentAsEmpty()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    for (const char* method : {"POST", "PUT"}) {
        server.setReply(method, "/x", 200, "done");
        QVERIFY(RestTest::exchange(method, path("/x"), {}).success);
        QCOMPARE(server.lastRequest().header("Content-Length"), QByteArray("0"));
    }
    IRestResponse* response = nullptr;
    QVERIFY(hostSucceeded(RestTest::client().post(u"http://localhost:58885/x", &response, nullptr, 0)));
    QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
    response->release();
}

void TestRestClient::largeRequestBodyIsSentWithoutWaitingForAnInvitation()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("PUT", "/x", 200, "done");
    const QByteArray body(3 * 1024 * 1024, 'x');
    QVERIFY(RestTest::exchange("PUT", path("/x"), body).success);
    QCOMPARE(server.lastRequest().headerCount("Expect"), 0);
    QCOMPARE(server.lastRequest().body, body);
}

void TestRestClient::missingArgumentsFailTheCall()
{
    IRestClient& client = RestTest::client();
    IRestResponse* response = nullptr;
    QCOMPARE(client.get(nullptr, &response), kHostStatusInvalidPointer);
    QCOMPARE(client.deleteResource(nullptr, &response), kHostStatusInvalidPointer);
    QCOMPARE(client.post(u"http://localhost:58885/x", &response, nullptr, 5), kHostStatusInvalidPointer);
    QCOMPARE(client.put(u"http://localhost:58885/x", &response, nullptr, 5), kHostStatusInvalidPointer);
    QVERIFY(response == nullptr);
    QCOMPARE(client.get(u"http://localhost:58885/x", nullptr), kHostStatusInvalidPointer);

    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    response = RestTest::start("GET", path("/x"));
    QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
    QCOMPARE(response->getContentLength(nullptr), kHostStatusInvalidPointer);
    QCOMPARE(response->getStatusCode(nullptr), kHostStatusInvalidPointer);
    QCOMPARE(response->getErrorMessage(nullptr), kHostStatusInvalidPointer);
    std::uint64_t read = 0;
    QCOMPARE(response->readContent(nullptr, 10, &read), kHostStatusInvalidPointer);
    char byte = 0;
    QCOMPARE(response->readContent(&byte, 1, nullptr), kHostStatusInvalidPointer);
    response->release();
}

void TestRestClient::successHasStatusLengthAndBodyAndNoMessage()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    for (const int status : {200, 201, 299}) {
        server.setReply("GET", "/x", status, "<a/>");
        const Answer answer = RestTest::get(path("/x"));
        QVERIFY(answer.complete);
        QVERIFY(answer.success);
        QCOMPARE(answer.status, status);
        QCOMPARE(answer.length, qint64(4));
        QCOMPARE(answer.body, QByteArray("<a/>"));
        QVERIFY(answer.message.isNull());
    }
}

void TestRestClient::emptyBodyHasLengthZero()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/empty", 200, {});
    server.setReply("GET", "/none", Reply::bare(204));
    for (const char* target : {"/empty", "/none"}) {
        const Answer answer = RestTest::get(path(target));
        QVERIFY(answer.success);
        QCOMPARE(answer.length, qint64(0));
        QVERIFY(answer.message.isNull());
    }
}

void TestRestClient::readContentIsClampedToTheBuffer()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x", 200, "0123456789");
    IRestResponse* response = RestTest::start("GET", path("/x"));
    QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
    QByteArray buffer(6, '#');
    std::uint64_t read = 99;
    QCOMPARE(response->readContent(buffer.data(), 4, &read), kHostStatusOk);
    QCOMPARE(read, std::uint64_t(4));
    QCOMPARE(buffer, QByteArray("0123##"));
    buffer.fill('#', 20);
    // Reading starts at the body's start every time.
    QCOMPARE(response->readContent(buffer.data(), 20, &read), kHostStatusOk);
    QCOMPARE(read, std::uint64_t(10));
    QCOMPARE(buffer, QByteArray("0123456789##########"));
    QCOMPARE(response->readContent(nullptr, 0, &read), kHostStatusOk);
    QCOMPARE(read, std::uint64_t(0));
    response->release();
}

void TestRestClient::unfinishedResponseHasNothingButAMessage()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x", Reply::xml("<a/>").heldBack());
    IRestResponse* response = RestTest::start("GET", path("/x"));
    QVERIFY(server.waitForRequests(1));
    QVERIFY(!hostSucceeded(response->waitForCompletion(10)));
    Answer answer = RestTest::answerOf(response);
    QVERIFY(!answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.status, -1);
    QCOMPARE(answer.length, qint64(-1));
    QCOMPARE(answer.message, QStringLiteral("The service did not answer in time"));
    char byte = 0;
    std::uint64_t read = 0;
    QVERIFY(!hostSucceeded(response->readContent(&byte, 1, &read)));
    server.release();
    QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
    answer = RestTest::answerOf(response);
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<a/>"));
    QVERIFY(answer.message.isNull());
    response->release();
}

void TestRestClient::messageOfAnUnfinishedResponseStaysValid()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x", Reply::text(409, "The path is watched already").heldBack());
    IRestResponse* response = RestTest::start("GET", path("/x"));
    const char16_t* before = nullptr;
    QVERIFY(hostSucceeded(response->getErrorMessage(&before)));
    server.release();
    QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
    const char16_t* after = nullptr;
    QVERIFY(hostSucceeded(response->getErrorMessage(&after)));
    QCOMPARE(QString::fromUtf16(before), QStringLiteral("The service did not answer in time"));
    QCOMPARE(QString::fromUtf16(after), QStringLiteral("The path is watched already"));
    response->release();
}

void TestRestClient::errorStatusGivesTheShortTextOfTheService_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("message");
    const QByteArray plain = "text/plain; charset=utf-8";
    QTest::newRow("short text") << 409 << plain << QByteArray("The path is watched already\n")
                                << QStringLiteral("The path is watched already");
    QTest::newRow("bare type") << 400 << QByteArray("Text/Plain") << QByteArray("No path")
                               << QStringLiteral("No path");
    QTest::newRow("beyond ASCII") << 400 << plain << QByteArray("\xc3\x9cnl\xc3\xb6sbar: %1 %2")
                                  << QString::fromUtf8("\xc3\x9cnl\xc3\xb6sbar: %1 %2");
    QTest::newRow("no body") << 404 << QByteArray() << QByteArray()
                             << QStringLiteral("The service answered 404 Not Found");
    QTest::newRow("blank text") << 404 << plain << QByteArray(" \r\n")
                                << QStringLiteral("The service answered 404 Not Found");
    QTest::newRow("page") << 500 << QByteArray("text/html") << QByteArray("<h1>no</h1>")
                          << QStringLiteral("The service answered 500 Internal Server Error");
    QTest::newRow("XML") << 500 << QByteArray("application/xml") << QByteArray("<no/>")
                         << QStringLiteral("The service answered 500 Internal Server Error");
    QTest::newRow("similar type") << 500 << QByteArray("text/plainish") << QByteArray("no")
                                  << QStringLiteral("The service answered 500 Internal Server Error");
    QTest::newRow("several lines") << 500 << plain << QByteArray("one\ntwo")
                                   << QStringLiteral("The service answered 500 Internal Server Error");
    QTest::newRow("long text") << 500 << plain << QByteArray(5000, 'x')
                               << QStringLiteral("The service answered 500 Internal Server Error");
    QTest::newRow("not UTF-8") << 500 << plain << QByteArray("\xff\xfe oops")
                               << QStringLiteral("The service answered 500 Internal Server Error");
}

void TestRestClient::errorStatusGivesTheShortTextOfTheService()
{
    QFETCH(int, status);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    QFETCH(QString, message);
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    Reply reply = Reply::xml(body, status);
    reply.contentType = contentType;
    server.setReply("GET", "/x", reply);
    const Answer answer = RestTest::get(path("/x"));
    QVERIFY(answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.body, body);
    QCOMPARE(answer.message, message);
}

void TestRestClient::chunkedBodyArrivesWhole()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x",
                    Reply::raw("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                               "4\r\n<a>b\r\n4\r\n</a>\r\n0\r\n\r\n"));
    const Answer answer = RestTest::get(path("/x"));
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<a>b</a>"));
}

void TestRestClient::bodyWithoutLengthEndsWithTheConnection()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    Reply reply = Reply::xml("<a/>");
    reply.withoutLength = true;
    server.setReply("GET", "/x", reply);
    const Answer answer = RestTest::get(path("/x"));
    QVERIFY(answer.success);
    QCOMPARE(answer.body, QByteArray("<a/>"));
}

void TestRestClient::largeBodyArrivesWhole()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    // Larger than what a promised length is believed for at first.
    QByteArray body(70 * 1024 * 1024, 'x');
    for (int i = 0; i < body.size(); i += 4099)
        body[i] = static_cast<char>(i % 251);
    server.setReply("GET", "/x", 200, body);
    const Answer answer = RestTest::get(path("/x"), 30000);
    QVERIFY2(answer.success, qPrintable(answer.message));
    QCOMPARE(answer.length, qint64(body.size()));
    QVERIFY(answer.body == body);
}

void TestRestClient::startingReturnsBeforeTheAnswer()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    for (const char* method : {"GET", "POST", "PUT", "DELETE"}) {
        server.hold();
        server.setReply(method, "/x", Reply::xml("<a/>").heldBack());
        IRestResponse* response = RestTest::start(method, path("/x"), "<b/>");
        QVERIFY(!hostSucceeded(response->isComplete()));
        server.release();
        QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
        QVERIFY(hostSucceeded(response->isSuccess()));
        response->release();
    }
}

void TestRestClient::connectionsAreKeptAlive()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setHandler([](const TestHttpServer::Request& request) { return Reply::xml(request.body); });
    for (int i = 0; i < 20; ++i) {
        const char* method = i % 3 == 0 ? "PUT" : (i % 3 == 1 ? "GET" : "DELETE");
        QVERIFY(RestTest::exchange(method, path("/x"), "<a/>").success);
    }
    QCOMPARE(server.requestCount(), 20);
    QCOMPARE(server.connectionCount(), 1);
}

void TestRestClient::aRestartedServiceIsReachedAgain()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x", 200, "here");
    for (int i = 0; i < 5; ++i) {
        QVERIFY(RestTest::get(path("/x")).success);
        server.dropConnections();
        QVERIFY(server.waitForOpenConnections(0));
    }
    QVERIFY(RestTest::get(path("/x")).success);
    QCOMPARE(server.requestCount(), 6);
}

void TestRestClient::postIsNeverSentTwice()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/x", 200, "here");
    server.setReply("POST", "/x", Reply::reset());
    // A kept-alive connection is there to tempt the client.
    QVERIFY(RestTest::get(path("/x")).success);
    const Answer answer = RestTest::exchange("POST", path("/x"), "<a/>");
    QVERIFY(!answer.success);
    QVERIFY(RestTest::get(path("/x")).success);
    QCOMPARE(server.requestCount("POST", "/x"), 1);
}

void TestRestClient::releaseBeforeTheEndDoesNotCancel()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/held", Reply::xml("<a/>").heldBack());
    server.setReply("GET", "/x", Reply::xml("<a/>").withHeader("Connection", "close").thenClose());
    IRestResponse* response = RestTest::start("GET", path("/held"));
    QVERIFY(server.waitForRequests(1));
    QCOMPARE(response->release(), std::uint32_t(0));
    QVERIFY(RestTest::get(path("/x")).success);
    QCOMPARE(server.lastRequest().connection, 2);
    server.release();
    // A cancelled exchange would have taken its connection along. This one ends, and its connection, the only
    // one that the server does not close, serves again.
    bool servesAgain = false;
    const auto serveAgain = [&] {
        servesAgain =
            servesAgain || (RestTest::get(path("/x")).success && server.lastRequest().connection == 1);
        return servesAgain;
    };
    QTRY_VERIFY(serveAgain());
}

void TestRestClient::releaseAtOnceStillSends()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("POST", "/KRXService/devicestatus", 200, {});
    for (int i = 0; i < 10; ++i)
        RestTest::start("POST", path("/KRXService/devicestatus"), QByteArray::number(i))->release();
    QVERIFY(server.waitForRequests(10));
    QSet<QByteArray> bodies;
    for (const auto& request : server.requests())
        bodies.insert(request.body);
    QCOMPARE(bodies.size(), 10);
}

void TestRestClient::aHangingExchangeDoesNotHoldUpOthers()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/never", Reply::never());
    server.setReply("GET", "/x", 200, "here");
    std::vector<IRestResponse*> hanging;
    for (int i = 0; i < 20; ++i)
        hanging.push_back(RestTest::start("GET", path("/never")));
    QVERIFY(server.waitForRequests(20));
    QCOMPARE(RestTest::get(path("/x")).body, QByteArray("here"));
    server.dropConnections();
    for (IRestResponse* response : hanging) {
        QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
        QVERIFY(!hostSucceeded(response->isSuccess()));
        response->release();
    }
}

void TestRestClient::severalThreadsShareTheClient()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setHandler([](const TestHttpServer::Request& request) {
        return Reply::xml(QByteArray(request.target + request.body));
    });
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread, &right] {
            for (int i = 0; i < 50; ++i) {
                const QString target = QStringLiteral("/%1/%2").arg(thread).arg(i);
                const QByteArray body = QByteArray::number(thread * 1000 + i);
                const Answer answer =
                    RestTest::exchange(i % 2 == 0 ? "PUT" : "POST", serviceUrl(target), body);
                if (answer.success && answer.body == QByteArray(target.toLatin1() + body))
                    ++right;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    QCOMPARE(right.load(), 200);
    QCOMPARE(server.requestCount(), 200);
}

void TestRestClient::tooManyExchangesFailAtOnce()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    StandInHost::RestClientLimits limits;
    limits.exchanges = 3;
    StandInHost::setRestClientLimits(limits);
    server.setReply("GET", "/x", Reply::xml("<a/>").heldBack());
    std::vector<IRestResponse*> held;
    for (int i = 0; i < 3; ++i)
        held.push_back(RestTest::start("GET", path("/x")));
    const Answer refused = RestTest::get(path("/x"));
    QVERIFY(refused.complete);
    QVERIFY(!refused.success);
    QCOMPARE(refused.message, QStringLiteral("Too many requests are waiting for the service"));
    server.release();
    for (IRestResponse* response : held) {
        QVERIFY(hostSucceeded(response->waitForCompletion(20000)));
        QVERIFY(hostSucceeded(response->isSuccess()));
        response->release();
    }
    QVERIFY(RestTest::get(path("/x")).success);
}

void TestRestClient::processEndsWithExchangesUnderWay()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", "/never", Reply::never());
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kAtExitVariable), QStringLiteral("1"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(), QStringList());
    // Far below the deadline of the exchange: the process may not wait for that.
    QVERIFY(process.waitForFinished(20000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(server.requestCount("GET", "/never"), 2);
}

namespace {

/// Outlives the worker, as a manager that nobody cleaned up does.
struct Straggler
{
    ~Straggler()
    {
        if (response == nullptr)
            return;
        // The exchange has an end, and a new one gets a text rather than a thread that is gone.
        const Answer last = RestTest::answerOf(response);
        response->release();
        const Answer late = RestTest::get(path("/late"));
        const QString text = QStringLiteral("The program ended before the service answered");
        if (!last.complete || last.message != text || late.message != text)
            std::_Exit(3);
        RestTest::client().release();
    }
    IRestResponse* response = nullptr;
};

int endWithExchangesUnderWay()
{
    static Straggler straggler;
    StandInHost::RestClientLimits limits;
    limits.exitGraceMs = 200;
    StandInHost::setRestClientLimits(limits);
    RestTest::start("GET", path("/never"))->release();
    straggler.response = RestTest::start("GET", path("/never"));
    // Until both are sent, at most.
    straggler.response->waitForCompletion(500);
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsSet(kAtExitVariable))
        return endWithExchangesUnderWay();
    QCoreApplication application(argc, argv);
    TestRestClient test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_rest_client.moc"
