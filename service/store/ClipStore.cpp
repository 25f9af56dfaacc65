#include "store/ClipStore.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace krxservice {

namespace {

constexpr char kColumns[] =
    "SELECT id, guid, owner, path, size, modified, changed, inode, checksum, state, profile, job, "
    "done, linked_path, linked_size, linked_modified, linked_checksum, made, output, scratch, gone_since "
    "FROM "
    "clips ";

/// A folder or a job may be removed while its file is looked at. Two values: the owner, twice.
constexpr char kOwnerExists[] = "(EXISTS(SELECT 1 FROM folders WHERE id=?) OR "
                                "EXISTS(SELECT 1 FROM jobs WHERE id=? AND manual=1))";

/// The words in the database, in the order of the states.
constexpr std::array<std::string_view, 7> kWords = {"waiting", "acting",   "publishing", "offered",
                                                    "taken",   "rejected", "failed"};

constexpr char kProvisional[] = "stamp:"; ///< begins what stands for a checksum

std::string_view word(ClipState state)
{
    return kWords[static_cast<std::size_t>(state)];
}

ClipState state(const std::string& word)
{
    const auto* found = std::find(kWords.begin(), kWords.end(), word);
    if (found == kWords.end())
        throw DatabaseError("a clip is in the unknown state \"" + word + '"');
    return static_cast<ClipState>(found - kWords.begin());
}

ClipRecord read(const Statement& row)
{
    ClipRecord clip;
    clip.id = row.number(0);
    clip.guid = row.text(1);
    clip.owner = row.text(2);
    clip.path = row.text(3);
    clip.stamp = {row.number(4), row.number(5), row.number(6), row.number(7)};
    clip.checksum = row.text(8);
    clip.state = state(row.text(9));
    clip.profile = row.text(10);
    clip.job = row.text(11);
    clip.done = static_cast<int>(row.number(12));
    clip.linkedPath = row.text(13);
    clip.linkedStamp.size = row.number(14);
    clip.linkedStamp.modified = row.number(15);
    clip.linkedChecksum = row.text(16);
    clip.made = row.text(17);
    clip.output = row.text(18);
    clip.scratch = row.text(19);
    clip.goneSince = row.number(20);
    return clip;
}

} // namespace

std::vector<ClipRecord> ClipStore::readAll(Statement& rows)
{
    std::vector<ClipRecord> clips;
    while (rows.step())
        clips.push_back(read(rows));
    return clips;
}

std::unordered_map<std::string, FileStamp> ClipStore::known(const std::string& owner)
{
    const auto lock = m_database.lock();
    std::unordered_map<std::string, FileStamp> stamps;
    Statement rows = m_database.prepare("SELECT path, size, modified, changed, inode FROM clips "
                                        "WHERE owner=? AND state NOT IN ('waiting', 'acting') ORDER BY id");
    rows.bind(owner);
    while (rows.step())
        stamps[rows.text(0)] = {rows.number(1), rows.number(2), rows.number(3), rows.number(4)};
    return stamps;
}

std::optional<ClipRecord> ClipStore::find(std::int64_t id)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE id=?");
    row.bind(id);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

std::optional<ClipRecord> ClipStore::find(const std::string& owner, const std::string& path,
                                          const std::string& checksum)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE owner=? AND path=? AND checksum=?");
    row.bind(owner).bind(path).bind(checksum);
    return row.step() ? std::optional(read(row)) : std::nullopt;
}

bool ClipStore::knows(const std::string& owner, const std::string& path)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare("SELECT 1 FROM clips WHERE owner=? AND path=? LIMIT 1");
    return row.bind(owner).bind(path).step();
}

std::string ClipStore::provisionalChecksum(const FileStamp& stamp)
{
    return kProvisional + std::to_string(stamp.size) + '-' + std::to_string(stamp.modified) + '-' +
           std::to_string(stamp.changed) + '-' + std::to_string(stamp.inode);
}

bool ClipStore::isProvisional(const std::string& checksum)
{
    return checksum.rfind(kProvisional, 0) == 0;
}

void ClipStore::setChecksum(std::int64_t id, const std::string& checksum)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE OR IGNORE clips SET checksum=? WHERE id=?").bind(checksum).bind(id).run();
    m_database.prepare("DELETE FROM clips WHERE id=? AND checksum!=?").bind(id).bind(checksum).run();
}

std::vector<ClipRecord> ClipStore::open(const std::string& owner, const std::string& path)
{
    const auto lock = m_database.lock();
    Statement rows = m_database.prepare(std::string(kColumns) +
                                        "WHERE owner=? AND path=? AND "
                                        "state IN ('waiting', 'acting', 'publishing') ORDER BY id");
    rows.bind(owner).bind(path);
    return readAll(rows);
}

