#include "app/Service.h"

#include "activities/Activity.h"
#include "base/Bounded.h"
#include "base/Log.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"

#include <QMetaObject>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <map>
#include <thread>

namespace krxservice {

namespace {

constexpr std::size_t kLongestPath = 4095;           ///< bytes, what the system takes
constexpr std::chrono::milliseconds kPatience{2000}; ///< with a disk; clients wait three seconds
constexpr std::chrono::hours kPruneEvery{24};

constexpr int kFewestWorkers = 2; ///< that is, when nobody says how many
constexpr int kMostWorkers = 4;
constexpr double kHistorySeconds = 5; ///< between two looks whether a history is due

Refusal noFolder()
{
    return {404, "there is no such folder"};
}

Refusal noProfile()
{
    return {404, "there is no such profile"};
}

Refusal noJob()
{
    return {404, "there is no such job"};
}

/// True when a segment of the path leads somewhere else, also in the disguise of a URL.
bool hasTreacherousSegment(const std::string& path)
{
    std::string low = path;
    for (char& c : low)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (auto at = low.find("%2e"); at != std::string::npos; at = low.find("%2e", at))
        low.replace(at, 3, ".");
    low += '/';
    return low.find("/../") != std::string::npos || low.find("/./") != std::string::npos ||
           low.find('\\') != std::string::npos;
}

/// Why \a path cannot be the path of anything here, or nothing.
std::optional<Refusal> checkPath(const std::string& path)
{
    if (path.empty() || path.front() != '/')
        return Refusal{400, "the path is not absolute"};
    if (path.size() > kLongestPath)
        return Refusal{400, "the path is too long"};
    if (!text::isPlainText(path))
        return Refusal{400, "the path holds a character that documents cannot carry"};
    if (hasTreacherousSegment(path))
        return Refusal{400, "the path holds a segment or a character that leads elsewhere"};
    return std::nullopt;
}

/// True when one of two canonical paths lies in the other.
bool overlap(const std::string& path, const std::string& other)
{
    return text::isBelow(path, other) || text::isBelow(other, path);
}

/// The canonical form of a directory that may be watched.
Outcome<std::string> lookAtWatchPath(const std::string& path, const std::string& dataFolder)
{
    struct stat facts
    {
    };
    if (::stat(path.c_str(), &facts) != 0)
        return Refusal{400, "the path cannot be watched: " + text::errnoText(errno)};
    if (!S_ISDIR(facts.st_mode))
        return Refusal{400, "the path is no directory"};
    if (::access(path.c_str(), R_OK | X_OK) != 0)
        return Refusal{400, "the directory may not be read: " + text::errnoText(errno)};
    const std::string canonical = text::canonicalPath(path);
    if (canonical.empty())
        return Refusal{400, "the path cannot be watched: " + text::errnoText(errno)};
    if (overlap(canonical, dataFolder))
        return Refusal{400, "the directory holds the service's own data or is part of it"};
    return canonical;
}

/// The canonical form of a file or directory that a job may process.
Outcome<std::string> lookAtJobPath(const std::string& path, const std::string& dataFolder)
{
    const std::string canonical = text::canonicalPath(path);
    if (canonical.empty())
        return Refusal{400, "the path cannot be processed: " + text::errnoText(errno)};
    struct stat facts
    {
    };
    if (::stat(canonical.c_str(), &facts) != 0 || !(S_ISDIR(facts.st_mode) || S_ISREG(facts.st_mode)))
        return Refusal{400, "the path is neither a file nor a directory"};
    if (overlap(canonical, dataFolder))
        return Refusal{400, "the path holds the service's own data or is part of it"};
    return canonical;
}

using Look = Outcome<std::string> (*)(const std::string& path, const std::string& dataFolder);

/// Asks the disk, which may hang: never under a lock, and what comes after the client has given up is not
/// done any more.
Outcome<std::string> look(Look how, const std::string& path, const std::string& dataFolder)
{
    if (const auto refusal = checkPath(path))
        return *refusal;
    const auto result =
        within<Outcome<std::string>>(kPatience, [how, path, dataFolder] { return how(path, dataFolder); });
    return result ? *result : Refusal{503, "the path does not answer; nothing was changed"};
}

} // namespace

Service::Service(const Options& options)
    : m_workers(options.workers)
    , m_dataFolder(text::canonicalPath(options.dataFolder))
    , m_keeper(options.dataFolder)
    , m_outputs(m_dataFolder + "/output")
    , m_histories(m_copied, m_errors, options.historySeconds, text::now)
    , m_worker({m_folders, m_profiles, m_jobs, m_errors, m_book}, m_pipeline,
               [this](const std::string& folderId, const std::string& path,
                      const std::optional<FileStamp>& stamp) {
                   onWatcher([=](Watcher& watcher) { watcher.fileDone(folderId, path, stamp); });
               })
    , m_housekeeper({[this] { m_keeper.mend(m_errors); }, [this] { m_pipeline.publishRest(); },
                     [this] { m_pipeline.noteTaken(); }, [this] { m_pipeline.keepTimes(); },
                     [this] {
                         if (const auto reason = m_keeper.save(m_folders, m_profiles); !reason.empty())
                             m_errors.add("Folders and profiles cannot be kept a second time: " + reason);
                     },
                     [this] { prune(); }},
                    options.rescanSeconds)
    , m_outputWatch(m_dataFolder + "/output", [this] { m_housekeeper.poke(); })
    , m_historian({[this] { m_histories.writeDue(); }}, std::min(options.historySeconds, kHistorySeconds))
{
    m_keeper.restore(m_folders, m_profiles, m_errors);
    m_pipeline.recover(!m_keeper.mayHaveLost());
    m_jobs.recover();
    ensureDefaultProfile();
    m_watcher = std::make_unique<Watcher>(
        Watcher::Stores{m_folders, m_profiles, m_clips, m_errors, &m_book},
        Watcher::Times{options.settleSeconds, options.rescanSeconds},
        [this](const std::string& folderId, const std::string& path) { m_worker.addFile(folderId, path); });
}

Service::~Service()
{
    stop();
}

void Service::start()
{
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    m_worker.start(m_workers > 0 ? m_workers : std::clamp(cores, kFewestWorkers, kMostWorkers));
    m_watcher->moveToThread(&m_watchThread);
    m_watchThread.start();
    onWatcher([](Watcher& watcher) { watcher.start(); });
    for (const auto& job : m_jobs.list(true)) {
        if (job.state == jobstate::kSubmitted)
            m_worker.addJob(job.id);
    }
    m_housekeeper.start();
    m_housekeeper.poke();
    m_outputWatch.start();
    m_historian.start();
}

void Service::stop()
{
    if (m_watchThread.isRunning()) {
        QMetaObject::invokeMethod(
            m_watcher.get(), [this] { m_watcher->stop(); }, Qt::BlockingQueuedConnection);
    }
    m_worker.stop();
    m_watchThread.quit();
    m_watchThread.wait();
    m_outputWatch.stop();
    m_housekeeper.stop();
    m_historian.stop();
}

/// Once a day.
void Service::prune()
{
    const auto steady = std::chrono::steady_clock::now();
    if (m_pruned && steady - *m_pruned < kPruneEvery)
        return;
    m_pruned = steady;
    const std::int64_t now = text::now();
    m_worker.addBackground([this, now](const CancelToken& cancel) { m_pipeline.prune(now, cancel); });
}

template <typename Function>
void Service::onWatcher(Function function)
{
    Watcher* watcher = m_watcher.get();
    QMetaObject::invokeMethod(
        watcher,
        [watcher, function] {
            try {
                function(*watcher);
            } catch (const DatabaseError& failure) {
                log::error(std::string("the watcher could not use the database: ") + failure.what());
            }
        },
        Qt::QueuedConnection);
}

void Service::ensureDefaultProfile()
{
    if (m_profiles.findByName(profiledocument::kDefaultName))
        return;
    const auto profile = profiledocument::fromRequest(profiledocument::defaultRequest(), text::newGuid());
    if (profile && m_profiles.create(*profile))
        log::info("made the " + profile->name);
}

std::vector<FolderRecord> Service::folders()
{
    return m_folders.list();
}

Outcome<answers::Folder> Service::folder(const std::string& id)
{
    auto record = m_folders.find(id);
    if (!record)
        return noFolder();
    return answers::Folder{*record, m_outputs.list(id)};
}

std::optional<Refusal> Service::checkProfile(const FolderRecord& folder, const std::string& profileBefore)
{
    const bool exists = m_profiles.find(folder.profile).has_value();
    if (folder.enabled && folder.profile.empty())
        return Refusal{400, "a folder without a profile cannot be enabled"};
    if (!exists && !folder.profile.empty() && (folder.enabled || folder.profile != profileBefore))
        return Refusal{400, "the folder's profile does not exist"};
    return std::nullopt;
}

Outcome<std::string> Service::createFolder(const requests::Folder& request)
{
    FolderRecord folder;
    folder.path = request.path.value_or(std::string());
    folder.profile = request.profile.value_or(std::string());
    folder.enabled = request.enabled.value_or(false);
    const auto canonical = look(&lookAtWatchPath, folder.path, m_dataFolder);
    if (!canonical)
        return canonical.refusal();
    folder.canonical = *canonical;
    std::optional<std::string> id;
    {
        const auto lock = m_database.lock();
        if (const auto refusal = checkProfile(folder, {}))
            return *refusal;
        id = m_folders.create(folder);
    }
    if (!id)
        return Refusal{409, "the directory is watched already"};
    log::info("folder " + *id + " was made for " + folder.path);
    m_housekeeper.poke();
    onWatcher([id = *id](Watcher& watcher) { watcher.folderChanged(id); });
    return *id;
}

/// Removes the documents that wait when \a change, which takes their records away, comes out true. They are
/// out of sight meanwhile, and removing them may take a while and is not done under the lock of the database.
template <typename Function>
auto Service::withRemoval(const std::string& owner, Function change)
{
    m_outputs.beginRemoval(owner);
    try {
        auto result = change();
        if (result)
            m_outputs.endRemoval(owner);
        else
            m_outputs.undoRemoval(owner);
        return result;
    } catch (const DatabaseError&) {
        m_outputs.undoRemoval(owner);
        throw;
    }
}

Outcome<answers::Folder> Service::updateFolder(const std::string& id, const requests::Folder& request,
                                               bool reprocess)
{
    const auto known = m_folders.find(id);
    if (!known)
        return noFolder();
    if (request.id && *request.id != id)
        return Refusal{400, "the \"id\" in the document is another folder's"};
    const bool moves = request.path && *request.path != known->path;
    const auto canonical =
        moves ? look(&lookAtWatchPath, *request.path, m_dataFolder) : Outcome<std::string>(known->canonical);
    if (!canonical)
        return canonical.refusal();
    const auto store = [&] { return storeUpdate(id, request, *canonical, reprocess); };
    const auto folder = reprocess ? withRemoval(id, store) : store();
    if (!folder)
        return folder.refusal();
    if (!folder->enabled || moves) {
        m_worker.cancelFolder(id);
        m_book.forgetUnfinished(id);
    }
    if (reprocess)
        m_book.forgetAll(id);
    if (reprocess)
        onWatcher([id](Watcher& watcher) { watcher.reprocess(id); });
    m_housekeeper.poke();
    onWatcher([id](Watcher& watcher) { watcher.folderChanged(id); });
    return answers::Folder{*folder, m_outputs.list(id)};
}

Outcome<FolderRecord> Service::storeUpdate(const std::string& id, const requests::Folder& request,
                                           const std::string& canonical, bool reprocess)
{
    Transaction transaction(m_database);
    const auto before = m_folders.find(id);
    if (!before)
        return noFolder();
    FolderRecord folder = *before;
    folder.profile = request.profile.value_or(folder.profile);
    folder.enabled = request.enabled.value_or(folder.enabled);
    if (request.path && *request.path != before->path) {
        const auto twin = m_folders.findByCanonicalPath(canonical);
        if (twin && twin->id != id)
            return Refusal{409, "the directory is watched already"};
        folder.path = *request.path;
        folder.canonical = canonical;
    }
    if (const auto refusal = checkProfile(folder, before->profile))
        return *refusal;
    m_folders.update(folder);
    if (reprocess)
        m_clips.forgetAll(id);
    transaction.commit();
    return folder;
}

std::optional<Refusal> Service::deleteFolder(const std::string& id)
{
    if (!m_folders.find(id))
        return noFolder();
    const bool removed = withRemoval(id, [&] {
        Transaction transaction(m_database);
        if (!m_folders.remove(id))
            return false;
        m_clips.forgetAll(id);
        m_jobs.removeOfFolder(id);
        transaction.commit();
        return true;
    });
    if (!removed)
        return noFolder();
    m_worker.cancelFolder(id);
    m_book.forgetAll(id);
    log::info("folder " + id + " was removed");
    m_housekeeper.poke();
    onWatcher([id](Watcher& watcher) { watcher.folderChanged(id); });
    return std::nullopt;
}

std::vector<std::string> Service::readyFolders()
{
    auto ready = m_outputs.readyFolders();
    // Who follows the clips is to hear of it now and not when the records are next looked through.
    if (m_outputs.hasTaken())
        m_housekeeper.poke();
    return ready;
}

std::vector<ProfileRecord> Service::profiles()
{
    return m_profiles.list();
}

Outcome<ProfileRecord> Service::profile(const std::string& id)
{
    const auto profile = m_profiles.find(id);
    return profile ? Outcome<ProfileRecord>(*profile) : Outcome<ProfileRecord>(noProfile());
}

Outcome<std::string> Service::createProfile(const std::string& body)
{
    const auto profile = profiledocument::fromRequest(body, text::newGuid());
    if (!profile)
        return profile.refusal();
    const auto recipe = profiledocument::recipe(*profile);
    if (!recipe)
        return recipe.refusal();
    if (const auto refusal = Activity::checkAll(recipe->activities))
        return *refusal;
    if (!m_profiles.create(*profile))
        return Refusal{409, "a profile of this name exists already"};
    m_housekeeper.poke();
    log::info("profile " + profile->id + " was made: " + profile->name);
    return profile->id;
}

std::optional<Refusal> Service::deleteProfile(const std::string& id)
{
    const auto profile = m_profiles.find(id);
    if (profile && profile->name == profiledocument::kDefaultName)
        return Refusal{409, "the Default Profile cannot be deleted"};
    if (!profile || !m_profiles.remove(id))
        return noProfile();
    log::info("profile " + id + " was removed: " + profile->name);
    m_housekeeper.poke();
    onWatcher([](Watcher& watcher) { watcher.profilesChanged(); });
    return std::nullopt;
}

answers::Job Service::withOutputs(const JobRecord& job)
{
    return {job, job.manual ? m_outputs.list(job.id) : std::vector<std::string>()};
}

std::vector<JobRecord> Service::jobs(bool onlyManual)
{
    return m_jobs.list(onlyManual);
}

std::vector<answers::Job> Service::jobsInDetail(bool onlyManual)
{
    std::vector<answers::Job> result;
    for (const auto& job : m_jobs.list(onlyManual))
        result.push_back(withOutputs(job));
    return result;
}

Outcome<answers::Job> Service::job(const std::string& id)
{
    const auto job = m_jobs.find(id);
    return job ? Outcome<answers::Job>(withOutputs(*job)) : Outcome<answers::Job>(noJob());
}

Outcome<answers::Job> Service::submitJob(const requests::JobSubmission& request)
{
    if (const auto found = look(&lookAtJobPath, request.path, m_dataFolder); !found)
        return found.refusal();
    if (!m_profiles.find(request.profile))
        return Refusal{400, "the job's profile does not exist"};
    JobRecord job;
    job.manual = true;
    job.path = request.path;
    job.profile = request.profile;
    job.groupId = "manual";
    job.groupName = "Manual jobs";
    job.state = jobstate::kSubmitted;
    job.id = m_jobs.create(job);
    log::info("job " + job.id + " was submitted for " + job.path);
    m_worker.addJob(job.id);
    return withOutputs(job);
}

bool Service::applyState(const JobRecord& job, const std::string& state)
{
    if (state == jobstate::kCancelled) {
        Transaction transaction(m_database);
        if (!m_jobs.move(job.id, {jobstate::kSubmitted, jobstate::kRunning}, state))
            return false;
        const bool isNoted = !job.manual && m_clips.giveUp(job.groupId, job.path);
        transaction.commit();
        m_worker.cancelJob(job.id, isNoted);
        return true;
    }
    {
        Transaction transaction(m_database);
        if (!m_jobs.move(job.id, {jobstate::kCancelled, jobstate::kFailed}, state))
            return false;
        m_clips.retry(job.manual ? job.id : job.groupId, job.manual ? std::string() : job.path);
        transaction.commit();
    }
    // Why it failed holds no more; when it fails again that is said again.
    if (!job.message.empty()) {
        m_errors.remove(job.message);
        m_errors.remove("The job for " + job.path + " failed: " + job.message);
    }
    if (job.manual)
        m_worker.addJob(job.id);
    else
        m_worker.addFile(job.groupId, job.path, job.id);
    return true;
}

std::vector<JobRecord> Service::changeJobs(const std::string& state)
{
    std::vector<JobRecord> changed;
    for (const auto& job : m_jobs.list(true)) {
        if (applyState(job, state))
            changed.push_back(m_jobs.find(job.id).value_or(job));
    }
    return changed;
}

Outcome<answers::Job> Service::changeJob(const std::string& id, const std::string& state)
{
    const auto job = m_jobs.find(id);
    if (!job)
        return noJob();
    if (!applyState(*job, state)) {
        return Refusal{409, "the job is " + job->state + " and cannot be made " + state};
    }
    return this->job(id);
}

std::optional<Refusal> Service::deleteJob(const std::string& id)
{
    const auto job = m_jobs.find(id);
    if (!job)
        return noJob();
    if (job->manual) {
        m_worker.cancelJob(id, true);
        withRemoval(id, [&] {
            Transaction transaction(m_database);
            m_clips.forgetAll(id);
            const bool isRemoved = m_jobs.remove(id);
            if (isRemoved)
                transaction.commit();
            return isRemoved;
        });
    } else {
        Transaction transaction(m_database);
        const bool isNoted = jobstate::isFinal(job->state) || m_clips.giveUp(job->groupId, job->path);
        m_jobs.remove(id);
        transaction.commit();
        m_worker.cancelJob(id, isNoted);
    }
    if (job->manual)
        m_book.forgetAll(id);
    log::info("job " + id + " was removed");
    return std::nullopt;
}

Outcome<ClipBook::Answer> Service::clips(const ClipBook::Question& question)
{
    if (!question.folder.empty() && !m_folders.find(question.folder))
        return noFolder();
    if (!question.job.empty() && !m_jobs.find(question.job))
        return noJob();
    ClipBook::Answer answer = m_book.list(question);
    struct Owner
    {
        bool isJob = false;
        std::string profile;
    };
    std::map<std::string, Owner> owners; // there are few
    for (auto& clip : answer.clips) {
        const auto [known, isNew] = owners.try_emplace(clip.owner);
        if (isNew) {
            const auto folder = m_folders.find(clip.owner);
            const auto job = folder ? std::nullopt : m_jobs.find(clip.owner);
            known->second = {!folder, folder ? folder->profile : job ? job->profile : std::string()};
        }
        clip.isJob = known->second.isJob;
        // Until its work is begun, the one that it would be done by.
        if (clip.profile.empty())
            clip.profile = known->second.profile;
    }
    return answer;
}

std::vector<std::string> Service::errors(bool clear)
{
    return clear ? m_errors.takeAll() : m_errors.list();
}

bool Service::isActive()
{
    return m_worker.isActive();
}

void Service::deviceChanged(const requests::DeviceStatus& status)
{
    log::info("the editor reports volume \"" + status.volumeName + "\", type " +
              std::to_string(status.volumeType) + ", action " + std::to_string(status.volumeAction));
    onWatcher([](Watcher& watcher) { watcher.rescan(); });
}

} // namespace krxservice
