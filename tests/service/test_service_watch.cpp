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
#include <QtTest>

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
            QVERIFY((openwriters::among({read, written}) == std::set<std::string>{written}));
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
