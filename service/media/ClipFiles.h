#pragma once

#include "base/CancelToken.h"
#include "media/PictureHeader.h"
#include "media/Sequence.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace krxservice {

/// Which files are one clip together.
struct ClipFiles
{
    std::string path;                      ///< of the file, or of the first picture
    std::optional<SequenceFacts> sequence; ///< two pictures or more
    FileStamp stamp;                       ///< of the file, or of all pictures together
    std::vector<std::string> sidecars;     ///< whole paths, ascending
};

/// Looks for the files of clips. No link below the root is followed, and what is no regular file or holds
/// nothing does not count.
namespace clipfiles {

/// One stamp for several files: their size together, their newest times, and a number that changes when any
/// of them does. Of one file its own.
FileStamp together(const std::vector<std::pair<std::string, FileStamp>>& files);

/// The clip that the file \a path belongs to. \a root: as of SourceFile.
ClipFiles of(const std::string& path, const std::string& root, bool joinsAllPictures);

/// All clips that the numbered pictures beside \a path with its stem and extension make, single pictures
/// included. \a goesOn, when given, is called for each file; false ends it without result.
std::vector<ClipFiles> allLike(const std::string& path, const std::string& root,
                               const std::function<bool()>& goesOn = {});

/// What \a paths, the files of a directory tree, are as clips of a profile with these settings: one path for
/// each, in their order; none for sidecars.
std::vector<std::string> clips(const std::vector<std::string>& paths, const std::string& root,
                               bool joinsAllPictures);

/// The stamp of a sequence as it is now; nothing when a picture is gone.
std::optional<FileStamp> stampOf(const SequenceFacts& sequence, const std::string& root);

/// What all checksums of numbered pictures begin with.
constexpr char kSequenceMethod[] = "xxh3-64-sequence";

/// What tells the contents of a sequence apart: "xxh3-64-sequence:" of the checksums of all pictures up to
/// 4 GB together, "xxh3-64-sequence-sampled:" beyond. Nothing with \a error set when one cannot be read or
/// \a cancel was set.
std::optional<std::string> fingerprint(const SequenceFacts& sequence, const std::string& root,
                                       std::int64_t size, const CancelToken& cancel, std::string& error);

/// What the header of the first picture says.
PictureHeader headerOf(const std::string& path, const std::string& root);

/// True when the file, or each picture, that \a clip links to is what it was.
bool linkedStands(const Clip& clip);

} // namespace clipfiles

} // namespace krxservice
