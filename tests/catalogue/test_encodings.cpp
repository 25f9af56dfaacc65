// What the media catalogue says of codecs, done by ffmpeg.

#include "MediaCatalogue.h"

#include "KRXTest.h"

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

using KRXCatalogue::builtInCatalogue;
using KRXCatalogue::Compression;
using KRXCatalogue::EncodingProfile;
using KRXCatalogue::ProjectType;

namespace {

constexpr int kProgramPatience = 60000;
/// How many small pictures are encoded: more than a group of some codecs, so that pictures that depend on
/// others are there, too.
constexpr int kFrames = 13;
/// How many large ones, which take their time.
constexpr int kLargeFrames = 4;

/// Pictures that a codec takes, and a little more sound than that, which goes along as it is: a file that
/// cannot hold it is found out. DV knows the frames of its project types only.
QStringList sourceFor(const Compression& compression, const QSize& size, int frames)
{
    QSize frame = size;
    KRXCatalogue::FrameRate rate{25, 1};
    if (compression.ffmpegArguments.contains(QStringLiteral("dvvideo"))) {
        const ProjectType* type = builtInCatalogue().findProjectType(compression.projectTypes.first());
        frame = type->frame;
        rate = type->rate;
    }
    const QString pictures = QStringLiteral("testsrc2=size=%1x%2:rate=%3/%4,trim=end_frame=%5")
                                 .arg(frame.width())
                                 .arg(frame.height())
                                 .arg(rate.numerator)
                                 .arg(rate.denominator)
                                 .arg(frames);
    const QString lavfi = QStringLiteral("lavfi");
    return {QStringLiteral("-f"),   lavfi,
            QStringLiteral("-i"),   pictures,
            QStringLiteral("-f"),   lavfi,
            QStringLiteral("-i"),   QStringLiteral("sine=sample_rate=48000:duration=1"),
            QStringLiteral("-c:a"), QStringLiteral("pcm_s24le")};
}

/// Runs a program to its end. \return its output; its error output in \a problem when it failed or
/// complained.
QString run(const QString& program, const QStringList& arguments, QString& problem)
{
    QProcess process;
    process.start(program, arguments);
    const bool isDone = process.waitForFinished(kProgramPatience);
    const QString complaint = QString::fromUtf8(process.readAllStandardError());
    if (!isDone || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !complaint.isEmpty())
        problem = QStringLiteral("%1 %2: %3").arg(program, arguments.join(QLatin1Char(' ')), complaint);
    return QString::fromUtf8(process.readAllStandardOutput());
}

/// Chroma sampling codes by what ffmpeg calls pixel formats.
int samplingOf(const QString& pixelFormat)
{
    if (pixelFormat.contains(QLatin1String("411")))
        return 1;
    if (pixelFormat.contains(QLatin1String("420")))
        return 2;
    return pixelFormat.contains(QLatin1String("422")) ? 3 : 0;
}

} // namespace

class TestEncodings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_directory;

private slots:
    void ffmpegEncodesEveryCompressionWithEveryProfile_data()
    {
        QTest::addColumn<quint32>("id");
        QTest::addColumn<QStringList>("profileArguments");
        QTest::addColumn<QSize>("frame");
        QTest::addColumn<int>("frames");
        const QSize small(192, 128);
        const QSize large(1920, 1080);
        for (const Compression& compression : builtInCatalogue().compressions) {
            if (compression.profiles.isEmpty())
                QTest::newRow(qUtf8Printable(compression.name))
                    << compression.id << QStringList() << small << kFrames;
            for (const EncodingProfile& profile : compression.profiles) {
                const QString row = QStringLiteral("%1, %2").arg(compression.name, profile.name);
                QTest::newRow(qUtf8Printable(row))
                    << compression.id << profile.ffmpegArguments << small << kFrames;
            }
            // Some files name a codec by the frame, so the frame that it is most used with is tried, too.
            const ProjectType* type = builtInCatalogue().findProjectType(QStringLiteral("1080p/25"));
            if (compression.projectTypes.isEmpty() || compression.projectTypes.contains(type->code)) {
                const QString row = QStringLiteral("%1, 1920x1080").arg(compression.name);
                QTest::newRow(qUtf8Printable(row))
                    << compression.id << QStringList() << large << kLargeFrames;
            }
        }
    }

    void ffmpegEncodesEveryCompressionWithEveryProfile()
    {
        QFETCH(quint32, id);
        QFETCH(QStringList, profileArguments);
        QFETCH(QSize, frame);
        QFETCH(int, frames);
        const Compression compression = *builtInCatalogue().findCompression(id);
        const QString output = m_directory.filePath(QStringLiteral("out.") + compression.container);
        QString problem;
        run(QStringLiteral("ffmpeg"),
            QStringList{QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                        QStringLiteral("-y")}
                << sourceFor(compression, frame, frames) << compression.ffmpegArguments << profileArguments
                << output,
            problem);
        QVERIFY2(problem.isEmpty(), qUtf8Printable(problem));
        QVERIFY(QFileInfo(output).size() > 0);

        // What came out is what the descriptor says, and every picture of it can be decoded without a
        // complaint.
        const QString probed =
            run(QStringLiteral("ffprobe"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-count_frames"),
                 QStringLiteral("-show_entries"),
                 QStringLiteral("stream=codec_name,pix_fmt,nb_read_frames:frame=pict_type"),
                 QStringLiteral("-of"), QStringLiteral("flat"), output},
                problem);
        QVERIFY2(problem.isEmpty(), qUtf8Printable(problem));
        const QString pixelFormat =
            probed.section(QLatin1String("pix_fmt=\""), 1).section(QLatin1Char('"'), 0, 0);
        QCOMPARE(samplingOf(pixelFormat), compression.descriptor.chromaSampling);
        QVERIFY2(probed.contains(QStringLiteral("nb_read_frames=\"%1\"").arg(frames)),
                 qUtf8Printable(probed));
        QVERIFY2(probed.contains(QLatin1String("codec_name=\"pcm_s24le\"")), "the sound was changed");
        const bool hasGroups = probed.contains(QLatin1String("pict_type=\"P\"")) ||
                               probed.contains(QLatin1String("pict_type=\"B\""));
        QCOMPARE(hasGroups, compression.descriptor.pictureItemPattern == 2);
    }
};

QTEST_GUILESS_MAIN(TestEncodings)
#include "test_encodings.moc"
