#include "queue/Worker.h"

#include "base/Bounded.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "media/ClipFiles.h"
#include "media/LinkSettings.h"

#include <algorithm>
#include <exception>
#include <unordered_map>

/// The tasks of the worker that wait for a thread: how they are shown and called off.
namespace krxservice {

namespace {

constexpr std::size_t kMostShown = 1000;             ///< jobs made together
constexpr std::chrono::milliseconds kPatience{2000}; ///< with a disk, while a client waits

} // namespace

template <typename Matches>
std::vector<Worker::Task> Worker::cancelWhere(Matches matches)
{
    const std::lock_guard lock(m_mutex);
    std::vector<Task> waiting;
    const auto out = std::stable_partition(m_queue.begin(), m_queue.end(),
                                           [&](const Task& task) { return !matches(task); });
    for (auto task = out; task != m_queue.end(); ++task) {
        m_queued.erase(keyOf(*task));
        noLongerWaits(*task);
        waiting.push_back(std::move(*task));
    }
    m_queue.erase(out, m_queue.end());
    for (auto& [what, pause] : m_paused) {
        const auto gone = std::stable_partition(pause.tasks.begin(), pause.tasks.end(),
                                                [&](const Task& task) { return !matches(task); });
        waiting.insert(waiting.end(), gone, pause.tasks.end());
        pause.tasks.erase(gone, pause.tasks.end());
    }
    for (auto& task : m_running) {
        if (matches(task))
            *task.cancel = true;
    }
    return waiting;
}

void Worker::cancelJob(const std::string& jobId, bool isNoted)
{
    const auto waiting = cancelWhere([&](const Task& task) { return task.jobId == jobId; });
    endWaiting(waiting);
    // The watcher leaves alone what is still to be worked on.
    for (const auto& task : waiting) {
        if (!task.folderId.empty())
            m_fileDone(task.folderId, task.path, isNoted ? std::nullopt : callOff(task));
    }
    learnCalledOff();
}

/// True when a client does not want what the task is about.
bool Worker::isCancelled(const Task& task)
{
    if (task.jobId.empty())
        return false;
    const auto job = m_stores.jobs.find(task.jobId);
    return !job || job->state == jobstate::kCancelled;
}

/// Notes of a file that nobody wants it, when nothing was begun of which the database knows. \return the
/// stamp of what is known now.
std::optional<FileStamp> Worker::callOff(const Task& task)
{
    const auto folder = m_stores.folders.find(task.folderId);
    const auto profile = folder ? m_stores.profiles.find(folder->profile) : std::nullopt;
    if (const auto recipe = profile ? profiledocument::recipe(*profile) : Refusal{404, {}}) {
        FileOrder order;
        order.ownerKind = "folder";
        order.ownerId = folder->id;
        order.ownerPath = folder->path;
        order.path = task.path;
        order.profile = *recipe;
        const bool joins = LinkSettings::read(recipe->settings).joinsAllPictures;
        const auto files = within<ClipFiles>(kPatience, [path = task.path, root = folder->path, joins] {
            return clipfiles::of(path, root, joins);
        });
        if (files)
            return m_pipeline.callOff(order, *files,
                                      m_stores.jobs.find(task.jobId) ? task.jobId : std::string());
    }
    return std::nullopt;
}

/// What the job for a file of the folder is like; nothing when its profile orders no actions.
std::optional<JobRecord> Worker::jobOf(const std::string& folderId)
{
    const auto folder = m_stores.folders.find(folderId);
    const auto profile = folder && folder->enabled ? m_stores.profiles.find(folder->profile) : std::nullopt;
    const auto recipe = profile ? profiledocument::recipe(*profile) : Refusal{404, {}};
    if (!recipe || recipe->activities.empty())
        return std::nullopt;
    JobRecord job;
    job.profile = folder->profile;
    job.groupId = folder->id;
    job.groupName = text::baseName(folder->path);
    job.state = jobstate::kSubmitted;
    return job;
}

/// Gives those that wait, and that actions are ordered for, the jobs by which clients see them and can call
/// them off.
void Worker::showWaiting(std::unique_lock<std::mutex>& lock)
{
    std::map<std::string, std::vector<std::string>> paths; // by folder
    for (std::size_t count = 0; count < kMostShown && !m_unshown.empty(); m_unshown.pop_front()) {
        const auto& [folder, path] = m_unshown.front();
        if (m_queued.count(folder + '/' + path) == 0)
            continue;
        paths[folder].push_back(path);
        ++count;
    }
    lock.unlock();
    std::vector<JobRecord> jobs;
    std::unordered_map<std::string, std::string> idOf; // by key
    try {
        for (const auto& [folder, all] : paths) {
            const auto job = jobOf(folder);
            for (std::size_t i = 0; job && i < all.size(); ++i) {
                jobs.push_back(*job);
                jobs.back().path = all[i];
            }
        }
        const auto ids = m_stores.jobs.createAll(jobs);
        for (std::size_t i = 0; i < ids.size(); ++i)
            idOf[jobs[i].groupId + '/' + jobs[i].path] = ids[i];
    } catch (const std::exception& failure) {
        log::warning(std::string("waiting clips are not shown as jobs: ") + failure.what());
    }
    lock.lock();
    if (idOf.empty())
        return;
    for (auto& task : m_queue) {
        const auto found = task.jobId.empty() ? idOf.find(keyOf(task)) : idOf.end();
        if (found == idOf.end())
            continue;
        task.jobId = found->second;
        ClipNews news{ClipStage::Waiting, kWaits};
        news.job = task.jobId;
        m_stores.clips.tell(task.folderId, task.path, news);
        idOf.erase(found);
    }
    // Those whose work began meanwhile have others.
    lock.unlock();
    for (const auto& [key, id] : idOf)
        m_stores.jobs.remove(id);
    lock.lock();
}

void Worker::cancelFolder(const std::string& folderId)
{
    // Nobody comes back to the jobs of files that were to be tried again.
    const auto waiting = cancelWhere([&](const Task& task) { return task.folderId == folderId; });
    endWaiting(waiting);
    for (const auto& task : waiting) {
        if (!task.jobId.empty())
            m_stores.jobs.remove(task.jobId);
    }
}

} // namespace krxservice
