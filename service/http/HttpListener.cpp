#include "http/HttpListener.h"

#include "base/Log.h"
#include "base/Text.h"
#include "http/HttpConnection.h"
#include "http/Usher.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <unordered_map>

namespace krxservice {

namespace asio = boost::asio;

namespace {

using boost::system::error_code;
using Clock = std::chrono::steady_clock;

constexpr int kHandlerThreads = 8;
constexpr int kBacklog = 4096;                 ///< as much as the system allows
constexpr int kAcceptsAtOnce = 64;             ///< then the connections that are there get their turn
constexpr std::size_t kMostConnections = 4096; ///< however many descriptors there are
constexpr std::size_t kDescriptorsForWork = 144 + Usher::kMostAtOnce;
constexpr std::chrono::milliseconds kTick{1000};
constexpr std::chrono::milliseconds kPause{50}; ///< when the system has no descriptor left
constexpr std::chrono::milliseconds kBindPatience{1000};

/// A listening TCP socket of a loopback address, or -1 with errno set.
int listenOn(int family, int port)
{
    const int socket = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return -1;
    const int yes = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_storage address{};
    socklen_t size = sizeof(sockaddr_in);
    if (family == AF_INET) {
        sockaddr_in four{};
        four.sin_family = AF_INET;
        four.sin_port = htons(static_cast<std::uint16_t>(port));
        four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        std::memcpy(&address, &four, sizeof four);
    } else {
        sockaddr_in6 six{};
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(static_cast<std::uint16_t>(port));
        six.sin6_addr = in6addr_loopback;
        size = sizeof six;
        std::memcpy(&address, &six, sizeof six);
        ::setsockopt(socket, IPPROTO_IPV6, IPV6_V6ONLY, &yes, sizeof yes);
    }
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), size) == 0 && ::listen(socket, kBacklog) == 0)
        return socket;
    const int error = errno;
    ::close(socket);
    errno = error;
    return -1;
}

/// The same, with patience: a program that an instance killed a moment ago had just started holds that
/// instance's sockets until it runs.
int listenPatiently(int family, int port)
{
    const auto end = Clock::now() + kBindPatience;
    for (;;) {
        const int socket = listenOn(family, port);
        if (socket >= 0 || errno != EADDRINUSE || Clock::now() >= end)
            return socket;
        std::this_thread::sleep_for(kPause);
    }
}

sockaddr_storage addressOf(int socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        address.ss_family = AF_UNSPEC;
    return address;
}

int portOf(int socket)
{
    const sockaddr_storage address = addressOf(socket);
    sockaddr_in four{};
    std::memcpy(&four, &address, sizeof four);
    return ntohs(four.sin_port);
}

bool isLoopback(const sockaddr_storage& address)
{
    if (address.ss_family == AF_INET) {
        sockaddr_in four{};
        std::memcpy(&four, &address, sizeof four);
        return (ntohl(four.sin_addr.s_addr) >> 24) == 127;
    }
    sockaddr_in6 six{};
    std::memcpy(&six, &address, sizeof six);
    return address.ss_family == AF_INET6 && IN6_IS_ADDR_LOOPBACK(&six.sin6_addr);
}

std::string strangersAnswer()
{
    const HttpAnswer answer = HttpAnswer::refused({403, "this service serves the user who runs it only"});
    return "HTTP/1.1 403 Forbidden\r\nContent-Type: " + answer.type +
           "\r\nConnection: close\r\nContent-Length: " + std::to_string(answer.body.size()) + "\r\n\r\n" +
           answer.body;
}

/// As many connections as the system's limit of descriptors leaves room for; raises the limit if it may.
std::size_t roomForConnections()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return kMostConnections / 8;
    const rlim_t wanted = kMostConnections + kDescriptorsForWork;
    if (limit.rlim_cur < wanted) {
        limit.rlim_cur = std::min(wanted, limit.rlim_max);
        ::setrlimit(RLIMIT_NOFILE, &limit);
        ::getrlimit(RLIMIT_NOFILE, &limit);
    }
    const auto all = static_cast<std::size_t>(std::min(limit.rlim_cur, wanted));
    return std::max(all > kDescriptorsForWork ? all - kDescriptorsForWork : 0, std::size_t{64});
}

} // namespace

/// Everything that lives on the connections' thread.
class HttpListener::Door final : public ConnectionOwner
{
public:
    Door(Handler handler, std::vector<uid_t> allowed, const HttpTimes& times)
        : m_handler(std::move(handler))
        , m_times(times)
        , m_keeper(std::move(allowed))
        , m_most(roomForConnections())
    {
    }

    ~Door()
    {
        stop(std::chrono::milliseconds(0));
        // Handlers that are still at work use what the caller owns; nothing of it may go before they are
        // done.
        m_pool.join();
    }

