#include "TestHttpServer.h"

#include <QtGlobal>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr const char* kConnectPortVariable = "KRX_CONNECT_PORT";

/// A TCP socket bound to that port of a loopback address; to a free one, which is given back, when \a port is
/// 0.
int boundSocket(quint16& port, quint32 host = INADDR_LOOPBACK)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        qFatal("The test server cannot have its port");
    socklen_t size = sizeof address;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return fd;
}

QByteArray routeKey(const QByteArray& method, const QByteArray& target)
{
    return QByteArray(method + ' ' + target);
}

QByteArray usualReason(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 201:
        return "Created";
    case 204:
        return "No Content";
    case 302:
        return "Found";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 409:
        return "Conflict";
    case 413:
        return "Payload Too Large";
    case 415:
        return "Unsupported Media Type";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

QByteArray headOf(const TestHttpServer::Reply& reply)
{
    QByteArray head;
    for (int i = 0; i < reply.informational; ++i)
        head += "HTTP/1.1 100 Continue\r\n\r\n";
    head += "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' +
            (reply.reason.isEmpty() ? usualReason(reply.status) : reply.reason) + "\r\n";
    if (!reply.contentType.isEmpty())
        head += "Content-Type: " + reply.contentType + "\r\n";
    if (!reply.contentLength.isEmpty())
        head += "Content-Length: " + reply.contentLength + "\r\n";
    else if (!reply.withoutLength && reply.status != 204)
        head += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n";
    for (const auto& header : reply.headers)
        head += header.first + ": " + header.second + "\r\n";
    head += "\r\n";
    return head;
}

/// Splits "Name: value" lines.
QList<TestHttpServer::Header> headersOf(const QByteArray& head)
{
    QList<TestHttpServer::Header> headers;
    const QList<QByteArray> lines = head.split('\n');
    for (int i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).trimmed();
        const int colon = line.indexOf(':');
        if (colon > 0)
            headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    return headers;
}

} // namespace

struct TestHttpServer::Connection
{
    int fd = -1;
    int number = 0;
    bool done = false;
    QByteArray unread;
    std::thread thread;
};

QByteArray TestHttpServer::Request::header(const QByteArray& name) const
{
    for (const auto& header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return header.second;
    }
    return {};
}

int TestHttpServer::Request::headerCount(const QByteArray& name) const
{
    return static_cast<int>(std::count_if(headers.begin(), headers.end(), [&](const Header& header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    }));
}

