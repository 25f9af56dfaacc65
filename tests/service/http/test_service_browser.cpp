#include "PreparedProcess.h"
#include "ServiceStage.h"
#include "TestFiles.h"
#include "TestHttpServer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

#include <csignal>
#include <memory>

namespace {

constexpr quint32 kElsewhere = 0x7F000002; ///< 127.0.0.2, where the page comes from
constexpr int kPatience = 90000;           ///< milliseconds; a browser's first start on a busy machine
constexpr int kFewestAttempts = 56;        ///< of one name for the service

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// What the service knows, as its own client sees it.
QByteArray stateOf(const ServiceProgram& service)
{
    QByteArray state;
    for (const char* resource :
         {"xelmediafolders?level=detail", "profiles?level=detail", "jobs/detail", "errors"})
        state += service.get(resource).body + '\n';
    return state;
}

/// A browser with a page, in a session of its own without memory.
class Browser
{
public:
    /// \a etc stands in the place of /etc for it alone; empty for none, which only root can change.
    bool open(const QString& url, const QString& etc)
    {
        QStringList command{
            s("chromium"), s("--headless"),
            s("--no-sandbox"), // root cannot have one
            s("--disable-gpu"), s("--disable-dev-shm-usage"), s("--disable-background-networking"),
            s("--disable-component-update"), s("--disable-sync"), s("--no-first-run"), s("--no-proxy-server"),
            s("--user-data-dir=") + m_profile.path(),
            // The walls in question are the service's, not the browser's.
            s("--disable-features=LocalNetworkAccessChecks,BlockInsecurePrivateNetworkRequests"),
            s("--host-resolver-rules=MAP mapped.example 127.0.0.1") +
                (etc.isEmpty() ? s(", MAP hostile.example 127.0.0.2") : QString()),
            url};
        if (!etc.isEmpty())
            command = QStringList{s("unshare"),
                                  s("--mount"),
                                  s("sh"),
                                  s("-c"),
                                  s("mount --bind \"$0\" /etc && exec \"$@\""),
                                  etc} +
                      command;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(s("HOME"), m_profile.path());
        environment.remove(s("LD_PRELOAD"));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(command.first(), command.mid(1));
        return m_process.waitForStarted(kPatience);
    }
    ~Browser()
    {
        // All of its processes at once: one that is left makes its files anew while they are removed.
        ::kill(static_cast<pid_t>(-m_process.processId()), SIGKILL);
        m_process.waitForFinished(kStagePatience);
        QElapsedTimer timer;
        timer.start();
        while (!m_profile.remove() && timer.elapsed() < kStagePatience)
            QTest::qWait(10);
    }
    QByteArray said() { return m_process.readAll(); }

private:
    QTemporaryDir m_profile;
    PreparedProcess m_process{[] { ::setsid(); }};
};

/// What the browser reads of /etc, with names of our own.
bool makeEtc(const QString& folder)
{
    if (!QDir().mkpath(folder))
        return false;
    for (const char* name : {"alternatives", "chromium", "chromium.d", "fonts", "group", "nsswitch.conf",
                             "passwd", "ssl", "ld.so.cache"})
        QProcess::execute(s("cp"), {s("-a"), s("/etc/") + s(name), folder});
    TestFiles::write(folder + s("/resolv.conf"), "nameserver 127.0.0.1\n");
    return true;
}

void nameLeadsTo(const QString& etc, const QByteArray& address)
{
    TestFiles::write(etc + s("/hosts"), "127.0.0.1 localhost\n" + address + " hostile.example\n");
}

QByteArray pageFor(const QJsonObject& known)
{
    QByteArray page = TestFiles::content(s(KRX_TEST_DATA "/hostile-page.html"));
    return page.replace("@KNOWN@",
                        QJsonDocument(known).toJson(QJsonDocument::Compact).replace('<', "\\u003c"));
}

} // namespace

