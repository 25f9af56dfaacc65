#include "DeskProject.h"
#include "DeskProjectFile.h"
#include "ProjectFiles.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using ProjectFiles::contentOf;

namespace {

DeskClip clip(const QString& id, const QString& name = QStringLiteral("Clip"))
{
    DeskClip made;
    made.id = id;
    made.name = name;
    made.kind = QStringLiteral("video");
    made.duration = 4.5;
    made.media = QStringLiteral("/media/clip.mov");
    made.source = QStringLiteral("/watch/clip.mov");
    made.linkDocument = QStringLiteral("/out/clip.xel");
    made.checked = true;
    made.acquired = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9));
    return made;
}

void write(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

} // namespace

class TestDeskProject : public QObject
{
    Q_OBJECT

private slots:
    void whatWasSavedIsReadBack()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("Show.krxproject"));
        DeskProject project;
        project.create(path);
        const int rushes = project.binNamed(QStringLiteral("Rushes \U0001F3AC"));
        const int sound = project.binNamed(QStringLiteral("Sound"));
        QVERIFY(project.addClip(rushes, clip(QStringLiteral("a"), QStringLiteral(" two  blanks"))));
        DeskClip unknownLength = clip(QStringLiteral("b"));
        unknownLength.duration = -1;
        unknownLength.checked = false;
        QVERIFY(project.addClip(sound, unknownLength));
        project.setActiveBin(sound);
        QString error;
        QVERIFY2(project.save(error), qPrintable(error));

        DeskProject read;
        QVERIFY2(read.load(path, error), qPrintable(error));
        QCOMPARE(read.name(), QStringLiteral("Show"));
        QCOMPARE(read.bins().size(), 2);
        QCOMPARE(read.bins().at(0).name, QStringLiteral("Rushes \U0001F3AC"));
        const DeskClip back = read.bins().at(0).clips.at(0);
        QCOMPARE(back.id, QStringLiteral("a"));
        QCOMPARE(back.name, QStringLiteral(" two  blanks"));
        QCOMPARE(back.kind, QStringLiteral("video"));
        QCOMPARE(back.duration, 4.5);
        QCOMPARE(back.media, QStringLiteral("/media/clip.mov"));
        QCOMPARE(back.source, QStringLiteral("/watch/clip.mov"));
        QCOMPARE(back.linkDocument, QStringLiteral("/out/clip.xel"));
        QVERIFY(back.checked);
        QCOMPARE(back.acquired, QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9)));
        QCOMPARE(read.bins().at(1).clips.at(0).duration, -1.0);
        QVERIFY(!read.bins().at(1).clips.at(0).checked);
        QCOMPARE(read.activeBin(), 1);
        QVERIFY(read.contains(QStringLiteral("b")));
        QCOMPARE(read.clipCount(), 2);
    }

    void theFileIsWrittenAsAnyWriterOfJsonWouldWriteIt()
    {
        DeskClip odd = clip(QStringLiteral("odd"), QStringLiteral("\"q\" \\ \t\n\u0001 \u00e9 \U0001F3AC"));
        odd.name += QChar(0xD800);
        odd.duration = 1001.0 / 24000;
        odd.start = QStringLiteral("01:00:00:00");
        odd.details = QStringLiteral("one\n    two");
        DeskClip later = clip(QStringLiteral("later"));
        later.duration = 60;
        later.more = {{QStringLiteral("marks"), QJsonArray{1, QJsonObject{{QStringLiteral("at"), 2.5}}}},
                      {QStringLiteral("b"), QStringLiteral("x\ny")}};
        DeskProjectFile::Contents contents;
        contents.activeBin = QStringLiteral("One");
        contents.more = {{QStringLiteral("aa"), QJsonObject{{QStringLiteral("z"), QJsonArray()}}},
                         {QStringLiteral("zz"), QJsonValue()}};
        contents.bins = {{QStringLiteral("One"), {odd, clip(QStringLiteral("plain")), later}, {}},
                         {QStringLiteral("None"), {}, {{QStringLiteral("colour"), QStringLiteral("red")}}}};
        const QByteArray written = DeskProjectFile::toBytes(contents);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(written, &error);
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(written, document.toJson());
        const QJsonObject root = document.object();
        QCOMPARE(root.value(QStringLiteral("zz")), QJsonValue());
        QVERIFY(root.contains(QStringLiteral("zz")) && root.contains(QStringLiteral("aa")));
        const QJsonArray clips = root.value(QStringLiteral("bins"))
                                     .toArray()
                                     .at(0)
                                     .toObject()
                                     .value(QStringLiteral("clips"))
                                     .toArray();
        QCOMPARE(clips.size(), 3);
        QCOMPARE(clips.at(0).toObject().value(QStringLiteral("details")).toString(), odd.details);
        QCOMPARE(clips.at(0).toObject().value(QStringLiteral("durationSeconds")).toDouble(), odd.duration);
        QVERIFY(!clips.at(1).toObject().contains(QStringLiteral("start")));
        QCOMPARE(clips.at(2).toObject().value(QStringLiteral("marks")),
                 later.more.value(QStringLiteral("marks")));
        DeskProjectFile::Contents none;
        const QByteArray empty = DeskProjectFile::toBytes(none);
        QCOMPARE(empty, QJsonDocument::fromJson(empty).toJson());
    }

    void theMomentOfAcquiringIsTheSameInAnotherTimeZone()
    {
        const QByteArray zone = qgetenv("TZ");
        const auto live = [](const QByteArray& place) {
            qputenv("TZ", place);
            ::tzset();
        };
        const auto back = qScopeGuard([&] {
            zone.isNull() ? qunsetenv("TZ") : qputenv("TZ", zone);
            ::tzset();
        });
        live("JST-9");
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("moment.krxproject"));
        const DeskClip made = clip(QStringLiteral("a"));
        const qint64 moment = made.acquired.toMSecsSinceEpoch();
        QString error;
        {
            DeskProject project;
            project.create(path);
            QVERIFY(project.addClip(project.binNamed(QStringLiteral("Rushes")), made));
            QVERIFY2(project.save(error), qPrintable(error));
        }
        live("EST5");
        DeskProject read;
        QVERIFY2(read.load(path, error), qPrintable(error));
        QCOMPARE(read.bins().at(0).clips.at(0).acquired.toMSecsSinceEpoch(), moment);
        // A project of before, without an offset, keeps what its clock showed.
        QByteArray old = contentOf(path);
        old.replace("T05:07:09Z", "T05:07:09");
        write(path, old);
        DeskProject older;
        QVERIFY2(older.load(path, error), qPrintable(error));
        QCOMPARE(older.bins().at(0).clips.at(0).acquired, QDateTime(QDate(2024, 3, 5), QTime(5, 7, 9)));
    }

    void aClipWhoseIdIsKnownIsNotAddedAgain()
    {
        DeskProject project;
        const int bin = project.binNamed(QStringLiteral("Rushes"));
        const int other = project.binNamed(QStringLiteral("Other"));
        QVERIFY(project.addClip(bin, clip(QStringLiteral("a"))));
        QVERIFY(!project.addClip(other, clip(QStringLiteral("a"))));
        QVERIFY(!project.addClip(bin, clip(QString())));
        QCOMPARE(project.clipCount(), 1);
        QVERIFY(project.bins().at(other).clips.isEmpty());
    }

    void aBinIsMadeOnceForEachName()
    {
        DeskProject project;
        QCOMPARE(project.binNamed(QStringLiteral("Rushes")), 0);
        QCOMPARE(project.binNamed(QStringLiteral("rushes")), 1);
        QCOMPARE(project.binNamed(QStringLiteral("Rushes")), 0);
        QCOMPARE(project.bins().size(), 2);
    }

    void theActiveBinIsTheChosenElseTheFirstElseOneNamedAsTheProject()
    {
        DeskProject project;
        project.create(QStringLiteral("/nowhere/Evening Show.krxproject"));
        QCOMPARE(project.activeBin(), 0);
        QCOMPARE(project.bins().at(0).name, QStringLiteral("Evening Show"));
        project.binNamed(QStringLiteral("Second"));
        QCOMPARE(project.activeBin(), 0);
        project.setActiveBin(1);
        QCOMPARE(project.activeBin(), 1);
        project.setActiveBin(-1);
        QCOMPARE(project.activeBin(), 0);
    }

    void keysOfALaterVersionSurviveASave()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a.krxproject"));
        write(path, "{\"format\":\"krx-desk-project\",\"version\":1,\"colour\":\"blue\",\"bins\":[{\"name\":"
                    "\"B\",\"locked\":true,\"clips\":[{\"id\":\"1\",\"name\":\"N\",\"rating\":5}]}]}");
        DeskProject project;
        QString error;
        QVERIFY2(project.load(path, error), qPrintable(error));
        project.binNamed(QStringLiteral("New"));
        QVERIFY2(project.save(error), qPrintable(error));
        const QJsonObject root = QJsonDocument::fromJson(contentOf(path)).object();
        QCOMPARE(root[QLatin1String("colour")].toString(), QStringLiteral("blue"));
        const QJsonValue bin = root[QLatin1String("bins")][0];
        QCOMPARE(bin[QLatin1String("locked")].toBool(), true);
        QCOMPARE(bin[QLatin1String("clips")][0][QLatin1String("rating")].toInt(), 5);
    }

    void aDamagedFileIsRefusedWithAReasonAndLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason");
        QTest::newRow("cut short") << QByteArray("{\"format\":\"krx-desk-project\",\"vers")
                                   << QStringLiteral("it is damaged near byte 35 (unterminated string)");
        QTest::newRow("empty") << QByteArray() << QStringLiteral("it is damaged near byte 0 (illegal value)");
        QTest::newRow("something else")
            << QByteArray("{\"a\":1}") << QStringLiteral("it is not a project of KRX Desk");
        QTest::newRow("newer") << QByteArray("{\"format\":\"krx-desk-project\",\"version\":2}")
                               << QStringLiteral("it was made by another version of KRX Desk");
        QTest::newRow("doubled id") << QByteArray(
                                           "{\"format\":\"krx-desk-project\",\"version\":1,\"bins\":[{"
                                           "\"name\":\"B\",\"clips\":[{\"id\":\"1\"},{\"id\":\"1\"}]}]}")
                                    << QStringLiteral("a clip of the bin \"B\" has no id of its own");
    }
    void aDamagedFileIsRefusedWithAReasonAndLeftAlone()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a.krxproject"));
        write(path, content);
        DeskProject project;
        project.create(QStringLiteral("/nowhere/former.krxproject"));
        project.binNamed(QStringLiteral("Kept"));
        QString error;
        QVERIFY(!project.load(path, error));
        QCOMPARE(error, QStringLiteral("The project %1 cannot be opened: %2.").arg(path, reason));
        QCOMPARE(contentOf(path), content);
        QCOMPARE(project.name(), QStringLiteral("former"));
        QCOMPARE(project.bins().size(), 1);
    }

    void aMissingFileIsRefusedWithAReason()
    {
        DeskProject project;
        QString error;
        QVERIFY(!project.load(QStringLiteral("/nowhere/a.krxproject"), error));
        QCOMPARE(
            error,
            QStringLiteral("The project /nowhere/a.krxproject cannot be opened: No such file or directory."));
    }

    void aFailedSaveLeavesTheOldFileAndNothingElse()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a.krxproject"));
        DeskProject project;
        project.create(path);
        project.binNamed(QStringLiteral("First"));
        QString error;
        QVERIFY(project.save(error));
        const QByteArray before = contentOf(path);
        project.binNamed(QStringLiteral("Second"));
        // A folder in the file's place fails for every user, root included.
        QVERIFY(QFile::rename(path, dir.filePath(QStringLiteral("kept"))));
        QVERIFY(QDir().mkpath(QString(path + QLatin1String("/in the way"))));
        QVERIFY(!project.save(error));
        QVERIFY2(error.startsWith(QStringLiteral("The project %1 cannot be saved: ").arg(path)),
                 qPrintable(error));
        QVERIFY(project.isModified());
        QCOMPARE(contentOf(dir.filePath(QStringLiteral("kept"))), before);
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
                 2);
    }

    void saveAsThatFailsKeepsTheFormerPath()
    {
        const QTemporaryDir dir;
        DeskProject project;
        project.create(dir.filePath(QStringLiteral("a.krxproject")));
        QString error;
        QVERIFY(!project.saveAs(QStringLiteral("/nowhere/b.krxproject"), error));
        QCOMPARE(project.name(), QStringLiteral("a"));
        QVERIFY(project.saveAs(dir.filePath(QStringLiteral("c.krxproject")), error));
        QCOMPARE(project.name(), QStringLiteral("c"));
    }

    void aReaderSeesTheOldFileOrTheNewOneWhole()
    {
        // The file is replaced, never written into: a reader that opened it before goes on reading the old
        // one.
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a.krxproject"));
        DeskProject project;
        project.create(path);
        QString error;
        QVERIFY(project.save(error));
        QFile reader(path);
        QVERIFY(reader.open(QIODevice::ReadOnly));
        const QByteArray before = contentOf(path);
        for (int i = 0; i < 200; ++i)
            project.binNamed(QString::number(i));
        QVERIFY(project.save(error));
        QCOMPARE(reader.readAll(), before);
        QVERIFY(contentOf(path) != before);
    }
};

QTEST_GUILESS_MAIN(TestDeskProject)
#include "test_desk_project.moc"
