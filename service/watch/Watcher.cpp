#include "watch/Watcher.h"

#include "base/Log.h"
#include "documents/ProfileDocument.h"
#include "watch/WatchTexts.h"

#include <QMetaObject>

#include <algorithm>
#include <exception>

namespace krxservice {

namespace {

constexpr double kPollSeconds = 2; ///< for directories from which no events arrive or that are away
constexpr std::chrono::milliseconds kLongestResolving{1000};
constexpr int kSilenceChecks = 4; ///< in the time after which a look counts as unanswered

int milliseconds(double seconds)
{
    return std::max(1, static_cast<int>(seconds * 1000));
}

} // namespace

Watcher::Watcher(const Stores& stores, const Times& times, Sink sink, Lane::EventSource events)
    : m_stores(stores)
    , m_times(times)
    , m_sink(std::move(sink))
    , m_eventSource(std::move(events))
    , m_resolver(kLongestResolving)
{
}

Watcher::~Watcher()
{
    stop();
}

/// Work that uses the database: when that fails, it is said and tried again at the next rescan. An exception
/// must not come as far as the event loop.
template <typename Work>
void Watcher::guarded(const char* what, Work work)
{
    try {
        work();
    } catch (const std::exception& failure) {
        log::error(std::string("the watcher could not ") + what + ": " + failure.what());
    }
}

void Watcher::start()
{
    connect(&m_rescanTimer, &QTimer::timeout, this, [this] { rescan(false); });
    connect(&m_silenceTimer, &QTimer::timeout, this, [this] { lookForSilence(); });
    m_rescanTimer.start(milliseconds(m_times.rescanSeconds));
    m_silenceTimer.start(milliseconds(m_times.answerSeconds / kSilenceChecks));
    guarded("read the error list", [this] {
        for (auto& text : m_stores.errors.list())
            m_oldEntries.insert(std::move(text));
    });
    profilesChanged();
}

void Watcher::stop()
{
    m_rescanTimer.stop();
    m_silenceTimer.stop();
    // All are told first, so that their ends do not wait for one another.
    for (const auto& [id, folder] : m_folders)
        folder.lane->sayEnd();
    for (const auto& [mount, lane] : m_lanes)
        lane->sayEnd();
    m_folders.clear();
    m_lanes.clear();
}

void Watcher::folderChanged(const std::string& id)
{
    m_mounts = Mounts::present();
    try {
        if (const auto folder = m_stores.folders.find(id)) {
            tryUpdate(*folder);
            return;
        }
    } catch (const DatabaseError& failure) {
        putOff(id, "The folder " + id + " is not watched for the moment: " + failure.what());
        return;
    }
    drop(id);
    m_untried.erase(id);
}

void Watcher::profilesChanged()
{
    m_mounts = Mounts::present();
    m_resolver.forget();
    m_orders.clear();
    std::vector<FolderRecord> folders;
    try {
        folders = m_stores.folders.list();
        m_allUntried = false;
    } catch (const DatabaseError& failure) {
        m_allUntried = true;
        report(std::string("The folders cannot be read from the database: ") + failure.what());
    }
    for (const auto& folder : folders)
        tryUpdate(folder);
}

void Watcher::tryUpdate(const FolderRecord& folder)
{
    try {
        update(folder);
    } catch (const DatabaseError& failure) {
        putOff(folder.id, "The folder " + folder.path + " is not watched for the moment: " + failure.what());
        return;
    }
    const auto untried = m_untried.find(folder.id);
    if (untried == m_untried.end())
        return;
    guarded("bring the error list up to date", [&] { m_stores.errors.remove(untried->second); });
    m_untried.erase(folder.id);
}

/// A folder is watched wholly or not at all: nothing half made stays, and it is tried again.
void Watcher::putOff(const std::string& id, const std::string& text)
{
    drop(id);
    if (m_untried.emplace(id, text).second)
        report(text);
}

void Watcher::tryAgain()
{
    if (m_allUntried) {
        profilesChanged();
        return;
    }
    const auto untried = m_untried;
    for (const auto& [id, text] : untried)
        folderChanged(id);
}

void Watcher::update(const FolderRecord& record)
{
    const auto profile = record.enabled ? m_stores.profiles.find(record.profile) : std::nullopt;
    if (!profile) {
        drop(record.id);
        if (!record.enabled)
            m_withoutProfile.erase(record.id);
        else if (m_withoutProfile.emplace(record.id, record.profile).second)
            report("The folder " + record.path + " is not watched: its profile does not exist any more");
        return;
    }
    m_withoutProfile.erase(record.id);
    const Orders& orders = ordersOf(*profile);
    std::set<std::string> skipped;
    for (const auto& destination : orders.destinations)
        skipped.insert(m_resolver.canonical(destination));
    const auto present = m_folders.find(record.id);
    if (present != m_folders.end() && present->second.record.path == record.path &&
        present->second.record.profile == record.profile && present->second.skipped == skipped)
        return;
    drop(record.id);
    Folder folder;
    folder.record = record;
    folder.skipped = std::move(skipped);
    folder.settings = orders.settings;
    folder.mount = m_mounts.keyOf(record.canonical);
    place(folder);
    m_folders[record.id] = std::move(folder);
    log::info("watching " + record.path + " with the profile " + profile->name);
}

/// What a profile says about the folders that have it; read once, because many have the same.
const Watcher::Orders& Watcher::ordersOf(const ProfileRecord& profile)
{
    const auto [found, isNew] = m_orders.try_emplace(profile.id);
    if (isNew) {
        if (const auto recipe = profiledocument::recipe(profile))
            found->second = {LinkSettings::read(recipe->settings), profiledocument::destinations(*recipe)};
    }
    return found->second;
}

/// Gives the folder to the lane of its file system.
void Watcher::place(Folder& folder)
{
    Lane::Setup setup;
    setup.folder = folder.record;
    setup.settings = folder.settings;
    setup.known = m_stores.clips.known(folder.record.id);
    setup.skipped = folder.skipped;
    setup.underWay = folder.underWay;
    if (m_stores.book) {
        setup.tell = [book = m_stores.book, id = folder.record.id](
                         const std::string& path, const ClipNews& news) { book->tell(id, path, news); };
        setup.withdraw = [book = m_stores.book, id = folder.record.id](const std::string& path) {
            book->withdraw(id, path);
        };
    }
    setup.turn = ++m_turns;
    folder.turn = setup.turn;
    folder.lane = laneFor(folder.mount);
    folder.wasRead = false;
    folder.lane->watch(std::move(setup));
}

std::shared_ptr<Lane> Watcher::laneFor(const std::string& mount)
{
    auto& lane = m_lanes[mount];
    if (lane)
        return lane;
    lane = std::make_shared<Lane>(
        Lane::Times{m_times.settleSeconds, std::min(kPollSeconds, m_times.rescanSeconds)},
        [this](const std::string& id, const Lane::Report& report) {
            QMetaObject::invokeMethod(
                this, [this, id, report] { heard(id, report); }, Qt::QueuedConnection);
        },
        m_eventSource);
    return lane;
}

void Watcher::heard(const std::string& id, const Lane::Report& report)
{
    const auto found = m_folders.find(id);
    if (found == m_folders.end() || found->second.turn != report.turn)
        return;
    Folder& folder = found->second;
    if (folder.isAvailable != report.isAvailable && report.isAvailable)
        log::info("the folder " + folder.record.path + " can be read again");
    folder.isAvailable = report.isAvailable;
    if (folder.isSilent)
        log::info("the folder " + folder.record.path + " answers again");
    folder.isSilent = false;
    guarded("bring the error list up to date", [&] {
        followTroubles(folder, report.troubles);
        forgetRefusals(report.gone);
        for (const auto& path : report.gone) {
            if (m_stores.book)
                m_stores.book->vanished(id, path);
        }
        if (report.isWhole && report.isAvailable && !folder.wasRead) {
            folder.wasRead = true;
            forgetOldEntries(folder);
        }
    });
    for (const auto& path : report.finished) {
        if (folder.underWay.insert(path).second)
            m_sink(id, path);
    }
}

/// Makes the error list say what troubles the folder now, and nothing that is over.
void Watcher::followTroubles(Folder& folder, std::set<std::string> troubles)
{
    for (const auto& text : folder.troubles) {
        if (troubles.count(text) == 0)
            m_stores.errors.remove(text);
    }
    for (const auto& text : troubles) {
        if (folder.troubles.count(text) == 0)
            m_stores.errors.add(text);
    }
    folder.troubles = std::move(troubles);
}

/// A file that is gone needs nothing said about it.
void Watcher::forgetRefusals(const std::vector<std::string>& paths)
{
    if (paths.empty())
        return;
    const auto entries = m_stores.errors.list();
    if (entries.empty())
        return;
    for (const auto& path : paths) {
        m_stores.errors.removeStarting(ErrorStore::refusedStart(path));
        m_stores.errors.removeStarting(ErrorStore::notedStart(path));
    }
}

/// What a former run said about the folder and is over by now.
void Watcher::forgetOldEntries(const Folder& folder)
{
    for (auto it = m_oldEntries.begin(); it != m_oldEntries.end();) {
        if (!watchtexts::isAbout(*it, folder.record.path)) {
            ++it;
            continue;
        }
        if (folder.troubles.count(*it) == 0)
            m_stores.errors.remove(*it);
        it = m_oldEntries.erase(it);
    }
}

void Watcher::report(const std::string& error)
{
    guarded("write the error list", [&] { m_stores.errors.add(error); });
}

void Watcher::drop(const std::string& id)
{
    const auto found = m_folders.find(id);
    if (found == m_folders.end())
        return;
    Folder& folder = found->second;
    log::info("no longer watching " + folder.record.path);
    guarded("bring the error list up to date", [&] { followTroubles(folder, {}); });
    folder.lane->forget(id);
    m_folders.erase(found);
}

void Watcher::reprocess(const std::string& id)
{
    const auto found = m_folders.find(id);
    if (found != m_folders.end())
        found->second.lane->reprocess(id);
}

void Watcher::rescan(bool isUrgent)
{
    tryAgain();
    m_mounts = Mounts::present();
    std::set<Lane*> lanes;
    for (auto& [id, folder] : m_folders) {
        const std::string mount = m_mounts.keyOf(folder.record.canonical);
        if (mount != folder.mount) {
            // Something was mounted or unmounted: it belongs to another lane now.
            guarded("follow a change of mounts", [&, &folder = folder, &id = id] {
                const auto former = folder.lane;
                const std::string was = folder.mount;
                folder.mount = mount;
                try {
                    place(folder);
                } catch (...) {
                    folder.mount = was;
                    throw;
                }
                if (former != folder.lane)
                    former->forget(id);
            });
        }
        lanes.insert(folder.lane.get());
    }
    for (Lane* lane : lanes)
        lane->rescan(isUrgent);
    // A file system that is gone leaves a lane behind that looks after nothing.
    for (auto it = m_lanes.begin(); it != m_lanes.end();)
        it = lanes.count(it->second.get()) == 0 ? m_lanes.erase(it) : std::next(it);
}

/// Looks for lanes that are stuck in a look at a folder.
void Watcher::lookForSilence()
{
    std::map<std::shared_ptr<Lane>, std::string> stuck;
    for (const auto& [id, folder] : m_folders) {
        if (stuck.count(folder.lane) > 0)
            continue;
        if (auto at = folder.lane->stuckAt(m_times.answerSeconds); !at.empty())
            stuck.emplace(folder.lane, std::move(at));
    }
    if (stuck.empty())
        return;
    m_mounts = Mounts::present();
    for (const auto& [lane, at] : stuck) {
        for (auto it = m_lanes.begin(); it != m_lanes.end();)
            it = it->second == lane ? m_lanes.erase(it) : std::next(it);
        for (auto& [id, folder] : m_folders) {
            if (folder.lane != lane)
                continue;
            const auto culprit = m_folders.find(at);
            // A file system that was mounted inside the folder at which it is stuck is no reason for the
            // others to wait.
            const bool isElsewhere =
                id != at && (culprit == m_folders.end() ||
                             m_mounts.keyOf(culprit->second.record.canonical) != culprit->second.mount ||
                             m_mounts.hasMountIn(culprit->second.record.canonical));
            if (isElsewhere) {
                guarded("give a folder another lane", [&, &lane = lane, &folder = folder, &id = id] {
                    folder.mount = m_mounts.keyOf(folder.record.canonical);
                    place(folder);
                    lane->forget(id);
                });
                continue;
            }
            if (folder.isSilent)
                continue;
            folder.isSilent = true;
            guarded("write the error list", [&, &folder = folder] {
                auto troubles = folder.troubles;
                troubles.insert(watchtexts::silent(folder.record.path));
                followTroubles(folder, std::move(troubles));
            });
        }
    }
}

void Watcher::fileDone(const std::string& folderId, const std::string& path,
                       const std::optional<FileStamp>& stamp)
{
    const auto found = m_folders.find(folderId);
    if (found == m_folders.end())
        return;
    found->second.underWay.erase(path);
    found->second.lane->fileDone(folderId, path, stamp);
}

} // namespace krxservice