std::vector<ClipRecord> ClipStore::inState(ClipState state)
{
    const auto lock = m_database.lock();
    Statement rows = m_database.prepare(std::string(kColumns) + "WHERE state=? ORDER BY id");
    rows.bind(word(state));
    return readAll(rows);
}

bool ClipStore::owns(const Key& key, const std::string& output)
{
    const auto lock = m_database.lock();
    Statement row = m_database.prepare("SELECT 1 FROM clips WHERE id=? AND owner=? AND output=?");
    return row.bind(key.second).bind(key.first).bind(output).step();
}

std::optional<ClipRecord> ClipStore::begin(const ClipRecord& clip,
                                           const std::function<std::string(std::int64_t id)>& outputName)
{
    Transaction transaction(m_database);
    std::int64_t id = clip.id;
    if (id == 0) {
        m_database
            .prepare("INSERT INTO clips(guid, owner, path, size, modified, checksum, state) "
                     "SELECT ?, ?, ?, 0, 0, ?, 'waiting' WHERE " +
                     std::string(kOwnerExists))
            .bind(clip.guid.empty() ? text::newGuid() : clip.guid)
            .bind(clip.owner)
            .bind(clip.path)
            .bind(clip.checksum)
            .bind(clip.owner)
            .bind(clip.owner)
            .run();
        if (m_database.changes() == 0)
            return std::nullopt;
        id = m_database.lastRowId();
    }
    m_database
        .prepare(
            "UPDATE clips SET state='acting', size=?, modified=?, changed=?, inode=?, profile=?, "
            "done=?, linked_path=?, linked_size=?, linked_modified=?, linked_checksum=?, made=?, output=?, "
            "activity='', reason='' WHERE id=? AND state IN ('waiting', 'acting')")
        .bind(clip.stamp.size)
        .bind(clip.stamp.modified)
        .bind(clip.stamp.changed)
        .bind(clip.stamp.inode)
        .bind(clip.profile)
        .bind(std::int64_t(clip.done))
        .bind(clip.linkedPath)
        .bind(clip.linkedStamp.size)
        .bind(clip.linkedStamp.modified)
        .bind(clip.linkedChecksum)
        .bind(clip.made)
        .bind(outputName(id))
        .bind(id)
        .run();
    if (m_database.changes() == 0)
        return std::nullopt;
    const auto stored = find(id);
    transaction.commit();
    return stored;
}

bool ClipStore::setScratch(std::int64_t id, const std::string& scratch)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE clips SET scratch=? WHERE id=? AND state='acting'")
        .bind(scratch)
        .bind(id)
        .run();
    return m_database.changes() > 0;
}

bool ClipStore::setJob(std::int64_t id, const std::string& job)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE clips SET job=? WHERE id=? AND state='acting'").bind(job).bind(id).run();
    return m_database.changes() > 0;
}

bool ClipStore::acted(const ClipRecord& clip)
{
    const auto lock = m_database.lock();
    m_database
        .prepare("UPDATE clips SET done=?, linked_path=?, linked_size=?, linked_modified=?, "
                 "linked_checksum=?, made=?, checksum=?, scratch='' WHERE id=? AND state='acting'")
        .bind(std::int64_t(clip.done))
        .bind(clip.linkedPath)
        .bind(clip.linkedStamp.size)
        .bind(clip.linkedStamp.modified)
        .bind(clip.linkedChecksum)
        .bind(clip.made)
        .bind(clip.checksum)
        .bind(clip.id)
        .run();
    return m_database.changes() > 0;
}

bool ClipStore::move(std::int64_t id, const std::vector<ClipState>& from, ClipState to)
{
    Transaction transaction(m_database);
    bool moved = false;
    for (const ClipState state : from) {
        m_database.prepare("UPDATE clips SET state=?, scratch='' WHERE id=? AND state=?")
            .bind(word(to))
            .bind(id)
            .bind(word(state))
            .run();
        moved = moved || m_database.changes() > 0;
    }
    transaction.commit();
    return moved;
}

bool ClipStore::publish(std::int64_t id)
{
    return move(id, {ClipState::Acting}, ClipState::Publishing);
}

bool ClipStore::offer(std::int64_t id)
{
    return move(id, {ClipState::Publishing, ClipState::Acting, ClipState::Waiting}, ClipState::Offered);
}

