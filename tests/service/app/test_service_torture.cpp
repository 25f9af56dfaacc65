#include "HistoryReader.h"
#include "ServiceStage.h"
#include "TestFiles.h"
#include "WayMedia.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <csignal>
#include <random>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

constexpr int kPictures = 4;
/// How many clips may be under way; more would only wait.
constexpr int kMostUnderWay = 4;
/// A life of the service is this long at most, in milliseconds.
constexpr int kLongestLife = 2500;

int wished(const char* variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && number > 0 ? number : otherwise;
}

/// The processes that \a parent started and that are running now.
QList<qint64> childrenOf(qint64 parent)
{
    QList<qint64> children;
    QDirIterator tasks(s("/proc/%1/task").arg(parent), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile file(tasks.next() + s("/children"));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QByteArray& child : file.readAll().simplified().split(' ')) {
            if (!child.isEmpty())
                children << child.toLongLong();
        }
    }
    return children;
}

/// All files below a folder, hidden ones too, sorted, with their paths below it.
QStringList filesBelow(const QString& folder)
{
    QStringList files;
    QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (all.hasNext())
        files << QDir(folder).relativeFilePath(all.next());
    files.sort();
    return files;
}

/// Uncompressed, 64 by 48; \a mark makes each one different.
QByteArray targa(int mark, int number)
{
    QByteArray picture(18, '\0');
    picture[2] = 2;
    picture[12] = 64;
    picture[14] = 48;
    picture[16] = 24;
    for (int i = 0; i < 64 * 48 * 3; ++i)
        picture += static_cast<char>((mark * 31 + number * 7 + i) & 0xFF);
    return picture;
}

/// What one link document says.
struct Offer
{
    QString source;
    QStringList made; ///< all files that it names, sources left out
    QStringList sizes;
    QString linked;
};

Offer read(const QByteArray& document)
{
    Offer offer;
    QXmlStreamReader xml(document);
    QStringList names;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isEndElement())
            names.removeLast();
        if (!xml.isStartElement())
            continue;
        const QString parent = names.isEmpty() ? QString() : names.last();
        if (xml.name() == QLatin1String("path") || xml.name() == QLatin1String("size")) {
            const bool isPath = xml.name() == QLatin1String("path");
            const QString text = xml.readElementText();
            if (parent == QLatin1String("source") && isPath)
                offer.source = text;
            else if (parent == QLatin1String("clip") && isPath)
                offer.linked = text;
            else if (parent == QLatin1String("file"))
                (isPath ? offer.made : offer.sizes) << text;
            continue;
        }
        names << xml.name().toString();
    }
    return xml.hasError() ? Offer() : offer;
}

} // namespace

/// A service that is killed again and again, at any moment, while it copies, transcodes and consolidates; and
/// its engines with it. KRX_KILLS says how often, KRX_SEED repeats a run.
class TestServiceTorture : public QObject
{
    Q_OBJECT

    std::unique_ptr<ServiceStage> m_stage;
    std::mt19937 m_random;
    QStringList m_dropped;            ///< sources of all clips so far
    QHash<QString, int> m_timesTaken; ///< by source
    QList<Offer> m_taken;
    int m_kills = 0;
    int m_engineKills = 0;

