#include "ServiceCommand.h"
#include "ServiceStage.h"
#include "activities/ActivityTimes.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

const QByteArray kTranscode =
    "<activity id=\"transcode\" name=\"Transcode "
    "1\"><outputDetail><filesystemVideoVolume>%1</filesystemVideoVolume>"
    "<filesystemAudioVolume>%1</"
    "filesystemAudioVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
    "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";

/// Everything below \a folder with size and times.
QMap<QString, QString> stateOf(const QString& folder)
{
    QMap<QString, QString> state;
    QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        struct stat facts
        {
        };
        if (::lstat(qPrintable(path), &facts) == 0)
            state[path] = QStringLiteral("%1 %2.%3 %4")
                              .arg(facts.st_size)
                              .arg(facts.st_mtim.tv_sec)
                              .arg(facts.st_mtim.tv_nsec)
                              .arg(facts.st_mode);
    }
    return state;
}

QByteArray request(const QString& path)
{
    return "<dryRunRequest><path>" + path.toHtmlEscaped().toUtf8() + "</path></dryRunRequest>";
}

} // namespace

/// What a profile would do, told without doing it.
class TestServiceDryRun : public QObject
{
    Q_OBJECT

    ServiceStage m_stage;

    QString at(const char* name) const { return m_stage.folder.filePath(s(name)); }
    QString profile(const char* name, const QByteArray& activities) const
    {
        m_stage.service->post("profiles", ModuleDocument::createProfile(s(name), activities));
        return m_stage.service->profileId(s(name));
    }
    Reply tryOut(const QString& profile, const QString& path) const
    {
        return m_stage.service->post("profiles/" + profile.toUtf8() + "/dryrun", request(path));
    }
    CommandResult ask(const QStringList& command) const
    {
        return runCommand(
            command + QStringList{s("--no-socket"), s("--port"), QString::number(m_stage.service->port())});
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_stage.begin());
        QVERIFY(QDir().mkpath(at("to")) && QDir().mkpath(at("from")));
        for (const char* name : {"sound.wav", "movie.mov"})
            QVERIFY(QFile::copy(TestMedia::file(s(name)), at("from/") + s(name)));
    }
    void cleanupTestCase() { QCOMPARE(m_stage.service->terminate(), 0); }

    void aCopyIsForetoldAndNothingIsTouched()
    {
        const QString id = profile("Copy", ModuleDocument::copyActivity(at("to"), true));
        const auto before = stateOf(m_stage.folder.path() + s("/from"));
        const auto target = stateOf(at("to"));
        const Reply reply = tryOut(id, at("from/sound.wav"));
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.text(s("kind")), s("audio"));
        QCOMPARE(reply.text(s("verdict")), s("WILL_DO"));
        QCOMPARE(reply.texts(s("path")),
                 (QStringList{at("from/sound.wav"), at("from/sound.wav"), at("to/sound.wav")}));
        QCOMPARE(reply.texts(s("bytes")).constLast(),
                 QString::number(QFileInfo(at("from/sound.wav")).size()));
        QCOMPARE(stateOf(at("from")), before);
        QCOMPARE(stateOf(at("to")), target);
        QCOMPARE(m_stage.service->get("jobs/status").texts(s("id")), QStringList());
        QCOMPARE(m_stage.service->errors(), QStringList());
        QCOMPARE(m_stage.service->get("clips").texts(s("id")), QStringList());
    }

    void whatIsThereAlreadyIsSkippedOrStepsAside()
    {
        QVERIFY(QDir().mkpath(at("full")));
        const QString id = profile("Full", ModuleDocument::copyActivity(at("full"), true));
        QVERIFY(QFile::copy(at("from/sound.wav"), at("full/sound.wav")));
        QCOMPARE(tryOut(id, at("from/sound.wav")).text(s("verdict")), s("WILL_SKIP"));
        QVERIFY(QFile::copy(at("from/sound.wav"), at("full/movie.mov")));
        const Reply aside = tryOut(id, at("from/movie.mov"));
        QCOMPARE(aside.text(s("verdict")), s("WILL_DO"));
        QCOMPARE(aside.texts(s("path")).constLast(), at("full/movie (2).mov"));
        // And once it stepped aside it is there, under that name.
        QVERIFY(QFile::copy(at("from/movie.mov"), at("full/movie (2).mov")));
        const Reply again = tryOut(id, at("from/movie.mov"));
        QCOMPARE(again.text(s("verdict")), s("WILL_SKIP"));
        QCOMPARE(again.texts(s("path")).constLast(), at("full/movie (2).mov"));
    }

    void copiesKeepThePathBelowTheWatchedFolder()
    {
        QVERIFY(QDir().mkpath(m_stage.watch + s("/day 1/card")) && QDir().mkpath(at("kept")));
        const QString id = profile("Kept", ModuleDocument::copyActivity(at("kept"), true));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), m_stage.watch + s("/day 1/card/a.wav")));
        const Reply below = tryOut(id, m_stage.watch + s("/day 1/card/a.wav"));
        QCOMPARE(below.texts(s("path")).constLast(), at("kept/day 1/card/a.wav"));
        QCOMPARE(QDir(at("kept")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
        const QString self = profile("Self", ModuleDocument::copyActivity(m_stage.watch, true));
        QCOMPARE(tryOut(self, m_stage.watch + s("/day 1/card/a.wav")).text(s("verdict")), s("CANNOT"));
        // What is really done then is what was told.
        QVERIFY(QDir().mkpath(at("other")));
        QVERIFY(!m_stage.service->addFolder(at("other"), id).isEmpty());
        QVERIFY(QDir().mkpath(at("other/card")));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), at("other/card/b.wav")));
        QCOMPARE(tryOut(id, at("other/card/b.wav")).texts(s("path")).constLast(), at("kept/card/b.wav"));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(at("kept/card/b.wav")), kStagePatience);
    }

    void whatLiesOnTheTargetIsSkippedWhenTheProfileSaysSo()
    {
        QVERIFY(QDir().mkpath(at("shelf")));
        const QString id = profile(
            "Skip",
            QByteArray(kTranscode)
                .replace("%1", at("shelf").toUtf8())
                .replace("id=\"transcode\" name=\"Transcode 1\"", "id=\"consolidate\" name=\"Consolidate\"")
                .replace("outputTranscodeVideoProfile", "outputConsolidateVideoProfile")
                .replace("<videoCompressionType>",
                         "<videoSkipOnTarget>true</videoSkipOnTarget><videoCompressionType>"));
        const Reply before = tryOut(id, at("from/sound.wav"));
        QCOMPARE(before.text(s("verdict")), s("WILL_DO"));
        QVERIFY2(before.text(s("reason")).contains(s("skipped when")), before.body.constData());
        m_stage.service->post("jobs", ModuleDocument::submitJob(at("from/sound.wav"), id));
        const QString told = before.texts(s("path")).constLast();
        QTRY_COMPARE_WITH_TIMEOUT(tryOut(id, at("from/sound.wav")).text(s("verdict")), s("WILL_SKIP"),
                                  kStagePatience);
        const Reply after = tryOut(id, at("from/sound.wav"));
        QCOMPARE(after.texts(s("path")).constLast(), told);
        QCOMPARE(after.texts(s("bytes")).constLast(), QString::number(QFileInfo(told).size()));
        // By content, not by name.
        QVERIFY(QFile::copy(at("from/sound.wav"), at("from/renamed.wav")));
        QCOMPARE(tryOut(id, at("from/renamed.wav")).text(s("verdict")), s("WILL_SKIP"));
        // Without an index nothing is read anew, and none is made.
        const QString index = at("shelf/KRX Media/.krx-index");
        QVERIFY(QFile::remove(index));
        QCOMPARE(tryOut(id, at("from/sound.wav")).text(s("verdict")), s("WILL_DO"));
        QVERIFY(!QFile::exists(index));
    }

    void whatCannotBeDoneIsSaidWithItsReason()
    {
        const Reply missing = tryOut(profile("Missing", ModuleDocument::copyActivity(at("missing"), true)),
                                     at("from/sound.wav"));
        QCOMPARE(missing.text(s("verdict")), s("CANNOT"));
        QVERIFY2(missing.text(s("reason")).contains(at("missing")), missing.body.constData());
        QVERIFY(!QFile::exists(at("missing")));
        const Reply away = tryOut(profile("Away", QByteArray(kTranscode).replace("%1", at("away").toUtf8())),
                                  at("from/movie.mov"));
        QCOMPARE(away.text(s("verdict")), s("CANNOT"));
        QVERIFY2(away.text(s("reason")).contains(s("waiting for the volume")), away.body.constData());
        QVERIFY(!QFile::exists(at("away")));
    }

    void everyActionHasAVerdict()
    {
        const QString id = profile("Both", ModuleDocument::copyActivity(at("missing"), true) +
                                               ModuleDocument::copyActivity(at("to"), false));
        QCOMPARE(tryOut(id, at("from/movie.mov")).texts(s("verdict")),
                 (QStringList{s("CANNOT"), s("WILL_DO")}));
    }

    void aTranscodeNamesItsResults()
    {
        QVERIFY(QDir().mkpath(at("volume")));
        const QString id = profile("Transcode", QByteArray(kTranscode).replace("%1", at("volume").toUtf8()));
        const Reply reply = tryOut(id, at("from/movie.mov"));
        QVERIFY2(reply.text(s("verdict")) == s("WILL_DO"), reply.body.constData());
        QVERIFY2(reply.texts(s("path")).constLast().startsWith(at("volume/KRX Media/")),
                 reply.body.constData());
        QCOMPARE(stateOf(at("volume")).size(), 0);
        // What is really done then is what was told.
        m_stage.service->post("jobs", ModuleDocument::submitJob(at("from/movie.mov"), id));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(reply.texts(s("path")).constLast()), kStagePatience);
        // The next one finds the name taken.
        const QString second = tryOut(id, at("from/movie.mov")).texts(s("path")).constLast();
        QVERIFY2(second.endsWith(s("movie (2).mov")) || second.endsWith(s("movie (2).mxf")),
                 qPrintable(second));
    }

    void aConsolidationNamesItsResults_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("pictures and sound") << s("from/movie.mov");
        QTest::newRow("sound") << s("from/sound.wav");
    }
    void aConsolidationNamesItsResults()
    {
        QFETCH(QString, name);
        QVERIFY(QDir().mkpath(at("store")));
        const QString id = profile(
            "Consolidate",
            QByteArray(kTranscode)
                .replace("%1", at("store").toUtf8())
                .replace("id=\"transcode\" name=\"Transcode 1\"", "id=\"consolidate\" name=\"Consolidate\"")
                .replace("outputTranscodeVideoProfile", "outputConsolidateVideoProfile"));
        const Reply reply = tryOut(id, m_stage.folder.filePath(name));
        QVERIFY2(reply.text(s("verdict")) == s("WILL_DO"), reply.body.constData());
        const QString told = reply.texts(s("path")).constLast();
        QVERIFY(told.startsWith(at("store/KRX Media/")) && !QFile::exists(told));
        m_stage.service->post("jobs", ModuleDocument::submitJob(m_stage.folder.filePath(name), id));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(told), kStagePatience);
        // Both go over as they are, and such a file that is there already is not brought twice.
        QCOMPARE(tryOut(id, m_stage.folder.filePath(name)).texts(s("path")).constLast(), told);
    }

    void whatIsNoClipHasAReason_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << s("from/none.mov");
        QTest::newRow("no media") << s("from/text.mov");
        QTest::newRow("a folder") << s("from");
    }
    void whatIsNoClipHasAReason()
    {
        QFETCH(QString, name);
        QFile text(at("from/text.mov"));
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write("no movie");
        text.close();
        const Reply reply = tryOut(profile("Plain", {}), m_stage.folder.filePath(name));
        QCOMPARE(reply.status, 200);
        QVERIFY(!reply.text(s("reason")).isEmpty());
        QVERIFY(!reply.body.contains("<clip>") && !reply.body.contains("<activity>"));
    }

    void requestsThatMakeNoSenseAreRefused()
    {
        const QString id = profile("Plain", {});
        QCOMPARE(tryOut(s("no-such"), at("from/sound.wav")).status, 404);
        QCOMPARE(tryOut(id, s("relative.wav")).status, 400);
        QCOMPARE(m_stage.service->post("profiles/" + id.toUtf8() + "/dryrun", "<other/>").status, 400);
        QCOMPARE(m_stage.service->get("profiles/" + id.toUtf8() + "/dryrun").status, 405);
        QCOMPARE(m_stage.service->get("profiles/" + id.toUtf8() + "/else").status, 404);
        QCOMPARE(m_stage.service->get("folders/" + id.toUtf8() + "/dryrun").status, 404);
    }

    void answersAreValid()
    {
        QVERIFY(QDir().mkpath(at("volume")));
        const QList<Reply> replies{
            tryOut(profile("Copy", ModuleDocument::copyActivity(at("to"), true)), at("from/movie.mov")),
            tryOut(profile("Transcode", QByteArray(kTranscode).replace("%1", at("volume").toUtf8())),
                   at("from/movie.mov")),
            tryOut(profile("Plain", {}), at("none"))};
        for (const Reply& reply : replies) {
            QProcess xmllint;
            xmllint.start(s("xmllint"), {s("--noout"), s("--schema"), s(KRX_SCHEMAS "/dryrun.xsd"), s("-")});
            xmllint.write(reply.body);
            xmllint.closeWriteChannel();
            QVERIFY(xmllint.waitForFinished(kStagePatience));
            QVERIFY2(xmllint.exitCode() == 0,
                     QByteArray(xmllint.readAllStandardError() + reply.body).constData());
        }
    }

    void theCommandLineTellsThePerson()
    {
        profile("Copy", ModuleDocument::copyActivity(at("to"), true));
        profile("Missing", ModuleDocument::copyActivity(at("missing"), true));
        const CommandResult good = ask({s("dry-run"), s("Copy"), at("from/sound.wav")});
        QCOMPARE(good.err, QString());
        QCOMPARE(good.code, 0);
        QVERIFY2(good.out.contains(s("WILL_DO")) && good.out.contains(at("to/sound.wav")),
                 qPrintable(good.out));
        const CommandResult bad = ask({s("dry-run"), s("Missing"), at("from/sound.wav"), s("--json")});
        QCOMPARE(bad.code, 1);
        const QJsonObject action = bad.json().object().value(s("activity")).toArray().at(0).toObject();
        QCOMPARE(action.value(s("verdict")).toString(), s("CANNOT"));
        QCOMPARE(ask({s("dry-run"), s("Nobody"), at("from/sound.wav")}).code, 1);
        QCOMPARE(ask({s("dry-run"), s("Copy")}).code, 2);
    }

    void timesOfPastJobsAreTold()
    {
        krxservice::ActivityTimes times;
        QVERIFY(!times.estimate("copy", 100));
        times.note("copy", 1000, 2);
        QCOMPARE(times.estimate("copy", 500).value_or(0), 1.0);
        QVERIFY(!times.estimate("transcode", 100));
        // The newest count for more.
        for (int i = 0; i < 50; ++i)
            times.note("copy", 1000, 4);
        QVERIFY(times.estimate("copy", 1000).value_or(0) > 3.9);
        times.note("transcode", 0, 1);
        QVERIFY(times.estimate("transcode", 1).value_or(0) > 0);

        ServiceStage stage;
        const QString to = stage.folder.filePath(s("to"));
        QVERIFY(QDir().mkpath(to) && stage.begin(ModuleDocument::copyActivity(to, true)));
        const QString id = stage.service->profileId(s("Copying"));
        const auto seconds = [&] {
            return stage.service->post("profiles/" + id.toUtf8() + "/dryrun", request(at("from/sound.wav")))
                .text(s("seconds"));
        };
        QCOMPARE(seconds(), QString());
        stage.service->post("jobs", ModuleDocument::submitJob(at("from/sound.wav"), id));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(to + s("/sound.wav")), kStagePatience);
        QVERIFY(QFile::remove(to + s("/sound.wav")));
        QTRY_VERIFY_WITH_TIMEOUT(!seconds().isEmpty(), kStagePatience);
        // They are known after the next start, too.
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QVERIFY(!seconds().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestServiceDryRun)
#include "test_service_dryrun.moc"
