#include "base/VolumeTurn.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <set>

namespace krxservice {

namespace {

constexpr std::chrono::milliseconds kSlice{50}; ///< how soon one who is cancelled stops waiting

std::mutex mutex;
std::condition_variable freed;
std::set<std::uint64_t> taken; ///< devices
std::atomic<bool> allSpin{false};

} // namespace

bool VolumeTurn::isSpinning(std::uint64_t device, const std::string& root)
{
    const std::string place =
        root + '/' + std::to_string(major(device)) + ':' + std::to_string(minor(device));
    // A partition leaves this to the disk that it is a part of.
    for (const char* file : {"/queue/rotational", "/../queue/rotational"}) {
        int spins = 0;
        if (std::ifstream(place + file) >> spins)
            return spins == 1;
    }
    return false;
}

VolumeTurn::VolumeTurn(const std::string& path, const CancelToken& cancel)
{
    struct stat facts
    {
    };
    if (::stat(path.c_str(), &facts) != 0 || (!allSpin && !isSpinning(facts.st_dev)))
        return;
    std::unique_lock lock(mutex);
    while (!*cancel) {
        if (taken.insert(facts.st_dev).second) {
            m_device = facts.st_dev;
            return;
        }
        freed.wait_for(lock, kSlice);
    }
}

VolumeTurn::~VolumeTurn()
{
    if (!m_device)
        return;
    {
        const std::lock_guard lock(mutex);
        taken.erase(*m_device);
    }
    freed.notify_all();
}

void VolumeTurn::treatAllAsSpinning(bool all)
{
    allSpin = all;
}

} // namespace krxservice
