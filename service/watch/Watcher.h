#pragma once

#include "files/Mounts.h"
#include "store/ClipBook.h"
#include "store/ClipStore.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/ProfileStore.h"
#include "watch/Lane.h"
#include "watch/PathResolver.h"

#include <QObject>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace krxservice {

/// Watches the directories of all enabled folders that have a profile, and hands over each file that is
/// finished and was not seen before.
///
/// Lives on a thread of its own with an event loop; all operations but the constructor run there. It never
/// touches a folder itself: for each mounted file system there is a lane with a thread of its own, so that
/// one that does not answer holds up neither the others nor the end.
class Watcher : public QObject
{
public:
    struct Stores
    {
        FolderStore& folders;
        ProfileStore& profiles;
        ClipStore& clips;
        ErrorStore& errors;
        ClipBook* book = nullptr; ///< is told of files that are not finished; may be null
    };
    struct Times
    {
        double settleSeconds;
        double rescanSeconds;
        double answerSeconds = 5; ///< a look that comes no step further for so long "does not answer"
    };
    /// Takes over a finished file; answered by fileDone().
    using Sink = std::function<void(const std::string& folderId, const std::string& path)>;

    Watcher(const Stores& stores, const Times& times, Sink sink, Lane::EventSource events = {});
    ~Watcher() override;

    /// Begins to watch.
    void start();
    /// Stops all timers and lanes. Waits for no look at a folder.
    void stop();
    /// A folder was made, changed or removed.
    void folderChanged(const std::string& id);
    /// Profiles were made or removed.
    void profilesChanged();
    /// Forgets which files of a folder were seen.
    void reprocess(const std::string& id);
    /// Reads all directories now, or, when it is not urgent, if that was not done a moment ago.
    void rescan(bool isUrgent = true);
    /// The work on a file came to an end; without a stamp it will be looked at again.
    void fileDone(const std::string& folderId, const std::string& path,
                  const std::optional<FileStamp>& stamp);

private:
    struct Folder
    {
        FolderRecord record;
        LinkSettings settings; ///< of its profile
        std::set<std::string> skipped;
        std::string mount; ///< the key of the file system it is on
        std::shared_ptr<Lane> lane;
        std::uint64_t turn = 0; ///< tells reports about it from those of a former lane
        std::set<std::string> underWay;
        std::set<std::string> troubles; ///< entries that stand for it in the error list
        bool isSilent = false;          ///< it does not answer
        bool wasRead = false;           ///< since it is watched
        bool isAvailable = true;
    };

    /// What the folders of a profile must know of it.
    struct Orders
    {
        LinkSettings settings;
        std::set<std::string> destinations;
    };

    template <typename Work>
    void guarded(const char* what, Work work);
    void tryUpdate(const FolderRecord& folder);
    void update(const FolderRecord& folder);
    const Orders& ordersOf(const ProfileRecord& profile);
    void putOff(const std::string& id, const std::string& text);
    void place(Folder& folder);
    void drop(const std::string& id);
    void tryAgain();
    std::shared_ptr<Lane> laneFor(const std::string& mount);
    void heard(const std::string& id, const Lane::Report& report);
    void followTroubles(Folder& folder, std::set<std::string> troubles);
    void forgetRefusals(const std::vector<std::string>& paths);
    void forgetOldEntries(const Folder& folder);
    void lookForSilence();
    void report(const std::string& error);

    Stores m_stores;
    Times m_times;
    Sink m_sink;
    Lane::EventSource m_eventSource;
    Mounts m_mounts;
    PathResolver m_resolver;
    std::map<std::string, std::shared_ptr<Lane>> m_lanes; ///< those that take more folders, by mount
    std::map<std::string, Folder> m_folders;
    std::map<std::string, Orders> m_orders;              ///< by profile
    std::uint64_t m_turns = 0;                           ///< taken so far
    std::map<std::string, std::string> m_withoutProfile; ///< folders at rest for a reason that was reported
    std::map<std::string, std::string> m_untried; ///< folders that could not be set up, and what was said
    bool m_allUntried = false;
    std::set<std::string> m_oldEntries; ///< of a former run, until their folders are read
    QTimer m_rescanTimer{this};
    QTimer m_silenceTimer{this};
};

} // namespace krxservice
