#pragma once

#include "ChannelGroups.h"
#include "HostCore.h"
#include "MediaCatalogue.h"

#include <QList>
#include <QStringList>

/// The media catalogue behind the stand-in's HostMediaEngine, and the project that is open. Both are data:
/// read from the catalogue's file, or put together by a test. GUI thread only.
namespace StandInHost {

using KRXCatalogue::AudioSettings;
using KRXCatalogue::Compression;
using KRXCatalogue::EncodingProfile;
using KRXCatalogue::Format;
using KRXCatalogue::MediaCatalogue;
using KRXCatalogue::Plugin;
using KRXCatalogue::ProjectType;

using KRXCatalogue::ChannelGroup;
using KRXCatalogue::channelGroupsText;
using KRXCatalogue::channelLayouts;
using KRXCatalogue::channelLayoutTracks;
using KRXCatalogue::parseChannelGroups;

/// The project that is open in the stand-in host.
struct Project : KRXCatalogue::Project
{
    bool projectUtilities = true;
};

/// The catalogue in use; at first the one that is compiled in.
KRX_HOST_API const MediaCatalogue& catalogue();
KRX_HOST_API void setCatalogue(const MediaCatalogue& catalogue);
/// Back to the catalogue that is compiled in, and its first project.
KRX_HOST_API void resetMedia();
KRX_HOST_API const Project& project();
KRX_HOST_API void setProject(const Project& project);

/// Compressions of the catalogue in use that fit the project type and colour space, in order.
KRX_HOST_API QList<Compression> compressionsFor(int projectType, int colorSpace);
/// The frame rates (for example "23.976", "25") that projects of the catalogue in use have, for rate boxes.
KRX_HOST_API QStringList frameRateTexts();

} // namespace StandInHost
