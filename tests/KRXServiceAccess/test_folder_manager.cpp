#include "BadDocuments.h"
#include "FakeRestClient.h"
#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXTest.h"
#include "Managers.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>
#include <QRegularExpression>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;
using namespace Managers;

namespace {

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

    void cleanup() { endTest(m_fake, KRXFolderManager::cleanup); }

    void aVolumeChangeWithoutAFactoryThrowsNothingAtItsCaller()
    {
        m_fake->factoryIsNull = true;
        const QRegularExpression breach(QStringLiteral("No REST client"));
        QTest::ignoreMessage(QtCriticalMsg, breach);
        KRXFolderManager& made = manager();
        QTest::ignoreMessage(QtCriticalMsg, breach);
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("V"), 1, 2);
        m_fake->factoryIsNull = false;
        m_fake->answer(kGet, ServiceUrls::kFoldersInDetail, 200, listOf({}));
        QVERIFY(made.refreshFolders(true));
    }

    // --- refreshFolders(true) --------------------------------------------------------------------------

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

    void noCursorShowsWhileAFolderIsUpdatedOrAVolumeReported()
    {
        fill({"1"});
        QList<bool> shown;
        m_fake->setHandler([&](const FakeRequest&) {
            shown << (QGuiApplication::overrideCursor() != nullptr);
            return FakeAnswer();
        });
        KRXFolder folder;
        folder.setProperty("folderId", QStringLiteral("1"));
        QVERIFY(manager().updateFolder(folder, true));
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("V"), 1, 1);
        QCOMPARE(shown, QList<bool>({false, false}));
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
        QCOMPARE(manager().lastError(), QString());
    }

    void aVolumeChangeThatCannotBeSentIsNotReported_data()
    {
        QTest::addColumn<bool>("withClient");
        QTest::newRow("the call fails") << true;
        QTest::newRow("there is no client") << false;
    }
    void aVolumeChangeThatCannotBeSentIsNotReported()
    {
        QFETCH(bool, withClient);
        m_fake->factoryStatus = withClient ? kHostStatusOk : kHostStatusFailed;
        FakeAnswer failed;
        failed.callStatus = kHostStatusFailed;
        m_fake->answer(kPost, ServiceUrls::kDeviceStatus, failed);
        m_fake->answer(kGet, ServiceUrls::kFolders, 500, {}, QStringLiteral("not today"));
        QVERIFY(!manager().refreshFolders(false));
        const QString before = manager().lastError();
        m_fake->clearRequests();
        m_fake->factoryStatus = kHostStatusOk;
        m_fake->componentStatus = kHostStatusFailed;
        KRXFolderManager::volumeStatusCallback(reinterpret_cast<const unsigned char*>("V"), 1, 1);
        QCOMPARE(m_fake->requests().size(), withClient ? 1 : 0);
        QCOMPARE(manager().lastError(), before);
    }

    // --- Texts that XML cannot carry -------------------------------------------------------------------

    void textsThatXmlCannotCarryAreRefusedBeforeAnythingIsSent_data() { addUncarriableTextRows(); }
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