    std::string add(int socket, Doorkeeper::Kind kind)
    {
        if (kind == Doorkeeper::Kind::Port && !m_tested) {
            const std::string missing = m_keeper.finder().selfTest();
            if (!missing.empty())
                return "the kernel does not tell whose connections they are (" + missing +
                       "), so the port stays closed";
            m_tested = true;
        }
        m_entrances.push_back(std::make_unique<Entrance>(m_io, socket, kind));
        return {};
    }

    void start()
    {
        for (const auto& entrance : m_entrances)
            waitAt(*entrance);
        tick();
        m_usher.start();
        m_thread = std::thread([this] { m_io.run(); });
    }

    void stop(std::chrono::milliseconds grace)
    {
        if (m_thread.joinable()) {
            asio::post(m_io, [this, grace] { beginToStop(grace); });
            m_thread.join();
            for (const auto& report : m_keeper.takeReports(Clock::time_point::max()))
                log::warning(Doorkeeper::text(report));
        }
        m_usher.stop();
        m_pool.stop();
        m_connections.clear();
        m_guests.clear();
        m_entrances.clear();
    }

    void setAllowed(std::vector<uid_t> allowed)
    {
        asio::post(m_io, [this, allowed = std::move(allowed)] {
            m_keeper.setAllowed(allowed);
            endUnwanted();
        });
    }

    bool beats()
    {
        const bool heard = m_heard.exchange(false);
        asio::post(m_io, [this] { m_heard = true; });
        return heard;
    }

    const RefusalCounts& refusals() { return m_keeper.counts(); }
    std::size_t mostConnections() const { return m_most; }

    void handle(const std::shared_ptr<HttpConnection>& connection, HttpRequest request) override
    {
        asio::post(m_pool, [this, connection = connection, request = std::move(request)]() mutable {
            HttpAnswer answer = m_handler(request.head, request.target, request.body);
            // Moved, so that a connection never comes to its end here.
            asio::post(m_io, [connection = std::move(connection), answer = std::move(answer)]() mutable {
                connection->answer(std::move(answer));
            });
        });
    }

    void refused() override { ++m_keeper.counts().requests; }

    void closed(const HttpConnection& connection) override
    {
        m_guests.erase(&connection);
        m_connections.erase(&connection);
        if (m_stopping && m_connections.empty())
            m_io.stop();
    }

private:
    /// A listening socket.
    struct Entrance
    {
        Entrance(asio::io_context& io, int socket, Doorkeeper::Kind ofKind)
            : descriptor(io, socket)
            , pause(io)
            , kind(ofKind)
        {
        }
        asio::posix::stream_descriptor descriptor;
        asio::steady_timer pause;
        Doorkeeper::Kind kind;
    };

    void waitAt(Entrance& entrance)
    {
        entrance.descriptor.async_wait(asio::posix::stream_descriptor::wait_read,
                                       [this, &entrance](const error_code& error) {
                                           if (!error && !m_stopping)
                                               letIn(entrance);
                                       });
    }

