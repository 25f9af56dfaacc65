#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FileStore.h"
#include "store/FolderStore.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sqlite3.h>

#include <thread>

using namespace krxservice;

class TestServiceStore : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_count = 0;

    std::string newFile() { return m_folder.filePath(QString::number(++m_count)).toStdString() + ".db"; }

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
    static FileRecord file(const std::string& owner, const std::string& path, const std::string& checksum)
    {
        FileRecord record;
        record.owner = owner;
        record.path = path;
        record.checksum = checksum;
        record.stamp = {1, 2};
        return record;
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

    void fileIsKnownOnceItsWorkIsDone()
    {
        Database database(newFile());
        FileStore files(database);
        const auto id = files.take(file("f1", "/a", "c"));
        QVERIFY(files.known("f1").empty());
        QVERIFY(!files.findDone("f1", "/a", "c"));
        QVERIFY(files.move(id, FileState::Taken, FileState::Publishing, "1-a.xel"));
        QVERIFY(!files.findDone("f1", "/a", "c"));
        QVERIFY(files.move(id, FileState::Publishing, FileState::Offered));
        QVERIFY(!files.move(id, FileState::Taken, FileState::Offered));
        const auto found = files.findDone("f1", "/a", "c");
        QVERIFY(found);
        QCOMPARE(found->output, std::string("1-a.xel"));
        QVERIFY(!files.findDone("f1", "/a", "other"));
        QVERIFY(!files.findDone("f2", "/a", "c"));
        QVERIFY((files.known("f1").at("/a") == FileStamp{1, 2}));
        files.setStamp(id, {1, 3});
        QVERIFY((files.known("f1").at("/a") == FileStamp{1, 3}));
    }

    void failedFilesAreForgottenOneByOneOrTogether()
    {
        Database database(newFile());
        FileStore files(database);
        for (const char* path : {"/a", "/b", "/c"})
            files.move(files.take(file("f1", path, "c")), FileState::Taken, FileState::Failed);
        files.move(files.take(file("f1", "/ok", "c")), FileState::Taken, FileState::Offered);
        files.forgetFailed("f1", "/a");
        QCOMPARE(files.known("f1").size(), std::size_t(3));
        files.forgetFailed("f1");
        QCOMPARE(files.known("f1").size(), std::size_t(1));
        files.forget("f1");
        QVERIFY(files.known("f1").empty());
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
