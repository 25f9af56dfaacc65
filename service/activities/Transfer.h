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
/// are read and hashed on a thread of their own while the one before is written. \a written is told the bytes
/// so far, on the calling thread.
TransferResult transfer(int source, int target, const CancelToken& cancel,
                        const std::function<void(std::int64_t)>& written);

} // namespace krxservice
