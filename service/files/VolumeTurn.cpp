#include "files/VolumeTurn.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

namespace krxservice {

namespace {

constexpr char kWaiting[] = "waiting for its turn on ";

std::mutex mutex;
std::set<std::uint64_t> taken; ///< devices
std::atomic<bool> allSpin{false};
/// Held while they are called, so that nobody goes meanwhile.
std::mutex observersMutex;
std::map<const void*, std::function<void()>> observers;

/// The driver of a virtual machine's disk. It says of every disk that it spins, because it does not know, and
/// whoever runs the machine puts what many write into an order of his own.
constexpr char kVirtualDriver[] = "virtio_blk";

/// Empty when the system names none.
std::string driverOf(const std::string& disk)
{
    std::error_code none;
    return std::filesystem::read_symlink(disk + "/device/driver", none).filename().string();
}

/// The spinning disks that \a paths are on, each with one of them.
std::map<std::uint64_t, std::string> disksOf(const std::vector<std::string>& paths)
{
    std::map<std::uint64_t, std::string> disks;
    for (const auto& path : paths) {
        struct stat facts
        {
        };
        if (::stat(path.c_str(), &facts) == 0 && (allSpin || VolumeTurn::isSpinning(facts.st_dev)))
            disks.emplace(facts.st_dev, path);
    }
    return disks;
}

/// Under the lock: what one who wants \a disks has to wait for, or an empty text.
std::string takenOf(const std::map<std::uint64_t, std::string>& disks)
{
    for (const auto& [device, path] : disks) {
        if (taken.count(device) > 0)
            return kWaiting + path + ", which another clip is written to";
    }
    return {};
}

} // namespace

bool VolumeTurn::isSpinning(std::uint64_t device, const std::string& root)
{
    const std::string place =
        root + '/' + std::to_string(major(device)) + ':' + std::to_string(minor(device));
    // A partition leaves this to the disk that it is a part of.
    for (const char* disk : {"", "/.."}) {
        int spins = 0;
        if (std::ifstream(place + disk + "/queue/rotational") >> spins)
            return spins == 1 && driverOf(place + disk) != kVirtualDriver;
    }
    return false;
}

VolumeTurn::VolumeTurn(const std::string& path)
    : VolumeTurn(std::vector<std::string>{path})
{
}

VolumeTurn::VolumeTurn(const std::vector<std::string>& paths)
{
    const auto disks = disksOf(paths);
    const std::lock_guard lock(mutex);
    m_waitingFor = takenOf(disks);
    if (!m_waitingFor.empty())
        return;
    for (const auto& [device, path] : disks)
        m_devices.insert(device);
    taken.insert(m_devices.begin(), m_devices.end());
}

VolumeTurn::~VolumeTurn()
{
    if (m_devices.empty())
        return;
    {
        const std::lock_guard lock(mutex);
        for (const auto device : m_devices)
            taken.erase(device);
    }
    const std::lock_guard lock(observersMutex);
    for (const auto& [owner, given] : observers)
        given();
}

std::string VolumeTurn::toWaitFor(const std::vector<std::string>& paths)
{
    const auto disks = disksOf(paths);
    const std::lock_guard lock(mutex);
    return takenOf(disks);
}

bool VolumeTurn::isWaitingFor(const std::string& text)
{
    return text.rfind(kWaiting, 0) == 0;
}

void VolumeTurn::whenGiven(const void* owner, std::function<void()> given)
{
    const std::lock_guard lock(observersMutex);
    if (given)
        observers[owner] = std::move(given);
    else
        observers.erase(owner);
}

bool VolumeTurn::isTaken(const std::string& path)
{
    struct stat facts
    {
    };
    const std::lock_guard lock(mutex);
    return ::stat(path.c_str(), &facts) == 0 && taken.count(facts.st_dev) > 0;
}

void VolumeTurn::treatAllAsSpinning(bool all)
{
    allSpin = all;
}

} // namespace krxservice
