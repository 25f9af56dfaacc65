#include "RawClient.h"
#include "ServiceStage.h"
#include "app/DataLock.h"
#include "app/EndGuard.h"

#include <QDir>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <array>
#include <csignal>
#include <cstring>
#include <thread>

namespace {

constexpr int kPatience = 20000; ///< milliseconds

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size() &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

/// What can be read from \a descriptor until \a wanted is in it or nothing comes any more.
QByteArray readUntil(int descriptor, const QByteArray& wanted)
{
    QByteArray all;
    std::array<char, 4096> buffer{};
    pollfd one{descriptor, POLLIN, 0};
    while (!all.contains(wanted) && ::poll(&one, 1, kPatience) > 0) {
        const ssize_t got = ::read(descriptor, buffer.data(), buffer.size());
        if (got <= 0)
            break;
        all.append(buffer.data(), static_cast<int>(got));
    }
    return all;
}

/// A Unix socket at \a place.
int listening(int kind, const QByteArray& place)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, place.constData(), static_cast<std::size_t>(place.size()));
    const int socket = ::socket(AF_UNIX, kind | SOCK_CLOEXEC, 0);
    const bool bound = ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                       (kind != SOCK_STREAM || ::listen(socket, 8) == 0);
    return bound ? socket : -1;
}

/// True while the thread waits in a sleep.
bool sleeps(pid_t process, pid_t thread)
{
    const QByteArray call = contentOf(QStringLiteral("/proc/%1/task/%2/syscall").arg(process).arg(thread));
    return call.startsWith(QByteArray::number(SYS_clock_nanosleep) + ' ');
}

} // namespace

/// How the real program comes to its end, and what it leaves to the next one.
class TestServiceEnd : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString path(const char* name) const { return m_folder.filePath(s(name)); }

