#include "PipelineBench.h"
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

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// Whose turn it is: files and jobs side by side, never the same one twice.
class TestServiceQueue : public QObject
{
    Q_OBJECT

    QTemporaryDir m_media;
    std::string m_one;
    std::string m_two;

    /// A worker on two threads whose ends of work can be held up.
    struct Line : PipelineBench
    {
        JobStore jobs{database};
        ProfileStore profiles{database};
        std::mutex mutex;
        std::condition_variable changed;
        std::set<std::string> held;                      ///< files at whose end the thread waits
        std::vector<std::pair<std::string, bool>> ended; ///< path, and whether its work is done
        ChangeBoard board;
        ClipBook book{database, board};
        Worker worker{{folders, profiles, jobs, errors, book},
                      pipeline,
                      [this](const std::string&, const std::string& path,
                             const std::optional<FileStamp>& stamp) { fileDone(path, stamp.has_value()); }};

        explicit Line(const QString& watched, const std::vector<ActivityRecipe>& copies = {})
        {
            std::string activities;
            for (const auto& copy : copies)
                activities += !copy.element.empty()
                                  ? copy.element
                                  : "<activity id=\"copy\"><destinationDetail><filesystemPath>" +
                                        copy.destination + "</filesystemPath></destinationDetail></activity>";
            profiles.create({"p", "P",
                             "<profile><processDefinition><package><activities>" + activities +
                                 "</activities></package></processDefinition></profile>"});
            watch(watched);
            worker.start(2);
        }
        ~Line()
        {
            release();
            worker.stop();
        }
        void watch(const QString& directory)
        {
            FolderRecord record = *folders.find("f000001");
            record.path = record.canonical = directory.toStdString();
            record.profile = "p";
            record.enabled = true;
            folders.update(record);
        }
        /// Makes a manual job of \a directory. \return its id.
        std::string submit(const QString& directory)
        {
            JobRecord job;
            job.manual = true;
            job.path = directory.toStdString();
            job.profile = "p";
            job.state = jobstate::kSubmitted;
            return jobs.create(job);
        }
        void fileDone(const std::string& path, bool isDone)
        {
            std::unique_lock lock(mutex);
            ended.emplace_back(path, isDone);
            changed.notify_all();
            changed.wait(lock, [&] { return held.count(path) == 0; });
        }
        void release()
        {
            const std::lock_guard lock(mutex);
            held.clear();
            changed.notify_all();
        }
        /// The job for a file, whatever its state.
        std::optional<JobRecord> jobOf(const std::string& path)
        {
            for (const auto& job : jobs.list(false)) {
                if (job.path == path)
                    return job;
            }
            return std::nullopt;
        }
        /// What is told of a file.
        ClipNews newsOf(const std::string& path)
        {
            for (const auto& clip : book.list({}).clips) {
                if (clip.path == path)
                    return clip.news;
            }
            return {ClipStage::Gone, "nothing"};
        }
        bool waitForEnds(std::size_t count)
        {
            std::unique_lock lock(mutex);
            return changed.wait_for(lock, std::chrono::seconds(30), [&] { return ended.size() >= count; });
        }
    };

private slots:
    void initTestCase()
    {
        for (const char* name : {"one.wav", "two.wav"}) {
            const QString file = m_media.filePath(s(name));
            QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                     s("sine=d=0.1"), file}),
                     0);
        }
        m_one = m_media.filePath(s("one.wav")).toStdString();
        m_two = m_media.filePath(s("two.wav")).toStdString();
    }

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

    // Called off while it runs or waits, or its job is removed: it is not worked on again, however often its
    // file is touched, until somebody asks for that.
    void clipThatWasCalledOffStaysSoWhenItIsTouched_data()
    {
        QTest::addColumn<bool>("isRunning");
        QTest::addColumn<bool>("isRemoved");
        QTest::newRow("cancelled while it runs") << true << false;
        QTest::newRow("its job is removed while it runs") << true << true;
        QTest::newRow("cancelled while it waits") << false << false;
        QTest::newRow("its job is removed while it waits") << false << true;
    }
    void clipThatWasCalledOffStaysSoWhenItIsTouched()
    {
        QFETCH(bool, isRunning);
        QFETCH(bool, isRemoved);
        QTemporaryDir media;
        QTemporaryDir watched;
        const QString file = watched.filePath(s("a.wav"));
        QVERIFY(QFile::copy(QString::fromStdString(m_one), file));
        const std::string path = file.toStdString();
        const std::string volume = media.path().toStdString();
        ActivityRecipe transcode;
        transcode.element =
            "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + volume +
            "/</filesystemVideoVolume><filesystemAudioVolume>" + volume +
            "/</filesystemAudioVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        Line line(watched.path(), {transcode});
        // Its engine is never done, or somebody else writes to that volume, so that it waits for its turn.
        const auto end = qScopeGuard([] {
            VolumeTurn::treatAllAsSpinning(false);
            Ffmpeg::use({});
        });
        VolumeTurn::treatAllAsSpinning(!isRunning);
        Ffmpeg::use(isRunning ? std::vector<std::string>{"/bin/sh", "-c", "sleep 600", "/bin/sleep"}
                              : std::vector<std::string>());
        auto turn = std::make_unique<VolumeTurn>(volume);
        line.worker.addFile("f000001", path);
        const char* const wanted = isRunning ? jobstate::kRunning : jobstate::kSubmitted;
        QTRY_VERIFY_WITH_TIMEOUT(line.jobOf(path) && line.jobOf(path)->state == wanted &&
                                     line.newsOf(path).reason.find(isRunning ? "ranscode" : "aiting for") !=
                                         std::string::npos,
                                 30000);
        const std::string job = line.jobOf(path)->id;
        const bool isNoted = line.clips.giveUp("f000001", path);
        QCOMPARE(isNoted, !isRunning);
        if (isRemoved)
            line.jobs.remove(job);
        else
            QVERIFY(line.jobs.move(job, {wanted}, jobstate::kCancelled));
        line.worker.cancelJob(job, isNoted);
        QVERIFY(line.waitForEnds(1));
        turn.reset();
        VolumeTurn::treatAllAsSpinning(false);
        Ffmpeg::use({});
        const auto isRead = [&] {
            const auto clips = line.clips.inState(ClipState::Failed);
            return clips.size() == 1 && !ClipStore::isProvisional(clips.front().checksum);
        };
        QTRY_VERIFY_WITH_TIMEOUT(isRead(), 30000);
        // By these words a client tells it from what failed.
        const ClipEntry told = line.book.list({}).clips.at(0);
        QCOMPARE(told.news.stage, ClipStage::Failed);
        QCOMPARE(told.news.reason, std::string("Was cancelled"));
        QFile touched(file);
        QVERIFY(
            touched.open(QIODevice::ReadWrite) &&
            touched.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
        touched.close();
        line.worker.addFile("f000001", path);
        QVERIFY(line.waitForEnds(2));
        QVERIFY(line.ended.back().second);
        QVERIFY(line.listed().empty());
        QVERIFY(QDir(media.filePath(s("KRX Media"))).entryList({s("*.wav")}).isEmpty());
        line.clips.retry("f000001", path);
        line.worker.addFile("f000001", path);
        QVERIFY(line.waitForEnds(3));
        QCOMPARE(int(line.listed().size()), 1);
    }

    void whatTheEndOfTheServiceInterruptsIsNotCalledOff()
    {
        QTemporaryDir media;
        QTemporaryDir watched;
        const QString file = watched.filePath(s("a.wav"));
        QVERIFY(QFile::copy(QString::fromStdString(m_one), file));
        const std::string volume = media.path().toStdString();
        ActivityRecipe transcode;
        transcode.element =
            "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + volume +
            "/</filesystemVideoVolume><filesystemAudioVolume>" + volume +
            "/</filesystemAudioVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        Line line(watched.path(), {transcode});
        const auto end = qScopeGuard([] { Ffmpeg::use({}); });
        Ffmpeg::use({"/bin/sh", "-c", "sleep 600", "/bin/sleep"});
        line.worker.addFile("f000001", file.toStdString());
        QTRY_VERIFY_WITH_TIMEOUT(
            line.newsOf(file.toStdString()).reason.find("Transcode") != std::string::npos, 30000);
        line.worker.stop();
        QVERIFY(line.waitForEnds(1));
        QVERIFY(!line.ended.back().second);
        QVERIFY(line.clips.inState(ClipState::Failed).empty());
    }

    void fileOfAJobThatWasCancelledIsToldSo()
    {
        QTemporaryDir media;
        ActivityRecipe transcode;
        transcode.element =
            "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + media.path().toStdString() +
            "/</filesystemVideoVolume><filesystemAudioVolume>" + media.path().toStdString() +
            "/</filesystemAudioVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        Line line(m_media.path(), {transcode});
        const auto end = qScopeGuard([] { Ffmpeg::use({}); });
        Ffmpeg::use({"/bin/sh", "-c", "sleep 600", "/bin/sleep"});
        const std::string job = line.submit(QString::fromStdString(m_one));
        line.worker.addJob(job);
        QTRY_VERIFY_WITH_TIMEOUT(
            line.newsOf(m_one).stage == ClipStage::Acting && !line.newsOf(m_one).activity.empty(), 30000);
        QVERIFY(line.jobs.move(job, {jobstate::kRunning}, jobstate::kCancelled));
        line.worker.cancelJob(job, false);
        QTRY_VERIFY_WITH_TIMEOUT(!line.worker.isActive(), 30000);
        QCOMPARE(line.newsOf(m_one).stage, ClipStage::Failed);
        QCOMPARE(line.newsOf(m_one).reason, std::string("Was cancelled"));
        Ffmpeg::use({});
        line.clips.retry(job);
        QVERIFY(line.jobs.move(job, {jobstate::kCancelled}, jobstate::kSubmitted));
        line.worker.addJob(job);
        QTRY_COMPARE_WITH_TIMEOUT(line.jobs.find(job)->state, std::string(jobstate::kCompleted), 30000);
        QCOMPARE(line.newsOf(m_one).stage, ClipStage::Offered);
    }

    void whatWaitsAndIsCalledOffIsGivenBackAndNoLongerSaid()
    {
        const QString volume = m_media.filePath(s("never there"));
        ActivityRecipe transcode;
        transcode.element =
            "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + volume.toStdString() +
            "/</filesystemVideoVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        Line line(m_media.path(), {transcode});
        const auto waiting = [&] {
            std::vector<std::string> ids;
            for (const auto& job : line.jobs.list(false)) {
                if (job.state == jobstate::kSubmitted && !job.message.empty())
                    ids.push_back(job.id);
            }
            return ids;
        };
        line.worker.addFile("f000001", m_one);
        line.worker.addFile("f000001", m_two);
        QTRY_COMPARE_WITH_TIMEOUT(int(waiting().size()), 2, 30000);
        QCOMPARE(int(line.errors.list().size()), 1);
        std::size_t ended = 0;
        auto all = waiting();
        // The one that is named first.
        if (line.errors.list().front().rfind(line.jobs.find(all.front())->path + ' ', 0) != 0)
            std::swap(all.front(), all.back());
        for (const auto& job : all) {
            const std::string path = line.jobs.find(job)->path;
            QVERIFY(line.jobs.move(job, {jobstate::kSubmitted}, jobstate::kCancelled));
            line.clips.giveUp("f000001", path);
            line.worker.cancelJob(job, true);
            // It is named no more; when another waits, that one is.
            const std::string own = path + " is waiting for the volume " + volume.toStdString();
            const auto said = line.errors.list();
            QCOMPARE(int(std::count(said.begin(), said.end(), own)), 0);
            if (waiting().size() == 1)
                QTRY_COMPARE_WITH_TIMEOUT(int(line.errors.list().size()), 1, 30000);
            // Whoever watches it is told, so that its next content is seen.
            QVERIFY(line.waitForEnds(++ended));
            QVERIFY(line.ended.back().first == path && !line.ended.back().second);
        }
        QTRY_VERIFY_WITH_TIMEOUT(line.errors.list().empty(), 30000);
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
