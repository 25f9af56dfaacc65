#include "app/OwnFiles.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <memory>

namespace krxservice::ownfiles {

namespace {

constexpr mode_t kOthers = 077;
constexpr int kDeepest = 8;    ///< the service itself makes three levels
constexpr int kMostLinks = 40; ///< as the kernel follows

struct CloseDirectory
{
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Walk
{
    bool tightens = false; ///< otherwise it only looks whose everything is
    std::size_t tightened = 0;
    std::string first; ///< of those that were tightened
};

std::string foreign(const std::string& path, uid_t owner)
{
    return path + " belongs to user " + std::to_string(owner) +
           "; give it to yourself (chown) or choose another folder with --data";
}

void tighten(int directory, const std::string& name, const struct stat& facts, const std::string& path,
             Walk& walk)
{
    if (!walk.tightens || (facts.st_mode & kOthers) == 0)
        return;
    if (::fchmodat(directory, name.c_str(), facts.st_mode & 0700, 0) != 0) {
        log::warning(path + " is open to others and cannot be closed: " + text::errnoText(errno));
        return;
    }
    if (walk.tightened++ == 0)
        walk.first = path;
}

std::string look(int directory, const std::string& path, int depth, Walk& walk)
{
    const std::unique_ptr<DIR, CloseDirectory> list(::fdopendir(directory));
    if (!list) {
        const int error = errno;
        ::close(directory);
        return path + ": " + text::errnoText(error);
    }
    while (const dirent* entry = ::readdir(list.get())) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        const std::string below = path + '/' + name;
        struct stat facts
        {
        };
        if (::fstatat(directory, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0)
            continue; // gone meanwhile
        if (facts.st_uid != ::geteuid())
            return foreign(below, facts.st_uid);
        if (S_ISLNK(facts.st_mode))
            continue;
        tighten(directory, name, facts, below, walk);
        if (!S_ISDIR(facts.st_mode) || depth >= kDeepest)
            continue;
        const int next = ::openat(directory, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (next < 0)
            return below + ": " + text::errnoText(errno);
        if (auto reason = look(next, below, depth + 1, walk); !reason.empty())
            return reason;
    }
    return {};
}

/// Looks at every link on the way to \a path, and on the way to where links lead.
std::string foreignLink(const std::string& path, int links)
{
    for (std::size_t at = 0; at != std::string::npos;) {
        at = path.find('/', at + 1);
        const std::string part = path.substr(0, at);
        struct stat facts
        {
        };
        if (::lstat(part.c_str(), &facts) != 0 || !S_ISLNK(facts.st_mode))
            continue; // what is not there yet is no link
        if (facts.st_uid != ::geteuid() && facts.st_uid != 0)
            return foreign(part, facts.st_uid);
        std::array<char, PATH_MAX> target{};
        const ssize_t length = ::readlink(part.c_str(), target.data(), target.size());
        if (length <= 0 || links >= kMostLinks)
            return part + " is a link that leads nowhere";
        const std::string to(target.data(), static_cast<std::size_t>(length));
        const std::string whole = to.front() == '/' ? to : part.substr(0, part.rfind('/') + 1) + to;
        if (auto reason = foreignLink(whole, links + 1); !reason.empty())
            return reason;
    }
    return {};
}

/// Files whose content is the service's memory.
constexpr std::array<const char*, 4> kFiles = {"krx-service.db", "krx-service.db-wal", "krx-service.db-shm",
                                               "krx-service.lock"};

const char* kindOf(mode_t mode)
{
    if (S_ISLNK(mode))
        return "a link";
    if (S_ISDIR(mode))
        return "a directory";
    return S_ISFIFO(mode) ? "a pipe" : "no file";
}

} // namespace

std::string foreignLinkOnTheWay(const std::string& path)
{
    return foreignLink(path, 0);
}

std::string whatIsInTheWay(const std::string& folder)
{
    for (const char* name : kFiles) {
        const std::string path = folder + '/' + name;
        struct stat facts
        {
        };
        if (::lstat(path.c_str(), &facts) != 0) {
            if (errno == ENOENT)
                continue;
            return path + ": " + text::errnoText(errno);
        }
        if (!S_ISREG(facts.st_mode))
            return path + " is " + kindOf(facts.st_mode) +
                   ", where the service keeps a file; put that back, or take this away";
        if (::access(path.c_str(), R_OK | W_OK) != 0)
            return path + " cannot be read and written: " + text::errnoText(errno);
    }
    return {};
}

std::string secure(const std::string& folder)
{
    struct stat facts
    {
    };
    if (::lstat(folder.c_str(), &facts) != 0)
        return folder + ": " + text::errnoText(errno);
    if (facts.st_uid != ::geteuid())
        return foreign(folder, facts.st_uid);
    // Nothing is touched before it is certain that all of it is ours.
    for (const bool tightens : {false, true}) {
        const int directory = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (directory < 0)
            return folder + ": " + text::errnoText(errno);
        if (::fstat(directory, &facts) != 0 || facts.st_uid != ::geteuid()) {
            ::close(directory);
            return foreign(folder, facts.st_uid);
        }
        Walk walk;
        walk.tightens = tightens;
        tighten(AT_FDCWD, folder, facts, folder, walk);
        auto reason = look(directory, folder, 0, walk);
        if (walk.tightened > 0)
            log::warning("closed to other users: " + walk.first +
                         (walk.tightened > 1 ? " and " + std::to_string(walk.tightened - 1) + " more" : ""));
        if (!reason.empty())
            return reason;
    }
    return {};
}

} // namespace krxservice::ownfiles
