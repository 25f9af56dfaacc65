#include "ListenerOwner.h"
#include "OtherUsersListener.h"
#include "PreparedProcess.h"
#include "RestAnswer.h"
#include "ServiceSocket.h"
#include "TestHttpServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <thread>

using RestTest::Answer;
using StandInHost::ListenerOwner;
using Reply = TestHttpServer::Reply;

namespace {

constexpr quint16 kServicePort = 58885;
/// The program's argument for "ask for this URL and print what came".
constexpr char kAsk[] = "ask";

bool isRoot()
{
    return ::geteuid() == 0;
}

QString url(const char* path)
{
    return RestTest::serviceUrl(QString::fromLatin1(path));
}

/// A service at a Unix socket: answers every connection once and keeps what it was asked.
class SocketService
{
public:
    explicit SocketService(const QString& path)
        : m_listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        qstrncpy(address.sun_path, path.toUtf8().constData(), sizeof address.sun_path);
        if (::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_listener, 8) != 0)
            qFatal("nobody can listen at %s", address.sun_path);
        m_thread = std::thread([this] { run(); });
    }
    ~SocketService() { stop(); }
    SocketService(const SocketService&) = delete;
    SocketService& operator=(const SocketService&) = delete;

    /// Ends as a program does that is killed: its socket stays and nobody answers there.
    void stop()
    {
        if (!m_thread.joinable())
            return;
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }
    /// What was asked; only after stop().
    QByteArrayList heads() const { return m_heads; }

private:
    void run()
    {
        for (;;) {
            const int connection = ::accept(m_listener, nullptr, nullptr);
            if (connection < 0)
                return;
            QByteArray head;
            char byte = 0;
            while (!head.endsWith("\r\n\r\n") && ::recv(connection, &byte, 1, 0) == 1)
                head += byte;
            m_heads << head;
            const QByteArray answer =
                "HTTP/1.1 200 OK\r\nContent-Length: 9\r\nConnection: close\r\n\r\n<socket/>";
            ::send(connection, answer.constData(), static_cast<std::size_t>(answer.size()), MSG_NOSIGNAL);
            ::close(connection);
        }
    }

    int m_listener;
    QByteArrayList m_heads;
    std::thread m_thread;
};

/// A program that is run by the other user.
class OtherUsersProcess : public PreparedProcess
{
public:
    OtherUsersProcess()
        : PreparedProcess([] {
            constexpr uid_t user = OtherUsersListener::kUser;
            if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0)
                ::_exit(1);
        })
    {
    }
};

} // namespace

/// Only a service of the own user is spoken to, by its socket where it has one.
class TestWhoseService : public QObject
{
    Q_OBJECT

    bool m_ownNetwork = false;
    std::unique_ptr<QTemporaryDir> m_runtime;

