#include "ServiceProgram.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace {

constexpr int kPatience = 20000;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

} // namespace

/// The whole REST surface against the real program, which runs once for all tests.
class TestServiceRest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    ServiceProgram m_service;
    QString m_default;
    int m_count = 0;

    /// A new empty directory.
    QString newDirectory()
    {
        const QString path = m_folder.filePath(QStringLiteral("watch%1").arg(++m_count));
        return QDir().mkpath(path) ? path : QString();
    }
    /// All that a refused request must leave alone.
    QByteArray state() const
    {
        return m_service.get("xelmediafolders?level=detail").body +
               m_service.get("profiles?level=detail").body + m_service.get("jobs/detail").body;
    }
    static bool isRefusal(const Reply& reply, int status)
    {
        return reply.status == status && reply.header("Content-Type").startsWith("text/plain") &&
               reply.body.size() > 1 && reply.body.count('\n') == 1 && reply.body.endsWith('\n');
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_service.start(m_folder.filePath(QStringLiteral("data"))));
        m_default = m_service.profileId(QStringLiteral("Default Profile"));
    }

    void defaultProfileIsThereFromTheStart()
    {
        QVERIFY(!m_default.isEmpty());
        QCOMPARE(m_service.get("profiles").texts(s("profileURI")),
                 QStringList{QStringLiteral("http://localhost:58885/KRXService/profiles/") + m_default});
        const Reply reply = m_service.get("profiles/" + m_default.toUtf8());
        QCOMPARE(reply.status, 200);
        QVERIFY(reply.header("Content-Type").startsWith("application/xml"));
        QVERIFY(reply.body.contains("<zorMetadata>"));
    }

    void urlsFollowTheHostOfTheRequest()
    {
        const QByteArray host = "127.0.0.1:" + QByteArray::number(m_service.port());
        const Reply reply = m_service.raw("GET /KRXService/profiles HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
        QVERIFY(reply.text(s("profileURI")).startsWith(QLatin1String("http://") + QString::fromLatin1(host)));
    }

    void folderIsMadeReadChangedAndRemoved()
    {
        const QString path = newDirectory();
        const Reply made = m_service.post("xelmediafolders", ModuleDocument::createFolder(path, m_default));
        QCOMPARE(made.status, 201);
        const QString url = made.text(s("xelMediaFolderURI"));
        QVERIFY(url.startsWith(QLatin1String("http://localhost:58885/KRXService/xelmediafolders/")));
        const QByteArray id = url.section(QLatin1Char('/'), -1).toUtf8();
        QVERIFY(m_service.get("xelmediafolders").texts(s("xelMediaFolderURI")).contains(url));

        const Reply read = m_service.get("xelmediafolders/" + id);
        QCOMPARE(read.status, 200);
        QVERIFY(read.body.contains("<xelMediaFolder id=\"" + id + "\">"));
        QCOMPARE(read.text(s("path")), path);
        QCOMPARE(read.text(s("profile")), m_default);
        QCOMPARE(read.text(s("enabled")), s("false"));
        QVERIFY(m_service.get("xelmediafolders?level=detail").body.contains("id=\"" + id + "\""));

        const Reply changed =
            m_service.put("xelmediafolders/" + id,
                          ModuleDocument::updateFolder(QString::fromUtf8(id), path, m_default, s("true")));
        QCOMPARE(changed.status, 200);
        QCOMPARE(m_service.get("xelmediafolders/" + id).text(s("enabled")), s("true"));

        QCOMPARE(m_service.remove("xelmediafolders/" + id).status, 200);
        QVERIFY(isRefusal(m_service.get("xelmediafolders/" + id), 404));
        QVERIFY(isRefusal(m_service.remove("xelmediafolders/" + id), 404));
        QVERIFY(isRefusal(
            m_service.put("xelmediafolders/" + id,
                          ModuleDocument::updateFolder(QString::fromUtf8(id), path, m_default, s("true"))),
            404));
    }

    void pathComesBackExactlyAsItWasSent()
    {
        for (const QString& name :
             {s("  leading blanks"), s("emoji \xF0\x9F\x8E\xAC"), s("\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D"),
              s("a & <b> \"c\" 'd'"), s("per%cent"), s("slash/")}) {
            const QString path = m_folder.filePath(QStringLiteral("paths/")) + name;
            QVERIFY(QDir().mkpath(path));
            const QString id = m_service.addFolder(path, m_default, false);
            QVERIFY2(!id.isEmpty(), qPrintable(name));
            const Reply reply = m_service.get("xelmediafolders/" + id.toUtf8());
            QString text = reply.text(s("path"));
            QCOMPARE(text.replace(QLatin1String("&quot;"), QLatin1String("\"")), path);
        }
    }

    void folderWithoutProfileMayExistWhileItIsDisabled()
    {
        const QString path = newDirectory();
        QVERIFY(isRefusal(
            m_service.post("xelmediafolders", ModuleDocument::createFolder(path, QString(), true)), 400));
        const QString id = m_service.addFolder(path, QString(), false);
        QVERIFY(!id.isEmpty());
        const QByteArray url = "xelmediafolders/" + id.toUtf8();
        QVERIFY(
            isRefusal(m_service.put(url, ModuleDocument::updateFolder(id, path, QString(), s("true"))), 400));
        QCOMPARE(m_service.get(url).text(s("enabled")), s("false"));
        QCOMPARE(m_service.put(url, ModuleDocument::updateFolder(id, path, m_default, s("true"))).status,
                 200);
    }

    void updateLeavesWhatTheDocumentDoesNotName()
    {
        const QString path = newDirectory();
        const QString id = m_service.addFolder(path, m_default, true);
        const Reply reply = m_service.put("xelmediafolders/" + id.toUtf8(),
                                          "<xelMediaFolder id=\"" + id.toUtf8() +
                                              "\"><enabled>false</enabled></xelMediaFolder>");
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.text(s("path")), path);
        QCOMPARE(reply.text(s("profile")), m_default);
        QCOMPARE(reply.text(s("enabled")), s("false"));
    }

    void wrongFolderRequestsAreRefusedAndChangeNothing()
    {
        const QString path = newDirectory();
        const QString taken = newDirectory();
        const QString id = m_service.addFolder(taken, m_default, false);
        QFile file(m_folder.filePath(QStringLiteral("a file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const QString link = m_folder.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(taken, link));
        const QByteArray before = state();
        const auto create = [&](const QString& where) {
            return m_service.post("xelmediafolders", ModuleDocument::createFolder(where, m_default));
        };
        QVERIFY(isRefusal(create(QString()), 400));
        QVERIFY(isRefusal(create(s("relative/path")), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("/missing")), 400));
        QVERIFY(isRefusal(create(file.fileName()), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("/../") + QDir(path).dirName()), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("/.")), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("/%2e%2e")), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("/%2E.")), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("\\a")), 400));
        QVERIFY(isRefusal(create(path + QLatin1String("\n")), 400));
        QVERIFY(isRefusal(create(QLatin1Char('/') + QString(5000, QLatin1Char('a'))), 400));
        QVERIFY(isRefusal(create(taken), 409));
        QVERIFY(isRefusal(create(taken + QLatin1Char('/')), 409));
        QVERIFY(isRefusal(create(link), 409));
        QVERIFY(isRefusal(create(m_folder.filePath(QStringLiteral("data"))), 400));
        QVERIFY(isRefusal(create(m_folder.filePath(QStringLiteral("data/output"))), 400));
        QVERIFY(isRefusal(create(m_folder.path()), 400));
        QVERIFY(isRefusal(create(QStringLiteral("/")), 400));
        QVERIFY(
            isRefusal(m_service.post("xelmediafolders", ModuleDocument::createFolder(path, s("none"))), 400));
        const QByteArray url = "xelmediafolders/" + id.toUtf8();
        QVERIFY(isRefusal(
            m_service.put(url, ModuleDocument::updateFolder(s("f999999"), taken, m_default, s("true"))),
            400));
        QVERIFY(isRefusal(m_service.put(url, ModuleDocument::updateFolder(id, taken, s("none"), s("true"))),
                          400));
        QVERIFY(isRefusal(m_service.put(url, ModuleDocument::updateFolder(id, s("x"), m_default, s("true"))),
                          400));
        QVERIFY(
            isRefusal(m_service.put(url, ModuleDocument::updateFolder(id, taken, m_default, s("yes"))), 400));
        QVERIFY(isRefusal(m_service.put(url, ModuleDocument::createFolder(taken, m_default)), 400));
        QCOMPARE(state(), before);
    }

    void twoFoldersOfOnePathSentAtOnceMakeOne()
    {
        const QString path = newDirectory();
        const QByteArray body = ModuleDocument::createFolder(path, m_default);
        QCOMPARE(m_service.post("xelmediafolders", body).status, 201);
        QVERIFY(isRefusal(m_service.post("xelmediafolders", body), 409));
    }

    void profileIsMadeReadAndRemoved()
    {
        const Reply made = m_service.post("profiles", ModuleDocument::createProfile(s("Rushes & more")));
        QCOMPARE(made.status, 201);
        const QByteArray id = made.text(s("profileURI")).section(QLatin1Char('/'), -1).toUtf8();
        const Reply read = m_service.get("profiles/" + id);
        QCOMPARE(read.text(s("profileName")), s("Rushes & more"));
        QCOMPARE(read.text(s("profileGUID")).toUtf8(), id);
        QCOMPARE(read.text(s("profileTag")), s("#krx"));
        QCOMPARE(read.text(s("profileCreatedTimestamp")), s("2024-03-05T14:07:09"));
        QCOMPARE(read.text(s("binExplicitName")), s("Rushes"));
        QCOMPARE(m_service.get("profiles").texts(s("profileURI")).size(), 2);
        QVERIFY(
            isRefusal(m_service.post("profiles", ModuleDocument::createProfile(s("Rushes & more"))), 409));
        QCOMPARE(m_service.remove("profiles/" + id).status, 200);
        QVERIFY(isRefusal(m_service.remove("profiles/" + id), 404));
        QVERIFY(isRefusal(m_service.get("profiles/" + id), 404));
    }

    void profileNameOfFourKilobytesComesBack()
    {
        const QString name(4096, QChar(0xE9));
        const Reply made = m_service.post("profiles", ModuleDocument::createProfile(name));
        QCOMPARE(made.status, 201);
        const QByteArray id = made.text(s("profileURI")).section(QLatin1Char('/'), -1).toUtf8();
        QCOMPARE(m_service.get("profiles/" + id).text(s("profileName")), name);
        m_service.remove("profiles/" + id);
    }

    void defaultProfileCannotBeRemoved()
    {
        QVERIFY(isRefusal(m_service.remove("profiles/" + m_default.toUtf8()), 409));
        QVERIFY(!m_service.profileId(QStringLiteral("Default Profile")).isEmpty());
    }

    void wrongProfilesAreRefused()
    {
        const QByteArray before = state();
        QVERIFY(isRefusal(m_service.post("profiles", ModuleDocument::createProfile(QString())), 400));
        QVERIFY(isRefusal(m_service.post("profiles", "<profileRequest/>"), 400));
        QVERIFY(isRefusal(
            m_service.post("profiles", ModuleDocument::createProfile(s("X"), "<activity id=\"burn\"/>")),
            400));
        QVERIFY(isRefusal(m_service.put("profiles/" + m_default.toUtf8(), "<profile/>"), 405));
        QCOMPARE(state(), before);
    }

    void manualJobRunsAndIsListedUntilItIsRemoved()
    {
        const Reply made =
            m_service.post("jobs", ModuleDocument::submitJob(TestMedia::file(s("movie.mov")), m_default));
        QCOMPARE(made.status, 201);
        const QString id = made.text(s("id"));
        QCOMPARE(made.text(s("path")), TestMedia::file(s("movie.mov")));
        QCOMPARE(made.text(s("profile")), m_default);
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(id), s("COMPLETED"), kPatience);
        const Reply status = m_service.get("jobs/status?filter=true");
        QCOMPARE(status.text(s("complete")), s("true"));
        QCOMPARE(status.text(s("percentComplete")), s("100"));
        const Reply detail = m_service.get("jobs/detail?kind=manual&filter=true");
        QCOMPARE(detail.texts(s("id")), QStringList{id});
        const QStringList outputs = detail.texts(s("fileName"));
        QCOMPARE(outputs.size(), 1);
        QVERIFY(QFile::exists(outputs[0]));
        QVERIFY(!m_service.get("xelmediafolders?level=outputready").body.contains("outputReadyFolder>"));
        QCOMPARE(m_service.get("jobs/" + id.toUtf8()).text(s("id")), id);
        QCOMPARE(m_service.remove("jobs/" + id.toUtf8()).status, 200);
        QVERIFY(isRefusal(m_service.remove("jobs/" + id.toUtf8()), 404));
        QVERIFY(!QFile::exists(outputs[0]));
        QVERIFY(m_service.get("jobs/status?filter=true").texts(s("id")).isEmpty());
    }

    void manualJobOfADirectoryOffersItsMediaOnly()
    {
        const QString path = newDirectory();
        QVERIFY(QDir(path).mkdir(s("deep")));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), path + QLatin1String("/deep/a.wav")));
        QVERIFY(QFile::copy(TestMedia::file(s("still.png")), path + QLatin1String("/b.png")));
        QFile notes(path + QLatin1String("/notes.rtf"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.write("words\n");
        notes.close();
        const QString id = m_service.post("jobs", ModuleDocument::submitJob(path, m_default)).text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(id), s("COMPLETED"), kPatience);
        QCOMPARE(m_service.get("jobs/" + id.toUtf8()).texts(s("fileName")).size(), 2);
        m_service.remove("jobs/" + id.toUtf8());
    }

    void failedJobSaysWhyAndCanBeTriedAgain()
    {
        const QString to = m_folder.filePath(QStringLiteral("destination"));
        m_service.post("profiles",
                       ModuleDocument::createProfile(s("Copying"), ModuleDocument::copyActivity(to, true)));
        const QString profile = m_service.profileId(s("Copying"));
        const QString id =
            m_service.post("jobs", ModuleDocument::submitJob(TestMedia::file(s("sound.wav")), profile))
                .text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(id), s("FAILED"), kPatience);
        const Reply status = m_service.get("jobs/status?filter=true");
        QCOMPARE(status.text(s("complete")), s("true"));
        // A percentage between would count as work in progress.
        QCOMPARE(status.text(s("percentComplete")), s("0"));
        QVERIFY(status.text(s("message")).contains(to));
        QVERIFY(m_service.get("jobs/" + id.toUtf8()).texts(s("fileName")).isEmpty());
        QVERIFY(!m_service.errors().filter(to).isEmpty());

        QVERIFY(
            isRefusal(m_service.put("jobs/" + id.toUtf8(), ModuleDocument::jobState(s("CANCELLED"))), 409));
        QVERIFY(QDir().mkpath(to));
        const Reply again = m_service.put("jobs", ModuleDocument::jobState(s("SUBMITTED")));
        QCOMPARE(again.status, 200);
        QCOMPARE(again.texts(s("id")), QStringList{id});
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(id), s("COMPLETED"), kPatience);
        QCOMPARE(m_service.get("jobs/" + id.toUtf8()).texts(s("fileName")).size(), 1);
        QVERIFY(QFile::exists(to + QLatin1String("/sound.wav")));
        m_service.remove("jobs/" + id.toUtf8());
    }

    void cancellingWithoutAnIdCancelsTheUnfinishedJobsOnly()
    {
        const QString done =
            m_service.post("jobs", ModuleDocument::submitJob(TestMedia::file(s("sound.wav")), m_default))
                .text(s("id"));
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(done), s("COMPLETED"), kPatience);
        // A pipe that nobody writes to would be refused; a large directory keeps the job busy for a moment.
        const QString path = newDirectory();
        for (int i = 0; i < 60; ++i)
            QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), path + QStringLiteral("/%1.wav").arg(i)));
        const QString busy = m_service.post("jobs", ModuleDocument::submitJob(path, m_default)).text(s("id"));
        const Reply reply = m_service.put("jobs", ModuleDocument::jobState(s("CANCELLED")));
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.texts(s("id")), QStringList{busy});
        QCOMPARE(m_service.jobState(busy), s("CANCELLED"));
        QCOMPARE(m_service.jobState(done), s("COMPLETED"));
        QTRY_COMPARE_WITH_TIMEOUT(m_service.get("activity").text(s("status")), s("StatusIdle"), kPatience);
        QCOMPARE(m_service.jobState(busy), s("CANCELLED"));
        QCOMPARE(m_service.put("jobs/" + busy.toUtf8(), ModuleDocument::jobState(s("SUBMITTED"))).status,
                 200);
        QTRY_COMPARE_WITH_TIMEOUT(m_service.jobState(busy), s("COMPLETED"), 60000);
        QCOMPARE(m_service.get("jobs/" + busy.toUtf8()).texts(s("fileName")).size(), 60);
        m_service.remove("jobs/" + busy.toUtf8());
        m_service.remove("jobs/" + done.toUtf8());
    }

    void wrongJobRequestsAreRefused()
    {
        const QByteArray before = state();
        const QString file = TestMedia::file(s("sound.wav"));
        QVERIFY(isRefusal(m_service.post("jobs", ModuleDocument::submitJob(s("a.wav"), m_default)), 400));
        QVERIFY(isRefusal(
            m_service.post("jobs", ModuleDocument::submitJob(file + QLatin1Char('x'), m_default)), 400));
        QVERIFY(isRefusal(m_service.post("jobs", ModuleDocument::submitJob(s("/dev/null"), m_default)), 400));
        QVERIFY(
            isRefusal(m_service.post("jobs", ModuleDocument::submitJob(m_folder.path(), m_default)), 400));
        QVERIFY(isRefusal(m_service.post("jobs", ModuleDocument::submitJob(file, s("none"))), 400));
        QVERIFY(isRefusal(m_service.post("jobs", "<jobInfo/>"), 400));
        QVERIFY(isRefusal(m_service.put("jobs", ModuleDocument::jobState(s("COMPLETED"))), 400));
        QVERIFY(isRefusal(m_service.put("jobs/j999999", ModuleDocument::jobState(s("CANCELLED"))), 404));
        QVERIFY(isRefusal(m_service.get("jobs/j999999"), 404));
        QCOMPARE(state(), before);
    }

    void errorsAreKeptUntilTheyAreCleared()
    {
        const QString path = newDirectory();
        QFile notes(path + QLatin1String("/notes.rtf"));
        QVERIFY(notes.open(QIODevice::WriteOnly));
        notes.write("words\n");
        notes.close();
        const QString id = m_service.addFolder(path, m_default);
        QTRY_VERIFY_WITH_TIMEOUT(!m_service.errors().filter(path).isEmpty(), kPatience);
        QCOMPARE(m_service.errors().filter(path).size(), 1);
        QVERIFY(m_service.get("activity").body.contains("<errorMessage>"));
        QVERIFY(!m_service.get("errors?clear=true").texts(s("errorMessage")).isEmpty());
        QVERIFY(m_service.errors().isEmpty());
        QVERIFY(!m_service.get("activity").body.contains("<errorMessage>"));
        m_service.remove("xelmediafolders/" + id.toUtf8());
    }

    void deviceStatusIsAccepted()
    {
        QCOMPARE(m_service.post("devicestatus", ModuleDocument::deviceStatus(s("CARD 1"), 2, 1)).status, 200);
        QVERIFY(isRefusal(m_service.post("devicestatus", "<deviceStatus/>"), 400));
        QVERIFY(isRefusal(m_service.get("devicestatus"), 405));
    }

    void itemMethodsWithoutAnIdAreNotFound()
    {
        for (const char* collection : {"xelmediafolders/", "profiles/", "jobs/"}) {
            QVERIFY(isRefusal(m_service.get(collection), 404));
            QVERIFY(isRefusal(m_service.remove(collection), 404));
        }
        QVERIFY(isRefusal(m_service.put("xelmediafolders/",
                                        ModuleDocument::updateFolder(s("x"), s("/"), m_default, s("true"))),
                          404));
    }

    void unknownResourcesMethodsAndLevelsAreRefused()
    {
        QVERIFY(isRefusal(m_service.get("nothing"), 404));
        QVERIFY(isRefusal(m_service.get("xelmediafolders/a/b"), 404));
        QVERIFY(isRefusal(m_service.get("xelmediafolders?level=all"), 400));
        QVERIFY(isRefusal(m_service.get("profiles?level=outputready"), 400));
        QVERIFY(isRefusal(m_service.get("xelmediafolders/a_b"), 400));
        const Reply reply = m_service.remove("xelmediafolders");
        QVERIFY(isRefusal(reply, 405));
        QCOMPARE(reply.header("Allow"), QByteArray("GET, POST"));
        QVERIFY(isRefusal(m_service.send("POST", "errors", "<a/>"), 405));
        QVERIFY(isRefusal(m_service.send("OPTIONS", "xelmediafolders"), 405));
    }

    void guardRefusesOverTheWire_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("status");
        const QByteArray host = "Host: localhost:58885\r\n";
        const QByteArray xml = "Content-Type: text/xml\r\n";
        const auto row = [](const char* name, const QByteArray& request, int status) {
            QTest::newRow(name) << request << status;
        };
        const QByteArray get = "GET /KRXService/activity HTTP/1.1\r\n";
        const QByteArray post = "POST /KRXService/xelmediafolders HTTP/1.1\r\n" + host;
        row("foreign Host", get + "Host: evil.example\r\n\r\n", 403);
        row("missing Host", get + "\r\n", 400);
        row("doubled Host", get + host + host + "\r\n", 400);
        row("foreign Origin", get + host + "Origin: http://evil.example\r\n\r\n", 403);
        row("foreign page without Origin", get + host + "Sec-Fetch-Site: cross-site\r\n\r\n", 403);
        row("body not declared", post + "Content-Length: 4\r\n\r\n<a/>", 415);
        row("body declared as a form", post + "Content-Type: text/plain\r\nContent-Length: 4\r\n\r\n<a/>",
            415);
        row("body of unknown length", post + xml + "\r\n", 411);
        row("body over 1 MB", post + xml + "Content-Length: 1048577\r\n\r\n", 413);
        row("chunked body over 1 MB",
            post + xml + "Transfer-Encoding: chunked\r\n\r\n100001\r\n" + QByteArray(0x100001, 'x') +
                "\r\n0\r\n\r\n",
            413);
        row("document type", post + xml + "Content-Length: 17\r\n\r\n<!DOCTYPE a><a/> ", 400);
        const QByteArray deep = QByteArray("<a>").repeated(65) + QByteArray("</a>").repeated(65);
        row("deep nesting",
            post + xml + "Content-Length: " + QByteArray::number(deep.size()) + "\r\n\r\n" + deep, 400);
        row("two dots", "GET /KRXService/xelmediafolders/../activity HTTP/1.1\r\n" + host + "\r\n", 400);
        row("two dots in disguise", "GET /KRXService/xelmediafolders/%2e%2e HTTP/1.1\r\n" + host + "\r\n",
            400);
        row("backslash", "GET /KRXService/xelmediafolders/a\\b HTTP/1.1\r\n" + host + "\r\n", 400);
        row("NUL in disguise", "GET /KRXService/xelmediafolders/a%00 HTTP/1.1\r\n" + host + "\r\n", 400);
        row("other server in the request line", "GET http://evil.example/ HTTP/1.1\r\n" + host + "\r\n", 404);
    }
    void guardRefusesOverTheWire()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, status);
        const QByteArray before = state();
        const Reply reply = m_service.raw(request);
        QCOMPARE(reply.status, status);
        QVERIFY2(isRefusal(reply, status), reply.body.constData());
        QCOMPARE(state(), before);
    }

    void bodyOfARefusedRequestIsNeverTakenForARequest()
    {
        const QString id = m_service.addFolder(newDirectory(), m_default, false);
        const QByteArray hidden = "DELETE /KRXService/xelmediafolders/" + id.toUtf8() +
                                  " HTTP/1.1\r\nHost: localhost:58885\r\n\r\n";
        for (const char* type : {"text/plain", "multipart/form-data", "multipart/form-data; boundary=x",
                                 "application/x-www-form-urlencoded"}) {
            const QByteArray answers = m_service.rawAll(
                "POST /KRXService/jobs HTTP/1.1\r\nHost: localhost:58885\r\n"
                "Content-Type: " +
                QByteArray(type) + "\r\nContent-Length: " + QByteArray::number(hidden.size()) + "\r\n\r\n" +
                hidden);
            QCOMPARE(answers.count("HTTP/1.1 "), 1);
            QVERIFY(answers.startsWith("HTTP/1.1 415"));
        }
        QCOMPARE(m_service.get("xelmediafolders/" + id.toUtf8()).status, 200);
    }

    void brokenRequestsLeaveTheServiceAnswering()
    {
        for (const QByteArray& bytes :
             {QByteArray("\r\n\r\n"), QByteArray("GARBAGE\r\n\r\n"), QByteArray("GET / HTTP/9.9\r\n\r\n"),
              QByteArray("GET /" + QByteArray(20000, 'a') + " HTTP/1.1\r\n\r\n"),
              QByteArray("GET /KRXService/activity HTTP/1.1\r\nHost: localhost\r\nX: " +
                         QByteArray(70000, 'a') + "\r\n\r\n")})
            QVERIFY(m_service.raw(bytes).status != 200);
        QCOMPARE(m_service.get("activity").status, 200);
    }

    void headRequestHasNoBody()
    {
        const QByteArray answer = m_service.rawAll(
            "HEAD /KRXService/activity HTTP/1.1\r\nHost: localhost:58885\r\nConnection: close\r\n\r\n");
        QVERIFY(answer.startsWith("HTTP/1.1 200"));
        QVERIFY(answer.endsWith("\r\n\r\n"));
    }

    void connectionIsKeptForManyRequests()
    {
        const QByteArray request = "GET /KRXService/activity HTTP/1.1\r\nHost: localhost:58885\r\n\r\n";
        const QByteArray last =
            "GET /KRXService/activity HTTP/1.1\r\nHost: localhost:58885\r\nConnection: close\r\n\r\n";
        QCOMPARE(m_service.rawAll(request.repeated(200) + last).count("HTTP/1.1 200 OK"), 201);
    }

    void secondInstanceOnTheSameDataOrPortIsRefused()
    {
        const auto run = [](const QStringList& arguments) {
            QProcess process;
            process.start(ServiceProgram::path(), arguments);
            process.waitForFinished(kPatience);
            return qMakePair(process.exitCode(), process.readAllStandardError());
        };
        const auto data = run({s("--port"), s("0"), s("--data"), m_folder.filePath(s("data"))});
        QCOMPARE(data.first, 3);
        QVERIFY(data.second.contains("in use"));
        const auto port =
            run({s("--port"), QString::number(m_service.port()), s("--data"), m_folder.filePath(s("data2"))});
        QCOMPARE(port.first, 3);
        QVERIFY(port.second.contains("in use") && port.second.contains(QByteArray::number(m_service.port())));
        const auto usage = run({s("--colour")});
        QCOMPARE(usage.first, 2);
        QVERIFY(usage.second.contains("--colour"));
        QCOMPARE(run({s("--help")}).first, 0);
        QCOMPARE(run({s("--version")}).first, 0);
        QFile blocked(m_folder.filePath(s("blocked")));
        QVERIFY(blocked.open(QIODevice::WriteOnly));
        QCOMPARE(run({s("--port"), s("0"), s("--data"), blocked.fileName()}).first, 1);
        QCOMPARE(m_service.get("activity").status, 200);
    }

    void logTellsAPersonWhatHappened()
    {
        const QByteArray log = m_service.log();
        QVERIFY(log.contains("made the Default Profile"));
        for (const QByteArray& line : log.trimmed().split('\n'))
            QVERIFY2(line.size() > 31 && line[10] == 'T' && line[23] == 'Z', line.constData());
    }

    void sigtermEndsTheServiceCleanly() { QCOMPARE(m_service.terminate(), 0); }
};

QTEST_GUILESS_MAIN(TestServiceRest)
#include "test_service_rest.moc"
