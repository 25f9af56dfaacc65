#include "BinsModel.h"
#include "DeskProject.h"

#include <QAbstractItemModelTester>
#include <QTemporaryDir>
#include <QTest>

class TestBinsModel : public QObject
{
    Q_OBJECT

private slots:
    void theTreeFollowsTheProject()
    {
        DeskProject project;
        BinsModel model(project);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const int bin = project.binNamed(QStringLiteral("Rushes"));
        QCOMPARE(model.rowCount(), 1);
        DeskClip clip;
        clip.id = QStringLiteral("1");
        clip.name = QStringLiteral("Harbour");
        clip.kind = QStringLiteral("video");
        clip.duration = 4;
        clip.checked = true;
        clip.source = QStringLiteral("/watch/Harbour.mov");
        clip.media = clip.source;
        clip.start = QStringLiteral("01:00:00:00");
        clip.reel = QStringLiteral("A001");
        clip.details = QStringLiteral("Missing: 3");
        project.addClip(bin, clip);
        const QModelIndex parent = model.index(0, 0);
        QCOMPARE(model.rowCount(parent), 1);
        const auto text = [&](int column) { return model.index(0, column, parent).data().toString(); };
        QCOMPARE(text(BinsModel::NameColumn), QStringLiteral("Harbour"));
        QCOMPARE(text(BinsModel::KindColumn), QStringLiteral("Movie"));
        QCOMPARE(text(BinsModel::DurationColumn), QStringLiteral("4.00 s"));
        QCOMPARE(text(BinsModel::StartColumn), QStringLiteral("01:00:00:00"));
        QCOMPARE(text(BinsModel::ReelColumn), QStringLiteral("A001"));
        QCOMPARE(model.index(0, 0, parent).data(Qt::ToolTipRole).toString(),
                 QStringLiteral("/watch/Harbour.mov\nMissing: 3"));
        QCOMPARE(text(BinsModel::CheckedColumn), QString(QChar(0x2713)));
        QCOMPARE(text(BinsModel::SourceColumn), QStringLiteral("Harbour.mov"));
        QCOMPARE(model.index(0, BinsModel::KindColumn).data().toString(), QStringLiteral("1 clip"));
        project.create(QStringLiteral("/nowhere/other.krxproject"));
        QCOMPARE(model.rowCount(), 0);
    }

    void aPathThatLooksLikeMarkupIsShownAsItIs()
    {
        DeskProject project;
        BinsModel model(project);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        DeskClip clip;
        clip.id = QStringLiteral("1");
        clip.media = QStringLiteral("/m/<b>a</b>.mov");
        clip.source = QStringLiteral("/watch/plain & simple.mov");
        project.addClip(project.binNamed(QStringLiteral("Rushes")), clip);
        const auto tip = [&](int column) {
            return model.index(0, column, model.index(0, 0)).data(Qt::ToolTipRole).toString();
        };
        QVERIFY2(tip(BinsModel::NameColumn).contains(QLatin1String("/m/&lt;b&gt;a&lt;/b&gt;.mov")),
                 qPrintable(tip(BinsModel::NameColumn)));
        // What cannot be taken for markup stays as it is.
        QCOMPARE(tip(BinsModel::SourceColumn), clip.source);
    }

    void anIndexKnowsItsBin()
    {
        DeskProject project;
        BinsModel model(project);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        project.binNamed(QStringLiteral("A"));
        const int bin = project.binNamed(QStringLiteral("B"));
        DeskClip clip;
        clip.id = QStringLiteral("1");
        project.addClip(bin, clip);
        QCOMPARE(BinsModel::binOf(QModelIndex()), -1);
        QCOMPARE(BinsModel::binOf(model.index(1, 2)), 1);
        QCOMPARE(BinsModel::binOf(model.index(0, 1, model.index(1, 0))), 1);
    }

    void theTreeFollowsAProjectThatIsReadFromItsFile()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a.krxproject"));
        QString error;
        {
            DeskProject project;
            project.create(path);
            for (const char* bin : {"A", "B"}) {
                DeskClip clip;
                clip.id = QString::fromLatin1(bin);
                project.addClip(project.binNamed(QString::fromLatin1(bin)), clip);
            }
            QVERIFY(project.save(error));
        }
        DeskProject project;
        BinsModel model(project);
        const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        project.binNamed(QStringLiteral("of before"));
        QVERIFY2(project.load(path, error), qPrintable(error));
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.rowCount(model.index(1, 0)), 1);
        DeskClip added;
        added.id = QStringLiteral("C");
        project.addClip(0, added);
        QCOMPARE(model.rowCount(model.index(0, 0)), 2);
    }

    void lengthsReadAsPeopleWriteThem_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown") << -1.0 << QString();
        QTest::newRow("short") << 4.2 << QStringLiteral("4.20 s");
        QTest::newRow("minutes") << 125.0 << QStringLiteral("2:05");
        QTest::newRow("hours") << 3725.9 << QStringLiteral("1:02:05");
    }
    void lengthsReadAsPeopleWriteThem()
    {
        QFETCH(double, seconds);
        QTEST(BinsModel::durationText(seconds), "text");
    }
};

QTEST_MAIN(TestBinsModel)
#include "test_bins_model.moc"
