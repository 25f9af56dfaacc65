#include "http/LocalSocket.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace krxservice {

namespace {

constexpr std::string_view kDirectoryName = "krx-service";
constexpr int kBacklog = 4096;
constexpr mode_t kOthers = 077;

std::string directoryOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

/// Why \a directory is no place for the socket, or an empty text.
std::string checkDirectory(int descriptor, const std::string& directory)
{
    struct stat facts
    {
    };
    if (::fstat(descriptor, &facts) != 0)
        return directory + ": " + text::errnoText(errno);
    if (facts.st_uid != ::geteuid())
        return directory + " belongs to another user; have it removed, or name another place with --socket";
    const bool own = text::baseName(directory) == kDirectoryName;
    if (own && (facts.st_mode & kOthers) != 0) {
        if (::fchmod(descriptor, 0700) != 0)
            return directory + " is open to others: " + text::errnoText(errno);
        log::warning(directory + " was open to others; now it is not");
    } else if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return directory + " can be written to by others; the socket needs a directory of its own";
    }
    return {};
}

bool addressFor(const std::string& path, sockaddr_un& address)
{
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

/// True unless it is certain that nobody listens at \a path.
bool somebodyAnswers(const std::string& path)
{
    sockaddr_un address{};
    const filetools::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!addressFor(path, address))
        return false;
    return ::connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ||
           (errno != ECONNREFUSED && errno != ENOENT);
}

} // namespace

LocalSocket::~LocalSocket()
{
    struct stat facts
    {
    };
    if (m_inode != 0 && ::lstat(m_path.c_str(), &facts) == 0 && facts.st_dev == m_device &&
        facts.st_ino == m_inode)
        ::unlink(m_path.c_str());
    if (m_socket >= 0)
        ::close(m_socket);
    if (m_lock >= 0)
        ::close(m_lock);
}

std::string LocalSocket::defaultPath()
{
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && folder[0] == '/' ? std::string(folder) + "/" + std::string(kDirectoryName) + "/socket"
                                      : std::string();
}

int LocalSocket::take()
{
    const int socket = m_socket;
    m_socket = -1;
    return socket;
}

std::string LocalSocket::open(const std::string& path, bool& inUse)
{
    inUse = false;
    sockaddr_un address{};
    if (!addressFor(path, address))
        return "the path of the socket is too long: " + path;
    const std::string directory = directoryOf(path);
    if (::mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
        return directory + ": " + text::errnoText(errno);
    const filetools::Descriptor held(
        ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!held.isOpen())
        return directory + (errno == ELOOP || errno == ENOTDIR ? " is no directory, or a link"
                                                               : ": " + text::errnoText(errno));
    if (const auto reason = checkDirectory(held.get(), directory); !reason.empty())
        return reason;
    if (const auto reason = lockAndClear(held.get(), path, inUse); !reason.empty())
        return reason;
    return listenAt(path);
}

std::string LocalSocket::lockAndClear(int directory, const std::string& path, bool& inUse)
{
    const std::string name = text::baseName(path);
    // Two instances that start at once must not both find nobody and replace each other's socket.
    const std::string lockName = name + ".lock";
    m_lock = ::openat(directory, lockName.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (m_lock < 0)
        return path + ".lock: " + text::errnoText(errno);
    struct flock lock
    {
    };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (::fcntl(m_lock, F_SETLK, &lock) != 0) {
        inUse = true;
        return "the socket " + path + " is in use by another instance";
    }
    struct stat facts
    {
    };
    if (::fstatat(directory, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? std::string() : path + ": " + text::errnoText(errno);
    if (!S_ISSOCK(facts.st_mode) || facts.st_uid != ::geteuid())
        return path + " is no socket of this user's; remove it, or name another place with --socket";
    // One that cannot be knocked at would look as if somebody were there.
    ::fchmodat(directory, name.c_str(), 0600, 0);
    if (somebodyAnswers(path)) {
        inUse = true;
        return "the socket " + path + " is in use by another program";
    }
    return ::unlinkat(directory, name.c_str(), 0) == 0 ? std::string() : path + ": " + text::errnoText(errno);
}

std::string LocalSocket::listenAt(const std::string& path)
{
    sockaddr_un address{};
    addressFor(path, address);
    m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    struct stat facts
    {
    };
    if (m_socket < 0 || ::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(path.c_str(), 0600) != 0 || ::lstat(path.c_str(), &facts) != 0 ||
        ::listen(m_socket, kBacklog) != 0)
        return path + ": " + text::errnoText(errno);
    m_path = path;
    m_device = facts.st_dev;
    m_inode = facts.st_ino;
    return {};
}

} // namespace krxservice
