#include "http/HttpListener.h"

#include "base/Log.h"
#include "base/Text.h"
#include "documents/XmlGuard.h"

#include <httplib.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

namespace krxservice {

namespace {

constexpr int kThreads = 32;             ///< also the number of connections served at once
constexpr int kIdleMilliseconds = 15000; ///< a kept-alive connection is closed after this much silence
constexpr int kStallMilliseconds = 5000; ///< a single read or write may take this long
constexpr int kRequestSeconds = 20;      ///< a request must have arrived whole within this time
constexpr size_t kMostBytes = xmlguard::kLargestBody + 256 * 1024; ///< a request with its head
constexpr int kPollMilliseconds = 100; ///< how soon an idle connection notices that the service stops

using Clock = std::chrono::steady_clock;

bool wait(int socket, short events, int milliseconds)
{
    pollfd descriptor{socket, events, 0};
    int ready = 0;
    do
        ready = ::poll(&descriptor, 1, milliseconds);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

/// One connection. Reads ahead, because the head of a request is asked for byte by byte.
class Connection : public httplib::Stream
{
public:
    explicit Connection(socket_t socket)
        : m_socket(socket)
    {
    }

    void beginRequest()
    {
        m_deadline = Clock::now() + std::chrono::seconds(kRequestSeconds);
        m_budget = kMostBytes;
    }
    bool hasBuffered() const { return m_at < m_filled; }

    bool is_readable() const override { return hasBuffered() || wait(m_socket, POLLIN, kStallMilliseconds); }
    bool is_writable() const override { return wait(m_socket, POLLOUT, kStallMilliseconds); }

    ssize_t read(char* target, size_t size) override
    {
        if (!hasBuffered()) {
            if (Clock::now() > m_deadline || !wait(m_socket, POLLIN, kStallMilliseconds))
                return -1;
            const ssize_t got = ::recv(m_socket, m_buffer.data(), m_buffer.size(), 0);
            if (got <= 0)
                return got;
            m_at = 0;
            m_filled = static_cast<size_t>(got);
        }
        const size_t piece = std::min({size, m_filled - m_at, m_budget});
        if (piece == 0)
            return -1;
        m_budget -= piece;
        std::copy_n(m_buffer.data() + m_at, piece, target);
        m_at += piece;
        return static_cast<ssize_t>(piece);
    }

    ssize_t write(const char* data, size_t size) override
    {
        return is_writable() ? ::send(m_socket, data, size, MSG_NOSIGNAL) : -1;
    }

    void get_remote_ip_and_port(std::string& ip, int& port) const override
    {
        ip.clear();
        port = 0;
    }
    void get_local_ip_and_port(std::string& ip, int& port) const override
    {
        ip.clear();
        port = 0;
    }
    socket_t socket() const override { return m_socket; }

private:
    socket_t m_socket;
    Clock::time_point m_deadline = Clock::now();
    std::array<char, 16384> m_buffer{};
    size_t m_budget = kMostBytes;
    size_t m_at = 0;
    size_t m_filled = 0;
};

/// What the guard thought of the request that this thread is serving.
struct Verdict
{
    std::optional<Refusal> refusal;
    bool closes = false;
};
thread_local Verdict t_verdict;

RequestHead headOf(const httplib::Request& request)
{
    RequestHead head;
    head.method = request.method;
    head.target = request.target;
    for (const auto& [name, value] : request.headers)
        head.headers.emplace_back(name, value);
    return head;
}

} // namespace

HttpAnswer HttpAnswer::xml(std::string document, int status)
{
    return {status, "application/xml; charset=utf-8", std::move(document), {}};
}

HttpAnswer HttpAnswer::refused(const Refusal& refusal)
{
    return {
        refusal.status, "text/plain; charset=utf-8", text::xmlClean(text::oneLine(refusal.text)) + "\n", {}};
}

/// The library parses requests and writes answers; when a connection lives on is decided here.
class HttpListener::Server : public httplib::Server
{
public:
    explicit Server(std::shared_ptr<HttpListener::Handler> handler)
        : m_handler(std::move(handler))
    {
        new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
        set_payload_max_length(xmlguard::kLargestBody);
        set_tcp_nodelay(true);
        set_keep_alive_timeout(kIdleMilliseconds / 1000);
        set_keep_alive_max_count(1000000);
        // Without the port sharing that the library asks for by default: a second instance must be refused.
        set_socket_options([](socket_t socket) {
            const int yes = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
            ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        });
        const auto plain = [this](const httplib::Request& request, httplib::Response& response) {
            answer(request, {}, response);
        };
        const auto withBody = [this](const httplib::Request& request, httplib::Response& response,
                                     const httplib::ContentReader& reader) {
            std::string body;
            const bool whole = t_verdict.refusal || reader([&body](const char* data, size_t size) {
                                   body.append(data, size);
                                   return body.size() <= xmlguard::kLargestBody;
                               });
            if (!whole && !t_verdict.refusal) {
                t_verdict.refusal = body.size() > xmlguard::kLargestBody
                                        ? Refusal{413, "the body is larger than 1 MB"}
                                        : Refusal{400, "the body did not arrive whole"};
            }
            answer(request, body, response);
        };
        // The target is looked at by the guard; the library's own routes see one constant path.
        Get("/", plain);
        Delete("/", plain);
        Options("/", plain);
        Post("/", withBody);
        Put("/", withBody);
        Patch("/", withBody);
    }

