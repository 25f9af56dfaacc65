#pragma once

#include "activities/MediaOptions.h"

#include <string>

/// ProRes Proxy in PAL, which is quick, with pictures and sound on \a volume.
inline krxservice::MediaOptions palProxy(const std::string& volume)
{
    krxservice::MediaOptions options;
    options.videoVolume = options.audioVolume = volume;
    options.video.compressionId = "16777217";
    options.video.projectType = "PAL 25p";
    options.video.colorSpace = "YCbCr 601";
    options.video.raster = "720x576";
    options.video.reformats = true;
    return options;
}
