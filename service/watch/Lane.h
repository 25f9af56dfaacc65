#pragma once

#include "media/LinkSettings.h"
#include "store/Records.h"
#include "watch/DirectoryEvents.h"
#include "watch/Stories.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace krxservice {

/// Looks after the folders on one mounted file system, on a thread of its own. Whatever touches the folders
/// happens there; when the file system does not answer, nobody else waits. Thread-safe.
class Lane
{
public:
    struct Times
    {
        double settleSeconds; ///< how long a file stands still before it is finished
        double pollSeconds;   ///< between two readings of a directory that sends no events, or more
    };
    /// What a look at a folder brought to light.
    struct Report
    {
        std::uint64_t turn = 0;            ///< of the setup that it belongs to
        std::vector<std::string> finished; ///< files that stand still; they count as under way from then on
        std::set<std::string> troubles;    ///< what a person should know now, all of it
        std::vector<std::string> gone;     ///< files whose work was done and that are gone
        bool isWhole = false;              ///< all of the folder was read
        bool isAvailable = true;           ///< its directory could be read
    };
    /// Called on the lane's thread, never after the lane's end; must not wait.
    using Listener = std::function<void(const std::string& folderId, const Report& report)>;
    /// Where change events come from; another one for tests.
    using EventSource = std::function<std::unique_ptr<DirectoryEvents>()>;

    /// What is to be watched.
    struct Setup
    {
        LinkSettings settings;  ///< of the folder's profile
        std::uint64_t turn = 0; ///< told with each report
        FolderRecord folder;
        std::unordered_map<std::string, FileStamp> known; ///< files whose work is done
        std::set<std::string> skipped;                    ///< canonical paths of directories to be left out
        std::set<std::string> underWay;                   ///< files that were handed over
        Stories::Tell tell = {};         ///< called on the lane's thread, never after its end; must not wait
        Stories::Withdraw withdraw = {}; ///< the same
    };

    Lane(const Times& times, Listener listener, const EventSource& events = {});
    /// Tells the thread to end and waits for it only while it answers.
    ~Lane();
    Lane(const Lane&) = delete;
    Lane& operator=(const Lane&) = delete;

    void watch(Setup setup);
    void forget(const std::string& folderId);
    /// Forgets which files of a folder were seen, and reads it.
    void reprocess(const std::string& folderId);
    /// Reads all folders, once however often it is asked for meanwhile; unless it is urgent, not before a
    /// pause of 200 times what it took the last time (a minute at most).
    void rescan(bool isUrgent);
    void fileDone(const std::string& folderId, const std::string& path,
                  const std::optional<FileStamp>& stamp);

    /// The folder at which it has been looking without coming a step further for \a seconds; empty when it
    /// rests or comes on.
    std::string stuckAt(double seconds) const;
    /// Makes the end quick for several lanes: tells this one to end without waiting.
    void sayEnd();

private:
    class Core;
    std::shared_ptr<Core> m_core;
};

} // namespace krxservice
