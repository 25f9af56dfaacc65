#pragma once

#include "base/FileStamp.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace krxservice {

/// The numbered pictures of one folder, put together by directory, stem and extension, and the wait for the
/// last of them. Times are nanoseconds of a clock that never goes back. Not thread-safe.
class Gathering
{
public:
    /// \a wait: how long no picture may be added before those that are there count as finished.
    explicit Gathering(std::int64_t wait)
        : m_wait(wait)
    {
    }

    /// Which pictures \a path belongs to; nothing when it is no picture that others could belong to.
    static std::optional<std::string> keyOf(const std::string& path, bool joinsAllPictures);

    /// A picture was seen. True when it is new or was written again and has to stand still first.
    bool saw(const std::string& key, const std::string& path, const FileStamp& stamp, std::int64_t now);
    /// A picture stands still.
    void settled(const std::string& key, const std::string& path, const FileStamp& stamp);
    /// A picture went away, or holds nothing.
    void lost(const std::string& key, const std::string& path);

    /// For each group whose wait is over one of its pictures. It counts as looked at from then on.
    std::vector<std::string> takeDue(std::int64_t now);
    /// One of each group that was not looked at since it was first seen, and from then on counts as seen.
    std::vector<std::string> takeNew();
    /// Makes all groups new once more.
    void renew();
    /// All pictures of the group stand still and none needs a look.
    void allKnown(const std::string& key, const std::function<void(const std::string& path)>& each);
    /// The earliest moment at which a group can be due; the largest number without any.
    std::int64_t nextDue() const;

    /// The pictures of a group that are not handed over yet.
    struct Waiting
    {
        std::string key;
        std::string first; ///< the least of their paths
        std::size_t pictures = 0;
        std::size_t settling = 0; ///< of them
        std::int64_t bytes = 0;   ///< of all together
        std::int64_t dueAt = 0;
    };
    /// All groups on which nobody works and that are to be looked at.
    std::vector<Waiting> waiting() const;
    bool isWaiting(const std::string& key) const;

    /// A clip of the group is being worked on: the group is not due before it is done.
    void begin(const std::string& key, const std::string& clip);
    /// The work on it ended; not before \a notBefore is the group to be looked at again, if at all.
    void done(const std::string& key, const std::string& clip, std::optional<std::int64_t> notBefore);
    /// The group is not to be due before this moment.
    void putOff(const std::string& key, std::int64_t moment);

    /// The stamp of a picture as it was last seen.
    std::optional<FileStamp> stampOf(const std::string& key, const std::string& path) const;
    /// All that is not in \a seen is gone. That makes no new clip of the others: who moves a clip away takes
    /// one picture after the other.
    void keepOnly(const std::unordered_set<std::string>& seen);
    void forgetAll() { m_groups.clear(); }

private:
    struct Picture
    {
        FileStamp stamp;
        bool isSettling = true;
    };
    struct Group
    {
        std::map<std::string, Picture> pictures; ///< by path
        std::int64_t bytes = 0;                  ///< of all
        std::size_t settling = 0;
        std::int64_t dueAt = 0;
        bool needsLook = false;
        bool isNew = true;
        std::unordered_set<std::string> underWay; ///< clips
    };

    static bool waits(const Group& group)
    {
        return group.needsLook && group.underWay.empty() && !group.pictures.empty();
    }
    static bool canBeDue(const Group& group) { return waits(group) && group.settling == 0; }

    std::int64_t m_wait;
    std::map<std::string, Group> m_groups;
};

} // namespace krxservice
