#include "activities/Activity.h"
#include "base/Text.h"
#include "documents/Answers.h"
#include "documents/ProfileDocument.h"
#include "documents/Requests.h"
#include "documents/XmlGuard.h"
#include "documents/XmlTools.h"
#include "media/OutputDocument.h"

#include <QTest>

#include <string>
#include <vector>

using namespace krxservice;

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

std::string nested(int depth)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += "<a>";
    for (int i = 0; i < depth; ++i)
        text += "</a>";
    return text;
}

std::string profileRequest(const std::string& detail, const std::string& rest = {})
{
    return kDeclaration + "<profileRequest><profile><version>200</version><profileDetail>" + detail +
           "</profileDetail>" + rest + "</profile></profileRequest>";
}

std::string activities(const std::string& list)
{
    return "<processDefinition><package><activities>" + list + "</activities></package></processDefinition>";
}

QString q(const std::string& text)
{
    return QString::fromStdString(text);
}

} // namespace

class TestServiceDocuments : public QObject
{
    Q_OBJECT

private slots:
    void guardRefusesWhatNoParserShouldSee_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("refused");
        QTest::newRow("empty") << QByteArray() << true;
        QTest::newRow("plain element") << QByteArray("<a/>") << false;
        QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF<a/>") << false;
        QTest::newRow("text") << QByteArray("hello") << true;
        QTest::newRow("document type") << QByteArray("<!DOCTYPE a><a/>") << true;
        QTest::newRow("nested entities") << QByteArray("<!DOCTYPE a [<!ENTITY x \"y\">]><a>&x;</a>") << true;
        QTest::newRow("external entity")
            << QByteArray("<!DOCTYPE a SYSTEM \"file:///etc/passwd\"><a/>") << true;
        QTest::newRow("document type inside") << QByteArray("<a><!DOCTYPE b></a>") << true;
        QTest::newRow("word in a comment") << QByteArray("<a><!-- <!DOCTYPE b> --></a>") << false;
        QTest::newRow("word in CDATA") << QByteArray("<a><![CDATA[<!DOCTYPE b>]]></a>") << false;
        QTest::newRow("unknown entity") << QByteArray("<a>&x;</a>") << true;
        QTest::newRow("unknown entity in an attribute") << QByteArray("<a b=\"&x;\"/>") << true;
        QTest::newRow("the five entities") << QByteArray("<a b=\"&quot;\">&lt;&gt;&amp;&apos;</a>") << false;
        QTest::newRow("bare ampersand") << QByteArray("<a>a & b</a>") << true;
        QTest::newRow("reference to a control character") << QByteArray("<a>&#1;</a>") << true;
        QTest::newRow("reference to a surrogate") << QByteArray("<a>&#xD800;</a>") << true;
        QTest::newRow("reference to a letter") << QByteArray("<a>&#65;&#x1F600;</a>") << false;
        QTest::newRow("control character") << QByteArray("<a>\x01</a>") << true;
        QTest::newRow("NUL") << QByteArray("<a>\0</a>", 8) << true;
        QTest::newRow("bytes that are no UTF-8") << QByteArray("<a>\xFF\xFE</a>") << true;
        QTest::newRow("overlong UTF-8") << QByteArray("<a>\xC0\xAF</a>") << true;
        QTest::newRow("surrogate in UTF-8") << QByteArray("<a>\xED\xA0\x80</a>") << true;
        QTest::newRow("other encoding")
            << QByteArray("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a/>") << true;
        QTest::newRow("two roots") << QByteArray("<a/><b/>") << true;
        QTest::newRow("cut short") << QByteArray("<a><b></b>") << true;
        QTest::newRow("cut in a tag") << QByteArray("<a><b") << true;
        QTest::newRow("cut in a comment") << QByteArray("<a><!-- ") << true;
        QTest::newRow("one end too many") << QByteArray("<a></a></a>") << true;
        QTest::newRow("depth 64") << QByteArray::fromStdString(nested(64)) << false;
        QTest::newRow("depth 65") << QByteArray::fromStdString(nested(65)) << true;
        QTest::newRow("depth 65, empty element")
            << QByteArray(QByteArray("<a>").repeated(64) + "<b/>" + QByteArray("</a>").repeated(64)) << true;
        QTest::newRow("depth 100,000") << QByteArray::fromStdString(nested(100000)) << true;
    }
    void guardRefusesWhatNoParserShouldSee()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, refused);
        const auto reason = xmlguard::refuse({text.constData(), static_cast<std::size_t>(text.size())});
        QCOMPARE(reason.has_value(), refused);
        if (reason)
            QVERIFY(!reason->empty() && reason->find('\n') == std::string::npos);
        pugi::xml_document document;
        QCOMPARE(
            xmltools::parse({text.constData(), static_cast<std::size_t>(text.size())}, document).has_value(),
            refused);
    }

    void bodyOverOneMegabyteIsRefusedWith413()
    {
        const std::string text = "<a>" + std::string(xmlguard::kLargestBody, 'x') + "</a>";
        pugi::xml_document document;
        const auto refusal = xmltools::parse(text, document);
        QVERIFY(refusal);
        QCOMPARE(refusal->status, 413);
    }

    void mismatchedTagsAreRefused()
    {
        pugi::xml_document document;
        const auto refusal = xmltools::parse("<a><b></a></b>", document);
        QVERIFY(refusal);
        QCOMPARE(refusal->status, 400);
    }

    void folderCreationIsRead()
    {
        const auto request = requests::folderCreation(
            kDeclaration +
            "<xelMediaFolderRequest>\n <xelMediaFolder>\n  <path>D:/Watch</path>\n  <profile>12</profile>\n"
            "  <enabled>false</enabled>\n </xelMediaFolder>\n</xelMediaFolderRequest>\n");
        QVERIFY(request);
        QVERIFY(!request->id);
        QCOMPARE(q(*request->path), QStringLiteral("D:/Watch"));
        QCOMPARE(q(*request->profile), QStringLiteral("12"));
        QCOMPARE(*request->enabled, false);
    }

    void folderCreationKeepsBlanksAndForeignLettersOfThePath()
    {
        const std::string path = "  /m\xC3\xA9"
                                 "dia/\xF0\x9F\x8E\xAC \xD7\xA9 ";
        const auto request = requests::folderCreation("<xelMediaFolderRequest><xelMediaFolder><path>" + path +
                                                      "</path></xelMediaFolder></xelMediaFolderRequest>");
        QVERIFY(request);
        QCOMPARE(q(*request->path), q(path));
        const auto blank = requests::folderCreation(
            "<xelMediaFolderRequest><xelMediaFolder><path> </path></xelMediaFolder></xelMediaFolderRequest>");
        QCOMPARE(q(*blank->path), QStringLiteral(" "));
    }

    void folderTextIsPutTogetherFromCdataAndAroundComments()
    {
        const auto request = requests::folderUpdate(
            "<xelMediaFolder id=\"f1\"><path>/a<!-- x -->/b<![CDATA[/<c>]]></path></xelMediaFolder>");
        QVERIFY(request);
        QCOMPARE(q(*request->path), QStringLiteral("/a/b/<c>"));
        QCOMPARE(q(*request->id), QStringLiteral("f1"));
    }

    void repeatedChildOverwritesTheEarlierOneAndUnknownOnesAreIgnored()
    {
        const auto request = requests::folderUpdate(
            "<xelMediaFolder><path>/a</path><colour>red</colour><path>/b</path></xelMediaFolder>");
        QVERIFY(request);
        QCOMPARE(q(*request->path), QStringLiteral("/b"));
        QVERIFY(!request->profile && !request->enabled && !request->id);
    }

    void wrongFolderDocumentsAreRefused()
    {
        QCOMPARE(
            requests::folderCreation("<xelMediaFolder><path>/a</path></xelMediaFolder>").refusal().status,
            400);
        QCOMPARE(requests::folderCreation("<xelMediaFolderRequest/>").refusal().status, 400);
        QVERIFY(
            !requests::folderCreation("<xelMediaFolderRequest><xelMediaFolder/></xelMediaFolderRequest>"));
        QVERIFY(!requests::folderUpdate(
            "<xelMediaFolderRequest><xelMediaFolder id=\"a\"/></xelMediaFolderRequest>"));
        QVERIFY(!requests::folderUpdate("<xelMediaFolder><enabled>True</enabled></xelMediaFolder>"));
    }

    void jobDocumentsAreRead()
    {
        const auto submission = requests::jobSubmission(
            kDeclaration + "<jobInfo>\n <path>/a/b.mov</path>\n <profileID>p-1</profileID>\n</jobInfo>\n");
        QVERIFY(submission);
        QCOMPARE(q(submission->path), QStringLiteral("/a/b.mov"));
        QCOMPARE(q(submission->profile), QStringLiteral("p-1"));
        QVERIFY(!requests::jobSubmission("<job/>"));
        QCOMPARE(q(*requests::jobState("<jobStatus><state>CANCELLED</state></jobStatus>")),
                 QStringLiteral("CANCELLED"));
        QCOMPARE(q(*requests::jobState("<jobStatus><state>SUBMITTED</state></jobStatus>")),
                 QStringLiteral("SUBMITTED"));
        QVERIFY(!requests::jobState("<jobStatus><state>COMPLETED</state></jobStatus>"));
        QVERIFY(!requests::jobState("<jobStatus/>"));
        QVERIFY(!requests::jobState("<jobInfo><state>CANCELLED</state></jobInfo>"));
    }

    void deviceStatusIsRead()
    {
        const auto status = requests::deviceStatus(
            "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n<deviceStatus>\n "
            "<volumeName>CARD 1</volumeName>\n"
            " <volumeType>-2</volumeType>\n <volumeAction>1</volumeAction>\n</deviceStatus>\n");
        QVERIFY(status);
        QCOMPARE(q(status->volumeName), QStringLiteral("CARD 1"));
        QCOMPARE(status->volumeType, -2);
        QCOMPARE(status->volumeAction, 1);
        QVERIFY(!requests::deviceStatus(
            "<deviceStatus><volumeType>x</volumeType><volumeAction>1</volumeAction></deviceStatus>"));
        QVERIFY(!requests::deviceStatus("<deviceStatus/>"));
    }

    void profileGetsItsGuidBehindTheNameAndKeepsAllElse()
    {
        const auto profile = profiledocument::fromRequest(
            profileRequest("<profileName>Dailies</profileName><profileTag></profileTag>",
                           "<profileSettings><future a=\"1\">x</future></profileSettings>"),
            "guid-1");
        QVERIFY(profile);
        QCOMPARE(q(profile->name), QStringLiteral("Dailies"));
        QCOMPARE(q(profile->id), QStringLiteral("guid-1"));
        QCOMPARE(
            q(profile->document),
            QStringLiteral(
                "<profile>\n <version>200</version>\n <profileDetail>\n"
                "  <profileName>Dailies</profileName>\n  <profileGUID>guid-1</profileGUID>\n  <profileTag "
                "/>\n"
                " </profileDetail>\n <profileSettings>\n  <future a=\"1\">x</future>\n </profileSettings>\n"
                "</profile>\n"));
    }

    void profileGuidOfTheClientIsReplaced()
    {
        const auto profile =
            profiledocument::fromRequest(profileRequest("<profileName>A</profileName><profileGUID>mine</"
                                                        "profileGUID><profileGUID>again</profileGUID>"),
                                         "ours");
        QVERIFY(profile);
        QVERIFY(profile->document.find("mine") == std::string::npos);
        QVERIFY(profile->document.find("again") == std::string::npos);
        QVERIFY(profile->document.find("<profileGUID>ours</profileGUID>") != std::string::npos);
    }

    void profileWithoutNameOrDetailIsRefused()
    {
        QVERIFY(!profiledocument::fromRequest(profileRequest("<profileTag>a</profileTag>"), "g"));
        QVERIFY(!profiledocument::fromRequest(profileRequest("<profileName></profileName>"), "g"));
        QVERIFY(!profiledocument::fromRequest("<profileRequest><profile/></profileRequest>", "g"));
        QVERIFY(!profiledocument::fromRequest("<profile><profileDetail/></profile>", "g"));
        QVERIFY(!profiledocument::fromRequest(
            profileRequest("<profileName>" + std::string(9000, 'x') + "</profileName>"), "g"));
    }

    void profileThatGrowsTooLargeByIndentingIsRefused()
    {
        // Small as it is sent, large once every element stands on a line of its own.
        std::string deep;
        for (int i = 0; i < 50; ++i)
            deep += "<a>";
        for (int i = 0; i < 20000; ++i)
            deep += "<b/>";
        for (int i = 0; i < 50; ++i)
            deep += "</a>";
        const auto profile =
            profiledocument::fromRequest(profileRequest("<profileName>A</profileName>", deep), "g");
        QVERIFY(!profile);
        QCOMPARE(profile.refusal().status, 413);
    }

    void profileWithActivityThatNobodyKnowsIsRefusedByItsName()
    {
        const auto check = [](const std::vector<std::string>& words) {
            std::vector<ActivityRecipe> recipes(words.size());
            for (std::size_t i = 0; i < words.size(); ++i) {
                recipes[i].id = words[i];
                recipes[i].destination = "/there";
            }
            return Activity::checkAll(recipes);
        };
        QVERIFY(!check({"copy", "transcode", "consolidate"}));
        const auto refusal = check({"copy", "burn"});
        QVERIFY(refusal);
        QCOMPARE(refusal->status, 400);
        QCOMPARE(q(refusal->text), QStringLiteral("the service knows no activity \"burn\""));
        QVERIFY(!check({}));
    }

    void profileWithRelativeCopyFolderIsRefused()
    {
        const std::string name = "<profileName>A</profileName>";
        const auto copy = [](const std::string& path) {
            return activities("<activity id=\"copy\" name=\"Copy 1\"><destinationDetail><filesystemPath>" +
                              path + "</filesystemPath></destinationDetail></activity>");
        };
        const auto check = [&](const std::string& activity) {
            const auto profile = profiledocument::fromRequest(profileRequest(name, activity), "g");
            return profile ? Activity::checkAll(profiledocument::recipe(*profile)->activities)
                           : std::optional(profile.refusal());
        };
        for (const auto& wrong :
             {copy("media"), copy(""), copy("/a\tb"), activities("<activity id=\"copy\"/>")}) {
            const auto refusal = check(wrong);
            QVERIFY2(refusal, wrong.c_str());
            QCOMPARE(refusal->status, 400);
            QCOMPARE(q(refusal->text),
                     QStringLiteral("a copy activity needs an absolute \"filesystemPath\""));
        }
        QVERIFY(!check(copy("/media")));
        QVERIFY(!check(activities("<activity id=\"transcode\"/>")));
    }

    // Which kinds of action there are is nothing that a watcher knows.
    void whatActionsOfAnyKindWriteIntoIsADestination()
    {
        ProfileRecipe recipe;
        QVERIFY(profiledocument::destinations(recipe).empty());
        const auto add = [&](const char* kind, const char* folder, const char* video, const char* audio) {
            ActivityRecipe activity;
            activity.id = kind;
            activity.destination = folder;
            activity.videoVolume = video;
            activity.audioVolume = audio;
            recipe.activities.push_back(activity);
        };
        add("copy", "/copies", "", "");
        add("burn", "/burned", "", "");
        add("burn", "", "", "");
        add("burn", "from nowhere", "", "");
        add("transcode", "", "/pictures/", "/sound");
        const std::set<std::string> expected = {"/burned", "/copies", "/pictures/KRX Media",
                                                "/sound/KRX Media"};
        QVERIFY(profiledocument::destinations(recipe) == expected);
    }

    // Only what a copy reads whole need not be read before it.
    void onlyCopiesTellTheChecksumOfTheirSource()
    {
        QVERIFY(Activity::forId("copy").learnsContent());
        for (const char* kind : {"transcode", "consolidate", "burn", ""})
            QVERIFY2(!Activity::forId(kind).learnsContent(), kind);
    }

    void recipeHoldsSettingsAndActivitiesInOrder()
    {
        const auto profile = profiledocument::fromRequest(
            profileRequest(
                "<profileName>A</profileName>",
                "<profileSettings><binDetail/></profileSettings>" +
                    activities("<activity id=\"copy\" name=\"Copy 1\"><destinationDetail>"
                               "<filesystemPath>/one</filesystemPath><relinkAfterCopy>true</relinkAfterCopy>"
                               "<autoCheckin>True</autoCheckin></destinationDetail></activity>"
                               "<activity id=\"transcode\" name=\"Transcode \"/>"
                               "<activity id=\"consolidate\" name=\"Consolidate\"/>")),
            "g");
        QVERIFY(profile);
        const auto recipe = profiledocument::recipe(*profile);
        QVERIFY(recipe);
        QCOMPARE(q(recipe->settings),
                 QStringLiteral("<profileSettings>\n <binDetail />\n</profileSettings>\n"));
        QCOMPARE(recipe->activities.size(), std::size_t(3));
        QCOMPARE(q(recipe->activities[0].id), QStringLiteral("copy"));
        QCOMPARE(q(recipe->activities[0].destination), QStringLiteral("/one"));
        QVERIFY(recipe->activities[0].relinkAfterCopy);
        // Only the exact word counts.
        QVERIFY(!recipe->activities[0].autoCheckin);
        QCOMPARE(q(recipe->activities[1].id), QStringLiteral("transcode"));
        QCOMPARE(q(recipe->activities[1].name), QStringLiteral("Transcode "));
        QCOMPARE(q(recipe->activities[2].id), QStringLiteral("consolidate"));
    }

    void defaultProfileIsLinkOnly()
    {
        const auto profile = profiledocument::fromRequest(profiledocument::defaultRequest(), "g");
        QVERIFY(profile);
        QCOMPARE(q(profile->name), QStringLiteral("Default Profile"));
        const auto recipe = profiledocument::recipe(*profile);
        QVERIFY(recipe);
        QVERIFY(recipe->activities.empty());
        for (const char* part : {"<binDetail>", "<linkDetail>", "<zorMetadata>"})
            QVERIFY(recipe->settings.find(part) != std::string::npos);
    }

    void folderAnswersAreWritten()
    {
        FolderRecord record{"f000001", "/a & <b>/", "/a & <b>", "p", true};
        QCOMPARE(
            q(answers::folderDetail({record, {"/o/1-x.xel"}})),
            q(kDeclaration +
              "<xelMediaFolder id=\"f000001\">\n <path>/a &amp; &lt;b&gt;/</path>\n <profile>p</profile>\n"
              " <enabled>true</enabled>\n <outputXELFiles>\n  <fileName>/o/1-x.xel</fileName>\n "
              "</outputXELFiles>\n"
              "</xelMediaFolder>\n"));
        QCOMPARE(q(answers::folderList({record}, "http://localhost:58885/KRXService")),
                 q(kDeclaration +
                   "<xelMediaFolderList>\n "
                   "<xelMediaFolderURI>http://localhost:58885/KRXService/xelmediafolders/f000001"
                   "</xelMediaFolderURI>\n</xelMediaFolderList>\n"));
        QCOMPARE(q(answers::folderList({}, "x")), q(kDeclaration + "<xelMediaFolderList />\n"));
    }

    void folderWithoutOutputsHasAnEmptyList()
    {
        const auto text = answers::folderDetailList({{{"f1", "/a", "/a", "", false}, {}}});
        QCOMPARE(
            q(text),
            q(kDeclaration +
              "<xelMediaFolderDetailList>\n <xelMediaFolder id=\"f1\">\n  <path>/a</path>\n  <profile />\n"
              "  <enabled>false</enabled>\n  <outputXELFiles />\n "
              "</xelMediaFolder>\n</xelMediaFolderDetailList>\n"));
    }

    void jobAnswersAreWritten()
    {
        JobRecord job;
        job.id = "j000001";
        job.manual = true;
        job.path = "/a.mov";
        job.profile = "p";
        job.groupId = "manual";
        job.groupName = "Manual jobs";
        job.state = jobstate::kFailed;
        job.message = "why";
        QCOMPARE(q(answers::jobStatusList({job})),
                 q(kDeclaration +
                   "<jobStatusList>\n <jobStatus>\n  <id>j000001</id>\n  <state>FAILED</state>\n"
                   "  <complete>true</complete>\n  <percentComplete>0</percentComplete>\n  "
                   "<message>why</message>\n"
                   " </jobStatus>\n</jobStatusList>\n"));
        QCOMPARE(
            q(answers::jobInfo({job, {"/o/j/1-a.xel"}})),
            q(kDeclaration +
              "<jobInfo>\n <id>j000001</id>\n <path>/a.mov</path>\n <profile>p</profile>\n "
              "<groupID>manual</groupID>\n"
              " <groupName>Manual jobs</groupName>\n <outputXELFiles>\n  <fileName>/o/j/1-a.xel</fileName>\n"
              " </outputXELFiles>\n <message>why</message>\n</jobInfo>\n"));
    }

    void activityIsWritten()
    {
        QCOMPARE(q(answers::activity(true, {"bad"}, {"f1"}, "http://h/KRXService")),
                 q(kDeclaration + "<activity>\n <status>StatusActive</status>\n "
                                  "<errorMessage>bad</errorMessage>\n <outputReadyFolder>\n"
                                  "  <folderURI>http://h/KRXService/xelmediafolders/f1</folderURI>\n  "
                                  "<outputReady>true</outputReady>\n"
                                  " </outputReadyFolder>\n</activity>\n"));
        QCOMPARE(q(answers::activity(false, {}, {}, "x")),
                 q(kDeclaration + "<activity>\n <status>StatusIdle</status>\n</activity>\n"));
    }

    void carriageReturnsAreWrittenAsReferences()
    {
        pugi::xml_document document;
        xmltools::append(document, "a", "x\r\ny");
        const std::string text = xmltools::documentText(document);
        QCOMPARE(q(text), q(kDeclaration + "<a>x&#13;\ny</a>\n"));
        pugi::xml_document again;
        QVERIFY(!xmltools::parse(text, again));
        QCOMPARE(q(xmltools::textOf(again.document_element())), QStringLiteral("x\r\ny"));
    }

    void whatXmlCannotCarryIsReplacedNeverSent()
    {
        const std::string text = answers::errorList({std::string("a\x01") + "b\xFF"});
        QCOMPARE(q(text), q(kDeclaration + "<errorList>\n <errorMessage>a\xEF\xBF\xBD" +
                            "b\xEF\xBF\xBD</errorMessage>\n</errorList>\n"));
    }

    void outputDocumentSaysAllThatIsKnown()
    {
        OutputFacts facts;
        facts.id = "one";
        facts.created = "2024-01-02T03:04:05.678Z";
        facts.ownerKind = "folder";
        facts.ownerId = "f1";
        facts.ownerPath = "/in/";
        facts.clip.source = {"/in/a.b.mov", {10, 1500000000}, "xxh3-64:aa"};
        facts.clip.linked = {"/copy/a.b.mov", {10, 2500000000}, "xxh3-64:aa"};
        facts.clip.media.kind = "video";
        facts.clip.media.format = "mov";
        StreamFacts stream;
        stream.type = "video";
        stream.codec = "prores";
        stream.width = 1920;
        stream.height = 1080;
        stream.frameRate = "25/1";
        facts.clip.media.streams = {stream};
        facts.profile.id = "p";
        facts.profile.name = "P & Q";
        facts.profile.settings = "<profileSettings>\n <binDetail />\n</profileSettings>\n";
        ActivityRecipe copy;
        copy.autoCheckin = true;
        facts.profile.activities = {copy};
        QCOMPARE(
            q(outputdocument::write(facts)),
            q(kDeclaration +
              "<xel>\n <version>2</version>\n <id>one</id>\n <created>2024-01-02T03:04:05.678Z</created>\n"
              " <folder id=\"f1\">/in/</folder>\n <clip>\n  <name>a.b</name>\n  <path>/copy/a.b.mov</path>\n"
              "  <size>10</size>\n  <modified>1970-01-01T00:00:02.500Z</modified>\n"
              "  <checksum method=\"xxh3-64\">aa</checksum>\n  <bin method=\"ACTIVE\" />\n </clip>\n "
              "<source>\n  "
              "<path>/in/a.b.mov</path>\n"
              "  <size>10</size>\n  <modified>1970-01-01T00:00:01.500Z</modified>\n"
              "  <checksum method=\"xxh3-64\">aa</checksum>\n </source>\n <media>\n  <kind>video</kind>\n"
              "  <format>mov</format>\n  <stream index=\"0\" type=\"video\" preferred=\"true\">\n   "
              "<codec>prores</codec>\n"
              "   <width>1920</width>\n   <height>1080</height>\n   <frameRate>25/1</frameRate>\n  "
              "</stream>\n"
              " </media>\n <profile>\n  <profileName>P &amp; Q</profileName>\n  "
              "<profileGUID>p</profileGUID>\n"
              "  <profileSettings>\n   <binDetail />\n  </profileSettings>\n  "
              "<autoCheckin>true</autoCheckin>\n"
              " </profile>\n</xel>\n"));
    }

    void idsAreLettersDigitsAndHyphens()
    {
        for (const char* id : {"f000001", "a-B-9", "04c5948e-0416-4efd-9d46-ad2061033da7"})
            QVERIFY(text::isLegalId(id));
        for (const char* id : {"", "..", "a/b", "a b", "a.b", "a%2e", "a\\b", "\xC3\xA9"})
            QVERIFY(!text::isLegalId(id));
    }
};

QTEST_GUILESS_MAIN(TestServiceDocuments)
#include "test_service_documents.moc"
