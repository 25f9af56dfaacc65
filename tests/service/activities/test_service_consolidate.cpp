#include "EngineBench.h"
#include "PipelineBench.h"
#include "TestFiles.h"
#include "activities/Activity.h"
#include "activities/ConsolidationPlan.h"
#include "base/FileTools.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"
#include "media/TargetIndex.h"

#include <QDir>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using TestFiles::content;
using TestFiles::write;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// What an activity orders, in the words of the editor.
struct Wish
{
    QString video;
    QString audio;
    bool skips = false;
    bool relinks = false;
    bool transcodes = false;
    const char* rate = "48000";
    bool convertsRate = false;
    const char* bits = "16";
    bool convertsBits = false;
    const char* format = "PCM  (MXF OP1a)";
    bool convertsFormat = false;

    ActivityRecipe recipe() const
    {
        const auto flag = [](bool value) { return value ? "true" : "false"; };
        const std::string element =
            std::string("<activity id=\"consolidate\" name=\"Consolidate\"><outputDetail>") +
            "<filesystemVideoVolume>" + video.toStdString() + "/</filesystemVideoVolume>" +
            "<filesystemAudioVolume>" + audio.toStdString() + "/</filesystemAudioVolume>" +
            "<outputConsolidateVideoProfile><videoSkipOnTarget>" + flag(skips) + "</videoSkipOnTarget>" +
            "<videoRelinkSkippedToTarget>" + flag(relinks) + "</videoRelinkSkippedToTarget>" +
            "<performTranscodeIfConsolidateFails>" + flag(transcodes) +
            "</performTranscodeIfConsolidateFails><transcodeOptions>" +
            "<videoCompressionType name=\"ProRes Proxy\">16777217</videoCompressionType>" +
            "<videoProjectType>PAL 25p</videoProjectType><videoColorSpace>YCbCr 601</videoColorSpace>" +
            "<videoRaster>720x576</videoRaster></transcodeOptions></outputConsolidateVideoProfile>" +
            "<outputAudioProfile><audioSampleRate enabled=\"" + flag(convertsRate) + "\">" + rate +
            "</audioSampleRate><audioSampleWidth enabled=\"" + flag(convertsBits) + "\">" + bits +
            "</audioSampleWidth><audioFormat enabled=\"" + flag(convertsFormat) + "\">" + format +
            "</audioFormat></outputAudioProfile></outputDetail></activity>";
        ActivityRecipe recipe;
        recipe.id = profiledocument::kConsolidate;
        recipe.name = "Consolidate";
        recipe.element = element;
        return recipe;
    }
};

} // namespace

/// Media brought to a volume as they are; what comes of it is told by ffprobe and ffmpeg.
class TestServiceConsolidate : public QObject
{
    Q_OBJECT

    EngineBench m_bench;
    int m_count = 0;

