#pragma once

#include "activities/Pipeline.h"
#include "files/Mounts.h"
#include "store/ClipBook.h"
#include "store/FolderStore.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace krxservice {

/// The threads that work on files, and the queue before them. When all are busy on file systems that perhaps
/// do not answer, files on another one get a thread more. Thread-safe.
class Worker
{
public:
    struct Stores
    {
        FolderStore& folders;
        ProfileStore& profiles;
        JobStore& jobs;
        ErrorStore& errors;
        ClipBook& clips; ///< is told where clips are on their way
    };
    /// Told on a working thread when the work on a file of a folder ended.
    using FileDone = std::function<void(const std::string& folderId, const std::string& path,
                                        const std::optional<FileStamp>& stamp)>;

    Worker(const Stores& stores, Pipeline& pipeline, FileDone fileDone);
    ~Worker();

    void start(int threads);
    /// Interrupts the running work (it is taken up again after a restart) and ends the threads.
    void stop();

    /// A finished file of a folder; \a jobId names a failed job that is tried again, or is empty.
    void addFile(const std::string& folderId, const std::string& path, const std::string& jobId = {});
    /// A job in the state SUBMITTED.
    void addJob(const std::string& jobId);
    /// Work that no clip waits for: done one at a time while nothing else is to be done, and not counted as
    /// activity.
    void addBackground(std::function<void(const CancelToken& cancel)> work);
    /// Interrupts a job, or takes it out of the queue. Its state is the caller's business. \a isNoted: that
    /// the file is not wanted has been noted of its clip, if there is one.
    void cancelJob(const std::string& jobId, bool isNoted);
    /// Interrupts all work for a folder, or takes it out of the queue.
    void cancelFolder(const std::string& folderId);

    /// True while something is being worked on or waits.
    bool isActive();

private:
    static constexpr char kWaits[] = "Waits for a worker";

    struct Task
    {
        std::string folderId; ///< empty for a manual job
        std::string path;
        std::string jobId;
        CancelToken cancel;
        std::string mount;     ///< the file system that it is about
        std::string waitedFor; ///< what it waited for last, "waiting for ..."
        bool isRetry = false;  ///< its job was shown before this run of it
        /// Since when it waits for that, by the steady clock in nanoseconds.
        std::int64_t waitsSince = 0;
    };
    /// Tasks that wait for the same: when it is time, one after the other is tried again.
    struct Pause
    {
        std::deque<Task> tasks;
        std::chrono::steady_clock::time_point due;
        std::chrono::milliseconds length{0};
        bool isForTurn = false; ///< for another clip, which says when it is over
        std::string said;       ///< in the list of errors, of the first of them; empty when nothing is
    };

    /// The same for tasks that must not be performed side by side.
    static std::string keyOf(const Task& task);
    void add(Task task, const std::string& path);
    void run();
    std::deque<Task>::iterator nextTask();
    std::size_t runningOn(const std::string& mount) const;
    void noLongerWaits(const Task& task);
    void helpOut();
    void runTask(std::unique_lock<std::mutex>& lock, const std::deque<Task>::iterator& next);
    void runBackground(std::unique_lock<std::mutex>& lock);
    void publish();
    void publishGroup(const std::vector<std::pair<Task, std::shared_ptr<ReadyClip>>>& group);
    void showWaiting(std::unique_lock<std::mutex>& lock);
    std::optional<JobRecord> jobOf(const std::string& folderId);
    std::optional<FileStamp> callOff(const Task& task);
    bool isCancelled(const Task& task);
    bool isBusy(const std::string& key) const;
    void pause(Task task, const std::string& waitedFor);
    void endPause(const Task& task);
    void forgetWaits();
    std::string pathOf(const Task& task);
    void endWaiting(const std::vector<Task>& tasks);
    void endPauses();
    void turnGiven();
    void waitForWork(std::unique_lock<std::mutex>& lock);
    void perform(Task& task);
    void performFile(Task& task);
    void learnCalledOff();
    void performJob(Task& task);
    FileResult processForFolder(Task& task, bool& isCalledOff);
    void follow(FileOrder& order, const Task& task);
    void tellEnd(const Task& task, const FileOrder& order, const FileResult& result);
    std::string showJob(Task& task, const FolderRecord& folder, const std::string& former);
    void endFolderJob(const Task& task, const FileResult& result, bool wasRetried);
    void giveUp(const Task& task, const std::string& reason);
    template <typename Matches>
    std::vector<Task> cancelWhere(Matches matches);

    Stores m_stores;
    Pipeline& m_pipeline;
    FileDone m_fileDone;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_queue;
    std::unordered_set<std::string> m_queued;     ///< keys of the queue
    std::map<std::string, std::size_t> m_waiting; ///< tasks of the queue, by mount; none is zero
    /// Folder and path of those of which no client could see a job yet.
    std::deque<std::pair<std::string, std::string>> m_unshown;
    Mounts m_mounts;
    std::chrono::steady_clock::time_point m_mountsRead;
    std::vector<Task> m_running;
    std::map<std::string, Pause> m_paused; ///< by what is waited for
    std::deque<std::function<void(const CancelToken& cancel)>> m_background;
    CancelToken m_backgroundCancel = makeCancelToken();
    bool m_inBackground = false;
    std::atomic<bool> m_willLearn{false}; ///< learnCalledOff() waits for its turn
    /// What waits to be published together, or is being published.
    std::vector<std::pair<Task, std::shared_ptr<ReadyClip>>> m_ready;
    std::condition_variable m_wakePublisher;
    std::thread m_publisher;
    bool m_stopping = false;
    std::size_t m_perMount = 1; ///< threads that may work on one file system
    std::vector<std::thread> m_threads;
};

} // namespace krxservice
