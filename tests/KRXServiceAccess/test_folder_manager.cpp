#include "BadDocuments.h"
#include "FakeRestClient.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXTest.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>
#include <QPointer>

#include <type_traits>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;

namespace {

const QString kGet = QStringLiteral("GET");
const QString kPost = QStringLiteral("POST");
const QString kPut = QStringLiteral("PUT");
const QString kDelete = QStringLiteral("DELETE");

QString folderUrl(const QString& id)
{
    return ServiceUrls::member(ServiceUrls::kFolders, id);
}

QByteArray folderXml(const char* id, const char* path = "/a", const char* profile = "p",
                     const char* enabled = "false")
{
    return QByteArray("<xelMediaFolder id=\"") + id + "\"><path>" + path + "</path><profile>" + profile +
           "</profile><enabled>" + enabled + "</enabled></xelMediaFolder>";
}

QByteArray listOf(const QByteArray& content)
{
    return QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?><list>") + content + "</list>";
}

QByteArray uri(const char* url)
{
    return QByteArray("<xelMediaFolderURI>") + url + "</xelMediaFolderURI>";
}

QString text(const KRXFolder& folder, const char* property)
{
    return folder.property(property).toString();
}

} // namespace

class TestFolderManager : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeRestClient> m_fake;

    static KRXFolderManager& manager() { return KRXFolderManager::getInstance(); }

    static QStringList ids()
    {
        QStringList found;
        for (int i = 0; i < manager().countFolders(); ++i)
            found << text(*manager().getFolder(i), "folderId");
        return found;
    }

    /// Fills the cache with these folders, each at the path "/" + id.
    void fill(const QList<QByteArray>& names)
    {
        QByteArray content;
        for (const QByteArray& name : names)
            content += folderXml(name.constData(), QByteArray("/" + name).constData());
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200, listOf(content));
        QVERIFY(manager().refreshFolders(true));
        m_fake->clearRequests();
    }

