#pragma once

#include "HostMediaEngine.h"

#include <QHash>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

/// The media catalogue behind the stand-in's HostMediaEngine: what projects there are and what can be
/// encoded. It is data: read from the catalogue file, or put together by a test.
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

struct MediaCatalogue
{
    QList<ProjectType> projectTypes;
    QList<Format> formats;
    QList<Compression> compressions;
    AudioSettings audio;
    QList<HostMediaEngine::LinkedMediaPlugin> plugins;
    quint32 defaultCompression = 0;
    /// The project that is open at first.
    Project project;
};

/// Reads a catalogue file (docs/media-catalogue.md). \return false with a text in \a error that names the
/// file and the field, and \a out as it was.
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

// --- Groupings of audio tracks -------------------------------------------------------------------------
// The stored text is "None", or groups in the order of their tracks, for example "1-2:Stereo;3-8:5.1": first
// track, last track, layout. Tracks that no group names stay mono.

constexpr int kMaxAudioTracks = 64;

/// Neighbouring tracks that form one multichannel track.
struct ChannelGroup
{
    /// Counts from 1.
    int first = 0;
    int count = 0;
    /// One of channelLayouts().
    QString layout;

    int last() const { return first + count - 1; }
};

/// The names of the layouts that a group can have, the same in every language.
KRX_HOST_API QStringList channelLayouts();
/// How many tracks a layout takes; 0 for an unknown one.
KRX_HOST_API int channelLayoutTracks(const QString& layout);
/// Reads a stored text. \return false, and \a groups as it was, when it is none: wrong form, unknown layout,
/// a count that does not fit the layout, tracks that overlap, go down or go beyond kMaxAudioTracks.
KRX_HOST_API bool parseChannelGroups(const QString& text, QList<ChannelGroup>& groups);
/// The stored text of groups; "None" for an empty list.
KRX_HOST_API QString channelGroupsText(const QList<ChannelGroup>& groups);

} // namespace StandInHost
