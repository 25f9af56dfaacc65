#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace krxservice {

/// Shows out who is not served, on a thread of its own: tells them why, gives them a moment to read it, and
/// closes. Telling and closing cost more than finding out who somebody is; whoever waits behind a crowd to be
/// let in must not wait for that.
///
/// Everybody is told. At most kMostAtOnce sockets are held; whoever comes while there are that many is told
/// on the spot, by whoever hands him over, and closed at once.
class Usher
{
public:
    static constexpr std::size_t kMostAtOnce = 256;

    /// \a words are sent to each; they must fit into any socket's buffer.
    explicit Usher(std::string words);
    ~Usher();
    Usher(const Usher&) = delete;
    Usher& operator=(const Usher&) = delete;

    void start();
    /// Takes over a refused connection and never waits. Before start() and after stop() it is told and closed
    /// right here. Thread-safe.
    void showOut(int socket);
    /// Closes all that are left and ends the thread.
    void stop();

private:
    using Clock = std::chrono::steady_clock;

    struct Told
    {
        int socket;
        Clock::time_point until; ///< it may read until then
    };

    void run();
    void speakTo(int socket) const;
    void tell(int socket);
    void forgetFirst();

    const std::string m_words;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<int> m_waiting; ///< not told yet
    bool m_ends = true;
    std::deque<Told> m_told; ///< by their time; of the thread alone
    std::thread m_thread;
};

} // namespace krxservice
