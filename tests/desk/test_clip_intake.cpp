#include "ClipIntake.h"
#include "DeskProject.h"
#include "DeskSession.h"
#include "LinkDocument.h"
#include "LinkDocuments.h"

#include "StandInHost.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <unistd.h>

using LinkDocuments::Parts;

namespace {

LinkDocument parsed(const Parts& parts)
{
    LinkDocument document;
    QString error;
    if (!LinkDocument::parse(LinkDocuments::text(parts), document, error))
        qWarning("%s", qPrintable(error));
    return document;
}

void useVolumes()
{
    StandInHost::setVolumes({{{QStringLiteral("root"), QStringLiteral("/")},
                              {QStringLiteral("Card 7"), QStringLiteral("/watch")},
                              {QStringLiteral("Nothing"), QStringLiteral("/wat")}}});
}

constexpr char kTake[] = "--take";

/// When a desk dies: with the so-and-so-many clip taken, or turn of its event loop since the start or since
/// the project was saved.
enum Death { WithAClip, InATurn, InATurnAfterTheSave, Deaths, Never = Deaths };

/// A process of its own that takes all documents of a folder into a project: "--take PROJECT FOLDER DEATH
/// NUMBER".
int takeAndDie(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    useVolumes();
    const auto death = static_cast<Death>(QByteArray(argv[4]).toInt());
    int left = QByteArray(argv[5]).toInt();
    const auto count = [&left] {
        if (--left <= 0)
            ::kill(::getpid(), SIGKILL);
    };
    DeskSession session;
    QString error;
    if (!session.openOrCreate(QFile::decodeName(argv[2]), error) || session.isReadOnly())
        return 2;
    bool isSaved = false;
    QObject::connect(&session.project(), &DeskProject::modifiedChanged, &application,
                     [&isSaved](bool modified) { isSaved = isSaved || !modified; });
    QObject::connect(&session.clips(), &ClipIntake::taken, &application, [&] {
        if (death == WithAClip)
            count();
    });
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, &application, [&] {
        if (death == InATurn || (death == InATurnAfterTheSave && isSaved))
            count();
        if (!session.clips().isPending())
            QCoreApplication::quit();
    });
    const QDir folder(QFile::decodeName(argv[3]));
    for (const QString& name : folder.entryList({QStringLiteral("*.xel")}, QDir::Files))
        session.clips().takeSoon(folder.filePath(name));
    turns.start(0);
    return QCoreApplication::exec();
}

} // namespace

