#include "app/EndGuard.h"

#include "base/Log.h"

#include <chrono>
#include <cstdlib>

namespace krxservice {

namespace {

constexpr std::chrono::milliseconds kTimeToEnd{1700};
constexpr std::chrono::milliseconds kTimeToTell{100};

} // namespace

EndGuard::EndGuard(int exitCode)
    : m_thread([this, exitCode] {
        std::unique_lock lock(m_mutex);
        if (m_done.wait_for(lock, kTimeToEnd, [this] { return m_isDone; }))
            return;
        log::warning("some work does not come to its end and is taken up at the next start");
        log::flush(kTimeToTell);
        std::_Exit(exitCode);
    })
{
}

EndGuard::~EndGuard()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isDone = true;
    }
    m_done.notify_one();
    m_thread.join();
}

} // namespace krxservice
