#include "StandInMedia.h"

#include <QSet>

#include <algorithm>

namespace StandInHost {
namespace {

struct Media
{
    MediaCatalogue catalogue;
    Project project;
};

ProjectType projectType(int code, const QString& name, QSize frame, int numerator, int denominator)
{
    ProjectType type;
    type.code = code;
    type.name = name;
    type.frame = frame;
    type.rate = {numerator, denominator};
    type.sd = frame.height() <= 576;
    type.hd = !type.sd;
    type.rgb = type.hd;
    type.colorSpaces = type.sd ? QList<int>{4} : QList<int>{8, 2};
    return type;
}

Media builtIn()
{
    Media media;
    MediaCatalogue& c = media.catalogue;
    c.projectTypes = {projectType(1, QStringLiteral("NTSC 29.97i"), {720, 480}, 30000, 1001),
                      projectType(2, QStringLiteral("PAL 25i"), {720, 576}, 25, 1),
                      projectType(10, QStringLiteral("1080p/25"), {1920, 1080}, 25, 1),
                      projectType(11, QStringLiteral("1080i/50"), {1920, 1080}, 25, 1)};
    for (ProjectType& type : c.projectTypes)
        type.compatible = {2, 10, 11};
    c.projectTypes[2].rasters.insert(1, {1920, 1440, 1280});
    Compression compression;
    compression.id = 0x01000004;
    compression.name = QStringLiteral("ProRes 422 HQ");
    compression.descriptor.bitsPerComponent = 10;
    compression.descriptor.chromaSampling = 3;
    compression.descriptor.pictureItemPattern = 1;
    compression.container = QStringLiteral("mov");
    c.compressions = {compression};
    c.defaultCompression = compression.id;
    c.audio.formats = {4, 6};
    c.audio.sampleRates = {32000, 44100, 48000};
    c.audio.sampleSizes = {2, 3};
    c.plugins = {{QStringLiteral("{5d2c1a70-3b1e-4f0a-9a64-0d1f8e2b7c01}"), QStringLiteral("MXF"), QStringLiteral("mxf")}};
    media.project.type = 10;
    media.project.rasterWidth = 1920;
    media.project.colorSpace = 8;
    return media;
}

Media& media()
{
    static Media theMedia = builtIn();
    return theMedia;
}

} // namespace

bool readCatalogue(const QString& path, MediaCatalogue&, QString& error)
{
    error = QStringLiteral("The media catalogue %1 could not be read").arg(path);
    return false;
}

const MediaCatalogue& catalogue()
{
    return media().catalogue;
}

void setCatalogue(const MediaCatalogue& catalogue)
{
    media().catalogue = catalogue;
}

void resetMedia()
{
    media() = builtIn();
}

const Project& project()
{
    return media().project;
}

void setProject(const Project& project)
{
    media().project = project;
}

QList<Compression> compressionsFor(int projectType, int colorSpace)
{
    QList<Compression> fitting;
    for (const Compression& compression : catalogue().compressions) {
        const bool typeFits = compression.projectTypes.isEmpty() || compression.projectTypes.contains(projectType);
        const bool spaceFits = compression.colorSpaces.isEmpty() || compression.colorSpaces.contains(colorSpace);
        if (typeFits && spaceFits)
            fitting.append(compression);
    }
    return fitting;
}

QStringList frameRateTexts()
{
    QList<double> rates;
    const auto add = [&rates](const HostMediaEngine::FrameRate& rate) {
        if (rate.numerator > 0 && rate.denominator > 0)
            rates.append(double(rate.numerator) / rate.denominator);
    };
    for (const ProjectType& type : catalogue().projectTypes)
        add(type.rate);
    for (const Format& format : catalogue().formats)
        add(format.rate);
    std::sort(rates.begin(), rates.end());
    QStringList texts;
    for (const double rate : rates) {
        // Five significant digits are what people write: 23.976, 29.97, 59.94.
        const QString text = QString::number(rate, 'g', 5);
        if (texts.isEmpty() || texts.constLast() != text)
            texts.append(text);
    }
    return texts;
}

} // namespace StandInHost
