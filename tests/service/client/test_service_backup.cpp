#include "ServiceCommand.h"
#include "ServiceStage.h"

#include <QDirIterator>
#include <QTest>

#include <sys/stat.h>

#include <functional>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("%s cannot be written", qPrintable(path));
}

/// All files below \a folder, by path and content.
QMap<QString, QByteArray> filesIn(const QString& folder)
{
    QMap<QString, QByteArray> found;
    QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        found[path.mid(folder.size() + 1)] = content(path);
    }
    return found;
}

QStringList documentsIn(const QString& backup)
{
    return QStringList(filesIn(backup).keys()).filter(s(".xel"));
}

using Harm = std::function<void(const QString& backup)>;

const char* const kList = "krx-service.backup.xml";

} // namespace

Q_DECLARE_METATYPE(Harm)

/// Backups of data in use, and the way back.
class TestServiceBackup : public QObject
{
    Q_OBJECT

    ServiceStage m_model; ///< data at rest and a backup of them, made once and copied
    std::unique_ptr<ServiceStage> m_stage;

    QString at(const QString& name) const { return m_stage->folder.filePath(name); }
    CommandResult backup(const QString& target) const
    {
        return runCommand({s("backup"), target, s("--data"), m_stage->data});
    }
    CommandResult restore(const QString& source, const QString& data, const QStringList& more = {}) const
    {
        return runCommand(QStringList{s("restore"), source, s("--data"), data} + more);
    }
    /// One clip that waits, one that was taken, and a backup of that; the service is at its end.
    static void makeBackup(ServiceStage& stage)
    {
        QVERIFY(stage.begin());
        QVERIFY(stage.marked(s("taken.wav")));
        QVERIFY(QFile::remove(stage.outputs().constFirst()));
        QVERIFY(stage.marked(s("waits.wav")));
        const CommandResult made =
            runCommand({s("backup"), stage.folder.filePath(s("backup")), s("--data"), stage.data});
        QCOMPARE(made.err, QString());
        QCOMPARE(made.code, 0);
        QCOMPARE(stage.service->terminate(), 0);
    }
    /// The same without waiting for a service, where none is to run on it again.
    void copyModel() const
    {
        QProcess copy;
        copy.start(s("cp"),
                   {s("-a"), m_model.data, m_model.folder.filePath(s("backup")), m_stage->folder.path()});
        QVERIFY(copy.waitForFinished(kStagePatience) && copy.exitCode() == 0);
    }
    void breakDisk(const QByteArray& fault) const
    {
        QDir().mkpath(at(s("control")));
        write(at(s("control/faults")), fault + '\n');
    }
    CommandResult onTheBrokenDisk(const QStringList& command) const
    {
        return runCommand(command, [this](QProcessEnvironment& environment) {
            environment.insert(s("LD_PRELOAD"), s(KRX_FAILING_CALLS));
            // A sanitized program would not start behind a library that comes before the sanitizer's.
            environment.insert(s("ASAN_OPTIONS"),
                               environment.value(s("ASAN_OPTIONS")) + s(":verify_asan_link_order=0"));
            environment.insert(s("KRX_FAULTS"), at(s("control/faults")));
        });
    }

private slots:
    void initTestCase() { makeBackup(m_model); }
    void init() { m_stage = std::make_unique<ServiceStage>(); }
    void cleanup() { m_stage.reset(); }

    void whatWasBackedUpGoesOnWhereItWas()
    {
        makeBackup(*m_stage);
        QCOMPARE(documentsIn(at(s("backup"))).size(), 1);
        const QString data = at(s("restored"));
        const CommandResult restored = restore(at(s("backup")), data);
        QCOMPARE(restored.err, QString());
        QCOMPARE(restored.code, 0);
        QCOMPARE(ServiceProgram::faults(data), QStringList());
        m_stage->data = data;
        QVERIFY(m_stage->again());
        QCOMPARE(m_stage->outputs().size(), 1);
        QVERIFY(m_stage->outputs().first().startsWith(data) &&
                m_stage->outputs().first().contains(s("waits")));
        // Neither is offered once more.
        QVERIFY(m_stage->marked(s("mark.wav")));
        QCOMPARE(m_stage->outputs().size(), 2);
        QVERIFY(!m_stage->service->profileId(s("Default Profile")).isEmpty());
        QCOMPARE(m_stage->service->terminate(), 0);
    }

