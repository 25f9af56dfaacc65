#pragma once

#include <cstdint>

namespace krxservice {

/// Size and time of a file: what changes when somebody writes it.
struct FileStamp
{
    std::int64_t size = 0;
    std::int64_t modified = 0; ///< nanoseconds since 1970

    bool operator==(const FileStamp& other) const { return size == other.size && modified == other.modified; }
    bool operator!=(const FileStamp& other) const { return !(*this == other); }
};

} // namespace krxservice
