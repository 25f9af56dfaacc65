#include "queue/Worker.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "files/VolumeTurn.h"
#include "media/ClipFiles.h"
#include "media/LinkSettings.h"
#include "watch/FileWalk.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace krxservice {

namespace {

/// What the service can still do about a job in these states.
const std::vector<std::string> kRunningOnly = {jobstate::kRunning};

constexpr std::chrono::milliseconds kGathering{20};
constexpr std::size_t kLargestGroup = 64; ///< clips
constexpr std::size_t kMostThreads = 32;
constexpr std::size_t kLongestNotes = 1000;     ///< bytes after which a job says no more
constexpr std::chrono::seconds kMountsKnown{1}; ///< before the table of mounts is read again

/// True when \a path lies in \a folder, which may end in slashes. A folder may have moved on since.
bool isIn(const std::string& path, std::string folder)
{
    while (folder.size() > 1 && folder.back() == '/')
        folder.pop_back();
    return text::isBelow(path, folder);
}

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
    VolumeTurn::whenGiven(this, [this] { turnGiven(); });
    forgetWaits();
    const std::lock_guard lock(m_mutex);
    m_perMount = static_cast<std::size_t>(threads);
    for (int i = 0; i < threads; ++i)
        m_threads.emplace_back([this] { run(); });
    m_publisher = std::thread([this] { publish(); });
}

void Worker::stop()
{
    VolumeTurn::whenGiven(this, {});
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_queue.clear();
        m_paused.clear();
        m_queued.clear();
        m_waiting.clear();
        m_unshown.clear();
        m_background.clear();
        *m_backgroundCancel = true;
        for (auto& task : m_running)
            *task.cancel = true;
    }
    m_wake.notify_all();
    for (auto& thread : m_threads)
        thread.join();
    m_threads.clear();
    m_wakePublisher.notify_all();
    if (m_publisher.joinable())
        m_publisher.join();
}

void Worker::addFile(const std::string& folderId, const std::string& path, const std::string& jobId)
{
    add({folderId, path, jobId, makeCancelToken(), {}, {}, !jobId.empty()}, path);
}

void Worker::addJob(const std::string& jobId)
{
    const auto job = m_stores.jobs.find(jobId);
    add({{}, {}, jobId, makeCancelToken(), {}, {}, false}, job ? job->path : std::string());
}

void Worker::add(Task task, const std::string& path)
{
    std::string former; // the job of the same file that waited, which another takes the place of
    bool isShown = true;
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        const auto now = std::chrono::steady_clock::now();
        if (now - m_mountsRead > kMountsKnown) {
            m_mounts = Mounts::present();
            m_mountsRead = now;
        }
        task.mount = m_mounts.keyOf(path);
        const std::string key = keyOf(task);
        if (!task.folderId.empty())
            m_stores.clips.tell(task.folderId, task.path, {ClipStage::Waiting, kWaits});
        if (m_queued.insert(key).second) {
            ++m_waiting[task.mount];
            // One that begins at once has a job of its own in a moment.
            isShown = task.folderId.empty() || !task.jobId.empty() ||
                      m_queue.size() + m_running.size() < m_threads.size();
            if (!isShown)
                m_unshown.emplace_back(task.folderId, task.path);
            m_queue.push_back(std::move(task));
            helpOut();
        } else if (!task.folderId.empty() && !task.jobId.empty()) {
            Task& other = *std::find_if(m_queue.begin(), m_queue.end(),
                                        [&](const Task& each) { return keyOf(each) == key; });
            former = other.jobId == task.jobId ? std::string() : other.jobId;
            other.jobId = task.jobId;
            other.isRetry = true;
        }
    }
    m_wake.notify_one();
    if (!isShown)
        m_wakePublisher.notify_one();
    if (!former.empty())
        m_stores.jobs.remove(former);
}

void Worker::addBackground(std::function<void(const CancelToken& cancel)> work)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopping)
            return;
        m_background.push_back(std::move(work));
    }
    m_wake.notify_one();
}

std::string Worker::keyOf(const Task& task)
{
    return task.folderId.empty() ? task.jobId : task.folderId + '/' + task.path;
}

bool Worker::isActive()
{
    const std::lock_guard lock(m_mutex);
    return !m_queue.empty() || !m_running.empty() || !m_ready.empty();
}

