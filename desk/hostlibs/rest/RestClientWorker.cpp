#include "RestClientWorker.h"

#include "ServiceSocket.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <system_error>

namespace StandInHost {

namespace {

/// Kept-alive connections at most.
constexpr long kKeptConnections = 8;
/// Nothing needs to happen while the worker sleeps; it is woken for every new exchange.
constexpr int kIdleMs = 60 * 60 * 1000;

/// Set while the worker goes down with the process: objects that outlive it may still ask for exchanges.
std::atomic<bool> workerGone{false};

/// Starts threads with all signals blocked: they belong to the host's own threads.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before = {};
};

void finishWith(RestExchange& exchange, RestFailure failure)
{
    RestResult result;
    result.failure = failure;
    exchange.finish(std::move(result));
}

} // namespace

void RestWorker::start(const std::shared_ptr<RestExchange>& exchange)
{
    RestFailure failure = RestFailure::Ending;
    if (!workerGone.load()) {
        static RestWorker worker;
        failure = worker.enqueue(exchange);
    }
    if (failure != RestFailure::None)
        finishWith(*exchange, failure);
}

RestWorker::RestWorker()
{
    // Before this object is complete, so that what libcurl and its libraries undo at exit is undone after it.
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        throw std::bad_alloc();
    m_multi.reset(curl_multi_init());
    if (!m_multi)
        throw std::bad_alloc();
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, kKeptConnections);
    const SignalsBlocked blocked;
    m_thread = std::thread([this] { run(); });
}

RestWorker::~RestWorker()
{
    workerGone = true;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    curl_multi_wakeup(m_multi.get());
    m_thread.join();
    m_multi.reset();
    curl_global_cleanup();
}

RestFailure RestWorker::enqueue(const std::shared_ptr<RestExchange>& exchange)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stopping)
            return RestFailure::Ending;
        if (m_underWay >= exchange->limits().exchanges)
            return RestFailure::TooManyExchanges;
        m_queue.push_back(exchange);
        ++m_underWay;
    }
    curl_multi_wakeup(m_multi.get());
    return RestFailure::None;
}

void RestWorker::run()
{
    while (takeOver()) {
        int running = 0;
        curl_multi_perform(m_multi.get(), &running);
        collectFinished();
        curl_multi_poll(m_multi.get(), nullptr, 0, pollTimeout(), nullptr);
    }
    for (const auto& transfer : m_transfers) {
        curl_multi_remove_handle(m_multi.get(), transfer.first);
        transfer.second->fail(RestFailure::Ending);
    }
    m_transfers.clear();
}

bool RestWorker::takeOver()
{
    std::vector<std::shared_ptr<RestExchange>> queue;
    bool stopping = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        queue.swap(m_queue);
        stopping = m_stopping;
    }
    for (const auto& exchange : queue)
        add(exchange, true);
    if (!stopping)
        return true;
    // The last notices to the service get a moment, but nobody waits for a dead service when a program ends.
    const auto now = std::chrono::steady_clock::now();
    if (m_end == std::chrono::steady_clock::time_point::max())
        m_end = now + std::chrono::milliseconds(restClientLimits().exitGraceMs);
    return !m_transfers.empty() && now < m_end;
}

void RestWorker::add(const std::shared_ptr<RestExchange>& exchange, bool bySocket)
{
    try {
        const bool mayUseSocket = bySocket && exchange->request().url.isServicePort;
        auto transfer =
            std::make_unique<RestTransfer>(exchange, mayUseSocket ? ownServiceSocket() : std::string());
        CURL* const handle = transfer->handle();
        m_transfers.emplace(handle, std::move(transfer));
        if (curl_multi_add_handle(m_multi.get(), handle) == CURLM_OK)
            return;
        m_transfers.erase(handle);
    } catch (const std::exception&) {
        // Only memory can be short here; the exchange fails below.
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_underWay;
    }
    finishWith(*exchange, RestFailure::NoMemory);
}

void RestWorker::collectFinished()
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* const handle = message->easy_handle;
        const CURLcode code = message->data.result;
        curl_multi_remove_handle(m_multi.get(), handle);
        const auto found = m_transfers.find(handle);
        const std::unique_ptr<RestTransfer> transfer = std::move(found->second);
        m_transfers.erase(found);
        if (transfer->mayTryPort(code)) {
            // A socket that was left by a service that is gone: the service may be at the port.
            add(transfer->exchange(), false);
            continue;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            --m_underWay;
        }
        transfer->finish(code);
    }
}

int RestWorker::pollTimeout() const
{
    if (m_end == std::chrono::steady_clock::time_point::max())
        return kIdleMs;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(m_end - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0)) + 1;
}

} // namespace StandInHost