TestHttpServer::Reply TestHttpServer::Reply::xml(const QByteArray& body, int status)
{
    Reply reply;
    reply.status = status;
    reply.body = body;
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::text(int status, const QByteArray& line)
{
    Reply reply = xml(line, status);
    reply.contentType = "text/plain; charset=utf-8";
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::bare(int status)
{
    Reply reply = xml({}, status);
    reply.contentType.clear();
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::never()
{
    Reply reply;
    reply.silent = true;
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::reset()
{
    Reply reply;
    reply.silent = true;
    reply.ending = Ending::Reset;
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::raw(const QByteArray& bytes)
{
    Reply reply;
    reply.verbatim = bytes;
    reply.ending = Ending::Close;
    return reply;
}

TestHttpServer::Reply TestHttpServer::Reply::redirect(const QByteArray& location, int status)
{
    Reply reply = bare(status);
    return reply.withHeader("Location", location);
}

TestHttpServer::Reply& TestHttpServer::Reply::heldBack()
{
    held = true;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::dripping(int intervalMs)
{
    dripInterval = intervalMs;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::cutAfter(int bytes)
{
    bodyBytes = bytes;
    ending = Ending::Close;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::resetAfter(int bytes)
{
    bodyBytes = bytes;
    ending = Ending::Reset;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::lengthSaid(const QByteArray& length)
{
    contentLength = length;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::withInformational(int count)
{
    informational = count;
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::withHeader(const QByteArray& name, const QByteArray& value)
{
    headers.append({name, value});
    return *this;
}

TestHttpServer::Reply& TestHttpServer::Reply::thenClose()
{
    ending = Ending::Close;
    return *this;
}

TestHttpServer::TestHttpServer(quint16 port, quint32 address)
    : m_port(port)
{
    m_listener = boundSocket(m_port, address);
    if (::listen(m_listener, 64) != 0)
        qFatal("The test server cannot listen");
    m_acceptor = std::thread([this] { accept(); });
}

TestHttpServer::~TestHttpServer()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    // A shut-down listener makes the blocked accept() return.
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    ::close(m_listener);
    dropConnections();
    for (const auto& connection : m_connections)
        connection->thread.join();
}

void TestHttpServer::setReply(const QByteArray& method, const QByteArray& target, const Reply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_replies[routeKey(method, target)] = reply;
}

void TestHttpServer::setReply(const QByteArray& method, const QByteArray& target, int status,
                              const QByteArray& body)
{
    setReply(method, target, Reply::xml(body, status));
}

void TestHttpServer::addReplyOnce(const QByteArray& method, const QByteArray& target, const Reply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_onceReplies[routeKey(method, target)].append(reply);
}

void TestHttpServer::setHandler(Handler handler)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_handler = std::move(handler);
}

void TestHttpServer::clearReplies()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_replies.clear();
    m_onceReplies.clear();
    m_handler = nullptr;
}

void TestHttpServer::release()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_released = true;
    }
    m_changed.notify_all();
}

void TestHttpServer::hold()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_released = false;
}

QList<TestHttpServer::Request> TestHttpServer::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

TestHttpServer::Request TestHttpServer::lastRequest() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests.isEmpty() ? Request() : m_requests.last();
}

int TestHttpServer::requestCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests.size();
}

int TestHttpServer::requestCount(const QByteArray& method, const QByteArray& target) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(std::count_if(m_requests.begin(), m_requests.end(), [&](const Request& request) {
        return request.method == method && request.target == target;
    }));
}

void TestHttpServer::clearRequests()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_requests.clear();
}

bool TestHttpServer::waitForRequests(int count, int timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&] { return m_requests.size() >= count; });
}

int TestHttpServer::connectionCount() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connectionCount;
}

int TestHttpServer::openConnections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_openConnections;
}

bool TestHttpServer::waitForOpenConnections(int count, int timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                              [&] { return m_openConnections == count; });
}

void TestHttpServer::dropConnections()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& connection : m_connections) {
        if (connection->fd >= 0)
            ::shutdown(connection->fd, SHUT_RDWR);
    }
}

void TestHttpServer::accept()
{
    for (;;) {
        const int fd = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (fd < 0 || m_stopping) {
            if (fd >= 0)
                ::close(fd);
            if (m_stopping)
                return;
            continue;
        }
        const int on = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        // Threads of ended connections are collected here, so that thousands of connections are no burden.
        for (auto it = m_connections.begin(); it != m_connections.end();) {
            if ((*it)->done) {
                (*it)->thread.join();
                it = m_connections.erase(it);
            } else {
                ++it;
            }
        }
        auto connection = std::make_unique<Connection>();
        connection->fd = fd;
        connection->number = ++m_connectionCount;
        ++m_openConnections;
        Connection* served = connection.get();
        m_connections.push_back(std::move(connection));
        served->thread = std::thread([this, served] { serve(*served); });
        m_changed.notify_all();
    }
}

void TestHttpServer::serve(Connection& connection)
{
    Request request;
    while (readRequest(connection, request)) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_requests.append(request);
        }
        m_changed.notify_all();
        if (!answer(connection, replyFor(request)))
            break;
        request = Request();
    }
    close(connection, false);
    const std::lock_guard<std::mutex> lock(m_mutex);
    connection.done = true;
}

bool TestHttpServer::readRequest(Connection& connection, Request& request)
{
    char block[65536];
    const auto readMore = [&] {
        const ssize_t count = ::recv(connection.fd, block, sizeof block, 0);
        if (count > 0)
            connection.unread.append(block, static_cast<int>(count));
        return count > 0;
    };
    int end = -1;
    while ((end = connection.unread.indexOf("\r\n\r\n")) < 0) {
        if (!readMore())
            return false;
    }
    const QByteArray head = connection.unread.left(end);
    const QByteArray firstLine = head.left(head.indexOf("\r\n"));
    const int blank = firstLine.indexOf(' ');
    request.method = firstLine.left(blank);
    request.target = firstLine.mid(blank + 1, firstLine.lastIndexOf(' ') - blank - 1);
    request.headers = headersOf(head);
    request.connection = connection.number;
    const int length = request.header("Content-Length").toInt();
    connection.unread.remove(0, end + 4);
    while (connection.unread.size() < length) {
        if (!readMore())
            return false;
    }
    request.body = connection.unread.left(length);
    connection.unread.remove(0, length);
    return true;
}