    Wish wish()
    {
        Wish wish;
        wish.video = wish.audio = m_bench.path(s("volume%1").arg(++m_count));
        QDir().mkpath(wish.video);
        return wish;
    }
    static FileFacts facts(const QString& path) { return EngineBench::factsOf(path.toStdString()); }
    Clip clip(const QString& name) const { return m_bench.clip(name); }
    static Outcome<Clip> consolidate(const Clip& clip, const Wish& wish,
                                     const CancelToken& cancel = makeCancelToken())
    {
        const ActivityRecipe recipe = wish.recipe();
        return Activity::forId(recipe.id).run(clip, recipe, {}, cancel);
    }
    Outcome<Clip> consolidate(const QString& name, const Wish& wish) const
    {
        return consolidate(clip(name), wish);
    }
    QString place(const QString& volume) const
    {
        return volume + s("/KRX Media/") + QFileInfo(m_bench.folder.path()).fileName();
    }
    /// What lies on a volume, hidden files too.
    QStringList left(const QString& volume) const
    {
        return QDir(place(volume)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    static QString linked(const Outcome<Clip>& made) { return QString::fromStdString(made->linked.path); }
    static QString notes(const Outcome<Clip>& made)
    {
        QString all;
        for (const auto& note : made->activities.back().notes)
            all += QString::fromStdString(note) + QLatin1Char('\n');
        return all;
    }
    /// MD5 of the decoded sound of a stream.
    static QString sound(const QString& file, const char* stream = "0:a:0")
    {
        return EngineBench::run(s("ffmpeg"), {s("-v"), s("error"), s("-i"), file, s("-map"), s(stream),
                                              s("-c"), s("pcm_s32le"), s("-f"), s("md5"), s("-")});
    }

private slots:
    void cleanup()
    {
        Ffmpeg::use({});
        MediaProbe::use({});
    }

    void whatMxfHoldsGoesIntoMxfFrameForFrame_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<QString>("format");
        QTest::newRow("ProRes") << QByteArray("-c:v prores_ks -profile:v 0") << s("yuv422p10le");
        QTest::newRow("DNxHR") << QByteArray("-c:v dnxhd -profile:v dnxhr_lb -pix_fmt yuv422p")
                               << s("yuv422p");
        QTest::newRow("MPEG-2 with B-frames") << QByteArray("-c:v mpeg2video -bf 2 -g 12") << s("yuv420p");
        QTest::newRow("JPEG 2000") << QByteArray("-c:v jpeg2000 -pix_fmt yuv422p") << s("yuv422p");
    }
    void whatMxfHoldsGoesIntoMxfFrameForFrame()
    {
        QFETCH(QByteArray, codec);
        QFETCH(QString, format);
        const QByteArray options = "-f lavfi -i testsrc2=s=256x144:r=25:d=0.6 -f lavfi -i "
                                   "sine=r=48000:d=0.6 -timecode 10:00:00:00 -c:a pcm_s16le " +
                                   codec;
        QCOMPARE(m_bench.make(s("in.mov"), options.constData()), QString());
        const Wish wish = this->wish();
        const auto made = consolidate(s("in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(notes(made), QString());
        QCOMPARE(linked(made), place(wish.video) + s("/in.mxf"));
        QCOMPARE(left(wish.video), QStringList(s("in.mxf")));
        const char* entries = "stream=codec_name,width,height,r_frame_rate,nb_read_packets";
        QCOMPARE(EngineBench::probed(linked(made), entries).toLatin1(),
                 EngineBench::probed(m_bench.path(s("in.mov")), entries).toLatin1());
        const QByteArray pixels = format.toLatin1();
        const QStringList pictures = EngineBench::pictures(m_bench.path(s("in.mov")), pixels.constData());
        QCOMPARE(pictures.size(), 15);
        QCOMPARE(EngineBench::pictures(linked(made), pixels.constData()), pictures);
        QCOMPARE(sound(linked(made)), sound(m_bench.path(s("in.mov"))));
        QVERIFY(EngineBench::probed(linked(made), "format_tags=timecode:stream_tags=timecode")
                    .contains(s("10:00:00:00")));
        QCOMPARE(made->activities.back().check, std::string("verified"));
        QVERIFY(made->linked.checksum == facts(linked(made)).checksum);
        QCOMPARE(notes(made), QString());
    }

    void whatMxfCannotHoldKeepsItsWrapperAndEveryByte_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("make");
        QTest::addColumn<QString>("note");
        const QByteArray picture = "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 ";
        const QByteArray sound = "-f lavfi -i sine=r=48000:d=0.4 ";
        QTest::newRow("H.264") << s("h264.mp4") << picture + sound + "-c:v libx264 -pix_fmt yuv420p -c:a aac"
                               << s("MXF cannot hold h264");
        QTest::newRow("FFV1") << s("ffv1.mkv") << picture + "-c:v ffv1" << s("MXF cannot hold ffv1");
        QTest::newRow("AAC beside MPEG-2")
            << s("m2.mov") << picture + sound + "-c:v mpeg2video -c:a aac" << s("MXF cannot hold aac");
        QTest::newRow("44.1 kHz") << s("rate.mov")
                                  << picture + "-f lavfi -i sine=r=44100:d=0.4 -c:v mpeg2video -c:a pcm_s16le"
                                  << s("MXF cannot hold sound of 44100 Hz");
        QTest::newRow("transport stream")
            << s("in.ts") << picture + "-pix_fmt yuv420p -c:v libx264" << s("MXF cannot hold h264");
        QTest::newRow("already MXF") << s("in.mxf") << picture + "-c:v mpeg2video" << QString();
        QTest::newRow("sound alone") << s("in.wav") << sound << QString();
        QTest::newRow("MP3") << s("in.mp3") << sound << QString();
        QTest::newRow("a still") << s("still.png") << QByteArray("-f lavfi -i testsrc2=s=64x36 -frames:v 1")
                                 << QString();
    }
    void whatMxfCannotHoldKeepsItsWrapperAndEveryByte()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, make);
        QFETCH(QString, note);
        QCOMPARE(m_bench.make(name, make.constData()), QString());
        const Wish wish = this->wish();
        const auto made = consolidate(name, wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), place(wish.video) + QLatin1Char('/') + name);
        QCOMPARE(content(linked(made)), content(m_bench.path(name)));
        if (name != s("in.ts")) // begins with pictures that cannot be decoded alone
            QCOMPARE(notes(made), note.isEmpty() ? QString() : note + s(": it keeps its own wrapper\n"));
        QCOMPARE(left(wish.video), QStringList(name));
    }

    void sequenceGoesAlongWithItsSidecar()
    {
        QVERIFY(QDir().mkpath(m_bench.path(s("reel"))));
        QCOMPARE(m_bench.make(s("reel/shot.%04d.dpx"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.12"),
                 QString());
        write(m_bench.path(s("reel/shot.cdl")), "<ColorDecisionList/>");
        Clip clip = this->clip(s("reel/shot.0001.dpx"));
        const auto files = clipfiles::of(clip.source.path, {}, true);
        std::string error;
        clip.sequence = files.sequence;
        clip.linked.stamp = files.stamp;
        clip.linked.checksum =
            *clipfiles::fingerprint(*files.sequence, {}, files.stamp.size, makeCancelToken(), error);
        clip.sidecars = {facts(m_bench.path(s("reel/shot.cdl")))};
        Wish wish = this->wish();
        wish.skips = wish.relinks = true;
        const auto made = consolidate(clip, wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(left(wish.video),
                 (QStringList{s("shot.0001.dpx"), s("shot.0002.dpx"), s("shot.0003.dpx"), s("shot.cdl")}));
        QVERIFY(clipfiles::linkedStands(*made));
        QCOMPARE(made->linked.checksum, clip.linked.checksum);
        // A second clip of the same pictures is found, and linked to as a sequence.
        const auto again = consolidate(clip, wish);
        QVERIFY2(again, again.refusal().text.c_str());
        QCOMPARE(left(wish.video).size(), 4);
        QVERIFY(again->sequence && sequence::count(*again->sequence) == 3);
        QVERIFY(again->linked.path == made->linked.path && clipfiles::linkedStands(*again));
    }

    void movieThatWasMadeOfPicturesKeepsItsName()
    {
        QCOMPARE(m_bench.make(s("shot.mov"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v mpeg2video"),
                 QString());
        Clip movie = clip(s("shot.mov"));
        movie.source.path = m_bench.path(s("shot_0007.dpx")).toStdString();
        movie.source.checksum = "xxh3-64-sequence:0123456789abcdef";
        const Wish wish = this->wish();
        const auto made = consolidate(movie, wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), place(wish.video) + s("/shot.mxf"));
    }

    void soundIsConvertedOnlyWhereAsked()
    {
        QCOMPARE(m_bench.make(s("in.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -f lavfi -i "
                                           "sine=r=44100:d=0.4 -c:v mpeg2video -c:a pcm_s24le"),
                 QString());
        Wish wish = this->wish();
        wish.convertsRate = true;
        auto made = consolidate(s("in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QVERIFY(linked(made).endsWith(s("/in.mxf")));
        const char* entries = "stream=codec_name,sample_rate";
        QCOMPARE(EngineBench::probed(linked(made), entries, "a"), s("pcm_s24le,48000"));
        wish = this->wish();
        wish.convertsRate = wish.convertsBits = true;
        made = consolidate(s("in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::probed(linked(made), entries, "a"), s("pcm_s16le,48000"));
        const QStringList pictures = EngineBench::pictures(m_bench.path(s("in.mov")));
        QCOMPARE(EngineBench::pictures(linked(made)), pictures);
        // What MXF does not take is the nearest that it takes, and that is said.
        wish = this->wish();
        wish.convertsFormat = true;
        wish.format = "MP2  (MXF OP1a)";
        made = consolidate(s("in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(EngineBench::probed(linked(made), entries, "a"), s("pcm_s24le,48000"));
        QVERIFY(notes(made).contains(s("cannot hold MP2")) && notes(made).contains(s("44100 Hz became")));
    }

    void soundOfH264IsConvertedInItsOwnWrapper()
    {
        QCOMPARE(m_bench.make(s("in.mp4"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -f lavfi -i "
                                           "sine=r=44100:d=0.4 -c:v libx264 -bf 2 -pix_fmt yuv420p -c:a aac"),
                 QString());
        Wish wish = this->wish();
        wish.convertsRate = true;
        const auto made = consolidate(s("in.mp4"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), place(wish.video) + s("/in.mov"));
        QVERIFY(notes(made).contains(s("MP4 holds no PCM")));
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_name,sample_rate", "a"),
                 s("pcm_s24le,48000"));
        QCOMPARE(EngineBench::pictures(linked(made)), EngineBench::pictures(m_bench.path(s("in.mp4"))));
    }

    void pictureAndSoundGoToVolumesOfTheirOwn()
    {
        QCOMPARE(m_bench.make(s("in.mov"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -f lavfi -i "
                                           "sine=r=44100:d=0.4 -timecode 01:00:00:00 -c:v mpeg2video -c:a "
                                           "pcm_s24le"),
                 QString());
        Wish wish = this->wish();
        wish.audio = this->wish().video;
        wish.skips = wish.relinks = true;
        const auto made = consolidate(s("in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(made->parts.size()), 2);
        QCOMPARE(left(wish.video), QStringList(s("in.mxf")));
        QCOMPARE(left(wish.audio), QStringList(s("in.wav")));
        const QString wave = place(wish.audio) + s("/in.wav");
        QCOMPARE(EngineBench::probed(place(wish.video) + s("/in.mxf"), "stream=codec_name", "a"), QString());
        QCOMPARE(EngineBench::probed(wave, "stream=codec_name,sample_rate", "a"), s("pcm_s24le,44100"));
        QCOMPARE(sound(wave), sound(m_bench.path(s("in.mov"))));
        // Broadcast Wave, which knows when it begins.
        QVERIFY(content(wave).contains("bext"));
        QCOMPARE(EngineBench::probed(wave, "format_tags=time_reference", "a"),
                 QString::number(44100LL * 3600));
        const auto again = consolidate(s("in.mov"), wish);
        QVERIFY2(again, again.refusal().text.c_str());
        QVERIFY(notes(again).contains(s("skipped")));
        QCOMPARE(int(again->parts.size()), 2);
        QCOMPARE(again->parts[1].file.path, wave.toStdString());
    }

    void partsAreBroughtTogetherOrNotAtAll()
    {
        QCOMPARE(m_bench.make(s("parts.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i "
                                              "sine=r=48000:d=0.2 -c:v mpeg2video -c:a pcm_s16le"),
                 QString());
        Wish wish = this->wish();
        wish.audio = this->wish().video;
        const auto apart = consolidate(s("parts.mov"), wish);
        QVERIFY2(apart, apart.refusal().text.c_str());
        QCOMPARE(int(apart->parts.size()), 2);
        Wish other = this->wish();
        other.audio = this->wish().video;
        // Where the sound is to go nothing can.
        TestFiles::write(other.audio + s("/KRX Media"), "no folder");
        QVERIFY(!consolidate(*apart, other));
        QCOMPARE(left(other.video), QStringList());
        QVERIFY(QFile::remove(other.audio + s("/KRX Media")));
        const auto made = consolidate(*apart, other);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(left(other.video), QStringList(s("parts.mxf")));
        QCOMPARE(left(other.audio), QStringList(s("parts.wav")));
        // What lay there before is nobody's to take away.
        QVERIFY(QFile::remove(place(other.audio) + s("/parts.wav")));
        QVERIFY(QDir().rmdir(place(other.audio)));
        TestFiles::write(place(other.audio), "no folder");
        QVERIFY(!consolidate(*apart, other));
        QCOMPARE(left(other.video), QStringList(s("parts.mxf")));
    }

    void soundAloneBecomesBroadcastWaveWhenItIsConverted()
    {
        QCOMPARE(m_bench.make(s("in.wav"), "-f lavfi -i sine=r=44100:d=0.4 -c:a pcm_s16le"), QString());
        Wish wish = this->wish();
        wish.audio = this->wish().video;
        wish.convertsRate = true;
        const auto made = consolidate(s("in.wav"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), place(wish.audio) + s("/in.wav"));
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_name,sample_rate", "a"),
                 s("pcm_s16le,48000"));
        QVERIFY(content(linked(made)).contains("bext"));
    }

    void mediaOnTheTargetAreSkipped()
    {
        QCOMPARE(
            m_bench.make(s("in.mov"),
                         "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -c:v mpeg2video -timecode 01:00:00:00"),
            QString());
        QVERIFY(QFile::remove(m_bench.path(s("same.mov"))) || true);
        QVERIFY(QFile::copy(m_bench.path(s("in.mov")), m_bench.path(s("same.mov"))));
        Wish wish = this->wish();
        QVERIFY(consolidate(s("in.mov"), wish));
        const QString there = place(wish.video) + s("/in.mxf");
        wish.skips = true;
        auto made = consolidate(s("same.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), m_bench.path(s("same.mov")));
        QVERIFY(notes(made).contains(there) && notes(made).contains(s("skipped")));
        QVERIFY(made->activities.back().made.empty() && made->activities.back().check.empty());
        wish.relinks = true;
        made = consolidate(s("same.mov"), wish);
        QCOMPARE(linked(made), there);
        QCOMPARE(left(wish.video), QStringList(s("in.mxf")));
        // Without the wish it is brought there once more, and nothing is replaced.
        wish.skips = false;
        QVERIFY(consolidate(s("in.mov"), wish));
        QCOMPARE(left(wish.video), (QStringList{s("in (2).mxf"), s("in.mxf")}));
    }

    void missingIndexIsMadeAnewAndChangedMediaDoNotCount()
    {
        const std::string volume = wish().video.toStdString();
        const std::string folder = volume + "/KRX Media";
        const QString file = QString::fromStdString(folder) + s("/reel/a.mov");
        QVERIFY(QDir().mkpath(QFileInfo(file).path()));
        write(file, "content");
        const auto token = makeCancelToken();
        const TargetIndex index(folder);
        const TargetIndex::Key own{"clip", facts(file).checksum};
        const TargetIndex::Key madeOf{"picture", "xxh3-64:1111111111111111"};
        // Nobody ever kept one.
        auto found = index.find(own, token);
        QVERIFY(found && found->path == file.toStdString() && found->checksum == own.checksum);
        QVERIFY(!index.find(madeOf, token));
        index.add(madeOf, facts(file));
        QVERIFY(index.find(madeOf, token));
        // What it was made of is known even when the index is lost, where the file can carry that.
        const QString kept = QString::fromStdString(folder) + QLatin1Char('/') + s(TargetIndex::kName);
        QVERIFY(QFile::remove(kept));
        char value[8];
        const bool carries = ::getxattr(file.toStdString().c_str(), "user.krx.madeof", value, 0) > 0;
        QCOMPARE(index.find(madeOf, token).has_value(), carries);
        QVERIFY(QFile::exists(kept));
        for (const char* damage : {"", "nonsense\n", "krx-index 1\nclip xxh3"}) {
            write(kept, damage);
            index.add(madeOf, facts(file));
            QVERIFY2(index.find(madeOf, token), damage);
        }
        write(kept, "krx-index 1\nclip xxh3-64:2 xxh3-64:2 7 0 ../../../etc/passwd\n");
        QVERIFY(!index.find({"clip", "xxh3-64:2"}, token));
        index.add(madeOf, facts(file));
        write(file, "another content");
        QVERIFY(!index.find(madeOf, token));
        QVERIFY(QFile::remove(file));
        QVERIFY(!index.find(madeOf, token));
        QVERIFY(!TargetIndex("/nowhere/KRX Media").find(own, token));
    }

    void whatCannotBeBroughtIsTranscodedWhenThatIsAllowed()
    {
        QCOMPARE(m_bench.make(s("in.ts"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.4 -f lavfi -i "
                                          "sine=r=48000:d=0.4 -pix_fmt yuv420p -c:v libx264 -c:a aac"),
                 QString());
        Wish wish = this->wish();
        wish.convertsBits = true;
        auto made = consolidate(s("in.ts"), wish);
        QVERIFY(!made);
        const QString reason = QString::fromStdString(made.refusal().text);
        QVERIFY2(reason.startsWith(s("Consolidating ")) && reason.contains(s("MXF cannot hold h264")) &&
                     reason.contains(s("cannot be written with other sound")),
                 qPrintable(reason));
        QVERIFY(left(wish.video).isEmpty());
        wish.transcodes = true;
        made = consolidate(s("in.ts"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QVERIFY(notes(made).contains(s("was transcoded instead: ")) && notes(made).contains(reason));
        QCOMPARE(EngineBench::probed(linked(made), "stream=codec_name,width,height"), s("prores,720,576"));
        QCOMPARE(made->activities.back().id, std::string("consolidate"));
        QCOMPARE(int(made->activities.size()), 1);
        // It is not the same media: the next one is not skipped for it.
        wish.skips = true;
        made = consolidate(s("in.ts"), wish);
        QVERIFY(made && !notes(made).contains(s("skipped")));
    }

    // Only what the media or the wrapper cannot do is a reason to do something else.
    void deathOfAnEngineIsNoReasonToTranscode_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("engine"); // in ffmpeg's place
        QTest::addColumn<QByteArray>("task");   // of krx-media, which is ended
        QTest::addColumn<QString>("reason");
        const QString mov = s("in.mov");
        QTest::newRow("ffmpeg killed") << mov << QByteArray("kill -9 $$") << QByteArray() << s("signal 9");
        QTest::newRow("ffmpeg told to end") << mov << QByteArray("exit 255") << QByteArray() << s("code 255");
        QTest::newRow("ffmpeg missing") << mov << QByteArray("missing") << QByteArray() << s("not installed");
        QTest::newRow("ffmpeg standing still")
            << mov << QByteArray("sleep 1000") << QByteArray() << s("made no progress");
        QTest::newRow("krx-media killed, feeding")
            << mov << QByteArray() << QByteArray("feed") << s("signal 9");
        QTest::newRow("krx-media killed, looking at the result")
            << mov << QByteArray() << QByteArray("check") << s("signal 9");
        QTest::newRow("krx-media killed, looking at the original")
            << s("in.mkv") << QByteArray() << QByteArray("check") << s("signal 9");
    }
    void deathOfAnEngineIsNoReasonToTranscode()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, engine);
        QFETCH(QByteArray, task);
        QFETCH(QString, reason);
        QCOMPARE(m_bench.make(s("in.mov"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v mpeg2video"),
                 QString());
        QCOMPARE(m_bench.make(s("in.mkv"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v ffv1"), QString());
        const std::string usual = MediaProbe::program().front();
        if (engine == "missing")
            Ffmpeg::use({"no-such-ffmpeg"});
        else if (!engine.isEmpty())
            Ffmpeg::use({"/bin/sh", "-c", engine.toStdString(), "/bin/sleep"}, 300);
        if (!task.isEmpty())
            MediaProbe::use({"/bin/sh", "-c",
                             "test \"$1\" = " + task.toStdString() + " && kill -9 $$; exec \"$0\" \"$@\"",
                             usual});
        Wish wish = this->wish();
        wish.transcodes = true;
        const auto made = consolidate(name, wish);
        QVERIFY(!made);
        QCOMPARE(made.refusal().status, kNoEngine);
        const QString text = QString::fromStdString(made.refusal().text);
        QVERIFY2(text.startsWith(s("Consolidating ")) && text.contains(reason), qPrintable(text));
        QVERIFY(left(wish.video).isEmpty());
        // When it lives, it is done.
        cleanup();
        const auto again = consolidate(name, wish);
        QVERIFY2(again, again.refusal().text.c_str());
        QVERIFY(!notes(again).contains(s("transcoded instead")));
        QCOMPARE(left(wish.video).size(), 1);
    }

    void theDocumentAndTheJobSayWhatBecameOfIt()
    {
        PipelineBench bench;
        QCOMPARE(m_bench.make(s("h264.mp4"),
                              "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v libx264 -pix_fmt yuv420p"),
                 QString());
        FileOrder order = bench.order(m_bench.path(s("h264.mp4")).toStdString());
        order.ownerPath = m_bench.folder.path().toStdString();
        order.profile.activities = {wish().recipe()};
        const FileResult result = bench.pipeline.process(order);
        QVERIFY2(result.end == FileResult::End::Offered, result.text.c_str());
        const std::string note = "MXF cannot hold h264: it keeps its own wrapper";
        QCOMPARE(result.notes, std::vector<std::string>{note});
        QVERIFY(content(bench.listed().at(0)).contains(QByteArray::fromStdString(note)));

        QCOMPARE(m_bench.make(s("other.ts"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -f lavfi -i "
                                             "sine=r=48000:d=0.2 -pix_fmt yuv420p -c:v libx264 -c:a aac"),
                 QString());
        Wish instead = wish();
        instead.convertsBits = instead.transcodes = true;
        order.path = m_bench.path(s("other.ts")).toStdString();
        order.profile.activities = {instead.recipe()};
        const FileResult other = bench.pipeline.process(order);
        QVERIFY2(other.end == FileResult::End::Offered, other.text.c_str());
        const QByteArray said = "It could not be consolidated and was transcoded instead: ";
        QVERIFY(QByteArray::fromStdString(other.notes.at(0)).startsWith(said));
        QVERIFY(content(bench.listed().at(1)).contains(said));
    }

    void truncatedMovieIsRefusedWithTheReason()
    {
        QCOMPARE(m_bench.make(s("whole.mkv"), "-f lavfi -i testsrc2=s=160x96:r=25:d=4 -c:v ffv1 -g 1"),
                 QString());
        const QByteArray whole = content(m_bench.path(s("whole.mkv")));
        write(m_bench.path(s("cut.mkv")), whole.left(whole.size() / 2));
        const Wish wish = this->wish();
        const auto made = consolidate(s("cut.mkv"), wish);
        QVERIFY(!made);
        QVERIFY2(made.refusal().status == 500 &&
                     made.refusal().text.find("it is cut off") != std::string::npos,
                 made.refusal().text.c_str());
        QVERIFY(left(wish.video).isEmpty());
    }

    void picturesOfWhichThereIsNotOneAreRefused()
    {
        for (const char* name : {"none.avi", "none.mkv"}) {
            QCOMPARE(m_bench.make(s(name), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.4 -f lavfi -i "
                                           "sine=r=48000:d=0.4 -vf select=0 -c:v mpeg2video -c:a pcm_s16le"),
                     QString());
            Wish wish = this->wish();
            wish.transcodes = true;
            const auto made = consolidate(s(name), wish);
            QVERIFY2(!made, name);
            QVERIFY2(made.refusal().text.find("it holds no pictures") != std::string::npos,
                     made.refusal().text.c_str());
            QVERIFY(left(wish.video).isEmpty());
        }
    }

    void volumesThatAreAwayAreWaitedForAndImpossibleOnesAreNot()
    {
        QCOMPARE(m_bench.make(s("in.mov"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v mpeg2video"),
                 QString());
        Wish wish = this->wish();
        QVERIFY(QDir().rmdir(wish.video));
        auto made = consolidate(s("in.mov"), wish);
        QVERIFY(!made && made.refusal().status == kWaitFor);
        write(wish.video, "a file");
        made = consolidate(s("in.mov"), wish);
        QVERIFY(!made && made.refusal().status == 500);
        // A file where the folder is to be.
        wish = this->wish();
        write(wish.video + s("/KRX Media"), "a file");
        for (const char* name : {"in.mov", "h264.mp4"}) {
            made = consolidate(s(name), wish);
            QVERIFY(!made && made.refusal().status == 500);
        }
    }

    // Volumes on which everybody may write, as a temporary one is, and a source that only its owner reaches.
    void noDirectoryOfNewMxfIsMoreOpenThanItsSource()
    {
        QVERIFY(QDir().mkpath(m_bench.path(s("own"))));
        QCOMPARE(m_bench.make(s("own/in.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i "
                                               "sine=r=48000:d=0.2 -c:v mpeg2video -c:a pcm_s16le"),
                 QString());
        QCOMPARE(::chmod(qPrintable(m_bench.path(s("own"))), 0700), 0);
        Wish wish = this->wish();
        wish.audio = this->wish().video;
        for (const QString& volume : {wish.video, wish.audio})
            QCOMPARE(::chmod(qPrintable(volume), 01777), 0);
        const auto made = consolidate(s("own/in.mov"), wish);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(linked(made), place(wish.video) + s("/in.mxf"));
        QVERIFY(!left(wish.audio).isEmpty());
        for (const QString& volume : {wish.video, wish.audio}) {
            for (const QString& directory : QStringList{volume + s("/KRX Media"), place(volume)}) {
                struct stat facts
                {
                };
                QCOMPARE(::stat(qPrintable(directory), &facts), 0);
                QCOMPARE(int(facts.st_mode & 0077), 0);
            }
        }
    }

    void cancelledWorkLeavesNothing()
    {
        QCOMPARE(m_bench.make(s("in.mov"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v mpeg2video"),
                 QString());
        QCOMPARE(m_bench.make(s("in.mkv"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v ffv1"), QString());
        for (const char* name : {"in.mov", "in.mkv"}) {
            Wish wish = this->wish();
            wish.transcodes = true;
            const auto cancel = makeCancelToken();
            *cancel = true;
            QVERIFY(!consolidate(clip(s(name)), wish, cancel));
            QVERIFY(left(wish.video).isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(TestServiceConsolidate)
#include "test_service_consolidate.moc"