void ClipStore::take(const std::vector<Key>& clips)
{
    Transaction transaction(m_database);
    for (const auto& [owner, id] : clips) {
        m_database.prepare("UPDATE clips SET state='taken' WHERE id=? AND owner=? AND state='offered'")
            .bind(id)
            .bind(owner)
            .run();
    }
    transaction.commit();
}

bool ClipStore::fail(std::int64_t id, const std::string& activity, const std::string& reason)
{
    Transaction transaction(m_database);
    const bool moved = move(id, {ClipState::Acting}, ClipState::Failed);
    if (moved)
        explain(id, activity, reason);
    transaction.commit();
    return moved;
}

bool ClipStore::wait(std::int64_t id, const std::string& activity)
{
    Transaction transaction(m_database);
    const bool moved = move(id, {ClipState::Acting}, ClipState::Waiting);
    if (moved)
        explain(id, activity, {});
    transaction.commit();
    return moved;
}

void ClipStore::explain(std::int64_t id, const std::string& activity, const std::string& reason)
{
    m_database.prepare("UPDATE clips SET activity=?, reason=? WHERE id=?")
        .bind(activity)
        .bind(reason)
        .bind(id)
        .run();
}

void ClipStore::retry(const std::string& owner, const std::string& path)
{
    const auto lock = m_database.lock();
    m_database
        .prepare("UPDATE clips SET state='waiting', activity='', reason='' WHERE owner=? AND state='failed' "
                 "AND (?='' OR path=?)")
        .bind(owner)
        .bind(path)
        .bind(path)
        .run();
}

bool ClipStore::giveUp(const std::string& owner, const std::string& path)
{
    const auto lock = m_database.lock();
    m_database
        .prepare("UPDATE clips SET state='failed', reason=? WHERE owner=? AND path=? AND state='waiting'")
        .bind(kCancelled)
        .bind(owner)
        .bind(path)
        .run();
    return m_database.changes() > 0;
}

void ClipStore::reject(const ClipRecord& clip, const std::string& reason)
{
    Transaction transaction(m_database);
    m_database
        .prepare("INSERT OR REPLACE INTO clips(guid, owner, path, size, modified, changed, inode, checksum, "
                 "reason, state) SELECT ?, ?, ?, ?, ?, ?, ?, ?, ?, 'rejected' WHERE " +
                 std::string(kOwnerExists))
        .bind(clip.guid.empty() ? text::newGuid() : clip.guid)
        .bind(clip.owner)
        .bind(clip.path)
        .bind(clip.stamp.size)
        .bind(clip.stamp.modified)
        .bind(clip.stamp.changed)
        .bind(clip.stamp.inode)
        .bind(clip.checksum)
        .bind(reason)
        .bind(clip.owner)
        .bind(clip.owner)
        .run();
    transaction.commit();
}

void ClipStore::forget(std::int64_t id)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM clips WHERE id=?").bind(id).run();
}

void ClipStore::forgetAll(const std::string& owner)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM clips WHERE owner=?").bind(owner).run();
}

void ClipStore::setStamp(std::int64_t id, const FileStamp& stamp)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE clips SET size=?, modified=?, changed=?, inode=? WHERE id=?")
        .bind(stamp.size)
        .bind(stamp.modified)
        .bind(stamp.changed)
        .bind(stamp.inode)
        .bind(id)
        .run();
}

void ClipStore::setGoneSince(std::int64_t id, std::int64_t moment)
{
    const auto lock = m_database.lock();
    m_database.prepare("UPDATE clips SET gone_since=? WHERE id=?").bind(moment).bind(id).run();
}

void ClipStore::noteLook(std::int64_t now, std::int64_t most)
{
    Transaction transaction(m_database);
    std::int64_t last = now;
    {
        Statement row = m_database.prepare("SELECT value FROM meta WHERE name='looked'");
        if (row.step())
            last = row.number(0);
    }
    const std::int64_t counted = std::clamp<std::int64_t>(now - last, 0, most);
    if (const std::int64_t shift = now - last - counted; shift != 0)
        m_database.prepare("UPDATE clips SET gone_since=gone_since+? WHERE gone_since!=0").bind(shift).run();
    m_database.prepare("INSERT OR REPLACE INTO meta(name, value) VALUES('looked', ?)").bind(now).run();
    transaction.commit();
}

std::vector<ClipRecord> ClipStore::finished(std::int64_t after, int most)
{
    const auto lock = m_database.lock();
    Statement rows =
        m_database.prepare(std::string(kColumns) +
                           "WHERE id>? AND state IN ('taken', 'rejected', 'failed') ORDER BY id LIMIT ?");
    rows.bind(after).bind(std::int64_t(most));
    return readAll(rows);
}

} // namespace krxservice