private slots:
    void secondInstanceIsRefusedEvenWithoutTheLockFile()
    {
        const QString data = path("locked");
        ServiceProgram first;
        QVERIFY(first.start(data));
        for (const bool removed : {false, true}) {
            if (removed)
                QVERIFY(QFile::remove(data + s("/krx-service.lock")));
            ServiceProgram second;
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("in use by another instance")));
            QVERIFY(!second.start(data));
            QCOMPARE(second.waitForEnd(), 3);
        }
        QCOMPARE(first.get("activity").status, 200);
        QCOMPARE(first.terminate(), 0);
        ServiceProgram third;
        QVERIFY(third.start(data));
    }

    // A killed instance had just made a process that was to become another program, and that still has all
    // its files.
    void childThatLivesAMomentLongerHoldsNobodyUp()
    {
        const std::string data = path("moment").toStdString();
        int ready[2];
        int over[2];
        QCOMPARE(::pipe(ready), 0);
        QCOMPARE(::pipe(over), 0);
        const pid_t parent = ::getpid();
        const pid_t thread = static_cast<pid_t>(::syscall(SYS_gettid));
        const pid_t instance = ::fork();
        if (instance == 0) {
            static krxservice::DataLock lock;
            bool inUse = false;
            const bool got = lock.acquire(data, inUse).empty();
            if (got && ::fork() == 0) {
                ::close(over[1]);
                char byte = 0;
                pollfd end{over[0], POLLIN, 0};
                if (::write(ready[1], "x", 1) == 1) {
                    // Until the next instance waits for us, or has given up.
                    while (!sleeps(parent, thread) && ::poll(&end, 1, 1) == 0) {
                    }
                }
                ::_exit(::read(over[0], &byte, 0) == 0 ? 0 : 1);
            }
            ::pause();
        }
        char byte = 0;
        QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
        QCOMPARE(::kill(instance, SIGKILL), 0);
        int status = 0;
        QCOMPARE(::waitpid(instance, &status, 0), instance);
        krxservice::DataLock next;
        bool inUse = false;
        const std::string reason = next.acquire(data, inUse);
        ::close(over[1]);
        QVERIFY2(reason.empty(), reason.c_str());
        for (const int end : {ready[0], ready[1], over[0]})
            ::close(end);
    }

    void startAfterBeingKilledSucceedsEveryTime()
    {
        const QString data = path("killed");
        const QString watch = path("killed-watch");
        QVERIFY(QDir().mkpath(watch));
        for (int i = 0; i < 10; ++i)
            QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), watch + QStringLiteral("/%1.wav").arg(i)));
        int port = 0;
        for (int round = 0; round < 15; ++round) {
            ServiceProgram service;
            const QStringList more =
                port == 0 ? QStringList() : QStringList{s("--port"), QString::number(port)};
            QVERIFY2(service.start(data, more), qPrintable(QString::number(round)));
            port = service.port();
            const QString profile = service.profileId(s("Default Profile"));
            if (round == 0)
                QVERIFY(!service.addFolder(watch, profile).isEmpty());
            QVERIFY(write(watch + QStringLiteral("/new%1.wav").arg(round),
                          contentOf(TestMedia::file(s("sound.wav")))));
            service.post("devicestatus", ModuleDocument::deviceStatus(s("A"), 1, 1));
            service.kill();
        }
    }

    void closedTerminalEndsItInGoodOrder()
    {
        const QString data = path("terminal");
        const QByteArray program = ServiceProgram::path().toLocal8Bit();
        const QByteArray folder = data.toLocal8Bit();
        int terminal = -1;
        const pid_t service = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (service == 0) {
            ::execl(program.constData(), program.constData(), "--port", "0", "--data", folder.constData(),
                    nullptr);
            ::_exit(127);
        }
        QVERIFY(readUntil(terminal, "listening on http").contains("listening on http"));
        ::close(terminal);
        int status = 0;
        QCOMPARE(::waitpid(service, &status, 0), service);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), 0);
        const QByteArray log = contentOf(data + s("/krx-service.log"));
        QVERIFY2(log.contains("ending, since the terminal was closed"), log.constData());
    }

    // A request or a look at a file may hang in the kernel for good.
    void whatDoesNotComeToItsEndIsLeft()
    {
        constexpr int kCode = 7;
        const pid_t hanging = ::fork();
        if (hanging == 0) {
            const krxservice::EndGuard guard(kCode);
            for (;;)
                ::pause();
        }
        int status = 0;
        QCOMPARE(::waitpid(hanging, &status, 0), hanging);
        QVERIFY(WIFEXITED(status));
        QCOMPARE(WEXITSTATUS(status), kCode);
        // Whoever does come to the end is not touched.
        const pid_t orderly = ::fork();
        if (orderly == 0) {
            {
                const krxservice::EndGuard guard(kCode);
            }
            ::_exit(0);
        }
        QCOMPARE(::waitpid(orderly, &status, 0), orderly);
        QCOMPARE(WEXITSTATUS(status), 0);
    }

    void hangUpWithoutATerminalReadsTheConfigurationAgain()
    {
        const QString data = path("daemon");
        const QString config = path("config.toml");
        const QString log = data + s("/krx-service.log");
        QVERIFY(write(config, "log-level = \"error\"\nsettle = 0.5\n"));
        ServiceProgram service;
        service.setBeforeProgram([] { ::setsid(); });
        QVERIFY(service.start(data, {s("--config"), config}));
        QVERIFY(!contentOf(log).contains("data in"));
        QVERIFY(write(config, "log-level = \"info\"\nallow-user = [\"54321\"]\nport = 1\n"));
        QCOMPARE(::kill(static_cast<pid_t>(service.pid()), SIGHUP), 0);
        QTRY_VERIFY_WITH_TIMEOUT(contentOf(log).contains("read the configuration again"), kPatience);
        QVERIFY(write(config, "colour = 1\n"));
        QCOMPARE(::kill(static_cast<pid_t>(service.pid()), SIGHUP), 0);
        QTRY_VERIFY_WITH_TIMEOUT(contentOf(log).contains("the configuration was not read again"), kPatience);
        QVERIFY(contentOf(log).contains(config.toUtf8() + ":1: unknown key \"colour\""));
        QCOMPARE(service.get("activity").status, 200);
        QCOMPARE(service.terminate(), 0);
    }

    void logThatNobodyReadsStopsNothing()
    {
        constexpr int kFolders = 150;
        int ends[2];
        QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
        ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
        const QString data = path("unread");
        ServiceProgram service;
        service.setBeforeProgram([&ends] { ::dup2(ends[1], STDERR_FILENO); });
        QVERIFY(service.start(data));
        ::close(ends[1]);
        for (int i = 0; i < kFolders; ++i) {
            const QString watch = m_folder.filePath(QStringLiteral("unread-watch%1").arg(i));
            QVERIFY(QDir().mkpath(watch));
            const QString id = service.addFolder(watch, QString(), false);
            QVERIFY(!id.isEmpty());
            QCOMPARE(service.remove("xelmediafolders/" + id.toUtf8()).status, 200);
        }
        QTRY_VERIFY_WITH_TIMEOUT(service.get("version").text(s("droppedLogLines")).toInt() > 0, kPatience);
        // The file has what the stream did not take.
        QTRY_VERIFY_WITH_TIMEOUT(contentOf(data + s("/krx-service.log")).count('\n') >= kFolders, kPatience);
        // When somebody reads again, it is told what is missing.
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        QByteArray read;
        const auto told = [&] {
            service.addFolder(m_folder.filePath(s("unread-watch0")), QString(), false);
            const QString id =
                service.get("xelmediafolders").text(s("xelMediaFolderURI")).section(QLatin1Char('/'), -1);
            service.remove("xelmediafolders/" + id.toUtf8());
            std::array<char, 8192> buffer{};
            const ssize_t got = ::read(ends[0], buffer.data(), buffer.size());
            read.append(buffer.data(), static_cast<int>(std::max<ssize_t>(got, 0)));
            return read.contains("lines of the log were dropped");
        };
        QTRY_VERIFY_WITH_TIMEOUT(told(), kPatience);
        for (const QByteArray& line : read.left(read.lastIndexOf('\n')).split('\n'))
            QVERIFY2(line.size() > 31 && line[10] == 'T' && line[23] == 'Z', line.constData());
        QCOMPARE(service.terminate(), 0);
        ::close(ends[0]);
    }

    // In a namespace of its own, where the journal's socket is the test's.
    /// What was done to a clip, what became of it and why, all by one id.
    void everyLineAboutAClipIsFoundByItsId()
    {
        ServiceStage stage;
        const QString to = stage.folder.filePath(s("to"));
        QVERIFY(QDir().mkpath(to));
        QVERIFY(stage.begin(ModuleDocument::copyActivity(to, true)));
        QVERIFY(!stage.drop(s("good.wav")).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stage.outputs().size(), 1, kStagePatience);
        QFile output(stage.outputs().constFirst());
        QVERIFY(output.open(QIODevice::ReadOnly));
        const QString id =
            QString::fromUtf8(output.readAll()).section(s("<id>"), 1).section(s("</id>"), 0, 0);
        QVERIFY(!id.isEmpty());
        QFile text(stage.watch + s("/text.wav"));
        QVERIFY(text.open(QIODevice::WriteOnly));
        text.write("this is no sound");
        text.close();
        QTRY_COMPARE_WITH_TIMEOUT(stage.service->errors().size(), 1, kStagePatience);
        QCOMPARE(stage.service->terminate(), 0);

        QFile file(stage.data + s("/krx-service.log"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString log = QString::fromUtf8(file.readAll());
        const auto linesOf = [&](const char* name) { return log.split(QLatin1Char('\n')).filter(s(name)); };
        const QString end = s(" [clip ") + id + QLatin1Char(']');
        QCOMPARE(linesOf("good.wav").size(), 2); // copied, offered
        for (const QString& line : linesOf("good.wav"))
            QVERIFY2(line.endsWith(end), qPrintable(line));
        QCOMPARE(linesOf("text.wav").size(), 1);
        QVERIFY2(
            linesOf("text.wav").constFirst().contains(QRegularExpression(s(" \\[clip [0-9a-f-]{36}\\]$"))),
            qPrintable(linesOf("text.wav").constFirst()));
        QVERIFY(!linesOf("text.wav").constFirst().contains(id));
    }

    void journalTakesTheLinesWithTheirFields()
    {
        if (::geteuid() != 0)
            QSKIP("only root can put something in the journal's place");
        const QByteArray place = path("journal").toLocal8Bit();
        QVERIFY(QDir().mkpath(path("journal")));
        const int journal = listening(SOCK_DGRAM, place + "/socket");
        QVERIFY(journal >= 0);
        const QByteArray streamPath = path("stream").toLocal8Bit();
        const int stream = ::open(streamPath.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        struct stat facts
        {
        };
        QCOMPARE(::fstat(stream, &facts), 0);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("JOURNAL_STREAM"), QStringLiteral("%1:%2").arg(facts.st_dev).arg(facts.st_ino));
        const QString data = path("journaled");
        ServiceProgram service;
        service.setEnvironment(environment);
        service.setBeforeProgram([&] {
            const bool placed =
                ::unshare(CLONE_NEWNS) == 0 &&
                ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                ::mount("none", "/run", "tmpfs", 0, nullptr) == 0 && ::mkdir("/run/systemd", 0755) == 0 &&
                ::mkdir("/run/systemd/journal", 0755) == 0 &&
                ::mount(place.constData(), "/run/systemd/journal", nullptr, MS_BIND, nullptr) == 0;
            if (placed)
                ::dup2(stream, STDERR_FILENO);
        });
        QVERIFY(service.start(data));
        if (QFile::exists(data + s("/krx-service.log")))
            QSKIP("namespaces are not allowed here");
        // What a file is called stays in its line and is no format.
        const QString watch = path("journal %s%n");
        QVERIFY(QDir().mkpath(watch));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), watch + s("/a%n\nPRIORITY=0.wav")));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), watch + s("/b\xC2\x9B"
                                                                       "2J.wav")));
        const QString id = service.addFolder(watch, service.profileId(s("Default Profile")));
        QTRY_VERIFY_WITH_TIMEOUT(!service.outputs(id).isEmpty(), kPatience);
        const QByteArray said = readUntil(journal, "MESSAGE=offered ");
        QVERIFY2(said.contains("KRX_CLIP=") && said.contains("MESSAGE=offered ") && said.contains("%s%n"),
                 said.constData());
        QVERIFY2(said.contains("b 2J.wav") && !said.contains("\xC2\x9B"), said.constData());
        QCOMPARE(service.terminate(), 0);
        const QByteArray all = said + readUntil(journal, "MESSAGE=ending");
        for (const QByteArray& line : all.split('\n')) {
            const QByteArray name = line.left(line.indexOf('='));
            QVERIFY2(line.isEmpty() || name == "MESSAGE" || name == "SYSLOG_IDENTIFIER" ||
                         name == "KRX_CLIP" || line == "PRIORITY=6" || line == "PRIORITY=4" ||
                         line == "PRIORITY=3",
                     line.constData());
        }
        QCOMPARE(contentOf(QString::fromLocal8Bit(streamPath)), QByteArray());
        ::close(stream);
        ::close(journal);
    }

    void managerIsToldHowItGoes()
    {
        const QByteArray place = m_folder.filePath(s("notify")).toLocal8Bit();
        const int manager = listening(SOCK_DGRAM, place);
        QVERIFY(manager >= 0);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("NOTIFY_SOCKET"), QString::fromLocal8Bit(place));
        environment.insert(s("WATCHDOG_USEC"), s("300000"));
        ServiceProgram service;
        service.setEnvironment(environment);
        QVERIFY(service.start(path("managed")));
        const QByteArray ready = readUntil(manager, "READY=1");
        QVERIFY2(ready.contains("READY=1") && ready.contains("STATUS=listening on http"), ready.constData());
        QVERIFY(readUntil(manager, "WATCHDOG=1").contains("WATCHDOG=1"));
        QCOMPARE(service.terminate(), 0);
        QVERIFY(readUntil(manager, "STOPPING=1").contains("STOPPING=1"));
        ::close(manager);
    }

    void socketsOfAManagerAreTakenOver()
    {
        const int port = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof four;
        auto* fourPlace = reinterpret_cast<sockaddr*>(&four);
        QVERIFY(::bind(port, fourPlace, size) == 0 && ::listen(port, 8) == 0 &&
                ::getsockname(port, fourPlace, &size) == 0);
        const QByteArray place = m_folder.filePath(s("given")).toLocal8Bit();
        const int local = listening(SOCK_STREAM, place);
        QVERIFY(local >= 0);
        // Clients that come before the program does are served, too.
        RawClient early = RawClient::toSocket(QString::fromLocal8Bit(place));
        QVERIFY(early.send(RawClient::get("activity")));
        ServiceProgram service;
        service.setPrefix({s("sh"), s("-c"), s("LISTEN_PID=$$ LISTEN_FDS=2 exec \"$@\""), s("sh")});
        service.setBeforeProgram([&] {
            const int first = ::fcntl(port, F_DUPFD, 100);
            const int second = ::fcntl(local, F_DUPFD, 100);
            ::dup2(first, 3);
            ::dup2(second, 4);
            ::close(first);
            ::close(second);
        });
        QVERIFY(service.start(path("given-data")));
        ::close(port);
        ::close(local);
        QCOMPARE(service.port(), int(ntohs(four.sin_port)));
        QCOMPARE(service.get("activity").status, 200);
        QCOMPARE(RawClient::status(early.answer()), 200);
        QCOMPARE(service.terminate(), 0);
        QVERIFY(QFile::exists(QString::fromLocal8Bit(place))); // it is the manager's
    }

    void unitsAreInOrder()
    {
        if (QStandardPaths::findExecutable(s("systemd-analyze")).isEmpty())
            QSKIP("there is no systemd-analyze here");
        QVERIFY(QDir().mkpath(path("units/runtime")));
        const QDir units(QStringLiteral(KRX_UNITS));
        QByteArray service = contentOf(units.filePath(s("krx-service.service")));
        QVERIFY(service.contains("ExecStart=/usr/bin/krx-service\n"));
        service.replace("/usr/bin/krx-service", ServiceProgram::path().toLocal8Bit());
        QVERIFY(write(path("units/krx-service.service"), service));
        QVERIFY(write(path("units/krx-service.socket"), contentOf(units.filePath(s("krx-service.socket")))));
        QProcess analyze;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("XDG_RUNTIME_DIR"), path("units/runtime"));
        analyze.setProcessEnvironment(environment);
        analyze.setProcessChannelMode(QProcess::MergedChannels);
        analyze.start(s("systemd-analyze"), {s("--user"), s("verify"), path("units/krx-service.service"),
                                             path("units/krx-service.socket")});
        QVERIFY(analyze.waitForFinished(kPatience));
        const QByteArray said = analyze.readAll();
        QVERIFY2(analyze.exitCode() == 0 && said.isEmpty(), said.constData());
    }
};

QTEST_GUILESS_MAIN(TestServiceEnd)
#include "test_service_end.moc"
