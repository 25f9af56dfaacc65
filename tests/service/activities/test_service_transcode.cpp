#include "EngineBench.h"
#include "PalProxy.h"
#include "PipelineBench.h"
#include "TestFiles.h"
#include "activities/MediaTarget.h"
#include "activities/Transcoder.h"
#include "files/VolumeTurn.h"

#include <QDir>
#include <QScopeGuard>

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// What becomes of media that are not as one would wish, and of volumes.
class TestServiceTranscode : public QObject
{
    Q_OBJECT

    EngineBench m_bench;
    QString m_volume;
    int m_count = 0;

    /// ProRes Proxy in PAL, which is quick; volumes on a fresh folder.
    MediaOptions options(const char* projectType = "PAL 25p")
    {
        m_volume = m_bench.path(s("volume%1").arg(++m_count));
        QDir().mkpath(m_volume);
        MediaOptions options = palProxy(m_volume.toStdString());
        options.video.projectType = projectType;
        return options;
    }
    Clip clip(const QString& name) const { return m_bench.clipUnread(name); }
    Outcome<Clip> transcode(const QString& name, const MediaOptions& options,
                            const CancelToken& cancel = makeCancelToken())
    {
        return transcoder::run(clip(name), options, {}, {}, cancel);
    }
    QStringList left() const
    {
        QStringList names;
        QDir folder(m_volume + s("/KRX Media/") + QFileInfo(m_bench.folder.path()).fileName());
        return folder.entryList(QDir::Files | QDir::Hidden);
    }
    static QString linked(const Outcome<Clip>& made) { return QString::fromStdString(made->linked.path); }

private slots:
    void cleanup() { Ffmpeg::use({}); }

