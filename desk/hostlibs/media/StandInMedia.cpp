#include "StandInMedia.h"

#include <algorithm>

namespace StandInHost {
namespace {

struct Media
{
    MediaCatalogue catalogue;
    Project project;
};

Media builtIn()
{
    Media media;
    QString error;
    // The catalogue is compiled in and tested, so this can only fail in the hands of someone who edits it.
    if (!readCatalogue(QStringLiteral(":/stand-in/catalogue/media.json"), media.catalogue, error))
        qCritical("The media catalogue cannot be used: %s", qUtf8Printable(error));
    media.project = media.catalogue.project;
    return media;
}

Media& media()
{
    static Media theMedia = builtIn();
    return theMedia;
}

} // namespace

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
        const bool typeFits =
            compression.projectTypes.isEmpty() || compression.projectTypes.contains(projectType);
        const bool spaceFits =
            compression.colorSpaces.isEmpty() || compression.colorSpaces.contains(colorSpace);
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
        constexpr int digits = 5;
        const QString text = QString::number(rate, 'g', digits);
        if (texts.isEmpty() || texts.constLast() != text)
            texts.append(text);
    }
    return texts;
}

} // namespace StandInHost
