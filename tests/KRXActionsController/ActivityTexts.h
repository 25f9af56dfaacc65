#pragma once

#include <QString>

/// Activities as they stand in a profile, put together from their values independently of the module.
namespace ActivityTexts {

struct Copy
{
    QString name = QStringLiteral("Copy 1");
    QString path;
    QString relink = QStringLiteral("false");
    QString checkIn = QStringLiteral("false");
};

struct Audio
{
    QString rateEnabled = QStringLiteral("false");
    QString rate = QStringLiteral("48000");
    QString widthEnabled = QStringLiteral("false");
    QString width = QStringLiteral("24");
    QString formatEnabled = QStringLiteral("false");
    QString format = QStringLiteral("PCM  (MXF OP1a)");
};

struct Video
{
    QString reformat = QStringLiteral("true");
    QString colorTransform = QStringLiteral("false");
    QString projectType = QStringLiteral("1080p/25");
    QString colorSpace = QStringLiteral("YCbCr 709");
    QString raster = QStringLiteral("1920x1080");
    QString encodingProfile = QStringLiteral("Draft");
    QString debayer = QStringLiteral("0");
    QString codecId = QStringLiteral("102");
    /// As it stands in an attribute.
    QString codecName = QStringLiteral("Default &lt;Codec> &amp; &quot;more&quot;");
    /// Attributes behind the name, each with a leading blank.
    QString descriptor = QStringLiteral(
        " compressionID=\"ffffffff-ffff-ffff-ff-ff-ff-ff-ff-ff-ff-ff\" bitsPerComponent=\"8\""
        " horizontalSubsampling=\"2\" verticalSubsampling=\"2\" maxBitrate=\"0\" avgBitrate=\"0\""
        " pictureItemPattern=\"2\"");
};

struct Transcode
{
    QString name = QStringLiteral("Transcode 1");
    QString videoVolume = QStringLiteral("/");
    QString audioVolume = QStringLiteral("/");
    Video video;
    Audio audio;
};

struct Consolidate
{
    QString videoVolume = QStringLiteral("/");
    QString audioVolume = QStringLiteral("/");
    QString skip = QStringLiteral("true");
    QString relinkSkipped = QStringLiteral("false");
    QString fallback = QStringLiteral("false");
    Video video;
    Audio audio;

    Consolidate() { video.reformat = QStringLiteral("false"); }
};

QString text(const Copy& copy);
QString text(const Transcode& transcode);
QString text(const Consolidate& consolidate);

} // namespace ActivityTexts
