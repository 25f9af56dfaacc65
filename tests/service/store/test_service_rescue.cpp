#include "ServiceStage.h"
#include "TestFiles.h"

#include "app/DataKeeper.h"
#include "store/ClipStore.h"
#include "store/JobStore.h"
#include "store/WalCheck.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sqlite3.h>

using namespace krxservice;
using TestFiles::content;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

bool put(const QString& path, const QByteArray& bytes, qint64 at = 0)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.seek(at) && file.write(bytes) == bytes.size();
}

/// The number of the root page of an index or table, from 1 on.
int rootPage(const QString& database, const char* name)
{
    sqlite3* raw = nullptr;
    sqlite3_open(database.toUtf8().constData(), &raw);
    int page = 0;
    {
        Statement row(raw, "SELECT rootpage FROM sqlite_master WHERE name=?");
        if (row.bind(std::string_view(name)).step())
            page = static_cast<int>(row.number(0));
    }
    sqlite3_close(raw);
    return page;
}

constexpr int kPage = 4096;

bool breakPage(const QString& database, const char* name)
{
    const int page = rootPage(database, name);
    return page > 1 && put(database, QByteArray(kPage, '\xFF'), qint64(page - 1) * kPage);
}

} // namespace

/// What a damaged, emptied or missing database costs: work that is done again, never a document or a folder.
class TestServiceRescue : public QObject
{
    Q_OBJECT

    /// A service that has kept two folders and two profiles and offers two clips, ended.
    struct Past : ServiceStage
    {
        QString other = folder.filePath(s("other"));
        QByteArray folders;
        QByteArray profiles;
        QMap<QString, QByteArray> documents; ///< by file name

