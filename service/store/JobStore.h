#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <map>
#include <optional>
#include <vector>

namespace krxservice {

/// The jobs. Thread-safe; throws DatabaseError. Progress is kept in memory only: it is worth nothing after a
/// restart, and a write to the disk for each percent would cost more than some jobs do.
class JobStore
{
public:
    /// Failed ones of folders; the oldest are forgotten some time after there are more. As many as there are
    /// clips of which the story is kept, so that each that failed can be tried again.
    static constexpr int kMostFolderJobs = 10000;
    static constexpr int kForgettingEvery = 100; ///< new jobs

    explicit JobStore(Database& database)
        : m_database(database)
    {
    }

    /// All jobs in the order they were made, or only the manual ones.
    std::vector<JobRecord> list(bool onlyManual);
    std::optional<JobRecord> find(const std::string& id);

    /// Stores a new job and returns its id; ids are never used again.
    std::string create(const JobRecord& job);
    /// The same for several, with the cost of little more than one.
    std::vector<std::string> createAll(const std::vector<JobRecord>& jobs);
    /// Moves a job from one of the states in \a from to \a to; false when it is in none of them (or gone).
    /// Final states set the percentage to 0 or 100: a value between would count as work in progress.
    bool move(const std::string& id, const std::vector<std::string>& from, const std::string& to,
              const std::string& message = {});
    void setPercent(const std::string& id, int percent);
    /// Names the action that runs. Like the progress it is kept in memory; where the job ends in it or waits
    /// in it, it is stored.
    void setActivity(const std::string& id, const std::string& name);
    bool remove(const std::string& id);

    /// Removes the jobs that were made for files of a folder.
    void removeOfFolder(const std::string& folderId);

    /// After a crash: manual jobs that were running are submitted again, folder jobs that were not finished
    /// are forgotten (their files are found again).
    void recover();

private:
    struct Live
    {
        int percent = 0;
        std::string activity;
    };

    void read(const Statement& row, std::vector<JobRecord>& jobs);
    void forgetOldFailures();

    Database& m_database;
    std::map<std::string, Live> m_live; ///< by id; guarded by the lock of the database
};

} // namespace krxservice
