#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestSectionGallery : public QObject
{
    Q_OBJECT

private:
    static int run(const QStringList& arguments)
    {
        QProcess gallery;
        gallery.start(QStringLiteral(SECTION_GALLERY), arguments);
        return gallery.waitForFinished(60000) && gallery.exitStatus() == QProcess::NormalExit
                   ? gallery.exitCode()
                   : -1;
    }

private slots:
    void everyPageIsPicturedInBothSkinsAndResolutions()
    {
        const QTemporaryDir directory;
        QCOMPARE(run({QStringLiteral("--shots"), directory.filePath(QStringLiteral("deep/shots"))}), 0);
        const QDir shots(directory.filePath(QStringLiteral("deep/shots")));
        QCOMPARE(shots.entryList(QDir::Files).size(), 12);
        for (const char* page : {"settings", "sections", "actions"}) {
            QImage light;
            for (const char* skin : {"light", "dark"}) {
                const QString stem =
                    QStringLiteral("gallery-%1-%2").arg(QLatin1String(page), QLatin1String(skin));
                const QImage plain(shots.filePath(QString(stem + QLatin1String(".png"))));
                const QImage fine(shots.filePath(QString(stem + QLatin1String("@2x.png"))));
                QVERIFY(plain.width() > 500 && plain.height() > 300);
                QCOMPARE(fine.width(), plain.width() * 2);
                QVERIFY(plain != light);
                light = plain;
            }
        }
    }

    void aDirectoryThatCannotBeMadeIsAnError()
    {
        const QTemporaryDir directory;
        QFile file(directory.filePath(QStringLiteral("file")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(run({QStringLiteral("--shots"), directory.filePath(QStringLiteral("file/shots"))}), 1);
    }

    void unknownArgumentsAreRefused() { QCOMPARE(run({QStringLiteral("--nonsense")}), 2); }
};

QTEST_GUILESS_MAIN(TestSectionGallery)
#include "test_section_gallery.moc"
