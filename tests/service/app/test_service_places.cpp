#include "OtherUser.h"
#include "ServiceProgram.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace {

constexpr int kPatience = 30000; ///< milliseconds
constexpr uid_t kSomebody = OtherUser::kNumber + 1;

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QByteArray local(const QString& path)
{
    return QFile::encodeName(path);
}

/// What can stand in a file's place.
enum Oddity { Missing, Unreadable, Link, LostLink, OtherKind, Pipe, Foreign };

constexpr std::pair<const char*, Oddity> kOddities[] = {{"missing", Missing},
                                                        {"unreadable", Unreadable},
                                                        {"a link", Link},
                                                        {"a link to nothing", LostLink},
                                                        {"of another kind", OtherKind},
                                                        {"a pipe", Pipe},
                                                        {"somebody else's", Foreign}};

/// Everything below \a path: name, kind and content.
QByteArrayList pictureOf(const QString& path)
{
    QByteArrayList picture;
    const QFileInfo info(path);
    picture << path.toUtf8() +
                   (info.isDir() ? QByteArray("/") : QByteArray(": " + TestFiles::content(path))) +
                   QByteArray::number(int(info.permissions()), 16);
    if (info.isDir())
        for (const QString& name : TestFiles::names(path))
            picture << pictureOf(path + QLatin1Char('/') + name);
    return picture;
}

} // namespace

/// What stands in the places of the files that the service keeps, when it starts.
class TestServicePlaces : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_count = 0;
    QString m_watch = m_folder.filePath(s("watch"));

    QString path(const QString& name) const { return m_folder.filePath(name); }
    static void shell(const QString& command, const QStringList& arguments)
    {
        QCOMPARE(QProcess::execute(s("sh"), QStringList{s("-c"), command, s("sh")} + arguments), 0);
    }
    /// A service that is an ordinary user's: root reads what nobody may.
    void prepare(ServiceProgram& service, const QMap<QString, QString>& more = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* place : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"})
            environment.remove(s(place));
        environment.insert(s("HOME"), m_folder.path());
        for (auto one = more.begin(); one != more.end(); ++one)
            environment.insert(one.key(), one.value());
        service.setEnvironment(environment);
        const QString number = QString::number(OtherUser::kNumber);
        if (OtherUser::isPossible())
            service.setPrefix(
                {s("setpriv"), s("--reuid"), number, s("--regid"), number, s("--clear-groups")});
    }
    static void giveAway(const QString& path)
    {
        if (OtherUser::isPossible())
            shell(s("chown -hR \"$1\" \"$2\""), {QString::number(OtherUser::kNumber), path});
    }
    static QStringList folders(const ServiceProgram& service)
    {
        return service.get("xelmediafolders?level=detail").texts(s("path"));
    }

    /// Makes of what is in \a place the oddity, and of a link one to \a elsewhere, which is of the same kind.
    static void put(Oddity oddity, const QString& place, const QString& elsewhere)
    {
        const bool isFolder = QFileInfo(place).isDir();
        if (oddity == Unreadable)
            QCOMPARE(::chmod(local(place).constData(), 0), 0);
        if (oddity == Foreign)
            QCOMPARE(::lchown(local(place).constData(), kSomebody, kSomebody), 0);
        if (oddity == Unreadable || oddity == Foreign)
            return;
        shell(s("rm -rf \"$1\""), {place});
        if (oddity == LostLink)
            shell(s("rm -rf \"$1\""), {elsewhere});
        if (oddity == Link || oddity == LostLink)
            QVERIFY(QFile::link(elsewhere, place));
        if (oddity == OtherKind && isFolder)
            TestFiles::write(place, "a file");
        if (oddity == OtherKind && !isFolder)
            QVERIFY(QDir().mkpath(place));
        if (oddity == Pipe)
            QCOMPARE(::mkfifo(local(place).constData(), 0600), 0);
        if (oddity != Missing)
            giveAway(place);
    }
    static int documentsIn(const QString& folder)
    {
        QProcess find;
        find.start(s("find"), {folder + QLatin1Char('/'), s("-name"), s("*.xel")});
        find.waitForFinished();
        return find.readAllStandardOutput().count('\n');
    }

