#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace krxservice {

/// The right to write large files to a volume, until its object goes. A spinning disk has one writer at a
/// time, because two make it move its heads all the time; everything else has any number. Nobody waits here:
/// who cannot have the turn does something else, and is told when somebody gave one back. Thread-safe.
class VolumeTurn
{
public:
    /// Takes the turn on the volume that \a path is on, unless somebody has it.
    explicit VolumeTurn(const std::string& path);
    /// The same for the volumes of several paths: all of them or none, so that two who want the same ones
    /// never wait for each other.
    explicit VolumeTurn(const std::vector<std::string>& paths);
    ~VolumeTurn();
    VolumeTurn(const VolumeTurn&) = delete;
    VolumeTurn& operator=(const VolumeTurn&) = delete;

    /// What has to be waited for, as "waiting for its turn on /drive, which another clip is written to";
    /// empty when one may write.
    const std::string& waitingFor() const { return m_waitingFor; }
    /// The same before anything is taken, for who has much to do until he can write.
    static std::string toWaitFor(const std::vector<std::string>& paths);
    /// True for such a text.
    static bool isWaitingFor(const std::string& text);
    /// True when others have to wait for this one.
    bool isHeld() const { return !m_devices.empty(); }

    /// Has \a given called whenever somebody gave a turn back, on whatever thread that was, until \a owner is
    /// taken off the list by an empty function.
    static void whenGiven(const void* owner, std::function<void()> given);

    /// True while somebody has the turn on the volume that \a path is on.
    static bool isTaken(const std::string& path);

    /// True for a disk that spins, as far as the system says and knows (of a virtual machine's disks it does
    /// not). \a root is where it tells of its devices.
    static bool isSpinning(std::uint64_t device, const std::string& root = "/sys/dev/block");

    /// For tests: takes every volume for a spinning one.
    static void treatAllAsSpinning(bool all);

private:
    std::set<std::uint64_t> m_devices; ///< that are taken
    std::string m_waitingFor;
};

} // namespace krxservice
