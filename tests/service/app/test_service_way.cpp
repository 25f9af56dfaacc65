#include "ServiceStage.h"
#include "TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <memory>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// A clip's way from the watched folder to its output document, with everything that can come between.
class TestServiceWay : public QObject
{
    Q_OBJECT

private slots:
    void finishedFileIsListedReadyWithItsDocument()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString path = stage.drop(s("clip \xC3\xA9 & 1.mov"), "movie.mov");
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        const Reply ready = stage.service->get("xelmediafolders?level=outputready");
        QCOMPARE(ready.text(s("folderURI")),
                 s("http://localhost:58885/KRXService/xelmediafolders/") + stage.id);
        QCOMPARE(ready.text(s("outputReady")), s("true"));
        QVERIFY(stage.service->get("activity").texts(s("folderURI")).size() == 1);
        QFile file(stage.outputs().constFirst());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray document = file.readAll();
        QVERIFY(document.contains("<path>" + path.toHtmlEscaped().toUtf8() + "</path>"));
        QVERIFY(document.contains("<kind>video</kind>"));
        QVERIFY(document.contains("<binNamingMethod>VOLUME</binNamingMethod>"));
        // Taking the clip means removing the document.
        QVERIFY(file.remove());
        QVERIFY(stage.outputs().isEmpty());
        QVERIFY(stage.service->get("xelmediafolders?level=outputready").texts(s("folderURI")).isEmpty());
    }

    void stillsSoundsAndFilesInSubfoldersAreOffered()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        QVERIFY(QDir(stage.watch).mkpath(s("DCIM/100")));
        stage.drop(s("DCIM/100/a.mov"), "movie.mov");
        stage.drop(s("b.png"), "still.png");
        stage.drop(s("c.wav"), "sound.wav");
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 3, kStagePatience);
    }

    void filesAlreadyThereAreOfferedWhenTheFolderIsEnabled()
    {
        ServiceStage stage;
        QVERIFY(QDir().mkpath(stage.watch));
        stage.drop(s("a.wav"));
        QVERIFY(stage.begin());
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
    }

    void disabledFolderOffersNothing()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString other = stage.folder.filePath(s("other"));
        QVERIFY(QDir().mkpath(other));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), other + s("/a.wav")));
        const QString profile = stage.service->profileId(s("Default Profile"));
        const QString disabled = stage.service->addFolder(other, profile, false);
        QVERIFY(stage.marked(s("mark1.wav")));
        QVERIFY(stage.service->outputs(disabled).isEmpty());
        stage.service->put("xelmediafolders/" + disabled.toUtf8(),
                           ModuleDocument::updateFolder(disabled, other, profile, s("true")));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->outputs(disabled).size(), 1, kStagePatience);
    }

    void hiddenUnfinishedAndEmptyFilesAreSkippedAndEmptyOnesNamed()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        for (const char* name : {".hidden.wav", "a.wav.part", "b.wav.tmp", "c.wav~"})
            QVERIFY(!stage.drop(s(name)).isEmpty());
        QFile empty(stage.watch + s("/empty.wav"));
        QVERIFY(empty.open(QIODevice::WriteOnly));
        empty.close();
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().size(), 1, kStagePatience);
        QVERIFY(stage.service->errors()[0].contains(s("empty.wav: the file is empty")));
        // The download is finished: it gets its name.
        QVERIFY(QFile::rename(stage.watch + s("/a.wav.part"), stage.watch + s("/a.wav")));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 2, kStagePatience);
    }

    void fileThatIsNoMediaIsReportedOnceAndNotOffered()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        QFile notes(stage.watch + s("/notes.rtf"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.write("words\n");
        notes.close();
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().filter(s("notes.rtf")).size(), 1, kStagePatience);
        stage.service->get("errors?clear=true");
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QVERIFY(stage.marked(s("mark2.wav")));
        QVERIFY(stage.service->errors().isEmpty());
    }

    void numberedPicturesAndTheirSidecarAreOneClipAlsoAfterARestart()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const auto add = [&](const char* name) {
            return QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                   s("testsrc2=s=16x16"), s("-frames:v"), s("1"),
                                                   stage.watch + QLatin1Char('/') + s(name)}) == 0;
        };
        QVERIFY(add("shot_08.dpx") && add("shot_10.dpx"));
        QFile sidecar(stage.watch + s("/shot.cdl"));
        QVERIFY(sidecar.open(QIODevice::WriteOnly) && sidecar.write("<x/>") > 0);
        sidecar.close();
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        const QByteArray document = TestFiles::content(stage.outputs().constFirst().toStdString());
        QVERIFY(document.contains("<path>" + (stage.watch + s("/shot_08.dpx")).toUtf8() + "</path>"));
        QVERIFY(document.contains("<missingNumbers>9</missingNumbers>"));
        QVERIFY(document.contains("<path>" + sidecar.fileName().toUtf8() + "</path>"));
        QCOMPARE(stage.service->errors().filter(s("are missing: 9")).size(), 1);
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 2);
        // The missing one arrives: the clip has another content.
        QVERIFY(add("shot_09.dpx"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 3, kStagePatience);
        QVERIFY(stage.service->errors().isEmpty());
    }

    void growingFileIsNeverTakenEarlyThoughItsWriterPauses()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        QFile source(TestMedia::file(s("movie.mov")));
        QVERIFY(source.open(QIODevice::ReadOnly));
        const QByteArray bytes = source.readAll();
        QFile target(stage.watch + s("/growing.mov"));
        QVERIFY(target.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        for (int piece = 0; piece < 3; ++piece) {
            target.write(bytes.mid(piece * bytes.size() / 3,
                                   (piece + 1) * bytes.size() / 3 - piece * bytes.size() / 3));
            // The writer pauses for several settle times: until another file has gone the whole way.
            QVERIFY(stage.marked(QStringLiteral("mark%1.wav").arg(piece)));
            QVERIFY(stage.outputs().filter(s("growing")).isEmpty());
        }
        QVERIFY(stage.service->errors().isEmpty());
        target.close();
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().filter(s("growing")).size(), 1, kStagePatience);
        QFile document(stage.outputs().filter(s("growing"))[0]);
        QVERIFY(document.open(QIODevice::ReadOnly));
        QVERIFY(document.readAll().contains("<size>" + QByteArray::number(bytes.size()) + "</size>"));
    }

    void changedContentIsOfferedAgainTheSameContentIsNot()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString path = stage.drop(s("a.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QVERIFY(QFile::remove(path));
        stage.drop(s("a.wav"));
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().filter(s("-a.wav")).size(), 1);
        QVERIFY(QFile::remove(path));
        QVERIFY(QFile::copy(TestMedia::file(s("movie.mov")), path));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().filter(s("-a.wav")).size(), 2, kStagePatience);
    }

    void reprocessOffersExistingFilesAgain()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        stage.drop(s("a.wav"));
        stage.drop(s("b.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 2, kStagePatience);
        QVERIFY(QFile::remove(stage.outputs().at(0)));
        const QStringList before = stage.outputs();
        const QByteArray url = "xelmediafolders/" + stage.id.toUtf8();
        const QString profile = stage.service->profileId(s("Default Profile"));
        QCOMPARE(stage.service
                     ->put(url + "?reprocess=true",
                           ModuleDocument::updateFolder(stage.id, stage.watch, profile, s("true")))
                     .status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 2, kStagePatience);
        QVERIFY(!stage.outputs().contains(before[0]));
        // Without the wish nothing is offered again.
        for (const QString& output : stage.outputs())
            QVERIFY(QFile::remove(output));
        stage.service->put(url, ModuleDocument::updateFolder(stage.id, stage.watch, profile, s("true")));
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 1);
    }

    void copyActionPutsAWholeCopyThereAndTheOutputLinksToIt()
    {
        ServiceStage stage;
        const QString to = stage.watch + s("/copies");
        QVERIFY(QDir().mkpath(to));
        QVERIFY(stage.begin(ModuleDocument::copyActivity(to, true)));
        stage.drop(s("a.mov"), "movie.mov");
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QFile copy(to + s("/a.mov"));
        QFile original(TestMedia::file(s("movie.mov")));
        QVERIFY(copy.open(QIODevice::ReadOnly) && original.open(QIODevice::ReadOnly));
        QCOMPARE(copy.readAll(), original.readAll());
        QFile document(stage.outputs().at(0));
        QVERIFY(document.open(QIODevice::ReadOnly));
        QVERIFY(document.readAll().contains("<clip>\n  <name>a</name>\n  <path>" + to.toUtf8() +
                                            "/a.mov</path>"));
        // The copy lies in the watched folder and is no new clip.
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 2);
        QCOMPARE(QDir(to).entryList(QDir::Files | QDir::Hidden).size(), 2);
        QVERIFY(stage.service->get("jobs/detail").texts(s("id")).isEmpty());
    }

    void failedCopyIsAFailedJobWithoutOutputAndSucceedsWhenTriedAgain()
    {
        ServiceStage stage;
        const QString to = stage.folder.filePath(s("to"));
        QVERIFY(stage.begin(ModuleDocument::copyActivity(to, true)));
        stage.drop(s("a.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("jobs/status").text(s("state")), s("FAILED"),
                                  kStagePatience);
        QVERIFY(stage.outputs().isEmpty());
        QVERIFY(!stage.service->errors().filter(to).isEmpty());
        // Jobs that no client asked for are no business of a manual job list.
        QVERIFY(stage.service->get("jobs/status?filter=true").texts(s("id")).isEmpty());
        const Reply detail = stage.service->get("jobs/detail");
        QCOMPARE(detail.text(s("groupID")), stage.id);
        QVERIFY(QDir().mkpath(to));
        QCOMPARE(stage.service
                     ->put("jobs/" + detail.text(s("id")).toUtf8(), ModuleDocument::jobState(s("SUBMITTED")))
                     .status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QTRY_VERIFY_WITH_TIMEOUT(stage.service->get("jobs/status").texts(s("id")).isEmpty(), kStagePatience);
    }

    void transcodeToNoKnownCodecIsAFailedJobThatSaysSo()
    {
        ServiceStage stage;
        QVERIFY(stage.begin("<activity id=\"transcode\" name=\"Transcode 1\"/>"));
        stage.drop(s("a.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->get("jobs/status").text(s("state")), s("FAILED"),
                                  kStagePatience);
        QVERIFY(stage.service->get("jobs/status").text(s("message")).contains(s("is not in the catalogue")));
        QVERIFY(stage.outputs().isEmpty());
    }

    void folderWhoseProfileIsGoneRestsUntilItGetsAnother()
    {
        ServiceStage stage;
        QVERIFY(QDir().mkpath(stage.folder.filePath(s("to"))));
        QVERIFY(stage.begin(ModuleDocument::copyActivity(stage.folder.filePath(s("to")), false)));
        QCOMPARE(stage.service->remove("profiles/" + stage.service->profileId(s("Copying")).toUtf8()).status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().filter(stage.watch).size(), 1, kStagePatience);
        stage.drop(s("a.wav"));
        const QString profile = stage.service->profileId(s("Default Profile"));
        const QString other = stage.folder.filePath(s("other"));
        QVERIFY(QDir().mkpath(other) && QFile::copy(TestMedia::file(s("sound.wav")), other + s("/b.wav")));
        const QString otherId = stage.service->addFolder(other, profile);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->outputs(otherId).size(), 1, kStagePatience);
        QVERIFY(stage.outputs().isEmpty());
        // What the module does after it deleted a profile, and then the user.
        const QByteArray url = "xelmediafolders/" + stage.id.toUtf8();
        QCOMPARE(
            stage.service->put(url, ModuleDocument::updateFolder(stage.id, stage.watch, profile, s("false")))
                .status,
            200);
        QCOMPARE(
            stage.service->put(url, ModuleDocument::updateFolder(stage.id, stage.watch, profile, s("true")))
                .status,
            200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
    }

    void vanishedDirectoryIsReportedOnceAndWorkGoesOnWhenItReturns()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        stage.drop(s("a.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        const QString away = stage.folder.filePath(s("away"));
        QVERIFY(QDir().rename(stage.watch, away));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().filter(stage.watch).size(), 1, kStagePatience);
        stage.service->get("errors?clear=true");
        QCOMPARE(stage.service->get("xelmediafolders/" + stage.id.toUtf8()).text(s("enabled")), s("true"));
        QVERIFY(QFile::copy(TestMedia::file(s("still.png")), away + s("/b.png")));
        // Still away, still enabled, and nothing is said again.
        const QString other = stage.folder.filePath(s("other"));
        QVERIFY(QDir().mkpath(other) && QFile::copy(TestMedia::file(s("sound.wav")), other + s("/b.wav")));
        const QString otherId =
            stage.service->addFolder(other, stage.service->profileId(s("Default Profile")));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->outputs(otherId).size(), 1, kStagePatience);
        QVERIFY(stage.service->errors().isEmpty());
        QVERIFY(QDir().rename(away, stage.watch));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 2, kStagePatience);
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 3);
        QVERIFY(stage.service->errors().isEmpty());
    }

    void readOnlyDirectoryIsWatchedAllTheSame()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        stage.drop(s("a.wav"));
        QCOMPARE(::chmod(stage.watch.toUtf8().constData(), 0555), 0);
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QCOMPARE(::chmod(stage.watch.toUtf8().constData(), 0755), 0);
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 2);
    }

    void everythingIsThereAfterARestart()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        stage.drop(s("a.wav"));
        stage.drop(s("b.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 2, kStagePatience);
        const QString job =
            stage.service
                ->post("jobs", ModuleDocument::submitJob(TestMedia::file(s("sound.wav")),
                                                         stage.service->profileId(s("Default Profile"))))
                .text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->jobState(job), s("COMPLETED"), kStagePatience);
        QVERIFY(QFile::remove(stage.outputs().constFirst()));
        const QByteArray folders = stage.service->get("xelmediafolders?level=detail").body;
        const QByteArray profiles = stage.service->get("profiles?level=detail").body;
        const QByteArray jobs = stage.service->get("jobs/detail").body;
        QCOMPARE(stage.service->terminate(), 0);
        QVERIFY(stage.again());
        QCOMPARE(stage.service->get("xelmediafolders?level=detail").body, folders);
        QCOMPARE(stage.service->get("profiles?level=detail").body, profiles);
        QCOMPARE(stage.service->get("jobs/detail").body, jobs);
        QVERIFY(stage.marked(s("mark.wav")));
        QCOMPARE(stage.outputs().size(), 2);
    }

    void fileDroppedWhileTheServiceWasAwayIsOffered()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        stage.service->kill();
        stage.drop(s("a.wav"));
        QVERIFY(stage.again());
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
    }

    void killedAtAnyMomentItLosesNothingAndOffersNothingTwice()
    {
        ServiceStage stage;
        const QString to = stage.folder.filePath(s("to"));
        QVERIFY(QDir().mkpath(to));
        QVERIFY(stage.begin(ModuleDocument::copyActivity(to, true)));
        QStringList taken;
        constexpr int kRounds = 12;
        constexpr int kFiles = 4;
        const auto takeAll = [&] {
            for (const QString& output : stage.outputs()) {
                QFile file(output);
                QVERIFY(file.open(QIODevice::ReadOnly));
                const QByteArray document = file.readAll();
                QVERIFY2(document.trimmed().endsWith("</xel>"), "a partial document was visible");
                taken << output.section(QLatin1Char('-'), 1);
                QVERIFY(file.remove());
            }
        };
        for (int round = 0; round < kRounds; ++round) {
            for (int i = 0; i < kFiles; ++i)
                QVERIFY(!stage.drop(QStringLiteral("r%1n%2.wav").arg(round).arg(i)).isEmpty());
            // Each round is killed after another number of answers, so at another moment of the work; in most
            // rounds the host has taken some of the clips by then.
            for (int answers = 0; answers < round * 6; ++answers) {
                stage.service->get("activity");
                if (round % 3 != 0)
                    takeAll();
                QTest::qWait(8);
            }
            stage.service->kill();
            for (const QString& name : QDir(to).entryList(QDir::Files)) {
                const QFileInfo copy(to + QLatin1Char('/') + name);
                QCOMPARE(copy.size(), QFileInfo(TestMedia::file(s("sound.wav"))).size());
            }
            QVERIFY(stage.again());
        }
        const auto allTaken = [&] {
            takeAll();
            return taken.size() >= kRounds * kFiles;
        };
        QTRY_VERIFY_WITH_TIMEOUT(allTaken(), 60000);
        QTRY_VERIFY_WITH_TIMEOUT(stage.isIdle(), kStagePatience);
        QVERIFY(stage.marked(s("mark.wav")));
        takeAll();
        taken.sort();
        QCOMPARE(taken.size(), kRounds * kFiles + 1);
        QCOMPARE(taken.removeDuplicates(), 0);
        // No unfinished copy and no second copy is left behind.
        QCOMPARE(QDir(to).entryList(QDir::Files | QDir::Hidden).size(), kRounds * kFiles + 1);
    }

    void manualJobGoesOnAfterAKillAndOffersEachFileOnce()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString cards = stage.folder.filePath(s("card"));
        QVERIFY(QDir().mkpath(cards));
        for (int i = 0; i < 12; ++i)
            QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), cards + QStringLiteral("/%1.wav").arg(i)));
        const QString job =
            stage.service
                ->post("jobs",
                       ModuleDocument::submitJob(cards, stage.service->profileId(s("Default Profile"))))
                .text(s("id"));
        QTRY_VERIFY_WITH_TIMEOUT(!stage.service->get("jobs/" + job.toUtf8()).texts(s("fileName")).isEmpty(),
                                 kStagePatience);
        stage.service->kill();
        QVERIFY(stage.again());
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->jobState(job), s("COMPLETED"), kStagePatience);
        QCOMPARE(stage.service->get("jobs/" + job.toUtf8()).texts(s("fileName")).size(), 12);
    }

    void removedFolderTakesItsOutputsAlong()
    {
        ServiceStage stage;
        QVERIFY(stage.begin());
        const QString path = stage.drop(s("a.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        const QString output = stage.outputs().constFirst();
        QCOMPARE(stage.service->remove("xelmediafolders/" + stage.id.toUtf8()).status, 200);
        QVERIFY(!QFile::exists(output));
        QVERIFY(QFile::exists(path));
        // The directory may be watched anew, and is then a new folder.
        const QString id =
            stage.service->addFolder(stage.watch, stage.service->profileId(s("Default Profile")));
        QVERIFY(!id.isEmpty() && id != stage.id);
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->outputs(id).size(), 1, kStagePatience);
    }
};

QTEST_GUILESS_MAIN(TestServiceWay)
#include "test_service_way.moc"
