#pragma once

#include <atomic>
#include <memory>

namespace krxservice {

/// Shared by the one who works and the one who may want it to stop.
using CancelToken = std::shared_ptr<std::atomic<bool>>;

inline CancelToken makeCancelToken()
{
    return std::make_shared<std::atomic<bool>>(false);
}

} // namespace krxservice
