#pragma once

#include "HostMediaEngine.h"

#include <QHash>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

/// The media catalogue behind the stand-in's HostMediaEngine: what projects there are and what can be encoded.
/// It is data: read from the catalogue file, or put together by a test.
namespace StandInHost {

struct ProjectType
{
    int code = 0;
    QString name;
    bool enabled = true;
    bool sd = false;
    bool hd = false;
    QSize frame;
    HostMediaEngine::FrameRate rate;
    /// Raster widths per raster option; an option not listed offers the frame width alone.
    QHash<int, QList<int>> rasters;
    QList<int> colorSpaces;
    bool rgb = false;
    /// Codes of the project types that this one can be changed into, in order.
    QList<int> compatible;
};

struct Format
{
    HostMediaEngine::CustomFormat format;
    QString description;
    HostMediaEngine::FrameRate rate;
    bool disabled = false;
    QList<quint32> compatible;
};

struct EncodingProfile
{
    quint32 id = 0;
    QString name;
    /// What ffmpeg gets beside the compression's own arguments.
    QStringList ffmpegArguments;
};

struct Compression
{
    quint32 id = 0;
    QString name;
    HostMediaEngine::CompressionDescriptor descriptor;
    /// Project types it is offered for; empty means all.
    QList<int> projectTypes;
    /// Colour spaces it is offered for; empty means all.
    QList<int> colorSpaces;
    /// What ffmpeg needs to encode it, for example "-c:v", "prores_ks", "-profile:v", "3".
    QStringList ffmpegArguments;
    QString container;
    QList<EncodingProfile> profiles;
};

struct AudioSettings
{
    QList<int> formats;
    QList<int> sampleRates;
    /// Codes that count bytes.
    QList<int> sampleSizes;
    int creationType = 1;
};

struct MediaCatalogue
{
    QList<ProjectType> projectTypes;
    QList<Format> formats;
    QList<Compression> compressions;
    AudioSettings audio;
    QList<HostMediaEngine::LinkedMediaPlugin> plugins;
    quint32 defaultCompression = 0;
};

/// The project that is open in the stand-in host.
struct Project
{
    int type = 0;
    quint32 targetFormat = 0;
    int rasterWidth = 0;
    int colorSpace = 0;
    bool rgbEncode = true;
    bool projectUtilities = true;
    int rasterOption = 1;
    int sampleRate = 48000;
    int audioFileFormat = 4;
    /// Bits.
    int sampleSize = 24;
};

/// Reads a catalogue file. \return false with a clear text in \a error, and \a out as it was.
KRX_HOST_API bool readCatalogue(const QString& path, MediaCatalogue& out, QString& error);
/// The catalogue in use; at first the one that comes with the stand-in.
KRX_HOST_API const MediaCatalogue& catalogue();
KRX_HOST_API void setCatalogue(const MediaCatalogue& catalogue);
/// Back to the catalogue that comes with the stand-in, and its default project.
KRX_HOST_API void resetMedia();
KRX_HOST_API const Project& project();
KRX_HOST_API void setProject(const Project& project);

/// Compressions of the catalogue that fit the project type and colour space, in order.
KRX_HOST_API QList<Compression> compressionsFor(int projectType, int colorSpace);
/// The frame rates (for example "23.976", "25") that projects of the catalogue have, for rate boxes.
KRX_HOST_API QStringList frameRateTexts();

} // namespace StandInHost
