#include "Lures.h"
#include "PipelineBench.h"
#include "TestFiles.h"
#include "base/FileTools.h"
#include "confinement/Landlock.h"
#include "media/MediaProbe.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

using namespace krxservice;
using TestFiles::content;
using TestFiles::write;

namespace {

using Verdict = ProbeResult::Verdict;

/// The program under test, beside this one.
std::string helper()
{
    return QCoreApplication::applicationDirPath().toStdString() + "/krx-media";
}

/// What ffprobe says about one entry of a file.
QString ffprobe(const QString& file, const char* entry)
{
    QProcess program;
    program.start(QStringLiteral("ffprobe"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                   QStringLiteral("default=nw=1:nk=1"), QStringLiteral("-show_entries"),
                   QString::fromUtf8(entry), file});
    program.waitForFinished();
    return QString::fromUtf8(program.readAllStandardOutput()).trimmed();
}

} // namespace

class TestServiceMedia : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString file(const char* name) const { return m_folder.filePath(QString::fromUtf8(name)); }
    ProbeResult probe(const char* name) const
    {
        return MediaProbe::probe(file(name).toStdString(), makeCancelToken());
    }
    void make(const char* name, const QStringList& options) const
    {
        QStringList arguments = {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")};
        arguments << options << file(name);
        QCOMPARE(QProcess::execute(QStringLiteral("ffmpeg"), arguments), 0);
    }
    static QStringList lavfi(const char* source)
    {
        return {QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                QString::fromUtf8(source)};
    }

    QStringList makeLures() const { return Lures::make(m_folder.path(), content(file("movie.mov"))); }

private slots:
    void initTestCase()
    {
        make("movie.mov", lavfi("testsrc2=s=64x48:r=25:d=0.4") + lavfi("sine=d=0.4:r=48000") +
                              QStringList{QStringLiteral("-c:v"), QStringLiteral("mpeg4"),
                                          QStringLiteral("-c:a"), QStringLiteral("pcm_s16le"),
                                          QStringLiteral("-timecode"), QStringLiteral("01:02:03:04")});
        make("sound.wav", lavfi("sine=d=0.1"));
        make("still.png",
             lavfi("color=s=40x30:d=0.04") + QStringList{QStringLiteral("-frames:v"), QStringLiteral("1")});
        make("secret.ts", lavfi("testsrc2=s=64x48:r=25:d=0.4"));
        for (const char* name : {"still.tga", "still.tif", "still.dpx", "still.jpg", "still.bmp"})
            make(name,
                 lavfi("color=s=40x30:d=0.04") +
                     QStringList{QStringLiteral("-frames:v"), QStringLiteral("1"), QStringLiteral("-pix_fmt"),
                                 QString::fromUtf8(name).endsWith(QLatin1String("jpg"))
                                     ? QStringLiteral("yuvj420p")
                                     : QStringLiteral("rgb24")});
        make("clip.mxf", lavfi("testsrc2=s=1920x1080:r=25:d=0.2") +
                             QStringList{QStringLiteral("-c:v"), QStringLiteral("mpeg2video"),
                                         QStringLiteral("-timecode"), QStringLiteral("10:00:00:00")});
    }

    void cleanup() { MediaProbe::use({}); }

    void factsAreThoseThatFfprobeFindsOut()
    {
        for (const char* name :
             {"movie.mov", "sound.wav", "still.png", "still.jpg", "still.dpx", "clip.mxf"}) {
            const ProbeResult result = probe(name);
            QVERIFY2(result.verdict == Verdict::Media, name);
            const auto& facts = result.facts;
            const QString path = file(name);
            QCOMPARE(QString::fromStdString(facts.format), ffprobe(path, "format=format_name"));
            const QString duration = ffprobe(path, "format=duration");
            QCOMPARE(QString::fromStdString(facts.duration),
                     duration == QLatin1String("N/A") ? QString() : duration);
            QStringList streams;
            for (const auto& stream : facts.streams)
                streams << QString::fromStdString(stream.codec);
            QCOMPARE(streams.join(QLatin1Char('\n')), ffprobe(path, "stream=codec_name"));
            for (const auto& stream : facts.streams) {
                if (stream.type == "video")
                    QCOMPARE(QStringLiteral("%1\n%2\n%3\n%4")
                                 .arg(stream.width)
                                 .arg(stream.height)
                                 .arg(QString::fromStdString(stream.pixelFormat),
                                      QString::fromStdString(stream.frameRate)),
                             ffprobe(path, "stream=width,height,pix_fmt,r_frame_rate")
                                 .section(QLatin1Char('\n'), 0, 3));
                if (stream.type == "audio")
                    QVERIFY(
                        ffprobe(path, "stream=sample_rate,channels")
                            .endsWith(QStringLiteral("%1\n%2").arg(stream.sampleRate).arg(stream.channels)));
            }
        }
        QCOMPARE(probe("movie.mov").facts.timecode, std::string("01:02:03:04"));
        QCOMPARE(probe("clip.mxf").facts.timecode, std::string("10:00:00:00"));
    }

    void kindsAreToldApart()
    {
        QCOMPARE(probe("movie.mov").facts.kind, std::string("video"));
        QCOMPARE(probe("sound.wav").facts.kind, std::string("audio"));
        for (const char* name :
             {"still.png", "still.tga", "still.tif", "still.dpx", "still.jpg", "still.bmp"}) {
            const ProbeResult result = probe(name);
            QVERIFY2(result.verdict == Verdict::Media, (std::string(name) + ": " + result.text).c_str());
            QVERIFY2(result.facts.kind == "image", name);
            QCOMPARE(result.facts.streams.at(0).width, 40);
            QCOMPARE(result.facts.streams.at(0).height, 30);
        }
        write(file("notes.txt"), "just some words\n");
        QVERIFY(probe("notes.txt").verdict == Verdict::NotMedia);
        write(file("notes.mov"), "just some words\n");
        QVERIFY(probe("notes.mov").verdict == Verdict::NotMedia);
        // What cannot be read is no verdict.
        QVERIFY(MediaProbe::probe("/nowhere", makeCancelToken()).verdict == Verdict::Unavailable);
    }

    void truncatedMovieIsCalledDamaged()
    {
        QByteArray movie = content(file("movie.mov"));
        movie.truncate(movie.size() / 2);
        write(file("cut.mov"), movie);
        const ProbeResult result = probe("cut.mov");
        QVERIFY(result.verdict == Verdict::NotMedia);
        QVERIFY2(result.text.find("damaged or incomplete mov") != std::string::npos, result.text.c_str());
    }

    void noLureMakesItOpenAnotherFile()
    {
        const QStringList lures = makeLures();
        QVERIFY(lures.size() >= 18);
        const QString log = file("strace.log");
        MediaProbe::use({"/usr/bin/strace", "-f", "-o", log.toStdString(), helper()});
        QVERIFY(probe("movie.mov").verdict == Verdict::Media);
        for (const QString& lure : lures) {
            const ProbeResult result =
                MediaProbe::probe(file(lure.toUtf8().constData()).toStdString(), makeCancelToken());
            QVERIFY2(result.verdict == Verdict::NotMedia,
                     qPrintable(lure + QLatin1Char(' ') + QString::fromStdString(result.text)));
            QVERIFY2(result.text.find("not opened") != std::string::npos ||
                         result.text.find("no media file") != std::string::npos,
                     qPrintable(lure + QLatin1Char(' ') + QString::fromStdString(result.text)));
        }
        // The end of the helper, so that all of its calls are in the log.
        MediaProbe::use({});
        QStringList calls = QString::fromUtf8(content(log)).split(QLatin1Char('\n'));
        const int confined =
            calls.lastIndexOf(QRegularExpression(QStringLiteral(".*SECCOMP_SET_MODE_FILTER.*")));
        QVERIFY(confined > 0);
        if (Landlock::abi() > 0)
            QVERIFY(!calls.mid(0, confined)
                         .filter(QRegularExpression(QStringLiteral("landlock_restrict_self\\(.*= 0$")))
                         .isEmpty());
        calls = calls.mid(confined + 1);
        // A sanitizer asks what program it is in, and for the map of its memory; it is refused both.
        calls.erase(std::remove_if(calls.begin(), calls.end(),
                                   [](const QString& call) {
                                       return call.contains(QStringLiteral("\"/proc/self/")) &&
                                              call.contains(QStringLiteral("EPERM"));
                                   }),
                    calls.end());
        QVERIFY(calls.filter(QStringLiteral("pread64(")).size() >= lures.size());
        const QStringList forbidden = calls.filter(QRegularExpression(QStringLiteral(
            "\\b(open|openat|openat2|creat|stat|newfstatat|readlink|socket|connect|execve|clone3?)\\(")));
        QVERIFY2(forbidden.isEmpty(), qPrintable(forbidden.join(QLatin1Char('\n'))));
    }

    void lureIsRefusedByThePipelineAndNotOffered()
    {
        for (const QString& lure : makeLures()) {
            PipelineBench bench;
            const auto result =
                bench.pipeline.process(bench.order(file(lure.toUtf8().constData()).toStdString()));
            QVERIFY2(result.end == FileResult::End::Rejected, qPrintable(lure));
            QVERIFY(bench.listed().empty());
        }
    }

    void confinedProcessIsRefusedToOpenAnything()
    {
        // Asked by the filter's own word: a process that was confined like this one gets EPERM.
        QVERIFY(probe("movie.mov").verdict == Verdict::Media);
        int looked = 0;
        for (const QString& process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            const QString place = QStringLiteral("/proc/") + process;
            const QByteArray status = content(place + QStringLiteral("/status"));
            if (!status.startsWith("Name:\tkrx-media\n") ||
                !status.contains("PPid:\t" + QByteArray::number(QCoreApplication::applicationPid()) + '\n'))
                continue;
            ++looked;
            QVERIFY(status.contains("Seccomp:\t2\n"));
            QVERIFY(status.contains("NoNewPrivs:\t1\n"));
            const QByteArray limits = content(place + QStringLiteral("/limits"));
            QVERIFY(limits.contains("Max file size             0 "));
            QVERIFY(limits.contains("Max core file size        0 "));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
            QVERIFY(!limits.contains("Max address space         unlimited"));
#endif
        }
        QVERIFY(looked >= 1);
    }

    void mediaWithoutOneFrameAreRefusedBeforeAnyAction_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QString>("reason");
        const QStringList none = lavfi("testsrc2=s=160x96:r=25:d=1") +
                                 QStringList{QStringLiteral("-frames:v"), QStringLiteral("0")};
        const QString reason = QStringLiteral("it holds not one picture and no sound");
        QTest::newRow("a movie without a track")
            << QStringLiteral("empty.mov") << none << QStringLiteral("it holds neither video nor audio");
        QTest::newRow("AVI") << QStringLiteral("empty.avi") << none << reason;
        QTest::newRow("raw pictures") << QStringLiteral("empty.y4m") << none << reason;
        QTest::newRow("fragments that never came")
            << QStringLiteral("empty.mp4")
            << none + QStringList{QStringLiteral("-movflags"), QStringLiteral("frag_keyframe+empty_moov")}
            << reason;
        QTest::newRow("sound") << QStringLiteral("empty.wav")
                               << lavfi("anullsrc") + QStringList{QStringLiteral("-t"), QStringLiteral("0")}
                               << reason;
    }
    void mediaWithoutOneFrameAreRefusedBeforeAnyAction()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, options);
        QFETCH(QString, reason);
        make(qPrintable(name), options);
        const std::string path = m_folder.filePath(name).toStdString();
        for (const char* action : {"", "copy", "transcode", "consolidate"}) {
            QTemporaryDir target;
            PipelineBench bench;
            FileOrder order = bench.order(path);
            if (*action) {
                ActivityRecipe recipe = PipelineBench::copyTo(target.path());
                recipe.id = action;
                const std::string volume = target.path().toStdString();
                recipe.element = std::string("<activity id=\"") + action +
                                 "\"><outputDetail><filesystemVideoVolume>" + volume +
                                 "</filesystemVideoVolume><filesystemAudioVolume>" + volume +
                                 "</filesystemAudioVolume></outputDetail></activity>";
                order.profile.activities = {recipe};
            }
            const FileResult result = bench.pipeline.process(order);
            QVERIFY2(result.end == FileResult::End::Rejected, result.text.c_str());
            QCOMPARE(QString::fromStdString(result.text), reason);
            QVERIFY(bench.errors.list().at(0).find(path) != std::string::npos);
            QVERIFY(bench.listed().empty());
            QCOMPARE(QDir(target.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::Hidden),
                     QStringList());
        }
    }

    void helperThatIsKilledHangsOrLiesMeansLater_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("reason");
        QTest::newRow("killed") << QStringLiteral("kill -9 $$") << QStringLiteral("signal 9");
        QTest::newRow("crashed") << QStringLiteral("kill -SEGV $$") << QStringLiteral("signal 11");
        QTest::newRow("ended") << QStringLiteral("exit 5") << QStringLiteral("code 5");
        QTest::newRow("hanging") << QStringLiteral("exec sleep 1000") << QStringLiteral("too long");
        QTest::newRow("ends half way")
            << QStringLiteral("head -c 4 <&3 >/dev/null; printf '\\100\\0\\0\\0<media' >&3; exit 0")
            << QStringLiteral("code 0");
        QTest::newRow("half an answer")
            << QStringLiteral("head -c 4 <&3 >/dev/null; printf '\\100\\0\\0\\0<media' >&3; exec sleep 1000")
            << QStringLiteral("too long");
        QTest::newRow("nonsense")
            << QStringLiteral("head -c 4 <&3 >/dev/null; printf '\\5\\0\\0\\0hello' >&3; exec sleep 1000")
            << QStringLiteral("makes no sense");
        QTest::newRow("an endless answer")
            << QStringLiteral(
                   "head -c 4 <&3 >/dev/null; printf '\\377\\377\\377\\377' >&3; cat /dev/zero >&3")
            << QStringLiteral("too long");
    }

    void helperThatIsKilledHangsOrLiesMeansLater()
    {
        QFETCH(QString, script);
        QFETCH(QString, reason);
        MediaProbe::use({"/bin/sh", "-c", script.toStdString()}, 500);
        PipelineBench bench;
        const auto order = bench.order(file("movie.mov").toStdString());
        const auto result = bench.pipeline.process(order);
        QVERIFY2(result.end == FileResult::End::Later, result.text.c_str());
        QVERIFY2(result.text.find(reason.toStdString()) != std::string::npos, result.text.c_str());
        QVERIFY(!result.stamp);
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        QVERIFY(bench.errors.list()[0].find(order.path) != std::string::npos);
        // The next one that works gives the verdict.
        MediaProbe::use({});
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Offered);
        QVERIFY(bench.errors.list().empty());
    }

    void helperWithoutMemoryMeansLater()
    {
        make("large.png", lavfi("color=s=9000x9000:d=0.04") +
                              QStringList{QStringLiteral("-frames:v"), QStringLiteral("1"),
                                          QStringLiteral("-pix_fmt"), QStringLiteral("rgb24")});
        QVERIFY(probe("large.png").verdict == Verdict::Media);
        int later = 0;
        // From too little for the program itself to too little for the picture; never a verdict about the
        // file.
        for (const int kilobytes : {20000, 200000, 300000}) {
            MediaProbe::use(
                {"/bin/sh", "-c", "ulimit -v " + std::to_string(kilobytes) + "; exec " + helper()});
            const ProbeResult result = probe("large.png");
            QVERIFY2(result.verdict != Verdict::NotMedia, result.text.c_str());
            later += result.verdict == Verdict::Unavailable;
        }
        QVERIFY(later >= 2);
    }

    void helperThatDiedWhileItRestedIsReplacedUnnoticed()
    {
        QVERIFY(probe("movie.mov").verdict == Verdict::Media);
        int killed = 0;
        for (const QString& process : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            const QByteArray status = content(QStringLiteral("/proc/") + process + QStringLiteral("/status"));
            if (status.startsWith("Name:\tkrx-media\n") &&
                status.contains("PPid:\t" + QByteArray::number(QCoreApplication::applicationPid()) + '\n')) {
                ::kill(process.toInt(), SIGKILL);
                ++killed;
            }
        }
        QVERIFY(killed >= 1);
        const ProbeResult result = probe("movie.mov");
        QVERIFY2(result.verdict == Verdict::Media, result.text.c_str());
    }

    void missingProgramMeansLater()
    {
        MediaProbe::use({"/nowhere/krx-media"});
        const ProbeResult result = probe("movie.mov");
        QVERIFY(result.verdict == Verdict::Unavailable);
        QVERIFY(result.text.find("could not be started") != std::string::npos);
    }

    void cancelledQuestionEnds()
    {
        MediaProbe::use({"/bin/sleep", "1000"});
        const auto token = makeCancelToken();
        *token = true;
        QVERIFY(MediaProbe::probe(file("movie.mov").toStdString(), token).verdict == Verdict::Unavailable);
    }

    void manyFilesFromSeveralThreadsAreAnsweredRight()
    {
        std::atomic<int> right{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i) {
            threads.emplace_back([&, i] {
                for (int n = 0; n < 20; ++n) {
                    const char* name = (i + n) % 2 == 0 ? "movie.mov" : "sound.wav";
                    const ProbeResult result = probe(name);
                    right += result.verdict == Verdict::Media &&
                             result.facts.kind == ((i + n) % 2 == 0 ? "video" : "audio");
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(right.load(), 120);
    }
};

QTEST_GUILESS_MAIN(TestServiceMedia)
#include "test_service_media.moc"
