#include "RawClient.h"
#include "ServiceProgram.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int kResting = 200; ///< connections that stay open between requests
constexpr int kSilent = 500;  ///< connections that never finish a request
constexpr int kGood = 200;    ///< requests of the client that behaves

const QByteArray kNotice =
    QByteArrayLiteral("<deviceStatus><volumeName>A</volumeName><volumeType>1</volumeType>"
                      "<volumeAction>1</volumeAction></deviceStatus>");

/// One request on a connection of its own, as the good client makes them. The milliseconds it took, or -1.
double exchange(int port)
{
    QElapsedTimer timer;
    timer.start();
    RawClient client = RawClient::toPort(port);
    const bool served = client.isOpen() && client.send(RawClient::get("activity")) &&
                        RawClient::status(client.answer()) == 200;
    return served ? static_cast<double>(timer.nsecsElapsed()) / 1e6 : -1;
}

/// How many of the good client's requests were answered; says how long the slowest hundredth took.
int answered(int port, const char* beside)
{
    std::vector<double> times;
    for (int i = 0; i < kGood; ++i) {
        const double time = exchange(port);
        if (time >= 0)
            times.push_back(time);
    }
    std::sort(times.begin(), times.end());
    if (!times.empty())
        qInfo("beside %s: p50 %.2f ms, p99 %.2f ms", beside, times[times.size() / 2],
              times[times.size() * 99 / 100]);
    return static_cast<int>(times.size());
}

} // namespace

/// Connections of the real program: how they are framed, and that nobody's connection is another one's
/// trouble.
class TestServiceConnections : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    ServiceProgram m_service;

