#include "RestWaits.h"

#include "RestClientExchange.h"

#include <utility>

namespace StandInHost {

namespace {

std::shared_ptr<RestWaits>& current()
{
    static thread_local std::shared_ptr<RestWaits> waits;
    return waits;
}

} // namespace

void RestWaits::follow(std::shared_ptr<RestWaits> waits)
{
    current() = std::move(waits);
}

std::shared_ptr<RestWaits> RestWaits::ofThisThread()
{
    return current();
}

void RestWaits::end()
{
    m_ended.store(true, std::memory_order_release);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_awaited != nullptr)
        m_awaited->wake();
}

void RestWaits::setAwaited(RestExchange* exchange)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_awaited = exchange;
}

} // namespace StandInHost
