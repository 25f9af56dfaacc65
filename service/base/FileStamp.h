#pragma once

#include <cstdint>

namespace krxservice {

/// What changes when somebody writes a file or puts another in its place.
struct FileStamp
{
    std::int64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::int64_t changed = 0;  ///< when the system last noted a change of any kind; 0: not known
    std::int64_t inode = 0;    ///< 0: not known

    /// True when nothing tells that the file was touched since; what is not known tells nothing.
    bool isUntouched(const FileStamp& now) const
    {
        return *this == now && (changed == 0 || changed == now.changed) && (inode == 0 || inode == now.inode);
    }
    /// The same size and time: as far as a copy can agree with its original.
    bool operator==(const FileStamp& other) const { return size == other.size && modified == other.modified; }
    bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

} // namespace krxservice
