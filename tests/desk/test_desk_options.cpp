#include "DeskOptions.h"

#include <QDir>
#include <QTest>

class TestDeskOptions : public QObject
{
    Q_OBJECT

    static bool parse(const char* arguments, DeskOptions& options, QString& error)
    {
        QStringList list{QStringLiteral("krx-desk")};
        list += QString::fromLatin1(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        return DeskOptions::parse(list, options, error);
    }

private slots:
    void withoutArgumentsTheWindowOpens()
    {
        DeskOptions options;
        QString error;
        QVERIFY(parse("", options, error));
        QCOMPARE(options.mode, DeskOptions::Mode::Window);
        QCOMPARE(options.skin, DeskOptions::Skin::Light);
        QVERIFY(!options.skinGiven);
        QVERIFY(options.project.isEmpty());
    }

    void pathsAreMadeAbsolute()
    {
        DeskOptions options;
        QString error;
        QVERIFY(parse("--project a.krxproject --service-data d --tour out --skin dark --language de", options,
                      error));
        QCOMPARE(options.project, QDir::current().absoluteFilePath(QStringLiteral("a.krxproject")));
        QCOMPARE(options.serviceData, QDir::current().absoluteFilePath(QStringLiteral("d")));
        QCOMPARE(options.tour, QDir::current().absoluteFilePath(QStringLiteral("out")));
        QCOMPARE(options.mode, DeskOptions::Mode::Tour);
        QCOMPARE(options.skin, DeskOptions::Skin::Dark);
        QCOMPARE(options.language, QStringLiteral("de"));
    }

    void helpAndVersionWinOverEverythingElse()
    {
        DeskOptions help;
        DeskOptions version;
        QString error;
        QVERIFY(parse("--tour out --help", help, error));
        QCOMPARE(help.mode, DeskOptions::Mode::ShowHelp);
        QVERIFY(parse("--version", version, error));
        QCOMPARE(version.mode, DeskOptions::Mode::ShowVersion);
        for (const char* name : {"--project", "--service-data", "--service-program", "--demo", "--tour",
                                 "--skin", "--language", "--help", "--version"})
            QVERIFY2(DeskOptions::helpText().contains(QString::fromLatin1(name)), name);
    }

    void whatMakesNoSenseIsRefusedWithAReason_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown option") << "--nonsense"
                                        << "Unknown option 'nonsense'.";
        QTest::newRow("stray word") << "word"
                                    << "\"word\" is not an option of krx-desk.";
        QTest::newRow("skin") << "--skin blue"
                              << "--skin takes light or dark, not \"blue\".";
        QTest::newRow("value missing") << "--project"
                                       << "Missing value after '--project'.";
        QTest::newRow("empty path") << "--project="
                                    << "--project needs a path.";
    }
    void whatMakesNoSenseIsRefusedWithAReason()
    {
        QFETCH(QString, arguments);
        DeskOptions options;
        QString error;
        QVERIFY(!parse(arguments.toLatin1().constData(), options, error));
        QTEST(error, "reason");
    }
};

QTEST_GUILESS_MAIN(TestDeskOptions)
#include "test_desk_options.moc"
