#pragma once

#include <QHash>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QUuid>

/// The media catalogue: what projects there are, what can be encoded and how, what links media. It is data:
/// read from a file (docs/media-catalogue.md), or put together in memory. The editor's side offers it and the
/// service encodes with it, so both sides mean the same by an id. Plain values, safe to copy between threads.
namespace KRXCatalogue {

/// The code of the project type that takes frame and rate from a format.
constexpr int kCustomFormatProjectType = 26;

/// Frames per second, as a fraction.
struct FrameRate
{
    int numerator = 0;
    int denominator = 1;
};

/// Which field of a frame is shown first.
enum class Fields { None, TopFirst, BottomFirst };

struct ProjectType
{
    int code = 0;
    QString name;
    bool enabled = true;
    bool sd = false;
    bool hd = false;
    /// Pixels.
    QSize frame;
    FrameRate rate;
    /// None: whole pictures.
    Fields fields = Fields::None;
    /// Raster widths per raster option; an option not listed offers the frame width alone.
    QHash<int, QList<int>> rasters;
    /// Codes: 1 mono, 2 RGB 709, 4 YCbCr 601, 8 YCbCr 709.
    QList<int> colorSpaces;
    bool rgb = false;
    /// Codes of the project types that this one can be changed into, in order.
    QList<int> compatible;
};

/// A frame and rate for projects of type kCustomFormatProjectType.
struct Format
{
    quint32 identifier = 0;
    /// The project type that the format amounts to.
    int projectType = kCustomFormatProjectType;
    /// Pixels.
    QSize frame;
    QString description;
    FrameRate rate;
    bool disabled = false;
    /// Identifiers of the formats that this one can be changed into, in order.
    QList<quint32> compatible;
};

struct EncodingProfile
{
    quint32 id = 0;
    QString name;
    /// What ffmpeg gets after the compression's own arguments.
    QStringList ffmpegArguments;
};

/// What the coded pictures are.
struct PictureDescriptor
{
    QUuid uid;
    quint32 bitsPerComponent = 0;
    /// 0 4:4:4, 1 4:1:1, 2 4:2:0, 3 4:2:2.
    int chromaSampling = 0;
    /// Bits per second; 0 when not limited or not known.
    quint64 maxBitrate = 0;
    quint64 avgBitrate = 0;
    /// 1 every picture stands alone, 2 groups of pictures.
    quint8 pictureItemPattern = 0;
};

struct Compression
{
    quint32 id = 0;
    QString name;
    PictureDescriptor descriptor;
    /// Project types it is offered for; empty means all.
    QList<int> projectTypes;
    /// Colour spaces it is offered for; empty means all.
    QList<int> colorSpaces;
    /// What ffmpeg needs to encode it, for example "-c:v", "prores_ks", "-profile:v", "3".
    QStringList ffmpegArguments;
    /// Extension of the file, which is also the name that ffmpeg guesses the muxer from.
    QString container;
    QList<EncodingProfile> profiles;

    /// Null when there is none. Pointers last as long as the list is not changed.
    const EncodingProfile* findProfile(quint32 profileId) const;
    const EncodingProfile* findProfile(const QString& profileName) const;
};

struct AudioSettings
{
    QList<int> formats;
    QList<int> sampleRates;
    /// Codes that count bytes.
    QList<int> sampleSizes;
    int creationType = 1;
};

/// A plug-in that links media.
struct Plugin
{
    /// In braces.
    QString guid;
    QString name;
    /// Extensions divided by dots, or a text that contains "Folder".
    QString extensions;
};

/// The settings of a project.
struct Project
{
    int type = 0;
    /// Identifier of a format; 0 for none.
    quint32 targetFormat = 0;
    int rasterWidth = 0;
    int colorSpace = 0;
    bool rgbEncode = true;
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
    QList<Plugin> plugins;
    quint32 defaultCompression = 0;
    /// The project that is open at first.
    Project project;

    /// Look-ups; null when there is none. Pointers last as long as the list is not changed. Names and
    /// descriptions are those that profiles store.
    const ProjectType* findProjectType(int code) const;
    const ProjectType* findProjectType(const QString& name) const;
    const Format* findFormat(quint32 identifier) const;
    const Format* findFormat(const QString& description) const;
    const Compression* findCompression(quint32 id) const;
    const Compression* findCompression(const QString& name) const;
    /// Compressions that fit the project type and colour space, in order.
    QList<Compression> compressionsFor(int projectType, int colorSpace) const;
    /// The frame rates (for example "23.976", "25") of its project types and formats, slowest first.
    QStringList frameRateTexts() const;
};

/// Reads a catalogue file. \return false with a text in \a error that names the file and the field, and
/// \a out as it was.
bool readCatalogue(const QString& path, MediaCatalogue& out, QString& error);
/// The catalogue that is compiled in. Safe from any thread.
const MediaCatalogue& builtInCatalogue();

} // namespace KRXCatalogue
