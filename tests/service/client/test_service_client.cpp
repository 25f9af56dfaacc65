#include "OtherUsersListener.h"
#include "ServiceCommand.h"
#include "ServiceStage.h"
#include "TestHttpServer.h"
#include "client/Output.h"

#include <QJsonObject>
#include <QTest>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QStringList atPort(int port)
{
    return {s("--no-socket"), s("--port"), QString::number(port)};
}

} // namespace

/// Commands that ask the running service.
class TestServiceClient : public QObject
{
    Q_OBJECT

    ServiceStage m_stage;

    CommandResult ask(const QStringList& command) const
    {
        return runCommand(command + atPort(m_stage.service->port()));
    }

private slots:
    void initTestCase() { QVERIFY(m_stage.begin()); }
    void cleanupTestCase() { QCOMPARE(m_stage.service->terminate(), 0); }

    void statusSaysWhatRuns()
    {
        QVERIFY(m_stage.marked(s("ready.wav")));
        const CommandResult result = ask({s("status")});
        QCOMPARE(result.err, QString());
        QCOMPARE(result.code, 0);
        QVERIFY2(result.out.startsWith(s("krx-service ")), qPrintable(result.out));
        const QJsonObject object = ask({s("status"), s("--json")}).json().object();
        QCOMPARE(object.value(s("running")).toBool(), true);
        QCOMPARE(object.value(s("process")).toString(), QString::number(m_stage.service->pid()));
        QCOMPARE(object.value(s("data")).toString(), m_stage.data);
        QCOMPARE(object.value(s("listensOn")).toString(),
                 s("http://127.0.0.1:") + QString::number(m_stage.service->port()));
        QVERIFY(object.value(s("folders")).toString().startsWith(s("1 watched, 1 enabled, 1 with")));
        QTRY_COMPARE_WITH_TIMEOUT(
            ask({s("status"), s("--json")}).json().object().value(s("clips")).toString(),
            s("0 not finished, 0 waiting, 0 worked on, 1 ready, 0 failed"), kStagePatience);
        for (const char* key : {"version", "user", "since", "doing", "jobs", "errors", "refused", "limits"})
            QVERIFY2(!object.value(s(key)).toString().isEmpty(), key);
    }

    void statusNamesErrors()
    {
        QVERIFY(!m_stage.drop(s("no\nmedia.mov")).isEmpty());
        QFile file(m_stage.watch + s("/text.mov"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("this is no movie at all");
        file.close();
        QTRY_VERIFY_WITH_TIMEOUT(ask({s("status")}).out.contains(s("/text.mov is not offered")),
                                 kStagePatience);
        m_stage.service->get("errors?clear=true");
    }

    void statusOfNothingEndsWithFour()
    {
        // A port that was free a moment ago.
        int port = 0;
        {
            const TestHttpServer server;
            port = server.port();
        }
        const CommandResult result = runCommand(QStringList{s("status")} + atPort(port));
        QCOMPARE(result.code, 4);
        QCOMPARE(result.out, QString());
        QVERIFY2(result.err.contains(s("not running")) && result.err.contains(QString::number(port)),
                 qPrintable(result.err));
        const CommandResult json = runCommand(QStringList{s("status"), s("--json")} + atPort(port));
        QCOMPARE(json.code, 4);
        QCOMPARE(json.json().object().value(s("running")).toBool(true), false);
    }

    void whatIsNoServiceIsNoRunningService_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("another program") << 200 << QByteArray("<html/>");
        QTest::newRow("no XML") << 200 << QByteArray("hello");
        QTest::newRow("nothing") << 200 << QByteArray();
        QTest::newRow("refused") << 404 << QByteArray("not here");
    }
    void whatIsNoServiceIsNoRunningService()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        TestHttpServer server;
        server.setReply("GET", "/KRXService/version", status, body);
        const CommandResult result = runCommand(QStringList{s("status")} + atPort(server.port()));
        QCOMPARE(result.code, 1);
        QVERIFY(!result.err.isEmpty());
    }

    void theSocketComesFirst()
    {
        QTemporaryDir folder;
        ServiceProgram other;
        const QString socket = folder.filePath(s("socket"));
        QVERIFY(other.start(folder.filePath(s("data")), {s("--socket"), socket}));
        const QStringList both{s("--socket"), socket, s("--port"), QString::number(m_stage.service->port())};
        const auto data = [&] {
            return runCommand(QStringList{s("status"), s("--json")} + both)
                .json()
                .object()
                .value(s("data"))
                .toString();
        };
        QCOMPARE(data(), folder.filePath(s("data")));
        QCOMPARE(other.terminate(), 0);
        QCOMPARE(data(), m_stage.data);
    }

