#include "EngineBench.h"
#include "PalProxy.h"
#include "PipelineBench.h"
#include "TestFiles.h"
#include "activities/Activity.h"
#include "activities/CopyActivity.h"
#include "activities/Transcoder.h"
#include "engines/Child.h"

#include <QDir>
#include <QDirIterator>
#include <QScopeGuard>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <functional>
#include <thread>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// What becomes of a clip whose file, or whose destination, changes under the hands of an action.
class TestServiceChanges : public QObject
{
    Q_OBJECT

    EngineBench m_bench;
    QString m_volume;
    int m_count = 0;

    void nextVolume()
    {
        m_volume = m_bench.path(s("volume%1").arg(++m_count));
        QDir().mkpath(m_volume);
    }
    /// ProRes Proxy in PAL, which is quick, on a fresh volume.
    MediaOptions options()
    {
        nextVolume();
        return palProxy(m_volume.toStdString());
    }
    Clip clip(const QString& name) const { return m_bench.clipUnread(name); }
    /// All files below a folder but the index of what lies on a volume, hidden ones too.
    static QStringList allFiles(const QString& folder)
    {
        QStringList names;
        QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            files.next();
            if (files.fileName() != QLatin1String(".krx-index"))
                names << files.fileName();
        }
        return names;
    }
    /// While this lives ffmpeg stops before it begins, the change is made, and it goes on: with what was
    /// opened before.
    class Halt
    {
    public:
        explicit Halt(const std::function<void()>& change)
            : m_thread([this, change] {
                while (!m_isOver && !m_isDone) {
                    if (const pid_t halted = haltedChild(); halted > 0) {
                        change();
                        m_isDone = true;
                        ::kill(halted, SIGCONT);
                    }
                }
            })
        {
            Ffmpeg::use({"/bin/sh", "-c", "kill -STOP $$; exec \"$0\" \"$@\"", Child::find("ffmpeg")});
        }
        ~Halt()
        {
            m_isOver = true;
            m_thread.join();
            Ffmpeg::use({});
        }
        Halt(const Halt&) = delete;
        Halt& operator=(const Halt&) = delete;
        bool isDone() const { return m_isDone; }

    private:
        static pid_t haltedChild()
        {
            const QByteArray stopped = ") T " + QByteArray::number(QCoreApplication::applicationPid()) + ' ';
            for (const QString& process : QDir(s("/proc")).entryList({s("[1-9]*")}, QDir::Dirs)) {
                QFile file(s("/proc/%1/stat").arg(process));
                if (file.open(QIODevice::ReadOnly) && file.readAll().contains(stopped))
                    return process.toInt();
            }
            return 0;
        }

        std::atomic<bool> m_isOver{false};
        std::atomic<bool> m_isDone{false};
        std::thread m_thread;
    };

    static constexpr const char* kChanges[] = {
        "grows",
        "is cut off",
        "goes away",
        "is replaced",
        "is replaced by one of its size and time",
        "gets another content and its time back",
    };
    /// An action as a profile orders it, on a fresh volume.
    ActivityRecipe recipe(const QByteArray& id)
    {
        nextVolume();
        if (id == "copy")
            return PipelineBench::copyTo(m_volume, true);
        const QByteArray volume = QFile::encodeName(m_volume);
        const QByteArray picture = "<videoProjectType>PAL 25p</videoProjectType><videoColorSpace>YCbCr 601"
                                   "</videoColorSpace><videoRaster>720x576</videoRaster>"
                                   "<videoCompressionType name=\"X\">16777217</videoCompressionType>";
        ActivityRecipe recipe;
        recipe.id = id.toStdString();
        recipe.name = recipe.id;
        const QByteArray element = "<activity id=\"" + id + "\"><outputDetail><filesystemVideoVolume>" +
                                   volume + "</filesystemVideoVolume><filesystemAudioVolume>" + volume +
                                   "</filesystemAudioVolume><outputTranscodeVideoProfile>" + picture +
                                   "</outputTranscodeVideoProfile></outputDetail></activity>";
        recipe.element = element.toStdString();
        return recipe;
    }

