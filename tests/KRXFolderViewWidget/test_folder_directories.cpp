// Whether the directories of the rows exist, and file systems that do not answer.

#include "DirectoryProbe.h"
#include "FolderViewFixture.h"

#include <QAtomicInt>
#include <QDir>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstring>
#include <memory>

using View = KRXFolderViewWidget;

namespace {

/// A file system that answers only after it was told to.
class DeadMount
{
public:
    static constexpr char kPath[] = "/dead-mount/";

    static bool holds(const char* path) { return path && std::strncmp(path, kPath, sizeof(kPath) - 1) == 0; }
    static void hang()
    {
        looks.ref();
        gate.acquire();
        gate.release();
    }
    static void answer() { gate.release(); }
    static void die()
    {
        gate.tryAcquire(gate.available());
        looks = 0;
    }

    static QAtomicInt looks;
    static QSemaphore gate;
};

QAtomicInt DeadMount::looks;
QSemaphore DeadMount::gate;

} // namespace

// What the file system is asked with. These take the places of the C library's own in this program.
extern "C" Q_DECL_EXPORT int statx(int directory, const char* path, int flags, unsigned mask,
                                   struct statx* data) noexcept
{
    if (DeadMount::holds(path))
        DeadMount::hang();
    return static_cast<int>(syscall(SYS_statx, directory, path, flags, mask, data));
}

extern "C" Q_DECL_EXPORT int access(const char* path, int mode) noexcept
{
    if (DeadMount::holds(path))
        DeadMount::hang();
    return static_cast<int>(syscall(SYS_access, path, mode));
}

namespace {

QVariant exists(const FolderViewFixture& f, const QString& folderId)
{
    return f.row(folderId)->data(View::kIdxFolderColumn, View::kFolderExistRole);
}

/// Answers of a probe, collected.
class Answers
{
public:
    explicit Answers(DirectoryProbe& probe)
    {
        QObject::connect(&probe, &DirectoryProbe::seen, &probe, [this](const QHash<QString, bool>& answers) {
            for (auto i = answers.begin(); i != answers.end(); ++i)
                byPath.insert(i.key(), i.value());
        });
    }
    QHash<QString, bool> byPath;
};

/// A probe whose looks are counted and wait for the gate.
struct HeldProbe
{
    /// Threads of the probe may outlive it.
    struct Look
    {
        QSemaphore gate;
        QAtomicInt looks;
    };
    const std::shared_ptr<Look> look = std::make_shared<Look>();
    QSemaphore& gate = look->gate;
    QAtomicInt& looks = look->looks;
    DirectoryProbe probe{[held = look](const QString&) {
        held->looks.ref();
        held->gate.acquire();
        return true;
    }};
    Answers answers{probe};
};

} // namespace

class TestFolderDirectories : public QObject
{
    Q_OBJECT

private slots:
    void init() { DeadMount::die(); }
    void cleanup() { DeadMount::answer(); }

    // --- The list ---
    void loadedRowsAreLookedAt();
    void addedRowIsLookedAt();
    void directoriesThatComeAndGoAreSeen();
    void deadMountNeitherBlocksNorDelaysTheOthers();
    void listGoesWhileAMountIsDead();

    // --- The probe ---
    void quickAnswersAreThereAtOnce();
    void hangingPathHoldsUpNobody();
    void hangingPathIsLookedAtOnce();
    void hangingPathsTakeFewThreads();
    void mountsHaveThreadsOfTheirOwn();
    void probeGoesWithoutWaiting();
};

void TestFolderDirectories::loadedRowsAreLookedAt()
{
    QTemporaryDir there;
    FolderViewFixture f;
    f.service.folders = {{"here"_s, there.path(), "p1"_s}, {"gone"_s, there.filePath("gone"_s), "p1"_s}};
    f.view->fillView();
    // Nobody shows the view or asks.
    QTRY_COMPARE(exists(f, "gone"_s), QVariant(false));
    QCOMPARE(exists(f, "here"_s), QVariant(true));
    f.view->fillView();
    QCOMPARE(exists(f, "gone"_s), QVariant(true));
    QTRY_COMPARE(exists(f, "gone"_s), QVariant(false));
}

void TestFolderDirectories::addedRowIsLookedAt()
{
    QTemporaryDir there;
    FolderViewFixture f;
    f.view->addFolder(there.filePath("gone"_s), "p1"_s);
    QVERIFY(f.row("new"_s));
    QTRY_COMPARE(exists(f, "new"_s), QVariant(false));
}

void TestFolderDirectories::directoriesThatComeAndGoAreSeen()
{
    QTemporaryDir there;
    FolderViewFixture f;
    f.service.folders = {{"a"_s, there.filePath("a"_s), "p1"_s}};
    f.view->fillView();
    QTRY_COMPARE(exists(f, "a"_s), QVariant(false));
    QVERIFY(QDir(there.path()).mkdir("a"_s));
    f.service.clear();
    f.view->lookForDirectories();
    QTRY_COMPARE(exists(f, "a"_s), QVariant(true));
    QVERIFY(QDir(there.path()).rmdir("a"_s));
    f.view->lookForDirectories();
    QTRY_COMPARE(exists(f, "a"_s), QVariant(false));
    QCOMPARE(f.service.lines(), QStringList());
}

