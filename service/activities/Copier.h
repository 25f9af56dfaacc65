#pragma once

#include "base/CancelToken.h"
#include "base/FileStamp.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace krxservice {

/// What a copy needs to be told.
struct CopyOrder
{
    std::string source;
    /// Files beside the source that are one clip with it: the other pictures of a sequence, sidecars. All are
    /// copied or none.
    std::vector<std::string> companions;
    /// How many of the files, from the source on, are the pictures of a sequence; 0 for a single file.
    std::size_t pictures = 0;
    /// What the names of the pictures have before their numbers.
    std::string stem;
    /// The watched folder in which the source lies: from there on no link is followed. Empty for the
    /// directory that holds the source.
    std::string sourceRoot;
    /// Must exist: making it could fill the disk below a volume that is not mounted.
    std::string directory;
    /// Makes the directories between sourceRoot and the source below the directory, too.
    bool keepsPath = false;
    /// The directories to be made below the directory when it does not keep the source's own.
    std::string below;
    CancelToken cancel;
    /// Called with the name of what is unfinished (a file, or a directory of files) before it exists, so that
    /// it can be cleaned up after a crash.
    std::function<void(const std::string& scratch)> willWrite;
    /// Called now and then with 0 to 100, by the bytes of all files, on the thread that called copy().
    std::function<void(int percent)> progress;
};

/// What a file of an order is called at its destination when the names up to \a number (from 1 on) are taken
/// by other files. \a index: 0 is the source, then come the companions; \a longest: bytes that a name may
/// have.
std::string copiedName(const CopyOrder& order, std::size_t index, int number, std::size_t longest);

/// A finished copy.
struct CopiedFile
{
    std::string path;
    std::string checksum; ///< of its whole content
    FileStamp stamp;
    bool existed = false; ///< it lay there before, with the same content
};

/// How a copy ended.
struct CopyResult
{
    bool ok = false;
    bool cancelled = false;
    bool sourceChanged = false;    ///< it is not finished, or not the same any more: look at it again
    std::string path;              ///< of the source's finished copy
    std::string checksum;          ///< of its whole content
    std::vector<CopiedFile> files; ///< that copy, then those of the companions in their order
    std::string stem;              ///< of the copied pictures: another one when theirs was taken
    std::vector<FileStamp> seen;   ///< of the source and the companions, when they were read
    std::string error;
};

/// Copies the files of a clip into a folder so that a reader sees either nothing or whole, verified copies:
/// written under a hidden name, brought to the disk, read back and compared, renamed. An existing file is
/// never replaced: when its content is the same it counts as the copy, otherwise the whole clip gets another
/// name ("name (2).ext").
///
/// Each source is read once, while it is hashed and written. The copy has its times, and its permissions as
/// far as the directories above it let people reach it.
class Copier
{
public:
    static CopyResult copy(const CopyOrder& order);
};

} // namespace krxservice
