#pragma once

#include <chrono>

namespace krxservice {

/// How long the other side of a connection may take.
struct HttpTimes
{
    std::chrono::milliseconds rest{15000};    ///< between two requests
    std::chrono::milliseconds request{20000}; ///< for a whole request, from its first byte on
};

} // namespace krxservice
