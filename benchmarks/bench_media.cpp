#include "Bench.h"

#include "MediaCatalogue.h"
#include "activities/Activity.h"
#include "activities/EncodingPlan.h"
#include "documents/ProfileDocument.h"
#include "media/MediaProbe.h"

#include <QProcess>
#include <QTemporaryDir>

#include <array>
#include <string>

namespace KRXBench {

namespace {

using namespace krxservice;

constexpr int kSeconds = 20;
constexpr int kPairs = 3;
constexpr double kMost = 1.03; ///< times the bare command

/// What many transcode to: ProRes, MPEG-2 in MXF, and lossless.
constexpr std::array<unsigned, 3> kCodecs = {16777218, 50331650, 83886081};

void ffmpeg(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")} +
                      arguments);
    require(process.waitForFinished(-1) && process.exitCode() == 0,
            QString::fromUtf8(process.readAllStandardError()));
}

std::string activityFor(const KRXCatalogue::Compression& codec, const std::string& volume)
{
    return "<activity id=\"transcode\"><outputDetail><filesystemVideoVolume>" + volume +
           "/</filesystemVideoVolume><filesystemAudioVolume>" + volume +
           "/</filesystemAudioVolume><outputTranscodeVideoProfile><videoProjectType>1080p/25</"
           "videoProjectType>"
           "<videoColorSpace>YCbCr 709</videoColorSpace><videoRaster>1920x1080</videoRaster>"
           "<videoCompressionType>" +
           std::to_string(codec.id) +
           "</videoCompressionType></outputTranscodeVideoProfile></outputDetail></activity>";
}

} // namespace

void measureMedia(Table& table)
{
    const QTemporaryDir folder;
    const QString source = folder.filePath(QStringLiteral("source.mov"));
    ffmpeg({QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
            QStringLiteral("testsrc2=s=1920x1080:r=25:d=%1").arg(kSeconds), QStringLiteral("-f"),
            QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=r=48000:d=%1").arg(kSeconds),
            QStringLiteral("-c:v"), QStringLiteral("mpeg4"), QStringLiteral("-q:v"), QStringLiteral("3"),
            QStringLiteral("-c:a"), QStringLiteral("pcm_s24le"), source});
    Clip clip;
    clip.source.path = clip.linked.path = source.toStdString();
    const MediaFacts media = MediaProbe::probe(clip.source.path, makeCancelToken()).facts;
    for (const unsigned id : kCodecs) {
        const auto& catalogue = KRXCatalogue::builtInCatalogue();
        const auto& codec = *catalogue.findCompression(id);
        ActivityRecipe recipe;
        recipe.id = profiledocument::kTranscode;
        recipe.element = activityFor(codec, folder.path().toStdString());
        const auto plan = EncodingPlan::make(MediaOptions::read(recipe.element), clip, media, catalogue);
        require(bool(plan), QString::fromStdString(plan ? std::string() : plan.refusal().text));
        // The same work, straight from the file: its time begins where the filters want it.
        QStringList bare{QStringLiteral("-copyts"), QStringLiteral("-itsoffset"), QStringLiteral("10"),
                         QStringLiteral("-i"), source};
        for (const auto* arguments : {&plan->video, &plan->sound, &plan->tags}) {
            for (const auto& argument : *arguments)
                bare << QString::fromStdString(argument);
        }
        bare << QStringLiteral("-f") << QString::fromStdString(plan->muxer)
             << folder.filePath(QStringLiteral("bare"));
        const auto ours = [&] {
            const auto made = Activity::forId(recipe.id).run(clip, recipe, {}, makeCancelToken());
            require(bool(made), QString::fromStdString(made ? std::string() : made.refusal().text));
            QFile::remove(QString::fromStdString(made->linked.path));
        };
        // One turn takes so long that nothing needs to warm up.
        addPairs(
            table, QStringLiteral("transcode of %1 s to %2").arg(kSeconds).arg(codec.name),
            qint64{kSeconds} * 25, kPairs, kMost, false, [&] { return timedMs(ours); },
            [&] { return timedMs([&] { ffmpeg(bare); }); });
    }
}

} // namespace KRXBench
