#include "StandInMedia.h"

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
    media.catalogue = KRXCatalogue::builtInCatalogue();
    static_cast<KRXCatalogue::Project&>(media.project) = media.catalogue.project;
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
    return catalogue().compressionsFor(projectType, colorSpace);
}

QStringList frameRateTexts()
{
    return catalogue().frameRateTexts();
}

} // namespace StandInHost
