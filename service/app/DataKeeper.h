#pragma once

#include "documents/KeptDocument.h"
#include "store/Database.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/ProfileStore.h"

#include <memory>
#include <string>
#include <vector>

namespace krxservice {

/// Opens the database of a data folder whatever became of it, and keeps folders and profiles a second time,
/// as plain XML beside it. What is damaged is set aside, never deleted.
class DataKeeper
{
public:
    /// Opens or makes the database in \a folder. Throws std::runtime_error (DatabaseError included) when that
    /// is impossible or a newer program made it.
    explicit DataKeeper(const std::string& folder);

    Database& database() { return *m_database; }

    /// True when the database was begun anew, or records or changes of it were lost before the start: that it
    /// says nothing of something then means nothing.
    bool mayHaveLost() const { return m_isLossy || m_isLogDamaged || m_database->isNew(); }

    /// Takes folders and profiles back when the database lost them, and tells \a errors what happened. Once,
    /// before other work.
    void restore(FolderStore& folders, ProfileStore& profiles, ErrorStore& errors);

    /// Writes the second copy when folders or profiles changed since it was written. An empty text or the
    /// reason. On one thread only.
    std::string save(FolderStore& folders, ProfileStore& profiles);

    /// Makes the database anew from its records when damage was met since; tells \a errors.
    void mend(ErrorStore& errors);

private:
    void setAside(const std::string& why);
    void open();
    std::string rebuild(const std::string& problem);

    std::string m_file;
    std::string m_keptFile;
    std::vector<std::string> m_messages;
    std::unique_ptr<Database> m_database;
    std::int64_t m_saved = -1; ///< generation of the second copy
    bool m_isLossy = false;    ///< records could not be read
    bool m_isLogDamaged = false;
    bool m_gaveUp = false;
};

} // namespace krxservice