private slots:
    void initTestCase()
    {
        QVERIFY(QFile::setPermissions(m_folder.path(), QFile::Permissions(0x7755)));
        QVERIFY(QDir().mkpath(path(s("model"))) && QDir().mkpath(m_watch));
        QVERIFY(QFile::copy(TestMedia::file(s("sound.wav")), m_watch + s("/a.wav")));
        giveAway(path(s("model")));
        giveAway(m_watch);
        ServiceProgram service;
        prepare(service);
        if (!service.start(path(s("model"))))
            QSKIP("another user cannot reach this build");
        const QString id = service.addFolder(m_watch, service.profileId(s("Default Profile")));
        QTRY_COMPARE_WITH_TIMEOUT(service.outputs(id).size(), 1, kPatience);
        QTRY_VERIFY_WITH_TIMEOUT(TestFiles::content(path(s("model/krx-service.kept.xml"))).contains("a"),
                                 kPatience);
        service.kill(); // so that the log of the database is there
        QVERIFY(QFile::exists(path(s("model/krx-service.db-wal"))));
    }

    void nothingIsLostAndNothingElseIsTouched_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("oddity");
        QTest::addColumn<bool>("serves");
        // For each file what it may be in spite of which the service serves.
        const std::pair<const char*, QList<int>> files[] = {
            {"", {Link}},
            {"krx-service.db", {Missing}},
            {"krx-service.db-wal", {Missing}},
            {"krx-service.db-shm", {Missing}},
            {"krx-service.kept.xml", {Missing, Unreadable, Link, LostLink, OtherKind, Pipe}},
            {"krx-service.lock", {Missing}},
            {"krx-service.log", {Missing, Unreadable, Link, LostLink, OtherKind, Pipe}},
            {"output", {Missing, Link}},
            {"output/f000001", {Missing, Link, LostLink, OtherKind, Pipe}},
            {"output/jobs", {Missing, Link}},
        };
        for (const auto& [file, borne] : files) {
            for (const auto& [name, oddity] : kOddities)
                QTest::newRow(qPrintable(s("%1 %2").arg(s(*file ? file : "the folder"), s(name))))
                    << s(file) << int(oddity) << borne.contains(oddity);
        }
    }
    void nothingIsLostAndNothingElseIsTouched()
    {
        QFETCH(QString, file);
        QFETCH(int, oddity);
        QFETCH(bool, serves);
        if (oddity == Foreign && !OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const QString data = path(s("data%1").arg(++m_count));
        const QString kept = path(s("kept%1").arg(m_count));
        const QString elsewhere = path(s("elsewhere%1").arg(m_count));
        shell(s("cp -a \"$1\" \"$2\""), {path(s("model")), data});
        const QString place = file.isEmpty() ? data : data + QLatin1Char('/') + file;
        shell(s("cp -a \"$1\" \"$2\" && cp -a \"$1\" \"$3\""), {place, kept, elsewhere});
        put(Oddity(oddity), place, elsewhere);
        const QByteArrayList before = pictureOf(elsewhere);

        ServiceProgram service;
        prepare(service);
        if (!serves)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("the service did not start")));
        QCOMPARE(service.start(data), serves);
        if (serves) {
            QCOMPARE(folders(service), QStringList{m_watch});
            QCOMPARE(service.errors().filter(s("krx-service.kept.xml.damaged")).size(),
                     file == s("krx-service.kept.xml") && oddity != Missing ? 1 : 0);
            QCOMPARE(service.terminate(), 0);
            if (!file.isEmpty())
                QCOMPARE(pictureOf(elsewhere), before);
            QCOMPARE(documentsIn(file == s("output") || file == s("output/f000001") ? kept : data), 1);
        } else {
            // Says what is in the way, and goes on as soon as it is not.
            QCOMPARE(service.waitForEnd(), 1);
            const QByteArray said = service.lastWords();
            QCOMPARE(said.count(" error "), 1);
            QVERIFY2(said.contains(local(place)), said.constData());
            QCOMPARE(pictureOf(elsewhere), before);
            shell(s("rm -rf \"$1\" && cp -a \"$2\" \"$1\""), {place, kept});
            ServiceProgram again;
            prepare(again);
            QVERIFY(again.start(data));
            QCOMPARE(folders(again), QStringList{m_watch});
            QCOMPARE(again.terminate(), 0);
            QCOMPARE(documentsIn(data), 1);
        }
    }

    // The same for what is not in the data folder: the configuration, the socket's directory, the log.
    void otherPlacesAreRefusedWithOneLineOrDoneWithout_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<int>("oddity");
        QTest::addColumn<int>("code");
        struct Place
        {
            const char* file;
            int code; ///< of a refusal
            QList<int> borne;
        };
        const QList<int> all = {Missing, Unreadable, Link, LostLink, OtherKind, Pipe, Foreign};
        const Place places[] = {
            {"config/krx-service", 2, {Missing, Link, LostLink, Foreign}},
            {"config/krx-service/config.toml", 2, {Missing, Link, LostLink}},
            {"run/krx-service", 1, {Missing}},
            {"run/krx-service/socket", 1, {Missing, Unreadable}},
            {"run/krx-service/socket.lock", 1, {Missing, Pipe}},
            {"state/krx-service", 1, all},
            {"state/krx-service/krx-service.log", 1, all},
        };
        for (const Place& place : places) {
            for (const auto& [name, oddity] : kOddities)
                QTest::newRow(qPrintable(s("%1 %2").arg(s(place.file), s(name))))
                    << s(place.file) << int(oddity) << (place.borne.contains(oddity) ? 0 : place.code);
        }
    }
    void otherPlacesAreRefusedWithOneLineOrDoneWithout()
    {
        QFETCH(QString, file);
        QFETCH(int, oddity);
        QFETCH(int, code);
        if (oddity == Foreign && !OtherUser::isPossible())
            QSKIP("only root can act as somebody else");
        const QString home = path(s("home%1").arg(++m_count));
        const QString elsewhere = path(s("elsewhere%1").arg(m_count));
        for (const char* folder : {"/config/krx-service", "/run/krx-service", "/state/krx-service", "/data"})
            QVERIFY(QDir().mkpath(home + s(folder)));
        TestFiles::write(home + s("/config/krx-service/config.toml"), "log-level = \"info\"\n");
        TestFiles::write(home + s("/state/krx-service/krx-service.log"), "before\n");
        TestFiles::write(home + s("/run/krx-service/socket.lock"), "");
        shell(s("chmod -R go= \"$1\"/run \"$1\"/data; chmod -R go-w \"$1\""), {home});
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0); // what a killed instance leaves
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray socketPath = local(home + s("/run/krx-service/socket"));
        QVERIFY(std::size_t(socketPath.size()) < sizeof address.sun_path);
        std::copy(socketPath.begin(), socketPath.end(), address.sun_path);
        QCOMPARE(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(socket);
        giveAway(home);
        const QString place = home + QLatin1Char('/') + file;
        shell(s("cp -a \"$1\" \"$2\""), {place, elsewhere});
        put(Oddity(oddity), place, elsewhere);
        const QByteArrayList before = pictureOf(elsewhere);

        ServiceProgram service;
        prepare(service,
                {{s("XDG_CONFIG_HOME"), home + s("/config")}, {s("XDG_RUNTIME_DIR"), home + s("/run")}});
        if (code != 0)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("the service did not start")));
        QCOMPARE(service.start(home + s("/data"), {s("--no-port"), s("--log-file"),
                                                   home + s("/state/krx-service/krx-service.log")}),
                 code == 0);
        QCOMPARE(code == 0 ? service.terminate() : service.waitForEnd(), code);
        if (code != 0) {
            const QByteArray said = service.lastWords();
            QVERIFY2(said.contains(local(place)), said.constData());
            QCOMPARE(code == 1 ? said.count(" error ") : said.trimmed().count('\n') + 1, 1);
        }
        const bool isLog = file.startsWith(s("state/krx-service")) && oddity == Link;
        if (!isLog || file.endsWith(s(".log"))) // a folder of one's own may be a link
            QCOMPARE(pictureOf(elsewhere), before);
    }
};

QTEST_GUILESS_MAIN(TestServicePlaces)
#include "test_service_places.moc"
