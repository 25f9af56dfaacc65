#include "queue/Worker.h"

#include "files/VolumeTurn.h"

#include <algorithm>
#include <utility>

/// The tasks of the worker that wait for a volume.
namespace krxservice {

namespace {

/// Between two looks at a volume that had no space or was away.
constexpr std::chrono::milliseconds kFirstPause{500};
constexpr std::chrono::milliseconds kLongestPause{30000};
constexpr char kIs[] = " is ";
/// Before the next of those that wait for the same is tried, after the first went on.
constexpr std::chrono::milliseconds kNextPause{200};

} // namespace

/// What an earlier run said of those that waited: who still does says so again.
void Worker::forgetWaits()
{
    for (const auto& text : m_stores.errors.list()) {
        if (text.find(kIs + std::string("waiting for ")) != std::string::npos)
            m_stores.errors.remove(text);
    }
}

/// Of the file, or of what a manual job is about.
std::string Worker::pathOf(const Task& task)
{
    if (!task.path.empty())
        return task.path;
    const auto job = m_stores.jobs.find(task.jobId);
    return job ? job->path : std::string();
}

/// The task is tried again when it is time; who looks at the errors sees what is waited for, and by whom.
void Worker::pause(Task task, const std::string& waitedFor)
{
    std::string news;
    const std::string said = pathOf(task) + kIs + waitedFor;
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        Pause& pause = m_paused[waitedFor];
        const bool isNew = pause.length.count() == 0;
        pause.isForTurn = VolumeTurn::isWaitingFor(waitedFor);
        pause.length = isNew ? kFirstPause : std::min(pause.length * 2, kLongestPause);
        // That a turn was given may have been heard already, and is not to be forgotten.
        if (isNew || !pause.isForTurn)
            pause.due = std::chrono::steady_clock::now() + pause.length;
        // One clip after the other is nothing that somebody could mend.
        if (pause.said.empty() && !pause.isForTurn)
            news = pause.said = said;
        // Who waited before stays ahead of who comes to wait.
        const bool isAhead = task.waitedFor == waitedFor;
        if (!isAhead)
            task.waitsSince =
                std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
        task.waitedFor = waitedFor;
        pause.tasks.insert(isAhead ? pause.tasks.begin() : pause.tasks.end(), std::move(task));
    }
    m_wake.notify_one();
    if (!news.empty())
        m_stores.errors.add(news);
}

/// A task that waited went on: the others follow soon, and those that cannot are named then.
void Worker::endPause(const Task& task)
{
    std::string said;
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_paused.find(task.waitedFor);
        if (found == m_paused.end())
            return;
        said = std::exchange(found->second.said, std::string());
        if (found->second.tasks.empty())
            m_paused.erase(found);
        else if (!found->second.isForTurn)
            found->second.due = std::chrono::steady_clock::now();
    }
    if (!said.empty())
        m_stores.errors.remove(said);
}

/// Tasks that perhaps waited were called off: what none waits for any more is no longer said.
void Worker::endWaiting(const std::vector<Task>& tasks)
{
    for (const auto& task : tasks) {
        std::string said;
        const std::string own = pathOf(task) + kIs + task.waitedFor;
        {
            const std::lock_guard lock(m_mutex);
            const auto waits = [&](const Task& other) { return other.waitedFor == task.waitedFor; };
            const auto found = m_paused.find(task.waitedFor);
            if (found == m_paused.end())
                continue;
            Pause& pause = found->second;
            const bool isLast = pause.tasks.empty() && std::none_of(m_queue.begin(), m_queue.end(), waits) &&
                                std::none_of(m_running.begin(), m_running.end(), waits);
            // The next that cannot go on is named in its place.
            if (isLast || pause.said == own)
                said = std::exchange(pause.said, std::string());
            if (isLast)
                m_paused.erase(found);
        }
        if (!said.empty())
            m_stores.errors.remove(said);
    }
}

/// Somebody has written all that he had to write to a disk that takes one at a time.
void Worker::turnGiven()
{
    {
        const std::lock_guard lock(m_mutex);
        for (auto& [what, pause] : m_paused) {
            if (pause.isForTurn)
                pause.due = std::chrono::steady_clock::now();
        }
    }
    m_wake.notify_one();
}

/// Puts back into the queue one of each kind of waiting tasks whose time has come.
void Worker::endPauses()
{
    const auto now = std::chrono::steady_clock::now();
    for (auto& [what, pause] : m_paused) {
        if (pause.tasks.empty() || pause.due > now)
            continue;
        Task task = std::move(pause.tasks.front());
        pause.tasks.pop_front();
        pause.due = now + (pause.isForTurn ? kLongestPause : kNextPause);
        task.cancel = makeCancelToken();
        if (!m_queued.insert(keyOf(task)).second)
            continue;
        ++m_waiting[task.mount];
        m_queue.push_back(std::move(task));
    }
}

void Worker::waitForWork(std::unique_lock<std::mutex>& lock)
{
    auto due = std::chrono::steady_clock::time_point::max();
    for (const auto& [what, pause] : m_paused) {
        if (!pause.tasks.empty())
            due = std::min(due, pause.due);
    }
    if (due == std::chrono::steady_clock::time_point::max())
        m_wake.wait(lock);
    else
        m_wake.wait_until(lock, due);
}

} // namespace krxservice
