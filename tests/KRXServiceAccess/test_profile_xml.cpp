#include "KRXProfile.h"
#include "KRXProfileProperties.h"
#include "KRXProfileXml.h"
#include "KRXTest.h"
#include "KRXXml.h"
#include "StandInHost.h"

#include <QDateTime>
#include <QRegularExpression>

namespace {

QString written(const KRXProfile& profile)
{
    QDomDocument document = KRXXml::makeDocument();
    QDomElement request = document.createElement(QStringLiteral("profileRequest"));
    document.appendChild(request);
    KRXProfileXml::createXmlProfileElement(document, request, nullptr, nullptr, profile);
    return KRXXml::toText(document);
}

std::unique_ptr<KRXProfile> profileOf(const QString& xml)
{
    QDomDocument document;
    if (!KRXXml::parse(xml, document))
        qFatal("The test's own document is not XML");
    return KRXProfileXml::parseProfileDetail(document);
}

/// A profile with that content beside its name and GUID.
std::unique_ptr<KRXProfile> profileWith(const QString& content)
{
    return profileOf(
        QStringLiteral("<profile><profileDetail><profileName>n</profileName><profileGUID>g</profileGUID>"
                       "</profileDetail>") +
        content + QStringLiteral("</profile>"));
}

QString text(const KRXProfile& profile, const char* property)
{
    return profile.property(property).toString();
}

KRXProfile* named(KRXProfile& profile)
{
    profile.setProperty("profileName", QStringLiteral("N"));
    profile.setProperty("profileTimestamp", QStringLiteral("2020-01-01T00:00:00"));
    return &profile;
}

} // namespace