    QString directory() const { return m_runtime->filePath(QStringLiteral("krx-service")); }
    QString socketPath() const { return m_runtime->filePath(QStringLiteral("krx-service/socket")); }
    void makeDirectory(mode_t mode = 0700) const
    {
        QVERIFY(QDir().mkpath(directory()));
        QCOMPARE(::chmod(qPrintable(directory()), mode), 0);
    }

private slots:
    void initTestCase() { m_ownNetwork = isRoot() && takeOwnNetwork(); }
    void init()
    {
        m_runtime = std::make_unique<QTemporaryDir>();
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime->path()));
        qunsetenv("KRX_CONNECT_PORT");
        qunsetenv("KRX_CONNECT_USER");
    }

    // --- The socket --------------------------------------------------------------------------------------

    void theSocketIsUsedWhereThereIsOneAndTheUrlStays()
    {
        makeDirectory();
        SocketService service(socketPath());
        const Answer answer = RestTest::get(url("/KRXService/activity?x=1"));
        QVERIFY2(answer.success, qPrintable(answer.message));
        QCOMPARE(answer.body, QByteArray("<socket/>"));
        const Answer posted = RestTest::exchange("POST", url("/KRXService/jobs"), "<a/>");
        QVERIFY2(posted.success, qPrintable(posted.message));
        service.stop();
        QCOMPARE(service.heads().size(), 2);
        QVERIFY(service.heads().at(0).startsWith("GET /KRXService/activity?x=1 HTTP/1.1\r\n"));
        QVERIFY2(service.heads().at(0).contains(":58885\r\n"), service.heads().at(0).constData());
        QVERIFY(service.heads().at(1).startsWith("POST /KRXService/jobs HTTP/1.1\r\n"));
    }

    void aPortThatWasSetIsUsedAndNotTheSocket()
    {
        makeDirectory();
        SocketService service(socketPath());
        TestHttpServer server;
        const ScopedConnectPort connect(server.port());
        server.setReply("GET", "/x", 200, "<port/>");
        QCOMPARE(RestTest::get(url("/x")).body, QByteArray("<port/>"));
        service.stop();
        QVERIFY(service.heads().isEmpty());
    }

    void anotherPortThanTheServicesHasNoSocket()
    {
        makeDirectory();
        SocketService service(socketPath());
        TestHttpServer server;
        server.setReply("GET", "/x", 200, "<port/>");
        QCOMPARE(RestTest::get(QStringLiteral("http://127.0.0.1:%1/x").arg(server.port())).body,
                 QByteArray("<port/>"));
        service.stop();
        QVERIFY(service.heads().isEmpty());
    }

    void whereTheSocketWasLeftByAServiceThatIsGoneThePortIsAsked()
    {
        if (!m_ownNetwork)
            QSKIP("needs a network of its own, which only root may make");
        makeDirectory();
        SocketService(socketPath()).stop();
        QVERIFY(QFile::exists(socketPath()));
        TestHttpServer server(kServicePort);
        server.setReply("POST", "/x", 200, "<port/>");
        QCOMPARE(RestTest::exchange("POST", url("/x"), "<a/>").body, QByteArray("<port/>"));
        QCOMPARE(server.requestCount("POST", "/x"), 1);
    }

    void aSocketThatOthersMayHaveMadeIsNotUsed_data()
    {
        QTest::addColumn<QString>("fault");
        for (const char* fault :
             {"none", "open directory", "searchable directory", "linked directory", "linked socket", "a file",
              "other owner of the directory", "other owner of the socket", "no runtime directory",
              "relative runtime directory", "too long"})
            QTest::newRow(fault) << QString::fromLatin1(fault);
    }
    void aSocketThatOthersMayHaveMadeIsNotUsed()
    {
        QFETCH(QString, fault);
        if (fault.startsWith(QLatin1String("other owner")) && !isRoot())
            QSKIP("only root can give a file away");
        const auto is = [&fault](const char* name) { return fault == QLatin1String(name); };
        makeDirectory(is("open directory") ? 0777 : is("searchable directory") ? 0711 : 0700);
        if (is("linked directory")) {
            QVERIFY(QFile::rename(directory(), m_runtime->filePath(QStringLiteral("elsewhere"))));
            QVERIFY(QFile::link(m_runtime->filePath(QStringLiteral("elsewhere")), directory()));
        }
        const QString made =
            is("linked socket") ? m_runtime->filePath(QStringLiteral("krx-service/real")) : socketPath();
        std::unique_ptr<SocketService> service;
        if (is("a file"))
            QVERIFY(QFile(made).open(QIODevice::WriteOnly));
        else
            service = std::make_unique<SocketService>(made);
        if (is("linked socket"))
            QVERIFY(QFile::link(made, socketPath()));
        const char* given = is("other owner of the directory") ? "krx-service" : "krx-service/socket";
        if (fault.startsWith(QLatin1String("other owner"))) {
            const QByteArray path = QFile::encodeName(m_runtime->filePath(QString::fromLatin1(given)));
            QCOMPARE(::chown(path.constData(), OtherUsersListener::kUser, OtherUsersListener::kUser), 0);
        }
        if (is("no runtime directory"))
            qunsetenv("XDG_RUNTIME_DIR");
        if (is("relative runtime directory"))
            qputenv("XDG_RUNTIME_DIR", "run");
        if (is("too long"))
            qputenv("XDG_RUNTIME_DIR", QByteArray("/") + QByteArray(100, 'x'));
        const QString expected = is("none") ? socketPath() : QString();
        QCOMPARE(QString::fromStdString(StandInHost::ownServiceSocket()), expected);
    }

    // --- The port ----------------------------------------------------------------------------------------

    void theKernelSaysWhoListens()
    {
        TestHttpServer server;
        const ListenerOwner own = ListenerOwner::atPort(server.port());
        QCOMPARE(own.kind, ListenerOwner::Known);
        QCOMPARE(own.user, ::geteuid());
        const RefusingPort bound;
        QCOMPARE(ListenerOwner::atPort(bound.port()).kind, ListenerOwner::Nobody);
        QVERIFY(!ListenerOwner::atPort(bound.port()).mayBeAskedBy(::geteuid(), {}));
        // Nothing that is connected to the port is taken for its listener.
        server.setReply("GET", "/x", 200, "<a/>");
        const ScopedConnectPort connect(server.port());
        QVERIFY(RestTest::get(url("/x")).success);
        QCOMPARE(ListenerOwner::atPort(server.port()).user, ::geteuid());
    }

    void whoMayBeAsked_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<uint>("user");
        QTest::addColumn<uint>("own");
        QTest::addColumn<QString>("meant");
        QTest::addColumn<bool>("may");
        const QString nobody;
        QTest::newRow("own") << int(ListenerOwner::Known) << 1000u << 1000u << nobody << true;
        QTest::newRow("another's") << int(ListenerOwner::Known) << 1001u << 1000u << nobody << false;
        QTest::newRow("root's") << int(ListenerOwner::Known) << 0u << 1000u << nobody << false;
        QTest::newRow("root's, meant")
            << int(ListenerOwner::Known) << 0u << 1000u << QStringLiteral("root") << true;
        QTest::newRow("root's, meant by number")
            << int(ListenerOwner::Known) << 0u << 1000u << QStringLiteral("0") << true;
        QTest::newRow("root's, another meant")
            << int(ListenerOwner::Known) << 0u << 1000u << QStringLiteral("1001") << false;
        QTest::newRow("a user's, asked by root")
            << int(ListenerOwner::Known) << 1000u << 0u << nobody << false;
        QTest::newRow("not found out")
            << int(ListenerOwner::NotFoundOut) << 1000u << 1000u << nobody << false;
        QTest::newRow("not found out, root meant")
            << int(ListenerOwner::NotFoundOut) << 0u << 1000u << QStringLiteral("root") << false;
        QTest::newRow("nobody") << int(ListenerOwner::Nobody) << 0u << 0u << nobody << false;
    }
    void whoMayBeAsked()
    {
        QFETCH(int, kind);
        QFETCH(uint, user);
        QFETCH(uint, own);
        QFETCH(QString, meant);
        const ListenerOwner owner{static_cast<ListenerOwner::Kind>(kind), user};
        QTEST(owner.mayBeAskedBy(own, meant.toStdString()), "may");
    }

    void aServiceOfAnotherUserIsNotSpokenTo()
    {
        if (!isRoot())
            QSKIP("needs two users, which only root can be");
        OtherUsersListener other;
        QVERIFY(other.port() != 0);
        QCOMPARE(ListenerOwner::atPort(other.port()).user, OtherUsersListener::kUser);
        const ScopedConnectPort connect(other.port());
        for (const char* method : {"GET", "POST", "PUT", "DELETE"}) {
            const Answer answer = RestTest::exchange(method, url("/KRXService/jobs"), "<secret/>");
            QVERIFY(!answer.success);
            QCOMPARE(answer.status, -1);
            QCOMPARE(answer.message,
                     QStringLiteral(
                         "The port of the service is held by the user 54321, whose service is not asked"));
            QCOMPARE(other.bytesOfNextConnection(), 0);
        }
    }

    void aServiceOfAnotherUserWhoIsMeantIsAsked()
    {
        if (!isRoot())
            QSKIP("needs two users, which only root can be");
        OtherUsersListener other;
        const ScopedConnectPort connect(other.port());
        qputenv("KRX_CONNECT_USER", "54321");
        RestTest::get(url("/x"));
        QVERIFY(other.bytesOfNextConnection() > 0);
    }

    void notEvenRootsServiceIsSpokenToUnlessItIsMeant()
    {
        if (!isRoot())
            QSKIP("needs two users, which only root can be");
        TestHttpServer server;
        server.setReply("GET", "/x", 200, "<roots/>");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KRX_CONNECT_PORT"), QString::number(server.port()));
        for (const bool meant : {false, true}) {
            if (meant)
                environment.insert(QStringLiteral("KRX_CONNECT_USER"), QStringLiteral("root"));
            OtherUsersProcess asker;
            asker.setProcessEnvironment(environment);
            asker.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kAsk), url("/x")});
            if (!asker.waitForStarted())
                QSKIP("another user cannot run a program of this build");
            QVERIFY(asker.waitForFinished());
            QCOMPARE(
                QString::fromUtf8(asker.readAllStandardOutput()),
                meant ? QStringLiteral("<roots/>")
                      : QStringLiteral("The port of the service is held by the user root, whose service is "
                                       "not asked"));
        }
        QCOMPARE(server.requestCount(), 1);
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && std::strcmp(argv[1], kAsk) == 0) {
        const Answer answer = RestTest::get(QString::fromLocal8Bit(argv[2]));
        std::fputs(answer.success ? answer.body.constData() : qPrintable(answer.message), stdout);
        return 0;
    }
    TestWhoseService test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_whose_service.moc"
