#include "FakeRestClient.h"
#include "KRXBaseService.h"
#include "KRXComponentError.h"
#include "KRXTest.h"
#include "StandInHost.h"

#include <QRegularExpression>

#include <functional>
#include <type_traits>

using KRXTest::FakeAnswer;
using KRXTest::FakeRestClient;

namespace {

/// What subclasses may do, opened up.
class Service : public KRXBaseService
{
public:
    Service() = default;

    using KRXBaseService::buildUrl;
    using KRXBaseService::checkResponse;
    using KRXBaseService::ensureRestClient;
    using KRXBaseService::exchangeGet;
    using KRXBaseService::m_host;
    using KRXBaseService::m_lastError;
    using KRXBaseService::m_port;
    using KRXBaseService::m_resourcePath;
    using KRXBaseService::m_restClient;
    using KRXBaseService::restDelete;
    using KRXBaseService::restGet;
    using KRXBaseService::restPost;
    using KRXBaseService::restPut;

    /// One GET in the calling order of every operation.
    bool get(QString* body)
    {
        IRestResponse* response = nullptr;
        bool result = restGet(QStringLiteral("http://u/"), response);
        if (result)
            result = checkResponse(response, body);
        if (response)
            response->release();
        return result;
    }
};

const QString kUrl = QStringLiteral("http://u/");
const QString kGet = QStringLiteral("GET");

} // namespace

