#include "http/Usher.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

namespace krxservice {

namespace {

constexpr std::size_t kMostWaiting = Usher::kMostAtOnce / 4; ///< and as many that are just being told
constexpr std::size_t kMostTold = Usher::kMostAtOnce / 2;
constexpr std::chrono::milliseconds kTimeToRead{500};

/// Closing with bytes unread makes the kernel answer with a reset, which is all that some clients then see.
void takeLeaveOf(int socket)
{
    std::array<char, 16384> waste{};
    ::recv(socket, waste.data(), waste.size(), MSG_DONTWAIT);
    ::close(socket);
}

} // namespace

Usher::Usher(std::string words)
    : m_words(std::move(words))
{
}

Usher::~Usher()
{
    stop();
}

void Usher::start()
{
    m_ends = false;
    m_thread = std::thread([this] { run(); });
}

void Usher::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ends = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void Usher::showOut(int socket)
{
    std::size_t waiting = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_ends && m_waiting.size() < kMostWaiting) {
            m_waiting.push_back(socket);
            waiting = m_waiting.size();
        }
    }
    if (waiting == 1)
        m_changed.notify_one();
    if (waiting > 0)
        return;
    // What is on its way over a loopback is in the other end's buffer when send() comes back, and stays there
    // whatever follows. So nobody has to be kept to be told.
    speakTo(socket);
    takeLeaveOf(socket);
}

void Usher::speakTo(int socket) const
{
    // Words and farewell go out as one.
    ::send(socket, m_words.data(), m_words.size(), MSG_DONTWAIT | MSG_NOSIGNAL | MSG_MORE);
    ::shutdown(socket, SHUT_WR);
}

void Usher::run()
{
    std::vector<int> now;
    for (;;) {
        bool ends = false;
        {
            std::unique_lock lock(m_mutex);
            const auto hasWork = [this] { return m_ends || !m_waiting.empty(); };
            if (m_told.empty())
                m_changed.wait(lock, hasWork);
            else
                m_changed.wait_until(lock, m_told.front().until, hasWork);
            now.swap(m_waiting);
            ends = m_ends;
        }
        for (const int socket : now)
            tell(socket);
        now.clear();
        while (!m_told.empty() && (ends || m_told.front().until <= Clock::now()))
            forgetFirst();
        if (ends)
            return;
    }
}

void Usher::tell(int socket)
{
    speakTo(socket);
    m_told.push_back({socket, Clock::now() + kTimeToRead});
    if (m_told.size() > kMostTold)
        forgetFirst();
}

void Usher::forgetFirst()
{
    takeLeaveOf(m_told.front().socket);
    m_told.pop_front();
}

} // namespace krxservice