    QString in(const char* name) const { return m_stage->folder.filePath(s(name)); }
    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(m_random); }

    QByteArray activities() const
    {
        const auto drives = [](const QString& folder) -> QByteArray {
            return "<filesystemVideoVolume>" + folder.toUtf8() +
                   "</filesystemVideoVolume><filesystemAudioVolume>" + folder.toUtf8() +
                   "</filesystemAudioVolume>";
        };
        const QByteArray picture =
            "<videoProjectType>PAL 25p</videoProjectType><videoColorSpace>YCbCr 601</videoColorSpace>"
            "<videoRaster>720x576</videoRaster>"
            "<videoCompressionType name=\"ProRes Proxy\">16777217</videoCompressionType>";
        return ModuleDocument::copyActivity(in("copies"), true) +
               "<activity id=\"transcode\" name=\"Transcode 1\"><outputDetail>" + drives(in("first")) +
               "<outputTranscodeVideoProfile>" + picture +
               "</outputTranscodeVideoProfile></outputDetail></activity>"
               "<activity id=\"consolidate\" name=\"Consolidate\"><outputDetail>" +
               drives(in("second")) +
               "<outputConsolidateVideoProfile><videoSkipOnTarget>false</videoSkipOnTarget>"
               "<performTranscodeIfConsolidateFails>true</"
               "performTranscodeIfConsolidateFails><transcodeOptions>" +
               picture + "</transcodeOptions></outputConsolidateVideoProfile></outputDetail></activity>";
    }

    /// Makes the next clip elsewhere and moves it in: a sound, a movie or a sequence, no two alike.
    void drop()
    {
        const int number = m_dropped.size();
        const QString elsewhere = in("being written");
        if (number % 3 == 2) {
            QVERIFY(QDir().mkpath(elsewhere));
            for (int i = 0; i < kPictures; ++i)
                TestFiles::write(elsewhere + s("/shot.%1.tga").arg(1001 + i), targa(number, i));
            const QString place = m_stage->watch + s("/take %1").arg(number);
            QVERIFY(QFile::rename(elsewhere, place) || QDir().rename(elsewhere, place));
            m_dropped << place + s("/shot.1001.tga");
            return;
        }
        QByteArray content;
        if (number % 3 == 0) {
            content = WayMedia::sound(40000, static_cast<char>(number));
            content += QByteArray::number(number);
        } else {
            // Behind the movie lies a box that nobody reads.
            const QByteArray mark = QByteArray::number(number).rightJustified(8, '0');
            content = TestFiles::content(TestMedia::file(s("movie.mov"))) +
                      QByteArray("\0\0\0\x10"
                                 "free",
                                 8) +
                      mark;
        }
        TestFiles::write(elsewhere, content);
        const QString place =
            m_stage->watch + (number % 3 == 0 ? s("/sound %1.wav") : s("/movie %1.mov")).arg(number);
        QVERIFY(QFile::rename(elsewhere, place));
        m_dropped << place;
    }

    /// What a host does: reads the documents that are there, notes the clips and removes the documents.
    void take()
    {
        QDirIterator documents(m_stage->data + s("/output"), {s("*.xel")}, QDir::Files,
                               QDirIterator::Subdirectories);
        while (documents.hasNext()) {
            const QString path = documents.next();
            const QByteArray text = TestFiles::content(path);
            const Offer offer = read(text);
            QVERIFY2(!offer.source.isEmpty() && !offer.linked.isEmpty(), text.constData());
            ++m_timesTaken[offer.source];
            m_taken << offer;
            QVERIFY(QFile::remove(path));
        }
    }

    /// What an engine's death made of a job is mended by trying it again.
    void tryAgain() const
    {
        const Reply jobs = m_stage->service->get("jobs/status");
        const QStringList ids = jobs.texts(s("id"));
        const QStringList states = jobs.texts(s("state"));
        for (int i = 0; i < ids.size(); ++i) {
            if (states.value(i) == QLatin1String("FAILED"))
                m_stage->service->put("jobs/" + ids[i].toUtf8(), ModuleDocument::jobState(s("SUBMITTED")));
        }
    }

    void live()
    {
        QElapsedTimer timer;
        timer.start();
        const int life = upTo(kLongestLife);
        while (timer.elapsed() < life) {
            QTest::qWait(qMin(upTo(100), static_cast<int>(life - timer.elapsed())));
            if (upTo(3) == 0)
                take();
            if (upTo(9) == 0) {
                const QList<qint64> engines = childrenOf(m_stage->service->pid());
                if (!engines.isEmpty() &&
                    ::kill(static_cast<pid_t>(engines[upTo(engines.size() - 1)]), SIGKILL) == 0)
                    ++m_engineKills;
            }
        }
    }

    QStringList missing() const
    {
        QStringList left;
        for (const QString& source : m_dropped) {
            if (!m_timesTaken.contains(source))
                left << source;
        }
        return left;
    }

    /// Nobody kills it any more: all that was begun comes to its end.
    void finish()
    {
        QVERIFY(m_stage->again({s("--history"), s("0.2")}));
        const auto isAllThere = [this] {
            take();
            tryAgain();
            return missing().isEmpty();
        };
        QTRY_VERIFY2_WITH_TIMEOUT(isAllThere(),
                                  qPrintable(missing().join(QLatin1Char('\n')) + QLatin1Char('\n') +
                                             m_stage->service->errors().join(QLatin1Char('\n'))),
                                  120000);
        // One more goes the whole way, and nothing else comes beside it.
        drop();
        QTRY_VERIFY_WITH_TIMEOUT(isAllThere(), 120000);
        QTRY_VERIFY_WITH_TIMEOUT(m_stage->isIdle(), kStagePatience);
        take();
        const auto isListed = [this] {
            QStringList listed = HistoryReader(in("copies")).paths();
            listed.sort();
            return listed == visible("copies");
        };
        QTRY_VERIFY_WITH_TIMEOUT(isListed(), kStagePatience);
        QCOMPARE(m_stage->service->terminate(), 0);
    }

    /// What lies in one of the destinations, apart from histories and indexes.
    QStringList visible(const char* folder) const
    {
        QStringList files = filesBelow(in(folder));
        for (int i = files.size() - 1; i >= 0; --i) {
            if (files[i].startsWith(QLatin1String("ascmhl/")) ||
                files[i] == QLatin1String("KRX Media/.krx-index"))
                files.removeAt(i);
        }
        return files;
    }

    void copiesAreWhole() const
    {
        const QStringList copies = visible("copies");
        QCOMPARE(copies, filesBelow(m_stage->watch));
        for (const QString& copy : copies)
            QVERIFY2(TestFiles::content(in("copies") + QLatin1Char('/') + copy) ==
                         TestFiles::content(m_stage->watch + QLatin1Char('/') + copy),
                     qPrintable(copy));
        const HistoryReader history(in("copies"));
        QCOMPARE(history.faults, QStringList());
    }

    void resultsAreWhole() const
    {
        for (const char* folder : {"first", "second"})
            QVERIFY2(visible(folder).size() == m_dropped.size(),
                     qPrintable(visible(folder).join(QLatin1Char('\n'))));
        for (const Offer& offer : m_taken) {
            QVERIFY2(offer.made.size() == offer.sizes.size() && offer.made.size() >= 3,
                     qPrintable(offer.source));
            for (int i = 0; i < offer.made.size(); ++i) {
                // Of a sequence it is the size of all.
                const int files = offer.made[i].endsWith(QLatin1String(".tga")) ? kPictures : 1;
                QCOMPARE(QString::number(QFileInfo(offer.made[i]).size() * files), offer.sizes[i]);
            }
            QVERIFY(offer.linked.startsWith(in("copies")) || offer.linked.startsWith(in("second")) ||
                    offer.linked.startsWith(in("first")));
            decodes(offer);
        }
    }
    static void decodes(const Offer& offer)
    {
        QProcess decoder;
        decoder.start(s("ffmpeg"), {s("-v"), s("error"), s("-xerror"), s("-i"), offer.linked, s("-map"),
                                    s("0:v?"), s("-map"), s("0:a?"), s("-f"), s("framemd5"), s("-")});
        QVERIFY(decoder.waitForFinished());
        QCOMPARE(decoder.readAllStandardError(), QByteArray());
        QCOMPARE(decoder.exitCode(), 0);
        int pictures = 0;
        for (const QByteArray& line : decoder.readAllStandardOutput().split('\n'))
            pictures += line.startsWith("0,") ? 1 : 0;
        const bool isMovie = offer.source.endsWith(QLatin1String(".mov"));
        const bool isSequence = offer.source.endsWith(QLatin1String(".tga"));
        if (isMovie || isSequence)
            QCOMPARE(pictures, isMovie ? 10 : kPictures);
        else
            QVERIFY(pictures > 0); // packets of sound
    }

    void nothingHiddenIsLeft() const
    {
        for (const char* folder : {"copies", "first", "second", "data/output"}) {
            for (const QString& file : filesBelow(in(folder))) {
                const QString name = QFileInfo(file).fileName();
                QVERIFY2(!name.startsWith(QLatin1Char('.')) || name == QLatin1String(".krx-index"),
                         qPrintable(file));
            }
        }
    }

