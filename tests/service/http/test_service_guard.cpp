#include "http/HeadCheck.h"
#include "http/HttpGuard.h"

#include <QTest>

using namespace krxservice;

namespace {

RequestHead get(const std::string& target = "/KRXService/activity")
{
    return {"GET", target, {{"Host", "localhost:58885"}}};
}

RequestHead post(const std::string& type = "application/xml", const std::string& length = "10")
{
    return {"POST",
            "/KRXService/jobs",
            {{"Host", "localhost:58885"}, {"Content-Type", type}, {"Content-Length", length}}};
}

RequestHead with(RequestHead head, const std::string& name, const std::string& value)
{
    head.headers.emplace_back(name, value);
    return head;
}

int status(const RequestHead& head)
{
    const auto refusal = httpguard::check(head);
    if (refusal && (refusal->text.empty() || refusal->text.find('\n') != std::string::npos))
        return -1;
    return refusal ? refusal->status : 200;
}

} // namespace

class TestServiceGuard : public QObject
{
    Q_OBJECT

private slots:
    void requestsOfProgramsOnThisMachinePass()
    {
        QCOMPARE(status(get()), 200);
        for (const char* type : {"application/xml", "text/xml", "Text/XML; charset=UTF-8",
                                 "application/soap+xml", "application/xml;charset=\"utf-8\""})
            QCOMPARE(status(post(type)), 200);
    }

    void hostMustBeThisMachine_data()
    {
        QTest::addColumn<QByteArray>("host");
        QTest::addColumn<bool>("legal");
        for (const char* host : {"localhost", "localhost:58885", "LocalHost:1", "127.0.0.1",
                                 "127.0.0.1:65535", "[::1]", "[::1]:58885"})
            QTest::newRow(host) << QByteArray(host) << true;
        for (const char* host :
             {"", "evil.example", "localhost.evil.example", "evil.example:58885", "localhost:", "localhost:0",
              "localhost:65536", "localhost:-1", "localhost:1x", "127.0.0.1.evil.example", "127.0.0.2",
              "[::2]", "localhost@evil.example", "localhost, evil", "0.0.0.0:58885", "192.168.0.1"})
            QTest::newRow(*host ? host : "(empty)") << QByteArray(host) << false;
    }
    void hostMustBeThisMachine()
    {
        QFETCH(QByteArray, host);
        QFETCH(bool, legal);
        QCOMPARE(httpguard::isLoopbackHost(host.toStdString()), legal);
        QCOMPARE(status({"GET", "/KRXService/activity", {{"Host", host.toStdString()}}}), legal ? 200 : 403);
    }

    void missingHostIsRefused() { QCOMPARE(status({"GET", "/KRXService/activity", {}}), 400); }

    void doubledHostIsRefused() { QCOMPARE(status(with(get(), "host", "localhost:58885")), 400); }

    void foreignOriginIsRefused()
    {
        for (const char* origin :
             {"http://evil.example", "null", "http://localhost:3000", "https://localhost:58885", ""})
            QCOMPARE(status(with(get(), "Origin", origin)), 403);
        QCOMPARE(status(with(get(), "Origin", "http://localhost:58885")), 200);
    }

    void requestsThatBrowsersMarkAreRefused()
    {
        for (const char* site : {"cross-site", "same-site", "same-origin", "none", "x", ""})
            QCOMPARE(status(with(get(), "Sec-Fetch-Site", site)), 403);
        for (const char* name : {"Sec-Fetch-Mode", "Sec-Fetch-Dest", "sec-fetch-user"})
            QCOMPARE(status(with(get(), name, "x")), 403);
    }