private slots:
    /// Whatever becomes of a file while an action works on it, or just before: it is looked at again, and
    /// nothing that was made of it is offered or stays.
    void sourceThatChangesAroundAnActionIsLookedAtAgain_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<QString>("change");
        QTest::addColumn<bool>("isDuring");
        for (const char* action : {"copy", "transcode", "consolidate"}) {
            for (const char* change : kChanges) {
                QTest::addRow("%s, %s before it", action, change) << QByteArray(action) << s(change) << false;
                // How far a short transcode is, nobody may ever hear.
                if (std::strcmp(action, "transcode") != 0)
                    QTest::addRow("%s, %s during it", action, change)
                        << QByteArray(action) << s(change) << true;
            }
        }
    }
    void sourceThatChangesAroundAnActionIsLookedAtAgain()
    {
        QFETCH(QByteArray, action);
        QFETCH(QString, change);
        QFETCH(bool, isDuring);
        QVERIFY(makeChanging());
        PipelineBench bench;
        FileOrder order = bench.order(m_bench.path(s("changing.mov")).toStdString());
        order.profile.activities = {recipe(action)};
        bool isDone = false;
        const auto alter = [&] {
            isDone = true;
            QVERIFY(alterChanging(change));
        };
        order.willAct = [&](const std::string& job) {
            if (!isDuring && !isDone)
                alter();
            return job;
        };
        order.progress = [&](int percent) {
            if (isDuring && !isDone && percent > 0)
                alter();
        };
        const FileResult result = bench.pipeline.process(order);
        QVERIFY(isDone);
        QVERIFY2(result.end == FileResult::End::Later, result.text.c_str());
        QVERIFY(bench.listed().empty());
        QCOMPARE(allFiles(m_volume), QStringList());
    }

private:
    bool makeChanging(const char* codec = "mpeg4") const
    {
        const QByteArray options = QByteArray("-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -c:v ") + codec;
        return m_bench.make(s("changing.mov"), options.constData()).isEmpty() &&
               m_bench.make(s("another.mov"), "-f lavfi -i testsrc=s=160x96:r=25:d=0.2 -c:v mpeg4").isEmpty();
    }
    bool alterChanging(const QString& change) const
    {
        const QString name = m_bench.path(s("changing.mov"));
        const QByteArray content = TestFiles::content(name);
        if (change == s("grows"))
            TestFiles::write(name, content + QByteArray(100000, 'x'));
        else if (change == s("is cut off"))
            TestFiles::write(name, content.left(3000));
        else if (change.endsWith(s("time")) || change.endsWith(s("time back")))
            return alterUnseen(name, content, change.startsWith(s("is replaced")));
        else if (!QFile::remove(name))
            return false;
        return change != s("is replaced") || QFile::rename(m_bench.path(s("another.mov")), name);
    }

    /// Neither size nor time tell it.
    static bool alterUnseen(const QString& name, QByteArray content, bool isReplaced)
    {
        const std::string path = name.toStdString();
        const auto before = filetools::stampOf(path);
        struct stat facts
        {
        };
        // Who wrote a movie; the end of a picture.
        const int place = content.contains("Lavf") ? content.indexOf("Lavf") : content.size() - 4;
        if (!before || ::stat(path.c_str(), &facts) != 0)
            return false;
        content.replace(place, 4, "Livf");
        const std::string written = isReplaced ? path + ".new" : path;
        TestFiles::write(QString::fromStdString(written), content);
        const timespec times[2] = {facts.st_atim, facts.st_mtim};
        return ::utimensat(AT_FDCWD, written.c_str(), times, 0) == 0 &&
               (!isReplaced || ::rename(written.c_str(), path.c_str()) == 0) &&
               filetools::stampOf(path) == before;
    }

