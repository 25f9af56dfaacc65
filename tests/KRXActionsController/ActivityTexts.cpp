#include "ActivityTexts.h"

#include <QStringList>

namespace ActivityTexts {

namespace {

QString line(int depth, const QString& text)
{
    return QString(depth, QLatin1Char(' ')) + text + QLatin1Char('\n');
}

QString element(int depth, const char* name, const QString& value, const QString& attributes = QString())
{
    const QString tag = QLatin1String(name);
    return line(depth, QString(QLatin1Char('<') + tag + attributes + QLatin1Char('>') + value +
                               QLatin1String("</") + tag + QLatin1Char('>')));
}

QString enabled(const QString& value)
{
    return QString(QLatin1String(" enabled=\"") + value + QLatin1Char('"'));
}

QString activity(const char* id, const QString& name, const QString& content)
{
    return line(0, QString(QLatin1String("<activity id=\"") + QLatin1String(id) +
                           QLatin1String("\" name=\"") + name + QLatin1String("\">"))) +
           content + line(0, QStringLiteral("</activity>"));
}

QString audioText(const Audio& audio)
{
    return line(2, QStringLiteral("<outputAudioProfile>")) +
           element(3, "audioSampleRate", audio.rate, enabled(audio.rateEnabled)) +
           element(3, "audioSampleWidth", audio.width, enabled(audio.widthEnabled)) +
           element(3, "audioFormat", audio.format, enabled(audio.formatEnabled)) +
           line(2, QStringLiteral("</outputAudioProfile>"));
}

QString codecAttributes(const Video& video, const QString& descriptor)
{
    return QString(QLatin1String(" name=\"") + video.codecName + QLatin1Char('"') + descriptor);
}

} // namespace

QString text(const Copy& copy)
{
    return activity("copy", copy.name,
                    line(1, QStringLiteral("<destinationDetail>")) + element(2, "filesystemPath", copy.path) +
                        element(2, "relinkAfterCopy", copy.relink) + element(2, "autoCheckin", copy.checkIn) +
                        line(1, QStringLiteral("</destinationDetail>")));
}

QString text(const Transcode& transcode)
{
    const Video& video = transcode.video;
    return activity(
        "transcode", transcode.name,
        line(1, QStringLiteral("<outputDetail>")) +
            element(2, "filesystemVideoVolume", transcode.videoVolume) +
            element(2, "filesystemAudioVolume", transcode.audioVolume) +
            line(2, QStringLiteral("<outputTranscodeVideoProfile>")) +
            element(3, "videoIncludeReformattedContent", video.reformat) +
            element(3, "applyColorTransformations", video.colorTransform) +
            element(3, "videoProjectType", video.projectType) +
            element(3, "videoColorSpace", video.colorSpace) + element(3, "videoRaster", video.raster) +
            element(3, "encodingProfile", video.encodingProfile) +
            element(3, "videoDebayerSetting", video.debayer) +
            element(3, "videoCompressionType", video.codecId, codecAttributes(video, video.descriptor)) +
            line(2, QStringLiteral("</outputTranscodeVideoProfile>")) + audioText(transcode.audio) +
            line(1, QStringLiteral("</outputDetail>")));
}

QString text(const Consolidate& consolidate)
{
    const Video& video = consolidate.video;
    return activity("consolidate", QStringLiteral("Consolidate"),
                    line(1, QStringLiteral("<outputDetail>")) +
                        element(2, "filesystemVideoVolume", consolidate.videoVolume) +
                        element(2, "filesystemAudioVolume", consolidate.audioVolume) +
                        line(2, QStringLiteral("<outputConsolidateVideoProfile>")) +
                        element(3, "videoSkipOnTarget", consolidate.skip) +
                        element(3, "videoRelinkSkippedToTarget", consolidate.relinkSkipped) +
                        element(3, "performTranscodeIfConsolidateFails", consolidate.fallback) +
                        line(3, QStringLiteral("<transcodeOptions>")) +
                        element(4, "videoCompressionType", video.codecId, codecAttributes(video, QString())) +
                        element(4, "videoProjectType", video.projectType) +
                        element(4, "videoColorSpace", video.colorSpace) +
                        element(4, "videoRaster", video.raster) +
                        element(4, "encodingProfile", video.encodingProfile) +
                        element(4, "videoDebayerSetting", video.debayer) +
                        element(4, "videoIncludeReformattedContent", video.reformat) +
                        element(4, "applyColorTransformations", video.colorTransform) +
                        line(3, QStringLiteral("</transcodeOptions>")) +
                        line(2, QStringLiteral("</outputConsolidateVideoProfile>")) +
                        audioText(consolidate.audio) + line(1, QStringLiteral("</outputDetail>")));
}

} // namespace ActivityTexts