    void run()
    {
        m_thread = std::thread([this] {
            listen_after_bind();
            m_ended = true;
        });
    }

    void end()
    {
        m_stopping = true;
        // The library overlooks a stop that comes before its loop has begun.
        while (m_thread.joinable() && !is_running() && !m_ended)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        stop();
        if (m_thread.joinable())
            m_thread.join();
    }

private:
    void answer(const httplib::Request& request, const std::string& body, httplib::Response& response)
    {
        HttpAnswer result;
        if (t_verdict.refusal) {
            result = HttpAnswer::refused(*t_verdict.refusal);
        } else {
            const auto head = headOf(request);
            result = (*m_handler)(head, *httpguard::split(head.target), body);
        }
        t_verdict.closes = t_verdict.closes || t_verdict.refusal.has_value();
        response.status = result.status;
        if (!result.allow.empty())
            response.set_header("Allow", result.allow);
        if (!result.type.empty())
            response.set_header("Content-Type", result.type);
        response.set_header("Cache-Control", "no-store");
        response.set_header("X-Content-Type-Options", "nosniff");
        response.body = std::move(result.body);
    }

    bool waitForRequest(const Connection& connection) const
    {
        for (int waited = 0; waited < kIdleMilliseconds && !m_stopping; waited += kPollMilliseconds) {
            if (connection.hasBuffered() || wait(connection.socket(), POLLIN, kPollMilliseconds))
                return true;
        }
        return false;
    }

    bool process_and_close_socket(socket_t socket) override
    {
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        Connection connection(socket);
        bool goesOn = true;
        while (goesOn && waitForRequest(connection)) {
            connection.beginRequest();
            t_verdict = {};
            bool closed = false;
            bool looked = false;
            goesOn = process_request(connection, m_stopping, closed, [&looked](httplib::Request& request) {
                looked = true;
                t_verdict.refusal = httpguard::check(headOf(request));
                request.path = "/";
                request.ranges.clear();
                if (t_verdict.refusal) {
                    t_verdict.closes = true;
                    request.headers.erase("Connection");
                    request.set_header("Connection", "close");
                    // Bodies of refused requests are not looked at, whatever they call themselves.
                    request.headers.erase("Expect");
                }
            });
            goesOn = goesOn && looked && !closed && !t_verdict.closes;
        }
        ::shutdown(socket, SHUT_WR);
        drain(socket);
        ::close(socket);
        return true;
    }

    /// Gives the other side a moment to read its answer: closing with unread bytes would cut it off.
    static void drain(socket_t socket)
    {
        char waste[16384];
        const auto end = Clock::now() + std::chrono::seconds(1);
        while (Clock::now() < end && wait(socket, POLLIN, 200) &&
               ::recv(socket, waste, sizeof waste, 0) > 0) {
        }
    }

    std::shared_ptr<HttpListener::Handler> m_handler;
    std::thread m_thread;
    std::atomic<bool> m_stopping{false};
    std::atomic<bool> m_ended{false};
};

HttpListener::HttpListener(Handler handler)
    : m_handler(std::make_shared<Handler>(std::move(handler)))
{
}

HttpListener::~HttpListener()
{
    stop();
}

int HttpListener::bind(int port, std::string& error)
{
    m_ipv4 = std::make_unique<Server>(m_handler);
    int bound = port;
    if (port == 0)
        bound = m_ipv4->bind_to_any_port("127.0.0.1");
    else if (!m_ipv4->bind_to_port("127.0.0.1", port))
        bound = -1;
    if (bound <= 0) {
        m_ipv4.reset();
        error = "port " + std::to_string(port) + " of 127.0.0.1 is in use by another program or instance";
        return 0;
    }
    m_ipv6 = std::make_unique<Server>(m_handler);
    if (!m_ipv6->bind_to_port("::1", bound)) {
        m_ipv6.reset();
        log::info("not listening on ::1, which this machine lacks or another program uses");
    }
    return bound;
}

void HttpListener::start()
{
    for (Server* server : {m_ipv4.get(), m_ipv6.get()}) {
        if (server)
            server->run();
    }
}

void HttpListener::stop()
{
    for (auto* server : {&m_ipv4, &m_ipv6}) {
        if (*server)
            (*server)->end();
        server->reset();
    }
}

} // namespace krxservice