class TestProfileXml : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::setTranslator({}); }

    void theNamesOfThePropertiesAreFixed()
    {
        QCOMPARE(QByteArray(KRXProfileProperties::kName), QByteArray("profileName"));
        QCOMPARE(QByteArray(KRXProfileProperties::kGuid), QByteArray("profileGUID"));
        QCOMPARE(QByteArray(KRXProfileProperties::kTag), QByteArray("profileTag"));
        QCOMPARE(QByteArray(KRXProfileProperties::kDescription), QByteArray("profileDescription"));
        QCOMPARE(QByteArray(KRXProfileProperties::kTimestamp), QByteArray("profileTimestamp"));
        QCOMPARE(QByteArray(KRXProfileProperties::kBin), QByteArray("profileBin"));
        QCOMPARE(QByteArray(KRXProfileProperties::kCopyToFolder), QByteArray("copyToFolder"));
        QCOMPARE(QByteArray(KRXProfileProperties::kXml), QByteArray("profileXml"));
        QVERIFY(KRXProfile().dynamicPropertyNames().isEmpty());
    }

    // --- Writing ---------------------------------------------------------------------------------------

    void aFullProfileIsWrittenAsAWhole()
    {
        KRXProfile profile;
        profile.setProperty("profileTimestamp", QStringLiteral("2020-01-01T00:00:00"));
        profile.setProperty("profileDescription", QStringLiteral("D < d"));
        profile.setProperty("profileTag", QStringLiteral("abc"));
        profile.setProperty("profileGUID", QStringLiteral("g-1"));
        profile.setProperty("profileName", QStringLiteral("N"));
        profile.setProperty("profileBin", QStringLiteral("never written"));
        QCOMPARE(written(profile),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<profileRequest>\n"
                                " <profile>\n"
                                "  <version>200</version>\n"
                                "  <profileDetail>\n"
                                "   <profileName>N</profileName>\n"
                                "   <profileGUID>g-1</profileGUID>\n"
                                "   <profileTag>abc</profileTag>\n"
                                "   <profileShortDescription>D &lt; d</profileShortDescription>\n"
                                "   <profileCreatedTimestamp>2020-01-01T00:00:00</profileCreatedTimestamp>\n"
                                "   <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n"
                                "   <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n"
                                "  </profileDetail>\n"
                                " </profile>\n"
                                "</profileRequest>\n"));
    }

    void aBareProfileIsWrittenWithTagAndTimeOnly()
    {
        KRXProfile profile;
        const QDateTime before = QDateTime::currentDateTime();
        const QString xml = written(profile);
        const QDateTime after = QDateTime::currentDateTime();
        static const QRegularExpression stamp(
            QStringLiteral("<profileCreatedTimestamp>(\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d)<"));
        const auto match = stamp.match(xml);
        QVERIFY(match.hasMatch());
        const QDateTime time = QDateTime::fromString(match.captured(1), Qt::ISODate);
        QVERIFY(time >= before.addSecs(-1));
        QVERIFY(time <= after);
        QCOMPARE(xml,
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<profileRequest>\n"
                                " <profile>\n"
                                "  <version>200</version>\n"
                                "  <profileDetail>\n"
                                "   <profileTag>#krx</profileTag>\n"
                                "   <profileCreatedTimestamp>%1</profileCreatedTimestamp>\n"
                                "   <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n"
                                "   <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n"
                                "  </profileDetail>\n"
                                " </profile>\n"
                                "</profileRequest>\n")
                     .arg(match.captured(1)));
    }

    void theTagIsTheOneThatIsSetAlsoWhenItIsEmpty_data()
    {
        QTest::addColumn<QVariant>("tag");
        QTest::addColumn<QString>("expected");
        QTest::newRow("not set") << QVariant() << QStringLiteral("<profileTag>#krx</profileTag>");
        QTest::newRow("abc") << QVariant(QStringLiteral("abc"))
                             << QStringLiteral("<profileTag>abc</profileTag>");
        QTest::newRow("empty") << QVariant(QLatin1String("")) << QStringLiteral("<profileTag></profileTag>");
    }
    void theTagIsTheOneThatIsSetAlsoWhenItIsEmpty()
    {
        QFETCH(QVariant, tag);
        QFETCH(QString, expected);
        KRXProfile profile;
        if (tag.isValid())
            profile.setProperty("profileTag", tag);
        QVERIFY2(written(profile).contains(expected), qPrintable(written(profile)));
    }

    void aSetTimestampIsWrittenExactlyAlsoWhenItIsEmpty()
    {
        KRXProfile profile;
        profile.setProperty("profileTimestamp", QStringLiteral("2020-01-01T00:00:00"));
        QVERIFY(written(profile).contains(
            QStringLiteral("<profileCreatedTimestamp>2020-01-01T00:00:00</profileCreatedTimestamp>")));
        profile.setProperty("profileTimestamp", QLatin1String(""));
        QVERIFY(
            written(profile).contains(QStringLiteral("<profileCreatedTimestamp></profileCreatedTimestamp>")));
    }

    void aSetButEmptyNameAndDescriptionAreWritten()
    {
        KRXProfile profile;
        profile.setProperty("profileName", QLatin1String(""));
        profile.setProperty("profileDescription", QLatin1String(""));
        const QString xml = written(profile);
        QVERIFY(xml.contains(QStringLiteral("<profileName></profileName>")));
        QVERIFY(xml.contains(QStringLiteral("<profileShortDescription></profileShortDescription>")));
        QVERIFY(!xml.contains(QStringLiteral("profileDescription")));
        QVERIFY(!xml.contains(QStringLiteral("profileTimestamp")));
    }

    void withoutAParentTheProfileIsTheRoot()
    {
        KRXProfile profile;
        QDomDocument document;
        QDomElement none;
        KRXProfileXml::createXmlProfileElement(document, none, nullptr, nullptr, *named(profile));
        QCOMPARE(document.documentElement().tagName(), QStringLiteral("profile"));
    }

    // --- Reading ---------------------------------------------------------------------------------------

    void aProfileDocumentFillsTheProperties()
    {
        const auto profile = profileOf(QStringLiteral(
            "<any><version>200</version><profileDetail><profileName>N</profileName><profileGUID>G</"
            "profileGUID>"
            "<profileTag>T</profileTag><profileShortDescription>D</profileShortDescription>"
            "<profileCreatedTimestamp>S</profileCreatedTimestamp><profileDescription>no</profileDescription>"
            "<profileTimestamp>no</profileTimestamp></profileDetail></any>"));
        QVERIFY(profile);
        QCOMPARE(profile->dynamicPropertyNames(),
                 QList<QByteArray>({"profileName", "profileGUID", "profileTag", "profileDescription",
                                    "profileTimestamp", "profileBin", "copyToFolder", "profileXml"}));
        QCOMPARE(text(*profile, "profileName"), QStringLiteral("N"));
        QCOMPARE(text(*profile, "profileGUID"), QStringLiteral("G"));
        QCOMPARE(text(*profile, "profileTag"), QStringLiteral("T"));
        QCOMPARE(text(*profile, "profileDescription"), QStringLiteral("D"));
        QCOMPARE(text(*profile, "profileTimestamp"), QStringLiteral("S"));
        QCOMPARE(text(*profile, "profileBin"), QString());
        QCOMPARE(profile->property("copyToFolder").type(), QVariant::StringList);
        QVERIFY(profile->property("copyToFolder").toStringList().isEmpty());
    }

    void theWholeDocumentIsKeptAsText()
    {
        const auto profile = profileOf(QStringLiteral(
            "<profile><profileDetail><profileName>N</profileName><profileGUID>G</profileGUID></profileDetail>"
            "<unknown a=\"1\"/></profile>"));
        QCOMPARE(text(*profile, "profileXml"), QStringLiteral("<profile>\n"
                                                              " <profileDetail>\n"
                                                              "  <profileName>N</profileName>\n"
                                                              "  <profileGUID>G</profileGUID>\n"
                                                              " </profileDetail>\n"
                                                              " <unknown a=\"1\"/>\n"
                                                              "</profile>\n"));
    }

    void theFirstDetailAnywhereAndItsLastDuplicateCount()
    {
        const auto profile = profileOf(QStringLiteral(
            "<a><b><profileDetail><profileName>first</profileName><profileName>N</profileName>"
            "<in><profileGUID>no</profileGUID></in><profileGUID>G</profileGUID></profileDetail></b>"
            "<profileDetail><profileName>no</profileName><profileGUID>no</profileGUID></profileDetail></a>"));
        QCOMPARE(text(*profile, "profileName"), QStringLiteral("N"));
        QCOMPARE(text(*profile, "profileGUID"), QStringLiteral("G"));
    }

    void withoutANameOrAGuidThereIsNoProfile_data()
    {
        QTest::addColumn<QString>("detail");
        QTest::newRow("no name") << QStringLiteral("<profileGUID>G</profileGUID>");
        QTest::newRow("empty name") << QStringLiteral("<profileName/><profileGUID>G</profileGUID>");
        QTest::newRow("no GUID") << QStringLiteral("<profileName>N</profileName>");
        QTest::newRow("empty GUID") << QStringLiteral(
            "<profileName>N</profileName><profileGUID></profileGUID>");
        QTest::newRow("another case")
            << QStringLiteral("<profilename>N</profilename><profileGUID>G</profileGUID>");
        QTest::newRow("nothing") << QString();
    }
    void withoutANameOrAGuidThereIsNoProfile()
    {
        QFETCH(QString, detail);
        QVERIFY(!profileOf(QStringLiteral("<p><profileDetail>%1</profileDetail></p>").arg(detail)));
        QVERIFY(!profileOf(QStringLiteral("<p>%1</p>").arg(detail)));
        QVERIFY(!KRXProfileXml::parseProfileDetail(QDomDocument()));
    }

    void theBinLabelFollowsTheBinDetail_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("label");
        const QString active = QStringLiteral("Active  Bin");
        const auto row = [](const char* name, const QString& content, const QString& label) {
            QTest::newRow(name) << content << label;
        };
        const QString createNew = QStringLiteral("<binSelectionMethod>CREATENEW</binSelectionMethod>");
        const QString useActive = QStringLiteral("<binSelectionMethod>USEACTIVE</binSelectionMethod>");
        const QString byVolume = QStringLiteral("<binNamingMethod>VOLUME</binNamingMethod>");
        const QString byDefault = QStringLiteral("<binNamingMethod>DEFAULT</binNamingMethod>");
        const QString byName = QStringLiteral("<binNamingMethod>EXPLICIT</binNamingMethod>");
        const QString rushes = QStringLiteral("<binExplicitName>Rushes</binExplicitName>");
        row("nothing", QString(), QString());
        row("create new", createNew, QStringLiteral("Create New Bin"));
        row("active, then volume: the walk stops", useActive + byVolume, active);
        row("unknown selection is the active bin",
            QStringLiteral("<binSelectionMethod>x</binSelectionMethod>"), active);
        row("empty selection is the active bin", QStringLiteral("<binSelectionMethod/>"), active);
        row("create new, explicit, name", createNew + byName + rushes, QStringLiteral("Rushes"));
        row("create new, name, explicit", createNew + rushes + byName, QStringLiteral("Rushes"));
        row("create new, default", createNew + byDefault, QStringLiteral("Default Name"));
        row("create new, volume", createNew + byVolume, QStringLiteral("Volume Name"));
        row("naming before create new", byVolume + createNew, QStringLiteral("Create New Bin"));
        row("unknown naming", createNew + QStringLiteral("<binNamingMethod>x</binNamingMethod>"),
            QStringLiteral("Create New Bin"));
        row("name without explicit", createNew + rushes, QStringLiteral("Create New Bin"));
        row("explicit without a name", createNew + byName, QString());
        row("explicit with a name before active", byName + rushes + useActive, QStringLiteral("Rushes"));
        row("explicit before active, name behind it", byName + useActive + rushes, QString());
        row("active before explicit", useActive + byName + rushes, active);
        row("the last of two namings", createNew + byVolume + byDefault, QStringLiteral("Default Name"));
        row("explicit stays", createNew + byName + rushes + byDefault, QStringLiteral("Rushes"));
    }
    void theBinLabelFollowsTheBinDetail()
    {
        QFETCH(QString, content);
        QFETCH(QString, label);
        const auto profile =
            profileWith(QStringLiteral("<deep><binDetail>%1</binDetail></deep>"
                                       "<binDetail><binSelectionMethod>CREATENEW</binSelectionMethod>"
                                       "</binDetail>")
                            .arg(content));
        QCOMPARE(text(*profile, "profileBin"), label);
    }

    void theFourLabelsAreLocalisedAndTheExplicitNameIsNot()
    {
        StandInHost::setTranslator([](const QString& key) -> QString { return QStringLiteral("~") + key; });
        const auto label = [](const char* selection, const char* naming) {
            const auto profile =
                profileWith(QStringLiteral("<binDetail><binSelectionMethod>%1</binSelectionMethod>"
                                           "<binNamingMethod>%2</binNamingMethod>"
                                           "<binExplicitName>Default Name</binExplicitName>"
                                           "</binDetail>")
                                .arg(QLatin1String(selection), QLatin1String(naming)));
            return text(*profile, "profileBin");
        };
        QCOMPARE(label("USEACTIVE", ""), QStringLiteral("~Active  Bin"));
        QCOMPARE(label("CREATENEW", ""), QStringLiteral("~Create New Bin"));
        QCOMPARE(label("CREATENEW", "DEFAULT"), QStringLiteral("~Default Name"));
        QCOMPARE(label("CREATENEW", "VOLUME"), QStringLiteral("~Volume Name"));
        QCOMPARE(label("CREATENEW", "EXPLICIT"), QStringLiteral("Default Name"));
    }

    void copyActionsGiveTheirDestinationsInDocumentOrder()
    {
        const auto profile = profileWith(QStringLiteral(
            "<activities><a><destinationDetail><x/><filesystemPath>/b</filesystemPath><filesystemPath>/no"
            "</filesystemPath></destinationDetail></a><a><destinationDetail><filesystemPath>/a</"
            "filesystemPath>"
            "</destinationDetail></a></activities>"));
        QCOMPARE(profile->property("copyToFolder").toStringList(),
                 QStringList({QStringLiteral("/b"), QStringLiteral("/a")}));
    }

    void aDestinationWithoutAPathContributesNothing()
    {
        const auto profile =
            profileWith(QStringLiteral("<destinationDetail><in><filesystemPath>/no</filesystemPath></in></"
                                       "destinationDetail><destinationDetail/>"
                                       "<destinationDetail><filesystemPath/></destinationDetail>"));
        QCOMPARE(profile->property("copyToFolder").toStringList(), QStringList(QString()));
    }

    void difficultTextsRoundTrip_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("emoji") << QStringLiteral("\U0001F3AC \U0001F469\u200D\U0001F4BB");
        QTest::newRow("right to left") << QStringLiteral("\u05e9\u05dc\u05d5\u05dd \u202e\u0627\u0644");
        QTest::newRow("4 KB") << QString(4096, QLatin1Char('x'));
        QTest::newRow("leading blanks") << QStringLiteral("   a  b  ");
        QTest::newRow("carriage return") << QStringLiteral("a\rb\r\nc");
        QTest::newRow("markup") << QStringLiteral("<b>&amp;]]></b>");
        QTest::newRow("markers") << QStringLiteral("%1 %2 %L1");
    }
    void difficultTextsRoundTrip()
    {
        QFETCH(QString, name);
        KRXProfile profile;
        profile.setProperty("profileName", name);
        profile.setProperty("profileGUID", name);
        QDomDocument document;
        QVERIFY(KRXXml::parse(written(profile).toUtf8(), document));
        const auto read = KRXProfileXml::parseProfileDetail(document);
        QCOMPARE(text(*read, "profileName"), name);
        // And once more from the text that is kept.
        QCOMPARE(text(*profileOf(text(*read, "profileXml")), "profileGUID"), name);
    }
};

QTEST_GUILESS_MAIN(TestProfileXml)
#include "test_profile_xml.moc"
