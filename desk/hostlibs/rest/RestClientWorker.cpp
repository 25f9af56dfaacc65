#include "RestClientWorker.h"

#include "ServiceSocket.h"

#include <pthread.h>
#include <signal.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

namespace StandInHost {

namespace {

/// Kept-alive connections at most.
constexpr long kKeptConnections = 8;
/// The longest that is waited in one piece; whoever drives is woken for every new exchange.
constexpr std::chrono::milliseconds kIdle = std::chrono::hours(1);
/// How long whoever started an exchange may take to wait for it before the worker's thread drives it.
constexpr long kGraceNs = 5L * 1000 * 1000;

/// Set while the worker goes down with the process: objects that outlive it may still ask for exchanges.
std::atomic<bool> workerGone{false};
/// The worker once there is one; the memory stays, and what is asked of it while it goes down it refuses.
std::atomic<RestWorker*> theWorker{nullptr};

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

void RestWorker::drive(TimePoint deadline, const std::function<bool()>& goesOn)
{
    RestWorker* const worker = theWorker.load();
    if (worker == nullptr || !worker->takeTurn(deadline))
        return;
    while (goesOn() && !worker->m_stopping && std::chrono::steady_clock::now() < deadline) {
        worker->poll(deadline);
        worker->step();
    }
    worker->giveTurnBack(true);
}

void RestWorker::nudge()
{
    RestWorker* const worker = theWorker.load();
    if (worker == nullptr)
        return;
    const std::lock_guard<std::mutex> lock(worker->m_mutex);
    if (!worker->m_stopping)
        curl_multi_wakeup(worker->m_multi.get());
}

RestWorker::RestWorker()
    : m_call(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC))
{
    // Before this object is complete, so that what libcurl and its libraries undo at exit is undone after it.
    if (m_call < 0 || curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        throw std::bad_alloc();
    m_multi.reset(curl_multi_init());
    if (!m_multi)
        throw std::bad_alloc();
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, kKeptConnections);
    const SignalsBlocked blocked;
    m_thread = std::thread([this] { run(); });
    pthread_setname_np(m_thread.native_handle(), "krx-rest");
    theWorker = this;
}

RestWorker::~RestWorker()
{
    workerGone = true;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        // To whoever drives, which gives the turn back, and to the thread, which then takes it.
        curl_multi_wakeup(m_multi.get());
        callThread(true);
        m_turn.notify_all();
    }
    m_thread.join();
    m_multi.reset();
    curl_global_cleanup();
    ::close(m_call);
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
        if (m_driver != Driver::Nobody) {
            curl_multi_wakeup(m_multi.get());
            return RestFailure::None;
        }
        m_driver = Driver::Caller;
    }
    // The first step is done here: on a connection that was kept, the request is sent when this returns.
    step();
    giveTurnBack(false);
    return RestFailure::None;
}

bool RestWorker::takeTurn(TimePoint deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_driver == Driver::Thread && !m_stopping) {
        // The thread lets whoever waits have it, at once: else it would keep it for as long as one request
        // follows the other.
        ++m_asking;
        curl_multi_wakeup(m_multi.get());
        m_turn.wait_until(lock, deadline, [this] { return m_driver != Driver::Thread || m_stopping; });
        --m_asking;
    }
    if (m_driver != Driver::Nobody || m_stopping)
        return false;
    m_driver = Driver::Caller;
    // Who waits drives: the thread need not look whether somebody does.
    if (!m_isCalledAtOnce)
        setTimer(0);
    return true;
}

void RestWorker::giveTurnBack(bool threadAtOnce)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_driver = Driver::Nobody;
    if (m_underWay > 0 || m_stopping)
        callThread(threadAtOnce || m_stopping || !m_queue.empty());
}

void RestWorker::callThread(bool atOnce)
{
    if (m_isCalledAtOnce)
        return;
    m_isCalledAtOnce = atOnce;
    setTimer(atOnce ? 1 : kGraceNs);
}

void RestWorker::setTimer(long nanoseconds)
{
    itimerspec when = {};
    when.it_value.tv_nsec = nanoseconds;
    ::timerfd_settime(m_call, 0, &when, nullptr);
}

void RestWorker::run()
{
    do {
        std::uint64_t times = 0;
        while (::read(m_call, &times, sizeof times) < 0 && errno == EINTR) {
        }
    } while (driveAll());
}

bool RestWorker::driveAll()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isCalledAtOnce = false;
        if (m_driver != Driver::Nobody)
            return true;
        m_driver = Driver::Thread;
    }
    for (step(); keepsTurn(); step())
        poll(m_end);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_driver != Driver::Thread)
            return true;
    }
    failAll();
    return false;
}

bool RestWorker::keepsTurn()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stopping) {
        if (m_underWay > 0 && m_asking == 0)
            return true;
        m_driver = Driver::Nobody;
        m_turn.notify_all();
        return false;
    }
    // The last notices to the service get a moment, but nobody waits for a dead service when a program ends.
    const auto now = std::chrono::steady_clock::now();
    if (m_end == TimePoint::max())
        m_end = now + std::chrono::milliseconds(restClientLimits().exitGraceMs);
    return m_underWay > 0 && now < m_end;
}

void RestWorker::step() noexcept
{
    admit();
    int running = 0;
    curl_multi_perform(m_multi.get(), &running);
    collectFinished();
}

void RestWorker::admit()
{
    std::vector<std::shared_ptr<RestExchange>> queue;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        queue.swap(m_queue);
    }
    for (const auto& exchange : queue)
        add(exchange, true);
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

void RestWorker::poll(TimePoint deadline)
{
    const auto now = std::chrono::steady_clock::now();
    auto left = kIdle;
    if (deadline < now + kIdle)
        left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
    const auto least = std::chrono::milliseconds(0);
    curl_multi_poll(m_multi.get(), nullptr, 0, static_cast<int>(std::max(left, least).count()) + 1, nullptr);
}

void RestWorker::failAll()
{
    for (const auto& transfer : m_transfers) {
        curl_multi_remove_handle(m_multi.get(), transfer.first);
        transfer.second->fail(RestFailure::Ending);
    }
    m_transfers.clear();
}

} // namespace StandInHost
