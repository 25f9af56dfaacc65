#pragma once

#include "RestClientExchange.h"
#include "RestClientTransfer.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace StandInHost {

/// Drives all exchanges of the process: one thread, one libcurl multi handle, connections kept alive.
class RestWorker
{
public:
    /// Sends \a exchange on its way and returns at once. The exchange finishes in any case: with an outcome,
    /// or with the reason why there is none. Safe from any thread, also while the process ends.
    static void start(const std::shared_ptr<RestExchange>& exchange);

    RestWorker(const RestWorker&) = delete;
    RestWorker& operator=(const RestWorker&) = delete;

private:
    RestWorker();
    ~RestWorker();

    RestFailure enqueue(const std::shared_ptr<RestExchange>& exchange);
    void run();
    /// Takes over what was enqueued. \return whether the worker is to go on.
    bool takeOver();
    /// \param bySocket whether the service's socket may be used where there is one.
    void add(const std::shared_ptr<RestExchange>& exchange, bool bySocket);
    void collectFinished();
    int pollTimeout() const;

    struct Cleanup
    {
        void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
    };

    std::unique_ptr<CURLM, Cleanup> m_multi;
    // The worker's thread only. After the multi handle: transfers must be gone before it.
    std::unordered_map<CURL*, std::unique_ptr<RestTransfer>> m_transfers;
    std::chrono::steady_clock::time_point m_end = std::chrono::steady_clock::time_point::max();

    std::mutex m_mutex;
    std::vector<std::shared_ptr<RestExchange>> m_queue;
    std::size_t m_underWay = 0;
    bool m_stopping = false;

    std::thread m_thread;
};

} // namespace StandInHost
