#pragma once

#include "HostComponentFactory.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace StandInHost {

class RestExchange;

/// Cuts short what one thread waits for: for a thread that is to end and must not wait for a silent service.
/// The exchanges themselves go on. Safe from any thread.
class KRX_HOST_API RestWaits
{
public:
    /// From now on \a waits cuts short what the calling thread waits for; null for nobody.
    static void follow(std::shared_ptr<RestWaits> waits);

    RestWaits() = default;
    RestWaits(const RestWaits&) = delete;
    RestWaits& operator=(const RestWaits&) = delete;

    /// Ends the wait of the thread that follows, and every further one at once: as if its time were over.
    void end();
    bool hasEnded() const { return m_ended.load(std::memory_order_acquire); }

private:
    friend class RestExchange;

    static std::shared_ptr<RestWaits> ofThisThread();
    void setAwaited(RestExchange* exchange);

    std::mutex m_mutex;
    RestExchange* m_awaited = nullptr;
    std::atomic<bool> m_ended{false};
};

} // namespace StandInHost
