#include "PipelineBench.h"
#include "TestFiles.h"

#include "base/FileTools.h"
#include "media/ClipMemory.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using TestFiles::content;

namespace {

using End = FileResult::End;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// Makes the database refuse a change, as a full disk does, until lifted.
class Refusing
{
public:
    Refusing(Database& database, const std::string& change)
        : m_database(database)
    {
        database.execute("CREATE TEMP TRIGGER refusing BEFORE " + change +
                         " BEGIN SELECT RAISE(FAIL, 'database or disk is full'); END");
    }
    void lift() { m_database.execute("DROP TRIGGER refusing"); }

private:
    Database& m_database;
};

std::string toState(const char* state)
{
    return std::string("UPDATE ON clips WHEN NEW.state='") + state + "'";
}

} // namespace

/// One clip, one record: what holds when something fails between two steps.
class TestServiceState : public QObject
{
    Q_OBJECT

    QTemporaryDir m_media;
    std::string m_wave;
    std::unique_ptr<PipelineBench> m_bench;

    /// A sound with a hole, so large that only samples of it are read.
    std::string longTake() const
    {
        const std::string path = m_bench->folder.path().toStdString() + "/long.wav";
        QByteArray header = content(m_wave).left(44);
        for (int i = 0; i < 4; ++i) {
            header[4 + i] = static_cast<char>(0xFF);
            header[40 + i] = static_cast<char>(0xFF);
        }
        QFile file(QString::fromStdString(path));
        if (!file.open(QIODevice::WriteOnly) || file.write(header) != header.size() ||
            !file.resize(filetools::kLargestReadWhole + qint64{100} * 1024 * 1024))
            return {};
        return path;
    }
    /// Writes a byte between the samples; size and time stay what they were.
    static bool alter(const std::string& path)
    {
        struct stat before
        {
        };
        const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
        const bool written =
            ::fstat(file, &before) == 0 && ::pwrite(file, "x", 1, off_t{1000} * 1000 * 1000) == 1;
        const timespec times[2] = {before.st_atim, before.st_mtim};
        ::futimens(file, times);
        ::close(file);
        return written;
    }
    /// A directory in the place of the document's final name: renaming fails.
    QString block(std::int64_t id) const
    {
        const QString place = m_bench->folder.filePath(
            s("output/f000001/%1").arg(QString::fromStdString(OutputArea::fileName(id, m_wave))));
        return QDir().mkpath(place + s("/x")) ? place : QString();
    }

    /// With nothing in its place, the document comes, once.
    void offersOnceWithout(const QString& place)
    {
        QVERIFY(QDir(place).removeRecursively());
        m_bench->pipeline.publishRest();
        QCOMPARE(m_bench->listed().size(), std::size_t(1));
        QCOMPARE(m_bench->clips.inState(ClipState::Offered).size(), std::size_t(1));
    }

    /// Work on the files up to their documents, as the queue does it for clips without actions.
    std::vector<std::shared_ptr<ReadyClip>> ready(int count)
    {
        std::vector<std::shared_ptr<ReadyClip>> clips;
        for (int i = 0; i < count; ++i) {
            const QString path = m_bench->folder.filePath(s("g%1.wav").arg(i));
            if (!QFile::exists(path))
                QFile::copy(QString::fromStdString(m_wave), path);
            FileOrder order = m_bench->order(path.toStdString());
            order.mayBeGrouped = true;
            const auto result = m_bench->pipeline.process(order);
            if (result.end == End::Ready)
                clips.push_back(result.ready);
        }
        return clips;
    }

