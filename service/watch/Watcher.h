#pragma once

#include "store/ClipStore.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/ProfileStore.h"
#include "watch/DirectoryEvents.h"
#include "watch/WatchedFolder.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <string>

class QSocketNotifier;

namespace krxservice {

/// Watches the directories of all enabled folders that have a profile, and hands over each file that is
/// finished and was not seen before.
///
/// Lives on a thread of its own with an event loop, so that a hanging volume holds up no answer; all
/// operations but the constructor run there. Change events make it quick; reading the directories again makes
/// it sure.
class Watcher : public QObject
{
public:
    struct Stores
    {
        FolderStore& folders;
        ProfileStore& profiles;
        ClipStore& clips;
        ErrorStore& errors;
    };
    struct Times
    {
        double settleSeconds;
        double rescanSeconds;
    };
    /// Takes over a finished file; answered by fileDone().
    using Sink = std::function<void(const std::string& folderId, const std::string& path)>;

    Watcher(const Stores& stores, const Times& times, Sink sink);
    ~Watcher() override;

    /// Begins to watch.
    void start();
    /// Stops all timers and watches.
    void stop();
    /// A folder was made, changed or removed.
    void folderChanged(const std::string& id);
    /// Profiles were made or removed.
    void profilesChanged();
    /// Forgets which files of a folder were seen.
    void reprocess(const std::string& id);
    /// Reads all directories now.
    void rescan();
    /// The work on a file came to an end; without a stamp it will be looked at again.
    void fileDone(const std::string& folderId, const std::string& path,
                  const std::optional<FileStamp>& stamp);

private:
    void update(const FolderRecord& folder);
    void drop(const std::string& id);
    void scan(WatchedFolder& folder);
    void poll();
    void readEvents();
    void tick();
    void beginTicking();
    void report(const std::string& error);

    Stores m_stores;
    Times m_times;
    Sink m_sink;
    std::unique_ptr<DirectoryEvents> m_events;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::map<std::string, std::unique_ptr<WatchedFolder>> m_folders;
    std::map<std::string, std::string> m_withoutProfile; ///< folders at rest for a reason that was reported
    QTimer m_rescanTimer{this};
    QTimer m_pollTimer{this};
    QTimer m_tickTimer{this};
    std::int64_t m_slowestTick = 0; ///< milliseconds between two readings of a file
};

} // namespace krxservice
