#include "RawClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace {

constexpr int kPatience = 30000; ///< milliseconds

/// Waits for \a what; signals of children that end do not count.
bool waitFor(int socket, short what)
{
    pollfd descriptor{socket, what, 0};
    int ready = 0;
    do
        ready = ::poll(&descriptor, 1, kPatience);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool waitForBytes(int socket)
{
    return waitFor(socket, POLLIN);
}

/// After a connect() that a signal interrupted, which goes on by itself.
bool isConnectedInTheEnd(int socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return waitFor(socket, POLLOUT) && ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 &&
           error == 0;
}

template <typename Address>
int connected(const Address& address)
{
    const int socket =
        ::socket(reinterpret_cast<const sockaddr*>(&address)->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
        (errno == EINTR && isConnectedInTheEnd(socket)))
        return socket;
    const int error = errno;
    ::close(socket);
    errno = error;
    return -1;
}

int lengthOf(const QByteArray& head)
{
    const QByteArray name = "content-length:";
    const int at = head.toLower().indexOf(name);
    return at < 0 ? 0
                  : head.mid(at + name.size(), head.indexOf('\r', at) - at - name.size()).trimmed().toInt();
}

} // namespace

bool RawClient::allowMany()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return false;
    limit.rlim_cur = limit.rlim_max;
    return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

RawClient::~RawClient()
{
    close();
}

RawClient::RawClient(RawClient&& other) noexcept
    : m_socket(std::exchange(other.m_socket, -1))
    , m_read(std::move(other.m_read))
{
}

RawClient& RawClient::operator=(RawClient&& other) noexcept
{
    std::swap(m_socket, other.m_socket);
    std::swap(m_read, other.m_read);
    return *this;
}

RawClient RawClient::toPort(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    RawClient client;
    client.m_socket = connected(address);
    return client;
}

RawClient RawClient::toPortBySix(int port)
{
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(static_cast<std::uint16_t>(port));
    address.sin6_addr = in6addr_loopback;
    RawClient client;
    client.m_socket = connected(address);
    return client;
}

RawClient RawClient::toSocket(const QString& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray bytes = path.toLocal8Bit();
    std::memcpy(address.sun_path, bytes.constData(),
                std::min(sizeof address.sun_path - 1, static_cast<std::size_t>(bytes.size())));
    RawClient client;
    client.m_socket = connected(address);
    return client;
}

bool RawClient::send(const QByteArray& bytes) const
{
    int sent = 0;
    while (sent < bytes.size()) {
        const ssize_t put = ::send(m_socket, bytes.constData() + sent,
                                   static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (put <= 0)
            return false;
        sent += static_cast<int>(put);
    }
    return true;
}

QByteArray RawClient::answer()
{
    std::array<char, 65536> buffer{};
    for (;;) {
        const int end = m_read.indexOf("\r\n\r\n");
        const int size = end < 0 ? -1 : end + 4 + lengthOf(m_read.left(end + 2));
        if (size > 0 && m_read.size() >= size) {
            const QByteArray whole = m_read.left(size);
            m_read.remove(0, size);
            return whole;
        }
        if (!waitForBytes(m_socket))
            return QByteArray();
        const ssize_t got = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        if (got <= 0)
            return QByteArray();
        m_read.append(buffer.data(), static_cast<int>(got));
    }
}

QByteArray RawClient::toTheEnd()
{
    std::array<char, 65536> buffer{};
    while (waitForBytes(m_socket)) {
        const ssize_t got = ::recv(m_socket, buffer.data(), buffer.size(), 0);
        if (got <= 0)
            break;
        m_read.append(buffer.data(), static_cast<int>(got));
    }
    return std::exchange(m_read, QByteArray());
}

bool RawClient::isQuiet() const
{
    char byte = 0;
    return ::recv(m_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

void RawClient::close()
{
    if (m_socket >= 0)
        ::close(m_socket);
    m_socket = -1;
}

QByteArray RawClient::get(const QByteArray& path)
{
    return "GET /KRXService/" + path + " HTTP/1.1\r\nHost: localhost:58885\r\n\r\n";
}
