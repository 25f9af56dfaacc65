#include "OtherUsersListener.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace {

/// The other user's program. Only calls that are safe after a fork of a program with threads.
[[noreturn]] void listenAs(uid_t user, quint16 port, int pipe)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0)
        ::_exit(1);
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int reuse = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    socklen_t size = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener, 8) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        ::_exit(1);
    int said = ntohs(address.sin_port);
    while (::write(pipe, &said, sizeof said) == sizeof said) {
        const int connection = ::accept(listener, nullptr, nullptr);
        said = 0;
        char bytes[4096];
        for (ssize_t got = 1; got > 0;) {
            got = ::recv(connection, bytes, sizeof bytes, 0);
            said += got > 0 ? static_cast<int>(got) : 0;
            // A request that came is answered by an end, so that nobody waits for more.
            if (said > 0)
                break;
        }
        ::close(connection);
    }
    ::_exit(0);
}

int readNumber(int pipe)
{
    int number = -1;
    return ::read(pipe, &number, sizeof number) == sizeof number ? number : -1;
}

} // namespace

OtherUsersListener::OtherUsersListener(quint16 port)
{
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0)
        return;
    m_process = ::fork();
    if (m_process == 0) {
        ::close(ends[0]);
        listenAs(kUser, port, ends[1]);
    }
    ::close(ends[1]);
    m_pipe = ends[0];
    const int said = readNumber(m_pipe);
    m_port = said > 0 ? static_cast<quint16>(said) : quint16(0);
}

OtherUsersListener::~OtherUsersListener()
{
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    if (m_pipe >= 0)
        ::close(m_pipe);
}

int OtherUsersListener::bytesOfNextConnection()
{
    return readNumber(m_pipe);
}

bool takeOwnNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0)
        return false;
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    const bool isUp = ::ioctl(socket, SIOCGIFFLAGS, &request) == 0 &&
                      (request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP),
                       ::ioctl(socket, SIOCSIFFLAGS, &request) == 0);
    ::close(socket);
    return isUp;
}
