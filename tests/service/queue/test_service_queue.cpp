#include "QueueLine.h"
#include "SilentMount.h"

#include "base/Text.h"
#include "engines/Ffmpeg.h"
#include "files/VolumeTurn.h"
#include "queue/Worker.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"

#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <set>

namespace {

using Line = QueueLine;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// Whose turn it is: files and jobs side by side, never the same one twice.
class TestServiceQueue : public QObject
{
    Q_OBJECT

    QueueMedia m_sounds;
    const QTemporaryDir& m_media = m_sounds.folder;
    const std::string& m_one = m_sounds.one;
    const std::string& m_two = m_sounds.two;

private slots:
    void initTestCase() { QVERIFY(m_sounds.make()); }

    void twinsWaitForEachOtherInsteadOfCancellingEachOther()
    {
        // With an action each file's end is told on its own thread.
        QTemporaryDir copies;
        Line line(m_media.path(), {PipelineBench::copyTo(copies.path())});
        line.held = {m_one};
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(1));
        // Its work has not quite ended when it is reported once more; another file has its turn.
        line.worker.addFile("f000001", m_one);
        line.worker.addFile("f000001", m_two);
        QVERIFY(line.waitForEnds(2));
        QCOMPARE(line.ended[1].first, m_two);
        QVERIFY(line.worker.isActive());
        line.release();
        QVERIFY(line.waitForEnds(3));
        for (const auto& [path, isDone] : line.ended)
            QVERIFY2(isDone, path.c_str());
        QCOMPARE(line.listed().size(), std::size_t(2));
    }

    void volumeThatHangsLeavesATurnForTheOthers()
    {
        QTemporaryDir watched;
        const QString hung = watched.filePath(s("hung"));
        QVERIFY(QDir().mkdir(hung));
        constexpr std::size_t kFiles = 36; // more than there may ever be threads
        const auto file = [&](std::size_t number) {
            return watched.path().toStdString() + '/' + std::to_string(number) + ".wav";
        };
        for (std::size_t i = 0; i < kFiles; ++i)
            QVERIFY(QFile::copy(QString::fromStdString(m_one), QString::fromStdString(file(i))));
        Line line(watched.path());
        SilentMount mount;
        if (!mount.mount(hung))
            QSKIP("only a privileged user can mount a file system");
        for (std::size_t i = 0; i < kFiles; ++i)
            line.worker.addFile("f000001", hung.toStdString() + '/' + std::to_string(i) + ".wav");
        // One after the other, so that each time a thread looks for more work.
        for (std::size_t i = 0; i < kFiles; ++i) {
            line.worker.addFile("f000001", file(i));
            QVERIFY(line.waitForEnds(i + 1));
        }
        QCOMPARE(line.listed().size(), kFiles);
    }