void TestFolderDirectories::deadMountNeitherBlocksNorDelaysTheOthers()
{
    QTemporaryDir there;
    FolderViewFixture f;
    f.service.folders = {{"0"_s, "/dead-mount/x"_s, "p1"_s},
                         {"1"_s, there.filePath("gone"_s), "p1"_s},
                         {"2"_s, "/dead-mount/y"_s, "p1"_s},
                         {"3"_s, there.path(), "p1"_s},
                         {"4"_s, there.filePath("lost"_s), "p1"_s}};
    // Each of these would never come back if it waited for the mount.
    f.view->fillView();
    QTRY_COMPARE(exists(f, "1"_s), QVariant(false));
    QTRY_COMPARE(exists(f, "4"_s), QVariant(false));
    QCOMPARE(exists(f, "3"_s), QVariant(true));
    f.view->verifyFoldersPath();
    f.show();
    f.view->lookForDirectories();
    QVERIFY(DeadMount::looks.loadAcquire() > 0);
    QCOMPARE(exists(f, "0"_s), QVariant(true));
    // It answers at last: there is no such directory.
    DeadMount::answer();
    QTRY_COMPARE(exists(f, "0"_s), QVariant(false));
    QTRY_COMPARE(exists(f, "2"_s), QVariant(false));
}

void TestFolderDirectories::listGoesWhileAMountIsDead()
{
    FolderViewFixture f;
    f.service.folders = {{"0"_s, "/dead-mount/x"_s, "p1"_s}};
    f.view->fillView();
    QTRY_VERIFY(DeadMount::looks.loadAcquire() > 0);
    f.view.reset();
    DeadMount::answer();
    QTest::qWait(0);
}

void TestFolderDirectories::quickAnswersAreThereAtOnce()
{
    DirectoryProbe probe([](const QString& path) { return path != "/gone"_s; });
    Answers answers(probe);
    probe.ask({"/a"_s, "/gone"_s});
    probe.waitBriefly();
    QCOMPARE(answers.byPath.size(), 2);
    QCOMPARE(answers.byPath.value("/a"_s), true);
    QCOMPARE(answers.byPath.value("/gone"_s, true), false);
}

void TestFolderDirectories::hangingPathHoldsUpNobody()
{
    QSemaphore gate;
    DirectoryProbe probe([&gate](const QString& path) {
        if (path == "/link"_s)
            gate.acquire();
        return true;
    });
    Answers answers(probe);
    // All on one mount, and the one that hangs is the first.
    probe.ask({"/link"_s, "/a"_s, "/b"_s});
    QTRY_COMPARE(answers.byPath.size(), 2);
    QVERIFY(!answers.byPath.contains("/link"_s));
    gate.release();
    QTRY_COMPARE(answers.byPath.size(), 3);
}

void TestFolderDirectories::hangingPathIsLookedAtOnce()
{
    HeldProbe held;
    for (int i = 0; i < 10; ++i) {
        held.probe.ask({"/a"_s});
        held.probe.waitBriefly();
    }
    QCOMPARE(held.looks.loadAcquire(), 1);
    held.gate.release();
    QTRY_COMPARE(held.answers.byPath.size(), 1);
    // And once more after it has answered.
    held.gate.release();
    held.probe.ask({"/a"_s});
    QTRY_COMPARE(held.looks.loadAcquire(), 2);
}

void TestFolderDirectories::hangingPathsTakeFewThreads()
{
    HeldProbe held;
    QStringList paths;
    for (int i = 0; i < 20; ++i)
        paths << QStringLiteral("/%1").arg(i);
    for (int i = 0; i < 8; ++i) {
        held.probe.ask(paths);
        held.probe.waitBriefly();
    }
    QTRY_COMPARE(held.looks.loadAcquire(), 4);
    held.probe.waitBriefly();
    QCOMPARE(held.looks.loadAcquire(), 4);
    held.gate.release(20);
    QTRY_COMPARE(held.answers.byPath.size(), 20);
}

void TestFolderDirectories::mountsHaveThreadsOfTheirOwn()
{
    QSemaphore gate;
    DirectoryProbe probe([&gate](const QString& path) {
        if (!path.startsWith("/proc"_s))
            gate.acquire();
        return true;
    });
    Answers answers(probe);
    QStringList paths;
    for (int i = 0; i < 20; ++i)
        paths << QStringLiteral("/%1").arg(i);
    // On the same mount as those that hang: only whole names count.
    paths << "/process"_s
          << "/proc/a"_s;
    probe.ask(paths);
    QTRY_VERIFY(answers.byPath.contains("/proc/a"_s));
    QCOMPARE(answers.byPath.size(), 1);
    gate.release(20);
    QTRY_COMPARE(answers.byPath.size(), paths.size());
}

void TestFolderDirectories::probeGoesWithoutWaiting()
{
    const auto gate = std::make_shared<QSemaphore>();
    const auto looks = std::make_shared<QAtomicInt>();
    {
        DirectoryProbe probe([gate, looks](const QString&) {
            looks->ref();
            gate->acquire();
            return true;
        });
        probe.ask({"/a"_s, "/b"_s});
        QTRY_COMPARE(looks->loadAcquire(), 1);
    }
    gate->release(2);
    // The thread lets the look go when it ends; what waited is not looked at any more.
    QTRY_COMPARE(gate.use_count(), 1L);
    QCOMPARE(looks->loadAcquire(), 1);
}

QTEST_MAIN(TestFolderDirectories)
#include "test_folder_directories.moc"
