#pragma once

#include "media/ClipFiles.h"
#include "media/LinkSettings.h"
#include "store/Records.h"
#include "watch/Gathering.h"
#include "watch/OpenWriters.h"
#include "watch/Settler.h"
#include "watch/Stories.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace krxservice {

/// What the watcher knows about one folder and its files. Not thread-safe.
class WatchedFolder
{
public:
    /// \a known: the files whose work is done. \a skipped: canonical paths of directories to be left out.
    /// \a settle in nanoseconds.
    /// \a underWay: files that were handed over and are not done yet. \a settings: those of its profile.
    /// \a tell is told why files are not handed over yet, \a withdraw of what is not a clip by itself.
    WatchedFolder(const FolderRecord& record, std::unordered_map<std::string, FileStamp> known,
                  std::set<std::string> skipped, std::int64_t settle, std::set<std::string> underWay = {},
                  const LinkSettings& settings = {}, Stories::Tell tell = {},
                  Stories::Withdraw withdraw = {});

    const std::string& id() const { return m_record.id; }
    /// The directory without trailing slashes.
    const std::string& root() const { return m_root; }
    const std::set<std::string>& skipped() const { return m_skipped; }

    /// A file was seen at \a now (nanoseconds); \a disturbed when an event told of a change. It becomes a
    /// candidate unless its work is done or under way.
    void saw(const std::string& path, bool disturbed, std::int64_t now);
    /// The earliest moment at which a candidate can be finished (nanoseconds); the largest number without
    /// any.
    std::int64_t nextDue() const;
    /// True when there is something whose moment will come.
    bool hasCandidates() const;
    /// Reads all candidates at \a now (nanoseconds) and returns those that are finished; they are under way
    /// from then on. Of numbered pictures it is the first, once none was added for three settle times; a
    /// sidecar is never handed over, and its clip not before it stands still.
    std::vector<std::string> takeFinished(std::int64_t now);
    /// The same with a look at open files that several folders share.
    std::vector<std::string> takeFinished(std::int64_t now, openwriters::Look& writers);

    /// All of the folder is about to be read: what saw() and leaveOut() do not name until endReading() is
    /// gone.
    void beginReading();
    /// The same after it was away: the profile may say that what was known then is known still.
    void beginReadingAgain();
    /// Something that may hold clips is not looked into.
    void leaveOut(const std::string& path, const std::string& why);
    /// \return the files whose work is done that are gone since.
    std::vector<std::string> endReading();
    /// What a person should know about the folder now: one text for each thing that is left out.
    std::set<std::string> troubles() const;

    /// The work on a file ended; without a stamp it will be looked at again, after a pause that grows with
    /// each time unless the file changes.
    void done(const std::string& path, const std::optional<FileStamp>& stamp, std::int64_t now);
    void forgetAll();

    /// Called for every file that a longer look comes to; false ends it.
    std::function<bool()> goesOn;

    bool polled = false;       ///< no events arrive from at least one directory
    bool exhausted = false;    ///< because the system watches no more directories
    bool unavailable = false;  ///< the directory could not be read when last looked at
    std::int64_t nextPoll = 0; ///< when it is to be read again in either case (nanoseconds)
    std::string reason;        ///< why it is not available

private:
    struct Later;

    bool isDone(const std::string& path, const FileStamp& stamp) const;
    bool isDone(const ClipFiles& clip, const std::string& key) const;
    void sawPicture(const std::string& key, const std::string& path, bool disturbed, std::int64_t now);
    bool sawSidecar(const std::string& path, const FileStamp& stamp);
    void letSettle(const std::string& path, const FileStamp& stamp, std::int64_t now);
    bool waitsForSidecar(const std::string& stem) const;
    bool isHeldUp(const std::string& stem, std::int64_t now);
    void finishOne(const std::string& path, std::int64_t now, std::vector<std::string>& finished);
    void finishPictures(std::int64_t now, std::vector<std::string>& finished);
    void passKnownPictures();
    void clipIsDone(const std::string& path);
    void sendSidecars(const std::string& stem);
    void noteLateSidecars(const std::string& path);

    FolderRecord m_record;
    std::string m_root;
    std::unordered_map<std::string, FileStamp> m_known;
    std::set<std::string> m_skipped;
    std::int64_t m_settle;
    /// A file that could not be judged.
    struct Later
    {
        FileStamp stamp;
        int times = 0;
        std::int64_t notBefore = 0;
    };

    const LinkSettings m_settings;
    Stories m_stories;
    Gathering m_gathering;
    bool m_isFirstReading = true;
    bool m_trustsKnown = false;                          ///< while all is read
    std::unordered_map<std::string, std::string> m_keys; ///< clips of several pictures that are under way
    std::map<std::string, FileStamp> m_sidecars;         ///< that stand still
    std::unordered_set<std::string> m_knownStems;        ///< of clips whose work is done
    std::map<std::string, std::int64_t> m_heldSince;     ///< stems of clips that wait for a sidecar
    std::set<std::string> m_late;                        ///< sidecars that came after that
    std::set<std::string> m_uncovered;                   ///< files that the plug-in does not take

    std::map<std::string, Settler> m_candidates;
    std::set<std::string> m_underWay;
    std::map<std::string, Later> m_later;
    std::map<std::string, FileStamp> m_empty;     ///< files that stand still and hold nothing
    std::map<std::string, std::string> m_leftOut; ///< path to reason
    std::map<std::string, std::string> m_reading; ///< the same, while all is read
    std::unordered_set<std::string> m_seen;       ///< while all is read
    std::unordered_set<std::string> m_gone;
};

} // namespace krxservice
