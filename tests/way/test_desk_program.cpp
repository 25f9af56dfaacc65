#include "ClipFeed.h"
#include "DeskApplication.h"
#include "RestRequest.h"
#include "TestHttpServer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kPatience = 60000;

/// A run of the desk's program off the screen, with settings and data of its own.
class Program
{
public:
    Program(const QString& program, const QStringList& arguments, const QString& home)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("HOME"), home);
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), QString(home + QLatin1String("/config")));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), QString(home + QLatin1String("/data")));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home);
        environment.remove(QStringLiteral("KRX_CONNECT_PORT"));
        m_process.setProcessEnvironment(environment);
        m_process.start(program, arguments);
    }
    ~Program()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    void terminate() { m_process.terminate(); }
    /// Waits for its end. \return its exit code; -1 when it does not end or crashed.
    int exitCode()
    {
        const bool ended = !isRunning() || m_process.waitForFinished(kPatience);
        return ended && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    QString errors() { return QString::fromUtf8(m_process.readAllStandardError()); }

private:
    QProcess m_process;
};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestDeskProgram : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString in(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

    /// The program in a folder of its own, as where only the desk is installed.
    QString installedAlone() const
    {
        QDir().mkpath(in("bin"));
        const QString program = in("bin/krx-desk");
        return QFile::copy(QStringLiteral(KRX_DESK), program) ? program : QString();
    }

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void theProgramHoldsNothingOfTheTour()
    {
        const QByteArray program = contentOf(QStringLiteral(KRX_DESK));
        const QByteArray extras = contentOf(QStringLiteral(KRX_DESK_EXTRAS));
        for (const char* name : {"TourRunner", "DemoMedia", "libXtst"}) {
            QVERIFY2(!program.contains(name), name);
            QVERIFY2(extras.contains(name), name);
        }
    }

    void whereTheTourIsNotInstalledTheProgramSaysSo_data()
    {
        QTest::addColumn<QString>("option");
        QTest::newRow("tour") << QStringLiteral("--tour");
        QTest::newRow("demo") << QStringLiteral("--demo");
    }
    void whereTheTourIsNotInstalledTheProgramSaysSo()
    {
        QFETCH(QString, option);
        Program desk(installedAlone(), {option, in("there")}, m_dir->path());
        QCOMPARE(desk.exitCode(), DeskApplication::kExtrasMissing);
        QCOMPARE(desk.errors(), QStringLiteral("krx-desk: The demo and the guided tour are not installed "
                                               "(krx-desk-extras.so is missing).\n"));
        QVERIFY(!QDir(in("there")).exists());
    }

    void aLibraryThatCannotBeLoadedIsTold()
    {
        const QString program = installedAlone();
        QFile broken(in("bin/krx-desk-extras.so"));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("no library");
        broken.close();
        Program desk(program, {QStringLiteral("--tour"), in("there")}, m_dir->path());
        QCOMPARE(desk.exitCode(), 1);
        const QString errors = desk.errors();
        QVERIFY2(
            errors.startsWith(QLatin1String("krx-desk: The demo and the guided tour cannot be loaded: ")),
            qPrintable(errors));
    }

    void theLibraryOfAnotherVersionIsRefused()
    {
        const QString program = installedAlone();
        QVERIFY(QFile::copy(QStringLiteral(KRX_OTHER_EXTRAS), in("bin/krx-desk-extras.so")));
        Program desk(program, {QStringLiteral("--tour"), in("there")}, m_dir->path());
        QCOMPARE(desk.exitCode(), 1);
        QCOMPARE(desk.errors(), QStringLiteral("krx-desk: %1 belongs to another version of KRX Desk.\n")
                                    .arg(in("bin/krx-desk-extras.so")));
    }

    void theRealServiceTellsTheFeedOfWhatOthersMake()
    {
        const quint16 port = RefusingPort().port();
        const ScopedConnectPort connect(port);
        QVERIFY(QDir().mkpath(in("Rushes")));
        const Program service(
            QStringLiteral(KRX_SERVICE),
            {QStringLiteral("--port"), QString::number(port), QStringLiteral("--data"), in("service")},
            m_dir->path());
        RestReply answer;
        QTRY_VERIFY_WITH_TIMEOUT((answer = restrequest::get(QStringLiteral("activity"), kPatience)).succeeded,
                                 kPatience);
        ClipFeed feed;
        ServiceNames names;
        QObject::connect(&feed, &ClipFeed::namesChanged, &feed,
                         [&](const ServiceNames& told) { names = told; });
        feed.listen();
        QTRY_VERIFY_WITH_TIMEOUT(names.profiles.size() == 1, kPatience);
        QCOMPARE(names.profiles.constBegin().value(), QStringLiteral("Default Profile"));
        QVERIFY(names.folders.isEmpty());
        const QString profile = names.profiles.constBegin().key();
        answer = restrequest::post(QStringLiteral("xelmediafolders"),
                                   QStringLiteral("<xelMediaFolderRequest><xelMediaFolder><path>%1</path>"
                                                  "<profile>%2</profile><enabled>false</enabled>"
                                                  "</xelMediaFolder></xelMediaFolderRequest>")
                                       .arg(in("Rushes"), profile)
                                       .toUtf8(),
                                   kPatience);
        QVERIFY2(answer.succeeded, qPrintable(answer.error));
        QTRY_VERIFY_WITH_TIMEOUT(names.folders.size() == 1, kPatience);
        QCOMPARE(names.folders.constBegin().value(), in("Rushes"));
    }

    void theDemoMakesAProjectAndMediaOfItsOwn()
    {
        Program desk(QStringLiteral(KRX_DESK),
                     {QStringLiteral("--demo"), in("demo"), QStringLiteral("--service-program"),
                      QStringLiteral(KRX_SERVICE)},
                     m_dir->path());
        // Only a service that runs and was told of the folder offers clips.
        QTRY_VERIFY_WITH_TIMEOUT(!QDir(in("demo/service/output"))
                                      .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                      .filter(QStringLiteral("f"))
                                      .isEmpty(),
                                 kPatience);
        QVERIFY(QFile::exists(in("demo/Demo.krxproject")));
        QCOMPARE(QDir(in("demo/Watched Folder")).entryList(QDir::Files).size(), 3);
        desk.terminate();
        QCOMPARE(desk.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestDeskProgram)
#include "test_desk_program.moc"
