#include "ServiceStage.h"

#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <sys/mount.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <thread>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

constexpr int kFiles = 6;

} // namespace

/// Disks that are full or broken for a while: nothing is lost, nothing is offered twice.
class TestServiceFaults : public QObject
{
    Q_OBJECT

    /// A service under whose calls a fault can be put.
    struct Broken : ServiceStage
    {
        QString control = folder.filePath(s("faults"));
        QByteArray sanitizer = qgetenv("ASAN_OPTIONS");
        QByteArray log; ///< what was read of it so far

        Broken()
        {
            mend();
            // A sanitized service would not start behind a library that comes before the sanitizer's.
            qputenv("ASAN_OPTIONS", sanitizer + ":verify_asan_link_order=0");
            qputenv("LD_PRELOAD", KRX_FAILING_CALLS);
            qputenv("KRX_FAULTS", control.toUtf8());
        }
        ~Broken()
        {
            qputenv("ASAN_OPTIONS", sanitizer);
            qunsetenv("LD_PRELOAD");
            qunsetenv("KRX_FAULTS");
        }
        Broken(const Broken&) = delete;
        Broken& operator=(const Broken&) = delete;

        /// From now on \a call on paths that hold \a part fails.
        void fail(const char* call, const char* part, int error) const
        {
            QFile file(control + s(".new"));
            file.open(QIODevice::WriteOnly);
            file.write(QByteArray(call) + ' ' + part + ' ' + QByteArray::number(error) + '\n');
            file.close();
            replace();
        }
        void mend() const
        {
            QFile file(control + s(".new"));
            file.open(QIODevice::WriteOnly);
            file.close();
            replace();
        }
        void replace() const
        {
            ::rename((control + s(".new")).toUtf8().constData(), control.toUtf8().constData());
        }
        /// Whether the log of the service says that something failed.
        bool hasMetIt()
        {
            log += service->log();
            return log.contains(" error ");
        }
        /// The source names of all that is offered.
        QStringList offered() const
        {
            QStringList names;
            for (const QString& output : outputs())
                names << QFileInfo(output).fileName().section(QLatin1Char('-'), 1);
            names.sort();
            return names;
        }
        static QStringList expected()
        {
            QStringList names;
            for (int i = 0; i < kFiles; ++i)
                names << QStringLiteral("n%1.wav.xel").arg(i);
            return names;
        }
        void dropAll() const
        {
            for (int i = 0; i < kFiles; ++i)
                drop(QStringLiteral("n%1.wav").arg(i));
        }
    };

private slots:
    void diskThatFailsForAWhileLosesAndDoublesNothing_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("part");
        QTest::addColumn<int>("error");
        QTest::addColumn<bool>("restart");
        const struct
        {
            const char* name;
            const char* call;
            const char* part;
            int error;
        } rows[] = {
            {"the name of a document", "rename", ".xel", ENOSPC},
            {"the name of a document, broken", "rename", ".xel", EIO},
            {"the bytes of a document", "write", ".xel.tmp", ENOSPC},
            {"a document to the disk", "sync", ".xel.tmp", EIO},
            {"the directory to the disk", "sync", "/output/f000001", EIO},
            {"the log of the database", "write", "krx-service.db-wal", ENOSPC},
            {"the log of the database, broken", "write", "krx-service.db-wal", EIO},
            {"the log of the database to the disk", "sync", "krx-service.db-wal", EIO},
            {"everything", "write", "/data/", ENOSPC},
        };
        for (const auto& row : rows) {
            for (const bool restart : {false, true}) {
                QTest::newRow(qPrintable(s(row.name) + (restart ? s(", mended by a restart") : QString())))
                    << s(row.call) << s(row.part) << row.error << restart;
            }
        }
    }
    void diskThatFailsForAWhileLosesAndDoublesNothing()
    {
        QFETCH(QString, call);
        QFETCH(QString, part);
        QFETCH(int, error);
        QFETCH(bool, restart);
        Broken stage;
        QVERIFY(stage.begin());
        stage.fail(call.toUtf8().constData(), part.toUtf8().constData(), error);
        stage.dropAll();
        // It has met the fault: the log says so whatever became of the error list.
        QTRY_VERIFY_WITH_TIMEOUT(stage.hasMetIt(), kStagePatience);
        if (restart) {
            stage.service->kill();
            stage.mend();
            QVERIFY(stage.again());
        } else {
            stage.mend();
        }
        QTRY_COMPARE_WITH_TIMEOUT(stage.offered(), Broken::expected(), kStagePatience);
        // Nothing comes after it.
        QVERIFY(stage.marked(s("z.wav")));
        QCOMPARE(stage.offered(), Broken::expected() << s("z.wav.xel"));
        QCOMPARE(QDir(stage.data + s("/output/f000001")).entryList(QDir::Files | QDir::Hidden).size(),
                 kFiles + 1);
        QCOMPARE(stage.service->terminate(), 0);
    }

    void volumeThatIsReallyFullLosesAndDoublesNothing()
    {
        if (::geteuid() != 0)
            QSKIP("only a privileged user can mount a small volume");
        Broken stage;
        QVERIFY(QDir().mkpath(stage.data));
        const QByteArray data = stage.data.toUtf8();
        if (::mount("tmpfs", data.constData(), "tmpfs", 0, "size=1m,mode=0700") != 0)
            QSKIP("no volume can be mounted here");
        const auto unmount = qScopeGuard([&] {
            stage.service.reset();
            ::umount2(data.constData(), MNT_DETACH);
        });
        QVERIFY(stage.begin());
        QFile filler(stage.data + s("/filler"));
        QVERIFY(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        // To the last byte, in ever smaller pieces.
        for (int piece = 65536; piece > 0; piece /= 2) {
            while (filler.write(QByteArray(piece, 'x')) == piece) {
            }
        }
        stage.dropAll();
        QTRY_VERIFY_WITH_TIMEOUT(stage.hasMetIt(), kStagePatience);
        QVERIFY(filler.remove());
        QTRY_COMPARE_WITH_TIMEOUT(stage.offered(), Broken::expected(), kStagePatience);
        QVERIFY(stage.marked(s("z.wav")));
        QCOMPARE(stage.offered(), Broken::expected() << s("z.wav.xel"));
        QCOMPARE(stage.service->terminate(), 0);
    }

    void changeThatFailsLeavesTheDocumentsInSight()
    {
        Broken stage;
        QVERIFY(stage.begin());
        QVERIFY(stage.marked(s("a.wav")));
        const QStringList before = stage.outputs();
        const QByteArray url = "xelmediafolders/" + stage.id.toUtf8();
        const QString profile = stage.service->profileId(s("Default Profile"));
        const QByteArray same = ModuleDocument::updateFolder(stage.id, stage.watch, profile, s("true"));
        for (const bool isRemoval : {false, true}) {
            stage.fail("write", "krx-service.db", ENOSPC);
            const Reply reply =
                isRemoval ? stage.service->remove(url) : stage.service->put(url + "?reprocess=true", same);
            stage.mend();
            QVERIFY(reply.status >= 500);
            QCOMPARE(stage.outputs(), before);
        }
        QCOMPARE(stage.service->put(url + "?reprocess=true", same).status, 200);
        QTRY_COMPARE_WITH_TIMEOUT(stage.offered(), QStringList{s("a.wav.xel")}, kStagePatience);
        QVERIFY(stage.outputs() != before);
    }

    void documentsAreRemovedWithoutHoldingUpTheRecords()
    {
        Broken stage;
        QVERIFY(stage.begin());
        QVERIFY(stage.marked(s("a.wav")));
        stage.fail("unlink", "/.removed-", 1);
        std::thread client([&] { stage.service->remove("xelmediafolders/" + stage.id.toUtf8()); });
        auto gone = std::async(std::launch::async, [&] {
            Reply reply;
            do
                reply = stage.service->get("xelmediafolders");
            while (reply.status != 200 || reply.body.contains(stage.id.toUtf8()));
        });
        // The folder is gone for everybody while its documents are not.
        const bool wasInTime =
            gone.wait_for(std::chrono::milliseconds(kStagePatience)) == std::future_status::ready;
        const QDir removed(stage.data + s("/output/.removed-") + stage.id);
        const int left = removed.entryList(QDir::Files).size();
        stage.mend();
        client.join();
        gone.wait();
        QVERIFY(wasInTime);
        QCOMPARE(left, 1);
        QVERIFY(!removed.exists());
    }

    void pathThatDoesNotAnswerIsRefusedAndChangesNothingLater()
    {
        Broken stage;
        QVERIFY(stage.begin());
        const QString hanging = stage.folder.filePath(s("hanging"));
        QVERIFY(QDir().mkpath(hanging));
        const QString profile = stage.service->profileId(s("Default Profile"));
        stage.fail("stat", "/hanging", 1);
        std::atomic<int> others{0};
        std::atomic<bool> over{false};
        std::thread client([&] {
            // Everybody else is served meanwhile.
            while (!over) {
                if (stage.service->get("xelmediafolders").status == 200)
                    ++others;
            }
        });
        const QByteArray url = "xelmediafolders/" + stage.id.toUtf8();
        const Reply made =
            stage.service->post("xelmediafolders", ModuleDocument::createFolder(hanging, profile, true));
        const Reply moved =
            stage.service->put(url, ModuleDocument::updateFolder(stage.id, hanging, profile, s("true")));
        const Reply job = stage.service->post("jobs", ModuleDocument::submitJob(hanging, profile));
        over = true;
        client.join();
        for (const Reply& reply : {made, moved, job})
            QCOMPARE(reply.status, 503);
        QVERIFY(others > 3);
        stage.mend();
        // A folder that is made now has gone the whole way after those that hung.
        QVERIFY(stage.marked(s("a.wav")));
        QCOMPARE(stage.service->get("xelmediafolders?level=detail").texts(s("path")),
                 QStringList{stage.watch});
        QVERIFY(stage.service->get("jobs/status").texts(s("id")).isEmpty());
        QCOMPARE(
            stage.service->post("xelmediafolders", ModuleDocument::createFolder(hanging, profile)).status,
            201);
    }

    void killedWhileTheDiskFailsItLosesAndDoublesNothing()
    {
        Broken stage;
        QVERIFY(stage.begin());
        const struct
        {
            const char* call;
            const char* part;
        } faults[] = {{"rename", ".xel"}, {"write", "krx-service.db-wal"}, {"sync", "/output/"}};
        QStringList expected;
        int round = 0;
        for (const auto& fault : faults) {
            for (int moment = 0; moment < 3; ++moment, ++round) {
                const QString name = QStringLiteral("r%1.wav").arg(round);
                stage.fail(fault.call, fault.part, ENOSPC);
                QVERIFY(!stage.drop(name).isEmpty());
                expected << name + s(".xel");
                // At moments that no clock decides: as soon as so many lines were logged.
                int lines = 0;
                const auto isLate = [&] {
                    lines += stage.service->log().count('\n');
                    return lines > moment;
                };
                QTRY_VERIFY_WITH_TIMEOUT(isLate(), kStagePatience);
                stage.service->kill();
                stage.mend();
                QVERIFY(stage.again());
            }
        }
        expected.sort();
        QTRY_COMPARE_WITH_TIMEOUT(stage.offered(), expected, kStagePatience);
        QVERIFY(stage.marked(s("z.wav")));
        QCOMPARE(stage.offered(), expected << s("z.wav.xel"));
    }

    // Ten years on, twenty back, and right again: waits are none the longer and clips are found as before.
    void clocksThatJumpHoldNothingUp()
    {
        constexpr int kYear = 365 * 24 * 3600;
        Broken stage;
        QVERIFY(stage.begin());
        QStringList expected;
        for (const int years : {0, 10, -10, 0}) {
            stage.fail("clock", "now", years * kYear);
            const QString name = QStringLiteral("y%1.wav").arg(expected.size());
            QVERIFY(stage.marked(name));
            expected << name + s(".xel");
            QCOMPARE(stage.offered(), expected);
            QVERIFY(stage.service->get("version").text(s("uptime")).toLongLong() * 1000 <
                    4LL * kStagePatience);
        }
        stage.log += stage.service->log();
        const int then = QDate::currentDate().addDays(3650).year();
        QVERIFY2(stage.log.contains('\n' + QByteArray::number(then) + '-'), "the clock was not set");
        QCOMPARE(stage.service->terminate(), 0);
    }
};

QTEST_GUILESS_MAIN(TestServiceFaults)
#include "test_service_faults.moc"
