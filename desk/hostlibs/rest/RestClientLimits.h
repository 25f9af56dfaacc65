#pragma once

#include "HostComponentFactory.h"

#include <cstddef>
#include <cstdint>

namespace StandInHost {

/// The bounds of the stand-in's REST client. Every exchange keeps the bounds that held when it was started.
struct RestClientLimits
{
    /// The longest that one exchange may take from start to end, in milliseconds.
    std::uint32_t exchangeMs = 30000;
    /// The longest that connecting may take, in milliseconds; part of the above.
    std::uint32_t connectMs = 2000;
    /// The longest that IRestResponse::waitForCompletion() waits whatever it is told, in milliseconds.
    std::uint32_t longestWaitMs = UINT32_MAX;
    /// How long exchanges under way may still take when the process ends, in milliseconds.
    std::uint32_t exitGraceMs = 500;
    /// The most bytes that all the headers of an answer may have, interim answers included.
    std::size_t headerBytes = std::size_t(64) * 1024;
    /// The most bytes that the body of an answer may have.
    std::size_t bodyBytes = std::size_t(256) * 1024 * 1024;
    /// The most exchanges that may be under way at once; further ones fail at once.
    std::size_t exchanges = 64;
};

/// Safe from any thread.
KRX_HOST_API RestClientLimits restClientLimits();
/// Replaces the bounds, so that a test of a bound need not wait for it. Safe from any thread.
KRX_HOST_API void setRestClientLimits(const RestClientLimits& limits);

} // namespace StandInHost
