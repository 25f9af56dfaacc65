#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <optional>
#include <vector>

namespace krxservice {

/// The watched folders. All operations are thread-safe and throw DatabaseError.
class FolderStore
{
public:
    explicit FolderStore(Database& database)
        : m_database(database)
    {
    }

    std::vector<FolderRecord> list();
    std::optional<FolderRecord> find(const std::string& id);
    std::optional<FolderRecord> findByCanonicalPath(const std::string& canonical);

    /// Stores a new folder and returns its id; ids are never used again. Nothing when the same canonical path
    /// is stored already.
    std::optional<std::string> create(const FolderRecord& folder);
    /// Stores a folder that was there before under its old id, in place of what has that id or directory now.
    void restore(const FolderRecord& folder);
    /// False when there is no such folder.
    bool update(const FolderRecord& folder);
    bool remove(const std::string& id);

private:
    Database& m_database;
};

} // namespace krxservice
