#include "SmallServer.h"

#include <QList>
#include <QMutexLocker>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <vector>

namespace {

constexpr int kBacklog = 16;
constexpr int kLookInterval = 20; // milliseconds

/// Whether a request has come whole: its head, and the body that the head announces.
bool isWhole(const QByteArray& request)
{
    const int end = int(request.indexOf("\r\n\r\n"));
    if (end < 0)
        return false;
    const QByteArray head = request.left(end).toLower();
    const int length = int(head.indexOf("content-length:"));
    const int body = length < 0 ? 0 : head.mid(length + 15).split('\r').first().trimmed().toInt();
    return request.size() >= end + 4 + body;
}

QByteArray answerTo(const QByteArray& request)
{
    const bool isNone = request.contains("/none ");
    const QByteArray body = isNone ? QByteArray("There is no such thing.") : QByteArray(SmallServer::kBody);
    return QByteArray(isNone ? "HTTP/1.1 404 Not Found" : "HTTP/1.1 200 OK") +
           "\r\nContent-Type: text/plain\r\nConnection: close\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

} // namespace

SmallServer::SmallServer()
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof place;
    auto* address = reinterpret_cast<sockaddr*>(&place);
    if (::bind(m_listener, address, size) != 0 || ::listen(m_listener, kBacklog) != 0 ||
        ::getsockname(m_listener, address, &size) != 0)
        qFatal("krx-host-check cannot listen on the loopback address");
    m_port = ntohs(place.sin_port);
    m_thread = std::thread([this] { serve(); });
}

SmallServer::~SmallServer()
{
    m_ends = true;
    m_thread.join();
    ::close(m_listener);
}

QString SmallServer::url(const char* path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(QString::fromLatin1(path));
}

QByteArray SmallServer::lastRequest() const
{
    const QMutexLocker lock(&m_mutex);
    return m_lastRequest;
}

void SmallServer::serve()
{
    std::vector<int> waiting;
    while (!m_ends) {
        pollfd wish{m_listener, POLLIN, 0};
        if (::poll(&wish, 1, kLookInterval) <= 0)
            continue;
        const int connection = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        answer(connection);
        // Who asked for what comes late keeps its connection.
        if (lastRequest().contains("/late "))
            waiting.push_back(connection);
        else
            ::close(connection);
    }
    for (int connection : waiting)
        ::close(connection);
}

void SmallServer::answer(int connection)
{
    QByteArray request;
    char part[4096];
    ssize_t count = 1;
    while (count > 0 && !isWhole(request) && !m_ends) {
        pollfd wish{connection, POLLIN, 0};
        if (::poll(&wish, 1, kLookInterval) <= 0)
            continue;
        count = ::recv(connection, part, sizeof part, 0);
        if (count > 0)
            request.append(part, int(count));
    }
    {
        const QMutexLocker lock(&m_mutex);
        m_lastRequest = request;
    }
    if (request.contains("/late "))
        return;
    const QByteArray reply = answerTo(request);
    if (::send(connection, reply.constData(), size_t(reply.size()), MSG_NOSIGNAL) != reply.size())
        qWarning("krx-host-check could not answer");
}
