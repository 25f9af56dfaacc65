#include "TestFiles.h"
#include "base/FileTools.h"
#include "base/Options.h"
#include "base/Text.h"
#include "watch/DirectoryEvents.h"
#include "watch/FileWalk.h"
#include "watch/OpenWriters.h"
#include "watch/Settler.h"
#include "watch/WatchedFolder.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <unistd.h>

#include <set>

using namespace krxservice;
using TestFiles::write;

namespace {

constexpr std::int64_t kSecond = 1000000000;

/// A file of one letter in a watched folder.
struct WatchedFile
{
    explicit WatchedFile(std::int64_t settle)
        : watched(record(folder.path()), {}, {}, settle)
    {
        write(file, "x");
    }

    static FolderRecord record(const QString& folder)
    {
        FolderRecord record;
        record.id = "f1";
        record.path = folder.toStdString();
        return record;
    }

    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("a.mov"));
    const std::string path = file.toStdString();
    WatchedFolder watched;
};

/// A watched folder with numbered pictures, and a clock of its own.
struct PictureStage
{
    explicit PictureStage(const LinkSettings& settings = {})
        : watched(WatchedFile::record(folder.path()), {}, {}, kSecond, {}, settings)
    {
    }

    std::string path(const char* name) const
    {
        return folder.filePath(QString::fromUtf8(name)).toStdString();
    }
    void add(const char* name, const QByteArray& content = "x")
    {
        write(folder.filePath(QString::fromUtf8(name)), content);
        watched.saw(path(name), true, now);
    }
    /// Lets time pass in small steps.
    std::vector<std::string> wait(int quarters)
    {
        std::vector<std::string> finished;
        for (int i = 0; i < quarters; ++i) {
            now += kSecond / 4;
            for (const auto& each : watched.takeFinished(now))
                finished.push_back(each);
        }
        return finished;
    }
    /// Reads all of the folder.
    void read()
    {
        watched.beginReading();
        filewalk::Visitor visitor;
        visitor.file = [this](const std::string& file) { watched.saw(file, false, now); };
        filewalk::walk(watched.root(), {}, visitor);
        watched.endReading();
    }
    FileStamp stampOf(const char* name) const
    {
        return clipfiles::of(path(name), watched.root(), false).stamp;
    }
    std::set<std::string> troubles() const { return watched.troubles(); }
    QTemporaryDir folder;
    WatchedFolder watched;
    std::int64_t now = 0;
};

/// A header of a Targa picture.
QByteArray targa(char width, char height)
{
    QByteArray header(18, '\0');
    header[2] = 2;
    header[12] = width;
    header[14] = height;
    header[16] = 24;
    return header;
}

} // namespace

class TestServiceWatch : public QObject
{
    Q_OBJECT

private slots:
    void fileIsTakenAfterStandingStillForTheSettleTime()
    {
        Settler settler(2 * kSecond);
        QVERIFY(!settler.reading({10, 1}, 0));
        QVERIFY(!settler.reading({10, 1}, kSecond));
        QVERIFY(!settler.reading({10, 1}, 2 * kSecond - 1));
        QVERIFY(settler.reading({10, 1}, 2 * kSecond));
    }

    void fileIsNeverTakenBeforeThreeReadings()
    {
        Settler settler(2 * kSecond);
        QVERIFY(!settler.reading({10, 1}, 0));
        QVERIFY(!settler.reading({10, 1}, 100 * kSecond));
        QVERIFY(settler.reading({10, 1}, 101 * kSecond));
    }

    void changeOfSizeOrTimeBeginsTheWaitAgain()
    {
        for (const FileStamp& changed : {FileStamp{11, 1}, FileStamp{10, 2}}) {
            Settler settler(2 * kSecond);
            settler.reading({10, 1}, 0);
            settler.reading({10, 1}, kSecond);
            QVERIFY(!settler.reading(changed, 2 * kSecond));
            QVERIFY(!settler.reading(changed, 3 * kSecond));
            QVERIFY(settler.reading(changed, 4 * kSecond));
        }
    }

