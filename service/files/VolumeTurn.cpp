#include "files/VolumeTurn.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

namespace krxservice {

namespace {

constexpr std::chrono::milliseconds kSlice{50}; ///< how soon one who is cancelled stops waiting

std::mutex mutex;
std::condition_variable freed;
std::set<std::uint64_t> taken; ///< devices
std::atomic<bool> allSpin{false};

/// The driver of a virtual machine's disk. It says of every disk that it spins, because it does not know, and
/// whoever runs the machine puts what many write into an order of his own.
constexpr char kVirtualDriver[] = "virtio_blk";

/// Empty when the system names none.
std::string driverOf(const std::string& disk)
{
    std::error_code none;
    return std::filesystem::read_symlink(disk + "/device/driver", none).filename().string();
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

VolumeTurn::VolumeTurn(const std::string& path, const CancelToken& cancel)
    : VolumeTurn(std::vector<std::string>{path}, cancel)
{
}

VolumeTurn::VolumeTurn(const std::vector<std::string>& paths, const CancelToken& cancel)
{
    std::set<std::uint64_t> wanted;
    for (const auto& path : paths) {
        struct stat facts
        {
        };
        if (::stat(path.c_str(), &facts) == 0 && (allSpin || isSpinning(facts.st_dev)))
            wanted.insert(facts.st_dev);
    }
    if (wanted.empty())
        return;
    const auto isFree = [](std::uint64_t device) { return taken.count(device) == 0; };
    std::unique_lock lock(mutex);
    while (!*cancel) {
        if (std::all_of(wanted.begin(), wanted.end(), isFree)) {
            taken.insert(wanted.begin(), wanted.end());
            m_devices = std::move(wanted);
            return;
        }
        freed.wait_for(lock, kSlice);
    }
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
    freed.notify_all();
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
