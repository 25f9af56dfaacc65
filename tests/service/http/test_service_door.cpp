#include "OtherUser.h"
#include "RawClient.h"
#include "ServiceProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr int kRefused = 10000; ///< connections of somebody else
constexpr int kCrowd = 1000;    ///< of them, at one time
constexpr int kSilent = 400;    ///< connections that say nothing
constexpr int kGood = 400;      ///< requests of the own user beside them
constexpr mode_t kOthers = 077;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// What a stranger on the port gets.
QByteArray firstWordsTo(uid_t user, int port, const QByteArray& request)
{
    int ends[2];
    if (::pipe(ends) != 0)
        return QByteArray();
    OtherUser::does(
        [&] {
            RawClient client = RawClient::toPort(port);
            client.send(request);
            const QByteArray answer = client.toTheEnd();
            return ::write(ends[1], answer.constData(), static_cast<std::size_t>(answer.size())) < 0 ? 1 : 0;
        },
        user);
    ::close(ends[1]);
    QByteArray answer(65536, '\0');
    const ssize_t got = ::read(ends[0], answer.data(), static_cast<std::size_t>(answer.size()));
    ::close(ends[0]);
    return answer.left(static_cast<int>(std::max<ssize_t>(got, 0)));
}

/// Every entry below \a folder that others can reach.
QStringList openToOthers(const QString& folder)
{
    QStringList found;
    for (const QFileInfo& entry :
         QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot | QDir::System)) {
        struct stat facts
        {
        };
        if (::lstat(QFile::encodeName(entry.filePath()).constData(), &facts) == 0 &&
            (facts.st_mode & kOthers) != 0)
            found << entry.filePath();
        if (entry.isDir() && !entry.isSymLink())
            found << openToOthers(entry.filePath());
    }
    return found;
}

quint64 count(const ServiceProgram& service, const char* what)
{
    return service.get("version").text(s(what)).toULongLong();
}

/// A run that ends by itself: exit code and what it says.
QPair<int, QByteArray> run(const QStringList& arguments, const QStringList& prefix = {})
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    const QStringList command = prefix + QStringList{ServiceProgram::path()} + arguments;
    process.start(command.first(), command.mid(1));
    process.waitForFinished(20000);
    return qMakePair(process.state() == QProcess::NotRunning ? process.exitCode() : -1, process.readAll());
}

} // namespace

/// Whom the real program serves, by which ways, and what it keeps to itself.
class TestServiceDoor : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString path(const char* name) const { return m_folder.filePath(s(name)); }

