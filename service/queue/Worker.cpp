#include "queue/Worker.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "watch/FileWalk.h"

#include <algorithm>
#include <exception>

namespace krxservice {

namespace {

/// What the service can still do about a job in these states.
const std::vector<std::string> kRunningOnly = {jobstate::kRunning};

} // namespace

Worker::Worker(const Stores& stores, Pipeline& pipeline, FileDone fileDone)
    : m_stores(stores)
    , m_pipeline(pipeline)
    , m_fileDone(std::move(fileDone))
{
}

Worker::~Worker()
{
    stop();
}

void Worker::start(int threads)
{
    for (int i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { run(); });
}

void Worker::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_queue.clear();
        for (auto& task : m_running)
            *task.cancel = true;
    }
    m_wake.notify_all();
    for (auto& thread : m_threads)
        thread.join();
    m_threads.clear();
}

void Worker::addFile(const std::string& folderId, const std::string& path, const std::string& jobId)
{
    add({folderId, path, jobId, makeCancelToken()});
}

void Worker::addJob(const std::string& jobId)
{
    add({{}, {}, jobId, makeCancelToken()});
}

void Worker::add(Task task)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        m_queue.push_back(std::move(task));
    }
    m_wake.notify_one();
}

template <typename Matches>
void Worker::cancelWhere(Matches matches)
{
    const std::lock_guard lock(m_mutex);
    m_queue.erase(std::remove_if(m_queue.begin(), m_queue.end(), matches), m_queue.end());
    for (auto& task : m_running) {
        if (matches(task))
            *task.cancel = true;
    }
}

void Worker::cancelJob(const std::string& jobId)
{
    cancelWhere([&](const Task& task) { return task.jobId == jobId; });
}

void Worker::cancelFolder(const std::string& folderId)
{
    cancelWhere([&](const Task& task) { return task.folderId == folderId; });
}

bool Worker::isActive()
{
    const std::lock_guard lock(m_mutex);
    return !m_queue.empty() || !m_running.empty();
}

void Worker::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
        if (m_stopping)
            return;
        Task task = std::move(m_queue.front());
        m_queue.pop_front();
        m_running.push_back(task);
        lock.unlock();
        try {
            perform(task);
        } catch (const std::exception& failure) {
            giveUp(task, failure.what());
        }
        lock.lock();
        m_running.erase(std::find_if(m_running.begin(), m_running.end(),
                                     [&](const Task& other) { return other.cancel == task.cancel; }));
    }
}

void Worker::giveUp(const Task& task, const std::string& reason)
{
    log::error("the work on " + task.path + task.jobId + " was given up: " + reason);
    try {
        m_stores.jobs.move(task.jobId, kRunningOnly, jobstate::kFailed, reason);
    } catch (const std::exception& failure) {
        log::error("the job " + task.jobId + " keeps its state: " + failure.what());
    }
    if (!task.folderId.empty())
        m_fileDone(task.folderId, task.path, std::nullopt);
}

void Worker::perform(Task& task)
{
    if (task.folderId.empty())
        performJob(task);
    else
        performFile(task);
}

void Worker::performFile(Task& task)
{
    {
        // A folder whose profile changed may report a file that is still being worked on.
        const std::lock_guard lock(m_mutex);
        const auto twin = [&](const Task& other) {
            return other.cancel != task.cancel && other.folderId == task.folderId && other.path == task.path;
        };
        if (std::any_of(m_running.begin(), m_running.end(), twin))
            *task.cancel = true;
    }
    const bool wasRetried = !task.jobId.empty();
    const FileResult result = *task.cancel ? FileResult() : processForFolder(task);
    if (result.end == FileResult::End::Failed)
        m_stores.errors.add(result.text);
    endFolderJob(task, result, wasRetried);
    m_fileDone(task.folderId, task.path, result.stamp);
}

