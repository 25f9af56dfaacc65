#include "files/HeldDirectory.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace krxservice {

namespace {

constexpr int kAlways = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
constexpr int kMostAttempts = 16; ///< while others rename directories on the way

/// The first segment of \a path, which is shortened by it; empty at the end.
std::string firstSegment(std::string_view& path)
{
    while (!path.empty() && path.front() == '/')
        path.remove_prefix(1);
    const auto slash = path.find('/');
    const std::string segment(path.substr(0, slash));
    path.remove_prefix(segment.size());
    while (!path.empty() && path.front() == '/')
        path.remove_prefix(1);
    return segment;
}

} // namespace

namespace openbelow {

int atOnce(int directory, const std::string& below, int flags, mode_t mode)
{
    open_how how{};
    how.flags = static_cast<unsigned>(flags | kAlways);
    if (flags & O_PATH) // takes no other flags than these
        how.flags = static_cast<unsigned>(flags & (O_PATH | O_DIRECTORY | O_NOFOLLOW)) | O_CLOEXEC;
    how.mode = flags & O_CREAT ? mode : 0;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    const char* path = below.empty() ? "." : below.c_str();
    for (int i = 0;; ++i) {
        const long result = ::syscall(SYS_openat2, directory, path, &how, sizeof how);
        if (result >= 0)
            return static_cast<int>(result);
        if (errno != EINTR && (errno != EAGAIN || i >= kMostAttempts))
            return -1;
    }
}

int stepByStep(int directory, const std::string& below, int flags, mode_t mode)
{
    if (!below.empty() && below.front() == '/') {
        errno = EXDEV;
        return -1;
    }
    filetools::Descriptor held(-1);
    std::string_view rest = below;
    for (;;) {
        const int from = held.isOpen() ? held.get() : directory;
        const std::string segment = firstSegment(rest);
        if (segment == "..") {
            errno = EXDEV;
            return -1;
        }
        if (rest.empty()) {
            const int last = flags & O_PATH ? O_CLOEXEC : kAlways;
            return ::openat(from, segment.empty() ? "." : segment.c_str(), flags | last | O_NOFOLLOW, mode);
        }
        held = filetools::Descriptor(
            ::openat(from, segment.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!held.isOpen()) {
            // A link is told as ENOTDIR here and as ELOOP at the end of the path; the caller sees one thing.
            struct stat facts
            {
            };
            const int reason = errno;
            const bool isLink =
                ::fstatat(from, segment.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(facts.st_mode);
            errno = isLink ? ELOOP : reason;
            return -1;
        }
    }
}

} // namespace openbelow

namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr char kDefaultList[] = "system.posix_acl_default";

/// Whether the list of access is not there, or is no more.
bool hasNoList(int directory, const char* list)
{
    return ::fremovexattr(directory, list) == 0 || errno == ENODATA || errno == ENOTSUP;
}

} // namespace

HeldDirectory::HeldDirectory(const std::string& path)
    : m_path(path)
    , m_directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK))
{
}

filetools::Descriptor HeldDirectory::open(const std::string& below, int flags, mode_t mode) const
{
    int result = openbelow::atOnce(get(), below, flags, mode);
    // EPERM also comes from containers whose filter does not know the call.
    if (result < 0 && (errno == ENOSYS || errno == EPERM))
        result = openbelow::stepByStep(get(), below, flags, mode);
    return filetools::Descriptor(result);
}

filetools::Descriptor HeldDirectory::makeDirectories(const std::string& below, mode_t mode) const
{
    filetools::Descriptor held = open({}, O_RDONLY | O_DIRECTORY);
    std::string_view rest = below;
    while (held.isOpen()) {
        const std::string segment = firstSegment(rest);
        if (segment.empty())
            break;
        if (segment == "..") {
            errno = EXDEV;
            return filetools::Descriptor(-1);
        }
        const bool made = ::mkdirat(held.get(), segment.c_str(), 0700) == 0;
        if (!made && errno != EEXIST)
            return filetools::Descriptor(-1);
        filetools::Descriptor next(openbelow::stepByStep(held.get(), segment, O_RDONLY | O_DIRECTORY, 0));
        // As open as the directory it is in and as it may be, whatever the process makes of its own files,
        // and to nobody whom only the list that is handed down lets in.
        struct stat above
        {
        };
        if (made && next.isOpen() && ::fstat(held.get(), &above) == 0 && hasNoList(next.get(), kAccessList) &&
            hasNoList(next.get(), kDefaultList))
            ::fchmod(next.get(), (above.st_mode & (mode | S_ISVTX)) | 0700);
        held = std::move(next);
    }
    return held;
}

bool HeldDirectory::isStillThere() const
{
    struct stat held
    {
    };
    struct stat named
    {
    };
    return ::fstat(get(), &held) == 0 && ::stat(m_path.c_str(), &named) == 0 && held.st_dev == named.st_dev &&
           held.st_ino == named.st_ino;
}

} // namespace krxservice