/// The first task whose like is not being performed. A folder whose profile changed reports files that are
/// still being worked on, and a job may be submitted again while its interrupted run is coming to its end.
std::deque<Worker::Task>::iterator Worker::nextTask()
{
    return std::find_if(m_queue.begin(), m_queue.end(), [this](const Task& task) {
        return runningOn(task.mount) < m_perMount && !isBusy(keyOf(task));
    });
}

std::size_t Worker::runningOn(const std::string& mount) const
{
    return static_cast<std::size_t>(std::count_if(m_running.begin(), m_running.end(),
                                                  [&](const Task& task) { return task.mount == mount; }));
}

void Worker::noLongerWaits(const Task& task)
{
    const auto found = m_waiting.find(task.mount);
    if (found != m_waiting.end() && --found->second == 0)
        m_waiting.erase(found);
}

/// Starts one thread more when all are busy, none of them on a file system for which work waits.
void Worker::helpOut()
{
    const std::size_t busy = m_running.size() + (m_inBackground ? 1 : 0);
    if (m_stopping || m_threads.empty() || busy < m_threads.size() || m_threads.size() >= kMostThreads)
        return;
    if (std::any_of(m_waiting.begin(), m_waiting.end(),
                    [this](const auto& waiting) { return runningOn(waiting.first) == 0; }))
        m_threads.emplace_back([this] { run(); });
}

bool Worker::isBusy(const std::string& key) const
{
    const auto is = [&](const Task& task) { return keyOf(task) == key; };
    return std::any_of(m_running.begin(), m_running.end(), is) ||
           std::any_of(m_ready.begin(), m_ready.end(), [&](const auto& ready) { return is(ready.first); });
}

/// A thread of its own: gathers finished clips for a moment, unless nothing else is coming, and publishes
/// them together. Beside this it shows those that wait.
void Worker::publish()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wakePublisher.wait(lock, [this] { return m_stopping || !m_ready.empty() || !m_unshown.empty(); });
        if (!m_stopping && !m_unshown.empty())
            showWaiting(lock);
        if (m_stopping && m_ready.empty())
            return;
        if (m_ready.empty())
            continue;
        m_wakePublisher.wait_for(lock, kGathering, [this] {
            return m_stopping || m_ready.size() >= kLargestGroup || (m_queue.empty() && m_running.empty());
        });
        // They stay in sight while they are published: their likes have to wait.
        const auto count = static_cast<std::ptrdiff_t>(std::min(m_ready.size(), kLargestGroup));
        std::vector<std::pair<Task, std::shared_ptr<ReadyClip>>> group(m_ready.begin(),
                                                                       m_ready.begin() + count);
        lock.unlock();
        publishGroup(group);
        lock.lock();
        m_ready.erase(m_ready.begin(), m_ready.begin() + count);
        m_wake.notify_all();
    }
}

void Worker::publishGroup(const std::vector<std::pair<Task, std::shared_ptr<ReadyClip>>>& group)
{
    std::vector<std::shared_ptr<ReadyClip>> clips;
    clips.reserve(group.size());
    for (const auto& [task, clip] : group)
        clips.push_back(clip);
    std::vector<FileResult> results(group.size());
    try {
        results = m_pipeline.publishTogether(clips);
    } catch (const std::exception& failure) {
        log::error(std::string("clips could not be published and are looked at again: ") + failure.what());
    }
    for (std::size_t i = 0; i < group.size(); ++i)
        m_fileDone(group[i].first.folderId, group[i].first.path, results[i].stamp);
}

void Worker::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        endPauses();
        if (const auto next = nextTask(); next != m_queue.end())
            runTask(lock, next);
        else if (!m_background.empty() && !m_inBackground)
            runBackground(lock);
        else
            waitForWork(lock);
    }
}

void Worker::runTask(std::unique_lock<std::mutex>& lock, const std::deque<Task>::iterator& next)
{
    Task task = std::move(*next);
    m_queue.erase(next);
    m_queued.erase(keyOf(task));
    noLongerWaits(task);
    m_running.push_back(task);
    helpOut();
    lock.unlock();
    try {
        perform(task);
    } catch (const std::exception& failure) {
        giveUp(task, failure.what());
    }
    lock.lock();
    m_running.erase(std::find_if(m_running.begin(), m_running.end(),
                                 [&](const Task& other) { return other.cancel == task.cancel; }));
    m_wake.notify_all();
    m_wakePublisher.notify_one();
}

