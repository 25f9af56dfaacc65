#include "EngineBench.h"
#include "TestFiles.h"

#include <QElapsedTimer>

#include <sys/stat.h>
#include <unistd.h>

#include <thread>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// How many processes of this user have \a path open, or run in a group of this process's children.
QStringList childrenOf(qint64 parent)
{
    return EngineBench::run(s("ps"), {s("-o"), s("comm="), s("--ppid"), QString::number(parent)})
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts)
        .filter(QRegularExpression(s("ffmpeg|krx-media|sh|sleep")));
}

} // namespace

class TestServiceEngine : public QObject
{
    Q_OBJECT

    EngineBench m_bench;

    /// Everything of the file \a name, decoded and stored raw.
    EngineResult decode(const QString& name, const QString& target,
                        const CancelToken& cancel = makeCancelToken())
    {
        const std::string path = m_bench.path(name).toStdString();
        const SourceFile source(path);
        const filetools::Descriptor out(
            ::open(m_bench.path(target).toUtf8().constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        EngineOrder order;
        EngineInput input;
        input.medium = {source.get(), name.toStdString()};
        input.arguments = Ffmpeg::decoders(MediaProbe::probe(source, cancel).facts);
        order.inputs.push_back(input);
        EngineOutput output;
        output.file = out.get();
        output.format = "matroska";
        output.arguments = {
            "-map", "0:v:0", "-vf", Ffmpeg::trimming(),      "-vsync", "passthrough", "-c:v", "ffv1",
            "-map", "0:a?",  "-af", Ffmpeg::soundTrimming(), "-c:a",   "pcm_s16le"};
        order.outputs.push_back(output);
        order.cancel = cancel;
        order.progress = [this](int percent) { m_percent << percent; };
        order.seconds = 1;
        return Ffmpeg::run(order);
    }
    QList<int> m_percent;

private slots:
    void cleanup()
    {
        Ffmpeg::use({});
        MediaProbe::use({}); // what rests there is no child of this work
        QCOMPARE(childrenOf(QCoreApplication::applicationPid()), QStringList());
    }

    void everyPictureAndItsTimeReachFfmpeg_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("options");
        const QByteArray moving = "-f lavfi -i testsrc2=s=160x96:r=25:d=0.6 ";
        const QByteArray both = moving + "-f lavfi -i sine=r=48000:d=0.6 ";
        QTest::newRow("ProRes") << s("prores.mov") << both + "-c:v prores_ks -c:a pcm_s24le";
        QTest::newRow("pictures that depend on each other")
            << s("h264.mp4") << both + "-pix_fmt yuv420p -c:v libx264 -bf 2 -c:a aac";
        QTest::newRow("an edit list that begins within a group")
            << s("edit.mp4") << "-ss 0.2 -i " + m_bench.path(s("h264.mp4")).toUtf8() + " -c copy";
        QTest::newRow("transport stream")
            << s("h264.ts") << both + "-pix_fmt yuv420p -c:v libx264 -bf 2 -c:a mp2";
        QTest::newRow("MXF") << s("mpeg2.mxf") << both + "-c:v mpeg2video -bf 2 -c:a pcm_s16le";
        QTest::newRow("AVI") << s("mpeg4.avi") << both + "-c:v mpeg4 -q:v 3";
        QTest::newRow("Matroska") << s("ffv1.mkv") << both + "-c:v ffv1 -c:a flac";
        QTest::newRow("raw pictures")
            << s("raw.mov") << moving + "-c:v rawvideo -pix_fmt uyvy422 -tag:v 2vuy";
        QTest::newRow("v210") << s("v210.mov") << moving + "-c:v v210";
        QTest::newRow("different lengths")
            << s("vfr.mkv") << moving + "-vf select='not(eq(mod(n\\,3)\\,1))' -vsync vfr -c:v ffv1";
    }
    void everyPictureAndItsTimeReachFfmpeg()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, options);
        QCOMPARE(m_bench.make(name, options.constData()), QString());
        const EngineResult result = decode(name, s("decoded.mkv"));
        QVERIFY2(result.end == EngineResult::End::Done, result.text.c_str());
        QVERIFY2(!result.wasDamaged, result.complaint.c_str());
        const char* const format = "yuv422p10le"; // what no conversion of these comes back from differently
        QCOMPARE(EngineBench::pictures(m_bench.path(s("decoded.mkv")), format),
                 EngineBench::pictures(m_bench.path(name), format));
        QVERIFY(!result.fed.empty());
        QCOMPARE(int(result.fed[0].packets), EngineBench::pictures(m_bench.path(name)).size());
    }

    // What it is told of its inputs is what keeps it from opening anything else, even where no wall of the
    // kernel stands around it.
    void inputsComeFromAPipeAndNoFileWouldBeTaken()
    {
        QCOMPARE(m_bench.make(s("in.mkv"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v ffv1"), QString());
        QCOMPARE(m_bench.make(s("in.nut"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v ffv1"), QString());
        Ffmpeg::use({"/bin/sh", "-c", "printf '%s\\n' \"$@\" >&5; cat <&4 >/dev/null", "/bin/cat"});
        decode(s("in.mkv"), s("said.txt"));
        const QStringList said =
            QString::fromUtf8(TestFiles::content(m_bench.path(s("said.txt")))).split(QLatin1Char('\n'));
        const int from = said.indexOf(s("-protocol_whitelist"));
        const int at = said.indexOf(s("-i"));
        QVERIFY2(from >= 0 && from < at, qPrintable(said.join(QLatin1Char(' '))));
        QCOMPARE(said.count(s("-i")), 1);
        QCOMPARE(said.value(at + 1), s("pipe:4"));
        const QString file = m_bench.path(s("in.nut"));
        const auto read = [&](const QString& place) {
            return EngineBench::run(
                s("sh"), QStringList{s("-c"), s("exec ffmpeg -v error \"$@\" -f null - 4<\"$0\""), file} +
                             said.mid(from, at - from + 1) + QStringList{place});
        };
        QCOMPARE(read(s("pipe:4")), QString());
        for (const char* scheme : {"", "file:", "concat:", "subfile,,start,0,end,0,,:", "async:file:"}) {
            const QString answer = read(s(scheme) + file);
            QVERIFY2(answer.contains(s("not on whitelist 'pipe'!")), qPrintable(answer));
        }
        QVERIFY(read(s("/proc/self/fd/4")).contains(s("Protocol 'file' not on whitelist 'pipe'!")));
    }

    void picturesOfASequenceKeepTheirPlaces()
    {
        QCOMPARE(m_bench.make(s("s%03d.dpx"), "-f lavfi -i testsrc2=s=160x96:r=25:d=0.2"), QString());
        EngineOrder order;
        EngineInput input;
        std::vector<std::unique_ptr<SourceFile>> open;
        input.pictures = 5;
        input.rateNumerator = 24000;
        input.rateDenominator = 1001;
        input.picture = [&](std::int64_t number) -> std::optional<EngineFile> {
            if (number == 2)
                return std::nullopt; // missing
            const std::string name = "s00" + std::to_string(number + 1) + ".dpx";
            open.push_back(
                std::make_unique<SourceFile>(m_bench.path(QString::fromStdString(name)).toStdString()));
            return EngineFile{open.back()->get(), name};
        };
        input.arguments = {"-c:v:0", "dpx"};
        order.inputs.push_back(input);
        const filetools::Descriptor out(
            ::open(m_bench.path(s("seq.mkv")).toUtf8().constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        order.outputs.push_back(
            {out.get(),
             "matroska",
             {"-vf", Ffmpeg::trimming(), "-vsync", "cfr", "-r", "24000/1001", "-c:v", "ffv1"}});
        order.cancel = makeCancelToken();
        const EngineResult result = Ffmpeg::run(order);
        QVERIFY2(result.end == EngineResult::End::Done, result.text.c_str());
        QStringList wanted;
        for (const int number : {1, 2, 2, 4, 5}) // the missing one is the one before, held
            wanted << EngineBench::pictures(m_bench.path(s("s00%1.dpx").arg(number)), "gbrp");
        QCOMPARE(EngineBench::pictures(m_bench.path(s("seq.mkv")), "gbrp"), wanted);
        QCOMPARE(EngineBench::probed(m_bench.path(s("seq.mkv")), "stream=r_frame_rate"), s("24000/1001"));
    }

    void whatCannotBeDoneSaysWhy_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<int>("end");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* program, EngineResult::End end,
                            const char* reason) {
            QTest::newRow(name) << s(program) << int(end) << s(reason);
        };
        row("missing", "/nowhere/ffmpeg", EngineResult::End::NotThere, "No such file");
        row("not installed", "no-such-ffmpeg", EngineResult::End::NotThere, "is not installed");
        row("hanging", "while :; do sleep 10; done", EngineResult::End::Silent, "made no progress");
        row("killed", "kill -9 $$", EngineResult::End::Ended, "was ended by signal 9");
        row("told to end", "exit 255", EngineResult::End::Ended, "ended with code 255"); // as ffmpeg says it
        row("crashed", "kill -SEGV $$", EngineResult::End::Failed, "was ended by signal 11");
        row("failing half way", "head -c 5000 <&4 >/dev/null; echo '[mov @ 0x1] it broke' >&2; exit 7",
            EngineResult::End::Failed, "ended with code 7: it broke");
        row("full", "echo 'av_interleaved_write_frame(): No space left on device' >&2; exit 1",
            EngineResult::End::NoSpace, "No space left");
        row("says it is done without reading", "exit 0", EngineResult::End::Failed, "krx-media");
    }
    void whatCannotBeDoneSaysWhy()
    {
        QFETCH(QString, program);
        QFETCH(int, end);
        QFETCH(QString, reason);
        QCOMPARE(m_bench.make(s("long.mkv"), "-f lavfi -i testsrc2=s=640x360:r=25:d=2 -c:v ffv1"), QString());
        if (program.contains(QLatin1Char(' ')))
            Ffmpeg::use({"/bin/sh", "-c", program.toStdString(), "/bin/sleep", "/usr/bin/head"}, 500);
        else
            Ffmpeg::use({program.toStdString()}, 500);
        const EngineResult result = decode(s("long.mkv"), s("out.mkv"));
        QCOMPARE(int(result.end), end);
        QVERIFY2(QString::fromStdString(result.text).contains(reason), result.text.c_str());
    }

    void whatOthersEndBeginsAnew_data()
    {
        QTest::addColumn<int>("times"); // that somebody ends it
        QTest::newRow("again and again") << 100;
        QTest::newRow("twice") << 2;
    }
    void whatOthersEndBeginsAnew()
    {
        QFETCH(int, times);
        QCOMPARE(m_bench.make(s("e%03d.dpx"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.12"), QString());
        EngineOrder order;
        EngineInput input;
        std::vector<std::unique_ptr<SourceFile>> open;
        int begun = 0;
        input.pictures = 3;
        input.arguments = {"-c:v:0", "dpx"};
        input.picture = [&](std::int64_t number) -> std::optional<EngineFile> {
            // What the next one is started with.
            if (number == 0 && ++begun == times)
                Ffmpeg::use({});
            const std::string name = "e00" + std::to_string(number + 1) + ".dpx";
            open.push_back(
                std::make_unique<SourceFile>(m_bench.path(QString::fromStdString(name)).toStdString()));
            return EngineFile{open.back()->get(), name};
        };
        order.inputs.push_back(input);
        const filetools::Descriptor out(::open(m_bench.path(s("anew.mkv")).toUtf8().constData(),
                                               O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        order.outputs.push_back(
            {out.get(), "matroska", {"-vf", Ffmpeg::trimming(), "-vsync", "passthrough", "-c:v", "ffv1"}});
        order.cancel = makeCancelToken();
        Ffmpeg::use(
            {"/bin/sh", "-c", "head -c 1 <&4 >/dev/null; echo unfinished >&5; kill -9 $$", "/usr/bin/head"});
        const EngineResult result = Ffmpeg::run(order);
        QCOMPARE(begun, Ffmpeg::kMostStarts);
        const bool isDone = times < Ffmpeg::kMostStarts;
        QVERIFY2(result.end == (isDone ? EngineResult::End::Done : EngineResult::End::Ended),
                 result.text.c_str());
        if (isDone)
            QCOMPARE(EngineBench::pictures(m_bench.path(s("anew.mkv"))).size(), 3);
    }

    // Whoever feeds ffmpeg, or looks at what it made, is ended as easily.
    void deathOfKrxMediaSaysNothingOfTheMedium()
    {
        QCOMPARE(m_bench.make(s("fed.mkv"), "-f lavfi -i testsrc2=s=64x36:r=25:d=0.2 -c:v ffv1"), QString());
        const std::string usual = MediaProbe::program().front();
        const auto ending = [&](const char* task) {
            MediaProbe::use({"/bin/sh", "-c",
                             std::string("test \"$1\" = ") + task + " && kill -9 $$; exec \"$0\" \"$@\"",
                             usual});
        };
        const SourceFile file(m_bench.path(s("fed.mkv")).toStdString());
        ending("feed");
        const EngineResult result = decode(s("fed.mkv"), s("out.mkv"));
        QVERIFY2(result.end == EngineResult::End::Ended, result.text.c_str());
        QCOMPARE(result.text, std::string("krx-media was ended by signal 9"));
        QVERIFY(Ffmpeg::check(file.get(), "fed.mkv", makeCancelToken()).isWhole);
        ending("check");
        const CheckResult found = Ffmpeg::check(file.get(), "fed.mkv", makeCancelToken());
        QVERIFY2(!found.wasLookedAt && !found.isWhole, found.text.c_str());
        QCOMPARE(found.text, std::string("krx-media was ended by signal 9"));
    }

    void cancellingEndsAllProcesses()
    {
        QCOMPARE(m_bench.make(s("long.mkv"), "-f lavfi -i testsrc2=s=640x360:r=25:d=2 -c:v ffv1"), QString());
        // One that would not end by itself, nor when it is asked to, with a child that would not either.
        Ffmpeg::use(
            {"/bin/sh", "-c", "trap '' TERM INT; sleep 1000 & while :; do sleep 1000; done", "/bin/sleep"});
        const auto cancel = makeCancelToken();
        std::thread canceller([&] {
            // The shell and what it started run.
            QElapsedTimer timer;
            timer.start();
            while (timer.elapsed() < 10000 && childrenOf(QCoreApplication::applicationPid()).size() < 2)
                std::this_thread::yield();
            *cancel = true;
        });
        const EngineResult result = decode(s("long.mkv"), s("out.mkv"), cancel);
        canceller.join();
        QCOMPARE(int(result.end), int(EngineResult::End::Cancelled));
        QVERIFY(EngineBench::run(s("ps"), {s("-eo"), s("args=")}).count(s("sleep 1000")) == 0);
    }

    void progressGrowsAndDamageIsTold()
    {
        QCOMPARE(
            m_bench.make(s("damaged.ts"),
                         "-f lavfi -i testsrc2=s=320x180:r=25:d=2 -pix_fmt yuv420p -c:v mpeg2video -g 5"),
            QString());
        QByteArray bytes = TestFiles::content(m_bench.path(s("damaged.ts")));
        for (int i = bytes.size() / 2; i < bytes.size() / 2 + 3000; ++i)
            bytes[i] = char(i * 7);
        TestFiles::write(m_bench.path(s("damaged.ts")), bytes);
        m_percent.clear();
        const EngineResult result = decode(s("damaged.ts"), s("out.mkv"));
        QVERIFY2(result.end == EngineResult::End::Done, result.text.c_str());
        QVERIFY(result.wasDamaged);
        QVERIFY(!m_percent.isEmpty());
        QVERIFY(std::is_sorted(m_percent.begin(), m_percent.end()));
        QVERIFY(m_percent.last() <= 99);
    }

    void aCheckCountsAndDecodes()
    {
        QCOMPARE(m_bench.make(s("check.mxf"), "-f lavfi -i testsrc2=s=160x96:r=25:d=1 -f lavfi -i "
                                              "sine=r=48000:d=1 -c:v mpeg2video -bf 2 -c:a pcm_s16le"),
                 QString());
        const SourceFile whole(m_bench.path(s("check.mxf")).toStdString());
        const CheckResult found = Ffmpeg::check(whole.get(), "check.mxf", makeCancelToken());
        QVERIFY2(found.isWhole, found.text.c_str());
        QCOMPARE(int(found.streams[0].packets), 25);
        QVERIFY(qAbs(found.streams[1].seconds - 1) < 0.001);

        QByteArray bytes = TestFiles::content(m_bench.path(s("check.mxf")));
        const int middle = bytes.size() / 2;
        for (int i = middle - 20000; i < middle + 20000; ++i)
            bytes[i] = char(i * 13);
        TestFiles::write(m_bench.path(s("broken.mxf")), bytes);
        const SourceFile broken(m_bench.path(s("broken.mxf")).toStdString());
        const CheckResult bad = Ffmpeg::check(broken.get(), "broken.mxf", makeCancelToken());
        QVERIFY(!bad.isWhole || bad.streams[0].packets != 25);
    }
};

QTEST_GUILESS_MAIN(TestServiceEngine)
#include "test_service_engine.moc"
