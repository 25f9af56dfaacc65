#include "WayMedia.h"

#include "DeskProject.h"
#include "ListenerOwner.h"
#include "OtherUsersListener.h"
#include "PreparedProcess.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kPatience = 60000;
constexpr quint16 kServicePort = 58885;

/// A program that another user runs.
class UsersProcess : public PreparedProcess
{
public:
    explicit UsersProcess(uid_t user)
        : PreparedProcess([user] {
            if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0)
                ::_exit(1);
            // Nothing of theirs outlives a test that is killed.
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        })
    {
    }
    ~UsersProcess() override
    {
        terminate();
        if (!waitForFinished(kPatience))
            kill();
        waitForFinished();
    }
};

/// One person: a home of their own, a desk and what it starts.
class Person
{
public:
    Person(uid_t user, const QString& home)
        : m_user(user)
        , m_home(home)
        , m_desk(user)
    {
        for (const char* folder : {"", "/run", "/tmp", "/watched", "/copies", "/service"}) {
            const QString path = QString(home + QLatin1String(folder));
            QDir().mkpath(path);
            give(path, 0700);
        }
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.remove(QStringLiteral("KRX_CONNECT_PORT"));
        m_environment.insert(QStringLiteral("HOME"), home);
        m_environment.insert(QStringLiteral("TMPDIR"), QString(home + QLatin1String("/tmp")));
        m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QString(home + QLatin1String("/run")));
        for (const char* name : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
            m_environment.remove(QString::fromLatin1(name));
    }

    /// Without such a folder there is no place for a socket: the desk starts its service on the port.
    void haveNoRuntimeFolder() { m_environment.remove(QStringLiteral("XDG_RUNTIME_DIR")); }

    /// The program as it is installed, with a hand that presses its buttons.
    bool startInstalledDesk()
    {
        m_environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        m_environment.insert(QStringLiteral("QT_PLUGIN_PATH"), QStringLiteral(KRX_HAND_PLUGINS));
        m_environment.insert(QStringLiteral("QT_QPA_GENERIC_PLUGINS"), QStringLiteral("krxhand"));
        m_environment.insert(QStringLiteral("KRX_HAND_FOLDER"), in("/watched"));
        m_environment.insert(QStringLiteral("KRX_SERVICE_SETTLE"), QStringLiteral("0.1"));
        m_environment.insert(QStringLiteral("KRX_SERVICE_RESCAN"), QStringLiteral("0.5"));
        m_desk.setProcessEnvironment(m_environment);
        m_desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_desk.start(QStringLiteral(KRX_DESK),
                     {QStringLiteral("--project"), in("/Way.krxproject"), QStringLiteral("--language"),
                      QStringLiteral("en"), QStringLiteral("--service-data"), in("/service")});
        return m_desk.waitForStarted();
    }

    bool startDesk()
    {
        const QString here = QCoreApplication::applicationDirPath();
        m_desk.setProcessEnvironment(m_environment);
        m_desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_desk.start(QString(here + QStringLiteral("/way_desk")),
                     {QStringLiteral("--project"), in("/Way.krxproject"), QStringLiteral("--data"),
                      in("/service"), QStringLiteral("--service"),
                      QString(here + QStringLiteral("/krx-service")), QStringLiteral("--folder"),
                      in("/watched"), QStringLiteral("--copy-to"), in("/copies")});
        return m_desk.waitForStarted();
    }

    void drop(const QString& name) const
    {
        const QString elsewhere = in("/being written");
        QFile file(elsewhere);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(WayMedia::sound(4000, name.at(0).toLatin1()));
        file.close();
        give(elsewhere, 0600);
        QVERIFY(QFile::rename(elsewhere, in("/watched/") + name));
    }

    /// The names of the clips' sources in the project.
    QStringList clips() const
    {
        DeskProject project;
        QString error;
        QStringList names;
        if (!project.load(in("/Way.krxproject"), error))
            return names;
        for (const DeskBin& bin : project.bins()) {
            for (const DeskClip& clip : bin.clips)
                names << QFileInfo(clip.source).fileName();
        }
        names.sort();
        return names;
    }

    QString socket() const { return in("/run/krx-service/socket"); }
    bool isDeskRunning() const { return m_desk.state() == QProcess::Running; }

    /// Asks the service at a socket as this person does with a tool. \return the tool's exit code.
    int ask(const QString& socket) const
    {
        UsersProcess curl(m_user);
        curl.setProcessEnvironment(m_environment);
        curl.start(QStringLiteral("curl"),
                   {QStringLiteral("--silent"), QStringLiteral("--fail"), QStringLiteral("--unix-socket"),
                    socket,
                    QStringLiteral("http://127.0.0.1:58885/KRXService/xelmediafolders?level=detail")});
        return curl.waitForFinished(kPatience) ? curl.exitCode() : -1;
    }

