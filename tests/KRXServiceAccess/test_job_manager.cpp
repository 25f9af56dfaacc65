#include "BadDocuments.h"
#include "FakeRestClient.h"
#include "KRXJob.h"
#include "KRXJobManager.h"
#include "KRXJobXml.h"
#include "KRXServiceStatus.h"
#include "KRXTest.h"
#include "KRXXml.h"
#include "Managers.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;
using namespace Managers;

namespace {

QByteArray status(const char* id, const char* state, const char* complete, const char* percent)
{
    return QByteArray("<jobStatus><id>") + id + "</id><state>" + state + "</state><complete>" + complete +
           "</complete><percentComplete>" + percent + "</percentComplete></jobStatus>";
}

QByteArray info(const char* id, const char* path)
{
    return QByteArray("<jobInfo><id>") + id + "</id><path>" + path +
           "</path><profile>p</profile><groupID>g</groupID><groupName>G</groupName></jobInfo>";
}

QByteArray ready(const char* uri, const char* word)
{
    return QByteArray("<outputReadyFolder><folderURI>") + uri + "</folderURI><outputReady>" + word +
           "</outputReady></outputReadyFolder>";
}

/// A manager whose address a test may change.
class MovedJobManager : public KRXJobManager
{
public:
    MovedJobManager()
    {
        m_host = QStringLiteral("other");
        m_port = QStringLiteral("1");
    }
};

} // namespace

class TestJobManager : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeRestClient> m_fake;
    std::unique_ptr<KRXJobManager> m_jobs;

    void fillManual(const QByteArray& content)
    {
        m_fake->answer(kGet, ServiceUrls::kManualJobs, 200, listOf(content));
        QVERIFY(m_jobs->updateManualJobsDetail());
        m_fake->clearRequests();
    }

    QStringList ids() const
    {
        QStringList found;
        KRXJob job;
        for (int i = 0; m_jobs->getJob(i, job); ++i)
            found << job.id;
        return found;
    }

