#include "QueueLine.h"

#include "files/VolumeTurn.h"

#include <QDateTime>
#include <QDir>
#include <QScopeGuard>
#include <QTest>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

using Line = QueueLine;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// What clients do not want any more, and what the end of the service is not to be taken for.
class TestServiceCallOff : public QObject
{
    Q_OBJECT

    QueueMedia m_sounds;
    const QTemporaryDir& m_media = m_sounds.folder;
    const std::string& m_one = m_sounds.one;
    const std::string& m_two = m_sounds.two;

private slots:
    void initTestCase() { QVERIFY(m_sounds.make()); }

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
};

QTEST_GUILESS_MAIN(TestServiceCallOff)
#include "test_service_calloff.moc"
