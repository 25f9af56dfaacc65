#include "PipelineBench.h"
#include "TestFiles.h"

#include "activities/Copier.h"
#include "activities/Pipeline.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "files/HeldDirectory.h"
#include "media/MediaProbe.h"
#include "media/OutputArea.h"
#include "store/ClipStore.h"
#include "store/Database.h"
#include "store/ErrorStore.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace krxservice;
using TestFiles::content;
using TestFiles::names;
using TestFiles::write;

namespace {

QByteArray report(const char* format, const char* score, const char* streams)
{
    return QByteArray("<media verdict=\"media\" text=\"\"><format format_name=\"") + format +
           "\" probe_score=\"" + score + "\" duration=\"1.5\"/><streams>" + streams + "</streams></media>";
}

ProbeResult read(const QByteArray& text)
{
    return MediaProbe::read({text.constData(), static_cast<std::size_t>(text.size())});
}

/// A bench with a file of its own and a folder to copy it to.
struct CopyStage : PipelineBench
{
    explicit CopyStage(const std::string& source)
    {
        QVERIFY(QFile::copy(QString::fromStdString(source), file));
        QVERIFY(QDir().mkdir(to));
    }

    FileOrder copyOrder(bool relink = false) const
    {
        FileOrder copy = order(file.toStdString());
        copy.profile.activities = {copyTo(to, relink)};
        return copy;
    }

    const QString file = folder.filePath(QStringLiteral("a.wav"));
    const QString to = folder.filePath(QStringLiteral("to"));
};

} // namespace

class TestServiceWork : public QObject
{
    Q_OBJECT

    QTemporaryDir m_media;
    std::string m_wave;

    using Bench = PipelineBench;

    static CopyOrder copyOrder(const QString& source, const QString& folder)
    {
        CopyOrder order;
        order.source = source.toStdString();
        order.directory = folder.toStdString();
        order.cancel = makeCancelToken();
        return order;
    }

private slots:
    // A list that is handed down would let in people whom the source keeps out.
    void directoryThatIsMadeTakesNoListOfAccess()
    {
        const QTemporaryDir to;
        // Its head, then the owner, the user 54321, the group, the mask and the others.
        const short list[][4] = {{2, 0, 1, 7},    {-1, -1, 2, 7},  {-11215, 0, 4, 7},
                                 {-1, -1, 16, 7}, {-1, -1, 32, 0}, {-1, -1}};
        const std::size_t size = sizeof list - 2 * sizeof(short);
        if (::setxattr(qPrintable(to.path()), "system.posix_acl_default", list, size, 0) != 0)
            QSKIP("this file system has no lists of access");
        const auto made = HeldDirectory(to.path().toStdString()).makeDirectories("a/b", 0755);
        QVERIFY(made.isOpen());
        for (const char* which : {"system.posix_acl_access", "system.posix_acl_default"})
            QVERIFY(::fgetxattr(made.get(), which, nullptr, 0) < 0);
    }

    void initTestCase()
    {
        const QString file = m_media.filePath(QStringLiteral("a.wav"));
        QCOMPARE(QProcess::execute(QStringLiteral("ffmpeg"),
                                   {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"),
                                    QStringLiteral("lavfi"), QStringLiteral("-i"),
                                    QStringLiteral("sine=d=0.1"), file}),
                 0);
        m_wave = file.toStdString();
    }

    void copyIsVerifiedAndKeepsTheTime()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        const QByteArray bytes(3 * 1024 * 1024 + 17, 'q');
        write(source, bytes);
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        std::string scratch;
        int last = -1;
        CopyOrder order = copyOrder(source, folder.filePath(QStringLiteral("to")));
        order.willWrite = [&](const std::string& name) { scratch = name; };
        order.progress = [&](int percent) {
            QVERIFY(percent >= last && percent <= 100);
            last = percent;
            // Until it is whole, nobody can mistake it for a clip.
            QCOMPARE(names(folder.filePath(QStringLiteral("to"))).size(), 1);
            QVERIFY(names(folder.filePath(QStringLiteral("to"))).constFirst().startsWith(QLatin1Char('.')));
        };
        const CopyResult result = Copier::copy(order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(result.path, folder.filePath(QStringLiteral("to/a.mov")).toStdString());
        QCOMPARE(content(result.path), bytes);
        QVERIFY(*filetools::stampOf(result.path) == *filetools::stampOf(source.toStdString()));
        QVERIFY(!scratch.empty() && ::access(scratch.c_str(), F_OK) != 0);
        QVERIFY(last > 0);
        std::string error;
        QCOMPARE(*filetools::checksum(result.path, makeCancelToken(), error), result.checksum);
    }