    void browsersAreKnownByWhatTheyCannotHide()
    {
        QVERIFY(!httpguard::looksLikeBrowser(get()));
        QVERIFY(
            !httpguard::looksLikeBrowser(with(with(get(), "User-Agent", "curl/7.88.1"), "Accept", "*/*")));
        for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
                 {"Origin", "http://localhost:58885"},
                 {"referer", "http://localhost:58885/"},
                 {"Cookie", "a=b"},
                 {"Sec-CH-UA", "x"},
                 {"Upgrade-Insecure-Requests", "1"},
                 {"User-Agent", "Mozilla/5.0 (X11; Linux x86_64)"},
                 {"Accept", "text/html,*/*"}})
            QVERIFY2(httpguard::looksLikeBrowser(with(get(), name, value)), name.c_str());
    }

    // A link is followed without saying from where, so what looks like a browser is enough.
    void errorsAreNotClearedForABrowser()
    {
        const RequestHead clears = get("/KRXService/errors?clear=true");
        QCOMPARE(status(clears), 200);
        QCOMPARE(status(with(clears, "User-Agent", "Mozilla/5.0")), 403);
        QCOMPARE(status(with(clears, "Referer", "http://localhost:58885/")), 403);
        QCOMPARE(status(with(get("/KRXService/errors"), "User-Agent", "Mozilla/5.0")), 200);
    }

    void bodiesNotDeclaredAsXmlAreRefused()
    {
        for (const char* type : {"", "text/plain", "multipart/form-data", "application/x-www-form-urlencoded",
                                 "application/json", "application/xmlx", "application/+xml", "text/html",
                                 "application/xml; charset=utf-16"})
            QCOMPARE(status(post(type)), 415);
        RequestHead none = post();
        none.headers.erase(none.headers.begin() + 1);
        QCOMPARE(status(none), 415);
        QCOMPARE(status(with(post(), "Content-Type", "text/plain")), 415);
        QCOMPARE(status(with(post(), "Content-Encoding", "gzip")), 415);
    }

    void putNeedsXmlAsWell()
    {
        RequestHead head = post("text/plain");
        head.method = "PUT";
        QCOMPARE(status(head), 415);
    }

    void lengthsAreChecked()
    {
        QCOMPARE(status(post("text/xml", "1048576")), 200);
        QCOMPARE(status(post("text/xml", "1048577")), 413);
        QCOMPARE(status(post("text/xml", "99999999999999999999999999")), 413);
        for (const char* length : {"-1", "", "1 2", "0x10", "1,1"})
            QCOMPARE(status(post("text/xml", length)), 400);
        QCOMPARE(status(with(post(), "Content-Length", "10")), 400);
        QCOMPARE(status(with(post(), "Transfer-Encoding", "chunked")), 400);
        RequestHead none = post();
        none.headers.pop_back();
        QCOMPARE(status(none), 411);
        QCOMPARE(status(with(none, "Transfer-Encoding", "chunked")), 200);
        QCOMPARE(status(with(none, "Transfer-Encoding", "Chunked ")), 200);
        QCOMPARE(status(with(with(none, "Transfer-Encoding", "chunked"), "transfer-encoding", "chunked")),
                 400);
        for (const char* coding :
             {"gzip", "gzip, chunked", "chunked, chunked", "chunked;q=1", "identity", ""})
            QCOMPARE(status(with(none, "Transfer-Encoding", coding)), 501);
        QCOMPARE(status(with(get(), "Content-Length", "5")), 400);
        QCOMPARE(status(with(get(), "Content-Length", "0")), 200);
    }

    void targetsThatLeadElsewhereAreRefused_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("expected");
        const auto row = [](const QByteArray& target, int expected) {
            QTest::newRow(target.toPercentEncoding().constData()) << target << expected;
        };
        row("/KRXService/xelmediafolders/f1", 200);
        row("/KRXService/xelmediafolders?level=detail", 200);
        row("/KRXService/jobs/detail?kind=manual&filter=true", 200);
        row("/KRXService/xelmediafolders/../jobs", 400);
        row("/KRXService/xelmediafolders/..", 400);
        row("/KRXService/xelmediafolders/.", 400);
        row("/KRXService/xelmediafolders/%2e%2e", 400);
        row("/KRXService/xelmediafolders/%2E%2E/x", 400);
        row("/KRXService/xelmediafolders/a%00b", 400);
        row("/KRXService/xelmediafolders/a\\b", 400);
        row("/KRXService/xelmediafolders/a%5Cb", 400);
        row(QByteArray("/KRXService/a\0b", 15), 400);
        row("/KRXService/\xC3\xA9", 400);
        row("/KRXService/a?level=..%2f", 400);
        row("/KRXService/a?level", 400);
        row("/KRXService/a?=x", 400);
        row("/", 404);
        row("/krxservice/jobs", 404);
        row("/KRXServicejobs", 404);
        row("http://localhost:58885/KRXService/jobs", 200);
        row("HTTP://127.0.0.1/KRXService/jobs?filter=true", 200);
        row("http://[::1]:58885/KRXService/jobs", 200);
        row("http://localhost:58885/KRXService/../jobs", 400);
        row("http://localhost:58885", 404);
        row("http:///KRXService/jobs", 404);
        row("http://evil.example/KRXService/jobs", 404);
        row("http://localhost@evil.example/KRXService/jobs", 404);
        row("https://localhost:58885/KRXService/jobs", 404);
        row("*", 404);
        row("/KRXService/" + QByteArray(3000, 'a'), 414);
    }
    void targetsThatLeadElsewhereAreRefused()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, expected);
        QCOMPARE(status(get(target.toStdString())), expected);
    }

    void targetIsSplit()
    {
        const auto target = httpguard::split("/KRXService/jobs/detail?kind=manual&filter=true");
        QVERIFY(target);
        QCOMPARE(target->segments, (std::vector<std::string>{"jobs", "detail"}));
        QCOMPARE(target->query.at("kind"), std::string("manual"));
        QCOMPARE(target->query.at("filter"), std::string("true"));
        QCOMPARE(httpguard::split("/KRXService/profiles/")->segments,
                 (std::vector<std::string>{"profiles", ""}));
    }

    void doubtfulHeadsAreRefused_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, const QByteArray& head, int expected) {
            QTest::newRow(name) << head << expected;
        };
        const QByteArray line = "GET /KRXService/jobs HTTP/1.1\r\n";
        row("plain", line + "Host: localhost\r\nX:\ta b\xE9\r\nY:\r\n\r\n", 200);
        row("version 1.0", "GET / HTTP/1.0\r\n\r\n", 200);
        row("folded by a blank", line + "X: a\r\n b\r\n\r\n", 400);
        row("folded by a tab", line + "X: a\r\n\tb\r\n\r\n", 400);
        row("folded at once", line + " X: a\r\n\r\n", 400);
        row("NUL in a value", line + QByteArray("X: a\0b\r\n\r\n", 10), 400);
        row("NUL in a name", line + QByteArray("X\0: ab\r\n\r\n", 10), 400);
        row("bare CR", line + "X: a\rb\r\n\r\n", 400);
        row("doubled CR", line + "X: a\r\r\n\r\n", 400);
        row("bare LF", line + "X: a\nY: b\r\n\r\n", 400);
        row("other control character", line + "X: a\x01\r\n\r\n", 400);
        row("DEL", line + "X: a\x7F\r\n\r\n", 400);
        row("empty name", line + ": a\r\n\r\n", 400);
        row("blank before the colon", line + "Host : localhost\r\n\r\n", 400);
        row("blank in the name", line + "X Y: a\r\n\r\n", 400);
        row("name beyond ASCII", line + "X\xE9: a\r\n\r\n", 400);
        row("no colon", line + "X\r\n\r\n", 400);
        row("no first line", "\r\n", 400);
        row("two words", "GET /\r\n\r\n", 400);
        row("four words", "GET / / HTTP/1.1\r\n\r\n", 400);
        row("two blanks", "GET  / HTTP/1.1\r\n\r\n", 400);
        row("blank in front", " GET / HTTP/1.1\r\n\r\n", 400);
        row("other protocol", "GET / RTSP/1.0\r\n\r\n", 400);
        row("version in small letters", "GET / http/1.1\r\n\r\n", 400);
        row("version to come", "GET / HTTP/2.0\r\n\r\n", 505);
        row("hundred headers", line + QByteArray("X: a\r\n").repeated(100) + "\r\n", 200);
        row("too many headers", line + QByteArray("X: a\r\n").repeated(101) + "\r\n", 431);
    }
    void doubtfulHeadsAreRefused()
    {
        QFETCH(QByteArray, head);
        QFETCH(int, expected);
        const std::string text = head.toStdString();
        auto refusal = headcheck::checkBytes(text, 0);
        if (!refusal)
            refusal = headcheck::checkLines(text);
        QCOMPARE(refusal ? refusal->status : 200, expected);
        // However the bytes arrive, they are judged the same.
        std::optional<Refusal> slowly;
        for (std::size_t i = 1; i <= text.size() && !slowly; ++i)
            slowly = headcheck::checkBytes(std::string_view(text).substr(0, i), i - 1);
        QCOMPARE(slowly.has_value(), headcheck::checkBytes(text, 0).has_value());
    }

    void urlsInAnswersFollowTheHostOfTheRequest()
    {
        QCOMPARE(httpguard::baseUrl(get()), std::string("http://localhost:58885/KRXService"));
        QCOMPARE(httpguard::baseUrl({"GET", "/", {{"HOST", "127.0.0.1:1234"}}}),
                 std::string("http://127.0.0.1:1234/KRXService"));
        QCOMPARE(httpguard::baseUrl(get("http://[::1]:77/KRXService/jobs")),
                 std::string("http://[::1]:77/KRXService"));
    }
};

QTEST_GUILESS_MAIN(TestServiceGuard)
#include "test_service_guard.moc"
