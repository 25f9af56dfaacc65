#include "RestClientExchange.h"

#include "RestClientWorker.h"
#include "RestWaits.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace StandInHost {

namespace {

constexpr std::size_t kSmallestBody = 4096;

} // namespace

bool RestBody::grow(std::size_t capacity)
{
    auto* bytes = static_cast<char*>(std::realloc(m_bytes.get(), capacity));
    if (bytes == nullptr)
        return false;
    // realloc() has taken over the old block.
    static_cast<void>(m_bytes.release());
    m_bytes.reset(bytes);
    m_capacity = capacity;
    return true;
}

void RestBody::reserve(std::size_t size)
{
    if (size > m_capacity)
        grow(size);
}

bool RestBody::append(const char* bytes, std::size_t count)
{
    if (count == 0)
        return true;
    const std::size_t needed = m_size + count;
    if (needed > m_capacity && !grow(std::max({needed, m_capacity * 2, kSmallestBody})))
        return false;
    std::memcpy(m_bytes.get() + m_size, bytes, count);
    m_size = needed;
    return true;
}

RestExchange::RestExchange(RestRequest request, const RestClientLimits& limits)
    : m_request(std::move(request))
    , m_limits(limits)
{
}

bool RestExchange::wait(std::uint32_t milliseconds)
{
    if (isFinished())
        return true;
    const std::shared_ptr<RestWaits> waits = RestWaits::ofThisThread();
    if (waits)
        waits->setAwaited(this);
    const auto goesOn = [this, &waits] { return !isFinished() && !(waits && waits->hasEnded()); };
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    RestWorker::drive(deadline, goesOn);
    if (goesOn()) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_done.wait_until(lock, deadline, [&goesOn] { return !goesOn(); });
    }
    if (waits)
        waits->setAwaited(nullptr);
    return isFinished();
}

void RestExchange::wake()
{
    // Whoever waits has either seen what is new or is waiting by now.
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
    }
    m_done.notify_all();
    RestWorker::nudge();
}

void RestExchange::finish(RestResult result)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_result = std::move(result);
        m_finished.store(true, std::memory_order_release);
    }
    m_done.notify_all();
}

} // namespace StandInHost