    void everyMomentOfAWorkingServiceIsAWholeBackup()
    {
        QVERIFY(m_stage->begin());
        constexpr int kClips = 12;
        constexpr int kBackups = 6;
        int dropped = 0;
        for (int i = 0; i < kBackups; ++i) {
            for (; dropped < (i + 1) * kClips / kBackups; ++dropped)
                QVERIFY(!m_stage->drop(s("clip%1.wav").arg(dropped)).isEmpty());
            // The host takes meanwhile what is ready.
            for (const QString& output : m_stage->outputs())
                QVERIFY(QFile::remove(output));
            const CommandResult made = backup(at(s("backup%1").arg(i)));
            QVERIFY2(made.code == 0, qPrintable(made.err));
        }
        QVERIFY(m_stage->marked(s("last.wav")));
        QCOMPARE(m_stage->service->terminate(), 0);
        for (int i = 0; i < kBackups; ++i) {
            const QString data = at(s("data%1").arg(i));
            const CommandResult restored = restore(at(s("backup%1").arg(i)), data);
            QVERIFY2(restored.code == 0, qPrintable(restored.err));
            QCOMPARE(ServiceProgram::faults(data), QStringList());
        }
        // What the database of the backup did not know is found again; nothing is set aside as unknown.
        m_stage->data = at(s("data%1").arg(kBackups / 2));
        QVERIFY(m_stage->again());
        QTRY_VERIFY_WITH_TIMEOUT(!m_stage->outputs().filter(s("last.wav")).isEmpty(), kStagePatience);
        QCOMPARE(m_stage->service->errors(), QStringList());
        QCOMPARE(m_stage->service->terminate(), 0);
    }