private slots:
    void init()
    {
        m_fake = std::make_unique<FakeRestClient>();
        m_jobs = std::make_unique<KRXJobManager>();
    }

    void cleanup()
    {
        QCOMPARE(m_fake->liveResponses(), 0);
        m_jobs.reset();
        StandInHost::setTranslator({});
        m_fake.reset();
    }

    // --- submitJob -------------------------------------------------------------------------------------

    void submitJobPostsAndCachesTheNewJob()
    {
        m_fake->answer(kPost, ServiceUrls::kJobs, 201, listOf(info("7", "/stored") + info("8", "/no")));
        QString id;
        QVERIFY(m_jobs->submitJob(QStringLiteral("/a"), QStringLiteral("p-1"), id));
        QCOMPARE(id, QStringLiteral("7"));
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("POST ") + ServiceUrls::kJobs));
        QCOMPARE(QString::fromUtf8(m_fake->lastRequest().body),
                 KRXJobXml::submission(QStringLiteral("/a"), QStringLiteral("p-1")));
        KRXJob job;
        QVERIFY(m_jobs->getJob(QStringLiteral("7"), job));
        QCOMPARE(job.path, QStringLiteral("/stored"));
        QCOMPARE(m_jobs->countJobs(), 1);
    }

    void aSubmittedJobOfACachedIdReplacesTheEntry()
    {
        fillManual(info("7", "/old") + info("8", "/other"));
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf(status("7", "DONE", "true", "100")));
        QVERIFY(m_jobs->updateJobsStatus());
        m_fake->answer(kPost, ServiceUrls::kJobs, 201, info("7", "/new"));
        QString id;
        QVERIFY(m_jobs->submitJob(QStringLiteral("/new"), QStringLiteral("p"), id));
        KRXJob job;
        QVERIFY(m_jobs->getJob(QStringLiteral("7"), job));
        QCOMPARE(job.path, QStringLiteral("/new"));
        // Nothing of the earlier entry is left.
        QCOMPARE(job.state, QString());
        QVERIFY(!job.complete);
        QCOMPARE(job.percentComplete, qint16(0));
        QCOMPARE(ids(), QStringList({QStringLiteral("7"), QStringLiteral("8")}));
    }

    void submitJobWithoutAJobInTheAnswerIsSuccessWithAnEmptyId_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("no job") << QByteArray("<ok/>");
        QTest::newRow("no id") << QByteArray("<jobInfo><path>/a</path></jobInfo>");
    }
    void submitJobWithoutAJobInTheAnswerIsSuccessWithAnEmptyId()
    {
        QFETCH(QByteArray, answer);
        m_fake->answer(kPost, ServiceUrls::kJobs, 201, answer);
        QString id = QStringLiteral("before");
        QVERIFY(m_jobs->submitJob(QStringLiteral("/a"), QStringLiteral("p"), id));
        QCOMPARE(id, QString());
        QCOMPARE(m_jobs->countJobs(), 0);
    }

    void submitJobThatFailsKeepsTheCache()
    {
        fillManual(info("1", "/a"));
        m_fake->answer(kPost, ServiceUrls::kJobs, 400, info("7", "/b"), QStringLiteral("no such path"));
        QString id = QStringLiteral("before");
        QVERIFY(!m_jobs->submitJob(QStringLiteral("/a"), QStringLiteral("p"), id));
        QCOMPARE(m_jobs->lastError(), QStringLiteral("no such path"));
        m_fake->answer(kPost, ServiceUrls::kJobs, 201, "fine");
        QVERIFY(!m_jobs->submitJob(QStringLiteral("/a"), QStringLiteral("p"), id));
        QCOMPARE(m_jobs->lastError(), kUnreadable);
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void submitJobRefusesTextsThatXmlCannotCarry()
    {
        QString id;
        QVERIFY(!m_jobs->submitJob(QString(QChar(1)), QStringLiteral("p"), id));
        QVERIFY(!m_jobs->submitJob(QStringLiteral("/a"), QString(QChar(0xD800)), id));
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(m_jobs->lastError(), kCannotBeStored);
    }

    // --- cancelJob, retryJob, deleteJob ----------------------------------------------------------------

    void cancelAndRetryPutTheStateAtTheCollectionWithoutAnId()
    {
        m_fake->answer(kPut, ServiceUrls::kJobs, 200, "not XML, and of no interest");
        QVERIFY(m_jobs->cancelJob(QStringLiteral("7")));
        QCOMPARE(QString::fromUtf8(m_fake->lastRequest().body),
                 KRXJobXml::stateChange(QStringLiteral("CANCELLED")));
        QVERIFY(m_jobs->retryJob(QStringLiteral("7")));
        QCOMPARE(QString::fromUtf8(m_fake->lastRequest().body),
                 KRXJobXml::stateChange(QStringLiteral("SUBMITTED")));
        QCOMPARE(m_fake->requestLines(), QStringList({QStringLiteral("PUT ") + ServiceUrls::kJobs,
                                                      QStringLiteral("PUT ") + ServiceUrls::kJobs}));
    }

    void aStateChangeThatIsRefusedFails()
    {
        m_fake->answer(kPut, ServiceUrls::kJobs, 409, {}, QStringLiteral("too late"));
        QVERIFY(!m_jobs->cancelJob(QStringLiteral("7")));
        QCOMPARE(m_jobs->lastError(), QStringLiteral("too late"));
        QVERIFY(!m_jobs->retryJob(QStringLiteral("7")));
    }

    // --- updateJobsStatus ------------------------------------------------------------------------------

    void aStatusChangesOnlyStateAndProgressOfACachedJob()
    {
        fillManual(
            "<jobInfo><id>1</id><path>/a</path><profile>p</profile><groupID>g</groupID>"
            "<groupName>G</groupName><outputXELFiles><fileName>f</fileName></outputXELFiles></jobInfo>" +
            info("2", "/b"));
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf(status("1", "DONE", "true", "100")));
        QVERIFY(m_jobs->updateJobsStatus());
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET ") + ServiceUrls::kJobsStatus));
        KRXJob job;
        QVERIFY(m_jobs->getJob(QStringLiteral("1"), job));
        QCOMPARE(job.state, QStringLiteral("DONE"));
        QVERIFY(job.complete);
        QCOMPARE(job.percentComplete, qint16(100));
        QCOMPARE(job.path, QStringLiteral("/a"));
        QCOMPARE(job.profile, QStringLiteral("p"));
        QCOMPARE(job.groupID, QStringLiteral("g"));
        QCOMPARE(job.groupName, QStringLiteral("G"));
        QCOMPARE(job.outputFiles, QStringList(QStringLiteral("f")));
        // Jobs that the answer does not mention stay.
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("2")}));
    }

    void aStatusOfAnUnknownJobMakesAnEntryWithoutDetails()
    {
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf(status("9", "RUNNING", "false", "5")));
        QVERIFY(m_jobs->updateJobsStatus());
        KRXJob job;
        QVERIFY(m_jobs->getJob(QStringLiteral("9"), job));
        QCOMPARE(job.id, QStringLiteral("9"));
        QCOMPARE(job.state, QStringLiteral("RUNNING"));
        QVERIFY(!job.complete);
        QCOMPARE(job.percentComplete, qint16(5));
        for (const QString& text : {job.path, job.profile, job.groupID, job.groupName})
            QCOMPARE(text, QString());
        QVERIFY(job.outputFiles.isEmpty());
    }

    void aStatusWithoutAnIdIsAJobOfTheEmptyId()
    {
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200,
                       listOf("<jobStatus><state>RUNNING</state></jobStatus>"));
        QVERIFY(m_jobs->updateJobsStatus());
        KRXJob job;
        QVERIFY(m_jobs->getJob(QString(), job));
        QCOMPARE(job.state, QStringLiteral("RUNNING"));
        QCOMPARE(m_jobs->countJobs(), 1);
    }

    void statusesAreFoundAtAnyDepthAndTheLaterOneWins()
    {
        m_fake->answer(
            kGet, ServiceUrls::kJobsStatus, 200,
            listOf(status("1", "A", "false", "1") + "<deep>" + status("1", "B", "true", "2") + "</deep>"));
        QVERIFY(m_jobs->updateJobsStatus());
        KRXJob job;
        QVERIFY(m_jobs->getJob(QStringLiteral("1"), job));
        QCOMPARE(job.state, QStringLiteral("B"));
        QCOMPARE(m_jobs->countJobs(), 1);
    }

    void updatesThatFailKeepTheCache()
    {
        fillManual(info("1", "/a"));
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 500, status("2", "A", "true", "1"),
                       QStringLiteral("no"));
        m_fake->answer(kGet, ServiceUrls::kManualJobs, 500, info("2", "/b"), QStringLiteral("no"));
        QVERIFY(!m_jobs->updateJobsStatus());
        QVERIFY(!m_jobs->updateManualJobsDetail());
        QCOMPARE(m_jobs->lastError(), QStringLiteral("no"));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void answersThatAreNotXmlFailAndKeepTheCache_data() { addBadDocumentRows(); }
    void answersThatAreNotXmlFailAndKeepTheCache()
    {
        QFETCH(QByteArray, body);
        fillManual(info("1", "/a"));
        for (const QString& url : {ServiceUrls::kJobsStatus, ServiceUrls::kManualJobs, ServiceUrls::kErrors,
                                   ServiceUrls::kActivity, ServiceUrls::kOutputReady})
            m_fake->answer(kGet, url, 200, body);
        // Here such an answer counts as one that names no folder, and is no error.
        bool ok = false;
        QVERIFY(m_jobs->getFoldersOutputReady(&ok).isEmpty());
        QVERIFY(ok);
        QCOMPARE(m_jobs->lastError(), QString());
        QVERIFY(!m_jobs->updateJobsStatus());
        QCOMPARE(m_jobs->lastError(), kUnreadable);
        QVERIFY(!m_jobs->updateManualJobsDetail());
        QStringList errors{QStringLiteral("before")};
        QVERIFY(!m_jobs->getErrorList(errors, false));
        QCOMPARE(errors, QStringList(QStringLiteral("before")));
        KRXServiceStatus service;
        service.setActive(true);
        QVERIFY(!m_jobs->getKRXServiceStatus(service));
        QVERIFY(service.isActive());
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    // --- updateManualJobsDetail, getJob ----------------------------------------------------------------

    void manualJobsReplaceTheCacheAndEmptyIdsAreSkipped()
    {
        fillManual(info("1", "/a"));
        m_fake->answer(kGet, ServiceUrls::kManualJobs, 200,
                       listOf(info("b", "/b") + info("", "/none") + "<deep>" + info("a", "/a") + "</deep>"));
        QVERIFY(m_jobs->updateManualJobsDetail());
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET ") + ServiceUrls::kManualJobs));
        QCOMPARE(ids(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
        fillManual({});
        QCOMPARE(m_jobs->countJobs(), 0);
    }

    void jobsOutsideTheCacheAreNotFound()
    {
        fillManual(info("1", "/a") + info("2", "/b"));
        KRXJob job;
        job.id = QStringLiteral("before");
        for (const int index : {-1, 2, INT_MIN, INT_MAX})
            QVERIFY(!m_jobs->getJob(index, job));
        QVERIFY(!m_jobs->getJob(QStringLiteral("3"), job));
        QCOMPARE(job.id, QStringLiteral("before"));
        QVERIFY(m_jobs->getJob(1, job));
        QCOMPARE(job.path, QStringLiteral("/b"));
        // The id may live in the record that is written to.
        QVERIFY(m_jobs->getJob(job.id, job));
        QCOMPARE(job.id, QStringLiteral("2"));
        QVERIFY(m_fake->requests().isEmpty());
    }

    void positionsFollowEveryChangeOfTheCache()
    {
        fillManual(info("1", "/a") + info("2", "/b"));
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("2")}));
        m_fake->answer(kPost, ServiceUrls::kJobs, 201, info("0", "/c"));
        QString id;
        QVERIFY(m_jobs->submitJob(QStringLiteral("/c"), QStringLiteral("p"), id));
        m_fake->answer(kDelete, ServiceUrls::member(ServiceUrls::kJobs, QStringLiteral("2")), 200);
        QVERIFY(m_jobs->deleteJob(QStringLiteral("2")));
        QCOMPARE(ids(), QStringList({QStringLiteral("0"), QStringLiteral("1")}));
    }

    // --- isAnyJobInProgress ----------------------------------------------------------------------------

    void jobsInProgress_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("expected");
        QTest::newRow("no jobs") << QByteArray() << false;
        QTest::newRow("complete at 100") << status("1", "DONE", "true", "100") << false;
        QTest::newRow("complete at 0") << status("1", "DONE", "true", "0") << false;
        QTest::newRow("complete beyond 100") << status("1", "DONE", "true", "101") << false;
        QTest::newRow("complete at 50") << status("1", "DONE", "true", "50") << true;
        QTest::newRow("complete at -1") << status("1", "DONE", "true", "-1") << true;
        QTest::newRow("complete at 99") << status("1", "DONE", "true", "99") << true;
        QTest::newRow("incomplete at 0") << status("1", "NEW", "false", "0") << true;
        QTest::newRow("incomplete at 100") << status("1", "NEW", "false", "100") << true;
        QTest::newRow("one of two") << status("1", "DONE", "true", "100") + status("2", "RUN", "false", "0")
                                    << true;
    }
    void jobsInProgress()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, expected);
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf(answer));
        bool ok = false;
        QCOMPARE(m_jobs->isAnyJobInProgress(&ok), expected);
        QVERIFY(ok);
        QCOMPARE(m_jobs->isAnyJobInProgress(nullptr), expected);
    }

    void progressOfAnEmptyAnswerIsNoneAndOk()
    {
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf({}));
        bool ok = false;
        QVERIFY(!m_jobs->isAnyJobInProgress(&ok));
        QVERIFY(ok);
    }

    void progressThatCannotBeAskedIsNoneAndNotOk()
    {
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 200, listOf(status("1", "RUN", "false", "1")));
        QVERIFY(m_jobs->isAnyJobInProgress(nullptr));
        m_fake->answer(kGet, ServiceUrls::kJobsStatus, 500);
        bool ok = true;
        QVERIFY(!m_jobs->isAnyJobInProgress(&ok));
        QVERIFY(!ok);
    }

    // --- getErrorList ----------------------------------------------------------------------------------

    void errorsAreAppendedInOrder()
    {
        m_fake->answer(kGet, ServiceUrls::kErrors, 200,
                       listOf("<errorMessage>b</errorMessage><in><errorMessage>a</errorMessage></in>"
                              "<errorMessage/>"));
        QStringList errors{QStringLiteral("before")};
        QVERIFY(m_jobs->getErrorList(errors, false));
        QCOMPARE(errors, QStringList({QStringLiteral("before"), QStringLiteral("b"), QStringLiteral("a"),
                                      QLatin1String("")}));
    }

    void errorsWithoutClearingSendNoQueryString()
    {
        m_fake->answer(kGet, ServiceUrls::kErrors, 200, listOf({}));
        QStringList errors;
        QVERIFY(m_jobs->getErrorList(errors, false));
        QCOMPARE(m_fake->lastRequest().url, QStringLiteral("http://localhost:58885/KRXService/errors"));
    }

    void errorsWithClearingSayso()
    {
        m_fake->answer(kGet, ServiceUrls::kErrorsAndClear, 200, listOf({}));
        QStringList errors;
        QVERIFY(m_jobs->getErrorList(errors, true));
        QCOMPARE(m_fake->lastRequest().url,
                 QStringLiteral("http://localhost:58885/KRXService/errors?clear=true"));
    }

    // --- getKRXServiceStatus ---------------------------------------------------------------------------

    void theActivityFillsTheStatus()
    {
        m_fake->answer(kGet, ServiceUrls::kActivity, 200,
                       listOf("<status>StatusActive</status><status>StatusIdle</status>"
                              "<errorMessage>e</errorMessage>" +
                              ready("http://h/f-1", "true") + ready("http://h/f-2", "false")));
        KRXServiceStatus service;
        QVERIFY(m_jobs->getKRXServiceStatus(service));
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET ") + ServiceUrls::kActivity));
        QVERIFY(service.isActive());
        QVERIFY(service.isError());
        QVERIFY(service.isFolderReady());
        QStringList list;
        service.getReadyFolderIDList(list);
        QCOMPARE(list, QStringList(QStringLiteral("f-1")));
    }

    void onlyTheTwoStatusWordsChangeTheActivity_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("fromIdle");
        QTest::addColumn<bool>("fromActive");
        QTest::newRow("active") << QByteArray("<status>StatusActive</status>") << true << true;
        QTest::newRow("idle") << QByteArray("<status>StatusIdle</status>") << false << false;
        QTest::newRow("another word") << QByteArray("<status>statusidle</status>") << false << true;
        QTest::newRow("missing") << QByteArray() << false << true;
    }
    void onlyTheTwoStatusWordsChangeTheActivity()
    {
        QFETCH(QByteArray, answer);
        QFETCH(bool, fromIdle);
        QFETCH(bool, fromActive);
        m_fake->answer(kGet, ServiceUrls::kActivity, 200, listOf(answer));
        KRXServiceStatus service;
        QVERIFY(m_jobs->getKRXServiceStatus(service));
        QCOMPARE(service.isActive(), fromIdle);
        service.setActive(true);
        QVERIFY(m_jobs->getKRXServiceStatus(service));
        QCOMPARE(service.isActive(), fromActive);
    }

    void anErrorFlagOnceSetStaysSetAndTheReadyListDoesNot()
    {
        m_fake->answer(kGet, ServiceUrls::kActivity, 200, listOf({}));
        KRXServiceStatus service;
        service.setError(true);
        service.setReadyFolderIDList({QStringLiteral("old")});
        QVERIFY(m_jobs->getKRXServiceStatus(service));
        QVERIFY(service.isError());
        QVERIFY(!service.isFolderReady());
    }

    void aStatusThatCannotBeAskedStaysAsItWas()
    {
        m_fake->answer(kGet, ServiceUrls::kActivity, 500, "<status>StatusIdle</status>",
                       QStringLiteral("no"));
        KRXServiceStatus service;
        service.setActive(true);
        service.setReadyFolderIDList({QStringLiteral("old")});
        QVERIFY(!m_jobs->getKRXServiceStatus(service));
        QVERIFY(service.isActive());
        QVERIFY(service.isFolderReady());
        QCOMPARE(m_jobs->lastError(), QStringLiteral("no"));
    }

    // --- getFoldersOutputReady -------------------------------------------------------------------------

    void readyFoldersAreListedInTheServicesOrder()
    {
        m_fake->answer(
            kGet, ServiceUrls::kOutputReady, 200,
            listOf(ready("http://h:1/KRXService/xelmediafolders/b", "true") + ready("http://h/no", "True") +
                   "<deep>" + ready("no-slash", "true") + "</deep>" + ready("http://h/a/", "true") +
                   ready("http://h/x?y=/z", "true") +
                   "<outputReadyFolder><outputReady>true</outputReady></outputReadyFolder>"
                   "<outputReadyFolder><folderURI>http://h/none</folderURI></outputReadyFolder>"
                   "<outputReadyFolder><in><folderURI>http://h/1</folderURI></in><folderURI>http://h/2"
                   "</folderURI><in><outputReady>true</outputReady></in><outputReady>no</outputReady>"
                   "</outputReadyFolder>"));
        bool ok = false;
        QCOMPARE(m_jobs->getFoldersOutputReady(&ok),
                 QStringList({QStringLiteral("b"), QStringLiteral("no-slash"), QString(), QStringLiteral("z"),
                              QString(), QStringLiteral("1")}));
        QVERIFY(ok);
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("GET ") + ServiceUrls::kOutputReady));
        QCOMPARE(m_jobs->getFoldersOutputReady(nullptr).size(), 6);
    }

    void readyFoldersThatCannotBeAskedAreNoneAndNotOk()
    {
        m_fake->answer(kGet, ServiceUrls::kOutputReady, 500, ready("http://h/a", "true"),
                       QStringLiteral("no"));
        bool ok = true;
        QVERIFY(m_jobs->getFoldersOutputReady(&ok).isEmpty());
        QVERIFY(!ok);
        QCOMPARE(m_jobs->lastError(), QStringLiteral("no"));
    }

    // --- Cursor ---------------------------------------------------------------------------------------

    void noRequestOfJobsShowsACursor()
    {
        // Hosts ask for jobs from threads of their own too, where no cursor may be touched.
        QList<bool> shown;
        m_fake->setHandler([&](const FakeRequest&) {
            shown << (QGuiApplication::overrideCursor() != nullptr);
            return FakeAnswer(200, listOf(info("1", "/a")));
        });
        const QString one = QStringLiteral("1");
        QString id;
        QStringList errors;
        KRXServiceStatus service;
        QVERIFY(m_jobs->submitJob(QStringLiteral("/a"), QStringLiteral("p"), id));
        QVERIFY(m_jobs->cancelJob(one));
        QVERIFY(m_jobs->retryJob(one));
        QVERIFY(m_jobs->updateJobsStatus());
        QVERIFY(m_jobs->updateManualJobsDetail());
        QVERIFY(m_jobs->isAnyJobInProgress(nullptr));
        QVERIFY(m_jobs->getErrorList(errors, true));
        QVERIFY(m_jobs->getKRXServiceStatus(service));
        QVERIFY(m_jobs->getFoldersOutputReady(nullptr).isEmpty());
        QVERIFY(m_jobs->deleteJob(one));
        QCOMPARE(shown.size(), 10);
        QVERIFY(!shown.contains(true));
    }

    // --- Addresses, copies -----------------------------------------------------------------------------

    void theFixedAddressesDoNotFollowAChangedHostOrPort()
    {
        MovedJobManager moved;
        QStringList errors;
        KRXServiceStatus service;
        moved.getErrorList(errors, false);
        moved.getKRXServiceStatus(service);
        moved.getFoldersOutputReady(nullptr);
        moved.updateJobsStatus();
        moved.deleteJob(QStringLiteral("1"));
        QCOMPARE(m_fake->requestLines(),
                 QStringList({QStringLiteral("GET ") + ServiceUrls::kErrors,
                              QStringLiteral("GET ") + ServiceUrls::kActivity,
                              QStringLiteral("GET ") + ServiceUrls::kOutputReady,
                              QStringLiteral("GET http://other:1/KRXService/jobs/status?filter=true"),
                              QStringLiteral("DELETE http://other:1/KRXService/jobs/1")}));
    }

    void aCopyHasACacheOfItsOwnAndSharesTheClient()
    {
        fillManual(info("1", "/a"));
        QCOMPARE(ids().size(), 1);
        {
            KRXJobManager copy(*m_jobs);
            QCOMPARE(copy.countJobs(), 1);
            m_fake->answer(kDelete, ServiceUrls::member(ServiceUrls::kJobs, QStringLiteral("1")), 200);
            QVERIFY(copy.deleteJob(QStringLiteral("1")));
            QCOMPARE(copy.countJobs(), 0);
            QCOMPARE(m_jobs->countJobs(), 1);
            KRXJobManager other;
            other = *m_jobs;
            QCOMPARE(other.countJobs(), 1);
        }
        // The shared reference was dropped with the copies; the host's component goes on.
        fillManual(info("2", "/b"));
        QCOMPARE(ids(), QStringList(QStringLiteral("2")));
    }
};

QTEST_MAIN(TestJobManager)
#include "test_job_manager.moc"
