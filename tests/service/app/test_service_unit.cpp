#include "OtherUser.h"
#include "RawClient.h"
#include "ServiceProgram.h"
#include "TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>

namespace {

constexpr int kPatience = 60000; ///< milliseconds

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

int freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof four;
    auto* place = reinterpret_cast<sockaddr*>(&four);
    const bool isBound = ::bind(socket, place, size) == 0 && ::getsockname(socket, place, &size) == 0;
    ::close(socket);
    return isBound ? ntohs(four.sin_port) : 0;
}

bool giveToOther(const QString& path)
{
    return ::lchown(QFile::encodeName(path).constData(), OtherUser::kNumber, OtherUser::kNumber) == 0;
}

} // namespace

/// The units of packaging/systemd under systemd's real manager of a user's units.
class TestServiceUnit : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    QProcess m_manager;
    int m_port = 0;
    bool m_isReady = false;

    QString home() const { return m_folder.filePath(s("home")); }
    QByteArray untilLine(const QRegularExpression& line)
    {
        QByteArray said;
        QElapsedTimer timer;
        timer.start();
        while (!QString::fromUtf8(said).contains(line) && timer.elapsed() < kPatience &&
               m_manager.state() != QProcess::NotRunning) {
            m_manager.waitForReadyRead(100);
            said += m_manager.readAll();
        }
        return said;
    }
    /// What a command of the user says, and whether it went well.
    bool does(const QString& command, QByteArray* said = nullptr)
    {
        m_manager.write((command + QLatin1Char('\n')).toUtf8());
        const QByteArray answer = untilLine(QRegularExpression(s("\n=\\d+=\n")));
        const int end = answer.lastIndexOf("\n=");
        if (said)
            *said = answer.left(end);
        const bool isDone = answer.mid(end).startsWith("\n=0=");
        if (!isDone && !said)
            qWarning("%s: %s", qPrintable(command), answer.constData());
        return isDone;
    }
    QByteArray property(const char* name)
    {
        QByteArray value;
        does(s("systemctl --user show --value -p %1 krx-service.service").arg(s(name)), &value);
        return value.trimmed();
    }
    QByteArray asked(const QByteArray& path)
    {
        RawClient client = RawClient::toPort(m_port);
        client.send(RawClient::get(path));
        return client.answer();
    }
    QByteArray sent(const QByteArray& path, const QByteArray& document)
    {
        RawClient client = RawClient::toPort(m_port);
        client.send("POST /KRXService/" + path +
                    " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\nContent-Length: " +
                    QByteArray::number(document.size()) + "\r\n\r\n" + document);
        return client.answer();
    }
    bool putUnit(const QString& name)
    {
        QByteArray unit = TestFiles::content(s(KRX_UNITS "/") + name);
        unit.replace("/usr/bin/krx-service", ServiceProgram::path().toLocal8Bit() + " --settle 0.2");
        unit.replace("58885", QByteArray::number(m_port));
#ifdef __SANITIZE_ADDRESS__
        // The search for leaks at the end asks for what the unit forbids.
        unit.replace("[Service]\n", "[Service]\nEnvironment=ASAN_OPTIONS=detect_leaks=0\n");
#endif
        const QString place = home() + s("/.config/systemd/user/") + name;
        TestFiles::write(place, unit);
        return giveToOther(place);
    }
    bool makeHome(const QStringList& folders)
    {
        for (const QString& folder : folders) {
            if (!QDir().mkpath(home() + folder))
                return false;
            for (QString path = home() + folder; path.size() >= home().size();
                 path.truncate(path.lastIndexOf(QLatin1Char('/')))) {
                if (!giveToOther(path) || !QFile::setPermissions(path, QFile::Permissions(0x7755)))
                    return false;
            }
        }
        return true;
    }