private slots:
    void init() { m_fake = std::make_unique<FakeRestClient>(); }

    void cleanup()
    {
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(m_fake->liveResponses(), 0);
        StandInHost::setTranslator({});
        KRXFolderManager::cleanup();
        QCOMPARE(m_fake->clientReferences(), 0);
        m_fake.reset();
    }

    // --- The instance ----------------------------------------------------------------------------------

    void thereIsOneManagerUntilCleanup()
    {
        KRXFolderManager* first = &manager();
        QCOMPARE(&manager(), first);
        fill({"1"});
        KRXFolderManager::cleanup();
        QCOMPARE(manager().countFolders(), 0);
        KRXFolderManager::cleanup();
        KRXFolderManager::cleanup();
    }

    void theManagerCannotBeCopied()
    {
        QVERIFY(!std::is_copy_constructible<KRXFolderManager>::value);
        QVERIFY(!std::is_copy_assignable<KRXFolderManager>::value);
        QVERIFY(!std::is_default_constructible<KRXFolderManager>::value);
    }

    void cleanupDeletesTheRecords()
    {
        fill({"1"});
        QPointer<const KRXFolder> record(manager().getFolder(0));
        KRXFolderManager::cleanup();
        QVERIFY(!record);
    }

    void aHostWithoutAFactoryThrowsNothingAtItsCallers()
    {
        m_fake->factoryIsNull = true;
        const QRegularExpression breach(QStringLiteral("No REST client"));
        QTest::ignoreMessage(QtCriticalMsg, breach);
        KRXFolderManager& made = manager();
        QTest::ignoreMessage(QtCriticalMsg, breach);
        QVERIFY(!made.refreshFolders(true));
        QVERIFY(!made.lastError().isEmpty());
        QTest::ignoreMessage(QtCriticalMsg, breach);
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("V"), 1, 2);
        m_fake->factoryIsNull = false;
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200, listOf({}));
        QVERIFY(made.refreshFolders(true));
    }

    // --- refreshFolders(false) -------------------------------------------------------------------------

    void aRefreshReadsTheListAndEachFolderAtTheUrlAsGiven()
    {
        m_fake->answer(kGet, ServiceUrls::kFolders, 200,
                       listOf(uri("http://elsewhere:1/odd%20path/2?x=1") + QByteArray("<deep>") +
                              uri("http://u/1") + "</deep>"));
        m_fake->answer(kGet, QStringLiteral("http://elsewhere:1/odd%20path/2?x=1"), 200, folderXml("2"));
        m_fake->answer(kGet, QStringLiteral("http://u/1"), 200, listOf(folderXml("1")));
        QVERIFY(manager().refreshFolders(false));
        QCOMPARE(m_fake->requestLines(),
                 QStringList({QStringLiteral("GET ") + ServiceUrls::kFolders,
                              QStringLiteral("GET http://elsewhere:1/odd%20path/2?x=1"),
                              QStringLiteral("GET http://u/1")}));
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("2")}));
    }

    void aFolderThatCannotBeFetchedIsLeftOutOfTheRefresh_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("refused") << 404 << QByteArray();
        QTest::newRow("not XML") << 200 << QByteArray("oops");
        QTest::newRow("no folder in it") << 200 << QByteArray("<a/>");
        QTest::newRow("no id") << 200 << QByteArray("<xelMediaFolder/>");
    }
    void aFolderThatCannotBeFetchedIsLeftOutOfTheRefresh()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_fake->answer(kGet, ServiceUrls::kFolders, 200,
                       listOf(uri("http://u/1") + uri("http://u/2") + uri("http://u/3")));
        m_fake->answer(kGet, QStringLiteral("http://u/1"), 200, folderXml("1"));
        m_fake->answer(kGet, QStringLiteral("http://u/2"), status, body, QStringLiteral("gone"));
        m_fake->answer(kGet, QStringLiteral("http://u/3"), 200, folderXml("3"));
        QVERIFY(manager().refreshFolders(false));
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("3")}));
        // What could not be read is skipped silently: the refresh is a success.
        QCOMPARE(manager().lastError(), status == 200 ? QString() : QStringLiteral("gone"));
    }

    // --- refreshFolders(true) --------------------------------------------------------------------------

    void aDetailedRefreshTakesOneRequest()
    {
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200,
                       listOf(folderXml("b") + "<group>" + folderXml("a") + "</group>"));
        QVERIFY(manager().refreshFolders(true));
        QCOMPARE(m_fake->requestLines(),
                 QStringList({QStringLiteral("GET ") + ServiceUrls::kFoldersInDetail}));
        QCOMPARE(ids(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    }

    void foldersInsideFoldersAreFoldersOfTheirOwn()
    {
        m_fake->answer(
            kGet, ServiceUrls::kFoldersInDetail, 200,
            QByteArray("<xelMediaFolder id=\"out\"><path>/out</path><outputXELFiles>"
                       "<xelMediaFolder id=\"in\"><path>/in</path><outputXELFiles><fileName>f</fileName>"
                       "</outputXELFiles></xelMediaFolder></outputXELFiles></xelMediaFolder>"));
        QVERIFY(manager().refreshFolders(true));
        QCOMPARE(ids(), QStringList({QStringLiteral("in"), QStringLiteral("out")}));
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/in"));
        QCOMPARE(text(*manager().getFolder(1), "folderPath"), QStringLiteral("/out"));
        QCOMPARE(manager().getFolder(1)->property("outputXELFiles").toStringList(),
                 QStringList(QStringLiteral("f")));
    }

    void foldersWithoutAnIdAreSkipped()
    {
        m_fake->answer(
            kGet, ServiceUrls::kFoldersInDetail, 200,
            listOf("<xelMediaFolder><path>/x</path></xelMediaFolder>" + folderXml("1") + folderXml("")));
        QVERIFY(manager().refreshFolders(true));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void foldersAreInPlainOrderOfTheirIds()
    {
        fill({"b", "10", "B", "2", "a"});
        QCOMPARE(ids(), QStringList({QStringLiteral("10"), QStringLiteral("2"), QStringLiteral("B"),
                                     QStringLiteral("a"), QStringLiteral("b")}));
    }

    // --- Both refreshes --------------------------------------------------------------------------------

    void aListWithoutAnyFolderEmptiesTheCacheAndIsSuccess_data()
    {
        QTest::addColumn<bool>("detailed");
        QTest::newRow("list") << false;
        QTest::newRow("in detail") << true;
    }
    void aListWithoutAnyFolderEmptiesTheCacheAndIsSuccess()
    {
        QFETCH(bool, detailed);
        fill({"1", "2"});
        m_fake->answer(kGet, detailed ? ServiceUrls::kFoldersInDetail : ServiceUrls::kFolders, 200,
                       "<nothing/>");
        QVERIFY(manager().refreshFolders(detailed));
        QCOMPARE(manager().countFolders(), 0);
        QCOMPARE(manager().lastError(), QString());
    }

    void aListThatIsNotXmlIsFailureAndKeepsTheCache_data() { addBadDocumentRows(); }
    void aListThatIsNotXmlIsFailureAndKeepsTheCache()
    {
        QFETCH(QByteArray, body);
        fill({"1", "2"});
        const KRXFolder* before = manager().getFolder(0);
        for (const bool detailed : {false, true}) {
            m_fake->answer(kGet, detailed ? ServiceUrls::kFoldersInDetail : ServiceUrls::kFolders, 200, body);
            QVERIFY(!manager().refreshFolders(detailed));
            QCOMPARE(manager().lastError(), QStringLiteral("The answer of the service could not be read"));
            QCOMPARE(manager().countFolders(), 2);
            QCOMPARE(manager().getFolder(0), before);
        }
        fill({"3"});
        QCOMPARE(ids(), QStringList(QStringLiteral("3")));
    }

    void theTextOfAnUnreadableAnswerIsLocalised()
    {
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        m_fake->answer(kGet, ServiceUrls::kFolders, 200, "oops");
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200, "oops");
        for (const bool detailed : {false, true}) {
            QVERIFY(!manager().refreshFolders(detailed));
            QCOMPARE(manager().lastError(), QStringLiteral("~The answer of the service could not be read"));
        }
    }

    void aRefusedListIsFailureAndKeepsTheCache()
    {
        fill({"1", "2"});
        for (const bool detailed : {false, true}) {
            m_fake->answer(kGet, detailed ? ServiceUrls::kFoldersInDetail : ServiceUrls::kFolders, 500,
                           listOf(folderXml("3")), QStringLiteral("not today"));
            QVERIFY(!manager().refreshFolders(detailed));
            QCOMPARE(manager().lastError(), QStringLiteral("not today"));
            QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("2")}));
        }
    }

    void wrongRootsAreReadForWhatTheyHold()
    {
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200,
                       "<profiles><profile>" + folderXml("1") + "</profile></profiles>");
        QVERIFY(manager().refreshFolders(true));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void twoFoldersOfOneIdLeaveTheLaterOne_data()
    {
        QTest::addColumn<bool>("detailed");
        QTest::newRow("list") << false;
        QTest::newRow("in detail") << true;
    }
    void twoFoldersOfOneIdLeaveTheLaterOne()
    {
        QFETCH(bool, detailed);
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200,
                       listOf(folderXml("1", "/first") + folderXml("1", "/later")));
        m_fake->answer(kGet, ServiceUrls::kFolders, 200, listOf(uri("http://u/a") + uri("http://u/b")));
        m_fake->answer(kGet, QStringLiteral("http://u/a"), 200, folderXml("1", "/first"));
        m_fake->answer(kGet, QStringLiteral("http://u/b"), 200, folderXml("1", "/later"));
        QVERIFY(manager().refreshFolders(detailed));
        QCOMPARE(manager().countFolders(), 1);
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/later"));
    }

    void theEarlierOfTwoFoldersOfOneIdLivesUntilTheCacheIsCleared()
    {
        QPointer<const KRXFolder> earlier;
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            if (request.url == ServiceUrls::kFolders)
                return {200, listOf(uri("http://u/a") + uri("http://u/b"))};
            if (request.url == QLatin1String("http://u/b"))
                earlier = manager().getFolder(0);
            return {200, folderXml("1", request.url.right(1).toLatin1().constData())};
        });
        QVERIFY(manager().refreshFolders(false));
        QVERIFY(earlier);
        QCOMPARE(text(*earlier, "folderPath"), QStringLiteral("a"));
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("b"));
        m_fake->setHandler({});
        fill({});
        QVERIFY(!earlier);
    }

    void theWaitCursorShowsDuringARefreshAndIsTakenBackAlsoOnFailure()
    {
        QList<Qt::CursorShape> shapes;
        m_fake->setHandler([&](const FakeRequest&) {
            shapes << (QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape()
                                                         : Qt::ArrowCursor);
            return FakeAnswer(500, {}, QStringLiteral("no"));
        });
        QVERIFY(!manager().refreshFolders(true));
        QVERIFY(!QGuiApplication::overrideCursor());
        QVERIFY(!manager().refreshFolders(false));
        QVERIFY(!QGuiApplication::overrideCursor());
        KRXFolder out;
        QVERIFY(!manager().readFolder(QStringLiteral("1"), out));
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::WaitCursor, Qt::WaitCursor, Qt::WaitCursor}));
        shapes.clear();
        QVERIFY(!manager().createFolder(QStringLiteral("/a"), QString(), out));
        QVERIFY(!manager().deleteFolder(QStringLiteral("1")));
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::ArrowCursor, Qt::ArrowCursor}));
    }

    // --- Looking into the cache ------------------------------------------------------------------------

    void positionsOutsideTheCacheGiveNothing()
    {
        fill({"1", "2"});
        KRXFolder out;
        for (const int index : {-1, manager().countFolders(), 1000, INT_MIN, INT_MAX}) {
            QVERIFY(!manager().getFolder(index));
            QVERIFY(!manager().getFolder(index, out));
        }
        QVERIFY(out.dynamicPropertyNames().isEmpty());
        QVERIFY(m_fake->requests().isEmpty());
    }

    void lookingUpCopiesTheProperties()
    {
        fill({"1", "2"});
        KRXFolder byIndex;
        QVERIFY(manager().getFolder(1, byIndex));
        QCOMPARE(text(byIndex, "folderPath"), QStringLiteral("/2"));
        KRXFolder byId;
        QVERIFY(manager().getFolder(QStringLiteral("1"), byId));
        QCOMPARE(text(byId, "folderPath"), QStringLiteral("/1"));
        byId.setProperty("folderPath", QStringLiteral("changed"));
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/1"));
        QVERIFY(!manager().getFolder(QStringLiteral("3"), byId));
        QVERIFY(m_fake->requests().isEmpty());
    }

    void positionsFollowEveryChangeOfTheCache()
    {
        fill({"1", "2", "3"});
        QCOMPARE(ids().size(), 3);
        m_fake->answer(kDelete, folderUrl(QStringLiteral("2")), 200);
        QVERIFY(manager().deleteFolder(QStringLiteral("2")));
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("3")}));
        m_fake->answer(kGet, folderUrl(QStringLiteral("0")), 200, folderXml("0"));
        KRXFolder out;
        QVERIFY(manager().readFolder(QStringLiteral("0"), out));
        QCOMPARE(ids(), QStringList({QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("3")}));
        // The size is as before, the folders are not.
        m_fake->answer(kDelete, folderUrl(QStringLiteral("0")), 200);
        QVERIFY(manager().deleteFolder(QStringLiteral("0")));
        m_fake->answer(kGet, folderUrl(QStringLiteral("9")), 200, folderXml("9"));
        QVERIFY(manager().readFolder(QStringLiteral("9"), out));
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("3"), QStringLiteral("9")}));
    }

    // --- readFolder ------------------------------------------------------------------------------------

    void readFolderFetchesCachesAndCopies()
    {
        fill({"1"});
        QPointer<const KRXFolder> old(manager().getFolder(0));
        m_fake->answer(kGet, folderUrl(QStringLiteral("1")), 200, folderXml("1", "/new"));
        KRXFolder out;
        out.setProperty("own", 1);
        QVERIFY(manager().readFolder(QStringLiteral("1"), out));
        QCOMPARE(m_fake->requestLines(),
                 QStringList(QStringLiteral("GET http://localhost:58885/KRXService/xelmediafolders/1")));
        QCOMPARE(text(out, "folderPath"), QStringLiteral("/new"));
        QCOMPARE(out.property("own").toInt(), 1);
        QVERIFY(!old);
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/new"));
    }

    void readFolderStoresUnderTheIdThatWasAskedFor()
    {
        m_fake->answer(kGet, folderUrl(QStringLiteral("asked")), 200, folderXml("answered"));
        KRXFolder out;
        QVERIFY(manager().readFolder(QStringLiteral("asked"), out));
        QCOMPARE(text(out, "folderId"), QStringLiteral("answered"));
        QVERIFY(manager().getFolder(QStringLiteral("asked"), out));
        QVERIFY(!manager().getFolder(QStringLiteral("answered"), out));
    }

    void readFolderThatFailsKeepsTheCache_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused") << 404 << QByteArray() << QStringLiteral("gone");
        QTest::newRow("not XML") << 200 << QByteArray("oops")
                                 << QStringLiteral("The answer of the service could not be read");
        QTest::newRow("no folder in it") << 200 << QByteArray("<a/>") << QString();
    }
    void readFolderThatFailsKeepsTheCache()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, error);
        fill({"1"});
        const KRXFolder* before = manager().getFolder(0);
        m_fake->answer(kGet, folderUrl(QStringLiteral("1")), status, body, QStringLiteral("gone"));
        KRXFolder out;
        QVERIFY(!manager().readFolder(QStringLiteral("1"), out));
        QCOMPARE(manager().lastError(), error);
        QCOMPARE(manager().getFolder(0), before);
        QVERIFY(out.dynamicPropertyNames().isEmpty());
    }

    // --- createFolder ----------------------------------------------------------------------------------

    void createFolderPostsTheRequestAndReadsTheNewFolder()
    {
        m_fake->answer(kPost, ServiceUrls::kFolders, 201, listOf(uri("http://new/7") + uri("http://new/8")));
        m_fake->answer(kGet, QStringLiteral("http://new/7"), 200, folderXml("7", "/stored", "12"));
        KRXFolder out;
        QVERIFY(manager().createFolder(QStringLiteral("D:/Watch"), QStringLiteral("12"), out));
        QCOMPARE(m_fake->requestLines(), QStringList({QStringLiteral("POST ") + ServiceUrls::kFolders,
                                                      QStringLiteral("GET http://new/7")}));
        QCOMPARE(QString::fromUtf8(m_fake->requests().first().body),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolderRequest>\n"
                                " <xelMediaFolder>\n"
                                "  <path>D:/Watch</path>\n"
                                "  <profile>12</profile>\n"
                                "  <enabled>false</enabled>\n"
                                " </xelMediaFolder>\n"
                                "</xelMediaFolderRequest>\n"));
        QCOMPARE(text(out, "folderId"), QStringLiteral("7"));
        QCOMPARE(text(out, "folderPath"), QStringLiteral("/stored"));
        QCOMPARE(ids(), QStringList(QStringLiteral("7")));
    }

    void createFolderWithAnEmptyProfileStillWritesTheProfile()
    {
        m_fake->answer(kPost, ServiceUrls::kFolders, 201, "<a/>");
        KRXFolder out;
        QVERIFY(manager().createFolder(QStringLiteral("/a"), QString(), out));
        QVERIFY(m_fake->lastRequest().body.contains("<profile></profile>"));
    }

    void createFolderWithoutAUsableAnswerIsTrueAndLeavesOutAlone_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("detailStatus");
        QTest::addColumn<QByteArray>("detail");
        QTest::newRow("no folder URL") << QByteArray("<ok/>") << 200 << folderXml("7");
        QTest::newRow("detail refused") << uri("http://new/7") << 404 << QByteArray();
        QTest::newRow("detail not XML") << uri("http://new/7") << 200 << QByteArray("{}");
        QTest::newRow("detail without an id") << uri("http://new/7") << 200 << folderXml("");
    }
    void createFolderWithoutAUsableAnswerIsTrueAndLeavesOutAlone()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, detailStatus);
        QFETCH(QByteArray, detail);
        m_fake->answer(kPost, ServiceUrls::kFolders, 201, answer);
        m_fake->answer(kGet, QStringLiteral("http://new/7"), detailStatus, detail);
        KRXFolder out;
        out.setProperty("own", 1);
        QVERIFY(manager().createFolder(QStringLiteral("/a"), QStringLiteral("p"), out));
        QCOMPARE(out.dynamicPropertyNames(), QList<QByteArray>({"own"}));
        QCOMPARE(manager().countFolders(), 0);
        if (detailStatus == 200)
            QCOMPARE(manager().lastError(), QString());
    }

    void createFolderThatFailsKeepsTheCache_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused") << 409 << uri("http://new/7") << QStringLiteral("There is one already");
        QTest::newRow("not XML") << 201 << QByteArray("created")
                                 << QStringLiteral("The answer of the service could not be read");
    }
    void createFolderThatFailsKeepsTheCache()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(QString, error);
        fill({"1"});
        m_fake->answer(kPost, ServiceUrls::kFolders, status, body, QStringLiteral("There is one already"));
        KRXFolder out;
        QVERIFY(!manager().createFolder(QStringLiteral("/a"), QStringLiteral("p"), out));
        QCOMPARE(manager().lastError(), error);
        QCOMPARE(m_fake->requests().size(), 1);
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void createFolderOfACachedIdKeepsTheOldRecordAliveUntilTheCacheIsCleared()
    {
        fill({"7"});
        QPointer<const KRXFolder> old(manager().getFolder(0));
        m_fake->answer(kPost, ServiceUrls::kFolders, 201, uri("http://new/7"));
        m_fake->answer(kGet, QStringLiteral("http://new/7"), 200, folderXml("7", "/again"));
        KRXFolder out;
        QVERIFY(manager().createFolder(QStringLiteral("/again"), QStringLiteral("p"), out));
        QVERIFY(old);
        QCOMPARE(text(*old, "folderPath"), QStringLiteral("/7"));
        QCOMPARE(manager().countFolders(), 1);
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/again"));
        fill({});
        QVERIFY(!old);
    }

    // --- updateFolder ----------------------------------------------------------------------------------

    void updateFolderPutsTheFolderAndUpdatesTheCache_data()
    {
        QTest::addColumn<bool>("reprocess");
        QTest::addColumn<QString>("url");
        QTest::newRow("as it is") << false
                                  << QStringLiteral("http://localhost:58885/KRXService/xelmediafolders/1");
        QTest::newRow("reprocess") << true
                                   << QStringLiteral("http://localhost:58885/KRXService/xelmediafolders/1"
                                                     "?reprocess=true");
    }
    void updateFolderPutsTheFolderAndUpdatesTheCache()
    {
        QFETCH(bool, reprocess);
        QFETCH(QString, url);
        fill({"1"});
        const KRXFolder* cached = manager().getFolder(0);
        m_fake->answer(kPut, url, 200, "not XML, and of no interest");
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        folder.setProperty("folderEnabled", QStringLiteral("true"));
        folder.setProperty("extra", 5);
        QVERIFY(manager().updateFolder(folder, reprocess));
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("PUT ") + url));
        QCOMPARE(QString::fromUtf8(m_fake->lastRequest().body),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<xelMediaFolder id=\"1\">\n"
                                " <enabled>true</enabled>\n"
                                "</xelMediaFolder>\n"));
        QCOMPARE(manager().getFolder(0), cached);
        QCOMPARE(text(*cached, "folderEnabled"), QStringLiteral("true"));
        QCOMPARE(text(*cached, "folderPath"), QStringLiteral("/1"));
        QCOMPARE(cached->property("extra").toInt(), 5);
        QCOMPARE(manager().lastError(), QString());
    }

    void updateFolderWithoutAnIdSendsNothing()
    {
        KRXFolder folder;
        folder.setProperty("folderPath", QStringLiteral("/a"));
        QVERIFY(!manager().updateFolder(folder, false));
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(manager().lastError(), QString());
    }

    void updateFolderOfAFolderThatIsNotCachedIsFalseAfterASuccessfulPut()
    {
        m_fake->answer(kPut, folderUrl(QStringLiteral("1")), 200);
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        QVERIFY(!manager().updateFolder(folder, false));
        QCOMPARE(m_fake->requests().size(), 1);
        QCOMPARE(manager().countFolders(), 0);
        QCOMPARE(manager().lastError(), QString());
    }

    void updateFolderThatIsRefusedKeepsTheCache()
    {
        fill({"1"});
        m_fake->answer(kPut, folderUrl(QStringLiteral("1")), 400, {}, QStringLiteral("no such profile"));
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        folder.setProperty("folderPath", QStringLiteral("/b"));
        QVERIFY(!manager().updateFolder(folder, false));
        QCOMPARE(manager().lastError(), QStringLiteral("no such profile"));
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/1"));
    }

    // --- deleteFolder ----------------------------------------------------------------------------------

    void deleteFolderDeletesOnTheServiceAndInTheCache()
    {
        fill({"1", "2"});
        QPointer<const KRXFolder> record(manager().getFolder(0));
        m_fake->answer(kDelete, folderUrl(QStringLiteral("1")), 200, "not XML");
        QVERIFY(manager().deleteFolder(QStringLiteral("1")));
        QVERIFY(!record);
        QCOMPARE(ids(), QStringList(QStringLiteral("2")));
        QCOMPARE(m_fake->requestLines(),
                 QStringList(QStringLiteral("DELETE http://localhost:58885/KRXService/xelmediafolders/1")));
    }

    void deleteFolderOfAFolderThatIsNotCachedIsTheServicesWord()
    {
        m_fake->answer(kDelete, folderUrl(QStringLiteral("1")), 200);
        QVERIFY(manager().deleteFolder(QStringLiteral("1")));
        m_fake->answer(kDelete, folderUrl(QStringLiteral("1")), 404, {}, QStringLiteral("unknown"));
        QVERIFY(!manager().deleteFolder(QStringLiteral("1")));
    }

    void deleteFolderThatIsRefusedKeepsTheCache()
    {
        fill({"1"});
        m_fake->answer(kDelete, folderUrl(QStringLiteral("1")), 500, {}, QStringLiteral("busy"));
        QVERIFY(!manager().deleteFolder(QStringLiteral("1")));
        QCOMPARE(manager().lastError(), QStringLiteral("busy"));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void anIdThatChangesDuringTheRequestIsTheOneThatWasAskedFor()
    {
        fill({"1", "2"});
        QString id = QStringLiteral("1");
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            id = QStringLiteral("2");
            return {200, request.method == kGet ? folderXml("1", "/new") : QByteArray()};
        });
        KRXFolder out;
        QVERIFY(manager().readFolder(id, out));
        QCOMPARE(text(*manager().getFolder(0), "folderPath"), QStringLiteral("/new"));
        QCOMPARE(text(*manager().getFolder(1), "folderPath"), QStringLiteral("/2"));
        id = QStringLiteral("1");
        QVERIFY(manager().deleteFolder(id));
        QCOMPARE(ids(), QStringList(QStringLiteral("2")));
    }

    void markersInAnIdStayAsTheyAre()
    {
        const QString id = QStringLiteral("%1%2%L1");
        m_fake->answer(kDelete, folderUrl(id), 200);
        QVERIFY(manager().deleteFolder(id));
        QCOMPARE(m_fake->lastRequest().url, folderUrl(id));
    }

    // --- volumeStatusCallback --------------------------------------------------------------------------

    void aVolumeChangeIsPostedAndNotWaitedFor()
    {
        FakeAnswer answer(500, {}, QStringLiteral("not asked for"));
        answer.unfinishedAnswers = -1;
        m_fake->answer(kPost, ServiceUrls::kDeviceStatus, answer);
        manager();
        m_fake->clearCalls();
        KRXFolderManager::volumeStatusCallback(
            reinterpret_cast<const unsigned char*>("Sp\xC3\xA4t \xF0\x9F\x8E\xAC"), 2, -1);
        QCOMPARE(m_fake->requestLines(), QStringList(QStringLiteral("POST ") + ServiceUrls::kDeviceStatus));
        QCOMPARE(QString::fromUtf8(m_fake->lastRequest().body),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n"
                                "<deviceStatus>\n"
                                " <volumeName>Sp\u00e4t \U0001F3AC</volumeName>\n"
                                " <volumeType>2</volumeType>\n"
                                " <volumeAction>-1</volumeAction>\n"
                                "</deviceStatus>\n"));
        QCOMPARE(m_fake->calls(),
                 QStringList({QStringLiteral("client.post"), QStringLiteral("response.release")}));
        QCOMPARE(manager().lastError(), QString());
    }

    void aVolumeWithoutANameIsNotReported()
    {
        KRXFolderManager::volumeStatusCallback(nullptr, 1, 1);
        QVERIFY(m_fake->requests().isEmpty());
    }

    void aVolumeWhoseNameXmlCannotCarryIsNotReported()
    {
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("V\x01"), 1, 1);
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(manager().lastError(),
                 QStringLiteral("The name or path holds characters that cannot be stored"));
    }

    // --- Texts that XML cannot carry -------------------------------------------------------------------

    void textsThatXmlCannotCarryAreRefusedBeforeAnythingIsSent_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("control character") << QStringLiteral("/a\u0001");
        QTest::newRow("NUL") << QString(QStringLiteral("/a") + QChar(0) + QStringLiteral("b"));
        QTest::newRow("lone high surrogate") << QString(QStringLiteral("/a") + QChar(0xD83C));
        QTest::newRow("lone low surrogate") << QString(QChar(0xDFAC) + QStringLiteral("/a"));
        QTest::newRow("U+FFFF") << QString(QStringLiteral("/a") + QChar(0xFFFF));
    }
    void textsThatXmlCannotCarryAreRefusedBeforeAnythingIsSent()
    {
        QFETCH(QString, text);
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        const QString error = QStringLiteral("~The name or path holds characters that cannot be stored");
        fill({"1"});
        KRXFolder out;
        QVERIFY(!manager().createFolder(text, QStringLiteral("p"), out));
        QCOMPARE(manager().lastError(), error);
        QVERIFY(!manager().createFolder(QStringLiteral("/a"), text, out));
        for (const char* property : {"folderPath", "folderProfileId", "folderEnabled"}) {
            KRXFolder folder;
            folder.setProperty("folderId", QStringLiteral("1"));
            folder.setProperty(property, text);
            QVERIFY(!manager().updateFolder(folder, true));
        }
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void difficultTextsAreSentSoThatTheyReadBack()
    {
        const QString path =
            QStringLiteral("  /\U0001F3AC \u05e9 a\rb\tc %2 ") + QString(4096, QLatin1Char('x'));
        QByteArray sent;
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            if (request.method == kPost) {
                sent = request.body;
                return {201, uri("http://new/7")};
            }
            QByteArray answer = sent;
            return {200, answer.replace("<xelMediaFolder>", "<xelMediaFolder id=\"7\">")};
        });
        KRXFolder out;
        QVERIFY(manager().createFolder(path, QStringLiteral("p"), out));
        QCOMPARE(text(out, "folderPath"), path);
    }
};

QTEST_MAIN(TestFolderManager)
#include "test_folder_manager.moc"
