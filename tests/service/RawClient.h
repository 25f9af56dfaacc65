#pragma once

#include <QByteArray>
#include <QString>

/// One connection to the service, spoken on byte by byte.
class RawClient
{
public:
    RawClient() = default;
    ~RawClient();
    RawClient(RawClient&& other) noexcept;
    RawClient& operator=(RawClient&& other) noexcept;

    /// Lets this process have as many connections as the system allows it. \return false when it cannot be
    /// set.
    static bool allowMany();
    static RawClient toPort(int port);
    static RawClient toPortBySix(int port);
    static RawClient toSocket(const QString& path);

    bool isOpen() const { return m_socket >= 0; }
    int descriptor() const { return m_socket; }
    /// Sends all of it; false when the other side does not take it.
    bool send(const QByteArray& bytes) const;
    /// One answer, head and body; empty when the connection ended before it was whole.
    QByteArray answer();
    /// All that comes until the other side ends the connection.
    QByteArray toTheEnd();
    /// True when the other side has neither sent anything nor ended the connection.
    bool isQuiet() const;
    void close();

    /// A request as the module's client sends it.
    static QByteArray get(const QByteArray& path);
    /// The status of \a answer; 0 when there is none.
    static int status(const QByteArray& answer) { return answer.mid(9, 3).toInt(); }

private:
    int m_socket = -1;
    QByteArray m_read; ///< what came after the answer asked for
};
