#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXJob.h"
#include "KRXJobManager.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXServiceStatus.h"
#include "RestClientLimits.h"
#include "TestHttpServer.h"

#include <QTest>
#include <QVariant>

#include <functional>
#include <memory>
#include <vector>

using Reply = TestHttpServer::Reply;

namespace {

constexpr const char* kBrokeOff = "The connection to the service broke off before the answer was complete";
constexpr const char* kLate = "The service did not answer in time";
constexpr const char* kNotHttp = "The answer of the service is not proper HTTP";
constexpr const char* kTooLarge = "The answer of the service is too large";
constexpr const char* kHeadersTooLarge = "The headers of the service's answer are too large";
constexpr const char* kUnreadable = "The answer of the service could not be read";

/// One request of the module.
struct Operation
{
    const char* name;
    /// Whether the operation reads the body that comes back.
    bool readsBody;
    KRXBaseService* service;
    /// \return what the operation says of its success.
    std::function<bool()> run;
};

QByteArray folderXml(const QByteArray& id)
{
    return "<xelMediaFolder id=\"" + id + "\"><path>/" + id +
           "</path><profile>p</profile><enabled>true</enabled></xelMediaFolder>";
}

QByteArray profileXml(const QByteArray& guid)
{
    return "<profile><profileDetail><profileName>Name " + guid + "</profileName><profileGUID>" + guid +
           "</profileGUID></profileDetail></profile>";
}

QByteArray jobXml(const QByteArray& id)
{
    return "<jobInfo><id>" + id + "</id><path>/" + id + "</path></jobInfo>";
}

QString textOf(const QObject& record)
{
    QString text;
    for (const QByteArray& name : record.dynamicPropertyNames()) {
        const QVariant value = record.property(name.constData());
        const QString words = value.type() == QVariant::StringList
                                  ? value.toStringList().join(QLatin1Char(','))
                                  : value.toString();
        text += QString::fromLatin1(name) + QLatin1Char('=') + words + QLatin1Char('\n');
    }
    return text;
}

} // namespace

/// The managers over the real REST client, with a service that misbehaves. Whatever it does, every operation
/// fails within its bound, leaves the caches as they were and says why; the next good call works.
class TestServiceWire : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void refusalOfTheServiceIsTheLastError();
    void errorStatusWithoutTextIsPutInWords();
    void absentService();
    void hangingService();
    void hangingServiceIsWaitedForThreeSeconds();
    void serviceThatDripsOneByteASecond();
    void resettingService();
    void resetInTheMiddleOfTheBody();
    void bodyCutShort();
    void negativeLength();
    void lengthOfTwoToThe63rd();
    void lengthLongerThanTheBody();
    void lengthShorterThanTheBody();
    void html();
    void json();
    void nothing();
    void floodOfInterimAnswers();
    void headerLinesOf64Kilobytes();
    void redirectElsewhere();
    void outputReadyOfAnUnreadableAnswerIsEmptyAndFine();
    void volumeNoticeIsSentAndNotWaitedFor();
    void volumeNoticeToAnAbsentServiceChangesNothing();
    void urlsOfAnAnswerMustBeOfThisMachine();

private:
    /// The service behaves: every list has two records.
    void behave();
    /// Fills all caches from the service.
    bool fillAll();
    QString caches() const;
    std::vector<Operation> operations();
    /// Every operation (only those that read a body, if so told) fails with \a error while the service
    /// answers everything with \a reply.
    void verifyTrouble(const Reply& reply, const QString& error, bool onlyReaders = false);
    void verifyTrouble(const Reply& reply, const char* error, bool onlyReaders = false);
    void verifyOperation(const Operation& operation, const Reply& reply, const QString& error);
    void verifyNextGoodCall();
    static KRXFolderManager& folders() { return KRXFolderManager::getInstance(); }
    static KRXProfileManager& profiles() { return KRXProfileManager::getInstance(); }

    std::unique_ptr<TestHttpServer> m_server;
    std::unique_ptr<ScopedConnectPort> m_connect;
    std::unique_ptr<KRXJobManager> m_jobs;
    StandInHost::RestClientLimits m_limits;
    QString m_before;
};

void TestServiceWire::init()
{
    m_limits = {};
    StandInHost::setRestClientLimits({});
    m_server = std::make_unique<TestHttpServer>();
    m_connect = std::make_unique<ScopedConnectPort>(m_server->port());
    m_jobs = std::make_unique<KRXJobManager>();
    behave();
    QVERIFY(fillAll());
    m_before = caches();
    QCOMPARE(folders().countFolders(), 2);
    QCOMPARE(profiles().countProfiles(), 2);
    QCOMPARE(m_jobs->countJobs(), 2);
}