void Worker::runBackground(std::unique_lock<std::mutex>& lock)
{
    const auto work = std::move(m_background.front());
    m_background.pop_front();
    m_inBackground = true;
    lock.unlock();
    try {
        work(m_backgroundCancel);
    } catch (const std::exception& failure) {
        log::error(std::string("work in the background was given up: ") + failure.what());
    }
    lock.lock();
    m_inBackground = false;
    m_wake.notify_all();
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
    bool isCalledOff = *task.cancel && isCancelled(task);
    FileResult result = *task.cancel ? FileResult() : processForFolder(task, isCalledOff);
    if (!result.stamp && isCalledOff)
        result.stamp = callOff(task);
    if (result.end == FileResult::End::Ready) {
        const std::lock_guard lock(m_mutex);
        m_ready.emplace_back(task, result.ready);
        m_wakePublisher.notify_one();
        return;
    }
    if (result.end == FileResult::End::Waiting) {
        task.isRetry = task.isRetry || !task.jobId.empty();
        return pause(task, result.text);
    }
    endPause(task);
    m_fileDone(task.folderId, task.path, result.stamp);
    if (result.end == FileResult::End::Cancelled && result.stamp)
        learnCalledOff();
}

/// Nobody waits for what was called off; what it holds is found out when there is time.
void Worker::learnCalledOff()
{
    if (m_willLearn.exchange(true))
        return;
    addBackground([this](const CancelToken& cancel) {
        m_willLearn = false;
        m_pipeline.learnCalledOff(cancel);
    });
}

/// \param isCalledOff receives whether somebody called it off. Asked before its job goes: without one, what
/// the end of the service interrupted would look the same.
FileResult Worker::processForFolder(Task& task, bool& isCalledOff)
{
    const bool wasRetried = task.isRetry;
    const auto folder = m_stores.folders.find(task.folderId);
    const auto profile = folder && folder->enabled ? m_stores.profiles.find(folder->profile) : std::nullopt;
    const auto recipe =
        profile ? profiledocument::recipe(*profile) : Refusal{404, "its profile does not exist any more"};
    FileResult result;
    bool isEnded = false;
    if (profile && !recipe) {
        m_stores.errors.add("The profile " + profile->name + " cannot be read: " + recipe.refusal().text);
    } else if (profile && isIn(task.path, folder->path)) {
        FileOrder order;
        order.ownerKind = "folder";
        order.ownerId = folder->id;
        order.ownerPath = folder->path;
        order.path = task.path;
        order.profile = *recipe;
        order.cancel = task.cancel;
        order.mayBeGrouped = !wasRetried;
        order.willAct = [&](const std::string& former) { return showJob(task, *folder, former); };
        order.willEnd = [&](const FileResult& end) {
            endFolderJob(task, end, wasRetried);
            isEnded = true;
        };
        order.progress = [&](int percent) { m_stores.jobs.setPercent(task.jobId, percent); };
        follow(order, task);
        order.staysCancelled = [&] { return isCancelled(task); };
        result = m_pipeline.process(order);
        tellEnd(task, order, result);
    }
    isCalledOff = *task.cancel && !isEnded && isCancelled(task);
    if (!isEnded)
        endFolderJob(task, result, wasRetried);
    return result;
}

/// Has the book and the job told what happens to the clip. The task stays where it is while it is worked on.
void Worker::follow(FileOrder& order, const Task& task)
{
    m_stores.clips.tellProgress(order.ownerId, order.path, {}, 0, "Is being worked on");
    order.activity = [this, &task, owner = order.ownerId,
                      path = order.path](const std::string& name, int percent, const std::string& text) {
        m_stores.clips.tellProgress(owner, path, name, percent, text);
        m_stores.jobs.setActivity(task.jobId, name);
    };
}

/// The same for an end of which the database does not know all.
void Worker::tellEnd(const Task& task, const FileOrder& order, const FileResult& result)
{
    ClipBook& book = m_stores.clips;
    switch (result.end) {
    case FileResult::End::Rejected:
    case FileResult::End::Failed:
        return book.tellReason(order.ownerId, order.path, result.text);
    case FileResult::End::Later:
        if (filetools::stampOf(order.path))
            return book.tell(order.ownerId, order.path,
                             {ClipStage::Waiting, "Is looked at again: " + result.text});
        return book.tell(order.ownerId, order.path, {ClipStage::Gone, "Its file is gone"});
    case FileResult::End::Waiting: {
        ClipNews news{ClipStage::Waiting, result.text, result.activity};
        // Each try in between is no new waiting.
        news.since = task.waitedFor == result.text ? task.waitsSince : 0;
        return book.tell(order.ownerId, order.path, news);
    }
    case FileResult::End::Publishing:
        return book.tellReason(order.ownerId, order.path, "Its link document waits: " + result.text);
    case FileResult::End::Cancelled:
        return book.forgetUnfinished(order.ownerId, order.path);
    default:
        return;
    }
}