    void nothingIsOpenToOthers()
    {
        copyModel();
        QDirIterator all(at(s("backup")), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
        while (all.hasNext()) {
            struct stat facts
            {
            };
            QCOMPARE(::stat(qPrintable(all.next()), &facts), 0);
            QCOMPARE(int(facts.st_mode & 077), 0);
        }
    }

    void backupsTouchNothingThatIsThere()
    {
        copyModel();
        const auto before = filesIn(at(s("backup")));
        const CommandResult again = backup(at(s("backup")));
        QCOMPARE(again.code, 1);
        QVERIFY2(again.err.contains(s("is there already")), qPrintable(again.err));
        QCOMPARE(filesIn(at(s("backup"))), before);
        QVERIFY(QFile::link(s("/nowhere"), at(s("link"))));
        QCOMPARE(backup(at(s("link"))).code, 1);
        QCOMPARE(backup(at(s("missing/backup"))).code, 1);
    }

    void backupsThatFailLeaveNothing()
    {
        copyModel();
        QByteArray database = content(m_stage->data + s("/krx-service.db"));
        for (int i = 4096 + 8; i < database.size(); ++i)
            database[i] = '\x55';
        write(m_stage->data + s("/krx-service.db"), database);
        const QStringList before = QDir(m_stage->folder.path()).entryList(QDir::AllEntries | QDir::Hidden);
        const CommandResult made = backup(at(s("second")));
        QCOMPARE(made.code, 1);
        QCOMPARE(made.err.count(QLatin1Char('\n')), 1);
        QCOMPARE(QDir(m_stage->folder.path()).entryList(QDir::AllEntries | QDir::Hidden), before);
        // No data, no backup.
        QCOMPARE(runCommand({s("backup"), at(s("third")), s("--data"), at(s("none"))}).code, 1);
    }

    void disksThatFailLeaveAllAsItWas_data()
    {
        QTest::addColumn<bool>("restores");
        QTest::addColumn<QByteArray>("fault");
        QTest::newRow("backup, write") << false << QByteArray("write .second.unfinished 28");
        QTest::newRow("backup, sync") << false << QByteArray("sync .second.unfinished 5");
        QTest::newRow("backup, rename") << false << QByteArray("rename /second 28");
        QTest::newRow("restore, sync") << true << QByteArray("sync data.restoring 5");
        QTest::newRow("restore, rename") << true << QByteArray("rename /data 28");
    }
    void disksThatFailLeaveAllAsItWas()
    {
        QFETCH(bool, restores);
        QFETCH(QByteArray, fault);
        copyModel();
        breakDisk(fault);
        const auto before = filesIn(m_stage->folder.path());
        const QStringList command = restores ? QStringList{s("restore"), at(s("backup")), s("--set-aside")}
                                             : QStringList{s("backup"), at(s("second"))};
        const CommandResult result = onTheBrokenDisk(command + QStringList{s("--data"), m_stage->data});
        QCOMPARE(result.code, 1);
        QCOMPARE(result.out, QString());
        QCOMPARE(filesIn(m_stage->folder.path()).keys(), before.keys());
        QVERIFY(filesIn(m_stage->folder.path()) == before);
    }

    // By then the new data have their name: what fails is said, and nothing is taken back.
    void whatIsDoneStaysWhenTheDiskDoesNotPromiseToKeepIt_data()
    {
        QTest::addColumn<bool>("hasFormer");
        QTest::newRow("former data") << true;
        QTest::newRow("none") << false;
    }
    void whatIsDoneStaysWhenTheDiskDoesNotPromiseToKeepIt()
    {
        QFETCH(bool, hasFormer);
        copyModel();
        const auto wanted = filesIn(at(s("backup")));
        const QString data = hasFormer ? m_stage->data : at(s("fresh"));
        write(m_stage->data + s("/mark"), "former");
        const auto former = filesIn(m_stage->data);
        breakDisk("sync " + QFile::encodeName(m_stage->folder.path()) + "$ 5");
        const CommandResult result =
            onTheBrokenDisk({s("restore"), at(s("backup")), s("--set-aside"), s("--data"), data});
        QVERIFY2(result.err.contains(s("it is done, but the disk does not promise to keep it")),
                 qPrintable(result.err));
        QCOMPARE(result.code, 0);
        QVERIFY(result.out.contains(s("restored ") + data));
        const auto now = filesIn(data);
        for (auto file = wanted.cbegin(); file != wanted.cend(); ++file) {
            if (file.key() != s(kList))
                QVERIFY2(now.contains(file.key()) && now[file.key()] == *file, qPrintable(file.key()));
        }
        QVERIFY(!now.contains(s("mark")));
        QCOMPARE(filesIn(at(s("backup"))), wanted);
        const QStringList kept =
            QDir(m_stage->folder.path()).entryList({s("*.before-restore-*")}, QDir::Dirs | QDir::Hidden);
        QCOMPARE(kept.size(), hasFormer ? 1 : 0);
        QCOMPARE(filesIn(hasFormer ? at(kept.first()) : m_stage->data), former);
        QCOMPARE(QDir(m_stage->folder.path())
                     .entryList({s("*.restoring-*")}, QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void dataInUseAreNotReplaced()
    {
        makeBackup(*m_stage);
        QVERIFY(m_stage->again());
        const CommandResult refused = restore(at(s("backup")), m_stage->data, {s("--set-aside")});
        QCOMPARE(refused.code, 3);
        QVERIFY(m_stage->marked(s("still.wav")));
        QCOMPARE(m_stage->service->terminate(), 0);
    }

    void dataThatAreThereAreKept()
    {
        makeBackup(*m_stage);
        const auto before = filesIn(m_stage->data);
        const CommandResult refused = restore(at(s("backup")), m_stage->data);
        QCOMPARE(refused.code, 1);
        QVERIFY2(refused.err.contains(s("--set-aside")), qPrintable(refused.err));
        QCOMPARE(filesIn(m_stage->data), before);

        const CommandResult done = restore(at(s("backup")), m_stage->data, {s("--set-aside")});
        QCOMPARE(done.code, 0);
        const QStringList kept =
            QDir(m_stage->folder.path()).entryList({s("data.before-restore-*")}, QDir::Dirs);
        QCOMPARE(kept.size(), 1);
        QVERIFY(done.out.contains(kept.first()));
        QCOMPARE(filesIn(at(kept.first())), before);
        QCOMPARE(documentsIn(m_stage->data), documentsIn(at(s("backup"))));
        QVERIFY(m_stage->again());
        QCOMPARE(m_stage->service->terminate(), 0);
    }

    void doubtfulBackupsAreRefusedWhole_data()
    {
        QTest::addColumn<Harm>("harm");
        const auto row = [](const char* name, const Harm& harm) { QTest::newRow(name) << harm; };
        const auto edit = [](const QByteArray& from, const QByteArray& to) {
            return [=](const QString& backup) {
                QByteArray list = content(backup + QLatin1Char('/') + s(kList));
                if (!list.contains(from))
                    qFatal("the list has no %s", from.constData());
                write(backup + QLatin1Char('/') + s(kList), list.replace(from, to));
            };
        };
        row("no list", [](const QString& backup) { QFile::remove(backup + QLatin1Char('/') + s(kList)); });
        row("no XML", [](const QString& backup) { write(backup + QLatin1Char('/') + s(kList), "<a"); });
        row("another form", edit("form=\"1\"", "form=\"2\""));
        row("a newer database", edit("<database>", "<database>9"));
        row("no database", edit("krx-service.db<", "krx-service.kept2<"));
        row("a way out", [edit](const QString& backup) {
            const QString name = documentsIn(backup).constFirst();
            QFile::copy(backup + QLatin1Char('/') + name, backup + s("/../") + QFileInfo(name).fileName());
            edit(">output/f000001/", ">output/f000001/../../../")(backup);
        });
        row("an absolute path", edit(">krx-service.kept.xml", ">/krx-service.kept.xml"));
        row("twice", edit(">krx-service.kept.xml", ">krx-service.db"));
        row("changed database", [](const QString& backup) {
            QByteArray bytes = content(backup + s("/krx-service.db"));
            bytes[bytes.size() - 1] = static_cast<char>(bytes[bytes.size() - 1] ^ 1);
            write(backup + s("/krx-service.db"), bytes);
        });
        row("changed document", [](const QString& backup) {
            const QString name = backup + QLatin1Char('/') + documentsIn(backup).constFirst();
            write(name, content(name) + " ");
        });
        row("missing document", [](const QString& backup) {
            QFile::remove(backup + QLatin1Char('/') + documentsIn(backup).constFirst());
        });
        row("a link", [](const QString& backup) {
            const QString name = backup + QLatin1Char('/') + documentsIn(backup).constFirst();
            QFile::rename(name, backup + s("/elsewhere"));
            QFile::link(backup + s("/elsewhere"), name);
        });
    }
    void doubtfulBackupsAreRefusedWhole()
    {
        QFETCH(Harm, harm);
        copyModel();
        harm(at(s("backup")));
        const auto before = filesIn(m_stage->data);
        const CommandResult refused = restore(at(s("backup")), m_stage->data, {s("--set-aside")});
        QCOMPARE(refused.code, 1);
        QVERIFY(!refused.err.isEmpty());
        QCOMPARE(filesIn(m_stage->data), before);
        QStringList beside = QDir(m_stage->folder.path())
                                 .entryList({s("data*"), s(".data*")}, QDir::AllEntries | QDir::Hidden);
        QCOMPARE(beside, QStringList{s("data")});
    }
};

QTEST_GUILESS_MAIN(TestServiceBackup)
#include "test_service_backup.moc"
