#pragma once

#include "base/FileStamp.h"

#include <cstdint>
#include <optional>
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
    std::string reelName;
    std::string tag;          ///< what the file calls the codec by, four letters or digits
    std::string averageRate;  ///< a fraction; another than frameRate when pictures stand differently long
    std::string sampleAspect; ///< a fraction, width to height of a pixel
    std::string fieldOrder;   ///< "progressive", "top" or "bottom"
    /// As ffmpeg calls them.
    std::string colorRange;
    std::string colorSpace;
    std::string colorPrimaries;
    std::string colorTransfer;
    int turn = 0;             ///< degrees clockwise by which it is turned before it is shown
    bool isCover = false;     ///< a picture that goes with sound
    std::int64_t frames = 0;  ///< 0 when the file does not say
    std::int64_t bitRate = 0; ///< bits per second; 0 when the file does not say
    int bits = 0;             ///< of a sample of sound
};

/// What a probe found out about a file.
struct MediaFacts
{
    std::string kind; ///< "video", "audio" or "image"
    std::string format;
    std::string duration; ///< decimal seconds, empty when the format has none
    std::string timecode;
    std::string reelName;
    std::string created;       ///< when it was recorded, ISO 8601
    std::string timeReference; ///< of a Broadcast Wave: samples since midnight
    std::vector<StreamFacts> streams;
};

/// A file on disk and what its content was when it was taken.
struct FileFacts
{
    std::string path;
    FileStamp stamp;
    std::string checksum;
};

/// Numbers from first to last, both included.
struct NumberRange
{
    std::int64_t first = 0;
    std::int64_t last = 0;
};

/// Numbered pictures that are one clip together. The name of each is stem, number with leading zeros,
/// extension.
struct SequenceFacts
{
    std::string directory; ///< absolute, without a slash at its end
    std::string stem;      ///< what stands before the number; may be empty
    std::string extension; ///< with its dot
    int padding = 0;       ///< digits of the number at least
    std::int64_t firstNumber = 0;
    std::int64_t lastNumber = 0;
    /// The numbers between the two that are there, both of them included; ascending, never touching each
    /// other. A number may be as large as it likes: count pictures, not numbers.
    std::vector<NumberRange> present;
};

/// A file that holds only some of a clip's streams.
struct ClipPart
{
    std::string kind; ///< "picture" or "sound"
    FileFacts file;
};

/// What the link settings of the profile make of a clip; empty texts for what the host decides or nobody
/// knows.
struct LinkFacts
{
    std::string plugin;
    std::string reelName;
    bool timecodeIsFromName = false;
    std::string startTimecode; ///< HH:MM:SS:FF, with ; before FF for drop frame
    std::string frameRate;     ///< a fraction, frames per second
    std::int64_t startFrame = 0;
    std::int64_t frameCount = 0;
    std::optional<std::int64_t> audioStart; ///< samples since midnight, at audioStartRate
    int audioStartRate = 0;                 ///< Hz
};

/// What one action did to a clip.
struct ActivityNote
{
    std::string id;   ///< the word for its kind
    std::string name; ///< the activity's display name
    /// What is known of the results: "copied", "size-checked" or "verified"; empty where nothing was made.
    std::string check;
    /// The files that it made; of a sequence one entry, like Clip::linked.
    std::vector<FileFacts> made;
    std::vector<std::string> notes; ///< sentences: what it fell back to, what it had to leave out
};

/// What goes from one action of a profile to the next.
struct Clip
{
    /// The file that was found. Of a sequence the path of the first picture, with size, newest times and
    /// checksum of all.
    FileFacts source;
    FileFacts linked; ///< the file that the editor is to link to: the source until an action makes another
    MediaFacts media;
    std::string watched; ///< the folder in which the source was found; empty when a person chose it
    /// What `linked` is as long as it is numbered pictures; nothing for a single file, also when an action
    /// made one of the pictures.
    std::optional<SequenceFacts> sequence;
    std::vector<FileFacts> sidecars; ///< beside `linked`: files of the same stem that go where the clip goes
    std::vector<ClipPart> parts;     ///< of `linked`, when picture and sound are apart; empty otherwise
    LinkFacts link;
    std::vector<ActivityNote> activities; ///< those that ran, in their order
};

} // namespace krxservice
