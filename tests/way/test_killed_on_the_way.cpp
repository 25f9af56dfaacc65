#include "QuietPort.h"
#include "WayDesk.h"
#include "WayMedia.h"

#include "DeskProject.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileSystemWatcher>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

constexpr int kPatience =
    30000; ///< a wait that fails lasts three times as long, and the program has five minutes
constexpr int kFiles = 4;
constexpr quint32 kBigFile = 24 * 1024 * 1024;

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestKilledOnTheWay : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QuietPort> m_held;
    quint16 m_port = 0;

    QString in(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

    static QString fileName(int number) { return QStringLiteral("take %1.wav").arg(number); }

    /// Drops all files, as a person's copy does: written elsewhere on the volume and moved in.
    void dropAll() const
    {
        for (int i = 0; i < kFiles; ++i) {
            const QString elsewhere = in("being written");
            QFile file(elsewhere);
            QVERIFY(file.open(QIODevice::WriteOnly));
            const QByteArray bytes = WayMedia::sound(i == 0 ? kBigFile : 4000, static_cast<char>('a' + i));
            QCOMPARE(file.write(bytes), qint64(bytes.size()));
            file.close();
            QVERIFY(QFile::rename(elsewhere, QDir(in("watched")).filePath(fileName(i))));
        }
    }

    /// What can be seen among the copies is whole, at any moment.
    void noPartialCopyIsVisible() const
    {
        QDirIterator copies(in("copies"), QDir::Files);
        while (copies.hasNext()) {
            const QString copy = copies.next();
            QCOMPARE(contentOf(copy), contentOf(QDir(in("watched")).filePath(copies.fileName())));
        }
    }

    /// The sources of the clips in the project, each as often as it is there.
    QStringList clipSources() const
    {
        DeskProject project;
        QString error;
        if (!QFile::exists(in("Way.krxproject")) || !project.load(in("Way.krxproject"), error))
            return {error};
        QStringList sources;
        for (const DeskBin& bin : project.bins()) {
            for (const DeskClip& clip : bin.clips)
                sources << QFileInfo(clip.source).fileName();
        }
        sources.sort();
        return sources;
    }

    QStringList outputsLeft() const
    {
        QStringList left;
        QDirIterator outputs(in("service/output"), {QStringLiteral("*.xel")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (outputs.hasNext())
            left << outputs.next();
        return left;
    }

    QStringList allClips() const
    {
        QStringList all;
        for (int i = 0; i < kFiles; ++i)
            all << fileName(i);
        return all;
    }

    /// A desk that nobody kills brings everything in, and then nothing comes any more.
    void aDeskFinishesTheWork()
    {
        WayDesk desk(m_dir->path(), m_port);
        QTRY_COMPARE_WITH_TIMEOUT(clipSources(), allClips(), kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(outputsLeft().isEmpty(), kPatience);
        noPartialCopyIsVisible();
        // Two more answers of the service, and a rescan, bring nothing new.
        QTRY_COMPARE_WITH_TIMEOUT(
            QDir(in("copies")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), allClips(),
            kPatience);
        QCOMPARE(clipSources(), allClips());
    }

    /// \param processId of one process: 0 would be all of this test's group, and the one that runs the tests.
    static void killHard(qint64 processId)
    {
        QVERIFY(processId > 1);
        ::kill(static_cast<pid_t>(processId), SIGKILL);
    }

    /// The service that the desk started; 0 without one.
    static qint64 serviceOf(const WayDesk& desk)
    {
        QProcess pgrep;
        pgrep.start(QStringLiteral("pgrep"), {QStringLiteral("-P"), QString::number(desk.processId()),
                                              QStringLiteral("-x"), QStringLiteral("krx-service")});
        pgrep.waitForFinished();
        return pgrep.readAllStandardOutput().trimmed().toLongLong();
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        for (const char* name : {"watched", "copies", "service"})
            QVERIFY(QDir().mkpath(in(name)));
        m_held = std::make_unique<QuietPort>();
        m_port = m_held->port();
        QVERIFY(m_port != 0);
    }

    void theDeskDies_data()
    {
        QTest::addColumn<QString>("moment");
        QTest::newRow("when the service answers") << QStringLiteral("online");
        QTest::newRow("when a folder turns ready") << QStringLiteral("ready");
        QTest::newRow("between reading a document and saving") << QStringLiteral("taken");
        QTest::newRow("between saving and removing the documents") << QStringLiteral("saved");
    }
    void theDeskDies()
    {
        QFETCH(QString, moment);
        {
            WayDesk dying(m_dir->path(), m_port, moment);
            dropAll();
            QTRY_VERIFY_WITH_TIMEOUT(!dying.isRunning(), kPatience);
            noPartialCopyIsVisible();
        }
        // Twice more at the same place, for clips that were in the project already.
        for (int i = 0; i < 2 && moment != QLatin1String("online"); ++i) {
            if (clipSources() == allClips() && outputsLeft().isEmpty())
                break;
            WayDesk dying(m_dir->path(), m_port, moment);
            QTRY_VERIFY_WITH_TIMEOUT(
                !dying.isRunning() || (clipSources() == allClips() && outputsLeft().isEmpty()), kPatience);
        }
        aDeskFinishesTheWork();
    }

    void theServiceDiesWhenItsFolderChanges_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("as files arrive") << QStringLiteral("watched");
        QTest::newRow("in the middle of a copy") << QStringLiteral("copies");
        QTest::newRow("as an output is written") << QStringLiteral("service/output");
    }
    void theServiceDiesWhenItsFolderChanges()
    {
        QFETCH(QString, folder);
        WayDesk desk(m_dir->path(), m_port);
        QTRY_VERIFY_WITH_TIMEOUT(desk.hasSaid(QStringLiteral("online")), kPatience);
        // Three deaths: at the first three changes that are seen in the folder and below it.
        int deaths = 0;
        QFileSystemWatcher watcher;
        const QString path = m_dir->filePath(folder);
        QVERIFY(watcher.addPath(path));
        connect(&watcher, &QFileSystemWatcher::directoryChanged, this, [&](const QString& changed) {
            QDirIterator below(changed, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
            while (below.hasNext())
                watcher.addPath(below.next());
            const qint64 service = deaths < 3 ? serviceOf(desk) : 0;
            if (service > 0) {
                killHard(service);
                ++deaths;
                noPartialCopyIsVisible();
            }
        });
        dropAll();
        QTRY_VERIFY_WITH_TIMEOUT(deaths > 0, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(clipSources(), allClips(), kPatience);
        desk.kill();
        aDeskFinishesTheWork();
    }

    void bothDieTogether()
    {
        {
            WayDesk desk(m_dir->path(), m_port);
            dropAll();
            QTRY_VERIFY_WITH_TIMEOUT(desk.hasSaid(QStringLiteral("ready")), kPatience);
            killHard(serviceOf(desk));
            desk.kill();
            noPartialCopyIsVisible();
        }
        aDeskFinishesTheWork();
    }

    void aDeskThatIsToldToEndSavesAndStopsItsService()
    {
        WayDesk desk(m_dir->path(), m_port);
        QTRY_VERIFY_WITH_TIMEOUT(desk.hasSaid(QStringLiteral("online")), kPatience);
        const auto service = static_cast<pid_t>(serviceOf(desk));
        QVERIFY(service > 1);
        dropAll();
        QTRY_VERIFY_WITH_TIMEOUT(desk.timesSaid(QStringLiteral("ready")) > 0, kPatience);
        desk.terminate();
        QTRY_VERIFY_WITH_TIMEOUT(!desk.isRunning(), kPatience);
        QCOMPARE(desk.exitCode(), 0);
        QVERIFY(::kill(service, 0) != 0);
        aDeskFinishesTheWork();
    }

    void aPortIsHeldAgainstOtherTestsAndNotHandedOut()
    {
        QVERIFY(m_port < QuietPort::firstHandedOut());
        const int other = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_port);
        const bool isFree = ::bind(other, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        ::close(other);
        QVERIFY(!isFree);
    }

    void theServiceOfADeskThatDiedEndsToo()
    {
        WayDesk desk(m_dir->path(), m_port);
        QTRY_VERIFY_WITH_TIMEOUT(desk.hasSaid(QStringLiteral("online")), kPatience);
        const auto service = static_cast<pid_t>(serviceOf(desk));
        QVERIFY(service > 1);
        desk.kill();
        QTRY_VERIFY_WITH_TIMEOUT(::kill(service, 0) != 0, kPatience);
    }
};

QTEST_GUILESS_MAIN(TestKilledOnTheWay)
#include "test_killed_on_the_way.moc"
