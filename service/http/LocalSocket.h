#pragma once

#include <sys/types.h>

#include <string>

namespace krxservice {

/// The service's Unix socket: a way in that only the own user can even see, in a directory that only the own
/// user may enter. Removed at the end, unless another instance has taken its place.
class LocalSocket
{
public:
    LocalSocket() = default;
    ~LocalSocket();
    LocalSocket(const LocalSocket&) = delete;
    LocalSocket& operator=(const LocalSocket&) = delete;

    /// $XDG_RUNTIME_DIR/krx-service/socket, or empty where there is no such directory.
    static std::string defaultPath();

    /// Listens at \a path. Its directory is made when missing, must belong to the own user and must be nobody
    /// else's to write to; one called krx-service is tightened to 0700. What is left of an instance that
    /// crashed is replaced, but only when nobody answers there. An empty text or the reason; \a inUse tells
    /// whether another instance is there.
    std::string open(const std::string& path, bool& inUse);

    /// The listening socket; its new owner closes it.
    int take();

private:
    std::string lockAndClear(int directory, const std::string& path, bool& inUse);
    std::string listenAt(const std::string& path);

    std::string m_path;
    int m_lock = -1;   ///< held as long as this instance has the path
    int m_socket = -1; ///< -1 once it was taken
    dev_t m_device = 0;
    ino_t m_inode = 0;
};

} // namespace krxservice