private slots:
    void initTestCase()
    {
        QVERIFY(RawClient::allowMany());
        QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755)));
    }

    void strangersAreRefusedWithOneLineAndNamed()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        ServiceProgram service;
        QVERIFY(service.start(path("strangers")));
        const QByteArray answer =
            firstWordsTo(OtherUser::kNumber, service.port(), RawClient::get("xelmediafolders"));
        QCOMPARE(RawClient::status(answer), 403);
        QVERIFY(answer.contains("text/plain"));
        QCOMPARE(answer.mid(answer.indexOf("\r\n\r\n") + 4).count('\n'), 1);
        QCOMPARE(answer.count("HTTP/1.1"), 1);
        // Nobody is asked for anything before he is refused.
        QCOMPARE(RawClient::status(firstWordsTo(OtherUser::kNumber, service.port(), QByteArray())), 403);
        QCOMPARE(count(service, "strangers"), quint64(2));
        QCOMPARE(service.get("activity").status, 200);
        QCOMPARE(service.terminate(), 0);
        QVERIFY(service.log().contains("user 54321"));
    }

    void rootIsServedByEverybodysService()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const QString data = path("theirs");
        QVERIFY(QDir().mkpath(data));
        QCOMPARE(::chown(QFile::encodeName(data).constData(), OtherUser::kNumber, OtherUser::kNumber), 0);
        ServiceProgram service;
        const QString number = QString::number(OtherUser::kNumber);
        service.setPrefix({s("setpriv"), s("--reuid"), number, s("--regid"), number, s("--clear-groups")});
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("HOME"), data);
        service.setEnvironment(environment);
        if (!service.start(data))
            QSKIP("another user cannot reach this build");
        QCOMPARE(service.get("activity").status, 200);
        QCOMPARE(RawClient::status(
                     firstWordsTo(OtherUser::kNumber, service.port(),
                                  RawClient::get("activity").replace("Host", "Connection: close\r\nHost"))),
                 200);
        QCOMPARE(RawClient::status(
                     firstWordsTo(OtherUser::kNumber + 1, service.port(), RawClient::get("activity"))),
                 403);
        QCOMPARE(service.terminate(), 0);
    }

    void usersAreAllowedOnPurpose()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const QString socket = path("allowed.d/socket");
        ServiceProgram service;
        QVERIFY(QDir().mkpath(path("allowed.d")));
        QVERIFY(service.start(path("allowed"), {s("--allow-user"), QString::number(OtherUser::kNumber),
                                                s("--socket"), socket}));
        const QByteArray request = RawClient::get("activity").replace("Host", "Connection: close\r\nHost");
        QCOMPARE(RawClient::status(firstWordsTo(OtherUser::kNumber, service.port(), request)), 200);
        QCOMPARE(RawClient::status(firstWordsTo(OtherUser::kNumber + 1, service.port(), request)), 403);
        // By the socket nobody else comes, not even when its file is made open to all.
        QCOMPARE(::chmod(QFile::encodeName(socket).constData(), 0777), 0);
        QCOMPARE(::chmod(QFile::encodeName(path("allowed.d")).constData(), 0777), 0);
        const int status = OtherUser::does([&socket] {
            RawClient client = RawClient::toSocket(socket);
            if (!client.isOpen())
                return 1;
            client.send(RawClient::get("activity"));
            return RawClient::status(client.answer()) == 403 ? 3 : 2;
        });
        QCOMPARE(status, 3);
        QCOMPARE(run({s("--allow-user"), s("no such user"), s("--data"), path("unknown")}).first, 2);
        QCOMPARE(service.terminate(), 0);
    }

    // Not even by a connection that was there before.
    void whoeverIsAllowedNoMoreIsServedNoMore()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const auto allow = [this](const QByteArray& users) {
            QFile file(path("allow.toml"));
            return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                   file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) &&
                   file.write("allow-user = [" + users + "]\n") > 0;
        };
        QVERIFY(allow("54321, 54322"));
        ServiceProgram service;
        service.setBeforeProgram([] { ::setsid(); }); // as a daemon
        QVERIFY(service.start(path("revoked"), {s("--config"), path("allow.toml")}));
        // A socket belongs to whoever made it, whoever speaks.
        const auto madeBy = [&service](uid_t user) {
            const bool isSomebody = ::seteuid(user) == 0;
            RawClient client = RawClient::toPort(service.port());
            return ::seteuid(0) == 0 && isSomebody ? std::move(client) : RawClient();
        };
        const auto isServed = [](RawClient& client) {
            return client.send(RawClient::get("activity")) && RawClient::status(client.answer()) == 200;
        };
        RawClient own = madeBy(0);
        RawClient former = madeBy(OtherUser::kNumber);
        RawClient still = madeBy(OtherUser::kNumber + 1);
        for (RawClient* client : {&own, &former, &still})
            QVERIFY(isServed(*client));

        QVERIFY(allow("54322"));
        QCOMPARE(::kill(static_cast<pid_t>(service.pid()), SIGHUP), 0);
        QByteArray log;
        QTRY_VERIFY_WITH_TIMEOUT((log += service.log()).contains("read the configuration again"), 20000);
        QVERIFY(!isServed(former));
        former = madeBy(OtherUser::kNumber);
        QVERIFY(!isServed(former));
        QVERIFY(isServed(own));
        QVERIFY(isServed(still));
        QCOMPARE(service.terminate(), 0);
    }

    // All of them are there at once, and half of them have spoken.
    void everybodyInACrowdIsTold()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        ServiceProgram service;
        QVERIFY(service.start(path("told")));
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        const int ended = OtherUser::does([&] {
            const QByteArray request = RawClient::get("xelmediafolders");
            std::vector<RawClient> crowd;
            for (int i = 0; i < kCrowd; ++i) {
                crowd.push_back(i % 3 == 0 ? RawClient::toPortBySix(service.port()) : RawClient());
                if (!crowd.back().isOpen()) // not their turn, or a machine without ::1
                    crowd.back() = RawClient::toPort(service.port());
                if (!crowd.back().isOpen() || (i % 2 == 0 && !crowd.back().send(request)))
                    return 1;
            }
            int told = 0;
            for (RawClient& one : crowd)
                told += one.toTheEnd().endsWith("this service serves the user who runs it only\n") ? 1 : 0;
            return ::write(ends[1], &told, sizeof told) == sizeof told ? 0 : 2;
        });
        ::close(ends[1]);
        int told = 0;
        const bool isSaid = ::read(ends[0], &told, sizeof told) == sizeof told;
        ::close(ends[0]);
        QCOMPARE(ended, 0);
        QVERIFY(isSaid);
        QCOMPARE(told, kCrowd);
        QCOMPARE(count(service, "strangers"), quint64(kCrowd));
        QCOMPARE(service.terminate(), 0);
    }

    // Completeness instead of a time: all of the good client's requests are answered, all refusals are
    // counted, and nobody silent was thrown out for it.
    void crowdsOfStrangersHoldUpNobody()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const QString socket = path("crowd.d/socket");
        ServiceProgram service;
        QVERIFY(service.start(path("crowd"), {s("--socket"), socket}));
        std::vector<RawClient> silent;
        for (int i = 0; i < kSilent; ++i) {
            silent.push_back(RawClient::toPort(service.port()));
            QVERIFY(silent.back().isOpen());
        }
        const pid_t crowd = ::fork();
        if (crowd == 0) {
            if (::setresuid(OtherUser::kNumber, OtherUser::kNumber, OtherUser::kNumber) != 0)
                ::_exit(1);
            const QByteArray request = RawClient::get("xelmediafolders");
            for (int i = 0; i < kRefused; ++i) {
                RawClient client = RawClient::toPort(service.port());
                if (!client.isOpen())
                    ::_exit(2);
                if (i % 2 == 0)
                    client.send(request);
            }
            ::_exit(0);
        }
        std::vector<double> times;
        std::vector<double> bySocket; // where nobody else can stand before one
        const auto served = [](RawClient client, std::vector<double>& all, const QElapsedTimer& timer) {
            const bool isSent = client.isOpen() && client.send(RawClient::get("activity"));
            const int answer = isSent ? RawClient::status(client.answer()) : -errno;
            all.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
            return answer;
        };
        int status = 0;
        bool crowdIsThere = true;
        int beside = 0;
        while (crowdIsThere || times.size() < kGood) {
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(served(RawClient::toPort(service.port()), times, timer), 200);
            timer.restart();
            QCOMPARE(served(RawClient::toSocket(socket), bySocket, timer), 200);
            beside += crowdIsThere ? 1 : 0;
            crowdIsThere = crowdIsThere && ::waitpid(crowd, &status, WNOHANG) == 0;
        }
        QCOMPARE(status, 0);
        QVERIFY(beside > 0);
        for (auto* all : {&times, &bySocket}) {
            all->resize(static_cast<std::size_t>(beside)); // those after the crowd would make it look better
            std::sort(all->begin(), all->end());
            qInfo(
                "%d requests by the %s while %d connections of somebody else were refused: p50 %.2f ms, p99 "
                "%.2f ms, longest %.2f ms",
                beside, all == &times ? "port" : "socket", kRefused, (*all)[all->size() / 2],
                (*all)[all->size() * 99 / 100], all->back());
        }
        QCOMPARE(count(service, "strangers") + count(service, "unknown"), quint64(kRefused));
        QCOMPARE(
            std::count_if(silent.begin(), silent.end(), [](const RawClient& one) { return one.isQuiet(); }),
            kSilent);
        QCOMPARE(service.terminate(), 0);
        QVERIFY(service.log().count("refused") < 20);
    }

    void socketIsASecondWayIn()
    {
        const QString socket = path("krx-service/socket");
        ServiceProgram service;
        QVERIFY(service.start(path("second"), {s("--socket"), socket}));
        struct stat facts
        {
        };
        QCOMPARE(::stat(QFile::encodeName(path("krx-service")).constData(), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0700);
        QCOMPARE(::stat(QFile::encodeName(socket).constData(), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0600);
        RawClient client = RawClient::toSocket(socket);
        for (int turn = 0; turn < 2; ++turn) {
            QVERIFY(client.send(RawClient::get("profiles")));
            const QByteArray answer = client.answer();
            QCOMPARE(RawClient::status(answer), 200);
            QVERIFY(answer.contains("http://localhost:58885/KRXService/profiles/"));
        }
        // The guard stands here as well.
        QVERIFY(client.send("GET /KRXService/profiles HTTP/1.1\r\nHost: evil.example\r\n\r\n"));
        QCOMPARE(RawClient::status(client.answer()), 403);
        QCOMPARE(service.get("activity").status, 200);
        QCOMPARE(service.terminate(), 0);
        QVERIFY(!QFile::exists(socket));
    }

    void usualSocketIsThereWithoutAPort()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("XDG_RUNTIME_DIR"), path("runtime"));
        QVERIFY(QDir().mkpath(path("runtime")));
        const QString socket = path("runtime/krx-service/socket");
        ServiceProgram service;
        service.setEnvironment(environment);
        QVERIFY(service.start(path("portless"), {s("--no-port")}));
        QCOMPARE(service.port(), 0);
        RawClient client = RawClient::toSocket(socket);
        QVERIFY(client.send(RawClient::get("activity")));
        QCOMPARE(RawClient::status(client.answer()), 200);

        // A second one of the same user, on other data, finds it in use and leaves it alone.
        ServiceProgram second;
        second.setEnvironment(environment);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("the service did not start")));
        QVERIFY(!second.start(path("portless2"), {s("--no-port")}));
        QCOMPARE(second.waitForEnd(), 3);
        QVERIFY(client.send(RawClient::get("activity")));
        QCOMPARE(RawClient::status(client.answer()), 200);

        // What a killed one leaves behind is replaced.
        service.kill();
        QVERIFY(QFile::exists(socket));
        ServiceProgram third;
        third.setEnvironment(environment);
        QVERIFY(third.start(path("portless2"), {s("--no-port")}));
        QVERIFY(RawClient::toSocket(socket).isOpen());
        QCOMPARE(third.terminate(), 0);

        environment.remove(s("XDG_RUNTIME_DIR"));
        ServiceProgram nowhere;
        nowhere.setEnvironment(environment);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("XDG_RUNTIME_DIR")));
        QVERIFY(!nowhere.start(path("portless3"), {s("--no-port")}));
        QCOMPARE(nowhere.waitForEnd(), 1);
    }

    // In a network of its own the usual port is free, whoever else has it here.
    void withoutARuntimeFolderThereIsThePortAlone()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can have a network of its own");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(s("XDG_RUNTIME_DIR"));
        ServiceProgram service;
        service.setEnvironment(environment);
        service.setBeforeProgram([] {
            const int socket = ::unshare(CLONE_NEWNET) == 0 ? ::socket(AF_INET, SOCK_DGRAM, 0) : -1;
            ifreq loopback{};
            std::strcpy(loopback.ifr_name, "lo");
            loopback.ifr_flags = IFF_UP;
            if (socket < 0 || ::ioctl(socket, SIOCSIFFLAGS, &loopback) != 0)
                ::_exit(1);
            ::close(socket);
        });
        QVERIFY(service.start(path("alone"), {s("--port"), s("58885")}));
        QCOMPARE(service.port(), 58885);
        QCOMPARE(service.terminate(), 0);
        const QByteArray log = service.log();
        QCOMPARE(log.count("XDG_RUNTIME_DIR"), 1);
        QVERIFY2(log.contains("XDG_RUNTIME_DIR is not set; going on with the port only"), log.constData());
    }

    void placesThatAreNotOursAreNoPlaceForTheSocket()
    {
        const auto refused = [this](const QString& socket) {
            const auto ended = run({s("--no-port"), s("--socket"), socket, s("--data"), path("placeless")});
            return ended.first == 1 &&
                   ended.second.contains(QFile::encodeName(QFileInfo(socket).fileName()).isEmpty() ? ""
                                                                                                   : "/");
        };
        // A link in the directory's place, a file in the socket's place, a directory that others can write
        // to, a path that no address holds, a directory that is somebody else's.
        QVERIFY(QDir().mkpath(path("elsewhere")));
        QVERIFY(QFile::link(path("elsewhere"), path("linked")));
        QVERIFY(refused(path("linked/socket")));
        QVERIFY(QDir(path("elsewhere")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
        QFile file(path("elsewhere/socket"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(refused(file.fileName()));
        QVERIFY(file.exists());
        QCOMPARE(::chmod(QFile::encodeName(path("elsewhere")).constData(), 0777), 0);
        QVERIFY(refused(path("elsewhere/other")));
        QVERIFY(refused(path("elsewhere/") + QString(120, QLatin1Char('x'))));
        QVERIFY(refused(path("missing/missing/socket")));
        if (OtherUser::isPossible()) {
            QVERIFY(QDir().mkpath(path("foreign")));
            QCOMPARE(::chown(QFile::encodeName(path("foreign")).constData(), OtherUser::kNumber, 0), 0);
            QVERIFY(refused(path("foreign/socket")));
        }
    }

    void versionTellsWhatRuns()
    {
        ServiceProgram service;
        QVERIFY(service.start(path("version")));
        const Reply reply = service.get("version");
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.text(s("program")), s("krx-service"));
        QVERIFY(!reply.text(s("version")).isEmpty());
        QCOMPARE(reply.text(s("protocol")), s("1"));
        QVERIFY(reply.text(s("connections")).toInt() >= 64);
        QVERIFY(!reply.text(s("landlock")).isEmpty());
        QCOMPARE(count(service, "requests"), quint64(0));
        QCOMPARE(service.raw("GET /KRXService/activity HTTP/1.1\r\nHost: evil\r\n\r\n").status, 403);
        QCOMPARE(count(service, "requests"), quint64(1));
        QCOMPARE(service.send("DELETE", "version").status, 405);
    }

    void ownFilesAreNobodyElsesWhateverTheUmask()
    {
        const QString data = path("modes");
        ServiceProgram service;
        service.setPrefix({s("sh"), s("-c"), s("umask 000; exec \"$@\""), s("sh")});
        QVERIFY(service.start(data));
        const QString watch = path("modes-watch");
        QVERIFY(QDir().mkpath(watch));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), watch + s("/a.wav")));
        const QString id = service.addFolder(watch, service.profileId(s("Default Profile")));
        QTRY_COMPARE_WITH_TIMEOUT(service.outputs(id).size(), 1, 20000);
        QCOMPARE(openToOthers(data), QStringList());
        struct stat facts
        {
        };
        QCOMPARE(::stat(QFile::encodeName(data).constData(), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0700);
        QCOMPARE(service.terminate(), 0);

        // Opened by somebody's backup or archive: closed again, and said.
        QCOMPARE(::chmod(QFile::encodeName(data).constData(), 0755), 0);
        QCOMPARE(::chmod(QFile::encodeName(data + s("/krx-service.db")).constData(), 0644), 0);
        QCOMPARE(::chmod(QFile::encodeName(data + s("/output")).constData(), 0777), 0);
        service.log();
        QVERIFY(service.start(data));
        QCOMPARE(openToOthers(data), QStringList());
        QCOMPARE(service.terminate(), 0);
        QVERIFY(service.log().contains("closed to other users"));
    }

    void foreignDataIsRefusedWithOneLine_data()
    {
        QTest::addColumn<QString>("victim"); // below the data folder
        QTest::newRow("the folder") << QString();
        QTest::newRow("the database") << s("krx-service.db");
        QTest::newRow("a directory") << s("output");
        QTest::newRow("a document") << s("output/jobs/x.xel");
        QTest::newRow("a link") << s("link");
    }
    void foreignDataIsRefusedWithOneLine()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        QFETCH(QString, victim);
        const QString data = m_folder.filePath(
            QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-')));
        QVERIFY(QDir().mkpath(data + s("/output/jobs")));
        for (const char* name : {"/krx-service.db", "/output/jobs/x.xel"}) {
            QFile file(data + s(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        QVERIFY(QFile::link(s("/nowhere"), data + s("/link")));
        QCOMPARE(
            ::lchown(QFile::encodeName(data + QLatin1Char('/') + victim).constData(), OtherUser::kNumber, 0),
            0);
        const auto ended = run({s("--port"), s("0"), s("--data"), data});
        QCOMPARE(ended.first, 1);
        QVERIFY2(ended.second.contains("user 54321") && ended.second.contains("--data"),
                 ended.second.constData());
        QCOMPARE(ended.second.trimmed().count('\n'), 0);
    }

    // What is behind it is the own user's, and would be closed to all others and written into.
    void dataBehindSomebodysLinkAreRefused_data()
    {
        QTest::addColumn<QString>("data");
        QTest::newRow("the link") << s("theirs.d/link");
        QTest::newRow("with a slash") << s("theirs.d/link/");
        QTest::newRow("with a dot") << s("theirs.d/link/.");
        QTest::newRow("below it") << s("theirs.d/link/below");
        QTest::newRow("to be made below it") << s("theirs.d/link/new");
        QTest::newRow("by an own link") << s("own-link");
        QTest::newRow("by an own link below") << s("own-link/below");
    }
    void dataBehindSomebodysLinkAreRefused()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        QFETCH(QString, data);
        const QString mine = path("mine.d");
        QVERIFY(QDir().mkpath(mine + s("/below")) && QDir().mkpath(path("theirs.d")));
        QCOMPARE(::chmod(QFile::encodeName(mine).constData(), 0755), 0);
        const QString link = path("theirs.d/link");
        if (!QFileInfo::exists(link))
            QVERIFY(QFile::link(mine, link) && QFile::link(s("theirs.d/link"), path("own-link")));
        QCOMPARE(::lchown(QFile::encodeName(link).constData(), OtherUser::kNumber, OtherUser::kNumber), 0);
        const auto ended = run({s("--port"), s("0"), s("--data"), m_folder.filePath(data)});
        QCOMPARE(ended.first, 1);
        QVERIFY2(ended.second.contains("belongs to user 54321") && ended.second.contains("--data"),
                 ended.second.constData());
        QCOMPARE(ended.second.trimmed().count('\n'), 0);
        QVERIFY(QFileInfo(mine).permission(QFile::ReadOther));
        QCOMPARE(QDir(mine).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{s("below")});
    }
};

QTEST_GUILESS_MAIN(TestServiceDoor)
#include "test_service_door.moc"
