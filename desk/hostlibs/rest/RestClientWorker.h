#pragma once

#include "RestClientExchange.h"
#include "RestClientTransfer.h"

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace StandInHost {

/// Drives all exchanges of the process with one libcurl multi handle, connections kept alive. One thread at a
/// time has the turn to drive it, and drives all that is under way: whoever waits for an exchange of its own,
/// so that nothing is handed to another thread and back; and this object's thread for what nobody waits for.
class RestWorker
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Sends \a exchange on its way and returns at once. The exchange finishes in any case: with an outcome,
    /// or with the reason why there is none. Safe from any thread, also while the process ends.
    static void start(const std::shared_ptr<RestExchange>& exchange);
    /// Drives what is under way until \a deadline at the longest and while \a goesOn says so. Returns at
    /// once, and earlier than that, when another thread does: the caller then has nothing to do but wait.
    /// Safe from any thread, also while the process ends.
    static void drive(TimePoint deadline, const std::function<bool()>& goesOn);
    /// Has the thread that drives ask again whether it goes on. Safe from any thread, also while the process
    /// ends.
    static void nudge();

    RestWorker(const RestWorker&) = delete;
    RestWorker& operator=(const RestWorker&) = delete;

private:
    RestWorker();
    ~RestWorker();

    RestFailure enqueue(const std::shared_ptr<RestExchange>& exchange);
    /// \return whether the caller has the turn now; not when another caller has it.
    bool takeTurn(TimePoint deadline);
    void giveTurnBack(bool threadAtOnce);
    /// Has the thread of this object take the turn, at once or after a moment in which another may take it.
    /// Under the mutex.
    void callThread(bool atOnce);
    /// \param nanoseconds how long the thread sleeps from now on; 0 for as long as nobody calls it.
    void setTimer(long nanoseconds);
    void run();
    /// The thread's turn. \return whether there may be another.
    bool driveAll();
    /// Whether the thread keeps its turn; otherwise it is given back.
    bool keepsTurn();
    // What stands here belongs to whoever has the turn.
    /// Takes over what was enqueued, and moves everything as far as it goes without waiting.
    void step() noexcept;
    void admit();
    /// \param bySocket whether the service's socket may be used where there is one.
    void add(const std::shared_ptr<RestExchange>& exchange, bool bySocket);
    void collectFinished();
    void poll(TimePoint deadline);
    void failAll();

    enum class Driver { Nobody, Caller, Thread };

    struct Cleanup
    {
        void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
    };

    std::unique_ptr<CURLM, Cleanup> m_multi;
    // Belongs to whoever has the turn. After the multi handle: transfers must be gone before it.
    std::unordered_map<CURL*, std::unique_ptr<RestTransfer>> m_transfers;
    TimePoint m_end = TimePoint::max();

    std::mutex m_mutex;
    std::vector<std::shared_ptr<RestExchange>> m_queue;
    std::size_t m_underWay = 0;
    Driver m_driver = Driver::Nobody;
    /// Who wants the turn that the thread has, and is told when it gives it back.
    int m_asking = 0;
    std::condition_variable m_turn;
    bool m_isCalledAtOnce = false;
    std::atomic<bool> m_stopping{false};

    /// What the thread sleeps on: a timer, as setting one wakes nobody up.
    const int m_call;
    std::thread m_thread;
};

} // namespace StandInHost