        bool make()
        {
            if (!begin() || !QDir().mkpath(other))
                return false;
            service->post("profiles", ModuleDocument::createProfile(s("Other <&> one")));
            service->addFolder(other, service->profileId(s("Other <&> one")), false);
            drop(s("a.wav"));
            drop(s("b.wav"));
            QElapsedTimer timer;
            timer.start();
            while (outputs().size() < 2 && timer.elapsed() < kStagePatience)
                QTest::qWait(10);
            for (const QString& output : outputs())
                documents.insert(QFileInfo(output).fileName(), content(output));
            profiles = service->get("profiles?level=detail").body;
            folders = service->get("xelmediafolders").body;
            return documents.size() == 2;
        }
        bool isKept() const { return content(data + s("/krx-service.kept.xml")).contains(other.toUtf8()); }
        QString database() const { return data + s("/krx-service.db"); }
        QStringList asideNames(const char* pattern) const
        {
            return QDir(data).entryList({s(pattern)}, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
        }
        /// The documents that were set aside.
        QMap<QString, QByteArray> keptDocuments() const
        {
            QMap<QString, QByteArray> kept;
            for (const QString& place : asideNames("output.kept-*")) {
                const QDir directory(data + QLatin1Char('/') + place + QLatin1Char('/') + id);
                for (const QString& name : directory.entryList(QDir::Files | QDir::Hidden))
                    kept.insert(name, content(directory.filePath(name)));
            }
            return kept;
        }
    };

private slots:
    void lostDatabaseCostsNeitherFoldersNorDocuments_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("aside");
        QTest::newRow("missing") << QByteArray() << false;
        QTest::newRow("emptied") << QByteArray("") << false;
        QTest::newRow("of one byte") << QByteArray("x") << false; // no database to speak of
        QTest::newRow("overwritten") << QByteArray(20000, 'x') << true;
        QTest::newRow("of a header only") << QByteArray("SQLite format 3\0", 16) << true;
    }
    void lostDatabaseCostsNeitherFoldersNorDocuments()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, aside);
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(QFile::remove(past.database()));
        if (!bytes.isNull())
            QVERIFY(put(past.database(), bytes));
        QVERIFY(past.again());
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        QCOMPARE(past.service->get("profiles?level=detail").body, past.profiles);
        QCOMPARE(past.service->get("xelmediafolders?level=detail").texts(s("path")),
                 (QStringList{past.watch, past.other}));
        QCOMPARE(past.service->get("xelmediafolders?level=detail").texts(s("enabled")),
                 (QStringList{s("true"), s("false")}));
        // Every document that waited is there as it was, and the person is told where.
        QCOMPARE(past.keptDocuments(), past.documents);
        QCOMPARE(past.service->errors().filter(s("output.kept-")).size(), 1);
        QCOMPARE(past.service->errors().filter(s("krx-service.kept.xml")).size(), 1);
        QCOMPARE(past.service->errors().filter(s("krx-service.db.damaged-")).size(), aside ? 1 : 0);
        QCOMPARE(past.asideNames("krx-service.db.damaged-*").size(), aside ? 1 : 0);
        if (aside)
            QCOMPARE(
                content(past.data + QLatin1Char('/') + past.asideNames("krx-service.db.damaged-*").at(0)),
                bytes);
        // The clips are offered anew, and ids go on where they were.
        QTRY_COMPARE_WITH_TIMEOUT(past.outputs().size(), 2, kStagePatience);
        const QString third = past.folder.filePath(s("third"));
        QVERIFY(QDir().mkpath(third));
        QCOMPARE(past.service->addFolder(third, past.service->profileId(s("Default Profile")), false),
                 s("f000003"));
        // Said once, not at each start.
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(past.again());
        QCOMPARE(past.service->errors().filter(s("output.kept-")).size(), 1);
        QCOMPARE(past.asideNames("output.kept-*").size(), 1);
    }

    void removalThatALostDatabaseSaysNothingOfIsNotEnded()
    {
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        const QDir output(past.data + s("/output"));
        QVERIFY(QDir().rename(output.filePath(past.id), output.filePath(s(".removed-") + past.id)));
        QVERIFY(QFile::remove(past.database()));
        QVERIFY(past.again());
        QCOMPARE(past.keptDocuments(), past.documents);
        QCOMPARE(past.service->errors().filter(s("output.kept-")).size(), 1);
    }

    void documentsWithoutAnyDatabaseAreKeptToo()
    {
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(QFile::remove(past.database()));
        QVERIFY(QFile::remove(past.data + s("/krx-service.kept.xml")));
        QVERIFY(past.again());
        QVERIFY(past.service->get("xelmediafolders").texts(s("xelMediaFolderURI")).isEmpty());
        QCOMPARE(past.keptDocuments(), past.documents);
        QCOMPARE(past.service->errors().filter(s("output.kept-")).size(), 1);
    }

    void secondCopyThatCannotBeReadIsSetAsideToo()
    {
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(QFile::resize(past.data + s("/krx-service.kept.xml"), 100));
        QVERIFY(past.again());
        // The database is well.
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        QCOMPARE(past.asideNames("krx-service.kept.xml.damaged-*").size(), 1);
        QCOMPARE(past.service->errors().filter(s("krx-service.kept.xml.damaged-")).size(), 1);
        QTRY_VERIFY_WITH_TIMEOUT(past.isKept(), kStagePatience);
        QCOMPARE(past.outputs().size(), 2);
    }

    void changesAreKeptASecondTimeSoonAfterwards()
    {
        Past past;
        QVERIFY(past.make());
        QTRY_VERIFY_WITH_TIMEOUT(past.isKept(), kStagePatience);
        QCOMPARE(past.service->remove("xelmediafolders/f000002").status, 200);
        QTRY_VERIFY_WITH_TIMEOUT(!past.isKept(), kStagePatience);
    }

    void damagedIndexIsMadeAnew_data()
    {
        QTest::addColumn<QString>("index");
        QTest::newRow("clips by content") << s("sqlite_autoindex_clips_2");
        QTest::newRow("clips by state") << s("clips_by_state");
        QTest::newRow("folders by id") << s("sqlite_autoindex_folders_1");
        QTest::newRow("jobs by id") << s("sqlite_autoindex_jobs_1");
    }
    void damagedIndexIsMadeAnew()
    {
        QFETCH(QString, index);
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(breakPage(past.database(), index.toUtf8().constData()));
        QVERIFY(past.again());
        QCOMPARE(past.service->errors().filter(s("index")).size(), 1);
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        QCOMPARE(past.outputs().size(), 2);
        QVERIFY(past.asideNames("output.kept-*").isEmpty());
        QVERIFY(past.marked(s("mark.wav")));
        QCOMPARE(past.outputs().size(), 3);
    }

    void damagedTableIsSetAside()
    {
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(breakPage(past.database(), "clips"));
        QVERIFY(past.again());
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        QCOMPARE(past.service->get("profiles?level=detail").body, past.profiles);
        QCOMPARE(past.keptDocuments(), past.documents);
        QCOMPARE(past.service->errors().filter(s("krx-service.db.damaged-")).size(), 1);
        QCOMPARE(past.asideNames("krx-service.db.damaged-*").size(), 1);
        QTRY_COMPARE_WITH_TIMEOUT(past.outputs().size(), 2, kStagePatience);
    }

    void damagedTableOfFoldersIsTakenBackFromTheSecondCopy()
    {
        Past past;
        QVERIFY(past.make());
        QCOMPARE(past.service->terminate(), 0);
        QVERIFY(breakPage(past.database(), "folders"));
        QVERIFY(past.again());
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        // Their clips are as they were.
        QVERIFY(past.asideNames("output.kept-*").isEmpty());
        QCOMPARE(past.outputs().size(), 2);
    }

    void damageMetWhileRunningIsSaidAndMended()
    {
        QTemporaryDir folder;
        DataKeeper keeper(folder.path().toStdString());
        Database& database = keeper.database();
        ErrorStore errors(database);
        ClipStore clips(database);
        FolderRecord owner;
        FolderStore(database).create(owner);
        {
            Transaction transaction(database);
            for (int i = 0; i < 500; ++i) {
                ClipRecord clip;
                clip.owner = "f000001";
                clip.path = "/" + std::to_string(i);
                clips.begin(clip, [](std::int64_t id) { return std::to_string(id); });
            }
            transaction.commit();
        }
        database.execute("PRAGMA wal_checkpoint(TRUNCATE)");
        database.execute("PRAGMA shrink_memory");
        QVERIFY(breakPage(folder.filePath(s("krx-service.db")), "clips_by_state"));
        QVERIFY_EXCEPTION_THROWN(clips.inState(ClipState::Acting), DatabaseError);
        QVERIFY(database.isDamaged());
        keeper.mend(errors);
        QVERIFY(!database.isDamaged());
        QCOMPARE(clips.inState(ClipState::Acting).size(), std::size_t(500));
        QCOMPARE(errors.list().size(), std::size_t(1));
    }

    void damagedLogLosesNothingInSilence()
    {
        Past past;
        QVERIFY(past.make());
        QTRY_VERIFY_WITH_TIMEOUT(past.isKept(), kStagePatience);
        past.service->kill();
        const QString log = past.database() + s("-wal");
        // In the third page, behind the header of the log and that of the page.
        const qint64 at = 32 + 2 * (24 + kPage) + 24 + 100;
        QVERIFY(QFileInfo(log).size() > at);
        const QByteArray before = content(log);
        QVERIFY(put(log, QByteArray(1, char(before[int(at)] ^ 1)), at));
        QVERIFY(walcheck::isDamaged(log.toStdString()));
        QVERIFY(past.again());
        QCOMPARE(past.service->errors().filter(s("log of the database was damaged")).size(), 1);
        QCOMPARE(past.asideNames("krx-service.db.damaged-*-wal").size(), 1);
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
        QCOMPARE(past.service->get("profiles?level=detail").body, past.profiles);
        QCOMPARE(past.keptDocuments(), past.documents);
        QTRY_COMPARE_WITH_TIMEOUT(past.outputs().size(), 2, kStagePatience);
    }

    void logThatACrashCutOffIsNotDamaged()
    {
        Past past;
        QVERIFY(past.make());
        past.service->kill();
        const QString log = past.database() + s("-wal");
        QVERIFY(QFileInfo(log).size() > 3LL * kPage);
        QVERIFY(!walcheck::isDamaged(log.toStdString()));
        // A crash in the middle of a transaction: its last pages are missing or not whole.
        QVERIFY(QFile::resize(log, QFileInfo(log).size() - kPage / 2));
        QVERIFY(!walcheck::isDamaged(log.toStdString()));
        QVERIFY(!walcheck::isDamaged("/nowhere"));
        QVERIFY(past.again());
        QVERIFY(past.service->errors().filter(s("log")).isEmpty());
    }

    void emptiedDatabaseKeepsTheLogBesideIt()
    {
        Past past;
        QVERIFY(past.make());
        QTRY_VERIFY_WITH_TIMEOUT(past.isKept(), kStagePatience);
        past.service->kill();
        const QByteArray log = content(past.database() + s("-wal"));
        QVERIFY(!log.isEmpty());
        QVERIFY(QFile::resize(past.database(), 0));
        QVERIFY(past.again());
        const QStringList names = past.asideNames("krx-service.db.damaged-*-wal");
        QCOMPARE(names.size(), 1);
        QCOMPARE(content(past.data + QLatin1Char('/') + names[0]), log);
        QCOMPARE(past.service->get("xelmediafolders").body, past.folders);
    }

    void checkOnDemandSaysWhatDoesNotAgreeAndChangesNothing()
    {
        Past past;
        QVERIFY(past.make());
        // Not while the service runs.
        QVERIFY(!ServiceProgram::faults(past.data).filter(s("in use")).isEmpty());
        const QString document = past.outputs().at(0);
        QCOMPARE(past.service->terminate(), 0);
        QCOMPARE(ServiceProgram::faults(past.data), QStringList());
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open(past.database().toUtf8().constData(), &raw), SQLITE_OK);
        QCOMPARE(sqlite3_exec(raw, "DELETE FROM clips WHERE id=1", nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
        const QByteArray before = content(past.database());
        const QStringList found = ServiceProgram::faults(past.data);
        QCOMPARE(found.filter(s("an output has no clip: ") + document).size(), 1);
        QCOMPARE(found.filter(s("1 faults")).size(), 1);
        QCOMPARE(content(past.database()), before);
        QVERIFY(QFile::exists(document));
        QVERIFY(!ServiceProgram::faults(past.folder.filePath(s("nowhere"))).isEmpty());
    }

    void databaseOfTheFirstVersionGoesOnServing()
    {
        QTemporaryDir folder;
        const QString data = folder.filePath(s("data"));
        const QString root = folder.filePath(s("media"));
        for (const char* name : {"watch", "watch2", "watch3", "to"})
            QVERIFY(QDir().mkpath(root + QLatin1Char('/') + s(name)));
        QVERIFY(QDir().mkpath(data + s("/output/f000001")));
        QVERIFY(put(data + s("/output/f000001/2-b.wav.xel"),
                    "<?xml version=\"1.0\"?><xel><version>1</version><id>one</id></xel>"));
        sqlite3* raw = nullptr;
        QCOMPARE(sqlite3_open((data + s("/krx-service.db")).toUtf8().constData(), &raw), SQLITE_OK);
        const QByteArray sql =
            content(s(KRX_TEST_DATA "/krx-service-1.sql")).replace("@ROOT@", root.toUtf8());
        QCOMPARE(sqlite3_exec(raw, sql.constData(), nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(raw);
        ServiceProgram service;
        QVERIFY(service.start(data));
        QCOMPARE(service.get("xelmediafolders?level=detail").texts(s("path")),
                 (QStringList{root + s("/watch"), root + s("/watch2"), root + s("/watch3")}));
        QCOMPARE(service.outputs(s("f000001")), QStringList{data + s("/output/f000001/2-b.wav.xel")});
        QCOMPARE(service.jobState(s("j000002")), s("FAILED"));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), root + s("/watch/new.wav")));
        QTRY_COMPARE_WITH_TIMEOUT(service.outputs(s("f000001")).size(), 2, kStagePatience);
        QCOMPARE(service.terminate(), 0);
    }
};

QTEST_GUILESS_MAIN(TestServiceRescue)
#include "test_service_rescue.moc"