private slots:
    /// The same while ffmpeg reads what it was before; and what it is then is worked on anew.
    void sourceThatChangesWhileFfmpegReadsItIsLookedAtAgain_data()
    {
        QTest::addColumn<QByteArray>("action");
        QTest::addColumn<QString>("change");
        for (const char* action : {"transcode", "consolidate"}) {
            for (const char* change : {"grows", "is replaced", "is replaced by one of its size and time",
                                       "gets another content and its time back"})
                QTest::addRow("%s, %s", action, change) << QByteArray(action) << s(change);
        }
    }
    void sourceThatChangesWhileFfmpegReadsItIsLookedAtAgain()
    {
        QFETCH(QByteArray, action);
        QFETCH(QString, change);
        QVERIFY(makeChanging("mpeg2video")); // which MXF holds
        const std::string path = m_bench.path(s("changing.mov")).toStdString();
        PipelineBench bench;
        FileOrder order = bench.order(path);
        order.profile.activities = {recipe(action)};
        {
            bool isAltered = false;
            const Halt halt([&] { isAltered = alterChanging(change); });
            const FileResult result = bench.pipeline.process(order);
            QVERIFY(halt.isDone() && isAltered);
            QVERIFY2(result.end == FileResult::End::Later, result.text.c_str());
        }
        QVERIFY(bench.listed().empty());
        QCOMPARE(allFiles(m_volume), QStringList());
        const FileResult again = bench.pipeline.process(order);
        QVERIFY2(again.end == FileResult::End::Offered, again.text.c_str());
        std::string error;
        const std::string checksum = filetools::checksum(path, makeCancelToken(), error).value_or(error);
        const QByteArray document = TestFiles::content(bench.listed().at(0));
        QVERIFY2(document.contains(QByteArray::fromStdString(checksum.substr(checksum.find(':') + 1))),
                 document.constData());
        QCOMPARE(allFiles(m_volume).size(), 1);
    }

    void sequenceThatChangesWhileFfmpegReadsItIsLookedAtAgain_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<int>("end");
        QTest::newRow("gets another content and its time back")
            << s("content") << int(FileResult::End::Later);
        QTest::newRow("loses a picture") << s("lost") << int(FileResult::End::Later);
        QTest::newRow("gets another mode") << s("mode") << int(FileResult::End::Offered);
    }
    void sequenceThatChangesWhileFfmpegReadsItIsLookedAtAgain()
    {
        QFETCH(QString, change);
        QFETCH(int, end);
        QVERIFY(QDir().mkpath(m_bench.path(s("reel"))));
        QCOMPARE(m_bench.make(s("reel/p.%02d.dpx"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.12"), QString());
        const QString second = m_bench.path(s("reel/p.02.dpx"));
        PipelineBench bench;
        FileOrder order = bench.order(m_bench.path(s("reel/p.01.dpx")).toStdString());
        order.profile.activities = {recipe("transcode")};
        bool isAltered = false;
        const Halt halt([&] {
            isAltered = change == s("lost")   ? QFile::remove(second)
                        : change == s("mode") ? ::chmod(second.toStdString().c_str(), 0640) == 0
                                              : alterUnseen(second, TestFiles::content(second), false);
        });
        const FileResult result = bench.pipeline.process(order);
        QVERIFY(halt.isDone() && isAltered);
        QVERIFY2(int(result.end) == end, result.text.c_str());
        const bool isOffered = result.end == FileResult::End::Offered;
        QCOMPARE(int(bench.listed().size()), isOffered ? 1 : 0);
        QCOMPARE(allFiles(m_volume).size(), isOffered ? 1 : 0);
    }

    /// The same while it is transcoded: it was looked into, and its results are opened.
    void sourceThatChangesWhileItIsTranscodedLeavesNothing()
    {
        for (const char* change : {"grows", "is cut off", "goes away"}) {
            QVERIFY(makeChanging());
            const MediaOptions order = options();
            ActivityProgress progress;
            bool isDone = false;
            progress.willWrite = [&](const std::string&) { isDone = isDone || alterChanging(s(change)); };
            const auto made =
                transcoder::run(clip(s("changing.mov")), order, {}, progress, makeCancelToken());
            QVERIFY2(isDone && !made, change);
            QVERIFY2(made.refusal().status == kLookAgain || std::strcmp(change, "is cut off") == 0, change);
            QCOMPARE(allFiles(m_volume), QStringList());
        }
    }

    /// A folder that is missing alone is one that nobody made: then the copy fails.
    void copyWaitsForAVolumeThatIsAway()
    {
        QVERIFY(makeChanging());
        PipelineBench bench;
        FileOrder order = bench.order(m_bench.path(s("changing.mov")).toStdString());
        const QString drive = m_bench.path(s("drive%1").arg(++m_count));
        order.profile.activities = {PipelineBench::copyTo(drive + s("/copies"), true)};
        FileResult result = bench.pipeline.process(order);
        QVERIFY2(result.end == FileResult::End::Waiting, result.text.c_str());
        QCOMPARE(result.text, "waiting for the volume of " + drive.toStdString() + "/copies");
        QVERIFY(!QFile::exists(drive) && bench.errors.list().empty());
        QVERIFY(QDir().mkpath(drive + s("/copies")));
        result = bench.pipeline.process(order);
        QVERIFY2(result.end == FileResult::End::Offered, result.text.c_str());
        QCOMPARE(allFiles(drive).filter(s(".mov")).size(), 1);
        for (const char* away : {"/media/anna/no such drive", "/media/no such drive", "/mnt/no such drive",
                                 "/run/media/anna/no such drive", "/no such/drive/copies"})
            QVERIFY2(CopyActivity::isAway(away), away);
        for (const QString& there :
             QStringList{drive, drive + s("/not made"), m_bench.path(s("changing.mov")) + s("/x")})
            QVERIFY2(!CopyActivity::isAway(there.toStdString()), qPrintable(there));
        QVERIFY(!CopyActivity::isAway("/no such folder"));
    }

    void volumesThatAreReadOnlyOrGoAwayOfferNothing()
    {
        QVERIFY(makeChanging());
        for (const char* action : {"copy", "transcode", "consolidate"}) {
            const ActivityRecipe recipe = this->recipe(action);
            const QByteArray volume = QFile::encodeName(m_volume);
            if (::mount("tmpfs", volume.constData(), "tmpfs", 0, "size=32m") != 0)
                QSKIP("only root mounts a volume");
            const auto end = qScopeGuard([&] { ::umount2(volume.constData(), MNT_DETACH); });
            QCOMPARE(::mount("tmpfs", volume.constData(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr), 0);
            const Clip source = clip(s("changing.mov"));
            auto made = Activity::forId(recipe.id).run(source, recipe, {}, makeCancelToken());
            QVERIFY2(!made, action);
            QVERIFY2(made.refusal().text.find("ead-only") != std::string::npos, made.refusal().text.c_str());
            QCOMPARE(::mount("tmpfs", volume.constData(), "tmpfs", MS_REMOUNT, "size=32m"), 0);
            QVERIFY2(Activity::forId(recipe.id).run(source, recipe, {}, makeCancelToken()), action);
            // Gone in the middle: what is written then is on a volume that nobody sees.
            const auto leave = [&] { ::umount2(volume.constData(), MNT_DETACH); };
            if (recipe.id == "transcode") {
                ActivityProgress progress;
                progress.willWrite = [&](const std::string&) { leave(); };
                QVERIFY(!Activity::forId(recipe.id).run(source, recipe, progress, makeCancelToken()));
                continue;
            }
            PipelineBench bench;
            FileOrder order = bench.order(source.source.path);
            order.profile.activities = {recipe};
            order.progress = [&](int percent) {
                if (percent > 0)
                    leave();
            };
            const auto result = bench.pipeline.process(order);
            QVERIFY2(result.end != FileResult::End::Offered, action);
            QVERIFY(bench.listed().empty());
        }
    }
};

QTEST_GUILESS_MAIN(TestServiceChanges)
#include "test_service_changes.moc"