    void writerThatPausesForOneAndAHalfSecondsIsNeverTakenEarly()
    {
        Settler settler(2 * kSecond);
        std::int64_t size = 0;
        for (int tick = 0; tick < 400; ++tick) {
            if (tick % 6 == 0)
                ++size;
            QVERIFY(!settler.reading({size, size}, tick * kSecond / 4));
        }
    }

    void disturbanceBeginsTheWaitAgain()
    {
        Settler settler(2 * kSecond);
        settler.reading({10, 1}, 0);
        settler.reading({10, 1}, kSecond);
        settler.disturbed();
        QVERIFY(!settler.reading({10, 1}, 2 * kSecond));
        QVERIFY(!settler.reading({10, 1}, 3 * kSecond));
        QVERIFY(settler.reading({10, 1}, 4 * kSecond));
    }

    void emptyFileIsNeverTaken()
    {
        Settler settler(kSecond);
        for (int i = 0; i < 10; ++i)
            QVERIFY(!settler.reading({0, 1}, i * kSecond));
    }

    void hiddenAndUnfinishedNamesAreNoCandidates()
    {
        for (const char* name : {"a.mov", "A001_C001.mxf", "no extension", "part", "a.parts", "\xC3\xA9.wav"})
            QVERIFY2(filewalk::isCandidateName(name), name);
        for (const char* name : {"", ".a.mov", "a.mov.part", "a.PART", "a.tmp", "a.mov~", "~a.mov",
                                 "a.crdownload", "a.filepart", "a.partial", "a.temp"})
            QVERIFY2(!filewalk::isCandidateName(name), name);
    }

    void walkFindsFilesBelowAndLeavesOutWhatItShould()
    {
        QTemporaryDir folder;
        QDir root(folder.path());
        for (const char* name : {"DCIM/100", "DCIM/ascmhl", ".hidden", "copies/deep"})
            QVERIFY(root.mkpath(QString::fromUtf8(name)));
        for (const char* name : {"a.mov", "DCIM/100/b.mov", "DCIM/ascmhl/1.mhl", ".hidden/c.mov",
                                 "copies/d.mov", "copies/deep/e.mov", "x.part"})
            write(root.filePath(QString::fromUtf8(name)), "x");
        QVERIFY(
            QFile::link(root.filePath(QStringLiteral("a.mov")), root.filePath(QStringLiteral("link.mov"))));
        QVERIFY(QFile::link(root.path(), root.filePath(QStringLiteral("loop"))));
        QVERIFY(QFile::link(QStringLiteral("/nowhere"), root.filePath(QStringLiteral("dangling.mov"))));
        const std::string base = text::canonicalPath(folder.path().toStdString());
        std::set<std::string> files;
        std::set<std::string> directories;
        filewalk::Visitor visitor;
        visitor.file = [&](const std::string& path) { files.insert(path.substr(base.size() + 1)); };
        visitor.directory = [&](const std::string& path) { directories.insert(path); };
        QCOMPARE(filewalk::walk(base, {base + "/copies"}, visitor), 0);
        QVERIFY((files == std::set<std::string>{"a.mov", "DCIM/100/b.mov"}));
        QVERIFY((directories == std::set<std::string>{base, base + "/DCIM", base + "/DCIM/100"}));
    }

    void walkOverAMissingDirectorySaysSo() { QCOMPARE(filewalk::walk("/nowhere/at/all", {}, {}), ENOENT); }

    void writersAreFoundReadersAreNot()
    {
        QTemporaryDir folder;
        const std::string base = text::canonicalPath(folder.path().toStdString());
        const std::string read = base + "/read";
        const std::string written = base + "/written";
        for (const auto& path : {read, written})
            write(QString::fromStdString(path), "x");
        const filetools::Descriptor reader(::open(read.c_str(), O_RDONLY));
        std::set<std::string> found;
        {
            const filetools::Descriptor writer(::open(written.c_str(), O_WRONLY | O_APPEND));
            const auto writers = openwriters::among({read, written});
            QCOMPARE(writers.size(), std::size_t(1));
            QCOMPARE(writers.begin()->first, written);
            QCOMPARE(writers.begin()->second, "test_service_wa (process " + std::to_string(::getpid()) + ')');
        }
        QVERIFY(openwriters::among({read, written}).empty());
        QVERIFY(openwriters::among({}).empty());
    }

