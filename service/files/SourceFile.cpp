#include "files/SourceFile.h"

#include "base/Text.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

namespace krxservice {

namespace {

constexpr int kLookOnly = O_PATH | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;
constexpr int kMostLevels = 4096; ///< directories between a file and the root of the system

bool isSame(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameTime(const timespec& one, const timespec& other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

std::string withoutSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

std::string parentOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return {};
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A list of access as the kernel hands it out.
constexpr char kAccessList[] = "system.posix_acl_access";
constexpr std::uint16_t kNamedUser = 0x02;
constexpr std::uint16_t kOwnGroup = 0x04;
constexpr std::uint16_t kNamedGroup = 0x08;
constexpr std::uint16_t kMask = 0x10;
constexpr std::size_t kListHead = 4;

struct AccessEntry
{
    std::uint16_t kind = 0;
    std::uint16_t access = 0;
    std::uint32_t who = 0;
};

bool hasNone(int error)
{
    return error == ENODATA || error == ENOTSUP;
}

/// The permissions \a mode of what \a descriptor is, less what its list of access keeps anybody from: with a
/// list, those of the group are only the most that anybody whom the list names has.
mode_t withoutList(int descriptor, mode_t mode)
{
    std::array<char, 4096> list{};
    const std::string place = "/proc/self/fd/" + std::to_string(descriptor); // it may be open to look only
    const ssize_t size = ::getxattr(place.c_str(), kAccessList, list.data(), list.size());
    if (size < 0)
        return hasNone(errno) ? mode : mode & ~static_cast<mode_t>(077);
    mode_t group = 7;
    mode_t named = 7;
    mode_t mask = 7;
    bool namesAnybody = false;
    AccessEntry entry;
    for (std::size_t at = kListHead; at + sizeof entry <= static_cast<std::size_t>(size);
         at += sizeof entry) {
        std::memcpy(&entry, list.data() + at, sizeof entry);
        if (entry.kind == kOwnGroup)
            group = entry.access;
        else if (entry.kind == kMask)
            mask = entry.access;
        else if (entry.kind == kNamedUser || entry.kind == kNamedGroup) {
            named &= entry.access;
            namesAnybody = true;
        }
    }
    // A mode names nobody: what one of those who are named may not, nobody may.
    const mode_t everybody = namesAnybody ? named & mask : 7;
    return mode & (((group & everybody) << 3) | everybody | ~static_cast<mode_t>(077));
}

/// The permissions of something that lies in \a directory, without those for people who cannot pass that
/// directory and the ones above it. Takes over the descriptor.
mode_t reachBelow(const struct stat& something, mode_t mode, int descriptor)
{
    mode_t allowed = mode & 0777;
    filetools::Descriptor directory(descriptor);
    struct stat below
    {
    };
    for (int level = 0; level < kMostLevels; ++level) {
        struct stat facts
        {
        };
        // What cannot be seen is taken as closed.
        if (!directory.isOpen() || ::fstat(directory.get(), &facts) != 0)
            return allowed & 0700;
        if (level > 0 && isSame(facts, below))
            break; // the root of the system is its own parent
        const mode_t passing = withoutList(directory.get(), facts.st_mode);
        const bool groupPasses =
            (passing & S_IXGRP) != 0 && (facts.st_gid == something.st_gid || passing & S_IXOTH);
        if (!groupPasses)
            allowed &= ~static_cast<mode_t>(070);
        if (!(passing & S_IXOTH))
            allowed &= ~static_cast<mode_t>(007);
        if ((allowed & 077) == 0)
            break;
        below = facts;
        directory = filetools::Descriptor(::openat(directory.get(), "..", kLookOnly));
    }
    return allowed;
}

} // namespace

SourceFile::SourceFile(const std::string& path, const std::string& root)
    : m_path(path)
    , m_root(withoutSlashes(root))
{
    const std::string start = m_root == "/" ? m_root : m_root + '/';
    if (m_root.empty() || path.size() <= start.size() || path.compare(0, start.size(), start) != 0) {
        m_root = parentOf(path);
        m_below = text::baseName(path);
    } else {
        m_below = path.substr(path.find_first_not_of('/', start.size() - 1));
    }
    const HeldDirectory held(m_root.empty() ? "." : m_root);
    if (held.isOpen())
        m_parent = held.open(parentOf(m_below), O_PATH | O_DIRECTORY);
    if (m_parent.isOpen())
        m_file = filetools::Descriptor(
            openbelow::stepByStep(m_parent.get(), text::baseName(m_below), O_RDONLY, 0));
    if (!m_file.isOpen()) {
        m_missing = errno == ENOENT;
        m_error = errno == ELOOP ? "a link stands in its way" : text::errnoText(errno);
        return;
    }
    // The kind is looked up on what was opened: a name may lead to something else the next moment.
    if (!lookAgain())
        m_error = text::errnoText(errno);
    else if (!S_ISREG(m_facts.st_mode))
        m_error = "it is no regular file";
    if (!m_error.empty())
        m_file = filetools::Descriptor(-1);
}

bool SourceFile::lookAgain()
{
    return ::fstat(m_file.get(), &m_facts) == 0;
}

bool SourceFile::isUnchanged() const
{
    struct stat facts
    {
    };
    return ::fstat(m_file.get(), &facts) == 0 && facts.st_size == m_facts.st_size &&
           isSameTime(facts.st_mtim, m_facts.st_mtim) && isSameTime(facts.st_ctim, m_facts.st_ctim);
}

bool SourceFile::isStillNamed() const
{
    const HeldDirectory held(m_root.empty() ? "." : m_root);
    const auto file = held.isOpen() ? held.open(m_below, O_PATH | O_NOFOLLOW) : filetools::Descriptor(-1);
    struct stat facts
    {
    };
    return file.isOpen() && ::fstat(file.get(), &facts) == 0 && isSame(facts, m_facts);
}

mode_t SourceFile::reach() const
{
    return reachBelow(m_facts, withoutList(m_file.get(), m_facts.st_mode),
                      ::openat(m_parent.get(), ".", kLookOnly));
}

mode_t SourceFile::reachFor(int target) const
{
    struct stat made
    {
    };
    const bool sameGroup =
        ::fstat(target, &made) == 0 &&
        (made.st_gid == m_facts.st_gid || ::fchown(target, static_cast<uid_t>(-1), m_facts.st_gid) == 0);
    const mode_t mode = reach();
    // What the directory gives to all that is made in it would let in people whom the source keeps out.
    if (::fremovexattr(target, kAccessList) != 0 && !hasNone(errno))
        return mode & 0700;
    return sameGroup ? mode : (mode & 0707) | ((mode & 0007) << 3);
}

std::string SourceFile::directoryBelow() const
{
    return parentOf(m_below);
}

mode_t SourceFile::directoryReach() const
{
    struct stat facts
    {
    };
    if (::fstat(m_parent.get(), &facts) != 0)
        return 0700;
    return reachBelow(facts, withoutList(m_parent.get(), facts.st_mode),
                      ::openat(m_parent.get(), "..", kLookOnly)) |
           0700;
}

} // namespace krxservice
