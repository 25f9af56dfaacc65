#include "BadDocuments.h"
#include "FakeRestClient.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXSettingsController.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "ProfileActionsController.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QPointer>
#include <QRegularExpression>

#include <type_traits>

using KRXTest::FakeAnswer;
using KRXTest::FakeRequest;
using KRXTest::FakeRestClient;

namespace {

const QString kGet = QStringLiteral("GET");
const QString kPost = QStringLiteral("POST");
const QString kDelete = QStringLiteral("DELETE");
const QString kUnreadable = QStringLiteral("The answer of the service could not be read");

QString profileUrl(const QString& id)
{
    return ServiceUrls::member(ServiceUrls::kProfiles, id);
}

QByteArray profileXml(const QByteArray& guid, const QByteArray& name, const QByteArray& more = {})
{
    return "<profile><version>200</version><profileDetail><profileName>" + name +
           "</profileName><profileGUID>" + guid + "</profileGUID></profileDetail>" + more + "</profile>";
}

QByteArray listOf(const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><list>" + content + "</list>";
}

QByteArray uri(const QByteArray& url)
{
    return "<profileURI>" + url + "</profileURI>";
}

QString text(const KRXProfile& profile, const char* property)
{
    return profile.property(property).toString();
}

QStringList tagsIn(const QDomElement& parent)
{
    QStringList tags;
    for (const QDomElement& child : KRXXml::childElements(parent))
        tags << child.tagName();
    return tags;
}

/// The controllers of a profile editor with the groups that it shows, and no actions.
struct Editor
{
    Editor()
    {
        for (const XelSettingsType type :
             {PluginSettings, BinsSettings, LinkOptionsSettings, ZorMetadataSettings})
            settings->addNewSetting(type);
    }

    KRXTwistWidget section{nullptr, QString()};
    KRXSettingsController* settings = new KRXSettingsController(&section, nullptr);
    ProfileActionsController actions{&section, nullptr};
};

} // namespace

class TestProfileManager : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeRestClient> m_fake;

    static KRXProfileManager& manager() { return KRXProfileManager::getInstance(); }

    static QStringList ids()
    {
        QStringList found;
        for (const KRXProfile* profile : manager().getKRXProfileList())
            found << text(*profile, "profileGUID");
        return found;
    }

    void fill(const QByteArray& content)
    {
        m_fake->answer(kGet, ServiceUrls::kProfilesInDetail, 200, listOf(content));
        QVERIFY(manager().refreshProfiles(true));
        m_fake->clearRequests();
    }

