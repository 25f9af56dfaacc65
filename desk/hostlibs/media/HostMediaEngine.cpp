#include "HostMediaEngine.h"

#include "StandInMedia.h"

#include <QByteArray>

#include <algorithm>
#include <iterator>

namespace {

const StandInHost::ProjectType* findProjectType(int code)
{
    return StandInHost::catalogue().findProjectType(code);
}

HostMediaEngine::FrameRate asHostRate(const KRXCatalogue::FrameRate& rate)
{
    return {rate.numerator, rate.denominator};
}

HostMediaEngine::CustomFormat asHostFormat(const StandInHost::Format& format)
{
    return {format.identifier, format.projectType, format.frame.width(), format.frame.height()};
}

HostMediaEngine::CompressionDescriptor asHostDescriptor(const KRXCatalogue::PictureDescriptor& picture)
{
    HostMediaEngine::CompressionDescriptor descriptor;
    descriptor.uid.part1 = picture.uid.data1;
    descriptor.uid.part2 = picture.uid.data2;
    descriptor.uid.part3 = picture.uid.data3;
    std::copy(std::begin(picture.uid.data4), std::end(picture.uid.data4), std::begin(descriptor.uid.bytes));
    descriptor.bitsPerComponent = picture.bitsPerComponent;
    descriptor.chromaSampling = picture.chromaSampling;
    descriptor.maxBitrate = picture.maxBitrate;
    descriptor.avgBitrate = picture.avgBitrate;
    descriptor.pictureItemPattern = picture.pictureItemPattern;
    return descriptor;
}

/// Hands out a format that may not be there. \return whether it is.
bool handOut(const StandInHost::Format* found, HostMediaEngine::CustomFormat& format)
{
    if (found)
        format = asHostFormat(*found);
    return found != nullptr;
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
    const StandInHost::Format* target = StandInHost::catalogue().findFormat(targetFormat);
    if (!target)
        return formats;
    for (const quint32 identifier : target->compatible) {
        const StandInHost::Format* format = StandInHost::catalogue().findFormat(identifier);
        if (format)
            formats.append(asHostFormat(*format));
    }
    return formats;
}

bool isFormatDisabled(const CustomFormat& format)
{
    const StandInHost::Format* entry = StandInHost::catalogue().findFormat(format.identifier);
    return !entry || entry->disabled;
}

FrameRate formatRate(const CustomFormat& format)
{
    const StandInHost::Format* entry = StandInHost::catalogue().findFormat(format.identifier);
    return entry ? asHostRate(entry->rate) : FrameRate();
}

QString formatShortDescription(const CustomFormat& format)
{
    const StandInHost::Format* entry = StandInHost::catalogue().findFormat(format.identifier);
    return entry ? entry->description : QString();
}

bool findFormatByDescription(const QString& description, CustomFormat& format)
{
    return handOut(StandInHost::catalogue().findFormat(description), format);
}

bool findFormat(quint32 identifier, CustomFormat& format)
{
    return handOut(StandInHost::catalogue().findFormat(identifier), format);
}

bool findCompression(quint32 id, CompressionDescriptor& descriptor)
{
    const StandInHost::Compression* found = StandInHost::catalogue().findCompression(id);
    if (!found)
        return false;
    descriptor = asHostDescriptor(found->descriptor);
    return true;
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
    QList<LinkedMediaPlugin> plugins;
    for (const StandInHost::Plugin& plugin : StandInHost::catalogue().plugins)
        plugins.append({plugin.guid, plugin.name, plugin.extensions});
    return plugins;
}

} // namespace HostMediaEngine
