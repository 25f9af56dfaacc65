#pragma once

#include "activities/MediaOptions.h"
#include "base/Outcome.h"
#include "media/Clip.h"
#include "media/LinkSettings.h"

#include <cstdint>
#include <string>
#include <vector>

namespace KRXCatalogue {
struct MediaCatalogue;
}

namespace krxservice {

/// How a clip is made into what its options order: all arguments of ffmpeg but the files. A pure function of
/// the options, what is known of the medium, and the catalogue.
struct EncodingPlan
{
    std::string extension; ///< of the file with the pictures, or of sound alone
    std::string muxer;
    std::vector<std::string> video;       ///< filters, codec and tags; empty without pictures
    std::vector<std::string> sound;       ///< the same of sound in one file with the pictures
    std::vector<std::string> soundApart;  ///< of sound in a Broadcast Wave of its own
    std::vector<std::string> soundFilter; ///< arguments before the outputs that soundApart needs
    std::vector<std::string> tags;        ///< timecode, reel name, time of day
    FrameRate rate;                       ///< of the result
    int tracks = 0;                       ///< of sound, in one file with the pictures
    bool hasPicture = false;
    bool isSoundApart = false;
    bool copiesPictures = false;      ///< as they are, instead of encoding them
    std::vector<std::string> reading; ///< arguments before the input
    /// At the most, as far as it can be told: of the file with the pictures, and of sound apart.
    std::int64_t bytesPerSecond = 0;
    std::int64_t soundBytesPerSecond = 0;
    std::vector<std::string> notes; ///< what it falls back to

    static Outcome<EncodingPlan> make(const MediaOptions& options, const Clip& clip, const MediaFacts& media,
                                      const KRXCatalogue::MediaCatalogue& catalogue);
};

/// How the pictures of one stream become those of the result; part of the plan.
struct PictureTarget
{
    int width = 0;
    int height = 0;
    int aspectWidth = 16; ///< to aspectHeight, of the whole picture as it is shown
    int aspectHeight = 9;
    FrameRate rate;
    std::string fields;     ///< "progressive", "top" or "bottom"
    std::string colorSpace; ///< as the profile names it
    bool isRgb = false;     ///< the codec's pictures are
    int debayer = 0;
    bool reformats = false;
    bool transformsColors = false;
};

/// The value of "-vf" that makes pictures like \a source into \a target. \a isSingle: there is only one.
std::string pictureFilter(const StreamFacts& source, FrameRate sourceRate, const PictureTarget& target,
                          bool isSingle);
/// The arguments that tag the result's colours and fields.
std::vector<std::string> pictureTags(const PictureTarget& target);

} // namespace krxservice