private slots:
    void init() { m_fake = std::make_unique<FakeRestClient>(); }

    void cleanup()
    {
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(m_fake->liveResponses(), 0);
        StandInHost::setTranslator({});
        KRXProfileManager::cleanup();
        QCOMPARE(m_fake->clientReferences(), 0);
        m_fake.reset();
    }

    // --- The instance ----------------------------------------------------------------------------------

    void thereIsOneManagerUntilCleanupWhichDeletesTheRecords()
    {
        KRXProfileManager* first = &manager();
        QCOMPARE(&manager(), first);
        fill(profileXml("1", "a"));
        QPointer<KRXProfile> record(manager().getKRXProfileList().first());
        KRXProfileManager::cleanup();
        QVERIFY(!record);
        QCOMPARE(manager().countProfiles(), 0);
    }

    void theManagerCannotBeCopied()
    {
        QVERIFY(!std::is_copy_constructible<KRXProfileManager>::value);
        QVERIFY(!std::is_copy_assignable<KRXProfileManager>::value);
        QVERIFY(!std::is_default_constructible<KRXProfileManager>::value);
    }

    void aHostWithoutAFactoryThrowsNothingAtItsCallers()
    {
        m_fake->factoryIsNull = true;
        const QRegularExpression breach(QStringLiteral("No REST client"));
        QTest::ignoreMessage(QtCriticalMsg, breach);
        KRXProfileManager& made = manager();
        QTest::ignoreMessage(QtCriticalMsg, breach);
        QVERIFY(!made.refreshProfiles(false));
    }

    // --- Refreshing ------------------------------------------------------------------------------------

    void aRefreshReadsTheListAndEachProfileAtTheUrlAsGiven()
    {
        m_fake->answer(kGet, ServiceUrls::kProfiles, 200,
                       listOf(uri("http://elsewhere:1/b?x=1") + "<deep>" + uri("http://u/a") + "</deep>"));
        m_fake->answer(kGet, QStringLiteral("http://elsewhere:1/b?x=1"), 200, profileXml("b", "B"));
        m_fake->answer(kGet, QStringLiteral("http://u/a"), 200, listOf(profileXml("a", "A")));
        QVERIFY(manager().refreshProfiles(false));
        QCOMPARE(m_fake->requestLines(), QStringList({QStringLiteral("GET ") + ServiceUrls::kProfiles,
                                                      QStringLiteral("GET http://elsewhere:1/b?x=1"),
                                                      QStringLiteral("GET http://u/a")}));
        QCOMPARE(ids(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    }

    void oneOfThreeDetailsThatFailsLeavesTwoProfiles_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("refused") << 404 << QByteArray();
        QTest::newRow("not XML") << 200 << QByteArray("oops");
        QTest::newRow("no name") << 200 << profileXml("2", "");
        QTest::newRow("no GUID") << 200 << profileXml("", "b");
    }
    void oneOfThreeDetailsThatFailsLeavesTwoProfiles()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        m_fake->answer(kGet, ServiceUrls::kProfiles, 200,
                       listOf(uri("http://u/1") + uri("http://u/2") + uri("http://u/3")));
        m_fake->answer(kGet, QStringLiteral("http://u/1"), 200, profileXml("1", "a"));
        m_fake->answer(kGet, QStringLiteral("http://u/2"), status, body, QStringLiteral("gone"));
        m_fake->answer(kGet, QStringLiteral("http://u/3"), 200, profileXml("3", "c"));
        QVERIFY(manager().refreshProfiles(false));
        QCOMPARE(manager().countProfiles(), 2);
        QCOMPARE(ids(), QStringList({QStringLiteral("1"), QStringLiteral("3")}));
        QCOMPARE(manager().lastError(), status == 200 ? QString() : QStringLiteral("gone"));
    }

    void aDetailedRefreshTakesOneRequestAndKeepsEachProfilesOwnDocument()
    {
        m_fake->answer(
            kGet, ServiceUrls::kProfilesInDetail, 200,
            listOf(profileXml("b", "B", "<x a=\"1\">t</x>") + "<deep>" + profileXml("a", "A") + "</deep>"));
        QVERIFY(manager().refreshProfiles(true));
        QCOMPARE(m_fake->requestLines(),
                 QStringList(QStringLiteral("GET ") + ServiceUrls::kProfilesInDetail));
        QCOMPARE(ids(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
        QCOMPARE(text(*manager().getKRXProfileList().at(1), "profileXml"),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<profile>\n"
                                " <version>200</version>\n"
                                " <profileDetail>\n"
                                "  <profileName>B</profileName>\n"
                                "  <profileGUID>b</profileGUID>\n"
                                " </profileDetail>\n"
                                " <x a=\"1\">t</x>\n"
                                "</profile>\n"));
    }

    void profilesInsideProfilesAreProfilesOfTheirOwn()
    {
        m_fake->answer(kGet, ServiceUrls::kProfilesInDetail, 200,
                       profileXml("out", "Out", "<more>" + profileXml("in", "In") + "</more>"));
        QVERIFY(manager().refreshProfiles(true));
        QCOMPARE(ids(), QStringList({QStringLiteral("in"), QStringLiteral("out")}));
        QVERIFY(!text(*manager().getKRXProfileList().at(0), "profileXml").contains(QStringLiteral("Out")));
        QVERIFY(text(*manager().getKRXProfileList().at(1), "profileXml")
                    .contains(QStringLiteral("<profileName>In")));
    }

    void profilesWithoutNameOrGuidAreSkipped()
    {
        fill(profileXml("1", "") + profileXml("", "b") + profileXml("3", "c") + "<profile/>");
        QCOMPARE(ids(), QStringList(QStringLiteral("3")));
    }

    void aListWithoutProfilesEmptiesTheCacheAndIsSuccess()
    {
        for (const bool detailed : {false, true}) {
            fill(profileXml("1", "a"));
            m_fake->answer(kGet, detailed ? ServiceUrls::kProfilesInDetail : ServiceUrls::kProfiles, 200,
                           "<none/>");
            QVERIFY(manager().refreshProfiles(detailed));
            QCOMPARE(manager().countProfiles(), 0);
        }
    }

    void aListThatIsNotXmlIsFailureAndKeepsTheCache_data() { addBadDocumentRows(); }
    void aListThatIsNotXmlIsFailureAndKeepsTheCache()
    {
        QFETCH(QByteArray, body);
        fill(profileXml("1", "a"));
        KRXProfile* before = manager().getKRXProfileList().first();
        for (const bool detailed : {false, true}) {
            m_fake->answer(kGet, detailed ? ServiceUrls::kProfilesInDetail : ServiceUrls::kProfiles, 200,
                           body);
            QVERIFY(!manager().refreshProfiles(detailed));
            QCOMPARE(manager().lastError(), kUnreadable);
            QCOMPARE(manager().getKRXProfileList(), QList<KRXProfile*>({before}));
        }
    }

    void aRefusedListIsFailureAndKeepsTheCache()
    {
        fill(profileXml("1", "a"));
        for (const bool detailed : {false, true}) {
            m_fake->answer(kGet, detailed ? ServiceUrls::kProfilesInDetail : ServiceUrls::kProfiles, 500,
                           listOf(profileXml("2", "b")), QStringLiteral("not today"));
            QVERIFY(!manager().refreshProfiles(detailed));
            QCOMPARE(manager().lastError(), QStringLiteral("not today"));
            QCOMPARE(ids(), QStringList(QStringLiteral("1")));
        }
    }

    void twoProfilesOfOneGuidLeaveTheLaterOne()
    {
        fill(profileXml("1", "first") + profileXml("1", "later"));
        QCOMPARE(manager().countProfiles(), 1);
        QCOMPARE(text(*manager().getKRXProfileList().first(), "profileName"), QStringLiteral("later"));
    }

    void theEarlierOfTwoProfilesOfOneGuidLivesUntilTheCacheIsCleared()
    {
        QPointer<KRXProfile> earlier;
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            if (request.url == ServiceUrls::kProfiles)
                return {200, listOf(uri("http://u/a") + uri("http://u/b"))};
            if (request.url == QLatin1String("http://u/b"))
                earlier = manager().getKRXProfileList().first();
            return {200, profileXml("1", request.url.right(1).toLatin1())};
        });
        QVERIFY(manager().refreshProfiles(false));
        QVERIFY(earlier);
        QCOMPARE(text(*earlier, "profileName"), QStringLiteral("a"));
        QCOMPARE(manager().countProfiles(), 1);
        QCOMPARE(text(*manager().getKRXProfileList().first(), "profileName"), QStringLiteral("b"));
        m_fake->setHandler({});
        fill({});
        QVERIFY(!earlier);
    }

    void theWaitCursorShowsDuringRefreshAndReadAndIsTakenBackAlsoOnFailure()
    {
        QList<Qt::CursorShape> shapes;
        m_fake->setHandler([&](const FakeRequest&) {
            shapes << (QGuiApplication::overrideCursor() ? QGuiApplication::overrideCursor()->shape()
                                                         : Qt::ArrowCursor);
            return FakeAnswer(500, {}, QStringLiteral("no"));
        });
        KRXProfile out;
        QVERIFY(!manager().refreshProfiles(true));
        QVERIFY(!QGuiApplication::overrideCursor());
        QVERIFY(!manager().refreshProfiles(false));
        QVERIFY(!QGuiApplication::overrideCursor());
        QVERIFY(!manager().readProfile(QStringLiteral("1"), out));
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(shapes, QList<Qt::CursorShape>({Qt::WaitCursor, Qt::WaitCursor, Qt::WaitCursor}));
    }

    // --- readProfile, getProfile -----------------------------------------------------------------------

    void readProfileFetchesCachesAndCopies()
    {
        fill(profileXml("1", "old"));
        QPointer<KRXProfile> old(manager().getKRXProfileList().first());
        m_fake->answer(kGet, profileUrl(QStringLiteral("1")), 200, profileXml("1", "new"));
        KRXProfile out;
        out.setProperty("own", 1);
        QVERIFY(manager().readProfile(QStringLiteral("1"), out));
        QCOMPARE(m_fake->requestLines(),
                 QStringList(QStringLiteral("GET http://localhost:58885/KRXService/profiles/1")));
        QCOMPARE(text(out, "profileName"), QStringLiteral("new"));
        QCOMPARE(out.property("own").toInt(), 1);
        QVERIFY(!old);
        QCOMPARE(text(*manager().getKRXProfileList().first(), "profileName"), QStringLiteral("new"));
    }

    void readProfileStoresUnderTheIdThatWasAskedFor()
    {
        m_fake->answer(kGet, profileUrl(QStringLiteral("asked")), 200, profileXml("answered", "n"));
        KRXProfile out;
        QVERIFY(manager().readProfile(QStringLiteral("asked"), out));
        QVERIFY(manager().getProfile(QStringLiteral("asked"), out));
        QCOMPARE(text(out, "profileGUID"), QStringLiteral("answered"));
        QVERIFY(!manager().getProfile(QStringLiteral("answered"), out));
    }

    void readProfileThatFailsKeepsTheCache()
    {
        fill(profileXml("1", "old"));
        KRXProfile* before = manager().getKRXProfileList().first();
        KRXProfile out;
        m_fake->answer(kGet, profileUrl(QStringLiteral("1")), 404, {}, QStringLiteral("gone"));
        QVERIFY(!manager().readProfile(QStringLiteral("1"), out));
        QCOMPARE(manager().lastError(), QStringLiteral("gone"));
        m_fake->answer(kGet, profileUrl(QStringLiteral("1")), 200, "oops");
        QVERIFY(!manager().readProfile(QStringLiteral("1"), out));
        QCOMPARE(manager().lastError(), kUnreadable);
        m_fake->answer(kGet, profileUrl(QStringLiteral("1")), 200, profileXml("1", ""));
        QVERIFY(!manager().readProfile(QStringLiteral("1"), out));
        QCOMPARE(manager().getKRXProfileList(), QList<KRXProfile*>({before}));
        QVERIFY(out.dynamicPropertyNames().isEmpty());
    }

    void getProfileAsksNobody()
    {
        fill(profileXml("1", "a"));
        KRXProfile out;
        QVERIFY(manager().getProfile(QStringLiteral("1"), out));
        QCOMPARE(text(out, "profileName"), QStringLiteral("a"));
        QVERIFY(!manager().getProfile(QStringLiteral("2"), out));
        QVERIFY(m_fake->requests().isEmpty());
    }

    // --- createProfile ---------------------------------------------------------------------------------

    void createProfilePostsTheRequestAndReadsTheNewProfile()
    {
        m_fake->answer(kPost, ServiceUrls::kProfiles, 201, listOf(uri("http://new/7") + uri("http://new/8")));
        m_fake->answer(kGet, QStringLiteral("http://new/7"), 200, profileXml("g-7", "N"));
        QString id = QStringLiteral("before");
        QVERIFY(manager().createProfile(QStringLiteral("N & n"), nullptr, nullptr, id));
        QCOMPARE(id, QStringLiteral("g-7"));
        QCOMPARE(ids(), QStringList(QStringLiteral("g-7")));
        QCOMPARE(m_fake->requestLines(), QStringList({QStringLiteral("POST ") + ServiceUrls::kProfiles,
                                                      QStringLiteral("GET http://new/7")}));
        QString sent = QString::fromUtf8(m_fake->requests().first().body);
        static const QRegularExpression stamp(QStringLiteral("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d"));
        QVERIFY(sent.contains(stamp));
        QCOMPARE(sent.replace(stamp, QStringLiteral("NOW")),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<profileRequest>\n"
                                " <profile>\n"
                                "  <version>200</version>\n"
                                "  <profileDetail>\n"
                                "   <profileName>N &amp; n</profileName>\n"
                                "   <profileTag>#krx</profileTag>\n"
                                "   <profileCreatedTimestamp>NOW</profileCreatedTimestamp>\n"
                                "   <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n"
                                "   <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n"
                                "  </profileDetail>\n"
                                " </profile>\n"
                                "</profileRequest>\n"));
    }

    void createProfileSendsWhatTheControllersWriteBehindTheDetail_data()
    {
        QTest::addColumn<bool>("withSettings");
        QTest::addColumn<bool>("withActions");
        QTest::newRow("both") << true << true;
        QTest::newRow("settings only") << true << false;
        QTest::newRow("actions only") << false << true;
    }
    void createProfileSendsWhatTheControllersWriteBehindTheDetail()
    {
        QFETCH(bool, withSettings);
        QFETCH(bool, withActions);
        Editor editor;
        m_fake->answer(kPost, ServiceUrls::kProfiles, 201, "<ok/>");
        QString id;
        QVERIFY(manager().createProfile(QStringLiteral("n"), withSettings ? editor.settings : nullptr,
                                        withActions ? &editor.actions : nullptr, id));
        QDomDocument sent;
        QVERIFY(KRXXml::parse(m_fake->lastRequest().body, sent));
        QStringList parts{QStringLiteral("version"), QStringLiteral("profileDetail")};
        if (withSettings)
            parts << QStringLiteral("profileSettings");
        if (withActions)
            parts << QStringLiteral("processDefinition");
        const QDomElement profile = KRXXml::firstElement(sent, QStringLiteral("profile"));
        QCOMPARE(tagsIn(profile), parts);
        if (withSettings)
            QCOMPARE(tagsIn(profile.firstChildElement(QStringLiteral("profileSettings"))),
                     QStringList({QStringLiteral("binDetail"), QStringLiteral("linkDetail"),
                                  QStringLiteral("zorMetadata")}));
        if (withActions)
            QVERIFY(!KRXXml::firstElement(profile.lastChildElement(), QStringLiteral("activities")).isNull());
    }

    void createProfileRefusesTextsOfTheControllersThatXmlCannotCarry()
    {
        Editor editor;
        QDomDocument given;
        QVERIFY(KRXXml::parse(QStringLiteral("<profile><profileSettings><binDetail>"
                                             "<binSelectionMethod>CREATENEW</binSelectionMethod>"
                                             "<binNamingMethod>EXPLICIT</binNamingMethod>"
                                             "</binDetail></profileSettings></profile>"),
                              given));
        editor.settings->updateUI(given);
        editor.section.findChild<QLineEdit*>()->setText(QString(QChar(7)));
        QString id;
        QVERIFY(!manager().createProfile(QStringLiteral("n"), editor.settings, nullptr, id));
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(manager().lastError(),
                 QStringLiteral("The name or path holds characters that cannot be stored"));
    }

    void createProfileWithoutAUsableAnswerIsTrueAndLeavesTheIdAlone_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("detailStatus");
        QTest::addColumn<QByteArray>("detail");
        QTest::newRow("no profile URL") << QByteArray("<ok/>") << 200 << profileXml("7", "n");
        QTest::newRow("detail refused") << uri("http://new/7") << 404 << QByteArray();
        QTest::newRow("detail not XML") << uri("http://new/7") << 200 << QByteArray("{}");
        QTest::newRow("detail without a GUID") << uri("http://new/7") << 200 << profileXml("", "n");
    }
    void createProfileWithoutAUsableAnswerIsTrueAndLeavesTheIdAlone()
    {
        QFETCH(QByteArray, answer);
        QFETCH(int, detailStatus);
        QFETCH(QByteArray, detail);
        m_fake->answer(kPost, ServiceUrls::kProfiles, 201, answer);
        m_fake->answer(kGet, QStringLiteral("http://new/7"), detailStatus, detail);
        QString id = QStringLiteral("before");
        QVERIFY(manager().createProfile(QStringLiteral("n"), nullptr, nullptr, id));
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(manager().countProfiles(), 0);
        if (detailStatus == 200)
            QCOMPARE(manager().lastError(), QString());
    }

    void createProfileThatFailsKeepsTheCache()
    {
        fill(profileXml("1", "a"));
        QString id = QStringLiteral("before");
        m_fake->answer(kPost, ServiceUrls::kProfiles, 400, uri("http://new/7"), QStringLiteral("bad name"));
        QVERIFY(!manager().createProfile(QStringLiteral("n"), nullptr, nullptr, id));
        QCOMPARE(manager().lastError(), QStringLiteral("bad name"));
        m_fake->answer(kPost, ServiceUrls::kProfiles, 201, "created");
        QVERIFY(!manager().createProfile(QStringLiteral("n"), nullptr, nullptr, id));
        QCOMPARE(manager().lastError(), kUnreadable);
        QCOMPARE(m_fake->requests().size(), 2);
        QCOMPARE(id, QStringLiteral("before"));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void createProfileOfACachedGuidKeepsTheOldRecordAliveUntilTheCacheIsCleared()
    {
        fill(profileXml("1", "old"));
        QPointer<KRXProfile> old(manager().getKRXProfileList().first());
        m_fake->answer(kPost, ServiceUrls::kProfiles, 201, uri("http://new/1"));
        m_fake->answer(kGet, QStringLiteral("http://new/1"), 200, profileXml("1", "new"));
        QString id;
        QVERIFY(manager().createProfile(QStringLiteral("new"), nullptr, nullptr, id));
        QVERIFY(old);
        QCOMPARE(manager().countProfiles(), 1);
        QCOMPARE(text(*manager().getKRXProfileList().first(), "profileName"), QStringLiteral("new"));
        fill({});
        QVERIFY(!old);
    }

    void namesThatXmlCannotCarryAreRefusedBeforeAnythingIsSent()
    {
        QString id = QStringLiteral("before");
        for (const QString& name :
             {QString(QChar(1)), QString(QChar(0)), QString(QChar(0xD83C)), QString(QChar(0xFFFE))})
            QVERIFY(!manager().createProfile(name, nullptr, nullptr, id));
        QVERIFY(m_fake->requests().isEmpty());
        QCOMPARE(manager().lastError(),
                 QStringLiteral("The name or path holds characters that cannot be stored"));
        QCOMPARE(id, QStringLiteral("before"));
    }

    // --- deleteProfile ---------------------------------------------------------------------------------

    void deleteProfileDeletesOnTheServiceAndInTheCache()
    {
        fill(profileXml("1", "a") + profileXml("2", "b"));
        QPointer<KRXProfile> record(manager().getKRXProfileList().first());
        m_fake->answer(kDelete, profileUrl(QStringLiteral("1")), 200, "not XML");
        QVERIFY(manager().deleteProfile(QStringLiteral("1")));
        QCOMPARE(m_fake->requestLines(),
                 QStringList(QStringLiteral("DELETE http://localhost:58885/KRXService/profiles/1")));
        QVERIFY(!record);
        QCOMPARE(ids(), QStringList(QStringLiteral("2")));
    }

    void deleteProfileOfAnIdThatIsNotCachedStillSendsTheDelete()
    {
        m_fake->answer(kDelete, profileUrl(QStringLiteral("1")), 200);
        QVERIFY(manager().deleteProfile(QStringLiteral("1")));
        m_fake->answer(kDelete, profileUrl(QStringLiteral("1")), 404, {}, QStringLiteral("unknown"));
        QVERIFY(!manager().deleteProfile(QStringLiteral("1")));
        QCOMPARE(m_fake->requests().size(), 2);
    }

    void deleteProfileThatIsRefusedKeepsTheCache()
    {
        fill(profileXml("1", "a"));
        m_fake->answer(kDelete, profileUrl(QStringLiteral("1")), 409, {}, QStringLiteral("in use"));
        QVERIFY(!manager().deleteProfile(QStringLiteral("1")));
        QCOMPARE(manager().lastError(), QStringLiteral("in use"));
        QCOMPARE(ids(), QStringList(QStringLiteral("1")));
    }

    void anIdThatChangesDuringTheRequestIsTheOneThatWasAskedFor()
    {
        fill(profileXml("1", "a") + profileXml("2", "b"));
        QString id = QStringLiteral("1");
        m_fake->setHandler([&](const FakeRequest& request) -> FakeAnswer {
            id = QStringLiteral("2");
            return {200, request.method == kGet ? profileXml("1", "new") : QByteArray()};
        });
        KRXProfile out;
        QVERIFY(manager().readProfile(id, out));
        QCOMPARE(text(*manager().getKRXProfileList().at(0), "profileName"), QStringLiteral("new"));
        QCOMPARE(text(*manager().getKRXProfileList().at(1), "profileName"), QStringLiteral("b"));
        id = QStringLiteral("1");
        QVERIFY(manager().deleteProfile(id));
        QCOMPARE(ids(), QStringList(QStringLiteral("2")));
    }

    // --- Default, items, list --------------------------------------------------------------------------

    void withoutADefaultProfileThereIsNoIdAndNoRequest()
    {
        QCOMPARE(manager().getDefaultProfileID(), QString());
        fill(profileXml("1", "default profile") + profileXml("2", "Default Profile "));
        QCOMPARE(manager().getDefaultProfileID(), QString());
        QVERIFY(m_fake->requests().isEmpty());
    }

    void theDefaultProfileIsTheFirstOfThatName()
    {
        fill(profileXml("1", "x") + profileXml("3", "Default Profile") + profileXml("2", "Default Profile"));
        QCOMPARE(manager().getDefaultProfileID(), QStringLiteral("2"));
    }

    void theDefaultProfileIsKnownByItsLocalisedName()
    {
        StandInHost::setTranslator([](const QString& key) -> QString {
            return key == QLatin1String("Default Profile") ? QStringLiteral("Standardprofil") : key;
        });
        fill(profileXml("1", "Default Profile") + profileXml("2", "Standardprofil"));
        QCOMPARE(manager().getDefaultProfileID(), QStringLiteral("2"));
    }

    void itemsAreSortedByNameWhateverTheCase()
    {
        fill(profileXml("1", "beta") + profileXml("2", "Alpha") + profileXml("3", "alphabet") +
             profileXml("4", "Zulu"));
        QCOMPARE(manager().profileItems(),
                 (QList<QPair<QString, QString>>({{QStringLiteral("2"), QStringLiteral("Alpha")},
                                                  {QStringLiteral("3"), QStringLiteral("alphabet")},
                                                  {QStringLiteral("1"), QStringLiteral("beta")},
                                                  {QStringLiteral("4"), QStringLiteral("Zulu")}})));
    }

    void itemsCarryTheKeyOfTheCacheAndSkipProfilesWithoutAName()
    {
        fill(profileXml("2", "b"));
        m_fake->answer(kGet, profileUrl(QStringLiteral("asked")), 200, profileXml("answered", "a"));
        KRXProfile out;
        QVERIFY(manager().readProfile(QStringLiteral("asked"), out));
        manager().getKRXProfileList().first()->setProperty("profileName", QVariant());
        QCOMPARE(manager().profileItems(),
                 (QList<QPair<QString, QString>>({{QStringLiteral("asked"), QStringLiteral("a")}})));
    }

    void theListIsInPlainOrderOfTheGuids()
    {
        fill(profileXml("b", "1") + profileXml("B", "2") + profileXml("10", "3") + profileXml("2", "4"));
        QCOMPARE(ids(), QStringList({QStringLiteral("10"), QStringLiteral("2"), QStringLiteral("B"),
                                     QStringLiteral("b")}));
        QCOMPARE(manager().countProfiles(), 4);
    }
};

QTEST_MAIN(TestProfileManager)
#include "test_profile_manager.moc"
