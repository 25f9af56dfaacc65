#include "PipelineBench.h"
#include "TestFiles.h"

#include "base/FileTools.h"
#include "media/ClipFiles.h"
#include "media/LinkSettings.h"
#include "media/PictureKinds.h"
#include "media/Timecode.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <pugixml.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <optional>

using TestFiles::content;

namespace {

using End = FileResult::End;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QString run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.exitCode() == 0 ? QString::fromUtf8(process.readAllStandardOutput()).trimmed() : QString();
}

/// What ffprobe, which is none of ours, says of a file.
QString probed(const QString& path, const char* entries, const QStringList& more = {})
{
    return run(s("ffprobe"), QStringList{s("-v"), s("error"), s("-show_entries"), s(entries), s("-of"),
                                         s("default=nw=1:nk=1")} +
                                 more + QStringList{path});
}

bool make(const QStringList& arguments)
{
    return QProcess::execute(s("ffmpeg"), QStringList{s("-v"), s("error"), s("-y")} + arguments) == 0;
}

QStringList picture(const char* source)
{
    return {s("-f"), s("lavfi"), s("-i"), s(source)};
}

/// The settings of a profile with one group of them.
std::string settings(const char* groups)
{
    return std::string("<profileSettings>") + groups + "</profileSettings>";
}

} // namespace

/// What each link setting of a profile makes of real media, compared with what a foreign program reads.
class TestServiceLink : public QObject
{
    Q_OBJECT

    QTemporaryDir m_media;
    std::unique_ptr<PipelineBench> m_bench;
    pugi::xml_document m_document;

    QString file(const char* name) const { return m_media.filePath(s(name)); }

