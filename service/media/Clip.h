#pragma once

#include "base/FileStamp.h"

#include <string>
#include <vector>

namespace krxservice {

/// What a probe found out about a stream of a file; empty texts and zeros for what does not apply.
struct StreamFacts
{
    int index = 0;
    std::string type; ///< "video", "audio", "data", ...
    std::string codec;
    int width = 0;
    int height = 0;
    std::string frameRate; ///< a fraction, frames per second
    std::string pixelFormat;
    int sampleRate = 0; ///< Hz
    int channels = 0;
    std::string duration; ///< decimal seconds
    std::string timecode;
};

/// What a probe found out about a file.
struct MediaFacts
{
    std::string kind; ///< "video", "audio" or "image"
    std::string format;
    std::string duration; ///< decimal seconds, empty when the format has none
    std::string timecode;
    std::vector<StreamFacts> streams;
};

/// A file on disk and what its content was when it was taken.
struct FileFacts
{
    std::string path;
    FileStamp stamp;
    std::string checksum;
};

/// What goes from one action of a profile to the next.
struct Clip
{
    FileFacts source; ///< the file that was found
    FileFacts linked; ///< the file that the editor is to link to: the source until an action makes another
    MediaFacts media;
    std::string watched; ///< the folder in which the source was found; empty when a person chose it
};

} // namespace krxservice