    void aServiceThatAcceptsNobodyIsNotWaitedFor()
    {
        QTemporaryDir folder;
        const QByteArray path = folder.filePath(s("socket")).toLocal8Bit();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        QVERIFY(path.size() < int(sizeof address.sun_path));
        std::memcpy(address.sun_path, path.constData(), std::size_t(path.size()));
        const auto* place = reinterpret_cast<const sockaddr*>(&address);
        const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QCOMPARE(::bind(listener, place, sizeof address), 0);
        QCOMPARE(::listen(listener, 0), 0);
        QVector<int> waiting;
        int error = 0;
        while (error == 0) {
            waiting << ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            error = ::connect(waiting.last(), place, sizeof address) == 0 ? 0 : errno;
        }
        QCOMPARE(error, EAGAIN);
        const CommandResult result =
            runCommand({s("status"), s("--no-port"), s("--socket"), QString::fromLocal8Bit(path)});
        QCOMPARE(result.code, 1);
        QVERIFY2(result.err.contains(s("accepts nobody")), qPrintable(result.err));
        for (const int socket : waiting + QVector<int>{listener})
            ::close(socket);
    }

    void somebodyElsesListenerIsToldNothing()
    {
        if (::geteuid() != 0)
            QSKIP("only root can listen as somebody else");
        OtherUsersListener stranger;
        QVERIFY(stranger.port() != 0);
        const CommandResult result = runCommand(QStringList{s("status")} + atPort(stranger.port()));
        QCOMPARE(result.code, 4);
        QVERIFY2(result.err.contains(QString::number(OtherUsersListener::kUser)), qPrintable(result.err));
        // The next who comes is who is meant: nobody came before.
        const CommandResult meant = runCommand(
            QStringList{s("status")} + atPort(stranger.port()), [](QProcessEnvironment& environment) {
                environment.insert(s("KRX_CONNECT_USER"), QString::number(OtherUsersListener::kUser));
            });
        QVERIFY(meant.code != 0);
        QVERIFY(stranger.bytesOfNextConnection() > 0);
    }

    void commandsThatMakeNoSenseAreRefused_data()
    {
        QTest::addColumn<QString>("line");
        for (const char* line : {"stat", "status more", "status --redact", "--json", "status --jsn"})
            QTest::newRow(line) << s(line);
    }
    void commandsThatMakeNoSenseAreRefused()
    {
        QFETCH(QString, line);
        const CommandResult result = runCommand(line.split(QLatin1Char(' ')));
        QCOMPARE(result.code, 2);
        QCOMPARE(result.err.count(QLatin1Char('\n')), 1);
    }

    void textsStayInTheirRowAndLeaveTheTerminalAlone()
    {
        using krxservice::output::table;
        QCOMPARE(table({{"a", "b"}, {"long", "c"}}), std::string("a     b\nlong  c\n"));
        QCOMPARE(table({{"\xC3\xA4", "b"}, {"xy", "c"}}), std::string("\xC3\xA4   b\nxy  c\n"));
        const std::string hostile = table({{"x\ny\x1B[2Jz\r", "%s%n"}});
        QCOMPARE(std::count(hostile.begin(), hostile.end(), '\n'), 1);
        QCOMPARE(hostile.find('\x1B'), std::string::npos);
        QVERIFY(hostile.find("%s%n") != std::string::npos);
        // Terminals take these for commands, for a new line, or turn what follows round.
        for (const char* unseen :
             {"\xC2\x80", "\xC2\x85", "\xC2\x9B", "\xC2\x9F", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAA",
              "\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x81\xA9"})
            QCOMPARE(table({{"a" + std::string(unseen) + "b"}}), std::string("a b\n"));
        for (const char* seen :
             {"\xC2\xA0", "\xC3\x85", "\xE2\x80\x93", "\xE2\x80\xAF", "\xE2\x81\xA4", "\xE2\x82\xAC"})
            QCOMPARE(table({{seen, "b"}}), seen + std::string("  b\n"));
    }

    void durationsAreSaidAsPeopleDo()
    {
        using krxservice::output::duration;
        QCOMPARE(duration(0), std::string("0 s"));
        QCOMPARE(duration(61), std::string("1 min 1 s"));
        QCOMPARE(duration(3 * 3600 + 120), std::string("3 h 2 min"));
        QCOMPARE(duration(90000), std::string("1 d 1 h"));
    }
};

QTEST_GUILESS_MAIN(TestServiceClient)
#include "test_service_client.moc"
