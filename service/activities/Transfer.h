#pragma once

#include "base/CancelToken.h"

#include <cstdint>
#include <functional>
#include <string>

namespace krxservice {

/// What a transfer found out.
struct TransferResult
{
    std::int64_t bytes = 0; ///< read and written
    std::string checksum;   ///< of those bytes, "xxh3-64:" and 16 hexadecimal digits
    bool cancelled = false;
    int readError = 0;  ///< errno values; 0 when it went well
    int writeError = 0; ///< the same
};

/// Copies all of the open file \a source from its start to the end of the open file \a target. Large files
/// are read and hashed on a thread of their own while the piece before is written, past the system's memory
/// where the volume can do that. \a written is told the bytes so far, on the calling thread.
TransferResult transfer(int source, int target, const CancelToken& cancel,
                        const std::function<void(std::int64_t)>& written);

/// Reads all of the open file \a file again, from the disk as far as the system lets it, so that what comes
/// is what lies there. Nothing is written: bytes, checksum, cancelled and readError tell.
TransferResult readBack(int file, const CancelToken& cancel);

} // namespace krxservice
