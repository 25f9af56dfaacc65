#include "store/ChangeBoard.h"

#include <algorithm>

namespace krxservice {

namespace {

constexpr std::array<std::string_view, ChangeBoard::kTopics> kWords = {"folders", "profiles", "jobs", "clips",
                                                                       "errors"};

std::uint64_t startTime()
{
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

} // namespace

ChangeBoard::ChangeBoard()
    : m_first(startTime())
    , m_version(m_first)
{
    m_changedAt.fill(m_first);
    m_thread = std::thread([this] { run(); });
}

ChangeBoard::~ChangeBoard()
{
    {
        const std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

std::string_view ChangeBoard::word(Topic topic)
{
    return kWords[static_cast<std::size_t>(topic)];
}

void ChangeBoard::changed(Topic topic)
{
    {
        const std::lock_guard lock(m_mutex);
        m_changedAt[static_cast<std::size_t>(topic)] = ++m_version;
        if (m_waiters.empty())
            return;
    }
    m_wake.notify_all();
}

std::uint64_t ChangeBoard::version() const
{
    const std::lock_guard lock(m_mutex);
    return m_version;
}

ChangeBoard::News ChangeBoard::since(std::uint64_t version) const
{
    const std::lock_guard lock(m_mutex);
    return newsSince(version);
}

ChangeBoard::News ChangeBoard::newsSince(std::uint64_t version) const
{
    News news;
    news.version = m_version;
    const bool isForeign = version < m_first || version > m_version;
    for (std::size_t i = 0; i < kTopics; ++i) {
        if (isForeign || m_changedAt[i] > version)
            news.topics.push_back(static_cast<Topic>(i));
    }
    return news;
}

void ChangeBoard::wait(std::uint64_t version, std::chrono::milliseconds longest, Listener listener)
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiters.push_back({version, Clock::now() + longest, std::move(listener)});
    }
    m_wake.notify_all();
}

void ChangeBoard::endWaits()
{
    {
        const std::lock_guard lock(m_mutex);
        m_endsWaits = true;
    }
    m_wake.notify_all();
}

std::vector<std::pair<ChangeBoard::Listener, ChangeBoard::News>> ChangeBoard::takeDue(Clock::time_point now)
{
    std::vector<std::pair<Listener, News>> due;
    const auto isOver = [&](Waiter& waiter) {
        News news = newsSince(waiter.version);
        if (news.topics.empty() && now < waiter.until && !m_ended && !m_endsWaits)
            return false;
        due.emplace_back(std::move(waiter.listener), std::move(news));
        return true;
    };
    m_waiters.erase(std::remove_if(m_waiters.begin(), m_waiters.end(), isOver), m_waiters.end());
    return due;
}

void ChangeBoard::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        const auto due = takeDue(Clock::now());
        if (!due.empty()) {
            lock.unlock();
            for (const auto& [listener, news] : due)
                listener(news);
            lock.lock();
            // Whoever asks again at once is told of what comes meanwhile in one go.
            m_wake.wait_for(lock, kGathering, [this] { return m_ended; });
            continue;
        }
        if (m_ended)
            return;
        auto until = Clock::time_point::max();
        for (const auto& waiter : m_waiters)
            until = std::min(until, waiter.until);
        if (until == Clock::time_point::max())
            m_wake.wait(lock);
        else
            m_wake.wait_until(lock, until);
    }
}

} // namespace krxservice
