#include "DeskApplication.h"
#include "ServiceSupervisor.h"
#include "TestHttpServer.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <unistd.h>

class TestServiceSupervisor : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    /// A program that writes its arguments to "arguments", then does what \a rest says.
    QString program(const char* rest) const
    {
        const QString path = m_dir->filePath(QStringLiteral("service"));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write("#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$(dirname \"$0\")/arguments\"\n");
        file.write(rest);
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    QStringList startedWith() const
    {
        QFile file(m_dir->filePath(QStringLiteral("arguments")));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    ServiceSupervisor::Settings settings(const char* rest) const
    {
        ServiceSupervisor::Settings made;
        made.program = program(rest);
        made.port = 4711;
        made.restartPause = 1;
        return made;
    }

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void oneIsStartedWhenNoneAnswers()
    {
        ServiceSupervisor::Settings with = settings("echo ready\nexec sleep 1000\n");
        with.data = QStringLiteral("/some data");
        with.arguments = QStringList{QStringLiteral("--settle"), QStringLiteral("0.3")};
        ServiceSupervisor supervisor(with);
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        QVERIFY(!supervisor.owns());
        supervisor.needService();
        supervisor.needService();
        QVERIFY(supervisor.owns());
        QTRY_COMPARE(lines.count(), 1);
        QCOMPARE(lines.at(0).at(0).toString(), QStringLiteral("ready"));
        QCOMPARE(startedWith(), (QStringList{QStringLiteral("--port"), QStringLiteral("4711"),
                                             QStringLiteral("--data"), QStringLiteral("/some data"),
                                             QStringLiteral("--settle"), QStringLiteral("0.3")}));
    }

    void whatWasStartedIsStopped()
    {
        qint64 pid = 0;
        {
            ServiceSupervisor supervisor(
                settings("trap 'exit 0' TERM\necho up\nwhile :; do sleep 0.05; done\n"));
            QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
            supervisor.needService();
            QTRY_COMPARE(lines.count(), 1);
            pid = supervisor.processId();
            QVERIFY(pid > 0);
        }
        QVERIFY(::kill(static_cast<pid_t>(pid), 0) != 0);
    }

    void oneThatDoesNotHeedTheRequestIsKilled()
    {
        ServiceSupervisor::Settings with = settings("trap '' TERM\necho up\nwhile :; do sleep 0.05; done\n");
        with.stopWait = 100;
        ServiceSupervisor supervisor(with);
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        supervisor.needService();
        QTRY_COMPARE(lines.count(), 1);
        const auto pid = static_cast<pid_t>(supervisor.processId());
        supervisor.stop();
        QCOMPARE(supervisor.state(), ServiceSupervisor::Stopping);
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::Idle);
        QVERIFY(::kill(pid, 0) != 0);
    }

    void oneThatDiesIsStartedAgain()
    {
        ServiceSupervisor supervisor(settings("echo up\nexec sleep 1000\n"));
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        supervisor.needService();
        QTRY_COMPARE(lines.count(), 1);
        const qint64 first = supervisor.processId();
        ::kill(static_cast<pid_t>(first), SIGKILL);
        QTRY_COMPARE(lines.count(), 2);
        QVERIFY(supervisor.owns());
        QVERIFY(supervisor.processId() != first);
    }

    void theReasonOfAnEndIsTold()
    {
        ServiceSupervisor supervisor(settings("echo 'port 4711 is taken'\nexit 1\n"));
        QSignalSpy messages(&supervisor, &ServiceSupervisor::message);
        // Ended between two runs, so that no process is cut off while it starts.
        connect(&supervisor, &ServiceSupervisor::stateChanged, this, [&](ServiceSupervisor::State state) {
            if (state == ServiceSupervisor::Waiting && messages.count() == 2)
                supervisor.stop();
        });
        supervisor.needService();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::Idle);
        QCOMPARE(messages.count(), 2);
        QCOMPARE(messages.at(0).at(0).toString(),
                 QStringLiteral("The service ended (code 1): port 4711 is taken"));
    }

    void aServiceThatHasThePortIsUsedAndNoneIsStartedBesideIt()
    {
        TestHttpServer other;
        ServiceSupervisor::Settings with = settings("echo 'the port is in use'\nexit 3\n");
        with.port = other.port();
        ServiceSupervisor supervisor(with);
        QSignalSpy messages(&supervisor, &ServiceSupervisor::message);
        supervisor.needService();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::InUse);
        QCOMPARE(messages.count(), 1);
        QCOMPARE(
            messages.at(0).at(0).toString(),
            QStringLiteral("Port %1 is in use: the service that has it is used, if it answers (the port is "
                           "in use)")
                .arg(other.port()));
        // The monitor says so again and again while nothing answers.
        for (int i = 0; i < 1000; ++i)
            supervisor.needService();
        QCOMPARE(supervisor.state(), ServiceSupervisor::InUse);
        QVERIFY(!supervisor.owns());
        QCOMPARE(startedWith().count(QStringLiteral("--port")), 1);
        supervisor.serviceAnswered();
        QCOMPARE(supervisor.state(), ServiceSupervisor::Idle);
        QCOMPARE(messages.count(), 2);
        QCOMPARE(messages.at(1).at(0).toString(), QStringLiteral("The service that runs already is used"));
    }

    void oursIsStartedOnceThePortIsFree()
    {
        auto other = std::make_unique<TestHttpServer>();
        ServiceSupervisor::Settings with =
            settings("[ -e \"$(dirname \"$0\")/free\" ] || exit 3\necho up\nexec sleep 1000\n");
        with.port = other->port();
        ServiceSupervisor supervisor(with);
        supervisor.needService();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::InUse);
        other.reset();
        QFile free(m_dir->filePath(QStringLiteral("free")));
        QVERIFY(free.open(QIODevice::WriteOnly));
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        QTRY_VERIFY((supervisor.needService(), supervisor.owns()));
        QTRY_COMPARE(lines.count(), 1);
    }

    void aDataFolderInUseIsToldOnceAndTriedAgainLater()
    {
        ServiceSupervisor::Settings with = settings("echo 'data in use'\nexit 3\n");
        with.port = RefusingPort().port();
        ServiceSupervisor supervisor(with);
        QSignalSpy messages(&supervisor, &ServiceSupervisor::message);
        const auto starts = [this] { return startedWith().count(QStringLiteral("--port")); };
        QTRY_VERIFY((supervisor.needService(), starts() >= 3));
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::InUse);
        QCOMPARE(messages.count(), 1);
    }

    void aServiceThatAnswersEndsTheRestarts()
    {
        ServiceSupervisor::Settings with = settings("exit 1\n");
        with.restartPause = 1000 * 1000;
        ServiceSupervisor supervisor(with);
        supervisor.needService();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::Waiting);
        supervisor.serviceAnswered();
        QCOMPARE(supervisor.state(), ServiceSupervisor::Idle);
    }

    void aHealthyRunMakesTheNextFailureTheFirst_data()
    {
        QTest::addColumn<int>("healthyRun");
        QTest::addColumn<int>("pause");
        QTest::newRow("each run was healthy") << 0 << 1;
        QTest::newRow("none was") << 1000 * 1000 << 4;
    }
    void aHealthyRunMakesTheNextFailureTheFirst()
    {
        QFETCH(int, healthyRun);
        ServiceSupervisor::Settings with = settings("exit 1\n");
        with.healthyRun = healthyRun;
        ServiceSupervisor supervisor(with);
        QVector<int> pauses;
        connect(&supervisor, &ServiceSupervisor::stateChanged, this, [&](ServiceSupervisor::State state) {
            if (state != ServiceSupervisor::Waiting)
                return;
            pauses << supervisor.currentPause();
            if (pauses.size() == 3)
                supervisor.stop();
        });
        supervisor.needService();
        QTRY_VERIFY(pauses.size() >= 3);
        QTEST(pauses.at(2), "pause");
    }

    void afterStopNoneIsStartedUntilAPersonWantsIt()
    {
        ServiceSupervisor supervisor(settings("echo up\nexec sleep 1000\n"));
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        supervisor.needService();
        QTRY_COMPARE(lines.count(), 1);
        supervisor.stop();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::Idle);
        supervisor.needService();
        QVERIFY(!supervisor.owns());
        supervisor.start();
        QVERIFY(supervisor.owns());
        QTRY_COMPARE(lines.count(), 2);
    }

    void oneThatIsWantedBackWhileItEndsIsStartedAfterItsEnd()
    {
        ServiceSupervisor supervisor(settings("echo up\nexec sleep 1000\n"));
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        supervisor.needService();
        QTRY_COMPARE(lines.count(), 1);
        const qint64 first = supervisor.processId();
        supervisor.stop();
        supervisor.start();
        QCOMPARE(supervisor.state(), ServiceSupervisor::Stopping);
        QTRY_COMPARE(lines.count(), 2);
        QVERIFY(supervisor.owns());
        QVERIFY(supervisor.processId() != first);
    }

    void aMissingProgramIsTold()
    {
        ServiceSupervisor::Settings with;
        with.program = m_dir->filePath(QStringLiteral("none"));
        ServiceSupervisor supervisor(with);
        QSignalSpy messages(&supervisor, &ServiceSupervisor::message);
        supervisor.needService();
        QCOMPARE(messages.count(), 1);
        QCOMPARE(messages.at(0).at(0).toString(), QStringLiteral("The program krx-service was not found"));
        QCOMPARE(supervisor.state(), ServiceSupervisor::Waiting);
    }

    void oneThatListensAtTheSocketLeavesThePortToOthers()
    {
        TestHttpServer other;
        ServiceSupervisor::Settings with =
            settings("[ -e \"$(dirname \"$0\")/free\" ] || exit 3\necho up\nexec sleep 1000\n");
        with.port = other.port();
        with.bySocket = true;
        ServiceSupervisor supervisor(with);
        QVERIFY(!supervisor.usesPort());
        QSignalSpy messages(&supervisor, &ServiceSupervisor::message);
        supervisor.needService();
        QTRY_COMPARE(supervisor.state(), ServiceSupervisor::InUse);
        QCOMPARE(startedWith(), QStringList{QStringLiteral("--no-port")});
        QVERIFY(messages.at(0).at(0).toString().startsWith(
            QLatin1String("Another service of ours runs already")));
        // Whoever has the port does not matter.
        QFile free(m_dir->filePath(QStringLiteral("free")));
        QVERIFY(free.open(QIODevice::WriteOnly));
        QSignalSpy lines(&supervisor, &ServiceSupervisor::line);
        QTRY_VERIFY((supervisor.needService(), supervisor.owns()));
        QTRY_COMPARE(lines.count(), 1);
    }

    void theDeskStartsItsServiceAtTheSocketUnlessAPortWasSet_data()
    {
        QTest::addColumn<QByteArray>("port");
        QTest::addColumn<QByteArray>("runtime");
        QTest::addColumn<QStringList>("arguments");
        const QStringList socket{QStringLiteral("--no-port")};
        const QStringList usual{QStringLiteral("--port"), QStringLiteral("58885")};
        QTest::newRow("socket") << QByteArray() << QByteArray("own") << socket;
        QTest::newRow("another user's place") << QByteArray() << QByteArray("another's") << usual;
        QTest::newRow("a place that is not there") << QByteArray() << QByteArray("/nowhere") << usual;
        QTest::newRow("no place for it") << QByteArray() << QByteArray() << usual;
        QTest::newRow("a port was set") << QByteArray("40123") << QByteArray("own")
                                        << QStringList{QStringLiteral("--port"), QStringLiteral("40123")};
    }
    void theDeskStartsItsServiceAtTheSocketUnlessAPortWasSet()
    {
        QFETCH(QByteArray, port);
        QFETCH(QByteArray, runtime);
        const QByteArray portBefore = qgetenv("KRX_CONNECT_PORT");
        const QByteArray runtimeBefore = qgetenv("XDG_RUNTIME_DIR");
        qputenv("KRX_CONNECT_PORT", port);
        if (port.isEmpty())
            qunsetenv("KRX_CONNECT_PORT");
        if (runtime == "another's") {
            if (::geteuid() != 0)
                QSKIP("only root can give a folder away");
            QCOMPARE(::chown(qPrintable(m_dir->path()), 54321, 54321), 0);
        }
        qputenv("XDG_RUNTIME_DIR",
                runtime.startsWith('/') || runtime.isEmpty() ? runtime : QFile::encodeName(m_dir->path()));
        const ServiceSupervisor supervisor(DeskApplication::serviceSettings(DeskOptions()));
        QTEST(supervisor.arguments(), "arguments");
        qputenv("XDG_RUNTIME_DIR", runtimeBefore);
        if (portBefore.isEmpty())
            qunsetenv("KRX_CONNECT_PORT");
        else
            qputenv("KRX_CONNECT_PORT", portBefore);
    }

    void thePortFollowsTheEnvironment()
    {
        const QByteArray before = qgetenv("KRX_CONNECT_PORT");
        qputenv("KRX_CONNECT_PORT", "40123");
        QCOMPARE(ServiceSupervisor::portFromEnvironment(), quint16(40123));
        qputenv("KRX_CONNECT_PORT", "nonsense");
        QCOMPARE(ServiceSupervisor::portFromEnvironment(), quint16(58885));
        qunsetenv("KRX_CONNECT_PORT");
        QCOMPARE(ServiceSupervisor::portFromEnvironment(), quint16(58885));
        if (!before.isEmpty())
            qputenv("KRX_CONNECT_PORT", before);
    }
};

QTEST_GUILESS_MAIN(TestServiceSupervisor)
#include "test_service_supervisor.moc"
