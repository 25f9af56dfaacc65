#include "ResultTour.h"

#include "DemoMedia.h"
#include "FolderTour.h"
#include "HistoryCheck.h"
#include "ProfileTour.h"
#include "TourStage.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace {

constexpr int kPictures = 4;
constexpr int kLongWork = 120000; ///< milliseconds, on a machine that has other work
constexpr int kProbing = 30000;

constexpr char kMovie[] = "Tide.mov";
constexpr char kSound[] = "Gulls.wav";
constexpr char kPicture[] = "Bars.dpx";

QString pictureName(int index)
{
    return QStringLiteral("Bars.%1.dpx").arg(1001 + index);
}

QString probed(const QString& file, const QStringList& question)
{
    QProcess ffprobe;
    ffprobe.start(QStringLiteral("ffprobe"), QStringList{QStringLiteral("-v"), QStringLiteral("error"),
                                                         QStringLiteral("-of"), QStringLiteral("csv=p=0")}
                                                 << question << file);
    if (!ffprobe.waitForFinished(kProbing) || ffprobe.exitCode() != 0)
        return QStringLiteral("ffprobe: ") + QString::fromLocal8Bit(ffprobe.readAllStandardError());
    QString said = QString::fromUtf8(ffprobe.readAllStandardOutput()).trimmed();
    while (said.endsWith(QLatin1Char(',')))
        said.chop(1);
    return said;
}

QString streams(const QString& file, const char* which, const char* entries)
{
    return probed(file, {QStringLiteral("-select_streams"), QLatin1String(which),
                         QStringLiteral("-show_entries"), QLatin1String(entries)});
}

/// What is to come of one of the media. A sound that was transcoded to the drive needs no second copy there.
struct Result
{
    const char* file;     ///< in the folder for new media
    const char* picture;  ///< codec, raster, colours, order of fields, rate, pictures; empty for none
    const char* sound;    ///< codec, rate, channels; empty for none
    const char* timecode; ///< or a time reference; empty for none
};

const char kProxy[] = "prores,1920,1080,tv,bt709,bt709,bt709,progressive,25/1";
constexpr Result kResults[] = {
    {"Tide.mov", kProxy, "pcm_s16le,48000,1", "09:59:58:00"},
    {"Tide.mxf", kProxy, "pcm_s16le,48000,1", "09:59:58:00"},
    {"Bars.mov", kProxy, "", ""},
    {"Bars.mxf", kProxy, "", ""},
    {"Gulls.wav", "", "pcm_s24le,48000,1", "1728000000"},
};

/// Compares with what ffprobe says. \return the first difference, empty when there is none.
QString faultOf(const QString& folder, const Result& result)
{
    const QString file = QDir(folder).filePath(QLatin1String(result.file));
    const QString picture = streams(
        file, "v",
        "stream=codec_name,width,height,color_range,color_space,color_transfer,color_primaries,field_order,"
        "r_frame_rate");
    if (picture != QLatin1String(result.picture))
        return QStringLiteral("%1: %2").arg(QLatin1String(result.file), picture);
    const QString sound = streams(file, "a", "stream=codec_name,sample_rate,channels");
    if (sound != QLatin1String(result.sound))
        return QStringLiteral("%1: %2").arg(QLatin1String(result.file), sound);
    const QString tags =
        probed(file, {QStringLiteral("-show_entries"),
                      QStringLiteral("format_tags=timecode,time_reference:stream_tags=timecode")});
    return tags.contains(QLatin1String(result.timecode))
               ? QString()
               : QStringLiteral("%1: %2").arg(QLatin1String(result.file), tags);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

ResultTour::ResultTour(TourStage& stage, FolderTour& folders, ProfileTour& profiles)
    : m_stage(stage)
    , m_folders(folders)
    , m_profiles(profiles)
{
}

bool ResultTour::makeMedia(const QString& folder, QString& error)
{
    const std::pair<const char*, const char*> recipes[] = {
        {kMovie, "-f lavfi -i testsrc2=size=320x180:rate=25:duration=0.4 -f lavfi -i "
                 "sine=frequency=440:sample_rate=48000:duration=0.4 -c:v mpeg4 -q:v 4 -c:a pcm_s16le "
                 "-timecode 09:59:58:00"},
        {kSound,
         "-f lavfi -i anoisesrc=color=pink:amplitude=0.3:sample_rate=48000:duration=0.4 -c:a pcm_s24le "
         "-write_bext 1 -metadata time_reference=1728000000"},
        {kPicture, "-f lavfi -i smptehdbars=size=320x180:rate=25:duration=0.04 -frames:v 1"},
    };
    for (const auto& [name, arguments] : recipes) {
        if (!DemoMedia::makeOne(arguments, QDir(folder).filePath(QLatin1String(name)), error))
            return false;
    }
    return true;
}

QStringList ResultTour::clipNames()
{
    return {QStringLiteral("Bars"), QStringLiteral("Gulls"), QStringLiteral("Tide")};
}

QString ResultTour::copies() const
{
    return m_stage.watchedFolder(QStringLiteral("Backup"));
}

void ResultTour::addProfile(const QString& profile)
{
    m_profiles.addThreeActions(profile, copies());
    m_folders.addProfileChange(profile, true, false);
}

void ResultTour::addWork(const QString& picture)
{
    m_stage.add(
        QStringLiteral("A movie, a sequence and a sound are dropped into the folder"),
        [this] {
            m_stage.drop(QLatin1String(kMovie), m_folders.folder());
            m_stage.drop(QLatin1String(kSound), m_folders.folder());
            for (int i = 0; i < kPictures; ++i)
                m_stage.drop(QLatin1String(kPicture), m_folders.folder(), pictureName(i));
        },
        nullptr);
    TourStep ready;
    ready.name = QStringLiteral("Each is copied, transcoded and consolidated");
    ready.after = m_stage.outputsWaiting(m_folders.folder(), clipNames().size());
    ready.patience = kLongWork;
    m_stage.add(ready);
    m_folders.addWaitForClips(clipNames().size(), picture);
}

void ResultTour::addChecks()
{
    const QString made = m_stage.drive() + QLatin1String("/KRX Media/") + QDir(m_folders.folder()).dirName();
    for (const Result& result : kResults) {
        m_stage.add(
            QStringLiteral("ffprobe finds what was ordered in \"%1\"").arg(QLatin1String(result.file)),
            nullptr, [made, &result] { return faultOf(made, result); });
    }
    m_stage.add(QStringLiteral("Nothing else was made"), nullptr, [made] {
        const int count = QDir(made).entryList(QDir::Files).size();
        return count == int(std::size(kResults)) ? QString() : QString::number(count);
    });
    m_stage.add(QStringLiteral("The copies are the originals, byte for byte"), nullptr, [this] {
        const QStringList names = QDir(copies()).entryList(QDir::Files);
        if (names.size() != kPictures + 2)
            return names.join(QLatin1String(", "));
        for (const QString& name : names) {
            if (contentOf(QDir(copies()).filePath(name)) !=
                contentOf(QDir(m_folders.folder()).filePath(name)))
                return name;
        }
        return QString();
    });
    m_stage.add(QStringLiteral("The history of the copies verifies, with its chain"), nullptr,
                [this] { return HistoryCheck::fault(copies(), kPictures + 2); });
}
