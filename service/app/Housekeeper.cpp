#include "app/Housekeeper.h"

#include "base/Log.h"

#include <chrono>
#include <exception>

namespace krxservice {

namespace {

/// Requests often come in rows; what they changed is kept together.
constexpr std::chrono::milliseconds kPause{200};

} // namespace

Housekeeper::Housekeeper(std::vector<Chore> chores, double seconds)
    : m_chores(std::move(chores))
    , m_seconds(seconds)
{
}

Housekeeper::~Housekeeper()
{
    stop();
}

void Housekeeper::start()
{
    m_thread = std::thread([this] { run(); });
}

void Housekeeper::stop()
{
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

void Housekeeper::poke()
{
    {
        const std::lock_guard lock(m_mutex);
        m_poked = true;
    }
    m_wake.notify_all();
}

void Housekeeper::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        if (m_wake.wait_for(lock, std::chrono::duration<double>(m_seconds),
                            [this] { return m_poked || m_stopping; }))
            m_wake.wait_for(lock, kPause, [this] { return m_stopping; });
        m_poked = false;
        lock.unlock();
        doAll();
        lock.lock();
    }
}

void Housekeeper::doAll()
{
    for (const auto& chore : m_chores) {
        try {
            chore();
        } catch (const std::exception& failure) {
            // Said once while it stays the same: a full disk fails every time.
            if (m_lastFailure != failure.what())
                log::error(std::string("a regular task failed: ") + failure.what());
            m_lastFailure = failure.what();
        }
    }
}

} // namespace krxservice