class TestBaseService : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    // --- Construction, URL -----------------------------------------------------------------------------

    void aNewServiceKnowsTheLocalServiceAndHasItsClient()
    {
        FakeRestClient fake;
        {
            Service service;
            QCOMPARE(service.m_host, QStringLiteral("localhost"));
            QCOMPARE(service.m_port, QStringLiteral("58885"));
            QCOMPARE(service.m_resourcePath, QString());
            QCOMPARE(service.lastError(), QString());
            QVERIFY(service.m_restClient);
            QCOMPARE(fake.calls(), QStringList({QStringLiteral("getComponentFactory"),
                                                QStringLiteral("factory.createComponent"),
                                                QStringLiteral("factory.release")}));
            QCOMPARE(fake.clientReferences(), 1);
            QCOMPARE(fake.factoryReferences(), 0);
        }
        QCOMPARE(fake.clientReferences(), 0);
    }

    void onlyTheDestructorIsVirtual()
    {
        QVERIFY(std::has_virtual_destructor<KRXBaseService>::value);
        // One table pointer, four texts, one interface pointer.
        QCOMPARE(sizeof(KRXBaseService), sizeof(void*) * 2 + sizeof(QString) * 4);
    }

    void buildUrlSubstitutesHostPortAndPathInThatOrder()
    {
        FakeRestClient fake;
        Service service;
        service.m_resourcePath = QStringLiteral("KRXService/xelmediafolders");
        QCOMPARE(service.buildUrl(), QStringLiteral("http://localhost:58885/KRXService/xelmediafolders"));
    }

    void aChangedHostOrPortIsUsedByBuildUrlWithoutOtherChanges()
    {
        FakeRestClient fake;
        Service service;
        service.m_resourcePath = QStringLiteral("a");
        service.m_host = QStringLiteral("other");
        QCOMPARE(service.buildUrl(), QStringLiteral("http://other:58885/a"));
        service.m_port = QStringLiteral("80");
        QCOMPARE(service.buildUrl(), QStringLiteral("http://other:80/a"));
    }

    void buildUrlSubstitutesOneArgumentAtATime()
    {
        FakeRestClient fake;
        Service service;
        // A marker inside the host is the lowest remaining place when the port comes.
        service.m_host = QStringLiteral("h%2");
        service.m_port = QStringLiteral("1");
        service.m_resourcePath = QStringLiteral("p");
        QCOMPARE(service.buildUrl(), QStringLiteral("http://h1:1/p"));
    }

    // --- Obtaining the client --------------------------------------------------------------------------

    void aFailingFactoryEntryMakesTheMethodFailAndSendsNothing()
    {
        FakeRestClient fake;
        fake.factoryStatus = kHostStatusFailed;
        Service service;
        QCOMPARE(service.lastError(), QStringLiteral("OPH Component Factory not found"));
        QVERIFY(!service.m_restClient);
        IRestResponse* response = nullptr;
        QVERIFY(!service.restGet(kUrl, response));
        QVERIFY(!response);
        QVERIFY(fake.requests().isEmpty());
        QCOMPARE(service.lastError(), QStringLiteral("OPH Component Factory not found"));
    }

    void aFactoryGivenDespiteAFailureIsReleased()
    {
        FakeRestClient fake;
        fake.factoryStatus = kHostStatusFailed;
        fake.factoryDespiteFailure = true;
        Service service;
        QVERIFY(!service.m_restClient);
        QCOMPARE(fake.factoryReferences(), 0);
        QVERIFY(!fake.calls().contains(QStringLiteral("factory.createComponent")));
    }

    void aFactoryWithoutARestClientMakesTheMethodFail_data()
    {
        QTest::addColumn<bool>("succeedsWithNull");
        QTest::newRow("failure status") << false;
        QTest::newRow("success with null") << true;
    }
    void aFactoryWithoutARestClientMakesTheMethodFail()
    {
        QFETCH(bool, succeedsWithNull);
        FakeRestClient fake;
        if (succeedsWithNull)
            fake.componentIsNull = true;
        else
            fake.componentStatus = kHostStatusNoClass;
        Service service;
        QCOMPARE(service.lastError(), QStringLiteral("OPH REST client not found"));
        QVERIFY(!service.m_restClient);
        QCOMPARE(fake.factoryReferences(), 0);
        IRestResponse* response = nullptr;
        QVERIFY(!service.restPost(kUrl, QString(), response));
        QVERIFY(fake.requests().isEmpty());
    }

    void aComponentGivenDespiteAFailureIsNotUsed()
    {
        FakeRestClient fake;
        fake.componentStatus = kHostStatusFailed;
        fake.componentDespiteFailure = true;
        Service service;
        QVERIFY(!service.m_restClient);
        QCOMPARE(service.lastError(), QStringLiteral("OPH REST client not found"));
        IRestResponse* response = nullptr;
        QVERIFY(!service.restGet(kUrl, response));
        QVERIFY(fake.requests().isEmpty());
        QVERIFY(!fake.calls().contains(QStringLiteral("client.release")));
    }

    void aMissingClientIsTriedAgainAtEveryRequestAndThenKept()
    {
        FakeRestClient fake;
        fake.factoryStatus = kHostStatusFailed;
        Service service;
        fake.factoryStatus = kHostStatusOk;
        fake.answer(kGet, kUrl, 200);
        fake.clearCalls();
        QVERIFY(service.get(nullptr));
        QVERIFY(service.get(nullptr));
        QCOMPARE(fake.calls().count(QStringLiteral("getComponentFactory")), 1);
        // Success does not take the old text away.
        QCOMPARE(service.lastError(), QStringLiteral("OPH Component Factory not found"));
    }

    void aSuccessWithANullFactoryThrowsWithItsStatus()
    {
        FakeRestClient fake;
        Service service;
        service.m_restClient = nullptr;
        fake.factoryIsNull = true;
        HostStatus status = kHostStatusOk;
        try {
            service.ensureRestClient();
        } catch (const KRXComponentError& error) {
            status = error.status();
        }
        QCOMPARE(static_cast<quint32>(status), 0x80000005u);
        QVERIFY_EXCEPTION_THROWN(Service(), KRXComponentError);
    }

    void aNullFactoryNeverLeavesAWholeExchange()
    {
        FakeRestClient fake;
        Service service;
        service.m_restClient = nullptr;
        fake.factoryIsNull = true;
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("No REST client.*0x80000005")));
        QVERIFY(!service.exchangeGet(kUrl, nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("OPH Component Factory not found"));
    }

    // --- The four methods ------------------------------------------------------------------------------

    void theFourMethodsReachTheClientWithUrlAndBody()
    {
        FakeRestClient fake;
        fake.setHandler([](const KRXTest::FakeRequest&) { return FakeAnswer(); });
        Service service;
        const QString body = QStringLiteral("<a>\u00e4 \U0001F3AC</a>");
        const std::function<bool(IRestResponse*&)> methods[] = {
            [&](IRestResponse*& r) { return service.restGet(QStringLiteral("http://u/1"), r); },
            [&](IRestResponse*& r) { return service.restPost(QStringLiteral("http://u/2"), body, r); },
            [&](IRestResponse*& r) { return service.restPut(QStringLiteral("http://u/3"), body, r); },
            [&](IRestResponse*& r) { return service.restDelete(QStringLiteral("http://u/4"), r); },
        };
        for (const auto& method : methods) {
            IRestResponse* response = nullptr;
            QVERIFY(method(response));
            QVERIFY(response);
            response->release();
        }
        QCOMPARE(fake.requestLines(),
                 QStringList({QStringLiteral("GET http://u/1"), QStringLiteral("POST http://u/2"),
                              QStringLiteral("PUT http://u/3"), QStringLiteral("DELETE http://u/4")}));
        QCOMPARE(fake.requests().at(0).body, QByteArray());
        QCOMPARE(fake.requests().at(1).body, body.toUtf8());
        QCOMPARE(fake.requests().at(2).body, body.toUtf8());
        QCOMPARE(fake.liveResponses(), 0);
    }

    void aFailedCallStillReturnsTrueAndLeavesTheTextOfItsMethod()
    {
        FakeRestClient fake;
        FakeAnswer failed;
        failed.callStatus = kHostStatusFailed;
        fake.setHandler([&](const KRXTest::FakeRequest&) { return failed; });
        Service service;
        IRestResponse* response = nullptr;
        QVERIFY(service.restGet(kUrl, response));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that GET method failed"));
        QVERIFY(service.restPost(kUrl, QString(), response));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that POST method failed"));
        QVERIFY(service.restPut(kUrl, QString(), response));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that PUT method failed"));
        QVERIFY(service.restDelete(kUrl, response));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that DELETE method failed"));
        QVERIFY(!response);
    }

    void aFailedGetWithANullResponseFailsTheCheckAndKeepsItsText()
    {
        FakeRestClient fake;
        FakeAnswer failed;
        failed.callStatus = kHostStatusFailed;
        fake.answer(kGet, kUrl, failed);
        Service service;
        QString body = QStringLiteral("untouched");
        QVERIFY(!service.get(&body));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that GET method failed"));
        QCOMPARE(body, QStringLiteral("untouched"));
    }

    void aResponseOfAFailedCallIsJudgedAndReleased()
    {
        FakeRestClient fake;
        FakeAnswer failed(500, {});
        failed.callStatus = kHostStatusFailed;
        failed.responseDespiteFailure = true;
        fake.answer(kGet, kUrl, failed);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("REST client reported that GET method failed"));
        QCOMPARE(fake.liveResponses(), 0);
    }

    void zeroAndPositiveStatusesAreSuccess()
    {
        FakeRestClient fake;
        FakeAnswer answer;
        answer.callStatus = 1;
        answer.successStatus = 7;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(service.get(nullptr));
        QCOMPARE(service.lastError(), QString());
    }

    // --- Checking the response -------------------------------------------------------------------------

    void aNullResponseFailsTheCheckWithoutAText()
    {
        FakeRestClient fake;
        Service service;
        QVERIFY(!service.checkResponse(nullptr, nullptr));
        QCOMPARE(service.lastError(), QString());
    }

    void aFinishedExchangeIsNotWaitedFor()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 200, "abc");
        Service service;
        fake.clearCalls();
        QString body;
        QVERIFY(service.get(&body));
        QCOMPARE(body, QStringLiteral("abc"));
        QCOMPARE(fake.calls(),
                 QStringList({QStringLiteral("client.get"), QStringLiteral("response.isComplete"),
                              QStringLiteral("response.isComplete"), QStringLiteral("response.isSuccess"),
                              QStringLiteral("response.getContentLength"),
                              QStringLiteral("response.readContent"), QStringLiteral("response.release")}));
    }

    void anUnfinishedExchangeIsWaitedForThreeSeconds()
    {
        FakeRestClient fake;
        FakeAnswer answer;
        answer.unfinishedAnswers = 1;
        fake.answer(kGet, kUrl, answer);
        Service service;
        fake.clearCalls();
        QVERIFY(service.get(nullptr));
        QCOMPARE(fake.calls(),
                 QStringList({QStringLiteral("client.get"), QStringLiteral("response.isComplete"),
                              QStringLiteral("response.waitForCompletion 3000"),
                              QStringLiteral("response.isComplete"), QStringLiteral("response.isSuccess"),
                              QStringLiteral("response.release")}));
    }

    void aWaitThatFailsLeavesTheResponsesMessage()
    {
        FakeRestClient fake;
        FakeAnswer answer;
        answer.unfinishedAnswers = -1;
        answer.waitStatus = kHostStatusFailed;
        answer.message = QStringLiteral("took too long");
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("took too long"));
        QCOMPARE(fake.liveResponses(), 0);
    }

    void aWaitThatFailsWithoutAMessageLeavesTheErrorAsItWas()
    {
        FakeRestClient fake;
        FakeAnswer answer;
        answer.unfinishedAnswers = -1;
        answer.waitStatus = kHostStatusFailed;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QString());
        service.m_lastError = QStringLiteral("older");
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("older"));
        QVERIFY(!fake.calls().contains(QStringLiteral("response.isSuccess")));
    }

    void anExchangeStillUnfinishedAfterTheWaitFailsWithoutAText()
    {
        FakeRestClient fake;
        FakeAnswer answer;
        answer.unfinishedAnswers = -1;
        answer.message = QStringLiteral("not asked for");
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QString());
    }

    void aBodyOfLengthZeroIsSuccessWithAnEmptyBody()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 200, "");
        Service service;
        QString body = QStringLiteral("before");
        QVERIFY(service.get(&body));
        QCOMPARE(body, QString());
    }

    void aBodyThatCannotBeSizedOrReadIsSuccessWithAnEmptyBody_data()
    {
        QTest::addColumn<qint64>("length");
        QTest::addColumn<qint32>("lengthStatus");
        QTest::addColumn<qint32>("readStatus");
        const qint64 ofBody = FakeAnswer::kLengthOfBody;
        QTest::newRow("length fails") << ofBody << kHostStatusFailed << kHostStatusOk;
        QTest::newRow("read fails") << ofBody << kHostStatusOk << kHostStatusFailed;
        QTest::newRow("negative length") << qint64(-1) << kHostStatusOk << kHostStatusOk;
        QTest::newRow("very negative length") << qint64(INT64_MIN + 1) << kHostStatusOk << kHostStatusOk;
        QTest::newRow("above 256 MB") << qint64(256 * 1024 * 1024 + 1) << kHostStatusOk << kHostStatusOk;
        QTest::newRow("huge") << qint64(INT64_MAX) << kHostStatusOk << kHostStatusOk;
        QTest::newRow("2^32 + 3") << (qint64(1) << 32) + 3 << kHostStatusOk << kHostStatusOk;
    }
    void aBodyThatCannotBeSizedOrReadIsSuccessWithAnEmptyBody()
    {
        QFETCH(qint64, length);
        QFETCH(qint32, lengthStatus);
        QFETCH(qint32, readStatus);
        FakeRestClient fake;
        FakeAnswer answer(200, "abc");
        answer.contentLength = length;
        answer.contentLengthStatus = lengthStatus;
        answer.readStatus = readStatus;
        fake.answer(kGet, kUrl, answer);
        Service service;
        service.m_lastError = QStringLiteral("older");
        QString body = QStringLiteral("before");
        QVERIFY(service.get(&body));
        QCOMPARE(body, QString());
        QCOMPARE(service.lastError(), QStringLiteral("older"));
    }

    void exactlyTheBytesReadAreDecoded()
    {
        FakeRestClient fake;
        FakeAnswer answer(200, QByteArray("\xC3\xA4\xF0\x9F\x8E\xAC<", 7));
        answer.contentLength = 4000;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QString body;
        QVERIFY(service.get(&body));
        QCOMPARE(body, QStringLiteral("\u00e4\U0001F3AC<"));
        answer.contentLength = 2;
        fake.answer(kGet, kUrl, answer);
        QVERIFY(service.get(&body));
        QCOMPARE(body, QStringLiteral("\u00e4"));
    }

    void aNulInTheBodyIsACharacterLikeAnother()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 200, QByteArray("a\0b\0", 4));
        Service service;
        QString body;
        QVERIFY(service.get(&body));
        QCOMPARE(body, QString::fromLatin1("a\0b\0", 4));
    }

    void aComponentThatMiscountsIsNotReadBeyondTheBuffer_data()
    {
        QTest::addColumn<qint64>("surplus");
        QTest::newRow("one more") << qint64(1);
        QTest::newRow("a lot more") << (qint64(1) << 40);
        QTest::newRow("wrapped round") << qint64(-5);
    }
    void aComponentThatMiscountsIsNotReadBeyondTheBuffer()
    {
        QFETCH(qint64, surplus);
        FakeRestClient fake;
        FakeAnswer answer(200, "abc");
        answer.readSurplus = surplus;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QString body;
        QVERIFY(service.get(&body));
        QCOMPARE(body, QStringLiteral("abc"));
    }

    void aCheckWithoutABodyReadsNone()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 200, "abc");
        Service service;
        fake.clearCalls();
        QVERIFY(service.get(nullptr));
        QVERIFY(!fake.calls().contains(QStringLiteral("response.getContentLength")));
    }

    void aRefusalLeavesTheServicesMessage()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 409, "ignored", QStringLiteral("There is one already"));
        Service service;
        service.m_lastError = QStringLiteral("older");
        QString body = QStringLiteral("untouched");
        QVERIFY(!service.get(&body));
        QCOMPARE(service.lastError(), QStringLiteral("There is one already"));
        QCOMPARE(body, QStringLiteral("untouched"));
        QCOMPARE(fake.liveResponses(), 0);
    }

    void aRefusalWithoutMessageAfterAnEarlierFailureKeepsTheEarlierText()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 404);
        Service service;
        service.m_lastError = QStringLiteral("older");
        fake.clearCalls();
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("older"));
        QVERIFY(!fake.calls().contains(QStringLiteral("response.getStatusCode")));
    }

    void aRefusalWithoutMessageOnAFreshObjectNamesItsStatusCode()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 404);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("Unknown error: Service response HTTP code 404"));
    }

    void aRefusalWithAnEmptyMessageNamesItsStatusCodeEvenAfterAnEarlierFailure()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 503, {}, QLatin1String(""));
        Service service;
        service.m_lastError = QStringLiteral("older");
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("Unknown error: Service response HTTP code 503"));
    }

    void aMessageThatSucceedsWithoutATextIsNone_data()
    {
        QTest::addColumn<bool>("finished");
        QTest::addColumn<QString>("onAFreshObject");
        QTest::newRow("refused") << true << QStringLiteral("Unknown error: Service response HTTP code 404");
        QTest::newRow("not finished in time") << false << QString();
    }
    void aMessageThatSucceedsWithoutATextIsNone()
    {
        QFETCH(bool, finished);
        QFETCH(QString, onAFreshObject);
        FakeRestClient fake;
        FakeAnswer answer(404, {});
        answer.messageIsMissing = true;
        answer.unfinishedAnswers = finished ? 0 : -1;
        answer.waitStatus = kHostStatusFailed;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), onAFreshObject);
        service.m_lastError = QStringLiteral("older");
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("older"));
    }

    void aRefusalWhoseStatusCodeCannotBeReadNamesZero()
    {
        FakeRestClient fake;
        FakeAnswer answer(404, {});
        answer.statusCodeStatus = kHostStatusFailed;
        fake.answer(kGet, kUrl, answer);
        Service service;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("Unknown error: Service response HTTP code 0"));
    }

    void theLastErrorStaysAfterASuccess()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 500, {}, QStringLiteral("bad day"));
        Service service;
        QVERIFY(!service.get(nullptr));
        fake.answer(kGet, kUrl, 200);
        QVERIFY(service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("bad day"));
    }

    void everyFixedTextIsLocalised()
    {
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        FakeRestClient fake;
        fake.factoryStatus = kHostStatusFailed;
        Service service;
        QCOMPARE(service.lastError(), QStringLiteral("~OPH Component Factory not found"));
        fake.factoryStatus = kHostStatusOk;
        fake.componentStatus = kHostStatusFailed;
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("~OPH REST client not found"));
        fake.componentStatus = kHostStatusOk;
        FakeAnswer failed;
        failed.callStatus = kHostStatusFailed;
        fake.setHandler([&](const KRXTest::FakeRequest&) { return failed; });
        IRestResponse* response = nullptr;
        QVERIFY(service.restGet(kUrl, response));
        QCOMPARE(service.lastError(), QStringLiteral("~REST client reported that GET method failed"));
        QVERIFY(service.restPost(kUrl, QString(), response));
        QCOMPARE(service.lastError(), QStringLiteral("~REST client reported that POST method failed"));
        QVERIFY(service.restPut(kUrl, QString(), response));
        QCOMPARE(service.lastError(), QStringLiteral("~REST client reported that PUT method failed"));
        QVERIFY(service.restDelete(kUrl, response));
        QCOMPARE(service.lastError(), QStringLiteral("~REST client reported that DELETE method failed"));
        service.m_lastError.clear();
        fake.setHandler({});
        fake.answer(kGet, kUrl, 500);
        QVERIFY(!service.get(nullptr));
        QCOMPARE(service.lastError(), QStringLiteral("~Unknown error: Service response HTTP code 500"));
    }

    // --- Copies ----------------------------------------------------------------------------------------

    void aCopySharesTheOneReferenceOfItsSource()
    {
        FakeRestClient fake;
        fake.answer(kGet, kUrl, 200);
        {
            Service source;
            source.m_port = QStringLiteral("1");
            source.m_lastError = QStringLiteral("text");
            Service copy(source);
            QCOMPARE(copy.m_restClient, source.m_restClient);
            QCOMPARE(copy.m_port, QStringLiteral("1"));
            QCOMPARE(copy.lastError(), QStringLiteral("text"));
            QCOMPARE(fake.clientReferences(), 1);
            QVERIFY(!fake.calls().contains(QStringLiteral("client.addReference")));
        }
        // Both dropped the one reference.
        QCOMPARE(fake.clientReferences(), -1);
        Service later;
        QVERIFY(later.get(nullptr));
    }

    void anAssignmentTakesAllFiveFieldsAsTheyStand()
    {
        FakeRestClient fake;
        Service source;
        source.m_host = QStringLiteral("h");
        source.m_port = QStringLiteral("1");
        source.m_resourcePath = QStringLiteral("p");
        source.m_lastError = QStringLiteral("text");
        {
            Service target;
            target.m_restClient->release();
            target.m_restClient = nullptr;
            fake.clearCalls();
            target = source;
            QCOMPARE(target.m_restClient, source.m_restClient);
            QCOMPARE(target.buildUrl(), QStringLiteral("http://h:1/p"));
            QCOMPARE(target.lastError(), QStringLiteral("text"));
            QCOMPARE(fake.calls(), QStringList());
        }
        QCOMPARE(fake.calls(), QStringList(QStringLiteral("client.release")));
    }
};

QTEST_GUILESS_MAIN(TestBaseService)
#include "test_base_service.moc"