private slots:
    void initTestCase()
    {
        QVERIFY(RawClient::allowMany());
        QVERIFY(m_service.start(m_folder.filePath(QStringLiteral("data"))));
    }

    void doubtfulFramingIsRefused_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        const auto row = [](const char* name, const QByteArray& request, int status) {
            QTest::newRow(name) << request << status;
        };
        const QByteArray get = "GET /KRXService/activity HTTP/1.1\r\nHost: localhost\r\n";
        const QByteArray post = "POST /KRXService/devicestatus HTTP/1.1\r\nHost: localhost\r\n"
                                "Content-Type: text/xml\r\n";
        const QByteArray body = kNotice;
        const QByteArray size = QByteArray::number(body.size(), 16);
        const QByteArray chunked = post + "Transfer-Encoding: chunked\r\n\r\n";
        row("folded header", get + "X: a\r\n b\r\n\r\n", 400);
        row("NUL", get + QByteArray("X: a\0b\r\n\r\n", 10), 400);
        row("bare CR", get + "X: a\rb\r\n\r\n", 400);
        row("bare LF, and nothing more", "GET /KRXService/activity HTTP/1.1\n", 400);
        row("empty name", get + ": a\r\n\r\n", 400);
        row("well framed", chunked + size + "\r\n" + body + "\r\n0\r\n\r\n", 200);
        row("doubled coding",
            post + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n" + size + "\r\n" + body +
                "\r\n0\r\n\r\n",
            400);
        row("length and coding", post + "Content-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
            400);
        row("two lengths", post + "Content-Length: 4\r\nContent-Length: 4\r\n\r\n<a/>", 400);
        row("unknown coding, and no body yet", post + "Transfer-Encoding: gzip, chunked\r\n\r\n", 501);
        for (const char* sign : {"+", "0x", "-", " "})
            row(sign, chunked + sign + size + "\r\n" + body + "\r\n0\r\n\r\n", 400);
        row("chunk of a size that overflows", chunked + "FFFFFFFFFFFFFFFFF\r\n<a/>\r\n0\r\n\r\n", 400);
        row("chunk longer than its size", chunked + "3\r\n<a/>\r\n0\r\n\r\n", 400);
        row("chunk framed without end", chunked + "4;" + QByteArray(40000, 'x'), 400);
        row("unknown expectation", post + "Content-Length: 4\r\nExpect: miracles\r\n\r\n", 417);
        row("head too large", get + "X: " + QByteArray(40000, 'x'), 431);
        row("many empty lines", "\r\n\r\n\r\n", 400);
        row("protocol to come", "GET /KRXService/activity HTTP/2.0\r\nHost: localhost\r\n\r\n", 505);
        row("chunk with an extension", chunked + size + ";a=b\r\n" + body + "\r\n0\r\nX: trailer\r\n\r\n",
            200);
        row("whole target", "GET http://localhost:1/KRXService/activity HTTP/1.1\r\nHost: localhost\r\n\r\n",
            200);
        row("whole target elsewhere",
            "GET http://evil.example/KRXService/activity HTTP/1.1\r\nHost: localhost\r\n\r\n", 404);
        row("one empty line before", "\r\n" + get + "\r\n", 200);
    }
    void doubtfulFramingIsRefused()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, status);
        RawClient client = RawClient::toPort(m_service.port());
        QVERIFY(client.isOpen());
        client.send(request);
        const QByteArray answer = client.answer();
        QCOMPARE(RawClient::status(answer), status);
        if (status != 200) {
            QVERIFY(answer.contains("text/plain"));
            QCOMPARE(answer.mid(answer.indexOf("\r\n\r\n") + 4).count('\n'), 1);
        }
    }

    void requestsThatArriveByteByByteAreTheSame()
    {
        RawClient client = RawClient::toPort(m_service.port());
        const QByteArray body = kNotice;
        const QByteArray request =
            "POST /KRXService/devicestatus HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
            "Transfer-Encoding: chunked\r\n\r\n" +
            QByteArray::number(body.size(), 16) + "\r\n" + body + "\r\n0\r\n\r\n";
        for (int turn = 0; turn < 2; ++turn) {
            for (const char byte : request)
                QVERIFY(client.send(QByteArray(1, byte)));
            QCOMPARE(RawClient::status(client.answer()), 200);
        }
    }

    void clientThatWaitsToBeToldToGoOnIsTold()
    {
        RawClient client = RawClient::toPort(m_service.port());
        QVERIFY(client.send("POST /KRXService/jobs HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
                            "Content-Length: 4\r\nExpect: 100-continue\r\n\r\n"));
        QCOMPARE(client.answer(), QByteArray("HTTP/1.1 100 Continue\r\n\r\n"));
        QVERIFY(client.send("<a/>"));
        QCOMPARE(RawClient::status(client.answer()), 400);
        // Whoever is refused anyway is spared the sending.
        RawClient refused = RawClient::toPort(m_service.port());
        QVERIFY(
            refused.send("POST /KRXService/jobs HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/plain\r\n"
                         "Content-Length: 4\r\nExpect: 100-continue\r\n\r\n"));
        QCOMPARE(RawClient::status(refused.answer()), 415);
    }

    void olderClientsAreAnsweredAndLetGo()
    {
        RawClient client = RawClient::toPort(m_service.port());
        QVERIFY(client.send("GET /KRXService/activity HTTP/1.0\r\nHost: localhost\r\n\r\n"));
        QVERIFY(client.toTheEnd().startsWith("HTTP/1.1 200"));
    }

    void bothLoopbackAddressesAreServed()
    {
        RawClient client = RawClient::toPortBySix(m_service.port());
        if (!client.isOpen())
            QSKIP("this machine has no ::1");
        QVERIFY(client.send(RawClient::get("activity")));
        QCOMPARE(RawClient::status(client.answer()), 200);
    }

    // Every one of them has been served and rests while all others are; nobody has to leave first.
    void restingConnectionsAreServedAgain()
    {
        std::vector<RawClient> clients;
        for (int i = 0; i < kResting; ++i) {
            clients.push_back(RawClient::toPort(m_service.port()));
            QVERIFY(clients.back().send(RawClient::get("activity")));
            QCOMPARE(RawClient::status(clients.back().answer()), 200);
        }
        QCOMPARE(answered(m_service.port(), "200 resting connections"), kGood);
        for (RawClient& client : clients) {
            QVERIFY(client.send(RawClient::get("activity")));
            QCOMPARE(RawClient::status(client.answer()), 200);
        }
    }

    void silentAndSlowConnectionsHoldUpNobody()
    {
        const std::vector<QByteArray> beginnings = {
            "", "GET /KRX",
            "POST /KRXService/jobs HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\n"
            "Content-Length: 1000\r\n\r\n<a>"};
        std::vector<RawClient> clients;
        for (std::size_t i = 0; i < kSilent; ++i) {
            clients.push_back(RawClient::toPort(m_service.port()));
            QVERIFY(clients.back().isOpen());
            QVERIFY(clients.back().send(beginnings[i % beginnings.size()]));
        }
        QCOMPARE(answered(m_service.port(), "500 silent or slow connections"), kGood);
        // Nobody was thrown out so that the others could be served.
        QCOMPARE(
            std::count_if(clients.begin(), clients.end(), [](const RawClient& one) { return one.isQuiet(); }),
            kSilent);
    }

    void readersThatTakeNothingHoldUpNobody()
    {
        QByteArray many;
        for (int i = 0; i < 2000; ++i)
            many += RawClient::get("profiles?level=detail");
        std::vector<RawClient> clients;
        for (int i = 0; i < 64; ++i) {
            clients.push_back(RawClient::toPort(m_service.port()));
            const int small = 4096;
            ::setsockopt(clients.back().descriptor(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
            ::send(clients.back().descriptor(), many.constData(), static_cast<std::size_t>(many.size()),
                   MSG_DONTWAIT | MSG_NOSIGNAL);
        }
        QCOMPARE(answered(m_service.port(), "64 readers that take nothing"), kGood);
    }

    // Last: whatever its clients do, the service ends when it is told to.
    void endsWhateverItsClientsDo()
    {
        std::vector<RawClient> clients;
        for (int i = 0; i < 64; ++i) {
            clients.push_back(RawClient::toPort(m_service.port()));
            QVERIFY(clients.back().send(i % 2 == 0 ? RawClient::get("activity").repeated(i)
                                                   : QByteArray("GET /")));
        }
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(m_service.terminate(), 0);
        qInfo("ended after %lld ms", timer.elapsed());
        // It did not wait for the requests that were never finished: they would have been told that time was
        // up.
        for (std::size_t i = 1; i < clients.size(); i += 2)
            QCOMPARE(clients[i].toTheEnd(), QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestServiceConnections)
#include "test_service_connections.moc"
