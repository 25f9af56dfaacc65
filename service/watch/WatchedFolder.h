#pragma once

#include "store/Records.h"
#include "watch/Settler.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace krxservice {

/// What the watcher knows about one folder and its files. Not thread-safe.
class WatchedFolder
{
public:
    /// \a known: the files whose work is done. \a skipped: canonical paths of directories to be left out.
    /// \a settle in nanoseconds.
    WatchedFolder(const FolderRecord& record, std::unordered_map<std::string, FileStamp> known,
                  std::set<std::string> skipped, std::int64_t settle);

    const std::string& id() const { return m_record.id; }
    /// The directory without trailing slashes.
    const std::string& root() const { return m_root; }
    const std::set<std::string>& skipped() const { return m_skipped; }
    bool isSame(const FolderRecord& record, const std::set<std::string>& skipped) const;

    /// A file was seen at \a now (nanoseconds); \a disturbed when an event told of a change. It becomes a
    /// candidate unless its work is done or under way.
    void saw(const std::string& path, bool disturbed, std::int64_t now);
    /// The earliest moment at which a candidate can be finished (nanoseconds); the largest number without
    /// any.
    std::int64_t nextDue() const;
    bool hasCandidates() const { return !m_candidates.empty(); }
    /// Reads all candidates at \a now (nanoseconds) and returns those that are finished; they are under way
    /// from then on.
    std::vector<std::string> takeFinished(std::int64_t now);

    /// The work on a file ended; without a stamp it will be looked at again.
    void done(const std::string& path, const std::optional<FileStamp>& stamp, std::int64_t now);
    void forgetAll();

    bool polled = false;      ///< no events arrive from at least one directory
    bool unavailable = false; ///< the directory could not be read when last looked at

private:
    bool isDone(const std::string& path, const FileStamp& stamp) const;

    FolderRecord m_record;
    std::string m_root;
    std::unordered_map<std::string, FileStamp> m_known;
    std::set<std::string> m_skipped;
    std::int64_t m_settle;
    std::map<std::string, Settler> m_candidates;
    std::set<std::string> m_underWay;
};

} // namespace krxservice