    void aClipBecomesWhatWasOrdered()
    {
        QCOMPARE(m_bench.make(s("in.mov"),
                              "-f lavfi -i testsrc2=s=320x180:r=25:d=0.4 -f lavfi -i "
                              "sine=r=48000:d=0.4 -timecode 10:00:00:00 -c:v mpeg4 -c:a pcm_s16le"),
                 QString());
        const auto made = transcode(s("in.mov"), options());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made),
                 m_volume + s("/KRX Media/") + QFileInfo(m_bench.folder.path()).fileName() + s("/in.mov"));
        QCOMPARE(
            EngineBench::probed(linked(made), "stream=codec_name,width,height,r_frame_rate,nb_read_packets"),
            s("prores,720,576,25/1,10"));
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_name,sample_rate,channels", "a"),
                 s("pcm_s16le,48000,1"));
        QVERIFY(EngineBench::probed(linked(made), "format_tags=timecode:stream_tags=timecode")
                    .contains(s("10:00:00:00")));
        QCOMPARE(left(), QStringList(s("in.mov")));
        QCOMPARE(int(made->activities.size()), 1);
        QCOMPARE(made->activities[0].made[0].path, made->linked.path);
        QCOMPARE(made->activities[0].check, std::string("verified"));
    }

    void mediaThatAreOdd_data()
    {
        QTest::addColumn<QByteArray>("make");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("sound"); ///< one line each stream: channels
        QTest::addColumn<int>("pictures");
        const QByteArray moving = "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 ";
        const auto row = [](const char* name, const QByteArray& make, const char* file, const char* sound,
                            int pictures) {
            QTest::newRow(name) << make << s(file) << QByteArray(sound) << pictures;
        };
        row("no audio", moving + "-c:v mpeg4", "mute.mov", "", 10);
        row("5.1", moving + "-f lavfi -i anoisesrc=r=48000:d=0.4:c=pink -ac 6 -c:v mpeg4 -c:a pcm_s24le",
            "surround.mov", "6", 10);
        QByteArray mono = moving + "-f lavfi -i sine=r=48000:d=0.4 -map 0:v";
        for (int i = 0; i < 16; ++i)
            mono += " -map 1:a";
        row("16 mono tracks", mono + " -c:v mpeg4 -c:a pcm_s16le", "mono.mov",
            "1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1", 10);
        row("odd size", "-f lavfi -i testsrc2=s=161x97:r=25:d=0.4 -c:v ffv1 -pix_fmt yuv444p", "odd.mkv", "",
            10);
        row("variable rate",
            "-f lavfi -i testsrc2=s=160x96:r=50:d=0.4 -vf select='not(eq(mod(n\\,5)\\,2))' -vsync vfr -c:v "
            "ffv1",
            "vfr.mkv", "", 10);
        row("sound longer than pictures", moving + "-f lavfi -i sine=r=48000:d=1 -c:v mpeg4 -c:a pcm_s16le",
            "longer.mov", "1", 10);
        row("compressed sound",
            moving + "-f lavfi -i sine=r=44100:d=0.4 -pix_fmt yuv420p -c:v libx264 -c:a aac", "aac.mp4", "1",
            10);
        row("another rate", "-f lavfi -i testsrc2=s=160x96:r=50:d=0.4 -c:v mpeg4", "fifty.mov", "", 10);
        row("a slower rate", "-f lavfi -i testsrc2=s=160x96:r=12.5:d=0.4 -c:v mpeg4", "slow.mov", "", 10);
        row("transport stream", moving + "-pix_fmt yuv420p -c:v libx264 -bf 2", "stream.ts", "", 10);
        // Their decoders want to know how many bits a pixel has.
        for (const char* pixels : {"rgb24", "rgb555be", "argb", "gray"})
            row(pixels, moving + "-c:v qtrle -pix_fmt " + pixels, (std::string(pixels) + ".mov").c_str(), "",
                10);
        row("one picture", moving + "-frames:v 1 -c:v mpeg4", "one.mov", "", 1);
        row("a still", "-f lavfi -i testsrc2=s=160x96 -frames:v 1", "still.png", "", 1);
    }
    void mediaThatAreOdd()
    {
        QFETCH(QByteArray, make);
        QFETCH(QString, name);
        QFETCH(QByteArray, sound);
        QFETCH(int, pictures);
        QCOMPARE(m_bench.make(name, make.constData()), QString());
        const auto made = transcode(name, options());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::probed(linked(made), "stream=width,height,nb_read_packets"),
                 s("720,576,%1").arg(pictures));
        QCOMPARE(EngineBench::probed(linked(made), "stream=channels", "a"), QString::fromUtf8(sound));
        QCOMPARE(EngineBench::pictures(linked(made)).size(), pictures);
    }

    void picturesOfAColourTableKeepTheirColours()
    {
        // Grey comes as a table of colours.
        QCOMPARE(
            m_bench.make(s("gray.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -c:v qtrle -pix_fmt gray"),
            QString());
        MediaOptions order = options();
        order.video.compressionId = "83886081"; // lossless
        order.video.raster = {};
        order.video.projectType = {};
        order.video.colorSpace = {};
        const auto made = transcode(s("gray.mov"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        const QString compared = EngineBench::run(
            s("ffmpeg"),
            {s("-v"), s("error"), s("-i"), linked(made), s("-i"), m_bench.path(s("gray.mov")), s("-lavfi"),
             s("[0]format=gray[a];[1]format=gray[b];[a][b]psnr=stats_file=-"), s("-f"), s("null"), s("-")});
        const QRegularExpression likeness(s("psnr_avg:(\\S+)"));
        int pictures = 0;
        for (auto it = likeness.globalMatch(compared); it.hasNext(); ++pictures)
            QVERIFY2(it.next().captured(1).toDouble() > 30, qPrintable(compared));
        QCOMPARE(pictures, 5);
    }

    /// A file that wants sound for each picture, and no more.
    void soundIsAsLongAsThePicturesInMxf_data()
    {
        QTest::addColumn<QByteArray>("seconds");
        for (const char* seconds : {"0.2", "1", "3", "5"})
            QTest::newRow(seconds) << QByteArray(seconds);
    }
    void soundIsAsLongAsThePicturesInMxf()
    {
        QFETCH(QByteArray, seconds);
        const QByteArray both =
            "-f lavfi -i testsrc2=s=160x96:r=25:d=3 -f lavfi -i sine=r=44100:d=" + seconds +
            " -c:v mpeg4 -c:a pcm_s16le";
        QCOMPARE(m_bench.make(s("both.mov"), both.constData()), QString());
        MediaOptions order = options();
        order.video.compressionId = "50331649";
        const auto made = transcode(s("both.mov"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::probed(linked(made), "stream=nb_read_packets"), s("75"));
        QVERIFY(!made->activities[0].notes.empty()); // another rate than it had
        QCOMPARE(EngineBench::probed(linked(made), "stream=sample_rate,duration", "a"), s("48000,3.000000"));
    }

    void whatCannotBeDoneIsNamedAndLeavesNothing_data()
    {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("reason");
        QTest::newRow("codec") << s("codec") << s("the codec \"Nonsense\" (77) is not in the catalogue");
        QTest::newRow("profile") << s("profile") << s("has no encoding profile \"Nonsense\"");
        QTest::newRow("project type")
            << s("type") << s("the project type \"Nonsense\" is not in the catalogue");
        QTest::newRow("file for a volume") << s("file") << s("is no folder");
        QTest::newRow("no volume") << s("none") << s("names no volume");
        QTest::newRow("ffmpeg missing") << s("missing") << s("is not installed");
        QTest::newRow("ffmpeg killed") << s("killed") << s("was ended by signal 9");
        QTest::newRow("ffmpeg that makes nothing") << s("liar") << s("its result is not right");
        QTest::newRow("ffmpeg that leaves pictures out")
            << s("-frames:v 5") << s("it has 5 pictures and not 50");
        QTest::newRow("ffmpeg that leaves the sound out")
            << s("-an") << s("1 streams of pictures and 0 of sound, not 1 and 1");
        QTest::newRow("ffmpeg that spoils what it made") << s("spoils") << s("its result is not right");
        QTest::newRow("truncated") << s("truncated") << s("it is cut off");
        QTest::newRow("no pictures beside sound") << s("no pictures") << s("it holds no pictures");
        QTest::newRow("zero frames") << s("empty") << s("it holds neither video nor audio");
    }
    void whatCannotBeDoneIsNamedAndLeavesNothing()
    {
        QFETCH(QString, what);
        QFETCH(QString, reason);
        QString name = s("plain.mov");
        QCOMPARE(m_bench.make(name,
                              "-f lavfi -i testsrc2=s=160x96:r=25:d=2 -f lavfi -i sine=r=48000:d=2 -c:v "
                              "mpeg4 -c:a pcm_s16le -movflags +faststart"),
                 QString());
        MediaOptions order = options();
        if (what == s("codec")) {
            order.video.compressionId = "77";
            order.video.compressionName = "Nonsense";
        } else if (what == s("profile")) {
            order.video.encodingProfile = "Nonsense";
        } else if (what == s("type")) {
            order.video.projectType = "Nonsense";
        } else if (what == s("file")) {
            order.videoVolume = order.audioVolume = m_bench.path(name).toStdString();
        } else if (what == s("none")) {
            order.videoVolume = order.audioVolume = {};
        } else if (what == s("missing")) {
            Ffmpeg::use({"no-such-ffmpeg"});
        } else if (what == s("killed")) {
            Ffmpeg::use({"/bin/sh", "-c", "kill -9 $$"});
        } else if (what == s("liar")) {
            Ffmpeg::use({"/bin/sh", "-c", "cat <&4 >/dev/null", "/bin/cat"});
        } else if (what.startsWith(QLatin1Char('-'))) {
            // One argument more before the file that it writes.
            Ffmpeg::use({"/bin/sh", "-c",
                         "n=$#; i=0; for a; do i=$((i + 1)); test $i = $n && set -- \"$@\" " +
                             what.toStdString() +
                             "; set -- \"$@\" \"$a\"; done; shift $n; exec \"$0\" \"$@\"",
                         "/usr/bin/ffmpeg"});
        } else if (what == s("spoils")) {
            Ffmpeg::use({"/bin/sh", "-c", "\"$0\" \"$@\" && printf %064d 0 >&5", "/usr/bin/ffmpeg"});
        } else if (what == s("truncated")) {
            QFile file(m_bench.path(name));
            QVERIFY(file.resize(file.size() / 2));
        } else if (what == s("no pictures")) {
            name = s("none.mkv");
            QCOMPARE(m_bench.make(name, "-f lavfi -i testsrc2=s=64x36:r=25:d=0.4 -f lavfi -i "
                                        "sine=r=48000:d=0.4 -vf select=0 -c:v mpeg4 -c:a pcm_s16le"),
                     QString());
        } else {
            name = s("empty.mov");
            QCOMPARE(m_bench.make(name, "-f lavfi -i testsrc2=s=160x96:r=25:d=2 -c:v mpeg4 -frames:v 0"),
                     QString());
        }
        const auto made = transcode(name, order);
        QVERIFY(!made);
        QCOMPARE(made.refusal().status, what == s("missing") || what == s("killed") ? kNoEngine : 500);
        QVERIFY2(QString::fromStdString(made.refusal().text).contains(reason), made.refusal().text.c_str());
        QCOMPARE(left(), QStringList());
    }

    // Each picture of the source is of one brightness, so one that is made of two of them shows, and so do
    // two fields that are not of one picture.
    void picturesAreLeftOutOrShownAgainAndNeverBlended_data()
    {
        QTest::addColumn<QByteArray>("rate");
        QTest::addColumn<QString>("type");
        QTest::newRow("half the pictures") << QByteArray("50") << s("PAL 25p");
        QTest::newRow("twice") << QByteArray("12.5") << s("PAL 25p");
        QTest::newRow("into fields") << QByteArray("25") << s("PAL 25i");
        QTest::newRow("half of them into fields") << QByteArray("50") << s("PAL 25i");
    }
    void picturesAreLeftOutOrShownAgainAndNeverBlended()
    {
        QFETCH(QByteArray, rate);
        QFETCH(QString, type);
        const QByteArray make = "-f lavfi -i nullsrc=s=64x48:r=" + rate +
                                ":d=0.32,geq=lum=40+20*mod(N\\,8):cb=128:cr=128 -c:v ffv1 -pix_fmt yuv422p";
        QCOMPARE(m_bench.make(s("steps.mkv"), make.constData()), QString());
        MediaOptions order = options(qPrintable(type));
        order.video.compressionId = "4026531842";
        const auto made = transcode(s("steps.mkv"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        QProcess reader;
        reader.start(s("ffmpeg"),
                     {s("-v"), s("error"), s("-i"), linked(made), s("-vf"),
                      s("extractplanes=y,crop=1:2:360:300:exact=1"), s("-f"), s("rawvideo"), s("-")});
        QVERIFY(reader.waitForFinished(60000));
        const QByteArray pixels = reader.readAllStandardOutput(); // of two lines of each picture
        QCOMPARE(pixels.size(), 2 * 8);
        for (int i = 0; i < pixels.size(); i += 2) {
            const int one = static_cast<unsigned char>(pixels[i]);
            const int other = static_cast<unsigned char>(pixels[i + 1]);
            QVERIFY2(qAbs(one - other) <= 1 && qAbs((one - 30) % 20 - 10) <= 2,
                     qPrintable(s("%1 and %2").arg(one).arg(other)));
        }
    }

    void timeOfRecordingGoesIntoEachFile()
    {
        QCOMPARE(m_bench.make(s("when.mov"),
                              "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i "
                              "sine=r=48000:d=0.2 -metadata creation_time=2021-03-04T05:06:07Z "
                              "-c:v mpeg4 -c:a pcm_s16le"),
                 QString());
        MediaOptions order = options();
        order.audioVolume = m_bench.path(s("when")).toStdString();
        QVERIFY(QDir().mkpath(m_bench.path(s("when"))));
        const auto made = transcode(s("when.mov"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        QVERIFY(EngineBench::probed(linked(made), "format_tags=creation_time")
                    .startsWith(s("2021-03-04T05:06:07")));
        const QString sound = QString::fromStdString(made->parts.at(1).file.path);
        const QString tags = EngineBench::probed(sound, "format_tags", "a");
        QVERIFY2(tags.contains(s("2021-03-04")) && tags.contains(s("05:06:07")), qPrintable(tags));
    }

    void volumesThatAreAwayOrFullAreWaitedFor()
    {
        QCOMPARE(m_bench.make(s("wait.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -c:v mpeg4"),
                 QString());
        MediaOptions order = options();
        order.videoVolume = order.audioVolume = "/no/such/volume";
        auto made = transcode(s("wait.mov"), order);
        QVERIFY(!made);
        QCOMPARE(made.refusal().status, kWaitFor);
        QCOMPARE(made.refusal().text, std::string("waiting for the volume /no/such/volume"));

        // Full from the beginning: more than any volume has.
        const MediaTarget target(m_volume.toStdString(), clip(s("wait.mov")));
        const auto refusal = target.refusal(std::int64_t(1) << 62);
        QVERIFY(refusal);
        QCOMPARE(refusal->status, kWaitFor);
        QCOMPARE(refusal->text, "waiting for space on " + m_volume.toStdString());

        // Full in the middle.
        Ffmpeg::use(
            {"/bin/sh", "-c", "echo 'av_interleaved_write_frame(): No space left on device' >&2; exit 1"});
        made = transcode(s("wait.mov"), options());
        QVERIFY(!made);
        QCOMPARE(made.refusal().status, kWaitFor);
        QCOMPARE(left(), QStringList());
    }

    void volumesThatAreReallyFullAreWaitedForByEachAction()
    {
        QCOMPARE(m_bench.make(s("big.mkv"),
                              "-f lavfi -i nullsrc=s=320x180:r=25:d=0.4,geq=random(1)*255:128:128 -c:v ffv1"),
                 QString());
        const MediaOptions order = options();
        if (::mount("tmpfs", order.videoVolume.c_str(), "tmpfs", 0, "size=256k") != 0)
            QSKIP("only root mounts a volume");
        const auto end = qScopeGuard([&] { ::umount2(order.videoVolume.c_str(), MNT_DETACH); });
        const std::string waiting = "waiting for space on " + order.videoVolume;
        // Reckoned: nothing is begun.
        Ffmpeg::use({"no-such-ffmpeg"});
        auto made = transcode(s("big.mkv"), order);
        QVERIFY(!made);
        QCOMPARE(made.refusal().text, waiting);
        Ffmpeg::use({});

        // Somebody else fills it behind the reckoning.
        QCOMPARE(::mount("tmpfs", order.videoVolume.c_str(), "tmpfs", MS_REMOUNT, "size=8m"), 0);
        ActivityProgress progress;
        progress.willWrite = [&](const std::string&) {
            QFile filler(m_volume + s("/filler"));
            QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
            const QByteArray piece(4096, 'x');
            while (filler.write(piece) == piece.size()) {
            }
        };
        made = transcoder::run(clip(s("big.mkv")), order, {}, progress, makeCancelToken());
        QVERIFY(!made);
        QCOMPARE(made.refusal().text, waiting);
        QCOMPARE(left(), QStringList());

        ActivityRecipe copy;
        copy.id = "copy";
        copy.destination = order.videoVolume;
        Clip big = clip(s("big.mkv"));
        big.watched.clear();
        const auto copied = Activity::forId(copy.id).run(big, copy, {}, makeCancelToken());
        QVERIFY(!copied);
        QCOMPARE(copied.refusal().status, kWaitFor);
        QCOMPARE(copied.refusal().text, waiting);
        QCOMPARE(QDir(m_volume).entryList(QDir::Files | QDir::Hidden), QStringList(s("filler")));
    }

    void nothingIsEverWrittenOver()
    {
        QCOMPARE(m_bench.make(s("twice.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.2 -c:v mpeg4"),
                 QString());
        const MediaOptions order = options();
        QVERIFY(transcode(s("twice.mov"), order));
        const auto second = transcode(s("twice.mov"), order);
        QVERIFY(second);
        QCOMPARE(QFileInfo(linked(second)).fileName(), s("twice (2).mov"));
        QCOMPARE(left(), (QStringList{s("twice (2).mov"), s("twice.mov")}));
    }

    void damageInTheMiddleIsSaidAndCountsTheSame()
    {
        QCOMPARE(m_bench.make(s("damaged.mov"), "-f lavfi -i testsrc2=s=320x180:r=25:d=2 -c:v mjpeg -q:v 2"),
                 QString());
        QByteArray bytes = TestFiles::content(m_bench.path(s("damaged.mov")));
        for (int i = bytes.size() / 2; i < bytes.size() / 2 + 30000; ++i)
            bytes[i] = char(i * 31);
        TestFiles::write(m_bench.path(s("damaged.mov")), bytes);
        const auto made = transcode(s("damaged.mov"), options());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::pictures(linked(made)).size(), 50);
        QVERIFY(!made->activities[0].notes.empty());
    }

    void pictureAndSoundGoApartToTwoVolumes()
    {
        QCOMPARE(m_bench.make(s("apart.mov"),
                              "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -f lavfi -i "
                              "sine=r=48000:d=0.4 -map 0:v -map 1:a -map 1:a -timecode 01:00:00:00 "
                              "-c:v mpeg4 -c:a pcm_s24le"),
                 QString());
        MediaOptions order = options();
        const QString other = m_bench.path(s("sounds"));
        QDir().mkpath(other);
        order.audioVolume = other.toStdString();
        const auto made = transcode(s("apart.mov"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(made->parts.size()), 2);
        QCOMPARE(made->parts[0].kind, std::string("picture"));
        QCOMPARE(made->parts[0].file.path, made->linked.path);
        QCOMPARE(made->parts[1].kind, std::string("sound"));
        const QString sound = QString::fromStdString(made->parts[1].file.path);
        QVERIFY2(sound.startsWith(other + s("/KRX Media/")), qUtf8Printable(sound));
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_type", "a"), QString());
        QCOMPARE(EngineBench::probed(sound, "stream=codec_name,sample_rate,channels", "a"),
                 s("pcm_s24le,48000,2"));
        QCOMPARE(EngineBench::probed(sound, "format_tags=time_reference", "a"),
                 QString::number(3600LL * 48000));
    }

    void cancellingLeavesNothing()
    {
        QCOMPARE(m_bench.make(s("long.mov"), "-f lavfi -i testsrc2=s=640x360:r=25:d=20 -c:v mpeg4"),
                 QString());
        const auto cancel = makeCancelToken();
        ActivityProgress progress;
        QStringList scratch;
        progress.willWrite = [&](const std::string& path) { scratch << QString::fromStdString(path); };
        progress.percent = [&](int percent) {
            QVERIFY(QFile::exists(scratch.value(0)));
            *cancel = percent > 0;
        };
        const auto made = transcoder::run(clip(s("long.mov")), options(), {}, progress, cancel);
        QVERIFY(!made);
        QVERIFY(*cancel);
        QCOMPARE(scratch.size(), 1);
        QCOMPARE(left(), QStringList());
    }

    /// The moment between the new name and the record of it.
    void resultsThatWereNamedBeforeACrashAreFoundAgain()
    {
        QCOMPARE(m_bench.make(s("crash.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.12 -c:v mpeg4"),
                 QString());
        std::vector<std::string> told;
        ActivityProgress progress;
        progress.willWrite = [&](const std::string& what) { told.push_back(what); };
        const MediaOptions order = options();
        const auto made = transcoder::run(clip(s("crash.mov")), order, {}, progress, makeCancelToken());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(told.size()), 2);

        // Into the record, as the pipeline does, and a start afterwards.
        PipelineBench bench;
        const auto id = bench.begin(made->source.path).id;
        bench.clips.setScratch(id, told[0] + '\n' + told[1]);
        bench.pipeline.recover();
        QCOMPARE(left(), QStringList());

        // Another file that has the name meanwhile stays.
        QVERIFY(transcoder::run(clip(s("crash.mov")), order, {}, {}, makeCancelToken()));
        QVERIFY(HiddenFile::removeNamed(told[1].substr(0, told[1].find(' ')) + " 1 " + made->linked.path));
        QCOMPARE(left(), QStringList(s("crash.mov")));
    }

    void sequencesBecomeMovies()
    {
        QCOMPARE(
            m_bench.make(s("shot_%04d.dpx"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.24 -start_number 7"),
            QString());
        QVERIFY(QFile::remove(m_bench.path(s("shot_0009.dpx"))));
        Clip shot = clip(s("shot_0007.dpx"));
        SequenceFacts facts;
        facts.directory = m_bench.folder.path().toStdString();
        facts.stem = "shot_";
        facts.extension = ".dpx";
        facts.padding = 4;
        facts.firstNumber = 7;
        facts.lastNumber = 12;
        shot.sequence = facts;
        shot.link.frameRate = "25/1";
        shot.link.startTimecode = "00:00:00:07";
        const auto made = transcoder::run(shot, options(), {}, {}, makeCancelToken());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(QFileInfo(linked(made)).fileName(), s("shot.mov"));
        const QStringList pictures = EngineBench::pictures(linked(made));
        QCOMPARE(pictures.size(), 6);
        QCOMPARE(pictures[2], pictures[1]); // the one before stands for the one that is missing
        QVERIFY(pictures[3] != pictures[2]);
        QVERIFY(EngineBench::probed(linked(made), "stream_tags=timecode").contains(s("00:00:00:07")));
    }

    void resultsAreForWhomTheSourceIs()
    {
        QCOMPARE(m_bench.make(s("own.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.12 -c:v mpeg4"),
                 QString());
        QVERIFY(QFile::setPermissions(m_bench.path(s("own.mov")), QFile::ReadOwner | QFile::WriteOwner));
        const auto made = transcode(s("own.mov"), options());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(QFileInfo(linked(made)).permissions() & (QFile::ReadGroup | QFile::ReadOther)), 0);
    }

    void spinningDiskHasOneWriter()
    {
        QDir root(m_bench.path(s("sys")));
        for (const char* disk : {"8:0/queue", "8:16/queue", "254:0/queue", "254:0/device"})
            QVERIFY(root.mkpath(s(disk)));
        QVERIFY(root.mkpath(s("8:0/part")));
        TestFiles::write(root.filePath(s("8:0/queue/rotational")), "1\n");
        TestFiles::write(root.filePath(s("8:16/queue/rotational")), "0\n");
        QVERIFY(QFile::link(root.filePath(s("8:0/part")), root.filePath(s("8:1"))));
        const std::string path = root.path().toStdString();
        QVERIFY(VolumeTurn::isSpinning(makedev(8, 0), path));
        QVERIFY(VolumeTurn::isSpinning(makedev(8, 1), path)); // a part of it
        QVERIFY(!VolumeTurn::isSpinning(makedev(8, 16), path));
        QVERIFY(!VolumeTurn::isSpinning(makedev(0, 42), path));
        // A virtual machine's disks always say that they do.
        TestFiles::write(root.filePath(s("254:0/queue/rotational")), "1\n");
        QVERIFY(QFile::link(s("/nowhere/drivers/sd"), root.filePath(s("254:0/device/driver"))));
        QVERIFY(VolumeTurn::isSpinning(makedev(254, 0), path));
        QVERIFY(QFile::remove(root.filePath(s("254:0/device/driver"))));
        QVERIFY(QFile::link(s("/nowhere/drivers/virtio_blk"), root.filePath(s("254:0/device/driver"))));
        QVERIFY(!VolumeTurn::isSpinning(makedev(254, 0), path));

        VolumeTurn::treatAllAsSpinning(true);
        const auto end = qScopeGuard([] { VolumeTurn::treatAllAsSpinning(false); });
        int given = 0;
        VolumeTurn::whenGiven(this, [&] { ++given; });
        auto first = std::make_unique<VolumeTurn>(path);
        QVERIFY(first->isHeld());
        QCOMPARE(first->waitingFor(), std::string());
        {
            const VolumeTurn second(path);
            QVERIFY(!second.isHeld());
            QCOMPARE(second.waitingFor(),
                     "waiting for its turn on " + path + ", which another clip is written to");
            QVERIFY(VolumeTurn::isWaitingFor(second.waitingFor()));
            QCOMPARE(VolumeTurn::toWaitFor({path}), second.waitingFor());
        }
        QCOMPARE(given, 0); // by one who had none
        first.reset();
        QCOMPARE(given, 1);
        VolumeTurn::whenGiven(this, {});
        QCOMPARE(VolumeTurn::toWaitFor({path}), std::string());
        QVERIFY(VolumeTurn(path).isHeld());
        QCOMPARE(given, 1);
    }

    void splitResultTakesTheTurnOnBothVolumes()
    {
        QCOMPARE(m_bench.make(s("turns.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i "
                                              "sine=r=48000:d=0.2 -c:v mpeg4 -c:a pcm_s16le"),
                 QString());
        MediaOptions order = options();
        const QTemporaryDir memory(s("/dev/shm/krx-XXXXXX"));
        struct stat disk
        {
        };
        struct stat other
        {
        };
        if (!memory.isValid() || ::stat(qPrintable(m_volume), &disk) != 0 ||
            ::stat(qPrintable(memory.path()), &other) != 0 || disk.st_dev == other.st_dev)
            QSKIP("there is one volume only");
        order.audioVolume = memory.path().toStdString();
        VolumeTurn::treatAllAsSpinning(true);
        const auto end = qScopeGuard([] { VolumeTurn::treatAllAsSpinning(false); });
        int turns = 0;
        ActivityProgress progress;
        progress.willWrite = [&](const std::string&) {
            turns += VolumeTurn::isTaken(order.videoVolume) && VolumeTurn::isTaken(order.audioVolume) ? 1 : 0;
        };
        const auto made = transcoder::run(clip(s("turns.mov")), order, {}, progress, makeCancelToken());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(turns, 4); // each file begins, and gets its name
        QVERIFY(!VolumeTurn::isTaken(order.videoVolume) && !VolumeTurn::isTaken(order.audioVolume));
    }

    void spaceForSoundApartIsReckonedOnItsOwnVolume()
    {
        QCOMPARE(m_bench.make(s("long.mov"), "-f lavfi -i color=s=64x48:r=25:d=20 -f lavfi -i "
                                             "anullsrc=r=48000:cl=stereo:d=20 -c:v mpeg4 -c:a pcm_s16le"),
                 QString());
        MediaOptions order = options();
        const QString small = m_bench.path(s("small"));
        QVERIFY(QDir().mkpath(small));
        order.audioVolume = small.toStdString();
        if (::mount("tmpfs", order.audioVolume.c_str(), "tmpfs", 0, "size=3m") != 0)
            QSKIP("only root mounts a volume");
        const auto end = qScopeGuard([&] { ::umount2(order.audioVolume.c_str(), MNT_DETACH); });
        // Of 20 seconds of sound, 3 840 000 bytes: nothing is begun.
        Ffmpeg::use({"no-such-ffmpeg"});
        const auto made = transcode(s("long.mov"), order);
        QVERIFY(!made);
        QCOMPARE(made.refusal().text, "waiting for space on " + order.audioVolume);
        QCOMPARE(left(), QStringList());
    }

    void soundThatIsApartAlreadyGoesIntoTheResult()
    {
        QCOMPARE(m_bench.make(s("apart.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -f lavfi -i "
                                              "sine=r=48000:d=0.4 -c:v mpeg4 -c:a pcm_s16le"),
                 QString());
        MediaOptions order = options();
        QVERIFY(QDir().mkpath(m_bench.path(s("sounds"))));
        order.audioVolume = m_bench.path(s("sounds")).toStdString();
        const auto apart = transcode(s("apart.mov"), order);
        QVERIFY2(apart, apart.refusal().text.c_str());
        QCOMPARE(int(apart->parts.size()), 2);
        const auto made = transcoder::run(*apart, options(), {}, {}, makeCancelToken());
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_name,sample_rate,channels", "a"),
                 s("pcm_s16le,48000,1"));
        QVERIFY(QFile::remove(QString::fromStdString(apart->parts[1].file.path)));
        const auto gone = transcoder::run(*apart, options(), {}, {}, makeCancelToken());
        QVERIFY(!gone);
        QCOMPARE(gone.refusal().status, kLookAgain);
    }

    // A volume on which everybody may write, as a temporary one is, and a source that only its owner reaches.
    void noDirectoryOfResultsIsMoreOpenThanItsSource()
    {
        const QString own = m_bench.path(s("own"));
        QVERIFY(QDir().mkpath(own));
        QCOMPARE(m_bench.make(s("own/in.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -c:v mpeg4"),
                 QString());
        QCOMPARE(::chmod(qPrintable(own), 0700), 0);
        const MediaOptions order = options();
        QCOMPARE(::chmod(qPrintable(m_volume), 01777), 0);
        const auto made = transcode(s("own/in.mov"), order);
        QVERIFY2(made, made.refusal().text.c_str());
        const QString folder = QFileInfo(QString::fromStdString(made->linked.path)).absolutePath();
        for (const QString& directory : {folder, QFileInfo(folder).absolutePath()}) {
            struct stat facts
            {
            };
            QCOMPARE(::stat(qPrintable(directory), &facts), 0);
            QCOMPARE(int(facts.st_mode & 0077), 0);
        }
    }
    void noResultIsMoreOpenThanItsSource()
    {
        if (::geteuid() != 0)
            QSKIP("only root can give a file any group");
        constexpr gid_t kGroup = 54321;
        QCOMPARE(m_bench.make(s("group.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -c:v mpeg4"),
                 QString());
        const QByteArray name = QFile::encodeName(m_bench.path(s("group.mov")));
        QVERIFY(QFile::setPermissions(m_bench.folder.path(), QFile::Permissions(0x7755)));
        QCOMPARE(::chown(name.constData(), static_cast<uid_t>(-1), kGroup), 0);
        QCOMPARE(::chmod(name.constData(), 0640), 0);
        const auto made = transcode(s("group.mov"), options());
        QVERIFY2(made, made.refusal().text.c_str());
        struct stat facts
        {
        };
        QCOMPARE(::stat(made->linked.path.c_str(), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0640);
        QCOMPARE(facts.st_gid, kGroup);
    }
};

QTEST_GUILESS_MAIN(TestServiceTranscode)
#include "test_service_transcode.moc"
