#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <functional>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace krxservice {

/// What became of each clip: the memory that makes the service offer nothing twice. Every change of state is
/// one function here and one transaction; a change that does not fit the present state is refused.
/// Thread-safe; throws DatabaseError, and then the state is what it was.
class ClipStore
{
public:
    /// Why a clip failed that a client called off, by which such ones are told from others.
    static constexpr char kCancelled[] = "Was cancelled";
    /// Owner and id of a clip.
    using Key = std::pair<std::string, std::int64_t>;

    explicit ClipStore(Database& database)
        : m_database(database)
    {
    }

    /// The last known stamp of every file of \a owner that needs no look, by path.
    std::unordered_map<std::string, FileStamp> known(const std::string& owner);
    std::optional<ClipRecord> find(std::int64_t id);
    /// The clip of \a owner with this path and content, whatever its state.
    std::optional<ClipRecord> find(const std::string& owner, const std::string& path,
                                   const std::string& checksum);
    /// True when there is a clip of \a owner with this path, whatever its content and state.
    bool knows(const std::string& owner, const std::string& path);

    /// What stands for the checksum of a file that nobody has read yet: made of its stamp, and of use only
    /// until the content is known.
    static std::string provisionalChecksum(const FileStamp& stamp);
    static bool isProvisional(const std::string& checksum);
    /// The content of a clip became known. Where another clip is known by it, this one is forgotten.
    void setChecksum(std::int64_t id, const std::string& checksum);
    /// The clips of a path whose work was begun and is not over.
    std::vector<ClipRecord> open(const std::string& owner, const std::string& path);
    std::vector<ClipRecord> inState(ClipState state);
    /// True when \a output is the name of the output document of \a key.
    bool owns(const Key& key, const std::string& output);

    /// Work on a clip begins, for the first time (then it gets id, guid (unless it has one) and the name that
    /// \a outputName gives for the id) or once more. \return the record as it is stored; nothing when it or
    /// its owner is gone meanwhile.
    std::optional<ClipRecord> begin(const ClipRecord& clip,
                                    const std::function<std::string(std::int64_t id)>& outputName);
    /// Acting: an unfinished file is about to appear.
    bool setScratch(std::int64_t id, const std::string& scratch);
    /// Acting: the job that shows the work.
    bool setJob(std::int64_t id, const std::string& job);
    /// Acting: one more action is finished; \a clip says how many and what they made, and its checksum.
    bool acted(const ClipRecord& clip);
    /// Acting to Publishing.
    bool publish(std::int64_t id);
    /// Publishing (or Acting, when the document turns out to be there) to Offered.
    bool offer(std::int64_t id);
    /// Offered to Taken, many at once.
    void take(const std::vector<Key>& clips);
    /// Acting to Failed. \a activity names the action, \a reason is a sentence for a person; both stay known.
    bool fail(std::int64_t id, const std::string& activity = {}, const std::string& reason = {});
    /// Acting to Waiting: interrupted, to be gone on with. \a activity names the action that waits.
    bool wait(std::int64_t id, const std::string& activity = {});
    /// Failed to Waiting: one path, or all of the owner's when \a path is empty.
    void retry(const std::string& owner, const std::string& path = {});
    /// Waiting to Failed: it is not to be tried again after all.
    bool giveUp(const std::string& owner, const std::string& path);
    /// A file that is no media: Rejected from the start, for a \a reason that stays known. Nothing when its
    /// owner is gone.
    void reject(const ClipRecord& clip, const std::string& reason = {});
    /// From any state to gone.
    void forget(std::int64_t id);
    void forgetAll(const std::string& owner);

    /// The file was touched and has its old content.
    void setStamp(std::int64_t id, const FileStamp& stamp);
    void setGoneSince(std::int64_t id, std::int64_t moment);
    /// Notes that files that are gone are looked for at \a now. Of the time since the last look at most
    /// \a most counts as time for which they were gone: nobody looked meanwhile, or the clock was set.
    void noteLook(std::int64_t now, std::int64_t most);
    /// Finished clips with ids above \a after, at most \a most, in the order of their ids.
    std::vector<ClipRecord> finished(std::int64_t after, int most);

private:
    bool move(std::int64_t id, const std::vector<ClipState>& from, ClipState to);
    void explain(std::int64_t id, const std::string& activity, const std::string& reason);
    std::vector<ClipRecord> readAll(Statement& rows);

    Database& m_database;
};

} // namespace krxservice
