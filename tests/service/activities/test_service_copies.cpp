#include "PipelineBench.h"
#include "TestFiles.h"

#include "activities/Copier.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "media/ClipFiles.h"
#include "media/Sequence.h"
#include "store/HistoryStore.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

using namespace krxservice;
using TestFiles::content;
using TestFiles::names;
using TestFiles::write;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// Directories, too.
QStringList everything(const QString& folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

/// Twenty pictures with a sidecar, and where they are to go.
struct Stage
{
    QTemporaryDir folder;
    QString in = folder.filePath(s("in"));
    QString to = folder.filePath(s("to"));
    CopyOrder order;
    QStringList all;

    explicit Stage(int pictures = 20)
    {
        QDir().mkpath(in);
        QDir().mkpath(to);
        for (int i = 0; i < pictures; ++i)
            all << s("shot.%1.dpx").arg(i + 1, 4, 10, QLatin1Char('0'));
        all << s("shot.xml");
        for (const QString& name : all)
            write(in + QLatin1Char('/') + name, bytesOf(name));
        order.source = path(all[0]);
        for (int i = 1; i < all.size(); ++i)
            order.companions.push_back(path(all[i]));
        order.pictures = std::size_t(pictures);
        order.stem = "shot.";
        order.sourceRoot = in.toStdString();
        order.directory = to.toStdString();
        order.cancel = makeCancelToken();
    }
    std::string path(const QString& name) const { return in.toStdString() + '/' + name.toStdString(); }
    static QByteArray bytesOf(const QString& name) { return QByteArray(name.toUtf8() + '\n').repeated(500); }
    /// Nothing of the clip, not even hidden.
    bool isEmpty() const { return everything(to).isEmpty(); }
};

/// Another time, the same content.
void touch(const std::string& path)
{
    const timespec times[2] = {{1000, 0}, {1000, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

/// That this process has read so far, from wherever.
std::int64_t bytesRead()
{
    QFile file(s("/proc/self/io"));
    return file.open(QIODevice::ReadOnly) ? file.readLine().mid(7).trimmed().toLongLong() : 0;
}

/// A sound of some megabytes that is to be copied.
struct Sound
{
    PipelineBench bench;
    const QString file = bench.folder.filePath(s("a.wav"));
    const QString to = bench.folder.filePath(s("to"));

    Sound()
    {
        QVERIFY(QDir().mkdir(to));
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                 s("anullsrc=r=48000:cl=stereo:d=32"), file}),
                 0);
    }
    FileOrder order() const
    {
        FileOrder order = bench.order(file.toStdString());
        order.profile.activities = {PipelineBench::copyTo(to)};
        return order;
    }
    FileResult process() { return bench.pipeline.process(order()); }
};

} // namespace

class TestServiceCopies : public QObject
{
    Q_OBJECT

private slots:
    void allPicturesAndSidecarsAreCopiedAndVerified()
    {
        Stage stage;
        std::string scratch;
        int last = -1;
        stage.order.willWrite = [&](const std::string& name) {
            QVERIFY(scratch.empty());
            scratch = name;
        };
        stage.order.progress = [&](int percent) {
            QVERIFY(percent >= last && percent <= 100);
            last = percent;
            // Nobody sees a part of it.
            QCOMPARE(everything(stage.to).size(), 1);
            QVERIFY(everything(stage.to).constFirst().startsWith(QLatin1Char('.')));
        };
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(last, 90);
        QCOMPARE(everything(stage.to), stage.all);
        QCOMPARE(result.files.size(), std::size_t(21));
        QCOMPARE(result.stem, std::string("shot."));
        for (int i = 0; i < stage.all.size(); ++i) {
            const CopiedFile& file = result.files[std::size_t(i)];
            QCOMPARE(file.path, stage.to.toStdString() + '/' + stage.all[i].toStdString());
            QCOMPARE(content(file.path), Stage::bytesOf(stage.all[i]));
            std::string error;
            QCOMPARE(*filetools::checksum(stage.path(stage.all[i]), makeCancelToken(), error), file.checksum);
            QVERIFY(*filetools::stampOf(file.path) == *filetools::stampOf(stage.path(stage.all[i])));
        }
        QVERIFY(!scratch.empty() && ::access(scratch.c_str(), F_OK) != 0);
    }

