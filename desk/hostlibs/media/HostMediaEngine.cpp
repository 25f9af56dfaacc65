#include "HostMediaEngine.h"

#include "StandInMedia.h"

#include <QByteArray>

#include <algorithm>

namespace {

const StandInHost::ProjectType* findProjectType(int code)
{
    const QList<StandInHost::ProjectType>& types = StandInHost::catalogue().projectTypes;
    const auto found =
        std::find_if(types.cbegin(), types.cend(),
                     [code](const StandInHost::ProjectType& type) { return type.code == code; });
    return found == types.cend() ? nullptr : &*found;
}

template <class Predicate>
const StandInHost::Format* findFormatWhere(Predicate predicate)
{
    const QList<StandInHost::Format>& formats = StandInHost::catalogue().formats;
    const auto found = std::find_if(formats.cbegin(), formats.cend(), predicate);
    return found == formats.cend() ? nullptr : &*found;
}

const StandInHost::Format* findFormatEntry(quint32 identifier)
{
    return findFormatWhere(
        [identifier](const StandInHost::Format& format) { return format.format.identifier == identifier; });
}

} // namespace

namespace HostMediaEngine {

int currentProjectType()
{
    return StandInHost::project().type;
}

QList<int> compatibleProjectTypes(int current, int maxCount)
{
    const StandInHost::ProjectType* type = findProjectType(current);
    return type ? type->compatible.mid(0, qMax(0, maxCount)) : QList<int>();
}

bool isProjectTypeEnabled(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type && type->enabled;
}

QString projectTypeName(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type ? type->name : QString();
}

bool hasSDVideoFormat(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type && type->sd;
}

bool hasHDVideoFormat(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type && type->hd;
}

QSize frameDimensions(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type ? type->frame : QSize();
}

bool hasProjectUtilities()
{
    return StandInHost::project().projectUtilities;
}

int rasterOption()
{
    return StandInHost::project().rasterOption;
}

QList<int> rasterWidths(int projectType, int option, int maxCount)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    if (!type)
        return {};
    const QList<int> whole = type->frame.isEmpty() ? QList<int>() : QList<int>{type->frame.width()};
    return type->rasters.value(option, whole).mid(0, qMax(0, maxCount));
}

int currentRasterWidth()
{
    return StandInHost::project().rasterWidth;
}

int currentColorSpace()
{
    return StandInHost::project().colorSpace;
}

bool isValidColorSpace(int projectType, int colorSpace)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type && type->colorSpaces.contains(colorSpace);
}

bool rgbEncodeSupported()
{
    return StandInHost::project().rgbEncode;
}

bool supportsRGB(int projectType)
{
    const StandInHost::ProjectType* type = findProjectType(projectType);
    return type && type->rgb;
}

quint32 currentTargetFormat()
{
    return StandInHost::project().targetFormat;
}

QList<CustomFormat> compatibleCustomFormats(quint32 targetFormat)
{
    QList<CustomFormat> formats;
    const StandInHost::Format* target = findFormatEntry(targetFormat);
    if (!target)
        return formats;
    for (const quint32 identifier : target->compatible) {
        const StandInHost::Format* format = findFormatEntry(identifier);
        if (format)
            formats.append(format->format);
    }
    return formats;
}

bool isFormatDisabled(const CustomFormat& format)
{
    const StandInHost::Format* entry = findFormatEntry(format.identifier);
    return !entry || entry->disabled;
}

FrameRate formatRate(const CustomFormat& format)
{
    const StandInHost::Format* entry = findFormatEntry(format.identifier);
    return entry ? entry->rate : FrameRate();
}

QString formatShortDescription(const CustomFormat& format)
{
    const StandInHost::Format* entry = findFormatEntry(format.identifier);
    return entry ? entry->description : QString();
}

bool findFormatByDescription(const QString& description, CustomFormat& format)
{
    const StandInHost::Format* entry = findFormatWhere([&description](const StandInHost::Format& candidate) {
        return candidate.description == description;
    });
    if (entry)
        format = entry->format;
    return entry != nullptr;
}

bool findFormat(quint32 identifier, CustomFormat& format)
{
    const StandInHost::Format* entry = findFormatEntry(identifier);
    if (entry)
        format = entry->format;
    return entry != nullptr;
}

CompressionInfo::CompressionInfo(quint32 id)
{
    const QList<StandInHost::Compression>& all = StandInHost::catalogue().compressions;
    const auto found =
        std::find_if(all.cbegin(), all.cend(),
                     [id](const StandInHost::Compression& compression) { return compression.id == id; });
    if (found == all.cend())
        return;
    m_valid = true;
    m_descriptor = found->descriptor;
}

quint32 defaultCompressionId()
{
    return StandInHost::catalogue().defaultCompression;
}

// The stand-in has one set of audio settings, so the setting type makes no difference.

int audioFormatCount(int)
{
    return StandInHost::catalogue().audio.formats.size();
}

int nthAudioFormat(int index, int)
{
    return StandInHost::catalogue().audio.formats.value(index);
}

int audioCreationType(int)
{
    return StandInHost::catalogue().audio.creationType;
}

int sampleRateCount(int)
{
    return StandInHost::catalogue().audio.sampleRates.size();
}

int nthSampleRate(int index, int)
{
    return StandInHost::catalogue().audio.sampleRates.value(index);
}

const char* sampleRateText(int rate)
{
    static QByteArray text;
    if (rate <= 0 || !StandInHost::catalogue().audio.sampleRates.contains(rate))
        return nullptr;
    constexpr double hertzPerKilohertz = 1000.0;
    text = QByteArray::number(rate / hertzPerKilohertz, 'g', 6) + " kHz";
    return text.constData();
}

int sampleSizeCount(int)
{
    return StandInHost::catalogue().audio.sampleSizes.size();
}

int nthSampleSize(int index, int)
{
    return StandInHost::catalogue().audio.sampleSizes.value(index);
}

int projectSampleRate()
{
    return StandInHost::project().sampleRate;
}

int projectAudioFileFormat(int)
{
    return StandInHost::project().audioFileFormat;
}

int projectSampleSize(int)
{
    return StandInHost::project().sampleSize;
}

QList<LinkedMediaPlugin> listLinkedMediaPlugins()
{
    return StandInHost::catalogue().plugins;
}

} // namespace HostMediaEngine