private slots:
    void initTestCase()
    {
        if (!OtherUser::isPossible())
            QSKIP("only root can run another user's manager");
        if (!QFile::exists(s("/lib/systemd/systemd")))
            QSKIP("there is no systemd");
        m_port = freePort();
        QVERIFY(m_port > 0);
        QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755)));
        QVERIFY(makeHome({s("/.config/systemd/user"), s("/watch"), s("/made"), s("/.local/share")}));
        QVERIFY(putUnit(s("krx-service.service")) && putUnit(s("krx-service.socket")));
        if (OtherUser::does([] {
                return ::access(QFile::encodeName(ServiceProgram::path()).constData(), X_OK) == 0 ? 0 : 1;
            }) != 0)
            QSKIP("another user cannot reach this build");
        m_manager.setProcessChannelMode(QProcess::MergedChannels);
        m_manager.start(s("unshare"), {s("--mount"), s("sh"), s(KRX_TEST_DATA "/user-manager.sh"),
                                       QString::number(OtherUser::kNumber), home()});
        const QByteArray said = untilLine(QRegularExpression(s("ready\n")));
        m_isReady = said.contains("ready\n");
        if (!m_isReady)
            QSKIP(QByteArray("no manager can be run here: " + said).constData());
    }

    void init()
    {
        if (!m_isReady)
            QSKIP("there is no manager");
        QVERIFY(does(s("systemctl --user stop krx-service.socket krx-service.service && "
                       "systemctl --user start krx-service.socket")));
    }

    void cleanupTestCase()
    {
        m_manager.closeWriteChannel();
        if (m_manager.state() != QProcess::NotRunning)
            QVERIFY(m_manager.waitForFinished(kPatience));
    }

    void firstClientStartsItAndItSaysWhenItIsReady()
    {
        QCOMPARE(property("ActiveState"), QByteArray("inactive"));
        QCOMPARE(RawClient::status(asked("activity")), 200);
        QTRY_COMPARE_WITH_TIMEOUT(property("ActiveState"), QByteArray("active"), kPatience);
        QCOMPARE(property("Type"), QByteArray("notify"));
        QCOMPARE(property("StatusText"), "listening on http://127.0.0.1:" + QByteArray::number(m_port));
        // By the other socket as well, which is its user's alone.
        QVERIFY(does(s("curl -fsS --unix-socket $XDG_RUNTIME_DIR/krx-service/socket "
                       "http://localhost:58885/KRXService/activity")));
        QByteArray said;
        QVERIFY(
            does(s("stat -c %a $XDG_RUNTIME_DIR/krx-service $XDG_RUNTIME_DIR/krx-service/socket"), &said));
        QCOMPARE(said.simplified(), QByteArray("700 600"));
    }

    // Each wall that the kernel has stands there as well.
    void landlockIsNotForbidden()
    {
        constexpr int kAskVersion = 1;
        const long there = std::max(::syscall(SYS_landlock_create_ruleset, nullptr, 0, kAskVersion), 0L);
        QVERIFY(
            asked("version").contains("<landlock>" + QByteArray::number(qlonglong(there)) + "</landlock>"));
    }

    // What the unit forbids leaves all that a clip needs: the confined reader of media, and ffmpeg.
    void clipGoesItsWayUnderAllThatTheUnitForbids()
    {
        QVERIFY(does(s("systemctl --user start krx-service.service")));
        const QByteArray volume = QFile::encodeName(home() + s("/made"));
        const QByteArray encoding =
            "<activity id=\"transcode\" name=\"T\"><outputDetail><filesystemVideoVolume>" + volume +
            "</filesystemVideoVolume><filesystemAudioVolume>" + volume +
            "</filesystemAudioVolume><outputTranscodeVideoProfile><videoIncludeReformattedContent>true"
            "</videoIncludeReformattedContent><videoProjectType>PAL 25p</videoProjectType><videoColorSpace>"
            "YCbCr 601</videoColorSpace><videoRaster>720x576</videoRaster><videoCompressionType name=\"X\">"
            "33554433</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
        const QByteArray made = sent("profiles", ModuleDocument::createProfile(s("Encoding"), encoding));
        QCOMPARE(RawClient::status(made), 201);
        static const QRegularExpression guid(s("[0-9a-f]{8}(?:-[0-9a-f]{4}){3}-[0-9a-f]{12}"));
        const QString profile = guid.match(QString::fromUtf8(made)).captured();
        QCOMPARE(RawClient::status(sent("xelmediafolders",
                                        ModuleDocument::createFolder(home() + s("/watch"), profile, true))),
                 201);
        const QString clip = home() + s("/watch/movie.mov");
        QVERIFY(QFile::copy(TestMedia::file(s("movie.mov")), clip) && giveToOther(clip));
        QTRY_VERIFY2_WITH_TIMEOUT(asked("xelmediafolders?level=detail").contains("movie.mov.xel"),
                                  asked("errors").constData(), kPatience);
        QVERIFY(QFile::exists(home() + s("/made/KRX Media/watch/movie.mov")));
    }

    void reloadReadsTheConfigurationAgain()
    {
        QVERIFY(does(s("systemctl --user start krx-service.service")));
        const QByteArray process = property("MainPID");
        QVERIFY(does(s("systemctl --user reload krx-service.service")));
        const QString log = home() + s("/.local/state/krx-service/krx-service.log");
        QTRY_VERIFY_WITH_TIMEOUT(TestFiles::content(log).contains("read the configuration again"), kPatience);
        QCOMPARE(property("MainPID"), process);
        QCOMPARE(property("ActiveState"), QByteArray("active"));
    }

    void endsInGoodOrderAndIsStartedAgainByTheNextClient()
    {
        QVERIFY(does(s("systemctl --user start krx-service.service")));
        QVERIFY(does(s("systemctl --user stop krx-service.service")));
        QCOMPARE(property("Result"), QByteArray("success"));
        QCOMPARE(property("ExecMainStatus"), QByteArray("0"));
        QCOMPARE(RawClient::status(asked("activity")), 200);
        QTRY_COMPARE_WITH_TIMEOUT(property("ActiveState"), QByteArray("active"), kPatience);
    }

    void oneThatShowsNoSignOfLifeIsReplacedAndTheDoorStaysOpen()
    {
        QVERIFY(does(s("mkdir -p ~/.config/systemd/user/krx-service.service.d && printf '[Service]\\n"
                       "WatchdogSec=1\\n' >~/.config/systemd/user/krx-service.service.d/short.conf && "
                       "systemctl --user daemon-reload && systemctl --user restart krx-service.service")));
        const QByteArray process = property("MainPID");
        QCOMPARE(property("NRestarts"), QByteArray("0"));
        QVERIFY(does(s("kill -STOP ") + QString::fromUtf8(process)));
        // Its last moment may still take a client along, but the door is never closed.
        const auto answered = [this] {
            RawClient client = RawClient::toPort(m_port);
            if (!client.isOpen())
                QTest::qFail("nobody listens", __FILE__, __LINE__);
            return client.send(RawClient::get("activity")) && RawClient::status(client.answer()) == 200;
        };
        QTRY_VERIFY_WITH_TIMEOUT(answered(), kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(property("ActiveState"), QByteArray("active"), kPatience);
        QCOMPARE(property("NRestarts"), QByteArray("1"));
        QVERIFY(property("MainPID") != process);
        QVERIFY(does(s("rm -r ~/.config/systemd/user/krx-service.service.d && "
                       "systemctl --user daemon-reload && systemctl --user restart krx-service.service")));
    }

    void wrongConfigurationIsNotTriedAgain()
    {
        QVERIFY(does(
            s("systemctl --user stop krx-service.socket krx-service.service && "
              "mkdir -p ~/.config/krx-service && echo 'colour = 1' >~/.config/krx-service/config.toml")));
        QByteArray said;
        QVERIFY(!does(s("systemctl --user start krx-service.service"), &said));
        QCOMPARE(property("ActiveState"), QByteArray("failed"));
        QCOMPARE(property("ExecMainStatus"), QByteArray("2"));
        QCOMPARE(property("NRestarts"), QByteArray("0"));
        QVERIFY(does(s("rm ~/.config/krx-service/config.toml && systemctl --user reset-failed")));
    }
};

QTEST_GUILESS_MAIN(TestServiceUnit)
#include "test_service_unit.moc"