    /// Offers a file under a profile with these settings; the document's "clip" element is then at hand.
    bool offer(const QString& path, const char* groups)
    {
        auto order = m_bench->order(path.toStdString());
        order.profile.id = "p-1";
        order.profile.settings = settings(groups);
        const std::size_t before = m_bench->listed().size();
        if (m_bench->pipeline.process(order).end != End::Offered || m_bench->listed().size() != before + 1)
            return false;
        return m_document.load_file(m_bench->listed().back().c_str());
    }
    QString said(const char* xpath) const
    {
        return QString::fromUtf8(m_document.select_node(xpath).node().text().get());
    }
    QString attribute(const char* xpath) const
    {
        return QString::fromUtf8(m_document.select_node(xpath).attribute().value());
    }
    /// What is wrong with the newest document, by the schema that hosts are given.
    QString faults() const
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(s("xmllint"), {s("--noout"), s("--nonet"), s("--schema"), s(KRX_SCHEMAS "/xel.xsd"),
                                     QString::fromStdString(m_bench->listed().back())});
        process.waitForFinished();
        return process.exitCode() == 0 ? QString() : QString::fromUtf8(process.readAll());
    }
    /// Copies of one picture, under these numbers.
    bool pictures(const char* stem, const QStringList& numbers) const
    {
        for (const QString& number : numbers) {
            const QString to = m_media.filePath(s(stem) + number + s(".dpx"));
            if (!QFile::copy(file("shot_001500.dpx"), to))
                return false;
        }
        return true;
    }
    QStringList errors() const
    {
        QStringList texts;
        for (const auto& text : m_bench->errors.list())
            texts << QString::fromStdString(text);
        return texts;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("card/100/roll")));
        QVERIFY(make(picture("testsrc2=s=64x36:r=25:d=0.4") +
                     QStringList{s("-c:v"), s("mpeg4"), s("-timecode"), s("10:20:30:05"),
                                 file("card/100/roll/take_01-02-03-04.mov")}));
        QVERIFY(
            make(picture("sine=d=0.1:r=48000") + QStringList{s("-write_bext"), s("1"), s("-metadata"),
                                                             s("time_reference=172801920"), file("b.wav")}));
        QVERIFY(
            make(picture("testsrc2=s=16x16:r=25") +
                 QStringList{s("-frames:v"), s("3"), s("-start_number"), s("1500"), file("shot_%06d.dpx")}));
        QVERIFY(
            make(picture("testsrc2=s=16x16:r=25") + QStringList{s("-frames:v"), s("1"), file("still.png")}));
        QVERIFY(make(
            picture("testsrc2=s=64x36:r=24000/1001:d=0.3") + picture("testsrc2=s=32x18:r=24000/1001:d=0.3") +
            picture("sine=d=0.3:r=48000") + picture("anullsrc=r=48000:cl=5.1") +
            QStringList{s("-map"), s("1"), s("-map"), s("0"), s("-map"), s("2"), s("-map"), s("3"), s("-t"),
                        s("0.3"), s("-c:v"), s("mpeg4"), s("-c:a"), s("pcm_s16le"), file("many.mov")}));
    }
    void init() { m_bench = std::make_unique<PipelineBench>(); }
    void cleanup() { m_bench.reset(); }

    void binIsNamedByEachOfItsMethods_data()
    {
        QTest::addColumn<QByteArray>("detail");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QString>("name");
        const auto detail = [](const char* selection, const char* naming, const char* name) -> QByteArray {
            return QByteArray("<binDetail>") + name + "<binSelectionMethod>" + selection +
                   "</binSelectionMethod><binNamingMethod>" + naming + "</binNamingMethod></binDetail>";
        };
        QTest::newRow("active") << detail("USEACTIVE", "VOLUME", "") << s("ACTIVE") << QString();
        QTest::newRow("default") << detail("CREATENEW", "DEFAULT", "") << s("DEFAULT") << QString();
        QTest::newRow("volume") << detail("CREATENEW", "VOLUME", "") << s("VOLUME") << QString();
        QTest::newRow("explicit") << detail("CREATENEW", "EXPLICIT",
                                            "<binExplicitName>Rushes</binExplicitName>")
                                  << s("EXPLICIT") << s("Rushes");
    }
    void binIsNamedByEachOfItsMethods()
    {
        QFETCH(QByteArray, detail);
        QVERIFY(offer(file("b.wav"), detail.constData()));
        QCOMPARE(faults(), QString());
        QTEST(attribute("/xel/clip/bin/@method"), "method");
        QTEST(said("/xel/clip/bin"), "name");
        QCOMPARE(said("/xel/version"), s("2"));
    }

    void reelIsTheNameOfTheFileOrOfAFolderAboveIt_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<int>("level");
        QTest::addColumn<QString>("reel");
        QTest::newRow("file") << QByteArray("FILENAME") << 3 << s("take_01-02-03-04");
        QTest::newRow("one up") << QByteArray("FOLDERNAME") << 1 << s("roll");
        QTest::newRow("two up") << QByteArray("FOLDERNAME") << 2 << s("100");
        QTest::newRow("three up") << QByteArray("FOLDERNAME") << 3 << s("card");
        // Above that lie folders of the system: the test knows how many.
        const QStringList above =
            QDir(m_media.path()).absolutePath().split(QLatin1Char('/'), Qt::SkipEmptyParts);
        QTest::newRow("four up") << QByteArray("FOLDERNAME") << 4 << above.last();
        QTest::newRow("beyond the top") << QByteArray("FOLDERNAME") << 8
                                        << (above.size() < 5 ? above.first() : above.at(above.size() - 5));
    }
    void reelIsTheNameOfTheFileOrOfAFolderAboveIt()
    {
        QFETCH(QByteArray, method);
        QFETCH(int, level);
        const QByteArray groups = "<zorMetadata><reelNamingMethod>" + method +
                                  "</reelNamingMethod><reelFolderLevel>" + QByteArray::number(level) +
                                  "</reelFolderLevel></zorMetadata>";
        QVERIFY(offer(file("card/100/roll/take_01-02-03-04.mov"), groups.constData()));
        QTEST(said("/xel/clip/reelName"), "reel");
    }

    void startIsTheEmbeddedTimecodeOrTheOneInTheName()
    {
        const QString movie = file("card/100/roll/take_01-02-03-04.mov");
        QVERIFY(offer(movie, "<zorMetadata><timecodeMethod>EMBEDDED</timecodeMethod></zorMetadata>"));
        QCOMPARE(said("/xel/clip/startTimecode"),
                 probed(movie, "stream_tags=timecode", {s("-select_streams"), s("v:0")}));
        QCOMPARE(attribute("/xel/clip/startTimecode/@method"), s("EMBEDDED"));
        QCOMPARE(said("/xel/clip/frameCount"), probed(movie, "stream=nb_read_frames",
                                                      {s("-count_frames"), s("-select_streams"), s("v:0")}));
        QCOMPARE(said("/xel/clip/frameRate"),
                 probed(movie, "stream=r_frame_rate", {s("-select_streams"), s("v:0")}));
        m_bench = std::make_unique<PipelineBench>();
        QVERIFY(offer(movie, "<zorMetadata><timecodeMethod>FILENAME</timecodeMethod></zorMetadata>"));
        QCOMPARE(said("/xel/clip/startTimecode"), s("01:02:03:04"));
        QCOMPARE(attribute("/xel/clip/startTimecode/@method"), s("FILENAME"));
        QVERIFY(errors().isEmpty());
    }

    void fourHoursOfTimecodeAreCountedToTheFrame()
    {
        // Ten seconds over and over, so that nobody encodes four hours; they go past midnight.
        QVERIFY(
            make(picture("color=s=16x16:r=25:d=10") + QStringList{s("-c:v"), s("mpeg4"), file("ten.mov")}));
        const QString movie = file("long.mov");
        QVERIFY(make({s("-stream_loop"), s("1439"), s("-i"), file("ten.mov"), s("-c"), s("copy"),
                      s("-timecode"), s("20:00:00:01"), movie}));
        QVERIFY(offer(movie, "<zorMetadata><frameCountingMethod>TIMECODE</frameCountingMethod>"
                             "<timecodeMethod>EMBEDDED</timecodeMethod></zorMetadata>"));
        QCOMPARE(said("/xel/clip/startTimecode"), s("20:00:00:01"));
        QCOMPARE(said("/xel/clip/startFrame"), QString::number(20 * 3600 * 25 + 1));
        QCOMPARE(said("/xel/clip/frameCount"), QString::number(4 * 3600 * 25));
    }

    void nameWithoutTimecodeLeavesTheEmbeddedOneAndThatIsSaid()
    {
        const QString movie = file("plain.mov");
        QFile::copy(file("card/100/roll/take_01-02-03-04.mov"), movie);
        QVERIFY(offer(movie, "<zorMetadata><timecodeMethod>FILENAME</timecodeMethod></zorMetadata>"));
        QCOMPARE(said("/xel/clip/startTimecode"),
                 probed(movie, "stream_tags=timecode", {s("-select_streams"), s("v:0")}));
        QCOMPARE(attribute("/xel/clip/startTimecode/@method"), s("EMBEDDED"));
        QCOMPARE(errors().filter(s("its name holds no timecode")).filter(movie).size(), 1);
    }

    void sequenceStartsAtTheFirstNumberAsACountOfFrames()
    {
        QVERIFY(offer(file("shot_001500.dpx"), "<zorMetadata><timecodeMethod>FILENAME</timecodeMethod>"
                                               "<frameCountingMethod>FILENAME</frameCountingMethod>"
                                               "<defaultFPS>25</defaultFPS></zorMetadata>"));
        // 1500 frames at 25 a second are a minute.
        QCOMPARE(said("/xel/clip/startTimecode"), s("00:01:00:00"));
        QCOMPARE(said("/xel/clip/startFrame"), s("1500"));
        QCOMPARE(said("/xel/clip/frameRate"), s("25/1"));
        QCOMPARE(said("/xel/clip/frameCount"), s("3"));
        QCOMPARE(said("/xel/clip/name"), s("shot"));
        QCOMPARE(said("/xel/clip/sequence/firstNumber"), s("1500"));
        QCOMPARE(said("/xel/clip/sequence/lastNumber"), s("1502"));
        QVERIFY(!m_document.select_node("/xel/clip/sequence/missingNumbers"));
    }

    void timecodeInTheHeaderOfAPictureIsItsEmbeddedOne()
    {
        const QString first = file("header_001.dpx");
        // With the header's part for television, which the one of ffmpeg leaves out.
        QByteArray picture = content(file("shot_001500.dpx").toStdString());
        QVERIFY(picture.startsWith("XPDS") && picture.mid(4, 4) == QByteArray("\x80\x06\0\0", 4));
        picture.replace(4, 4, QByteArray("\0\x08\0\0", 4));
        picture.replace(28, 4, QByteArray("\x80\x01\0\0", 4));
        picture.insert(1664, QByteArray(1920 - 1664, '\xFF') + QByteArray("\x04\x33\x22\x11") +
                                 QByteArray(2048 - 1924, '\xFF'));
        for (const char* name : {"header_001.dpx", "header_002.dpx"}) {
            QFile target(file(name));
            QVERIFY(target.open(QIODevice::WriteOnly) && target.write(picture) == picture.size());
        }
        QVERIFY(offer(first, "<zorMetadata><timecodeMethod>EMBEDDED</timecodeMethod>"
                             "<frameCountingMethod>TIMECODE</frameCountingMethod>"
                             "<defaultFPS>24</defaultFPS></zorMetadata>"));
        QCOMPARE(said("/xel/clip/startTimecode"),
                 run(s("gm"), {s("identify"), s("-format"), s("%[DPX:tv.time.code]"), first}));
        QCOMPARE(said("/xel/clip/startTimecode"), s("11:22:33:04"));
        QCOMPARE(said("/xel/clip/startFrame"), QString::number(((11 * 60 + 22) * 60 + 33) * 24 + 4));
    }

    void framesAreCountedFromWhereTheSettingSays_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<QString>("first");
        QTest::newRow("0") << QByteArray("ZERO") << s("0");
        QTest::newRow("1") << QByteArray("ONE") << s("1");
        QTest::newRow("timecode") << QByteArray("TIMECODE")
                                  << QString::number(((10 * 60 + 20) * 60 + 30) * 25 + 5);
        QTest::newRow("name") << QByteArray("FILENAME") << s("4");
    }
    void framesAreCountedFromWhereTheSettingSays()
    {
        QFETCH(QByteArray, method);
        const QByteArray groups =
            "<zorMetadata><frameCountingMethod>" + method + "</frameCountingMethod></zorMetadata>";
        QVERIFY(offer(file("card/100/roll/take_01-02-03-04.mov"), groups.constData()));
        QTEST(said("/xel/clip/startFrame"), "first");
    }

    void stillAndSequenceTakeTheRatesOfTheirSettings()
    {
        const char* groups = "<linkDetail><xelStillImageFPS>23.976</xelStillImageFPS></linkDetail>"
                             "<zorMetadata><defaultFPS>29.97</defaultFPS></zorMetadata>";
        QVERIFY(offer(file("still.png"), groups));
        QCOMPARE(said("/xel/clip/frameRate"), s("24000/1001"));
        QCOMPARE(said("/xel/clip/frameCount"), s("1"));
        QVERIFY(offer(file("shot_001500.dpx"), groups));
        QCOMPARE(said("/xel/clip/frameRate"), s("30000/1001"));
        // A rate of its own counts more than any setting.
        QVERIFY(offer(file("many.mov"), groups));
        QCOMPARE(said("/xel/clip/frameRate"),
                 probed(file("many.mov"), "stream=r_frame_rate", {s("-select_streams"), s("v:0")}));
    }

    void broadcastWaveStartsWhereItsTimeReferenceSays_data()
    {
        QTest::addColumn<QByteArray>("rate");
        QTest::addColumn<QString>("start");
        // 172801920 samples at 48 kHz are an hour and a 25th of a second.
        QTest::newRow("25") << QByteArray("25") << s("01:00:00:01");
        QTest::newRow("24") << QByteArray("24") << s("01:00:00:00");
        QTest::newRow("50") << QByteArray("50") << s("01:00:00:02");
        QTest::newRow("29.97") << QByteArray("29.97") << s("00:59:56:13");
    }
    void broadcastWaveStartsWhereItsTimeReferenceSays()
    {
        QFETCH(QByteArray, rate);
        const QByteArray groups =
            "<linkDetail><xelAudioStartTimeOption>" + rate + "</xelAudioStartTimeOption></linkDetail>";
        QVERIFY(offer(file("b.wav"), groups.constData()));
        QCOMPARE(said("/xel/clip/audioStart"), probed(file("b.wav"), "format_tags=time_reference"));
        QCOMPARE(attribute("/xel/clip/audioStart/@sampleRate"), probed(file("b.wav"), "stream=sample_rate"));
        QTEST(said("/xel/clip/startTimecode"), "start");
    }

    void tracksAreGroupedAsFarAsTheClipHasThem()
    {
        const char* groups =
            "<linkDetail><multichannelAudio>2-7:5.1;8-9:Stereo</multichannelAudio></linkDetail>";
        QVERIFY(offer(file("many.mov"), groups));
        QCOMPARE(faults(), QString());
        // One mono track and six of 5.1: the second group has no tracks.
        QCOMPARE(probed(file("many.mov"), "stream=channels").split(QLatin1Char('\n'), Qt::SkipEmptyParts),
                 (QStringList{s("1"), s("6")}));
        QCOMPARE(m_document.select_nodes("/xel/clip/trackGroups/group").size(), std::size_t(1));
        QCOMPARE(attribute("/xel/clip/trackGroups/group/@first"), s("2"));
        QCOMPARE(attribute("/xel/clip/trackGroups/group/@last"), s("7"));
        QCOMPARE(attribute("/xel/clip/trackGroups/group/@layout"), s("5.1"));
        QVERIFY(offer(file("b.wav"), "<linkDetail><multichannelAudio>None</multichannelAudio></linkDetail>"));
        QVERIFY(!m_document.select_node("/xel/clip/trackGroups"));
    }

    void qualitySettingsChooseAmongTheStreamsOfAClip_data()
    {
        QTest::addColumn<QByteArray>("video");
        QTest::addColumn<QByteArray>("audio");
        QTest::addColumn<QString>("width");
        QTest::addColumn<QString>("channels");
        const QByteArray best("HIGHESTQUALITY");
        const QByteArray least("MOSTCOMPRESSED");
        QTest::newRow("best") << best << best << s("64") << s("6");
        QTest::newRow("least") << least << least << s("32") << s("1");
        QTest::newRow("least video") << least << best << s("32") << s("6");
        QTest::newRow("least audio") << best << least << s("64") << s("1");
    }
    void qualitySettingsChooseAmongTheStreamsOfAClip()
    {
        QFETCH(QByteArray, video);
        QFETCH(QByteArray, audio);
        const QByteArray groups = "<xelDetail><xelLinkPolicyVideo>" + video +
                                  "</xelLinkPolicyVideo><xelLinkPolicyAudio>" + audio +
                                  "</xelLinkPolicyAudio></xelDetail>";
        const QString movie = file("many.mov");
        QVERIFY(offer(movie, groups.constData()));
        const QString picture = attribute("/xel/media/stream[@type='video'][@preferred='true']/@index");
        const QString sound = attribute("/xel/media/stream[@type='audio'][@preferred='true']/@index");
        QCOMPARE(m_document.select_nodes("/xel/media/stream[@preferred]").size(), std::size_t(2));
        QTEST(probed(movie, "stream=width", {s("-select_streams"), picture}), "width");
        QTEST(probed(movie, "stream=channels", {s("-select_streams"), sound}), "channels");
    }

    void missingNumbersAreSaidAndRefuseNothing()
    {
        QVERIFY(pictures("gap.", {s("1"), s("2"), s("5"), s("9"), s("10")}));
        // Whichever of its pictures is named, it is the same clip.
        QVERIFY(offer(file("gap.5.dpx"), ""));
        QCOMPARE(said("/xel/clip/path"), file("gap.1.dpx"));
        QCOMPARE(faults(), QString());
        QCOMPARE(said("/xel/clip/sequence/missingNumbers"), s("3-4 6-8"));
        QCOMPARE(said("/xel/clip/frameCount"), s("5"));
        QCOMPARE(said("/xel/clip/size").toLongLong(), 5 * QFileInfo(file("gap.1.dpx")).size());
        QCOMPARE(errors().filter(s("are missing: 3-4 6-8")).filter(file("gap.1.dpx")).size(), 1);
        QVERIFY(m_bench->pipeline.process(m_bench->order(file("gap.9.dpx").toStdString())).end == End::Known);
        // What is complete now needs nothing said about it any more.
        QVERIFY(pictures("gap.", {s("3"), s("4"), s("6"), s("7"), s("8")}));
        QVERIFY(offer(file("gap.1.dpx"), ""));
        QVERIFY(!m_document.select_node("/xel/clip/sequence/missingNumbers"));
        QVERIFY(errors().isEmpty());
    }

    void pictureThatGoesAwayOrChangesDuringTheWorkMakesItLookAgain()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("busy")) && pictures("busy_", {s("1"), s("2"), s("3")}));
        auto order = m_bench->order(file("busy_1.dpx").toStdString());
        order.profile.activities = {PipelineBench::copyTo(file("busy"), true)};
        bool once = false;
        order.progress = [&](int) {
            if (!once)
                QFile::remove(file("busy_2.dpx"));
            once = true;
        };
        const auto result = m_bench->pipeline.process(order);
        QVERIFY(result.end == End::Later || result.end == End::Failed);
        QVERIFY(m_bench->listed().empty());
        QVERIFY(QDir(file("busy")).entryList({s("busy*")}).isEmpty());
        order.progress = nullptr;
        QVERIFY(m_bench->pipeline.process(order).end == End::Offered);
        QVERIFY(m_document.load_file(m_bench->listed().back().c_str()));
        QCOMPARE(said("/xel/clip/sequence/missingNumbers"), s("2"));
    }

    void sequenceThatBecameAMovieIsCopiedAndDescribedAsOne()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("volume")) && QDir(m_media.path()).mkpath(s("movies")));
        QVERIFY(pictures("movie_", {s("1"), s("2"), s("3")}));
        auto order = m_bench->order(file("movie_1.dpx").toStdString());
        order.profile.id = "p-1";
        order.profile.settings = settings(
            "<zorMetadata><reelNamingMethod>FILENAME</reelNamingMethod><reelFolderLevel>1</reelFolderLevel>"
            "<frameCountingMethod>ZERO</frameCountingMethod><timecodeMethod>EMBEDDED</timecodeMethod>"
            "<defaultFPS>25</defaultFPS></zorMetadata>");
        ActivityRecipe transcode;
        transcode.id = "transcode";
        transcode.name = "Transcode";
        transcode.element =
            "<activity id=\"transcode\" name=\"Transcode\"><outputDetail><filesystemVideoVolume>" +
            file("volume").toStdString() +
            "</filesystemVideoVolume><outputTranscodeVideoProfile><videoCompressionType>16777217"
            "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        order.profile.activities = {transcode, PipelineBench::copyTo(file("movies"), true)};
        // What is numbered far apart would be a movie without end.
        auto far = order;
        far.path = file("far_1.dpx").toStdString();
        QVERIFY(pictures("far_", {s("1"), s("999999999999")}));
        const auto refused = m_bench->pipeline.process(far);
        QVERIFY2(refused.end == End::Failed, refused.text.c_str());
        QVERIFY(refused.text.find("999999999997 pictures are missing") != std::string::npos);
        const auto result = m_bench->pipeline.process(order);
        QVERIFY2(result.end == End::Offered, result.text.c_str());
        QVERIFY(m_document.load_file(m_bench->listed().back().c_str()));
        QCOMPARE(faults(), QString());
        const QString movie = said("/xel/clip/path");
        QVERIFY2(movie.startsWith(file("movies/")) && movie.endsWith(s(".mov")), qPrintable(movie));
        QVERIFY(!m_document.select_node("/xel/clip/sequence"));
        QCOMPARE(said("/xel/source/path"), file("movie_1.dpx"));
        QCOMPARE(said("/xel/media/kind"), s("video"));
        QCOMPARE(said("/xel/media/stream/codec"),
                 probed(movie, "stream=codec_name", {s("-select_streams"), s("v")}));
        QCOMPARE(said("/xel/clip/frameCount"),
                 probed(movie, "stream=nb_read_frames", {s("-count_frames"), s("-select_streams"), s("v")}));
        QCOMPARE(m_document.select_nodes("/xel/clip/activity").size(), std::size_t(2));
    }

    void sequenceGoesOnBehindTheCopyThatIsFinished()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("first")) && pictures("resume_", {s("1"), s("2")}));
        auto order = m_bench->order(file("resume_1.dpx").toStdString());
        order.profile.activities = {PipelineBench::copyTo(file("first"), true),
                                    PipelineBench::copyTo(file("second"))};
        QVERIFY(m_bench->pipeline.process(order).end == End::Failed);
        const auto made = filetools::stampOf(file("first/resume_2.dpx").toStdString());
        QVERIFY(made && QDir(m_media.path()).mkpath(s("second")));
        m_bench->clips.retry("f000001");
        Pipeline other(m_bench->database, m_bench->clips, m_bench->errors, m_bench->outputs);
        QVERIFY(other.process(order).end == End::Offered);
        QVERIFY(filetools::stampOf(file("first/resume_2.dpx").toStdString())->isUntouched(*made));
        QVERIFY(m_document.load_file(m_bench->listed().back().c_str()));
        QCOMPARE(said("/xel/clip/path"), file("first/resume_1.dpx"));
        QCOMPARE(said("/xel/clip/frameCount"), s("2"));
        QCOMPARE(m_document.select_nodes("/xel/clip/activity").size(), std::size_t(2));
    }

    void copiedSequenceThatLostAPictureIsCopiedAgain()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("third")) && pictures("again_", {s("1"), s("2")}));
        auto order = m_bench->order(file("again_1.dpx").toStdString());
        order.profile.activities = {PipelineBench::copyTo(file("third"), true),
                                    PipelineBench::copyTo(file("fourth"))};
        QVERIFY(m_bench->pipeline.process(order).end == End::Failed);
        QVERIFY(QFile::remove(file("third/again_2.dpx")) && QDir(m_media.path()).mkpath(s("fourth")));
        m_bench->clips.retry("f000001");
        QVERIFY(m_bench->pipeline.process(order).end == End::Offered);
        QVERIFY(QFile::exists(file("third/again_2.dpx")) && QFile::exists(file("fourth/again_2.dpx")));
    }

    void sequenceWhoseNameNoDocumentCarriesIsReported()
    {
        QVERIFY(pictures("odd\x01_", {s("1"), s("2")}));
        QVERIFY(pictures("\xC3\xA9 <&>'\"\xE2\x82\xAC_", {s("1"), s("2")}));
        QVERIFY(m_bench->pipeline.process(m_bench->order(file("odd\x01_1.dpx").toStdString())).end ==
                End::Rejected);
        QVERIFY(offer(file("\xC3\xA9 <&>'\"\xE2\x82\xAC_1.dpx"), ""));
        QCOMPARE(said("/xel/clip/name"), s("\xC3\xA9 <&>'\"\xE2\x82\xAC"));
        QCOMPARE(said("/xel/clip/path"), file("\xC3\xA9 <&>'\"\xE2\x82\xAC_1.dpx"));
    }

    void numberThatJumpsFarCostsNothing()
    {
        QVERIFY(pictures("jump", {s("7"), s("999999999999999999")}));
        QVERIFY(offer(file("jump7.dpx"), ""));
        QCOMPARE(said("/xel/clip/sequence/lastNumber"), s("999999999999999999"));
        QCOMPARE(said("/xel/clip/sequence/missingNumbers"), s("8-999999999999999998"));
        QCOMPARE(said("/xel/clip/frameCount"), s("2"));
    }

    void pictureThatIsAddedOrChangedMakesANewContent()
    {
        QVERIFY(pictures("more_", {s("01"), s("02")}));
        QVERIFY(offer(file("more_01.dpx"), ""));
        const QString before = said("/xel/clip/checksum");
        QCOMPARE(attribute("/xel/clip/checksum/@method"), s("xxh3-64-sequence"));
        // Another time makes no other content.
        QFile touched(file("more_02.dpx"));
        QVERIFY(
            touched.open(QIODevice::ReadWrite) &&
            touched.setFileTime(QDateTime::currentDateTime().addDays(-1), QFileDevice::FileModificationTime));
        touched.close();
        const auto order = m_bench->order(file("more_01.dpx").toStdString());
        QVERIFY(m_bench->pipeline.process(order).end == End::Known);
        QVERIFY(pictures("more_", {s("03")}));
        QVERIFY(offer(file("more_01.dpx"), ""));
        QCOMPARE(said("/xel/clip/frameCount"), s("3"));
        QVERIFY(said("/xel/clip/checksum") != before);
        QVERIFY(touched.open(QIODevice::ReadWrite) && touched.seek(2000) && touched.write("changed") == 7);
        touched.close();
        QVERIFY(m_bench->pipeline.process(order).end == End::Offered);
        QVERIFY(m_bench->pipeline.process(order).end == End::Known);
    }

    void damagedPictureInTheMiddleIsMissingFromItsClip()
    {
        QVERIFY(pictures("cut", {s("1"), s("2"), s("3")}));
        QVERIFY(QFile::resize(file("cut2.dpx"), 20));
        QVERIFY(offer(file("cut1.dpx"), ""));
        QCOMPARE(said("/xel/clip/sequence/missingNumbers"), s("2"));
        const auto order = m_bench->order(file("cut2.dpx").toStdString());
        QVERIFY(m_bench->pipeline.process(order).end == End::Rejected);
        QCOMPARE(errors().filter(file("cut2.dpx")).size(), 1);
    }

    void sidecarsAreListedAndTheCopyTakesThemAlong()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("to")));
        QVERIFY(pictures("side_", {s("1"), s("2")}));
        for (const char* name : {"side.cdl", "side_.XML", "side_2.xmp", "side_3.xmp", "other.xml", "side.doc",
                                 "side.\x01.txt"}) {
            QFile sidecar(file(name));
            QVERIFY(sidecar.open(QIODevice::WriteOnly) && sidecar.write(name) > 0);
        }
        auto order = m_bench->order(file("side_1.dpx").toStdString());
        order.profile.id = "p-1";
        order.profile.activities = {PipelineBench::copyTo(file("to"), true)};
        order.profile.activities[0].name = "Copy";
        QVERIFY(m_bench->pipeline.process(order).end == End::Offered);
        QVERIFY(m_document.load_file(m_bench->listed().back().c_str()));
        QCOMPARE(said("/xel/clip/path"), file("to/side_1.dpx"));
        QCOMPARE(said("/xel/source/path"), file("side_1.dpx"));
        QCOMPARE(faults(), QString());
        QCOMPARE(said("/xel/clip/check"), s("verified"));
        QCOMPARE(attribute("/xel/clip/activity/@name"), s("Copy"));
        QCOMPARE(said("/xel/clip/activity/file/path"), file("to/side_1.dpx"));
        QStringList listed;
        for (const auto& each : m_document.select_nodes("/xel/clip/sidecar")) {
            const QString path = QString::fromUtf8(each.node().child("path").text().get());
            listed << path;
            const QString sum = run(s("xxhsum"), {s("-H3"), path}).section(QLatin1Char(' '), -1);
            QVERIFY(!sum.isEmpty());
            QVERIFY(sum.endsWith(QString::fromUtf8(each.node().child("checksum").text().get())));
        }
        QCOMPARE(listed, (QStringList{file("to/side.cdl"), file("to/side_.XML"), file("to/side_2.xmp")}));
        QCOMPARE(probed(file("to/side_%d.dpx"), "stream=nb_read_frames", {s("-count_frames")}), s("2"));
    }

    void fileThatThePluginOfAJobDoesNotTakeIsNamedWithIt()
    {
        auto order = m_bench->order(file("b.wav").toStdString());
        order.ownerKind = "job";
        order.profile.settings = settings(
            "<linkDetail><xelPreferredPluginDetail><xelPluginName>MXF (*.mxf )</xelPluginName><xelPluginGUID>"
            "4b525802-0001-4d0a-8c21-5e7f1a9b3c40</xelPluginGUID></xelPreferredPluginDetail></linkDetail>");
        QVERIFY(m_bench->pipeline.process(order).end == End::Rejected);
        QCOMPARE(errors().filter(file("b.wav")).filter(s("the plug-in MXF does not take it")).size(), 1);
        QVERIFY(m_bench->listed().empty());
    }

    void plugInOfTheProfileStandsInTheDocument()
    {
        QVERIFY(offer(file("b.wav"),
                      "<linkDetail><xelPreferredPluginDetail><xelPluginName>Broadcast Wave (*.wav *.bwf )"
                      "</xelPluginName><xelPluginGUID>4b525802-0007-4d0a-8c21-5e7f1a9b3c40</xelPluginGUID>"
                      "</xelPreferredPluginDetail></linkDetail>"));
        QCOMPARE(said("/xel/clip/plugin"), s("Broadcast Wave"));
    }

    void filesOfADirectoryAreListedAsClips()
    {
        QVERIFY(QDir(m_media.path()).mkpath(s("card/list")));
        QVERIFY(pictures("card/list/x", {s("1"), s("2"), s("3")}) && pictures("card/list/y_", {s("08")}));
        QVERIFY(QFile::copy(file("b.wav"), file("card/list/b.wav")));
        std::vector<std::string> paths;
        for (const char* name : {"b.wav", "b.xml", "x1.dpx", "x2.dpx", "x3.dpx", "y_08.dpx"})
            paths.push_back(file("card/list/").toStdString() + name);
        QCOMPARE(clipfiles::clips(paths, file("card/list").toStdString(), false),
                 (std::vector<std::string>{paths[0], paths[2], paths[5]}));
    }

    void eachKindOfPictureAndSidecarIsKnown()
    {
        for (const char* end : {"dpx", "exr", "tif", "tiff", "cin", "tga", "DPX"})
            QVERIFY2(picturekinds::isJoined(std::string("a.0001.") + end, false), end);
        for (const char* end : {"png", "jpg", "jpeg"}) {
            QVERIFY2(!picturekinds::isJoined(std::string("a.0001.") + end, false), end);
            QVERIFY2(picturekinds::isJoined(std::string("a.0001.") + end, true), end);
        }
        for (const char* end : {"xml", "xmp", "srt", "cdl", "cube", "ale", "edl", "txt", "XML"})
            QVERIFY2(picturekinds::isSidecar(std::string("a.") + end), end);
        QVERIFY(!picturekinds::isSidecar("a.mov") && !picturekinds::isJoined("a.0001.mov", true));
    }

    void knownVolumesAreTrustedWhenTheProfileSaysSo()
    {
        for (const char* word : {"TRUE", "true", "FALSE", "false", ""}) {
            const std::string group =
                std::string("<volumeMountingDetail><doNotCheckPreviousForModifications>") + word +
                "</doNotCheckPreviousForModifications></volumeMountingDetail>";
            const bool trusts = QString::fromUtf8(word).toLower() == s("true");
            QCOMPARE(LinkSettings::read(settings(group.c_str())).trustsKnownVolumes, trusts);
        }
    }

    void timecodesAreFoundInNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("timecode");
        QTest::newRow("dashes") << QByteArray("a 01-02-03-04 b") << QByteArray("01:02:03:04");
        QTest::newRow("underscores") << QByteArray("a_01_02_03_04") << QByteArray("01:02:03:04");
        QTest::newRow("dots") << QByteArray("01.02.03.04") << QByteArray("01:02:03:04");
        QTest::newRow("colons") << QByteArray("01:02:03:04") << QByteArray("01:02:03:04");
        QTest::newRow("nothing between") << QByteArray("x01020304y") << QByteArray("01:02:03:04");
        QTest::newRow("first of two") << QByteArray("01020304 05060708") << QByteArray("01:02:03:04");
        QTest::newRow("no hour") << QByteArray("24-00-00-00") << QByteArray();
        QTest::newRow("no frame of 25") << QByteArray("01-02-03-25") << QByteArray();
        QTest::newRow("a longer number") << QByteArray("0102030405") << QByteArray();
        QTest::newRow("mixed") << QByteArray("01-02_03-04") << QByteArray();
        QTest::newRow("too few") << QByteArray("01-02-03") << QByteArray();
    }
    void timecodesAreFoundInNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(QByteArray, timecode);
        QCOMPARE(timecode::inName(name.toStdString(), {25, 1}), timecode.toStdString());
    }

    void timecodesAndCountsAreEachOther()
    {
        const FrameRate drop = FrameRate::from("29.97");
        QCOMPARE(timecode::frames("00:01:00;02", drop).value_or(-1), std::int64_t(1800));
        QCOMPARE(timecode::frames("00:10:00;00", drop).value_or(-1), std::int64_t(17982));
        QCOMPARE(timecode::frames("00:10:00:00", drop).value_or(-1), std::int64_t(18000));
        for (const std::int64_t count : {0LL, 1799LL, 1800LL, 17981LL, 17982LL, 107892LL, 2589407LL})
            QCOMPARE(timecode::frames(timecode::text(count, drop, true), drop).value_or(-1), count);
        QCOMPARE(timecode::text(std::int64_t{24} * 3600 * 25, {25, 1}), std::string("00:00:00:00"));
        QCOMPARE(timecode::text(std::int64_t{4} * 3600 * 25 - 1, {25, 1}), std::string("03:59:59:24"));
        QVERIFY(!timecode::frames("01:00:00:30", drop) && !timecode::frames("nonsense", drop));
        QVERIFY(timecode::text(5, {}).empty());
    }

    void ratesAreReadAsTheyAreWritten()
    {
        QCOMPARE(FrameRate::from("23.976").text(), std::string("24000/1001"));
        QCOMPARE(FrameRate::from("59.94").text(), std::string("60000/1001"));
        QCOMPARE(FrameRate::from("25").text(), std::string("25/1"));
        QCOMPARE(FrameRate::from("12.5").text(), std::string("12500/1000"));
        QCOMPARE(FrameRate::from("30000/1001").text(), std::string("30000/1001"));
        for (const char* none : {"", "fast", "0", "-25", "1e99", "0/0", "25/0", "inf", "nan", "25 fps"})
            QVERIFY2(!FrameRate::from(none).isKnown(), none);
    }
};

QTEST_GUILESS_MAIN(TestServiceLink)
#include "test_service_link.moc"
