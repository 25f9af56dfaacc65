#pragma once

#include <cstdint>
#include <string>

namespace krxservice {

/// How pictures are to be encoded, as an activity writes it. Texts are the names that the editor showed.
struct VideoOptions
{
    std::string compressionId; ///< decimal
    std::string compressionName;
    std::string encodingProfile; ///< empty for the codec's own
    std::string projectType;     ///< empty: as the source has it
    std::string colorSpace;
    std::string raster; ///< "1920x1080"
    int debayer = 0;    ///< code of the linked source's scaling
    bool reformats = false;
    bool transformsColors = false;
};

/// How sound is to be converted; what is not asked for stays as the source has it.
struct AudioOptions
{
    bool convertsRate = false;
    int rate = 0; ///< Hz
    bool convertsBits = false;
    int bits = 0;
    bool convertsFormat = false;
    std::string format; ///< the wrapper's name, which begins with the coding
};

/// What a transcode or consolidate activity orders.
struct MediaOptions
{
    std::string videoVolume; ///< a directory's path; may end in a slash
    std::string audioVolume; ///< the same as videoVolume when picture and sound go into one file
    VideoOptions video;      ///< of a consolidation: for what cannot be brought over as it is
    AudioOptions audio;
    /// Of a consolidation.
    bool skipsOnTarget = false;
    bool relinksSkipped = false;
    bool transcodesOtherwise = false;

    bool isApart() const { return videoVolume != audioVolume; }

    /// Reads a whole "activity" element. What is missing or makes no sense stays as it is above.
    static MediaOptions read(const std::string& element);
};

} // namespace krxservice
