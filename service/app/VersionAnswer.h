#pragma once

#include "http/HttpAnswer.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace krxservice {

/// What the resource "version" tells of the running program.
struct ServiceFacts
{
    std::string version;
    std::vector<std::string> places; ///< where it listens: URLs and paths
    std::string dataFolder;
    std::chrono::seconds uptime{0};
    std::size_t mostConnections = 0;
    std::uint64_t strangers = 0; ///< connections of other users that were refused
    std::uint64_t unknown = 0;   ///< connections refused because it was not found out whose they are
    std::uint64_t requests = 0;  ///< requests refused before a resource saw them
    std::uint64_t pushedOut = 0; ///< resting connections that had to make room
    std::uint64_t droppedLines = 0;
    int landlock = 0; ///< which Landlock the kernel has, 0 for none
};

/// The answer to a request of \a method for the resource.
HttpAnswer versionAnswer(const std::string& method, const ServiceFacts& facts);

} // namespace krxservice