    void progressIsThatOfTheBytesOfAll()
    {
        Stage stage(2);
        write(stage.in + s("/shot.0002.dpx"), QByteArray(3000000, 'b'));
        QList<int> told;
        stage.order.progress = [&](int percent) { told << percent; };
        QVERIFY(Copier::copy(stage.order).ok);
        QCOMPARE(told.first(), 0);
        QVERIFY(told.size() >= 4 && told.at(1) > 20 && told.at(1) < 50);
        QCOMPARE(told.last(), 90);
    }

    void aPersonIsToldHowFarTheActionIsAndWhichOfThemItIs()
    {
        Sound sound;
        const QString other = sound.bench.folder.filePath(s("other"));
        QVERIFY(QDir().mkdir(other));
        FileOrder order = sound.order();
        order.profile.activities.front().name = "Archive";
        QStringList told;
        const auto tell = [&](const std::string& name, int percent, const std::string& text) {
            told << QString::fromStdString(name + '|' + std::to_string(percent) + '|' + text);
        };
        order.activity = tell;
        order.profile.activities.push_back(PipelineBench::copyTo(other));
        QCOMPARE(sound.bench.pipeline.process(order).end, FileResult::End::Offered);
        QCOMPARE(told.value(0), s("Archive|0|Archive: 0 % (action 1 of 2)"));
        QVERIFY2(told.contains(s("copy|50|copy: 0 % (action 2 of 2)")), qPrintable(told.join(s("\n"))));
    }

    void cancelledSequenceLeavesNothing()
    {
        Stage stage;
        int calls = 0;
        stage.order.progress = [&](int) { *stage.order.cancel = ++calls == 10; };
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY(!result.ok && result.cancelled);
        QVERIFY(stage.isEmpty());
    }

