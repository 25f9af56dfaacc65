#pragma once

#include "base/CancelToken.h"
#include "base/FileStamp.h"

#include <functional>
#include <string>

namespace krxservice {

/// What a copy needs to be told.
struct CopyOrder
{
    std::string source;
    /// The watched folder in which the source lies: from there on no link is followed. Empty for the
    /// directory that holds the source.
    std::string sourceRoot;
    /// Must exist: making it could fill the disk below a volume that is not mounted.
    std::string directory;
    /// Makes the directories between sourceRoot and the source below the directory, too.
    bool keepsPath = false;
    CancelToken cancel;
    /// Called with the name of the unfinished copy before it exists, so that it can be cleaned up after a
    /// crash.
    std::function<void(const std::string& scratch)> willWrite;
    /// Called now and then with 0 to 100, on the thread that called copy().
    std::function<void(int percent)> progress;
};

/// How a copy ended.
struct CopyResult
{
    bool ok = false;
    bool cancelled = false;
    bool sourceChanged = false; ///< it is not finished, or not the same any more: look at it again
    std::string path;           ///< of the finished copy
    std::string checksum;       ///< of its whole content
    FileStamp stamp;            ///< of the finished copy
    bool existed = false;       ///< it lay there before, with the same content
    std::string error;
};

/// Copies a file into a folder so that a reader sees either nothing or the whole, verified copy: written
/// under a hidden name, brought to the disk, read back and compared, renamed. An existing file is never
/// replaced: when its content is the same it counts as the copy, otherwise the copy is called "name (2).ext".
///
/// The source is read once, while it is hashed and written. The copy has its times, and its permissions as
/// far as the directories above it let people reach it.
class Copier
{
public:
    static CopyResult copy(const CopyOrder& order);
};

} // namespace krxservice
