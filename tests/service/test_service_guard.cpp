#include "http/HttpGuard.h"

#include <QtTest>

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

    void requestsThatBrowsersMarkAsForeignAreRefused()
    {
        for (const char* site : {"cross-site", "same-site", "x"})
            QCOMPARE(status(with(get(), "Sec-Fetch-Site", site)), 403);
        for (const char* site : {"none", "same-origin"})
            QCOMPARE(status(with(get(), "Sec-Fetch-Site", site)), 200);
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
        row("http://localhost:58885/KRXService/jobs", 404);
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

    void urlsInAnswersFollowTheHostOfTheRequest()
    {
        QCOMPARE(httpguard::baseUrl(get()), std::string("http://localhost:58885/KRXService"));
        QCOMPARE(httpguard::baseUrl({"GET", "/", {{"HOST", "127.0.0.1:1234"}}}),
                 std::string("http://127.0.0.1:1234/KRXService"));
    }
};

QTEST_GUILESS_MAIN(TestServiceGuard)
#include "test_service_guard.moc"
