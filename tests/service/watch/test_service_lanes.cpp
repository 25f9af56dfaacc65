#include "SilentMount.h"
#include "TestFiles.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "files/Mounts.h"
#include "store/Database.h"
#include "watch/OpenWriters.h"
#include "watch/WatchTexts.h"
#include "watch/Watcher.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <memory>

using namespace krxservice;
using TestFiles::write;

namespace {

constexpr int kPatience = 30000;
constexpr double kAnswerSeconds = 2; ///< where one is meant to be silent

/// A source of change events that the system has run out of.
class NoEvents : public DirectoryEvents
{
public:
    explicit NoEvents(const std::atomic<bool>& refuses)
        : m_refuses(refuses)
    {
    }
    Arrival add(const std::string& owner, const std::string& directory) override
    {
        return m_refuses ? Arrival::Refused : DirectoryEvents::add(owner, directory);
    }

private:
    const std::atomic<bool>& m_refuses;
};

/// A watcher on a fresh database, on this thread.
struct Bench
{
    QTemporaryDir folder;
    Database database{folder.path().toStdString() + "/db"};
    FolderStore folders{database};
    ProfileStore profiles{database};
    ClipStore clips{database};
    ErrorStore errors{database};
    std::string profile;
    QStringList handed;
    std::unique_ptr<Watcher> watcher;

    explicit Bench(double answerSeconds = 20, const Lane::EventSource& events = {})
    {
        const auto made = profiledocument::fromRequest(profiledocument::defaultRequest(), text::newGuid());
        profiles.create(*made);
        profile = made->id;
        watcher = std::make_unique<Watcher>(
            Watcher::Stores{folders, profiles, clips, errors, nullptr},
            Watcher::Times{0.02, 0.1, answerSeconds},
            [this](const std::string&, const std::string& path) { handed << QString::fromStdString(path); },
            events);
    }
    QString add(const QString& name)
    {
        const QString path = folder.filePath(name);
        QDir().mkpath(path);
        FolderRecord record;
        record.path = path.toStdString();
        record.canonical = text::canonicalPath(record.path);
        record.profile = profile;
        record.enabled = true;
        record.id = *folders.create(record);
        ids[path] = record.id;
        return path;
    }
    QStringList said(const QString& about) const
    {
        QStringList texts;
        for (const auto& text : const_cast<ErrorStore&>(errors).list())
            texts << QString::fromStdString(text);
        return texts.filter(about);
    }
    /// Makes every query about files fail, and lets it work again.
    void breakFiles(bool broken)
    {
        for (const char* table : {"files", "clips"}) {
            const std::string name = table;
            Statement row = database.prepare("SELECT 1 FROM sqlite_master WHERE type='table' AND name=?");
            if (row.bind(broken ? name : name + "_away").step())
                renamed = name;
        }
        database.execute(broken ? "ALTER TABLE " + renamed + " RENAME TO " + renamed + "_away"
                                : "ALTER TABLE " + renamed + "_away RENAME TO " + renamed);
    }

    QMap<QString, std::string> ids;
    std::string renamed;
};

} // namespace

class TestServiceLanes : public QObject
{
    Q_OBJECT

private slots:
    void oneLookAtOpenFilesServesAllFoldersOfAMoment()
    {
        QTemporaryDir folder;
        const std::string one = text::canonicalPath(folder.path().toStdString()) + "/one";
        const std::string two = text::canonicalPath(folder.path().toStdString()) + "/two";
        openwriters::Look shared{std::chrono::hours(1)};
        openwriters::Look fresh{std::chrono::milliseconds(-1)};
        // While nothing is asked nobody looks.
        QVERIFY(shared.among({}).empty());
        const filetools::Descriptor first(::open(one.c_str(), O_WRONLY | O_CREAT, 0600));
        QCOMPARE(shared.among({one, two}).size(), std::size_t(1));
        const filetools::Descriptor second(::open(two.c_str(), O_WRONLY | O_CREAT, 0600));
        QVERIFY(shared.among({two}).empty());
        QCOMPARE(shared.among({one}).size(), std::size_t(1));
        QCOMPARE(fresh.among({one, two}).size(), std::size_t(2));
    }

