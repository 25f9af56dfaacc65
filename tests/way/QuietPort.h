#pragma once

#include <QFile>
#include <QRandomGenerator>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// A port of 127.0.0.1 for a service that a test starts again and again. It lies below those that the system
/// hands out, so that no connection and no other server is given it by chance while the service is down; and
/// it is held against other tests for as long as this object lives, by the socket for datagrams of the same
/// number.
class QuietPort
{
public:
    QuietPort()
    {
        constexpr int kTries = 1000;
        for (int i = 0; i < kTries && m_held < 0; ++i) {
            m_port = static_cast<quint16>(QRandomGenerator::global()->bounded(kLeast, firstHandedOut()));
            m_held = bound(SOCK_DGRAM);
            // Somebody may listen there who knows nothing of this.
            const int listener = m_held < 0 ? -1 : bound(SOCK_STREAM);
            if (listener < 0 && m_held >= 0) {
                ::close(m_held);
                m_held = -1;
            }
            if (listener >= 0)
                ::close(listener);
        }
    }
    ~QuietPort()
    {
        if (m_held >= 0)
            ::close(m_held);
    }
    QuietPort(const QuietPort&) = delete;
    QuietPort& operator=(const QuietPort&) = delete;

    /// 0 when there is none.
    quint16 port() const { return m_held < 0 ? quint16(0) : m_port; }

    /// The least port that the system hands out by itself.
    static int firstHandedOut()
    {
        constexpr int kUsual = 32768;
        QFile range(QStringLiteral("/proc/sys/net/ipv4/ip_local_port_range"));
        const int first = range.open(QIODevice::ReadOnly) ? range.readLine().split('\t').value(0).toInt() : 0;
        return first > kLeast + 1000 ? first : kUsual;
    }

private:
    static constexpr int kLeast = 12000;

    int bound(int kind) const
    {
        const int socket = ::socket(AF_INET, kind | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(m_port);
        if (socket >= 0 && ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
            return socket;
        if (socket >= 0)
            ::close(socket);
        return -1;
    }

    quint16 m_port = 0;
    int m_held = -1;
};
