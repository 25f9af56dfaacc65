#include "ServiceProgram.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int kPatience = 20000;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// Empty when \a document is valid, otherwise what xmllint says.
QByteArray complaint(const char* schema, const QByteArray& document)
{
    QProcess xmllint;
    xmllint.start(QStringLiteral("xmllint"),
                  {QStringLiteral("--noout"), QStringLiteral("--schema"),
                   QStringLiteral(KRX_SCHEMAS "/%1.xsd").arg(QLatin1String(schema)), QStringLiteral("-")});
    xmllint.write(document);
    xmllint.closeWriteChannel();
    xmllint.waitForFinished(kPatience);
    return xmllint.exitCode() == 0 ? QByteArray() : xmllint.readAllStandardError() + document;
}

const char* const kTranscode =
    "<activity id=\"transcode\" name=\"Transcode \"><outputDetail>"
    "<filesystemVideoVolume>/v</filesystemVideoVolume><filesystemAudioVolume>/a</filesystemAudioVolume>"
    "<outputTranscodeVideoProfile><videoIncludeReformattedContent>true</videoIncludeReformattedContent>"
    "<applyColorTransformations>false</applyColorTransformations><videoProjectType>1080p/25</"
    "videoProjectType>"
    "<videoColorSpace>YCbCr "
    "709</videoColorSpace><videoRaster>1920x1080</videoRaster><encodingProfile></encodingProfile>"
    "<videoDebayerSetting>0</videoDebayerSetting><videoCompressionType name=\"X\" "
    "compressionID=\"00000000-0000-0000-00-00-00-00-00-00-00-00\" bitsPerComponent=\"8\" "
    "horizontalSubsampling=\"2\" "
    "verticalSubsampling=\"1\" maxBitrate=\"1\" avgBitrate=\"1\" "
    "pictureItemPattern=\"0\">7</videoCompressionType>"
    "</outputTranscodeVideoProfile><outputAudioProfile><audioSampleRate "
    "enabled=\"false\">48000</audioSampleRate>"
    "<audioSampleWidth enabled=\"false\">24</audioSampleWidth><audioFormat enabled=\"true\">PCM  (MXF "
    "OP1a)</audioFormat>"
    "</outputAudioProfile></outputDetail></activity>";

const char* const kConsolidate =
    "<activity id=\"consolidate\" name=\"Consolidate\"><outputDetail>"
    "<filesystemVideoVolume>/v</filesystemVideoVolume><filesystemAudioVolume>/a</filesystemAudioVolume>"
    "<outputConsolidateVideoProfile><videoSkipOnTarget>true</videoSkipOnTarget>"
    "<videoRelinkSkippedToTarget>false</videoRelinkSkippedToTarget>"
    "<performTranscodeIfConsolidateFails>false</performTranscodeIfConsolidateFails><transcodeOptions>"
    "<videoCompressionType name=\"X\">7</videoCompressionType><videoProjectType>a</videoProjectType>"
    "<videoColorSpace>b</videoColorSpace><videoRaster>c</videoRaster><encodingProfile>d</encodingProfile>"
    "<videoDebayerSetting>0</videoDebayerSetting><videoIncludeReformattedContent>false</"
    "videoIncludeReformattedContent>"
    "<applyColorTransformations>false</applyColorTransformations></transcodeOptions></"
    "outputConsolidateVideoProfile>"
    "<outputAudioProfile><audioSampleRate enabled=\"false\">48000</audioSampleRate>"
    "<audioSampleWidth enabled=\"false\">24</audioSampleWidth><audioFormat enabled=\"true\"></audioFormat>"
    "</outputAudioProfile></outputDetail></activity>";

} // namespace

/// Every document of the protocol against its schema, by a parser that is neither the service's nor the
/// module's.
class TestServiceSchemas : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    ServiceProgram m_service;
    QString m_id;
    QString m_job;

