#include "app/DataLock.h"

#include "app/OwnFiles.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace krxservice {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{
    2000}; ///< for what a killed instance leaves behind for a moment
constexpr std::chrono::milliseconds kLook{20};

/// True when \a process has been killed and is only not gone yet.
bool isDying(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    if (!file)
        return true;
    constexpr std::uint64_t killed = std::uint64_t{1} << (SIGKILL - 1);
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind("State:", 0) == 0 && line.find_first_of("ZX") != std::string::npos)
            return true;
        const bool pending = line.rfind("SigPnd:", 0) == 0 || line.rfind("ShdPnd:", 0) == 0;
        if (pending && (std::strtoull(line.c_str() + 7, nullptr, 16) & killed) != 0)
            return true;
    }
    return false;
}

/// Takes the lock that no child inherits. 0, or the process that has it.
pid_t lockFile(int file)
{
    const auto end = Clock::now() + kPatience;
    for (;;) {
        struct flock lock
        {
        };
        lock.l_type = F_WRLCK;
        lock.l_whence = SEEK_SET;
        if (::fcntl(file, F_SETLK, &lock) == 0)
            return 0;
        lock.l_type = F_WRLCK;
        if (::fcntl(file, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK)
            continue; // gone between the two questions
        if (Clock::now() >= end || !isDying(lock.l_pid))
            return lock.l_pid > 0 ? lock.l_pid : -1;
        std::this_thread::sleep_for(kLook);
    }
}

/// Takes the folder's own lock; false when somebody has it. Children that have not begun their program yet
/// hold it, too, so that it is waited for a moment.
bool lockFolder(int folder)
{
    const auto end = Clock::now() + kPatience;
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK) {
            log::info("the volume of the data folder locks no directories: " + text::errnoText(errno));
            return true;
        }
        if (Clock::now() >= end)
            return false;
        std::this_thread::sleep_for(kLook);
    }
    return true;
}

} // namespace

DataLock::~DataLock()
{
    for (const int descriptor : {m_file, m_folder}) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

std::string DataLock::acquire(const std::string& folder, bool& inUse)
{
    inUse = false;
    const std::string cannot = "the data folder cannot be used: ";
    if (const auto reason = ownfiles::foreignLinkOnTheWay(folder); !reason.empty())
        return cannot + reason;
    if (const auto reason = filetools::makeDirectories(folder); !reason.empty())
        return cannot + reason;
    if (const auto reason = ownfiles::secure(folder); !reason.empty())
        return cannot + reason;
    if (const auto reason = ownfiles::whatIsInTheWay(folder); !reason.empty())
        return cannot + reason;
    const std::string path = folder + "/krx-service.lock";
    m_file = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (m_file < 0)
        return cannot + path + ": " + text::errnoText(errno);
    if (const pid_t holder = lockFile(m_file); holder != 0) {
        inUse = true;
        return "the data folder " + folder + " is in use by another instance" +
               (holder > 0 ? " (process " + std::to_string(holder) + ')' : std::string());
    }
    m_folder = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0)
        return cannot + folder + ": " + text::errnoText(errno);
    inUse = !lockFolder(m_folder);
    return inUse ? "the data folder " + folder + " is in use by another instance, whose lock file was removed"
                 : std::string();
}

} // namespace krxservice