    void eventsTellWhoIsMeant()
    {
        QTemporaryDir folder;
        const std::string base = folder.path().toStdString();
        DirectoryEvents events;
        QVERIFY(events.descriptor() >= 0);
        events.add("f1", base);
        events.add("f1", base);
        events.add("f2", base);
        write(folder.filePath(QStringLiteral("a.mov")), "x");
        std::set<std::string> owners;
        for (const auto& event : events.take()) {
            QCOMPARE(event.directory, base);
            QCOMPARE(event.name, std::string("a.mov"));
            owners.insert(event.owner);
        }
        QVERIFY((owners == std::set<std::string>{"f1", "f2"}));
        events.remove("f1");
        write(folder.filePath(QStringLiteral("b.mov")), "x");
        for (const auto& event : events.take())
            QCOMPARE(event.owner, std::string("f2"));
        QVERIFY(events.add("f3", "/nowhere/at/all") != DirectoryEvents::Arrival::Told);
    }

    void finishedFileIsHandedOverOnceUntilItChanges()
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("a.mov"));
        const std::string path = file.toStdString();
        write(file, "x");
        FolderRecord record;
        record.id = "f1";
        record.path = folder.path().toStdString() + "//";
        WatchedFolder watched(record, {}, {}, kSecond);
        QCOMPARE(watched.root(), folder.path().toStdString());
        watched.saw(path, false, 0);
        QVERIFY(watched.hasCandidates());
        QVERIFY(watched.takeFinished(kSecond / 2).empty());
        QCOMPARE(watched.takeFinished(kSecond), std::vector<std::string>{path});
        // Under way: seen again without consequence.
        watched.saw(path, true, 2 * kSecond);
        QVERIFY(!watched.hasCandidates());
        watched.done(path, filetools::stampOf(path), 2 * kSecond);
        watched.saw(path, true, 3 * kSecond);
        QVERIFY(!watched.hasCandidates());
        write(file, "longer");
        watched.saw(path, true, 4 * kSecond);
        QVERIFY(watched.hasCandidates());
    }

    void fileWrittenWhileItWasWorkedOnIsSeenAgain()
    {
        WatchedFile one(0);
        one.watched.saw(one.path, false, 0);
        one.watched.takeFinished(1);
        QCOMPARE(one.watched.takeFinished(2).size(), std::size_t(1));
        const auto stamp = filetools::stampOf(one.path);
        write(one.file, "longer");
        one.watched.saw(one.path, true, 3);
        one.watched.done(one.path, stamp, 4);
        QVERIFY(one.watched.hasCandidates());
    }

    void fileThatCouldNotBeJudgedIsSeenAgain()
    {
        WatchedFile one(0);
        one.watched.saw(one.path, false, 0);
        one.watched.takeFinished(1);
        one.watched.takeFinished(2);
        one.watched.done(one.path, std::nullopt, 3);
        QVERIFY(!one.watched.hasCandidates());
        one.watched.saw(one.path, false, 4);
        QVERIFY(one.watched.hasCandidates());
    }

    void pausesGrowForAFileThatCanNeverBeJudged()
    {
        WatchedFile one(0);
        std::int64_t now = 0;
        const auto take = [&] {
            one.watched.takeFinished(now);
            QCOMPARE(one.watched.takeFinished(now).size(), std::size_t(1));
            one.watched.done(one.path, std::nullopt, now);
        };
        one.watched.saw(one.path, false, now);
        take();
        for (const int seconds : {0, 10, 20, 40, 80, 160, 300, 300}) {
            if (seconds > 0) {
                one.watched.saw(one.path, false, now + seconds * kSecond - 1);
                QVERIFY(!one.watched.hasCandidates());
            }
            now += seconds * kSecond;
            one.watched.saw(one.path, false, now);
            QVERIFY(one.watched.hasCandidates());
            take();
        }
        // Whoever writes it is heard at once, and the pauses begin anew.
        write(one.file, "longer");
        one.watched.saw(one.path, false, now);
        QVERIFY(one.watched.hasCandidates());
        take();
        one.watched.saw(one.path, false, now);
        QVERIFY(one.watched.hasCandidates());
    }

    void fileThatIsOpenForWritingIsNotTaken()
    {
        WatchedFile one(kSecond);
        one.watched.saw(one.path, false, 0);
        {
            const filetools::Descriptor writer(::open(one.path.c_str(), O_WRONLY | O_APPEND));
            for (int i = 0; i < 20; ++i)
                QVERIFY(one.watched.takeFinished(i * kSecond).empty());
        }
        QVERIFY(one.watched.takeFinished(20 * kSecond).empty());
        one.watched.takeFinished(21 * kSecond);
        QCOMPARE(one.watched.takeFinished(22 * kSecond).size(), std::size_t(1));
    }

    void knownFileIsNoCandidateAndVanishedOneIsDropped()
    {
        QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("a.mov"));
        const std::string path = file.toStdString();
        write(file, "x");
        FolderRecord record;
        record.path = folder.path().toStdString();
        WatchedFolder known(record, {{path, *filetools::stampOf(path)}}, {}, 0);
        known.saw(path, true, 0);
        QVERIFY(!known.hasCandidates());
        known.forgetAll();
        known.saw(path, false, 0);
        QVERIFY(known.hasCandidates());
        QVERIFY(QFile::remove(file));
        QVERIFY(known.takeFinished(1).empty());
        QVERIFY(!known.hasCandidates());
    }

    void numberedPicturesAreOneClipAfterThreeSettleTimesWithoutANewOne()
    {
        PictureStage stage;
        stage.add("shot_0001.dpx");
        QVERIFY(stage.wait(10).empty());
        stage.add("shot_0002.dpx");
        QVERIFY(stage.wait(11).empty());
        stage.add("shot_0003.dpx");
        QVERIFY(stage.wait(11).empty());
        QVERIFY(stage.watched.hasCandidates());
        QCOMPARE(stage.wait(1), std::vector<std::string>{stage.path("shot_0001.dpx")});
        QVERIFY(!stage.watched.hasCandidates());
    }

    void pictureThatIsStillWrittenHoldsUpItsClip()
    {
        PictureStage stage;
        stage.add("a1.exr");
        stage.add("a2.exr");
        const filetools::Descriptor writer(::open(stage.path("a2.exr").c_str(), O_WRONLY | O_APPEND));
        QVERIFY(stage.wait(40).empty());
    }

    void pictureThatIsAddedLaterMakesANewContentOfTheClip()
    {
        PictureStage stage;
        stage.add("a1.dpx");
        stage.add("a2.dpx");
        QCOMPARE(stage.wait(12).size(), std::size_t(1));
        const FileStamp before = stage.stampOf("a1.dpx");
        stage.add("a3.dpx");
        // Not before the work on the first content is done.
        QVERIFY(stage.wait(40).empty());
        stage.watched.done(stage.path("a1.dpx"), before, stage.now);
        QCOMPARE(stage.wait(1), std::vector<std::string>{stage.path("a1.dpx")});
        stage.watched.done(stage.path("a1.dpx"), stage.stampOf("a1.dpx"), stage.now);
        stage.read();
        QVERIFY(stage.wait(40).empty());
        QVERIFY(!stage.watched.hasCandidates());
    }

    void pictureThatGoesAwayMakesNoNewClipOfTheOthers()
    {
        PictureStage stage;
        for (const char* name : {"a1.dpx", "a2.dpx", "a3.dpx"})
            stage.add(name);
        QCOMPARE(stage.wait(12).size(), std::size_t(1));
        stage.watched.done(stage.path("a1.dpx"), stage.stampOf("a1.dpx"), stage.now);
        QVERIFY(QFile::remove(QString::fromStdString(stage.path("a3.dpx"))));
        stage.read();
        QVERIFY(stage.wait(40).empty());
    }

    void picturesOfAnEarlierRunAreKnown()
    {
        PictureStage first;
        for (const char* name : {"a1.dpx", "a2.dpx", "b7.dpx"})
            first.add(name);
        const auto known = [&] {
            return std::unordered_map<std::string, FileStamp>{
                {first.path("a1.dpx"), first.stampOf("a1.dpx")},
                {first.path("b7.dpx"), first.stampOf("b7.dpx")}};
        };
        const auto readBy = [&](const std::unordered_map<std::string, FileStamp>& files) {
            WatchedFolder watched(WatchedFile::record(first.folder.path()), files, {}, kSecond);
            watched.beginReading();
            for (const char* name : {"a2.dpx", "b7.dpx", "a1.dpx"})
                watched.saw(first.path(name), false, 0);
            watched.endReading();
            return watched.hasCandidates();
        };
        QVERIFY(!readBy(known()));
        // Each picture was a clip of its own to an older version.
        QVERIFY(!readBy({{first.path("a1.dpx"), *filetools::stampOf(first.path("a1.dpx"))},
                         {first.path("a2.dpx"), *filetools::stampOf(first.path("a2.dpx"))},
                         {first.path("b7.dpx"), *filetools::stampOf(first.path("b7.dpx"))}}));
        const auto before = known();
        write(QString::fromStdString(first.path("a2.dpx")), "longer");
        QVERIFY(readBy(before));
    }

    void sequencesAreToldApartByStemPaddingExtensionAndSize()
    {
        PictureStage stage;
        for (const char* name : {"a_0999.tga", "a_1000.tga", "a_10000.tga"})
            stage.add(name, targa(16, 9));
        for (const char* name : {"a_1001.tga", "a_1003.tga"})
            stage.add(name, targa(32, 18));
        for (const char* name :
             {"b_01.tga", "a_01.TGA", "a_1.tga", "a_2.tga", "alone.tga", "0005.tga", "0006.tga"})
            stage.add(name, targa(16, 9));
        std::set<std::string> names;
        for (const auto& path : stage.wait(12))
            names.insert(text::baseName(path));
        QCOMPARE(names, (std::set<std::string>{"a_0999.tga", "a_1001.tga", "b_01.tga", "a_01.TGA", "a_1.tga",
                                               "alone.tga", "0005.tga"}));
        const auto clip = clipfiles::of(stage.path("a_1000.tga"), stage.watched.root(), false);
        QCOMPARE(clip.sequence->present.size(), std::size_t(2));
        QCOMPARE(clip.sequence->lastNumber, std::int64_t(10000));
        QCOMPARE(clip.sequence->padding, 4);
    }

    void onlyThePluginForSequencesPutsPngAndJpegTogether()
    {
        for (const bool joins : {false, true}) {
            LinkSettings settings;
            settings.joinsAllPictures = joins;
            PictureStage stage(settings);
            for (const char* name : {"a1.png", "a2.png", "b1.JPG", "b2.JPG"})
                stage.add(name);
            QCOMPARE(stage.wait(12).size(), std::size_t(joins ? 2 : 4));
        }
    }

    void sidecarIsNoClipAndHoldsUpItsOwn()
    {
        PictureStage stage;
        stage.add("a.mov");
        stage.add("alone.xml");
        QVERIFY(stage.wait(3).empty());
        stage.add("a.xml");
        QVERIFY(stage.wait(3).empty());
        QCOMPARE(stage.wait(4), std::vector<std::string>{stage.path("a.mov")});
        stage.watched.done(stage.path("a.mov"), filetools::stampOf(stage.path("a.mov")), stage.now);
        QVERIFY(stage.wait(40).empty() && stage.troubles().empty());
        QCOMPARE(clipfiles::of(stage.path("a.mov"), stage.watched.root(), false).sidecars,
                 std::vector<std::string>{stage.path("a.xml")});
    }

    void sidecarThatNeverStandsStillHoldsUpNobodyForEver()
    {
        PictureStage stage;
        int quarters = 0;
        stage.read();
        stage.add("a.mov");
        std::vector<std::string> finished;
        for (; finished.empty() && quarters < 400; ++quarters) {
            stage.add("a.txt", QByteArray(quarters + 1, 'x'));
            finished = stage.wait(1);
        }
        QCOMPARE(finished, std::vector<std::string>{stage.path("a.mov")});
        QVERIFY(quarters > 100);
        stage.watched.done(stage.path("a.mov"), filetools::stampOf(stage.path("a.mov")), stage.now);
        QVERIFY(stage.wait(12).empty());
        QCOMPARE(stage.troubles().size(), std::size_t(1));
    }

    void sidecarThatComesTooLateIsNamed()
    {
        PictureStage stage;
        stage.read();
        stage.add("a.mov");
        stage.add("s_01.dpx");
        stage.add("s_02.dpx");
        QCOMPARE(stage.wait(12).size(), std::size_t(2));
        stage.watched.done(stage.path("a.mov"), filetools::stampOf(stage.path("a.mov")), stage.now);
        stage.watched.done(stage.path("s_01.dpx"), stage.stampOf("s_01.dpx"), stage.now);
        stage.add("a.srt");
        stage.add("s.cdl");
        QVERIFY(stage.wait(12).empty());
        QCOMPARE(stage.troubles().size(), std::size_t(2));
        QVERIFY(stage.troubles().begin()->find("a.srt: it came, or was changed, after") != std::string::npos);
        QVERIFY(QFile::remove(QString::fromStdString(stage.path("a.srt"))));
        QVERIFY(QFile::remove(QString::fromStdString(stage.path("s.cdl"))));
        stage.read();
        QVERIFY(stage.troubles().empty());
    }

    void fileThatThePluginDoesNotTakeIsNamedWithThePlugin()
    {
        LinkSettings settings = LinkSettings::read(
            "<profileSettings><linkDetail><xelPreferredPluginDetail><xelPluginName>MXF (*.mxf "
            ")</xelPluginName>"
            "<xelPluginGUID>4b525802-0001-4d0a-8c21-5e7f1a9b3c40</xelPluginGUID></xelPreferredPluginDetail>"
            "</linkDetail></profileSettings>");
        PictureStage stage(settings);
        for (const char* name : {"a.mxf", "b.mov", "c.MXF", "c.xml"})
            stage.add(name);
        QCOMPARE(stage.wait(12), (std::vector<std::string>{stage.path("a.mxf"), stage.path("c.MXF")}));
        QCOMPARE(stage.troubles(), std::set<std::string>{"Left out: " + stage.path("b.mov") +
                                                         ": the plug-in MXF does not take it"});
        stage.read();
        QCOMPARE(stage.troubles().size(), std::size_t(1));
        QVERIFY(!stage.watched.hasCandidates());
    }

    void pluginsTakeWhatTheyCover()
    {
        const auto plugin = [](const char* guid, const char* name) {
            return LinkSettings::read(
                "<profileSettings><linkDetail><xelPreferredPluginDetail><xelPluginName>" + std::string(name) +
                "</xelPluginName><xelPluginGUID>" + guid +
                "</xelPluginGUID></xelPreferredPluginDetail></linkDetail></profileSettings>");
        };
        const LinkSettings any = plugin("00000000-0000-0000-0000-000000000000", "Autodetect Plug-in");
        QVERIFY(any.covers("a.xyz") && any.pluginName.empty());
        const LinkSettings own = plugin("12345678-0000-4000-8000-000000000000", "Its Own (*.abc *.def )");
        QVERIFY(own.covers("a.DEF") && own.covers("a.abc") && !own.covers("a.mov") && !own.covers("abc"));
        QCOMPARE(own.pluginName, std::string("Its Own"));
        const LinkSettings folders =
            plugin("4B525802-0005-4D0A-8C21-5E7F1A9B3C40", "Image Sequence (Image Folder)");
        QVERIFY(folders.joinsAllPictures && folders.covers("a01.png") && folders.covers("1.dpx"));
        QVERIFY(!folders.covers("a.png") && !folders.covers("a1.mov"));
        // One that says nothing of what it takes takes everything.
        QVERIFY(plugin("12345678-0000-4000-8000-000000000000", "No list").covers("a.mov"));
    }

    void volumeThatComesBackIsNotSearchedForChangesWhenTheProfileSaysSo()
    {
        for (const bool trusts : {false, true}) {
            LinkSettings settings;
            settings.trustsKnownVolumes = trusts;
            PictureStage stage(settings);
            stage.read();
            for (const char* name : {"a.mov", "s1.dpx", "s2.dpx"})
                stage.add(name);
            QCOMPARE(stage.wait(12).size(), std::size_t(2));
            stage.watched.done(stage.path("a.mov"), filetools::stampOf(stage.path("a.mov")), stage.now);
            stage.watched.done(stage.path("s1.dpx"), stage.stampOf("s1.dpx"), stage.now);
            for (const char* name : {"a.mov", "s2.dpx"})
                write(QString::fromStdString(stage.path(name)), "changed while it was away");
            stage.watched.beginReadingAgain();
            for (const char* name : {"a.mov", "s1.dpx", "s2.dpx"})
                stage.watched.saw(stage.path(name), false, stage.now);
            stage.watched.endReading();
            QCOMPARE(stage.wait(12).size(), std::size_t(trusts ? 0 : 2));
            // What changes before its eyes is no matter of trust.
            stage.add("a.mov", "changed now");
            QCOMPARE(stage.wait(12).size(), std::size_t(trusts ? 1 : 0));
        }
    }

    void manyPicturesAreTakenAsOneClip()
    {
        constexpr int kPictures = 2000;
        PictureStage stage;
        for (int i = 0; i < kPictures; ++i)
            stage.add(("s" + std::to_string(i) + ".dpx").c_str());
        QCOMPARE(stage.wait(12), std::vector<std::string>{stage.path("s0.dpx")});
        stage.watched.done(stage.path("s0.dpx"), stage.stampOf("s0.dpx"), stage.now);
        stage.read();
        QVERIFY(!stage.watched.hasCandidates());
    }

    void optionsAreRead()
    {
        const auto options =
            Options::parse({"--port", "0", "--data=/x", "--settle", "0.25", "--rescan", "1"});
        QVERIFY(options);
        QCOMPARE(options->port, 0);
        QCOMPARE(options->dataFolder, std::string("/x"));
        QCOMPARE(options->settleSeconds, 0.25);
        QCOMPARE(options->rescanSeconds, 1.0);
        const auto none = Options::parse({});
        QCOMPARE(none->port, 58885);
        QCOMPARE(none->settleSeconds, 2.0);
        QVERIFY(Options::parse({"--data", "x"})->dataFolder.front() == '/');
        QVERIFY(Options::parse({"--help"})->wish == Options::Wish::Help);
        QVERIFY(Options::parse({"--version"})->wish == Options::Wish::Version);
    }

    void wrongOptionsAreRefusedByName()
    {
        const std::vector<std::vector<std::string>> wrong = {{"--colour"},        {"x"},
                                                             {"--port"},          {"--port", "65536"},
                                                             {"--port", "-1"},    {"--port", "1x"},
                                                             {"--settle", "0"},   {"--settle", "soon"},
                                                             {"--settle", "nan"}, {"--data="}};
        for (const auto& arguments : wrong) {
            const auto options = Options::parse(arguments);
            QVERIFY(!options);
            QVERIFY(options.refusal().text.find(arguments[0].substr(0, arguments[0].find('='))) !=
                    std::string::npos);
        }
    }
};

QTEST_GUILESS_MAIN(TestServiceWatch)
#include "test_service_watch.moc"
