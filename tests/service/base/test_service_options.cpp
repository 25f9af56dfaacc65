#include "OtherUser.h"
#include "base/LogFile.h"
#include "base/Options.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

#include <map>

using namespace krxservice;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// What was said where, and who wins.
class TestServiceOptions : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    std::map<std::string, std::string> m_variables;

    std::string file(const QByteArray& content, const char* name = "config.toml") const
    {
        const QString path = m_folder.filePath(s(name));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
            qFatal("no file");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        return path.toStdString();
    }
    Outcome<Options> parse(const std::vector<std::string>& arguments) const
    {
        return Options::parse(arguments, [this](const char* name) {
            const auto found = m_variables.find(name);
            return found == m_variables.end() ? nullptr : found->second.c_str();
        });
    }
    static QByteArray from(const Options& options, const char* name)
    {
        for (const auto& one : options.shown) {
            if (one.name == name)
                return QByteArray::fromStdString(one.from);
        }
        return QByteArray();
    }

private slots:
    void init() { m_variables = {{"HOME", m_folder.path().toStdString()}}; }

    void commandLineBeatsEnvironmentBeatsFileBeatsDefault()
    {
        const std::string path = file("port = 1001\nsettle = 11\nrescan = 21.5\nhistory = 5\n");
        m_variables["KRX_SERVICE_CONFIG"] = path;
        m_variables["KRX_SERVICE_PORT"] = "1002";
        m_variables["KRX_SERVICE_SETTLE"] = "12";
        const auto options = parse({"--port", "1003"});
        QVERIFY2(options, options.refusal().text.c_str());
        QCOMPARE(options->port, 1003);
        QCOMPARE(options->settleSeconds, 12.0);
        QCOMPARE(options->rescanSeconds, 21.5);
        QCOMPARE(options->historySeconds, 5.0);
        QCOMPARE(parse({"--config", file("")})->historySeconds, 60.0);
        QVERIFY(!parse({"--history", "never"}));
        QCOMPARE(parse({"--config", file("")})->workers, 0);
        QCOMPARE(parse({"--workers", "7", "--config", file("workers = 3\n")})->workers, 7);
        QVERIFY(!parse({"--workers", "33"}));
        QVERIFY(!parse({"--workers", "-1"}));
        QVERIFY(options->logLevel == Options::LogLevel::Info);
        QCOMPARE(from(*options, "port"), QByteArray("command line"));
        QCOMPARE(from(*options, "settle"), QByteArray("environment, KRX_SERVICE_SETTLE"));
        QCOMPARE(from(*options, "rescan"), QByteArray::fromStdString(path) + ":3");
        QCOMPARE(from(*options, "log-level"), QByteArray("default"));
    }

    void usualFileIsFoundAndMayBeMissing()
    {
        m_variables["XDG_CONFIG_HOME"] = m_folder.path().toStdString();
        QVERIFY(parse({}));
        QVERIFY(QDir(m_folder.path()).mkpath(s("krx-service")));
        file("no-socket = true\n", "krx-service/config.toml");
        QVERIFY(!parse({})->hasSocket);
        QVERIFY(!parse({"--config", m_folder.filePath(s("missing")).toStdString()}));
    }

    void listsAreTakenWhole()
    {
        const std::string path = file("allow-user = [\"anna\", \"ben\"]\n");
        QCOMPARE(parse({"--config", path})->allowedUsers, (std::vector<std::string>{"anna", "ben"}));
        QCOMPARE(parse({"--config", path, "--allow-user", "c", "--allow-user=d"})->allowedUsers,
                 (std::vector<std::string>{"c", "d"}));
        m_variables["KRX_SERVICE_ALLOW_USER"] = "e,f";
        QCOMPARE(parse({"--config", path})->allowedUsers, (std::vector<std::string>{"e", "f"}));
    }

    void whatIsPrintedCanBeReadAgain()
    {
        const auto options = parse({"--no-port", "--data", "/a \"b\"\\c\nport = 1\x1B", "--settle", "0.25",
                                    "--log-level=error", "--allow-user", "anna", "--print-config"});
        QVERIFY(options->wish == Options::Wish::PrintConfig);
        const auto again = parse({"--config", file(QByteArray::fromStdString(options->configText()))});
        QVERIFY2(again, again.refusal().text.c_str());
        QVERIFY(!again->hasPort);
        QCOMPARE(again->dataFolder, std::string("/a \"b\"\\c\nport = 1\x1B"));
        QCOMPARE(again->settleSeconds, 0.25);
        QVERIFY(again->logLevel == Options::LogLevel::Error);
        QCOMPARE(again->allowedUsers, std::vector<std::string>{"anna"});
        QVERIFY(again->wantsUsualSocket());
    }

    void unknownKeysAreNamedWithFileAndLine()
    {
        const std::string path = file("port = 1\n\n# a comment\ncolour = \"red\"\n");
        const auto options = parse({"--config", path});
        QVERIFY(!options);
        const QByteArray text = QByteArray::fromStdString(options.refusal().text);
        QVERIFY2(text.startsWith(QByteArray::fromStdString(path) + ":4: ") && text.contains("\"colour\""),
                 text);
    }

    void filesThatAreNoConfigurationAreRefused_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("line");
        QTest::newRow("no TOML") << QByteArray("port = 1\nport port\n") << 2;
        QTest::newRow("twice") << QByteArray("port = 1\nport = 2\n") << 2;
        QTest::newRow("a table") << QByteArray("[service]\nport = 1\n") << 1;
        QTest::newRow("a table in a list") << QByteArray("\nallow-user = [{a = 1}]\n") << 2;
        QTest::newRow("a time") << QByteArray("port = 2020-01-01\n") << 1;
        QTest::newRow("two values") << QByteArray("port = [1, 2]\n") << 1;
        QTest::newRow("no port") << QByteArray("settle = 1\nport = 70000\n") << 2;
        QTest::newRow("no number") << QByteArray("settle = \"soon\"\n") << 1;
        QTest::newRow("a value of two lines") << QByteArray("settle = \"a\\nb\\u001b\"\n") << 1;
        QTest::newRow("a key of two lines") << QByteArray("\"a\\nb\\u001b\" = 1\n") << 1;
        QTest::newRow("no flag") << QByteArray("no-port = 2\n") << 1;
        QTest::newRow("no level") << QByteArray("log-level = \"all\"\n") << 1;
    }
    void filesThatAreNoConfigurationAreRefused()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, line);
        const std::string path = file(content);
        const auto options = parse({"--config", path});
        QVERIFY(!options);
        const QByteArray text = QByteArray::fromStdString(options.refusal().text);
        QVERIFY2(text.startsWith(QByteArray::fromStdString(path) + ':' + QByteArray::number(line) + ": "),
                 text);
        QVERIFY(!text.contains('\n') && !text.contains('\x1B'));
    }

    void wrongValuesInTheEnvironmentAreNamedByTheirVariable()
    {
        for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
                 {"KRX_SERVICE_PORT", "many"}, {"KRX_SERVICE_NO_PORT", "yes"}, {"KRX_SERVICE_DATA", ""}}) {
            m_variables[name] = value;
            const auto options = parse({});
            QVERIFY2(!options && options.refusal().text.find(name) != std::string::npos, name.c_str());
            m_variables.erase(name);
        }
    }

    void filesOfOthersAreRefused()
    {
        const std::string path = file("port = 1\n");
        QVERIFY(parse({"--config", path}));
        QCOMPARE(::chmod(path.c_str(), 0666), 0);
        QVERIFY(!parse({"--config", path}));
        QCOMPARE(::chmod(path.c_str(), 0644), 0);
        QVERIFY(parse({"--config", path}));
        QVERIFY(!parse({"--config", m_folder.path().toStdString()}));
        const std::string pipe = path + ".pipe";
        QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
        QVERIFY(!parse({"--config", pipe}));
        if (OtherUser::isPossible()) {
            QCOMPARE(::chown(path.c_str(), OtherUser::kNumber, 0), 0);
            QVERIFY(!parse({"--config", path}));
        }
    }

    void someWayInMustBeLeft() { QVERIFY(!parse({"--no-port", "--no-socket"})); }

    void usualSocketBelongsToTheUsualPort()
    {
        QVERIFY(parse({})->wantsUsualSocket());
        QVERIFY(parse({"--no-port"})->wantsUsualSocket());
        QVERIFY(!parse({"--port", "0"})->wantsUsualSocket());
        QVERIFY(!parse({"--no-socket"})->wantsUsualSocket());
        QVERIFY(!parse({"--socket", "/x"})->wantsUsualSocket());
        QCOMPARE(parse({"--socket", "/x"})->socketPath, std::string("/x"));
    }

    void logFileFollowsTheData()
    {
        QCOMPARE(parse({})->logFile, m_variables["HOME"] + "/.local/state/krx-service/krx-service.log");
        QCOMPARE(parse({"--data", "/d"})->logFile, std::string("/d/krx-service.log"));
        QCOMPARE(parse({"--log-file", "none"})->logFile, std::string());
    }

    void helpNamesEveryOption()
    {
        const QByteArray help = QByteArray::fromStdString(Options::helpText());
        const auto options = parse({});
        for (const auto& one : options->shown)
            QVERIFY2(help.contains("  --" + QByteArray::fromStdString(one.name)), one.name.c_str());
        for (const QByteArray& line : help.split('\n'))
            QVERIFY2(line.size() <= 90, line.constData());
    }

    void logFilesAreBegunAnew()
    {
        const QString path = m_folder.filePath(s("logs/a.log"));
        LogFile log(100, 2);
        QCOMPARE(log.open(path.toStdString()), std::string());
        for (const char* line : {"one", "two", "three", "four"})
            log.write(std::string(60, *line) + '\n');
        QCOMPARE(contentOf(path), QByteArray(60, 'f') + '\n');
        QCOMPARE(contentOf(path + s(".1")), QByteArray(60, 't') + '\n');
        QCOMPARE(contentOf(path + s(".2")), QByteArray(60, 't') + '\n');
        QVERIFY(!QFile::exists(path + s(".3")));
        struct stat facts
        {
        };
        QCOMPARE(::stat(path.toLocal8Bit().constData(), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0600);
        // What is there is gone on with.
        LogFile again(100, 2);
        QCOMPARE(again.open(path.toStdString()), std::string());
        again.write("x\n");
        QCOMPARE(contentOf(path), QByteArray(60, 'f') + "\nx\n");
    }

    void logFilesThatAreOpenToOthersAreClosed()
    {
        const std::string path = file("x\n", "open.log");
        const std::string older = file("x\n", "open.log.1");
        const auto modeOf = [](const std::string& of) {
            struct stat facts
            {
            };
            return ::stat(of.c_str(), &facts) == 0 ? int(facts.st_mode & 0777) : -1;
        };
        for (const auto& each : {path, older})
            QCOMPARE(::chmod(each.c_str(), 0644), 0);
        LogFile log(100, 2);
        QCOMPARE(log.open(path), std::string());
        QCOMPARE(modeOf(path), 0600);
        QCOMPARE(modeOf(older), 0600);
        QVERIFY(log.takeNote().find("open.log or an older part of it was open to others") !=
                std::string::npos);
        QCOMPARE(log.open(path), std::string());
        QCOMPARE(log.takeNote(), std::string());
        // The folder that is the service's own as well, and no other one.
        for (const bool isOwn : {true, false}) {
            const std::string folder =
                m_folder.filePath(s(isOwn ? "state/krx-service" : "state/else")).toStdString();
            QVERIFY(QDir().mkpath(QString::fromStdString(folder)));
            QCOMPARE(::chmod(folder.c_str(), 0755), 0);
            QCOMPARE(log.open(folder + "/a.log"), std::string());
            QCOMPARE(modeOf(folder), isOwn ? 0700 : 0755);
            QCOMPARE(log.takeNote().find(folder + " was open to others") != std::string::npos, isOwn);
        }
    }

    void logFilesAreNotWrittenElsewhere()
    {
        const QString target = m_folder.filePath(s("target"));
        const QString link = m_folder.filePath(s("link.log"));
        QVERIFY(QFile::link(target, link));
        LogFile log(100, 2);
        QVERIFY(!log.open(link.toStdString()).empty());
        log.write("x\n");
        QVERIFY(!QFile::exists(target));
        QVERIFY(!log.open(m_folder.path().toStdString()).empty());
        const std::string pipe = m_folder.filePath(s("pipe.log")).toStdString();
        QCOMPARE(::mkfifo(pipe.c_str(), 0600), 0);
        QVERIFY(!log.open(pipe).empty());
        if (OtherUser::isPossible()) {
            const std::string foreign = file("x\n", "foreign.log");
            QCOMPARE(::chown(foreign.c_str(), OtherUser::kNumber, 0), 0);
            QVERIFY(!log.open(foreign).empty());
            const std::string folder = m_folder.filePath(s("theirs")).toStdString();
            QCOMPARE(::mkdir(folder.c_str(), 0777), 0);
            QCOMPARE(::chown(folder.c_str(), OtherUser::kNumber, 0), 0);
            QVERIFY(log.open(folder + "/a.log").find("belongs to user 54321; choose another") !=
                    std::string::npos);
            QVERIFY(!QFile::exists(m_folder.filePath(s("theirs/a.log"))));
        }
    }
};

QTEST_GUILESS_MAIN(TestServiceOptions)
#include "test_service_options.moc"
