#include "watch/Watcher.h"

#include "base/Log.h"
#include "base/Text.h"
#include "documents/ProfileDocument.h"
#include "watch/FileWalk.h"

#include <QSocketNotifier>

#include <algorithm>
#include <chrono>
#include <limits>

namespace krxservice {

namespace {

constexpr std::int64_t kQuickestTick = 10; ///< milliseconds
constexpr double kPollSeconds = 2;         ///< for directories from which no events arrive or that are away

int milliseconds(double seconds)
{
    return std::max(1, static_cast<int>(seconds * 1000));
}

std::int64_t steadyNow()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

Watcher::Watcher(const Stores& stores, const Times& times, Sink sink)
    : m_stores(stores)
    , m_times(times)
    , m_sink(std::move(sink))
{
}

Watcher::~Watcher() = default;

void Watcher::start()
{
    m_events = std::make_unique<DirectoryEvents>();
    if (m_events->descriptor() >= 0) {
        m_notifier = std::make_unique<QSocketNotifier>(m_events->descriptor(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { readEvents(); });
    } else {
        log::warning("the system gives no change events; folders are polled");
    }
    connect(&m_rescanTimer, &QTimer::timeout, this, [this] { rescan(); });
    connect(&m_pollTimer, &QTimer::timeout, this, [this] { poll(); });
    connect(&m_tickTimer, &QTimer::timeout, this, [this] { tick(); });
    m_tickTimer.setTimerType(Qt::PreciseTimer);
    m_rescanTimer.start(milliseconds(m_times.rescanSeconds));
    m_pollTimer.start(milliseconds(std::min(kPollSeconds, m_times.rescanSeconds)));
    m_slowestTick = milliseconds(std::clamp(m_times.settleSeconds / 4, 0.02, 0.25));
    profilesChanged();
}

void Watcher::stop()
{
    m_rescanTimer.stop();
    m_pollTimer.stop();
    m_tickTimer.stop();
    m_notifier.reset();
    m_events.reset();
    m_folders.clear();
}

void Watcher::folderChanged(const std::string& id)
{
    const auto folder = m_stores.folders.find(id);
    if (folder)
        update(*folder);
    else
        drop(id);
}

void Watcher::profilesChanged()
{
    for (const auto& folder : m_stores.folders.list())
        update(folder);
}

void Watcher::update(const FolderRecord& folder)
{
    const auto profile = folder.enabled ? m_stores.profiles.find(folder.profile) : std::nullopt;
    if (!profile) {
        drop(folder.id);
        if (!folder.enabled)
            m_withoutProfile.erase(folder.id);
        else if (m_withoutProfile.emplace(folder.id, folder.profile).second)
            report("The folder " + folder.path + " is not watched: its profile does not exist any more");
        return;
    }
    m_withoutProfile.erase(folder.id);
    const auto recipe = profiledocument::recipe(*profile);
    auto skipped = recipe ? profiledocument::destinations(*recipe) : std::set<std::string>();
    auto& watched = m_folders[folder.id];
    if (watched && watched->isSame(folder, skipped))
        return;
    m_events->remove(folder.id);
    watched = std::make_unique<WatchedFolder>(folder, m_stores.clips.known(folder.id), std::move(skipped),
                                              static_cast<std::int64_t>(m_times.settleSeconds * 1e9));
    log::info("watching " + folder.path + " with the profile " + profile->name);
    scan(*watched);
}

void Watcher::report(const std::string& error)
{
    try {
        m_stores.errors.add(error);
    } catch (const DatabaseError& failure) {
        log::error(std::string("the error list cannot be written: ") + failure.what());
    }
}

void Watcher::drop(const std::string& id)
{
    const auto found = m_folders.find(id);
    if (found == m_folders.end())
        return;
    log::info("no longer watching " + found->second->root());
    m_events->remove(id);
    m_folders.erase(found);
}

void Watcher::reprocess(const std::string& id)
{
    const auto found = m_folders.find(id);
    if (found == m_folders.end())
        return;
    found->second->forgetAll();
    scan(*found->second);
}

void Watcher::rescan()
{
    for (const auto& [id, folder] : m_folders)
        scan(*folder);
}

void Watcher::poll()
{
    for (const auto& [id, folder] : m_folders) {
        if (folder->polled || folder->unavailable)
            scan(*folder);
    }
}

void Watcher::scan(WatchedFolder& folder)
{
    bool allReported = true;
    filewalk::Visitor visitor;
    // The watch is set before the directory is read, so that nothing falls between the two.
    visitor.directory = [&](const std::string& directory) {
        allReported = m_events->add(folder.id(), directory) && allReported;
    };
    visitor.file = [&](const std::string& file) { folder.saw(file, false, steadyNow()); };
    const int error = filewalk::walk(folder.root(), folder.skipped(), visitor);
    if (error != 0 && !folder.unavailable)
        report("The folder " + folder.root() + " cannot be read: " + text::errnoText(error));
    if (error == 0 && folder.unavailable)
        log::info("the folder " + folder.root() + " can be read again");
    folder.unavailable = error != 0;
    folder.polled = error == 0 && !allReported;
    if (folder.hasCandidates())
        beginTicking();
}

void Watcher::readEvents()
{
    std::set<std::string> scanned;
    for (const auto& event : m_events->take()) {
        if (event.overflow) {
            rescan();
            continue;
        }
        const auto found = m_folders.find(event.owner);
        if (found == m_folders.end())
            continue;
        WatchedFolder& folder = *found->second;
        const bool isFile = !event.name.empty() && !event.isDirectory;
        if (isFile && filewalk::isCandidateName(event.name))
            folder.saw(event.directory + '/' + event.name, true, steadyNow());
        else if (!isFile && scanned.insert(event.owner).second)
            scan(folder);
        if (folder.hasCandidates())
            beginTicking();
    }
}

void Watcher::beginTicking()
{
    if (m_tickTimer.isActive())
        return;
    tick();
}

void Watcher::tick()
{
    bool waiting = false;
    const std::int64_t now = steadyNow();
    std::int64_t due = std::numeric_limits<std::int64_t>::max();
    for (const auto& [id, folder] : m_folders) {
        if (!folder->hasCandidates())
            continue;
        for (const auto& path : folder->takeFinished(now))
            m_sink(id, path);
        waiting = waiting || folder->hasCandidates();
        due = std::min(due, folder->nextDue());
    }
    // In step while files settle, and on the spot when the first of them is due.
    if (waiting)
        m_tickTimer.start(
            static_cast<int>(std::clamp((due - now) / 1000000 + 1, kQuickestTick, m_slowestTick)));
    else
        m_tickTimer.stop();
}

void Watcher::fileDone(const std::string& folderId, const std::string& path,
                       const std::optional<FileStamp>& stamp)
{
    const auto found = m_folders.find(folderId);
    if (found == m_folders.end())
        return;
    found->second->done(path, stamp, steadyNow());
    if (found->second->hasCandidates())
        beginTicking();
}

} // namespace krxservice
