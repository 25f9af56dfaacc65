#include "RestAnswer.h"
#include "TestHttpServer.h"

#include <QTest>

using RestTest::Answer;
using RestTest::serviceUrl;

namespace {

/// Sets an environment variable for as long as it lives.
class ScopedVariable
{
public:
    ScopedVariable(const char* name, const QByteArray& value)
        : m_name(name)
        , m_wasSet(qEnvironmentVariableIsSet(name))
        , m_before(qgetenv(name))
    {
        qputenv(name, value);
    }
    ~ScopedVariable()
    {
        if (m_wasSet)
            qputenv(m_name, m_before);
        else
            qunsetenv(m_name);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    bool m_wasSet;
    QByteArray m_before;
};

QString path(const char* text)
{
    return serviceUrl(QString::fromLatin1(text));
}

} // namespace

/// Where the REST client connects to, and what of a URL it sends there.
class TestRestClientUrls : public QObject
{
    Q_OBJECT

private slots:
    void urlTextIsSentByteForByte_data();
    void urlTextIsSentByteForByte();
    void hostHeaderIsThatOfTheUrl();
    void ipv4LoopbackAddressesAreAllowed();
    void connectPortIsReadAtEachExchange();
    void connectPortLeavesOtherPortsAlone();
    void connectPortThatIsNoPortFailsWithoutReachingAService_data();
    void connectPortThatIsNoPortFailsWithoutReachingAService();
    void proxiesOfTheEnvironmentAreIgnored();
    void hostsElsewhereAreRefused_data();
    void hostsElsewhereAreRefused();
    void unusableUrlsAreRefusedWithAText_data();
    void unusableUrlsAreRefusedWithAText();
};

void TestRestClientUrls::urlTextIsSentByteForByte_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("target");
    const auto same = [](const char* name, const char* target) {
        QTest::newRow(name) << QString::fromUtf8(target) << QByteArray(target);
    };
    same("query", "/KRXService/xelmediafolders?level=detail");
    same("dot segments", "/a/../b/./c");
    same("encoded dots", "/a/%2e%2E/b");
    same("double slashes", "/KRXService/jobs//");
    same("percent signs", "/100%/%zz/%41");
    same("brackets and quotes", "/[a]{b}|c\\d\"e'^`<>");
    same("letters beyond ASCII", "/\xc3\xa9/\xf0\x9f\x8e\xac");
    QTest::newRow("no path") << QString() << QByteArray("/");
    QTest::newRow("query only") << QStringLiteral("?a=b") << QByteArray("/?a=b");
}

void TestRestClientUrls::urlTextIsSentByteForByte()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, target);
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    server.setReply("GET", target, 200, "found");
    const Answer answer = RestTest::get(serviceUrl(text));
    QCOMPARE(server.lastRequest().target, target);
    QCOMPARE(answer.body, QByteArray("found"));
}

void TestRestClientUrls::hostHeaderIsThatOfTheUrl()
{
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    RestTest::get(path("/x"));
    QCOMPARE(server.lastRequest().header("Host"), QByteArray("localhost:58885"));
    QCOMPARE(server.lastRequest().headerCount("Host"), 1);
    RestTest::get(QStringLiteral("http://127.0.0.1:58885/x"));
    QCOMPARE(server.lastRequest().header("Host"), QByteArray("127.0.0.1:58885"));
}

void TestRestClientUrls::ipv4LoopbackAddressesAreAllowed()
{
    TestHttpServer server;
    server.setReply("GET", "/x", 200, "here");
    const QString url = QStringLiteral("HTTP://127.0.0.1:%1/x").arg(server.port());
    QCOMPARE(RestTest::get(url).body, QByteArray("here"));
    // Another address of the loopback network: allowed, though nobody answers there.
    const Answer other = RestTest::get(QStringLiteral("http://127.200.3.4:%1/x").arg(server.port()));
    QVERIFY(!other.success);
    QCOMPARE(other.message, QStringLiteral("No service answers at 127.200.3.4:%1").arg(server.port()));
}

void TestRestClientUrls::connectPortIsReadAtEachExchange()
{
    TestHttpServer first;
    TestHttpServer second;
    first.setReply("GET", "/x", 200, "first");
    second.setReply("GET", "/x", 200, "second");
    for (int round = 0; round < 2; ++round) {
        {
            const ScopedConnectPort connect(first.port());
            QCOMPARE(RestTest::get(path("/x")).body, QByteArray("first"));
        }
        {
            const ScopedConnectPort connect(second.port());
            QCOMPARE(RestTest::get(path("/x")).body, QByteArray("second"));
        }
    }
}

void TestRestClientUrls::connectPortLeavesOtherPortsAlone()
{
    TestHttpServer meant;
    TestHttpServer other;
    meant.setReply("GET", "/x", 200, "meant");
    const ScopedConnectPort connect(other.port());
    QCOMPARE(RestTest::get(QStringLiteral("http://localhost:%1/x").arg(meant.port())).body,
             QByteArray("meant"));
    QCOMPARE(other.requestCount(), 0);
}