    /// What the service's own program tells this person about all clips; empty when it tells nothing.
    QString toldClips() const
    {
        UsersProcess program(m_user);
        program.setProcessEnvironment(m_environment);
        program.start(QString(QCoreApplication::applicationDirPath() + QLatin1String("/krx-service")),
                      {QStringLiteral("clips"), QStringLiteral("--json")});
        const bool told = program.waitForFinished(kPatience) && program.exitCode() == 0;
        return told ? QString::fromUtf8(program.readAllStandardOutput()) : QString();
    }

    /// Asks at the port. \return the status of the answer.
    QByteArray askPort() const
    {
        UsersProcess curl(m_user);
        curl.setProcessEnvironment(m_environment);
        curl.start(QStringLiteral("curl"),
                   {QStringLiteral("--silent"), QStringLiteral("--output"), QStringLiteral("/dev/null"),
                    QStringLiteral("--write-out"), QStringLiteral("%{http_code}"),
                    QStringLiteral("http://127.0.0.1:58885/KRXService/xelmediafolders?level=detail")});
        curl.waitForFinished(kPatience);
        return curl.readAllStandardOutput();
    }

private:
    QString in(const char* path) const { return QString(m_home + QLatin1String(path)); }

    void give(const QString& path, mode_t mode) const
    {
        const QByteArray name = QFile::encodeName(path);
        const bool given =
            ::chown(name.constData(), m_user, m_user) == 0 && ::chmod(name.constData(), mode) == 0;
        QVERIFY(given);
    }

    uid_t m_user;
    QString m_home;
    QProcessEnvironment m_environment;
    UsersProcess m_desk;
};

} // namespace

/// Two people at one machine, each with a desk and the service that it starts.
class TestTwoUsers : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (::geteuid() != 0 || !takeOwnNetwork())
            QSKIP("needs two users and a network of its own, which only root can have");
    }

    void eachHasAServiceAndNeitherSeesTheOther()
    {
        const QTemporaryDir dir;
        // Both may pass through, as through /home.
        QCOMPARE(::chmod(qPrintable(dir.path()), 0755), 0);
        Person anna(OtherUsersListener::kUser, dir.filePath(QStringLiteral("anna")));
        Person ben(OtherUsersListener::kUser + 1, dir.filePath(QStringLiteral("ben")));
        if (!anna.startDesk() || !ben.startDesk())
            QSKIP("another user cannot run a program of this build");
        anna.drop(QStringLiteral("anna 1.wav"));
        ben.drop(QStringLiteral("ben 1.wav"));
        anna.drop(QStringLiteral("anna 2.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(anna.clips(),
                                  (QStringList{QStringLiteral("anna 1.wav"), QStringLiteral("anna 2.wav")}),
                                  kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(ben.clips(), QStringList{QStringLiteral("ben 1.wav")}, kPatience);
        QVERIFY(anna.isDeskRunning() && ben.isDeskRunning());

        // Each reaches their own service and nobody else's, and there is no port to knock at.
        QCOMPARE(anna.ask(anna.socket()), 0);
        QCOMPARE(ben.ask(ben.socket()), 0);
        QVERIFY(anna.ask(ben.socket()) != 0);
        QVERIFY(ben.ask(anna.socket()) != 0);
        QCOMPARE(StandInHost::ListenerOwner::atPort(kServicePort).kind, StandInHost::ListenerOwner::Nobody);
    }

    // One of them has the port; the other's desk finds another way without being told.
    void programsAsInstalledDoSoByThePortAndByTheSocket()
    {
        const QTemporaryDir dir;
        QCOMPARE(::chmod(qPrintable(dir.path()), 0755), 0);
        Person anna(OtherUsersListener::kUser, dir.filePath(QStringLiteral("anna")));
        Person ben(OtherUsersListener::kUser + 1, dir.filePath(QStringLiteral("ben")));
        anna.haveNoRuntimeFolder();
        if (!anna.startInstalledDesk() || !ben.startInstalledDesk())
            QSKIP("another user cannot run a program of this build");
        anna.drop(QStringLiteral("anna.wav"));
        ben.drop(QStringLiteral("ben.wav"));
        QTRY_COMPARE_WITH_TIMEOUT(anna.clips(), QStringList{QStringLiteral("anna.wav")}, kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(ben.clips(), QStringList{QStringLiteral("ben.wav")}, kPatience);
        QVERIFY(anna.isDeskRunning() && ben.isDeskRunning());

        QVERIFY2(anna.toldClips().contains(QStringLiteral("anna.wav")), qPrintable(anna.toldClips()));
        QVERIFY(!anna.toldClips().contains(QStringLiteral("ben.wav")));
        QVERIFY2(ben.toldClips().contains(QStringLiteral("ben.wav")), qPrintable(ben.toldClips()));
        QVERIFY(!ben.toldClips().contains(QStringLiteral("anna.wav")));

        QCOMPARE(anna.askPort(), QByteArray("200"));
        QCOMPARE(ben.askPort(), QByteArray("403"));
        QCOMPARE(ben.ask(ben.socket()), 0);
        QVERIFY(anna.ask(ben.socket()) != 0);
        QVERIFY(!QFile::exists(anna.socket()));
    }
};

QTEST_GUILESS_MAIN(TestTwoUsers)
#include "test_two_users.moc"