    void copyNeverReplacesAnotherFile()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.b.mov"));
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        write(source, "new");
        write(folder.filePath(QStringLiteral("to/a.b.mov")), "old");
        const CopyResult second = Copier::copy(copyOrder(source, folder.filePath(QStringLiteral("to"))));
        QCOMPARE(second.path, folder.filePath(QStringLiteral("to/a.b (2).mov")).toStdString());
        QCOMPARE(content(folder.filePath(QStringLiteral("to/a.b.mov")).toStdString()), QByteArray("old"));
        QCOMPARE(content(second.path), QByteArray("new"));
    }

    void fileOfTheSameContentCountsAsTheCopy()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        write(source, "same");
        write(folder.filePath(QStringLiteral("to/a.mov")), "same");
        const CopyResult result = Copier::copy(copyOrder(source, folder.filePath(QStringLiteral("to"))));
        QVERIFY(result.ok);
        QCOMPARE(names(folder.filePath(QStringLiteral("to"))), QStringList{QStringLiteral("a.mov")});
    }

    void copyToAMissingFolderFailsAndMakesNothing()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        write(source, "x");
        const CopyResult result = Copier::copy(copyOrder(source, folder.filePath(QStringLiteral("away"))));
        QVERIFY(!result.ok && !result.error.empty());
        QVERIFY(!QFile::exists(folder.filePath(QStringLiteral("away"))));
    }

    void cancelledCopyLeavesNothing()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        write(source, QByteArray(4 * 1024 * 1024, 'x'));
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        CopyOrder order = copyOrder(source, folder.filePath(QStringLiteral("to")));
        order.progress = [&](int) { *order.cancel = true; };
        const CopyResult result = Copier::copy(order);
        QVERIFY(!result.ok && result.cancelled);
        QVERIFY(names(folder.filePath(QStringLiteral("to"))).isEmpty());
    }

    void sourceThatChangesWhileItIsCopiedFails()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        write(source, QByteArray(4 * 1024 * 1024, 'x'));
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        CopyOrder order = copyOrder(source, folder.filePath(QStringLiteral("to")));
        bool once = false;
        order.progress = [&](int) {
            QFile file(source);
            if (!once && file.open(QIODevice::Append))
                file.write("more");
            once = true;
        };
        QVERIFY(!Copier::copy(order).ok);
        QVERIFY(names(folder.filePath(QStringLiteral("to"))).isEmpty());
    }

    void copyDamagedOnTheDiskIsNoticed()
    {
        QTemporaryDir folder;
        const QString source = folder.filePath(QStringLiteral("a.mov"));
        write(source, QByteArray(2 * 1024 * 1024, 'x'));
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("to")));
        CopyOrder order = copyOrder(source, folder.filePath(QStringLiteral("to")));
        std::string scratch;
        order.willWrite = [&](const std::string& name) { scratch = name; };
        order.progress = [&](int percent) {
            QFile file(QString::fromStdString(scratch));
            if (percent == 90 && file.open(QIODevice::ReadWrite))
                file.write("y");
        };
        const CopyResult result = Copier::copy(order);
        QVERIFY(!result.ok);
        QVERIFY(result.error.find("differs") != std::string::npos);
        QVERIFY(names(folder.filePath(QStringLiteral("to"))).isEmpty());
    }

    void fingerprintOfHugeFilesSeesBothEndsAndTheLength()
    {
        QTemporaryDir folder;
        const std::string path = folder.filePath(QStringLiteral("big")).toStdString();
        const auto token = makeCancelToken();
        std::string error;
        const auto fingerprint = [&] {
            // The time is part of it, so it is kept still.
            const timespec times[2] = {{1000, 0}, {1000, 0}};
            ::utimensat(AT_FDCWD, path.c_str(), times, 0);
            return filetools::fingerprint(path, token, error, 64LL * 1024 * 1024);
        };
        write(QString::fromStdString(path), "start");
        QCOMPARE(::truncate(path.c_str(), 70LL * 1024 * 1024), 0);
        const auto first = fingerprint();
        QVERIFY(first && first->rfind("xxh3-64-sampled:", 0) == 0);
        QFile file(QString::fromStdString(path));
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.seek(file.size() - 1);
        file.write("e");
        file.close();
        const auto second = fingerprint();
        QVERIFY(second && *second != *first);
        QCOMPARE(::truncate(path.c_str(), 70LL * 1024 * 1024 + 1), 0);
        QVERIFY(*fingerprint() != *second);
        *token = true;
        QVERIFY(!fingerprint());
    }

    void probeTellsMediaFromOtherFiles()
    {
        const char* video =
            "<stream index=\"0\" codec_type=\"video\" width=\"64\" height=\"48\" r_frame_rate=\"25/1\" "
            "timecode=\"01:00:00:00\"/>";
        const auto movie = read(report("mov,mp4", "100", video));
        QVERIFY(movie.verdict == ProbeResult::Verdict::Media);
        QCOMPARE(movie.facts.kind, std::string("video"));
        QCOMPARE(movie.facts.duration, std::string("1.5"));
        QCOMPARE(movie.facts.timecode, std::string("01:00:00:00"));
        QCOMPARE(movie.facts.streams.at(0).frameRate, std::string("25/1"));
        QCOMPARE(read(report("png_pipe", "99", video)).facts.kind, std::string("image"));
        QCOMPARE(read(report("image2", "50", video)).facts.kind, std::string("image"));
        QCOMPARE(read(report("wav", "99", "<stream codec_type=\"audio\" sample_rate=\"48000\"/>")).facts.kind,
                 std::string("audio"));
        QVERIFY(read(report("tty", "50", video)).verdict == ProbeResult::Verdict::NotMedia);
        QVERIFY(read(report("mp3", "25", video)).verdict == ProbeResult::Verdict::NotMedia);
        QVERIFY(read(report("srt", "100", "<stream codec_type=\"subtitle\"/>")).verdict ==
                ProbeResult::Verdict::NotMedia);
        QVERIFY(read(report("mov", "100", "")).verdict == ProbeResult::Verdict::NotMedia);
        const auto nothing = read("<media verdict=\"nothing\" text=\"it is a list\"/>");
        QVERIFY(nothing.verdict == ProbeResult::Verdict::NotMedia);
        QCOMPARE(nothing.text, std::string("it is a list"));
        // Whatever is not a verdict of its own words says nothing about the file.
        for (const char* answer :
             {"", "<media>", "<media/>", "<media verdict=\"perhaps\"/>", "<other verdict=\"nothing\"/>",
              "<media verdict=\"later\" text=\"no memory\"/>"})
            QVERIFY2(read(answer).verdict == ProbeResult::Verdict::Unavailable, answer);
    }

    void outputNamesKeepTheSourceNameReadable()
    {
        QCOMPARE(OutputArea::fileName(7, "/in/a b.mov"), std::string("7-a b.mov.xel"));
        QCOMPARE(OutputArea::fileName(1, "/in/a\nb\xFF"), std::string("1-a b\xEF\xBF\xBD.xel"));
        std::string letters;
        for (int i = 0; i < 120; ++i)
            letters += "\xC3\xA9";
        const std::string name = OutputArea::fileName(1, "/in/" + letters);
        QVERIFY(name.size() < 200 && text::isXmlText(name));
    }

    void directoryOfOutputsThatDidNotChangeIsNotLookedThrough()
    {
        QTemporaryDir folder;
        OutputArea area(folder.path().toStdString() + "/output");
        const std::string directory = folder.path().toStdString() + "/output/f000001";
        const auto setTime = [&](time_t seconds) {
            const timespec times[2] = {{seconds, 0}, {seconds, 0}};
            return ::utimensat(AT_FDCWD, directory.c_str(), times, 0) == 0;
        };
        for (const char* name : {"1-a.xel", "2-b.xel", "3-c.xel"}) {
            QCOMPARE(area.prepare("f000001", name, "x"), std::string());
            QCOMPARE(area.publish("f000001", name), std::string());
        }
        // Just changed: within one tick of the clock it could change once more.
        QCOMPARE(area.list("f000001").size(), std::size_t(3));
        QVERIFY(::unlink((directory + "/1-a.xel").c_str()) == 0);
        QCOMPARE(area.list("f000001").size(), std::size_t(2));
        QVERIFY(setTime(1000));
        QCOMPARE(area.list("f000001").size(), std::size_t(2));
        // Nobody would see this, if the time were put back.
        QVERIFY(::unlink((directory + "/2-b.xel").c_str()) == 0 && setTime(1000));
        QCOMPARE(area.list("f000001").size(), std::size_t(2));
        QVERIFY(setTime(1001));
        QCOMPARE(area.list("f000001"), std::vector<std::string>{directory + "/3-c.xel"});
        // What is published meanwhile is listed, and what is taken is noted.
        QCOMPARE(area.prepare("f000001", "4-d.xel", "x"), std::string());
        QCOMPARE(area.publish("f000001", "4-d.xel"), std::string());
        QVERIFY(setTime(1001));
        QCOMPARE(area.list("f000001").size(), std::size_t(2));
        QVERIFY(::unlink((directory + "/4-d.xel").c_str()) == 0);
        QCOMPARE(area.takeTaken().size(), std::size_t(3));
    }

    void outputsAreListedWhileTheyAreOnTheDisk()
    {
        QTemporaryDir folder;
        const std::string root = folder.path().toStdString() + "/output";
        {
            OutputArea area(root);
            for (const char* name : {"10-b.xel", "9-a.xel"}) {
                QCOMPARE(area.prepare("f000001", name, "x"), std::string());
                QVERIFY(area.isPrepared("f000001", name));
                QVERIFY(area.readyFolders().empty() || std::string(name) == "9-a.xel");
                QCOMPARE(area.publish("f000001", name), std::string());
                QVERIFY(!area.isPrepared("f000001", name));
            }
            area.prepare("j000001", "3-c.xel", "x");
            area.publish("j000001", "3-c.xel");
            QCOMPARE(area.list("f000001"),
                     (std::vector<std::string>{root + "/f000001/9-a.xel", root + "/f000001/10-b.xel"}));
            QCOMPARE(area.readyFolders(), std::vector<std::string>{"f000001"});
        }
        OutputArea area(root);
        QCOMPARE(area.list("j000001"), std::vector<std::string>{root + "/jobs/j000001/3-c.xel"});
        QCOMPARE(area.list("f000001").size(), std::size_t(2));
        ::unlink((root + "/f000001/9-a.xel").c_str());
        QCOMPARE(area.list("f000001").size(), std::size_t(1));
        ::unlink((root + "/f000001/10-b.xel").c_str());
        QVERIFY(area.readyFolders().empty());
        area.beginRemoval("j000001");
        area.endRemoval("j000001");
        QVERIFY(area.list("j000001").empty());
        QVERIFY(::access((root + "/jobs/j000001").c_str(), F_OK) != 0);
    }

    void fileIsOfferedOnceThenKnown()
    {
        Bench bench;
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == FileResult::End::Offered);
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QVERIFY(
            content(bench.listed()[0]).contains("<path>" + QByteArray::fromStdString(m_wave) + "</path>"));
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == FileResult::End::Known);
        ::unlink(bench.listed()[0].c_str());
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == FileResult::End::Known);
        QVERIFY(bench.listed().empty());
    }

    void touchedFileOfTheSameContentIsNotOfferedAgain()
    {
        CopyStage bench(m_wave);
        const QString& file = bench.file;
        bench.pipeline.process(bench.order(file.toStdString()));
        const timespec times[2] = {{1000, 0}, {1000, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, file.toStdString().c_str(), times, 0), 0);
        const auto again = bench.pipeline.process(bench.order(file.toStdString()));
        QVERIFY(again.end == FileResult::End::Known);
        QCOMPARE(bench.clips.known("f000001").at(file.toStdString()).modified,
                 std::int64_t(1000) * 1000000000);
    }

    void linkInTheFilesWayIsReportedAndNotFollowed()
    {
        Bench bench;
        const QString in = bench.folder.filePath(QStringLiteral("in"));
        QVERIFY(QDir().mkdir(in));
        QVERIFY(QFile::link(m_media.path(), in + QStringLiteral("/card")));
        FileOrder order = bench.order(in.toStdString() + "/card/a.wav");
        order.ownerPath = in.toStdString();
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Later);
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        QVERIFY(bench.listed().empty());
    }

    void fileThatWasReplacedDuringTheWorkIsNotOffered()
    {
        CopyStage bench(m_wave);
        FileOrder order = bench.copyOrder();
        order.progress = [&](int) {
            QFile::remove(bench.file);
            write(bench.file, "other");
        };
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Later);
        QVERIFY(bench.listed().empty());
    }

    void sourceThatChangedDuringTheWorkIsLookedAtAgain()
    {
        CopyStage bench(m_wave);
        FileOrder order = bench.copyOrder(true);
        bool once = false;
        order.progress = [&](int) {
            QFile file(bench.file);
            if (!once && file.open(QIODevice::Append))
                file.write("more");
            once = true;
        };
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Later);
        order.progress = nullptr;
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Offered);
        QCOMPARE(names(bench.to), QStringList{QStringLiteral("a.wav")});
    }

    void fileThatIsNoMediaIsReportedOnce()
    {
        Bench bench;
        const QString file = bench.folder.filePath(QStringLiteral("a.txt"));
        write(file, "words\n");
        for (int i = 0; i < 2; ++i)
            QVERIFY(bench.pipeline.process(bench.order(file.toStdString())).end == FileResult::End::Rejected);
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        QVERIFY(bench.listed().empty());
    }

    void refusalIsTakenBackWhenTheFileIsOffered()
    {
        Bench bench;
        const QString file = bench.folder.filePath(QStringLiteral("a.wav"));
        write(file, "half a file\n");
        QVERIFY(bench.pipeline.process(bench.order(file.toStdString())).end == FileResult::End::Rejected);
        write(file, "half a file, and more\n");
        QVERIFY(bench.pipeline.process(bench.order(file.toStdString())).end == FileResult::End::Rejected);
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        write(file, content(m_wave));
        QVERIFY(bench.pipeline.process(bench.order(file.toStdString())).end == FileResult::End::Offered);
        QVERIFY(bench.errors.list().empty());
    }

    void fileWhoseNameNoDocumentCarriesIsReportedNotAltered()
    {
        Bench bench;
        const std::string path = bench.folder.path().toStdString() + "/a\x01.wav";
        QVERIFY(QFile::copy(QString::fromStdString(m_wave), QString::fromStdString(path)));
        QVERIFY(bench.pipeline.process(bench.order(path)).end == FileResult::End::Rejected);
        QVERIFY(bench.listed().empty());
    }

    void everyByteThatANameMayHoldIsKeptOrSaid()
    {
        Bench bench;
        const std::string folder = bench.folder.path().toStdString();
        QVERIFY(QDir().mkdir(bench.folder.filePath(QStringLiteral("to"))));
        for (int byte = 1; byte < 256; ++byte) {
            if (byte == '/')
                continue;
            const std::string name = std::string("n") + static_cast<char>(byte) + ".wav";
            const std::string path = folder + '/' + name;
            QCOMPARE(::link(m_wave.c_str(), path.c_str()), 0);
            FileOrder order = bench.order(path);
            if (byte < '0')
                order.profile.activities = {
                    PipelineBench::copyTo(bench.folder.filePath(QStringLiteral("to")))};
            const auto result = bench.pipeline.process(order);
            // Names with controls in them no person types, and half of a character cannot be said.
            const bool isText = byte >= 0x20 && byte < 0x7F;
            QVERIFY2((result.end == FileResult::End::Offered) == isText, std::to_string(byte).c_str());
            QVERIFY2((result.end == FileResult::End::Rejected) != isText, std::to_string(byte).c_str());
            if (!isText)
                continue;
            const std::string listed = bench.listed().at(0);
            QXmlStreamReader xml(content(listed));
            QStringList paths;
            while (!xml.atEnd()) {
                if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("path"))
                    paths << xml.readElementText();
            }
            QVERIFY2(!xml.hasError() && paths.contains(QString::fromStdString(path)),
                     std::to_string(byte).c_str());
            if (byte < '0')
                QCOMPARE(content(folder + "/to/" + name), content(m_wave));
            QCOMPARE(::unlink(listed.c_str()), 0);
        }
    }

    void copyActionIsDoneAndTheOutputLinksToTheCopyWhenAsked()
    {
        for (const bool relink : {false, true}) {
            Bench bench;
            const QString to = bench.folder.filePath(QStringLiteral("to"));
            QVERIFY(QDir().mkdir(to));
            FileOrder order = bench.order(m_wave);
            order.profile.activities = {PipelineBench::copyTo(to + QLatin1Char('/'), relink)};
            bool acted = false;
            order.willAct = [&](const std::string& former) {
                acted = true;
                return former;
            };
            QVERIFY(bench.pipeline.process(order).end == FileResult::End::Offered);
            QVERIFY(acted);
            const QByteArray copy = to.toUtf8() + "/a.wav";
            QCOMPARE(content(copy.toStdString()), content(m_wave));
            const QByteArray document = content(bench.listed().at(0));
            const auto clip = document.mid(document.indexOf("<clip>"),
                                           document.indexOf("<bin") - document.indexOf("<clip>"));
            QCOMPARE(clip.contains("<path>" + copy + "</path>"), relink);
            QVERIFY(document.contains("<path>" + QByteArray::fromStdString(m_wave) + "</path>"));
        }
    }

    void copyActionKeepsThePathBelowTheWatchedFolder()
    {
        PipelineBench bench;
        const QString in = bench.folder.filePath(QStringLiteral("in"));
        const QString to = bench.folder.filePath(QStringLiteral("to"));
        QVERIFY(QDir().mkpath(in + QStringLiteral("/card/100")) && QDir().mkdir(to));
        const QString file = in + QStringLiteral("/card/100/a.wav");
        QVERIFY(QFile::copy(QString::fromStdString(m_wave), file));
        FileOrder order = bench.order(file.toStdString());
        order.ownerPath = in.toStdString() + "/";
        order.profile.activities = {PipelineBench::copyTo(to, true)};
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Offered);
        QCOMPARE(content(to.toStdString() + "/card/100/a.wav"), content(m_wave));
        QVERIFY(content(bench.listed().at(0)).contains("<path>" + to.toUtf8() + "/card/100/a.wav</path>"));
    }

    void copyThatGoesAwayDuringTheNextActionIsNotOffered()
    {
        Bench bench;
        const QString first = bench.folder.filePath(QStringLiteral("first"));
        const QString away = bench.folder.filePath(QStringLiteral("away"));
        const QString second = bench.folder.filePath(QStringLiteral("second"));
        QVERIFY(QDir().mkpath(first) && QDir().mkpath(second));
        FileOrder order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(first, true), PipelineBench::copyTo(second)};
        bool isSwapped = false;
        order.progress = [&](int percent) {
            if (percent > 50 && !isSwapped)
                isSwapped = QDir().rename(first, away) && QDir().mkpath(first);
        };
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Later);
        QVERIFY(isSwapped);
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Offered);
        QCOMPARE(QDir(first).entryList(QDir::Files).size(), 1);
    }

    void failedActionLeavesNoOutputAndIsNotTriedAgain()
    {
        Bench bench;
        FileOrder order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(QStringLiteral("/nowhere"))};
        const auto result = bench.pipeline.process(order);
        QVERIFY(result.end == FileResult::End::Failed);
        QVERIFY(result.text.find("/nowhere") != std::string::npos);
        QVERIFY(bench.listed().empty());
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Known);
        bench.clips.retry("f000001");
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Failed);
    }

    void actionsThatAreNotThereFailWithATextThatSaysSo()
    {
        Bench bench;
        FileOrder order = bench.order(m_wave);
        ActivityRecipe activity;
        activity.id = "sharpen";
        order.profile.activities = {activity};
        const auto result = bench.pipeline.process(order);
        QVERIFY(result.end == FileResult::End::Failed);
        QCOMPARE(result.text,
                 std::string("The action \"sharpen\" is not available in this version of the service"));
        QVERIFY(bench.listed().empty());
    }

    void copyIntoTheWatchedFolderItselfFails()
    {
        Bench bench;
        FileOrder order = bench.order(m_wave);
        order.ownerPath = m_media.path().toStdString();
        order.profile.activities = {PipelineBench::copyTo(m_media.path() + QLatin1Char('/'))};
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Failed);
    }

    void crashBeforeTheOutputIsPreparedWorksOnTheFileAgain()
    {
        Bench bench;
        const QString scratch = bench.folder.filePath(QStringLiteral(".x.part"));
        write(scratch, "half a copy");
        const auto id = bench.begin(m_wave).id;
        bench.clips.setScratch(id, scratch.toStdString());
        const std::string name = OutputArea::fileName(id, m_wave);
        bench.outputs.prepare("f000001", name, "x");
        bench.pipeline.recover();
        QVERIFY(!QFile::exists(scratch));
        QVERIFY(!bench.outputs.isPrepared("f000001", name));
        QVERIFY(bench.clips.inState(ClipState::Acting).empty());
        QVERIFY(bench.pipeline.process(bench.order(m_wave)).end == FileResult::End::Offered);
        QCOMPARE(bench.listed().size(), std::size_t(1));
    }

    void crashBeforeTheRenamePublishesTheOutputOnce()
    {
        Bench bench;
        const auto id = bench.begin(m_wave).id;
        const std::string name = OutputArea::fileName(id, m_wave);
        bench.outputs.prepare("f000001", name, "<xel><id>" + bench.clips.find(id)->guid + "</id></xel>");
        bench.clips.publish(id);
        bench.pipeline.recover();
        QCOMPARE(bench.listed().size(), std::size_t(1));
        bench.pipeline.recover();
        QCOMPARE(bench.listed().size(), std::size_t(1));
        QCOMPARE(bench.clips.inState(ClipState::Offered).size(), std::size_t(1));
    }

    void crashAfterTheRenameOffersNothingTwiceThoughTheClipWasTakenMeanwhile()
    {
        Bench bench;
        const auto id = bench.begin(m_wave).id;
        const std::string name = OutputArea::fileName(id, m_wave);
        bench.outputs.prepare("f000001", name, "x");
        bench.clips.publish(id);
        bench.outputs.publish("f000001", name);
        ::unlink(bench.outputs.path("f000001", name).c_str());
        bench.pipeline.recover();
        QVERIFY(bench.listed().empty());
        QCOMPARE(bench.clips.inState(ClipState::Taken).size(), std::size_t(1));
    }

    void outputsNobodyKnowsOfAreKeptAsideAtTheStart()
    {
        Bench bench;
        bench.outputs.prepare("f000009", "5-x.xel", "published");
        bench.outputs.publish("f000009", "5-x.xel");
        bench.outputs.prepare("j000002", "6-y.xel", "hidden");
        bench.pipeline.recover();
        QVERIFY(bench.outputs.list("f000009").empty());
        const QStringList kept =
            QDir(bench.folder.path()).entryList({QStringLiteral("output.kept-*")}, QDir::Dirs);
        QCOMPARE(kept.size(), 1);
        const std::string place = bench.folder.filePath(kept[0]).toStdString();
        QCOMPARE(content(place + "/f000009/5-x.xel"), QByteArray("published"));
        QCOMPARE(content(place + "/j000002/6-y.xel"), QByteArray("hidden"));
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
        QVERIFY(bench.errors.list()[0].find(place) != std::string::npos);
        // Once is enough.
        bench.pipeline.recover();
        QCOMPARE(bench.errors.list().size(), std::size_t(1));
    }

    void cancelledWorkIsTakenUpAgainUnlessItIsToStayCancelled()
    {
        for (const bool stays : {false, true}) {
            Bench bench;
            FileOrder order = bench.order(m_wave);
            order.profile.activities = {PipelineBench::copyTo(bench.folder.path())};
            order.willAct = [&](const std::string& former) {
                *order.cancel = true;
                return former;
            };
            order.staysCancelled = [stays] { return stays; };
            const auto result = bench.pipeline.process(order);
            QVERIFY(result.end == FileResult::End::Cancelled);
            QCOMPARE(result.stamp.has_value(), stays);
            QVERIFY(bench.pipeline.process(bench.order(m_wave)).end ==
                    (stays ? FileResult::End::Known : FileResult::End::Offered));
        }
    }

    void folderRemovedWhileItsFileIsWorkedOnGetsNoOutput()
    {
        Bench bench;
        FileOrder order = bench.order(m_wave);
        order.profile.activities = {PipelineBench::copyTo(bench.folder.path())};
        order.willAct = [&](const std::string& former) {
            bench.clips.forgetAll("f000001");
            return former;
        };
        QVERIFY(bench.pipeline.process(order).end == FileResult::End::Later);
        QVERIFY(bench.listed().empty());
    }
};

QTEST_GUILESS_MAIN(TestServiceWork)
#include "test_service_work.moc"