    void sequenceThatDoesNotFitLeavesNothing()
    {
        Stage stage;
        write(stage.in + s("/shot.0015.dpx"), QByteArray(200000, 'b'));
        rlimit limit{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlimit small{100000, limit.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
        const CopyResult result = Copier::copy(stage.order);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, handler);
        QVERIFY(!result.ok && !result.sourceChanged);
        QVERIFY2(result.error.find("File too large") != std::string::npos, result.error.c_str());
        QVERIFY(stage.isEmpty());
    }

    void damageOfOnePictureIsNoticedAndNothingIsOffered()
    {
        Stage stage;
        std::string scratch;
        stage.order.willWrite = [&](const std::string& name) { scratch = name; };
        stage.order.progress = [&](int percent) {
            QFile file(QString::fromStdString(scratch + "/shot.0007.dpx"));
            if (percent == 90 && file.open(QIODevice::ReadWrite))
                file.write("damage");
        };
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY(!result.ok);
        QVERIFY2(result.error.find("shot.0007.dpx in") != std::string::npos, result.error.c_str());
        QVERIFY(stage.isEmpty());
    }

    void pictureThatChangesOrVanishesWhileOthersAreCopiedMeansLookingAgain()
    {
        for (const bool vanishes : {false, true}) {
            Stage stage;
            const QString victim = stage.in + s("/shot.0003.dpx");
            int calls = 0;
            stage.order.progress = [&](int) {
                if (++calls != 12)
                    return;
                if (vanishes)
                    QFile::remove(victim);
                else
                    write(victim, Stage::bytesOf(s("shot.0004.dpx")));
            };
            const CopyResult result = Copier::copy(stage.order);
            QVERIFY(!result.ok && result.sourceChanged);
            QVERIFY(stage.isEmpty());
        }
    }

    void workThatWasInterruptedCountsWhatIsThere()
    {
        Stage stage;
        QVERIFY(Copier::copy(stage.order).ok);
        // A crash among the renames: some have their names.
        for (int i = 8; i < stage.all.size(); ++i)
            QVERIFY(QFile::remove(stage.to + QLatin1Char('/') + stage.all[i]));
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY(result.ok);
        QCOMPARE(names(stage.to), stage.all);
        for (int i = 0; i < stage.all.size(); ++i)
            QCOMPARE(result.files[std::size_t(i)].existed, i < 8);
        // All of it there: nothing is written at all.
        stage.order.willWrite = [](const std::string&) { QFAIL("nothing is to be written"); };
        const CopyResult again = Copier::copy(stage.order);
        QVERIFY(again.ok && again.files.back().existed);
    }

    void otherFilesOfThoseNamesGiveTheWholeClipAnother()
    {
        Stage stage;
        write(stage.to + s("/shot.0013.dpx"), "somebody else's");
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(result.stem, std::string("shot (2)."));
        QCOMPARE(result.path, stage.to.toStdString() + "/shot (2).0001.dpx");
        QCOMPARE(content(stage.to + s("/shot.0013.dpx")), QByteArray("somebody else's"));
        QStringList expected{s("shot.0013.dpx"), s("shot (2).xml")};
        for (int i = 0; i < 20; ++i)
            expected << s("shot (2).%1.dpx").arg(i + 1, 4, 10, QLatin1Char('0'));
        expected.sort();
        QCOMPARE(names(stage.to), expected);
    }

    void pictureThatIsThereDoesNotKeepTheClipFromAnotherName()
    {
        Stage stage(3);
        write(stage.to + s("/shot.0001.dpx"), Stage::bytesOf(s("shot.0001.dpx")));
        write(stage.to + s("/shot.xml"), "somebody else's");
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY2(result.ok, result.error.c_str());
        for (const auto& file : result.files)
            QVERIFY(QString::fromStdString(file.path).contains(s("shot (2).")) && !file.existed);
        QCOMPARE(names(stage.to).size(), 6);
        QCOMPARE(content(stage.to + s("/shot (2).0001.dpx")), Stage::bytesOf(s("shot.0001.dpx")));
    }

    void picturesWithoutAStemGetOne()
    {
        Stage stage(2);
        for (const char* name : {"001.dpx", "002.dpx"})
            write(stage.in + QLatin1Char('/') + s(name), name);
        stage.order.source = stage.path(s("001.dpx"));
        stage.order.companions = {stage.path(s("002.dpx"))};
        stage.order.stem.clear();
        write(stage.to + s("/002.dpx"), "other");
        const CopyResult result = Copier::copy(stage.order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(names(stage.to), (QStringList{s("(2)_001.dpx"), s("(2)_002.dpx"), s("002.dpx")}));
        const auto parsed = sequence::parse("(2)_001.dpx");
        QVERIFY(parsed && parsed->stem == result.stem && parsed->number == 1);
    }

    void whatACrashLeftUnfinishedIsRemoved()
    {
        Stage stage;
        const QString hidden = stage.to + s("/.krx-1-shot.part");
        QVERIFY(QDir().mkpath(hidden));
        write(hidden + s("/shot.0001.dpx"), "half");
        filetools::removeScratch(hidden.toStdString());
        QVERIFY(stage.isEmpty());
        write(hidden, "half a file");
        filetools::removeScratch(hidden.toStdString());
        QVERIFY(stage.isEmpty());
        // No other directory, whatever a damaged record says.
        filetools::removeScratch(stage.in.toStdString());
        filetools::removeScratch({});
        QCOMPARE(names(stage.in), stage.all);
    }

    void sequenceOfAProfileIsCopiedRelinkedAndNoted()
    {
        PipelineBench bench;
        const QString in = bench.folder.filePath(s("in/reel"));
        const QString to = bench.folder.filePath(s("to"));
        QVERIFY(QDir().mkpath(in) && QDir().mkpath(to));
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                 s("testsrc=s=64x36:d=0.2"), in + s("/shot.%04d.dpx")}),
                 0);
        write(in + s("/shot.cdl"), "<ColorDecisionList/>");
        FileOrder order = bench.order(in.toStdString() + "/shot.0001.dpx");
        order.ownerPath = bench.folder.filePath(s("in")).toStdString();
        order.profile.activities = {PipelineBench::copyTo(to, true)};
        const FileResult result = bench.pipeline.process(order);
        QVERIFY2(result.end == FileResult::End::Offered, result.text.c_str());
        const QStringList expected{s("shot.0001.dpx"), s("shot.0002.dpx"), s("shot.0003.dpx"),
                                   s("shot.0004.dpx"), s("shot.0005.dpx"), s("shot.cdl")};
        QCOMPARE(names(to + s("/reel")), expected);
        const QByteArray document = content(bench.listed().at(0));
        QVERIFY(document.contains("<path>" + to.toUtf8() + "/reel/shot.0001.dpx" + "</path>"));
        QVERIFY(document.contains("<path>" + to.toUtf8() + "/reel/shot.cdl" + "</path>"));
        // Found again by its own content and time, as a reader of the copies finds it.
        const auto found = clipfiles::of(to.toStdString() + "/reel/shot.0002.dpx", {}, true);
        QVERIFY(found.sequence && sequence::count(*found.sequence) == 5);
        std::string error;
        const auto sum =
            clipfiles::fingerprint(*found.sequence, {}, found.stamp.size, makeCancelToken(), error);
        QVERIFY(sum && document.contains(QByteArray::fromStdString(sum->substr(sum->find(':') + 1))));
        // All of it is to be listed.
        const auto batch = HistoryStore(bench.database).oldest(text::canonicalPath(to.toStdString()), 10);
        QCOMPARE(batch.clips.size(), std::size_t(1));
        QStringList listed;
        for (const auto& file : batch.clips[0].files)
            listed << QString::fromStdString(file.path).mid(5);
        QCOMPARE(listed, expected);
        // The copy told what the pictures hold: touched, they are known.
        touch(order.path);
        QCOMPARE(int(bench.pipeline.process(order).end), int(FileResult::End::Known));
        write(in + s("/shot.0003.dpx"), content(in.toStdString() + "/shot.0002.dpx"));
        const FileResult other = bench.pipeline.process(order);
        QVERIFY2(other.end == FileResult::End::Offered, other.text.c_str());
    }

    // Large files go past the system's memory, in measures that few files have.
    void largeFileOfAnyLengthIsCopiedWhole_data()
    {
        QTest::addColumn<int>("bytes");
        constexpr int kMegabyte = 1024 * 1024;
        for (const int bytes : {4 * kMegabyte, 4 * kMegabyte + 1, 5 * kMegabyte - 4096, 6 * kMegabyte + 4097})
            QTest::addRow("%d bytes", bytes) << bytes;
    }
    void largeFileOfAnyLengthIsCopiedWhole()
    {
        QFETCH(int, bytes);
        QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkdir(s("to")));
        QByteArray all(bytes, '\0');
        for (int i = 0; i < bytes; ++i)
            all[i] = char(i % 251);
        write(folder.filePath(s("large.mov")), all);
        CopyOrder order;
        order.source = folder.filePath(s("large.mov")).toStdString();
        order.directory = folder.filePath(s("to")).toStdString();
        order.cancel = makeCancelToken();
        const CopyResult result = Copier::copy(order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(content(result.path), all);
        std::string error;
        QCOMPARE(result.checksum, filetools::checksum(order.source, order.cancel, error).value_or(error));
    }

    void firstCopyReadsItsSourceOnceAndTheClipIsKnownByItsContent()
    {
        Sound sound;
        const std::int64_t before = bytesRead();
        QCOMPARE(int(sound.process().end), int(FileResult::End::Offered));
        // The source and the copy, once each.
        const double times = double(bytesRead() - before) / double(QFileInfo(sound.file).size());
        QVERIFY2(times > 1.9 && times < 2.5, qPrintable(QString::number(times)));
        QVERIFY(content(sound.bench.listed().at(0)).contains("method=\"xxh3-64\""));
        QVERIFY(!content(sound.bench.listed().at(0)).contains("\"stamp\""));
        touch(sound.file.toStdString());
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
        const QByteArray bytes = content(sound.file.toStdString());
        QVERIFY(QFile::remove(sound.file));
        write(sound.file, bytes);
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
        QByteArray other = bytes;
        other[other.size() - 1] = char(other.back() + 1);
        write(sound.file, other);
        QCOMPARE(int(sound.process().end), int(FileResult::End::Offered));
        QCOMPARE(int(sound.bench.listed().size()), 2);
    }

    void firstCopyReadsTheSidecarsOnceAndTellsWhatTheyHold()
    {
        for (const bool relinks : {false, true}) {
            Sound sound;
            const QString sidecar = sound.bench.folder.filePath(s("a.xml"));
            QByteArray bytes(8 * 1024 * 1024, ' ');
            bytes[0] = '<';
            write(sidecar, bytes);
            FileOrder order = sound.order();
            order.profile.activities.front().relinkAfterCopy = relinks;
            const std::int64_t before = bytesRead();
            QCOMPARE(int(sound.bench.pipeline.process(order).end), int(FileResult::End::Offered));
            const double times =
                double(bytesRead() - before) / double(QFileInfo(sound.file).size() + bytes.size());
            QVERIFY2(times > 1.9 && times < 2.5, qPrintable(QString::number(times)));
            QCOMPARE(content(sound.to + s("/a.xml")), bytes);
            std::string error;
            const auto checksum = filetools::checksum(sidecar.toStdString(), makeCancelToken(), error);
            QVERIFY(checksum);
            const QString document = QString::fromUtf8(content(sound.bench.listed().at(0)));
            const QString element = document.section(s("<sidecar>"), 1).section(s("</sidecar>"), 0, 0);
            QVERIFY2(element.contains(QString::fromStdString(checksum->substr(checksum->find(':') + 1))),
                     qPrintable(document));
            QVERIFY(element.contains((relinks ? sound.to : sound.bench.folder.path()) + s("/a.xml")));
        }
    }

    void clipThatFailedBeforeItWasCopiedIsKnownByItsContent()
    {
        Sound sound;
        QVERIFY(QDir().rmdir(sound.to));
        QCOMPARE(int(sound.process().end), int(FileResult::End::Failed));
        touch(sound.file.toStdString());
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
        // Tried again it is done.
        QVERIFY(QDir().mkdir(sound.to));
        sound.bench.clips.retry("f000001");
        const FileResult result = sound.process();
        QVERIFY2(result.end == FileResult::End::Offered, result.text.c_str());
        touch(sound.file.toStdString());
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
    }

    void clipWhoseWorkWasCalledOffIsKnownByItsContentFromTheNextLookOn()
    {
        Sound sound;
        FileOrder order = sound.order();
        order.willAct = [&](const std::string&) {
            *order.cancel = true;
            return std::string();
        };
        order.staysCancelled = [] { return true; };
        QCOMPARE(int(sound.bench.pipeline.process(order).end), int(FileResult::End::Cancelled));
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
        sound.bench.pipeline.prune(text::now(), makeCancelToken());
        touch(sound.file.toStdString());
        QCOMPARE(int(sound.process().end), int(FileResult::End::Known));
        // Submitted again it is gone on with, whatever was learnt of it.
        sound.bench.clips.retry("f000001");
        QCOMPARE(int(sound.process().end), int(FileResult::End::Offered));
        QCOMPARE(int(sound.bench.listed().size()), 1);
    }

    void sequenceWhoseWorkWasCalledOffIsKnownByItsContent_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("settings");
        QTest::newRow("always joined") << s("dpx") << QByteArray();
        QTest::newRow("joined for the plug-in")
            << s("png")
            << QByteArray(
                   "<profileSettings><linkDetail><xelPreferredPluginDetail><xelPluginName>Image Sequence "
                   "(Image Folder)</xelPluginName><xelPluginGUID>4B525802-0005-4D0A-8C21-5E7F1A9B3C40"
                   "</xelPluginGUID></xelPreferredPluginDetail></linkDetail></profileSettings>");
    }
    void sequenceWhoseWorkWasCalledOffIsKnownByItsContent()
    {
        QFETCH(QString, kind);
        QFETCH(QByteArray, settings);
        PipelineBench bench;
        const QString in = bench.folder.filePath(s("in"));
        const QString to = bench.folder.filePath(s("to"));
        QVERIFY(QDir().mkpath(in) && QDir().mkpath(to));
        QCOMPARE(QProcess::execute(s("ffmpeg"), {s("-v"), s("error"), s("-f"), s("lavfi"), s("-i"),
                                                 s("testsrc=s=64x36:d=0.12"), in + s("/shot.%04d.") + kind}),
                 0);
        const auto path = [&](int number) {
            return s("%1/shot.000%2.%3").arg(in).arg(number).arg(kind).toStdString();
        };
        FileOrder order = bench.order(path(1));
        order.ownerPath = in.toStdString();
        order.profile.activities = {PipelineBench::copyTo(to)};
        order.profile.settings = settings.toStdString();
        order.willAct = [&](const std::string&) {
            *order.cancel = true;
            return std::string();
        };
        order.staysCancelled = [] { return true; };
        QCOMPARE(int(bench.pipeline.process(order).end), int(FileResult::End::Cancelled));
        bench.pipeline.learnCalledOff(makeCancelToken());
        touch(path(2));
        order.cancel = makeCancelToken();
        order.willAct = {};
        const FileResult again = bench.pipeline.process(order);
        QVERIFY2(again.end == FileResult::End::Known, again.text.c_str());
        // Another content is another clip.
        write(QString::fromStdString(path(2)), content(path(3)));
        QCOMPARE(int(bench.pipeline.process(order).end), int(FileResult::End::Offered));
        QCOMPARE(int(bench.listed().size()), 1);
    }

    void fileThatIsNoMediaIsKnownByItsContentThoughItWasToBeCopied()
    {
        Sound sound;
        write(sound.file, "no sound at all");
        QCOMPARE(int(sound.process().end), int(FileResult::End::Rejected));
        touch(sound.file.toStdString());
        QCOMPARE(int(sound.process().end), int(FileResult::End::Rejected));
        QCOMPARE(int(sound.bench.clips.finished(0, 10).size()), 1);
    }
};

QTEST_GUILESS_MAIN(TestServiceCopies)
#include "test_service_copies.moc"