void TestServiceWire::cleanup()
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    m_jobs.reset();
    m_connect.reset();
    m_server.reset();
    StandInHost::setRestClientLimits({});
}

void TestServiceWire::behave()
{
    m_server->clearReplies();
    m_server->setReply("GET", "/KRXService/xelmediafolders?level=detail", 200,
                       "<folders>" + folderXml("f1") + folderXml("f2") + "</folders>");
    m_server->setReply("GET", "/KRXService/profiles?level=detail", 200,
                       "<profiles>" + profileXml("g1") + profileXml("g2") + "</profiles>");
    m_server->setReply("GET", "/KRXService/jobs/detail?kind=manual&filter=true", 200,
                       "<jobs>" + jobXml("j1") + jobXml("j2") + "</jobs>");
}

bool TestServiceWire::fillAll()
{
    return folders().refreshFolders(true) && profiles().refreshProfiles(true) &&
           m_jobs->updateManualJobsDetail();
}

QString TestServiceWire::caches() const
{
    QString text;
    for (int i = 0; i < folders().countFolders(); ++i)
        text += textOf(*folders().getFolder(i));
    for (const KRXProfile* profile : profiles().getKRXProfileList())
        text += textOf(*profile);
    for (int i = 0; i < m_jobs->countJobs(); ++i) {
        KRXJob job;
        m_jobs->getJob(i, job);
        text += job.id + QLatin1Char(' ') + job.path + QLatin1Char(' ') + job.state + QLatin1Char('\n');
    }
    return text;
}

std::vector<Operation> TestServiceWire::operations()
{
    KRXFolderManager* f = &folders();
    KRXProfileManager* p = &profiles();
    KRXJobManager* j = m_jobs.get();
    const QString folder = QStringLiteral("f1");
    const QString profile = QStringLiteral("g1");
    const QString job = QStringLiteral("j1");
    return {
        {"refreshFolders(true)", true, f, [=] { return f->refreshFolders(true); }},
        {"refreshFolders(false)", true, f, [=] { return f->refreshFolders(false); }},
        {"readFolder", true, f,
         [=] {
             KRXFolder out;
             return f->readFolder(folder, out);
         }},
        {"createFolder", true, f,
         [=] {
             KRXFolder out;
             return f->createFolder(QStringLiteral("/new"), profile, out);
         }},
        {"updateFolder", false, f,
         [=] {
             KRXFolder record;
             f->getFolder(folder, record);
             record.setProperty("folderPath", QStringLiteral("/changed"));
             return f->updateFolder(record, false);
         }},
        {"deleteFolder", false, f, [=] { return f->deleteFolder(folder); }},
        {"refreshProfiles(true)", true, p, [=] { return p->refreshProfiles(true); }},
        {"refreshProfiles(false)", true, p, [=] { return p->refreshProfiles(false); }},
        {"readProfile", true, p,
         [=] {
             KRXProfile out;
             return p->readProfile(profile, out);
         }},
        {"createProfile", true, p,
         [=] {
             QString id;
             return p->createProfile(QStringLiteral("New"), nullptr, nullptr, id);
         }},
        {"deleteProfile", false, p, [=] { return p->deleteProfile(profile); }},
        {"submitJob", true, j,
         [=] {
             QString id;
             return j->submitJob(QStringLiteral("/new"), profile, id);
         }},
        {"cancelJob", false, j, [=] { return j->cancelJob(job); }},
        {"retryJob", false, j, [=] { return j->retryJob(job); }},
        {"deleteJob", false, j, [=] { return j->deleteJob(job); }},
        {"updateJobsStatus", true, j, [=] { return j->updateJobsStatus(); }},
        {"updateManualJobsDetail", true, j, [=] { return j->updateManualJobsDetail(); }},
        {"isAnyJobInProgress", true, j,
         [=] {
             bool ok = true;
             return j->isAnyJobInProgress(&ok) || ok;
         }},
        {"getErrorList", true, j,
         [=] {
             QStringList errors;
             return j->getErrorList(errors, false);
         }},
        {"getKRXServiceStatus", true, j,
         [=] {
             KRXServiceStatus status;
             return j->getKRXServiceStatus(status);
         }},
        // Of the body only the folders are of interest here, not whether it could be read.
        {"getFoldersOutputReady", false, j,
         [=] {
             bool ok = true;
             return !j->getFoldersOutputReady(&ok).isEmpty() || ok;
         }},
    };
}

