#pragma once

#include <QByteArray>
#include <QMutex>
#include <QString>

#include <atomic>
#include <thread>

/// Answers HTTP requests on the loopback address by their paths, on a thread of its own: "/ok" with five
/// bytes, "/none" with 404, and "/late" not before the server ends.
class SmallServer
{
public:
    SmallServer();
    ~SmallServer();
    SmallServer(const SmallServer&) = delete;
    SmallServer& operator=(const SmallServer&) = delete;

    /// "http://127.0.0.1:PORT" and the path.
    QString url(const char* path) const;
    /// Everything that was received last, head and body.
    QByteArray lastRequest() const;

    static constexpr char kBody[] = "hello";

private:
    void serve();
    void answer(int connection);

    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_ends{false};
    mutable QMutex m_mutex;
    QByteArray m_lastRequest;
    std::thread m_thread;
};
