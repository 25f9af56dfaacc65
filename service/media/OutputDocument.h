#pragma once

#include "documents/ProfileDocument.h"
#include "store/Records.h"

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

/// All that one output document says.
struct OutputFacts
{
    std::string id;        ///< unique to this output
    std::string created;   ///< ISO 8601, UTC
    std::string ownerKind; ///< "folder" or "job"
    std::string ownerId;
    std::string ownerPath;
    FileFacts clip;   ///< the file that the editor is to link to
    FileFacts source; ///< the file that was found
    MediaFacts media;
    ProfileRecipe profile;
};

/// The ".xel" document, which tells the editor how to link one finished clip.
namespace outputdocument {

/// The whole document.
std::string write(const OutputFacts& facts);

} // namespace outputdocument

} // namespace krxservice
