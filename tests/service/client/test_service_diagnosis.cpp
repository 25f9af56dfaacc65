#include "ServiceCommand.h"
#include "ServiceStage.h"
#include "client/Redactor.h"

#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>

using krxservice::Redactor;

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

QString content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

/// What is written for somebody who is to help, and what is left out of it.
class TestServiceDiagnosis : public QObject
{
    Q_OBJECT

    ServiceStage m_stage;

    CommandResult diagnose(const QString& file, const QStringList& more = {}) const
    {
        return runCommand(QStringList{s("--diagnose"), file, s("--data"), m_stage.data, s("--no-socket"),
                                      s("--port"), QString::number(m_stage.service->port())} +
                          more);
    }
    QString at(const char* name) const { return m_stage.folder.filePath(s(name)); }

private slots:
    void initTestCase()
    {
        m_stage.watch = m_stage.folder.filePath(s("Secret Film/Day One"));
        QVERIFY(m_stage.begin());
        QFile file(m_stage.watch + s("/Actor Name.mov"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("this is no movie at all");
        file.close();
        QVERIFY(m_stage.marked(s("Scene 7.wav")));
        QTRY_COMPARE_WITH_TIMEOUT(m_stage.service->errors().size(), 1, kStagePatience);
    }
    void cleanupTestCase() { QCOMPARE(m_stage.service->terminate(), 0); }

    void everythingThatHelpsIsThere()
    {
        const CommandResult result = diagnose(at("all.txt"));
        QCOMPARE(result.err, QString());
        QCOMPARE(result.code, 0);
        const QString text = content(at("all.txt"));
        for (const char* expected :
             {"\nVersions\n", "SQLite", "kernel", "\nConfiguration\n", "\nThe service\n", "open descriptors",
              "watched directories", "integrity: ok", "\nFolders\n", "\nErrors\n",
              "Secret Film/Day One/Actor Name.mov is not offered", "max_user_watches", "\nVolumes\n",
              "\nThe end of the log\n", "offered"})
            QVERIFY2(text.contains(s(expected)), expected);
        QVERIFY2(
            text.contains(QRegularExpression(s("port = %1 +# command line").arg(m_stage.service->port()))),
            qPrintable(text));
        QVERIFY(text.contains(QRegularExpression(s("process +%1\n").arg(m_stage.service->pid()))));
        QVERIFY(text.contains(QRegularExpression(s("settle = 2 +# default"))));
    }

    void theDataAreThoseOfTheServiceThatAnswers()
    {
        const CommandResult result =
            runCommand({s("--diagnose"), at("other.txt"), s("--data"), at("nowhere"), s("--no-socket"),
                        s("--port"), QString::number(m_stage.service->port())});
        QCOMPARE(result.code, 0);
        const QString text = content(at("other.txt"));
        QVERIFY(text.contains(s("integrity: ok")));
        QVERIFY(text.section(s("\nThe end of the log\n"), 1).contains(s("data in ") + m_stage.data));
    }

    void onlyTheOwnerMayReadItAndNothingIsReplaced()
    {
        QCOMPARE(diagnose(at("own.txt")).code, 0);
        struct stat facts
        {
        };
        QCOMPARE(::stat(qPrintable(at("own.txt")), &facts), 0);
        QCOMPARE(int(facts.st_mode & 0777), 0600);
        const QString before = content(at("own.txt"));
        const CommandResult again = diagnose(at("own.txt"), {s("--redact")});
        QCOMPARE(again.code, 1);
        QVERIFY(!again.err.isEmpty());
        QCOMPARE(content(at("own.txt")), before);
        QVERIFY(QFile::link(at("target.txt"), at("link.txt")));
        QCOMPARE(diagnose(at("link.txt")).code, 1);
        QVERIFY(!QFile::exists(at("target.txt")));
    }

    void redactedItNamesNobodyAndNothing()
    {
        // As a reload says it; the file is gone on with at its end.
        QFile log(m_stage.data + s("/krx-service.log"));
        QVERIFY(log.open(QIODevice::WriteOnly | QIODevice::Append));
        log.write("2026-11-21T20:00:00 warn  the configuration was not read again: /srv/config.toml:1: "
                  "\"Secret Word\" is no value for the option --port\n");
        log.close();
        QCOMPARE(diagnose(at("redacted.txt"), {s("--redact")}).code, 0);
        const QString text = content(at("redacted.txt"));
        QVERIFY(text.contains(s("integrity: ok")));
        QVERIFY(text.contains(s("the configuration was not read again")));
        for (const char* secret : {"Secret", "Film", "Day One", "Actor", "Scene", "Default Profile", "Word"})
            QVERIFY2(!text.contains(s(secret)), secret);
        QVERIFY(!text.contains(m_stage.folder.path().section(QLatin1Char('/'), -1)));
        // One name, one stand-in: the folder in the list is the one in the error about its file.
        const auto folder = QRegularExpression(s("f000001 .*(/name-\\d+/name-\\d+)\n")).match(text);
        QVERIFY2(folder.hasMatch(), qPrintable(text));
        QVERIFY2(text.contains(
                     QRegularExpression(folder.captured(1) + s("/name-\\d+\\.mov is not offered: it is"))),
                 qPrintable(text));
    }

    void whatIsWrongWithTheConfigurationIsSaid_data()
    {
        QTest::addColumn<QByteArray>("config"); // empty: what stands there is no file
        QTest::addColumn<QString>("expected");
        QTest::newRow("an unknown key")
            << QByteArray("workers = 3\nsecretkey = 1\n") << s(":2: unknown key \"secretkey\"");
        QTest::newRow("no configuration at all") << QByteArray("workers = 3\n[[[\n") << s(":2: ");
        QTest::newRow("a wrong value") << QByteArray("workers = 3\nsettle = \"secret\"\n")
                                       << s(":2: \"secret\" is no value for the option --settle");
        QTest::newRow("an unknown user")
            << QByteArray("workers = 3\nallow-user = \"no secret user\"\n") << s("no secret user");
        QTest::newRow("one that cannot be read") << QByteArray() << s(" is no file");
    }
    void whatIsWrongWithTheConfigurationIsSaid()
    {
        QFETCH(QByteArray, config);
        QFETCH(QString, expected);
        const QTemporaryDir dir;
        const QString path = dir.filePath(s("config.toml"));
        if (config.isEmpty()) {
            QVERIFY(QDir().mkdir(path));
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(config);
        }
        // What a service does not start with.
        QCOMPARE(
            runCommand({s("--port"), s("0"), s("--data"), dir.filePath(s("data")), s("--config"), path}).code,
            2);
        const QStringList arguments{s("--config"), path};
        QCOMPARE(diagnose(dir.filePath(s("all.txt")), arguments).code, 0);
        const QString text = content(dir.filePath(s("all.txt")));
        const QRegularExpressionMatch wrong =
            QRegularExpression(s("\nwrong, so that the service does not start: (.*)\n")).match(text);
        QVERIFY2(wrong.captured(1).contains(expected), qPrintable(text));
        // All else is there, and what is right counts.
        QVERIFY(text.contains(s("integrity: ok")));
        QVERIFY(text.contains(QRegularExpression(s("settle = 2 +# default"))));
        QCOMPARE(text.contains(s("workers = 3 ")), config.startsWith("workers") && !config.contains("[["));
        QCOMPARE(diagnose(dir.filePath(s("redacted.txt")), arguments + QStringList{s("--redact")}).code, 0);
        const QString redacted = content(dir.filePath(s("redacted.txt")));
        QVERIFY(redacted.contains(s("\nwrong, so that the service does not start: ")));
        QVERIFY2(!redacted.contains(s("secret")), qPrintable(redacted));
    }

    void redactionAloneMakesNoSense() { QCOMPARE(runCommand({s("--redact")}).code, 2); }

    void withoutServiceAndDataItSaysSo()
    {
        const CommandResult result = runCommand({s("--diagnose"), at("none.txt"), s("--data"), at("missing"),
                                                 s("--no-port"), s("--socket"), at("nobody")});
        QCOMPARE(result.code, 0);
        QVERIFY(content(at("none.txt")).contains(s("it does not run")));
        QVERIFY(content(at("none.txt")).contains(s("it cannot be read")));
        QVERIFY(!QFile::exists(at("missing")));
    }

    void namesGetStandIns_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("redacted");
        const auto row = [](const char* name, const char* text, const char* redacted) {
            QTest::newRow(name) << QByteArray(text) << QByteArray(redacted);
        };
        row("a known path", "read /home/anna/My Clips/a b.mov: denied",
            "read /home/name-1/name-2/name-3.mov: denied");
        row("within quotes", "data = \"/home/anna/My Clips\" # said",
            "data = \"/home/name-1/name-2\" # said");
        row("a part of it", "in /home/anna", "in /home/name-1");
        row("a name that begins alike", "in /home/annabel", "in /home/name-5");
        row("an unknown one, to the end of its line", "lost /srv/Big Film.mov and more\nnext",
            "lost /srv/name-5 [...]\nnext");
        row("a person", "anna said annas (anna)", "name-1 said annas (name-1)");
        row("somebody else", "refused a connection of user 1000 (ben); ben again, and user 0 (root)",
            "refused a connection of user 1000 (name-5); name-5 again, and user 0 (root)");
        row("a profile", "the profile Für Ben: no", "the profile name-4: no");
        row("no path", "1/2 and/or http://127.0.0.1:58885/KRXService",
            "1/2 and/or http://127.0.0.1:58885/KRXService");
        row("of the system", "see /proc/sys/fs/inotify/max_user_watches",
            "see /proc/sys/fs/inotify/max_user_watches");
        row("behind a colon", "open:/srv/Big/a.mov", "open:/srv/name-5/name-6.mov");
        row("with a line", "/home/anna/conf.toml:12: no", "/home/name-1/name-5.toml [...]");
    }
    void namesGetStandIns()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, redacted);
        Redactor redactor;
        redactor.addName("anna");
        redactor.addPath("/home/anna/My Clips/a b.mov");
        redactor.addName("Für Ben");
        QCOMPARE(QByteArray::fromStdString(redactor.redact(text.toStdString())), redacted + '\n');
    }
};

QTEST_GUILESS_MAIN(TestServiceDiagnosis)
#include "test_service_diagnosis.moc"