private slots:
    void initTestCase()
    {
        QVERIFY(m_service.start(m_folder.filePath(s("data"))));
        const QString watch = m_folder.filePath(s("watch & more"));
        QVERIFY(QDir().mkpath(watch));
        for (const char* media : {"movie.mov", "still.png", "sound.wav"})
            QVERIFY(QFile::copy(TestMedia::file(s(media)), watch + QLatin1Char('/') + s(media)));
        QFile notes(watch + s("/notes.rtf"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.write("words\n");
        notes.close();
        QVERIFY(QDir().mkpath(m_folder.filePath(s("to"))));
        const QByteArray copy = ModuleDocument::copyActivity(m_folder.filePath(s("to")), true);
        QCOMPARE(m_service.post("profiles", ModuleDocument::createProfile(s("Copy"), copy)).status, 201);
        QCOMPARE(
            m_service
                .post("profiles", ModuleDocument::createProfile(s("All"), copy + kTranscode + kConsolidate))
                .status,
            201);
        m_id = m_service.addFolder(watch, m_service.profileId(s("Copy")));
        m_job = m_service
                    .post("jobs", ModuleDocument::submitJob(TestMedia::file(s("movie.mov")),
                                                            m_service.profileId(s("All"))))
                    .text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(m_job), s("FAILED"), kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(m_service.outputs(m_id).size(), 3, kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(!m_service.errors().filter(s("notes.rtf")).isEmpty(), kPatience);
    }

    void answersAreValid_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("schema");
        const auto row = [](const char* path, const char* schema) {
            QTest::newRow(path) << QByteArray(path) << QByteArray(schema);
        };
        row("xelmediafolders", "folders");
        row("xelmediafolders?level=detail", "folders");
        row("xelmediafolders?level=outputready", "folders");
        row("xelmediafolders/{folder}", "folders");
        row("profiles", "profiles");
        row("profiles?level=detail", "profiles");
        row("profiles/{profile}", "profiles");
        row("jobs/status?filter=true", "jobs");
        row("jobs/status", "jobs");
        row("jobs/detail?kind=manual&filter=true", "jobs");
        row("jobs/detail", "jobs");
        row("jobs/{job}", "jobs");
        row("errors", "status");
        row("activity", "status");
        row("version", "status");
    }
    void answersAreValid()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, schema);
        path.replace("{folder}", m_id.toUtf8()).replace("{job}", m_job.toUtf8());
        path.replace("{profile}", m_service.profileId(s("All")).toUtf8());
        const Reply reply = m_service.get(path);
        QCOMPARE(reply.status, 200);
        // A list without entries would prove little.
        QVERIFY(reply.body.count('\n') > 2);
        QCOMPARE(complaint(schema.constData(), reply.body), QByteArray());
    }

    void answersToChangesAreValid()
    {
        const QString path = m_folder.filePath(s("second"));
        QVERIFY(QDir().mkpath(path));
        const QString profile = m_service.profileId(s("Default Profile"));
        const Reply folder = m_service.post("xelmediafolders", ModuleDocument::createFolder(path, profile));
        QCOMPARE(complaint("folders", folder.body), QByteArray());
        const QString id = folder.text(s("xelMediaFolderURI")).section(QLatin1Char('/'), -1);
        QCOMPARE(complaint("folders", m_service
                                          .put("xelmediafolders/" + id.toUtf8(),
                                               ModuleDocument::updateFolder(id, path, profile, s("true")))
                                          .body),
                 QByteArray());
        QCOMPARE(
            complaint("profiles", m_service.post("profiles", ModuleDocument::createProfile(s("New"))).body),
            QByteArray());
        QCOMPARE(complaint("jobs", m_service
                                       .post("jobs", ModuleDocument::submitJob(
                                                         TestMedia::file(s("sound.wav")), profile))
                                       .body),
                 QByteArray());
        QCOMPARE(complaint("jobs", m_service.put("jobs", ModuleDocument::jobState(s("SUBMITTED"))).body),
                 QByteArray());
    }

    void outputDocumentsAreValid()
    {
        QStringList outputs = m_service.outputs(m_id);
        QCOMPARE(outputs.size(), 3);
        QTRY_COMPARE_WITH_TIMEOUT(m_service.get("activity").text(s("status")), s("StatusIdle"), kPatience);
        for (const Reply& job : {m_service.get("jobs/detail")})
            outputs += job.texts(s("fileName"));
        for (const QString& output : outputs) {
            QFile file(output);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(complaint("xel", file.readAll()), QByteArray());
        }
    }

    void requestsOfTheModuleAreValid()
    {
        QCOMPARE(complaint("folders", ModuleDocument::createFolder(s("D:/Watch"), s("12"))), QByteArray());
        QCOMPARE(
            complaint("folders", ModuleDocument::updateFolder(s("f000001"), s("/a"), s("12"), s("true"))),
            QByteArray());
        QCOMPARE(
            complaint("folders", "<xelMediaFolder id=\"f000001\"><enabled>true</enabled></xelMediaFolder>"),
            QByteArray());
        QCOMPARE(complaint("jobs", ModuleDocument::submitJob(s("/a"), s("12"))), QByteArray());
        QCOMPARE(complaint("jobs", ModuleDocument::jobState(s("CANCELLED"))), QByteArray());
        QCOMPARE(complaint("status", ModuleDocument::deviceStatus(s("CARD"), -1, 2)), QByteArray());
        QCOMPARE(complaint("profiles", ModuleDocument::createProfile(
                                           s("A"), ModuleDocument::copyActivity(s("/a"), false) + kTranscode +
                                                       kConsolidate)),
                 QByteArray());
    }

    void schemasRefuseWhatIsWrong()
    {
        QVERIFY(!complaint("folders", "<xelMediaFolder><path>/a</path></xelMediaFolder>").isEmpty());
        QVERIFY(!complaint("folders", "<xelMediaFolder id=\"a/b\"/>").isEmpty());
        QVERIFY(!complaint("jobs", "<jobStatus><state>DONE</state></jobStatus>").isEmpty());
        QVERIFY(!complaint("status", "<activity><status>Active</status></activity>").isEmpty());
        QVERIFY(!complaint("profiles", "<profileRequest/>").isEmpty());
        QVERIFY(!complaint("xel", "<xel/>").isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestServiceSchemas)
#include "test_service_schemas.moc"
