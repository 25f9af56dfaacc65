#include "store/ClipBook.h"
#include "store/ClipStore.h"
#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/HistoryStore.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"

#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

#include <algorithm>
#include <thread>

using namespace krxservice;

class TestServiceStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_count = 0;

    std::string newFile() { return m_folder.filePath(QString::number(++m_count)).toStdString() + ".db"; }

    /// Makes the file \a name of the dump of a \a version.
    static void fillFromDump(const std::string& name, int version)
    {
        QFile dump(QStringLiteral(KRX_TEST_DATA "/krx-service-%1.sql").arg(version));
        QVERIFY2(dump.open(QIODevice::ReadOnly), qPrintable(dump.fileName()));
        const QByteArray sql = dump.readAll().replace("@ROOT@", "/media");
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open(name.c_str(), &raw), SQLITE_OK);
        QCOMPARE(sqlite3_exec(raw, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
    }

    static FolderRecord folder(const std::string& path)
    {
        FolderRecord record;
        record.path = path + "/";
        record.canonical = path;
        record.profile = "p";
        return record;
    }
    static JobRecord job(bool manual, const std::string& state)
    {
        JobRecord record;
        record.manual = manual;
        record.path = "/a";
        record.state = state;
        return record;
    }
    static ClipRecord clip(const std::string& owner, const std::string& path, const std::string& checksum)
    {
        ClipRecord record;
        record.owner = owner;
        record.path = path;
        record.checksum = checksum;
        record.stamp = {1, 2, 3, 4};
        return record;
    }
    /// A database in which the folders "f1" and "f2" are.
    struct WithFolders
    {
        Database database;
        explicit WithFolders(const std::string& file)
            : database(file)
        {
            for (const char* id : {"f1", "f2"})
                database.execute(
                    std::string("INSERT INTO folders(id, path, canonical, profile, enabled) VALUES('") + id +
                    "', '', '" + id + "', '', 0)");
        }
    };
    static std::int64_t begun(ClipStore& clips, const ClipRecord& clip)
    {
        return clips.begin(clip, [](std::int64_t id) { return std::to_string(id) + "-a.xel"; })->id;
    }

private slots:
    void newDatabaseHasThePresentVersion()
    {
        Database database(newFile());
        Statement statement = database.prepare("PRAGMA user_version");
        QVERIFY(statement.step());
        QCOMPARE(int(statement.number(0)), Database::currentVersion());
    }

    void databaseIsWrittenAheadAndSynced()
    {
        Database database(newFile());
        Statement mode = database.prepare("PRAGMA journal_mode");
        QVERIFY(mode.step());
        QCOMPARE(mode.text(0), std::string("wal"));
        Statement synchronous = database.prepare("PRAGMA synchronous");
        QVERIFY(synchronous.step());
        QCOMPARE(int(synchronous.number(0)), 2);
    }

    void databaseOfANewerProgramIsRefusedAndLeftAlone()
    {
        const std::string name = newFile();
        {
            Database database(name);
            database.execute("PRAGMA user_version=99");
        }
        QVERIFY_EXCEPTION_THROWN(Database{name}, DatabaseError);
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open(name.c_str(), &raw), SQLITE_OK);
        {
            Statement statement(raw, "PRAGMA user_version");
            QVERIFY(statement.step());
            QCOMPARE(int(statement.number(0)), 99);
        }
        sqlite3_close(raw);
    }

    void emptyFileOfVersionZeroIsMigrated()
    {
        const std::string name = newFile();
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open(name.c_str(), &raw), SQLITE_OK);
        QCOMPARE(sqlite3_exec(raw, "PRAGMA user_version=0", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
        Database database(name);
        QVERIFY(FolderStore(database).list().empty());
    }

    void failedMigrationLeavesTheOldVersion()
    {
        const std::string name = newFile();
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open(name.c_str(), &raw), SQLITE_OK);
        // The last table of the first step is in the way.
        QCOMPARE(sqlite3_exec(raw, "CREATE TABLE errors(x)", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
        QVERIFY_EXCEPTION_THROWN(Database{name}, DatabaseError);
        QCOMPARE(sqlite3_open(name.c_str(), &raw), SQLITE_OK);
        {
            Statement version(raw, "PRAGMA user_version");
            QVERIFY(version.step());
            QCOMPARE(int(version.number(0)), 0);
            Statement tables(raw, "SELECT count(*) FROM sqlite_master WHERE type='table' AND name='folders'");
            QVERIFY(tables.step());
            QCOMPARE(int(tables.number(0)), 0);
        }
        sqlite3_close(raw);
    }

    void fileThatIsNoDatabaseIsRefused()
    {
        const std::string name = newFile();
        QFile file(QString::fromStdString(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(4096, 'x'));
        file.close();
        QVERIFY_EXCEPTION_THROWN(Database{name}, DatabaseError);
    }

    void transactionWithoutCommitIsRolledBack()
    {
        Database database(newFile());
        {
            Transaction transaction(database);
            database.execute("INSERT INTO errors(text) VALUES('a')");
        }
        QVERIFY(ErrorStore(database).list().empty());
    }

    void folderComesBackAsItWasStored()
    {
        const std::string name = newFile();
        std::string id;
        {
            Database database(name);
            FolderStore folders(database);
            id = *folders.create(folder("/m\xC3\xA9 dia"));
        }
        Database database(name);
        FolderStore folders(database);
        const auto found = folders.find(id);
        QVERIFY(found);
        QCOMPARE(found->path, std::string("/m\xC3\xA9 dia/"));
        QCOMPARE(found->canonical, std::string("/m\xC3\xA9 dia"));
        QCOMPARE(found->profile, std::string("p"));
        QCOMPARE(found->enabled, false);
        QCOMPARE(folders.list().size(), std::size_t(1));
    }

    void secondFolderOfOneDirectoryIsNotStored()
    {
        Database database(newFile());
        FolderStore folders(database);
        QVERIFY(folders.create(folder("/a")));
        QVERIFY(!folders.create(folder("/a")));
        QCOMPARE(folders.list().size(), std::size_t(1));
    }

    void folderIdsAreNeverUsedAgain()
    {
        Database database(newFile());
        FolderStore folders(database);
        const auto first = folders.create(folder("/a"));
        QVERIFY(folders.remove(*first));
        QVERIFY(!folders.remove(*first));
        QVERIFY(*folders.create(folder("/a")) != *first);
    }

    void folderIsUpdated()
    {
        Database database(newFile());
        FolderStore folders(database);
        FolderRecord record = folder("/a");
        record.id = *folders.create(record);
        record.enabled = true;
        record.profile = "q";
        QVERIFY(folders.update(record));
        QCOMPARE(folders.find(record.id)->enabled, true);
        QCOMPARE(folders.find(record.id)->profile, std::string("q"));
        record.id = "none";
        QVERIFY(!folders.update(record));
    }

    void profileNameAndIdAreUnique()
    {
        Database database(newFile());
        ProfileStore profiles(database);
        QVERIFY(profiles.create({"1", "A", "<profile/>"}));
        QVERIFY(!profiles.create({"2", "A", "<profile/>"}));
        QVERIFY(!profiles.create({"1", "B", "<profile/>"}));
        QVERIFY(profiles.create({"2", "a", "<profile/>"}));
        QCOMPARE(profiles.list().size(), std::size_t(2));
        QCOMPARE(profiles.findByName("a")->id, std::string("2"));
        QVERIFY(profiles.remove("1"));
        QVERIFY(!profiles.remove("1"));
        QVERIFY(!profiles.find("1"));
    }

    void errorIsListedOnceUntilItIsCleared()
    {
        Database database(newFile());
        ErrorStore errors(database);
        errors.add("one");
        errors.add("two");
        errors.add("one");
        QCOMPARE(errors.list(), (std::vector<std::string>{"one", "two"}));
        QCOMPARE(errors.takeAll(), (std::vector<std::string>{"one", "two"}));
        QVERIFY(errors.list().empty());
        errors.add("one");
        QCOMPARE(errors.list().size(), std::size_t(1));
    }

    void failedJobsAreKeptForAsManyClipsAsAreKept()
    {
        Database database(newFile());
        JobStore jobs(database);
        const JobRecord failed = job(false, jobstate::kFailed);
        const auto all = jobs.createAll(std::vector<JobRecord>(JobStore::kMostFolderJobs, failed));
        QCOMPARE(all.front(), std::string("j000001"));
        QCOMPARE(int(jobs.list(false).size()), JobStore::kMostFolderJobs);
        QVERIFY(JobStore::kMostFolderJobs >= int(ClipBook::kMostClips));
        const std::string own = jobs.create(job(true, jobstate::kFailed));
        const auto more = jobs.createAll(std::vector<JobRecord>(JobStore::kForgettingEvery, failed));
        QVERIFY(!jobs.find(all.front()));
        QVERIFY(jobs.find(all.back()) && jobs.find(more.front()) && jobs.find(own));
        QVERIFY(int(jobs.list(false).size()) <= JobStore::kMostFolderJobs + JobStore::kForgettingEvery);
    }

    void errorListKeepsTheNewestThousand()
    {
        Database database(newFile());
        ErrorStore errors(database);
        Transaction transaction(database);
        for (int i = 0; i < ErrorStore::kMostErrors + 5; ++i)
            errors.add(std::to_string(i));
        transaction.commit();
        QCOMPARE(int(errors.list().size()), ErrorStore::kMostErrors);
        QCOMPARE(errors.list().front(), std::string("5"));
    }

    void jobMovesOnlyFromTheStatesThatFit()
    {
        Database database(newFile());
        JobStore jobs(database);
        const auto id = jobs.create(job(true, jobstate::kSubmitted));
        QVERIFY(!jobs.move(id, {jobstate::kRunning}, jobstate::kCompleted));
        QVERIFY(jobs.move(id, {jobstate::kSubmitted}, jobstate::kRunning));
        QCOMPARE(jobs.find(id)->state, std::string("RUNNING"));
        QVERIFY(!jobs.move("none", {jobstate::kRunning}, jobstate::kCompleted));
    }

    void finalStatesHaveNoPercentageBetween()
    {
        Database database(newFile());
        JobStore jobs(database);
        for (const char* state : {jobstate::kCompleted, jobstate::kFailed, jobstate::kCancelled}) {
            const auto id = jobs.create(job(true, jobstate::kRunning));
            jobs.setPercent(id, 40);
            QCOMPARE(jobs.find(id)->percent, 40);
            QVERIFY(jobs.move(id, {jobstate::kRunning}, state, "why"));
            QCOMPARE(jobs.find(id)->percent, std::string(state) == jobstate::kCompleted ? 100 : 0);
            jobs.setPercent(id, 50);
            QCOMPARE(jobs.find(id)->percent, std::string(state) == jobstate::kCompleted ? 100 : 0);
            QCOMPARE(jobs.find(id)->message, std::string("why"));
        }
    }

    void jobsAreTakenUpAgainAfterACrash()
    {
        Database database(newFile());
        JobStore jobs(database);
        const auto running = jobs.create(job(true, jobstate::kRunning));
        const auto done = jobs.create(job(true, jobstate::kCompleted));
        const auto ofFolder = jobs.create(job(false, jobstate::kRunning));
        const auto failed = jobs.create(job(false, jobstate::kFailed));
        jobs.recover();
        QCOMPARE(jobs.find(running)->state, std::string("SUBMITTED"));
        QCOMPARE(jobs.find(done)->state, std::string("COMPLETED"));
        QVERIFY(!jobs.find(ofFolder));
        QCOMPARE(jobs.find(failed)->state, std::string("FAILED"));
        QCOMPARE(jobs.list(true).size(), std::size_t(2));
        QCOMPARE(jobs.list(false).size(), std::size_t(3));
    }

    void clipIsKnownOnceItsWorkIsDone()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        const auto id = begun(clips, clip("f1", "/a", "c"));
        QVERIFY(clips.known("f1").empty());
        QVERIFY(clips.publish(id));
        // What is left to do needs no look at the file.
        QCOMPARE(clips.known("f1").size(), std::size_t(1));
        QVERIFY(clips.offer(id));
        const auto found = clips.find("f1", "/a", "c");
        QVERIFY(found);
        QVERIFY(found->state == ClipState::Offered);
        QCOMPARE(found->output, std::to_string(id) + "-a.xel");
        QVERIFY(!found->guid.empty());
        QVERIFY(!clips.find("f1", "/a", "other"));
        QVERIFY(!clips.find("f2", "/a", "c"));
        QVERIFY((clips.known("f1").at("/a") == FileStamp{1, 2}));
        QCOMPARE(clips.known("f1").at("/a").inode, std::int64_t(4));
        clips.setStamp(id, {1, 3, 0, 0});
        QVERIFY((clips.known("f1").at("/a") == FileStamp{1, 3}));
    }

    void clipMovesOnlyAlongThePicture()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        enum { kPublish, kOffer, kFail, kWait, kMoves };
        const auto move = [&](int kind, std::int64_t id) {
            switch (kind) {
            case kPublish:
                return clips.publish(id);
            case kOffer:
                return clips.offer(id);
            case kFail:
                return clips.fail(id);
            default:
                return clips.wait(id);
            }
        };
        struct Row
        {
            ClipState from;
            std::vector<int> allowed;
        };
        const std::vector<Row> rows = {
            {ClipState::Waiting, {kOffer}},
            {ClipState::Acting, {kPublish, kOffer, kFail, kWait}},
            {ClipState::Publishing, {kOffer}},
            {ClipState::Offered, {}},
            {ClipState::Taken, {}},
            {ClipState::Rejected, {}},
            {ClipState::Failed, {}},
        };
        int name = 0;
        for (const Row& row : rows) {
            for (int i = 0; i < kMoves; ++i) {
                const std::string path = "/" + std::to_string(++name);
                std::int64_t id = 0;
                if (row.from == ClipState::Rejected) {
                    clips.reject(clip("f1", path, "c"));
                    id = clips.find("f1", path, "c")->id;
                } else {
                    id = begun(clips, clip("f1", path, "c"));
                    if (row.from == ClipState::Waiting)
                        clips.wait(id);
                    if (row.from == ClipState::Failed)
                        clips.fail(id);
                    if (row.from == ClipState::Publishing || row.from == ClipState::Offered ||
                        row.from == ClipState::Taken)
                        clips.publish(id);
                    if (row.from == ClipState::Offered || row.from == ClipState::Taken)
                        clips.offer(id);
                    if (row.from == ClipState::Taken)
                        clips.take({{"f1", id}});
                }
                QVERIFY(clips.find(id)->state == row.from);
                const bool allowed =
                    std::find(row.allowed.begin(), row.allowed.end(), i) != row.allowed.end();
                QCOMPARE(move(i, id), allowed);
                QCOMPARE(clips.find(id)->state != row.from, allowed);
            }
        }
        QVERIFY(!clips.publish(99999));
    }

    void oneContentOfAPathIsOneClip()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        begun(clips, clip("f1", "/a", "c"));
        QVERIFY_EXCEPTION_THROWN(begun(clips, clip("f1", "/a", "c")), DatabaseError);
        begun(clips, clip("f1", "/a", "d"));
        begun(clips, clip("f2", "/a", "c"));
    }

    void clipKeepsItsIdentifiersWhenItIsBegunAgain()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        const auto id = begun(clips, clip("f1", "/a", "c"));
        ClipRecord record = *clips.find(id);
        record.done = 2;
        record.linkedPath = "/copy";
        record.linkedStamp = {5, 6};
        record.linkedChecksum = "x";
        QVERIFY(clips.acted(record));
        QVERIFY(clips.wait(id));
        QCOMPARE(begun(clips, *clips.find(id)), id);
        const auto again = *clips.find(id);
        QCOMPARE(again.guid, record.guid);
        QCOMPARE(again.output, record.output);
        QCOMPARE(again.done, 2);
        QCOMPARE(again.linkedPath, std::string("/copy"));
        QVERIFY((again.linkedStamp == FileStamp{5, 6}));
        // Its folder was removed: nothing comes back.
        clips.forgetAll("f1");
        QVERIFY(!clips.begin(again, [](std::int64_t) { return std::string(); }));
    }

    void clipWithoutAnOwnerIsNotStored()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        const auto name = [](std::int64_t) { return std::string("x"); };
        QVERIFY(!clips.begin(clip("f9", "/a", "c"), name));
        clips.reject(clip("f9", "/b", "c"));
        JobStore jobs(with.database);
        const auto manual = jobs.create(job(true, jobstate::kRunning));
        const auto ofFolder = jobs.create(job(false, jobstate::kRunning));
        QVERIFY(clips.begin(clip(manual, "/a", "c"), name));
        QVERIFY(!clips.begin(clip(ofFolder, "/a", "c"), name));
        QVERIFY(clips.known("f9").empty());
        QVERIFY(!clips.find("f9", "/a", "c"));
    }

    void failedClipsAreTriedAgainOneByOneOrTogether()
    {
        WithFolders with(newFile());
        ClipStore clips(with.database);
        for (const char* path : {"/a", "/b", "/c"})
            clips.fail(begun(clips, clip("f1", path, "c")));
        const auto ok = begun(clips, clip("f1", "/ok", "c"));
        clips.offer(ok);
        clips.retry("f1", "/a");
        QCOMPARE(clips.known("f1").size(), std::size_t(3));
        clips.retry("f1");
        QCOMPARE(clips.known("f1").size(), std::size_t(1));
        clips.giveUp("f1", "/a");
        QCOMPARE(clips.known("f1").size(), std::size_t(2));
        clips.forgetAll("f1");
        QVERIFY(clips.known("f1").empty());
    }

    void transactionWithinAnotherIsAPartOfIt()
    {
        Database database(newFile());
        ErrorStore errors(database);
        const auto add = [&](const char* text) {
            database.prepare("INSERT INTO errors(text) VALUES(?)").bind(std::string_view(text)).run();
        };
        {
            Transaction outer(database);
            add("outer");
            {
                Transaction inner(database);
                add("rolled back");
            }
            Transaction inner(database);
            add("inner");
            inner.commit();
            outer.commit();
        }
        QCOMPARE(errors.list(), (std::vector<std::string>{"outer", "inner"}));
        {
            Transaction outer(database);
            Transaction inner(database);
            add("gone with the outer one");
            inner.commit();
        }
        QCOMPARE(errors.list().size(), std::size_t(2));
    }

    void databaseOfTheFirstVersionIsBroughtToThePresentOneAfterACopyWasSetAside()
    {
        const std::string name = newFile();
        fillFromDump(name, 1);
        sqlite3* raw = nullptr;
        {
            Database database(name);
            QVERIFY(!database.isNew());
            QCOMPARE(FolderStore(database).list().size(), std::size_t(3));
            QCOMPARE(FolderStore(database).find("f000002")->path, std::string("/media/watch2"));
            QCOMPARE(ProfileStore(database).list().size(), std::size_t(3));
            QCOMPARE(JobStore(database).find("j000002")->state, std::string("FAILED"));
            QCOMPARE(JobStore(database).find("j000003")->state, std::string("COMPLETED"));
            ClipStore clips(database);
            QCOMPARE(clips.known("f000001").size(), std::size_t(3));
            QCOMPARE(clips.inState(ClipState::Offered).size(), std::size_t(4));
            QCOMPARE(clips.inState(ClipState::Rejected).size(), std::size_t(1));
            QCOMPARE(clips.inState(ClipState::Failed).size(), std::size_t(1));
            const auto found = clips.find("f000001", "/media/watch/b.wav", "xxh3-64:e9ca1adf39291a87");
            QVERIFY(found);
            QCOMPARE(found->id, std::int64_t(2));
            QCOMPARE(found->output, std::string("2-b.wav.xel"));
            // Ids go on behind those of old: their documents may wait still.
            QCOMPARE(begun(clips, TestServiceStore::clip("f000001", "/media/new", "c")), std::int64_t(7));
        }
        const QFileInfo info(QString::fromStdString(name));
        const QStringList copies =
            info.dir().entryList({info.fileName() + QStringLiteral(".version-1-*")}, QDir::Files);
        QCOMPARE(copies.size(), 1);
        QCOMPARE(sqlite3_open(info.dir().filePath(copies[0]).toUtf8().constData(), &raw), SQLITE_OK);
        {
            Statement version(raw, "PRAGMA user_version");
            QVERIFY(version.step());
            QCOMPARE(int(version.number(0)), 1);
            Statement files(raw, "SELECT count(*) FROM files");
            QVERIFY(files.step());
            QCOMPARE(int(files.number(0)), 6);
        }
        sqlite3_close(raw);
    }

    void databaseOfTheSecondVersionKeepsItsClipsAndGetsRoomForWhatTheyMade()
    {
        const std::string name = newFile();
        {
            Database database(name);
            ClipStore clips(database);
            FolderStore(database).create(folder("/media/watch"));
            QVERIFY(begun(clips, clip("f000001", "/media/watch/a", "c")) > 0);
            database.execute("ALTER TABLE jobs DROP COLUMN activity; ALTER TABLE clips DROP COLUMN reason; "
                             "ALTER TABLE clips DROP COLUMN activity; DROP TABLE copied; "
                             "ALTER TABLE clips DROP COLUMN made; PRAGMA user_version=2");
        }
        Database database(name);
        ClipStore clips(database);
        auto found = clips.find("f000001", "/media/watch/a", "c");
        QVERIFY(found && found->state == ClipState::Acting && found->made.empty());
        found->made = "<made/>";
        QVERIFY(clips.acted(*found));
        QCOMPARE(clips.find(found->id)->made, std::string("<made/>"));
        const QFileInfo info(QString::fromStdString(name));
        QCOMPARE(info.dir().entryList({info.fileName() + QStringLiteral(".version-2-*")}, QDir::Files).size(),
                 1);
    }

    void everyFormerVersionIsOpened_data()
    {
        QTest::addColumn<int>("version");
        for (int version = 1; version <= Database::currentVersion(); ++version)
            QTest::addRow("%d", version) << version;
    }
    /// Dumps of databases that a service left behind in the middle of its work: of that version, or, where
    /// the next one only added a table or columns, of a neighbour without or with them. A new version needs
    /// one of its own.
    void everyFormerVersionIsOpened()
    {
        QFETCH(int, version);
        const std::string name = newFile();
        fillFromDump(name, version);
        {
            Database database(name);
            QCOMPARE(database.problem(), std::string());
            const auto profiles = ProfileStore(database).list();
            const auto folders = FolderStore(database).list();
            QCOMPARE(profiles.size(), std::size_t(3));
            QCOMPARE(folders.size(), std::size_t(3));
            for (const auto& folder : folders)
                QVERIFY(folder.enabled && ProfileStore(database).find(folder.profile));
            QCOMPARE(JobStore(database).list(false).size(), std::size_t(2));
            ClipStore clips(database);
            QCOMPARE(clips.inState(ClipState::Rejected).size(), std::size_t(1));
            QCOMPARE(clips.inState(ClipState::Failed).size(), std::size_t(1));
            for (const auto& clip : clips.inState(ClipState::Offered))
                QVERIFY(!clip.output.empty() && clip.path.rfind("/media/", 0) == 0);
            QVERIFY(clips.inState(ClipState::Offered).size() >= 3);
            // What is newer than the dump is there and empty.
            QCOMPARE(!clips.inState(ClipState::Failed).front().made.empty(), version >= 3);
            const auto histories = HistoryStore(database).waiting();
            QCOMPARE(histories.size(), std::size_t(version >= 4 ? 1 : 0));
            QVERIFY(histories.empty() || histories.front().clips == 2);
            Statement row = database.prepare("SELECT activity, reason<>'' FROM clips WHERE state='failed'");
            QVERIFY(row.step());
            QCOMPARE(row.text(0), std::string(version >= 5 ? "Transcode 1" : ""));
            QCOMPARE(row.number(1), std::int64_t(version >= 5));
            const auto jobs = JobStore(database).list(false);
            QCOMPARE(jobs.front().activity, std::string(version >= 5 ? "Transcode 1" : ""));
        }
        // Now it is one of the present version.
        QCOMPARE(Database(name, Database::Mode::Look).problem(), std::string());
        const QFileInfo info(QString::fromStdString(name));
        QCOMPARE(
            info.dir().entryList({info.fileName() + QStringLiteral(".version-%1-*").arg(version)}).size(),
            version < Database::currentVersion() ? 1 : 0);
    }

    void storesMayBeUsedByManyThreads()
    {
        Database database(newFile());
        database.execute("PRAGMA synchronous=OFF");
        FolderStore folders(database);
        JobStore jobs(database);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&, i] {
                for (int k = 0; k < 20; ++k) {
                    folders.create(folder("/" + std::to_string(i * 100 + k)));
                    const auto id = jobs.create(job(true, jobstate::kSubmitted));
                    jobs.move(id, {jobstate::kSubmitted}, jobstate::kCompleted);
                    folders.list();
                }
            });
        }
        for (auto& thread : threads)
            thread.join();
        QCOMPARE(folders.list().size(), std::size_t(160));
        QCOMPARE(jobs.list(true).size(), std::size_t(160));
    }
};

QTEST_GUILESS_MAIN(TestServiceStore)
#include "test_service_store.moc"
