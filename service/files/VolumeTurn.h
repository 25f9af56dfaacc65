#pragma once

#include "base/CancelToken.h"

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace krxservice {

/// The right to write large files to a volume, until its object goes. A spinning disk has one writer at a
/// time, because two make it move its heads all the time; everything else has any number.
class VolumeTurn
{
public:
    /// Waits for the turn on the volume that \a path is on, or until \a cancel is set.
    VolumeTurn(const std::string& path, const CancelToken& cancel);
    /// The same for the volumes of several paths: all of them or none, so that two who want the same ones
    /// never wait for each other.
    VolumeTurn(const std::vector<std::string>& paths, const CancelToken& cancel);
    ~VolumeTurn();
    VolumeTurn(const VolumeTurn&) = delete;
    VolumeTurn& operator=(const VolumeTurn&) = delete;

    /// True when others have to wait for this one.
    bool isHeld() const { return !m_devices.empty(); }

    /// True while somebody has the turn on the volume that \a path is on.
    static bool isTaken(const std::string& path);

    /// True for a disk that spins, as far as the system says and knows (of a virtual machine's disks it does
    /// not). \a root is where it tells of its devices.
    static bool isSpinning(std::uint64_t device, const std::string& root = "/sys/dev/block");

    /// For tests: takes every volume for a spinning one.
    static void treatAllAsSpinning(bool all);

private:
    std::set<std::uint64_t> m_devices; ///< that are taken
};

} // namespace krxservice
