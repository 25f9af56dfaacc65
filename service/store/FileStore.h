#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace krxservice {

/// What became of each file: the memory that makes the service offer nothing twice. Thread-safe; throws
/// DatabaseError.
class FileStore
{
public:
    explicit FileStore(Database& database)
        : m_database(database)
    {
    }

    /// The last known stamp of every file of \a owner whose work is done, by path.
    std::unordered_map<std::string, FileStamp> known(const std::string& owner);

    /// A file of \a owner with this path and content whose work is done.
    std::optional<FileRecord> findDone(const std::string& owner, const std::string& path,
                                       const std::string& checksum);

    /// True when the record \a id exists and is \a owner's.
    bool exists(const std::string& owner, std::int64_t id);

    /// The file has a new time but its old content.
    void setStamp(std::int64_t id, const FileStamp& stamp);

    /// Notes that work on a file begins and returns the id of its record.
    std::int64_t take(const FileRecord& file);
    void setScratch(std::int64_t id, const std::string& scratch);

    /// Moves a record from one state to another; false when it is not in that state (or gone).
    bool move(std::int64_t id, FileState from, FileState to, const std::string& output = {});
    void remove(std::int64_t id);
    void forget(const std::string& owner);
    /// Forgets what failed, so that it is tried again: one path, or all of the owner's when \a path is empty.
    void forgetFailed(const std::string& owner, const std::string& path = {});

    std::vector<FileRecord> inState(FileState state);

private:
    Database& m_database;
};

} // namespace krxservice
