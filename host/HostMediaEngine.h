#pragma once

#include "HostComponentFactory.h"

#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QtGlobal>

/// What the host's media engine knows: the current project, what it can encode, how it links media.
/// GUI thread only. Every list is in the engine's own order. Queries that find nothing return empty values.
namespace HostMediaEngine {

// --- Project types -------------------------------------------------------------------------------------

/// The code of a project that takes raster and colour space from a custom target format.
constexpr int kCustomFormatProjectType = 26;

/// The code of the current project's type.
/// Without it: the lists begin with what is compatible with type 0.
KRX_HOST_API int currentProjectType();
/// Codes of the project types that a project of type \a current can be changed into; at most \a maxCount.
/// Without it: the box of project types stays empty.
KRX_HOST_API QList<int> compatibleProjectTypes(int current, int maxCount);
/// Whether the installation offers this project type.
/// Without it: (no) the type is not offered.
KRX_HOST_API bool isProjectTypeEnabled(int projectType);
/// The name shown for a project type; the same in every language, because profiles carry it.
/// Without it: the type stands in its box without a name.
KRX_HOST_API QString projectTypeName(int projectType);
/// Whether the project type has a standard-definition video format.
/// Without it: (no) the type has no colour space, unless it has a high-definition format.
KRX_HOST_API bool hasSDVideoFormat(int projectType);
/// Whether the project type has a high-definition (or larger) video format.
/// Without it: (no) no raster can be chosen.
KRX_HOST_API bool hasHDVideoFormat(int projectType);
/// Width and height in pixels of the frame of the project type's video format.
/// Without it: rasters are named with the height that comes, -1 for an empty size.
KRX_HOST_API QSize frameDimensions(int projectType);

// --- Rasters and colour spaces -------------------------------------------------------------------------

/// Whether the engine's project utilities are present; without them \ref rasterOption is not asked.
/// Without it: (no) rasterOption() is not asked and counts as 0.
KRX_HOST_API bool hasProjectUtilities();
/// Which rasters the project wants offered; passed through to rasterWidths().
/// Without it: rasterWidths() is asked with 0.
KRX_HOST_API int rasterOption();
/// Raster widths in pixels that a project type offers; at most \a maxCount.
/// Without it: the box of rasters stays empty.
KRX_HOST_API QList<int> rasterWidths(int projectType, int option, int maxCount);
/// The current project's raster width in pixels.
/// Without it: the first raster is the current one.
KRX_HOST_API int currentRasterWidth();
/// The current project's colour-space code (1 mono, 2 RGB 709, 4 YCbCr 601, 8 YCbCr 709).
/// Without it: the first colour space is the current one.
KRX_HOST_API int currentColorSpace();
/// Whether a project type can work in a colour space.
/// Without it: (no) the colour space is not offered.
KRX_HOST_API bool isValidColorSpace(int projectType, int colorSpace);
/// Whether this installation encodes RGB at all.
/// Without it: (no) the colour space cannot be chosen.
KRX_HOST_API bool rgbEncodeSupported();
/// Whether a project type can be encoded as RGB.
/// Without it: (no) RGB is not offered.
KRX_HOST_API bool supportsRGB(int projectType);

// --- Custom formats ------------------------------------------------------------------------------------

/// A frame rate as a fraction, in frames per second.
struct FrameRate
{
    int numerator = 0;
    int denominator = 1;
};

/// One custom target format.
struct CustomFormat
{
    /// The format's numeric identifier; 0 is no format.
    quint32 identifier = 0;
    /// The project type that the format amounts to.
    int projectType = 0;
    /// Frame size in pixels.
    int width = 0;
    int height = 0;
};

/// The identifier of the current project's target format; 0 when the project has none.
/// Without it: (0) compatibleCustomFormats() is asked with 0.
KRX_HOST_API quint32 currentTargetFormat();
/// The formats that a project with that target format can be changed into.
/// Without it: no custom format is offered.
KRX_HOST_API QList<CustomFormat> compatibleCustomFormats(quint32 targetFormat);
/// Whether the installation does not offer the format.
/// Without it: (no) the format is offered.
KRX_HOST_API bool isFormatDisabled(const CustomFormat& format);
/// The format's frame rate.
/// Without it: the format counts as one without frames per second.
KRX_HOST_API FrameRate formatRate(const CustomFormat& format);
/// The short description shown for a format; unique among formats, the same in every language.
/// Without it: the format stands in its box without a name.
KRX_HOST_API QString formatShortDescription(const CustomFormat& format);
/// Finds a format by its short description (exact). \return false when there is none.
/// Without it: a stored custom format is not found, and the user is told so.
KRX_HOST_API bool findFormatByDescription(const QString& description, CustomFormat& format);
/// Finds a format in the engine's registry by its identifier. \return false when there is none.
/// Without it: the project has no custom format.
KRX_HOST_API bool findFormat(quint32 identifier, CustomFormat& format);

// --- Compressions --------------------------------------------------------------------------------------

/// An AAF unique identifier.
struct AafUid
{
    quint32 part1 = 0;
    quint16 part2 = 0;
    quint16 part3 = 0;
    quint8 bytes[8] = {};
};

/// What the engine knows of one compression (codec).
struct CompressionDescriptor
{
    AafUid uid;
    quint32 bitsPerComponent = 0;
    /// Chroma sampling code: 0 4:4:4, 1 4:1:1, 2 4:2:0, 3 4:2:2.
    int chromaSampling = 0;
    /// Bits per second; 0 when not limited or not known.
    quint64 maxBitrate = 0;
    quint64 avgBitrate = 0;
    /// How pictures are laid out in time, an 8-bit code: 1 every picture stands alone, 2 groups of pictures.
    quint8 pictureItemPattern = 0;
};

/// Looks up a compression.
/// \param id the compression's identifier. \param descriptor receives what the engine knows of it; left alone
/// otherwise. \return false when the engine does not know the compression.
/// Without it: the profile says the codec's name and nothing more of it.
KRX_HOST_API bool findCompression(quint32 id, CompressionDescriptor& descriptor);

/// The descriptor of a compression, looked up once.
class CompressionInfo
{
public:
    /// \param id the compression's identifier.
    explicit CompressionInfo(quint32 id)
        : m_valid(findCompression(id, m_descriptor))
    {
    }
    /// Whether the engine knows the compression.
    bool isValid() const { return m_valid; }
    /// The descriptor; all zero when not valid.
    const CompressionDescriptor& descriptor() const { return m_descriptor; }

private:
    CompressionDescriptor m_descriptor;
    bool m_valid = false;
};

/// The compression that a new transcode starts with.
/// Without it: the first codec is the default.
KRX_HOST_API quint32 defaultCompressionId();

// --- Audio ---------------------------------------------------------------------------------------------
// The setting type selects one of the host's settings; the module always asks with 0.

/// Without it: no audio format is offered.
KRX_HOST_API int audioFormatCount(int settingType);
/// Code of the audio format at \a index (0 to audioFormatCount() - 1).
/// Without it: the format is left out.
KRX_HOST_API int nthAudioFormat(int index, int settingType);
/// How audio media is created; 1 is one OP1a file for all tracks.
/// Without it: audio formats are named after OP-Atom.
KRX_HOST_API int audioCreationType(int settingType);
/// Without it: no sample rate is offered.
KRX_HOST_API int sampleRateCount(int settingType);
/// Sample rate in Hz at \a index.
/// Without it: the rate is left out.
KRX_HOST_API int nthSampleRate(int index, int settingType);
/// The text shown for a sample rate in the host's multibyte encoding (HostCore::unicodeFromMultibyte);
/// owned by the engine and valid until the next call; null for an unknown rate.
/// Without it: (null) the rate is left out.
KRX_HOST_API const char* sampleRateText(int rate);
/// Without it: no bit depth is offered.
KRX_HOST_API int sampleSizeCount(int settingType);
/// Code of the sample size at \a index; codes up to 4 count bytes, larger ones bits.
/// Without it: the bit depth is left out.
KRX_HOST_API int nthSampleSize(int index, int settingType);
/// The current project's sample rate in Hz.
/// Without it: the first rate is the default.
KRX_HOST_API int projectSampleRate();
/// The current project's audio file format code.
/// Without it: the first format is the default.
KRX_HOST_API int projectAudioFileFormat(int kind);
/// The current project's sample size in bits.
/// Without it: the first bit depth is the default.
KRX_HOST_API int projectSampleSize(int settingType);

// --- Linking -------------------------------------------------------------------------------------------

/// One installed plug-in that links media.
struct LinkedMediaPlugin
{
    /// A GUID in braced text form, for example "{0123abcd-0001-00ef-060e-2b3401020304}".
    QString guid;
    QString name;
    /// A list of extensions separated by dots ("mxf.mov"), or a text that contains "Folder".
    QString extensions;
};

/// The installed plug-ins.
/// Without it: "Autodetect Plug-in" is the only choice.
KRX_HOST_API QList<LinkedMediaPlugin> listLinkedMediaPlugins();

/// A grouping of audio tracks into multichannel groups.
struct ChannelGroups
{
    /// The text that is stored; "None" when nothing is grouped.
    QString persistentText;
    /// The text that the user sees, localised.
    QString displayText;
};

/// Parses the stored text of a grouping. A text that cannot be parsed keeps its persistent form and gets a
/// display form that says so.
/// Without it: the grouping is shown as an empty text.
KRX_HOST_API ChannelGroups channelGroupsFromText(const QString& text);

} // namespace HostMediaEngine