    bool offerAndTake(const QString& path)
    {
        QFile::copy(QString::fromStdString(m_wave), path);
        m_bench->pipeline.process(m_bench->order(path.toStdString()));
        for (const auto& output : m_bench->listed())
            ::unlink(output.c_str());
        m_bench->pipeline.noteTaken();
        return m_bench->clips.inState(ClipState::Taken).size() == 1;
    }
    /// Looks on a day, counted from some day on; true when the clip is forgotten.
    bool pruneAfter(int days)
    {
        constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000 * 1000000;
        m_bench->pipeline.prune((1000 + days) * kDay, makeCancelToken());
        return m_bench->clips.inState(ClipState::Taken).empty();
    }

private slots:
    void initTestCase()
    {
        const QString file = m_media.filePath(s("a.wav"));
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-bitexact"), s("-f"), s("lavfi"),
                                                 s("-i"), s("sine=d=0.1"), s("-bitexact"), file}),
                 0);
        m_wave = file.toStdString();
    }
    void init() { m_bench = std::make_unique<PipelineBench>(); }
    void cleanup() { m_bench.reset(); }

    void documentThatCannotGetItsNameKeepsPublishingUntilItCan()
    {
        PipelineBench& bench = *m_bench;
        const QString place = block(1);
        QVERIFY(!place.isEmpty());
        const auto result = bench.pipeline.process(bench.order(m_wave));
        QVERIFY(result.end == End::Publishing);
        QVERIFY(bench.listed().empty());
        QCOMPARE(bench.clips.inState(ClipState::Publishing).size(), std::size_t(1));
        // The file needs no look, the document does.
        QVERIFY(result.stamp && bench.clips.known("f000001").count(m_wave) == 1);
        bench.pipeline.publishRest();
        QVERIFY(bench.listed().empty());
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        offersOnceWithout(place);
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Known);
    }

    void documentThatCouldNotGetItsNameGetsItAfterARestart()
    {
        PipelineBench& bench = *m_bench;
        const QString place = block(1);
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Publishing);
        bench.pipeline.recover();
        QCOMPARE(bench.clips.inState(ClipState::Publishing).size(), std::size_t(1));
        QVERIFY(QDir(place).removeRecursively());
        bench.pipeline.recover();
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(1));
    }

    void documentWhoseDirectoryIsAwayKeepsPublishing()
    {
        PipelineBench& bench = *m_bench;
        const QString place = block(1);
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Publishing);
        const QString directory = bench.folder.filePath(s("output/f000001"));
        const QString away = bench.folder.filePath(s("away"));
        QVERIFY(QDir().rename(directory, away));
        bench.pipeline.publishRest();
        bench.pipeline.recover();
        QCOMPARE(bench.clips.inState(ClipState::Publishing).size(), std::size_t(1));
        QVERIFY(QDir().rename(away, directory));
        offersOnceWithout(place);
    }

    void documentOutOfSightForARemovalThatIsRefusedKeepsPublishing()
    {
        PipelineBench& bench = *m_bench;
        const QString place = block(1);
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Publishing);
        bench.errors.takeAll();
        bench.outputs.beginRemoval("f000001");
        bench.pipeline.publishRest();
        // Another clip makes the directory anew meanwhile.
        QVERIFY(QDir().mkpath(bench.folder.filePath(s("output/f000001"))));
        bench.pipeline.publishRest();
        QCOMPARE(bench.clips.inState(ClipState::Publishing).size(), std::size_t(1));
        QVERIFY(bench.errors.list().empty());
        bench.outputs.undoRemoval("f000001");
        offersOnceWithout(place);
    }

    void databaseThatFailsBetweenAnyTwoStepsOffersTheClipOnce_data()
    {
        QTest::addColumn<QString>("change");
        QTest::newRow("the record is made") << s("INSERT ON clips");
        QTest::newRow("work begins") << QString::fromStdString(toState("acting"));
        QTest::newRow("the document is about to get its name")
            << QString::fromStdString(toState("publishing"));
        QTest::newRow("the document has its name") << QString::fromStdString(toState("offered"));
    }
    void databaseThatFailsBetweenAnyTwoStepsOffersTheClipOnce()
    {
        QFETCH(QString, change);
        PipelineBench& bench = *m_bench;
        Refusing refusing(bench.database, change.toStdString());
        for (int i = 0; i < 3; ++i)
            QVERIFY_EXCEPTION_THROWN(bench.pipeline.process(bench.order(m_wave)), DatabaseError);
        refusing.lift();
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QCOMPARE(
            QDir(bench.folder.filePath(s("output/f000001"))).entryList(QDir::Files | QDir::Hidden).size(), 1);
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(1));
        QVERIFY(content(bench.listed()[0])
                    .contains(QByteArray::fromStdString(bench.clips.inState(ClipState::Offered)[0].guid)));
    }

    void clipsWithoutActionsArePublishedTogether()
    {
        PipelineBench& bench = *m_bench;
        const auto clips = ready(5);
        QCOMPARE(clips.size(), std::size_t(5));
        QVERIFY(bench.listed().empty());
        for (const auto& result : bench.pipeline.publishTogether(clips))
            QVERIFY(result.end == End::Offered && result.stamp);
        QCOMPARE(bench.listed().size(), std::size_t(5));
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(5));
        QVERIFY(ready(5).empty());
        // One that has actions is not held up.
        FileOrder order = bench.order(m_wave);
        order.mayBeGrouped = true;
        order.profile.activities = {PipelineBench::copyTo(m_media.path() + s("/nowhere"))};
        QVERIFY(bench.pipeline.process(order).end == End::Failed);
    }

    void oneClipOfAGroupThatCannotBePublishedHoldsUpNoOther()
    {
        PipelineBench& bench = *m_bench;
        const auto clips = ready(3);
        const QString blocked = bench.folder.filePath(s("output/f000001/2-g1.wav.xel"));
        QVERIFY(QDir().mkpath(blocked + s("/x")));
        const auto results = bench.pipeline.publishTogether(clips);
        QVERIFY(results[0].end == End::Offered);
        QVERIFY(results[1].end == End::Publishing);
        QVERIFY(results[2].end == End::Offered);
        QVERIFY(QDir(blocked).removeRecursively());
        bench.pipeline.publishRest();
        QCOMPARE(bench.listed().size(), std::size_t(3));
    }

    void groupWhoseFolderIsRemovedLeavesNothing()
    {
        PipelineBench& bench = *m_bench;
        const auto clips = ready(3);
        QVERIFY(bench.folders.remove("f000001"));
        for (const auto& result : bench.pipeline.publishTogether(clips))
            QVERIFY(result.end == End::Later && !result.stamp);
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.errors.list().empty());
        QVERIFY(
            QDir(bench.folder.filePath(s("output/f000001"))).entryList(QDir::Files | QDir::Hidden).isEmpty());
    }

    void databaseThatFailsBetweenTwoStepsOfAGroupOffersItOnce_data()
    {
        databaseThatFailsBetweenAnyTwoStepsOffersTheClipOnce_data();
    }
    void databaseThatFailsBetweenTwoStepsOfAGroupOffersItOnce()
    {
        QFETCH(QString, change);
        PipelineBench& bench = *m_bench;
        Refusing refusing(bench.database, change.toStdString());
        QVERIFY_EXCEPTION_THROWN(bench.pipeline.publishTogether(ready(3)), DatabaseError);
        refusing.lift();
        bench.pipeline.publishTogether(ready(3));
        for (int i = 0; i < 3; ++i)
            bench.pipeline.process(bench.order(bench.folder.filePath(s("g%1.wav").arg(i)).toStdString()));
        QCOMPARE(bench.listed().size(), std::size_t(3));
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(3));
        QCOMPARE(
            QDir(bench.folder.filePath(s("output/f000001"))).entryList(QDir::Files | QDir::Hidden).size(), 3);
    }

    void clipTakenBeforeItWasNotedAsOfferedIsNotOfferedAgain()
    {
        PipelineBench& bench = *m_bench;
        Refusing refusing(bench.database, toState("offered"));
        QVERIFY_EXCEPTION_THROWN(bench.pipeline.process(bench.order(m_wave)), DatabaseError);
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QCOMPARE(::unlink(bench.listed()[0].c_str()), 0);
        QVERIFY_EXCEPTION_THROWN(bench.pipeline.process(bench.order(m_wave)), DatabaseError);
        refusing.lift();
        bench.pipeline.process(bench.order(m_wave));
        QVERIFY(bench.listed().empty());
        bench.pipeline.recover();
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Known);
    }

    void recordThatLagsBehindTheDiskCatchesUp()
    {
        PipelineBench& bench = *m_bench;
        for (const bool restart : {true, false}) {
            const auto path = bench.folder.path().toStdString() + (restart ? "/r.wav" : "/p.wav");
            QVERIFY(QFile::copy(QString::fromStdString(m_wave), QString::fromStdString(path)));
            QVERIFY(bench.pipeline.process(bench.order(path)).end == End::Offered);
            const auto before = bench.listed();
            const auto inode = filetools::stampOf(before.back())->inode;
            // The last commits were lost.
            bench.database.execute("UPDATE clips SET state='acting' WHERE path='" + path + "'");
            if (restart)
                bench.pipeline.recover();
            else
                QVERIFY(bench.pipeline.process(bench.order(path)).end == End::Offered);
            QCOMPARE(bench.listed(), before);
            // The host may be reading it: it is that document, not another of its name.
            QCOMPARE(filetools::stampOf(before.back())->inode, inode);
            QVERIFY(bench.clips.inState(ClipState::Acting).empty());
        }
    }

    void finishedActionsAreNotDoneAgain()
    {
        PipelineBench& bench = *m_bench;
        const QString first = bench.folder.filePath(s("first"));
        const QString second = bench.folder.filePath(s("second"));
        QVERIFY(QDir().mkdir(first));
        FileOrder order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(first), PipelineBench::copyTo(second, true)};
        QVERIFY(bench.pipeline.process(order).end == End::Failed);
        QVERIFY(QFile::remove(first + s("/a.wav")));
        QVERIFY(QDir().mkdir(second));
        bench.clips.retry("f000001");
        QVERIFY(bench.pipeline.process(order).end == End::Offered);
        QVERIFY(!QFile::exists(first + s("/a.wav")));
        QVERIFY(content(bench.listed()[0]).contains("<path>" + second.toUtf8() + "/a.wav</path>"));
    }

    void workGoesOnBehindTheFinishedActionsAfterARestart()
    {
        PipelineBench& bench = *m_bench;
        const QString to = bench.folder.filePath(s("to"));
        QVERIFY(QDir().mkdir(to));
        for (const bool altered : {false, true}) {
            FileOrder order = bench.order(m_wave);
            order.profile.activities = {PipelineBench::copyTo(to, true),
                                        PipelineBench::copyTo(bench.folder.filePath(s("away")))};
            QVERIFY(bench.pipeline.process(order).end == End::Failed);
            bench.clips.retry("f000001");
            bench.pipeline.recover();
            QCOMPARE(bench.clips.inState(ClipState::Waiting).size(), std::size_t(1));
            QFile copy(to + s("/a.wav"));
            if (altered) {
                QVERIFY(copy.open(QIODevice::Append));
                copy.write("x");
                copy.close();
            }
            // What was made is the clip, unless somebody touched it: then it is made anew.
            order.profile.activities.pop_back();
            QVERIFY(bench.pipeline.process(order).end == End::Offered);
            const QByteArray linked = to.toUtf8() + (altered ? "/a (2).wav" : "/a.wav");
            QVERIFY(content(bench.listed()[0]).contains("<path>" + linked + "</path>"));
            QCOMPARE(QDir(to).entryList(QDir::Files).size(), altered ? 2 : 1);
            QCOMPARE(::unlink(bench.listed()[0].c_str()), 0);
            bench.clips.forgetAll("f000001");
        }
    }

    void anotherProfileBeginsAtItsFirstAction()
    {
        PipelineBench& bench = *m_bench;
        const QString first = bench.folder.filePath(s("first"));
        const QString other = bench.folder.filePath(s("other"));
        QVERIFY(QDir().mkdir(first) && QDir().mkdir(other));
        FileOrder order = bench.order(m_wave);
        order.profile.id = "one";
        order.profile.activities = {PipelineBench::copyTo(first),
                                    PipelineBench::copyTo(bench.folder.filePath(s("away")))};
        QVERIFY(bench.pipeline.process(order).end == End::Failed);
        bench.clips.retry("f000001");
        order.profile.id = "two";
        order.profile.activities = {PipelineBench::copyTo(other)};
        QVERIFY(bench.pipeline.process(order).end == End::Offered);
        QVERIFY(QFile::exists(other + s("/a.wav")));
    }

    void whatFinishedActionsMadeIsStillKnownWhenALaterOneIsTriedAgain()
    {
        PipelineBench& bench = *m_bench;
        const QString first = bench.folder.filePath(s("first"));
        const QString second = bench.folder.filePath(s("second"));
        QVERIFY(QDir().mkpath(first));
        auto order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(first), PipelineBench::copyTo(second)};
        order.profile.activities[0].name = "One";
        order.profile.activities[1].name = "Two";
        QVERIFY(bench.pipeline.process(order).end == End::Failed);
        // Nobody makes it again: what is finished stays finished.
        QVERIFY(QFile::remove(first + s("/a.wav")) && QDir().mkpath(second));
        bench.clips.retry("f000001");
        // As after a restart: nothing but the database tells what was made.
        Pipeline other(bench.database, bench.clips, bench.errors, bench.outputs);
        QVERIFY(other.process(order).end == End::Offered);
        QVERIFY(!QFile::exists(first + s("/a.wav")));
        Clip clip;
        QVERIFY(clipmemory::read(bench.clips.inState(ClipState::Offered).at(0).made, clip));
        QCOMPARE(clip.activities.size(), std::size_t(2));
        QCOMPARE(clip.activities[0].name, std::string("One"));
        QCOMPARE(clip.activities[0].check, std::string("verified"));
        QCOMPARE(clip.activities[0].made.at(0).path, first.toStdString() + "/a.wav");
        QCOMPARE(clip.activities[0].made[0].checksum, clip.source.checksum);
        QCOMPARE(clip.activities[1].name, std::string("Two"));
        QCOMPARE(clip.activities[1].made.at(0).path, second.toStdString() + "/a.wav");
    }

    void partOfAClipThatIsGoneIsMadeAgain()
    {
        PipelineBench& bench = *m_bench;
        const QString first = bench.folder.filePath(s("first"));
        const QString second = bench.folder.filePath(s("second"));
        QVERIFY(QDir().mkpath(first));
        auto order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(first), PipelineBench::copyTo(second)};
        QVERIFY(bench.pipeline.process(order).end == End::Failed);
        ClipRecord record = bench.clips.inState(ClipState::Failed).at(0);
        Clip clip;
        QVERIFY(clipmemory::read(record.made, clip));
        clip.parts = {
            {"sound", {bench.folder.path().toStdString() + "/sound.wav", {7, 8, 0, 0}, "xxh3-64:1"}}};
        bench.clips.retry("f000001");
        QVERIFY(bench.clips.begin(record, [](std::int64_t) { return std::string(); }));
        record.made = clipmemory::write(clip);
        QVERIFY(bench.clips.acted(record) && bench.clips.wait(record.id));
        QVERIFY(QFile::remove(first + s("/a.wav")) && QDir().mkpath(second));
        QVERIFY(bench.pipeline.process(order).end == End::Offered);
        QVERIFY(QFile::exists(first + s("/a.wav")));
    }

    void memoryOfAClipHoldsAllOfIt()
    {
        Clip clip;
        clip.source = {"/in/a <&\"'.mov", {1, 2, 3, 4}, "xxh3-64:1"};
        clip.media.kind = "video";
        clip.media.timecode = "01:00:00:00";
        clip.media.timeReference = "0";
        StreamFacts stream;
        stream.type = "audio";
        stream.sampleRate = 48000;
        stream.tag = "apch";
        stream.isCover = true;
        clip.media.streams = {stream, stream};
        constexpr std::int64_t kLast = 999999999999999999;
        clip.sequence = SequenceFacts{"/in", {}, ".dpx", 4, 0, kLast, {{0, 3}, {kLast, kLast}}};
        clip.sidecars = {clip.source};
        clip.parts = {{"picture", clip.source}, {"sound", clip.source}};
        clip.link.audioStart = 0;
        clip.link.audioStartRate = 48000;
        clip.link.startTimecode = "00:00:00;02";
        clip.activities = {{"copy", "Copy", "verified", {clip.source, clip.source}, {"a", "b"}}};
        const std::string text = clipmemory::write(clip);
        Clip again;
        QVERIFY(clipmemory::read(text, again));
        QCOMPARE(clipmemory::write(again), text);
        QCOMPARE(again.source.path, clip.source.path);
        QVERIFY(again.source.stamp.isUntouched(clip.source.stamp));
        QCOMPARE(again.sequence->lastNumber, clip.sequence->lastNumber);
        QVERIFY(again.link.audioStart && *again.link.audioStart == 0);
        QCOMPARE(again.media.streams.at(1).sampleRate, 48000);
        QCOMPARE(again.media.streams.at(1).tag, std::string("apch"));
        QVERIFY(again.media.streams.at(1).isCover);
        QCOMPARE(again.activities.at(0).notes.at(1), std::string("b"));
        QVERIFY(!clipmemory::read("<made><source", again));
        QVERIFY(!clipmemory::read("<other/>", again));
    }

    void documentsOfADirectoryThatIsAwayAreNotTaken()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        const QString place = bench.folder.filePath(s("output/f000001"));
        const QString away = bench.folder.filePath(s("away"));
        QVERIFY(QDir().rename(place, away));
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.outputs.readyFolders().empty());
        bench.pipeline.noteTaken();
        QVERIFY(QDir().rename(away, place));
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QCOMPARE(bench.outputs.readyFolders(), std::vector<std::string>{"f000001"});
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(1));
    }

    void directoryThatIsAwayAtTheStartTakesNothingAlong()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        const QString place = bench.folder.filePath(s("output/f000001"));
        const QString away = bench.folder.filePath(s("away"));
        QVERIFY(QDir().rename(place, away));
        bench.pipeline.recover();
        QVERIFY(bench.listed().empty());
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(1));
        QVERIFY(QDir().rename(away, place));
        QCOMPARE(bench.listed().size(), std::size_t(1));
    }

    void clipTakenWhileNobodyLookedIsNotedAtTheStart()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        QCOMPARE(::unlink(bench.listed()[0].c_str()), 0);
        bench.pipeline.recover();
        QCOMPARE(bench.clips.inState(ClipState::Taken).size(), std::size_t(1));
    }

    void takenClipsAreNoted()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        bench.pipeline.noteTaken();
        QVERIFY(bench.clips.inState(ClipState::Taken).empty());
        QCOMPARE(::unlink(bench.listed()[0].c_str()), 0);
        bench.pipeline.noteTaken();
        QCOMPARE(bench.clips.inState(ClipState::Taken).size(), std::size_t(1));
    }

    void changeBetweenTheSamplesOfALongTakeIsNewThoughItsTimeWasPutBack()
    {
        PipelineBench& bench = *m_bench;
        const std::string take = longTake();
        QVERIFY(!take.empty());
        QVERIFY(bench.pipeline.process(bench.order(take)).end == End::Offered);
        QVERIFY(bench.pipeline.process(bench.order(take)).end == End::Known);
        const auto before = filetools::stampOf(take);
        QVERIFY(alter(take));
        // What the watcher sees: the same size and time, and yet touched.
        QVERIFY(filetools::stampOf(take) == before);
        QVERIFY(!bench.clips.known("f000001").at(take).isUntouched(*filetools::stampOf(take)));
        QVERIFY(bench.pipeline.process(bench.order(take)).end == End::Offered);
        QCOMPARE(bench.listed().size(), std::size_t(2));
        QVERIFY(bench.pipeline.process(bench.order(take)).end == End::Known);
    }

    void filesThatAreGoneAreForgottenAfterThirtyDays()
    {
        const QString path = m_bench->folder.filePath(s("gone.wav"));
        QVERIFY(offerAndTake(path));
        const auto isKept = [&](int first, int last) {
            for (int day = first; day <= last; ++day) {
                if (pruneAfter(day))
                    return false;
            }
            return true;
        };
        QVERIFY(isKept(0, 0));
        QVERIFY(QFile::remove(path));
        QVERIFY(isKept(1, 30));
        // It was back for a while.
        QVERIFY(QFile::copy(QString::fromStdString(m_wave), path));
        QVERIFY(isKept(31, 40));
        QVERIFY(QFile::remove(path));
        QVERIFY(isKept(41, 71));
        QVERIFY(pruneAfter(72));
    }

    // A machine that begins in 1970 and learns the time later, or was switched off for a year.
    void clocksThatJumpForgetNothing_data()
    {
        QTest::addColumn<int>("jump"); // days
        QTest::newRow("on to the right time") << 20000;
        QTest::newRow("switched off for a year") << 365;
        QTest::newRow("back to the right time") << -700;
        QTest::newRow("back before 1970") << -1500;
    }
    void clocksThatJumpForgetNothing()
    {
        QFETCH(int, jump);
        const QString path = m_bench->folder.filePath(s("away.wav"));
        QVERIFY(offerAndTake(path) && QFile::remove(path));
        for (const int day : {0, 1, jump, jump + 1})
            QVERIFY(!pruneAfter(day));
        int days = 0;
        while (days < 100 && !pruneAfter(jump + 2 + days))
            ++days;
        QVERIFY2(days > 25 && days < 31, qPrintable(QString::number(days)));
    }

    void filesRightInAMountThatIsAwayAreNotForgotten()
    {
        PipelineBench& bench = *m_bench;
        const QString mount = bench.folder.filePath(s("mount"));
        const QString path = mount + s("/a.wav");
        QVERIFY(QDir().mkpath(mount) && QFile::copy(QString::fromStdString(m_wave), path));
        const auto order = bench.order(path.toStdString());
        QVERIFY(bench.pipeline.process(order).end == End::Offered);
        QCOMPARE(::unlink(bench.listed()[0].c_str()), 0);
        bench.pipeline.noteTaken();
        // What is left of a mount that is away is its empty place.
        const QString away = bench.folder.filePath(s("away"));
        QVERIFY(QDir().rename(mount, away) && QDir().mkpath(mount));
        constexpr std::int64_t kDay = 24LL * 60 * 60 * 1000 * 1000000;
        for (const int day : {1000, 1031, 1100})
            bench.pipeline.prune(day * kDay, makeCancelToken());
        QVERIFY(QDir().rmdir(mount) && QDir().rename(away, mount));
        QVERIFY(bench.pipeline.process(order).end == End::Known);
        QVERIFY(bench.listed().empty());
    }

    void removalThatACrashInterruptedIsEndedOrUndoneAsTheRecordsSay()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        bench.outputs.beginRemoval("f000001");
        QVERIFY(bench.listed().empty());
        // The records are there still: nothing was removed.
        bench.pipeline.recover();
        QCOMPARE(bench.listed().size(), std::size_t(1));
        bench.outputs.beginRemoval("f000001");
        bench.clips.forgetAll("f000001");
        bench.pipeline.recover();
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.errors.list().empty());
        QCOMPARE(QDir(bench.folder.filePath(s("output")))
                     .entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{s("jobs")});
    }

    void removalThatWasNotEndedLosesNothingToTheNextOne()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        bench.outputs.beginRemoval("f000001");
        const QString other = bench.folder.filePath(s("other.wav"));
        QVERIFY(QFile::copy(QString::fromStdString(m_wave), other));
        QVERIFY(bench.pipeline.process(bench.order(other.toStdString())).end == End::Offered);
        bench.outputs.beginRemoval("f000001");
        QVERIFY(bench.listed().empty());
        bench.outputs.undoRemoval("f000001");
        QCOMPARE(bench.listed().size(), std::size_t(2));
        bench.outputs.beginRemoval("f000001");
        bench.outputs.endRemoval("f000001");
        bench.outputs.undoRemoval("f000001");
        QVERIFY(bench.listed().empty());
    }

    void checkerFindsWhatMustNotBe()
    {
        PipelineBench& bench = *m_bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == End::Offered);
        QCOMPARE(bench.faults(), QStringList());
        const auto breaks = [&](const char* how, const char* word) {
            {
                Transaction transaction(bench.database);
                bench.database.execute(how);
                if (bench.faults().filter(s(word)).size() != 1)
                    return false;
            } // rolled back
            return bench.faults().isEmpty();
        };
        QVERIFY(breaks("UPDATE clips SET owner='f000009'", "no owner"));
        QVERIFY(breaks("UPDATE clips SET state='taken'", "whose clip is taken"));
        QVERIFY(breaks("DELETE FROM clips", "has no clip"));
        QVERIFY(breaks("UPDATE clips SET guid='x'", "another identifier"));
        QVERIFY(breaks("UPDATE clips SET state='lost'", "state that there is not"));
        QVERIFY(breaks("UPDATE clips SET output=''", "does not know its name"));
        QVERIFY(breaks("UPDATE clips SET scratch='/x'", "unfinished file"));
        QVERIFY(breaks("INSERT INTO jobs(id, manual, path, profile, group_id, group_name, state) "
                       "VALUES('j1', 0, '/a', 'p', 'f000009', 'n', 'FAILED')",
                       "has no folder"));
        const std::string output = bench.listed()[0];
        const QByteArray whole = content(output);
        QCOMPARE(::truncate(output.c_str(), whole.size() / 2), 0);
        QCOMPARE(bench.faults().filter(s("no whole document")).size(), 1);
        QCOMPARE(::unlink(output.c_str()), 0);
    }
};

QTEST_GUILESS_MAIN(TestServiceState)
#include "test_service_state.moc"