void TestRestClientUrls::connectPortThatIsNoPortFailsWithoutReachingAService_data()
{
    QTest::addColumn<QByteArray>("port");
    QTest::newRow("word") << QByteArray("service");
    QTest::newRow("zero") << QByteArray("0");
    QTest::newRow("too large") << QByteArray("65536");
    QTest::newRow("negative") << QByteArray("-1");
    QTest::newRow("host and port") << QByteArray("example.org:80");
}

void TestRestClientUrls::connectPortThatIsNoPortFailsWithoutReachingAService()
{
    QFETCH(QByteArray, port);
    const ScopedVariable connect("KRX_CONNECT_PORT", port);
    const Answer answer = RestTest::get(path("/x"));
    QVERIFY(answer.started);
    QVERIFY(answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.message, QStringLiteral("KRX_CONNECT_PORT is set to %1, which is no port number")
                                 .arg(QString::fromLatin1(port)));
}

void TestRestClientUrls::proxiesOfTheEnvironmentAreIgnored()
{
    TestHttpServer server;
    TestHttpServer proxy;
    const ScopedConnectPort connect(server.port());
    const QByteArray proxyUrl = "http://127.0.0.1:" + QByteArray::number(proxy.port());
    const ScopedVariable http("http_proxy", proxyUrl);
    const ScopedVariable all("all_proxy", proxyUrl);
    const ScopedVariable allLoud("ALL_PROXY", proxyUrl);
    const ScopedVariable none("no_proxy", "");
    server.setReply("GET", "/x", 200, "direct");
    QCOMPARE(RestTest::get(path("/x")).body, QByteArray("direct"));
    QCOMPARE(server.lastRequest().target, QByteArray("/x"));
    QCOMPARE(proxy.connectionCount(), 0);
}

void TestRestClientUrls::hostsElsewhereAreRefused_data()
{
    QTest::addColumn<QString>("host");
    for (const char* host :
         {"example.com", "10.0.0.1", "0.0.0.0", "128.0.0.1", "127.1", "127.0.0.1.example.com", "127.0.0.256",
          "127.0.0.01", "0177.0.0.1", "0x7f.0.0.1", "2130706433", "localhost.example.com", "localhost.",
          "[::2]", "[::ffff:127.0.0.1]", "[fe80::1%25lo]", "user@localhost", "127.0.0.1@example.com"})
        QTest::newRow(host) << QString::fromLatin1(host);
}

void TestRestClientUrls::hostsElsewhereAreRefused()
{
    QFETCH(QString, host);
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    const Answer answer = RestTest::get(QStringLiteral("http://%1:58885/x").arg(host));
    QVERIFY(answer.started);
    QVERIFY(answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.status, -1);
    QCOMPARE(answer.message, QStringLiteral("Only services of this machine may be asked, not %1").arg(host));
    QCOMPARE(server.connectionCount(), 0);
}

void TestRestClientUrls::unusableUrlsAreRefusedWithAText_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("empty") << QString();
    QTest::newRow("no scheme") << QStringLiteral("localhost:58885/x");
    QTest::newRow("other scheme") << QStringLiteral("https://localhost:58885/x");
    QTest::newRow("file") << QStringLiteral("file:///etc/passwd");
    QTest::newRow("no host") << QStringLiteral("http:///x");
    QTest::newRow("open bracket") << QStringLiteral("http://[::1/x");
    QTest::newRow("no port number") << QStringLiteral("http://localhost:/x");
    QTest::newRow("port not a number") << QStringLiteral("http://localhost:58885x/x");
    QTest::newRow("port too large") << QStringLiteral("http://localhost:65536/x");
    QTest::newRow("blank") << serviceUrl(QStringLiteral("/a b"));
    QTest::newRow("line break") << serviceUrl(QStringLiteral("/a HTTP/1.1\r\nX-More: 1\r\n\r\n"));
    QTest::newRow("tab") << serviceUrl(QStringLiteral("/a\tb"));
    QTest::newRow("delete character") << serviceUrl(QStringLiteral("/a\x7f"));
    QTest::newRow("high surrogate alone") << serviceUrl(QString(QLatin1Char('/') + QChar(0xd83c)));
    QTest::newRow("low surrogate alone") << serviceUrl(QString(QLatin1Char('/') + QChar(0xdfac)));
    QTest::newRow("endless") << serviceUrl(QString(70000, QLatin1Char('a')));
}

void TestRestClientUrls::unusableUrlsAreRefusedWithAText()
{
    QFETCH(QString, url);
    TestHttpServer server;
    const ScopedConnectPort connect(server.port());
    const Answer answer = RestTest::get(url);
    QVERIFY(answer.started);
    QVERIFY(answer.complete);
    QVERIFY(!answer.success);
    QCOMPARE(answer.status, -1);
    QVERIFY2(answer.message.startsWith(QStringLiteral("The address ")), qPrintable(answer.message));
    QVERIFY(answer.message.size() < 300);
    QCOMPARE(server.connectionCount(), 0);
}

QTEST_GUILESS_MAIN(TestRestClientUrls)
#include "test_rest_client_urls.moc"
