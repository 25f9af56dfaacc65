#pragma once

#include "base/CancelToken.h"

#include <functional>
#include <string>

namespace krxservice {

/// What a copy needs to be told.
struct CopyOrder
{
    std::string source;
    /// Must exist: making it could fill the disk below a volume that is not mounted.
    std::string directory;
    CancelToken cancel;
    /// Called with the name of the unfinished copy before it exists, so that it can be cleaned up after a
    /// crash.
    std::function<void(const std::string& scratch)> willWrite;
    /// Called now and then with 0 to 100.
    std::function<void(int percent)> progress;
};

/// How a copy ended.
struct CopyResult
{
    bool ok = false;
    bool cancelled = false;
    std::string path;     ///< of the finished copy
    std::string checksum; ///< of its whole content
    std::string error;
};

/// Copies a file into a folder so that a reader sees either nothing or the whole, verified copy: written
/// under a hidden name, read back and compared, brought to the disk, renamed. An existing file is never
/// replaced: when its content is the same it counts as the copy, otherwise the copy is called "name (2).ext".
class Copier
{
public:
    static CopyResult copy(const CopyOrder& order);
};

} // namespace krxservice
