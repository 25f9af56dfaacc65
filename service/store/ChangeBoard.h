#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace krxservice {

/// What a client may want to read again when it changed.
enum class Topic { Folders, Profiles, Jobs, Clips, Errors };

/// Where whoever changes something says so, and whoever wants to know waits for it. Thread-safe.
///
/// Each change makes the version greater. Versions begin with the time of the start in microseconds, so that
/// one from an earlier run is smaller than every one of this run.
class ChangeBoard
{
public:
    static constexpr std::size_t kTopics = 5;
    /// Changes that come within this time of the first are told together.
    static constexpr std::chrono::milliseconds kGathering{10};

    /// What changed since a version.
    struct News
    {
        std::uint64_t version = 0; ///< to be given the next time
        std::vector<Topic> topics;
    };
    /// Called once, on a thread of the board; must not wait.
    using Listener = std::function<void(const News& news)>;

    ChangeBoard();
    /// Tells all who wait that nothing changed.
    ~ChangeBoard();
    ChangeBoard(const ChangeBoard&) = delete;
    ChangeBoard& operator=(const ChangeBoard&) = delete;

    /// The word for a topic: "folders", ...
    static std::string_view word(Topic topic);

    void changed(Topic topic);
    std::uint64_t version() const;
    /// All topics for a version that is not of this run.
    News since(std::uint64_t version) const;
    /// Calls \a listener as soon as something changed since \a version, or after \a longest with no topics.
    void wait(std::uint64_t version, std::chrono::milliseconds longest, Listener listener);
    /// From now on nobody waits: all are told what there is at once.
    void endWaits();

private:
    using Clock = std::chrono::steady_clock;
    struct Waiter
    {
        std::uint64_t version;
        Clock::time_point until;
        Listener listener;
    };

    News newsSince(std::uint64_t version) const;
    void run();
    std::vector<std::pair<Listener, News>> takeDue(Clock::time_point now);

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    const std::uint64_t m_first;
    std::uint64_t m_version;
    std::array<std::uint64_t, kTopics> m_changedAt{}; ///< the version that the last change of each topic made
    std::vector<Waiter> m_waiters;
    bool m_endsWaits = false;
    bool m_ended = false;
    std::thread m_thread;
};

} // namespace krxservice
