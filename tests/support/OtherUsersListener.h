#pragma once

#include <QtGlobal>

#include <sys/types.h>

/// A listener on a port of 127.0.0.1 that belongs to another user. Only root can make one.
class OtherUsersListener
{
public:
    /// A user without a name, who is neither root nor the one who runs the test.
    static constexpr uid_t kUser = 54321;

    /// \param port 0 for any.
    explicit OtherUsersListener(quint16 port = 0);
    ~OtherUsersListener();
    OtherUsersListener(const OtherUsersListener&) = delete;
    OtherUsersListener& operator=(const OtherUsersListener&) = delete;

    /// 0 when there is none.
    quint16 port() const { return m_port; }
    /// Waits until a connection was taken and ended by the other side. \return how many bytes it brought;
    /// -1 when the listener is gone.
    int bytesOfNextConnection();

private:
    pid_t m_process = -1;
    int m_pipe = -1;
    quint16 m_port = 0;
};

/// Gives this process a network of its own, in which every port is free. \return false where that is not
/// allowed. To be called before any other thread is started.
bool takeOwnNetwork();