class TestClipIntake : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<DeskProject> m_project;
    std::unique_ptr<ClipIntake> m_intake;

    QString path(const char* name) const { return m_dir->filePath(QString::fromLatin1(name)); }

    QString document(const char* name, const Parts& parts) const
    {
        const QString where = path(name);
        return LinkDocuments::write(where, LinkDocuments::text(parts)) ? where : QString();
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_project = std::make_unique<DeskProject>();
        m_project->create(path("Show.krxproject"));
        m_intake = std::make_unique<ClipIntake>(*m_project);
        useVolumes();
    }
    void cleanup()
    {
        m_intake.reset();
        m_project.reset();
        StandInHost::useMountedVolumes();
    }

    // --- What a document says ---------------------------------------------------------------------------

    void aDocumentIsReadWhole()
    {
        Parts parts;
        parts.id = "out-1";
        parts.clip = "/copies/Harbour &amp; bay.mov";
        const LinkDocument document = parsed(parts);
        QCOMPARE(document.id, QStringLiteral("out-1"));
        QCOMPARE(document.clipName, QStringLiteral("Harbour & bay"));
        QCOMPARE(document.mediaPath, QStringLiteral("/copies/Harbour & bay.mov"));
        QCOMPARE(document.sourcePath, QStringLiteral("/watch/Harbour.mov"));
        QCOMPARE(document.folderPath, QStringLiteral("/watch"));
        QCOMPARE(document.profileName, QStringLiteral("Default Profile"));
        QCOMPARE(document.kind, QStringLiteral("video"));
        // The length of the file, not of one of its streams.
        QCOMPARE(document.duration, 4.0);
        QVERIFY(document.checked);
    }

    void whatTheSecondVersionAddsIsRead()
    {
        Parts parts;
        parts.clip = "/copies/shot_0001.dpx";
        parts.clipChecksum = "4567";
        parts.media = "<format>dpx_pipe</format><duration>0.2</duration><stream type=\"video\"/>";
        parts.link =
            "<name>shot</name><bin method=\"EXPLICIT\">Rushes</bin><reelName>A001</reelName>"
            "<startTimecode method=\"EMBEDDED\">01:00:00:00</startTimecode>"
            "<frameRate>24000/1001</frameRate><frameCount>4</frameCount>"
            "<trackGroups text=\"1-2:Stereo\"><group first=\"1\" last=\"2\" layout=\"Stereo\"/></trackGroups>"
            "<sequence><firstNumber>1</firstNumber><lastNumber>5</lastNumber>"
            "<missingNumbers>3</missingNumbers></sequence>"
            "<sidecar><path>/copies/shot.cdl</path><checksum method=\"xxh3-64\">1</checksum></sidecar>"
            "<check>verified</check><activity id=\"copy\" name=\"Copy\" check=\"verified\">"
            "<file><path>/copies/shot_0001.dpx</path></file><note>It fell back</note></activity>";
        const LinkDocument document = parsed(parts);
        QCOMPARE(document.clipName, QStringLiteral("shot"));
        QCOMPARE(document.kind, QStringLiteral("sequence"));
        QCOMPARE(document.mediaPath, QStringLiteral("/copies/shot_0001.dpx"));
        QCOMPARE(document.duration, 0.2);
        QCOMPARE(document.start, QStringLiteral("01:00:00:00"));
        QCOMPARE(document.reel, QStringLiteral("A001"));
        QVERIFY(document.checked);
        QVERIFY(document.binSelection == LinkDocument::BinSelection::CreateNew);
        QVERIFY(document.binNaming == LinkDocument::BinNaming::Explicit);
        QCOMPARE(document.explicitBin, QStringLiteral("Rushes"));
        const QStringList expected{QStringLiteral("4 frames, 23.976 a second"),
                                   QStringLiteral("Pictures 1 to 5"),
                                   QStringLiteral("Missing: 3"),
                                   QStringLiteral("Tracks 1-2 Stereo"),
                                   QStringLiteral("Files that go with it: 1"),
                                   QStringLiteral("Copy: verified"),
                                   QStringLiteral("It fell back")};
        QCOMPARE(document.details, expected);
    }

    void theBinOfTheSecondVersionIsTheOneOfTheSettings_data()
    {
        QTest::addColumn<QByteArray>("method");
        QTest::addColumn<bool>("isNew");
        QTest::addColumn<int>("naming");
        QTest::newRow("active") << QByteArray("ACTIVE") << false << int(LinkDocument::BinNaming::Default);
        QTest::newRow("default") << QByteArray("DEFAULT") << true << int(LinkDocument::BinNaming::Default);
        QTest::newRow("volume") << QByteArray("VOLUME") << true << int(LinkDocument::BinNaming::Volume);
    }
    void theBinOfTheSecondVersionIsTheOneOfTheSettings()
    {
        QFETCH(QByteArray, method);
        Parts parts;
        parts.link = "<bin method=\"" + method + "\"/>";
        parts.bin.clear();
        const LinkDocument document = parsed(parts);
        QTEST(document.binSelection == LinkDocument::BinSelection::CreateNew, "isNew");
        QTEST(int(document.binNaming), "naming");
    }

    void aClipCountsAsCheckedOnlyWhenItIsAnEqualCopy()
    {
        Parts linked;
        QVERIFY(!parsed(linked).checked);
        Parts copied;
        copied.clip = "/copies/Harbour.mov";
        QVERIFY(parsed(copied).checked);
        Parts transcoded = copied;
        transcoded.clipChecksum = "4567";
        QVERIFY(!parsed(transcoded).checked);
        Parts unknown = copied;
        unknown.clipChecksum.clear();
        unknown.sourceChecksum.clear();
        QVERIFY(!parsed(unknown).checked);
    }

    void theKindComesFromTheStreams_data()
    {
        QTest::addColumn<QByteArray>("media");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<double>("duration");
        QTest::newRow("sound") << QByteArray(
                                      "<format>wav</format><duration>5.0</duration><stream type=\"audio\"/>")
                               << QStringLiteral("audio") << 5.0;
        QTest::newRow("still") << QByteArray("<format>png_pipe</format><stream type=\"video\"/>")
                               << QStringLiteral("image") << -1.0;
        QTest::newRow("still that claims a frame's length")
            << QByteArray("<format>image2</format><duration>0.04</duration><stream type=\"video\"/>")
            << QStringLiteral("image") << -1.0;
        QTest::newRow("nothing known") << QByteArray() << QString() << -1.0;
        QTest::newRow("length that is no number")
            << QByteArray("<format>mov</format><duration>N/A</duration><stream type=\"video\"/>")
            << QStringLiteral("video") << -1.0;
    }
    void theKindComesFromTheStreams()
    {
        QFETCH(QByteArray, media);
        Parts parts;
        parts.media = media;
        const LinkDocument document = parsed(parts);
        QTEST(document.kind, "kind");
        QTEST(document.duration, "duration");
    }

    void aDocumentWithoutAnIdIsKnownByItsWholeText()
    {
        Parts parts;
        const QString first = parsed(parts).id;
        QVERIFY(!first.isEmpty());
        QCOMPARE(parsed(parts).id, first);
        parts.source = "/watch/Harbour 2.mov";
        QVERIFY(parsed(parts).id != first);
    }

    void whatIsNoLinkDocumentIsRefused_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not XML") << QByteArray("clip");
        QTest::newRow("cut short") << LinkDocuments::text(Parts()).left(300);
        QTest::newRow("document type") << QByteArray("<!DOCTYPE xel><xel><clip><path>/a</path></clip></xel>");
        QTest::newRow("another root") << QByteArray("<lex><clip><path>/a</path></clip></lex>");
        QTest::newRow("no clip") << QByteArray("<xel><source><path>/a</path></source></xel>");
        QTest::newRow("too deep") << QByteArray("<xel>" + QByteArray("<a>").repeated(100000));
    }
    void whatIsNoLinkDocumentIsRefused()
    {
        QFETCH(QByteArray, text);
        LinkDocument document;
        QString error;
        QVERIFY(!LinkDocument::parse(text, document, error));
        QVERIFY(!error.isEmpty());
        QVERIFY(document.id.isEmpty());
    }

    // --- Bins -------------------------------------------------------------------------------------------

    void theBinIsTheOneThatTheProfileNames_data()
    {
        QTest::addColumn<QByteArray>("bin");
        QTest::addColumn<QString>("expected");
        const QByteArray create = "<binSelectionMethod>CREATENEW</binSelectionMethod>";
        QTest::newRow("active") << QByteArray("<binSelectionMethod>USEACTIVE</binSelectionMethod>"
                                              "<binNamingMethod>VOLUME</binNamingMethod>")
                                << QStringLiteral("Chosen");
        QTest::newRow("unknown selection")
            << QByteArray("<binSelectionMethod>LATER</binSelectionMethod>") << QStringLiteral("Chosen");
        QTest::newRow("no bin detail") << QByteArray() << QStringLiteral("Chosen");
        QTest::newRow("volume") << QByteArray(create + "<binNamingMethod>VOLUME</binNamingMethod>")
                                << QStringLiteral("Card 7");
        QTest::newRow("default") << QByteArray(create + "<binNamingMethod>DEFAULT</binNamingMethod>")
                                 << QStringLiteral("Show");
        QTest::newRow("explicit") << QByteArray("<binExplicitName>Rushes &amp; more</binExplicitName>" +
                                                create + "<binNamingMethod>EXPLICIT</binNamingMethod>")
                                  << QStringLiteral("Rushes & more");
        QTest::newRow("explicit without a name")
            << QByteArray("<binExplicitName></binExplicitName>" + create +
                          "<binNamingMethod>EXPLICIT</binNamingMethod>")
            << QStringLiteral("Show");
    }
    void theBinIsTheOneThatTheProfileNames()
    {
        QFETCH(QByteArray, bin);
        QFETCH(QString, expected);
        m_project->binNamed(QStringLiteral("First"));
        m_project->setActiveBin(m_project->binNamed(QStringLiteral("Chosen")));
        Parts parts;
        parts.bin = bin;
        m_intake->take(document("a.xel", parts));
        QVERIFY(m_intake->finish());
        int found = -1;
        for (int i = 0; i < m_project->bins().size(); ++i) {
            if (!m_project->bins().at(i).clips.isEmpty())
                found = i;
        }
        QVERIFY(found >= 0);
        QCOMPARE(m_project->bins().at(found).name, expected);
    }

    void aVolumeWithoutALabelIsNamedByItsMountPoint()
    {
        StandInHost::setVolumes(
            {{{QString(), QStringLiteral("/")}, {QString(), QStringLiteral("/media/stick")}}});
        QCOMPARE(ClipIntake::volumeLabel(QStringLiteral("/media/stick/a/b.mov")), QStringLiteral("stick"));
        QCOMPARE(ClipIntake::volumeLabel(QStringLiteral("/media/sticks/b.mov")), QSysInfo::machineHostName());
    }

    // --- Order of the steps -----------------------------------------------------------------------------

    void theDocumentIsRemovedOnlyAfterTheProjectIsSaved()
    {
        const QString where = document("a.xel", Parts());
        m_intake->take(where);
        QVERIFY(QFileInfo::exists(where));
        QVERIFY(m_intake->finish());
        QVERIFY(!QFileInfo::exists(where));
        DeskProject saved;
        QString error;
        QVERIFY2(saved.load(m_project->path(), error), qPrintable(error));
        QCOMPARE(saved.clipCount(), 1);
    }

    void takingFinishesByItselfOnceTheEventLoopRuns()
    {
        const QString first = document("a.xel", Parts());
        Parts other;
        other.source = "/watch/b.mov";
        const QString second = document("b.xel", other);
        m_intake->take(first);
        m_intake->take(second);
        QTRY_VERIFY(!QFileInfo::exists(first) && !QFileInfo::exists(second));
        QVERIFY(!m_project->isModified());
        QCOMPARE(m_project->clipCount(), 2);
    }

    void aCrashBetweenSavingAndRemovingDoesNotDoubleTheClip()
    {
        const QByteArray text = LinkDocuments::text(Parts());
        m_intake->take(document("a.xel", Parts()));
        QVERIFY(m_intake->finish());
        // The document is there again, as it is when the removal never happened.
        QVERIFY(LinkDocuments::write(path("a.xel"), text));
        DeskProject project;
        QString error;
        QVERIFY(project.load(m_project->path(), error));
        ClipIntake intake(project);
        QSignalSpy taken(&intake, &ClipIntake::taken);
        intake.take(path("a.xel"));
        QVERIFY(intake.finish());
        QCOMPARE(taken.count(), 1);
        QCOMPARE(taken.at(0).at(2).toBool(), true);
        QCOMPARE(project.clipCount(), 1);
        QVERIFY(!QFileInfo::exists(path("a.xel")));
    }

    void aCrashBeforeSavingLosesNothing()
    {
        const QString where = document("a.xel", Parts());
        {
            // A desk that dies before the event loop runs again has saved and removed nothing.
            ClipIntake dying(*m_project);
            dying.take(where);
        }
        QVERIFY(QFileInfo::exists(where));
        DeskProject project;
        project.create(path("Show.krxproject"));
        ClipIntake intake(project);
        intake.take(where);
        QVERIFY(intake.finish());
        QCOMPARE(project.clipCount(), 1);
    }

    void manyDocumentsAreTakenInSlicesAndSavedOnce()
    {
        constexpr int kMany = 1500;
        int saves = 0;
        m_intake->setSave([&](QString& error) {
            ++saves;
            return m_project->save(error);
        });
        QSignalSpy batch(m_intake.get(), &ClipIntake::batchTaken);
        QSignalSpy progressed(m_intake.get(), &ClipIntake::progressed);
        QStringList where;
        for (int i = 0; i < kMany; ++i) {
            Parts parts;
            parts.id = QByteArray::number(i);
            where << document(QByteArray("m" + parts.id + ".xel").constData(), parts);
            m_intake->takeSoon(where.last());
            m_intake->takeSoon(where.last());
        }
        // Nothing is saved while the host's callback runs.
        QCOMPARE(saves, 0);
        QTRY_COMPARE(batch.count(), 1);
        QCOMPARE(saves, 1);
        QCOMPARE(m_project->clipCount(), kMany);
        QCOMPARE(batch.at(0).at(0).value<ClipIntake::Batch>().added, kMany);
        // The few that were taken on the spot are no part of the rest.
        QVERIFY(!progressed.isEmpty() && progressed.last().at(0).toInt() > 0);
        QCOMPARE(progressed.last().at(0), progressed.last().at(1));
        for (const QString& one : qAsConst(where))
            QVERIFY(!QFileInfo::exists(one));
        QVERIFY(!m_intake->isPending());
    }
    void whatWaitsForItsSliceIsFinishedWithTheRest()
    {
        m_intake->takeSoon(document("a.xel", Parts()));
        QVERIFY(m_intake->isPending());
        QVERIFY(m_intake->finish());
        QCOMPARE(m_project->clipCount(), 1);
        QVERIFY(!QFileInfo::exists(path("a.xel")));
    }
    void aFailureAmongManyDoesNotKeepTheOthersFromBeingSaved()
    {
        m_intake->takeSoon(document("a.xel", Parts()));
        m_intake->takeSoon(path("missing.xel"));
        QSignalSpy batch(m_intake.get(), &ClipIntake::batchTaken);
        QTRY_COMPARE(batch.count(), 1);
        QVERIFY(!QFileInfo::exists(path("a.xel")));
    }
    void aCrashBetweenSavingAndRemovingManyTakesNoneTwice()
    {
        constexpr int kMany = 50;
        QStringList where;
        for (int i = 0; i < kMany; ++i) {
            Parts parts;
            parts.id = QByteArray::number(i);
            where << document(QByteArray("m" + parts.id + ".xel").constData(), parts);
        }
        {
            ClipIntake dying(*m_project);
            dying.setSave([this](QString& error) {
                const bool saved = m_project->save(error);
                // All that it still had in hand dies with it.
                throw saved;
                return saved;
            });
            for (const QString& one : qAsConst(where))
                dying.take(one);
            bool wasSaved = false;
            try {
                dying.finish();
            } catch (bool saved) {
                wasSaved = saved;
            }
            QVERIFY(wasSaved);
        }
        QVERIFY(QFileInfo::exists(where.last()));
        DeskProject project;
        QString error;
        QVERIFY(project.load(m_project->path(), error));
        ClipIntake intake(project);
        for (const QString& one : qAsConst(where))
            intake.takeSoon(one);
        QVERIFY(intake.finish());
        QCOMPARE(project.clipCount(), kMany);
        QVERIFY(!QFileInfo::exists(where.last()));
    }

    void aDeskThatIsKilledAnywhereInABatchLosesNoneAndTakesNoneTwice()
    {
        constexpr int kRounds = 8;
        constexpr int kMany = 250; // new ones in each round
        constexpr int kMostTurns = 4;
        const quint32 seed = QRandomGenerator::global()->generate();
        qInfo("seed %u", seed);
        QRandomGenerator random(seed);
        const QString project = path("Killed.krxproject");
        const QDir documents(path("documents"));
        QVERIFY(QDir().mkpath(documents.path()));
        int made = 0;
        int died = 0;
        for (int round = 0; round <= kRounds; ++round) {
            for (int i = 0; i < kMany && round < kRounds; ++i) {
                Parts parts;
                parts.id = QByteArray::number(made++);
                QVERIFY(!document(QByteArray("documents/" + parts.id + ".xel").constData(), parts).isEmpty());
            }
            const int death = round < kRounds ? random.bounded(Deaths) : Never;
            const int number = 1 + random.bounded(death == WithAClip ? kMany : kMostTurns);
            QProcess desk;
            desk.start(QCoreApplication::applicationFilePath(),
                       {QLatin1String(kTake), project, documents.path(), QString::number(death),
                        QString::number(number)});
            QVERIFY(desk.waitForFinished());
            const bool wasKilled = desk.exitStatus() == QProcess::CrashExit;
            QVERIFY(wasKilled || desk.exitCode() == 0);
            died += wasKilled ? 1 : 0;

            QSet<QString> ids;
            int clips = 0;
            DeskProject kept;
            QString error;
            QVERIFY2(!QFile::exists(project) || kept.load(project, error), qPrintable(error));
            for (const DeskBin& bin : kept.bins()) {
                for (const DeskClip& clip : bin.clips) {
                    ids.insert(clip.id);
                    ++clips;
                }
            }
            QCOMPARE(ids.size(), clips);
            const QStringList left = documents.entryList({QStringLiteral("*.xel")}, QDir::Files);
            for (const QString& name : left)
                ids.insert(QFileInfo(name).completeBaseName());
            QCOMPARE(ids.size(), made);
            if (!wasKilled)
                QVERIFY(left.isEmpty() && clips == made);
        }
        QVERIFY(died > 0);
    }

    void aProjectThatCannotBeSavedKeepsTheDocuments()
    {
        QVERIFY(QDir().mkpath(QString(m_project->path() + QLatin1String("/in the way"))));
        QSignalSpy failed(m_intake.get(), &ClipIntake::failed);
        const QString where = document("a.xel", Parts());
        m_intake->take(where);
        QVERIFY(!m_intake->finish());
        QVERIFY(QFileInfo::exists(where));
        QCOMPARE(failed.count(), 1);
        QVERIFY(failed.at(0).at(0).toString().startsWith(
            QStringLiteral("The project %1 cannot be saved: ").arg(m_project->path())));
        // Once it can be saved, the next try takes everything.
        QVERIFY(QDir(m_project->path()).removeRecursively());
        QVERIFY(m_intake->finish());
        QVERIFY(!QFileInfo::exists(where));
    }

    void anUnreadableDocumentStaysAndTheReasonIsTold()
    {
        const QString where = path("bad.xel");
        QVERIFY(LinkDocuments::write(where, "<xel><clip>"));
        QSignalSpy failed(m_intake.get(), &ClipIntake::failed);
        m_intake->take(where);
        m_intake->take(path("missing.xel"));
        m_intake->take(document("good.xel", Parts()));
        QVERIFY(m_intake->finish());
        QVERIFY(QFileInfo::exists(where));
        QCOMPARE(failed.count(), 2);
        QCOMPARE(failed.at(0).at(0).toString(),
                 QStringLiteral("%1 was not acquired: it cannot be read (line 1: Premature end of document.)")
                     .arg(where));
        QCOMPARE(failed.at(1).at(0).toString(),
                 QStringLiteral("%1 was not acquired: No such file or directory").arg(path("missing.xel")));
        QCOMPARE(m_project->clipCount(), 1);
    }

    void aFileTooLargeForALinkDocumentIsNotRead()
    {
        const QString where = path("huge.xel");
        QFile file(where);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(LinkDocument::kMaxSize + 1));
        LinkDocument document;
        QString error;
        QVERIFY(!LinkDocument::read(where, document, error));
        QCOMPARE(error, QStringLiteral("it is too large for a link document"));
    }

    void aPersonIsToldHowManyClipsCameAndWhere_data()
    {
        QTest::addColumn<int>("added");
        QTest::addColumn<int>("bins");
        QTest::addColumn<int>("doubled");
        QTest::addColumn<QString>("text");
        QTest::newRow("one") << 1 << 1 << 0 << QStringLiteral("C is in the bin \"B0\"");
        QTest::newRow("many") << 12 << 1 << 0 << QStringLiteral("12 clips are in the bin \"B0\"");
        QTest::newRow("many bins") << 12 << 3 << 0 << QStringLiteral("12 clips are in 3 bins");
        QTest::newRow("known") << 0 << 0 << 1 << QStringLiteral("D was acquired before");
        QTest::newRow("many known") << 0 << 0 << 4 << QStringLiteral("4 clips were acquired before");
        QTest::newRow("both") << 2 << 1 << 3
                              << QStringLiteral(
                                     "2 clips are in the bin \"B0\"; 3 clips were acquired before");
    }
    void aPersonIsToldHowManyClipsCameAndWhere()
    {
        QFETCH(int, added);
        QFETCH(int, bins);
        QFETCH(int, doubled);
        ClipIntake::Batch batch;
        batch.clip = QStringLiteral("C");
        batch.added = added;
        batch.doubledClip = QStringLiteral("D");
        batch.doubled = doubled;
        for (int i = 0; i < bins; ++i)
            batch.bins << QStringLiteral("B%1").arg(i);
        QTEST(ClipIntake::batchText(batch), "text");
    }

    void aBatchIsToldOnceItIsSaved()
    {
        QSignalSpy batches(m_intake.get(), &ClipIntake::batchTaken);
        m_intake->take(document("a.xel", Parts()));
        Parts again;
        m_intake->take(document("b.xel", again));
        QCOMPARE(batches.count(), 0);
        QVERIFY(m_intake->finish());
        QCOMPARE(batches.count(), 1);
        const auto batch = batches.at(0).at(0).value<ClipIntake::Batch>();
        // The two say the same of the same clip.
        QCOMPARE(batch.added, 1);
        QCOMPARE(batch.doubled, 1);
        QCOMPARE(batch.bins, QStringList{QStringLiteral("Show")});
    }

    void aDocumentThatIsOfferedAgainWhileItWaitsIsTakenOnce()
    {
        QSignalSpy batches(m_intake.get(), &ClipIntake::batchTaken);
        QSignalSpy taken(m_intake.get(), &ClipIntake::taken);
        QSignalSpy failed(m_intake.get(), &ClipIntake::failed);
        const QString where = document("a.xel", Parts());
        QVERIFY(m_intake->take(where));
        QVERIFY(m_intake->take(where));
        m_intake->takeSoon(where);
        // Also once it is in the project's file and about to be removed.
        m_intake->setSave([&](QString& error) { return m_project->save(error) && m_intake->take(where); });
        QVERIFY(m_intake->finish());
        QCOMPARE(taken.count(), 1);
        QCOMPARE(failed.count(), 0);
        QCOMPARE(batches.count(), 1);
        // Nobody is told that a clip was acquired before that comes now.
        QCOMPARE(batches.at(0).at(0).value<ClipIntake::Batch>().doubled, 0);
        QCOMPARE(m_project->clipCount(), 1);
        QVERIFY(!QFileInfo::exists(where));
    }
    void manyClipsCostOneSave()
    {
        QSignalSpy saved(m_project.get(), &DeskProject::modifiedChanged);
        for (int i = 0; i < 300; ++i) {
            Parts parts;
            parts.id = QByteArray::number(i);
            m_intake->take(document(QByteArray("d" + parts.id + ".xel").constData(), parts));
        }
        QVERIFY(m_intake->finish());
        QCOMPARE(m_project->clipCount(), 300);
        // Once when the first clip came, once when all were saved.
        QCOMPARE(saved.count(), 2);
        QCOMPARE(QDir(m_dir->path()).entryList({QStringLiteral("*.xel")}).size(), 0);
    }
};

int main(int argc, char* argv[])
{
    if (argc == 6 && qstrcmp(argv[1], kTake) == 0)
        return takeAndDie(argc, argv);
    QCoreApplication application(argc, argv);
    TestClipIntake test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_clip_intake.moc"