void TestServiceWire::verifyOperation(const Operation& operation, const Reply& reply, const QString& error)
{
    // A refusal with a text of its own comes first, so that a last error left over from before shows.
    const QByteArray mark = QByteArray("Before ") + operation.name;
    m_server->setHandler([mark](const TestHttpServer::Request&) { return Reply::text(500, mark); });
    QVERIFY2(!operation.run(), operation.name);
    QCOMPARE(operation.service->lastError(), QString::fromLatin1(mark));
    m_server->setHandler([reply](const TestHttpServer::Request&) { return reply; });
    StandInHost::setRestClientLimits(m_limits);
    const bool succeeded = operation.run();
    StandInHost::setRestClientLimits({});
    QVERIFY2(!succeeded, operation.name);
    QVERIFY2(operation.service->lastError() == error,
             qPrintable(QString::fromLatin1(operation.name) + QStringLiteral(": ") +
                        operation.service->lastError()));
    QVERIFY2(caches() == m_before, operation.name);
}

void TestServiceWire::verifyTrouble(const Reply& reply, const QString& error, bool onlyReaders)
{
    m_server->clearReplies();
    for (const Operation& operation : operations()) {
        if (onlyReaders && !operation.readsBody)
            continue;
        verifyOperation(operation, reply, error);
        if (QTest::currentTestFailed())
            return;
    }
    verifyNextGoodCall();
}

void TestServiceWire::verifyTrouble(const Reply& reply, const char* error, bool onlyReaders)
{
    verifyTrouble(reply, QString::fromLatin1(error), onlyReaders);
}

void TestServiceWire::verifyNextGoodCall()
{
    StandInHost::setRestClientLimits({});
    behave();
    m_server->setReply("GET", "/KRXService/xelmediafolders?level=detail", 200,
                       "<folders>" + folderXml("f3") + "</folders>");
    QVERIFY(fillAll());
    QCOMPARE(folders().countFolders(), 1);
    QVERIFY(caches() != m_before);
}

void TestServiceWire::refusalOfTheServiceIsTheLastError()
{
    verifyTrouble(Reply::text(409, "The folder /a %1 is watched already\n"),
                  QStringLiteral("The folder /a %1 is watched already"));
}

void TestServiceWire::errorStatusWithoutTextIsPutInWords()
{
    verifyTrouble(Reply::bare(404), "The service answered 404 Not Found");
}

void TestServiceWire::absentService()
{
    for (const Operation& operation : operations()) {
        const RefusingPort nobody;
        const ScopedConnectPort connect(nobody.port());
        QVERIFY2(!operation.run(), operation.name);
        QCOMPARE(operation.service->lastError(), QStringLiteral("No service answers at localhost:58885"));
        QCOMPARE(caches(), m_before);
    }
    verifyNextGoodCall();
}

void TestServiceWire::hangingService()
{
    // Once the waiting ends first, once the exchange does.
    m_limits.longestWaitMs = 20;
    verifyTrouble(Reply::never(), kLate);
    if (QTest::currentTestFailed())
        return;
    behave();
    QVERIFY(fillAll());
    m_limits = {};
    m_limits.exchangeMs = 50;
    verifyTrouble(Reply::never(), kLate);
}

void TestServiceWire::hangingServiceIsWaitedForThreeSeconds()
{
    m_server->clearReplies();
    m_server->setHandler([](const TestHttpServer::Request&) { return Reply::never(); });
    const int open = m_server->openConnections();
    QVERIFY(!folders().refreshFolders(true));
    QCOMPARE(folders().lastError(), QString::fromLatin1(kLate));
    // The exchange itself, whose bound is ten times as long, is still under way.
    QCOMPARE(m_server->openConnections(), open);
    QCOMPARE(caches(), m_before);
    verifyNextGoodCall();
}

void TestServiceWire::serviceThatDripsOneByteASecond()
{
    m_limits.longestWaitMs = 30;
    verifyTrouble(Reply::xml("<folders/>").dripping(1000), kLate);
}

void TestServiceWire::resettingService()
{
    verifyTrouble(Reply::reset(), kBrokeOff);
}

void TestServiceWire::resetInTheMiddleOfTheBody()
{
    verifyTrouble(Reply::xml("<folders>" + folderXml("f9") + "</folders>").resetAfter(20), kBrokeOff);
}

void TestServiceWire::bodyCutShort()
{
    // What did arrive is well-formed: it is not taken for the whole all the same.
    verifyTrouble(Reply::xml("<folders/>          ").cutAfter(10), kBrokeOff);
}

void TestServiceWire::negativeLength()
{
    verifyTrouble(Reply::xml("<folders/>").lengthSaid("-1").thenClose(), kNotHttp);
}

