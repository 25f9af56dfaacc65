#include "RestClientLimits.h"

#include <mutex>

namespace StandInHost {

namespace {

std::mutex limitsMutex;
RestClientLimits currentLimits;

} // namespace

RestClientLimits restClientLimits()
{
    const std::lock_guard<std::mutex> lock(limitsMutex);
    return currentLimits;
}

void setRestClientLimits(const RestClientLimits& limits)
{
    const std::lock_guard<std::mutex> lock(limitsMutex);
    currentLimits = limits;
}

} // namespace StandInHost