/// The job that shows the work on a file: the one that is tried again, the one that an interrupted run left,
/// or a new one.
std::string Worker::showJob(Task& task, const FolderRecord& folder, const std::string& former)
{
    std::string id = task.jobId.empty() ? former : task.jobId;
    const auto present = id.empty() ? std::nullopt : m_stores.jobs.find(id);
    if (present && present->state == jobstate::kSubmitted)
        m_stores.jobs.move(id, {jobstate::kSubmitted}, jobstate::kRunning);
    // Somebody cancels it at this moment: it is interrupted in the next.
    const bool isOver = *task.cancel && isCancelled(task);
    if (!isOver && (!present || jobstate::isFinal(present->state))) {
        JobRecord job;
        job.path = task.path;
        job.profile = folder.profile;
        job.groupId = folder.id;
        job.groupName = text::baseName(folder.path);
        job.state = jobstate::kRunning;
        id = m_stores.jobs.create(job);
    }
    const std::lock_guard lock(m_mutex);
    task.jobId = id;
    for (auto& running : m_running) {
        if (running.cancel == task.cancel)
            running.jobId = id;
    }
    return id;
}

void Worker::endFolderJob(const Task& task, const FileResult& result, bool wasRetried)
{
    if (task.jobId.empty())
        return;
    const auto job = m_stores.jobs.find(task.jobId);
    // A job that a client cancelled stays to be seen; one that succeeded has its output to show for it.
    if (!job || job->state == jobstate::kCancelled)
        return;
    if (result.end == FileResult::End::Waiting) {
        m_stores.jobs.move(task.jobId, kRunningOnly, jobstate::kSubmitted, result.text);
        return;
    }
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
        visitor.goesOn = [&] { return !*task.cancel; };
        // What the profile copies into a directory below is not to be offered as media of its own.
        if (const int error = filewalk::walk(job->path, profiledocument::destinations(*recipe), visitor))
            return fail(text::errnoText(error));
        std::sort(paths.begin(), paths.end());
        paths = clipfiles::clips(paths, job->path, LinkSettings::read(recipe->settings).joinsAllPictures);
    }

    for (const auto& path : paths)
        m_stores.clips.tell(job->id, path, {ClipStage::Waiting, kWaits});
    std::size_t offered = 0;
    std::string failure;
    std::string notes;
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
        follow(order, task);
        order.staysCancelled = [&] {
            const auto now = m_stores.jobs.find(job->id);
            return now && now->state == jobstate::kCancelled;
        };
        const FileResult result = m_pipeline.process(order);
        tellEnd(task, order, result);
        if (result.end == FileResult::End::Waiting) {
            if (m_stores.jobs.move(job->id, kRunningOnly, jobstate::kSubmitted, result.text))
                pause(task, result.text);
            return;
        }
        if (result.end == FileResult::End::Offered || result.end == FileResult::End::Known)
            ++offered;
        else if (failure.empty() && (result.end != FileResult::End::Rejected || paths.size() == 1))
            failure = result.text;
        for (const auto& note : result.notes) {
            if (notes.size() < kLongestNotes)
                notes += (notes.empty() ? "" : "; ") + text::baseName(paths[i]) + ": " + note;
        }
        m_stores.jobs.setPercent(job->id, static_cast<int>((i + 1) * 100 / paths.size()));
    }
    if (*task.cancel) {
        // Those whose turn never came wait no more.
        m_stores.clips.forgetUnfinished(job->id);
        return;
    }
    endPause(task);
    if (failure.empty() && offered == 0)
        failure = "no media was found";
    if (!failure.empty())
        return fail(failure);
    m_stores.jobs.move(job->id, kRunningOnly, jobstate::kCompleted, notes);
    log::info("job " + job->id + " is complete");
}

} // namespace krxservice