void TestServiceWire::lengthOfTwoToThe63rd()
{
    verifyTrouble(Reply::xml("<folders/>").lengthSaid("9223372036854775808").thenClose(), kTooLarge);
}

void TestServiceWire::lengthLongerThanTheBody()
{
    verifyTrouble(Reply::xml("<folders/>").lengthSaid("1000").thenClose(), kBrokeOff);
}

void TestServiceWire::lengthShorterThanTheBody()
{
    verifyTrouble(Reply::xml("<folders></folders>").lengthSaid("12"), kUnreadable, true);
}

void TestServiceWire::html()
{
    Reply reply = Reply::xml("<!DOCTYPE html><html><body><p>It works<br></body></html>");
    reply.contentType = "text/html";
    verifyTrouble(reply, kUnreadable, true);
}

void TestServiceWire::json()
{
    Reply reply = Reply::xml("{\"folders\": []}");
    reply.contentType = "application/json";
    verifyTrouble(reply, kUnreadable, true);
}

void TestServiceWire::nothing()
{
    verifyTrouble(Reply::xml({}), kUnreadable, true);
}

void TestServiceWire::floodOfInterimAnswers()
{
    verifyTrouble(Reply::xml("<folders/>").withInformational(20000), kHeadersTooLarge);
}

void TestServiceWire::headerLinesOf64Kilobytes()
{
    Reply reply = Reply::xml("<folders/>");
    for (int i = 0; i < 3; ++i)
        reply.withHeader("X-Long", QByteArray(64 * 1024, 'x'));
    verifyTrouble(reply, kHeadersTooLarge);
}

void TestServiceWire::redirectElsewhere()
{
    TestHttpServer elsewhere;
    const QByteArray location = "http://127.0.0.1:" + QByteArray::number(elsewhere.port()) + "/trap";
    verifyTrouble(Reply::redirect(location), "The service answered 302 Found");
    QCOMPARE(elsewhere.connectionCount(), 0);
}

void TestServiceWire::outputReadyOfAnUnreadableAnswerIsEmptyAndFine()
{
    const QByteArray target = "/KRXService/xelmediafolders?level=outputready";
    for (const char* body : {"", "<p>It works<br>", "{}"}) {
        m_server->setReply("GET", target, 200, body);
        bool ok = false;
        QVERIFY(m_jobs->getFoldersOutputReady(&ok).isEmpty());
        QVERIFY(ok);
        QVERIFY(m_jobs->lastError().isEmpty());
    }
}

void TestServiceWire::volumeNoticeIsSentAndNotWaitedFor()
{
    m_server->setReply("POST", "/KRXService/devicestatus", Reply::never());
    m_server->clearRequests();
    const auto* name = reinterpret_cast<const unsigned char*>("Volume \xc3\xa9");
    KRXFolderManager::volumeStatusCallback(name, 3, 1);
    // The service never answers; nothing waits for it, and nothing else suffers.
    verifyNextGoodCall();
    QVERIFY(m_server->waitForRequests(4));
    QCOMPARE(m_server->requestCount("POST", "/KRXService/devicestatus"), 1);
    for (const auto& request : m_server->requests()) {
        if (request.method == "POST")
            QVERIFY(request.body.contains("Volume \xc3\xa9"));
    }
    QVERIFY(folders().lastError().isEmpty());
}

void TestServiceWire::volumeNoticeToAnAbsentServiceChangesNothing()
{
    {
        const RefusingPort nobody;
        const ScopedConnectPort connect(nobody.port());
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("Volume"), 3, 1);
    }
    QVERIFY(folders().lastError().isEmpty());
    QCOMPARE(caches(), m_before);
    verifyNextGoodCall();
}

void TestServiceWire::urlsOfAnAnswerMustBeOfThisMachine()
{
    // The addresses in a list are used as given, and the host's client goes nowhere but to this machine.
    m_server->setReply(
        "GET", "/KRXService/xelmediafolders", 200,
        "<l><xelMediaFolderURI>http://example.org/f1</xelMediaFolderURI>"
        "<xelMediaFolderURI>http://localhost:58885/KRXService/xelmediafolders/f2</xelMediaFolderURI></l>");
    m_server->setReply("GET", "/KRXService/xelmediafolders/f2", 200, folderXml("f2"));
    QVERIFY(folders().refreshFolders(false));
    QCOMPARE(folders().countFolders(), 1);
    QCOMPARE(folders().getFolder(0)->property("folderId").toString(), QStringLiteral("f2"));
    QCOMPARE(folders().lastError(),
             QStringLiteral("Only services of this machine may be asked, not example.org"));
}

QTEST_MAIN(TestServiceWire)
#include "test_service_wire.moc"
