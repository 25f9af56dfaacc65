#include "FakeRestClient.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXSettingsController.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "KRXXml.h"
#include "Managers.h"
#include "ProfileActionsController.h"
#include "ServiceUrls.h"
#include "StandInHost.h"

#include <QGuiApplication>
#include <QLineEdit>
#include <QRegularExpression>

using KRXTest::FakeRestClient;
using namespace Managers;

namespace {

QString profileUrl(const QString& id)
{
    return ServiceUrls::member(ServiceUrls::kProfiles, id);
}

QByteArray profileXml(const QByteArray& guid, const QByteArray& name, const QByteArray& more = {})
{
    return "<profile><version>200</version><profileDetail><profileName>" + name +
           "</profileName><profileGUID>" + guid + "</profileGUID></profileDetail>" + more + "</profile>";
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

    void cleanup() { endTest(m_fake, KRXProfileManager::cleanup); }

    // --- Refreshing ------------------------------------------------------------------------------------

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
        QCOMPARE(manager().lastError(), kCannotBeStored);
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
};

QTEST_MAIN(TestProfileManager)
#include "test_profile_manager.moc"