/// A real browser with a page that wants to change something at the real service.
class TestServiceBrowser : public QObject
{
    Q_OBJECT

private slots:
    void noPageReadsOrChangesAnything()
    {
        if (QStandardPaths::findExecutable(s("chromium")).isEmpty())
            QSKIP("there is no Chromium");
        // Something of each kind that could be read, changed or removed.
        ServiceStage stage;
        QVERIFY(stage.begin());
        QVERIFY(stage.marked(s("taken.wav")));
        TestFiles::write(stage.watch + s("/notes.mov"), "no movie");
        ServiceProgram& service = *stage.service;
        QTRY_COMPARE_WITH_TIMEOUT(service.errors().size(), 1, kStagePatience);
        const QString other = stage.folder.filePath(s("other"));
        QVERIFY(QDir().mkpath(other));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), other + s("/job.wav")));
        const QString profile = service.profileId(s("Default Profile"));
        const Reply job = service.post("jobs", ModuleDocument::submitJob(other + s("/job.wav"), profile));
        QCOMPARE(job.status, 201);
        QTRY_VERIFY_WITH_TIMEOUT(stage.isIdle(), kStagePatience);
        const QByteArray before = stateOf(service);
        const quint64 refusedBefore = service.get("version").text(s("requests")).toULongLong();

        const bool rebinds = ::geteuid() == 0;
        QTemporaryDir etc;
        if (rebinds) {
            QVERIFY(makeEtc(etc.path()));
            QVERIFY(QFile::setPermissions(etc.path(), QFile::Permissions(0x7755)));
            nameLeadsTo(etc.path(), "127.0.0.2");
        }
        auto elsewhere = std::make_unique<TestHttpServer>(static_cast<quint16>(service.port()), kElsewhere);
        TestHttpServer listener;
        listener.setReply("POST", "/report", TestHttpServer::Reply::bare(204));
        const QString folder = stage.id;
        const auto text = [](const QByteArray& document) { return QString::fromUtf8(document); };
        QJsonObject known{
            {s("port"), service.port()},
            {s("report"), s("http://127.0.0.1:%1/report").arg(listener.port())},
            {s("rebinds"), rebinds},
            {s("folderId"), folder},
            {s("profileId"), profile},
            {s("jobId"), job.text(s("id"))},
            {s("folder"), text(ModuleDocument::createFolder(other, profile, true))},
            {s("disabled"), text(ModuleDocument::updateFolder(folder, stage.watch, profile, s("false")))},
            {s("profile"), text(ModuleDocument::createProfile(s("Planted")))},
            {s("job"), text(ModuleDocument::submitJob(other + s("/job.wav"), profile))},
            {s("cancelled"), text(ModuleDocument::jobState(s("CANCELLED")))},
            {s("device"), text(ModuleDocument::deviceStatus(s("planted"), 1, 1))}};
        TestHttpServer::Reply page = TestHttpServer::Reply::xml(pageFor(known));
        page.contentType = "text/html; charset=utf-8";
        elsewhere->setReply("GET", "/", page.thenClose());
        elsewhere->setReply("GET", "/turn", TestHttpServer::Reply::bare(204).thenClose());

        Browser browser;
        QVERIFY(browser.open(s("http://hostile.example:%1/").arg(service.port()),
                             rebinds ? etc.path() : QString()));
        const auto isReported = [&listener] { return listener.requestCount("POST", "/report") > 0; };
        if (rebinds) {
            QTRY_VERIFY2_WITH_TIMEOUT(elsewhere->requestCount("GET", "/turn") > 0, browser.said().constData(),
                                      kPatience);
            nameLeadsTo(etc.path(), "127.0.0.1");
            elsewhere.reset();
        }
        QTRY_VERIFY2_WITH_TIMEOUT(isReported(), browser.said().constData(), kPatience);

        const QJsonArray outcomes = QJsonDocument::fromJson(listener.lastRequest().body).array();
        int attempts = 0;
        for (const QJsonValue& one : outcomes) {
            const QString name = one.toObject().value(s("name")).toString();
            const QString outcome = one.toObject().value(s("outcome")).toString();
            const bool isRead = outcome == s("open") || outcome == s("loaded") || outcome == s("no end") ||
                                (outcome.startsWith(s("status ")) && outcome != s("status 403"));
            QVERIFY2(!isRead && !outcome.contains(s("never")), qPrintable(name + s(": ") + outcome));
            ++attempts;
        }
        const int ways = rebinds ? 5 : 4;
        QVERIFY2(attempts >= ways * kFewestAttempts, qPrintable(QString::number(attempts)));
        // They came, and came to nothing.
        const auto refused = [&] {
            return static_cast<int>(service.get("version").text(s("requests")).toULongLong() - refusedBefore);
        };
        QTRY_VERIFY2_WITH_TIMEOUT(refused() >= attempts * 9 / 10, qPrintable(QString::number(refused())),
                                  kStagePatience);
        QCOMPARE(stateOf(service), before);
        QCOMPARE(service.terminate(), 0);
        qInfo("%d attempts by %d ways%s", attempts, ways, rebinds ? "" : "; rebinding needs root");
    }
};

QTEST_GUILESS_MAIN(TestServiceBrowser)
#include "test_service_browser.moc"
