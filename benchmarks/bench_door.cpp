#include "Bench.h"
#include "http/Speaker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <vector>

namespace KRXBench {

namespace {

constexpr int kLookups = 1000;
constexpr int kOtherSockets = 10000;
constexpr double kMostMicroseconds = 30;

/// Connections of this process to itself.
class Connections
{
public:
    /// \a family is AF_INET or AF_INET6.
    explicit Connections(sa_family_t family)
        : m_listener(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        m_address.sin6_family = family;
        m_address.sin6_addr = in6addr_loopback;
        if (family == AF_INET) {
            sockaddr_in four{};
            four.sin_family = family;
            four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            std::memcpy(&m_address, &four, sizeof four);
        }
        m_isOpen = ::bind(m_listener, place(), m_size) == 0 && ::listen(m_listener, 128) == 0 &&
                   ::getsockname(m_listener, place(), &m_size) == 0;
    }
    ~Connections()
    {
        for (const int end : m_ends)
            ::close(end);
        ::close(m_listener);
    }
    Connections(const Connections&) = delete;
    Connections& operator=(const Connections&) = delete;

    bool isOpen() const { return m_isOpen; }

    /// The accepted end of one more connection, or -1 when the system gives none.
    int add()
    {
        const int client = ::socket(m_address.sin6_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (client < 0)
            return -1;
        m_ends.push_back(client);
        if (::connect(client, place(), m_size) != 0)
            return -1;
        m_ends.push_back(::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
        return m_ends.back();
    }

private:
    sockaddr* place() { return reinterpret_cast<sockaddr*>(&m_address); }

    int m_listener;
    bool m_isOpen = false;
    sockaddr_in6 m_address{}; ///< or a sockaddr_in, which is smaller and has its family and port there too
    socklen_t m_size = sizeof m_address;
    std::vector<int> m_ends;
};

void measureLookups(Table& table, sa_family_t family, const QString& work)
{
    Connections connections(family);
    krxservice::SpeakerFinder finder;
    const int served = connections.isOpen() ? connections.add() : -1;
    if (served < 0) {
        qWarning("no row for \"%s\": this machine has no such address", qPrintable(work));
        return;
    }
    int others = 0;
    for (const int wanted : {0, kOtherSockets}) {
        // Both ends are this process's, so that one connection is two sockets.
        while (others < wanted && connections.add() >= 0)
            others += 2;
        const double microseconds = medianMs(5, [&] {
            for (int i = 0; i < kLookups; ++i) {
                if (!finder.of(served).known)
                    qFatal("the measure means nothing: the own user is not found out");
            }
        }); // a thousand of them: milliseconds are microseconds each
        Row& row = table.add(work, others, microseconds, 0, QStringLiteral("us"));
        row.must = QStringLiteral("<= 30 us a connection");
        row.met = row.ours <= kMostMicroseconds;
    }
}

} // namespace

void measureDoor(Table& table)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);

    measureLookups(table, AF_INET, QStringLiteral("whose a connection is, beside N other sockets"));
    measureLookups(table, AF_INET6, QStringLiteral("whose a connection by ::1 is, beside N other sockets"));
}

} // namespace KRXBench