FileResult Worker::processForFolder(Task& task)
{
    const auto folder = m_stores.folders.find(task.folderId);
    const auto profile = folder && folder->enabled ? m_stores.profiles.find(folder->profile) : std::nullopt;
    if (!profile)
        return {};
    const auto recipe = profiledocument::recipe(*profile);
    if (!recipe) {
        m_stores.errors.add("The profile " + profile->name + " cannot be read: " + recipe.refusal().text);
        return {};
    }
    FileOrder order;
    order.ownerKind = "folder";
    order.ownerId = folder->id;
    order.ownerPath = folder->path;
    order.path = task.path;
    order.profile = *recipe;
    order.cancel = task.cancel;
    order.willAct = [&] {
        if (!task.jobId.empty()) {
            m_stores.jobs.move(task.jobId, {jobstate::kSubmitted}, jobstate::kRunning);
            return;
        }
        JobRecord job;
        job.path = task.path;
        job.profile = profile->id;
        job.groupId = folder->id;
        job.groupName = text::baseName(folder->path);
        job.state = jobstate::kRunning;
        const std::string id = m_stores.jobs.create(job);
        const std::lock_guard lock(m_mutex);
        task.jobId = id;
        for (auto& running : m_running) {
            if (running.cancel == task.cancel)
                running.jobId = id;
        }
    };
    order.progress = [&](int percent) { m_stores.jobs.setPercent(task.jobId, percent); };
    order.staysCancelled = [&] {
        const auto job = m_stores.jobs.find(task.jobId);
        return job && job->state == jobstate::kCancelled;
    };
    return m_pipeline.process(order);
}

void Worker::endFolderJob(const Task& task, const FileResult& result, bool wasRetried)
{
    if (task.jobId.empty())
        return;
    const auto job = m_stores.jobs.find(task.jobId);
    // A job that a client cancelled stays to be seen; one that succeeded has its output to show for it.
    if (!job || job->state == jobstate::kCancelled)
        return;
    const bool nothingLeft = wasRetried && result.end == FileResult::End::Later && !result.text.empty();
    if (result.end == FileResult::End::Failed || nothingLeft)
        m_stores.jobs.move(task.jobId, {jobstate::kSubmitted, jobstate::kRunning}, jobstate::kFailed,
                           result.text);
    else
        m_stores.jobs.remove(task.jobId);
}

void Worker::performJob(Task& task)
{
    const auto job = m_stores.jobs.find(task.jobId);
    if (!job || !m_stores.jobs.move(task.jobId, {jobstate::kSubmitted}, jobstate::kRunning))
        return;
    log::info("job " + job->id + " begins: " + job->path);
    const auto fail = [&](const std::string& reason) {
        if (m_stores.jobs.move(job->id, kRunningOnly, jobstate::kFailed, reason))
            m_stores.errors.add("The job for " + job->path + " failed: " + reason);
    };
    const auto profile = m_stores.profiles.find(job->profile);
    const auto recipe =
        profile ? profiledocument::recipe(*profile) : Refusal{404, "its profile does not exist any more"};
    if (!recipe)
        return fail(recipe.refusal().text);

    std::vector<std::string> paths;
    if (filetools::stampOf(job->path)) {
        paths.push_back(job->path);
    } else {
        filewalk::Visitor visitor;
        visitor.file = [&](const std::string& path) { paths.push_back(path); };
        if (const int error = filewalk::walk(job->path, {}, visitor))
            return fail(text::errnoText(error));
        std::sort(paths.begin(), paths.end());
    }

    std::size_t offered = 0;
    std::string failure;
    for (std::size_t i = 0; i < paths.size() && !*task.cancel; ++i) {
        FileOrder order;
        order.ownerKind = "job";
        order.ownerId = job->id;
        order.ownerPath = job->path;
        order.path = paths[i];
        order.profile = *recipe;
        order.cancel = task.cancel;
        order.progress = [&](int percent) {
            m_stores.jobs.setPercent(
                job->id, static_cast<int>((i * 100 + static_cast<std::size_t>(percent)) / paths.size()));
        };
        const FileResult result = m_pipeline.process(order);
        if (result.end == FileResult::End::Offered || result.end == FileResult::End::Known)
            ++offered;
        else if (failure.empty() && (result.end != FileResult::End::Rejected || paths.size() == 1))
            failure = result.text;
        m_stores.jobs.setPercent(job->id, static_cast<int>((i + 1) * 100 / paths.size()));
    }
    if (*task.cancel)
        return;
    if (failure.empty() && offered == 0)
        failure = "no media was found";
    if (!failure.empty())
        return fail(failure);
    m_stores.jobs.move(job->id, kRunningOnly, jobstate::kCompleted);
    log::info("job " + job->id + " is complete");
}

} // namespace krxservice