TestHttpServer::Reply TestHttpServer::replyFor(const Request& request)
{
    Handler handler;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const QByteArray key = routeKey(request.method, request.target);
        const auto once = m_onceReplies.find(key);
        if (once != m_onceReplies.end() && !once->second.isEmpty())
            return once->second.takeFirst();
        const auto reply = m_replies.find(key);
        if (reply != m_replies.end())
            return reply->second;
        handler = m_handler;
    }
    return handler ? handler(request) : Reply::text(404, "There is nothing of that name");
}

bool TestHttpServer::answer(Connection& connection, const Reply& reply)
{
    if (reply.held) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_released || m_stopping; });
    }
    if (reply.silent && reply.ending == Ending::KeepAlive) {
        // Until the client goes away or the server ends.
        char block[4096];
        while (::recv(connection.fd, block, sizeof block, 0) > 0) {
        }
        return false;
    }
    bool sent = true;
    if (!reply.silent) {
        QByteArray bytes = reply.verbatim;
        if (bytes.isEmpty())
            bytes = headOf(reply) + (reply.bodyBytes < 0 ? reply.body : reply.body.left(reply.bodyBytes));
        sent = send(connection, bytes, reply.dripInterval);
    }
    if (reply.ending == Ending::Reset)
        close(connection, true);
    return sent && reply.ending == Ending::KeepAlive && !reply.withoutLength;
}

bool TestHttpServer::send(Connection& connection, const QByteArray& bytes, int dripInterval)
{
    int done = 0;
    while (done < bytes.size()) {
        const int step = dripInterval < 0 ? bytes.size() - done : 1;
        const ssize_t count =
            ::send(connection.fd, bytes.constData() + done, static_cast<size_t>(step), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        done += static_cast<int>(count);
        if (dripInterval > 0) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait_for(lock, std::chrono::milliseconds(dripInterval), [&] { return m_stopping; });
        }
    }
    return true;
}

void TestHttpServer::close(Connection& connection, bool reset)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (connection.fd < 0)
            return;
        if (reset) {
            // Lingering for no time at all makes close() send a reset.
            const linger none = {1, 0};
            ::setsockopt(connection.fd, SOL_SOCKET, SO_LINGER, &none, sizeof none);
        }
        ::close(connection.fd);
        connection.fd = -1;
        --m_openConnections;
    }
    m_changed.notify_all();
}

ScopedConnectPort::ScopedConnectPort(quint16 port)
    : m_wasSet(qEnvironmentVariableIsSet(kConnectPortVariable))
    , m_before(qgetenv(kConnectPortVariable))
{
    qputenv(kConnectPortVariable, QByteArray::number(port));
}

ScopedConnectPort::~ScopedConnectPort()
{
    if (m_wasSet)
        qputenv(kConnectPortVariable, m_before);
    else
        qunsetenv(kConnectPortVariable);
}

RefusingPort::RefusingPort()
{
    // Bound but never listening: connections are refused, and nobody else can be given the port.
    m_socket = boundSocket(m_port);
}

RefusingPort::~RefusingPort()
{
    ::close(m_socket);
}

DeafPort::DeafPort()
{
    // The queue of connections that nobody accepts is filled up, so the next ones are not even answered.
    m_listener = boundSocket(m_port);
    ::listen(m_listener, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_port);
    for (int i = 0; i < 4; ++i) {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        // Under way for ever or refused: both are as good.
        (void)::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
        m_waiting.push_back(fd);
    }
}

DeafPort::~DeafPort()
{
    for (const int fd : m_waiting)
        ::close(fd);
    ::close(m_listener);
}