    void filesOfSeveralFoldersAreHandedOverOnce()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        const QString two = bench.add(QStringLiteral("two"));
        write(one + QStringLiteral("/a.mov"), "x");
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed, QStringList{one + QStringLiteral("/a.mov")}, kPatience);
        write(two + QStringLiteral("/b.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 2, kPatience);
        for (int i = 0; i < 3; ++i)
            bench.watcher->rescan();
        bench.watcher->profilesChanged();
        write(one + QStringLiteral("/c.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 3, kPatience);
    }

    void folderThatIsDisabledIsNoLongerWatched()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        const QString two = bench.add(QStringLiteral("two"));
        bench.watcher->start();
        FolderRecord record = *bench.folders.find(bench.ids[one]);
        record.enabled = false;
        bench.folders.update(record);
        bench.watcher->folderChanged(record.id);
        write(one + QStringLiteral("/a.mov"), "x");
        write(two + QStringLiteral("/b.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed, QStringList{two + QStringLiteral("/b.mov")}, kPatience);
        bench.watcher->stop();
    }

    void failedQueryLeavesNothingHalfMadeAndIsTriedAgain()
    {
        for (const bool atTheStart : {true, false}) {
            Bench bench;
            const QString one = bench.add(QStringLiteral("one"));
            if (atTheStart)
                bench.breakFiles(true);
            bench.watcher->start();
            if (!atTheStart) {
                bench.breakFiles(true);
                // A new profile for the folder, so that it is set up anew.
                FolderRecord record = *bench.folders.find(bench.ids[one]);
                record.path += '/';
                bench.folders.update(record);
                bench.watcher->folderChanged(record.id);
            }
            write(one + QStringLiteral("/a.mov"), "x");
            for (int i = 0; i < 5; ++i) {
                bench.watcher->rescan();
                QTest::qWait(1);
            }
            QVERIFY(bench.handed.isEmpty());
            QCOMPARE(bench.said(QStringLiteral("for the moment")).size(), 1);
            bench.breakFiles(false);
            QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 1, kPatience);
            QVERIFY(bench.said(one).isEmpty());
        }
    }

    void mountThatHangsHoldsUpNobodyElseAndNotTheEnd()
    {
        Bench bench(kAnswerSeconds);
        const QString hung = bench.add(QStringLiteral("hung"));
        const QString other = bench.add(QStringLiteral("other"));
        write(hung + QStringLiteral("/below.mov"), "x");
        SilentMount mount;
        if (!mount.mount(hung))
            QSKIP("only a privileged user can mount a file system");
        bench.watcher->start();
        const QString silent = QString::fromStdString(watchtexts::silent(hung.toStdString()));
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(silent).size(), 1, kPatience);
        write(other + QStringLiteral("/a.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed, QStringList{other + QStringLiteral("/a.mov")}, kPatience);
        QCOMPARE(bench.said(silent).size(), 1);
        QVERIFY(bench.said(other).isEmpty());
        // It comes back: first as an error, then as the directory that it was.
        mount.end();
        QTRY_VERIFY_WITH_TIMEOUT(bench.said(silent).isEmpty(), kPatience);
        mount.unmount();
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 2, kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(bench.said(hung).isEmpty(), kPatience);
        // The end does not wait, however long it hangs.
        SilentMount again;
        QVERIFY(again.mount(hung));
        bench.watcher->rescan();
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(silent).size(), 1, kPatience);
        bench.watcher->stop();
    }

    void mountThatComesLaterAndHangsHoldsUpNobodyElse()
    {
        Bench bench(kAnswerSeconds);
        const QString hung = bench.add(QStringLiteral("hung"));
        const QString other = bench.add(QStringLiteral("other"));
        QVERIFY(QDir().mkpath(hung + QStringLiteral("/card")));
        bench.watcher->start();
        write(other + QStringLiteral("/a.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 1, kPatience);
        // Below the watched folder, so that the walk over it runs into it.
        SilentMount mount;
        if (!mount.mount(hung + QStringLiteral("/card")))
            QSKIP("only a privileged user can mount a file system");
        const QString silent = QString::fromStdString(watchtexts::silent(hung.toStdString()));
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(silent).size(), 1, kPatience);
        write(other + QStringLiteral("/b.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 2, kPatience);
        QVERIFY(bench.said(other).isEmpty());
        mount.unmount();
        write(hung + QStringLiteral("/c.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 3, kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(bench.said(silent).isEmpty(), kPatience);
        // What was handed over while the lanes changed is not handed over twice.
        QCOMPARE(bench.handed.removeDuplicates(), 0);
    }

    void destinationThatHangsHoldsUpNoFolder()
    {
        Bench bench;
        const QString hung = bench.folder.filePath(QStringLiteral("away"));
        QVERIFY(QDir().mkpath(hung));
        SilentMount mount;
        if (!mount.mount(hung))
            QSKIP("only a privileged user can mount a file system");
        QByteArray request = QByteArray::fromStdString(profiledocument::defaultRequest());
        request.replace("Default Profile", "Copying");
        request.replace("<activities/>",
                        "<activities><activity id=\"copy\"><destinationDetail><filesystemPath>" +
                            hung.toUtf8() +
                            "/copies</filesystemPath></destinationDetail></activity></activities>");
        QVERIFY(request.contains("/copies"));
        const auto made = profiledocument::fromRequest(request.toStdString(), text::newGuid());
        QVERIFY2(bool(made), made ? "" : made.refusal().text.c_str());
        QVERIFY(bench.profiles.create(*made));
        bench.profile = made->id;
        const QString one = bench.add(QStringLiteral("one"));
        write(one + QStringLiteral("/a.mov"), "x");
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 1, kPatience);
    }

    void whatIsLeftOutIsSaidAndTakenBack()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        // Each hides a clip.
        QString deep = one;
        for (int i = 0; i < 66; ++i)
            deep += QStringLiteral("/d");
        QVERIFY(QDir().mkpath(deep));
        write(deep + QStringLiteral("/a.mov"), "x");
        QVERIFY(QFile::link(deep, one + QStringLiteral("/linked")));
        write(one + QStringLiteral("/empty.mov"), "");
        write(one + QStringLiteral("/.hidden.mov"), "");
        const QString closed = one + QStringLiteral("/closed");
        QVERIFY(QDir().mkdir(closed));
        SilentMount mount;
        if (mount.mount(closed))
            mount.end(); // closed to root, too
        else
            QCOMPARE(::chmod(closed.toUtf8().constData(), 0), 0);
        bench.watcher->start();
        const auto leftOut = [&](const QString& name) {
            return bench.said(QStringLiteral("Left out: ") + one + QLatin1Char('/') + name).size();
        };
        QTRY_COMPARE_WITH_TIMEOUT(leftOut(QStringLiteral("linked: links are not followed")), 1, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(leftOut(QStringLiteral("empty.mov: the file is empty")), 1, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(leftOut(QStringLiteral("closed: ")), 1, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(QStringLiteral("nested deeper than 64")).size(), 1, kPatience);
        QCOMPARE(bench.said(one).size(), 4);
        QVERIFY(bench.handed.isEmpty());
        // Once said it is said: whoever clears the list is not told again.
        bench.errors.takeAll();
        const QString other = one + QStringLiteral("/other.mov");
        write(other, "");
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(one).size(), 1, kPatience);
        // All over.
        write(other, "x");
        write(one + QStringLiteral("/empty.mov"), "x");
        QVERIFY(QDir(one + QStringLiteral("/d")).removeRecursively());
        QVERIFY(QFile::remove(one + QStringLiteral("/linked")));
        mount.unmount();
        ::chmod(closed.toUtf8().constData(), 0755);
        write(closed + QStringLiteral("/b.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 3, kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(bench.said(one).isEmpty(), kPatience);
    }

    void pathBeyondWhatTheSystemTakesIsSaid()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        const std::string name(250, 'n');
        int directory = ::open(one.toUtf8().constData(), O_RDONLY | O_DIRECTORY);
        for (int i = 0; i < 17 && directory >= 0; ++i) {
            QCOMPARE(::mkdirat(directory, name.c_str(), 0755), 0);
            const int next = ::openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY);
            ::close(directory);
            directory = next;
        }
        QVERIFY(directory >= 0);
        ::close(directory);
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(QStringLiteral("longer than the system takes")).size(), 1,
                                  kPatience);
        QVERIFY(bench.said(QStringLiteral("longer than")).at(0).size() < 1000);
        QCOMPARE(QProcess::execute(QStringLiteral("rm"), {QStringLiteral("-r"), one}), 0);
    }

    void entriesOfAFormerRunAreTakenBackWhenTheyAreOver()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        const std::string path = one.toStdString();
        write(one + QStringLiteral("/empty.mov"), "");
        bench.errors.add(watchtexts::unavailable(path, "No such file or directory"));
        bench.errors.add(watchtexts::silent(path));
        bench.errors.add(watchtexts::leftOut(path + "/gone", "Permission denied"));
        bench.errors.add(watchtexts::leftOut(path + "/empty.mov", "the file is empty"));
        bench.errors.add(watchtexts::silent("/elsewhere"));
        bench.errors.add("Something else about " + path);
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(int(bench.errors.list().size()), 3, kPatience);
        QCOMPARE(bench.said(QStringLiteral("empty.mov")).size(), 1);
        QCOMPARE(bench.said(QStringLiteral("/elsewhere")).size(), 1);
        QCOMPARE(bench.said(QStringLiteral("Something else")).size(), 1);
    }

    void refusalOfAFileThatIsGoneIsTakenBack()
    {
        Bench bench;
        const QString one = bench.add(QStringLiteral("one"));
        const QString file = one + QStringLiteral("/a.rtf");
        write(file, "x");
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 1, kPatience);
        bench.errors.add(ErrorStore::refusedStart(file.toStdString()) + "it is no media file");
        bench.errors.add(ErrorStore::refusedStart(file.toStdString() + "2") + "it is no media file");
        bench.watcher->fileDone(bench.ids[one], file.toStdString(),
                                FileStamp{1, 1}); // whatever it was, it is done
        QVERIFY(QFile::remove(file));
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(QStringLiteral("a.rtf")).size(), 1, kPatience);
        QCOMPARE(bench.said(QStringLiteral("a.rtf2")).size(), 1);
    }

    void runningOutOfChangeEventsIsSaidAndFilesAreFoundAllTheSame()
    {
        std::atomic<bool> refuses{true};
        Bench bench(20, [&refuses] { return std::make_unique<NoEvents>(refuses); });
        const QString one = bench.add(QStringLiteral("one"));
        bench.watcher->start();
        QTRY_COMPARE_WITH_TIMEOUT(bench.said(QStringLiteral("max_user_watches")).size(), 1, kPatience);
        write(one + QStringLiteral("/a.mov"), "x");
        QTRY_COMPARE_WITH_TIMEOUT(bench.handed.size(), 1, kPatience);
        refuses = false;
        QTRY_VERIFY_WITH_TIMEOUT(bench.said(one).isEmpty(), kPatience);
        bench.watcher->stop();
    }

    void mountsAreToldByTheSystemsTable()
    {
        const Mounts mounts = Mounts::read("20 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                                           "30 20 0:40 / /mnt/a\\040b rw - fuse x rw\n"
                                           "31 20 0:41 / /mnt/nas rw - nfs x rw\n"
                                           "32 31 0:42 / /mnt/nas rw - nfs y rw\n");
        QCOMPARE(mounts.keyOf("/home/me/in"), mounts.keyOf("/"));
        QCOMPARE(mounts.keyOf("/mnt/a b/in"), mounts.keyOf("/mnt/a b"));
        QVERIFY(mounts.keyOf("/mnt/a b") != mounts.keyOf("/mnt"));
        QCOMPARE(mounts.keyOf("/mnt/nas2"), mounts.keyOf("/"));
        QCOMPARE(mounts.keyOf("/mnt/nas/x"), std::string("/mnt/nas#32"));
        QVERIFY(mounts.hasMountIn("/mnt"));
        QVERIFY(mounts.hasMountIn("/mnt/nas"));
        QVERIFY(!mounts.hasMountIn("/mnt/nas/x"));
        QVERIFY(!mounts.hasMountIn("/mnt/na"));
        QVERIFY(mounts.hasMountIn("/"));
        QVERIFY(!Mounts::present().keyOf("/").empty());
    }
};

QTEST_GUILESS_MAIN(TestServiceLanes)
#include "test_service_lanes.moc"
