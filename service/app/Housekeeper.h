#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace krxservice {

/// Does small things again and again on a thread of its own, where nobody waits for them.
class Housekeeper
{
public:
    using Chore = std::function<void()>;

    /// \a chores are done in this order every \a seconds, and soon after poke(). One that throws is done
    /// again the next time.
    Housekeeper(std::vector<Chore> chores, double seconds);
    ~Housekeeper();

    void start();
    /// Does all chores once more and ends.
    void stop();
    /// There is something to be done.
    void poke();

private:
    void run();
    void doAll();

    std::vector<Chore> m_chores;
    double m_seconds;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_poked = false;
    bool m_stopping = false;
    std::string m_lastFailure;
    std::thread m_thread;
};

} // namespace krxservice