private slots:
    void whateverIsKilledEveryClipComesThroughWhole()
    {
        const auto seed =
            static_cast<unsigned>(wished("KRX_SEED", static_cast<int>(std::random_device{}() >> 1U)));
        const int kills = wished("KRX_KILLS", 4);
        m_random.seed(seed);
        m_stage = std::make_unique<ServiceStage>();
        qInfo("KRX_SEED=%u KRX_KILLS=%d in %s", seed, kills, qPrintable(m_stage->folder.path()));
        for (const char* folder : {"copies", "first", "second"})
            QVERIFY(QDir().mkpath(in(folder)));
        QVERIFY(m_stage->begin(activities()));
        while (m_kills < kills) {
            while (m_dropped.size() < m_timesTaken.size() + kMostUnderWay && !QTest::currentTestFailed())
                drop();
            live();
            m_stage->service->kill();
            ++m_kills;
            if (upTo(1) == 0)
                take();
            QVERIFY(m_stage->again({s("--history"), s("0.2")}));
            tryAgain();
            if (QTest::currentTestFailed()) {
                m_stage->folder.setAutoRemove(false);
                return;
            }
            if (m_kills % 25 == 0)
                qInfo("%d kills and %d of engines, %d clips dropped, %d taken", m_kills, m_engineKills,
                      m_dropped.size(), m_taken.size());
        }
        m_stage->service->kill();
        finish();
        for (auto taken = m_timesTaken.cbegin(); taken != m_timesTaken.cend(); ++taken)
            QVERIFY2(taken.value() == 1 && m_dropped.contains(taken.key()), qPrintable(taken.key()));
        if (!QTest::currentTestFailed())
            copiesAreWhole();
        if (!QTest::currentTestFailed())
            resultsAreWhole();
        if (!QTest::currentTestFailed())
            nothingHiddenIsLeft();
        m_stage->folder.setAutoRemove(!QTest::currentTestFailed());
        if (!QTest::currentTestFailed())
            qInfo("%d kills and %d of engines: %d clips, each whole and taken once", m_kills, m_engineKills,
                  m_taken.size());
    }
};

QTEST_GUILESS_MAIN(TestServiceTorture)
#include "test_service_torture.moc"