    void fileThatWaitsIsNotQueuedTwice()
    {
        Line line(m_media.path());
        line.held = {m_one};
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(1));
        for (int i = 0; i < 5; ++i)
            line.worker.addFile("f000001", m_one);
        line.release();
        line.worker.addFile("f000001", m_two);
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(line.ended.size(), std::size_t(3));
    }

    void fileOfAFolderThatMovedOnIsNotWorkedOn()
    {
        Line line(m_media.path());
        QTemporaryDir other;
        line.watch(other.path() + QLatin1Char('/'));
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(1));
        QVERIFY(!line.ended[0].second);
        QVERIFY(line.listed().empty());
        // Slashes at the end are no other folder.
        line.watch(m_media.path() + s("//"));
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(2));
        QCOMPARE(line.listed().size(), std::size_t(1));
    }

    void filesThatWaitForAThreadAreShownAndCalledOff()
    {
        const QTemporaryDir watched;
        const QTemporaryDir to;
        std::vector<std::string> files;
        for (int i = 0; i < 4; ++i) {
            files.push_back(watched.filePath(QString::number(i) + s(".wav")).toStdString());
            QVERIFY(QFile::copy(QString::fromStdString(m_one), QString::fromStdString(files.back())));
        }
        ActivityRecipe copy;
        copy.destination = to.path().toStdString();
        Line line(watched.path(), {copy});
        line.held = {files[0], files[1]};
        for (const auto& file : files)
            line.worker.addFile("f000001", file);
        QVERIFY(line.waitForEnds(2));
        const auto isShown = [&](const std::string& file) {
            const auto job = line.jobOf(file);
            return job && job->state == jobstate::kSubmitted && line.newsOf(file).job == job->id;
        };
        QTRY_VERIFY_WITH_TIMEOUT(isShown(files[2]) && isShown(files[3]), 30000);
        const std::string id = line.jobOf(files[2])->id;
        QCOMPARE(line.jobOf(files[2])->profile, std::string("p"));
        QCOMPARE(line.jobOf(files[2])->groupId, std::string("f000001"));

        QVERIFY(line.jobs.move(id, {jobstate::kSubmitted}, jobstate::kCancelled));
        line.worker.cancelJob(id, false);
        QCOMPARE(line.ended.back(), std::make_pair(files[2], true));
        QCOMPARE(line.newsOf(files[2]).stage, ClipStage::Failed);
        QCOMPARE(line.newsOf(files[2]).reason, std::string("Was cancelled"));
        QCOMPARE(line.newsOf(files[2]).job, id);
        // It is known: nothing begins when it is found again.
        line.worker.addFile("f000001", files[2]);
        line.release();
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(int(QDir(to.path()).entryList({s("*.wav")}).size()), 3);
        QVERIFY(!QFile::exists(to.filePath(s("2.wav"))));
        QVERIFY(!line.jobOf(files[3]));

        // Until somebody wants it after all.
        line.clips.retry("f000001", files[2]);
        QVERIFY(line.jobs.move(id, {jobstate::kCancelled}, jobstate::kSubmitted));
        line.worker.addFile("f000001", files[2], id);
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(to.filePath(s("2.wav"))), 30000);
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(line.listed().size(), std::size_t(4));
        QVERIFY(!line.jobOf(files[2]));
    }

    void filesThatWaitForALinkOnlyAreNoJobs()
    {
        constexpr std::size_t kFiles = 20;
        const QTemporaryDir watched;
        Line line(watched.path());
        for (std::size_t i = 0; i < kFiles; ++i) {
            const QString file = watched.filePath(QString::number(i) + s(".wav"));
            QVERIFY(QFile::copy(QString::fromStdString(m_one), file));
            line.worker.addFile("f000001", file.toStdString());
        }
        QVERIFY(line.waitForEnds(kFiles));
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(line.listed().size(), kFiles);
        QCOMPARE(line.submit(watched.path()), std::string("j000001")); // the first ever
    }

    void whoWaitsForHisTurnOnADiskLeavesItsThreadToOthers()
    {
        const QTemporaryDir watched;
        const QTemporaryDir to;
        VolumeTurn::treatAllAsSpinning(true);
        const auto end = qScopeGuard([] { VolumeTurn::treatAllAsSpinning(false); });
        std::vector<std::string> files;
        for (int i = 0; i < 5; ++i) {
            files.push_back(watched.filePath(QString::number(i) + s(".wav")).toStdString());
            QVERIFY(QFile::copy(QString::fromStdString(m_one), QString::fromStdString(files.back())));
        }
        ActivityRecipe copy;
        copy.destination = to.path().toStdString();
        Line line(watched.path(), {copy});
        auto turn = std::make_unique<VolumeTurn>(to.path().toStdString());
        QVERIFY(turn->isHeld());
        for (const auto& file : files)
            line.worker.addFile("f000001", file);
        const std::string reason = VolumeTurn::toWaitFor({to.path().toStdString()});
        QCOMPARE(reason,
                 "waiting for its turn on " + to.path().toStdString() + ", which another clip is written to");
        for (const auto& file : files) {
            QTRY_COMPARE_WITH_TIMEOUT(line.newsOf(file).reason, text::asSentence(reason), 30000);
            QCOMPARE(line.newsOf(file).stage, ClipStage::Waiting);
            // The job follows in a moment.
            QTRY_COMPARE_WITH_TIMEOUT(line.jobOf(file)->state, std::string(jobstate::kSubmitted), 30000);
        }
        // Nobody can do anything about it but wait.
        QVERIFY(line.errors.list().empty());
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        turn.reset();
        QVERIFY(line.waitForEnds(files.size()));
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(line.listed().size(), files.size());
        QVERIFY(!line.jobOf(files[0]));
    }

    void cancelledFolderTakesTheJobsOfItsQueueAlong()
    {
        Line line(m_media.path());
        line.held = {m_one};
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(1));
        JobRecord job;
        job.groupId = "f000001";
        job.path = m_one;
        job.state = jobstate::kSubmitted;
        const auto id = line.jobs.create(job);
        line.worker.addFile("f000001", m_one, id);
        line.worker.cancelFolder("f000001");
        QVERIFY(!line.jobs.find(id));
        line.release();
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
    }

    void workInTheBackgroundIsNoActivityAndEndsWithTheWorker()
    {
        Line line(m_media.path());
        std::atomic<bool> began{false};
        std::atomic<bool> ended{false};
        line.worker.addBackground([&](const CancelToken& cancel) {
            began = true;
            while (!*cancel)
                std::this_thread::yield();
            ended = true;
        });
        QTRY_VERIFY_WITH_TIMEOUT(began, 30000);
        QVERIFY(!line.worker.isActive());
        // Files do not wait for it.
        line.worker.addFile("f000001", m_one);
        QVERIFY(line.waitForEnds(1));
        line.worker.stop();
        QVERIFY(ended);
    }

    void jobOnADirectoryLeavesOutWhatItsProfileCopiedThere()
    {
        QTemporaryDir card;
        const QString copies = card.filePath(s("copies"));
        QVERIFY(QDir().mkdir(copies));
        for (const QString& path : QStringList{card.filePath(s("a.wav")), copies + s("/of-yesterday.wav")})
            QVERIFY(QFile::copy(QString::fromStdString(m_one), path));
        Line line(m_media.path(), {PipelineBench::copyTo(copies)});
        const auto id = line.submit(card.path());
        for (int round = 0; round < 2; ++round) {
            line.worker.addJob(id);
            QTRY_COMPARE_WITH_TIMEOUT(line.jobs.find(id)->state, std::string("COMPLETED"), 30000);
            QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
            QCOMPARE(line.outputs.list(id).size(), std::size_t(1));
            QCOMPARE(QDir(copies).entryList(QDir::Files).size(), 2);
            line.jobs.move(id, {jobstate::kCompleted}, jobstate::kSubmitted);
        }
    }

    void jobThatIsCompletedSaysWhatItsActionsFellBackTo()
    {
        QTemporaryDir card;
        QTemporaryDir volume;
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                 s("testsrc2=s=64x36:r=25:d=0.2"), s("-c:v"), s("mjpeg"),
                                                 card.filePath(s("a.mov"))}),
                 0);
        ActivityRecipe consolidate;
        consolidate.element = "<activity id=\"consolidate\"><outputDetail><filesystemVideoVolume>" +
                              volume.path().toStdString() +
                              "/</filesystemVideoVolume></outputDetail></activity>";
        Line line(m_media.path(), {consolidate});
        const auto id = line.submit(card.path());
        line.worker.addJob(id);
        QTRY_COMPARE_WITH_TIMEOUT(line.jobs.find(id)->state, std::string("COMPLETED"), 30000);
        QCOMPARE(line.jobs.find(id)->message,
                 std::string("a.mov: MXF cannot hold mjpeg: it keeps its own wrapper"));
    }

    void jobWithoutMediaFailsAsOftenAsItIsTried_data()
    {
        QTest::addColumn<bool>("isDirectory");
        QTest::newRow("a file") << false;
        QTest::newRow("a directory") << true;
    }
    void jobWithoutMediaFailsAsOftenAsItIsTried()
    {
        QFETCH(bool, isDirectory);
        QTemporaryDir card;
        const QString path = card.filePath(s("notes.txt"));
        QFile notes(path);
        QVERIFY(notes.open(QIODevice::WriteOnly) && notes.write("no media") == 8);
        notes.close();
        Line line(m_media.path());
        JobRecord job;
        job.manual = true;
        job.path = (isDirectory ? card.path() : path).toStdString();
        job.profile = "p";
        job.state = jobstate::kSubmitted;
        const auto id = line.jobs.create(job);
        for (int round = 0; round < 3; ++round) {
            line.worker.addJob(id);
            QTRY_VERIFY_WITH_TIMEOUT(jobstate::isFinal(line.jobs.find(id)->state), 30000);
            QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
            QCOMPARE(line.jobs.find(id)->state, std::string("FAILED"));
            QVERIFY(!line.jobs.find(id)->message.empty());
            line.jobs.move(id, {jobstate::kFailed}, jobstate::kSubmitted);
        }
    }

    void jobThatIsTakenUpAgainDoesNotPassOverWhatFailedBefore()
    {
        QTemporaryDir card;
        const QString copies = m_media.filePath(s("not yet"));
        QVERIFY(QFile::copy(QString::fromStdString(m_one), card.filePath(s("a.wav"))));
        Line line(m_media.path(), {PipelineBench::copyTo(copies)});
        JobRecord job;
        job.manual = true;
        job.path = card.path().toStdString();
        job.profile = "p";
        job.state = jobstate::kSubmitted;
        const auto id = line.jobs.create(job);
        for (const char* state : {"FAILED", "FAILED", "COMPLETED"}) {
            if (QByteArray(state) == "COMPLETED")
                QVERIFY(QDir().mkdir(copies));
            line.worker.addJob(id);
            QTRY_VERIFY_WITH_TIMEOUT(jobstate::isFinal(line.jobs.find(id)->state), 30000);
            QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
            QCOMPARE(line.jobs.find(id)->state, std::string(state));
            // As at the start after a crash: nobody told the clips to be tried again.
            line.jobs.move(id, {jobstate::kFailed}, jobstate::kSubmitted);
        }
        QCOMPARE(line.outputs.list(id).size(), std::size_t(1));
    }

    void jobThatIsCancelledAndSubmittedAgainAndAgainIsCompleted()
    {
        QTemporaryDir card;
        for (int i = 0; i < 6; ++i)
            QVERIFY(
                QFile::copy(QString::fromStdString(m_one), card.filePath(QStringLiteral("%1.wav").arg(i))));
        Line line(m_media.path());
        const auto id = line.submit(card.path());
        line.worker.addJob(id);
        for (int round = 0; round < 20; ++round) {
            QTRY_VERIFY_WITH_TIMEOUT(line.jobs.find(id)->state != jobstate::kSubmitted, 30000);
            if (line.jobs.move(id, {jobstate::kRunning}, jobstate::kCancelled))
                line.worker.cancelJob(id, false);
            QVERIFY(line.jobs.find(id)->state != jobstate::kFailed);
            if (line.jobs.move(id, {jobstate::kCancelled}, jobstate::kSubmitted))
                line.worker.addJob(id);
        }
        QTRY_COMPARE_WITH_TIMEOUT(line.jobs.find(id)->state, std::string("COMPLETED"), 30000);
        QCOMPARE(line.outputs.list(id).size(), std::size_t(6));
        QVERIFY(line.errors.list().empty());
    }

    void whatHasNoVolumeWaitsAndGoesOnByItself()
    {
        const QString volume = m_media.filePath(s("away"));
        ActivityRecipe transcode;
        transcode.element =
            "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + volume.toStdString() +
            "/</filesystemVideoVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        const std::string waiting = "waiting for the volume " + volume.toStdString();
        Line line(m_media.path(), {transcode});
        const auto isWaiting = [&](const std::string& path) {
            for (const auto& job : line.jobs.list(false)) {
                if (job.path == path)
                    return job.state == jobstate::kSubmitted && job.message == waiting;
            }
            return false;
        };
        line.worker.addFile("f000001", m_one);
        QTRY_VERIFY_WITH_TIMEOUT(isWaiting(m_one), 30000);
        const std::string job = line.submit(QString::fromStdString(m_two));
        line.worker.addJob(job);
        QTRY_VERIFY_WITH_TIMEOUT(isWaiting(m_two), 30000);
        // Said once, of the first.
        const auto all = line.errors.list();
        QCOMPARE(int(std::count(all.begin(), all.end(), m_one + " is " + waiting)), 1);
        QCOMPARE(int(all.size()), 1);
        QVERIFY(line.ended.empty());
        // However often it is tried, it waits since the first time.
        const auto sinceAfterATry = [&] {
            const auto version = line.board.version();
            [&] { QTRY_VERIFY_WITH_TIMEOUT(line.board.version() > version, 30000); }();
            [&] { QTRY_COMPARE_WITH_TIMEOUT(line.newsOf(m_one).stage, ClipStage::Waiting, 30000); }();
            return line.book.list({}).clips.at(0).since;
        };
        const auto since = sinceAfterATry();
        // Nanoseconds, which the two clocks read one after the other may differ by; between two tries is
        // more.
        QVERIFY(qAbs(sinceAfterATry() - since) < 400000000);
        // Another run of the service has it said anew, and leaves the rest as it is.
        line.errors.add("/a is not offered: a text");
        Worker another({line.folders, line.profiles, line.jobs, line.errors, line.book}, line.pipeline,
                       [](const std::string&, const std::string&, const std::optional<FileStamp>&) {});
        another.start(1);
        QCOMPARE(line.errors.list(), std::vector<std::string>{"/a is not offered: a text"});
        line.errors.remove("/a is not offered: a text");

        // One of them is given up; the other goes on when the volume is there.
        QVERIFY(line.jobs.move(job, {jobstate::kSubmitted}, jobstate::kCancelled));
        line.worker.cancelJob(job, false);
        QVERIFY(QDir().mkpath(volume));
        QVERIFY(line.waitForEnds(1));
        QCOMPARE(line.ended.front(), std::make_pair(m_one, true));
        QCOMPARE(int(line.listed().size()), 1);
        QVERIFY(line.errors.list().empty());
        QCOMPARE(line.jobs.find(job)->state, std::string(jobstate::kCancelled));
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
    }
};

QTEST_GUILESS_MAIN(TestServiceQueue)
#include "test_service_queue.moc"
