#pragma once

#include "store/Database.h"
#include "store/Records.h"

#include <optional>
#include <vector>

namespace krxservice {

/// The profiles. All operations are thread-safe and throw DatabaseError.
class ProfileStore
{
public:
    explicit ProfileStore(Database& database)
        : m_database(database)
    {
    }

    std::vector<ProfileRecord> list();
    std::optional<ProfileRecord> find(const std::string& id);
    std::optional<ProfileRecord> findByName(const std::string& name);

    /// False when the id or the name is taken.
    bool create(const ProfileRecord& profile);
    /// False when there is no such profile.
    bool remove(const std::string& id);

private:
    Database& m_database;
};

} // namespace krxservice
