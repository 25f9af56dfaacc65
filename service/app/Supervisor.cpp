#include "app/Supervisor.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

namespace krxservice::supervisor {

namespace {

constexpr int kFirstSocket = 3;
constexpr long kMostSockets = 16;

/// The number in an environment variable, or -1.
long number(const char* variable)
{
    const char* text = std::getenv(variable);
    if (!text || !*text)
        return -1;
    char* end = nullptr;
    const long value = std::strtol(text, &end, 10);
    return *end == '\0' ? value : -1;
}

} // namespace

void notify(std::string_view lines)
{
    const char* path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!path || (path[0] != '/' && path[0] != '@') || std::strlen(path) >= sizeof address.sun_path)
        return;
    const std::size_t size = std::strlen(path);
    std::memcpy(address.sun_path, path, size);
    if (path[0] == '@')
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    ::sendto(socket, lines.data(), lines.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
             reinterpret_cast<sockaddr*>(&address),
             static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size));
    ::close(socket);
}

std::chrono::microseconds watchdogInterval()
{
    const long process = number("WATCHDOG_PID");
    const long interval = number("WATCHDOG_USEC");
    const bool meant = process < 0 || process == ::getpid();
    return std::chrono::microseconds(meant && interval > 0 ? interval : 0);
}

std::vector<int> takeSockets()
{
    std::vector<int> sockets;
    const long count = number("LISTEN_FDS");
    if (number("LISTEN_PID") == ::getpid() && count > 0 && count <= kMostSockets) {
        for (int socket = kFirstSocket; socket < kFirstSocket + count; ++socket) {
            ::fcntl(socket, F_SETFD, FD_CLOEXEC);
            sockets.push_back(socket);
        }
    }
    for (const char* variable : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
        ::unsetenv(variable);
    return sockets;
}

} // namespace krxservice::supervisor