    void letIn(Entrance& entrance)
    {
        for (int i = 0; i < kAcceptsAtOnce; ++i) {
            const int socket = ::accept4(entrance.descriptor.native_handle(), nullptr, nullptr,
                                         SOCK_CLOEXEC | SOCK_NONBLOCK);
            if (socket >= 0) {
                receive(socket, entrance.kind);
                continue;
            }
            if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
                makeRoom();
                return waitLater(entrance);
            }
            if (errno == EAGAIN)
                break;
        }
        waitAt(entrance);
    }

    void waitLater(Entrance& entrance)
    {
        entrance.pause.expires_after(kPause);
        entrance.pause.async_wait([this, &entrance](const error_code& error) {
            if (!error && !m_stopping)
                waitAt(entrance);
        });
    }

    void receive(int socket, Doorkeeper::Kind kind)
    {
        Speaker speaker;
        if (!m_keeper.lets(socket, kind, &speaker))
            return m_usher.showOut(socket);
        const int family = addressOf(socket).ss_family;
        HttpConnection::Protocol::socket stream(m_io);
        error_code error;
        stream.assign(HttpConnection::Protocol(family, family == AF_UNIX ? 0 : IPPROTO_TCP), socket, error);
        if (error) {
            ::close(socket);
            return;
        }
        if (family != AF_UNIX) {
            const int yes = 1;
            ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
        }
        if (m_connections.size() >= m_most)
            makeRoom();
        const auto connection = std::make_shared<HttpConnection>(*this, std::move(stream), m_times);
        m_connections[connection.get()] = connection;
        if (kind == Doorkeeper::Kind::Port && m_keeper.isGuest(speaker))
            m_guests[connection.get()] = speaker;
        connection->start();
    }

    /// Ends the connections of those who were allowed and are no longer, whatever they are being told.
    void endUnwanted()
    {
        const auto guests = m_guests;
        for (const auto& [key, speaker] : guests) {
            const auto found = m_connections.find(key);
            if (found != m_connections.end() && !m_keeper.mayEnter(speaker, Doorkeeper::Kind::Port))
                std::shared_ptr<HttpConnection>(found->second)->close();
        }
    }

    /// Closes the connection that has been still for the longest time.
    void makeRoom()
    {
        std::shared_ptr<HttpConnection> oldest;
        for (const auto& [key, connection] : m_connections) {
            if (!connection->isBusy() && (!oldest || connection->lastActive() < oldest->lastActive()))
                oldest = connection;
        }
        if (oldest) {
            ++m_keeper.counts().pushedOut;
            oldest->close();
        }
    }

    void tick()
    {
        for (const auto& report : m_keeper.takeReports(Clock::now()))
            asio::post(m_pool, [report] { log::warning(Doorkeeper::text(report)); });
        m_ticker.expires_after(kTick);
        m_ticker.async_wait([this](const error_code& error) {
            if (!error && !m_stopping)
                tick();
        });
    }

    void beginToStop(std::chrono::milliseconds grace)
    {
        m_stopping = true;
        for (const auto& entrance : m_entrances) {
            error_code ignored;
            entrance->descriptor.close(ignored);
            entrance->pause.cancel();
        }
        m_ticker.expires_after(grace);
        m_ticker.async_wait([this](const error_code&) { m_io.stop(); });
        auto connections = m_connections;
        for (const auto& [key, connection] : connections)
            connection->finish();
        if (m_connections.empty())
            m_io.stop();
    }

    Handler m_handler;
    const HttpTimes m_times;
    Doorkeeper m_keeper;
    std::size_t m_most;
    bool m_tested = false;
    std::atomic<bool> m_heard{true};
    bool m_stopping = false;
    Usher m_usher{strangersAnswer()};
    // The connections' thread ends before the pool does, and what it runs refers to all that is above.
    asio::io_context m_io{1};
    asio::steady_timer m_ticker{m_io};
    std::vector<std::unique_ptr<Entrance>> m_entrances;
    std::unordered_map<const HttpConnection*, std::shared_ptr<HttpConnection>> m_connections;
    std::unordered_map<const HttpConnection*, Speaker>
        m_guests; ///< whose theirs are, of users allowed on purpose
    asio::thread_pool m_pool{kHandlerThreads};
    std::thread m_thread;
};

HttpListener::HttpListener(Handler handler, std::vector<uid_t> allowed, const HttpTimes& times)
    : m_door(std::make_unique<Door>(std::move(handler), std::move(allowed), times))
{
}

HttpListener::~HttpListener() = default;

int HttpListener::bind(int port, std::string& error, bool& inUse)
{
    const int four = listenPatiently(AF_INET, port);
    inUse = four < 0 && errno == EADDRINUSE;
    if (four < 0) {
        error = "port " + std::to_string(port) + " of 127.0.0.1 " +
                (inUse ? "is in use by another program or instance"
                       : "cannot be used: " + text::errnoText(errno));
        return 0;
    }
    const int bound = portOf(four);
    error = m_door->add(four, Doorkeeper::Kind::Port);
    if (!error.empty()) {
        ::close(four);
        return 0;
    }
    const int six = listenOn(AF_INET6, bound);
    if (six < 0 || !m_door->add(six, Doorkeeper::Kind::Port).empty())
        log::info("not listening on ::1, which this machine lacks or another program uses");
    return bound;
}

std::string HttpListener::adopt(int socket)
{
    const sockaddr_storage address = addressOf(socket);
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    const int flags = ::fcntl(socket, F_GETFL);
    if (flags < 0 || ::fcntl(socket, F_SETFL, flags | O_NONBLOCK) != 0)
        return text::errnoText(errno);
    if (address.ss_family == AF_UNIX)
        return m_door->add(socket, Doorkeeper::Kind::Socket);
    return isLoopback(address) ? m_door->add(socket, Doorkeeper::Kind::Port)
                               : "the socket is not one of this machine's own addresses";
}

void HttpListener::start()
{
    m_door->start();
}

void HttpListener::stop(std::chrono::milliseconds grace)
{
    m_door->stop(grace);
}

bool HttpListener::beats()
{
    return m_door->beats();
}

void HttpListener::setAllowed(std::vector<uid_t> allowed)
{
    m_door->setAllowed(std::move(allowed));
}

const RefusalCounts& HttpListener::refusals() const
{
    return m_door->refusals();
}

std::size_t HttpListener::mostConnections() const
{
    return m_door->mostConnections();
}

} // namespace krxservice
