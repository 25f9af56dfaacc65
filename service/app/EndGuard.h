#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace krxservice {

/// Ends the process, from its making on, when it does not come to its end by itself: a request or a look at a
/// file may hang on a dead volume for minutes. Nothing is lost by that, since whatever was under way is taken
/// up as after a crash.
class EndGuard
{
public:
    /// \a exitCode is what the process ends with when the guard has to end it.
    explicit EndGuard(int exitCode);
    /// The process has come to its end.
    ~EndGuard();
    EndGuard(const EndGuard&) = delete;
    EndGuard& operator=(const EndGuard&) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_isDone = false;
    std::thread m_thread;
};

} // namespace krxservice
