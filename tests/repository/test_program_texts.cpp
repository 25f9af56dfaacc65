#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTest>

namespace {

constexpr int kPatience = 20000;

struct Ran
{
    int code = -1;
    QString out;
    QString err;
};

Ran ran(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished(kPatience) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

QString textFile(const QString& name)
{
    return QStringLiteral(KRX_TEXTS "/") + name;
}

QString content(const QString& name)
{
    QFile file(textFile(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QSet<QString> all(const QString& text, const char* pattern)
{
    QSet<QString> found;
    auto matches = QRegularExpression(QString::fromLatin1(pattern), QRegularExpression::MultilineOption)
                       .globalMatch(text);
    while (matches.hasNext())
        found << matches.next().captured(1);
    return found;
}

QStringList sorted(const QSet<QString>& set)
{
    QStringList list = set.values();
    list.sort();
    return list;
}

QString programPath(const QString& program)
{
    return program == QLatin1String("krx-desk") ? QStringLiteral(KRX_DESK) : QStringLiteral(KRX_SERVICE);
}

} // namespace

/// Manual pages and completion say what --help says, no more and no less.
class TestProgramTexts : public QObject
{
    Q_OBJECT

    static QString help(const QString& program)
    {
        return ran(programPath(program), {QStringLiteral("--help")}).out;
    }

    /// What bash offers when the last of \a words is being typed.
    static QStringList offered(const QString& words, int position)
    {
        const QString script =
            QStringLiteral("source \"$1\"; COMP_WORDS=(%1); COMP_CWORD=%2; compopt() { :; }; _krx_service; "
                           "printf '%s\\n' \"${COMPREPLY[@]}\"")
                .arg(words)
                .arg(position);
        const Ran bash = ran(QStringLiteral("bash"), {QStringLiteral("-c"), script, QStringLiteral("bash"),
                                                      textFile(QStringLiteral("krx-service.bash"))});
        return bash.err.isEmpty() ? bash.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)
                                  : QStringList{bash.err};
    }

private slots:
    void optionsAreThoseOfTheProgram_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("pattern");
        for (const QString& program : {QStringLiteral("krx-service"), QStringLiteral("krx-desk")}) {
            const auto row = [&](const QString& file, const char* pattern) {
                QTest::newRow(qPrintable(file)) << program << file << QString::fromLatin1(pattern);
            };
            row(program + QStringLiteral(".1"), "^\\\\fB\\\\-\\\\-([a-z\\\\-]+)\\\\fR");
            row(program + QStringLiteral(".bash"), "[ '\"]--([a-z-]+)(?=[ '\"])");
            row(QStringLiteral("_") + program, "'--([a-z-]+)=?\\[");
            row(program + QStringLiteral(".fish"), " -l ([a-z-]+)");
        }
    }
    void optionsAreThoseOfTheProgram()
    {
        QFETCH(QString, program);
        QFETCH(QString, file);
        QFETCH(QString, pattern);
        const QSet<QString> wanted = all(help(program), "^ +(?:-[a-z], )?--([a-z-]+)");
        QVERIFY(wanted.size() > 8);
        QSet<QString> named;
        for (QString name : all(content(file), qPrintable(pattern)))
            named << name.remove(QLatin1Char('\\'));
        QCOMPARE(sorted(named), sorted(wanted));
    }

    void commandsAreThoseOfTheProgram_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("pattern");
        QTest::newRow("man") << QStringLiteral("krx-service.1")
                             << QStringLiteral("^.TP\n\\\\fB([a-z][a-z\\\\-]+)\\\\fR");
        QTest::newRow("bash") << QStringLiteral("krx-service.bash")
                              << QStringLiteral("^        ([a-z][a-z-]+)\\)");
        QTest::newRow("zsh") << QStringLiteral("_krx-service") << QStringLiteral("^    '([a-z-]+):");
        QTest::newRow("fish") << QStringLiteral("krx-service.fish")
                              << QStringLiteral("__fish_use_subcommand -a ([a-z-]+) ");
    }
    void commandsAreThoseOfTheProgram()
    {
        QFETCH(QString, file);
        QFETCH(QString, pattern);
        const QString text = help(QStringLiteral("krx-service"));
        const QString listed =
            text.section(QStringLiteral("\nCommands:\n"), 1).section(QStringLiteral("\n\n"), 0, 0);
        const QSet<QString> wanted = all(listed, "^  ([a-z-]+)");
        QVERIFY(wanted.contains(QStringLiteral("status")));
        QSet<QString> named;
        for (QString name : all(content(file), qPrintable(pattern)))
            named << name.remove(QLatin1Char('\\'));
        QCOMPARE(sorted(named), sorted(wanted));
    }

    void pagesAreWrittenWithoutFault()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("groff")).isEmpty())
            QSKIP("groff is not installed");
        for (const QString& page : {QStringLiteral("krx-service.1"), QStringLiteral("krx-desk.1")}) {
            const Ran groff = ran(QStringLiteral("groff"), {QStringLiteral("-man"), QStringLiteral("-ww"),
                                                            QStringLiteral("-Tutf8"), textFile(page)});
            QCOMPARE(groff.err, QString());
            QCOMPARE(groff.code, 0);
            for (const char* title : {"NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "SEE ALSO"})
                QVERIFY2(content(page).contains(QStringLiteral("\n.SH ") + QString::fromLatin1(title)),
                         title);
        }
    }

    void pagesNameTheEnvironment_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QStringList>("folders");
        // What the desk's host asks for is the desk's.
        QTest::newRow("krx-desk") << QStringLiteral("krx-desk.1")
                                  << QStringList{QStringLiteral("desk"), QStringLiteral("src")};
        QTest::newRow("krx-service") << QStringLiteral("krx-service.1")
                                     << QStringList{QStringLiteral("service")};
    }
    void pagesNameTheEnvironment()
    {
        QFETCH(QString, page);
        QFETCH(QStringList, folders);
        QSet<QString> asked;
        for (const QString& folder : folders) {
            QDirIterator sources(QStringLiteral(KRX_SOURCE_DIR "/") + folder, {QStringLiteral("*.cpp")},
                                 QDir::Files, QDirIterator::Subdirectories);
            while (sources.hasNext()) {
                QFile source(sources.next());
                QVERIFY(source.open(QIODevice::ReadOnly));
                asked |= all(QString::fromUtf8(source.readAll()), "\"((?:KRX|XDG)_[A-Z_]+)\"");
            }
        }
        QVERIFY(asked.size() > 1);
        QString text = content(page);
        text.remove(QLatin1Char('\\'));
        for (const QString& name : qAsConst(asked))
            QVERIFY2(text.contains(name), qPrintable(name));
    }

    void pagesSayWhatEachEndMeans_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<int>("last");
        QTest::newRow("krx-desk") << QStringLiteral("krx-desk.1") << 3;
        QTest::newRow("krx-service") << QStringLiteral("krx-service.1") << 4;
    }
    void pagesSayWhatEachEndMeans()
    {
        QFETCH(QString, page);
        QFETCH(int, last);
        const QString section = content(page)
                                    .section(QStringLiteral("\n.SH EXIT STATUS\n"), 1)
                                    .section(QStringLiteral("\n.SH "), 0, 0);
        QSet<QString> wanted;
        for (int code = 0; code <= last; ++code)
            wanted << QString::number(code);
        QCOMPARE(sorted(all(section, "\\b([0-9])\\b")), sorted(wanted));
    }

    void shellsUnderstandTheirCompletion_data()
    {
        QTest::addColumn<QString>("shell");
        QTest::addColumn<QString>("file");
        for (const char* program : {"krx-service", "krx-desk"}) {
            const QString name = QString::fromLatin1(program);
            QTest::addRow("bash, %s", program) << QStringLiteral("bash") << name + QStringLiteral(".bash");
            QTest::addRow("zsh, %s", program) << QStringLiteral("zsh") << QStringLiteral("_") + name;
            QTest::addRow("fish, %s", program) << QStringLiteral("fish") << name + QStringLiteral(".fish");
        }
    }
    void shellsUnderstandTheirCompletion()
    {
        QFETCH(QString, shell);
        QFETCH(QString, file);
        if (QStandardPaths::findExecutable(shell).isEmpty())
            QSKIP("the shell is not installed");
        const Ran checked = ran(shell, {QStringLiteral("-n"), textFile(file)});
        QCOMPARE(checked.err, QString());
        QCOMPARE(checked.code, 0);
    }

    void bashOffersNamesAndValues()
    {
        QCOMPARE(offered(QStringLiteral("krx-service --log-level ''"), 2),
                 (QStringList{QStringLiteral("info"), QStringLiteral("warning"), QStringLiteral("error")}));
        QVERIFY(offered(QStringLiteral("krx-service sta"), 1) == QStringList{QStringLiteral("status")});
        QVERIFY(offered(QStringLiteral("krx-service clips --fol"), 2) ==
                QStringList{QStringLiteral("--folder")});
        QVERIFY(offered(QStringLiteral("krx-service status --fol"), 2).isEmpty());
        QCOMPARE(offered(QStringLiteral("krx-service --log-l"), 1),
                 QStringList{QStringLiteral("--log-level")});
        QCOMPARE(offered(QStringLiteral("krx-service --settle ''"), 2), QStringList());
        QVERIFY(offered(QStringLiteral("krx-service --log-file /etc/passw"), 2)
                    .contains(QStringLiteral("/etc/passwd")));
    }

    void fishOffersNamesAndValues()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("fish")).isEmpty())
            QSKIP("fish is not installed");
        const auto offers = [](const char* line) {
            return ran(QStringLiteral("fish"),
                       {QStringLiteral("-N"), QStringLiteral("-c"),
                        QStringLiteral("source $argv[1]; complete -C $argv[2]"),
                        textFile(QStringLiteral("krx-service.fish")), QString::fromLatin1(line)})
                .out;
        };
        QCOMPARE(all(offers("krx-service --log-level "), "^([a-z]+)").size(), 3);
        QVERIFY(offers("krx-service --log-l").startsWith(QLatin1String("--log-level\t")));
    }
};

QTEST_GUILESS_MAIN(TestProgramTexts)
#include "test_program_texts.moc"
